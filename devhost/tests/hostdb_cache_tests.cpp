// The connections the process keeps per database: shared by every component of
// a database, opened anew for another path or a file written anew at the same
// path, never kept when opening fails, and without changing what other
// connections and processes see of the journal and the switches.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>

#include "automation/object.h"
#include "devhost/components/components.h"
#include "devhost/components/hostdb.h"
#include "devhost/tests/component_fixture.h"
#include "devhost/tests/support.h"

namespace lumo::devhost {
namespace {

using lumo::test::errorOf;
using lumo::test::u8;

// What the sqlite3 shell, another process, prints for a query, without the line end.
std::string shell(const std::string& path, const std::string& sql) {
  std::string out = test::sqliteShell(path, sql);
  while (!out.empty() && (out.back() == '\n' || out.back() == '\r')) out.pop_back();
  return out;
}

// A demo database written by the generator at path (replacing what is there).
void generate(const std::string& path) {
  std::string res = test::writeTestResources(std::filesystem::path(path).parent_path());
  ASSERT_EQ(test::runGenerator("--out \"" + path + "\" --size demo --resources \"" + res + "\""), 0);
}

class HostDbCache : public test::DevHost {
 protected:
  void TearDown() override { ::setenv("LUMO_DEVHOST_DB", path_.c_str(), 1); }
  std::string dir() const { return std::filesystem::path(path_).parent_path().string(); }
  Variant language() { return create(u"LumoLangInfo.LangInfo")->get(u"CurrentLanguage"); }
};

TEST_F(HostDbCache, SamePathSharesOneConnection) {
  std::shared_ptr<HostDb> a = HostDb::forPath(fromUtf8(path_));
  std::shared_ptr<HostDb> b = HostDb::forPath(fromUtf8(path_));
  ASSERT_TRUE(a);
  EXPECT_EQ(a.get(), b.get());
  EXPECT_EQ(HostDb::current().get(), a.get());
  // A temporary table lives in its connection only: components see it, so they
  // run on the very same connection.
  a->connection().execute(u"CREATE TEMP TABLE t_Probe AS SELECT 42 AS FValue");
  auto rows = getData(u"Select FValue From t_Probe");
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows[0][0], Variant(int32_t(42)));
  EXPECT_EQ(errorOf([&] { db_->query(u"SELECT FValue FROM t_Probe"); }), odbc::kErrStatement);
}

TEST_F(HostDbCache, ConnectionsWriteAheadAndSyncNormally) {
  std::shared_ptr<HostDb> db = HostDb::forPath(fromUtf8(path_));
  EXPECT_EQ(db->connection().scalar(u"PRAGMA journal_mode"), Variant(u"wal"));
  EXPECT_EQ(u8(db->connection().scalar(u"PRAGMA synchronous").toString()), "1");  // NORMAL
}

TEST_F(HostDbCache, AnotherPathGetsItsOwn) {
  const std::string other = dir() + "/other.db";
  generate(other);
  auto otherDb = test::openDb(other);
  otherDb->execute(
      u"INSERT INTO dh_Switch (FComponent, FMethod, FMode) VALUES ('LumoLangInfo.LangInfo', '*', 'raise')");
  EXPECT_NE(HostDb::forPath(fromUtf8(other)).get(), HostDb::forPath(fromUtf8(path_)).get());

  EXPECT_EQ(language(), Variant(u"chs"));
  ::setenv("LUMO_DEVHOST_DB", other.c_str(), 1);
  EXPECT_EQ(errorOf([&] { language(); }), hosterr::Switched);
  ::setenv("LUMO_DEVHOST_DB", path_.c_str(), 1);
  EXPECT_EQ(language(), Variant(u"chs"));
  // Each call went to the database LUMO_DEVHOST_DB named at the time.
  EXPECT_EQ(count(u"SELECT COUNT(*) FROM dh_Journal WHERE FMethod='CurrentLanguage'"), 2);
  EXPECT_EQ(otherDb->scalar(u"SELECT COUNT(*) FROM dh_Journal WHERE FMethod='CurrentLanguage'"), Variant(int32_t(1)));
}

TEST_F(HostDbCache, AFileWrittenAnewAtTheSamePathIsReopened) {
  std::shared_ptr<HostDb> before = HostDb::forPath(fromUtf8(path_));
  before->connection().execute(u"CREATE TEMP TABLE t_Probe (FValue INTEGER)");
  ObjectPtr held = create(u"LumoLangInfo.LangInfo");  // a component of the old file, still alive
  generate(path_);
  std::shared_ptr<HostDb> after = HostDb::forPath(fromUtf8(path_));
  EXPECT_NE(after.get(), before.get());
  EXPECT_EQ(errorOf([&] { after->connection().query(u"SELECT FValue FROM t_Probe"); }), odbc::kErrStatement);
  EXPECT_EQ(HostDb::forPath(fromUtf8(path_)).get(), after.get());  // and kept from then on

  // The new file has no session: the language is the default one, and the call
  // is journalled in the new file.
  EXPECT_EQ(language(), Variant(u"chs"));
  auto fresh = test::openDb(path_);
  EXPECT_EQ(fresh->scalar(u"SELECT COUNT(*) FROM dh_Journal"), Variant(int32_t(1)));

  // Closing the old file's connection leaves the new file and its log alone.
  held.reset();
  before.reset();
  EXPECT_EQ(shell(path_, "SELECT FMethod||'='||FResult FROM dh_Journal"), "CurrentLanguage='chs'");
  EXPECT_EQ(fresh->scalar(u"SELECT COUNT(*) FROM dh_Journal"), Variant(int32_t(1)));
  EXPECT_EQ(language(), Variant(u"chs"));
  EXPECT_EQ(shell(path_, "SELECT COUNT(*) FROM dh_Journal"), "2");
}

TEST_F(HostDbCache, AFailedOpenIsNotKeptAndTheNextCreationTriesAgain) {
  const std::string later = dir() + "/later.db";
  ::setenv("LUMO_DEVHOST_DB", later.c_str(), 1);
  ObjectPtr early = create(u"LumoLangInfo.LangInfo");
  ustring d;
  EXPECT_EQ(errorOf([&] { early->get(u"CurrentLanguage"); }, &d), hosterr::NoDatabase);
  EXPECT_NE(d.find(u"is not a development host database"), ustring::npos) << u8(d);
  EXPECT_EQ(errorOf([&] { early->get(u"CurrentLanguage"); }), hosterr::NoDatabase);  // every call reports it
  EXPECT_THROW(HostDb::forPath(fromUtf8(later)), Error);

  generate(later);
  EXPECT_EQ(language(), Variant(u"chs"));
  EXPECT_EQ(errorOf([&] { early->get(u"CurrentLanguage"); }), hosterr::NoDatabase);  // made without a database
  EXPECT_EQ(test::openDb(later)->scalar(u"SELECT COUNT(*) FROM dh_Journal"), Variant(int32_t(1)));
}

TEST_F(HostDbCache, ASwitchSetByAnotherConnectionTakesEffectOnTheNextCall) {
  ObjectPtr info = create(u"LumoLangInfo.LangInfo");
  EXPECT_EQ(info->get(u"CurrentLanguage"), Variant(u"chs"));
  setSwitch(u"LumoLangInfo.LangInfo", u"CurrentLanguage", u"empty");
  EXPECT_EQ(info->get(u"CurrentLanguage"), Variant(u""));
  setSwitch(u"LumoLangInfo.LangInfo", u"CurrentLanguage", u"raise");
  EXPECT_EQ(errorOf([&] { info->get(u"CurrentLanguage"); }), hosterr::Switched);
  db_->execute(u"DELETE FROM dh_Switch");
  EXPECT_EQ(info->get(u"CurrentLanguage"), Variant(u"chs"));

  // Another process: the sqlite3 shell.
  shell(path_, "INSERT INTO dh_Switch (FComponent, FMethod, FMode) VALUES ('LumoLangInfo.LangInfo', '*', 'raise')");
  EXPECT_EQ(errorOf([&] { info->get(u"CurrentLanguage"); }), hosterr::Switched);
  shell(path_, "UPDATE dh_Switch SET FMode='missing'");
  EXPECT_EQ(errorOf([&] { create(u"LumoLangInfo.LangInfo"); }), errnum::CannotCreateObject);
  EXPECT_EQ(info->get(u"CurrentLanguage"), Variant(u"chs"));  // 'missing' concerns creation only
  shell(path_, "DELETE FROM dh_Switch");
  EXPECT_EQ(language(), Variant(u"chs"));
}

TEST_F(HostDbCache, JournalRowsAreVisibleToAnotherConnection) {
  // The file is in write-ahead-log mode; db_ was opened before any of these
  // calls and stays open.
  EXPECT_EQ(shell(path_, "PRAGMA journal_mode"), "wal");
  EXPECT_EQ(language(), Variant(u"chs"));
  JournalRow j = lastJournal();
  EXPECT_EQ(u8(j.method), "CurrentLanguage");
  EXPECT_EQ(j.result, Variant(u"'chs'"));
  EXPECT_EQ(shell(path_, "SELECT FMethod||'='||FResult FROM dh_Journal ORDER BY FSeq DESC LIMIT 1"),
            "CurrentLanguage='chs'");
  // The row is written before the call is answered: the call reads its own row,
  // still without a result.
  auto rows = getData(u"Select FMethod, FResult From dh_Journal Order By FSeq Desc");
  ASSERT_FALSE(rows.empty());
  EXPECT_EQ(rows[0][0], Variant(u"GetData"));
  EXPECT_TRUE(rows[0][1].isNull());
  j = lastJournal();
  EXPECT_EQ(u8(j.method), "GetData");
  EXPECT_EQ(j.result, Variant(u"<recordset: " + toText(static_cast<long long>(rows.size())) + u" rows, 2 fields>"));
  EXPECT_EQ(shell(path_, "SELECT COUNT(*) FROM dh_Journal WHERE FResult IS NULL"), "0");
}

TEST_F(HostDbCache, EachThreadGetsAConnectionOfItsOwn) {
  std::shared_ptr<HostDb> mine = HostDb::forPath(fromUtf8(path_));
  std::shared_ptr<HostDb> theirs, theirsAgain;
  std::thread t([&] {
    theirs = HostDb::forPath(fromUtf8(path_));
    theirsAgain = HostDb::forPath(fromUtf8(path_));
  });
  t.join();
  ASSERT_TRUE(theirs);
  EXPECT_NE(theirs.get(), mine.get());
  EXPECT_EQ(theirsAgain.get(), theirs.get());
  EXPECT_EQ(HostDb::forPath(fromUtf8(path_)).get(), mine.get());
}

}  // namespace
}  // namespace lumo::devhost
