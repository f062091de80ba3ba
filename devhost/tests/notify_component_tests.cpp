// The host's approval-notification services: the catalogue queries, the switches
// of services and subscriptions written to the demo database, the two flags, and
// the failure switches on the new members.
#include <gtest/gtest.h>

#include "automation/object.h"
#include "devhost/components/hostdb.h"
#include "devhost/tests/component_fixture.h"

namespace lumo::devhost {
namespace {

using lumo::test::errorOf;
using lumo::test::u8;

const ustring kInfo = u"LumoMSmsManager.clsBillUseInfo";
const ustring kUpdate = u"LumoMSmsManager.clsBillUseUpdate";
const ustring kFlows = u"LumoMMobileMCSrv.CGetData";

using Rows = std::vector<std::vector<ustring>>;

std::shared_ptr<Collection> record(std::vector<std::pair<ustring, Variant>> fields) {
  auto r = std::make_shared<Collection>();
  for (auto& [k, v] : fields) r->add(v, &k);
  return r;
}

std::shared_ptr<Collection> records(std::vector<std::shared_ptr<Collection>> list) {
  auto c = std::make_shared<Collection>();
  for (auto& r : list) c->add(Variant(ObjectPtr(r)));
  return c;
}

class Services : public test::DevHost {
 protected:
  // A recordset's rows as texts (Null as "Null").
  static Rows rowsOf(const Variant& rsValue, std::vector<ustring> fields) {
    ObjectPtr rs = rsValue.toObject();
    Rows out;
    while (!rs->get(u"EOF").toBool()) {
      std::vector<ustring> row;
      for (const ustring& f : fields) {
        const Variant v = rs->get(u"Fields", {f}).toObject()->get(u"Value");
        row.push_back(v.isNull() ? ustring(u"Null") : v.toString());
      }
      out.push_back(row);
      rs->call(u"MoveNext");
    }
    return out;
  }
  Variant info(const ustring& member, Args args) {
    args.insert(args.begin(), props_);
    return create(kInfo)->call(member, args);
  }
  Variant update(const ustring& member, Args args) {
    args.insert(args.begin(), props_);
    return create(kUpdate)->call(member, args);
  }
  ObjectPtr flows(const ustring& member = u"GetAllFlow", Args extra = {}) {
    extra.insert(extra.begin(), props_);
    return create(kFlows)->call(member, extra).toObject();
  }
  ustring userId() { return create(u"OxaBase.SecurityInfo")->call(u"GetCurrentUserID", {props_}).toString(); }
  int32_t scalar(const ustring& sql) { return count(sql); }
};

TEST_F(Services, GroupsOfEveryModuleOrOfOne) {
  EXPECT_EQ(rowsOf(info(u"GetBillInfo", {}), {u"FID", u"FName"}), (Rows{{u"1", u"采购管理"},
                                                                        {u"2", u"销售管理"},
                                                                        {u"3", u"库存管理"},
                                                                        {u"4", u"生产管理"},
                                                                        {u"5", u"费用管理"},
                                                                        {u"6", u"质量管理"}}));
  EXPECT_EQ(rowsOf(info(u"GetBillInfo", {u"Z"}), {u"FID"}), (Rows{{u"4"}, {u"6"}}));
  EXPECT_NE(errorOf([&] { info(u"GetBillInfo", {u"Q"}); }), 0);
}

TEST_F(Services, BillTypesOfAGroupOrOfAll) {
  EXPECT_EQ(rowsOf(info(u"GetBillUseInfo", {u"5"}), {u"FID", u"FName", u"FIsRun"}),
            (Rows{{u"501", u"费用报销单", u"1"}, {u"502", u"借款单", u"Null"}}));
  EXPECT_EQ(rowsOf(info(u"GetBillUseInfo", {u""}), {u"FID"}).size(), 12u);
  EXPECT_EQ(rowsOf(info(u"GetBillUseInfo", {u"6"}), {u"FID"}).size(), 0u);
  EXPECT_EQ(rowsOf(info(u"GetBillUseInfo", {u"", u"C"}), {u"FID"}), (Rows{{u"501"}, {u"502"}}));
  ustring why;
  EXPECT_EQ(errorOf([&] { info(u"GetBillUseInfo", {u"KG1"}); }, &why), hosterr::BadArgument);
  EXPECT_NE(why.find(u"group"), ustring::npos) << u8(why);
}

TEST_F(Services, WorkflowsComeAsACollectionFromOneReadByFieldName) {
  ObjectPtr c = flows();
  ASSERT_EQ(c->get(u"Count").toI4(), 7);
  ObjectPtr first = c->get(u"Item", {int32_t(1)}).toObject();
  EXPECT_EQ(first->get(u"Item", {ustring(u"FID")}).toI4(), 1001001);
  EXPECT_EQ(first->get(u"Item", {ustring(u"FMCName")}).toString(), u"采购订单审批流");
  EXPECT_EQ(first->get(u"Item", {ustring(u"FIsMobileServiceRun")}).toI4(), 1);
  EXPECT_NE(errorOf([&] { c->get(u"Item", {int32_t(0)}); }), 0);
  EXPECT_NE(errorOf([&] { c->get(u"Item", {int32_t(8)}); }), 0);
  // A user's workflows are those switched on.
  EXPECT_EQ(flows(u"GetFlowByUser", {userId()})->get(u"Count").toI4(), 3);
  EXPECT_EQ(errorOf([&] { flows(u"GetFlowByUser", {u"99999"}); }), hosterr::BadArgument);
}

TEST_F(Services, SwitchingBillTypesPersistsForTheNextReader) {
  Variant list{ObjectPtr(records(
      {record({{u"FID", u"103"}, {u"FName", u"采购入库单"}}), record({{u"FID", u"502"}, {u"FName", u"借款单"}})}))};
  Variant on{true}, use{true};
  update(u"BillUseOperate", {Variant::ref(&list), Variant::ref(&on), Variant::ref(&use)});
  EXPECT_EQ(rowsOf(info(u"GetBillUseInfo", {u"1"}), {u"FID", u"FIsRun"}),
            (Rows{{u"101", u"1"}, {u"102", u"1"}, {u"103", u"1"}}));
  EXPECT_EQ(scalar(u"SELECT FIsRun FROM t_SMSBillUse WHERE FID=502"), 1);
  Variant off{false};
  update(u"BillUseOperate", {Variant::ref(&list), Variant::ref(&off), Variant::ref(&use)});
  EXPECT_EQ(scalar(u"SELECT COUNT(*) FROM t_SMSBillUse WHERE FID IN (103,502) AND FIsRun=0"), 2);
}

TEST_F(Services, SwitchingWorkflowsTakesEachRecordsState) {
  Variant list{
      ObjectPtr(records({record({{u"FID", u"1003001"}, {u"FName", u"x"}, {u"FIsMobileServiceRun", int32_t(1)}}),
                         record({{u"FID", u"1001001"}, {u"FName", u"y"}, {u"FIsMobileServiceRun", int32_t(0)}})}))};
  Variant on{true}, use{false};
  update(u"BillOrnUseOperate", {Variant::ref(&list), Variant::ref(&on), Variant::ref(&use)});
  EXPECT_EQ(scalar(u"SELECT FIsMobileServiceRun FROM t_MobileFlow WHERE FID=1003001"), 1);
  EXPECT_EQ(scalar(u"SELECT FIsMobileServiceRun FROM t_MobileFlow WHERE FID=1001001"), 0);
}

TEST_F(Services, ABadRecordLeavesEveryRowAsItWas) {
  Variant list{ObjectPtr(records({record({{u"FID", u"103"}, {u"FName", u"a"}}), record({{u"FName", u"无编号"}})}))};
  Variant on{true}, use{true};
  ustring why;
  EXPECT_EQ(errorOf(
                [&] {
                  update(u"BillUseOperate", {Variant::ref(&list), Variant::ref(&on), Variant::ref(&use)});
                },
                &why),
            hosterr::BadArgument);
  EXPECT_NE(why.find(u"record 2 has no field FID"), ustring::npos) << u8(why);
  EXPECT_EQ(scalar(u"SELECT FIsRun FROM t_SMSBillUse WHERE FID=103"), 0);
  // An identifier that names no bill type: the rows before it are rolled back.
  Variant unknown{ObjectPtr(records({record({{u"FID", u"103"}}), record({{u"FID", u"999"}})}))};
  EXPECT_EQ(errorOf([&] {
              update(u"BillUseOperate", {Variant::ref(&unknown), Variant::ref(&on), Variant::ref(&use)});
            }),
            hosterr::BadArgument);
  EXPECT_EQ(scalar(u"SELECT FIsRun FROM t_SMSBillUse WHERE FID=103"), 0);
}

TEST_F(Services, SubscriptionsOfTheCurrentUser) {
  const ustring me = userId();
  EXPECT_EQ(
      rowsOf(info(u"GetUserBillInfo", {me}), {u"FBillType", u"FName"}),
      (Rows{{u"1", u"采购管理"}, {u"2", u"销售管理"}, {u"3", u"库存管理"}, {u"4", u"生产管理"}, {u"5", u"费用管理"}}));
  EXPECT_EQ(rowsOf(info(u"GetUserBillInfo", {me, u"C"}), {u"FBillType"}), (Rows{{u"5"}}));
  EXPECT_EQ(rowsOf(info(u"GetUserBillUseInfo", {me, u"1"}), {u"FBillType", u"FName", u"FPrescribe"}),
            (Rows{{u"101", u"采购申请单", u"0"}, {u"102", u"采购订单", u"1"}}));
  Variant mine{ObjectPtr(flows(u"GetFlowByUser", {me}))};
  Variant user{me};
  EXPECT_EQ(rowsOf(info(u"GetORNUserBillUseInfo", {Variant::ref(&mine), Variant::ref(&user)}),
                   {u"FID", u"FMCName", u"FIsRun"}),
            (Rows{{u"1001001", u"采购订单审批流", u"1"},
                  {u"1002001", u"生产计划审批流", u"0"},
                  {u"1006001", u"费用报销审批流", u"0"}}));
}

TEST_F(Services, SubscribingAndUnsubscribingByKind) {
  const ustring me = userId();
  auto sub = [&](const char16_t* service) {
    return record({{u"FServiceID", ustring(service)}, {u"FName", u"n"}, {u"FUserID", me}, {u"FUserName", u"张伟"}});
  };
  Variant bills{ObjectPtr(records({sub(u"101"), sub(u"102")}))};
  Variant on{true};
  update(u"BillUserUseOperate", {Variant::ref(&bills), Variant::ref(&on), u"2"});
  EXPECT_EQ(rowsOf(info(u"GetUserBillUseInfo", {me, u"1"}), {u"FPrescribe"}), (Rows{{u"1"}, {u"1"}}));
  Variant wf{ObjectPtr(records({sub(u"1002001")}))};
  update(u"BillUserUseOperate", {Variant::ref(&wf), Variant::ref(&on), u"3"});
  EXPECT_EQ(scalar(u"SELECT COUNT(*) FROM t_SMSPrescribe WHERE FUserID=" + me + u" AND FKind=3 AND FServiceID=1002001"),
            1);
  Variant off{false};
  update(u"BillUserUseOperate", {Variant::ref(&bills), Variant::ref(&off), u"2"});
  EXPECT_EQ(rowsOf(info(u"GetUserBillUseInfo", {me, u"1"}), {u"FPrescribe"}), (Rows{{u"0"}, {u"0"}}));
  EXPECT_EQ(errorOf([&] {
              update(u"BillUserUseOperate", {Variant::ref(&bills), Variant::ref(&on), u"4"});
            }),
            hosterr::BadArgument);
}

TEST_F(Services, FlagsAreReadWrittenAndInitialised) {
  EXPECT_EQ(info(u"GetUseFlag", {}), Variant(true));
  EXPECT_EQ(info(u"GetAuditFlag", {}), Variant(false));
  update(u"SetAuditFlag", {true});
  EXPECT_EQ(info(u"GetAuditFlag", {}), Variant(true));
  db_->execute(u"DELETE FROM t_SystemProfile WHERE FCategory='SMS' AND FKey='UseFlag'");
  EXPECT_TRUE(info(u"GetUseFlag", {}).isNull());
  update(u"IniUseFlag", {});
  EXPECT_EQ(info(u"GetUseFlag", {}), Variant(false));
  EXPECT_EQ(info(u"GetAuditFlag", {}), Variant(true));  // set already: left alone
  update(u"SetUseFlag", {true});
  EXPECT_EQ(info(u"GetUseFlag", {}), Variant(true));
}

TEST_F(Services, StartUpCleaningDropsSubscriptionsToVanishedWorkflows) {
  EXPECT_EQ(scalar(u"SELECT COUNT(*) FROM t_SMSPrescribe WHERE FServiceID=1999999"), 1);
  update(u"DeleteUserByFlowInSMSPrescirbe", {});
  EXPECT_EQ(scalar(u"SELECT COUNT(*) FROM t_SMSPrescribe WHERE FServiceID=1999999"), 0);
  EXPECT_EQ(scalar(u"SELECT COUNT(*) FROM t_SMSPrescribe"), 6);
}

TEST_F(Services, FailureSwitchesHoldForTheNewMembers) {
  setSwitch(kFlows, u"GetAllFlow", u"empty");
  EXPECT_EQ(flows()->get(u"Count").toI4(), 0);
  setSwitch(kInfo, u"GetBillInfo", u"empty");
  EXPECT_TRUE(rowsOf(info(u"GetBillInfo", {}), {}).empty());
  setSwitch(kUpdate, u"BillUseOperate", u"raise");
  Variant list{ObjectPtr(records({record({{u"FID", u"103"}})}))};
  Variant on{true}, use{true};
  EXPECT_EQ(errorOf([&] {
              update(u"BillUseOperate", {Variant::ref(&list), Variant::ref(&on), Variant::ref(&use)});
            }),
            hosterr::Switched);
  EXPECT_EQ(scalar(u"SELECT FIsRun FROM t_SMSBillUse WHERE FID=103"), 0);
  setSwitch(kUpdate, u"*", u"missing");
  EXPECT_EQ(errorOf([&] { create(kUpdate); }), errnum::CannotCreateObject);
  setSwitch(kInfo, u"GetUseFlag", u"raise");
  EXPECT_EQ(errorOf([&] { info(u"GetUseFlag", {}); }), hosterr::Switched);
}

TEST_F(Services, EveryCallIsJournalled) {
  flows();
  JournalRow j = lastJournal();
  EXPECT_EQ(j.component, kFlows);
  EXPECT_EQ(j.method, u"GetAllFlow");
}

}  // namespace
}  // namespace lumo::devhost
