#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <random>
#include <stdexcept>
#include <string>

#include "tests/support/table_rows.h"
#include "tests/support/text.h"
#include "ui/list_table.h"

using namespace lumo;
using namespace lumo::ui;

namespace {

using Rows = test::TableRows;

std::vector<ustring> sorted(std::vector<ustring> cells, SortKind kind, bool descending) {
  std::vector<ustring_view> views(cells.begin(), cells.end());
  const std::vector<uint32_t> order = sortOrder(views, kind, descending, OrdinalCollation());
  std::vector<ustring> out;
  for (uint32_t i : order) out.push_back(cells[i]);
  return out;
}

double valueOf(const ustring& cell) {
  double v = -12345;
  EXPECT_TRUE(numberCellValue(cell, v)) << lumo::test::u8(cell);
  return v;
}

bool isNumber(const ustring& cell) {
  double v = 0;
  return numberCellValue(cell, v);
}

// ---- numbers ----------------------------------------------------------------------------

TEST(NumberCell, SignsSeparatorsAndDecimalsAreNumbers) {
  EXPECT_EQ(valueOf(u"42"), 42);
  EXPECT_EQ(valueOf(u"-42"), -42);
  EXPECT_EQ(valueOf(u"+7"), 7);
  EXPECT_EQ(valueOf(u"1,234,567"), 1234567);
  EXPECT_EQ(valueOf(u"-1,234.5"), -1234.5);
  EXPECT_EQ(valueOf(u"0.25"), 0.25);
  EXPECT_EQ(valueOf(u".5"), 0.5);
  EXPECT_EQ(valueOf(u"3."), 3);
  EXPECT_EQ(valueOf(u"  12  "), 12);
}

TEST(NumberCell, AnythingElseIsText) {
  for (const char16_t* text : {u"", u"   ", u"-", u"+", u".", u"1,23", u"12,3456", u",123", u"1,,234", u"1,234,",
                               u"1.2.3", u"1e5", u"12abc", u"abc", u"--1", u"1-", u"1,234.5,6", u"１２", u"0x10",
                               u"1 234"})
    EXPECT_FALSE(isNumber(text)) << lumo::test::u8(text);
}

TEST(NumberCell, TenThousandDigitsAreStillANumber) {
  const ustring huge(10000, u'9');
  EXPECT_EQ(valueOf(huge), std::numeric_limits<double>::infinity());
  EXPECT_EQ(valueOf(u"-" + huge), -std::numeric_limits<double>::infinity());
  EXPECT_EQ(valueOf(u"0." + ustring(10000, u'0') + u"1"), 0.0);
}

TEST(NumberCell, ReadsAsTheStandardReadingOfItsDigitsDoes) {
  // Short numbers take a quicker road than long ones: both must give the double
  // the standard library reads from the same digits.
  std::mt19937 rng(11);
  for (int k = 0; k < 20000; ++k) {
    std::string digits;
    const int whole = static_cast<int>(rng() % 12), fraction = static_cast<int>(rng() % 12);
    for (int d = 0; d < whole; ++d) digits.push_back(static_cast<char>('0' + rng() % 10));
    if (fraction > 0 || whole == 0) digits.push_back('.');
    for (int d = 0; d < std::max(fraction, whole == 0 ? 1 : 0); ++d) digits.push_back(static_cast<char>('0' + rng() % 10));
    if (rng() % 3 == 0) digits.insert(digits.begin(), '-');
    const double expected = std::strtod(digits.c_str(), nullptr);
    const double got = valueOf(ustring(digits.begin(), digits.end()));
    ASSERT_EQ(got, expected) << digits;
    ASSERT_EQ(std::signbit(got), std::signbit(expected)) << digits;
  }
}

// ---- sorting ------------------------------------------------------------------------------

TEST(SortOrder, NumbersCompareByValueNotByText) {
  EXPECT_EQ(sorted({u"10", u"-2.5", u"1,000", u"9", u"+3", u"-10"}, SortKind::Number, false),
            (std::vector<ustring>{u"-10", u"-2.5", u"+3", u"9", u"10", u"1,000"}));
  EXPECT_EQ(sorted({u"10", u"-2.5", u"1,000", u"9"}, SortKind::Number, true),
            (std::vector<ustring>{u"1,000", u"10", u"9", u"-2.5"}));
}

TEST(SortOrder, TextInANumberColumnComesAfterTheNumbersAndEmptyCellsLast) {
  const std::vector<ustring> cells{u"b", u"", u"12", u"a", u"3", u"", u"n/a"};
  EXPECT_EQ(sorted(cells, SortKind::Number, false),
            (std::vector<ustring>{u"3", u"12", u"a", u"b", u"n/a", u"", u""}));
  // Reversed all but the empty cells.
  EXPECT_EQ(sorted(cells, SortKind::Number, true),
            (std::vector<ustring>{u"n/a", u"b", u"a", u"12", u"3", u"", u""}));
}

TEST(SortOrder, TextColumnsCompareTextEvenWhenItLooksLikeNumbers) {
  EXPECT_EQ(sorted({u"10", u"9", u"", u"100"}, SortKind::Text, false),
            (std::vector<ustring>{u"10", u"100", u"9", u""}));
  EXPECT_EQ(sorted({u"10", u"9", u"", u"100"}, SortKind::Text, true),
            (std::vector<ustring>{u"9", u"100", u"10", u""}));
}

TEST(SortOrder, EqualCellsKeepTheirOrderInBothDirections) {
  // The cells compare on their first letter only; the digit tells the rows apart.
  class FirstLetter final : public Collation {
   public:
    int compare(ustring_view a, ustring_view b) const override { return int(a[0]) - int(b[0]); }
  };
  const std::vector<ustring> cells{u"b1", u"a1", u"b2", u"a2", u"b3", u"a3"};
  std::vector<ustring_view> views(cells.begin(), cells.end());
  auto pick = [&](bool descending) {
    std::vector<ustring> out;
    for (uint32_t i : sortOrder(views, SortKind::Text, descending, FirstLetter())) out.push_back(cells[i]);
    return out;
  };
  EXPECT_EQ(pick(false), (std::vector<ustring>{u"a1", u"a2", u"a3", u"b1", u"b2", u"b3"}));
  EXPECT_EQ(pick(true), (std::vector<ustring>{u"b1", u"b2", u"b3", u"a1", u"a2", u"a3"}));
}

TEST(SortOrder, EqualNumbersKeepTheirOrder) {
  const std::vector<ustring> cells{u"1,000", u"2", u"1000", u"1000.0", u"2.0"};
  EXPECT_EQ(sorted(cells, SortKind::Number, false), (std::vector<ustring>{u"2", u"2.0", u"1,000", u"1000", u"1000.0"}));
  EXPECT_EQ(sorted(cells, SortKind::Number, true), (std::vector<ustring>{u"1,000", u"1000", u"1000.0", u"2", u"2.0"}));
}

TEST(SortOrder, TheCollationDecidesTheOrderOfTexts) {
  // Reverse order of code units: a collation the sort cannot have guessed.
  class Backwards final : public Collation {
   public:
    int compare(ustring_view a, ustring_view b) const override { return b.compare(a); }
  };
  // 丙 U+4E19, 甲 U+7532, 乙 U+4E59.
  const std::vector<ustring> cells{u"丙", u"甲", u"乙"};
  std::vector<ustring_view> views(cells.begin(), cells.end());
  EXPECT_EQ(sortOrder(views, SortKind::Text, false, Backwards()), (std::vector<uint32_t>{1, 2, 0}));
  EXPECT_EQ(sortOrder(views, SortKind::Text, false, OrdinalCollation()), (std::vector<uint32_t>{0, 2, 1}));
}

TEST(SortOrder, NegativeZeroIsZero) {
  const std::vector<ustring> cells{u"0", u"-0", u"0.0", u"-0.00", u"+0"};
  EXPECT_EQ(sorted(cells, SortKind::Number, false), cells);
  EXPECT_EQ(sorted(cells, SortKind::Number, true), cells);
}

// The order a stable sort with the plain comparison gives: numbers by value,
// texts by code units, empty cells last; going down reverses all but those.
std::vector<uint32_t> referenceOrder(const std::vector<ustring>& cells, bool descending) {
  auto rank = [&](uint32_t i) {
    if (cells[i].empty()) return 3;
    return isNumber(cells[i]) ? (descending ? 2 : 1) : (descending ? 1 : 2);
  };
  std::vector<uint32_t> order(cells.size());
  for (uint32_t i = 0; i < order.size(); ++i) order[i] = i;
  std::stable_sort(order.begin(), order.end(), [&](uint32_t a, uint32_t b) {
    if (rank(a) != rank(b)) return rank(a) < rank(b);
    if (rank(a) == 3) return false;
    if (isNumber(cells[a])) {
      const double x = valueOf(cells[a]), y = valueOf(cells[b]);
      return descending ? y < x : x < y;
    }
    return descending ? cells[b] < cells[a] : cells[a] < cells[b];
  });
  return order;
}

TEST(SortOrder, ARandomColumnSortsAsAStableComparisonSortWouldInBothDirections) {
  std::mt19937 rng(7);
  std::vector<ustring> cells;
  for (int i = 0; i < 5000; ++i) {
    const int kind = static_cast<int>(rng() % 6);
    if (kind == 0) cells.push_back(u"");
    else if (kind == 1) cells.push_back(u"x" + toText(static_cast<long long>(rng() % 50)));
    else if (kind == 2) cells.push_back(toText(static_cast<long long>(rng() % 2000) - 1000) + u"." + toText(static_cast<long long>(rng() % 100)));
    else if (kind == 3) cells.push_back(u"1" + ustring(static_cast<std::size_t>(rng() % 30), u'0'));
    else cells.push_back(toText(static_cast<long long>(rng() % 2000) - 1000));
  }
  std::vector<ustring_view> views(cells.begin(), cells.end());
  for (const bool descending : {false, true}) {
    EXPECT_EQ(sortOrder(views, SortKind::Number, descending, OrdinalCollation()), referenceOrder(cells, descending))
        << (descending ? "down" : "up");
  }
}

// Texts with long common starts and units on both sides of every byte boundary.
std::vector<ustring> randomTexts(std::mt19937& rng, int count) {
  const char16_t units[] = {u'a', u'b', u'\x7f', u'\x80', u'\xff', u'\x100', u'中', u'\xffff', u'\x01'};
  std::vector<ustring> cells;
  for (int i = 0; i < count; ++i) {
    ustring cell(static_cast<std::size_t>(rng() % 3) * 4, u'同');
    for (unsigned k = rng() % 12; k > 0; --k) cell.push_back(units[rng() % std::size(units)]);
    cells.push_back(cell);
  }
  return cells;
}

// The code units' order, compared in pairs only.
class PairsOnly final : public Collation {
 public:
  int compare(ustring_view a, ustring_view b) const override { return a.compare(b); }
};

TEST(SortOrder, TextsSortThroughTheirKeysAsThroughComparingPairs) {
  std::mt19937 rng(23);
  const std::vector<ustring> cells = randomTexts(rng, 6000);
  std::vector<ustring_view> views(cells.begin(), cells.end());
  for (const bool descending : {false, true}) {
    std::vector<uint32_t> expected(cells.size());
    for (uint32_t i = 0; i < expected.size(); ++i) expected[i] = i;
    std::stable_sort(expected.begin(), expected.end(), [&](uint32_t a, uint32_t b) {
      if (cells[a].empty() || cells[b].empty()) return !cells[a].empty() && cells[b].empty();
      return descending ? cells[b] < cells[a] : cells[a] < cells[b];
    });
    EXPECT_EQ(sortOrder(views, SortKind::Text, descending, OrdinalCollation()), expected) << "keys";
    EXPECT_EQ(sortOrder(views, SortKind::Text, descending, PairsOnly()), expected) << "pairs";
  }
}

TEST(SortOrder, WithoutAKeyForEveryTextTheTextsAreComparedInPairs) {
  // Keys in the opposite order of the comparison, and none for "c": had any key
  // been used, the order would be reversed.
  class NoKeyForC final : public Collation {
   public:
    int compare(ustring_view a, ustring_view b) const override { return a.compare(b); }
    bool appendSortKey(ustring_view text, std::string& keys) const override {
      if (text == u"c") return false;
      keys.push_back(static_cast<char>(255 - text[0]));
      return true;
    }
  };
  const std::vector<ustring> cells{u"b", u"a", u"d", u"c"};
  std::vector<ustring_view> views(cells.begin(), cells.end());
  EXPECT_EQ(sortOrder(views, SortKind::Text, false, NoKeyForC()), (std::vector<uint32_t>{1, 0, 3, 2}));
  const std::vector<ustring> keyed{u"b", u"a", u"d"};
  std::vector<ustring_view> keyedViews(keyed.begin(), keyed.end());
  EXPECT_EQ(sortOrder(keyedViews, SortKind::Text, false, NoKeyForC()), (std::vector<uint32_t>{2, 0, 1}))
      << "with a key for every text, the keys decide";
}

TEST(SortOrder, KeysTooLargeForMemoryGiveWayToComparingPairs) {
  // 33 MiB of key per text, in the opposite order of the comparison: the third
  // text finds 64 MiB of keys already made.
  class HugeKeys final : public Collation {
   public:
    int compare(ustring_view a, ustring_view b) const override { return a.compare(b); }
    bool appendSortKey(ustring_view text, std::string& keys) const override {
      keys.append(std::size_t{33} << 20, static_cast<char>(255 - text[0]));
      return true;
    }
  };
  const std::vector<ustring> cells{u"b", u"a", u"c"};
  std::vector<ustring_view> views(cells.begin(), cells.end());
  EXPECT_EQ(sortOrder(views, SortKind::Text, false, HugeKeys()), (std::vector<uint32_t>{1, 0, 2}));
}

// Random decimals with 'places' digits at most after the point, some negative.
std::vector<ustring> randomDecimals(std::mt19937& rng, int count, unsigned places) {
  std::vector<ustring> cells;
  for (int i = 0; i < count; ++i) {
    ustring cell = toText(static_cast<long long>(rng() % 2000) - 1000);
    const unsigned after = rng() % (places + 1);
    if (after > 0) cell += u".";
    for (unsigned d = 0; d < after; ++d) cell.push_back(static_cast<char16_t>(u'0' + rng() % 10));
    cells.push_back(cell);
  }
  return cells;
}

TEST(SortOrder, AmountsWithAFewPlacesSortAsTheirValuesDo) {
  std::mt19937 rng(13);
  std::vector<ustring> cells = randomDecimals(rng, 4000, 3);
  cells.push_back(u"-0");
  cells.push_back(u"0.000");
  cells.push_back(u"12.5");
  cells.push_back(u"12.500");
  std::vector<ustring_view> views(cells.begin(), cells.end());
  for (const bool descending : {false, true})
    EXPECT_EQ(sortOrder(views, SortKind::Number, descending, OrdinalCollation()), referenceOrder(cells, descending));
}

TEST(SortOrder, NumbersWithManyDifferentPlacesSortAsTheirValuesDo) {
  // Places from none to seven: the keys turn from decimals into values midway.
  std::mt19937 rng(17);
  std::vector<ustring> cells = randomDecimals(rng, 4000, 7);
  std::vector<ustring_view> views(cells.begin(), cells.end());
  for (const bool descending : {false, true})
    EXPECT_EQ(sortOrder(views, SortKind::Number, descending, OrdinalCollation()), referenceOrder(cells, descending));
}

// ---- finding -----------------------------------------------------------------------------

Rows staff() {
  return Rows(3, {u"姓名\t部门\t备注", u"张三\t销售部\tAlpha", u"李四\t财务部\tbeta", u"王五\t销售部\t",
                  u"赵六\t研发部\tALPHA beta", u"孙七"});
}

TEST(FindRow, SearchesDownFromTheRowAfterTheCurrentOne) {
  const Rows t = staff();
  EXPECT_EQ(findRow(t, 1, {u"销售部", false, true}), 3);
  EXPECT_EQ(findRow(t, 0, {u"销售部", false, true}), 1) << "no current row: from the top";
  EXPECT_EQ(findRow(t, 2, {u"研发", false, true}), 4);
}

TEST(FindRow, WrapsOnceSoThatTheCurrentRowComesLast) {
  const Rows t = staff();
  EXPECT_EQ(findRow(t, 3, {u"销售部", false, true}), 1);
  EXPECT_EQ(findRow(t, 1, {u"张三", false, true}), 1) << "the only match is the current row";
  EXPECT_EQ(findRow(t, 1, {u"钱八", false, true}), 0);
}

TEST(FindRow, SearchesUpwardsWithWrap) {
  const Rows t = staff();
  EXPECT_EQ(findRow(t, 3, {u"销售部", false, false}), 1);
  EXPECT_EQ(findRow(t, 1, {u"销售部", false, false}), 3);
  EXPECT_EQ(findRow(t, 0, {u"销售部", false, false}), 3) << "no current row: from the bottom";
}

TEST(FindRow, MatchCaseDecidesWhetherLettersMustAgree) {
  const Rows t = staff();
  EXPECT_EQ(findRow(t, 0, {u"alpha", false, true}), 1);
  EXPECT_EQ(findRow(t, 1, {u"alpha", false, true}), 4);
  EXPECT_EQ(findRow(t, 0, {u"alpha", true, true}), 0);
  EXPECT_EQ(findRow(t, 0, {u"ALPHA", true, true}), 4);
}

TEST(FindRow, TheHeaderIsNotSearched) {
  EXPECT_EQ(findRow(staff(), 0, {u"姓名", false, true}), 0);
}

TEST(FindRow, AMatchNeverSpansTwoCells) {
  const Rows t = staff();
  EXPECT_EQ(findRow(t, 0, {u"三\t销", false, true}), 0) << "a tab in the text: never found";
  EXPECT_EQ(findRow(t, 0, {u"三销", false, true}), 0);
}

TEST(FindRow, EmptyTextsAndNulsAreLookedForAsTheyAre) {
  const Rows t(1, {u"h", u"a", ustring(u"b\0c", 3), u"c"});
  EXPECT_EQ(findRow(t, 0, {u"", false, true}), 0);
  EXPECT_EQ(findRow(t, 0, {ustring(u"\0", 1), false, true}), 2);
  EXPECT_EQ(findRow(t, 0, {ustring(u"\0c", 2), true, true}), 2);
}

TEST(FindRow, LongCellsAndShortRowsAreSearchedWhole) {
  ustring longCell(10000, u'x');
  longCell += u"尾";
  const Rows t(3, {u"a\tb\tc", u"only", longCell, u"1\t2\t3"});
  EXPECT_EQ(findRow(t, 0, {u"x尾", false, true}), 2);
  EXPECT_EQ(findRow(t, 0, {u"3", false, true}), 3);
  EXPECT_EQ(findRow(Rows(2, {u"h"}), 0, {u"h", false, true}), 0) << "no data rows";
}

// ---- copying -------------------------------------------------------------------------------

TEST(CopyText, TheHeaderComesFirstThenTheRowsOfEachRange) {
  const Rows t = staff();
  const RowRange rows[] = {{1, 1}, {3, 4}};
  EXPECT_EQ(copyText(t, rows), u"姓名\t部门\t备注\r\n张三\t销售部\tAlpha\r\n王五\t销售部\t\r\n赵六\t研发部\tALPHA beta\r\n");
}

TEST(CopyText, ShortRowsAreFilledUpSoThatColumnsStayInPlace) {
  const RowRange rows[] = {{5, 5}};
  EXPECT_EQ(copyText(staff(), rows), u"姓名\t部门\t备注\r\n孙七\t\t\r\n");
}

TEST(CopyText, RowsOutsideTheDataAreLeftOut) {
  const RowRange rows[] = {{-3, 1}, {5, 99}, {4, 2}};
  EXPECT_EQ(copyText(staff(), rows), u"姓名\t部门\t备注\r\n张三\t销售部\tAlpha\r\n孙七\t\t\r\n");
  EXPECT_EQ(copyText(staff(), {}), u"姓名\t部门\t备注\r\n");
}

TEST(CopyText, StoredRowsAreCopiedAsTheirJoinedCellsWouldBe) {
  // Rows with the right number of cells, short ones, line breaks, and a row
  // with a cell too many (which the table's own joining keeps).
  const std::vector<ustring> rows = {u"h1\th2\th3", u"a\tb\tc", u"short", u"x\ty\r\nz\t\"q\"",
                                     u"1\t2\t3\t4", u"", u"\t\t"};
  const RowRange all[] = {{1, 6}};
  const ustring expected = u"h1\th2\th3\r\na\tb\tc\r\nshort\t\t\r\nx\t\"y\r\nz\"\t\"q\"\r\n1\t2\t3\t4\r\n\t\t\r\n\t\t\r\n";
  EXPECT_EQ(copyText(Rows(3, rows, false), all), expected);
  EXPECT_EQ(copyText(Rows(3, rows, true), all), expected);
}

TEST(Parallel, InTurnRunsEveryPartAndThenThrowsTheFirstFailure) {
  std::vector<int> runs(4);
  try {
    inTurn().run(4, [&](std::size_t p) {
      ++runs[p];
      if (p == 1 || p == 2) throw std::runtime_error("part " + std::to_string(p));
    });
    ADD_FAILURE() << "nothing was thrown";
  } catch (const std::runtime_error& e) {
    EXPECT_STREQ(e.what(), "part 1");
  }
  EXPECT_EQ(runs, (std::vector<int>{1, 1, 1, 1}));
}

// Parts run backwards, as threads may finish in any order.
class Backwards final : public Parallel {
 public:
  std::size_t width() const override { return 3; }
  void run(std::size_t parts, const std::function<void(std::size_t)>& part) const override {
    ran += parts;
    for (std::size_t p = parts; p-- > 0;) part(p);
  }
  mutable std::size_t ran = 0;
};

TEST(CopyText, ALargeCopyInPartsIsTheSameText) {
  const std::vector<ustring> rows = test::mixedRows(120000);
  const Rows stored(3, rows, true), joined(3, rows, false);
  const RowRange ranges[] = {{1, 50000}, {50002, 120000}};
  const ustring inTurnText = copyText(joined, ranges);
  Backwards backwards;
  EXPECT_EQ(copyText(stored, ranges, backwards), inTurnText);
  EXPECT_EQ(backwards.ran, 6u) << "three parts looked through, then three written";
  EXPECT_EQ(copyText(stored, ranges), inTurnText);
  const ustring start = u"h1\th2\th3\r\n张三0\t销售部\t0\r\nshort1\t\t\r\na\tb\tc\td2\r\nx\t\"y\r\nz\"\t\"q\"3\r\n\t\t\r\n";
  EXPECT_EQ(inTurnText.substr(0, start.size()), start);
}

TEST(CopyText, ACellWithALineBreakIsQuotedAndItsQuotesDoubled) {
  const Rows t(2, {u"a\tb", u"one\ttwo \"2\"\r\nlines", u"x\t\"y\""});
  const RowRange rows[] = {{1, 2}};
  EXPECT_EQ(copyText(t, rows), u"a\tb\r\none\t\"two \"\"2\"\"\r\nlines\"\r\nx\t\"y\"\r\n");
}

}  // namespace
