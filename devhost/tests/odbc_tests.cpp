#include <gtest/gtest.h>

#include <sql.h>
#include <sqlext.h>

#include "devhost/tests/support.h"

namespace lumo::devhost {
namespace {

using lumo::test::u8;

TEST(OdbcValues, IntegerColumnsGive32BitIntegersAndWiderValuesDoubles) {
  EXPECT_EQ(odbc::valueFromText(SQL_INTEGER, u"42"), Variant(int32_t(42)));
  EXPECT_EQ(odbc::valueFromText(SQL_INTEGER, u"-2147483648"), Variant(int32_t(-2147483647 - 1)));
  EXPECT_EQ(odbc::valueFromText(SQL_BIGINT, u"2147483648"), Variant(2147483648.0));
  EXPECT_EQ(odbc::valueFromText(SQL_INTEGER, u"2.5"), Variant(2.5));
  // SQLite keeps what was stored: text in an integer column stays text.
  EXPECT_EQ(odbc::valueFromText(SQL_INTEGER, u"abc"), Variant(u"abc"));
  EXPECT_EQ(odbc::valueFromText(SQL_INTEGER, u""), Variant(u""));
}

TEST(OdbcValues, RealBitAndTextColumns) {
  EXPECT_EQ(odbc::valueFromText(SQL_DOUBLE, u"0.125"), Variant(0.125));
  EXPECT_EQ(odbc::valueFromText(SQL_REAL, u"1e3"), Variant(1000.0));
  EXPECT_EQ(odbc::valueFromText(SQL_DOUBLE, u"x"), Variant(u"x"));
  EXPECT_EQ(odbc::valueFromText(SQL_BIT, u"1"), Variant(true));
  EXPECT_EQ(odbc::valueFromText(SQL_BIT, u"0"), Variant(false));
  EXPECT_EQ(odbc::valueFromText(SQL_VARCHAR, u"007"), Variant(u"007"));
  EXPECT_EQ(odbc::valueFromText(SQL_WVARCHAR, u"财务部"), Variant(u"财务部"));
}

class Odbc : public ::testing::Test {
 protected:
  void SetUp() override {
    path_ = (test::scratchDir() / "odbc.db").string();
    c_ = test::openDb(path_);  // the driver creates the file
    c_->execute(u"CREATE TABLE t (i INTEGER, r REAL, s VARCHAR(100), x TEXT)");
  }
  std::string path_;
  std::unique_ptr<odbc::Connection> c_;
};

TEST_F(Odbc, ConnectFailureRaisesWithTheDriversDiagnostics) {
  try {
    odbc::Connection c(u"Driver=NoSuchDriverAnywhere;Database=/nonexistent");
    FAIL() << "connected";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), odbc::kErrConnect);
    EXPECT_NE(e.description().find(u"NoSuchDriverAnywhere"), ustring::npos) << u8(e.description());
  }
}

TEST_F(Odbc, FailingStatementRaisesWithTheMessage) {
  try {
    c_->query(u"SELECT * FROM no_such_table");
    FAIL() << "ran";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), odbc::kErrStatement);
    EXPECT_NE(e.description().find(u"no such table"), ustring::npos) << u8(e.description());
  }
}

TEST_F(Odbc, ValuesComeBackTypedWithNullsKept) {
  c_->execute(u"INSERT INTO t VALUES (7, 2.5, '财务部', NULL)");
  c_->execute(u"INSERT INTO t VALUES (NULL, NULL, NULL, 'x')");
  odbc::Result r = c_->query(u"SELECT i, r, s, x FROM t ORDER BY i IS NULL");
  ASSERT_EQ(r.columns.size(), 4u);
  EXPECT_EQ(u8(r.columns[0].name), "i");
  EXPECT_EQ(u8(r.columns[2].name), "s");
  ASSERT_EQ(r.rows.size(), 2u);
  EXPECT_EQ(r.rows[0][0], Variant(int32_t(7)));
  EXPECT_EQ(r.rows[0][1], Variant(2.5));
  EXPECT_EQ(r.rows[0][2], Variant(u"财务部"));
  EXPECT_TRUE(r.rows[0][3].isNull());
  EXPECT_TRUE(r.rows[1][0].isNull());
  EXPECT_TRUE(r.rows[1][1].isNull());
  EXPECT_TRUE(r.rows[1][2].isNull());
  EXPECT_EQ(r.rows[1][3], Variant(u"x"));
}

TEST_F(Odbc, LongChineseTextSurvivesTheChunkedRead) {
  ustring longText;
  for (int k = 0; k < 700; ++k) longText += (k % 2) ? u"部" : u"a";
  longText += u"尾";
  c_->execute(u"INSERT INTO t (x) VALUES (?)", {longText});
  Variant v = c_->scalar(u"SELECT x FROM t");
  ASSERT_TRUE(v.isString());
  EXPECT_EQ(v.rawString().size(), longText.size());
  EXPECT_EQ(v.rawString(), longText);
}

TEST_F(Odbc, ParametersBindTextNumbersAndNull) {
  c_->execute(u"INSERT INTO t VALUES (?,?,?,?)", {int32_t(-5), 0.25, ustring(u"O'Brien 王"), Variant::null()});
  c_->execute(u"INSERT INTO t VALUES (?,?,?,?)", {true, int16_t(3), ustring(), Variant()});
  odbc::Result r = c_->query(u"SELECT i, r, s, x IS NULL FROM t ORDER BY rowid");
  ASSERT_EQ(r.rows.size(), 2u);
  EXPECT_EQ(r.rows[0][0], Variant(int32_t(-5)));
  EXPECT_EQ(r.rows[0][1], Variant(0.25));
  EXPECT_EQ(r.rows[0][2], Variant(u"O'Brien 王"));
  EXPECT_EQ(r.rows[1][0], Variant(int32_t(1)));
  EXPECT_EQ(r.rows[1][1], Variant(3.0));
  EXPECT_EQ(r.rows[1][2], Variant(u""));
  EXPECT_EQ(r.rows[0][3].toI4(), 1);
  EXPECT_EQ(r.rows[1][3].toI4(), 1);
}

TEST_F(Odbc, StatementsWithoutRowsReportRowsAffected) {
  c_->execute(u"INSERT INTO t (i) VALUES (1)");
  c_->execute(u"INSERT INTO t (i) VALUES (2)");
  EXPECT_EQ(c_->execute(u"UPDATE t SET s='x'"), 2);
  odbc::Result r = c_->query(u"DELETE FROM t WHERE i=5");
  EXPECT_TRUE(r.columns.empty());
  EXPECT_EQ(r.rowsAffected, 0);
  EXPECT_TRUE(c_->scalar(u"SELECT i FROM t WHERE i=9").isEmpty());
}

TEST_F(Odbc, TransactionRollsBackUnlessCommitted) {
  {
    odbc::Transaction t(*c_);
    c_->execute(u"INSERT INTO t (i) VALUES (1)");
  }
  EXPECT_EQ(c_->scalar(u"SELECT COUNT(*) FROM t").toI4(), 0);
  {
    odbc::Transaction t(*c_);
    c_->execute(u"INSERT INTO t (i) VALUES (1)");
    t.commit();
  }
  EXPECT_EQ(c_->scalar(u"SELECT COUNT(*) FROM t").toI4(), 1);
  // Autocommit is back: another connection sees a plain insert at once.
  c_->execute(u"INSERT INTO t (i) VALUES (2)");
  auto other = test::openDb(path_);
  EXPECT_EQ(other->scalar(u"SELECT COUNT(*) FROM t").toI4(), 2);
}

TEST_F(Odbc, ReportsTheDbmsName) { EXPECT_EQ(u8(c_->dbmsName()), "SQLite"); }

// --- statements prepared once ---------------------------------------------------

TEST_F(Odbc, APreparedStatementRunsAgainWithNewParameters) {
  odbc::Statement insert(*c_, u"INSERT INTO t (i, s) VALUES (?,?)");
  odbc::Statement find(*c_, u"SELECT s FROM t WHERE i=?");
  for (int32_t k = 1; k <= 3; ++k) EXPECT_EQ(insert.execute({k, ustring(u"第") + toText(k)}), 1);
  EXPECT_EQ(find.scalar({int32_t(2)}), Variant(u"第2"));
  EXPECT_EQ(find.scalar({int32_t(3)}), Variant(u"第3"));
  EXPECT_TRUE(find.scalar({int32_t(9)}).isEmpty());
  odbc::Result r = find.run({int32_t(1)});
  ASSERT_EQ(r.columns.size(), 1u);
  EXPECT_EQ(u8(r.columns[0].name), "s");
  ASSERT_EQ(r.rows.size(), 1u);
  EXPECT_EQ(r.rows[0][0], Variant(u"第1"));
  // A run without the parameter it needs fails and the next one is not disturbed.
  EXPECT_THROW(find.run(), Error);
  EXPECT_EQ(find.scalar({int32_t(1)}), Variant(u"第1"));
}

TEST_F(Odbc, APreparedStatementThatCannotRunRaisesWithTheMessage) {
  odbc::Statement bad(*c_, u"SELECT * FROM no_such_table");
  try {
    bad.run();
    FAIL() << "ran";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), odbc::kErrStatement);
    EXPECT_NE(e.description().find(u"no such table"), ustring::npos) << u8(e.description());
  }
}

// In write-ahead-log mode a read that stays open keeps its snapshot: a kept
// statement must see another connection's commits at its next run and must not
// hold the log back from being copied into the database.
TEST_F(Odbc, APreparedStatementSeesOtherConnectionsCommitsAndHoldsNoReadBetweenRuns) {
  EXPECT_EQ(c_->scalar(u"PRAGMA journal_mode=WAL"), Variant(u"wal"));
  auto other = test::openDb(path_);
  odbc::Statement count(*c_, u"SELECT COUNT(*) FROM t");
  EXPECT_EQ(count.scalar(), Variant(int32_t(0)));
  other->execute(u"INSERT INTO t (i) VALUES (1)");
  EXPECT_EQ(count.scalar(), Variant(int32_t(1)));
  other->execute(u"INSERT INTO t (i) VALUES (2)");
  // A passive checkpoint copies every frame unless some reader still needs an older state.
  odbc::Result r = other->query(u"PRAGMA wal_checkpoint(PASSIVE)");
  ASSERT_EQ(r.rows.size(), 1u);
  ASSERT_EQ(r.rows[0].size(), 3u);
  EXPECT_EQ(r.rows[0][0], Variant(int32_t(0)));  // not busy
  EXPECT_GT(r.rows[0][1].toI4(), 0);
  EXPECT_EQ(r.rows[0][2], r.rows[0][1]);  // all of the log copied
  EXPECT_EQ(count.scalar(), Variant(int32_t(2)));
}

}  // namespace
}  // namespace lumo::devhost
