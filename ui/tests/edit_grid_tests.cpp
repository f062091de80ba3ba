#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "automation/error.h"
#include "ui/edit_grid.h"

namespace lumo::ui {
namespace {

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
    g.setRows(4);
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

TEST_F(Grid, ResizingKeepsWhatRemains) {
  g.setText(2, 3, u"x");
  g.setLocked(2, 3, true);
  g.setRows(10);
  g.setCols(4);
  EXPECT_EQ(g.text(2, 3), u"x");
  EXPECT_TRUE(g.locked(2, 3));
  EXPECT_EQ(g.text(10, 4), u"");
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
  g.setRows(2);
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
