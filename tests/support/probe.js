// The part every JScript probe shares; run-probes.sh puts it in front of the
// probe, whose code becomes the body of a function, and calls runProbe with it.
// The probe counts its checks through check, ok and expectError; runProbe turns
// an error the probe did not catch into a failure and ends with the closing line
// "N passed, M failed" that the runner looks for (Wine's script hosts exit with 0
// even when a script dies, so a run without that line has failed).
var passed = 0, failed = 0;

function fail(what) {
  failed++;
  WScript.Echo("FAIL " + what);
}

function check(what, actual, expected) {
  if (actual === expected) passed++;
  else fail(what + ": got [" + actual + "], expected [" + expected + "]");
}

function ok(what, condition) {
  if (condition) passed++;
  else fail(what);
}

// Runs body, which must raise the host-language error 'number' (an error of the
// 0x800A facility with a description); returns the error, or null.
function expectError(what, number, body) {
  try {
    body();
  } catch (e) {
    check(what + " error number", e.number & 0xFFFF, number);
    check(what + " error facility", e.number >>> 16, 0x800A);
    check(what + " has a description", typeof e.description === "string" && e.description.length > 0, true);
    return e;
  }
  fail(what + ": no error raised");
  return null;
}

function runProbe(body) {
  try {
    body();
  } catch (e) {
    fail("unexpected error " + (e.number >>> 0).toString(16) + ": " + e.description);
  }
  WScript.Echo(passed + " passed, " + failed + " failed");
}
