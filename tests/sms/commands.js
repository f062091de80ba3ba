// The commands as a script host calls them: clsSmsManager created by ProgID and
// called late-bound, with the development host signed in. A watcher outside the
// script answers every message box and writes it down (title, text, and how many
// send windows were open at that moment) in boxes.txt in the folder given as the
// first argument.

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

// A user bound to an employee: each call opens a send window of its own and
// returns at once; nothing is asked.
share.SignIn("王建国", "chs");
manager.SendSms();
new ActiveXObject("LumoSmsManager.clsSmsManager").SendSms();
check("no box for a bound user", boxes().length, 0);

// A user bound to no employee is told why, and no third window comes up.
share.SignIn("临时用户", "chs");
manager.SendSms();
var seen = boxes();
check("one box for the refused user", seen.length, 1);
check("the refusal", seen[0], "Vantor提示\t该用户没有关联职员，不能发送短信\t2");

// Nothing else came up meanwhile.
share.SignIn("王建国", "chs");
check("no further box", boxes().length, 1);
