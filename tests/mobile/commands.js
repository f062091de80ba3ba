// The mobile-number commands as a script host calls them: clsSmsManager created by
// ProgID and called late-bound, with the development host signed in. A watcher
// outside the script answers every message box and closes the modal windows the
// commands open, writing each down in boxes.txt in the folder given as the first
// argument (title, text, count; "<closed>" and the title for a window it closed).

var fso = new ActiveXObject("Scripting.FileSystemObject");
var boxLog = WScript.Arguments(0) + "\\boxes.txt";
function boxes() {
  if (!fso.FileExists(boxLog)) return [];
  var f = fso.OpenTextFile(boxLog, 1, false, -1);  // for reading, UTF-16
  var text = f.AtEndOfStream ? "" : f.ReadAll();
  f.Close();
  var lines = text.split("\r\n"), out = [];
  for (var i = 0; i < lines.length; i++)
    if (lines[i] !== "") out.push(lines[i]);
  return out;
}

var share = new ActiveXObject("PropsMgr.ShareProps");
var manager = new ActiveXObject("LumoSmsManager.clsSmsManager");

// A user bound to no employee is told why and gets no dialog.
share.SignIn("临时用户", "chs");
manager.SetUserMobile();
var seen = boxes();
check("one box for the unbound user", seen.length, 1);
check("the refusal", seen[0], "Vantor提示\t该用户没有关联职员，不能修改个人手机号码\t0");

// A bound user gets the modal dialog; the call returns once it is closed (by the
// watcher, without an edit, so nothing is asked).
share.SignIn("王建国", "chs");
manager.SetUserMobile();
seen = boxes();
check("the dialog came and was closed", seen.length, 2);
check("the dialog's title", seen[1], "<closed>\t修改个人手机信息\t0");

// The table opens without the employee check, for the unbound user too.
share.SignIn("临时用户", "chs");
manager.SetAllMobile();
seen = boxes();
check("the table came and was closed", seen.length, 3);
check("the table's title", seen[2], "<closed>\t用户-职员-移动电话对照表\t0");
// checks: 6
