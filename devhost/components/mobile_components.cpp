#include "devhost/components/mobile_components.h"

#include "automation/dictionary.h"
#include "devhost/components/component.h"

namespace lumo::devhost {

namespace {

using DbPtr = std::shared_ptr<HostDb>;
using DbError = std::optional<Error>;

constexpr int32_t kEmployeeClass = 3;
constexpr int32_t kObjectTypeMobile = 65010;
constexpr uint32_t kUserEmpList = 0x1000000;  // the right to manage users' employees

ustring textOf(const Variant& v) {
  const Variant& d = v.deref();
  return d.isNull() || d.isEmpty() ? ustring() : d.toString();
}

// A keyed record handed in by the add-in, read late-bound by key.
Variant field(const ObjectPtr& record, const char16_t* key, const ustring& member, const ustring& progId) {
  if (!record) throw Error(errnum::ObjectVariableNotSet, member + u": the record is Nothing", progId);
  try {
    return readMember(record, u"Item", {ustring(key)}).deref();
  } catch (const Error& e) {
    throw Error(hosterr::BadArgument, member + u": the record has no " + key + u" (" + e.description() + u")", progId);
  }
}

int32_t employeeId(const Variant& v, const ustring& member, const ustring& progId) {
  double d = 0;
  if (v.isString() ? !parseNumber(v.rawString(), d) : !v.isNumeric())
    throw Error(hosterr::BadArgument, member + u": FEmpID " + v.describe() + u" is not an employee id", progId);
  if (!v.isString()) d = v.toDouble();
  if (d < 1 || d > 2147483647.0 || d != static_cast<double>(static_cast<int32_t>(d)))
    throw Error(hosterr::BadArgument, member + u": FEmpID " + v.describe() + u" is not an employee id", progId);
  return static_cast<int32_t>(d);
}

// The names of the other (not deleted) employees that hold the number.
std::vector<ustring> holders(HostDb& db, const ustring& mobile, int32_t except) {
  std::vector<ustring> out;
  if (trim(mobile).empty()) return out;
  odbc::Result r = db.connection().query(
      u"SELECT e.FName FROM t_Emp e LEFT JOIN t_Item i ON i.FItemID=e.FItemID "
      u"WHERE e.FMobilePhone=? AND e.FItemID<>? AND Coalesce(i.FDeleted,0)=0 ORDER BY e.FItemID",
      {mobile, except});
  for (const auto& row : r.rows) out.push_back(textOf(row[0]));
  return out;
}

bool employeeExists(HostDb& db, int32_t id) {
  return db.connection().scalar(u"SELECT COUNT(*) FROM t_Emp WHERE FItemID=?", {id}).toI4() > 0;
}

// ---------------------------------------------------------------------------
// "OxaGLItem.ItemUpdate"

class ItemUpdate : public Component {
 public:
  ItemUpdate(ustring progId, DbPtr database, DbError err)
      : Component(std::move(progId), std::move(database), std::move(err)) {
    method(u"UpdateUserMobile", Answer::Nothing, [this](Args& a) { return updateUserMobile(a); });
    method(u"UpdateBatchMobile", Answer::Value, [this](Args& a) { return updateBatchMobile(a); });
  }

 private:
  Variant updateUserMobile(Args& a) {
    const ustring member = u"UpdateUserMobile";
    db().resolveSession(arg(a, 0, member));
    const ObjectPtr set = arg(a, 1, member).toObject();
    const int32_t emp = employeeId(field(set, u"FEmpID", member, progId()), member, progId());
    const ustring mobile = textOf(field(set, u"Mobile", member, progId()));
    if (!employeeExists(db(), emp))
      throw Error(hosterr::BadArgument, member + u": there is no employee " + toText(emp), progId());
    const std::vector<ustring> others = holders(db(), mobile, emp);
    if (!others.empty())
      throw Error(hosterr::BadArgument, u"手机号码[" + mobile + u"]已被职员[" + join(others, u",") + u"]使用", progId());
    db().connection().execute(u"UPDATE t_Emp SET FMobilePhone=? WHERE FItemID=?", {mobile, emp});
    return {};
  }

  Variant updateBatchMobile(Args& a) {
    const ustring member = u"UpdateBatchMobile";
    db().resolveSession(arg(a, 0, member));
    const ObjectPtr edits = arg(a, 1, member).toObject();
    if (!edits) throw Error(errnum::ObjectVariableNotSet, member + u": the edits are Nothing", progId());
    struct Edit {
      int32_t emp;
      ustring name, mobile;
    };
    std::vector<Edit> list;
    const int32_t count = readMember(edits, u"Count", {}).toI4();
    for (int32_t i = 1; i <= count; ++i) {
      const ObjectPtr rec = readMember(edits, u"Item", {i}).toObject();
      Edit e;
      e.emp = employeeId(field(rec, u"FEmpID", member, progId()), member, progId());
      e.name = textOf(field(rec, u"FEmpName", member, progId()));
      e.mobile = textOf(field(rec, u"Mobile", member, progId()));
      list.push_back(std::move(e));
    }
    auto failures = std::make_shared<Collection>();
    int32_t saved = 0;
    odbc::Transaction t(db().connection());
    for (const Edit& e : list) {
      // Each edit is checked against what the edits before it have stored.
      if (!holders(db(), e.mobile, e.emp).empty()) {
        auto rec = std::make_shared<Dictionary>();
        rec->add(u"FEmpName", e.name);
        rec->add(u"Mobile", e.mobile);
        failures->add(Variant(ObjectPtr(rec)));
        continue;
      }
      db().connection().execute(u"UPDATE t_Emp SET FMobilePhone=? WHERE FItemID=?", {e.mobile, e.emp});
      ++saved;
    }
    t.commit();
    if (a.size() > 2) a[2].deref() = toText(saved);
    if (a.size() > 3) a[3].deref() = toText(static_cast<int32_t>(failures->count()));
    return Variant(ObjectPtr(failures));
  }
};

// ---------------------------------------------------------------------------
// "OxcGLView.GLView"

EmployeePicker& installedPicker() {
  static EmployeePicker picker;
  return picker;
}

class GLView : public Component {
 public:
  GLView(ustring progId, DbPtr database, DbError err)
      : Component(std::move(progId), std::move(database), std::move(err)) {
    method(u"ItemLookup", Answer::Value, [this](Args& a) { return itemLookup(a); });
  }

 private:
  Variant itemLookup(Args& a) {
    const ustring member = u"ItemLookup";
    const int32_t itemClass = arg(a, 0, member).toI4();
    if (itemClass != kEmployeeClass)
      throw Error(hosterr::BadArgument, member + u": item class " + toText(itemClass) + u" has no picker here",
                  progId());
    if (a.size() > 1) a[1].deref() = int32_t(0);

    PickerRequest request;
    std::optional<Session> session = db().sessionOf(currentProcessId());
    request.language = session ? session->language : ustring(u"chs");
    std::vector<PickerDepartment>& departments = request.departments;
    for (const auto& row : db().connection().query(u"SELECT FItemID, FName FROM t_Department ORDER BY FNumber").rows)
      departments.push_back({row[0].toI4(), textOf(row[1])});
    std::vector<PickerEmployee>& employees = request.employees;
    // The grouping nodes of the employee tree are listed with the employees.
    for (const auto& row :
         db().connection()
             .query(u"SELECT i.FItemID, i.FNumber, Coalesce(e.FName, i.FName), e.FMobilePhone, "
                    u"Coalesce(e.FDepartmentID,0), i.FDetail FROM t_Item i LEFT JOIN t_Emp e ON e.FItemID=i.FItemID "
                    u"WHERE i.FItemClassID=? AND i.FDeleted=0 ORDER BY i.FDetail, i.FNumber",
                    {kEmployeeClass})
             .rows) {
      PickerEmployee e;
      e.id = row[0].toI4();
      e.number = textOf(row[1]);
      e.name = textOf(row[2]);
      e.mobile = row[3];
      e.department = row[4].isNumeric() ? row[4].toI4() : 0;
      e.group = row[5].toI4() == 0;
      employees.push_back(std::move(e));
    }
    const PickerChoice choice =
        installedPicker() ? installedPicker()(request) : showPickerWindow(request);
    if (choice.cancelled) return Variant(ObjectPtr());
    auto selection = std::make_shared<Collection>();
    if (choice.itemId) {
      const PickerEmployee* chosen = nullptr;
      for (const PickerEmployee& e : employees)
        if (e.id == *choice.itemId) chosen = &e;
      if (!chosen) throw Error(hosterr::BadArgument, member + u": the picker chose an unknown item", progId());
      selection->add(Variant(itemObject(*chosen)));
    }
    if (a.size() > 1) a[1].deref() = static_cast<int32_t>(selection->count());
    return Variant(ObjectPtr(selection));
  }

  static ObjectPtr itemObject(const PickerEmployee& e) {
    auto item = std::make_shared<DynamicObject>(u"Item");
    item->property(u"ItemID", e.id);
    item->property(u"Name", e.name);
    item->property(u"Number", e.number);
    auto props = std::make_shared<Dictionary>(Dictionary::CompareMode::Text);
    props->add(u"FItemID", e.id);
    props->add(u"FNumber", e.number);
    props->add(u"FName", e.name);
    props->add(u"FDepartmentID", e.department);
    // A grouping node has no employee row, hence no number property.
    if (!e.group) props->add(u"FMobilePhone", e.mobile);
    item->on(u"Properties", [props](InvokeKind, Args& p) -> Variant {
      if (p.empty()) return Variant(ObjectPtr(props));
      const Variant* v = props->find(p[0].deref());
      if (!v) throw Error(5, u"Invalid procedure call or argument: no property " + p[0].deref().describe(), u"Item");
      return *v;
    });
    return item;
  }
};

// ---------------------------------------------------------------------------
// "OxaBase.SecurityAdmin"

class SecurityAdmin : public Component {
 public:
  SecurityAdmin(ustring progId, DbPtr database, DbError err)
      : Component(std::move(progId), std::move(database), std::move(err)) {
    method(u"SetUserInfo", Answer::Nothing, [this](Args& a) { return setUserInfo(a); });
  }

 private:
  Variant setUserInfo(Args& a) {
    const ustring member = u"SetUserInfo";
    db().resolveSession(arg(a, 0, member));
    const ustring name = textArg(a, 1, member);
    const ObjectPtr info = arg(a, 2, member).toObject();
    const int32_t emp = employeeId(field(info, u"FEmpID", member, progId()), member, progId());
    field(info, u"MachineName", member, progId());
    field(info, u"IPAddress", member, progId());
    if (!employeeExists(db(), emp))
      throw Error(hosterr::BadArgument, member + u": there is no employee " + toText(emp), progId());
    odbc::Result users = db().connection().query(
        u"SELECT FUserID FROM t_User WHERE FName=? AND FUserType<>2 AND FUserID BETWEEN 16384 AND 32767", {name});
    if (users.rows.empty()) throw Error(hosterr::BadArgument, u"用户[" + name + u"]不存在", progId());
    if (users.rows.size() > 1) throw Error(hosterr::BadArgument, u"用户名[" + name + u"]不唯一,不能关联职员", progId());
    db().connection().execute(u"UPDATE t_User SET FEmpID=? WHERE FUserID=?", {emp, users.rows[0][0].toI4()});
    return {};
  }
};

// ---------------------------------------------------------------------------
// "LumoMRightManage.CUserInfo"

class UserInfo : public Component {
 public:
  UserInfo(ustring progId, DbPtr database, DbError err)
      : Component(std::move(progId), std::move(database), std::move(err)) {
    method(u"chkAuthRight", Answer::Bool, [this](Args& a) { return chkAuthRight(a); });
  }

 private:
  Variant chkAuthRight(Args& a) {
    const ustring member = u"chkAuthRight";
    const User u = db().resolveSession(arg(a, 0, member));
    const int32_t kind = arg(a, 2, member).toI4();
    if (kind != 2) throw Error(hosterr::BadArgument, member + u": right kind " + toText(kind) + u" is unknown", progId());
    uint32_t granted = 0;
    if (!u.forbidden) granted = db().isAdministrator(u) ? kUserEmpList : db().grantedRights(u, kObjectTypeMobile, 0);
    granted &= kUserEmpList;
    a[1].deref() = static_cast<int32_t>(granted);
    return granted != 0;
  }
};

template <class T>
ObjectPtr make(const ustring& progId, DbPtr db, DbError err) {
  return std::make_shared<T>(progId, std::move(db), std::move(err));
}

}  // namespace

ObjectPtr makeItemUpdate(const ustring& p, DbPtr db, DbError err) { return make<ItemUpdate>(p, std::move(db), std::move(err)); }
ObjectPtr makeGLView(const ustring& p, DbPtr db, DbError err) { return make<GLView>(p, std::move(db), std::move(err)); }
ObjectPtr makeSecurityAdmin(const ustring& p, DbPtr db, DbError err) {
  return make<SecurityAdmin>(p, std::move(db), std::move(err));
}
ObjectPtr makeUserInfo(const ustring& p, DbPtr db, DbError err) { return make<UserInfo>(p, std::move(db), std::move(err)); }

Variant checkEmpIsGroup(HostDb& db, const Variant& props, const Variant& itemId) {
  db.resolveSession(props);
  const Variant& id = itemId.deref();
  if (!id.isNumeric() && !id.isString()) return false;
  const Variant detail =
      db.connection().scalar(u"SELECT FDetail FROM t_Item WHERE FItemID=? AND FItemClassID=?", {id.toI4(), kEmployeeClass});
  if (detail.isNumeric() && detail.toI4() == 0) return true;
  // An employee that other items hang below is a grouping node as well.
  return db.connection().scalar(u"SELECT COUNT(*) FROM t_Item WHERE FParentID=? AND FItemClassID=?",
                                {id.toI4(), kEmployeeClass})
             .toI4() > 0;
}

void setEmployeePicker(EmployeePicker picker) { installedPicker() = std::move(picker); }

#ifndef _WIN32
PickerChoice showPickerWindow(const PickerRequest&) {
  throw Error(errnum::CannotCreateObject, u"The employee picker needs a window: none is installed in this build",
              u"OxcGLView.GLView");
}
#endif

}  // namespace lumo::devhost
