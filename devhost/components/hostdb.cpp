#include "devhost/components/hostdb.h"

#ifdef _WIN32
#include <windows.h>
#include <winternl.h>
#else
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#endif

#include <algorithm>
#include <cstddef>
#include <mutex>
#include <thread>
#include <vector>

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

struct HostDb::Statements {
  explicit Statements(odbc::Connection& c)
      : journalCall(c,
                    u"INSERT INTO dh_Journal (FProcessID, FComponent, FMethod, FKind, FArguments) VALUES (?,?,?,?,?)"),
        journalResult(c, u"UPDATE dh_Journal SET FResult=? WHERE FSeq=?"),
        lastInsertId(c, u"SELECT last_insert_rowid()"),
        // Two lookups by key rather than one sorted query: sorting, even one row,
        // sets up and tears down a sorter at every call.
        memberMode(c, u"SELECT Coalesce((SELECT FMode FROM dh_Switch WHERE FComponent=? AND FMethod=? AND "
                      u"FMode<>'missing'), (SELECT FMode FROM dh_Switch WHERE FComponent=? AND FMethod='*' AND "
                      u"FMode<>'missing'))"),
        creationMode(c, u"SELECT FMode FROM dh_Switch WHERE FComponent=? AND FMode='missing' LIMIT 1"),
        sessionOf(c, u"SELECT FUserID, FLanguage, FPropsString FROM dh_Session WHERE FProcessID=?"),
        userById(c, userQuery(u"FUserID=?")),
        userByName(c, userQuery(u"FName=?")) {}
  static ustring userQuery(const char16_t* condition) {
    return u"SELECT FUserID, FName, FEmpID, FForbidden FROM t_User WHERE " + ustring(condition) +
           u" ORDER BY FUserID LIMIT 1";
  }
  odbc::Statement journalCall, journalResult, lastInsertId, memberMode, creationMode, sessionOf, userById, userByName;
};

HostDb::HostDb() : HostDb(databasePath()) {}

HostDb::~HostDb() = default;

HostDb::HostDb(const ustring& path) : path_(path) {
  conn_ = std::make_unique<odbc::Connection>(connectStringFor(path));
  sqlite_ = equalsNoCase(conn_->dbmsName(), u"SQLite");
  // A database written by another tool is refused here, not in the first query.
  Variant has = conn_->scalar(u"SELECT COUNT(*) FROM sqlite_master WHERE type='table' AND name='dh_Journal'");
  if (has.isEmpty() || has.toI4() != 1)
    throw Error(hosterr::NoDatabase, u"'" + path + u"' is not a development host database (no dh_Journal table)",
                u"LumoDevHost");
  // Every call commits twice (its journal row, then its result). With the write-
  // ahead log a commit appends to the log instead of rewriting and flushing a
  // rollback journal, and readers in other processes (the tests, the sqlite3
  // shell) still see each commit as soon as it is made. The mode stays with the
  // file; normal syncing is per connection and safe with the log.
  if (sqlite_) {
    conn_->query(u"PRAGMA journal_mode=WAL");
    conn_->query(u"PRAGMA synchronous=NORMAL");
  }
  st_ = std::make_unique<Statements>(*conn_);
}

// ---------------------------------------------------------------------------
// The connections kept per database.

namespace {

#ifdef _WIN32
// Whether a path still names the file a connection was opened on, under Wine
// or Windows.
//
// The file itself is never opened here. Under Wine the SQLite driver is the
// native one and keeps POSIX advisory locks on the database; closing any
// descriptor of that file in this process drops all of them (POSIX ties such
// locks to the process and the file, not to the descriptor). Another process
// then takes the database for unused, folds the log in and deletes it under
// the open connections. So opening the path to compare volume serial and file
// index (and closing it) is out, quite apart from its cost: about 0.3 ms under
// Wine, which looks the volume serial up anew every time (and it is the
// drive's, the same for every file under Z:); opening alone costs about 40 us.
//
// The exact test lists the file's directory for the file's name (opening the
// directory, not the file) and compares the file id, Wine's inode number. It
// costs about 70 us as well, so it is kept for when something changed. The usual
// check reads the directory's times by its path without opening anything
// (about 8 us). Whatever changes which file the path names changes them:
// adding, removing or renaming an entry sets the directory's change time, and
// another directory put at the directory's path has a change time of its own,
// from when it was made or put there; no program can set a change time. Hence,
// once the exact test has found the directory with a change time older than
// the moment of the test (by more than the file system clock's step), equal
// times later mean the same directory with the same entries. Writing the
// database changes only the file, not its directory. When the times differ
// (an entry of the directory changed, or it changed just before the test) the
// exact test decides and takes note of the times anew. (Not covered: a symbolic
// link in the path pointed at another directory whose change and write times
// are the same to the 100 ns.)
class FileIdentity {
 public:
  static std::unique_ptr<FileIdentity> of(const ustring& path) {
    std::unique_ptr<FileIdentity> f(new FileIdentity(windowsPath(path)));
    if (!f->identify(true)) return nullptr;
    return f;
  }

  bool stillNamed() const {
    if (settled_) {
      Seen now;
      if (!directoryTimes(now)) return false;  // the directory is gone
      if (now.change == seen_.change && now.write == seen_.write && now.creation == seen_.creation) return true;
    }
    return identify(false);
  }

 private:
  explicit FileIdentity(std::wstring dos) : dosPath_(std::move(dos)) {
    // An absolute DOS path ("Z:\dir\name") splits into directory and name.
    std::size_t slash = dosPath_.rfind(L'\\');
    if (dosPath_.size() > 3 && dosPath_[1] == L':' && slash != std::wstring::npos && slash >= 2 &&
        slash + 1 < dosPath_.size()) {
      directory_ = dosPath_.substr(0, slash == 2 ? 3 : slash);
      ntDirectory_ = L"\\??\\" + directory_;
      name_ = dosPath_.substr(slash + 1);
    }
  }

  // The layouts NtQueryFullAttributesFile and NtQueryDirectoryFile fill.
  struct NetworkOpenInfo {
    LONGLONG creation, access, write, change, allocation, endOfFile;
    ULONG attributes;
  };
  struct IdBothDirInfo {
    ULONG next, index;
    LONGLONG creation, access, write, change, endOfFile, allocation;
    ULONG attributes, nameLength, eaSize;
    CCHAR shortNameLength;
    WCHAR shortName[12];
    LONGLONG fileId;
    WCHAR name[1];
  };
  static_assert(offsetof(IdBothDirInfo, fileId) == 96 && offsetof(IdBothDirInfo, name) == 104,
                "the layout NtQueryDirectoryFile fills");
  static constexpr ULONG kFileIdBothDirectoryInformation = 37;
  struct Seen {  // the directory's times
    LONGLONG creation = 0, write = 0, change = 0;
  };

  struct Nt {
    using QueryPath = LONG(NTAPI*)(OBJECT_ATTRIBUTES*, NetworkOpenInfo*);
    using QueryDirectory = LONG(NTAPI*)(HANDLE, HANDLE, void*, void*, IO_STATUS_BLOCK*, void*, ULONG, ULONG, BOOLEAN,
                                        UNICODE_STRING*, BOOLEAN);
    QueryPath queryPath = nullptr;
    QueryDirectory queryDirectory = nullptr;
    static const Nt& get() {
      static const Nt nt = [] {
        Nt n;
        if (HMODULE ntdll = GetModuleHandleW(L"ntdll.dll")) {
          n.queryPath =
              reinterpret_cast<QueryPath>(reinterpret_cast<void*>(GetProcAddress(ntdll, "NtQueryFullAttributesFile")));
          n.queryDirectory =
              reinterpret_cast<QueryDirectory>(reinterpret_cast<void*>(GetProcAddress(ntdll, "NtQueryDirectoryFile")));
        }
        return n;
      }();
      return nt;
    }
  };

  // LUMO_DEVHOST_DB holds a unix path under Wine (the SQLite driver is the
  // native one); Windows code reaches it through Wine's mapping of unix paths.
  static std::wstring windowsPath(const ustring& path) {
    std::wstring w(path.begin(), path.end());
    if (path.empty() || path[0] != u'/') return w;
    using ToDos = WCHAR*(CDECL*)(const char*);
    static const ToDos toDos = reinterpret_cast<ToDos>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "wine_get_dos_file_name")));
    if (toDos) {
      if (WCHAR* dos = toDos(toUtf8(path).c_str())) {
        std::wstring r(dos);
        HeapFree(GetProcessHeap(), 0, dos);
        if (r.starts_with(L"\\\\?\\")) r.erase(0, 4);  // the plain form suits the calls made here
        return r;
      }
    }
    for (auto& c : w)
      if (c == L'/') c = L'\\';
    return L"Z:" + w;
  }

  bool directoryTimes(Seen& out) const {
    UNICODE_STRING name;
    name.Buffer = const_cast<wchar_t*>(ntDirectory_.c_str());
    name.Length = name.MaximumLength = static_cast<USHORT>(ntDirectory_.size() * sizeof(wchar_t));
    OBJECT_ATTRIBUTES attributes;
    InitializeObjectAttributes(&attributes, &name, OBJ_CASE_INSENSITIVE, nullptr, nullptr);
    NetworkOpenInfo info{};
    if (Nt::get().queryPath(&attributes, &info) != 0 || !(info.attributes & FILE_ATTRIBUTE_DIRECTORY)) return false;
    out.creation = info.creation;
    out.write = info.write;
    out.change = info.change;
    return true;
  }

  // The exact test: the directory's times, then the file id its listing gives
  // the name. The first time it takes note of the id; later it tells whether
  // the id is still the same, and then takes note of the times anew.
  bool identify(bool first) const {
    const Nt& nt = Nt::get();
    if (!nt.queryPath || !nt.queryDirectory || name_.empty()) return false;
    const LONGLONG before = systemTime();
    Seen times;
    if (!directoryTimes(times)) return false;
    HANDLE dir = CreateFileW(directory_.c_str(), FILE_LIST_DIRECTORY,
                             FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                             FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (dir == INVALID_HANDLE_VALUE) return false;
    alignas(8) unsigned char buffer[sizeof(IdBothDirInfo) + MAX_PATH * 2 * sizeof(WCHAR)];
    UNICODE_STRING mask;
    mask.Buffer = const_cast<wchar_t*>(name_.c_str());
    mask.Length = mask.MaximumLength = static_cast<USHORT>(name_.size() * sizeof(wchar_t));
    IO_STATUS_BLOCK io;
    LONG status = nt.queryDirectory(dir, nullptr, nullptr, nullptr, &io, buffer, sizeof buffer,
                                    kFileIdBothDirectoryInformation, TRUE, &mask, TRUE);
    CloseHandle(dir);
    if (status != 0) return false;
    const auto* info = reinterpret_cast<const IdBothDirInfo*>(buffer);
    if (info->attributes & FILE_ATTRIBUTE_DIRECTORY) return false;
    if (!first && info->fileId != fileId_) return false;
    fileId_ = info->fileId;
    seen_ = times;
    // File systems stamp times from a clock that steps (a few milliseconds on
    // Linux; whole seconds on some, whose times then have no fraction).
    const LONGLONG step = times.change % 10000000 != 0 ? 500000 : 30000000;  // 50 ms, or 3 s
    settled_ = times.change < before - step;
    return true;
  }

  // Now, in the units of file times (a clock that lags only makes the check
  // more careful).
  static LONGLONG systemTime() {
    FILETIME t;
    GetSystemTimeAsFileTime(&t);
    return static_cast<LONGLONG>((static_cast<ULONGLONG>(t.dwHighDateTime) << 32) | t.dwLowDateTime);
  }

  std::wstring dosPath_;
  std::wstring directory_;    // "Z:\dir"
  std::wstring ntDirectory_;  // "\??\Z:\dir"
  std::wstring name_;         // "name"
  mutable LONGLONG fileId_ = 0;
  mutable Seen seen_;
  mutable bool settled_ = false;  // whether equal times mean the same directory and entries
};
#else
// Whether a path still names the file a connection was opened on: the device
// and inode the path leads to now against those it led to before opening. The
// connection keeps its file open, so the inode cannot be reused meanwhile.
class FileIdentity {
 public:
  static std::unique_ptr<FileIdentity> of(const ustring& path) {
    std::unique_ptr<FileIdentity> f(new FileIdentity(toUtf8(path)));
    struct stat st;
    if (::stat(f->path_.c_str(), &st) != 0) return nullptr;
    f->dev_ = st.st_dev;
    f->ino_ = st.st_ino;
    return f;
  }
  bool stillNamed() const {
    struct stat st;
    return ::stat(path_.c_str(), &st) == 0 && st.st_dev == dev_ && st.st_ino == ino_;
  }

 private:
  explicit FileIdentity(std::string path) : path_(std::move(path)) {}
  std::string path_;
  dev_t dev_ = 0;
  ino_t ino_ = 0;
};
#endif

// The kept connections, the most recently used first. A few are kept, so that
// switching between databases does not reopen them; one no component holds any
// more is closed when it falls off the end.
class Connections {
 public:
  std::shared_ptr<HostDb> get(const ustring& path) {
    const std::thread::id thread = std::this_thread::get_id();
    std::vector<Entry> dropped;  // closed outside the lock
    {
      std::lock_guard<std::mutex> lock(mutex_);
      for (std::size_t k = 0; k < entries_.size(); ++k) {
        if (entries_[k].thread != thread || entries_[k].path != path) continue;
        if (entries_[k].file->stillNamed()) {
          std::rotate(entries_.begin(), entries_.begin() + static_cast<std::ptrdiff_t>(k),
                      entries_.begin() + static_cast<std::ptrdiff_t>(k) + 1);
          return entries_.front().db;
        }
        dropped.push_back(std::move(entries_[k]));
        entries_.erase(entries_.begin() + static_cast<std::ptrdiff_t>(k));
        break;
      }
    }
    // The file is taken note of before the connection opens it: should it be
    // replaced in between, the next check finds the difference and opens again.
    Entry e{path, thread, nullptr, FileIdentity::of(path)};
    e.db = std::make_shared<HostDb>(path);  // raises; a failure is not kept
    std::shared_ptr<HostDb> db = e.db;
    if (!e.file || !e.file->stillNamed()) return db;  // replaced while opening: used once, not kept
    std::lock_guard<std::mutex> lock(mutex_);
    entries_.insert(entries_.begin(), std::move(e));
    while (entries_.size() > kKept) {
      dropped.push_back(std::move(entries_.back()));
      entries_.pop_back();
    }
    return db;
  }

 private:
  static constexpr std::size_t kKept = 8;
  struct Entry {
    ustring path;
    std::thread::id thread;
    std::shared_ptr<HostDb> db;
    std::unique_ptr<FileIdentity> file;
  };
  std::mutex mutex_;
  std::vector<Entry> entries_;
};

Connections& connections() {
  static Connections c;
  return c;
}

}  // namespace

std::shared_ptr<HostDb> HostDb::forPath(const ustring& path) { return connections().get(path); }

std::shared_ptr<HostDb> HostDb::current() { return forPath(databasePath()); }

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
  st_->journalCall.execute(
      {static_cast<int32_t>(currentProcessId()), component, method, ustring(kindText(kind)), arguments});
  return lastInsertId();
}

long long HostDb::lastInsertId() {
  Variant id = st_->lastInsertId.scalar();
  return id.isNumeric() ? static_cast<long long>(id.toDouble()) : 0;
}

void HostDb::journalResult(long long seq, const ustring& result) {
  st_->journalResult.execute({result, static_cast<double>(seq)});
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
  return modeOf(st_->memberMode.scalar({component, method, component}));
}

SwitchMode HostDb::creationMode(const ustring& component) { return modeOf(st_->creationMode.scalar({component})); }

std::optional<User> HostDb::userWhere(odbc::Statement& st, const Variant& value) {
  odbc::Result r = st.run({value});
  if (r.rows.empty()) return std::nullopt;
  const auto& row = r.rows[0];
  User u;
  u.id = row[0].toI4();
  u.name = row[1].isNull() ? ustring() : row[1].toString();
  u.empId = row[2];
  u.forbidden = !row[3].isNull() && row[3].toI4() != 0;
  return u;
}

std::optional<User> HostDb::userById(int32_t id) { return userWhere(st_->userById, id); }
std::optional<User> HostDb::userByName(const ustring& name) { return userWhere(st_->userByName, name); }

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

uint32_t HostDb::grantedRights(const User& u, int32_t objectType, int32_t objectId) {
  odbc::Result r = conn_->query(
      u"SELECT FAccessMask FROM dh_Right WHERE FObjectType=? AND FObjectID=? AND "
      u"(FUserID=? OR FUserID IN (SELECT FGroupID FROM t_Group WHERE FUserID=?))",
      {objectType, objectId, u.id, u.id});
  uint32_t granted = 0;
  for (const auto& row : r.rows)
    if (row[0].isNumeric()) granted |= static_cast<uint32_t>(static_cast<int64_t>(row[0].toDouble()));
  return granted;
}

std::optional<Session> HostDb::sessionOf(uint32_t processId) {
  odbc::Result r = st_->sessionOf.run({static_cast<int32_t>(processId)});
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
