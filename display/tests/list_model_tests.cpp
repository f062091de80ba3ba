// The list grid's data: lines on demand, cells cut from row texts, written
// cells, shape changes, out-of-range cells, and a million rows.
#include <gtest/gtest.h>

#include <chrono>
#include <memory>

#include "display/list_model.h"

namespace lumo::display {
namespace {

std::shared_ptr<Collection> rowsOf(std::initializer_list<const char16_t*> rows) {
  auto c = std::make_shared<Collection>();
  for (const char16_t* r : rows) c->add(Variant(r));
  return c;
}

ListModel filled() {
  ListModel m;
  m.setTitles(u"姓名\t金额|");
  m.setRows(rowsOf({u"张三\t12", u"李四\t8\t多余"}));
  m.setColumnCount(2);
  m.setRowCount(3);
  return m;
}

TEST(ListModel, StartsWithoutColumnsAndWithTheHeaderRowOnly) {
  ListModel m;
  EXPECT_EQ(m.columnCount(), 0);
  EXPECT_EQ(m.rowCount(), 1);
  EXPECT_EQ(m.currentRow(), 0);
  ASSERT_TRUE(m.rows());
  EXPECT_EQ(m.rows()->count(), 0u);
}

TEST(ListModel, LineOneIsTheTitleLineAndLaterLinesAreRowsWithABar) {
  const ListModel m = filled();
  EXPECT_EQ(m.line(1), u"姓名\t金额|");
  EXPECT_EQ(m.line(2), u"张三\t12|");
  EXPECT_EQ(m.line(3), u"李四\t8\t多余|");
}

TEST(ListModel, LinesOutsideTheListOrWithoutAnEntryAreEmpty) {
  ListModel m = filled();
  EXPECT_EQ(m.line(0), u"");
  EXPECT_EQ(m.line(4), u"");
  m.setRowCount(5);
  EXPECT_EQ(m.line(4), u"");
}

TEST(ListModel, CellsAreCutFromTheirRowText) {
  const ListModel m = filled();
  EXPECT_EQ(m.text(0, 1), u"姓名");
  EXPECT_EQ(m.text(0, 2), u"金额");  // the title line's "|" is not part of the cell
  EXPECT_EQ(m.text(1, 1), u"张三");
  EXPECT_EQ(m.text(1, 2), u"12");
  EXPECT_EQ(m.text(2, 2), u"8");
}

TEST(ListModel, CellsBeyondTheColumnsOrTheRowsAreEmpty) {
  ListModel m = filled();
  EXPECT_EQ(m.text(2, 3), u"");  // the row has a third cell, the list has two columns
  EXPECT_EQ(m.text(1, 0), u"");
  EXPECT_EQ(m.text(-1, 1), u"");
  EXPECT_EQ(m.text(3, 1), u"");
  m.setRowCount(4);
  EXPECT_EQ(m.text(3, 1), u"");  // a row without entry
}

TEST(ListModel, WritingOutsideTheListChangesNothing) {
  ListModel m = filled();
  EXPECT_FALSE(m.setText(3, 1, u"x"));
  EXPECT_FALSE(m.setText(1, 0, u"x"));
  EXPECT_FALSE(m.setText(1, 3, u"x"));
  EXPECT_FALSE(m.setText(-1, 1, u"x"));
  m.setRowCount(4);
  m.setColumnCount(3);
  EXPECT_EQ(m.text(3, 1), u"");
  EXPECT_EQ(m.text(1, 3), u"");
}

TEST(ListModel, AWrittenCellWinsOverItsRowText) {
  ListModel m = filled();
  EXPECT_TRUE(m.setText(1, 2, u"99"));
  EXPECT_EQ(m.text(1, 2), u"99");
  EXPECT_EQ(m.text(1, 1), u"张三");
  // The row text itself is untouched.
  EXPECT_EQ(m.line(2), u"张三\t12|");
}

TEST(ListModel, WritingTheHeaderRowSetsTheColumnTitle) {
  ListModel m = filled();
  EXPECT_TRUE(m.setText(0, 1, u"名字(字符)"));
  EXPECT_TRUE(m.column(1).hasTitle);
  EXPECT_EQ(m.text(0, 1), u"名字(字符)");
  EXPECT_EQ(m.text(0, 2), u"金额");
  EXPECT_EQ(m.line(1), u"姓名\t金额|");
}

TEST(ListModel, ColumnsThatGoTakeTheirCellsWithThem) {
  ListModel m = filled();
  m.setText(1, 2, u"written");
  m.setText(0, 2, u"title");
  m.setColumnCount(1);
  m.setColumnCount(2);
  EXPECT_EQ(m.text(1, 2), u"12");
  EXPECT_EQ(m.text(0, 2), u"金额");
  EXPECT_EQ(m.column(2).width, ListColumn::kDefaultWidth);
}

TEST(ListModel, RowsThatGoTakeTheirCellsWithThem) {
  ListModel m = filled();
  m.setText(2, 1, u"written");
  m.setRowCount(2);
  m.setRowCount(3);
  EXPECT_EQ(m.text(2, 1), u"李四");
}

TEST(ListModel, NegativeCountsAreRefused) {
  ListModel m;
  EXPECT_THROW(m.setColumnCount(-1), Error);
  EXPECT_THROW(m.setRowCount(-1), Error);
}

TEST(ListModel, WidthsAndAlignmentsOnlyForExistingColumns) {
  ListModel m = filled();
  EXPECT_TRUE(m.setColumnWidth(2, 900));
  EXPECT_EQ(m.column(2).width, 900);
  EXPECT_FALSE(m.setColumnWidth(3, 900));
  EXPECT_FALSE(m.setColumnWidth(0, 900));
  EXPECT_FALSE(m.setColumnWidth(1, -5));
  EXPECT_TRUE(m.setColumnAlignment(1, 1));
  EXPECT_EQ(m.column(1).alignment, 1);
  EXPECT_FALSE(m.setColumnAlignment(3, 1));
  EXPECT_THROW(m.column(3), Error);
}

TEST(ListModel, TheCurrentRowStaysInsideTheList) {
  ListModel m = filled();
  EXPECT_TRUE(m.setCurrentRow(2));
  EXPECT_FALSE(m.setCurrentRow(3));
  EXPECT_FALSE(m.setCurrentRow(-1));
  EXPECT_EQ(m.currentRow(), 2);
  m.setRowCount(2);
  EXPECT_EQ(m.currentRow(), 1);
}

TEST(ListModel, JoinedCellsIsTheStoredTextItselfWhenItFits) {
  const ListModel m = filled();
  ustring scratch;
  const ustring& joined = m.joinedCells(1, scratch);
  EXPECT_EQ(joined, u"张三\t12");
  EXPECT_EQ(&joined, &m.rows()->item(1).rawString());
}

TEST(ListModel, JoinedCellsCutsPadsAndUsesWrittenCells) {
  ListModel m = filled();
  ustring scratch;
  EXPECT_EQ(m.joinedCells(2, scratch), u"李四\t8");
  m.setColumnCount(3);
  EXPECT_EQ(m.joinedCells(1, scratch), u"张三\t12\t");
  m.setText(1, 3, u"新");
  EXPECT_EQ(m.joinedCells(1, scratch), u"张三\t12\t新");
  EXPECT_EQ(m.joinedCells(0, scratch), u"姓名\t金额\t");
  m.setRowCount(4);
  EXPECT_EQ(m.joinedCells(3, scratch), u"\t\t");
}

TEST(ListModel, ACopyOfTheRowsHoldsWhatEachRowShows) {
  ListModel m = filled();
  m.rows()->add(Variant(int32_t(42)));
  m.rows()->add(Variant(u"王\r\n五\t3"));
  m.rows()->add(Variant(u"赵六\t7"));
  m.setRowCount(7);  // one row more than there are entries
  m.setText(5, 2, u"写");
  const ui::RowRange all[] = {{1, 6}};
  EXPECT_EQ(ui::copyText(m, all),
            u"姓名\t金额\r\n张三\t12\r\n李四\t8\r\n42\t\r\n\"王\r\n五\"\t3\r\n赵六\t写\r\n\t\r\n");
}

TEST(ListModel, EntriesThatAreNotTextShowAsTheirText) {
  ListModel m;
  auto c = std::make_shared<Collection>();
  c->add(Variant(int32_t(42)));
  c->add(Variant(std::make_shared<Collection>()));
  m.setRows(c);
  m.setColumnCount(1);
  m.setRowCount(3);
  EXPECT_EQ(m.line(2), u"42|");
  EXPECT_EQ(m.text(1, 1), u"42");
  EXPECT_EQ(m.line(3), u"");
  EXPECT_EQ(m.text(2, 1), u"");
}

TEST(ListModel, ANullRowCollectionIsAnEmptyOne) {
  ListModel m;
  m.setRows(nullptr);
  ASSERT_TRUE(m.rows());
  EXPECT_EQ(m.rows()->count(), 0u);
}

TEST(ListModel, ClearCellsForgetsWrittenCellsAndTitles) {
  ListModel m = filled();
  m.setText(0, 1, u"t");
  m.setText(1, 1, u"c");
  m.clearCells();
  EXPECT_EQ(m.text(0, 1), u"姓名");
  EXPECT_EQ(m.text(1, 1), u"张三");
  EXPECT_FALSE(m.column(1).hasTitle);
}

TEST(ListModel, AMillionRowsAreHeldByTheirTextsAlone) {
  auto rows = std::make_shared<Collection>();
  for (int i = 0; i < 1000000; ++i) rows->add(Variant(u"行" + toText(i) + u"\t" + toText(i * 2) + u"\tX\tY"));
  ListModel m;
  const auto start = std::chrono::steady_clock::now();
  m.setRows(rows);
  m.setColumnCount(4);
  m.setRowCount(1000001);
  m.setText(500000, 3, u"written");
  // Nothing is copied or split up front: this is instant however many rows there are.
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(200));
  EXPECT_EQ(m.rows().get(), rows.get());
  EXPECT_EQ(m.text(1000000, 1), u"行999999");
  EXPECT_EQ(m.text(1000000, 2), u"1999998");
  EXPECT_EQ(m.text(500000, 3), u"written");
  EXPECT_EQ(m.line(1000001), u"行999999\t1999998\tX\tY|");
  ustring scratch;
  EXPECT_EQ(&m.joinedCells(7, scratch), &rows->item(7).rawString());
}

TEST(CellPiece, PiecesBetweenTabs) {
  EXPECT_EQ(cellPiece(u"a\tb\t\tc", 0), u"a");
  EXPECT_EQ(cellPiece(u"a\tb\t\tc", 2), u"");
  EXPECT_EQ(cellPiece(u"a\tb\t\tc", 3), u"c");
  EXPECT_EQ(cellPiece(u"a\tb\t\tc", 4), u"");
  EXPECT_EQ(cellPiece(u"", 0), u"");
  EXPECT_EQ(tabCount(u"a\tb\t"), 2u);
}

}  // namespace
}  // namespace lumo::display
