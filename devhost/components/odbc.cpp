#include "devhost/components/odbc.h"

#ifdef _WIN32
#include <windows.h>
#endif
#include <sql.h>
#include <sqlext.h>

#ifndef _WIN32
#include <locale.h>
#endif

#include <charconv>
#include <cmath>
#include <limits>
#include <string>

namespace lumo::devhost::odbc {

static_assert(sizeof(SQLWCHAR) == sizeof(char16_t), "ODBC wide characters must be UTF-16 code units");

namespace {

SQLWCHAR* w(const ustring& s) { return reinterpret_cast<SQLWCHAR*>(const_cast<char16_t*>(s.c_str())); }

bool ok(SQLRETURN r) { return r == SQL_SUCCESS || r == SQL_SUCCESS_WITH_INFO; }

// Every diagnostic record of a handle as "[SQLSTATE] message" lines.
ustring diagnostics(SQLSMALLINT type, SQLHANDLE handle) {
  ustring out;
  if (!handle) return out;
  for (SQLSMALLINT rec = 1; rec < 20; ++rec) {
    SQLWCHAR state[6] = {};
    SQLINTEGER native = 0;
    SQLWCHAR msg[1024] = {};
    SQLSMALLINT len = 0;
    SQLRETURN r = SQLGetDiagRecW(type, handle, rec, state, &native, msg, static_cast<SQLSMALLINT>(1024), &len);
    if (!ok(r)) break;
    if (!out.empty()) out += u"\n";
    out += u"[" + ustring(reinterpret_cast<const char16_t*>(state)) + u"] ";
    std::size_t n = static_cast<std::size_t>(len < 1023 ? len : 1023);
    out += ustring(reinterpret_cast<const char16_t*>(msg), n);
  }
  return out;
}

[[noreturn]] void fail(int32_t number, const ustring& what, SQLSMALLINT type, SQLHANDLE handle) {
  ustring d = diagnostics(type, handle);
  throw Error(number, d.empty() ? what : what + u": " + d, u"ODBC");
}

// Owns one ODBC handle.
class Handle {
 public:
  Handle(SQLSMALLINT type, SQLHANDLE parent) : type_(type) {
    if (!ok(SQLAllocHandle(type, parent, &h_))) {
      h_ = SQL_NULL_HANDLE;
      throw Error(kErrConnect, u"cannot allocate an ODBC handle", u"ODBC");
    }
  }
  ~Handle() {
    if (h_) SQLFreeHandle(type_, h_);
  }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  SQLHANDLE get() const { return h_; }
  SQLSMALLINT type() const { return type_; }

 private:
  SQLSMALLINT type_ = 0;
  SQLHANDLE h_ = SQL_NULL_HANDLE;
};

bool asciiText(const ustring& text, std::string& out) {
  out.clear();
  out.reserve(text.size());
  for (char16_t c : text) {
    if (c > 0x7F) return false;
    out.push_back(static_cast<char>(c));
  }
  return true;
}

bool parseDouble(const std::string& s, double& d) {
  if (s.empty()) return false;
  const char* b = s.data();
  const char* e = b + s.size();
  if (*b == '+') ++b;
  auto r = std::from_chars(b, e, d);
  return r.ec == std::errc() && r.ptr == e && std::isfinite(d);
}

struct Param {
  SQLLEN ind = 0;
  SQLINTEGER i = 0;
  double d = 0;
  ustring s;
};

}  // namespace

Variant valueFromText(int16_t sqlType, const ustring& text) {
  std::string a;
  switch (sqlType) {
    case SQL_INTEGER:
    case SQL_SMALLINT:
    case SQL_TINYINT:
    case SQL_BIGINT: {
      if (!asciiText(text, a) || a.empty()) return text;
      long long v = 0;
      const char* b = a.data();
      const char* e = b + a.size();
      auto r = std::from_chars(b, e, v);
      if (r.ec == std::errc() && r.ptr == e) {
        if (v >= std::numeric_limits<int32_t>::min() && v <= std::numeric_limits<int32_t>::max())
          return static_cast<int32_t>(v);
        return static_cast<double>(v);
      }
      double d = 0;
      if (parseDouble(a, d)) return d;
      return text;  // SQLite keeps whatever was stored; text stays text
    }
    case SQL_BIT:
      if (text == u"1") return true;
      if (text == u"0") return false;
      return text;
    case SQL_REAL:
    case SQL_FLOAT:
    case SQL_DOUBLE:
    case SQL_NUMERIC:
    case SQL_DECIMAL: {
      double d = 0;
      if (asciiText(text, a) && parseDouble(a, d)) return d;
      return text;
    }
    default:
      return text;
  }
}

namespace {
// Selects ODBC 3 behaviour on a fresh environment; returns it as the parent of a connection.
SQLHANDLE odbc3(const Handle& env) {
  if (!ok(SQLSetEnvAttr(env.get(), SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0)))
    fail(kErrConnect, u"cannot select ODBC 3", SQL_HANDLE_ENV, env.get());
  return env.get();
}
}  // namespace

struct Connection::Handles {
  Handle env{SQL_HANDLE_ENV, SQL_NULL_HANDLE};
  Handle dbc{SQL_HANDLE_DBC, odbc3(env)};
  bool connected = false;
  ~Handles() {
    if (connected) SQLDisconnect(dbc.get());
  }
};

namespace {
#ifndef _WIN32
// unixODBC hands wide SQL text to a driver without wide entry points (the SQLite
// driver is one) through iconv, and picks the narrow encoding from the calling
// thread's locale when the handles are made: under the C locale Chinese text
// would be cut to bytes. The driver reads UTF-8, so the handles are made under a
// UTF-8 locale for this thread only, whatever the process's locale is.
class Utf8Locale {
 public:
  Utf8Locale() {
    for (const char* name : {"C.UTF-8", "C.utf8", "en_US.UTF-8"}) {
      loc_ = newlocale(LC_CTYPE_MASK, name, static_cast<locale_t>(nullptr));
      if (loc_) break;
    }
    if (loc_) old_ = uselocale(loc_);
  }
  ~Utf8Locale() {
    if (loc_) {
      uselocale(old_);
      freelocale(loc_);
    }
  }
  Utf8Locale(const Utf8Locale&) = delete;
  Utf8Locale& operator=(const Utf8Locale&) = delete;

 private:
  locale_t loc_ = static_cast<locale_t>(nullptr);
  locale_t old_ = static_cast<locale_t>(nullptr);
};
#else
// Under Wine the unix side of odbc32 runs in the locale Wine set up from LANG.
struct Utf8Locale {
  Utf8Locale() {}  // user-provided: a scope object, not an unused value
};
#endif
}  // namespace

Connection::Connection(const ustring& connectString) {
  Utf8Locale utf8;
  h_ = std::make_unique<Handles>();
  SQLSMALLINT outLen = 0;
  SQLWCHAR out[1024];
  SQLRETURN r = SQLDriverConnectW(h_->dbc.get(), nullptr, w(connectString), SQL_NTS, out, 1024, &outLen,
                                  SQL_DRIVER_NOPROMPT);
  if (!ok(r)) fail(kErrConnect, u"cannot connect with '" + connectString + u"'", SQL_HANDLE_DBC, h_->dbc.get());
  h_->connected = true;
}

Connection::~Connection() = default;

namespace {

// Binds the parameters; the buffers live in 'store' until the statement has run.
void bindParams(SQLHSTMT st, const Args& params, std::vector<Param>& store) {
  store.assign(params.size(), Param());
  for (std::size_t k = 0; k < params.size(); ++k) {
    const Variant& v = params[k].deref();
    Param& p = store[k];
    SQLUSMALLINT n = static_cast<SQLUSMALLINT>(k + 1);
    SQLRETURN r;
    switch (v.type()) {
      case Variant::Type::Empty:
      case Variant::Type::Null:
      case Variant::Type::Missing:
        p.ind = SQL_NULL_DATA;
        r = SQLBindParameter(st, n, SQL_PARAM_INPUT, SQL_C_WCHAR, SQL_WVARCHAR, 1, 0, nullptr, 0, &p.ind);
        break;
      case Variant::Type::Bool:
      case Variant::Type::I2:
      case Variant::Type::I4:
        p.i = v.type() == Variant::Type::Bool ? (v.rawBool() ? 1 : 0) : v.toI4();
        r = SQLBindParameter(st, n, SQL_PARAM_INPUT, SQL_C_SLONG, SQL_INTEGER, 0, 0, &p.i, 0, nullptr);
        break;
      case Variant::Type::R8:
      case Variant::Type::Date:
        p.d = v.rawDouble();
        r = SQLBindParameter(st, n, SQL_PARAM_INPUT, SQL_C_DOUBLE, SQL_DOUBLE, 0, 0, &p.d, 0, nullptr);
        break;
      case Variant::Type::String:
        p.s = v.rawString();
        p.ind = static_cast<SQLLEN>(p.s.size() * sizeof(char16_t));
        r = SQLBindParameter(st, n, SQL_PARAM_INPUT, SQL_C_WCHAR, SQL_WVARCHAR,
                             p.s.empty() ? 1 : static_cast<SQLULEN>(p.s.size()), 0, w(p.s), p.ind, &p.ind);
        break;
      default:
        throw Error(errnum::TypeMismatch, u"a parameter of type " + v.describe() + u" cannot be bound", u"ODBC");
    }
    if (!ok(r)) fail(kErrStatement, u"cannot bind parameter " + toText(static_cast<long long>(n)), SQL_HANDLE_STMT, st);
  }
}

Variant fetchValue(SQLHSTMT st, SQLUSMALLINT col, int16_t sqlType) {
  constexpr SQLLEN kChunk = 512;  // characters, including the terminating NUL
  SQLWCHAR buf[kChunk];
  ustring text;
  for (;;) {
    SQLLEN ind = 0;
    SQLRETURN r = SQLGetData(st, col, SQL_C_WCHAR, buf, sizeof buf, &ind);
    if (r == SQL_NO_DATA) break;
    if (!ok(r)) fail(kErrStatement, u"cannot read column " + toText(col), SQL_HANDLE_STMT, st);
    if (ind == SQL_NULL_DATA) return Variant::null();
    SQLLEN chars = kChunk - 1;
    if (ind != SQL_NO_TOTAL && ind / static_cast<SQLLEN>(sizeof(SQLWCHAR)) < chars)
      chars = ind / static_cast<SQLLEN>(sizeof(SQLWCHAR));
    text.append(reinterpret_cast<const char16_t*>(buf), static_cast<std::size_t>(chars));
    if (r == SQL_SUCCESS) break;  // SQL_SUCCESS_WITH_INFO: truncated, more to come
  }
  return valueFromText(sqlType, text);
}

// The result of a statement that has just run (r is what executing it returned):
// every row fetched, or the rows affected.
Result collect(SQLHSTMT st, SQLRETURN r) {
  Result res;
  if (r == SQL_NO_DATA) {  // a searched update or delete that touched nothing
    res.rowsAffected = 0;
    return res;
  }
  if (!ok(r)) fail(kErrStatement, u"the statement failed", SQL_HANDLE_STMT, st);
  SQLSMALLINT ncols = 0;
  if (!ok(SQLNumResultCols(st, &ncols))) fail(kErrStatement, u"cannot count the result columns", SQL_HANDLE_STMT, st);
  if (ncols == 0) {
    SQLLEN n = -1;
    SQLRowCount(st, &n);
    res.rowsAffected = n;
    return res;
  }
  for (SQLUSMALLINT c = 1; c <= static_cast<SQLUSMALLINT>(ncols); ++c) {
    SQLWCHAR name[256];
    SQLSMALLINT nameLen = 0, type = 0, digits = 0, nullable = 0;
    SQLULEN size = 0;
    if (!ok(SQLDescribeColW(st, c, name, 256, &nameLen, &type, &size, &digits, &nullable)))
      fail(kErrStatement, u"cannot describe column " + toText(c), SQL_HANDLE_STMT, st);
    std::size_t n = static_cast<std::size_t>(nameLen < 255 ? nameLen : 255);
    res.columns.push_back({ustring(reinterpret_cast<const char16_t*>(name), n), type});
  }
  for (;;) {
    r = SQLFetch(st);
    if (r == SQL_NO_DATA) break;
    if (!ok(r)) fail(kErrStatement, u"cannot fetch a row", SQL_HANDLE_STMT, st);
    std::vector<Variant> row;
    row.reserve(res.columns.size());
    for (SQLUSMALLINT c = 1; c <= static_cast<SQLUSMALLINT>(ncols); ++c)
      row.push_back(fetchValue(st, c, res.columns[c - 1].sqlType));
    res.rows.push_back(std::move(row));
  }
  return res;
}

}  // namespace

Result Connection::query(const ustring& sql, const Args& params) {
  Handle st(SQL_HANDLE_STMT, h_->dbc.get());
  std::vector<Param> store;
  bindParams(st.get(), params, store);
  return collect(st.get(), SQLExecDirectW(st.get(), w(sql), SQL_NTS));
}

long long Connection::execute(const ustring& sql, const Args& params) {
  Result r = query(sql, params);
  return r.columns.empty() ? r.rowsAffected : static_cast<long long>(r.rows.size());
}

Variant Connection::scalar(const ustring& sql, const Args& params) {
  Result r = query(sql, params);
  if (r.rows.empty() || r.rows[0].empty()) return {};
  return r.rows[0][0];
}

void Connection::begin() {
  if (!ok(SQLSetConnectAttrW(h_->dbc.get(), SQL_ATTR_AUTOCOMMIT, reinterpret_cast<SQLPOINTER>(SQL_AUTOCOMMIT_OFF),
                             SQL_IS_UINTEGER)))
    fail(kErrStatement, u"cannot begin a transaction", SQL_HANDLE_DBC, h_->dbc.get());
}

static void endTransaction(SQLHANDLE dbc, SQLSMALLINT how) {
  SQLRETURN r = SQLEndTran(SQL_HANDLE_DBC, dbc, how);
  SQLRETURN r2 = SQLSetConnectAttrW(dbc, SQL_ATTR_AUTOCOMMIT, reinterpret_cast<SQLPOINTER>(SQL_AUTOCOMMIT_ON),
                                    SQL_IS_UINTEGER);
  if (!ok(r) || !ok(r2)) fail(kErrStatement, u"cannot end the transaction", SQL_HANDLE_DBC, dbc);
}

void Connection::commit() { endTransaction(h_->dbc.get(), SQL_COMMIT); }
void Connection::rollback() { endTransaction(h_->dbc.get(), SQL_ROLLBACK); }

struct Statement::Prepared {
  Handle st;
  explicit Prepared(SQLHANDLE dbc) : st(SQL_HANDLE_STMT, dbc) {}
};

Statement::Statement(Connection& c, ustring sql) : c_(c), sql_(std::move(sql)) {}

Statement::~Statement() = default;

Result Statement::run(const Args& params) {
  if (!p_) {
    auto p = std::make_unique<Prepared>(c_.h_->dbc.get());
    if (!ok(SQLPrepareW(p->st.get(), w(sql_), SQL_NTS)))
      fail(kErrStatement, u"the statement failed", SQL_HANDLE_STMT, p->st.get());
    p_ = std::move(p);
  }
  SQLHSTMT st = p_->st.get();
  std::vector<Param> store;
  // The cursor is closed and the parameters unbound after every run, fetched or
  // failed: an open cursor would hold its read back and keep later runs from
  // seeing other connections' commits.
  struct Close {
    SQLHSTMT st;
    ~Close() {
      SQLFreeStmt(st, SQL_CLOSE);
      SQLFreeStmt(st, SQL_RESET_PARAMS);
    }
  } close{st};
  bindParams(st, params, store);
  return collect(st, SQLExecute(st));
}

long long Statement::execute(const Args& params) {
  Result r = run(params);
  return r.columns.empty() ? r.rowsAffected : static_cast<long long>(r.rows.size());
}

Variant Statement::scalar(const Args& params) {
  Result r = run(params);
  if (r.rows.empty() || r.rows[0].empty()) return {};
  return r.rows[0][0];
}

ustring Connection::dbmsName() {
  SQLWCHAR buf[128] = {};
  SQLSMALLINT len = 0;
  if (!ok(SQLGetInfoW(h_->dbc.get(), SQL_DBMS_NAME, buf, sizeof buf, &len)))
    fail(kErrConnect, u"cannot read the DBMS name", SQL_HANDLE_DBC, h_->dbc.get());
  std::size_t n = static_cast<std::size_t>(len) / sizeof(SQLWCHAR);
  if (n > 127) n = 127;
  return ustring(reinterpret_cast<const char16_t*>(buf), n);
}

}  // namespace lumo::devhost::odbc
