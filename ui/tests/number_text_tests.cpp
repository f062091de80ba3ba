#include <gtest/gtest.h>

#include <cstdio>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "ui/number_text.h"
#include "tests/support/numbers.h"

using namespace lumo;
using namespace lumo::ui;

namespace {

// Widths that make the arithmetic of a test easy to follow: a digit 10, a comma 5, a
// wide (CJK) character and anything beyond the basic plane 20, U+FFFD 12, the rest 10.
struct FakeMeasurer : CharMeasurer {
  std::map<char32_t, int> asked;
  int digit = 10;
  int advance(char32_t c) override {
    ++asked[c];
    if (c >= u'0' && c <= u'9') return digit;
    if (c == u',') return 5;
    if (c == 0xFFFD) return 12;
    if (c >= 0x2E80) return 20;
    return 10;
  }
};

// A model with its own measurer, laid out at 'wrap' units and 'page' lines a view.
struct Box {
  FakeMeasurer measurer;
  NumberText text{measurer};
  explicit Box(ustring s = {}, int wrap = 80, std::size_t page = 10) {
    text.setWrapWidth(wrap);
    text.setPageLines(page);
    text.setText(std::move(s));
  }
};

std::vector<std::size_t> starts(NumberText& t) {
  std::vector<std::size_t> out;
  for (std::size_t l = 0, n = t.lineCount(); l < n; ++l) out.push_back(t.lineStart(l));
  return out;
}

std::vector<ustring> shownLines(NumberText& t) {
  std::vector<ustring> out;
  for (std::size_t l = 0, n = t.lineCount(); l < n; ++l)
    out.push_back(t.text().substr(t.lineStart(l), t.lineLength(l)));
  return out;
}

std::pair<std::size_t, std::size_t> sel(const NumberText& t) { return {t.selStart(), t.selEnd()}; }
using Sel = std::pair<std::size_t, std::size_t>;

}  // namespace

// ---- wrapping -------------------------------------------------------------------------------

TEST(NumberText, AnEmptyTextIsOneEmptyLine) {
  Box b;
  EXPECT_EQ(1u, b.text.lineCount());
  EXPECT_EQ(0u, b.text.lineStart(0));
  EXPECT_EQ(0u, b.text.lineLength(0));
  EXPECT_EQ(NumberText::npos, b.text.lineStart(1));
}

TEST(NumberText, LinesBreakAfterTheLastCommaThatFits) {
  // "123," is 35 units: two numbers and their commas (70) fit in 80, the third's
  // first digit still fits (80) and its second does not.
  Box b(u"123,456,789,012,345", 80);
  EXPECT_EQ((std::vector<std::size_t>{0, 8, 16}), starts(b.text));
  EXPECT_EQ((std::vector<ustring>{u"123,456,", u"789,012,", u"345"}), shownLines(b.text));
  // Exactly the width fits.
  Box exact(u"12,34567,8", 80);
  EXPECT_EQ((std::vector<std::size_t>{0, 9}), starts(exact.text));
}

TEST(NumberText, RunWithoutCommasBreaksAtTheLastUnitThatFits) {
  Box b(u"1234567890123", 35);
  EXPECT_EQ((std::vector<ustring>{u"123", u"456", u"789", u"012", u"3"}), shownLines(b.text));
  // After a comma the run goes to the next line whole, and breaks there.
  Box after(u"12,3456789", 45);
  EXPECT_EQ((std::vector<ustring>{u"12,", u"3456", u"789"}), shownLines(after.text));
}

TEST(NumberText, ACharacterWiderThanTheWidthStillTakesALine) {
  Box b(u"12,中3", 1);
  EXPECT_EQ((std::vector<ustring>{u"1", u"2", u",", u"中", u"3"}), shownLines(b.text));
  // A width below one unit is one unit.
  b.text.setWrapWidth(-20);
  EXPECT_EQ(1, b.text.wrapWidth());
  EXPECT_EQ(5u, b.text.lineCount());
}

TEST(NumberText, LineBreaksStartNewLinesAndAreNotShown) {
  Box b(u"123\r\n456\n789\r\n", 300);
  EXPECT_EQ((std::vector<std::size_t>{0, 5, 9, 14}), starts(b.text));
  EXPECT_EQ((std::vector<ustring>{u"123", u"456", u"789", u""}), shownLines(b.text));
  EXPECT_EQ(3u, b.text.lineEnd(0));
  EXPECT_EQ(8u, b.text.lineEnd(1));
  // A line break that comes when the line is full stays on that line.
  Box full(u"123\r\n4", 30);
  EXPECT_EQ((std::vector<ustring>{u"123", u"4"}), shownLines(full.text));
  // A carriage return alone is a character like another.
  Box cr(u"12\r34", 300);
  EXPECT_EQ(1u, cr.text.lineCount());
  EXPECT_EQ(50, cr.text.xOf(0, 5));
}

TEST(NumberText, ASurrogatePairIsMeasuredAndWrappedAsOneCharacter) {
  // The pair (20) does not fit after "12" at 35: the line breaks before it, not
  // between its halves.
  const ustring s = u"12\xD83D\xDE00" u"3";
  Box b(s, 35);
  EXPECT_EQ((std::vector<std::size_t>{0, 2}), starts(b.text));
  EXPECT_EQ(30, b.text.xOf(1, 5));
  EXPECT_EQ(1, b.measurer.asked[0x1F600]);
  EXPECT_EQ(0u, b.measurer.asked.count(0xD83D));
  EXPECT_EQ(0u, b.measurer.asked.count(0xDE00));
}

TEST(NumberText, ALoneSurrogateTakesTheReplacementCharactersWidth) {
  Box b(u"1\xD800" u"2", 32);
  EXPECT_EQ(1u, b.text.lineCount());
  EXPECT_EQ(32, b.text.xOf(0, 3));
  b.text.setWrapWidth(31);
  EXPECT_EQ((std::vector<std::size_t>{0, 2}), starts(b.text));
  EXPECT_EQ(0u, b.measurer.asked.count(0xD800));
  // A low half after a character that is not a high half is alone too.
  Box low(u"\xDC00\xD83D", 300);
  EXPECT_EQ(24, low.text.xOf(0, 2));
}

TEST(NumberText, WidthsAreAskedOncePerCharacterUntilTheMeasurerChanges) {
  Box b(test::mobileNumberList(50), 300);
  EXPECT_GT(b.text.lineCount(), 10u);
  for (const auto& [c, times] : b.measurer.asked) EXPECT_EQ(1, times) << static_cast<int>(c);
  EXPECT_EQ(11u, b.measurer.asked.size());  // ten digits and the comma
  // Wider digits (a larger font): asked again, and fewer numbers a line.
  const std::size_t before = b.text.lineCount();
  b.measurer.digit = 20;
  b.text.measurerChanged();
  EXPECT_GT(b.text.lineCount(), before);
  EXPECT_EQ(2, b.measurer.asked[u'5']);
  EXPECT_EQ(u',', b.text.text()[b.text.lineEnd(0) - 1]);
}

TEST(NumberText, ANewWidthLaysTheLinesOutAgain) {
  Box b(test::mobileNumberList(20), 300);
  EXPECT_EQ(10u, b.text.lineCount());  // two numbers a line
  EXPECT_FALSE(b.text.setWrapWidth(300));
  EXPECT_TRUE(b.text.laidOut());
  EXPECT_TRUE(b.text.setWrapWidth(600));
  EXPECT_FALSE(b.text.laidOut());
  EXPECT_EQ(4u, b.text.lineCount());  // five numbers a line
}

TEST(NumberText, TheLayoutWaitsForTheFirstQuestionAndTellsTheListener) {
  Box b;
  int told = 0;
  b.text.setLayoutListener([&] { ++told; });
  // A text, a width and a measurer arriving together: one pass.
  b.text.setText(test::mobileNumberList(100));
  b.text.setWrapWidth(300);
  b.text.measurerChanged();
  const std::size_t work = b.text.linesBroken();
  EXPECT_EQ(0, told);
  EXPECT_FALSE(b.text.laidOut());
  EXPECT_EQ(50u, b.text.lineCount());
  EXPECT_EQ(1, told);
  EXPECT_EQ(work + 50, b.text.linesBroken());
  b.text.lineOf(300);
  b.text.top();
  EXPECT_EQ(1, told);
  // An edit on laid-out lines is not a fresh layout.
  b.text.moveToTextEnd(false);
  b.text.type(u'5');
  EXPECT_EQ(1, told);
}

// ---- the layout after edits ---------------------------------------------------------------

// After every edit the lines are those a fresh layout of the same text gives.
TEST(NumberText, EditsLayOutLikeAFreshText) {
  std::mt19937 rng(20240601);
  const std::vector<ustring> pieces = {u"0", u"1", u"2", u"3", u"4", u"5", u"6", u"7", u"8", u"9", u",",
                                       u",", u",", u"\n", u"\r\n", u"\r", u"中", u"\xD83D\xDE00", u"\xD83D",
                                       u"\xDE00", u"13800000000,"};
  auto pick = [&](std::size_t n) { return std::uniform_int_distribution<std::size_t>(0, n)(rng); };
  auto piece = [&] { return pieces[pick(pieces.size() - 1)]; };
  auto words = [&](std::size_t most) {
    ustring s;
    for (std::size_t i = 0, n = pick(most); i < n; ++i) s += piece();
    return s;
  };
  const int widths[] = {1, 7, 25, 60, 115, 300};
  int compared = 0;
  for (int round = 0; round < 150; ++round) {
    const int wrap = widths[pick(5)];
    Box b(words(120), wrap, 1 + pick(8));
    b.text.lineCount();
    for (int step = 0; step < 60; ++step) {
      const std::size_t n = b.text.size();
      std::string what;
      switch (pick(9)) {
        case 0:
          b.text.select(pick(n), pick(n));
          b.text.replaceSelection(words(4), pick(1) != 0);
          what = "replace";
          break;
        case 1:
        case 2:
          if (pick(2) == 0) b.text.moveCaret(pick(n), false);
          b.text.type(piece()[0]);
          what = "type";
          break;
        case 3:
          b.text.moveCaret(pick(n), false);
          b.text.backspace();
          what = "backspace";
          break;
        case 4:
          b.text.moveCaret(pick(n), false);
          b.text.deleteForward();
          what = "delete";
          break;
        case 5:
          b.text.moveCaret(pick(n), false);
          b.text.deleteNumberBack();
          what = "ctrl+backspace";
          break;
        case 6:
          b.text.undo();
          what = "undo";
          break;
        case 7:
          b.text.select(pick(n), pick(n));
          b.text.paste(words(6));
          what = "paste";
          break;
        case 8:
          b.text.select(pick(n), pick(n));
          b.text.deleteSelection();
          what = "delete selection";
          break;
        default:
          // A long paste that crosses many lines.
          b.text.moveCaret(pick(n), false);
          b.text.paste(words(80));
          what = "long paste";
          break;
      }
      Box fresh(b.text.text(), wrap);
      ASSERT_EQ(starts(fresh.text), starts(b.text))
          << "round " << round << " step " << step << " " << what << " width " << wrap << ": "
          << toUtf8(b.text.text());
      ++compared;
    }
  }
  EXPECT_EQ(150 * 60, compared);
}

// Where a line breaks at a "\r" or a high surrogate, the unit after it decided the
// break as well: its partner put in there changes the line before.
TEST(NumberText, APartnerPutInAfterABreakChangesTheLineBefore) {
  ustring digits;
  for (int i = 0; i < 60; ++i) digits += static_cast<char16_t>(u'0' + i % 10);
  const std::size_t wrapAt = 10;  // ten digits a line at 100
  for (const auto& [first, second] : {std::pair{u'\r', u'\n'}, std::pair{char16_t(0xD83D), char16_t(0xDE00)}}) {
    for (std::size_t p = wrapAt - 2; p <= wrapAt + 2; ++p) {
      ustring t = digits;
      t[p] = first;
      Box b(t, 100);
      b.text.lineCount();  // laid out before the edit
      b.text.select(p + 1, p + 1);
      const char16_t partner[1] = {second};
      b.text.replaceSelection(ustring_view(partner, 1), true);
      Box fresh(b.text.text(), 100);
      EXPECT_EQ(starts(fresh.text), starts(b.text)) << "a partner of " << int(first) << " after " << p;
    }
  }
}

// The work of an edit in a list of a million characters: a few lines where it does
// not move the following breaks, one pass at most where it does.
TEST(NumberText, AnEditLaysOutOnlyTheLinesItReaches) {
  Box b(test::mobileNumberList(100000), 300, 20);
  ASSERT_EQ(1199999u, b.text.size());
  const std::size_t before = b.text.linesBroken();
  const std::size_t lines = b.text.lineCount();
  ASSERT_EQ(50000u, lines);
  EXPECT_EQ(before + lines, b.text.linesBroken());  // a fresh layout breaks each line once
  auto cost = [&](auto&& edit) {
    const std::size_t w = b.text.linesBroken();
    edit();
    b.text.lineCount();
    return b.text.linesBroken() - w;
  };
  // A digit replaced in the middle, at the start of a line, at the end of a line.
  for (std::size_t at : {std::size_t(600001), std::size_t(24 * 1000), std::size_t(24 * 1000 - 2)}) {
    EXPECT_LE(cost([&] {
                b.text.select(at, at + 1);
                b.text.replaceSelection(u"7", true);
              }),
              3u)
        << at;
  }
  // Typing a thousand characters at the end, and one at the start.
  EXPECT_LE(cost([&] {
              b.text.moveToTextEnd(false);
              for (int i = 0; i < 1000; ++i) b.text.type(i % 12 == 0 ? u',' : u'5');
            }),
            3000u);
  EXPECT_LE(cost([&] {
              b.text.moveToTextStart(false);
              b.text.type(u'9');
            }),
            3u);
  // A number put in before the first moves every break after it: one pass.
  const std::size_t all = b.text.lineCount();
  EXPECT_LE(cost([&] {
              b.text.moveToTextStart(false);
              b.text.paste(u"1234567,");
            }),
            all + 1);
  Box fresh(b.text.text(), 300);
  EXPECT_EQ(starts(fresh.text), starts(b.text));
}

// ---- the selection and the caret ----------------------------------------------------------

TEST(NumberText, TheSelectionHasAnAnchorAndACaretInsideTheText) {
  Box b(u"15,700002");
  b.text.select(9, 3);
  EXPECT_EQ(9u, b.text.anchor());
  EXPECT_EQ(3u, b.text.caret());
  EXPECT_EQ(Sel(3, 9), sel(b.text));
  EXPECT_EQ(u"700002", b.text.selectedText());
  b.text.select(4, 100);
  EXPECT_EQ(Sel(4, 9), sel(b.text));
  b.text.selectAll();
  EXPECT_EQ(Sel(0, 9), sel(b.text));
  b.text.select(5, 5);
  EXPECT_FALSE(b.text.hasSelection());
  EXPECT_TRUE(b.text.selectedText().empty());
}

TEST(NumberText, ArrowsMoveOneCharacterAndCollapseASelectionToItsSide) {
  Box b(u"138,139,140");
  b.text.select(2, 6);
  b.text.moveLeft(false, false);
  EXPECT_EQ(Sel(2, 2), sel(b.text));
  b.text.select(2, 6);
  b.text.moveRight(false, false);
  EXPECT_EQ(Sel(6, 6), sel(b.text));
  b.text.moveRight(true, false);
  b.text.moveRight(true, false);
  EXPECT_EQ(6u, b.text.anchor());
  EXPECT_EQ(8u, b.text.caret());
  b.text.moveLeft(true, false);
  EXPECT_EQ(Sel(6, 7), sel(b.text));
  // At the ends they stay.
  b.text.moveToTextStart(false);
  b.text.moveLeft(false, false);
  EXPECT_EQ(0u, b.text.caret());
  b.text.moveToTextEnd(false);
  b.text.moveRight(false, false);
  EXPECT_EQ(11u, b.text.caret());
}

TEST(NumberText, CtrlArrowsJumpToTheStartsOfNumbers) {
  Box b(u"138,139,140");
  b.text.moveToTextEnd(false);
  std::vector<std::size_t> seen;
  for (int i = 0; i < 4; ++i) {
    b.text.moveLeft(false, true);
    seen.push_back(b.text.caret());
  }
  EXPECT_EQ((std::vector<std::size_t>{8, 4, 0, 0}), seen);
  seen.clear();
  for (int i = 0; i < 4; ++i) {
    b.text.moveRight(false, true);
    seen.push_back(b.text.caret());
  }
  EXPECT_EQ((std::vector<std::size_t>{4, 8, 11, 11}), seen);
  b.text.moveToTextStart(false);
  b.text.moveRight(true, true);
  EXPECT_EQ(Sel(0, 4), sel(b.text));
  // A line break starts a number too.
  Box lines(u"12\n34,5");
  seen.clear();
  lines.text.moveToTextEnd(false);
  for (int i = 0; i < 3; ++i) {
    lines.text.moveLeft(false, true);
    seen.push_back(lines.text.caret());
  }
  EXPECT_EQ((std::vector<std::size_t>{6, 3, 0}), seen);
  seen.clear();
  for (int i = 0; i < 3; ++i) {
    lines.text.moveRight(false, true);
    seen.push_back(lines.text.caret());
  }
  EXPECT_EQ((std::vector<std::size_t>{3, 6, 7}), seen);
}

TEST(NumberText, ADoubleClickSelectsTheNumberBetweenCommasAndLineBreaks) {
  Box b(u"138,139\r\n140");
  b.text.selectNumberAt(5);
  EXPECT_EQ(Sel(4, 7), sel(b.text));
  EXPECT_EQ(7u, b.text.caret());
  b.text.selectNumberAt(10);
  EXPECT_EQ(Sel(9, 12), sel(b.text));
  // On a comma: the number before it.
  b.text.selectNumberAt(3);
  EXPECT_EQ(Sel(0, 3), sel(b.text));
  b.text.selectNumberAt(100);
  EXPECT_EQ(Sel(9, 12), sel(b.text));
  Box empty(u",,");
  empty.text.selectNumberAt(1);
  EXPECT_EQ(Sel(1, 1), sel(empty.text));
}

TEST(NumberText, TheCaretStepsOverSurrogatePairsAndLineBreaksWhole) {
  Box b(u"1\xD83D\xDE00" u"2\r\n3");
  std::vector<std::size_t> seen;
  for (int i = 0; i < 6; ++i) {
    b.text.moveRight(false, false);
    seen.push_back(b.text.caret());
  }
  EXPECT_EQ((std::vector<std::size_t>{1, 3, 4, 6, 7, 7}), seen);
  seen.clear();
  for (int i = 0; i < 6; ++i) {
    b.text.moveLeft(false, false);
    seen.push_back(b.text.caret());
  }
  EXPECT_EQ((std::vector<std::size_t>{6, 4, 3, 1, 0, 0}), seen);
  // Halves that are not a pair are a character each.
  Box lone(u"\xDE00\xD83D" u"1");
  lone.text.moveRight(false, false);
  EXPECT_EQ(1u, lone.text.caret());
  lone.text.moveRight(false, false);
  EXPECT_EQ(2u, lone.text.caret());
  lone.text.moveToTextEnd(false);
  lone.text.moveLeft(false, false);
  EXPECT_EQ(2u, lone.text.caret());
}

TEST(NumberText, BackspaceAndDeleteTakeAPairOrALineBreakWhole) {
  Box b(u"1\xD83D\xDE00" u"2\r\n3");
  b.text.moveCaret(3, false);
  EXPECT_TRUE(b.text.backspace().changed);
  EXPECT_EQ(u"12\r\n3", b.text.text());
  EXPECT_EQ(1u, b.text.caret());
  b.text.moveCaret(2, false);
  EXPECT_TRUE(b.text.deleteForward().changed);
  EXPECT_EQ(u"123", b.text.text());
  // A lone half goes alone.
  Box lone(u"1\xD83D");
  lone.text.moveToTextEnd(false);
  lone.text.backspace();
  EXPECT_EQ(u"1", lone.text.text());
  // At the ends nothing changes.
  b.text.moveToTextStart(false);
  EXPECT_FALSE(b.text.backspace().changed);
  b.text.moveToTextEnd(false);
  EXPECT_FALSE(b.text.deleteForward().changed);
  EXPECT_EQ(u"123", b.text.text());
  // With a selection both remove it.
  b.text.select(0, 2);
  b.text.deleteForward();
  EXPECT_EQ(u"3", b.text.text());
}

TEST(NumberText, CtrlBackspaceDeletesBackToTheStartOfTheNumber) {
  Box b(u"138,13912");
  b.text.moveToTextEnd(false);
  b.text.deleteNumberBack();
  EXPECT_EQ(u"138,", b.text.text());
  b.text.deleteNumberBack();
  EXPECT_EQ(u"", b.text.text());
  EXPECT_FALSE(b.text.deleteNumberBack().changed);
}

TEST(NumberText, HomeAndEndStayOnTheWrappedLine) {
  Box b(u"123,456,789,012,345", 80);  // lines at 0, 8, 16
  b.text.moveCaret(10, false);
  b.text.moveToLineStart(true);
  EXPECT_EQ(Sel(8, 10), sel(b.text));
  // End of a wrapped line is the next line's start, shown at the end of this one.
  b.text.moveToLineEnd(false);
  EXPECT_EQ(16u, b.text.caret());
  EXPECT_TRUE(b.text.caretAfterWrap());
  EXPECT_EQ(1u, b.text.caretLine());
  EXPECT_EQ(2u, b.text.lineOf(16));
  EXPECT_EQ(70, b.text.caretSpot().x);
  b.text.moveToLineStart(true);
  EXPECT_EQ(Sel(8, 16), sel(b.text));
  // At the last line's end the caret is just at the end.
  b.text.moveToTextEnd(false);
  b.text.moveToLineStart(false);
  b.text.moveToLineEnd(true);
  EXPECT_EQ(Sel(16, 19), sel(b.text));
  EXPECT_FALSE(b.text.caretAfterWrap());
  // Before a line break too.
  Box hard(u"12\r\n34");
  hard.text.moveToLineEnd(false);
  EXPECT_EQ(2u, hard.text.caret());
  EXPECT_FALSE(hard.text.caretAfterWrap());
  EXPECT_EQ(0u, hard.text.caretLine());
}

TEST(NumberText, UpAndDownKeepTheColumnOfTheFirstMove) {
  // Widths differ from line to line: the column is a distance, not a count.
  Box b(u"中中中\n1\n1234567\n中中中中");
  b.text.moveCaret(3, false);  // x 60
  b.text.moveLines(1, false);
  EXPECT_EQ(5u, b.text.caret());  // the short line's end
  b.text.moveLines(1, false);
  EXPECT_EQ(12u, b.text.caret());  // six digits in
  b.text.moveLines(1, true);
  EXPECT_EQ(Sel(12, 17), sel(b.text));
  b.text.moveLines(-3, false);
  EXPECT_EQ(3u, b.text.caret());
  // Past the first or last line the caret keeps to it.
  b.text.moveLines(-1, false);
  EXPECT_EQ(3u, b.text.caret());
  b.text.moveLines(10, false);
  EXPECT_EQ(17u, b.text.caret());
  // Another move starts a new column.
  b.text.moveCaret(8, false);  // x 20
  b.text.moveLines(1, false);
  EXPECT_EQ(15u, b.text.caret());
  // From the end of a wrapped line to the end of the next.
  Box wrapped(u"123,456,789,012,345", 80);  // lines at 0, 8, 16
  wrapped.text.moveCaret(2, false);
  wrapped.text.moveToLineEnd(false);  // x 70
  wrapped.text.moveLines(1, false);
  EXPECT_EQ(16u, wrapped.text.caret());
  EXPECT_TRUE(wrapped.text.caretAfterWrap());
  EXPECT_EQ(1u, wrapped.text.caretLine());
}

TEST(NumberText, PagesMoveTheViewAndTheCaretTogether) {
  Box b(test::mobileNumberList(100), 300, 10);  // 50 lines of 24 units
  ASSERT_EQ(50u, b.text.lineCount());
  b.text.moveCaret(5, false);
  b.text.movePages(1, false);
  EXPECT_EQ(10u, b.text.top());
  EXPECT_EQ(10u * 24 + 5, b.text.caret());
  b.text.movePages(1, true);
  EXPECT_EQ(20u, b.text.top());
  EXPECT_EQ(Sel(10u * 24 + 5, 20u * 24 + 5), sel(b.text));
  b.text.movePages(-1, false);
  EXPECT_EQ(10u, b.text.top());
  EXPECT_EQ(10u * 24 + 5, b.text.caret());
  b.text.movePages(10, false);
  EXPECT_EQ(40u, b.text.top());
  EXPECT_EQ(49u * 24 + 5, b.text.caret());
}

TEST(NumberText, TheViewFollowsTheCaretAndStaysInsideTheLines) {
  Box b(test::mobileNumberList(100), 300, 10);
  EXPECT_EQ(40u, b.text.maxTop());
  EXPECT_TRUE(b.text.scrollTo(100));
  EXPECT_EQ(40u, b.text.top());
  EXPECT_FALSE(b.text.scrollBy(1));
  EXPECT_TRUE(b.text.scrollBy(-45));
  EXPECT_EQ(0u, b.text.top());
  // Moving the caret below the view brings its line to the bottom, above to the top.
  b.text.moveCaret(b.text.lineStart(30), false);
  EXPECT_EQ(21u, b.text.top());
  b.text.moveCaret(b.text.lineStart(5), false);
  EXPECT_EQ(5u, b.text.top());
  // Selecting does not scroll.
  b.text.select(0, 0);
  EXPECT_EQ(5u, b.text.top());
  b.text.scrollCaretIntoView();
  EXPECT_EQ(0u, b.text.top());
  // A taller view shows more lines and scrolls less far.
  b.text.scrollTo(40);
  b.text.setPageLines(30);
  EXPECT_EQ(20u, b.text.top());
  b.text.setPageLines(0);
  EXPECT_EQ(1u, b.text.pageLines());
  // Typing at the end shows the end.
  b.text.moveToTextEnd(false);
  b.text.type(u',');
  EXPECT_EQ(b.text.lineCount() - 1, b.text.top());
}

TEST(NumberText, TheFirstCharacterShownStaysInViewWhenTheLinesChange) {
  Box b(test::mobileNumberList(100), 300, 10);
  b.text.scrollTo(20);
  const std::size_t first = b.text.lineStart(20);
  b.text.setWrapWidth(600);
  EXPECT_EQ(b.text.lineOf(first), b.text.top());
  EXPECT_LT(b.text.top(), 20u);
  // A new text starts at the top.
  b.text.setText(test::mobileNumberList(200));
  EXPECT_EQ(0u, b.text.top());
  EXPECT_EQ(0u, b.text.caret());
}

// ---- undo ---------------------------------------------------------------------------------

TEST(NumberText, UndoPutsBackWhatAnEditReplacedAndSelectsIt) {
  Box b(u"138,139,140");
  EXPECT_FALSE(b.text.undoable());
  b.text.select(4, 8);
  b.text.deleteSelection();
  EXPECT_EQ(u"138,140", b.text.text());
  EXPECT_TRUE(b.text.undoable());
  EXPECT_TRUE(b.text.undo().changed);
  EXPECT_EQ(u"138,139,140", b.text.text());
  EXPECT_EQ(Sel(4, 8), sel(b.text));
  // Undoing again does the edit again, and again puts it back.
  b.text.undo();
  EXPECT_EQ(u"138,140", b.text.text());
  EXPECT_EQ(Sel(4, 4), sel(b.text));
  b.text.undo();
  EXPECT_EQ(u"138,139,140", b.text.text());
  // A replacement: the old text comes back selected.
  b.text.select(0, 3);
  b.text.paste(u"15");
  EXPECT_EQ(u"15,139,140", b.text.text());
  b.text.undo();
  EXPECT_EQ(u"138,139,140", b.text.text());
  EXPECT_EQ(Sel(0, 3), sel(b.text));
}

TEST(NumberText, ATypingRunIsUndoneWholeUntilTheCaretMoves) {
  Box b(u"138,139,140");
  b.text.moveToTextEnd(false);
  for (char16_t c : ustring(u",150")) b.text.type(c);
  b.text.moveLeft(false, false);
  b.text.moveRight(false, false);
  b.text.type(u'9');
  b.text.undo();
  EXPECT_EQ(u"138,139,140,150", b.text.text());
  b.text.select(11, 11);
  b.text.type(u'7');
  b.text.type(u'7');
  b.text.undo();
  EXPECT_EQ(u"138,139,140,150", b.text.text());
  // Typing over a selection: the run starts with what it replaced.
  b.text.select(0, 3);
  b.text.type(u'1');
  b.text.type(u'2');
  EXPECT_EQ(u"12,139,140,150", b.text.text());
  b.text.undo();
  EXPECT_EQ(u"138,139,140,150", b.text.text());
}

TEST(NumberText, RunsOfBackspaceOrDeleteAreUndoneWhole) {
  Box b(u"138,139,140,150");
  b.text.moveToTextEnd(false);
  for (int i = 0; i < 4; ++i) b.text.backspace();
  EXPECT_EQ(u"138,139,140", b.text.text());
  b.text.undo();
  EXPECT_EQ(u"138,139,140,150", b.text.text());
  b.text.moveCaret(4, false);
  for (int i = 0; i < 4; ++i) b.text.deleteForward();
  EXPECT_EQ(u"138,140,150", b.text.text());
  b.text.undo();
  EXPECT_EQ(u"138,139,140,150", b.text.text());
  // A Delete after Backspaces starts a record of its own.
  b.text.moveCaret(7, false);
  b.text.backspace();
  b.text.deleteForward();
  EXPECT_EQ(u"138,13140,150", b.text.text());
  b.text.undo();
  EXPECT_EQ(u"138,13,140,150", b.text.text());
  // Typing after Backspace too.
  b.text.moveCaret(3, false);
  b.text.backspace();
  b.text.type(u'9');
  EXPECT_EQ(u"139,13,140,150", b.text.text());
  b.text.undo();
  EXPECT_EQ(u"13,13,140,150", b.text.text());
}

TEST(NumberText, ANewTextOrAReplacementWithoutUndoForgetsTheUndo) {
  Box b(u"138");
  b.text.moveToTextEnd(false);
  b.text.type(u'1');
  EXPECT_TRUE(b.text.undoable());
  b.text.setText(u"5");
  EXPECT_FALSE(b.text.undoable());
  EXPECT_FALSE(b.text.undo().changed);
  b.text.type(u'1');
  b.text.replaceSelection(u"2", false);
  EXPECT_FALSE(b.text.undoable());
  b.text.replaceSelection(u"3", true);
  EXPECT_TRUE(b.text.undoable());
  b.text.emptyUndo();
  EXPECT_FALSE(b.text.undoable());
  EXPECT_EQ(u"1235", b.text.text());
}

TEST(NumberText, ReadOnlyRefusesTheUsersEditsButNotTheProgramsOrTheSelection) {
  Box b(u"138,139");
  b.text.select(0, 3);
  b.text.deleteSelection();
  b.text.setReadOnly(true);
  EXPECT_TRUE(b.text.readOnly());
  const ustring before = b.text.text();
  b.text.select(1, 2);
  EXPECT_FALSE(b.text.type(u'5').changed);
  EXPECT_FALSE(b.text.backspace().changed);
  EXPECT_FALSE(b.text.deleteForward().changed);
  EXPECT_FALSE(b.text.deleteNumberBack().changed);
  EXPECT_FALSE(b.text.deleteSelection().changed);
  EXPECT_FALSE(b.text.paste(u"9").changed);
  EXPECT_FALSE(b.text.undo().changed);
  EXPECT_EQ(before, b.text.text());
  EXPECT_TRUE(b.text.undoable());
  EXPECT_FALSE(b.text.canUndo());
  EXPECT_FALSE(b.text.canCutOrDelete());
  EXPECT_FALSE(b.text.canPaste());
  EXPECT_TRUE(b.text.canSelectAll());
  b.text.moveRight(true, false);
  EXPECT_EQ(Sel(1, 3), sel(b.text));
  EXPECT_TRUE(b.text.replaceSelection(u"7", true).changed);
  EXPECT_EQ(u",79", b.text.text());
  b.text.setReadOnly(false);
  EXPECT_TRUE(b.text.type(u'5').changed);
}

TEST(NumberText, TheMenuOffersWhatTheTextAllows) {
  Box b(u"138,139");
  EXPECT_FALSE(b.text.canUndo());
  EXPECT_FALSE(b.text.canCutOrDelete());
  EXPECT_TRUE(b.text.canPaste());
  EXPECT_TRUE(b.text.canSelectAll());
  b.text.select(0, 3);
  EXPECT_TRUE(b.text.canCutOrDelete());
  b.text.selectAll();
  EXPECT_FALSE(b.text.canSelectAll());
  b.text.type(u'5');
  EXPECT_TRUE(b.text.canUndo());
  EXPECT_TRUE(b.text.canSelectAll());
  // An empty text has nothing to select.
  Box empty;
  EXPECT_FALSE(empty.text.canSelectAll());
}

// ---- the limit, control characters, the modified flag ----------------------------------------

TEST(NumberText, TheLimitCutsTypingPasteAndReplacementButNotANewText) {
  Box b;
  EXPECT_EQ(NumberText::kNoLimit, b.text.limit());
  b.text.setLimit(6);
  EXPECT_EQ(6u, b.text.limit());
  NumberText::EditResult last;
  for (char16_t c : ustring(u"1380000")) last = b.text.type(c);
  EXPECT_EQ(u"138000", b.text.text());
  EXPECT_FALSE(last.changed);
  EXPECT_TRUE(last.limitHit);
  // Paste and a replacement take what fits, and say they were cut.
  b.text.select(2, 4);
  const auto pasted = b.text.paste(u"99999");
  EXPECT_TRUE(pasted.changed);
  EXPECT_TRUE(pasted.limitHit);
  EXPECT_EQ(u"139900", b.text.text());
  b.text.select(0, 1);
  const auto replaced = b.text.replaceSelection(u"55", false);
  EXPECT_TRUE(replaced.changed && replaced.limitHit);
  EXPECT_EQ(u"539900", b.text.text());
  // Nothing fits: the selection stays as it was.
  b.text.select(1, 1);
  EXPECT_FALSE(b.text.paste(u"1").changed);
  EXPECT_EQ(Sel(1, 1), sel(b.text));
  // A new text is not cut, nor is what undo puts back.
  b.text.setText(u"13800000001");
  EXPECT_EQ(u"13800000001", b.text.text());
  b.text.selectAll();
  b.text.deleteSelection();
  b.text.undo();
  EXPECT_EQ(u"13800000001", b.text.text());
  // Deleting is always allowed; typing still is not.
  b.text.moveToTextEnd(false);
  EXPECT_TRUE(b.text.backspace().changed);
  EXPECT_TRUE(b.text.type(u'1').limitHit);
  // Zero lifts the limit; no limit is larger than the largest.
  b.text.setLimit(0);
  EXPECT_EQ(NumberText::kNoLimit, b.text.limit());
  b.text.setLimit(NumberText::kNoLimit + 10);
  EXPECT_EQ(NumberText::kNoLimit, b.text.limit());
  EXPECT_FALSE(b.text.type(u'1').limitHit);
}

TEST(NumberText, ControlCharactersTypeNothing) {
  Box b(u"15");
  b.text.moveToTextEnd(false);
  for (char16_t c : {char16_t(1), char16_t(8), char16_t(9), char16_t(10), char16_t(13), char16_t(27),
                     char16_t(0x1F), char16_t(0x7F)})
    EXPECT_FALSE(b.text.type(c).changed) << int(c);
  EXPECT_EQ(u"15", b.text.text());
  EXPECT_FALSE(b.text.undoable());
  EXPECT_TRUE(b.text.type(u' ').changed);
  EXPECT_TRUE(b.text.type(u'中').changed);
  EXPECT_EQ(u"15 中", b.text.text());
}

TEST(NumberText, EditsMarkTheTextModified) {
  Box b(u"15");
  EXPECT_FALSE(b.text.modified());
  b.text.moveCaret(1, false);
  EXPECT_FALSE(b.text.modified());
  b.text.type(u'1');
  EXPECT_TRUE(b.text.modified());
  b.text.setModified(false);
  b.text.undo();
  EXPECT_TRUE(b.text.modified());
  b.text.setText(u"1");
  EXPECT_FALSE(b.text.modified());
  b.text.replaceSelection(u"2", false);
  EXPECT_TRUE(b.text.modified());
}

// ---- where positions show -------------------------------------------------------------------

TEST(NumberText, LineQueriesAnswerInUnits) {
  Box b(u"123,456,789,012,345", 80);  // lines at 0, 8, 16
  EXPECT_EQ(0u, b.text.lineOf(7));
  EXPECT_EQ(1u, b.text.lineOf(8));
  EXPECT_EQ(2u, b.text.lineOf(19));
  EXPECT_EQ(2u, b.text.lineOf(1000));
  EXPECT_EQ(8u, b.text.lineLength(0));
  EXPECT_EQ(3u, b.text.lineLength(2));
  EXPECT_EQ(35, b.text.xOf(1, 12));
  EXPECT_EQ(70, b.text.xOf(0, 100));  // past the line: its end
  EXPECT_EQ(0, b.text.spotOf(8).x);
  EXPECT_EQ(1u, b.text.spotOf(8).line);
  EXPECT_EQ(30, b.text.spotOf(1000).x);
  EXPECT_EQ(2u, b.text.spotOf(1000).line);
  // A point is before a character in its left half, after it in its right half.
  EXPECT_EQ(1u, b.text.hit(0, 14).pos);
  EXPECT_EQ(2u, b.text.hit(0, 15).pos);
  EXPECT_EQ(0u, b.text.hit(0, -50).pos);
  EXPECT_EQ(3u, b.text.hit(0, 32).pos);  // a comma is 5: its half is 2.5, rounded up
  EXPECT_EQ(4u, b.text.hit(0, 33).pos);
  // Past a wrapped line's end: its end, shown on it.
  const auto end0 = b.text.hit(0, 1000);
  EXPECT_EQ(8u, end0.pos);
  EXPECT_TRUE(end0.afterWrap);
  const auto last = b.text.hit(2, 1000);
  EXPECT_EQ(19u, last.pos);
  EXPECT_FALSE(last.afterWrap);
  // Lines above the first and below the last are those.
  EXPECT_EQ(0u, b.text.hit(-3, 0).pos);
  EXPECT_EQ(16u, b.text.hit(99, 0).pos);
  // The caret's spot follows where it shows.
  b.text.moveCaret(end0.pos, false, end0.afterWrap);
  EXPECT_EQ(0u, b.text.caretSpot().line);
  EXPECT_EQ(70, b.text.caretSpot().x);
  b.text.moveCaret(8, false);
  EXPECT_EQ(1u, b.text.caretSpot().line);
  EXPECT_EQ(0, b.text.caretSpot().x);
  // The end of a line before a line break is not a wrap.
  Box hard(u"12\n34");
  const auto h = hard.text.hit(0, 1000);
  EXPECT_EQ(2u, h.pos);
  EXPECT_FALSE(h.afterWrap);
}

TEST(NumberText, TheCurrentLineIsTheSelectionsFirstOrTheCarets) {
  Box b(u"123,456,789,012,345", 80);
  b.text.select(17, 3);
  EXPECT_EQ(0u, b.text.currentLine());
  EXPECT_EQ(0u, b.text.caretLine());
  b.text.select(3, 17);
  EXPECT_EQ(0u, b.text.currentLine());
  EXPECT_EQ(2u, b.text.caretLine());
  b.text.moveCaret(16, false, true);
  EXPECT_EQ(1u, b.text.currentLine());
}

TEST(NumberText, GlyphsShowALoneSurrogateAsTheReplacementAndAPairWithOneAdvance) {
  Box b(u"1\xD83D\xDE00\xDC00" u"2,345,678,901", 75);
  b.text.select(1, 7);
  NumberText::LineGlyphs g;
  b.text.glyphs(0, g);
  EXPECT_EQ(0u, g.start);
  EXPECT_EQ((std::vector<char16_t>{u'1', 0xD83D, 0xDE00, 0xFFFD, u'2', u','}), g.units);
  EXPECT_EQ((std::vector<int>{10, 20, 0, 12, 10, 5}), g.advances);
  EXPECT_EQ(1u, g.selFrom);
  EXPECT_EQ(6u, g.selTo);  // the selection goes on past the line
  b.text.glyphs(1, g);
  EXPECT_EQ(6u, g.start);
  EXPECT_EQ((std::vector<char16_t>{u'3', u'4', u'5', u',', u'6', u'7', u'8', u','}), g.units);
  EXPECT_EQ(0u, g.selFrom);
  EXPECT_EQ(1u, g.selTo);
  b.text.glyphs(2, g);
  EXPECT_EQ(g.selFrom, g.selTo);
  // A line break is not drawn.
  Box hard(u"12\r\n3");
  hard.text.glyphs(0, g);
  EXPECT_EQ((std::vector<char16_t>{u'1', u'2'}), g.units);
}
