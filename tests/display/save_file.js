// clsSaveFile used late-bound, as a script host uses it: lines written and read
// back in the system code page, lineNum, reading stopping at an empty line, and
// the file system's errors reaching the caller with their numbers.
// The system's temporary folder of the probe prefix, which is thrown away
// afterwards. (Wine's ExpandEnvironmentStrings returns its text with the
// terminating NUL inside, which would end up in the file names.)

var temp = "C:\\windows\\temp";
var path = temp + "\\lumo-probe-lines.txt";

var f = new ActiveXObject("LumoSmsManager.clsSaveFile");
f.action = 2;
check("action", f.action, 2);
f.fileName = path;
check("fileName", f.fileName, path);
f.WriteTo("第一行\t甲");
f.WriteTo("second line");
f.WriteTo("第三行");
f.WriteTo("");
f.WriteTo("after the empty line");

// Opening the same name for reading lets go of the written stream first.
f.action = 1;
f.fileName = path;
check("readFirstLine", f.readFirstLine(), "第一行\t甲");
var lines = f.readLeftLines();
check("Count stops at the empty line", lines.Count, 2);
check("Item(1)", lines.Item(1), "second line");
check("Item(2)", lines.Item(2), "第三行");
check("lineNum", f.lineNum, 2);
var each = [];
for (var en = new Enumerator(lines); !en.atEnd(); en.moveNext()) each.push(en.item());
check("For Each", each.join("|"), "second line|第三行");
// Nothing is left before the empty line: no lines, and lineNum keeps counting from where it stands.
check("again Count", f.readLeftLines().Count, 0);
check("lineNum unchanged", f.lineNum, 2);
f.lineNum = 40;
check("lineNum set", f.lineNum, 40);

// A second file read from its start: lineNum is not reset by the class.
var g = new ActiveXObject("LumoSmsManager.clsSaveFile");
g.action = 2;
g.fileName = temp + "\\lumo-probe-short.txt";
g.WriteTo("only");
g.action = 1;
g.fileName = temp + "\\lumo-probe-short.txt";
g.lineNum = 5;
var rest = g.readLeftLines();
check("short Count", rest.Count, 1);
check("short Item", rest.Item(1), "only");
check("short lineNum", g.lineNum, 6);
expectError("WriteTo on a file opened for reading", 54, function () { g.WriteTo("x"); });

// Saving over the long file leaves only the new content.
// (The file must not be held open elsewhere: f still reads the first one.)
var path3 = temp + "\\lumo-probe-over.txt";
var h = new ActiveXObject("LumoSmsManager.clsSaveFile");
h.action = 2;
h.fileName = path3;
h.WriteTo("old line one, rather long");
h.WriteTo("old line two");
h.action = 1;
h.fileName = path3;
check("before overwriting", h.readFirstLine(), "old line one, rather long");
h.action = 2;
h.fileName = path3;
h.WriteTo("new");
h.action = 1;
h.fileName = path3;
check("overwritten first line", h.readFirstLine(), "new");
check("overwritten rest", h.readLeftLines().Count, 0);

var m = new ActiveXObject("LumoSmsManager.clsSaveFile");
m.action = 1;
var e = expectError("missing file", 53, function () { m.fileName = temp + "\\lumo-no-such-file.ldg"; });
if (e) check("missing file description", e.description, "File not found");
check("name kept", m.fileName, temp + "\\lumo-no-such-file.ldg");
check("readFirstLine without a stream", m.readFirstLine(), "");
