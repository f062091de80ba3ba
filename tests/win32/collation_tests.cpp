// The user's order of texts under Wine: the system's sort keys order texts as
// CompareStringEx does, so a sort through the keys and a sort comparing pairs
// put a list in the same order.
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "tests/support/text.h"
#include "ui/list_table.h"
#include "win32/list_view.h"

namespace lumo::win32 {
namespace {

// Chinese and Japanese, letters in both cases and widths, accents, digits,
// blanks, hyphens and apostrophes (which the system's word order sets apart).
std::vector<ustring> mixedTexts(int count) {
  const char16_t* const pieces[] = {u"张三", u"李四", u"王五", u"赵六", u"中", u"国", u"a", u"A", u"b", u"B", u"-",
                                    u"'", u" ", u"1", u"2", u"10", u"é", u"e", u"E", u"co-op", u"coop", u"ß", u"ss",
                                    u"\u00a0", u"Z", u"z", u"!", u".", u"\u3000", u"あ", u"ア", u"ｱ", u"Ａ", u"ñ", u"n"};
  std::mt19937 rng(3);
  std::vector<ustring> texts;
  for (int i = 0; i < count; ++i) {
    ustring t;
    for (unsigned k = 1 + rng() % 4; k > 0; --k) t += pieces[rng() % std::size(pieces)];
    texts.push_back(t);
  }
  return texts;
}

int sign(int v) { return (v > 0) - (v < 0); }

TEST(UserCollation, SortKeysOrderTextsAsCompareStringExDoes) {
  const UserCollation collation;
  const std::vector<ustring> texts = mixedTexts(3000);
  std::vector<std::string> keys(texts.size());
  for (std::size_t i = 0; i < texts.size(); ++i) ASSERT_TRUE(collation.appendSortKey(texts[i], keys[i]));
  std::mt19937 rng(5);
  for (int n = 0; n < 100000; ++n) {
    const std::size_t a = rng() % texts.size(), b = rng() % texts.size();
    const int pairs = CompareStringEx(LOCALE_NAME_USER_DEFAULT, 0, reinterpret_cast<const wchar_t*>(texts[a].data()),
                                      static_cast<int>(texts[a].size()), reinterpret_cast<const wchar_t*>(texts[b].data()),
                                      static_cast<int>(texts[b].size()), nullptr, nullptr, 0) -
                      CSTR_EQUAL;
    ASSERT_EQ(sign(keys[a].compare(keys[b])), sign(pairs)) << test::u8(texts[a]) << " / " << test::u8(texts[b]);
  }
}

TEST(UserCollation, ASortThroughKeysIsTheSortComparingPairs) {
  const UserCollation collation;
  std::vector<ustring> texts = mixedTexts(5000);
  // Cells of 10,000 characters, whose keys are longer than the first buffer tried.
  const std::vector<ustring> shortOnes(texts.begin(), texts.begin() + 40);
  for (std::size_t i = 0; i < shortOnes.size(); ++i) {
    ustring t;
    while (t.size() < 10000) t += shortOnes[(i + t.size()) % shortOnes.size()];
    texts.push_back(t.substr(0, 10000));
  }
  std::string longKey;
  ASSERT_TRUE(collation.appendSortKey(texts.back(), longKey));
  EXPECT_GT(longKey.size(), 256u);
  std::vector<ustring_view> views(texts.begin(), texts.end());
  for (const bool descending : {false, true}) {
    std::vector<uint32_t> expected(texts.size());
    for (uint32_t i = 0; i < expected.size(); ++i) expected[i] = i;
    std::stable_sort(expected.begin(), expected.end(), [&](uint32_t a, uint32_t b) {
      const int c = collation.compare(texts[a], texts[b]);
      return descending ? c > 0 : c < 0;
    });
    EXPECT_EQ(ui::sortOrder(views, ui::SortKind::Text, descending, collation), expected) << (descending ? "down" : "up");
  }
}

}  // namespace
}  // namespace lumo::win32
