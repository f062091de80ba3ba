// The list window as people use it every day: sorting on a column head, widths
// the user dragged, the row counts, selecting and copying, finding, the
// keyboard's commands and what a save could not write.
#include <gtest/gtest.h>

#include <memory>

#include "display/disp_builder.h"
#include "display/ledger.h"
#include "display_test.h"
#include "fake_view.h"

namespace lumo::display::test {
namespace {

using lumo::test::u8;

class ListOrderTest : public DisplayTest {
 protected:
  FakeWindowFactory windows;
  DispBuilder b{windows};
  FakeView& view = windows.last().view;
  DisplayerPresenter& d = b.window();

  // Name, amount (a number column) and note, as a caller fills them.
  void fill() {
    b.setTitles(u"姓名\t金额\t备注|");
    b.setCols(3);
    b.setColType(2, 2);
    for (const char16_t* row : {u"张三\t1,200.5\t甲", u"李四\t-3\t", u"王五\t\t乙", u"赵六\t75\t甲", u"孙七\tn/a\t丙",
                                u"周八\t75.0\t乙"})
      b.add(row);
  }
  std::vector<ustring> column(int32_t c) const {
    std::vector<ustring> out;
    for (int32_t r = 1; r <= b.rowCount(); ++r) out.push_back(b.getText(r, c));
    return out;
  }
  std::vector<ustring> lines() const {
    std::vector<ustring> out;
    for (int32_t r = 2; r <= d.list().rowCount(); ++r) out.push_back(d.lineText(r));
    return out;
  }
};

// ---- sorting ---------------------------------------------------------------------------

TEST_F(ListOrderTest, AClickOnANumberColumnSortsByValueWithTextAfterAndEmptyLast) {
  fill();
  d.columnClicked(2);
  EXPECT_EQ(d.sortColumn(), 2);
  EXPECT_FALSE(d.sortDescending());
  EXPECT_EQ(column(2), (std::vector<ustring>{u"-3", u"75", u"75.0", u"1,200.5", u"n/a", u""}));
  EXPECT_EQ(column(1), (std::vector<ustring>{u"李四", u"赵六", u"周八", u"张三", u"孙七", u"王五"}));
}

TEST_F(ListOrderTest, ASecondClickReversesAndEmptyCellsStayLast) {
  fill();
  d.columnClicked(2);
  d.columnClicked(2);
  EXPECT_TRUE(d.sortDescending());
  // The two 75s compare equal and keep the order they had.
  EXPECT_EQ(column(1), (std::vector<ustring>{u"孙七", u"张三", u"赵六", u"周八", u"李四", u"王五"}));
  d.columnClicked(2);
  EXPECT_FALSE(d.sortDescending());
  EXPECT_EQ(column(1), (std::vector<ustring>{u"李四", u"赵六", u"周八", u"张三", u"孙七", u"王五"}));
}

TEST_F(ListOrderTest, AnotherColumnStartsAscendingAndTextColumnsUseTheCollation) {
  fill();
  d.columnClicked(2);
  d.columnClicked(2);
  d.columnClicked(3);
  EXPECT_EQ(d.sortColumn(), 3);
  EXPECT_FALSE(d.sortDescending());
  // Code-unit order: 丙 U+4E19 < 乙 U+4E59 < 甲 U+7532; the empty note last.
  EXPECT_EQ(column(3), (std::vector<ustring>{u"丙", u"乙", u"乙", u"甲", u"甲", u""}));
  // A collation of the view's choosing decides instead.
  class Backwards final : public ui::Collation {
   public:
    int compare(ustring_view a, ustring_view b) const override { return b.compare(a); }
  } backwards;
  view.collationInUse = &backwards;
  d.columnClicked(1);
  EXPECT_EQ(column(1), (std::vector<ustring>{u"赵六", u"王五", u"李四", u"张三", u"孙七", u"周八"}));
}

TEST_F(ListOrderTest, TheRowCollectionTakesTheOrderAndEveryEntryKeepsItsKey) {
  fill();
  const auto rows = d.rowSets();
  d.columnClicked(1);  // 周八 孙七 张三 李四 王五 赵六 in code-unit order
  EXPECT_EQ(d.rowSets(), rows) << "the caller's collection itself, not a copy";
  EXPECT_EQ(rows->item(1).toString(), u"周八\t75.0\t乙");
  EXPECT_EQ(rows->item(u"6").toString(), u"周八\t75.0\t乙") << "keyed as it was added";
  EXPECT_EQ(rows->item(2).toString(), u"孙七\tn/a\t丙");
  EXPECT_EQ(rows->item(u"1").toString(), u"张三\t1,200.5\t甲");
  // Line r shows entry r - 1.
  const std::vector<ustring> shown = lines();
  for (std::size_t k = 1; k <= rows->count(); ++k) EXPECT_EQ(shown[k - 1], rows->item(k).toString() + u"|");
}

TEST_F(ListOrderTest, AddAfterASortAppendsAtTheEndUnderTheNextKey) {
  fill();
  d.columnClicked(2);
  b.add(u"吴九\t1\t丁");
  EXPECT_EQ(b.rowCount(), 7);
  EXPECT_EQ(b.getText(7, 1), u"吴九");
  EXPECT_EQ(d.rowSets()->item(u"7").toString(), u"吴九\t1\t丁");
  EXPECT_EQ(b.getText(1, 1), u"李四") << "the sorted rows stay where they are";
  d.activated();
  EXPECT_EQ(b.getText(1, 1), u"李四") << "the refresh at an activation keeps the order";
}

TEST_F(ListOrderTest, GetTextSetTextAndRowSeeTheOrderShown) {
  fill();
  b.setRow(4);  // 赵六
  b.setText(5, 3, u"改过");  // 孙七's note
  d.columnClicked(2);
  EXPECT_EQ(b.getText(2, 1), u"赵六");
  EXPECT_EQ(b.row(), 2) << "the current row follows its row";
  EXPECT_EQ(view.listCurrentRow, 2);
  EXPECT_EQ(b.getText(5, 1), u"孙七");
  EXPECT_EQ(b.getText(5, 3), u"改过") << "a written cell moves with its row";
  b.setText(1, 1, u"第一");
  EXPECT_EQ(b.getText(1, 1), u"第一");
  EXPECT_EQ(b.getText(1, 2), u"-3");
}

TEST_F(ListOrderTest, WrittenCellsTakePartInTheSort) {
  fill();
  b.setText(6, 2, u"-100");  // 周八
  d.columnClicked(2);
  EXPECT_EQ(b.getText(1, 1), u"周八");
}

TEST_F(ListOrderTest, SaveWritesTheRowsInTheOrderShown) {
  fill();
  d.columnClicked(2);
  view.fileChoices.push_back(FileChoice{false, path("sorted.ldg")});
  d.save();
  const std::string bytes = readBytes(file("sorted.ldg"));
  const std::size_t first = bytes.find("\r\n") + 2;
  EXPECT_EQ(bytes.substr(first, bytes.find("\r\n", first) - first), ansi(u"李四\t-3\t"));
  EXPECT_EQ(bytes.substr(bytes.size() - ansi(u"王五\t\t乙\r\n").size()), ansi(u"王五\t\t乙\r\n"));
}

TEST_F(ListOrderTest, RowsWithoutEntriesAndEntriesNotShownStayInPlace) {
  fill();
  b.setRow(0);
  d.setRowCount(5);  // entries 5 and 6 are not shown
  d.columnClicked(1);
  d.columnClicked(1);
  EXPECT_EQ(column(1), (std::vector<ustring>{u"赵六", u"王五", u"李四", u"张三", u"", u""}));
  EXPECT_EQ(d.rowSets()->item(5).toString(), u"孙七\tn/a\t丙");
  EXPECT_EQ(d.rowSets()->item(6).toString(), u"周八\t75.0\t乙");
  d.setRowCount(9);  // rows 7 and 8 have no entry
  d.setCellText(8, 1, u"啊");
  d.columnClicked(1);
  EXPECT_EQ(b.getText(8, 1), u"啊");
  EXPECT_EQ(b.getText(7, 1), u"");
}

TEST_F(ListOrderTest, RowsWithFewerCellsSortTheirMissingCellsAsEmpty) {
  b.setTitles(u"a\tb|");
  b.setCols(2);
  b.add(u"x");
  b.add(u"y\t2");
  b.add(u"z\t1");
  d.columnClicked(2);
  EXPECT_EQ(b.getText(1, 1), u"z");
  EXPECT_EQ(b.getText(3, 1), u"x");
  d.columnClicked(2);
  EXPECT_EQ(b.getText(1, 1), u"y");
  EXPECT_EQ(b.getText(3, 1), u"x");
}

TEST_F(ListOrderTest, AColumnOutsideTheListSortsNothing) {
  fill();
  view.clearCalls();
  d.columnClicked(0);
  d.columnClicked(4);
  EXPECT_EQ(d.sortColumn(), 0);
  EXPECT_TRUE(view.calls.empty());
  EXPECT_EQ(b.getText(1, 1), u"张三");
}

TEST_F(ListOrderTest, ASortRedrawsAndSelectsOnlyTheCurrentRow) {
  fill();
  b.setRow(3);  // 王五, fifth once sorted on the names
  view.selection = {{1, 4}};
  view.clearCalls();
  d.columnClicked(1);
  EXPECT_EQ(view.calls, (std::vector<std::string>{"setListCurrentRow(5)", "refreshList()"}));
  EXPECT_EQ(view.selection, (std::vector<ui::RowRange>{{5, 5}}));
}

TEST_F(ListOrderTest, OpeningAFileForgetsTheSort) {
  fill();
  d.columnClicked(1);
  writeBytes(file("in.ldg"), ansi(u"甲(字符)\t\r\n一\r\n"));
  view.fileChoices.push_back(FileChoice{false, path("in.ldg")});
  d.open();
  EXPECT_EQ(d.sortColumn(), 0);
}

// ---- widths --------------------------------------------------------------------------------

TEST_F(ListOrderTest, ADraggedWidthStaysThroughTheRefreshes) {
  fill();
  view.clearCalls();
  d.columnResized(2, 3000);
  EXPECT_EQ(d.list().column(2).width, 3000);
  EXPECT_TRUE(view.callsStartingWith("setListColumnWidth").empty()) << "the list has it already";
  d.activated();
  d.activated();
  EXPECT_EQ(d.list().column(2).width, 3000);
  d.columnResized(9, 100);
  d.columnResized(1, -5);
  EXPECT_EQ(d.list().column(1).width, 1600);
}

// ---- the rows panel ---------------------------------------------------------------------------

TEST_F(ListOrderTest, TheRowsPanelCountsRowsAndMoreThanOneSelectedRow) {
  fill();
  d.activated();
  EXPECT_EQ(view.statusPanels[kStatusPanelRows], u"共 6 行");
  d.selectionChanged(1);
  EXPECT_EQ(view.statusPanels[kStatusPanelRows], u"共 6 行");
  d.selectionChanged(4);
  EXPECT_EQ(view.statusPanels[kStatusPanelRows], u"共 6 行  已选 4 行");
  EXPECT_EQ(d.rowsText(), u"共 6 行  已选 4 行");
  EXPECT_TRUE(view.statusHistory.empty()) << "the Wait panel is left alone";
}

// ---- selecting and copying ---------------------------------------------------------------------

TEST_F(ListOrderTest, CtrlAThenCtrlCPutsTheHeaderAndEveryRowOnTheClipboard) {
  fill();
  d.keyDown('A', true);
  d.keyDown('C', true);
  EXPECT_EQ(view.clipboard, u"姓名\t金额\t备注\r\n张三\t1,200.5\t甲\r\n李四\t-3\t\r\n王五\t\t乙\r\n赵六\t75\t甲\r\n孙七\tn/a\t丙\r\n"
                            u"周八\t75.0\t乙\r\n");
}

TEST_F(ListOrderTest, TheCopyHoldsTheSelectedRowsInTheOrderShown) {
  fill();
  d.columnClicked(2);
  view.selection = {{1, 1}, {4, 4}};
  d.listCommand(ListCommand::Copy);
  EXPECT_EQ(view.clipboard, u"姓名\t金额\t备注\r\n李四\t-3\t\r\n张三\t1,200.5\t甲\r\n");
}

TEST_F(ListOrderTest, WithoutASelectionNothingIsCopied) {
  fill();
  view.clipboard = u"before";
  d.copy();
  EXPECT_EQ(view.clipboard, u"before");
  EXPECT_EQ(view.count("setClipboardText()"), 0u);
}

TEST_F(ListOrderTest, ABusyClipboardIsSaidInTheRowsPanelAndTheSelectionStays) {
  fill();
  d.listCommand(ListCommand::SelectAll);
  view.clipboardBusy = true;
  view.clipboard = u"another program's";
  d.keyDown('C', true);
  EXPECT_EQ(view.clipboard, u"another program's");
  EXPECT_EQ(view.statusPanels[kStatusPanelRows], u"剪贴板正被其他程序使用，未能复制，请稍后再试");
  EXPECT_EQ(view.selection, (std::vector<ui::RowRange>{{1, 6}}));
  view.clipboardBusy = false;
  d.keyDown('C', true);
  EXPECT_TRUE(view.clipboard.starts_with(u"姓名"));
}

TEST_F(ListOrderTest, TheContextMenuHasCopyAndSelectAll) {
  EXPECT_EQ(d.listCommandText(ListCommand::Copy), u"复制");
  EXPECT_EQ(d.listCommandText(ListCommand::SelectAll), u"全选");
}

// ---- finding ------------------------------------------------------------------------------------

TEST_F(ListOrderTest, CtrlFOpensTheFindDialogWithTheLastSearch) {
  fill();
  d.keyDown('F', true);
  EXPECT_EQ(view.findDialogs, 1);
  EXPECT_TRUE(view.findDialogStart.text.empty());
  d.find({u"乙", true, false});
  d.keyDown('F', true);
  EXPECT_EQ(view.findDialogStart.text, u"乙");
  EXPECT_TRUE(view.findDialogStart.matchCase);
  EXPECT_FALSE(view.findDialogStart.down);
}

TEST_F(ListOrderTest, FindSelectsTheNextMatchingRowAndF3GoesOnWithWrap) {
  fill();
  d.find({u"甲", false, true});
  EXPECT_EQ(b.row(), 1);
  EXPECT_EQ(view.listCurrentRow, 1);
  d.keyDown(kKeyF3);
  EXPECT_EQ(b.row(), 4);
  d.keyDown(kKeyF3);
  EXPECT_EQ(b.row(), 1) << "wrapped";
  d.keyDown(kKeyF3, false, true);
  EXPECT_EQ(b.row(), 4) << "Shift+F3 goes up, wrapping too";
  EXPECT_TRUE(d.lastFind().down) << "the dialog keeps its own direction";
}

TEST_F(ListOrderTest, NotFoundIsSaidInTheRowsPanelWithoutAMessageBox) {
  fill();
  b.setRow(2);
  d.find({u"钱", false, true});
  EXPECT_EQ(b.row(), 2);
  EXPECT_EQ(view.statusPanels[kStatusPanelRows], u"找不到“钱”");
  EXPECT_TRUE(fake.messageBoxes.empty());
}

TEST_F(ListOrderTest, F3BeforeAnySearchOpensTheFindDialog) {
  fill();
  d.keyDown(kKeyF3);
  EXPECT_EQ(view.findDialogs, 1);
  EXPECT_EQ(b.row(), 0);
}

TEST_F(ListOrderTest, FindSearchesTheOrderShown) {
  fill();
  d.columnClicked(2);  // 李四 赵六 周八 张三 孙七 王五
  d.find({u"甲", false, true});
  EXPECT_EQ(b.getText(b.row(), 1), u"赵六");
}

// ---- the keyboard ----------------------------------------------------------------------------------

TEST_F(ListOrderTest, CtrlOSAndPOpenSaveAndPrint) {
  fill();
  d.keyDown('O', true);
  d.keyDown('S', true);
  d.keyDown('P', true);
  ASSERT_EQ(view.fileDialogs.size(), 2u);
  EXPECT_EQ(view.fileDialogs[0].kind, FileDialogKind::Open);
  EXPECT_EQ(view.fileDialogs[1].kind, FileDialogKind::Save);
  EXPECT_EQ(view.fileDialogs[1].filter, kLedgerFilter);
  EXPECT_EQ(view.prints, 1);
}

TEST_F(ListOrderTest, TheLettersWithoutCtrlDoNothing) {
  fill();
  view.clearCalls();
  for (int32_t key : {'O', 'S', 'P', 'A', 'C', 'F'}) d.keyDown(key);
  EXPECT_TRUE(view.calls.empty());
}

// ---- what a save could not write ---------------------------------------------------------------------

TEST_F(ListOrderTest, ASaveSaysHowManyCharactersTheCodePageCouldNotHold) {
  b.setTitles(u"名?|");
  b.setCols(1);
  b.add(u"ก and ข");  // two Thai letters: the test code page has no place for them
  b.add(u"ok?");
  view.fileChoices.push_back(FileChoice{false, path("thai.ldg")});
  d.save();
  EXPECT_EQ(view.statusPanels[kStatusPanelRows], u"2 个字符不能按本机编码保存，已写作“?”");
  EXPECT_EQ(view.statusHistory, (std::vector<ustring>{u"保存 ...", u"保存完毕"}));
  EXPECT_TRUE(fake.messageBoxes.empty());
}

TEST_F(ListOrderTest, ASaveThatCouldWriteEverythingLeavesTheRowsPanel) {
  fill();
  d.activated();
  view.fileChoices.push_back(FileChoice{false, path("fine.ldg")});
  d.save();
  EXPECT_EQ(view.statusPanels[kStatusPanelRows], u"共 6 行");
}

}  // namespace
}  // namespace lumo::display::test
