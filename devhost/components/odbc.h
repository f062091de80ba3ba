// A small RAII wrapper over the ODBC C API, wide-character throughout, that the
// development host's components use to reach the demo database. The same code
// builds against unixODBC (Linux) and odbc32 (Windows; under Wine odbc32 hands
// the calls to the native unixODBC and its SQLite driver).
//
// Values come back as Variants: NULL as Null, integer columns as 32-bit integers
// (a value beyond 32 bits as a double), real columns as doubles, bit columns as
// booleans, everything else as text.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "automation/variant.h"

namespace lumo::devhost::odbc {

// Error numbers raised by this layer (HRESULT-style, as the platform's data
// access objects report them).
constexpr int32_t kErrConnect = static_cast<int32_t>(0x80004005);   // cannot open the database
constexpr int32_t kErrStatement = static_cast<int32_t>(0x80040E14);  // the statement failed

struct Column {
  ustring name;
  int16_t sqlType = 0;  // the driver's SQL type (SQL_INTEGER, SQL_VARCHAR, ...)
};

struct Result {
  std::vector<Column> columns;               // empty when the statement returned no result set
  std::vector<std::vector<Variant>> rows;    // fetched completely
  long long rowsAffected = -1;               // for statements without a result set
};

// The Variant a column value of the given SQL type becomes, from its text as
// the driver delivers it (exposed for tests).
Variant valueFromText(int16_t sqlType, const ustring& text);

class Connection {
 public:
  // Connects with SQLDriverConnectW (no prompt); raises kErrConnect with the
  // driver's diagnostics when it cannot.
  explicit Connection(const ustring& connectString);
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  // Executes one statement with '?' parameters bound in order (Empty and Null
  // bind NULL; booleans and integers as integers; doubles; text) and fetches
  // every row. Raises kErrStatement with the diagnostics on failure.
  Result query(const ustring& sql, const Args& params = {});
  // The same for a statement whose rows are not wanted; returns the rows affected.
  long long execute(const ustring& sql, const Args& params = {});
  // The first column of the first row, or Empty when there is no row.
  Variant scalar(const ustring& sql, const Args& params = {});

  // Manual commit mode between begin() and commit()/rollback().
  void begin();
  void commit();
  void rollback();

  // SQLGetInfo(SQL_DBMS_NAME), for instance "SQLite".
  ustring dbmsName();

 private:
  friend class Statement;
  struct Handles;
  std::unique_ptr<Handles> h_;
};

// A statement run often on one connection: prepared at its first run and kept,
// so that the database parses it once rather than at every run. Each run binds
// its parameters anew, fetches every row and closes the cursor, so nothing of a
// run stays open (a later run sees what other connections committed meanwhile).
// Lives no longer than its connection.
class Statement {
 public:
  Statement(Connection& c, ustring sql);
  ~Statement();
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;

  Result run(const Args& params = {});
  long long execute(const Args& params = {});
  Variant scalar(const Args& params = {});

 private:
  struct Prepared;
  Connection& c_;
  ustring sql_;
  std::unique_ptr<Prepared> p_;
};

// Commits at commit(), rolls back when left without it.
class Transaction {
 public:
  explicit Transaction(Connection& c) : c_(c) { c_.begin(); }
  ~Transaction() {
    if (!done_) {
      try {
        c_.rollback();
      } catch (...) {
      }
    }
  }
  void commit() {
    c_.commit();
    done_ = true;
  }
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

 private:
  Connection& c_;
  bool done_ = false;
};

}  // namespace lumo::devhost::odbc
