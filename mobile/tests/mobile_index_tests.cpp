#include <gtest/gtest.h>

#include <vector>

#include "mobile/mobile_index.h"

namespace lumo::mobile {
namespace {

using Rows = std::vector<int32_t>;

class Index : public ::testing::Test {
 protected:
  Index() { index.reset(8); }
  MobileIndex index;
};

TEST_F(Index, AnEmployeesRowsComeInOrderWhateverOrderTheyWereIndexedIn) {
  index.set(5, u"1001", u"13900000001");
  index.set(2, u"1001", u"13900000001");
  index.set(7, u"1001", u"13900000001");
  index.set(3, u"1002", u"13900000002");
  index.set(1, u"1001", u"13900000001");
  EXPECT_EQ(index.rowsOf(u"1001"), (Rows{1, 2, 5, 7}));
  EXPECT_EQ(index.rowsOf(u"1002"), (Rows{3}));
  EXPECT_EQ(index.rowsOf(u"1003"), Rows{});
  EXPECT_EQ(index.rowsOf(u""), Rows{});
}

TEST_F(Index, IndexingARowAgainMovesItToItsNewEmployeeAndNumber) {
  index.set(1, u"1001", u"13900000001");
  index.set(2, u"1001", u"13900000001");
  index.set(1, u"1002", u"13900000002");
  EXPECT_EQ(index.rowsOf(u"1001"), (Rows{2}));
  EXPECT_EQ(index.rowsOf(u"1002"), (Rows{1}));
  EXPECT_EQ(index.empId(1), u"1002");
  EXPECT_EQ(index.number(1), u"13900000002");
  index.set(2, u"", u"");
  EXPECT_EQ(index.rowsOf(u"1001"), Rows{});
  EXPECT_EQ(index.empId(2), u"");
  EXPECT_EQ(index.number(2), u"");
}

TEST_F(Index, ANumberOfTwoEmployeesNamesTheOtherOnEachSide) {
  index.set(1, u"1001", u"13900000001");
  index.set(2, u"1001", u"13900000001");
  index.set(4, u"1002", u"13900000001");
  index.set(6, u"1003", u"13900000003");
  EXPECT_EQ(index.otherHolders(2), (Rows{4}));   // the first row of the other employee
  EXPECT_EQ(index.otherHolders(4), (Rows{1}));
  EXPECT_EQ(index.otherHolders(6), Rows{});
}

TEST_F(Index, TheRowsOfOneEmployeeDoNotHoldANumberAgainstEachOther) {
  index.set(1, u"1001", u"13900000001");
  index.set(2, u"1001", u"13900000001");
  EXPECT_EQ(index.otherHolders(1), Rows{});
  EXPECT_EQ(index.otherHolders(2), Rows{});
}

TEST_F(Index, ANumberOnARowWithoutAnEmployeeIsHeldByNobody) {
  index.set(1, u"", u"13900000001");
  index.set(2, u"1002", u"13900000001");
  EXPECT_EQ(index.number(1), u"13900000001");  // kept, to re-mark the others when it changes
  EXPECT_EQ(index.otherHolders(2), Rows{});
  EXPECT_EQ(index.otherHolders(1), Rows{});
  EXPECT_EQ(index.rowsHolding({u"13900000001"}), (Rows{2}));
}

TEST_F(Index, BlanksAroundANumberAreTrimmedAndABlankNumberIsNone) {
  index.set(1, u"1001", u"  13900000001 ");
  index.set(2, u"1002", u"13900000001");
  index.set(3, u"1003", u"   ");
  EXPECT_EQ(index.number(1), u"13900000001");
  EXPECT_EQ(index.otherHolders(2), (Rows{1}));
  EXPECT_EQ(index.number(3), u"");
  EXPECT_EQ(index.rowsHolding({u" 13900000001"}), (Rows{1, 2}));
}

TEST_F(Index, TakingTheLastRowOfAHolderAwayEndsTheConflict) {
  index.set(1, u"1001", u"13900000001");
  index.set(2, u"1002", u"13900000001");
  index.set(3, u"1002", u"13900000001");
  index.set(2, u"1002", u"13900000009");
  EXPECT_EQ(index.otherHolders(1), (Rows{2}));  // still held by 1002 (row 3); named by its first row
  index.set(3, u"1002", u"13900000009");
  EXPECT_EQ(index.otherHolders(1), Rows{});
  // A holder taken away and another added reuse the freed place without mixing them up.
  index.set(4, u"1004", u"13900000001");
  EXPECT_EQ(index.otherHolders(1), (Rows{4}));
  EXPECT_EQ(index.otherHolders(2), Rows{});
}

TEST_F(Index, RowsHoldingListsEveryRowOfEachHolderOnceInOrder) {
  index.set(1, u"1001", u"13900000001");
  index.set(5, u"1001", u"13900000001");
  index.set(3, u"1002", u"13900000001");
  index.set(2, u"1003", u"13900000003");
  index.set(8, u"1004", u"13900000004");
  EXPECT_EQ(index.rowsHolding({u"13900000001", u"13900000003", u"13900000001", u"", u"139"}), (Rows{1, 2, 3, 5}));
}

TEST_F(Index, AResetForgetsEverything) {
  index.set(1, u"1001", u"13900000001");
  index.reset(3);
  EXPECT_EQ(index.rows(), 3);
  EXPECT_EQ(index.rowsOf(u"1001"), Rows{});
  EXPECT_EQ(index.empId(1), u"");
  EXPECT_EQ(index.rowsHolding({u"13900000001"}), Rows{});
}

TEST_F(Index, RowsOutsideTheTableAreIgnored) {
  index.set(0, u"1001", u"13900000001");
  index.set(9, u"1001", u"13900000001");
  EXPECT_EQ(index.rowsOf(u"1001"), Rows{});
  EXPECT_EQ(index.empId(9), u"");
  EXPECT_EQ(index.otherHolders(-1), Rows{});
}

TEST_F(Index, ThousandsOfIdsOnFewRowsStayFindable) {
  // More distinct texts than a reset of eight rows expects: the table grows.
  for (int32_t i = 0; i < 5000; ++i) index.set(1 + i % 8, toText(static_cast<long long>(i)), toText(i * 7LL));
  for (int32_t i = 4992; i < 5000; ++i) {
    EXPECT_EQ(index.rowsOf(toText(static_cast<long long>(i))), (Rows{1 + i % 8}));
    EXPECT_EQ(index.number(1 + i % 8), toText(i * 7LL));
  }
  EXPECT_EQ(index.rowsOf(u"4000"), Rows{});
}

}  // namespace
}  // namespace lumo::mobile
