// The public classes as the installer registered them: created by their ProgIDs,
// versioned and version-independent, and used late-bound through the type library.
// checks: 14

var names = ["LumoSmsManager.clsParse", "LumoSmsManager.clsParse.1"];
for (var i = 0; i < names.length; i++) {
  var p = new ActiveXObject(names[i]);
  check(names[i] + ": ParseString", p.ParseString("UserName=张三;UserID=7;A={x;y}"), true);
  check(names[i] + ": UserName", p.UserName, "张三");
  check(names[i] + ": GetProperty", p.GetProperty("A"), "x;y");
}

// The commands' names are resolved through the registered type library: a name
// that is not a member is refused ("Object doesn't support this property or method").
var managers = ["LumoSmsManager.clsSmsManager", "LumoSmsManager.clsSmsManager.1"];
for (var j = 0; j < managers.length; j++) {
  var m = new ActiveXObject(managers[j]);
  ok(managers[j] + " is an object", typeof m === "object");
  expectError(managers[j] + ".NoSuchCommand()", 438, function () { m.NoSuchCommand(); });
}
