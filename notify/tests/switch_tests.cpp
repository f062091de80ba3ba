// Switching services on and off, the result list, the audit records, select all
// and clear, printing, the options, the splitter.
#include "notify_fixture.h"

namespace lumo::test {
namespace {

using V = std::vector<ustring>;

class Switching : public NotifyTest {};

TEST_F(Switching, NothingSelectedDoesNothing) {
  open();
  view.selection.clear();
  fake.clearJournal();
  window->toolButtonClick(u"Start");
  window->toolButtonClick(u"Cancel");
  EXPECT_TRUE(fake.journal.empty());
  EXPECT_EQ(listWindows(), 0u);
  EXPECT_TRUE(fake.batchLogs.empty());
}

TEST_F(Switching, MixedSelectionSwitchesOrdinaryFirstAndReportsInOrder) {
  open();
  // Selection order is the grid's: ordinary rows, then workflows, as listed.
  select({u"采购订单", u"采购入库单", u"销售出库单", u"采购审批流", u"生产任务审批"});
  fake.clearJournal();
  window->toolButtonClick(u"Start");

  ASSERT_EQ(operations.size(), 2u);
  EXPECT_EQ(operations[0].method, u"BillUseOperate");
  EXPECT_EQ(operations[1].method, u"BillOrnUseOperate");
  EXPECT_EQ(operations[0].on, Variant(true));
  EXPECT_EQ(operations[0].last, Variant(true));  // the window's use flag
  ASSERT_EQ(operations[0].records.size(), 2u);
  EXPECT_EQ(operations[0].records[0], (std::map<ustring, Variant>{{u"FID", u"72"}, {u"FName", u"采购入库单"}}));
  EXPECT_EQ(operations[0].records[1], (std::map<ustring, Variant>{{u"FID", u"82"}, {u"FName", u"销售出库单"}}));
  ASSERT_EQ(operations[1].records.size(), 1u);
  EXPECT_EQ(operations[1].records[0],
            (std::map<ustring, Variant>{
                {u"FID", u"1002001"}, {u"FName", u"生产任务审批"}, {u"FIsMobileServiceRun", int32_t(1)}}));

  // The list is read again for the selected node and shows the stored state.
  EXPECT_EQ(listRows(),
            (V{u"Normal|71|采购订单|是", u"Normal|72|采购入库单|是", u"Normal|81|销售订单|是",
               u"Normal|82|销售出库单|是", u"Normal|91|生产任务单|否", u"ORN|1001005|采购审批流|是",
               u"ORN|1002001|生产任务审批|是", u"ORN|1006002|费用报销审批|否", u"ORN|2000001|其他流程|是"}));

  EXPECT_EQ(auditBatches(), (std::vector<V>{{u"启用审批通知服务:[采购入库单]", u"启用审批通知服务:[销售出库单]",
                                             u"启用审批通知服务:[生产任务审批]"}}));
  ASSERT_EQ(listWindows(), 1u);
  EXPECT_EQ(windows.last().presenter.titles(), u"显示信息|");
  EXPECT_EQ(resultLines(),
            (V{u"启用[采购入库单]短信通知成功！", u"启用[销售出库单]短信通知成功！",
               u"启用[生产任务审批]短信通知成功！", u"启用[采购订单]短信通知失败！该服务已经启用短信通知！",
               u"启用[采购审批流]短信通知失败！该服务已经启用短信通知！"}));
  EXPECT_EQ(windows.last().view.shows, 1);
  EXPECT_FALSE(windows.last().view.shownModal);
  // Loaded with its lines: the title line and one per result.
  EXPECT_TRUE(windows.last().presenter.loaded());
  EXPECT_EQ(windows.last().view.listRows, 6);
  // Update before reload before audit.
  EXPECT_EQ(members(u"LumoMSmsManager.clsBillUseUpdate"), (V{u"BillUseOperate", u"BillOrnUseOperate"}));
  const V all = [&] {
    V out;
    for (const auto& e : fake.journal)
      if (e.component != u"PropsMgr.ShareProps" && e.component != u"LumoLangInfo.LangInfo" &&
          e.component != u"LumoResLoader.Loader")
        out.push_back(e.member);
    return out;
  }();
  EXPECT_EQ(all, (V{u"BillUseOperate", u"BillOrnUseOperate", u"GetBillUseInfo", u"GetAllFlow", u"WriteBatchLog"}));
}

TEST_F(Switching, AuditRecordsCarryTheirFields) {
  open();
  select({u"采购入库单"});
  window->toolButtonClick(u"Start");
  ASSERT_EQ(fake.batchLogs.size(), 1u);
  auto coll = std::dynamic_pointer_cast<Collection>(fake.batchLogs[0].toObject());
  ASSERT_EQ(coll->count(), 1u);
  auto r = std::dynamic_pointer_cast<Collection>(coll->item(1).toObject());
  EXPECT_EQ(r->item(ustring(u"FFuncID")), Variant(u"SMS00107"));
  EXPECT_EQ(r->item(ustring(u"FStatement")), Variant(int16_t(5)));
  EXPECT_EQ(r->item(ustring(u"FDesc")), Variant(u"启用审批通知服务:[采购入库单]"));
  EXPECT_EQ(r->item(ustring(u"FMachineName")), Variant(u"WORKSTATION01"));
  EXPECT_EQ(r->item(ustring(u"FIPAddress")), Variant(u"192.168.10.21"));
}

TEST_F(Switching, EverySelectedRowAlreadyOnCallsNoMethodAndShowsFailures) {
  open();
  select({u"采购订单", u"销售订单", u"其他流程"});
  fake.clearJournal();
  window->toolButtonClick(u"Start");
  EXPECT_TRUE(operations.empty());
  EXPECT_TRUE(members(u"LumoMSmsManager.clsBillUseUpdate").empty());
  // No reload either; the audit step still runs, with no record.
  EXPECT_TRUE(members(u"LumoMSmsManager.clsBillUseInfo").empty());
  EXPECT_EQ(auditBatches(), (std::vector<V>{V{}}));
  EXPECT_EQ(resultLines(), (V{u"启用[采购订单]短信通知失败！该服务已经启用短信通知！",
                              u"启用[销售订单]短信通知失败！该服务已经启用短信通知！",
                              u"启用[其他流程]短信通知失败！该服务已经启用短信通知！"}));
}

TEST_F(Switching, OnlyWorkflowsCallOnlyTheWorkflowMethod) {
  open();
  select({u"采购审批流", u"其他流程"});
  window->toolButtonClick(u"Cancel");
  ASSERT_EQ(operations.size(), 1u);
  EXPECT_EQ(operations[0].method, u"BillOrnUseOperate");
  EXPECT_EQ(operations[0].on, Variant(false));
  EXPECT_EQ(operations[0].records[0][u"FIsMobileServiceRun"], Variant(int32_t(0)));
  EXPECT_EQ(resultLines(), (V{u"取消[采购审批流]短信通知成功！", u"取消[其他流程]短信通知成功！"}));
  EXPECT_EQ(auditBatches(), (std::vector<V>{{u"取消审批通知服务:[采购审批流]", u"取消审批通知服务:[其他流程]"}}));
}

TEST_F(Switching, SwitchingOffRefusesRowsThatAreOff) {
  open();
  select({u"采购订单", u"采购入库单", u"销售出库单"});
  window->toolButtonClick(u"Cancel");
  ASSERT_EQ(operations.size(), 1u);
  EXPECT_EQ(operations[0].method, u"BillUseOperate");
  EXPECT_EQ(resultLines(), (V{u"取消[采购订单]短信通知成功！", u"取消[采购入库单]短信通知失败！该服务未启用短信通知！",
                              u"取消[销售出库单]短信通知失败！该服务未启用短信通知！"}));
}

TEST_F(Switching, TheUseFlagPassedIsTheOneReadAtStart) {
  useFlag = false;
  open();
  useFlag = true;  // changed elsewhere: the window has not re-read it
  select({u"采购入库单"});
  window->toolButtonClick(u"Start");
  ASSERT_EQ(operations.size(), 1u);
  EXPECT_EQ(operations[0].last, Variant(false));
}

TEST_F(Switching, FailingUpdateShowsItsTextKeepsTheListAndWritesNoAudit) {
  open();
  click(u"KG1");
  select({u"采购入库单"});
  failing = {u"BillUseOperate"};
  const auto rowCountsBefore = view.rowCounts.size();
  window->toolButtonClick(u"Start");
  EXPECT_EQ(prompts(), (V{u"BillUseOperate 失败：数据库连接已断开"}));
  EXPECT_EQ(err().source, u"SmsManager.frmSmsManager:StartService");
  EXPECT_EQ(view.rowCounts.size(), rowCountsBefore);
  EXPECT_EQ(listRows(), (V{u"Normal|71|采购订单|是", u"Normal|72|采购入库单|否"}));
  EXPECT_TRUE(fake.batchLogs.empty());
  EXPECT_EQ(listWindows(), 0u);
}

TEST_F(Switching, FailingWorkflowUpdateAfterOrdinaryOneStopsBeforeAudit) {
  open();
  select({u"采购入库单", u"生产任务审批"});
  failing = {u"BillOrnUseOperate"};
  window->toolButtonClick(u"Start");
  ASSERT_EQ(operations.size(), 1u);
  EXPECT_TRUE(fake.batchLogs.empty());
  EXPECT_EQ(listWindows(), 0u);
}

TEST_F(Switching, ReloadFollowsTheSelectedNode) {
  open();
  click(u"KB1002001");
  view.selection = {2};
  window->toolButtonClick(u"Start");
  EXPECT_EQ(listRows(), (V{u"ORN|1002001|生产任务审批|是"}));
}

TEST_F(Switching, SelectAllAndClear) {
  open();
  window->toolButtonClick(u"SelectAll");
  EXPECT_EQ(view.selection, (std::vector<int32_t>{2, 3, 4, 5, 6, 7, 8, 9, 10}));
  window->toolButtonClick(u"CancelAll");
  EXPECT_TRUE(view.selection.empty());
  click(u"KG4");
  window->toolButtonClick(u"SelectAll");
  EXPECT_TRUE(view.selection.empty());
}

TEST_F(Switching, PrintLogsAndSetupAndPreviewDoNot) {
  open();
  fake.clearJournal();
  window->toolButtonClick(u"Print");
  EXPECT_EQ(view.prints, 1);
  EXPECT_EQ(fake.calls(u"OxaBase.LogServer"),
            (std::vector<std::string>{"OxaBase.LogServer.WriteLog('" + u8(props) +
                                      "', 'SMS00107', 5, '打印审批通知服务列表', 'WORKSTATION01', '192.168.10.21')"}));
  fake.clearJournal();
  window->toolButtonClick(u"PrintSet");
  window->toolButtonClick(u"PrintView");
  EXPECT_EQ(view.printSetups, 1);
  EXPECT_EQ(view.previews, 1);
  EXPECT_TRUE(fake.calls(u"OxaBase.LogServer").empty());
}

TEST_F(Switching, OptionOpensTheDialogThenRereadsTheUseFlagOnly) {
  open();
  EXPECT_TRUE(window->useFlag());
  view.onOptions = [&] { useFlag = false; };
  fake.clearJournal();
  window->toolButtonClick(u"Option");
  EXPECT_EQ(view.options, 1);
  EXPECT_EQ(members(u"LumoMSmsManager.clsBillUseInfo"), (V{u"GetUseFlag"}));
  EXPECT_TRUE(members(u"LumoMSmsManager.clsBillUseUpdate").empty());
  EXPECT_FALSE(window->useFlag());
}

TEST_F(Switching, HelpAndExitButtons) {
  open();
  window->toolButtonClick(u"MnuHelpDoc");
  EXPECT_EQ(fake.helpCalls.size(), 1u);
  window->toolButtonClick(u"Exit");
  EXPECT_EQ(view.closes, 1);
}

TEST_F(Switching, SplitterKeepsAThousandTwipsOnEitherSide) {
  EXPECT_EQ(notify::clampSplitter(3000, 9000), 3000);
  EXPECT_EQ(notify::clampSplitter(8001, 9000), 8000);
  EXPECT_EQ(notify::clampSplitter(8000, 9000), 8000);
  EXPECT_EQ(notify::clampSplitter(999, 9000), 1000);
  EXPECT_EQ(notify::clampSplitter(-50, 9000), 1000);
  // Narrower than two margins: the left limit wins.
  EXPECT_EQ(notify::clampSplitter(1200, 1500), 1000);
  EXPECT_EQ(notify::clampSplitter(100, 1500), 1000);
}

// ---- the personal window ---------------------------------------------------------------------

TEST_F(Switching, PersonalMixedSelectionSubscribesOrdinaryThenWorkflows) {
  open(true);
  select({u"采购订单", u"销售订单", u"采购审批流", u"费用报销审批"});
  window->toolButtonClick(u"Start");
  ASSERT_EQ(operations.size(), 2u);
  EXPECT_EQ(operations[0].method, u"BillUserUseOperate");
  EXPECT_EQ(operations[0].last, Variant(u"2"));
  EXPECT_EQ(operations[1].last, Variant(u"3"));
  EXPECT_EQ(operations[0].on, Variant(true));
  ASSERT_EQ(operations[0].records.size(), 1u);
  EXPECT_EQ(operations[0].records[0],
            (std::map<ustring, Variant>{
                {u"FServiceID", u"81"}, {u"FName", u"销售订单"}, {u"FUserID", u"16394"}, {u"FUserName", u"张伟"}}));
  EXPECT_EQ(operations[1].records[0][u"FServiceID"], Variant(u"1006002"));
  EXPECT_EQ(billSubscriptions, (std::set<ustring>{u"71", u"81"}));
  EXPECT_EQ(flowSubscriptions, (std::set<ustring>{u"1001005", u"1006002"}));
  EXPECT_EQ(resultLines(), (V{u"启用接收短信通知[销售订单]中用户[张伟]短信通知成功！",
                              u"启用接收短信通知[费用报销审批]中用户[张伟]短信通知成功！",
                              u"启用短信通知服务[采购订单]中用户[张伟]短信通知失败！该用户已经启用短信通知！",
                              u"启用短信通知服务[采购审批流]中用户[张伟]短信通知失败！该用户已经启用短信通知！"}));
  // Switch records under the service window's code.
  ASSERT_EQ(fake.batchLogs.size(), 1u);
  EXPECT_EQ(auditBatches(), (std::vector<V>{{u"启用个人审批通知:[销售订单]", u"启用个人审批通知:[费用报销审批]"}}));
  auto coll = std::dynamic_pointer_cast<Collection>(fake.batchLogs[0].toObject());
  auto r = std::dynamic_pointer_cast<Collection>(coll->item(1).toObject());
  EXPECT_EQ(r->item(ustring(u"FFuncID")), Variant(u"SMS00107"));
  // The list shows the new subscriptions.
  EXPECT_EQ(window->cellText(4, 4), u"是");
}

TEST_F(Switching, PersonalUnsubscribeTexts) {
  open(true);
  select({u"采购订单", u"采购入库单"});
  window->toolButtonClick(u"Cancel");
  ASSERT_EQ(operations.size(), 1u);
  EXPECT_EQ(operations[0].last, Variant(u"2"));
  EXPECT_EQ(operations[0].on, Variant(false));
  EXPECT_EQ(resultLines(), (V{u"取消短信通知服务[采购订单]中用户[张伟]短信通知成功！",
                              u"取消短信通知服务[采购入库单]中用户[张伟]短信通知失败！该用户未启用短信通知！"}));
  EXPECT_EQ(auditBatches(), (std::vector<V>{{u"取消个人审批通知:[采购订单]"}}));
}

TEST_F(Switching, PersonalPrintLogsUnderItsOwnCode) {
  open(true);
  fake.clearJournal();
  window->toolButtonClick(u"Print");
  EXPECT_EQ(fake.calls(u"OxaBase.LogServer"),
            (std::vector<std::string>{"OxaBase.LogServer.WriteLog('" + u8(props) +
                                      "', 'SMS00102', 5, '打印个人审批通知列表', 'WORKSTATION01', '192.168.10.21')"}));
}

TEST_F(Switching, PersonalFailureNamesItsWindow) {
  open(true);
  select({u"销售订单"});
  failing = {u"BillUserUseOperate"};
  window->toolButtonClick(u"Start");
  EXPECT_EQ(err().source, u"SmsManager.frmUserSmsManager:StartService");
  EXPECT_TRUE(fake.batchLogs.empty());
}

}  // namespace
}  // namespace lumo::test
