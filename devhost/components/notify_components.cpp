#include "devhost/components/notify_components.h"

#include <set>
#include <utility>
#include <vector>

#include "devhost/components/recordset.h"

namespace lumo::devhost {

namespace {

using DbPtr = std::shared_ptr<HostDb>;
using DbError = std::optional<Error>;

constexpr int32_t kKindBill = 2, kKindFlow = 3;
constexpr int16_t kSqlInteger = 4, kSqlWideText = -9;  // the driver's type codes

[[noreturn]] void refuse(const ustring& progId, const ustring& member, const ustring& why) {
  throw Error(hosterr::BadArgument, progId + u"." + member + u": " + why, progId);
}

// A whole number written as text or held as a number.
std::optional<int32_t> wholeNumber(const Variant& v) {
  const Variant& d = v.deref();
  if (d.isNull() || d.isEmpty()) return std::nullopt;
  double x = 0;
  if (d.isString()) {
    if (!parseNumber(d.rawString(), x)) return std::nullopt;
  } else if (d.isNumeric()) {
    x = d.toDouble();
  } else {
    return std::nullopt;
  }
  if (x != static_cast<double>(static_cast<long long>(x)) || x < -2147483648.0 || x > 2147483647.0) return std::nullopt;
  return static_cast<int32_t>(x);
}

// The user a per-user call names by identifier.
int32_t userArg(HostDb& db, const Variant& v, const ustring& progId, const ustring& member) {
  std::optional<int32_t> id = wholeNumber(v);
  if (!id || !db.userById(*id)) refuse(progId, member, u"there is no user with the identifier " + v.deref().describe());
  return *id;
}

// "" for every group, else a group's identifier.
std::optional<int32_t> groupArg(const Variant& v, const ustring& progId, const ustring& member) {
  const Variant& d = v.deref();
  if (d.isString() && trim(d.rawString()).empty()) return std::nullopt;
  std::optional<int32_t> id = wholeNumber(d);
  if (!id) refuse(progId, member, u"the group must be a group's identifier or \"\", not " + d.describe());
  return id;
}

ustring moduleArg(const Variant& v, const ustring& progId, const ustring& member) {
  const ustring m = v.deref().isString() ? v.deref().rawString() : ustring();
  if (m != u"W" && m != u"Z" && m != u"C")
    refuse(progId, member, u"the module must be \"W\", \"Z\" or \"C\", not " + v.deref().describe());
  return m;
}

ObjectPtr recordsetOf(odbc::Result r) { return std::make_shared<RecordsetObject>(std::move(r)); }

// The WHERE conditions of an optional group and module.
ustring groupAndModule(const std::optional<int32_t>& group, const ustring* module, Args& params) {
  ustring where;
  if (group) {
    where += u" AND b.FGroupID=?";
    params.push_back(*group);
  }
  if (module) {
    where += u" AND g.FModule=?";
    params.push_back(*module);
  }
  return where;
}

Variant readFlag(HostDb& db, const char16_t* key) {
  const Variant v =
      db.connection().scalar(u"SELECT FValue FROM t_SystemProfile WHERE FCategory='SMS' AND FKey=?", {ustring(key)});
  if (v.isNull() || v.isEmpty()) return Variant::null();
  return Variant(trim(v.toString()) != u"0");
}

void writeFlag(HostDb& db, const char16_t* key, bool on) {
  const ustring value = on ? u"1" : u"0";
  odbc::Connection& c = db.connection();
  if (c.execute(u"UPDATE t_SystemProfile SET FValue=? WHERE FCategory='SMS' AND FKey=?", {value, ustring(key)}) == 0)
    c.execute(u"INSERT INTO t_SystemProfile (FCategory, FKey, FValue) VALUES ('SMS',?,?)", {ustring(key), value});
}

// The workflows as the mobile component hands them out: a collection of records
// keyed by field name.
ObjectPtr flowCollection(HostDb& db, bool runningOnly) {
  odbc::Result r = db.connection().query(ustring(u"SELECT FID, FMCName, FIsMobileServiceRun FROM t_MobileFlow") +
                                         (runningOnly ? u" WHERE FIsMobileServiceRun=1" : u"") + u" ORDER BY FID");
  auto flows = std::make_shared<Collection>();
  flows->reserve(r.rows.size());
  const ustring id = u"FID", name = u"FMCName", run = u"FIsMobileServiceRun";
  for (auto& row : r.rows) {
    auto record = std::make_shared<Collection>();
    record->add(std::move(row[0]), &id);
    record->add(std::move(row[1]), &name);
    record->add(std::move(row[2]), &run);
    flows->add(Variant(ObjectPtr(record)));
  }
  return flows;
}

// The records a caller hands in, each field read by name; every record is read
// before anything is written.
class RecordReader {
 public:
  RecordReader(const Variant& collection, ustring progId, ustring member)
      : progId_(std::move(progId)), member_(std::move(member)) {
    list_ = collection.deref().isObject() ? collection.deref().toObject() : nullptr;
    if (!list_) refuse(progId_, member_, u"the record collection is " + collection.deref().describe());
    count_ = readMember(list_, u"Count", {}).toI4();
  }
  int32_t count() const { return count_; }
  ObjectPtr record(int32_t i) const {
    ObjectPtr r = readMember(list_, u"Item", {i}).toObject();
    if (!r) refuse(progId_, member_, u"record " + toText(i) + u" is not an object");
    return r;
  }
  Variant field(const ObjectPtr& r, int32_t i, const char16_t* name) const {
    try {
      return readMember(r, u"Item", {ustring(name)});
    } catch (const Error& e) {
      refuse(progId_, member_, u"record " + toText(i) + u" has no field " + name + u" (" + e.description() + u")");
    }
  }
  int32_t id(const ObjectPtr& r, int32_t i, const char16_t* name) const {
    const Variant v = field(r, i, name);
    std::optional<int32_t> n = wholeNumber(v);
    if (!n) refuse(progId_, member_, u"record " + toText(i) + u" has " + name + u" = " + v.describe());
    return *n;
  }

 private:
  ustring progId_, member_;
  ObjectPtr list_;
  int32_t count_ = 0;
};

// ---- "LumoMSmsManager.clsBillUseUpdate" -----------------------------------------------------

class BillUseUpdate : public Component {
 public:
  BillUseUpdate(ustring progId, DbPtr database, DbError err)
      : Component(std::move(progId), std::move(database), std::move(err)) {
    method(u"DeleteUserByFlowInSMSPrescirbe", Answer::Nothing, [this](Args& a) {
      db().resolveSession(arg(a, 0, u"DeleteUserByFlowInSMSPrescirbe"));
      db().connection().execute(
          u"DELETE FROM t_SMSPrescribe WHERE FKind=3 AND FServiceID NOT IN (SELECT FID FROM t_MobileFlow)");
      return Variant();
    });
    method(u"IniUseFlag", Answer::Nothing, [this](Args& a) {
      db().resolveSession(arg(a, 0, u"IniUseFlag"));
      odbc::Transaction t(db().connection());
      for (const char16_t* key : {u"UseFlag", u"AuditFlag"})
        if (readFlag(db(), key).isNull()) writeFlag(db(), key, false);
      t.commit();
      return Variant();
    });
    method(u"BillUseOperate", Answer::Nothing, [this](Args& a) { return operate(a, u"BillUseOperate"); });
    method(u"BillOrnUseOperate", Answer::Nothing, [this](Args& a) { return operate(a, u"BillOrnUseOperate"); });
    method(u"BillUserUseOperate", Answer::Nothing, [this](Args& a) { return userOperate(a); });
    method(u"SetUseFlag", Answer::Nothing, [this](Args& a) { return setFlag(a, u"SetUseFlag", u"UseFlag"); });
    method(u"SetAuditFlag", Answer::Nothing, [this](Args& a) { return setFlag(a, u"SetAuditFlag", u"AuditFlag"); });
  }

 private:
  Variant setFlag(Args& a, const char16_t* member, const char16_t* key) {
    db().resolveSession(arg(a, 0, member));
    writeFlag(db(), key, arg(a, 1, member).toBool());
    return Variant();
  }

  // Switches bill types (FIsRun) or workflows (FIsMobileServiceRun, as each
  // record says) on or off.
  Variant operate(Args& a, const char16_t* member) {
    db().resolveSession(arg(a, 0, member));
    const RecordReader records(arg(a, 1, member), progId(), member);
    const bool on = arg(a, 2, member).toBool();
    arg(a, 3, member).toBool();  // the overall use flag: read, as the middle tier does
    const bool flows = ustring(member) == u"BillOrnUseOperate";
    std::vector<std::pair<int32_t, int32_t>> changes;  // id, new state
    for (int32_t i = 1; i <= records.count(); ++i) {
      const ObjectPtr r = records.record(i);
      int32_t state = on ? 1 : 0;
      if (flows) {
        const Variant wanted = records.field(r, i, u"FIsMobileServiceRun");
        std::optional<int32_t> n = wholeNumber(wanted);
        if (!n || (*n != 0 && *n != 1))
          refuse(progId(), member, u"record " + toText(i) + u" has FIsMobileServiceRun = " + wanted.describe());
        state = *n;
      }
      changes.emplace_back(records.id(r, i, u"FID"), state);
    }
    odbc::Connection& c = db().connection();
    odbc::Transaction t(c);
    odbc::Statement update(c, flows ? u"UPDATE t_MobileFlow SET FIsMobileServiceRun=? WHERE FID=?"
                                    : u"UPDATE t_SMSBillUse SET FIsRun=? WHERE FID=?");
    for (const auto& [id, state] : changes)
      if (update.execute({state, id}) == 0)
        refuse(progId(), member, (flows ? u"there is no workflow " : u"there is no bill type ") + toText(id));
    t.commit();
    return Variant();
  }

  Variant userOperate(Args& a) {
    const ustring member = u"BillUserUseOperate";
    db().resolveSession(arg(a, 0, member));
    const RecordReader records(arg(a, 1, member), progId(), member);
    const bool on = arg(a, 2, member).toBool();
    const ustring kindText = textArg(a, 3, member);
    int32_t kind = 0;
    if (kindText == u"2")
      kind = kKindBill;
    else if (kindText == u"3")
      kind = kKindFlow;
    else
      refuse(progId(), member, u"the kind must be \"2\" or \"3\", not '" + kindText + u"'");
    std::vector<std::pair<int32_t, int32_t>> rows;  // user, service
    for (int32_t i = 1; i <= records.count(); ++i) {
      const ObjectPtr r = records.record(i);
      const int32_t user = records.id(r, i, u"FUserID");
      if (!db().userById(user)) refuse(progId(), member, u"record " + toText(i) + u" names no user");
      rows.emplace_back(user, records.id(r, i, u"FServiceID"));
    }
    odbc::Connection& c = db().connection();
    odbc::Transaction t(c);
    odbc::Statement drop(c, u"DELETE FROM t_SMSPrescribe WHERE FUserID=? AND FKind=? AND FServiceID=?");
    odbc::Statement add(c, u"INSERT INTO t_SMSPrescribe (FUserID, FKind, FServiceID) VALUES (?,?,?)");
    for (const auto& [user, service] : rows) {
      drop.execute({user, kind, service});
      if (on) add.execute({user, kind, service});
    }
    t.commit();
    return Variant();
  }
};

// ---- "LumoMMobileMCSrv.CGetData" ------------------------------------------------------------

class FlowData : public Component {
 public:
  FlowData(ustring progId, DbPtr database, DbError err)
      : Component(std::move(progId), std::move(database), std::move(err)) {
    method(u"GetAllFlow", Answer::Collection, [this](Args& a) {
      db().resolveSession(arg(a, 0, u"GetAllFlow"));
      return Variant(flowCollection(db(), false));
    });
    method(u"GetFlowByUser", Answer::Collection, [this](Args& a) {
      db().resolveSession(arg(a, 0, u"GetFlowByUser"));
      userArg(db(), arg(a, 1, u"GetFlowByUser"), this->progId(), u"GetFlowByUser");
      return Variant(flowCollection(db(), true));
    });
  }
};

}  // namespace

// ---- the queries of "LumoMSmsManager.clsBillUseInfo" --------------------------------------------

void addServiceQueries(const MemberSink& add, const std::function<HostDb&()>& db, const ustring& progId) {
  // The optional module argument of the module-split catalogue.
  auto module = [progId](const Args& a, std::size_t index, const ustring& member, ustring& out) -> const ustring* {
    if (a.size() <= index || a[index].deref().isMissing()) return nullptr;
    out = moduleArg(a[index], progId, member);
    return &out;
  };
  auto session = [db, progId](const Args& a, const ustring& member) {
    if (a.empty()) throw Error(errnum::WrongArgumentCount, progId + u"." + member + u" needs argument 1", progId);
    db().resolveSession(a[0].deref());
  };
  auto needs = [progId](const Args& a, std::size_t n, const ustring& member) {
    if (a.size() < n)
      throw Error(errnum::WrongArgumentCount, progId + u"." + member + u" needs argument " + toText(a.size() + 1),
                  progId);
  };

  add(u"GetBillInfo", Answer::Recordset, [=](Args& a) {
    session(a, u"GetBillInfo");
    ustring m;
    Args params;
    ustring sql = u"SELECT g.FID, g.FName FROM t_SMSBillGroup g WHERE 1=1";
    if (module(a, 1, u"GetBillInfo", m)) {
      sql += u" AND g.FModule=?";
      params.push_back(m);
    }
    return Variant(recordsetOf(db().connection().query(sql + u" ORDER BY g.FID", params)));
  });
  add(u"GetBillUseInfo", Answer::Recordset, [=](Args& a) {
    session(a, u"GetBillUseInfo");
    needs(a, 2, u"GetBillUseInfo");
    ustring m;
    Args params;
    const ustring where =
        groupAndModule(groupArg(a[1], progId, u"GetBillUseInfo"), module(a, 2, u"GetBillUseInfo", m), params);
    return Variant(recordsetOf(db().connection().query(
        u"SELECT b.FID, b.FName, b.FIsRun FROM t_SMSBillUse b JOIN t_SMSBillGroup g ON g.FID=b.FGroupID WHERE 1=1" +
            where + u" ORDER BY b.FGroupID, b.FID",
        params)));
  });
  add(u"GetUseFlag", Answer::Bool, [=](Args& a) {
    session(a, u"GetUseFlag");
    return readFlag(db(), u"UseFlag");
  });
  add(u"GetAuditFlag", Answer::Bool, [=](Args& a) {
    session(a, u"GetAuditFlag");
    return readFlag(db(), u"AuditFlag");
  });
  add(u"GetUserBillInfo", Answer::Recordset, [=](Args& a) {
    session(a, u"GetUserBillInfo");
    needs(a, 2, u"GetUserBillInfo");
    userArg(db(), a[1], progId, u"GetUserBillInfo");
    ustring m;
    Args params;
    ustring sql =
        u"SELECT g.FID AS FBillType, g.FName FROM t_SMSBillGroup g WHERE EXISTS (SELECT 1 FROM t_SMSBillUse b WHERE "
        u"b.FGroupID=g.FID AND b.FIsRun=1)";
    if (module(a, 2, u"GetUserBillInfo", m)) {
      sql += u" AND g.FModule=?";
      params.push_back(m);
    }
    return Variant(recordsetOf(db().connection().query(sql + u" ORDER BY g.FID", params)));
  });
  add(u"GetUserBillUseInfo", Answer::Recordset, [=](Args& a) {
    session(a, u"GetUserBillUseInfo");
    needs(a, 3, u"GetUserBillUseInfo");
    Args params{userArg(db(), a[1], progId, u"GetUserBillUseInfo")};
    ustring m;
    const ustring where =
        groupAndModule(groupArg(a[2], progId, u"GetUserBillUseInfo"), module(a, 3, u"GetUserBillUseInfo", m), params);
    return Variant(recordsetOf(db().connection().query(
        u"SELECT b.FID AS FBillType, b.FName, CASE WHEN p.FServiceID IS NULL THEN 0 ELSE 1 END AS FPrescribe "
        u"FROM t_SMSBillUse b JOIN t_SMSBillGroup g ON g.FID=b.FGroupID LEFT JOIN t_SMSPrescribe p ON p.FUserID=? "
        u"AND p.FKind=2 AND p.FServiceID=b.FID WHERE b.FIsRun=1" +
            where + u" ORDER BY b.FGroupID, b.FID",
        params)));
  });
  add(u"GetORNUserBillUseInfo", Answer::Recordset, [=](Args& a) {
    session(a, u"GetORNUserBillUseInfo");
    needs(a, 3, u"GetORNUserBillUseInfo");
    const int32_t user = userArg(db(), a[2], progId, u"GetORNUserBillUseInfo");
    const RecordReader flows(a[1], progId, u"GetORNUserBillUseInfo");
    std::set<int32_t> subscribed;
    for (const auto& row :
         db().connection().query(u"SELECT FServiceID FROM t_SMSPrescribe WHERE FUserID=? AND FKind=3", {user}).rows)
      if (std::optional<int32_t> id = wholeNumber(row[0])) subscribed.insert(*id);
    odbc::Result r;
    r.columns = {{u"FID", kSqlInteger}, {u"FMCName", kSqlWideText}, {u"FIsRun", kSqlInteger}};
    r.rows.reserve(static_cast<std::size_t>(flows.count()));
    for (int32_t i = 1; i <= flows.count(); ++i) {
      const ObjectPtr f = flows.record(i);
      const int32_t id = flows.id(f, i, u"FID");
      r.rows.push_back({Variant(id), flows.field(f, i, u"FMCName"), Variant(int32_t(subscribed.count(id) ? 1 : 0))});
    }
    return Variant(recordsetOf(std::move(r)));
  });
}

ObjectPtr makeBillUseUpdate(const ustring& progId, DbPtr db, DbError err) {
  return std::make_shared<BillUseUpdate>(progId, std::move(db), std::move(err));
}

ObjectPtr makeFlowData(const ustring& progId, DbPtr db, DbError err) {
  return std::make_shared<FlowData>(progId, std::move(db), std::move(err));
}

}  // namespace lumo::devhost
