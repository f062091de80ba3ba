// The development host's view of its database: where it is, the call journal,
// the failure switches, the signed-in sessions and the users behind a session
// string. One HostDb is one ODBC connection. Components share the connection
// forPath() keeps for their database, as a middle tier pools its connections:
// opening one per component would cost more than the call it serves.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "automation/object.h"
#include "devhost/components/odbc.h"

namespace lumo::devhost {

// Error numbers of the development host's components (in the range components
// use for their own errors, above the HRESULT facility ITF base).
namespace hosterr {
constexpr int32_t UnknownSession = static_cast<int32_t>(0x80040201);  // the session string names no known user
constexpr int32_t NotSignedIn = static_cast<int32_t>(0x80040202);     // no user signed in for a process
constexpr int32_t Switched = static_cast<int32_t>(0x80040203);        // a 'raise' switch answered the call
constexpr int32_t NoDatabase = static_cast<int32_t>(0x80040204);      // LUMO_DEVHOST_DB is missing
constexpr int32_t BadArgument = static_cast<int32_t>(0x80040205);     // unknown user, language, ...
}  // namespace hosterr

// The environment variable that holds the database's absolute (unix) path.
constexpr const char* kDatabaseVariable = "LUMO_DEVHOST_DB";

// The path from LUMO_DEVHOST_DB; raises NoDatabase when it is unset or empty.
ustring databasePath();
// "Driver=SQLite3;Database=<path>".
ustring connectStringFor(const ustring& path);
uint32_t currentProcessId();

enum class SwitchMode { None, Empty, Raise, Missing };

struct User {
  int32_t id = 0;
  ustring name;
  Variant empId;  // Null when the user is bound to no employee
  bool forbidden = false;
};

// An employee as t_Emp holds it.
struct Employee {
  int32_t id = 0;
  ustring name;    // "" when the name is null
  Variant mobile;  // FMobilePhone as stored: text, or Null
};

struct Session {
  uint32_t processId = 0;
  User user;
  ustring language;
  ustring propsString;
};

// The value of a key in a session string (keys compared without regard to case,
// a value in braces may hold ';'), or nothing when the key is absent.
std::optional<ustring> sessionEntry(ustring_view props, ustring_view key);

class HostDb {
 public:
  ~HostDb();
  HostDb(const HostDb&) = delete;
  HostDb& operator=(const HostDb&) = delete;

  // Opens the database named by LUMO_DEVHOST_DB.
  HostDb();
  // Opens its own connection (in write-ahead-log mode with normal syncing, so
  // that a journal write costs no flush to disk); raises NoDatabase for a file
  // that is not a development host database.
  explicit HostDb(const ustring& path);

  // The connection this process keeps for the database at path, opened on first
  // use. It is opened anew when the path names another file than the one it was
  // opened on (the generator deletes and writes the file anew). A database that
  // cannot be opened raises, and the next request tries again. Each thread gets
  // a connection of its own: a connection's transaction and last inserted key
  // belong to one caller at a time.
  static std::shared_ptr<HostDb> forPath(const ustring& path);
  // forPath(databasePath()).
  static std::shared_ptr<HostDb> current();

  odbc::Connection& connection() { return *conn_; }
  const ustring& path() const { return path_; }
  // Whether the add-in's SQL Server text has to be adapted (the database is SQLite).
  bool isSqlite() const { return sqlite_; }

  // Writes a journal row before the call is answered (the arguments already put
  // in words by the component); returns its sequence number.
  long long journalCall(const ustring& component, const ustring& method, InvokeKind kind, const ustring& arguments);
  void journalResult(long long seq, const ustring& result);

  // The mode switched on for a member ('*' rows apply to every member; a row for
  // the member itself wins). 'missing' rows are reported only by creationMode.
  SwitchMode memberMode(const ustring& component, const ustring& method);
  // Missing when the component is switched to 'missing', otherwise None.
  SwitchMode creationMode(const ustring& component);

  // The user a session string names by its UserID entry; raises UnknownSession
  // (with the reason) when the entry is absent, not a number or names nobody.
  User resolveSession(const Variant& props);
  std::optional<User> userById(int32_t id);
  std::optional<User> userByName(const ustring& name);
  // Whether the user is an administrator: the user "administrator" or a member
  // of the group "Administrators".
  bool isAdministrator(const User& u);
  // The union of the access masks granted to the user and to its groups on an
  // object (administrators' rights are not rows: see isAdministrator).
  uint32_t grantedRights(const User& u, int32_t objectType, int32_t objectId);

  // The employee a user is bound to (t_User.FEmpID), or nothing when the user is
  // bound to none, to one that does not exist, or to a deleted item.
  std::optional<Employee> employeeOf(const User& u);

  // The key the last INSERT on this connection gave its row.
  long long lastInsertId();

  std::optional<Session> sessionOf(uint32_t processId);
  void storeSession(const Session& s);
  void removeSession(uint32_t processId);

 private:
  std::optional<User> userWhere(odbc::Statement& st, const Variant& value);
  ustring path_;
  std::unique_ptr<odbc::Connection> conn_;
  bool sqlite_ = true;
  // The statements every call or creation runs, prepared once (declared after
  // the connection: they go first).
  struct Statements;
  std::unique_ptr<Statements> st_;
};

}  // namespace lumo::devhost
