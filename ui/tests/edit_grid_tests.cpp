#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "automation/error.h"
#include "ui/edit_grid.h"

namespace lumo::ui {
namespace {

// Columns of n empty texts, each styled as given.
std::vector<EditGrid::ColumnFill> blank(int32_t cols, int32_t rows, EditGrid::CellStyle style = {}) {
  std::vector<EditGrid::ColumnFill> out(static_cast<std::size_t>(cols));
  for (auto& c : out) {
    c.texts.assign(static_cast<std::size_t>(rows), ustring());
    c.style = style;
  }
  return out;
}

struct Recorder : GridObserver {
  int resets = 0, moves = 0, edits = 0;
  std::vector<std::pair<int32_t, int32_t>> cells;
  void gridReset() override { ++resets; }
  void cellChanged(int32_t r, int32_t c) override { cells.emplace_back(r, c); }
  void activeMoved() override { ++moves; }
  void editChanged() override { ++edits; }
};

class Grid : public ::testing::Test {
 protected:
  Grid() {
    g.setObserver(&seen);
    g.setCols(3);
    g.fill(blank(3, 4));
    g.setChangeHandler([this](int32_t r, int32_t c) { changes.emplace_back(r, c); });
    g.setClickHandler([this](int32_t r, int32_t c) { clicks.emplace_back(r, c); });
  }
  EditGrid g;
  Recorder seen;
  std::vector<std::pair<int32_t, int32_t>> changes, clicks;
};

TEST_F(Grid, NewCellsAreEmptyUnlockedWhiteWithBlackText) {
  EXPECT_EQ(g.rows(), 4);
  EXPECT_EQ(g.cols(), 3);
  EXPECT_EQ(g.text(2, 2), u"");
  EXPECT_FALSE(g.locked(2, 2));
  EXPECT_EQ(g.backColor(2, 2), kWhite);
  EXPECT_EQ(g.foreColor(2, 2), kBlack);
  EXPECT_EQ(g.activeRow(), 1);
  EXPECT_EQ(g.activeCol(), 1);
}

TEST_F(Grid, ColoursAreWrittenAsTheSystemDoes) {
  EXPECT_EQ(rgb(217, 217, 210), 0xD2D9D9u);
  EXPECT_EQ(rgb(241, 241, 241), 0xF1F1F1u);
}

TEST_F(Grid, CellsOutsideTheGridRaiseFive) {
  EXPECT_THROW(g.text(5, 1), Error);
  EXPECT_THROW(g.setText(1, 4, u"x"), Error);
  EXPECT_THROW(g.setLocked(-1, 1, true), Error);
  g.setText(0, 1, u"用户");  // the header row
  EXPECT_EQ(g.text(0, 1), u"用户");
}

TEST_F(Grid, AddingColumnsKeepsWhatRemains) {
  g.setText(2, 3, u"x");
  g.setLocked(2, 3, true);
  g.setCols(4);
  EXPECT_EQ(g.text(2, 3), u"x");
  EXPECT_TRUE(g.locked(2, 3));
  EXPECT_EQ(g.text(4, 4), u"");
  EXPECT_FALSE(g.locked(4, 4));
  g.setCols(2);
  EXPECT_THROW(g.text(2, 3), Error);
}

TEST_F(Grid, AFillReplacesEveryRowAndKeepsTheHeader) {
  g.setText(0, 2, u"职员");
  g.setText(3, 2, u"old");
  auto columns = blank(3, 6);
  columns[1].texts = {u"a", u"b", u"c", u"d", u"e", u"f"};
  g.fill(std::move(columns));
  EXPECT_EQ(g.rows(), 6);
  EXPECT_EQ(g.text(0, 2), u"职员");
  EXPECT_EQ(g.text(1, 2), u"a");
  EXPECT_EQ(g.text(3, 2), u"c");
  EXPECT_EQ(g.text(6, 2), u"f");
  EXPECT_EQ(g.text(6, 3), u"");
  EXPECT_THROW(g.text(7, 1), Error);
}

TEST_F(Grid, AFillStylesEveryCellAsItsColumnAndClearsMarks) {
  g.setMark(2, 1, true, u"tip");
  g.setForeColor(2, 3, rgb(200, 0, 0));
  g.setMark(0, 1, true, u"header");
  auto columns = blank(3, 3);
  columns[0].style = {true, rgb(217, 217, 210), kBlack};
  columns[2].style = {false, kWhite, rgb(0, 0, 255)};
  g.fill(std::move(columns));
  for (int32_t r = 1; r <= 3; ++r) {
    EXPECT_TRUE(g.locked(r, 1));
    EXPECT_EQ(g.backColor(r, 1), rgb(217, 217, 210));
    EXPECT_FALSE(g.marked(r, 1));
    EXPECT_EQ(g.toolTip(r, 1), u"");
    EXPECT_FALSE(g.locked(r, 2));
    EXPECT_EQ(g.backColor(r, 2), kWhite);
    EXPECT_EQ(g.foreColor(r, 3), rgb(0, 0, 255));
  }
  EXPECT_FALSE(g.locked(0, 1));  // the header keeps its own state
  EXPECT_EQ(g.toolTip(0, 1), u"header");
}

TEST_F(Grid, ACellSetAfterAFillStandsOutFromItsColumn) {
  g.fill(blank(3, 3, {true, rgb(1, 2, 3), kBlack}));
  g.setLocked(2, 2, false);
  g.setBackColor(2, 2, kWhite);
  EXPECT_FALSE(g.locked(2, 2));
  EXPECT_EQ(g.backColor(2, 2), kWhite);
  EXPECT_TRUE(g.locked(1, 2));
  EXPECT_TRUE(g.locked(3, 2));
  EXPECT_EQ(g.backColor(3, 2), rgb(1, 2, 3));
}

TEST_F(Grid, AFillOfAnotherShapeRaisesFiveAndChangesNothing) {
  g.setText(1, 1, u"keep");
  EXPECT_THROW(g.fill(blank(2, 4)), Error);
  auto ragged = blank(3, 4);
  ragged[2].texts.pop_back();
  EXPECT_THROW(g.fill(std::move(ragged)), Error);
  EXPECT_EQ(g.rows(), 4);
  EXPECT_EQ(g.text(1, 1), u"keep");
}

TEST_F(Grid, AFillEndsAnEditAndDrawsOnceWithoutCellEvents) {
  g.beginEdit(u"9");
  const int resets = seen.resets;
  g.fill(blank(3, 1000));
  EXPECT_FALSE(g.editing());
  EXPECT_TRUE(changes.empty());
  EXPECT_TRUE(seen.cells.empty());
  EXPECT_EQ(seen.resets, resets + 1);
  g.setRedraw(false);
  g.fill(blank(3, 10));
  EXPECT_EQ(seen.resets, resets + 1);
}

TEST_F(Grid, AFillKeepsTheActiveCellInsideTheRows) {
  g.setActive(4, 3);
  g.fill(blank(3, 2));
  EXPECT_EQ(g.activeRow(), 2);
  EXPECT_EQ(g.activeCol(), 3);
  g.fill(blank(3, 0));
  EXPECT_EQ(g.rows(), 0);
  EXPECT_EQ(g.activeRow(), 0);
  g.fill(blank(3, 5));
  EXPECT_EQ(g.activeRow(), 1);
}

TEST_F(Grid, ALockedCellIsNotEdited) {
  g.setLocked(1, 1, true);
  EXPECT_FALSE(g.beginEdit());
  EXPECT_FALSE(g.editing());
  g.setActive(1, 2);
  EXPECT_TRUE(g.beginEdit());
  EXPECT_EQ(g.editRow(), 1);
  EXPECT_EQ(g.editCol(), 2);
}

TEST_F(Grid, EnterCommitsAChangeAndRaisesTheEventOnce) {
  g.setActive(2, 3);
  g.setText(2, 3, u"139");
  ASSERT_TRUE(g.beginEdit());
  EXPECT_EQ(g.editText(), u"139");
  g.setEditText(u"1390");
  EXPECT_EQ(g.text(2, 3), u"139");  // held apart until committed
  EXPECT_TRUE(g.commitEdit());
  EXPECT_EQ(g.text(2, 3), u"1390");
  EXPECT_EQ(changes, (std::vector<std::pair<int32_t, int32_t>>{{2, 3}}));
  EXPECT_FALSE(g.editing());
}

TEST_F(Grid, CommittingTheSameTextIsNoChange) {
  g.setText(1, 1, u"a");
  g.beginEdit();
  EXPECT_FALSE(g.commitEdit());
  EXPECT_TRUE(changes.empty());
}

TEST_F(Grid, EscCancelsTheEdit) {
  g.setText(1, 1, u"a");
  g.beginEdit(u"z");
  EXPECT_EQ(g.editText(), u"z");
  g.cancelEdit();
  EXPECT_EQ(g.text(1, 1), u"a");
  EXPECT_TRUE(changes.empty());
}

TEST_F(Grid, MovingAwayCommits) {
  g.beginEdit(u"5");
  g.moveActive(1, 0);
  EXPECT_EQ(g.text(1, 1), u"5");
  EXPECT_EQ(changes.size(), 1u);
  EXPECT_EQ(g.activeRow(), 2);
}

TEST_F(Grid, EditsAreCutToTheColumnsMaximumLength) {
  g.setMaxLength(1, 4);
  g.beginEdit(u"123456");
  EXPECT_EQ(g.editText(), u"1234");
  g.setEditText(ustring(5000, u'9'));
  EXPECT_EQ(g.editText(), u"9999");
  g.commitEdit();
  EXPECT_EQ(g.text(1, 1), u"9999");
  g.setText(1, 1, u"123456789");  // the program may write more
  EXPECT_EQ(g.text(1, 1), u"123456789");
}

TEST_F(Grid, TheActiveCellStaysInsideTheGrid) {
  g.moveActive(-5, -5);
  EXPECT_EQ(g.activeRow(), 1);
  EXPECT_EQ(g.activeCol(), 1);
  g.moveActive(100, 100);
  EXPECT_EQ(g.activeRow(), 4);
  EXPECT_EQ(g.activeCol(), 3);
  g.fill(blank(3, 2));
  EXPECT_EQ(g.activeRow(), 2);
}

TEST_F(Grid, AClickMovesThereAndRaisesTheEventEvenOnALockedCell) {
  g.setLocked(3, 2, true);
  g.click(3, 2);
  EXPECT_EQ(clicks, (std::vector<std::pair<int32_t, int32_t>>{{3, 2}}));
  EXPECT_EQ(g.activeRow(), 3);
  g.click(0, 1);  // the header
  g.click(9, 1);
  EXPECT_EQ(clicks.size(), 1u);
}

TEST_F(Grid, WithRedrawOffNoCellIsReportedAndTurningItOnDrawsOnce) {
  g.setRedraw(false);
  for (int32_t r = 1; r <= 4; ++r) g.setText(r, 1, u"x");
  EXPECT_TRUE(seen.cells.empty());
  const int before = seen.resets;
  g.setRedraw(true);
  EXPECT_EQ(seen.resets, before + 1);
  g.setBackColor(1, 1, rgb(1, 2, 3));
  EXPECT_EQ(seen.cells.back(), std::make_pair(1, 1));
}

TEST_F(Grid, LockingTheEditedCellEndsTheEditWithoutChange) {
  g.beginEdit(u"9");
  g.setLocked(1, 1, true);
  EXPECT_FALSE(g.editing());
  EXPECT_EQ(g.text(1, 1), u"");
}

TEST_F(Grid, MarksCarryATip) {
  g.setMark(2, 2, true, u"也在 王芳");
  EXPECT_TRUE(g.marked(2, 2));
  EXPECT_EQ(g.toolTip(2, 2), u"也在 王芳");
  g.setMark(2, 2, false);
  EXPECT_FALSE(g.marked(2, 2));
}

}  // namespace
}  // namespace lumo::ui
