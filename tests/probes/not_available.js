// Commands whose windows this version does not provide fail with an error the host
// can catch and show, naming the command; nothing crashes.
var passed = 0, failed = 0;

function check(what, actual, expected) {
  if (actual === expected) {
    passed++;
  } else {
    failed++;
    WScript.Echo("FAIL " + what + ": got [" + actual + "], expected [" + expected + "]");
  }
}

function expectUnavailable(member, body) {
  try {
    body();
  } catch (e) {
    check(member + " error number", e.number & 0xFFFF, 32765);
    check(member + " description", e.description, member + " is not available in this version");
    return;
  }
  failed++;
  WScript.Echo("FAIL " + member + ": no error raised");
}

try {
  var m = new ActiveXObject("LumoSmsManager.clsSmsManager");
  expectUnavailable("clsSmsManager.SetUserMobile", function () { m.SetUserMobile(); });
  expectUnavailable("clsSmsManager.SetAllMobile", function () { m.SetAllMobile(); });
  expectUnavailable("clsSmsManager.SmsManager", function () { m.SmsManager(""); });
  expectUnavailable("clsSmsManager.UserSms", function () { m.UserSms("1"); });
  expectUnavailable("clsSmsManager.ShowSmsLog", function () { m.ShowSmsLog(); });

} catch (e) {
  failed++;
  WScript.Echo("FAIL unexpected error " + (e.number >>> 0).toString(16) + ": " + e.description);
}

WScript.Echo(passed + " passed, " + failed + " failed");
