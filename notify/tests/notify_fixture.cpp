#include "notify_fixture.h"

#include <algorithm>

#include "host/language.h"

namespace lumo::test {

namespace {

const ustring kNoMobileCount =
    u"Select Count(*) As FCount From t_User u Left join t_Emp e On u.FEmpID=e.FItemID Left join t_Department d On "
    u"e.FDepartmentID=d.FItemID Where u.FUserID>=16384 And u.FUserID<=32767 And u.FForbidden=0 And (e.FItemID Is "
    u"Null Or IsNull(LTrim(RTrim(e.FMobilePhone)),'')='')";
const ustring kNoMobileList =
    u"Select u.FName As FUserName,e.FName As FEmpName,d.FName As FDeptName From t_User u Left join t_Emp e On "
    u"u.FEmpID=e.FItemID Left join t_Department d On e.FDepartmentID=d.FItemID Where u.FUserID>=16384 And "
    u"u.FUserID<=32767 And u.FForbidden=0 And (e.FItemID Is Null Or IsNull(LTrim(RTrim(e.FMobilePhone)),'')='') Order "
    u"by "
    u"u.FUserID";

[[noreturn]] void unexpected(const ustring& member, const Args& a) {
  ustring text = u"unexpected call " + member + u"(";
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (i) text += u", ";
    if (a[i].isRef()) text += u"ByRef ";
    text += a[i].deref().describe();
  }
  throw Error(errnum::InvalidCall, text + u")");
}

// The argument shapes a call must have: the session first, then for each further
// argument whether it comes by reference.
void expectShape(const ustring& member, const Args& a, const ustring& props, std::vector<bool> byRef) {
  if (a.size() != byRef.size() + 1 || a[0].isRef() || !a[0].isString() || a[0].rawString() != props)
    unexpected(member, a);
  for (std::size_t i = 0; i < byRef.size(); ++i)
    if (a[i + 1].isRef() != byRef[i]) unexpected(member, a);
}

std::shared_ptr<Collection> recordOf(std::vector<std::pair<ustring, Variant>> fields) {
  auto r = std::make_shared<Collection>();
  for (auto& [k, v] : fields) r->add(v, &k);
  return r;
}

}  // namespace

void NotifyTest::fail(const ustring& member) const {
  if (failing.count(member)) throw Error(static_cast<int32_t>(0x80040E14u), member + u" 失败：数据库连接已断开");
}

ObjectPtr NotifyTest::flowCollection() {
  auto c = std::make_shared<Collection>();
  for (const Flow& f : flows)
    c->add(Variant(
        ObjectPtr(recordOf({{u"FID", Variant(f.id)}, {u"FMCName", f.name}, {u"FIsMobileServiceRun", f.isRun}}))));
  if (extraFlowCount == 0) return c;
  // A collection that claims more than it holds.
  auto liar = std::make_shared<DynamicObject>(u"Collection");
  const int32_t extra = extraFlowCount;
  liar->on(u"Count", [c, extra](InvokeKind, Args&) { return Variant(static_cast<int32_t>(c->count()) + extra); });
  liar->on(u"Item", [c](InvokeKind k, Args& a) { return c->invoke(u"Item", k, a); });
  return liar;
}

FakeTable NotifyTest::userBills(const ustring& group) const {
  FakeTable t{{u"FBillType", u"FName", u"FPrescribe"}, {}};
  for (const BillType& b : bills)
    if (group.empty() || b.group == group)
      t.rows.push_back({Variant(b.id), b.name, Variant(int32_t(billSubscriptions.count(b.id) ? 1 : 0))});
  return t;
}

NotifyTest::NotifyTest() {
  fake.setSessionString(props);
  fake.setCurrentLanguage(u"chs");
  fake.addResLoader(u"LumoResLoader.Loader");

  groups = {{u"1", u"采购管理", u"W"}, {u"2", u"销售管理", u"W"}, {u"3", u"生产管理", u"Z"}, {u"4", u"空组", u"C"}};
  bills = {
      {u"71", u"1", u"采购订单", int32_t(1)},   {u"72", u"1", u"采购入库单", int32_t(0)},
      {u"81", u"2", u"销售订单", int32_t(1)},   {u"82", u"2", u"销售出库单", Variant::null()},
      {u"91", u"3", u"生产任务单", int32_t(0)},
  };
  flows = {
      {u"1001005", u"采购审批流", int32_t(1)},
      {u"1002001", u"生产任务审批", int32_t(0)},
      {u"1006002", u"费用报销审批", int32_t(0)},
      {u"2000001", u"其他流程", int32_t(1)},
  };
  billSubscriptions = {u"71"};
  flowSubscriptions = {u"1001005"};

  fake.registerComponent(u"LumoMSmsManager.clsBillUseInfo", [this](FakeComponent& c) {
    c.on(u"GetBillInfo", [this](InvokeKind, Args& a) -> Variant {
      fail(u"GetBillInfo");
      const bool old = a.size() == 2;
      expectShape(u"GetBillInfo", a, props, old ? std::vector<bool>{false} : std::vector<bool>{});
      FakeTable t{{u"FID", u"FName"}, {}};
      for (const Group& g : groups)
        if (!old || g.module == a[1].toString()) t.rows.push_back({Variant(g.id), g.name});
      return Variant(makeRecordset(t));
    });
    c.on(u"GetBillUseInfo", [this](InvokeKind, Args& a) -> Variant {
      fail(u"GetBillUseInfo");
      if (duringBillUseInfo) duringBillUseInfo();
      const bool old = a.size() == 3;
      expectShape(u"GetBillUseInfo", a, props, old ? std::vector<bool>{false, false} : std::vector<bool>{false});
      if (!a[1].isString()) unexpected(u"GetBillUseInfo", a);
      const ustring group = a[1].toString();
      FakeTable t{{u"FID", u"FName", u"FIsRun"}, {}};
      for (const BillType& b : bills) {
        if (!group.empty() && b.group != group) continue;
        if (old) {
          const auto g = std::find_if(groups.begin(), groups.end(), [&](const Group& x) { return x.id == b.group; });
          if (g == groups.end() || g->module != a[2].toString()) continue;
        }
        t.rows.push_back({Variant(b.id), b.name, b.isRun});
      }
      return Variant(makeRecordset(t));
    });
    c.on(u"GetUseFlag", [this](InvokeKind, Args& a) -> Variant {
      fail(u"GetUseFlag");
      expectShape(u"GetUseFlag", a, props, {});
      return useFlag;
    });
    c.on(u"GetAuditFlag", [this](InvokeKind, Args& a) -> Variant {
      fail(u"GetAuditFlag");
      expectShape(u"GetAuditFlag", a, props, {});
      return auditFlag;
    });
    c.on(u"GetUserBillInfo", [this](InvokeKind, Args& a) -> Variant {
      fail(u"GetUserBillInfo");
      expectShape(u"GetUserBillInfo", a, props,
                  a.size() == 3 ? std::vector<bool>{true, false} : std::vector<bool>{true});
      if (a[1].deref().toString() != userId) unexpected(u"GetUserBillInfo", a);
      FakeTable t{{u"FBillType", u"FName"}, {}};
      for (const Group& g : groups)
        if (a.size() == 2 || g.module == a[2].toString()) t.rows.push_back({Variant(g.id), g.name});
      return Variant(makeRecordset(t));
    });
    c.on(u"GetUserBillUseInfo", [this](InvokeKind, Args& a) -> Variant {
      fail(u"GetUserBillUseInfo");
      expectShape(u"GetUserBillUseInfo", a, props, {false, false});
      if (!a[1].isString() || a[1].rawString() != userId || !a[2].isString()) unexpected(u"GetUserBillUseInfo", a);
      return Variant(makeRecordset(userBills(a[2].rawString())));
    });
    c.on(u"GetORNUserBillUseInfo", [this](InvokeKind, Args& a) -> Variant {
      fail(u"GetORNUserBillUseInfo");
      expectShape(u"GetORNUserBillUseInfo", a, props, {true, true});
      if (a[2].deref().toString() != userId) unexpected(u"GetORNUserBillUseInfo", a);
      ObjectPtr coll = a[1].deref().toObject();
      FakeTable t{{u"FID", u"FMCName", u"FIsRun"}, {}};
      const int32_t n = coll->get(u"Count").toI4();
      for (int32_t i = 1; i <= n; ++i) {
        ObjectPtr r = coll->get(u"Item", {Variant(i)}).toObject();
        const ustring id = r->get(u"Item", {Variant(u"FID")}).toString();
        t.rows.push_back({Variant(id), r->get(u"Item", {Variant(u"FMCName")}),
                          Variant(int32_t(flowSubscriptions.count(id) ? 1 : 0))});
      }
      return Variant(makeRecordset(t));
    });
    c.on(u"GetData", [this](InvokeKind, Args& a) -> Variant {
      expectShape(u"GetData", a, props, {false});
      const ustring sql = a[1].toString();
      if (sql == kNoMobileCount) return Variant(makeRecordset({{u"FCount"}, {{Variant(usersWithoutMobile)}}}));
      if (sql == kNoMobileList)
        return Variant(makeRecordset({{u"FUserName", u"FEmpName", u"FDeptName"},
                                      {{Variant(u"无职员"), Variant::null(), Variant::null()},
                                       {Variant(u"李娜"), Variant(u"李娜"), Variant(u"财务部")}}}));
      unexpected(u"GetData", a);
    });
  });

  fake.registerComponent(u"LumoMMobileMCSrv.CGetData", [this](FakeComponent& c) {
    c.on(u"GetAllFlow", [this](InvokeKind, Args& a) -> Variant {
      fail(u"GetAllFlow");
      expectShape(u"GetAllFlow", a, props, {});
      return Variant(flowCollection());
    });
    c.on(u"GetFlowByUser", [this](InvokeKind, Args& a) -> Variant {
      fail(u"GetFlowByUser");
      expectShape(u"GetFlowByUser", a, props, {true});
      if (a[1].deref().toString() != userId) unexpected(u"GetFlowByUser", a);
      return Variant(flowCollection());
    });
  });

  fake.registerComponent(u"LumoMSmsManager.clsBillUseUpdate", [this](FakeComponent& c) {
    for (const char16_t* m : {u"DeleteUserByFlowInSMSPrescirbe", u"IniUseFlag"}) {
      const ustring member = m;
      c.on(member, [this, member](InvokeKind, Args& a) -> Variant {
        fail(member);
        expectShape(member, a, props, {});
        return Variant();
      });
    }
    auto readRecords = [](const Variant& collection) {
      std::vector<std::map<ustring, Variant>> out;
      ObjectPtr coll = collection.deref().toObject();
      const int32_t n = coll->get(u"Count").toI4();
      for (int32_t i = 1; i <= n; ++i) {
        auto r = std::dynamic_pointer_cast<Collection>(coll->get(u"Item", {Variant(i)}).toObject());
        std::map<ustring, Variant> fields;
        for (const char16_t* k : {u"FID", u"FName", u"FIsMobileServiceRun", u"FServiceID", u"FUserID", u"FUserName"})
          if (r && r->hasKey(k)) fields[k] = r->item(ustring(k));
        out.push_back(fields);
      }
      return out;
    };
    for (const char16_t* m : {u"BillUseOperate", u"BillOrnUseOperate"}) {
      const ustring member = m;
      c.on(member, [this, member, readRecords](InvokeKind, Args& a) -> Variant {
        fail(member);
        expectShape(member, a, props, {true, true, true});
        if (a[2].deref().type() != Variant::Type::Bool || a[3].deref().type() != Variant::Type::Bool)
          unexpected(member, a);
        Operation op{member, readRecords(a[1]), a[2].deref(), a[3].deref()};
        const bool on = op.on.toBool();
        for (auto& r : op.records) {
          const ustring id = r[u"FID"].toString();
          if (member == u"BillUseOperate") {
            for (BillType& b : bills)
              if (b.id == id) b.isRun = int32_t(on ? 1 : 0);
          } else {
            for (Flow& f : flows)
              if (f.id == id) f.isRun = r[u"FIsMobileServiceRun"];
          }
        }
        operations.push_back(std::move(op));
        return Variant();
      });
    }
    c.on(u"BillUserUseOperate", [this, readRecords](InvokeKind, Args& a) -> Variant {
      fail(u"BillUserUseOperate");
      expectShape(u"BillUserUseOperate", a, props, {true, true, false});
      if (a[2].deref().type() != Variant::Type::Bool || !a[3].isString()) unexpected(u"BillUserUseOperate", a);
      Operation op{u"BillUserUseOperate", readRecords(a[1]), a[2].deref(), a[3]};
      const bool on = op.on.toBool();
      std::set<ustring>& subs = op.last.rawString() == u"2" ? billSubscriptions : flowSubscriptions;
      for (auto& r : op.records) {
        if (on)
          subs.insert(r[u"FServiceID"].toString());
        else
          subs.erase(r[u"FServiceID"].toString());
      }
      operations.push_back(std::move(op));
      return Variant();
    });
    for (const char16_t* m : {u"SetUseFlag", u"SetAuditFlag"}) {
      const ustring member = m;
      c.on(member, [this, member](InvokeKind, Args& a) -> Variant {
        fail(member);
        expectShape(member, a, props, {false});
        if (a[1].type() != Variant::Type::Bool) unexpected(member, a);
        (member == u"SetUseFlag" ? useFlag : auditFlag) = a[1];
        return Variant();
      });
    }
  });

  fake.registerComponent(u"LumoMSmsManager.CSerivceInfo", [this](FakeComponent& c) {
    c.on(u"EmpInfo", [this](InvokeKind, Args& a) -> Variant {
      fail(u"EmpInfo");
      expectShape(u"EmpInfo", a, props, {});
      return employee;
    });
  });
  fake.registerComponent(u"OxaBase.SecurityInfo", [this](FakeComponent& c) {
    c.on(u"GetCurrentUserID", [this](InvokeKind, Args& a) -> Variant {
      expectShape(u"GetCurrentUserID", a, props, {});
      return Variant(userId);
    });
    c.on(u"GetCurrentUser", [this](InvokeKind, Args& a) -> Variant {
      expectShape(u"GetCurrentUser", a, props, {});
      return Variant(userName);
    });
  });
  fake.registerComponent(u"OxaBase.LogServer", [this](FakeComponent& c) {
    c.on(u"WriteLog", [this](InvokeKind, Args& a) -> Variant {
      if (a.size() != 6 || a[0].toString() != props) unexpected(u"WriteLog", a);
      return Variant(int32_t(1));
    });
    c.on(u"WriteBatchLog", [this](InvokeKind, Args& a) -> Variant {
      expectShape(u"WriteBatchLog", a, props, {true});
      fake.batchLogs.push_back(a[1].deref());
      return Variant();
    });
  });
}

std::shared_ptr<display::DisplayerPresenter> KeepingWindowFactory::listWindow() {
  auto w = FakeWindowFactory::listWindow();
  if (w) kept.push_back(w);
  return w;
}

void NotifyTest::make(bool personal) {
  window = std::make_unique<notify::ServiceManagerPresenter>(
      personal ? notify::userSettingsKind() : notify::serviceManagerKind(), view, windows);
}

void NotifyTest::open(bool personal) {
  make(personal);
  window->formLoad();
}

std::vector<ustring> NotifyTest::childKeys(const ustring& key) const {
  std::vector<ustring> out;
  const ui::TreeModel& t = window->tree();
  const ui::NodeId n = t.find(key);
  if (n == ui::kNoNode) {
    ADD_FAILURE() << "no node " << u8(key);
    return out;
  }
  for (ui::NodeId c = t.firstChild(n); c != ui::kNoNode; c = t.nextSibling(c)) out.push_back(t.key(c));
  return out;
}

std::vector<ustring> NotifyTest::childTexts(const ustring& key) const {
  std::vector<ustring> out;
  const ui::TreeModel& t = window->tree();
  const ui::NodeId n = t.find(key);
  if (n == ui::kNoNode) return out;
  for (ui::NodeId c = t.firstChild(n); c != ui::kNoNode; c = t.nextSibling(c)) out.push_back(t.text(c));
  return out;
}

std::vector<ustring> NotifyTest::rootChildKeys() const { return childKeys(u"Root"); }

std::vector<ustring> NotifyTest::listRows() const {
  std::vector<ustring> out;
  for (int32_t r = 2; r <= window->gridRowCount(); ++r)
    out.push_back(window->cellText(r, 1) + u"|" + window->cellText(r, 2) + u"|" + window->cellText(r, 3) + u"|" +
                  window->cellText(r, 4));
  return out;
}

void NotifyTest::click(const ustring& key) {
  const ui::NodeId n = window->tree().find(key);
  ASSERT_NE(n, ui::kNoNode) << u8(key);
  window->nodeClick(n);
}

void NotifyTest::select(const std::vector<ustring>& names) {
  view.selection.clear();
  for (const ustring& name : names) {
    bool found = false;
    for (int32_t r = 2; r <= window->gridRowCount(); ++r)
      if (window->cellText(r, 3) == name) {
        view.selection.push_back(r);
        found = true;
      }
    ASSERT_TRUE(found) << u8(name);
  }
  std::sort(view.selection.begin(), view.selection.end());
}

std::vector<ustring> NotifyTest::prompts() const {
  std::vector<ustring> out;
  for (const auto& m : fake.messageBoxes) out.push_back(m.prompt);
  return out;
}

std::vector<ustring> NotifyTest::resultLines() {
  std::vector<ustring> out;
  if (windows.made.empty()) return out;
  const auto& rows = windows.last().presenter.rowSets();
  for (std::size_t i = 1; i <= rows->count(); ++i) out.push_back(rows->item(i).toString());
  return out;
}

std::vector<std::vector<ustring>> NotifyTest::auditBatches() const {
  std::vector<std::vector<ustring>> out;
  for (const Variant& batch : fake.batchLogs) {
    std::vector<ustring> descs;
    auto coll = std::dynamic_pointer_cast<Collection>(batch.toObject());
    for (std::size_t i = 1; i <= coll->count(); ++i) {
      auto r = std::dynamic_pointer_cast<Collection>(coll->item(i).toObject());
      descs.push_back(r->item(ustring(u"FDesc")).toString());
    }
    out.push_back(descs);
  }
  return out;
}

std::vector<ustring> NotifyTest::members(const ustring& progId) const {
  std::vector<ustring> out;
  for (const JournalEntry& e : fake.journal)
    if (e.component == progId) out.push_back(e.member);
  return out;
}

}  // namespace lumo::test
