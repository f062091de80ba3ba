// The window's start, the catalogue tree (current and older loaders) and the
// list loaded for a node.
#include "notify_fixture.h"

namespace lumo::test {
namespace {

using V = std::vector<ustring>;
using notify::ServiceControl;

// The calls of the window's own components in order (the session and language
// look-ups left out), as "Member".
V windowCalls(const FakePlatform& fake) {
  V out;
  for (const JournalEntry& e : fake.journal) {
    if (e.component == u"PropsMgr.ShareProps" || e.component == u"LumoLangInfo.LangInfo" ||
        e.component == u"LumoResLoader.Loader")
      continue;
    out.push_back(e.member);
  }
  return out;
}

class ServiceWindow : public NotifyTest {};

TEST_F(ServiceWindow, StartCallsInTheirOrder) {
  open();
  EXPECT_EQ(windowCalls(fake), (V{u"DeleteUserByFlowInSMSPrescirbe", u"IniUseFlag", u"GetUseFlag", u"GetAllFlow",
                                  u"GetBillInfo", u"GetBillUseInfo", u"GetAllFlow", u"GetData", u"WriteLog"}));
  EXPECT_EQ(fake.calls(u"OxaBase.LogServer"),
            (std::vector<std::string>{"OxaBase.LogServer.WriteLog('" + u8(props) +
                                      "', 'SMS00107', 1, '', 'WORKSTATION01', '192.168.10.21')"}));
  EXPECT_TRUE(window->useFlag());
  EXPECT_EQ(window->machineName(), u"WORKSTATION01");
  EXPECT_EQ(window->ipAddress(), u"192.168.10.21");
}

TEST_F(ServiceWindow, CaptionsToolBarAndListLayout) {
  open();
  EXPECT_EQ(view.captions[ServiceControl::Form], u"审批通知服务管理");
  EXPECT_EQ(view.captions[ServiceControl::faTree], u"短信通知服务");
  EXPECT_EQ(view.captions[ServiceControl::faList], u"短信通知服务列表");
  V keys, captions;
  for (const auto& b : view.buttons) {
    keys.push_back(b.key);
    captions.push_back(b.caption);
  }
  EXPECT_EQ(keys, (V{u"Start", u"Cancel", u"SelectAll", u"CancelAll", u"Print", u"PrintSet", u"PrintView", u"Option",
                     u"NoMobile", u"MnuHelpDoc", u"Exit"}));
  EXPECT_EQ(captions[0], u"启用");
  EXPECT_EQ(captions[1], u"停用");
  EXPECT_EQ(captions[2], u"全选");
  EXPECT_EQ(captions[3], u"全清");
  EXPECT_EQ(captions[10], u"退出");
  EXPECT_EQ(view.titles, u"Type|ID|名称|是否启用短信通知");
  EXPECT_EQ(view.widths, (std::vector<int32_t>{0, 0, 3600, 1800}));
}

TEST_F(ServiceWindow, CaptionsAreLookedUpInEnglish) {
  fake.setCurrentLanguage(u"en");
  open();
  EXPECT_EQ(view.captions[ServiceControl::Form], u"en:审批通知服务管理");
  EXPECT_EQ(view.titles, u"Type|ID|en:名称|en:是否启用短信通知");
  EXPECT_EQ(window->tree().text(window->tree().find(u"Root")), u"en:移动商务");
  EXPECT_EQ(window->cellText(2, 4), u"en:是");
  // Looked up with its placeholder, then filled.
  EXPECT_EQ(view.toolText, u"en:3 个用户没有手机号码，收不到短信通知");
}

TEST_F(ServiceWindow, TreeHasGroupsBeforeWorkflowsUnderTheRoot) {
  open();
  const ui::TreeModel& t = window->tree();
  ASSERT_EQ(t.rootCount(), 1u);
  EXPECT_EQ(t.key(t.firstRoot()), u"Root");
  EXPECT_EQ(t.text(t.firstRoot()), u"移动商务");
  EXPECT_TRUE(t.expanded(t.firstRoot()));
  EXPECT_EQ(rootChildKeys(),
            (V{u"KG1", u"KG2", u"KG3", u"KG4", u"KB1001005", u"KB1002001", u"KB1006002", u"KB2000001"}));
  EXPECT_EQ(childTexts(u"Root"), (V{u"采购管理", u"销售管理", u"生产管理", u"空组", u"采购审批流", u"生产任务审批",
                                    u"费用报销审批", u"其他流程"}));
  EXPECT_EQ(view.treeLoads, 1);
  EXPECT_TRUE(t.selected(t.find(u"Root")));
}

TEST_F(ServiceWindow, EmptyGroupsLeaveRootAndWorkflows) {
  groups.clear();
  open();
  EXPECT_EQ(rootChildKeys(), (V{u"KB1001005", u"KB1002001", u"KB1006002", u"KB2000001"}));
}

TEST_F(ServiceWindow, EmptyWorkflowsGiveNoWorkflowNodesAndNoError) {
  flows.clear();
  open();
  EXPECT_EQ(rootChildKeys(), (V{u"KG1", u"KG2", u"KG3", u"KG4"}));
  EXPECT_TRUE(prompts().empty());
}

TEST_F(ServiceWindow, RootListsEveryServiceOrdinaryFirst) {
  open();
  EXPECT_EQ(listRows(),
            (V{u"Normal|71|采购订单|是", u"Normal|72|采购入库单|否", u"Normal|81|销售订单|是",
               u"Normal|82|销售出库单|否", u"Normal|91|生产任务单|否", u"ORN|1001005|采购审批流|是",
               u"ORN|1002001|生产任务审批|否", u"ORN|1006002|费用报销审批|否", u"ORN|2000001|其他流程|是"}));
  EXPECT_EQ(view.rowCounts.back(), 10);
  EXPECT_EQ(view.selection, (std::vector<int32_t>{2}));
}

TEST_F(ServiceWindow, GroupNodeListsItsBillTypesOnly) {
  open();
  fake.clearJournal();
  click(u"KG2");
  EXPECT_EQ(listRows(), (V{u"Normal|81|销售订单|是", u"Normal|82|销售出库单|否"}));
  EXPECT_EQ(fake.calls(u"LumoMSmsManager.clsBillUseInfo"),
            (std::vector<std::string>{"LumoMSmsManager.clsBillUseInfo.GetBillUseInfo('" + u8(props) + "', '2')"}));
  EXPECT_TRUE(fake.calls(u"LumoMMobileMCSrv.CGetData").empty());
  EXPECT_TRUE(window->tree().selected(window->tree().find(u"KG2")));
}

TEST_F(ServiceWindow, RootAsksForEveryGroupWithAnEmptyGroup) {
  open();
  fake.clearJournal();
  click(u"Root");
  EXPECT_EQ(fake.calls(u"LumoMSmsManager.clsBillUseInfo"),
            (std::vector<std::string>{"LumoMSmsManager.clsBillUseInfo.GetBillUseInfo('" + u8(props) + "', '')"}));
}

TEST_F(ServiceWindow, WorkflowNodeListsThatWorkflowOnly) {
  open();
  fake.clearJournal();
  click(u"KB1006002");
  EXPECT_EQ(listRows(), (V{u"ORN|1006002|费用报销审批|否"}));
  EXPECT_TRUE(fake.calls(u"LumoMSmsManager.clsBillUseInfo").empty());
  EXPECT_EQ(members(u"LumoMMobileMCSrv.CGetData"), (V{u"GetAllFlow"}));
}

TEST_F(ServiceWindow, EmptyListSelectsNothing) {
  open();
  click(u"KG4");
  EXPECT_TRUE(listRows().empty());
  EXPECT_EQ(view.rowCounts.back(), 1);
  EXPECT_TRUE(view.selection.empty());
  click(u"KG1");
  EXPECT_EQ(view.selection, (std::vector<int32_t>{2}));
}

TEST_F(ServiceWindow, NullOrOddStatesReadAsNo) {
  bills = {{u"1", u"1", u"空值", Variant::null()}, {u"2", u"1", u"文本一", u"1"},
           {u"3", u"1", u"文本", u"是"},           {u"4", u"1", u"二", int32_t(2)},
           {u"5", u"1", u"一点零", 1.0},           {u"6", u"1", Variant::null(), int32_t(1)}};
  open();
  click(u"KG1");
  EXPECT_EQ(listRows(), (V{u"Normal|1|空值|否", u"Normal|2|文本一|是", u"Normal|3|文本|否", u"Normal|4|二|否",
                           u"Normal|5|一点零|是", u"Normal|6||是"}));
}

TEST_F(ServiceWindow, SecondClickWhileLoadingIsIgnored) {
  open();
  int inner = 0;
  duringBillUseInfo = [&] {
    ++inner;
    duringBillUseInfo = nullptr;
    EXPECT_TRUE(window->busy());
    click(u"KB1001005");  // dropped: the first load is still running
  };
  fake.clearJournal();
  click(u"KG1");
  EXPECT_EQ(inner, 1);
  EXPECT_FALSE(window->busy());
  EXPECT_TRUE(fake.calls(u"LumoMMobileMCSrv.CGetData").empty());
  EXPECT_EQ(listRows(), (V{u"Normal|71|采购订单|是", u"Normal|72|采购入库单|否"}));
  // Once the load is over, clicks count again.
  click(u"KB1001005");
  EXPECT_EQ(listRows(), (V{u"ORN|1001005|采购审批流|是"}));
}

TEST_F(ServiceWindow, TreeFailureShowsItsTextWithTheLoaderAsSource) {
  failing = {u"GetBillInfo"};
  open();
  EXPECT_EQ(prompts(), (V{u"GetBillInfo 失败：数据库连接已断开"}));
  EXPECT_EQ(err().source, u"SmsManager.frmSmsManager:LoadTreeData");
  // The tree stays as far as it was built; the start goes on.
  EXPECT_EQ(rootChildKeys(), V{});
  EXPECT_EQ(listRows().size(), 9u);
  EXPECT_EQ(fake.calls(u"OxaBase.LogServer").size(), 1u);
}

TEST_F(ServiceWindow, ListFailureIsTrappedByTheListLoader) {
  failing = {u"GetBillUseInfo"};
  open();
  EXPECT_EQ(prompts(), (V{u"GetBillUseInfo 失败：数据库连接已断开"}));
  EXPECT_EQ(err().source, u"SmsManager.frmSmsManager:LoadListData");
}

TEST_F(ServiceWindow, WorkflowListFailureHasItsOwnSource) {
  open();
  failing = {u"GetAllFlow"};
  click(u"KB1001005");
  EXPECT_EQ(prompts(), (V{u"GetAllFlow 失败：数据库连接已断开"}));
  EXPECT_EQ(err().source, u"SmsManager.frmSmsManager:LoadOrnListData");
  // The list is still given its (empty) rows.
  EXPECT_EQ(view.rowCounts.back(), 1);
}

TEST_F(ServiceWindow, CollectionCountLargerThanItsItemsStopsWithAMessage) {
  extraFlowCount = 2;
  open();
  ASSERT_EQ(prompts().size(), 2u);  // the tree, then the list
  EXPECT_EQ(rootChildKeys().size(), 8u);
  EXPECT_EQ(listRows().size(), 9u);
}

TEST_F(ServiceWindow, RecordsetWithoutAnExpectedFieldGivesAMessage) {
  open();
  fake.registerComponent(u"LumoMSmsManager.clsBillUseInfo", [](FakeComponent& c) {
    c.on(u"GetBillUseInfo", [](InvokeKind, Args&) -> Variant {
      return Variant(makeRecordset({{u"FID", u"FName"}, {{Variant(u"1"), Variant(u"无状态")}}}));
    });
  });
  fake.messageBoxes.clear();
  click(u"KG1");
  ASSERT_EQ(prompts().size(), 1u);
  EXPECT_EQ(prompts()[0], u"Item cannot be found in the collection");
}

TEST_F(ServiceWindow, NamesWithQuotesTabsAndLengthAreKept) {
  const ustring longName(4000, u'长');
  bills = {{u"1", u"1", u"含'引号\"", int32_t(0)},
           {u"2", u"1", u"含\t制表", int32_t(0)},
           {u"3", u"1", longName, int32_t(0)}};
  open();
  click(u"KG1");
  EXPECT_EQ(window->cellText(2, 3), u"含'引号\"");
  EXPECT_EQ(window->cellText(3, 3), u"含\t制表");
  EXPECT_EQ(window->cellText(4, 3), longName);
  window->toolButtonClick(u"SelectAll");
  window->toolButtonClick(u"Start");
  const V lines = resultLines();
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_EQ(lines[0], u"启用[含'引号\"]短信通知成功！");
  // A tab would split the line into two cells of the list window.
  EXPECT_EQ(lines[1], u"启用[含 制表]短信通知成功！");
  EXPECT_EQ(lines[2], u"启用[" + longName + u"]短信通知成功！");
  EXPECT_EQ(operations[0].records[1][u"FName"], Variant(u"含\t制表"));
}

TEST_F(ServiceWindow, EscClosesAndF1OpensHelp) {
  open();
  window->formKeyDown(112);
  ASSERT_EQ(fake.helpCalls.size(), 1u);
  EXPECT_EQ(fake.helpCalls[0].window, view.handle);
  EXPECT_EQ(fake.helpCalls[0].path, "C:\\Program Files\\Lumo\\SmsManager\\MobileService.chm");
  EXPECT_EQ(view.closes, 0);
  window->formKeyDown(27);
  EXPECT_EQ(view.closes, 1);
  window->formKeyDown(65);
  EXPECT_EQ(view.closes, 1);
}

TEST_F(ServiceWindow, UnloadWritesTheClosingLog) {
  open();
  fake.clearJournal();
  window->formUnload();
  EXPECT_EQ(fake.calls(u"OxaBase.LogServer"),
            (std::vector<std::string>{"OxaBase.LogServer.WriteLog('" + u8(props) +
                                      "', 'SMS00107', 3, '', 'WORKSTATION01', '192.168.10.21')"}));
}

TEST_F(ServiceWindow, NullUseFlagCountsAsOff) {
  useFlag = Variant::null();
  open();
  EXPECT_FALSE(window->useFlag());
  EXPECT_TRUE(prompts().empty());
}

TEST_F(ServiceWindow, UsersWithoutMobileAreCountedOnTheToolBar) {
  usersWithoutMobile = 7;
  open();
  EXPECT_EQ(view.toolText, u"7 个用户没有手机号码，收不到短信通知");
}

TEST_F(ServiceWindow, UsersWithoutMobileAreListedInAListWindow) {
  open();
  window->toolButtonClick(u"NoMobile");
  ASSERT_EQ(listWindows(), 1u);
  EXPECT_EQ(windows.last().presenter.titles(), u"用户\t职员\t部门|");
  EXPECT_EQ(resultLines(), (V{u"无职员\t\t", u"李娜\t李娜\t财务部"}));
  EXPECT_EQ(windows.last().view.shows, 1);
  EXPECT_EQ(windows.last().view.listColumns, 3);
  EXPECT_EQ(windows.last().view.listRows, 3);
}

// ---- the older, module-split catalogue -----------------------------------------------------

TEST_F(ServiceWindow, OlderLoaderShowsOnlyTheFilteredModule) {
  open();
  window->displayType(u"Z");
  window->loadTreeDataOld();
  EXPECT_EQ(rootChildKeys(), (V{u"Z"}));
  EXPECT_EQ(childTexts(u"Root"), (V{u"移动制造"}));
  // Its group, then its workflow and the one that no module claims.
  EXPECT_EQ(childKeys(u"Z"), (V{u"KZ3", u"KBZ1002001", u"KBZ2000001"}));
}

TEST_F(ServiceWindow, OlderLoaderWithAllListsAnUnclaimedWorkflowUnderEveryModule) {
  open();
  window->displayType(u"All");
  fake.clearJournal();
  window->loadTreeDataOld();
  EXPECT_EQ(rootChildKeys(), (V{u"W", u"Z", u"C"}));
  EXPECT_EQ(childTexts(u"Root"), (V{u"移动物流", u"移动制造", u"移动财务"}));
  EXPECT_EQ(childKeys(u"W"), (V{u"KW1", u"KW2", u"KBW1001005", u"KBW2000001"}));
  EXPECT_EQ(childKeys(u"C"), (V{u"KC4", u"KBC1006002", u"KBC2000001"}));
  EXPECT_EQ(fake.calls(u"LumoMSmsManager.clsBillUseInfo"),
            (std::vector<std::string>{"LumoMSmsManager.clsBillUseInfo.GetBillInfo('" + u8(props) + "', 'W')",
                                      "LumoMSmsManager.clsBillUseInfo.GetBillInfo('" + u8(props) + "', 'Z')",
                                      "LumoMSmsManager.clsBillUseInfo.GetBillInfo('" + u8(props) + "', 'C')"}));
}

TEST_F(ServiceWindow, OlderLoaderWithAnotherFilterShowsNoModule) {
  open();
  window->displayType(u"X");
  window->loadTreeDataOld();
  EXPECT_EQ(rootChildKeys(), V{});
}

TEST_F(ServiceWindow, OlderListLoaderReadsModuleKeys) {
  open();
  window->loadListDataOld(u"KW2");
  EXPECT_EQ(listRows(), (V{u"Normal|81|销售订单|是", u"Normal|82|销售出库单|否"}));
  window->loadListDataOld(u"KBC1006002");
  EXPECT_EQ(listRows(), (V{u"ORN|1006002|费用报销审批|否"}));
  window->loadListDataOld(u"Z");
  EXPECT_EQ(listRows(), (V{u"Normal|91|生产任务单|否", u"ORN|1002001|生产任务审批|否", u"ORN|2000001|其他流程|是"}));
}

TEST_F(ServiceWindow, OlderLoaderFailureNamesItsLoader) {
  open();
  failing = {u"GetAllFlow"};
  window->displayType(u"All");
  window->loadTreeDataOld();
  EXPECT_EQ(err().source, u"SmsManager.frmSmsManager:LoadTreeDataOld");
}

// ---- the personal window -------------------------------------------------------------------

TEST_F(ServiceWindow, PersonalStartReadsTheUserAndSkipsTheFlagCalls) {
  open(true);
  EXPECT_EQ(windowCalls(fake), (V{u"GetCurrentUserID", u"GetCurrentUser", u"GetFlowByUser", u"GetUserBillInfo",
                                  u"GetUserBillUseInfo", u"GetFlowByUser", u"GetORNUserBillUseInfo", u"WriteLog"}));
  EXPECT_EQ(window->userId(), u"16394");
  EXPECT_EQ(window->userName(), u"张伟");
  EXPECT_EQ(fake.calls(u"OxaBase.LogServer"),
            (std::vector<std::string>{"OxaBase.LogServer.WriteLog('" + u8(props) +
                                      "', 'SMS00102', 1, '', 'WORKSTATION01', '192.168.10.21')"}));
  EXPECT_EQ(view.captions[ServiceControl::Form], u"个人审批通知设置");
  V keys;
  for (const auto& b : view.buttons) keys.push_back(b.key);
  EXPECT_EQ(keys, (V{u"Start", u"Cancel", u"SelectAll", u"CancelAll", u"Print", u"PrintSet", u"PrintView",
                     u"MnuHelpDoc", u"Exit"}));
  EXPECT_EQ(view.toolText, u"");
}

TEST_F(ServiceWindow, PersonalTreeAndListShowSubscriptions) {
  open(true);
  EXPECT_EQ(rootChildKeys(),
            (V{u"KG1", u"KG2", u"KG3", u"KG4", u"KB1001005", u"KB1002001", u"KB1006002", u"KB2000001"}));
  EXPECT_EQ(listRows(),
            (V{u"Normal|71|采购订单|是", u"Normal|72|采购入库单|否", u"Normal|81|销售订单|否",
               u"Normal|82|销售出库单|否", u"Normal|91|生产任务单|否", u"ORN|1001005|采购审批流|是",
               u"ORN|1002001|生产任务审批|否", u"ORN|1006002|费用报销审批|否", u"ORN|2000001|其他流程|否"}));
  fake.clearJournal();
  click(u"KG1");
  EXPECT_EQ(fake.calls(u"LumoMSmsManager.clsBillUseInfo"),
            (std::vector<std::string>{"LumoMSmsManager.clsBillUseInfo.GetUserBillUseInfo('" + u8(props) +
                                      "', '16394', '1')"}));
  click(u"KB1001005");
  EXPECT_EQ(listRows(), (V{u"ORN|1001005|采购审批流|是"}));
}

TEST_F(ServiceWindow, PersonalOptionKeyDoesNothing) {
  open(true);
  fake.clearJournal();
  window->toolButtonClick(u"Option");
  EXPECT_EQ(view.options, 0);
  EXPECT_TRUE(fake.journal.empty());
}

TEST_F(ServiceWindow, IsRelateEmpAsksEmpInfo) {
  make(true);
  EXPECT_TRUE(window->isRelateEmp());
  employee = u"";
  EXPECT_FALSE(window->isRelateEmp());
  employee = Variant::null();
  EXPECT_FALSE(window->isRelateEmp());
  employee = u"张伟";
  failing = {u"EmpInfo"};
  EXPECT_FALSE(window->isRelateEmp());
  EXPECT_EQ(members(u"LumoMSmsManager.CSerivceInfo"), (V{u"EmpInfo", u"EmpInfo", u"EmpInfo", u"EmpInfo"}));
}

TEST_F(ServiceWindow, PersonalOlderLoaderPassesTheModule) {
  open(true);
  window->displayType(u"W");
  fake.clearJournal();
  window->loadTreeDataOld();
  EXPECT_EQ(childKeys(u"W"), (V{u"KW1", u"KW2", u"KBW1001005", u"KBW2000001"}));
  EXPECT_EQ(
      fake.calls(u"LumoMSmsManager.clsBillUseInfo"),
      (std::vector<std::string>{"LumoMSmsManager.clsBillUseInfo.GetUserBillInfo('" + u8(props) + "', '16394', 'W')"}));
}

}  // namespace
}  // namespace lumo::test
