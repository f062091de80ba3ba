// The approval-notification commands as a script host calls them: clsSmsManager
// created by ProgID and called late-bound, with the development host signed in.
// The windows are modal: the watcher outside the script closes each once it is
// up, as a user would, so that the call returns, and writes it down in boxes.txt
// ("<closed>", its caption and the rows its list showed); it answers and writes
// down every message box too (title, text, count).
// checks: 12

var fso = new ActiveXObject("Scripting.FileSystemObject");
var boxLog = WScript.Arguments(0) + "\\boxes.txt";
function lines() {
  if (!fso.FileExists(boxLog)) return [];
  var f = fso.OpenTextFile(boxLog, 1, false, -1);  // for reading, UTF-16
  var text = f.AtEndOfStream ? "" : f.ReadAll();
  f.Close();
  var all = text.split("\r\n"), out = [];
  for (var i = 0; i < all.length; i++)
    if (all[i] !== "") out.push(all[i]);
  return out;
}

var share = new ActiveXObject("PropsMgr.ShareProps");
var manager = new ActiveXObject("LumoSmsManager.clsSmsManager");

// Service management opens the same window whatever the type says.
share.SignIn("王建国", "chs");
manager.SmsManager("");
manager.SmsManager("anything");
var seen = lines();
check("two service windows", seen.length, 2);
check("service window with an empty type", seen[0], "<closed>\t审批通知服务管理\t19");
check("service window with any type", seen[1], "<closed>\t审批通知服务管理\t19");

// A user bound to an employee gets the personal settings, and nothing is asked.
manager.UserSms("1");
seen = lines();
check("personal window for a bound user", seen.length, 3);
check("personal window", seen[2].split("\t")[1], "个人审批通知设置");
check("the personal window is no message box", seen[2].split("\t")[0], "<closed>");

// A user bound to no employee is refused, and no window comes up: the call
// returns with the refusal the only new line.
share.SignIn("临时用户", "chs");
manager.UserSms("");
seen = lines();
check("one line for the refused user", seen.length, 4);
check("the refusal", seen[3].split("\t")[1], "该用户没有关联职员，不能进行个人审批通知设置");
check("no window for the refused user", seen[3].split("\t")[0], "Vantor提示");

// Service management needs no employee.
manager.SmsManager("");
seen = lines();
check("service window for an unbound user", seen.length, 5);
check("its rows", seen[4], "<closed>\t审批通知服务管理\t19");
var boxes = 0;
for (var i = 0; i < seen.length; i++)
  if (seen[i].split("\t")[0] !== "<closed>") ++boxes;
check("the refusal the only message box", boxes, 1);
