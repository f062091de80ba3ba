// Late-bound probe of the development host's components, used as a script host
// uses them: created by ProgID, called by name, recordsets read field by field.
// checks: 29

var zhangWei = "\u5f20\u4f1f";  // the demo user in the finance group
var share = new ActiveXObject("PropsMgr.ShareProps");
var props = share.SignIn(zhangWei, "en");
check("session string", props.indexOf("UserName=" + zhangWei + ";UserID=16386;DBMS Name=SQLite;DBMS Version=3;"), 0);
ok("no language entry", props.indexOf("Language") < 0);
share.SignIn(zhangWei, "en", 777);
check("GetProperty", share.GetProperty(777, "PropsString"), props);
share.SignOut(777);

var bill = new ActiveXObject("LumoMSmsManager.clsBillUseInfo");
var rs = bill.GetData(props, "Select Distinct t1.FDepartmentID,t2.FName as FDepartName From t_Emp t1 Inner join " +
    "t_Department t2 on t1.FDepartmentID=t2.FItemID Where t1.FItemID>0 Order by t1.FDepartmentID");
check("field count", rs.Fields.Count, 2);
check("field name", rs.Fields(1).Name, "FDepartName");
var rows = [];
while (!rs.EOF) {
  rows.push(rs.Fields("FDepartmentID").Value + ":" + rs.Fields("FDepartName").Value);
  rs.MoveNext();
}
check("department rows", rows.length, 10);
check("first department", rows[0], "101:\u603b\u7ecf\u7406\u529e\u516c\u5ba4");
check("nameless department", rows[9], "111:null");

rs = bill.GetData(props, "Select u.FUserID,u.FName,E.FMobilePhone,g.FGroupID From t_User u Left join t_Group g On" +
    " u.FUserID=g.FUserID Left join t_Emp E On u.FEmpID=e.FItemID" +
    " Where u.FUserID>=16384 And u.FUserID<=32767 And u.FForbidden=0 And g.FGroupID=40003");
check("group members", rs.RecordCount, 6);

var loader = new ActiveXObject("LumoRESLOADER.Loader");
loader.LanguageID = "en";
check("translated", loader.LoadString("\u65e0\u90e8\u95e8"), "No department");
check("language", new ActiveXObject("LumoLangInfo.LangInfo").CurrentLanguage, "en");

var log = new ActiveXObject("OxaBase.LogServer");
check("WriteLog", log.WriteLog(props, "SMS00109", 1, "", "PROBE", "10.1.2.3"), 1);

var security = new ActiveXObject("OxaBase.SecurityInfo");
check("AccessCheck", security.AccessCheck(props, 65010, 0, 2, false), true);
check("GetCurrentUserID", security.GetCurrentUserID(props), 16386);

// The sender's name and number, and a message sent with a parameter set built
// here, then read back from the outbox through GetData.
check("EmpInfo", new ActiveXObject("LumoMSmsManager.CSerivceInfo").EmpInfo(props), zhangWei);
check("GetEmpMobile", bill.GetEmpMobile(props), "13801020003");
var title = "\u660e\u5929\u4e0a\u5348\u4e5d\u70b9\u5f00\u4f1a--" + zhangWei;  // "a meeting tomorrow at nine", signed
var params = new ActiveXObject("Scripting.Dictionary");
params.Add("title", title);
params.Add("msgType", 0);
params.Add("Propstr", props);
params.Add("isRevertible", 1);
params.Add("receivers", "13901010001,,13601030006");
params.Add("senderid", "13801020003");
params.Add("FuncNumber", "YDSW");
var gateway = new ActiveXObject("VtMobileOpen.MobileOpen");
var id = gateway.SendMessage(params);
ok("message id " + id, typeof id == "string" && id.length > 0);
rs = bill.GetData(props, "Select FTitle,FMsgType,FIsRevertible,FReceivers,FSenderID,FFuncNumber,FUserName " +
    "From dh_Outbox Where FMessageID=" + id);
check("outbox row", rs.RecordCount, 1);
check("outbox title", rs.Fields("FTitle").Value, title);
check("outbox flags", rs.Fields("FMsgType").Value + "/" + rs.Fields("FIsRevertible").Value, "0/1");
check("outbox receivers", rs.Fields("FReceivers").Value, "13901010001,,13601030006");
check("outbox sender", rs.Fields("FSenderID").Value + " " + rs.Fields("FUserName").Value, "13801020003 " + zhangWei);
check("outbox function", rs.Fields("FFuncNumber").Value, "YDSW");
rs = bill.GetData(props, "Select FReceiver From dh_OutboxReceiver Where FMessageID=" + id + " Order by FSeq");
var receivers = [];
while (!rs.EOF) { receivers.push(rs.Fields("FReceiver").Value); rs.MoveNext(); }
check("receiver rows", receivers.join("|"), "13901010001|13601030006");
ok("second message id differs", gateway.SendMessage(params) != id);
params.Remove("FuncNumber");
try {
  gateway.SendMessage(params);
  ok("incomplete set refused", false);
} catch (e) {
  ok("incomplete set message: " + e.description, e.description.indexOf("has no 'FuncNumber'") > 0);
}
check("set left as it was", params.Count, 6);

try {
  bill.GetData("UserName=x;UserID=999", "Select 1");
  ok("unknown session refused", false);
} catch (e) {
  ok("unknown session message: " + e.description, e.description.indexOf("Unknown session") == 0);
}
share.SignOut();
var signedOut = false;
try { share.GetProperty(777, "PropsString"); } catch (e) { signedOut = true; }
ok("signed out", signedOut);
