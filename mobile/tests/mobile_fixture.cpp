#include "mobile_fixture.h"

#include <algorithm>

namespace lumo::test {

ustring ownEmployeeSql(int32_t userId) {
  return u"select a.FItemID,a.FName,a.FMobilePhone from t_Emp a inner join t_User b on a.FItemID=b.FEmpID and "
         u"b.FUserID=" +
         toText(userId);
}

const ustring kMobileTableSql =
    u"Select a.FName,a.FEmpID,b.FName as EmpName,b.FMobilePhone From t_User a Left join t_Emp b On "
    u"a.FEmpID=b.FItemID Where a.FUserID Between 16384 And 32767And a.FForbidden=0 Order By a.FUserID";

void FakeMobileDb::demo() {
  const Variant none = Variant::null();
  employees = {
      {1001, u"王建国", u"13901010001"}, {1002, u"李秀英", u"13901010002"}, {1003, u"张伟", none},
      {1004, u"刘芳", u"13801020004"},   {1005, u"陈静", u"13801020005"},   {900, u"管理人员", none, true},
  };
  users = {
      {100, u"administrator", int32_t(1001)},  // outside the listed range
      {16384, u"王建国", int32_t(1001)},
      {16385, u"王建国(备)", int32_t(1001)},  // a second user of the same employee
      {16386, u"李秀英", int32_t(1002)},
      {16387, u"临时用户", none},
      {16388, u"张伟", int32_t(1003)},  // an employee without a number
      {16389, u"停用", int32_t(1004), true},
      {16390, u"陈静", int32_t(1005)},
  };
}

const MobileEmployee* FakeMobileDb::employee(int32_t id) const {
  for (const MobileEmployee& e : employees)
    if (e.id == id) return &e;
  return nullptr;
}

MobileUser* FakeMobileDb::user(const ustring& name) {
  for (MobileUser& u : users)
    if (u.name.toString() == name) return &u;
  return nullptr;
}

ObjectPtr FakeMobileDb::query(const ustring& sql) {
  queries.push_back(sql);
  if (failing.count(sql)) throw Error(static_cast<int32_t>(0x80040E14u), u"对象名 't_Emp' 无效。", u"HostDb.Query");
  return makeRecordset(answer(sql));
}

FakeTable FakeMobileDb::answer(const ustring& sql) const {
  auto s = scripted.find(sql);
  if (s != scripted.end()) return s->second;
  if (sql == kMobileTableSql) {
    std::vector<const MobileUser*> listed;
    for (const MobileUser& u : users)
      if (u.id >= 16384 && u.id <= 32767 && !u.forbidden) listed.push_back(&u);
    std::stable_sort(listed.begin(), listed.end(), [](auto* a, auto* b) { return a->id < b->id; });
    FakeTable t{{u"FName", u"FEmpID", u"EmpName", u"FMobilePhone"}, {}};
    for (const MobileUser* u : listed) {
      const MobileEmployee* e = u->empId.isNull() ? nullptr : employee(u->empId.toI4());
      t.rows.push_back({u->name, u->empId, e ? e->name : Variant::null(), e ? e->mobile : Variant::null()});
    }
    return t;
  }
  for (const MobileUser& u : users) {
    if (sql != ownEmployeeSql(u.id)) continue;
    FakeTable t{{u"FItemID", u"FName", u"FMobilePhone"}, {}};
    const MobileEmployee* e = u.empId.isNull() ? nullptr : employee(u.empId.toI4());
    if (e) t.rows.push_back({e->id, e->name, e->mobile});
    return t;
  }
  throw Error(static_cast<int32_t>(0x80040E14u), u"unexpected SQL: " + sql);
}

std::map<ustring, Variant> readDictionary(const ObjectPtr& d) {
  std::map<ustring, Variant> out;
  if (!d) return out;
  const Variant keys = d->call(u"Keys");
  for (const Variant& key : keys.toArray()) out[key.toString()] = d->get(u"Item", {key});
  return out;
}

namespace {
void needArgs(const Args& a, std::size_t n) {
  if (a.size() != n) throw Error(errnum::WrongArgumentCount);
}
}  // namespace

MobileTest::MobileTest() {
  fake.setSessionString(props);
  fake.setCurrentLanguage(u"chs");
  fake.addResLoader(u"LumoResLoader.Loader");
  fake.addResLoader(u"FrmRes.FrmResLoader");
  fake.addLogServer();
  db.demo();
  auto session = [this](const Args& a) {
    if (a.empty() || a[0].deref().toString() != props) throw Error(5, u"no session");
  };
  fake.registerComponent(u"LumoMSmsManager.clsBillUseInfo", [this, session](FakeComponent& c) {
    c.on(u"GetData", [this, session](InvokeKind, Args& a) -> Variant {
      needArgs(a, 2);
      session(a);
      return Variant(db.query(a[1].deref().toString()));
    });
  });
  fake.registerComponent(u"OxaBase.SecurityInfo", [this, session](FakeComponent& c) {
    c.on(u"GetCurrentUser", [this, session](InvokeKind, Args& a) -> Variant {
      needArgs(a, 1);
      session(a);
      return currentUser;
    });
    c.on(u"GetCurrentUserID", [this, session](InvokeKind, Args& a) -> Variant {
      needArgs(a, 1);
      session(a);
      if (userIdThrows) throw Error(static_cast<int32_t>(0x800706BAu), u"RPC 服务器不可用");
      return currentUserId;
    });
    c.on(u"CheckEmpIsGroup", [this, session](InvokeKind, Args& a) -> Variant {
      needArgs(a, 2);
      session(a);
      return groupEmployees.count(a[1].deref().toI4()) > 0;
    });
  });
  fake.registerComponent(u"OxaGLItem.ItemUpdate", [this, session](FakeComponent& c) {
    c.on(u"UpdateUserMobile", [this, session](InvokeKind, Args& a) -> Variant {
      needArgs(a, 4);
      session(a);
      userMobileUpdates.push_back(readDictionary(a[1].deref().toObject()));
      if (updateUserMobileThrows) throw Error(static_cast<int32_t>(0x80040E2Fu), u"违反唯一约束", u"ItemUpdate");
      return Variant();
    });
    c.on(u"UpdateBatchMobile", [this, session](InvokeKind, Args& a) -> Variant {
      needArgs(a, 4);
      session(a);
      if (!a[1].isRef() || !a[2].isRef() || !a[3].isRef()) throw Error(13, u"Type mismatch: by reference expected");
      std::vector<std::map<ustring, Variant>> records;
      ObjectPtr list = a[1].deref().toObject();
      const int32_t n = list->get(u"Count").toI4();
      for (int32_t i = 1; i <= n; ++i) records.push_back(readDictionary(list->get(u"Item", {i}).toObject()));
      batches.push_back(records);
      if (batchThrows) throw Error(static_cast<int32_t>(0x80004005u), u"数据库连接已断开", u"ItemUpdate");
      auto failures = std::make_shared<Collection>();
      for (const auto& [name, mobile] : batchFailures) {
        auto rec = std::make_shared<Dictionary>();
        rec->add(u"FEmpName", name);
        rec->add(u"Mobile", mobile);
        failures->add(Variant(ObjectPtr(rec)));
      }
      return Variant(ObjectPtr(failures));
    });
  });
  fake.registerComponent(u"LumoMRightManage.CUserInfo", [this, session](FakeComponent& c) {
    c.on(u"chkAuthRight", [this, session](InvokeKind, Args& a) -> Variant {
      needArgs(a, 3);
      session(a);
      if (!a[1].isRef() || a[1].deref().type() != Variant::Type::I4 || a[1].deref().toI4() != 0)
        throw Error(13, u"Type mismatch: a Long variable holding 0 expected");
      if (a[2].deref().type() != Variant::Type::I2 && a[2].deref().type() != Variant::Type::I4)
        throw Error(13, u"Type mismatch");
      if (a[2].deref().toI4() != 2) throw Error(5, u"unknown right kind");
      return hasRight;
    });
  });
  fake.registerComponent(u"OxcGLView.GLView", [this](FakeComponent& c) {
    c.on(u"ItemLookup", [this](InvokeKind, Args& a) -> Variant {
      needArgs(a, 3);
      if (!a[0].isRef() || a[0].deref().toI4() != 3) throw Error(5, u"the item class must be 3 by reference");
      if (!a[1].isRef() || a[1].deref().type() != Variant::Type::I4 || a[1].deref().toI4() != 0)
        throw Error(13, u"Type mismatch: an out value holding 0 expected");
      if (a[2].deref().toString() != u"fdetail=1") throw Error(5, u"unexpected filter");
      if (lookups.empty()) throw Error(5, u"no lookup scripted");
      const LookupAnswer answer = lookups.front();
      lookups.erase(lookups.begin());
      if (answer.kind == LookupAnswer::Cancel) return Variant(ObjectPtr());
      auto selection = std::make_shared<Collection>();
      if (answer.kind == LookupAnswer::Item) {
        auto item = std::make_shared<DynamicObject>(u"Item");
        const int32_t id = answer.itemId;
        const Variant name = answer.name;
        const std::optional<Variant> mobile = answer.mobile;
        item->on(u"ItemID", [id](InvokeKind, Args&) { return Variant(id); });
        item->on(u"Name", [name](InvokeKind, Args&) { return name; });
        item->on(u"Properties", [mobile](InvokeKind, Args& p) -> Variant {
          if (p.size() != 1) throw Error(errnum::WrongArgumentCount);
          if (p[0].deref().toString() == u"FMobilePhone" && mobile) return *mobile;
          throw Error(5, u"Invalid procedure call or argument", u"Properties");
        });
        selection->add(Variant(ObjectPtr(item)));
      }
      a[1].deref() = static_cast<int32_t>(selection->count());
      return Variant(ObjectPtr(selection));
    });
  });
  fake.registerComponent(u"OxaBase.SecurityAdmin", [this, session](FakeComponent& c) {
    c.on(u"SetUserInfo", [this, session](InvokeKind, Args& a) -> Variant {
      needArgs(a, 3);
      session(a);
      if (!a[1].isRef() || !a[2].isRef()) throw Error(13, u"Type mismatch: by reference expected");
      bindings.emplace_back(a[1].deref().toString(), readDictionary(a[2].deref().toObject()));
      return Variant();
    });
  });
}

std::vector<ustring> MobileTest::prompts() const {
  std::vector<ustring> out;
  for (const auto& m : fake.messageBoxes) out.push_back(m.prompt);
  return out;
}

}  // namespace lumo::test
