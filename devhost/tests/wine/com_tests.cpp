// Run under Wine: LumoDevHost.dll registered and driven as the add-in drives it,
// through CoCreateInstance and IDispatch, and ReadTcp. (A script host's view is
// the JScript probe beside this file, run by tests/support/run-probes.sh.)
#include <gtest/gtest.h>
#include <windows.h>
#include <ole2.h>

#include <cstdio>
#include <cstring>
#include <functional>
#include <sstream>
#include <string>

#include "automation/win/bridge.h"
#include "devhost/components/components.h"
#include "devhost/components/hostdb.h"
#include "devhost/components/odbc.h"
#include "tests/support/errors.h"
#include "tests/support/win/files.h"
#include "tests/support/win/registry.h"
#include "tests/support/win/server_dll.h"
#include "tests/support/win/text.h"

namespace lumo::devhost {
namespace {

using lumo::test::environment;
using lumo::test::errorOf;
using lumo::test::RegisteredServers;
using lumo::test::u8;
using lumo::test::wide;
using lumo::test::windowsPath;
using lumo::wz;

// The database the components use, named by LUMO_DEVHOST_DB.
ustring envDb() { return environment(L"LUMO_DEVHOST_DB"); }

// A string value of the prefix's registry; "<missing>" when it is not there.
ustring regValue(HKEY root, const ustring& key, const wchar_t* name = nullptr) {
  return lumo::test::u16(lumo::test::regText(root, wide(key), name));
}

const ustring kDepartments =
    u"Select Distinct t1.FDepartmentID,t2.FName as FDepartName"
    u" From t_Emp t1 Inner join t_Department t2 on t1.FDepartmentID=t2.FItemID Where t1.FItemID>0 Order by "
    u"t1.FDepartmentID";

class DevHostCom : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    servers_.reset(new RegisteredServers({LUMO_DEVHOST_DLL}));
    ASSERT_EQ(servers_->failure(), "");
  }
  static void TearDownTestSuite() {
    CoFreeUnusedLibraries();
    servers_.reset();
    CoUninitialize();
  }

  void SetUp() override {
    ASSERT_FALSE(envDb().empty()) << "LUMO_DEVHOST_DB is not set";
    db_ = std::make_unique<odbc::Connection>(connectStringFor(envDb()));
    db_->execute(u"DELETE FROM dh_Switch");
  }
  void TearDown() override {
    if (db_) db_->execute(u"DELETE FROM dh_Switch");
  }

  ObjectPtr create(const ustring& progId) { return com::createByProgId(progId); }
  ustring signIn(const ustring& user, const ustring& language) {
    return create(u"PropsMgr.ShareProps")->call(u"SignIn", {user, language}).toString();
  }

  static const lumo::test::ServerDll& dll() { return (*servers_)[0]; }

  static std::unique_ptr<RegisteredServers> servers_;
  std::unique_ptr<odbc::Connection> db_;
};
std::unique_ptr<RegisteredServers> DevHostCom::servers_;

TEST_F(DevHostCom, RegistrationWritesProgIdAndClassKeysUnderTheMachine) {
  for (const auto& c : componentClasses()) {
    ustring prog = u"Software\\Classes\\" + ustring(c.progId);
    ustring cls = u"Software\\Classes\\CLSID\\" + ustring(c.clsid);
    EXPECT_EQ(u8(regValue(HKEY_LOCAL_MACHINE, prog + u"\\CLSID")), u8(c.clsid));
    EXPECT_EQ(u8(regValue(HKEY_LOCAL_MACHINE, cls + u"\\ProgID")), u8(c.progId));
    EXPECT_EQ(u8(regValue(HKEY_LOCAL_MACHINE, cls + u"\\InprocServer32", L"ThreadingModel")), "Apartment");
    ustring server = regValue(HKEY_LOCAL_MACHINE, cls + u"\\InprocServer32");
    EXPECT_TRUE(endsWith(toLower(server), u"\\lumodevhost.dll")) << u8(server);
  }
  // Both spellings of the resource loader's ProgID lead to the same class.
  CLSID a, b;
  ASSERT_EQ(CLSIDFromProgID(L"LumoResLoader.Loader", &a), S_OK);
  ASSERT_EQ(CLSIDFromProgID(L"LumoRESLOADER.Loader", &b), S_OK);
  EXPECT_TRUE(IsEqualCLSID(a, b));
}

TEST_F(DevHostCom, PerUserInstallWritesUnderTheCurrentUserAndRemovesAgain) {
  const ustring key = u"Software\\Classes\\OxaBase.LogServer\\CLSID";
  ASSERT_EQ(dll().install(true, L"user"), S_OK);
  EXPECT_EQ(u8(regValue(HKEY_CURRENT_USER, key)), "{CCBC6078-F70C-4907-ADA5-E84F9F27DA73}");
  EXPECT_EQ(u8(regValue(HKEY_CURRENT_USER,
                        u"Software\\Classes\\CLSID\\{CCBC6078-F70C-4907-ADA5-E84F9F27DA73}\\InprocServer32",
                        L"ThreadingModel")),
            "Apartment");
  ASSERT_EQ(dll().install(false, L"user"), S_OK);
  EXPECT_EQ(u8(regValue(HKEY_CURRENT_USER, key)), "<missing>");
  EXPECT_EQ(u8(regValue(HKEY_LOCAL_MACHINE, key)), "{CCBC6078-F70C-4907-ADA5-E84F9F27DA73}");
}

TEST_F(DevHostCom, GetDataAnswersLateBoundWithChineseTextAndNulls) {
  ustring props = signIn(u"张伟", u"en");
  ObjectPtr share = create(u"PropsMgr.ShareProps");
  EXPECT_EQ(share->call(u"GetProperty", {static_cast<int32_t>(GetCurrentProcessId()), ustring(u"PropsString")}),
            Variant(props));
  ObjectPtr rs = create(u"LumoMSmsManager.clsBillUseInfo")->call(u"GetData", {props, kDepartments}).toObject();
  ASSERT_TRUE(rs);
  EXPECT_EQ(rs->get(u"RecordCount"), Variant(int32_t(10)));
  EXPECT_EQ(rs->get(u"Fields").toObject()->get(u"Count"), Variant(int32_t(2)));
  std::vector<std::string> rows;
  while (!rs->get(u"EOF").toBool()) {
    Variant id = rs->get(u"Fields", {ustring(u"FDepartmentID")}).toObject()->get(u"Value");
    Variant name = rs->get(u"Fields", {int32_t(1)}).toObject()->get(u"");
    EXPECT_EQ(id.type(), Variant::Type::I4);
    rows.push_back(std::to_string(id.toI4()) + ":" + u8(name.describe()));
    rs->call(u"MoveNext");
  }
  ASSERT_EQ(rows.size(), 10u);
  EXPECT_EQ(rows[0], "101:'总经理办公室'");
  EXPECT_EQ(rows[1], "102:'财务部'");
  EXPECT_EQ(rows[9], "111:Null");
}

TEST_F(DevHostCom, SqlWithChineseLiteralsAndTheSqlServerDialectRuns) {
  ustring props = signIn(u"张伟", u"chs");
  ObjectPtr bill = create(u"LumoMSmsManager.clsBillUseInfo");
  ObjectPtr rs = bill->call(u"GetData", {props, ustring(u"Select FItemID From t_Department Where FName='财务部'")})
                     .toObject();
  ASSERT_FALSE(rs->get(u"EOF").toBool());
  EXPECT_EQ(rs->get(u"Fields", {int32_t(0)}).toObject()->get(u"Value"), Variant(int32_t(102)));
  rs = bill->call(u"GetData", {props, ustring(u"Select t1.FItemID,t1.FName From t_Emp t1 Inner join t_Item t2 On "
                                              u"t1.FItemID=t2.FItemID Where IsNull(t1.FDepartmentID,0)=0 And "
                                              u"(Lower(t1.FNumber) Not in ('admin','super')) And t2.FDeleted=0 Order "
                                              u"by t1.FNumber")})
           .toObject();
  EXPECT_EQ(rs->get(u"RecordCount"), Variant(int32_t(3)));
  EXPECT_EQ(rs->get(u"Fields", {ustring(u"FName")}).toObject()->get(u"Value"), Variant(u"冯雪"));
}

TEST_F(DevHostCom, CallsMadeThroughComAreJournalled) {
  ustring props = signIn(u"张伟", u"chs");
  create(u"OxaBase.SecurityInfo")->call(u"GetCurrentUserID", {props});
  odbc::Result r = db_->query(
      u"SELECT FComponent, FMethod, FArguments, FResult, FProcessID FROM dh_Journal ORDER BY FSeq DESC LIMIT 1");
  ASSERT_EQ(r.rows.size(), 1u);
  EXPECT_EQ(r.rows[0][0], Variant(u"OxaBase.SecurityInfo"));
  EXPECT_EQ(r.rows[0][1], Variant(u"GetCurrentUserID"));
  EXPECT_EQ(r.rows[0][2], Variant(u"'" + props + u"'"));
  EXPECT_EQ(r.rows[0][3], Variant(u"16386"));
  EXPECT_EQ(r.rows[0][4], Variant(static_cast<int32_t>(GetCurrentProcessId())));
}

TEST_F(DevHostCom, ResourceLoaderAndLanguageInfo) {
  signIn(u"张伟", u"cht");
  EXPECT_EQ(create(u"LumoLangInfo.LangInfo")->get(u"CurrentLanguage"), Variant(u"cht"));
  ObjectPtr loader = create(u"LumoRESLOADER.Loader");
  loader->put(u"LanguageID", ustring(u"cht"));
  EXPECT_EQ(loader->call(u"LoadString", {ustring(u"无部门")}), Variant(u"無部門"));
  loader->put(u"LanguageID", ustring(u"en"));
  EXPECT_EQ(loader->call(u"LoadString2", {ustring(u"正在加载数据")}), Variant(u"Loading data"));
  loader->put(u"LanguageID", ustring(u"chs"));
  EXPECT_EQ(loader->call(u"LoadString", {ustring(u"正在加载数据")}), Variant(u"正在加载数据"));
  EXPECT_EQ(create(u"FrmRes.FrmResLoader")->call(u"GetLumoFontProps", {ustring(u"chs")}), Variant(u"宋体"));
}

TEST_F(DevHostCom, MissingSwitchRefusesCreationWithClassNotAvailable) {
  db_->execute(u"INSERT INTO dh_Switch (FComponent, FMethod, FMode) VALUES ('LumoLangInfo.LangInfo', '*', 'missing')");
  CLSID id;
  ASSERT_EQ(CLSIDFromProgID(L"LumoLangInfo.LangInfo", &id), S_OK);
  IDispatch* d = nullptr;
  EXPECT_EQ(CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch, reinterpret_cast<void**>(&d)),
            CLASS_E_CLASSNOTAVAILABLE);
  EXPECT_EQ(d, nullptr);
  EXPECT_EQ(errorOf([&] { create(u"LumoLangInfo.LangInfo"); }), errnum::CannotCreateObject);
  db_->execute(u"DELETE FROM dh_Switch");
  EXPECT_NO_THROW(create(u"LumoLangInfo.LangInfo"));
}

TEST_F(DevHostCom, KeptClassObjectsStillGiveAFreshInstanceEveryTime) {
  com::ClassObjects classes;
  ObjectPtr first = classes.create(u"LumoResLoader.Loader");
  first->put(u"LanguageID", ustring(u"en"));
  ObjectPtr second = classes.create(u"LUMORESLOADER.Loader");  // the registry's spelling does not matter
  EXPECT_EQ(classes.size(), 1u);
  EXPECT_NE(second->get(u"LanguageID"), Variant(u"en"));
  EXPECT_EQ(first->get(u"LanguageID"), Variant(u"en"));
  classes.create(u"LumoLangInfo.LangInfo");
  EXPECT_EQ(classes.size(), 2u);
}

TEST_F(DevHostCom, AKeptClassObjectOutlivesTheRegistrationUntilCleared) {
  com::ClassObjects classes;
  classes.create(u"LumoLangInfo.LangInfo");
  ASSERT_EQ(dll().unregisterServer(), S_OK);
  ustring plain, cleared;
  EXPECT_EQ(errorOf([&] { create(u"LumoLangInfo.LangInfo"); }, &plain), errnum::CannotCreateObject);
  // Found once, the class is created without the registry...
  EXPECT_NO_THROW(classes.create(u"LumoLangInfo.LangInfo")->get(u"CurrentLanguage"));
  // ...until the kept class objects are let go.
  classes.clear();
  EXPECT_EQ(classes.size(), 0u);
  EXPECT_EQ(errorOf([&] { classes.create(u"LumoLangInfo.LangInfo"); }, &cleared), errnum::CannotCreateObject);
  ASSERT_EQ(dll().registerServer(), S_OK);
  EXPECT_EQ(u8(cleared), u8(plain));
  EXPECT_NE(u8(cleared).find("LumoLangInfo.LangInfo is not registered"), std::string::npos) << u8(cleared);
  EXPECT_EQ(classes.size(), 0u);  // a failure is not kept
  EXPECT_NO_THROW(classes.create(u"LumoLangInfo.LangInfo"));
}

TEST_F(DevHostCom, AKeptClassSwitchedMissingRefusesAndIsLookedUpAgain) {
  com::ClassObjects classes;
  classes.create(u"VtMobileOpen.MobileOpen");
  db_->execute(u"INSERT INTO dh_Switch (FComponent, FMethod, FMode) VALUES ('VtMobileOpen.MobileOpen', '*', 'missing')");
  ustring description;
  EXPECT_EQ(errorOf([&] { classes.create(u"VtMobileOpen.MobileOpen"); }, &description), errnum::CannotCreateObject);
  EXPECT_NE(u8(description).find("VtMobileOpen.MobileOpen"), std::string::npos) << u8(description);
  EXPECT_EQ(classes.size(), 0u);
  db_->execute(u"DELETE FROM dh_Switch");
  EXPECT_NO_THROW(classes.create(u"VtMobileOpen.MobileOpen"));
  EXPECT_EQ(classes.size(), 1u);
}

TEST_F(DevHostCom, RaisedErrorsReachTheCallerWithTheirDescription) {
  ustring props = signIn(u"张伟", u"chs");
  db_->execute(u"INSERT INTO dh_Switch (FComponent, FMethod, FMode) VALUES ('OxaBase.LogServer', 'WriteLog', 'raise')");
  ObjectPtr log = create(u"OxaBase.LogServer");
  ustring d;
  EXPECT_EQ(errorOf([&] { log->call(u"WriteLog", {props, ustring(u"SMS00109"), int32_t(1)}); }, &d),
            static_cast<int32_t>(0x80040203));
  EXPECT_NE(d.find(u"OxaBase.LogServer.WriteLog failed"), ustring::npos) << u8(d);
  db_->execute(u"DELETE FROM dh_Switch");
  EXPECT_EQ(errorOf([&] { create(u"LumoMSmsManager.clsBillUseInfo")->call(u"GetData", {ustring(u"UserID=999"), kDepartments}); },
                    &d),
            static_cast<int32_t>(0x80040201));
  EXPECT_NE(d.find(u"Unknown session"), ustring::npos) << u8(d);
}

TEST_F(DevHostCom, WriteBatchLogReadsACollectionHandedThroughCom) {
  ustring props = signIn(u"张伟", u"chs");
  db_->execute(u"DELETE FROM dh_AuditLog");
  auto records = std::make_shared<Collection>();
  for (const char16_t* desc : {u"启用审批通知服务:[采购订单]", u"取消审批通知服务:[销售订单]"}) {
    auto rec = std::make_shared<Collection>();
    const ustring keys[] = {u"FFuncID", u"FStatement", u"FDesc", u"FMachineName", u"FIPAddress"};
    rec->add(ustring(u"SMS00107"), &keys[0]);
    rec->add(int16_t(5), &keys[1]);
    rec->add(ustring(desc), &keys[2]);
    rec->add(ustring(u"WINEPC"), &keys[3]);
    rec->add(ustring(u"10.0.0.9"), &keys[4]);
    records->add(ObjectPtr(rec));
  }
  Variant byRef = ObjectPtr(records);
  create(u"OxaBase.LogServer")->call(u"WriteBatchLog", {props, Variant::ref(&byRef)});
  odbc::Result r = db_->query(u"SELECT FFuncID, FStatement, FDesc, FUserID, FBatch FROM dh_AuditLog ORDER BY FID");
  ASSERT_EQ(r.rows.size(), 2u);
  EXPECT_EQ(r.rows[0][0], Variant(u"SMS00107"));
  EXPECT_EQ(r.rows[0][1], Variant(int32_t(5)));
  EXPECT_EQ(r.rows[1][2], Variant(u"取消审批通知服务:[销售订单]"));
  EXPECT_EQ(r.rows[1][3], Variant(int32_t(16386)));
  EXPECT_EQ(r.rows[1][4], Variant(int32_t(1)));
}

TEST_F(DevHostCom, SenderNameAndNumberAnswerLateBound) {
  ustring props = signIn(u"张伟", u"chs");
  EXPECT_EQ(create(u"LumoMSmsManager.CSerivceInfo")->call(u"EmpInfo", {props}), Variant(u"张伟"));
  EXPECT_EQ(create(u"LumoMSmsManager.clsBillUseInfo")->call(u"GetEmpMobile", {props}), Variant(u"13801020003"));
  // 徐强's employee is deleted; 临时用户 has none; 黄丽's number is blanks only.
  EXPECT_EQ(create(u"LumoMSmsManager.CSerivceInfo")->call(u"EmpInfo", {ustring(u"UserID=16399")}), Variant(u""));
  EXPECT_EQ(create(u"LumoMSmsManager.CSerivceInfo")->call(u"EmpInfo", {ustring(u"UserID=16398")}), Variant(u""));
  EXPECT_EQ(create(u"LumoMSmsManager.clsBillUseInfo")->call(u"GetEmpMobile", {ustring(u"UserID=16391")}),
            Variant(u"   "));
}

// The parameter set as a script host builds it: the platform's scripting dictionary.
ObjectPtr scriptingDictionary(const std::vector<std::pair<ustring, Variant>>& entries) {
  ObjectPtr d = com::createByProgId(u"Scripting.Dictionary");
  for (const auto& e : entries) d->call(u"Add", {e.first, e.second});
  return d;
}

TEST_F(DevHostCom, SendMessageTakesAScriptingDictionaryAndKeepsTheMessage) {
  ustring props = signIn(u"张伟", u"chs");
  const ustring title = u"今晚七点停电检修,请提前保存工作。--张伟";
  ObjectPtr params = scriptingDictionary({{u"title", title},
                                          {u"msgType", int16_t(0)},
                                          {u"Propstr", props + u";Language=chs"},
                                          {u"isRevertible", int16_t(1)},
                                          {u"receivers", ustring(u"13901010001,13801020003,")},
                                          {u"senderid", ustring(u"13801020003")},
                                          {u"FuncNumber", ustring(u"YDSW")}});
  Variant id = create(u"VtMobileOpen.MobileOpen")->call(u"SendMessage", {params});
  ASSERT_TRUE(id.isString());
  ASSERT_FALSE(id.rawString().empty());
  odbc::Result r = db_->query(
      u"SELECT FTitle, FMsgType, FIsRevertible, FReceivers, FSenderID, FFuncNumber, FUserName, FProcessID FROM "
      u"dh_Outbox WHERE FMessageID=?",
      {id});
  ASSERT_EQ(r.rows.size(), 1u);
  EXPECT_EQ(r.rows[0][0], Variant(title));
  EXPECT_EQ(r.rows[0][1], Variant(int32_t(0)));
  EXPECT_EQ(r.rows[0][2], Variant(int32_t(1)));
  EXPECT_EQ(r.rows[0][3], Variant(u"13901010001,13801020003,"));
  EXPECT_EQ(r.rows[0][4], Variant(u"13801020003"));
  EXPECT_EQ(r.rows[0][5], Variant(u"YDSW"));
  EXPECT_EQ(r.rows[0][6], Variant(u"张伟"));
  EXPECT_EQ(r.rows[0][7], Variant(static_cast<int32_t>(GetCurrentProcessId())));
  r = db_->query(u"SELECT FReceiver FROM dh_OutboxReceiver WHERE FMessageID=? ORDER BY FSeq", {id});
  ASSERT_EQ(r.rows.size(), 2u);
  EXPECT_EQ(r.rows[0][0], Variant(u"13901010001"));
  EXPECT_EQ(r.rows[1][0], Variant(u"13801020003"));
  // The journal puts the set as its name=value pairs in order.
  Variant args = db_->scalar(u"SELECT FArguments FROM dh_Journal WHERE FMethod='SendMessage' ORDER BY FSeq DESC LIMIT 1");
  EXPECT_EQ(args, Variant(u"{title='" + title + u"', msgType=0, Propstr='" + props +
                          u";Language=chs', isRevertible=1, receivers='13901010001,13801020003,', "
                          u"senderid='13801020003', FuncNumber='YDSW'}"));
  // The dictionary was only read.
  EXPECT_EQ(params->get(u"Count"), Variant(int32_t(7)));

  // A second send is a second message.
  Variant again = create(u"VtMobileOpen.MobileOpen")->call(u"SendMessage", {params});
  EXPECT_NE(again, id);
}

TEST_F(DevHostCom, SendMessageRefusalsAndSwitchesReachTheCaller) {
  ustring props = signIn(u"张伟", u"chs");
  ObjectPtr params = scriptingDictionary({{u"title", ustring(u"x")},
                                          {u"msgType", int16_t(0)},
                                          {u"Propstr", props},
                                          {u"isRevertible", int16_t(0)},
                                          {u"receivers", ustring(u"13901010001")},
                                          {u"FuncNumber", ustring(u"YDSW")}});
  ObjectPtr gateway = create(u"VtMobileOpen.MobileOpen");
  Variant before = db_->scalar(u"SELECT COUNT(*) FROM dh_Outbox");
  ustring d;
  EXPECT_EQ(errorOf([&] { gateway->call(u"SendMessage", {params}); }, &d), static_cast<int32_t>(0x80040205));
  EXPECT_EQ(u8(d), "VtMobileOpen.MobileOpen.SendMessage: the parameter set has no 'senderid' (it needs title, msgType, "
                   "Propstr, isRevertible, receivers, senderid, FuncNumber)");
  EXPECT_EQ(params->get(u"Count"), Variant(int32_t(6)));
  EXPECT_EQ(db_->scalar(u"SELECT COUNT(*) FROM dh_Outbox"), before);

  params->call(u"Add", {ustring(u"senderid"), ustring(u"")});
  db_->execute(u"INSERT INTO dh_Switch (FComponent, FMethod, FMode) VALUES ('VtMobileOpen.MobileOpen', 'SendMessage', "
               u"'empty')");
  EXPECT_EQ(gateway->call(u"SendMessage", {params}), Variant(u""));
  db_->execute(u"UPDATE dh_Switch SET FMode='raise'");
  EXPECT_EQ(errorOf([&] { gateway->call(u"SendMessage", {params}); }, &d), static_cast<int32_t>(0x80040203));
  EXPECT_EQ(db_->scalar(u"SELECT COUNT(*) FROM dh_Outbox"), before);
  db_->execute(u"UPDATE dh_Switch SET FMode='missing'");
  EXPECT_EQ(errorOf([&] { create(u"VtMobileOpen.MobileOpen"); }), errnum::CannotCreateObject);
  db_->execute(u"DELETE FROM dh_Switch");
  EXPECT_FALSE(gateway->call(u"SendMessage", {params}).toString().empty());
}

TEST_F(DevHostCom, CanUnloadOnlyWhenNoObjectIsAlive) {
  {
    ObjectPtr o = create(u"LumoLangInfo.LangInfo");
    EXPECT_EQ(dll().canUnloadNow(), S_FALSE);
  }
  EXPECT_EQ(dll().canUnloadNow(), S_OK);
}

// Runs a script with cscript in a process of its own and answers what it printed.
// (The script host's own view of the components is the JScript probe, probe.js.)
std::string runCscript(const std::wstring& script) {
  const std::wstring out = lumo::test::tempFile(L"devhost-script.txt");
  SECURITY_ATTRIBUTES sa{sizeof sa, nullptr, TRUE};
  HANDLE file = CreateFileW(out.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &sa, CREATE_ALWAYS, 0, nullptr);
  if (file == INVALID_HANDLE_VALUE) return "cannot write " + u8(out);
  STARTUPINFOW si{};
  si.cb = sizeof si;
  si.dwFlags = STARTF_USESTDHANDLES;
  si.hStdOutput = file;
  si.hStdError = file;
  si.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
  std::wstring cmdLine = L"cscript.exe //nologo \"" + script + L"\"";
  PROCESS_INFORMATION pi{};
  if (!CreateProcessW(nullptr, cmdLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &si, &pi)) {
    CloseHandle(file);
    return "cannot start cscript";
  }
  bool ended = WaitForSingleObject(pi.hProcess, 120000) == WAIT_OBJECT_0;
  CloseHandle(pi.hThread);
  CloseHandle(pi.hProcess);
  CloseHandle(file);
  std::string text = lumo::test::readFile(out);
  DeleteFileW(out.c_str());
  return ended ? text : text + "\n(cscript did not end)";
}

// Another process using the database and closing its connection while this
// one keeps its own: nothing this process does (checking the file behind the
// path included) may drop the locks that tell the other process the database
// is still in use, or it folds the log in and deletes it under our connection.
TEST_F(DevHostCom, AnotherProcessClosingItsConnectionLeavesOursWorking) {
  signIn(u"张伟", u"cht");
  EXPECT_EQ(create(u"LumoLangInfo.LangInfo")->get(u"CurrentLanguage"), Variant(u"cht"));
  EXPECT_EQ(create(u"LumoLangInfo.LangInfo")->get(u"CurrentLanguage"), Variant(u"cht"));
  const std::wstring script = lumo::test::tempFile(L"devhost-other.js");
  {
    HANDLE f = CreateFileW(script.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    ASSERT_NE(f, INVALID_HANDLE_VALUE);
    const char text[] = "WScript.Echo('other: ' + new ActiveXObject('LumoLangInfo.LangInfo').CurrentLanguage);\r\n";
    DWORD n = 0;
    WriteFile(f, text, sizeof text - 1, &n, nullptr);
    CloseHandle(f);
  }
  std::string out = runCscript(script);
  DeleteFileW(script.c_str());
  EXPECT_NE(out.find("other: chs"), std::string::npos) << out;  // another process, no session of its own
  Variant before = db_->scalar(u"SELECT COUNT(*) FROM dh_Journal WHERE FMethod='CurrentLanguage'");
  EXPECT_EQ(create(u"LumoLangInfo.LangInfo")->get(u"CurrentLanguage"), Variant(u"cht"));
  odbc::Connection fresh(connectStringFor(envDb()));
  EXPECT_EQ(fresh.scalar(u"SELECT COUNT(*) FROM dh_Journal WHERE FMethod='CurrentLanguage'").toI4(), before.toI4() + 1);
  EXPECT_EQ(fresh.scalar(u"SELECT FResult FROM dh_Journal ORDER BY FSeq DESC LIMIT 1"), Variant(u"'cht'"));
}

// The components keep one connection per database. When the file at the path is
// replaced while the process lives, the next component opens the new file:
// first a file written over the old one (which loses its last link), then the
// old one moved away and a new one put in its place (the old one keeps a link).
// Like the generator, the replacement takes the old file's log with it.
TEST_F(DevHostCom, ADatabaseReplacedWhileTheProcessLivesIsOpenedAnew) {
  const ustring path = windowsPath(toUtf8(envDb()));
  const ustring spare = windowsPath(LUMO_SPARE_DB);
  auto journalled = [&] {
    odbc::Connection c(connectStringFor(envDb()));
    return c.scalar(u"SELECT COUNT(*) FROM dh_Journal WHERE FMethod='CurrentLanguage'").toI4();
  };
  auto replace = [&](bool keepOld) {
    ASSERT_TRUE(CopyFileW(wz(spare), wz(path + u".new"), FALSE));
    if (keepOld) {
      ASSERT_TRUE(MoveFileExW(wz(path), wz(path + u".old"), MOVEFILE_REPLACE_EXISTING));
    }
    DeleteFileW(wz(path + u"-wal"));
    DeleteFileW(wz(path + u"-shm"));
    ASSERT_TRUE(MoveFileExW(wz(path + u".new"), wz(path), MOVEFILE_REPLACE_EXISTING)) << GetLastError();
  };
  signIn(u"张伟", u"cht");
  EXPECT_EQ(create(u"LumoLangInfo.LangInfo")->get(u"CurrentLanguage"), Variant(u"cht"));
  ASSERT_GE(journalled(), 1);

  ObjectPtr held = create(u"LumoLangInfo.LangInfo");  // keeps the old connection alive
  replace(false);
  EXPECT_EQ(journalled(), 0);
  EXPECT_EQ(create(u"LumoLangInfo.LangInfo")->get(u"CurrentLanguage"), Variant(u"chs"));  // no session here yet
  EXPECT_EQ(journalled(), 1);

  signIn(u"张伟", u"en");
  replace(true);
  EXPECT_EQ(create(u"LumoLangInfo.LangInfo")->get(u"CurrentLanguage"), Variant(u"chs"));
  EXPECT_EQ(journalled(), 1);
  held.reset();
  EXPECT_EQ(journalled(), 1);
  DeleteFileW(wz(path + u".old"));
  // The rest of the suite goes on with the new file.
  db_ = std::make_unique<odbc::Connection>(connectStringFor(envDb()));
}

TEST(VtAppSvr, ReadTcpWritesADottedIPv4AddressAndReturnsOne) {
  lumo::test::ServerDll lib(LUMO_VTAPPSVR_DLL);
  ASSERT_TRUE(lib.loaded());
  auto readTcp = lib.exported<long(__stdcall*)(char*, char*)>("ReadTcp");
  ASSERT_NE(readTcp, nullptr) << "ReadTcp is not exported under its plain name";
  char first[1] = {0};
  char buffer[64];
  std::memset(buffer, ' ', sizeof buffer);
  EXPECT_EQ(readTcp(first, buffer), 1);
  const char* nul = static_cast<const char*>(std::memchr(buffer, 0, sizeof buffer));
  ASSERT_NE(nul, nullptr);
  std::string ip(buffer, static_cast<std::size_t>(nul - buffer));
  unsigned a = 256, b = 256, c = 256, d = 256;
  char rest = 0;
  EXPECT_EQ(std::sscanf(ip.c_str(), "%u.%u.%u.%u%c", &a, &b, &c, &d, &rest), 4) << ip;
  EXPECT_LT(a, 256u);
  EXPECT_LT(b, 256u);
  EXPECT_LT(c, 256u);
  EXPECT_LT(d, 256u);
  std::printf("ReadTcp: %s\n", ip.c_str());
  lib.unload();
}

}  // namespace
}  // namespace lumo::devhost
