#include <gtest/gtest.h>

#include <set>

#include "ui/page_bands.h"

using namespace lumo::ui;

namespace {

// Lines of a fixed height; bold text one unit taller.
class FixedLines final : public TextMeasure {
 public:
  explicit FixedLines(int32_t height) : height_(height) {}
  int32_t lineHeight(bool bold) const override {
    ++asked;
    return bold ? height_ + 1 : height_;
  }
  mutable int asked = 0;

 private:
  int32_t height_;
};

// 1440 twips are one inch: at 100 units per inch a column of 1440 twips is 100 units wide.
constexpr int32_t kInch = 1440;
// 1000 x 1400 units, margins 50: 900 wide, 1300 high inside.
const PageFrame kPage{.width = 1000, .height = 1400, .margin = 50, .dpi = 100};

std::vector<int32_t> columnsOf(const std::vector<PlacedColumn>& band) {
  std::vector<int32_t> out;
  for (const PlacedColumn& c : band) out.push_back(c.column);
  return out;
}

TEST(PagePlan, RowsPerPageComeFromTheMeasuredLine) {
  const FixedLines measure(14);
  // Line: 15 (bold) + 6 padding = 21; title 2 lines, header and footer: 4 lines.
  const std::vector<int32_t> widths{kInch, kInch};
  const PagePlan plan(widths, 500, kPage, measure);
  EXPECT_GT(measure.asked, 0);
  EXPECT_EQ(plan.lineHeight(), 21);
  EXPECT_EQ(plan.rowsPerPage(), (1300 - 4 * 21) / 21);
  EXPECT_EQ(plan.blockCount(), (500 + plan.rowsPerPage() - 1) / plan.rowsPerPage());
  EXPECT_EQ(plan.bandCount(), 1);
  EXPECT_EQ(plan.pageCount(), plan.blockCount());
}

TEST(PagePlan, TwelveColumnsBreakIntoBandsThatEachStartWithTheFirstColumn) {
  // Twelve columns of 2 inches (200 units) on 900 units: the first band holds
  // columns 1-4 (800), each further band column 1 and three more (800).
  const std::vector<int32_t> widths(12, 2 * kInch);
  const FixedLines measure(14);
  const PagePlan plan(widths, 100, kPage, measure);
  ASSERT_TRUE(plan.repeatsFirstColumn());
  ASSERT_EQ(plan.bandCount(), 4);
  EXPECT_EQ(columnsOf(plan.band(0)), (std::vector<int32_t>{1, 2, 3, 4}));
  EXPECT_EQ(columnsOf(plan.band(1)), (std::vector<int32_t>{1, 5, 6, 7}));
  EXPECT_EQ(columnsOf(plan.band(2)), (std::vector<int32_t>{1, 8, 9, 10}));
  EXPECT_EQ(columnsOf(plan.band(3)), (std::vector<int32_t>{1, 11, 12}));
  // Every column is printed, once but for the first; nothing is cut.
  std::multiset<int32_t> printed;
  for (int32_t b = 0; b < plan.bandCount(); ++b)
    for (const PlacedColumn& c : plan.band(b)) {
      printed.insert(c.column);
      EXPECT_FALSE(c.clipped);
      EXPECT_EQ(c.right - c.left, 200) << "printed at the width it has in the list";
      EXPECT_LE(c.right, 950);
    }
  for (int32_t col = 2; col <= 12; ++col) EXPECT_EQ(printed.count(col), 1u) << col;
  EXPECT_EQ(printed.count(1), 4u);
  // Edges follow each other from the left margin.
  EXPECT_EQ(plan.band(1)[0].left, 50);
  EXPECT_EQ(plan.band(1)[1].left, 250);
  EXPECT_EQ(plan.band(1)[3].right, 850);

  // Pages: every band of the first block of rows, then the next block.
  ASSERT_EQ(plan.blockCount(), 2);  // 100 rows, 57 a page
  EXPECT_EQ(plan.pageCount(), 8);
  const PageContent first = plan.page(0), second = plan.page(1), fifth = plan.page(4), last = plan.page(7);
  EXPECT_EQ(first.band, 0);
  EXPECT_EQ(first.firstRow, 1);
  EXPECT_EQ(first.lastRow, plan.rowsPerPage());
  EXPECT_EQ(second.band, 1);
  EXPECT_EQ(second.firstRow, 1);
  EXPECT_EQ(columnsOf(second.columns), (std::vector<int32_t>{1, 5, 6, 7}));
  EXPECT_EQ(fifth.band, 0);
  EXPECT_EQ(fifth.firstRow, plan.rowsPerPage() + 1);
  EXPECT_EQ(last.band, 3);
  EXPECT_EQ(last.lastRow, 100);
  EXPECT_EQ(plan.page(99).band, 3) << "a page beyond the last is the last";
  EXPECT_EQ(plan.page(-5).band, 0);
}

TEST(PagePlan, AColumnWiderThanThePageIsCutAtTheMarginNotDropped) {
  // A column 5,000 characters wide (about 5,000 x 120 twips) between two narrow ones.
  const std::vector<int32_t> widths{kInch, 5000 * 120, kInch};
  const PagePlan plan(widths, 3, kPage, FixedLines(10));
  ASSERT_EQ(plan.bandCount(), 2);
  EXPECT_EQ(columnsOf(plan.band(0)), (std::vector<int32_t>{1, 2}));
  EXPECT_TRUE(plan.band(0)[1].clipped);
  EXPECT_EQ(plan.band(0)[1].right, 950);
  EXPECT_EQ(columnsOf(plan.band(1)), (std::vector<int32_t>{1, 3}));
  EXPECT_EQ(plan.pageCount(), 2);
}

TEST(PagePlan, AFirstColumnWiderThanHalfThePageIsNotRepeated) {
  const std::vector<int32_t> widths{6 * kInch, 4 * kInch, 4 * kInch};
  const PagePlan plan(widths, 1, kPage, FixedLines(10));
  EXPECT_FALSE(plan.repeatsFirstColumn());
  ASSERT_EQ(plan.bandCount(), 2);
  EXPECT_EQ(columnsOf(plan.band(0)), (std::vector<int32_t>{1}));
  EXPECT_EQ(columnsOf(plan.band(1)), (std::vector<int32_t>{2, 3}));
}

TEST(PagePlan, AnEmptyTableIsOnePage) {
  const PagePlan none({}, 0, kPage, FixedLines(10));
  EXPECT_EQ(none.pageCount(), 1);
  EXPECT_TRUE(none.page(0).columns.empty());
  EXPECT_LT(none.page(0).lastRow, none.page(0).firstRow);
  const std::vector<int32_t> negative{-5, kInch};
  const PagePlan odd(negative, 0, kPage, FixedLines(10));
  EXPECT_EQ(odd.pageCount(), 1);
  EXPECT_EQ(odd.band(0)[0].right - odd.band(0)[0].left, 0);
}

TEST(PagePlan, APageTooSmallForItsHeadsStillTakesOneRow) {
  const PageFrame tiny{.width = 300, .height = 60, .margin = 10, .dpi = 100};
  const std::vector<int32_t> widths{kInch};
  const PagePlan plan(widths, 4, tiny, FixedLines(20));
  EXPECT_EQ(plan.rowsPerPage(), 1);
  EXPECT_EQ(plan.pageCount(), 4);
}

}  // namespace
