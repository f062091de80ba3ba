#include "sms_fixture.h"

#include <algorithm>

namespace lumo::test {

using ui::NodeId;
using sms::Tree;

const ustring kDepartmentTreeSql =
    u"Select Distinct t1.FDepartmentID,t2.FName as FDepartName From t_Emp t1 Inner join t_Department t2 on "
    u"t1.FDepartmentID=t2.FItemID Where t1.FItemID>0 Order by t1.FDepartmentID";

const ustring kGroupTreeSql =
    u"Select Distinct g.FGroupID,u.FName as FGroupName From t_User u Inner join t_Group g On u.fUserid =g.fGroupID "
    u"Order by g.FGroupID";

const ustring kNoDepartmentSql =
    u"Select t1.FItemID,t1.FName,t1.FDepartmentID,t1.FMobilePhone From t_Emp t1 Inner join t_Item t2 On "
    u"t1.FItemID=t2.FItemID Where IsNull(t1.FDepartmentID,0)=0 And (Lower(t1.FNumber) Not in ('admin','super')) And "
    u"t2.FDeleted=0 Order by t1.FNumber";

namespace {
const ustring kDepartmentSqlHead =
    u"Select t1.FItemID,t1.FName,t1.FDepartmentID,t1.FMobilePhone From t_Emp t1 Inner join t_Item t2 On "
    u"t1.FItemID=t2.FItemID Where t1.FDepartmentID=";
const ustring kDepartmentSqlTail = u" And t2.FDeleted=0 Order by t1.FNumber";
const ustring kGroupSqlHead =
    u"Select u.FUserID,u.FName,E.FMobilePhone,g.FGroupID From t_User u Left join t_Group g On u.FUserID=g.FUserID "
    u"Left join t_Emp E On u.FEmpID=e.FItemID Where u.FUserID>=16384 And u.FUserID<=32767 And u.FForbidden=0 And "
    u"g.FGroupID=";

bool departmentIs(const Employee& e, int32_t id) {
  if (e.department.isNull()) return id == 0;
  return e.department.toI4() == id;
}

// An id written after a fixed head, exactly as the window writes it.
bool idAfter(const ustring& sql, const ustring& head, const ustring& tail, int32_t& id) {
  if (!startsWith(sql, head) || !endsWith(sql, tail)) return false;
  const ustring digits = sql.substr(head.size(), sql.size() - head.size() - tail.size());
  if (digits.empty() || digits.size() > 9) return false;
  for (char16_t c : digits)
    if (c < u'0' || c > u'9') return false;
  id = Variant(digits).toI4();
  return true;
}
}  // namespace

ustring departmentSql(const ustring& id) { return kDepartmentSqlHead + id + kDepartmentSqlTail; }
ustring groupSql(const ustring& id) { return kGroupSqlHead + id; }

void FakeDirectory::demo() {
  departments = {{1, u"总经办"}, {2, u"财务部"}, {3, u"销售部"}, {4, Variant::null()}, {5, u"空部门"}};
  const Variant none = Variant::null();
  employees = {
      {1001, u"E001", u"张伟", u"13800000001", int32_t(1)},
      {1002, u"E002", u"王芳", u"13800000002", int32_t(1)},
      {1003, u"E003", u"李娜", none, int32_t(2)},
      {1004, u"E004", u"刘洋", u"   ", int32_t(2)},
      {1005, u"E005", u"陈静", u"13800000005", int32_t(3)},
      {1006, u"E006", u"赵磊", u"13800000006", int32_t(4)},
      {1007, u"admin", u"管理员", u"13700000000", none},
      {1008, u"E008", u"孙丽", u"13900000008", none},
      {1009, u"E009", u"周杰", u"13900000009", int32_t(0)},
      {1010, u"E010", u"吴敏", u"13800000010", int32_t(1), true},
      {1011, u"SUPER", u"超级", u"13700000001", int32_t(0)},
  };
  users = {
      {1, u"系统管理员组"}, {2, u"财务组"},          {3, u"销售组"},
      {100, u"administrator"}, {16394, u"张伟", 1001}, {16395, u"王芳", 1002},
      {16396, u"李娜", 1003},  {16397, u"无职员"},      {16398, u"停用", 1005, true},
  };
  memberships = {{1, 16394}, {1, 16396}, {1, 100}, {2, 16394}, {2, 16395}, {2, 16397}, {2, 16398}};
}

const User* FakeDirectory::user(int32_t id) const {
  for (const User& u : users)
    if (u.id == id) return &u;
  return nullptr;
}

const Employee* FakeDirectory::employee(int32_t id) const {
  for (const Employee& e : employees)
    if (e.id == id) return &e;
  return nullptr;
}

std::size_t FakeDirectory::count(const ustring& sql) const {
  return static_cast<std::size_t>(std::count(queries.begin(), queries.end(), sql));
}

ObjectPtr FakeDirectory::query(const ustring& sql) {
  queries.push_back(sql);
  if (failing.count(sql)) throw Error(static_cast<int32_t>(0x80040E14u), u"对象名 't_Emp' 无效。", u"HostDb.Query");
  auto b = breakAt.find(sql);
  return makeRecordset(answer(sql), b == breakAt.end() ? SIZE_MAX : b->second);
}

FakeTable FakeDirectory::answer(const ustring& sql) const {
  auto s = scripted.find(sql);
  if (s != scripted.end()) return s->second;

  const std::vector<ustring> employeeColumns{u"FItemID", u"FName", u"FDepartmentID", u"FMobilePhone"};
  auto employeesWhere = [&](auto keep) {
    std::vector<const Employee*> chosen;
    for (const Employee& e : employees)
      if (!e.deleted && keep(e)) chosen.push_back(&e);
    std::stable_sort(chosen.begin(), chosen.end(),
                     [](const Employee* a, const Employee* b) { return a->number < b->number; });
    FakeTable t{employeeColumns, {}};
    for (const Employee* e : chosen) t.rows.push_back({e->id, e->name, e->department, e->mobile});
    return t;
  };

  if (sql == kDepartmentTreeSql) {
    std::vector<Department> shown;
    for (const Department& d : departments) {
      bool staffed = false;
      for (const Employee& e : employees)
        if (e.id > 0 && !e.department.isNull() && e.department.toI4() == d.id) staffed = true;
      if (staffed) shown.push_back(d);
    }
    std::stable_sort(shown.begin(), shown.end(), [](const Department& a, const Department& b) { return a.id < b.id; });
    FakeTable t{{u"FDepartmentID", u"FDepartName"}, {}};
    for (const Department& d : shown) t.rows.push_back({d.id, d.name});
    return t;
  }
  if (sql == kNoDepartmentSql) {
    return employeesWhere([](const Employee& e) {
      const ustring n = toLower(e.number);
      return departmentIs(e, 0) && n != u"admin" && n != u"super";
    });
  }
  int32_t id = 0;
  if (idAfter(sql, kDepartmentSqlHead, kDepartmentSqlTail, id)) {
    return employeesWhere([id](const Employee& e) { return !e.department.isNull() && e.department.toI4() == id; });
  }
  if (sql == kGroupTreeSql) {
    std::set<int32_t> groups;
    for (const Membership& m : memberships)
      if (user(m.group)) groups.insert(m.group);
    FakeTable t{{u"FGroupID", u"FGroupName"}, {}};
    for (int32_t g : groups) t.rows.push_back({g, user(g)->name});
    return t;
  }
  if (idAfter(sql, kGroupSqlHead, u"", id)) {
    FakeTable t{{u"FUserID", u"FName", u"FMobilePhone", u"FGroupID"}, {}};
    for (const Membership& m : memberships) {
      const User* u = user(m.user);
      if (m.group != id || !u || u->id < 16384 || u->id > 32767 || u->forbidden) continue;
      const Employee* e = u->employee ? employee(u->employee) : nullptr;
      t.rows.push_back({u->id, u->name, e ? e->mobile : Variant::null(), m.group});
    }
    return t;
  }
  throw Error(static_cast<int32_t>(0x80040E14u), u"unexpected SQL: " + sql);
}

// ---- the fixture ---------------------------------------------------------------------------

SmsTest::SmsTest() {
  fake.setSessionString(props);
  fake.setCurrentLanguage(u"chs");
  fake.addResLoader(u"LumoResLoader.Loader");
  fake.addResLoader(u"FrmRes.FrmResLoader");
  fake.addLogServer();
  db.demo();
  fake.registerComponent(u"LumoMSmsManager.clsBillUseInfo", [this](FakeComponent& c) {
    c.on(u"GetData", [this](InvokeKind, Args& a) -> Variant {
      if (a.size() != 2) throw Error(errnum::WrongArgumentCount);
      if (a[0].toString() != props) throw Error(5, u"no session");
      return Variant(db.query(a[1].toString()));
    });
    c.on(u"GetEmpMobile", [this](InvokeKind, Args& a) -> Variant {
      if (a.size() != 1) throw Error(errnum::WrongArgumentCount);
      return senderMobile;
    });
  });
  fake.registerComponent(u"LumoMSmsManager.CSerivceInfo", [this](FakeComponent& c) {
    c.on(u"EmpInfo", [this](InvokeKind, Args& a) -> Variant {
      if (a.size() != 1) throw Error(errnum::WrongArgumentCount);
      return employeeName;
    });
  });
  fake.registerComponent(u"VtMobileOpen.MobileOpen", [this](FakeComponent& c) {
    c.on(u"SendMessage", [this](InvokeKind, Args& a) -> Variant {
      if (a.size() != 1) throw Error(errnum::WrongArgumentCount);
      // Read the set as a gateway does: late-bound, by its keys.
      ObjectPtr set = a[0].deref().toObject();
      Parameters p;
      const Variant keys = set->call(u"Keys");
      for (const Variant& key : keys.toArray()) p.emplace_back(key.toString(), set->get(u"Item", {key}));
      sent.push_back(std::move(p));
      if (gatewayThrows) throw Error(static_cast<int32_t>(0x800706BAu), u"RPC 服务器不可用");
      return gatewayResult;
    });
  });
}

void SmsTest::open() {
  ASSERT_TRUE(window.isRelateEmp());
  window.formLoad();
}

namespace {
// What 'read' gives of each child of the node with that key, in order.
template <class Read>
std::vector<ustring> readChildren(const ui::TreeModel& t, const ustring& key, Read read) {
  std::vector<ustring> out;
  const NodeId parent = t.find(key);
  if (parent == ui::kNoNode) {
    ADD_FAILURE() << "no node " << u8(key);
    return out;
  }
  for (NodeId c = t.firstChild(parent); c != ui::kNoNode; c = t.nextSibling(c)) out.push_back(read(t, c));
  return out;
}
}  // namespace

std::vector<ustring> SmsTest::childKeys(Tree which, const ustring& key) {
  return readChildren(tree(which), key, [](const ui::TreeModel& t, NodeId c) { return t.key(c); });
}

std::vector<ustring> SmsTest::childTexts(Tree which, const ustring& key) {
  return readChildren(tree(which), key, [](const ui::TreeModel& t, NodeId c) { return t.text(c); });
}

std::vector<ustring> SmsTest::positionKeys(Tree which) {
  std::vector<ustring> out;
  const ui::TreeModel& t = tree(which);
  for (std::size_t p = 1; p <= t.count(); ++p) out.push_back(t.key(t.at(p)));
  return out;
}

std::vector<ustring> SmsTest::prompts() const {
  std::vector<ustring> out;
  for (const auto& m : fake.messageBoxes) out.push_back(m.prompt);
  return out;
}

void SmsTest::check(Tree which, const ustring& key, bool on) {
  const NodeId n = node(which, key);
  ASSERT_NE(n, ui::kNoNode) << u8(key);
  window.nodeCheck(which, n, on);
}

void SmsTest::expand(Tree which, const ustring& key) {
  const NodeId n = node(which, key);
  ASSERT_NE(n, ui::kNoNode) << u8(key);
  window.nodeExpand(which, n);
}

void SmsTest::showGroups() {
  view.tab = 1;
  window.tabClick();
}

Variant parameter(const Parameters& p, const ustring& name) {
  for (const auto& [k, v] : p)
    if (k == name) return v;
  ADD_FAILURE() << "no parameter " << u8(name);
  return {};
}

}  // namespace lumo::test
