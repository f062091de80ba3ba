// clsParse as a VB or script host uses it: parse a session property string and
// read its entries, including the edge cases of the grammar and the errors a host
// must be able to catch (missing key, duplicate key, UserID out of range).

function parser(text) {
  var p = new ActiveXObject("LumoSmsManager.clsParse");
  check("ParseString(" + text + ") returns True", p.ParseString(text), true);
  return p;
}

var p = parser("A=1;B={x;y=2};C= 3");
check("braced A", p.GetProperty("A"), "1");
check("braced B", p.GetProperty("B"), "x;y=2");
check("braced C", p.GetProperty("C"), "3");
check("PropsString", p.PropsString, "A=1;B={x;y=2};C= 3");

p = parser("A=1;=2;B=3");
check("empty key: A", p.GetProperty("A"), "1");
expectError("empty key ends parsing: B", 5, function () { p.GetProperty("B"); });

p = parser("A=1;;B=2");
check("empty entry: A", p.GetProperty("A"), "1");
check("empty entry: key ;B", p.GetProperty(";B"), "2");

p = parser("A=1;B");
check("key without value", p.GetProperty("B"), "");

p = parser("a=1");
check("key case ignored", p.GetProperty("A"), "1");

p = parser("UserName=张三;UserID=7;DBMS Name=SQL Server;DBMS Version=9;ConnectString={Provider=SQLOLEDB;Data Source=erp}");
check("UserName", p.UserName, "张三");
check("UserID", p.UserID, 7);
check("UserID is a number", typeof p.UserID, "number");
check("ConDBMSName", p.ConDBMSName, "SQL Server");
check("ConDBMSVersion", p.ConDBMSVersion, "9");
check("ConStr", p.ConStr, "Provider=SQLOLEDB;Data Source=erp");

p = parser("A=1");
expectError("missing key", 5, function () { p.GetProperty("Nope"); });
expectError("typed property of a missing key", 5, function () { return p.UserName; });

p = new ActiveXObject("LumoSmsManager.clsParse");
expectError("duplicate key", 457, function () { p.ParseString("A=1;B=2;a=3"); });
check("entries before the duplicate stay", p.GetProperty("B"), "2");
check("stored string replaced", p.PropsString, "A=1;B=2;a=3");

p = parser("UserID=32768");
expectError("UserID out of range", 6, function () { return p.UserID; });
p = parser("UserID=x1");
expectError("UserID not a number", 13, function () { return p.UserID; });
