#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <map>
#include <sstream>

#include "devhost/tests/support.h"

namespace lumo::devhost {
namespace {

using test::dump;
using test::runGenerator;

int32_t countIn(odbc::Connection& c, const ustring& sql) { return c.scalar(sql).toI4(); }

TEST(DbGen, DemoGeneratedTwiceGivesTheSameDump) {
  auto dir = test::scratchDir();
  std::string a = (dir / "a.db").string(), b = (dir / "b.db").string();
  std::string res = test::writeTestResources(dir);
  const std::string now = " --now '2026-11-25 10:00:00'";
  ASSERT_EQ(runGenerator("--out " + a + " --resources " + res + now), 0);
  ASSERT_EQ(runGenerator("--out " + b + " --size demo --resources " + res + now), 0);
  std::string da = dump(a);
  ASSERT_GT(da.size(), 5000u);
  EXPECT_NE(da.find("总经理办公室"), std::string::npos);
  EXPECT_EQ(da, dump(b));
  // And a different input gives a different database.
  ASSERT_EQ(runGenerator("--out " + b + " --no-resources" + now), 0);
  EXPECT_NE(da, dump(b));
  // The history ends where it is told to.
  ASSERT_EQ(runGenerator("--out " + b + " --resources " + res + " --now '2026-11-26 10:00:00'"), 0);
  EXPECT_NE(da, dump(b));
}

TEST(DbGen, DemoHasAMonthOfMessagesWithEveryOutcome) {
  auto dir = test::scratchDir();
  std::string a = (dir / "a.db").string();
  ASSERT_EQ(runGenerator("--out " + a + " --no-resources --now '2026-11-25 10:00:00'"), 0);
  auto db = test::openDb(a);
  EXPECT_EQ(countIn(*db, u"SELECT COUNT(*) FROM dh_Outbox"), 300);
  EXPECT_GE(countIn(*db, u"SELECT COUNT(*) FROM dh_OutboxReceiver"), 300);
  EXPECT_EQ(db->scalar(u"SELECT MAX(FTime) < '2026-11-25 10:00:00' AND MAX(FTime) > '2026-11-25 09:58:00' FROM dh_Outbox")
                .toI4(),
            1);
  EXPECT_EQ(db->scalar(u"SELECT MIN(FTime) >= '2026-10-26 10:00:00' FROM dh_Outbox").toI4(), 1);
  for (const char16_t* reason : {u"号码不存在", u"号码在黑名单中", u"运营商投递失败"})
    EXPECT_GT(db->scalar(u"SELECT COUNT(*) FROM dh_OutboxReceiver WHERE FOutcome=3 AND FReason=?", {reason}).toI4(), 0)
        << toUtf8(reason);
  EXPECT_GT(countIn(*db, u"SELECT COUNT(*) FROM dh_OutboxReceiver WHERE FOutcome=2"), 0);
  // The last hour is still on its way: some receivers not yet sent, some not yet done.
  EXPECT_GT(countIn(*db, u"SELECT COUNT(*) FROM dh_OutboxReceiver WHERE FSentAt > '2026-11-25 10:00:00'"), 0);
  EXPECT_GT(countIn(*db, u"SELECT COUNT(*) FROM dh_OutboxReceiver WHERE FDoneAt > '2026-11-25 10:00:00'"), 0);
  // Every sender is a user of the demo company, the text signed with the employee's name.
  EXPECT_EQ(countIn(*db, u"SELECT COUNT(*) FROM dh_Outbox o LEFT JOIN t_User u ON u.FUserID=o.FUserID "
                         u"WHERE u.FUserID IS NULL OR o.FTitle NOT LIKE '%--%'"),
            0);
}

TEST(DbGen, ABadNowIsRefused) {
  auto dir = test::scratchDir();
  EXPECT_NE(runGenerator("--out " + (dir / "a.db").string() + " --now 'yesterday'"), 0);
}

TEST(DbGen, SizedGenerationIsDeterministicAndScales) {
  auto dir = test::scratchDir();
  std::string a = (dir / "a.db").string(), b = (dir / "b.db").string(), c = (dir / "c.db").string();
  ASSERT_EQ(runGenerator("--out " + a + " --size 3000 --no-resources --now '2026-11-25 10:00:00'"), 0);
  ASSERT_EQ(runGenerator("--out " + b + " --size 3000-employees --no-resources --now '2026-11-25 10:00:00'"), 0);
  ASSERT_EQ(runGenerator("--out " + c + " --size 3001 --no-resources --now '2026-11-25 10:00:00'"), 0);
  std::string da = dump(a);
  EXPECT_EQ(da, dump(b));
  EXPECT_NE(da, dump(c));
  auto db = test::openDb(a);
  EXPECT_EQ(countIn(*db, u"SELECT COUNT(*) FROM t_Emp"), 3000);
  EXPECT_EQ(countIn(*db, u"SELECT COUNT(*) FROM t_Department"), 60);
  EXPECT_EQ(countIn(*db, u"SELECT COUNT(*) FROM t_SMSBillUse"), 60);
  EXPECT_EQ(countIn(*db, u"SELECT COUNT(*) FROM t_MobileFlow"), 60);
  EXPECT_EQ(countIn(*db, u"SELECT COUNT(*) FROM t_User WHERE FUserID BETWEEN 16384 AND 32767"), 491);
}

TEST(DbGen, LargeDatabaseHasTheBenchmarkSizesAndIsQuick) {
  auto dir = test::scratchDir();
  std::string path = (dir / "large.db").string();
  auto started = std::chrono::steady_clock::now();
  ASSERT_EQ(runGenerator("--out " + path + " --size large --no-resources"), 0);
  double secs = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
  EXPECT_LT(secs, 10.0);
  auto db = test::openDb(path);
  EXPECT_EQ(countIn(*db, u"SELECT COUNT(*) FROM t_Emp"), 100000);
  EXPECT_EQ(countIn(*db, u"SELECT COUNT(*) FROM t_Department"), 2000);
  EXPECT_EQ(countIn(*db, u"SELECT COUNT(*) FROM t_User WHERE FUserID BETWEEN 16384 AND 32767"), 16384);
  EXPECT_EQ(countIn(*db, u"SELECT COUNT(*) FROM t_User WHERE FUserType=2"), 1000);
  const int32_t receivers = countIn(*db, u"SELECT COUNT(*) FROM dh_OutboxReceiver");
  EXPECT_GT(receivers, 950000);
  EXPECT_LT(receivers, 1050000);
  EXPECT_EQ(countIn(*db, u"SELECT COUNT(*) FROM t_SMSBillUse"), 2000);
  EXPECT_EQ(countIn(*db, u"SELECT COUNT(*) FROM t_MobileFlow"), 2000);
  EXPECT_EQ(countIn(*db, u"SELECT COUNT(DISTINCT FGroupID) FROM t_Group"), 1000);
  EXPECT_GT(countIn(*db, u"SELECT COUNT(*) FROM t_Emp WHERE FDepartmentID IS NULL"), 0);
  EXPECT_GT(countIn(*db, u"SELECT COUNT(*) FROM t_Item WHERE FDeleted=1"), 0);
  EXPECT_GT(countIn(*db, u"SELECT COUNT(*) FROM (SELECT FUserID FROM t_Group GROUP BY FUserID HAVING COUNT(*)>1)"), 0);
  // Mobile numbers are eleven digits, or absent, or blank.
  EXPECT_EQ(countIn(*db, u"SELECT COUNT(*) FROM t_Emp WHERE FMobilePhone IS NOT NULL AND Trim(FMobilePhone)<>'' AND "
                         u"(Length(FMobilePhone)<>11 OR FMobilePhone GLOB '*[^0-9]*')"),
            0);
}

TEST(DbGen, DemoReachesEveryBranchTheWindowsHave) {
  auto dir = test::scratchDir();
  std::string path = (dir / "demo.db").string();
  ASSERT_EQ(runGenerator("--out " + path + " --no-resources"), 0);
  auto db = test::openDb(path);
  auto n = [&](const char16_t* sql) { return countIn(*db, sql); };
  EXPECT_GE(n(u"SELECT COUNT(*) FROM t_Emp"), 35);
  EXPECT_GE(n(u"SELECT COUNT(*) FROM t_Emp WHERE FDepartmentID IS NULL"), 1);
  EXPECT_GE(n(u"SELECT COUNT(*) FROM t_Emp WHERE FDepartmentID=0"), 1);
  EXPECT_EQ(n(u"SELECT COUNT(*) FROM t_Emp WHERE Lower(FNumber) IN ('admin','super')"), 5);
  EXPECT_EQ(n(u"SELECT COUNT(DISTINCT FNumber) FROM t_Emp WHERE Lower(FNumber) IN ('admin','super')"), 5);
  // Both numbers stand without a department in their own case and in another one.
  EXPECT_EQ(n(u"SELECT COUNT(DISTINCT Lower(FNumber)) FROM t_Emp WHERE FNumber IN ('admin','super') AND "
              u"IfNull(FDepartmentID,0)=0"),
            2);
  EXPECT_EQ(n(u"SELECT COUNT(DISTINCT Lower(FNumber)) FROM t_Emp WHERE Lower(FNumber) IN ('admin','super') AND "
              u"FNumber NOT IN ('admin','super') AND IfNull(FDepartmentID,0)=0"),
            2);
  // And one of them in another case belongs to a department.
  EXPECT_GE(n(u"SELECT COUNT(*) FROM t_Emp WHERE Lower(FNumber) IN ('admin','super') AND FDepartmentID>0"), 1);
  EXPECT_GE(n(u"SELECT COUNT(*) FROM t_Item WHERE FItemClassID=3 AND FDeleted=1"), 2);
  EXPECT_GE(n(u"SELECT COUNT(*) FROM t_Emp WHERE FMobilePhone IS NULL"), 2);
  EXPECT_GE(n(u"SELECT COUNT(*) FROM t_Emp WHERE FMobilePhone<>'' AND Trim(FMobilePhone)=''"), 1);
  EXPECT_GE(n(u"SELECT COUNT(*) FROM (SELECT FUserID FROM t_Group GROUP BY FUserID HAVING COUNT(*)>=2)"), 1);
  EXPECT_GE(n(u"SELECT COUNT(*) FROM t_User WHERE FForbidden=1 AND FUserID BETWEEN 16384 AND 32767"), 2);
  EXPECT_GE(n(u"SELECT COUNT(*) FROM t_User WHERE FUserID NOT BETWEEN 16384 AND 32767 AND FUserType=1"), 2);
  EXPECT_EQ(n(u"SELECT COUNT(*) FROM t_User u JOIN t_Group g ON g.FGroupID=u.FUserID "
              u"WHERE u.FUserID BETWEEN 16384 AND 32767"),
            0);
  EXPECT_GE(n(u"SELECT COUNT(*) FROM t_User WHERE FEmpID IS NULL AND FUserID BETWEEN 16384 AND 32767"), 1);
  // Users bound to a deleted employee, to one that does not exist, to one without
  // a number and to one with a blank number.
  EXPECT_GE(n(u"SELECT COUNT(*) FROM t_User u JOIN t_Item i ON i.FItemID=u.FEmpID WHERE i.FDeleted=1 AND "
              u"u.FUserID BETWEEN 16384 AND 32767"),
            1);
  EXPECT_GE(n(u"SELECT COUNT(*) FROM t_User u WHERE u.FEmpID IS NOT NULL AND u.FEmpID NOT IN (SELECT FItemID FROM "
              u"t_Emp)"),
            1);
  EXPECT_GE(n(u"SELECT COUNT(*) FROM t_User u JOIN t_Emp e ON e.FItemID=u.FEmpID WHERE e.FMobilePhone IS NULL"), 1);
  EXPECT_GE(n(u"SELECT COUNT(*) FROM t_User u JOIN t_Emp e ON e.FItemID=u.FEmpID WHERE e.FMobilePhone<>'' AND "
              u"Trim(e.FMobilePhone)=''"),
            1);
  // Two ordinary users of the same name, not forbidden, in different groups (find
  // and find next in the group tree), and two employees of the same name in
  // different departments.
  EXPECT_GE(n(u"SELECT COUNT(*) FROM t_User a JOIN t_User b ON a.FName=b.FName AND a.FUserID<b.FUserID "
              u"JOIN t_Group ga ON ga.FUserID=a.FUserID JOIN t_Group gb ON gb.FUserID=b.FUserID AND "
              u"ga.FGroupID<>gb.FGroupID WHERE a.FForbidden=0 AND b.FForbidden=0 AND a.FUserID BETWEEN 16384 AND "
              u"32767 AND b.FUserID BETWEEN 16384 AND 32767"),
            1);
  EXPECT_GE(n(u"SELECT COUNT(*) FROM t_Emp a JOIN t_Emp b ON a.FName=b.FName AND a.FItemID<b.FItemID AND "
              u"a.FDepartmentID<>b.FDepartmentID"),
            1);
  // A department whose every employee is deleted.
  EXPECT_GE(n(u"SELECT COUNT(*) FROM t_Department d WHERE EXISTS (SELECT 1 FROM t_Emp e WHERE "
              u"e.FDepartmentID=d.FItemID) AND NOT EXISTS (SELECT 1 FROM t_Emp e JOIN t_Item i ON i.FItemID=e.FItemID "
              u"WHERE e.FDepartmentID=d.FItemID AND i.FDeleted=0)"),
            1);
  EXPECT_GE(n(u"SELECT COUNT(*) FROM t_Emp WHERE FName LIKE '%(%'"), 1);
  EXPECT_GE(n(u"SELECT COUNT(*) FROM t_Department d WHERE NOT EXISTS (SELECT 1 FROM t_Emp e WHERE "
              u"e.FDepartmentID=d.FItemID)"),
            1);
  // Every ordinary user bound to an employee carries that employee's name, but for
  // the second account of one employee.
  EXPECT_EQ(n(u"SELECT COUNT(*) FROM t_User u JOIN t_Emp e ON e.FItemID=u.FEmpID WHERE u.FUserID BETWEEN 16384 AND "
              u"32767 AND u.FName<>e.FName"),
            1);
  EXPECT_EQ(n(u"SELECT COUNT(*) FROM (SELECT FEmpID FROM t_User WHERE FUserID BETWEEN 16384 AND 32767 AND "
              u"FForbidden=0 AND FEmpID IS NOT NULL GROUP BY FEmpID HAVING COUNT(*)>1)"),
            1);
  // One number is held by two employees (the mobile table's conflicts).
  EXPECT_EQ(n(u"SELECT COUNT(*) FROM (SELECT FMobilePhone FROM t_Emp WHERE Trim(FMobilePhone)<>'' GROUP BY "
              u"FMobilePhone HAVING COUNT(*)>1)"),
            1);
  // Chinese names and eleven-digit numbers.
  EXPECT_EQ(db->scalar(u"SELECT FName FROM t_Department WHERE FItemID=102"), Variant(u"财务部"));
  EXPECT_EQ(n(u"SELECT COUNT(*) FROM t_Emp WHERE Length(Trim(FMobilePhone))=11"),
            n(u"SELECT COUNT(*) FROM t_Emp WHERE Trim(FMobilePhone)<>''"));
}

TEST(DbGen, ResourcesAreLoadedByHeaderColumnsSkippingEmptyCells) {
  auto dir = test::scratchDir();
  std::string tsv = (dir / "r.tsv").string(), path = (dir / "r.db").string();
  {
    std::ofstream f(tsv, std::ios::binary);
    f << "\xEF\xBB\xBFkey\tcht\ten\r\n"
         "确定\t確定\tOK\r\n"
         "\r\n"
         "取消\t\tCancel\r\n"
         "关闭\t關閉\n";
  }
  ASSERT_EQ(runGenerator("--out " + path + " --resources " + tsv), 0);
  auto db = test::openDb(path);
  EXPECT_EQ(db->scalar(u"SELECT FText FROM dh_Resource WHERE FKey='确定' AND FLanguage='en'"), Variant(u"OK"));
  EXPECT_EQ(db->scalar(u"SELECT FText FROM dh_Resource WHERE FKey='确定' AND FLanguage='cht'"), Variant(u"確定"));
  EXPECT_EQ(db->scalar(u"SELECT FText FROM dh_Resource WHERE FKey='取消' AND FLanguage='en'"), Variant(u"Cancel"));
  EXPECT_EQ(countIn(*db, u"SELECT COUNT(*) FROM dh_Resource WHERE FKey='取消' AND FLanguage='cht'"), 0);
  EXPECT_EQ(db->scalar(u"SELECT FText FROM dh_Resource WHERE FKey='关闭' AND FLanguage='cht'"), Variant(u"關閉"));
  EXPECT_EQ(countIn(*db, u"SELECT COUNT(*) FROM dh_Resource"), 4);
}

TEST(DbGen, TheProjectsResourceFileLoadsEveryRow) {
  std::ifstream f(LUMO_DEVHOST_RESOURCES, std::ios::binary);
  if (!f) GTEST_SKIP() << "no resources file yet";
  // The non-empty cells the file holds per language (a repeated key keeps its last row).
  std::map<std::string, std::pair<std::string, std::string>> rows;
  std::string line;
  bool header = true;
  while (std::getline(f, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (line.empty()) continue;
    if (header) {
      header = false;
      ASSERT_EQ(line.rfind("key\ten\tcht", 0), 0u) << "header: " << line;
      continue;
    }
    std::stringstream ss(line);
    std::string key, e, c;
    std::getline(ss, key, '\t');
    std::getline(ss, e, '\t');
    std::getline(ss, c, '\t');
    if (key.empty()) continue;
    auto& r = rows[key];
    if (!e.empty()) r.first = e;
    if (!c.empty()) r.second = c;
  }
  int en = 0, cht = 0;
  for (const auto& r : rows) {
    en += !r.second.first.empty();
    cht += !r.second.second.empty();
  }
  auto dir = test::scratchDir();
  std::string path = (dir / "p.db").string();
  // One moment for both databases: the message history ends there.
  const std::string now = " --now '2026-11-25 10:00:00'";
  ASSERT_EQ(runGenerator(std::string("--out ") + path + " --resources " + LUMO_DEVHOST_RESOURCES + now), 0);
  auto db = test::openDb(path);
  EXPECT_GT(en, 0);
  EXPECT_EQ(countIn(*db, u"SELECT COUNT(*) FROM dh_Resource WHERE FLanguage='en'"), en);
  EXPECT_EQ(countIn(*db, u"SELECT COUNT(*) FROM dh_Resource WHERE FLanguage='cht'"), cht);
  // The generator's default is the project's file.
  std::string def = (dir / "d.db").string();
  ASSERT_EQ(runGenerator("--out " + def + now), 0);
  EXPECT_EQ(dump(def), dump(path));
}

TEST(DbGen, BadArgumentsAreRefused) {
  auto dir = test::scratchDir();
  EXPECT_NE(runGenerator("--size demo 2>/dev/null"), 0);
  EXPECT_NE(runGenerator("--out " + (dir / "x.db").string() + " --size huge 2>/dev/null"), 0);
  EXPECT_NE(runGenerator("--out " + (dir / "x.db").string() + " --resources /nonexistent.tsv 2>/dev/null"), 0);
  EXPECT_FALSE(std::filesystem::exists(dir / "x.db"));
  EXPECT_FALSE(std::filesystem::exists(dir / "x.db.tmp"));
}

}  // namespace
}  // namespace lumo::devhost
