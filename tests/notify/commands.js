// The approval-notification commands as a script host calls them: clsSmsManager
// created by ProgID and called late-bound, with the development host signed in.
// The windows are modal: window_closer.exe, started before each call, waits for
// the window, writes its caption and list rows to closed.txt and closes it, so
// that the call returns. Message boxes are answered and logged by the watcher.
// checks: 12

var fso = new ActiveXObject("Scripting.FileSystemObject");
var shell = new ActiveXObject("WScript.Shell");
var folder = WScript.Arguments(0);
function lines(name) {
  var path = folder + "\\" + name;
  if (!fso.FileExists(path)) return [];
  var f = fso.OpenTextFile(path, 1, false, -1);  // for reading, UTF-16
  var text = f.AtEndOfStream ? "" : f.ReadAll();
  f.Close();
  var all = text.split("\r\n"), out = [];
  for (var i = 0; i < all.length; i++)
    if (all[i] !== "") out.push(all[i]);
  return out;
}
// Starts the closer for a caption, without waiting for it.
function closeWhenShown(caption, seconds) {
  shell.Run("\"" + folder + "\\window_closer.exe\" \"" + folder + "\\closed.txt\" \"" + caption + "\" " + seconds, 0,
            false);
}

var share = new ActiveXObject("PropsMgr.ShareProps");
var manager = new ActiveXObject("LumoSmsManager.clsSmsManager");

// Service management opens the same window whatever the type says.
share.SignIn("王建国", "chs");
closeWhenShown("审批通知服务管理", 60);
manager.SmsManager("");
closeWhenShown("审批通知服务管理", 60);
manager.SmsManager("anything");
var closed = lines("closed.txt");
check("two service windows", closed.length, 2);
check("service window with an empty type", closed[0], "审批通知服务管理\t19");
check("service window with any type", closed[1], "审批通知服务管理\t19");

// A user bound to an employee gets the personal settings.
closeWhenShown("个人审批通知设置", 60);
manager.UserSms("1");
closed = lines("closed.txt");
check("personal window for a bound user", closed.length, 3);
check("personal window", closed[2].split("\t")[0], "个人审批通知设置");
check("no box for a bound user", lines("boxes.txt").length, 0);

// A user bound to no employee is refused, and no window comes up.
share.SignIn("临时用户", "chs");
closeWhenShown("个人审批通知设置", 1);
manager.UserSms("");
var boxes = lines("boxes.txt");
check("one box for the refused user", boxes.length, 1);
check("the refusal", boxes[0].split("\t")[1], "该用户没有关联职员，不能进行个人审批通知设置");
// The closer gives up after its wait; a closer for a window that never comes, run
// to its end, lets that wait pass.
shell.Run("\"" + folder + "\\window_closer.exe\" \"" + folder + "\\waited.txt\" \"-\" 2", 0, true);
closed = lines("closed.txt");
check("no window for the refused user", closed[3], "none");

// Service management needs no employee.
closeWhenShown("审批通知服务管理", 60);
manager.SmsManager("");
closed = lines("closed.txt");
check("service window for an unbound user", closed.length, 5);
check("its rows", closed[4], "审批通知服务管理\t19");
check("still one box", lines("boxes.txt").length, 1);
