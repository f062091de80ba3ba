#include <gtest/gtest.h>
#include <unistd.h>

#include <functional>

#include "automation/object.h"
#include "devhost/components/components.h"
#include "devhost/components/hostdb.h"
#include "devhost/tests/component_fixture.h"
#include "devhost/tests/support.h"

namespace lumo::devhost {
namespace {

using test::DevHost;
using lumo::test::errorOf;
using lumo::test::u8;

// The SQL the add-in's recipient trees send, byte for byte.
const ustring kDepartments =
    u"Select Distinct t1.FDepartmentID,t2.FName as FDepartName"
    u" From t_Emp t1 Inner join t_Department t2 on t1.FDepartmentID=t2.FItemID Where t1.FItemID>0 Order by "
    u"t1.FDepartmentID";
const ustring kGroups =
    u"Select Distinct g.FGroupID,u.FName as FGroupName From t_User u Inner join t_Group g On"
    u" u.fUserid =g.fGroupID Order by g.FGroupID";
const ustring kNoDepartment =
    u"Select t1.FItemID,t1.FName,t1.FDepartmentID,t1.FMobilePhone "
    u"From t_Emp t1 Inner join t_Item t2 On t1.FItemID=t2.FItemID "
    u"Where IsNull(t1.FDepartmentID,0)=0 And (Lower(t1.FNumber) Not in ('admin','super')) "
    u"And t2.FDeleted=0 Order by t1.FNumber";
ustring departmentMembers(int id) {
  return u"Select t1.FItemID,t1.FName,t1.FDepartmentID,t1.FMobilePhone "
         u"From t_Emp t1 Inner join t_Item t2 On t1.FItemID=t2.FItemID "
         u"Where t1.FDepartmentID=" +
         toText(id) + u" And t2.FDeleted=0 Order by t1.FNumber";
}
ustring groupMembers(int id) {
  return u"Select u.FUserID,u.FName,E.FMobilePhone,g.FGroupID From t_User u Left join t_Group g On"
         u" u.FUserID=g.FUserID Left join t_Emp E On u.FEmpID=e.FItemID"
         u" Where u.FUserID>=16384 And u.FUserID<=32767 And u.FForbidden=0 And"
         u" g.FGroupID=" +
         toText(id);
}

// --- GetData answering the add-in's directory queries ----------------------

TEST_F(DevHost, DepartmentTreeQueryListsDepartmentsHoldingEmployees) {
  std::vector<ustring> names;
  auto rows = getData(kDepartments, &names);
  ASSERT_EQ(names.size(), 2u);
  EXPECT_EQ(u8(names[0]), "FDepartmentID");
  EXPECT_EQ(u8(names[1]), "FDepartName");
  std::vector<int32_t> ids;
  for (auto& r : rows) ids.push_back(r[0].toI4());
  // 质量管理部 (109) has nobody; 研发中心 (110) holds only a deleted employee and still appears.
  EXPECT_EQ(ids, (std::vector<int32_t>{101, 102, 103, 104, 105, 106, 107, 108, 110, 111}));
  EXPECT_EQ(rows[0][1], Variant(u"总经理办公室"));
  EXPECT_EQ(rows[2][1], Variant(u"销售部"));
  EXPECT_TRUE(rows[9][1].isNull());  // a department without a name
  EXPECT_EQ(rows[0][0].type(), Variant::Type::I4);
}

TEST_F(DevHost, GroupTreeQueryListsGroupsWithMembers) {
  auto rows = getData(kGroups);
  std::vector<std::string> got;
  for (auto& r : rows) got.push_back(std::to_string(r[0].toI4()) + " " + u8(r[1].toString()));
  EXPECT_EQ(got, (std::vector<std::string>{"40001 Administrators", "40002 财务组", "40003 销售组", "40004 采购仓储组",
                                           "40005 人事行政组", "40006 外部用户组"}));
}

TEST_F(DevHost, NoDepartmentQueryIsAdaptedAndLeavesOutAdminSuperAndDeleted) {
  auto rows = getData(kNoDepartment);
  ASSERT_EQ(rows.size(), 3u);
  EXPECT_EQ(rows[0][0].toI4(), 1027);
  EXPECT_EQ(rows[0][1], Variant(u"冯雪"));
  EXPECT_TRUE(rows[0][2].isNull());
  EXPECT_EQ(rows[0][3], Variant(u"13701000027"));
  EXPECT_EQ(rows[1][0].toI4(), 1028);
  EXPECT_EQ(rows[1][2], Variant(int32_t(0)));
  EXPECT_EQ(rows[2][0].toI4(), 1029);
  EXPECT_TRUE(rows[2][3].isNull());
}

TEST_F(DevHost, DepartmentMembersComeInNumberOrderWithoutDeletedItems) {
  auto rows = getData(departmentMembers(103));
  std::vector<int32_t> ids;
  for (auto& r : rows) ids.push_back(r[0].toI4());
  // 1011 is deleted; "Admin" sorts after the digits and is listed in a department.
  EXPECT_EQ(ids, (std::vector<int32_t>{1006, 1007, 1008, 1009, 1010, 1036, 1033}));
  EXPECT_EQ(rows[2][3], Variant(u"   "));  // blank-only number
  EXPECT_EQ(rows[4][3], Variant(u""));
  EXPECT_EQ(rows[6][1], Variant(u"管理员(销售)"));
  EXPECT_TRUE(getData(departmentMembers(110)).empty());
}

TEST_F(DevHost, GroupMembersAreOrdinaryUsersNotForbiddenWithTheirEmployeesNumbers) {
  auto rows = getData(groupMembers(40003));
  std::vector<int32_t> ids;
  for (auto& r : rows) ids.push_back(r[0].toI4());
  std::sort(ids.begin(), ids.end());
  EXPECT_EQ(ids, (std::vector<int32_t>{16389, 16390, 16391, 16393, 16398, 16399}));
  for (auto& r : rows) {
    EXPECT_EQ(r[3].toI4(), 40003);
    if (r[0].toI4() == 16398) {
      EXPECT_TRUE(r[2].isNull()) << "a user bound to no employee has no number";
    }
    if (r[0].toI4() == 16391) {
      EXPECT_EQ(r[2], Variant(u"   "));
    }
  }
  // 赵磊 (16390) stands in two groups.
  auto other = getData(groupMembers(40004));
  bool found = false;
  for (auto& r : other) found |= r[0].toI4() == 16390;
  EXPECT_TRUE(found);
  EXPECT_TRUE(getData(groupMembers(40006)).empty());
}

TEST_F(DevHost, MobileTableQueryWithANumberGluedToAndRuns) {
  auto rows = getData(
      u"Select a.FName,a.FEmpID,b.FName as EmpName,b.FMobilePhone From t_User a Left join t_Emp b On "
      u"a.FEmpID=b.FItemID Where a.FUserID Between 16384 And 32767And a.FForbidden=0 Order By a.FUserID");
  EXPECT_EQ(rows.size(), 20u);  // 22 ordinary users, two of them forbidden
  EXPECT_EQ(rows[0][0], Variant(u"王建国"));
  EXPECT_EQ(rows[0][1], Variant(int32_t(1001)));
}

TEST_F(DevHost, GetDataRaisesTheDatabasesMessageForBadSql) {
  ustring d;
  EXPECT_EQ(errorOf([&] { getData(u"Select FNope From t_Emp"); }, &d), odbc::kErrStatement);
  EXPECT_NE(d.find(u"FNope"), ustring::npos) << u8(d);
}

// --- journal -----------------------------------------------------------------

TEST_F(DevHost, EveryCallIsJournalledWithArgumentsAndResult) {
  getData(kGroups);
  JournalRow j = lastJournal();
  EXPECT_EQ(u8(j.component), "LumoMSmsManager.clsBillUseInfo");
  EXPECT_EQ(u8(j.method), "GetData");
  EXPECT_EQ(u8(j.kind), "call");
  EXPECT_EQ(j.arguments, u"'" + props_ + u"', '" + kGroups + u"'");
  EXPECT_EQ(j.result, Variant(u"<recordset: 6 rows, 2 fields>"));
  EXPECT_EQ(j.pid, static_cast<int32_t>(getpid()));

  ObjectPtr loader = create(u"LumoResLoader.Loader");
  loader->put(u"LanguageID", ustring(u"en"));
  j = lastJournal();
  EXPECT_EQ(u8(j.method), "LanguageID");
  EXPECT_EQ(u8(j.kind), "put");
  EXPECT_EQ(u8(j.arguments), "'en'");
  loader->get(u"languageid");
  EXPECT_EQ(u8(lastJournal().method), "LanguageID");
  EXPECT_EQ(lastJournal().result, Variant(u"'en'"));
}

TEST_F(DevHost, FailedAndUnknownCallsAreJournalledToo) {
  ObjectPtr info = create(u"OxaBase.SecurityInfo");
  ustring d;
  EXPECT_EQ(errorOf([&] { info->call(u"NoSuchMethod", {int32_t(1)}); }, &d), errnum::NotSupported);
  EXPECT_NE(d.find(u"NoSuchMethod"), ustring::npos);
  JournalRow j = lastJournal();
  EXPECT_EQ(u8(j.method), "NoSuchMethod");
  EXPECT_EQ(u8(j.arguments), "1");
  EXPECT_EQ(u8(j.result.toString()).rfind("error 438", 0), 0u) << u8(j.result);
  EXPECT_FALSE(info->hasMember(u"NoSuchMethod"));
  EXPECT_TRUE(info->hasMember(u"accesscheck"));
}

// --- switches ----------------------------------------------------------------

TEST_F(DevHost, EmptySwitchAnswersAnEmptyValueOfTheMembersKind) {
  setSwitch(u"LumoMSmsManager.clsBillUseInfo", u"GetData", u"empty");
  ObjectPtr rs = create(u"LumoMSmsManager.clsBillUseInfo")->call(u"GetData", {props_, kGroups}).toObject();
  EXPECT_TRUE(rs->get(u"EOF").toBool());
  EXPECT_EQ(rs->get(u"RecordCount").toI4(), 0);

  setSwitch(u"oxabase.logserver", u"*", u"empty");  // component names ignore case
  EXPECT_EQ(create(u"OxaBase.LogServer")->call(u"WriteLog", {props_, ustring(u"SMS00109"), int32_t(1)}),
            Variant(int32_t(0)));
  EXPECT_EQ(count(u"SELECT COUNT(*) FROM dh_AuditLog"), 0);

  setSwitch(u"OxaBase.SecurityInfo", u"AccessCheck", u"empty");
  EXPECT_EQ(create(u"OxaBase.SecurityInfo")->call(u"AccessCheck", {props_, int32_t(65010), int32_t(0), int32_t(2)}),
            Variant(false));
  setSwitch(u"LumoResLoader.Loader", u"LoadString", u"empty");
  EXPECT_EQ(create(u"LumoRESLOADER.Loader")->call(u"LoadString", {ustring(u"无部门")}), Variant(u""));
  EXPECT_EQ(lastJournal().result, Variant(u"''"));
}

TEST_F(DevHost, RaiseSwitchRaisesAClearErrorAndTheCallIsStillJournalled) {
  setSwitch(u"LumoMSmsManager.clsBillUseInfo", u"*", u"raise");
  ustring d;
  EXPECT_EQ(errorOf([&] { getData(kGroups); }, &d), hosterr::Switched);
  EXPECT_EQ(u8(d),
            "LumoMSmsManager.clsBillUseInfo.GetData failed: the development host's switch for this member is set to "
            "'raise'");
  JournalRow j = lastJournal();
  EXPECT_EQ(u8(j.method), "GetData");
  EXPECT_NE(j.arguments.find(kGroups), ustring::npos);
  EXPECT_EQ(u8(j.result.toString()).rfind("error -2147220989: ", 0), 0u) << u8(j.result);
}

TEST_F(DevHost, MemberSwitchWinsOverComponentSwitchAndOthersAnswerNormally) {
  setSwitch(u"OxaBase.SecurityInfo", u"*", u"raise");
  setSwitch(u"OxaBase.SecurityInfo", u"GetCurrentUser", u"empty");
  ObjectPtr info = create(u"OxaBase.SecurityInfo");
  EXPECT_EQ(info->call(u"GetCurrentUser", {props_}), Variant(u""));
  EXPECT_EQ(errorOf([&] { info->call(u"GetCurrentUserID", {props_}); }), hosterr::Switched);
  EXPECT_EQ(create(u"OxaBase.LogServer")->call(u"WriteLog", {props_, ustring(u"SMS00109"), int32_t(1)}),
            Variant(int32_t(1)));
  db_->execute(u"DELETE FROM dh_Switch");
  EXPECT_EQ(info->call(u"GetCurrentUser", {props_}), Variant(u"张伟"));
}

TEST_F(DevHost, MissingSwitchRefusesCreationWith429) {
  setSwitch(u"LumoLangInfo.LangInfo", u"*", u"missing");
  ustring d;
  EXPECT_EQ(errorOf([&] { create(u"LumoLangInfo.LangInfo"); }, &d), errnum::CannotCreateObject);
  EXPECT_NE(d.find(u"LumoLangInfo.LangInfo"), ustring::npos);
  EXPECT_NE(d.find(u"missing"), ustring::npos);
  // 'missing' does not reach the members of a component already created.
  setSwitch(u"PropsMgr.ShareProps", u"*", u"missing");
  EXPECT_EQ(errorOf([&] { create(u"PropsMgr.ShareProps"); }), errnum::CannotCreateObject);
  db_->execute(u"DELETE FROM dh_Switch");
  EXPECT_NO_THROW(create(u"LumoLangInfo.LangInfo"));
}

TEST_F(DevHost, UnknownProgIdCannotBeCreated) {
  ustring d;
  EXPECT_EQ(errorOf([&] { create(u"Nobody.Home"); }, &d), errnum::CannotCreateObject);
  EXPECT_NE(d.find(u"Nobody.Home"), ustring::npos);
}

// --- sessions ----------------------------------------------------------------

TEST_F(DevHost, SignInBuildsTheSessionStringAndGetPropertyReturnsIt) {
  EXPECT_EQ(props_, u"UserName=张伟;UserID=16386;DBMS Name=SQLite;DBMS Version=3;ConnectString={Driver=SQLite3;Database=" +
                        fromUtf8(path_) + u"}");
  EXPECT_EQ(props_.find(u"Language"), ustring::npos);
  ObjectPtr share = create(u"PropsMgr.ShareProps");
  int32_t pid = static_cast<int32_t>(getpid());
  EXPECT_EQ(share->call(u"GetProperty", {pid, ustring(u"PropsString")}), Variant(props_));
  EXPECT_EQ(share->call(u"GetProperty", {pid, ustring(u"UserID")}), Variant(int32_t(16386)));
  EXPECT_EQ(share->call(u"GetProperty", {pid, ustring(u"Language")}), Variant(u"chs"));
  EXPECT_TRUE(share->call(u"GetProperty", {pid, ustring(u"Anything")}).isEmpty());
}

TEST_F(DevHost, SessionsBelongToTheirProcess) {
  ObjectPtr share = create(u"PropsMgr.ShareProps");
  ustring other = share->call(u"SignIn", {ustring(u"杨洋"), ustring(u"en"), int32_t(424242)}).toString();
  EXPECT_EQ(share->call(u"GetProperty", {int32_t(424242), ustring(u"PropsString")}), Variant(other));
  EXPECT_EQ(share->call(u"GetProperty", {int32_t(getpid()), ustring(u"PropsString")}), Variant(props_));
  ustring d;
  EXPECT_EQ(errorOf([&] { share->call(u"GetProperty", {int32_t(99), ustring(u"PropsString")}); }, &d),
            hosterr::NotSignedIn);
  EXPECT_NE(d.find(u"process 99"), ustring::npos);
  share->call(u"SignOut", {int32_t(424242)});
  EXPECT_EQ(errorOf([&] { share->call(u"GetProperty", {int32_t(424242), ustring(u"PropsString")}); }),
            hosterr::NotSignedIn);
  share->call(u"SignOut");
  EXPECT_EQ(count(u"SELECT COUNT(*) FROM dh_Session"), 0);
}

TEST_F(DevHost, SignInRefusesUnknownAndForbiddenUsersAndOtherLanguages) {
  ObjectPtr share = create(u"PropsMgr.ShareProps");
  ustring d;
  EXPECT_EQ(errorOf([&] { share->call(u"SignIn", {ustring(u"无此人"), ustring(u"chs")}); }, &d), hosterr::BadArgument);
  EXPECT_NE(d.find(u"无此人"), ustring::npos);
  EXPECT_EQ(errorOf([&] { share->call(u"SignIn", {ustring(u"周杰"), ustring(u"chs")}); }, &d), hosterr::BadArgument);
  EXPECT_NE(d.find(u"forbidden"), ustring::npos);
  EXPECT_EQ(errorOf([&] { share->call(u"SignIn", {ustring(u"张伟"), ustring(u"fr")}); }, &d), hosterr::BadArgument);
  // A language given in capitals is stored in lower case; none means chs.
  share->call(u"SignIn", {ustring(u"张伟"), ustring(u"CHT")});
  EXPECT_EQ(create(u"LumoLangInfo.LangInfo")->get(u"CurrentLanguage"), Variant(u"cht"));
  share->call(u"SignIn", {ustring(u"administrator")});
  EXPECT_EQ(create(u"LumoLangInfo.LangInfo")->get(u"CurrentLanguage"), Variant(u"chs"));
}

TEST_F(DevHost, ComponentsRefuseSessionsOfUnknownUsers) {
  ObjectPtr bill = create(u"LumoMSmsManager.clsBillUseInfo");
  ustring d;
  EXPECT_EQ(errorOf([&] { bill->call(u"GetData", {ustring(u"UserName=x;UserID=999;Language=chs"), kGroups}); }, &d),
            hosterr::UnknownSession);
  EXPECT_NE(d.find(u"999"), ustring::npos);
  EXPECT_EQ(errorOf([&] { bill->call(u"GetData", {ustring(u"UserName=张伟;Language=chs"), kGroups}); }, &d),
            hosterr::UnknownSession);
  EXPECT_NE(d.find(u"UserID"), ustring::npos);
  EXPECT_EQ(errorOf([&] { bill->call(u"GetData", {ustring(u"UserID=abc"), kGroups}); }), hosterr::UnknownSession);
  EXPECT_EQ(errorOf([&] { bill->call(u"GetData", {int32_t(5), kGroups}); }), hosterr::UnknownSession);
  // The add-in appends the language; a session string read back that way still resolves.
  EXPECT_EQ(create(u"OxaBase.SecurityInfo")->call(u"GetCurrentUserID", {props_ + u";Language=en"}),
            Variant(int32_t(16386)));
}

TEST_F(DevHost, SessionEntriesAreFoundBesideBracedValues) {
  EXPECT_EQ(u8(*sessionEntry(u"A=1;ConnectString={x;UserID=5};userid = 7 ;B=2", u"UserID")), "7");
  EXPECT_EQ(u8(*sessionEntry(u"UserName=张伟;UserID=16386", u"UserName")), "张伟");
  EXPECT_FALSE(sessionEntry(u"UserName=x", u"UserID").has_value());
}

TEST_F(DevHost, LanguageInfoIsChsWithoutASession) {
  create(u"PropsMgr.ShareProps")->call(u"SignOut");
  EXPECT_EQ(create(u"LumoLangInfo.LangInfo")->get(u"CurrentLanguage"), Variant(u"chs"));
  signIn(u"杨洋", u"en");
  EXPECT_EQ(create(u"LumoLangInfo.LangInfo")->call(u"CurrentLanguage"), Variant(u"en"));
}

// --- resources ---------------------------------------------------------------

TEST_F(DevHost, ResourceLoaderTranslatesForEnAndChtAndKeepsTheKeyOtherwise) {
  ObjectPtr loader = create(u"LumoResLoader.Loader");
  loader->put(u"ResFileBaseName", ustring(u"LumoBase"));
  loader->put(u"ResDirectory", ustring(u""));
  EXPECT_EQ(loader->get(u"ResFileBaseName"), Variant(u"LumoBase"));
  EXPECT_EQ(loader->call(u"LoadString", {ustring(u"无部门")}), Variant(u"无部门"));  // chs by default
  loader->put(u"LanguageID", ustring(u"en"));
  EXPECT_EQ(loader->call(u"LoadString", {ustring(u"无部门")}), Variant(u"No department"));
  EXPECT_EQ(loader->call(u"LoadString2", {ustring(u"正在加载数据")}), Variant(u"Loading data"));
  EXPECT_EQ(loader->call(u"LoadString", {ustring(u"没有这个词")}), Variant(u"没有这个词"));
  loader->put(u"LanguageID", ustring(u"CHT"));
  EXPECT_EQ(loader->call(u"LoadString", {ustring(u"无部门")}), Variant(u"無部門"));
  EXPECT_EQ(loader->call(u"LoadString", {ustring(u"只有英文")}), Variant(u"只有英文"));  // no cht text
  loader->put(u"LanguageID", ustring(u"chs"));
  EXPECT_EQ(loader->call(u"LoadString", {ustring(u"发送成功")}), Variant(u"发送成功"));
  // The other spelling of the ProgID is the same class.
  ObjectPtr upper = create(u"LumoRESLOADER.Loader");
  upper->put(u"LanguageID", ustring(u"en"));
  EXPECT_EQ(upper->call(u"LoadString", {ustring(u"发送成功")}), Variant(u"Sent"));
  EXPECT_EQ(u8(lastJournal().component), "LumoResLoader.Loader");
}

TEST_F(DevHost, FormResourceLoaderRecordsTheCallAndNamesFonts) {
  ObjectPtr frm = create(u"FrmRes.FrmResLoader");
  ObjectPtr form = std::make_shared<DynamicObject>(u"Form");
  EXPECT_EQ(frm->get(u"NeedMLColumnHeaders"), Variant(false));
  frm->put(u"NeedMLColumnHeaders", true);
  EXPECT_EQ(frm->get(u"NeedMLColumnHeaders"), Variant(true));
  EXPECT_TRUE(frm->call(u"LoadFrmResStrings", {form, Variant::missing(), ustring(u"en")}).isEmpty());
  EXPECT_EQ(u8(lastJournal().arguments), "<object>, Missing, 'en'");
  EXPECT_EQ(frm->call(u"SetFrmFont", {form, ustring(u"chs")}), Variant(u"宋体"));
  EXPECT_EQ(frm->call(u"SetFrmFont", {form, ustring(u"cht")}), Variant(u"新細明體"));
  EXPECT_EQ(frm->call(u"GetLumoFontProps", {ustring(u"en")}), Variant(u"Tahoma"));
}

TEST_F(DevHost, FormResourceLoaderSetsTheFontOfAFormThatShowsOne) {
  ObjectPtr frm = create(u"FrmRes.FrmResLoader");
  auto font = std::make_shared<DynamicObject>(u"Font");
  font->property(u"Name", ustring(u"Arial")).property(u"Charset", int16_t(1));
  auto form = std::make_shared<DynamicObject>(u"Form");
  form->property(u"Font", Variant(ObjectPtr(font)));
  EXPECT_EQ(frm->call(u"SetFrmFont", {Variant(ObjectPtr(form)), ustring(u"cht")}), Variant(u"新細明體"));
  EXPECT_EQ(font->propertyValue(u"Name"), Variant(u"新細明體"));
  EXPECT_EQ(font->propertyValue(u"Charset").toI4(), 136);
  frm->call(u"SetFrmFont", {Variant(ObjectPtr(form)), ustring(u"en")});
  EXPECT_EQ(font->propertyValue(u"Name"), Variant(u"Tahoma"));
  EXPECT_EQ(font->propertyValue(u"Charset").toI4(), 0);
  frm->call(u"SetFrmFont", {Variant(ObjectPtr(form)), ustring(u"chs")});
  EXPECT_EQ(font->propertyValue(u"Name"), Variant(u"宋体"));
  EXPECT_EQ(font->propertyValue(u"Charset").toI4(), 134);
}

// --- audit log -----------------------------------------------------------------

TEST_F(DevHost, WriteLogReturnsOneAndWritesAnAuditRow) {
  ObjectPtr log = create(u"OxaBase.LogServer");
  EXPECT_EQ(log->call(u"WriteLog", {props_, ustring(u"SMS00109"), int32_t(5), ustring(u"发送短信"),
                                    ustring(u"DEVPC"), ustring(u"10.0.0.8")}),
            Variant(int32_t(1)));
  odbc::Result r = db_->query(
      u"SELECT FUserID, FUserName, FFuncID, FStatement, FDesc, FMachineName, FIPAddress, FBatch, FProcessID, FTime "
      u"FROM dh_AuditLog");
  ASSERT_EQ(r.rows.size(), 1u);
  const auto& x = r.rows[0];
  EXPECT_EQ(x[0], Variant(int32_t(16386)));
  EXPECT_EQ(x[1], Variant(u"张伟"));
  EXPECT_EQ(x[2], Variant(u"SMS00109"));
  EXPECT_EQ(x[3], Variant(int32_t(5)));
  EXPECT_EQ(x[4], Variant(u"发送短信"));
  EXPECT_EQ(x[5], Variant(u"DEVPC"));
  EXPECT_EQ(x[6], Variant(u"10.0.0.8"));
  EXPECT_EQ(x[7], Variant(int32_t(0)));
  EXPECT_EQ(x[8], Variant(int32_t(getpid())));
  EXPECT_EQ(x[9].toString().size(), 23u);  // yyyy-mm-dd hh:mm:ss.sss
}

std::shared_ptr<Collection> batchRecord(const ustring& func, const ustring& desc, const ustring& machine,
                                        const ustring& ip) {
  auto rec = std::make_shared<Collection>();
  ustring k1 = u"FFuncID", k2 = u"FStatement", k3 = u"FDesc", k4 = u"FMachineName", k5 = u"FIPAddress";
  rec->add(func, &k1);
  rec->add(int16_t(5), &k2);
  rec->add(desc, &k3);
  rec->add(machine, &k4);
  rec->add(ip, &k5);
  return rec;
}

TEST_F(DevHost, WriteBatchLogWritesOneRowPerRecordReadByFieldName) {
  auto records = std::make_shared<Collection>();
  records->add(ObjectPtr(batchRecord(u"SMS00107", u"启用审批通知服务:[采购订单]", u"DEVPC", u"10.0.0.8")));
  records->add(ObjectPtr(batchRecord(u"SMS00107", u"取消审批通知服务:[销售订单]", u"DEVPC", u"10.0.0.8")));
  Variant byRef = ObjectPtr(records);
  EXPECT_TRUE(create(u"OxaBase.LogServer")->call(u"WriteBatchLog", {props_, Variant::ref(&byRef)}).isEmpty());
  odbc::Result r = db_->query(u"SELECT FUserID, FFuncID, FStatement, FDesc, FBatch FROM dh_AuditLog ORDER BY FID");
  ASSERT_EQ(r.rows.size(), 2u);
  EXPECT_EQ(r.rows[0][0], Variant(int32_t(16386)));
  EXPECT_EQ(r.rows[0][1], Variant(u"SMS00107"));
  EXPECT_EQ(r.rows[0][2], Variant(int32_t(5)));
  EXPECT_EQ(r.rows[0][3], Variant(u"启用审批通知服务:[采购订单]"));
  EXPECT_EQ(r.rows[1][3], Variant(u"取消审批通知服务:[销售订单]"));
  EXPECT_EQ(r.rows[1][4], Variant(int32_t(1)));

  // The one-argument form takes the user signed in for this process.
  auto one = std::make_shared<Collection>();
  one->add(ObjectPtr(batchRecord(u"SMS00102", u"x", u"M", u"I")));
  create(u"OxaBase.LogServer")->call(u"WriteBatchLog", {ObjectPtr(one)});
  EXPECT_EQ(count(u"SELECT COUNT(*) FROM dh_AuditLog WHERE FFuncID='SMS00102' AND FUserID=16386 AND FBatch=1"), 1);
}

TEST_F(DevHost, WriteBatchLogNamesTheMissingFieldAndWritesNothing) {
  auto records = std::make_shared<Collection>();
  records->add(ObjectPtr(batchRecord(u"SMS00107", u"a", u"M", u"I")));
  auto bad = std::make_shared<Collection>();
  ustring k = u"FFuncID";
  bad->add(ustring(u"SMS00107"), &k);
  records->add(ObjectPtr(bad));
  ustring d;
  EXPECT_EQ(errorOf([&] { create(u"OxaBase.LogServer")->call(u"WriteBatchLog", {props_, ObjectPtr(records)}); }, &d),
            hosterr::BadArgument);
  EXPECT_NE(d.find(u"record 2 has no field FStatement"), ustring::npos) << u8(d);
  EXPECT_EQ(count(u"SELECT COUNT(*) FROM dh_AuditLog"), 0);
}

// --- security ----------------------------------------------------------------

TEST_F(DevHost, AccessCheckGrantsAdministratorsEverythingAndOthersTheirMasks) {
  ObjectPtr info = create(u"OxaBase.SecurityInfo");
  auto check = [&](const ustring& props, int32_t mask) {
    return info->call(u"AccessCheck", {props, int32_t(65010), int32_t(0), mask, false}).toBool();
  };
  ustring admin = signIn(u"administrator", u"chs");
  EXPECT_TRUE(check(admin, 0x1000000 | 0x2));
  ustring adminGroupMember = signIn(u"王建国", u"chs");  // in the group Administrators
  EXPECT_TRUE(check(adminGroupMember, 0x40));
  // 张伟: SendMessage and UserMobileSet of his own, UserMobileSet and UserEmpList through 财务组.
  EXPECT_TRUE(check(props_, 0x2));
  EXPECT_TRUE(check(props_, 0x12));
  EXPECT_TRUE(check(props_, 0x1000000));
  EXPECT_FALSE(check(props_, 0x40));
  EXPECT_FALSE(check(props_, 0x2 | 0x40));
  ustring sales = signIn(u"杨洋", u"chs");  // 销售组: SendMessage only
  EXPECT_TRUE(check(sales, 0x2));
  EXPECT_FALSE(check(sales, 0x10));
  ustring nobody = signIn(u"谢婷", u"chs");  // no group, no rights
  EXPECT_FALSE(check(nobody, 0x2));
  // Another object type holds nothing.
  EXPECT_FALSE(info->call(u"AccessCheck", {sales, int32_t(1), int32_t(0), int32_t(2), false}).toBool());
}

TEST_F(DevHost, CurrentUserComesFromTheSessionString) {
  ObjectPtr info = create(u"OxaBase.SecurityInfo");
  EXPECT_EQ(info->call(u"GetCurrentUser", {props_}), Variant(u"张伟"));
  EXPECT_EQ(info->call(u"GetCurrentUserID", {props_}), Variant(int32_t(16386)));
  EXPECT_EQ(info->call(u"GetCurrentUser", {ustring(u"UserID=16398;UserName=whatever")}), Variant(u"临时用户"));
}

// --- no database ---------------------------------------------------------------

TEST(DevHostWithoutDatabase, CallsRaiseNamingTheVariable) {
  const char* saved = std::getenv("LUMO_DEVHOST_DB");
  std::string keep = saved ? saved : "";
  ::unsetenv("LUMO_DEVHOST_DB");
  ObjectPtr info = createComponent(u"LumoLangInfo.LangInfo");
  ustring d;
  EXPECT_EQ(errorOf([&] { info->get(u"CurrentLanguage"); }, &d), hosterr::NoDatabase);
  EXPECT_NE(d.find(u"LUMO_DEVHOST_DB"), ustring::npos);
  ::setenv("LUMO_DEVHOST_DB", "/nonexistent/dir/x.db", 1);
  EXPECT_NE(errorOf([&] { createComponent(u"OxaBase.LogServer")->call(u"WriteLog", {ustring(u"UserID=1")}); }), 0);
  if (saved)
    ::setenv("LUMO_DEVHOST_DB", keep.c_str(), 1);
  else
    ::unsetenv("LUMO_DEVHOST_DB");
}

TEST(DevHostClasses, EveryProgIdHasAFixedClassId) {
  const auto& classes = componentClasses();
  // The ERP's components the add-in calls: nine of the host, two of the services,
  // four of the mobile numbers.
  EXPECT_EQ(classes.size(), 15u);
  for (const auto& c : classes) {
    ustring id = c.clsid;
    EXPECT_EQ(id.size(), 38u);
    EXPECT_EQ(id.front(), u'{');
    EXPECT_EQ(findComponentClass(c.progId), &c);
  }
  ASSERT_NE(findComponentClass(u"LumoRESLOADER.Loader"), nullptr);
  EXPECT_EQ(u8(ustring(findComponentClass(u"LumoRESLOADER.Loader")->progId)), "LumoResLoader.Loader");
  EXPECT_EQ(findComponentClass(u"LumoMSmsManager.clsNoSuchClass"), nullptr);
  // Class ids are distinct.
  for (std::size_t i = 0; i < classes.size(); ++i)
    for (std::size_t j = i + 1; j < classes.size(); ++j)
      EXPECT_FALSE(equalsNoCase(classes[i].clsid, classes[j].clsid)) << u8(ustring(classes[i].progId));
  ASSERT_NE(findComponentClass(u"vtmobileopen.mobileopen"), nullptr);
  EXPECT_EQ(u8(ustring(findComponentClass(u"vtmobileopen.mobileopen")->clsid)),
            "{919FB0E2-869F-484D-AFD2-A9EAEB773157}");
  ASSERT_NE(findComponentClass(u"LumoMSmsManager.CSerivceInfo"), nullptr);
  EXPECT_EQ(u8(ustring(findComponentClass(u"LumoMSmsManager.CSerivceInfo")->clsid)),
            "{799675B1-A76B-4289-B726-429CD490966D}");
}

}  // namespace
}  // namespace lumo::devhost
