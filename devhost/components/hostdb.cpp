#include "devhost/components/hostdb.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <unistd.h>

#include <cstdlib>
#endif

namespace lumo::devhost {

ustring databasePath() {
  ustring path;
#ifdef _WIN32
  wchar_t buf[4096];
  DWORD n = GetEnvironmentVariableW(L"LUMO_DEVHOST_DB", buf, 4096);
  if (n > 0 && n < 4096) path.assign(reinterpret_cast<const char16_t*>(buf), n);
#else
  const char* v = std::getenv(kDatabaseVariable);
  if (v) path = fromUtf8(v);
#endif
  if (trim(path).empty())
    throw Error(hosterr::NoDatabase,
                u"The development host has no database: set LUMO_DEVHOST_DB to the absolute path of a database "
                u"written by lumo-dbgen",
                u"LumoDevHost");
  return path;
}

ustring connectStringFor(const ustring& path) { return u"Driver=SQLite3;Database=" + path; }

uint32_t currentProcessId() {
#ifdef _WIN32
  return static_cast<uint32_t>(GetCurrentProcessId());
#else
  return static_cast<uint32_t>(getpid());
#endif
}

std::optional<ustring> sessionEntry(ustring_view props, ustring_view key) {
  std::size_t i = 0;
  while (i < props.size()) {
    std::size_t eq = props.find(u'=', i);
    std::size_t semi = props.find(u';', i);
    if (eq == ustring_view::npos) return std::nullopt;
    if (semi != ustring_view::npos && semi < eq) {  // an entry without '='
      i = semi + 1;
      continue;
    }
    ustring k = trim(props.substr(i, eq - i));
    std::size_t v = eq + 1;
    while (v < props.size() && props[v] == u' ') ++v;
    ustring value;
    std::size_t next;
    if (v < props.size() && props[v] == u'{') {
      std::size_t close = props.find(u'}', v + 1);
      if (close == ustring_view::npos) close = props.size();
      value = props.substr(v + 1, close - v - 1);
      next = props.find(u';', close);
    } else {
      next = props.find(u';', v);
      value = props.substr(v, (next == ustring_view::npos ? props.size() : next) - v);
    }
    if (equalsNoCase(k, key)) return trim(value);
    if (next == ustring_view::npos) break;
    i = next + 1;
  }
  return std::nullopt;
}

HostDb::HostDb() : HostDb(databasePath()) {}

HostDb::HostDb(const ustring& path) : path_(path) {
  conn_ = std::make_unique<odbc::Connection>(connectStringFor(path));
  sqlite_ = equalsNoCase(conn_->dbmsName(), u"SQLite");
  // A database written by another tool is refused here, not in the first query.
  Variant has = conn_->scalar(u"SELECT COUNT(*) FROM sqlite_master WHERE type='table' AND name='dh_Journal'");
  if (has.isEmpty() || has.toI4() != 1)
    throw Error(hosterr::NoDatabase, u"'" + path + u"' is not a development host database (no dh_Journal table)",
                u"LumoDevHost");
}

static const char16_t* kindText(InvokeKind kind) {
  switch (kind) {
    case InvokeKind::Get: return u"get";
    case InvokeKind::Put:
    case InvokeKind::PutRef: return u"put";
    default: return u"call";
  }
}

long long HostDb::journalCall(const ustring& component, const ustring& method, InvokeKind kind,
                             const ustring& arguments) {
  conn_->execute(u"INSERT INTO dh_Journal (FProcessID, FComponent, FMethod, FKind, FArguments) VALUES (?,?,?,?,?)",
                 {static_cast<int32_t>(currentProcessId()), component, method, ustring(kindText(kind)), arguments});
  return lastInsertId();
}

long long HostDb::lastInsertId() {
  Variant id = conn_->scalar(u"SELECT last_insert_rowid()");
  return id.isNumeric() ? static_cast<long long>(id.toDouble()) : 0;
}

void HostDb::journalResult(long long seq, const ustring& result) {
  conn_->execute(u"UPDATE dh_Journal SET FResult=? WHERE FSeq=?", {result, static_cast<double>(seq)});
}

static SwitchMode modeOf(const Variant& v) {
  if (!v.isString()) return SwitchMode::None;
  const ustring& m = v.rawString();
  if (m == u"empty") return SwitchMode::Empty;
  if (m == u"raise") return SwitchMode::Raise;
  if (m == u"missing") return SwitchMode::Missing;
  return SwitchMode::None;
}

SwitchMode HostDb::memberMode(const ustring& component, const ustring& method) {
  Variant m = conn_->scalar(
      u"SELECT FMode FROM dh_Switch WHERE FComponent=? AND (FMethod=? OR FMethod='*') AND FMode<>'missing' "
      u"ORDER BY FMethod='*' LIMIT 1",
      {component, method});
  return modeOf(m);
}

SwitchMode HostDb::creationMode(const ustring& component) {
  Variant m = conn_->scalar(u"SELECT FMode FROM dh_Switch WHERE FComponent=? AND FMode='missing' LIMIT 1", {component});
  return modeOf(m);
}

std::optional<User> HostDb::userWhere(const ustring& condition, const Variant& value) {
  odbc::Result r = conn_->query(
      u"SELECT FUserID, FName, FEmpID, FForbidden FROM t_User WHERE " + condition + u" ORDER BY FUserID LIMIT 1", {value});
  if (r.rows.empty()) return std::nullopt;
  const auto& row = r.rows[0];
  User u;
  u.id = row[0].toI4();
  u.name = row[1].isNull() ? ustring() : row[1].toString();
  u.empId = row[2];
  u.forbidden = !row[3].isNull() && row[3].toI4() != 0;
  return u;
}

std::optional<User> HostDb::userById(int32_t id) { return userWhere(u"FUserID=?", id); }
std::optional<User> HostDb::userByName(const ustring& name) { return userWhere(u"FName=?", name); }

User HostDb::resolveSession(const Variant& props) {
  const Variant& p = props.deref();
  if (!p.isString())
    throw Error(hosterr::UnknownSession, u"Unknown session: the first argument is not a session string but " + p.describe(),
                u"LumoDevHost");
  std::optional<ustring> id = sessionEntry(p.rawString(), u"UserID");
  if (!id)
    throw Error(hosterr::UnknownSession, u"Unknown session: the session string carries no UserID entry", u"LumoDevHost");
  double d = 0;
  if (id->empty() || id->find_first_not_of(u"0123456789-") != ustring::npos || !parseNumber(*id, d) ||
      d < -2147483648.0 || d > 2147483647.0)
    throw Error(hosterr::UnknownSession, u"Unknown session: UserID '" + *id + u"' is not a user id", u"LumoDevHost");
  std::optional<User> u = userById(static_cast<int32_t>(d));
  if (!u)
    throw Error(hosterr::UnknownSession, u"Unknown session: no user has the id " + *id, u"LumoDevHost");
  return *u;
}

std::optional<Employee> HostDb::employeeOf(const User& u) {
  if (!u.empId.isNumeric()) return std::nullopt;
  // Only t_Item.FDeleted marks a deletion: an employee row without its item row
  // still counts.
  odbc::Result r = conn_->query(
      u"SELECT e.FItemID, e.FName, e.FMobilePhone FROM t_Emp e LEFT JOIN t_Item i ON i.FItemID=e.FItemID "
      u"WHERE e.FItemID=? AND Coalesce(i.FDeleted,0)=0",
      {u.empId.toI4()});
  if (r.rows.empty()) return std::nullopt;
  const auto& row = r.rows[0];
  Employee e;
  e.id = row[0].toI4();
  e.name = row[1].isNull() ? ustring() : row[1].toString();
  e.mobile = row[2];
  return e;
}

bool HostDb::isAdministrator(const User& u) {
  if (equalsNoCase(u.name, u"administrator")) return true;
  Variant n = conn_->scalar(
      u"SELECT COUNT(*) FROM t_Group g INNER JOIN t_User gu ON gu.FUserID=g.FGroupID "
      u"WHERE g.FUserID=? AND Lower(gu.FName)='administrators'",
      {u.id});
  return n.isNumeric() && n.toI4() > 0;
}

std::optional<Session> HostDb::sessionOf(uint32_t processId) {
  odbc::Result r = conn_->query(
      u"SELECT FUserID, FLanguage, FPropsString FROM dh_Session WHERE FProcessID=?", {static_cast<int32_t>(processId)});
  if (r.rows.empty()) return std::nullopt;
  Session s;
  s.processId = processId;
  std::optional<User> u = userById(r.rows[0][0].toI4());
  if (!u) return std::nullopt;  // the user has gone since signing in
  s.user = *u;
  s.language = r.rows[0][1].toString();
  s.propsString = r.rows[0][2].toString();
  return s;
}

void HostDb::storeSession(const Session& s) {
  conn_->execute(
      u"INSERT OR REPLACE INTO dh_Session (FProcessID, FUserID, FUserName, FLanguage, FPropsString) VALUES (?,?,?,?,?)",
      {static_cast<int32_t>(s.processId), s.user.id, s.user.name, s.language, s.propsString});
}

void HostDb::removeSession(uint32_t processId) {
  conn_->execute(u"DELETE FROM dh_Session WHERE FProcessID=?", {static_cast<int32_t>(processId)});
}

}  // namespace lumo::devhost
