// The ledger file: header line with markers and a closing tab, rows joined by
// tabs, header parsing, and the exact bytes saved and read back.
#include <gtest/gtest.h>

#include <memory>

#include "display/ledger.h"
#include "display_test.h"

namespace lumo::display::test {
namespace {

class LedgerTest : public DisplayTest {
 protected:
  // A list as the builder leaves it: n columns, the rows in the collection.
  static ListModel listOf(const std::vector<std::pair<ustring, int32_t>>& columns, const std::vector<ustring>& rows) {
    ListModel list;
    list.setColumnCount(static_cast<int32_t>(columns.size()));
    for (std::size_t c = 0; c < columns.size(); ++c) {
      list.setText(0, static_cast<int32_t>(c + 1), columns[c].first);
      list.setColumnAlignment(static_cast<int32_t>(c + 1), columns[c].second);
    }
    auto coll = std::make_shared<Collection>();
    for (const ustring& r : rows) coll->add(Variant(r));
    list.setRows(coll);
    list.setRowCount(static_cast<int32_t>(rows.size() + 1));
    return list;
  }
};

TEST(LedgerMarkers, EachAlignmentHasItsMarker) {
  EXPECT_EQ(alignmentMarker(0), u"字符");
  EXPECT_EQ(alignmentMarker(1), u"数字");
  EXPECT_EQ(alignmentMarker(2), u"中间");
  EXPECT_EQ(alignmentMarker(3), u"");
  EXPECT_EQ(alignmentMarker(-1), u"");
}

TEST_F(LedgerTest, TheHeaderLineCarriesMarkersAndEndsWithATab) {
  const ListModel list = listOf({{u"姓名", 0}, {u"金额", 1}, {u"部门", 2}}, {});
  EXPECT_EQ(ledgerHeaderLine(list), u"姓名(字符)\t金额(数字)\t部门(中间)\t");
}

TEST_F(LedgerTest, AColumnWithAnotherAlignmentGetsNeitherParenthesesNorMarker) {
  const ListModel list = listOf({{u"A", 4}, {u"B", -1}, {u"C", 0}}, {});
  EXPECT_EQ(ledgerHeaderLine(list), u"A\tB\tC(字符)\t");
}

TEST_F(LedgerTest, AListWithoutColumnsHasAnEmptyHeaderLine) {
  ListModel list;
  EXPECT_EQ(ledgerHeaderLine(list), u"");
}

TEST_F(LedgerTest, HeaderTitlesComeFromTheTitleLineWhenNoneWasWritten) {
  ListModel list;
  list.setTitles(u"编号\t名称|");
  list.setColumnCount(2);
  EXPECT_EQ(ledgerHeaderLine(list), u"编号(字符)\t名称(字符)\t");
}

TEST(LedgerHeader, EachTabEndsOneColumn) {
  const auto cols = parseLedgerHeader(u"A\tB\tC\t");
  ASSERT_EQ(cols.size(), 3u);
  EXPECT_EQ(cols[0].title, u"A");
  EXPECT_EQ(cols[2].title, u"C");
  EXPECT_FALSE(cols[0].marked);
}

TEST(LedgerHeader, TextAfterTheLastTabIsNoColumn) {
  const auto cols = parseLedgerHeader(u"A\tB\tleft over");
  ASSERT_EQ(cols.size(), 2u);
  EXPECT_EQ(cols[1].title, u"B");
}

TEST(LedgerHeader, AHeaderWithoutATabHasNoColumns) {
  EXPECT_TRUE(parseLedgerHeader(u"only a title").empty());
  EXPECT_TRUE(parseLedgerHeader(u"").empty());
}

TEST(LedgerHeader, EmptyTitlesAreColumnsToo) {
  const auto cols = parseLedgerHeader(u"\t\tX\t");
  ASSERT_EQ(cols.size(), 3u);
  EXPECT_EQ(cols[0].title, u"");
  EXPECT_EQ(cols[1].title, u"");
  EXPECT_EQ(cols[2].title, u"X");
}

TEST(LedgerHeader, AMarkerSetsTheAlignmentAndStaysInTheTitle) {
  const auto cols = parseLedgerHeader(u"姓名(字符)\t金额(数字)\t部门(中间)\t备注\t");
  ASSERT_EQ(cols.size(), 4u);
  EXPECT_EQ(cols[0].title, u"姓名(字符)");
  EXPECT_TRUE(cols[0].marked);
  EXPECT_EQ(cols[0].alignment, 0);
  EXPECT_EQ(cols[1].title, u"金额(数字)");
  EXPECT_EQ(cols[1].alignment, 1);
  EXPECT_EQ(cols[2].alignment, 2);
  EXPECT_FALSE(cols[3].marked);
}

TEST(LedgerHeader, OnlyTheLastFourCharactersCountAsAMarker) {
  const auto cols = parseLedgerHeader(u"(字符)x\t字符)\t(字符\t(字符)\t（数字）\t");
  ASSERT_EQ(cols.size(), 5u);
  EXPECT_FALSE(cols[0].marked);
  EXPECT_FALSE(cols[1].marked);
  EXPECT_FALSE(cols[2].marked);
  EXPECT_TRUE(cols[3].marked);  // the marker alone is a title too
  EXPECT_FALSE(cols[4].marked);  // full-width parentheses are other characters
}

TEST_F(LedgerTest, SavingWritesTheExactLineSequence) {
  const ListModel list = listOf({{u"姓名", 0}, {u"金额", 1}}, {u"张三\t12.50", u"李四\t8"});
  saveLedger(path("out.ldg"), list);
  EXPECT_EQ(readBytes(file("out.ldg")), ansi(u"姓名(字符)\t金额(数字)\t") + "\r\n" + ansi(u"张三") + "\t12.50\r\n" +
                                            ansi(u"李四") + "\t8\r\n");
}

TEST_F(LedgerTest, RowsAreSavedWithExactlyTheListsColumns) {
  // One row with a cell too many, one with a cell too few, one missing entry.
  ListModel list = listOf({{u"A", 0}, {u"B", 0}}, {u"1\t2\t3", u"4"});
  list.setRowCount(4);
  saveLedger(path("out.ldg"), list);
  EXPECT_EQ(readBytes(file("out.ldg")), ansi(u"A(字符)\tB(字符)\t") + "\r\n1\t2\r\n4\t\r\n\t\r\n");
}

TEST_F(LedgerTest, WrittenCellsAreSavedInsteadOfTheRowText) {
  ListModel list = listOf({{u"A", 0}, {u"B", 0}}, {u"1\t2"});
  list.setText(1, 2, u"changed");
  saveLedger(path("out.ldg"), list);
  EXPECT_EQ(readBytes(file("out.ldg")), ansi(u"A(字符)\tB(字符)\t") + "\r\n1\tchanged\r\n");
}

TEST_F(LedgerTest, SavingAndReopeningKeepsTitlesWithMarkersAndAllRows) {
  const ListModel list = listOf({{u"姓名", 0}, {u"金额", 1}, {u"部门", 2}},
                                {u"张三\t12.50\t销售部", u"李四\t8\t财务部", u"王五\t\t"});
  saveLedger(path("round.ldg"), list);
  const LedgerContents back = openLedger(path("round.ldg"));
  EXPECT_EQ(back.header, u"姓名(字符)\t金额(数字)\t部门(中间)\t");
  ASSERT_EQ(back.columns.size(), 3u);
  EXPECT_EQ(back.columns[0].title, u"姓名(字符)");
  EXPECT_EQ(back.columns[1].alignment, 1);
  EXPECT_EQ(back.columns[2].alignment, 2);
  ASSERT_TRUE(back.rows);
  ASSERT_EQ(back.rows->count(), 3u);
  EXPECT_EQ(back.rows->item(1).toString(), u"张三\t12.50\t销售部");
  EXPECT_EQ(back.rows->item(3).toString(), u"王五\t\t");
  EXPECT_EQ(back.lineNum, 3);
}

TEST_F(LedgerTest, SavingAReopenedListAddsAnotherMarkerToEachTitle) {
  // A title keeps its marker when read, and saving appends the marker again.
  writeBytes(file("in.ldg"), ansi(u"姓名(字符)\t") + "\r\nx\r\n");
  const LedgerContents first = openLedger(path("in.ldg"));
  const ListModel list = listOf({{first.columns[0].title, first.columns[0].alignment}}, {u"x"});
  saveLedger(path("again.ldg"), list);
  EXPECT_EQ(readBytes(file("again.ldg")), ansi(u"姓名(字符)(字符)\t") + "\r\nx\r\n");
}

TEST_F(LedgerTest, OpeningAnEmptyFileGivesNoHeaderAndReadsNoRows) {
  writeBytes(file("empty.ldg"), "");
  const LedgerContents c = openLedger(path("empty.ldg"));
  EXPECT_EQ(c.header, u"");
  EXPECT_TRUE(c.columns.empty());
  EXPECT_FALSE(c.rows);
}

TEST_F(LedgerTest, AnEmptyFirstLineReadsNoRows) {
  writeBytes(file("e.ldg"), "\r\nA\t\r\n1\r\n");
  const LedgerContents c = openLedger(path("e.ldg"));
  EXPECT_EQ(c.header, u"");
  EXPECT_FALSE(c.rows);
  EXPECT_EQ(c.lineNum, 0);
}

TEST_F(LedgerTest, AHeaderWithNoRowsOpensWithItsColumnsAndNoRows) {
  writeBytes(file("h.ldg"), "A\tB\t\r\n");
  const LedgerContents c = openLedger(path("h.ldg"));
  EXPECT_EQ(c.columns.size(), 2u);
  ASSERT_TRUE(c.rows);
  EXPECT_EQ(c.rows->count(), 0u);
}

TEST_F(LedgerTest, RowsWithMoreTabsThanColumnsAreKeptWhole) {
  writeBytes(file("wide.ldg"), "A\tB\t\r\n1\t2\t3\t4\r\n");
  const LedgerContents c = openLedger(path("wide.ldg"));
  EXPECT_EQ(c.columns.size(), 2u);
  EXPECT_EQ(c.rows->item(1).toString(), u"1\t2\t3\t4");
}

TEST_F(LedgerTest, AFileWithCrOnlyLineEndsOpens) {
  writeBytes(file("cr.ldg"), "A\tB\t\r1\t2\r3\t4\r");
  const LedgerContents c = openLedger(path("cr.ldg"));
  EXPECT_EQ(c.columns.size(), 2u);
  ASSERT_EQ(c.rows->count(), 2u);
  EXPECT_EQ(c.rows->item(2).toString(), u"3\t4");
}

TEST_F(LedgerTest, OpeningAMissingFileRaisesToTheCaller) {
  EXPECT_EQ(errorOf([&] { openLedger(path("missing.ldg")); }), 53);
}

TEST_F(LedgerTest, SavingOverAReadOnlyFileRaisesAndLeavesIt) {
  writeBytes(file("ro.ldg"), "old\r\n");
  makeReadOnly(file("ro.ldg"));
  const ListModel list = listOf({{u"A", 0}}, {u"1"});
  EXPECT_EQ(errorOf([&] { saveLedger(path("ro.ldg"), list); }), 70);
  EXPECT_EQ(readBytes(file("ro.ldg")), "old\r\n");
}

TEST_F(LedgerTest, ReadingFromAnOpenHelperUsesItsFirstLineAndLeftLines) {
  SaveFile f;
  f.attachReader(std::make_unique<MemorySource>("T1\tT2\t\r\na\tb\r\n\r\nlost\r\n"));
  f.setLineNum(10);
  const LedgerContents c = readLedger(f);
  EXPECT_EQ(c.columns.size(), 2u);
  EXPECT_EQ(c.rows->count(), 1u);
  EXPECT_EQ(c.lineNum, 11);
}

}  // namespace
}  // namespace lumo::display::test
