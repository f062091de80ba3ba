#include <gtest/gtest.h>

#include <iterator>
#include <random>

#include "automation/text.h"

using namespace lumo;

TEST(Text, TrimRemovesSpacesOnly) {
  EXPECT_EQ(trim(u"  a b  "), u"a b");
  EXPECT_EQ(trim(u"\ta\t"), u"\ta\t");
  EXPECT_EQ(trim(u"   "), u"");
  EXPECT_EQ(leadingBlanks(u"  x "), 2u);
  EXPECT_EQ(trailingBlanks(u"  x "), 1u);
}

TEST(Text, BlankMeansNothingLeftAfterTrimming) {
  EXPECT_TRUE(isBlank(u""));
  EXPECT_TRUE(isBlank(u"   "));
  EXPECT_FALSE(isBlank(u"  1 "));
  EXPECT_FALSE(isBlank(u"\t"));  // only spaces are trimmed
  EXPECT_FALSE(isBlank(u"\u3000"));
}

TEST(Text, Utf8RoundTripKeepsChineseAndAstralCharacters) {
  const ustring s = u"短信平台😀abc";
  EXPECT_EQ(fromUtf8(toUtf8(s)), s);
  EXPECT_EQ(s.size(), 9u);  // the astral character counts two units
}

TEST(Text, BadUtf8AndLoneSurrogatesBecomeReplacementCharacters) {
  EXPECT_EQ(fromUtf8("a\xff" "b"), u"a\uFFFDb");
  EXPECT_EQ(fromUtf8("\xe4\xb8"), u"\uFFFD\uFFFD");
  const char16_t lone[] = {u'x', 0xD800, u'y', 0};
  EXPECT_EQ(toUtf8(lone), "x\xef\xbf\xbdy");
}

TEST(Text, FindNoCaseFoldsLatinLetters) {
  EXPECT_EQ(findNoCase(u"UserName=x;Language=chs;", u"LANGUAGE="), 11u);
  EXPECT_EQ(findNoCase(u"abc", u"D"), ustring::npos);
  EXPECT_TRUE(equalsNoCase(u"Ä", u"ä"));
}

TEST(Text, SplitKeepsEmptyPieces) {
  auto p = split(u"a,,b,", u",");
  ASSERT_EQ(p.size(), 4u);
  EXPECT_EQ(p[1], u"");
  EXPECT_EQ(p[3], u"");
  EXPECT_EQ(split(u"", u",").size(), 1u);
}

TEST(Text, ParseNumberAcceptsTheLanguagesForms) {
  double d = 0;
  EXPECT_TRUE(parseNumber(u" 12 ", d));
  EXPECT_EQ(d, 12);
  EXPECT_TRUE(parseNumber(u"-1.5e2", d));
  EXPECT_EQ(d, -150);
  EXPECT_TRUE(parseNumber(u"&H10", d));
  EXPECT_EQ(d, 16);
  EXPECT_TRUE(parseNumber(u"&HFFFF", d));
  EXPECT_EQ(d, -1);
  EXPECT_TRUE(parseNumber(u"1,000", d));
  EXPECT_EQ(d, 1000);
  EXPECT_FALSE(parseNumber(u"", d));
  EXPECT_FALSE(parseNumber(u"12a", d));
  EXPECT_FALSE(parseNumber(u".", d));
  EXPECT_FALSE(parseNumber(u"1e", d));
}

TEST(Text, RoundingIsHalfToEven) {
  EXPECT_EQ(roundHalfEven(2.5), 2);
  EXPECT_EQ(roundHalfEven(3.5), 4);
  EXPECT_EQ(roundHalfEven(-2.5), -2);
}

TEST(Text, DoubleTextIsShortest) {
  EXPECT_EQ(doubleToText(1.5), u"1.5");
  EXPECT_EQ(doubleToText(100), u"100");
  EXPECT_EQ(doubleToText(0.1), u"0.1");
  EXPECT_EQ(doubleToText(1e20), u"1E+20");
}

TEST(Text, UnitScansAgreeWithALookAtEveryUnit) {
  // Texts of every length around the four or eight units read at once, the units looked
  // for at every place, and neighbours that differ from them in one bit.
  std::mt19937 rng(5);
  const char16_t alphabet[] = {u'\t', u'\r', u'\n', u'\x0b', u'\x08', u'\x0c', u'\x8009', u'\x0109', u'a', u'中', u'\0', u'\xffff'};
  for (int k = 0; k < 20000; ++k) {
    ustring s(rng() % 41, u'x');
    for (char16_t& c : s) c = alphabet[rng() % std::size(alphabet)];
    std::size_t tabs = 0;
    bool lineBreak = false;
    for (char16_t c : s) {
      tabs += c == u'\t';
      lineBreak = lineBreak || c == u'\r' || c == u'\n';
    }
    ASSERT_EQ(countOf(s, u'\t'), tabs);
    ASSERT_EQ(holdsEither(s, u'\r', u'\n'), lineBreak);
    const UnitScan scan = scanUnits(s, u'\t', u'\r', u'\n');
    ASSERT_EQ(scan.count, tabs);
    ASSERT_EQ(scan.either, lineBreak);
  }
  EXPECT_EQ(countOf(u"", u'\t'), 0u);
  EXPECT_FALSE(holdsEither(u"", u'\r', u'\n'));
}
