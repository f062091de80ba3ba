// What a message costs: parts of a GSM-7 or UCS-2 text, the signature included.
#include <gtest/gtest.h>

#include "sms/sms_parts.h"

namespace lumo::sms {
namespace {

ustring repeat(ustring_view unit, std::size_t times) {
  ustring s;
  for (std::size_t i = 0; i < times; ++i) s += unit;
  return s;
}

TEST(SmsParts, EmptyTextCostsNothing) {
  EXPECT_EQ(countParts(u"").parts, 0);
}

TEST(SmsParts, GsmTextFitsOneSmsUpTo160Characters) {
  EXPECT_EQ(countParts(repeat(u"a", 160)).parts, 1);
  EXPECT_FALSE(countParts(repeat(u"a", 160)).unicode);
  EXPECT_EQ(countParts(repeat(u"a", 161)).parts, 2);
}

TEST(SmsParts, LongGsmTextTakes153CharactersAPart) {
  EXPECT_EQ(countParts(repeat(u"a", 306)).parts, 2);
  EXPECT_EQ(countParts(repeat(u"a", 307)).parts, 3);
}

TEST(SmsParts, ChineseTextFitsOneSmsUpTo70Characters) {
  EXPECT_EQ(countParts(repeat(u"审", 70)).parts, 1);
  EXPECT_TRUE(countParts(repeat(u"审", 70)).unicode);
  EXPECT_EQ(countParts(repeat(u"审", 71)).parts, 2);
}

TEST(SmsParts, LongUnicodeTextTakes67CharactersAPart) {
  EXPECT_EQ(countParts(repeat(u"审", 134)).parts, 2);
  EXPECT_EQ(countParts(repeat(u"审", 135)).parts, 3);
}

TEST(SmsParts, OneChineseCharacterMakesTheWholeTextUnicode) {
  ustring text = repeat(u"a", 100) + u"审";
  SmsParts p = countParts(text);
  EXPECT_TRUE(p.unicode);
  EXPECT_EQ(p.units, 101);
  EXPECT_EQ(p.parts, 2);
}

TEST(SmsParts, ExtensionCharactersCountTwo) {
  for (char16_t c : ustring(u"{}[]~\\|^\u20AC\f")) EXPECT_EQ(gsmSeptets(c), 2) << int(c);
  // 80 braces are 160 septets: one SMS; one more character makes two.
  EXPECT_EQ(countParts(repeat(u"{", 80)).parts, 1);
  EXPECT_EQ(countParts(repeat(u"{", 80) + u"a").parts, 2);
  EXPECT_FALSE(countParts(u"{").unicode);
}

TEST(SmsParts, BasicSetIncludesAccentsAndGreekCapitals) {
  for (char16_t c : ustring(u"@£$¥èéùìòÇØøÅåΔ_ΦΓΛΩΠΨΣΘΞÆæßÉ ¤¡ÄÖÑÜ§¿äöñüà\r\n")) EXPECT_EQ(gsmSeptets(c), 1) << int(c);
  for (char16_t c : ustring(u"`áÀ€审")) EXPECT_NE(gsmSeptets(c), 1) << int(c);
  EXPECT_EQ(gsmSeptets(u'\x1B'), 0);  // the escape code itself is no character
}

TEST(SmsParts, AnEscapedCharacterIsNeverSplitAcrossParts) {
  // 152 letters and a brace: the brace's two septets do not fit the first part's last septet.
  ustring text = repeat(u"a", 152) + u"{" + repeat(u"a", 152);
  EXPECT_EQ(countParts(text).units, 306);
  EXPECT_EQ(countParts(text).parts, 3);
}

TEST(SmsParts, ASurrogatePairIsNeverSplitAcrossParts) {
  ustring text = repeat(u"审", 66) + u"\U0001F600" + repeat(u"审", 66);
  EXPECT_EQ(countParts(text).units, 134);
  EXPECT_EQ(countParts(text).parts, 3);
  EXPECT_EQ(countParts(repeat(u"审", 65) + u"\U0001F600" + repeat(u"审", 67)).parts, 2);
}

TEST(SmsParts, SignatureTipsATextOverTheLimit) {
  // What the send window hands on: the text, "--" and the sender's name.
  ustring body = repeat(u"好", 66);
  EXPECT_EQ(countParts(body).parts, 1);
  EXPECT_EQ(countParts(body + u"--张三").parts, 1);
  EXPECT_EQ(countParts(body + u"--张三丰").parts, 2);
}

TEST(SmsReceivers, CountsEntriesThatHoldMoreThanBlanks) {
  EXPECT_EQ(countReceivers(u""), 0u);
  EXPECT_EQ(countReceivers(u"13800000000"), 1u);
  EXPECT_EQ(countReceivers(u"138,139,,  ,140"), 3u);
  EXPECT_EQ(countReceivers(u",138,"), 1u);
  EXPECT_EQ(countReceivers(u" 1 , 2 "), 2u);
}

}  // namespace
}  // namespace lumo::sms
