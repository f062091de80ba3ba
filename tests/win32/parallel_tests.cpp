// Parts of a job on threads of their own under Wine: every part runs once, all
// but the first on other threads, and a large copy cut into parts gives the
// text the copy in turn gives.
#include <gtest/gtest.h>
#include <windows.h>

#include <atomic>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/table_rows.h"
#include "ui/list_table.h"
#include "win32/parallel.h"

namespace lumo::win32 {
namespace {

TEST(ThreadParallel, EveryPartRunsOnceAndAllButTheFirstOnThreadsOfTheirOwn) {
  const ThreadParallel parallel(4);
  EXPECT_EQ(parallel.width(), 4u);
  std::vector<std::atomic<int>> runs(6);
  std::vector<DWORD> threads(6);
  parallel.run(6, [&](std::size_t p) {
    ++runs[p];
    threads[p] = GetCurrentThreadId();
  });
  for (std::size_t p = 0; p < runs.size(); ++p) EXPECT_EQ(runs[p].load(), 1) << "part " << p;
  EXPECT_EQ(threads[0], GetCurrentThreadId());
  for (std::size_t p = 1; p < threads.size(); ++p) {
    EXPECT_NE(threads[p], GetCurrentThreadId()) << "part " << p;
    for (std::size_t q = 1; q < p; ++q) EXPECT_NE(threads[p], threads[q]) << "parts " << q << " and " << p;
  }
  parallel.run(0, [&](std::size_t) { ADD_FAILURE() << "a part of nothing ran"; });
}

TEST(ThreadParallel, AFailingPartLetsTheOthersEndAndReachesTheCaller) {
  const ThreadParallel parallel(3);
  std::vector<std::atomic<int>> runs(5);
  for (const std::size_t failing : {std::size_t{0}, std::size_t{3}}) {
    for (auto& r : runs) r = 0;
    try {
      parallel.run(5, [&](std::size_t p) {
        Sleep(p == failing ? 0 : 20);
        ++runs[p];
        if (p == failing) throw std::runtime_error("part " + std::to_string(p));
      });
      ADD_FAILURE() << "nothing was thrown";
    } catch (const std::runtime_error& e) {
      EXPECT_EQ(std::string(e.what()), "part " + std::to_string(failing));
    }
    for (std::size_t p = 0; p < runs.size(); ++p) EXPECT_EQ(runs[p].load(), 1) << "part " << p;
  }
}

TEST(ThreadParallel, ALargeCopyOnThreadsIsTheCopyInTurn) {
  const std::vector<ustring> rows = test::mixedRows(200000);
  const test::TableRows table(3, rows);
  const ui::RowRange ranges[] = {{1, 99999}, {100001, 200000}};
  const ThreadParallel parallel(4);
  const ustring onThreads = ui::copyText(table, ranges, parallel);
  EXPECT_EQ(onThreads.size(), ui::CopyText(table, ranges).size());
  EXPECT_TRUE(onThreads == ui::copyText(table, ranges)) << "the texts differ";
}

}  // namespace
}  // namespace lumo::win32
