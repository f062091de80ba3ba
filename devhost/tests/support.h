// Helpers of the development host's native tests: demo databases written by the
// real generator, the environment that points the components at them, and a
// direct ODBC look into the database.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "automation/object.h"
#include "devhost/components/hostdb.h"
#include "devhost/components/odbc.h"
#include "tests/support/text.h"

namespace lumo::devhost::test {

inline std::filesystem::path scratchDir() {
  auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
  std::filesystem::path p = std::filesystem::path(LUMO_TEST_SCRATCH);
  if (info) p /= std::string(info->test_suite_name()) + "." + info->name();
  std::filesystem::remove_all(p);
  std::filesystem::create_directories(p);
  return p;
}

inline int runGenerator(const std::string& args) {
  std::string cmd = std::string("\"") + LUMO_DBGEN + "\" --quiet " + args;
  return std::system(cmd.c_str());
}

// The resource rows the component tests rely on (header columns in file order).
inline std::string writeTestResources(const std::filesystem::path& dir) {
  std::filesystem::path p = dir / "resources.tsv";
  std::ofstream f(p, std::ios::binary);
  f << "key\ten\tcht\n"
       "无部门\tNo department\t無部門\n"
       "正在加载数据\tLoading data\t正在載入資料\n"
       "发送成功\tSent\t發送成功\n"
       "只有英文\tEnglish only\t\n";
  return p.string();
}

// Scratch directories are emptied when a test asks for one; call scratchDir()
// once per test and keep the path.

// A fresh demo database for the running test, with LUMO_DEVHOST_DB pointing at it.
inline std::string freshDemoDb() {
  std::filesystem::path dir = scratchDir();
  std::string db = (dir / "demo.db").string();
  std::string res = writeTestResources(dir);
  EXPECT_EQ(runGenerator("--out \"" + db + "\" --size demo --resources \"" + res + "\""), 0);
  ::setenv("LUMO_DEVHOST_DB", db.c_str(), 1);
  return db;
}

inline std::unique_ptr<odbc::Connection> openDb(const std::string& path) {
  return std::make_unique<odbc::Connection>(connectStringFor(fromUtf8(path)));
}

// What the sqlite3 shell, another process, prints for FILE and its arguments
// (each argument passed in double quotes).
inline std::string sqliteShell(const std::string& path, const std::string& argument) {
  std::string cmd = "sqlite3 \"" + path + "\" \"" + argument + "\"";
  FILE* p = ::popen(cmd.c_str(), "r");
  std::string out;
  if (!p) return out;
  char buf[65536];
  std::size_t n;
  while ((n = std::fread(buf, 1, sizeof buf, p)) > 0) out.append(buf, n);
  ::pclose(p);
  return out;
}

// `sqlite3 FILE .dump`
inline std::string dump(const std::string& path) { return sqliteShell(path, ".dump"); }

}  // namespace lumo::devhost::test
