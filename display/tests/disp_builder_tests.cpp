// The display builder: columns and their types and widths, rows keyed by their
// number, showing, re-stacking, the forwarded settings and the cells.
#include <gtest/gtest.h>

#include <memory>

#include "display/disp_builder.h"
#include "host/services.h"
#include "display_test.h"
#include "fake_view.h"

namespace lumo::display::test {
namespace {

class DispBuilderTest : public DisplayTest {
 protected:
  FakeWindowFactory windows;
  DispBuilder b{windows};
  FakeView& view = windows.last().view;
};

TEST_F(DispBuilderTest, CreatingTheBuilderCreatesAndLoadsItsWindow) {
  EXPECT_EQ(windows.made.size(), 1u);
  EXPECT_EQ(view.caption, u"Lumo显示器");
  EXPECT_EQ(b.cols(), 1);
  EXPECT_EQ(view.columnWidths[1], 7640);
  EXPECT_EQ(b.rowCount(), 0);
  EXPECT_EQ(b.colTypes(), (std::vector<int32_t>{3, 3}));
}

TEST_F(DispBuilderTest, ReleasingTheBuilderReleasesItsWindow) {
  auto builder = std::make_unique<DispBuilder>(windows);
  EXPECT_FALSE(windows.made.back().expired());
  builder.reset();
  EXPECT_TRUE(windows.made.back().expired());
}

TEST_F(DispBuilderTest, WithoutAListWindowTheBuilderCannotBeCreated) {
  FakeWindowFactory empty;
  empty.none = true;
  EXPECT_EQ(errorOf([&] { DispBuilder none(empty); }), 429);
}

TEST_F(DispBuilderTest, EachBuilderGetsANewWindowFromItsFactory) {
  DispBuilder other(windows);
  EXPECT_EQ(windows.made.size(), 2u);
  EXPECT_NE(&other.window(), &b.window());
}

// ---- Add ----------------------------------------------------------------------------

TEST_F(DispBuilderTest, TheFirstRowAddedIsKeyedOne) {
  b.add(u"张三\t12");
  EXPECT_EQ(b.rowCount(), 1);
  EXPECT_EQ(b.window().rowSets()->count(), 1u);
  EXPECT_TRUE(b.window().rowSets()->hasKey(u"1"));
  EXPECT_EQ(b.window().rowSets()->item(u"1").toString(), u"张三\t12");
}

TEST_F(DispBuilderTest, EachRowIsKeyedByTheNewCountAndTheListGetsCountPlusOneLines) {
  b.add(u"a");
  b.add(u"b");
  b.add(u"c");
  EXPECT_EQ(b.rowCount(), 3);
  EXPECT_EQ(b.window().list().rowCount(), 4);
  EXPECT_EQ(view.listRows, 4);
  EXPECT_EQ(b.window().rowSets()->item(u"2").toString(), u"b");
  EXPECT_EQ(b.window().rowSets()->item(u"3").toString(), u"c");
  EXPECT_EQ(b.window().lineText(4), u"c|");
}

TEST_F(DispBuilderTest, ATakenKeyFailsAfterTheCountMoved) {
  const ustring one = u"1";
  b.window().rowSets()->add(Variant(u"placed by hand"), &one);
  EXPECT_EQ(errorOf([&] { b.add(u"x"); }), 457);
  EXPECT_EQ(b.rowCount(), 1);
  EXPECT_EQ(b.window().list().rowCount(), 2);
}

// ---- Cols, SetColType, SetColWidth ------------------------------------------------------

TEST_F(DispBuilderTest, ColsSetsTheColumnCountAndWidthsAndResetsTypes) {
  b.setCols(3);
  EXPECT_EQ(b.cols(), 3);
  EXPECT_EQ(view.listColumns, 3);
  for (int32_t c = 1; c <= 3; ++c) {
    EXPECT_EQ(b.window().list().column(c).width, 1600);
    EXPECT_EQ(view.columnWidths[c], 1600);
  }
  EXPECT_EQ(b.colTypes(), (std::vector<int32_t>{3, 3, 3, 3}));
}

TEST_F(DispBuilderTest, ColsAfterSetColTypeResetsEveryColumnToString) {
  b.setCols(3);
  b.setColType(2, coltype::CTInteger);
  b.setColType(3, coltype::CTDouble);
  EXPECT_EQ(b.colTypes(), (std::vector<int32_t>{3, 1, 2, 3}));
  b.setCols(3);
  EXPECT_EQ(b.colTypes(), (std::vector<int32_t>{3, 3, 3, 3}));
}

TEST_F(DispBuilderTest, SetColTypeStoresTheTypeOneEntryBeforeTheColumn) {
  b.setCols(4);
  b.setColType(1, coltype::CTDouble);
  EXPECT_EQ(b.colTypes()[0], coltype::CTDouble);
  b.setColType(4, coltype::CTInteger);
  EXPECT_EQ(b.colTypes()[3], coltype::CTInteger);
  EXPECT_EQ(b.colTypes()[4], coltype::CTString);
}

TEST_F(DispBuilderTest, NumericTypesAlignTheColumnAsNumbers) {
  b.setCols(3);
  b.setColType(1, coltype::CTInteger);
  b.setColType(2, coltype::CTDouble);
  b.setColType(3, coltype::CTString);
  EXPECT_EQ(b.window().list().column(1).alignment, 1);
  EXPECT_EQ(b.window().list().column(2).alignment, 1);
  EXPECT_EQ(b.window().list().column(3).alignment, 0);
  EXPECT_EQ(view.columnAlignments.count(3), 0u);
}

TEST_F(DispBuilderTest, AStringTypeLeavesAnEarlierAlignment) {
  b.setCols(1);
  b.setColType(1, coltype::CTInteger);
  b.setColType(1, coltype::CTString);
  EXPECT_EQ(b.window().list().column(1).alignment, 1);
  EXPECT_EQ(b.colTypes()[0], coltype::CTString);
}

TEST_F(DispBuilderTest, SetColTypeOutsideTheColumnsChangesNothing) {
  b.setCols(2);
  view.clearCalls();
  b.setColType(0, coltype::CTInteger);
  b.setColType(3, coltype::CTInteger);
  b.setColType(-1, coltype::CTDouble);
  EXPECT_EQ(b.colTypes(), (std::vector<int32_t>{3, 3, 3}));
  EXPECT_TRUE(view.calls.empty());
  EXPECT_EQ(b.window().list().column(1).alignment, 0);
  EXPECT_EQ(b.window().list().column(2).alignment, 0);
}

TEST_F(DispBuilderTest, SetColWidthOnlyWithinTheColumns) {
  b.setCols(2);
  b.setColWidth(2, 3000);
  b.setColWidth(3, 3000);
  b.setColWidth(0, 3000);
  EXPECT_EQ(b.window().list().column(2).width, 3000);
  EXPECT_EQ(b.window().list().column(1).width, 1600);
  EXPECT_EQ(view.columnWidths.count(3), 0u);
  EXPECT_EQ(view.columnWidths.count(0), 0u);
}

TEST_F(DispBuilderTest, ANegativeColumnCountIsRefused) {
  EXPECT_EQ(errorOf([&] { b.setCols(-1); }), 5);
  EXPECT_EQ(b.cols(), 1);
}

TEST_F(DispBuilderTest, ColumnTypesFollowColumnsOpenedFromAFile) {
  writeBytes(file("in.ldg"), "A\tB\tC\t\r\n1\t2\t3\r\n");
  view.fileChoices.push_back(FileChoice{false, path("in.ldg")});
  b.window().open();
  b.setColType(3, coltype::CTDouble);
  EXPECT_EQ(b.colTypes()[2], coltype::CTDouble);
  EXPECT_EQ(b.window().list().column(3).alignment, 1);
}

// ---- Show --------------------------------------------------------------------------------

TEST_F(DispBuilderTest, ShowWithNoRowDoesNothing) {
  view.clearCalls();
  b.show(Variant(int32_t(1)), Variant(int32_t(2)));
  b.show();
  EXPECT_TRUE(view.calls.empty());
  EXPECT_EQ(view.shows, 0);
}

TEST_F(DispBuilderTest, ShowSetsTheWindowStateAndShowsModalForModeOne) {
  b.add(u"row");
  b.show(Variant(int32_t(1)), Variant(int32_t(2)));
  EXPECT_EQ(view.windowState, 2);
  EXPECT_EQ(view.shows, 1);
  EXPECT_TRUE(view.shownModal);
  EXPECT_EQ(view.callsStartingWith("setWindowState").size(), 1u);
}

TEST_F(DispBuilderTest, ShowIsModelessUnlessModeIsOne) {
  b.add(u"row");
  b.show();
  EXPECT_EQ(view.windowState, 0);
  EXPECT_FALSE(view.shownModal);
  b.show(Variant(int32_t(0)));
  EXPECT_FALSE(view.shownModal);
  b.show(Variant(int16_t(2)), Variant(int16_t(1)));
  EXPECT_FALSE(view.shownModal);
  EXPECT_EQ(view.windowState, 1);
  b.show(Variant(1.0));
  EXPECT_TRUE(view.shownModal);
}

TEST_F(DispBuilderTest, AWindowStateBeyondSixteenBitsOverflows) {
  b.add(u"row");
  EXPECT_EQ(errorOf([&] { b.show(Variant(int32_t(1)), Variant(int32_t(70000))); }), 6);
  EXPECT_EQ(view.shows, 0);
}

TEST_F(DispBuilderTest, ShowCountsRowsHandedToTheWindowDirectly) {
  auto rows = std::make_shared<Collection>();
  rows->add(Variant(u"direct"));
  b.window().setRowSets(rows);
  b.show();
  EXPECT_EQ(view.shows, 1);
}

// ---- WindowPos ------------------------------------------------------------------------------

TEST_F(DispBuilderTest, WindowPosReStacksWithClampedPositionAndNoSize) {
  view.rect = Rect{-30, 0, 800, 600};
  b.setWindowPos(windowpos::HWND_TOPMOST);
  ASSERT_EQ(fake.windowPosCalls.size(), 1u);
  const lumo::test::WindowPosCall& c = fake.windowPosCalls[0];
  EXPECT_EQ(c.window, view.handle);
  EXPECT_EQ(c.insertAfter, -1);
  EXPECT_EQ(c.x, 0);
  EXPECT_EQ(c.y, 0);
  EXPECT_EQ(c.cx, 800);
  EXPECT_EQ(c.cy, 600);
  EXPECT_EQ(c.flags, 1u);
}

TEST_F(DispBuilderTest, WindowPosKeepsAPositivePosition) {
  view.rect = Rect{120, 45, 640, 480};
  b.setWindowPos(windowpos::HWND_NOTOPMOST);
  b.setWindowPos(windowpos::HWND_BOTTOM);
  ASSERT_EQ(fake.windowPosCalls.size(), 2u);
  EXPECT_EQ(fake.windowPosCalls[0].insertAfter, -2);
  EXPECT_EQ(fake.windowPosCalls[0].x, 120);
  EXPECT_EQ(fake.windowPosCalls[0].y, 45);
  EXPECT_EQ(fake.windowPosCalls[1].insertAfter, 1);
}

// ---- forwarded settings -----------------------------------------------------------------------

TEST_F(DispBuilderTest, SettingsAreForwardedToTheWindow) {
  b.setTitles(u"姓名\t手机|");
  b.setPromptContent(u"内容");
  b.setPromptTitle(u"标题");
  b.setNeedDisplay(2);
  b.setDisplayStyle(msgbox::vbYesNo);
  DisplayerPresenter& w = b.window();
  EXPECT_EQ(w.titles(), u"姓名\t手机|");
  EXPECT_EQ(w.promptContent(), u"内容");
  EXPECT_EQ(w.promptTitle(), u"标题");
  EXPECT_EQ(w.needDisplay(), 2);
  EXPECT_EQ(w.displayStyle(), 4);
  EXPECT_EQ(b.titles(), u"姓名\t手机|");
  EXPECT_EQ(b.needDisplay(), 2);
  EXPECT_EQ(w.lineText(1), u"姓名\t手机|");
}

TEST_F(DispBuilderTest, PromptResultIsReadFromTheWindowAfterItCloses) {
  b.add(u"row");
  b.setNeedDisplay(1);
  b.setDisplayStyle(msgbox::vbYesNo);
  b.setPromptContent(u"是否继续？");
  fake.answers.push_back(msgbox::vbYes);
  b.show(Variant(int32_t(1)));
  view.closeWindow();  // the user closes the window
  EXPECT_EQ(b.promptResult(), msgbox::vbYes);
  EXPECT_EQ(b.needDisplay(), 0);
  EXPECT_EQ(b.displayStyle(), 0);
}

// ---- Caption ---------------------------------------------------------------------------------

TEST_F(DispBuilderTest, CaptionSetsCaptionAndBaseCaptionAndRewritesTheExitToolTip) {
  view.clearCalls();
  b.setCaption(u"手机号码保存结果");
  EXPECT_EQ(b.caption(), u"手机号码保存结果");
  EXPECT_EQ(view.caption, u"手机号码保存结果");
  EXPECT_EQ(b.window().baseCaption(), u"手机号码保存结果");
  EXPECT_EQ(view.calls, (std::vector<std::string>{"setCaption(手机号码保存结果)", "setToolButtonToolTip(Exit, 退出)"}));
}

TEST_F(DispBuilderTest, ASavedFileIsNamedAfterTheBuildersCaption) {
  b.setCaption(u"结果");
  b.add(u"x");
  view.fileChoices.push_back(FileChoice{false, path("r.ldg")});
  b.window().save();
  EXPECT_EQ(b.caption(), u"结果 - " + path("r.ldg"));
}

// ---- the inert members, Row and the cells -------------------------------------------------------

TEST_F(DispBuilderTest, ColAndTextAreInert) {
  b.setCol(5);
  EXPECT_EQ(b.col(), 0);
  view.clearCalls();
  b.setText(u"ignored");
  EXPECT_EQ(b.text(), u"");
  EXPECT_TRUE(view.calls.empty());
}

TEST_F(DispBuilderTest, RowIsTheListsCurrentRow) {
  b.add(u"a");
  b.add(u"b");
  b.setRow(2);
  EXPECT_EQ(b.row(), 2);
  EXPECT_EQ(view.listCurrentRow, 2);
  b.setRow(7);
  EXPECT_EQ(b.row(), 2);
}

TEST_F(DispBuilderTest, GetTextReadsCellsWithRowZeroTheHeader) {
  b.setCols(2);
  b.setTitles(u"姓名\t手机|");
  b.add(u"张三\t13800000000");
  EXPECT_EQ(b.getText(0, 1), u"姓名");
  EXPECT_EQ(b.getText(0, 2), u"手机");
  EXPECT_EQ(b.getText(1, 2), u"13800000000");
}

TEST_F(DispBuilderTest, CellsOutsideTheListReadEmptyAndAreNotWritten) {
  b.setCols(2);
  b.add(u"a\tb");
  EXPECT_EQ(b.getText(2, 1), u"");
  EXPECT_EQ(b.getText(1, 3), u"");
  EXPECT_EQ(b.getText(-1, 1), u"");
  EXPECT_EQ(b.getText(1, 0), u"");
  EXPECT_EQ(b.setText(2, 1, u"x"), u"");
  EXPECT_EQ(b.setText(1, 3, u"x"), u"");
  b.setCols(3);
  b.add(u"c\td\te");
  EXPECT_EQ(b.getText(1, 3), u"");
  EXPECT_EQ(b.getText(2, 1), u"c");
}

TEST_F(DispBuilderTest, SetTextWritesACellAndReturnsNothing) {
  b.setCols(2);
  b.add(u"a\tb");
  EXPECT_EQ(b.setText(1, 2, u"新值"), u"");
  EXPECT_EQ(b.getText(1, 2), u"新值");
  EXPECT_EQ(b.setText(0, 1, u"标题"), u"");
  EXPECT_EQ(b.getText(0, 1), u"标题");
  EXPECT_EQ(view.headerTexts[1], u"标题");
}

}  // namespace
}  // namespace lumo::display::test
