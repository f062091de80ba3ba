#include "host_test.h"
#include "host/parse.h"

using namespace lumo;
using namespace lumo::test;

// ---- GetToken / GetKey / GetValue -------------------------------------------

TEST(SessionToken, SplitsAtFirstSeparatorAndKeepsRemainderUntrimmed) {
  ustring t = u"a = b ; c";
  EXPECT_EQ(getToken(t, u"="), u"a ");
  EXPECT_EQ(t, u" b ; c");
}

TEST(SessionToken, SplitsOnlyAtTheFirstOccurrence) {
  ustring t = u"x;y;z";
  EXPECT_EQ(getToken(t, u";"), u"x");
  EXPECT_EQ(t, u"y;z");
}

TEST(SessionToken, MissingSeparatorReturnsWholeTextAndEmptiesIt) {
  ustring t = u"abc";
  EXPECT_EQ(getToken(t, u";"), u"abc");
  EXPECT_EQ(t, u"");
}

TEST(SessionToken, EmptyTextGivesEmptyTokenAndStaysEmpty) {
  ustring t;
  EXPECT_EQ(getToken(t, u";"), u"");
  EXPECT_EQ(t, u"");
}

TEST(SessionToken, SeparatorMatchesWithoutRegardToCase) {
  ustring t = u"oneANDtwo";
  EXPECT_EQ(getToken(t, u"and"), u"one");
  EXPECT_EQ(t, u"two");
}

TEST(SessionToken, SeparatorAtStartGivesEmptyFirstPiece) {
  ustring t = u";rest";
  EXPECT_EQ(getToken(t, u";"), u"");
  EXPECT_EQ(t, u"rest");
}

TEST(SessionToken, SeparatorAtEndLeavesEmptyRemainder) {
  ustring t = u"last;";
  EXPECT_EQ(getToken(t, u";"), u"last");
  EXPECT_EQ(t, u"");
}

TEST(SessionToken, MultiCharacterSeparatorIsConsumedWhole) {
  ustring t = u"a^|^b";
  EXPECT_EQ(getToken(t, u"^|^"), u"a");
  EXPECT_EQ(t, u"b");
}

TEST(SessionToken, EmptySeparatorReturnsWholeText) {
  ustring t = u"a=b";
  EXPECT_EQ(getToken(t, u""), u"a=b");
  EXPECT_EQ(t, u"");
}

TEST(SessionKey, KeyIsTrimmedTextBeforeEquals) {
  ustring t = u"  User Name  = x";
  EXPECT_EQ(getKey(t), u"User Name");
  EXPECT_EQ(t, u" x");
}

TEST(SessionKey, KeyWithoutEqualsTakesEverything) {
  ustring t = u" B ";
  EXPECT_EQ(getKey(t), u"B");
  EXPECT_EQ(t, u"");
}

TEST(SessionValue, PlainValueRunsToNextSemicolonAndIsTrimmed) {
  ustring t = u"  3 ;D=4";
  EXPECT_EQ(getValue(t), u"3");
  EXPECT_EQ(t, u"D=4");
}

TEST(SessionValue, BracedValueKeepsSemicolonsAndEquals) {
  ustring t = u"{x;y=2};C=3";
  EXPECT_EQ(getValue(t), u"x;y=2");
  EXPECT_EQ(t, u"C=3");
}

TEST(SessionValue, TextBetweenClosingBraceAndSemicolonIsDiscarded) {
  ustring t = u"{a} junk ;B=1";
  EXPECT_EQ(getValue(t), u"a");
  EXPECT_EQ(t, u"B=1");
}

TEST(SessionValue, BracedValueIsTrimmedInside) {
  ustring t = u"  {  in side  }";
  EXPECT_EQ(getValue(t), u"in side");
  EXPECT_EQ(t, u"");
}

TEST(SessionValue, UnclosedBraceTakesTheRestOfTheText) {
  ustring t = u"{a;b=c";
  EXPECT_EQ(getValue(t), u"a;b=c");
  EXPECT_EQ(t, u"");
}

TEST(SessionValue, BraceNotAtStartIsOrdinaryText) {
  ustring t = u"x{a;b}";
  EXPECT_EQ(getValue(t), u"x{a");
  EXPECT_EQ(t, u"b}");
}

TEST(SessionValue, EmptyTextGivesEmptyValue) {
  ustring t;
  EXPECT_EQ(getValue(t), u"");
  EXPECT_EQ(t, u"");
}

// ---- ParseString and the table ------------------------------------------------

TEST(SessionString, BracesSemicolonsAndBlanksExample) {
  Parse p;
  EXPECT_TRUE(p.parseString(u"A=1;B={x;y=2};C= 3"));
  EXPECT_EQ(p.entryCount(), 3u);
  EXPECT_EQ(p.getProperty(u"A"), u"1");
  EXPECT_EQ(p.getProperty(u"B"), u"x;y=2");
  EXPECT_EQ(p.getProperty(u"C"), u"3");
}

TEST(SessionString, EmptyKeyEndsParsing) {
  Parse p;
  p.parseString(u"A=1;=2;B=3");
  EXPECT_EQ(p.entryCount(), 1u);
  EXPECT_EQ(p.getProperty(u"A"), u"1");
  EXPECT_EQ(errorOf([&] { p.getProperty(u"B"); }), errnum::InvalidCall);
}

TEST(SessionString, EmptyEntryIsNotSkippedItsSemicolonJoinsTheNextKey) {
  Parse p;
  p.parseString(u"A=1;;B=2");
  EXPECT_EQ(p.entryCount(), 2u);
  EXPECT_EQ(p.getProperty(u"A"), u"1");
  EXPECT_EQ(p.getProperty(u";B"), u"2");
  EXPECT_EQ(errorOf([&] { p.getProperty(u"B"); }), errnum::InvalidCall);
}

TEST(SessionString, TrailingEntryWithoutEqualsStoresEmptyValue) {
  Parse p;
  p.parseString(u"A=1;B");
  EXPECT_EQ(p.entryCount(), 2u);
  EXPECT_EQ(p.getProperty(u"B"), u"");
}

TEST(SessionString, KeysAreLookedUpWithoutRegardToCase) {
  Parse p;
  p.parseString(u"a=1");
  EXPECT_EQ(p.getProperty(u"A"), u"1");
  EXPECT_EQ(p.getProperty(u"a"), u"1");
}

TEST(SessionString, EmptyTextGivesEmptyTable) {
  Parse p;
  EXPECT_TRUE(p.parseString(u""));
  EXPECT_EQ(p.entryCount(), 0u);
  EXPECT_EQ(errorOf([&] { p.getProperty(u"A"); }), errnum::InvalidCall);
}

TEST(SessionString, TrailingSemicolonAddsNothing) {
  Parse p;
  p.parseString(u"A=1;B=2;");
  EXPECT_EQ(p.entryCount(), 2u);
}

TEST(SessionString, BlanksAroundKeysAndValuesAreTrimmed) {
  Parse p;
  p.parseString(u"  UserName  =  张三  ; DBMS Name = Microsoft SQL Server ");
  EXPECT_EQ(p.userName(), u"张三");
  EXPECT_EQ(p.conDbmsName(), u"Microsoft SQL Server");
}

TEST(SessionString, KeysMayContainBlanksInside) {
  Parse p;
  p.parseString(u"DBMS Version=10.50;DBMS Name=SQL");
  EXPECT_EQ(p.conDbmsVersion(), u"10.50");
  EXPECT_EQ(p.conDbmsName(), u"SQL");
}

TEST(SessionString, ValueMayContainEqualsSigns) {
  Parse p;
  p.parseString(u"ConnectString=Provider=SQLOLEDB;X=1");
  EXPECT_EQ(p.conStr(), u"Provider=SQLOLEDB");
  EXPECT_EQ(p.getProperty(u"X"), u"1");
}

TEST(SessionString, BracedConnectStringKeepsItsOwnSemicolons) {
  Parse p;
  p.parseString(u"ConnectString={Provider=SQLOLEDB;Data Source=srv;Initial Catalog=db};UserName=admin");
  EXPECT_EQ(p.conStr(), u"Provider=SQLOLEDB;Data Source=srv;Initial Catalog=db");
  EXPECT_EQ(p.userName(), u"admin");
}

TEST(SessionString, BracedValueAsLastEntryWithoutSemicolon) {
  Parse p;
  p.parseString(u"A={1;2}");
  EXPECT_EQ(p.entryCount(), 1u);
  EXPECT_EQ(p.getProperty(u"A"), u"1;2");
}

TEST(SessionString, DuplicateKeyRaises457AndKeepsEarlierEntries) {
  Parse p;
  EXPECT_EQ(errorOf([&] { p.parseString(u"A=1;B=2;a=3;C=4"); }), errnum::KeyAlreadyExists);
  EXPECT_EQ(p.entryCount(), 2u);
  EXPECT_EQ(p.getProperty(u"A"), u"1");
  EXPECT_EQ(p.getProperty(u"B"), u"2");
  EXPECT_EQ(errorOf([&] { p.getProperty(u"C"); }), errnum::InvalidCall);
}

TEST(SessionString, StoredStringIsReplacedEvenWhenParsingFails) {
  Parse p;
  p.parseString(u"X=1");
  EXPECT_EQ(errorOf([&] { p.parseString(u"A=1;A=2"); }), errnum::KeyAlreadyExists);
  EXPECT_EQ(p.propsString(), u"A=1;A=2");
  EXPECT_EQ(errorOf([&] { p.getProperty(u"X"); }), errnum::InvalidCall);
}

TEST(SessionString, PropsStringReturnsTheTextAsGiven) {
  Parse p;
  EXPECT_EQ(p.propsString(), u"");
  p.parseString(u" A = 1 ;");
  EXPECT_EQ(p.propsString(), u" A = 1 ;");
}

TEST(SessionString, ParsingAgainReplacesTheTable) {
  Parse p;
  p.parseString(u"A=1;B=2");
  p.parseString(u"C=3");
  EXPECT_EQ(p.entryCount(), 1u);
  EXPECT_EQ(errorOf([&] { p.getProperty(u"A"); }), errnum::InvalidCall);
  EXPECT_EQ(p.getProperty(u"C"), u"3");
}

TEST(SessionString, SameKeyInDifferentInstancesIsIndependent) {
  Parse a, b;
  a.parseString(u"K=1");
  b.parseString(u"K=2");
  EXPECT_EQ(a.getProperty(u"K"), u"1");
  EXPECT_EQ(b.getProperty(u"K"), u"2");
}

TEST(SessionString, ChineseKeysAndValuesAreKept) {
  Parse p;
  p.parseString(u"用户=张三;部门={研发;测试}");
  EXPECT_EQ(p.getProperty(u"用户"), u"张三");
  EXPECT_EQ(p.getProperty(u"部门"), u"研发;测试");
}

TEST(SessionString, MissingKeyRaises5) {
  Parse p;
  p.parseString(u"A=1");
  EXPECT_EQ(errorOf([&] { p.getProperty(u"Missing"); }), errnum::InvalidCall);
}

TEST(SessionString, GetPropertyBeforeParseStringRaises) {
  Parse p;
  EXPECT_EQ(errorOf([&] { p.getProperty(u"A"); }), errnum::InvalidCall);
  EXPECT_EQ(p.entryCount(), 0u);
}

TEST(SessionString, TypedPropertiesBeforeParseStringRaise) {
  Parse p;
  EXPECT_NE(errorOf([&] { p.userName(); }), 0);
  EXPECT_NE(errorOf([&] { p.userId(); }), 0);
  EXPECT_NE(errorOf([&] { p.conDbmsName(); }), 0);
  EXPECT_NE(errorOf([&] { p.conDbmsVersion(); }), 0);
  EXPECT_NE(errorOf([&] { p.conStr(); }), 0);
}

TEST(SessionString, TypedPropertiesPassTheMissingKeyErrorOn) {
  Parse p;
  p.parseString(u"Other=1");
  EXPECT_EQ(errorOf([&] { p.userName(); }), errnum::InvalidCall);
  EXPECT_EQ(errorOf([&] { p.userId(); }), errnum::InvalidCall);
  EXPECT_EQ(errorOf([&] { p.conDbmsName(); }), errnum::InvalidCall);
  EXPECT_EQ(errorOf([&] { p.conDbmsVersion(); }), errnum::InvalidCall);
  EXPECT_EQ(errorOf([&] { p.conStr(); }), errnum::InvalidCall);
}

TEST(SessionString, TypedPropertiesReadTheirFixedKeys) {
  Parse p;
  p.parseString(
      u"username=李四;USERID=16394;dbms name=Microsoft SQL Server;DBMS VERSION=10.50.1600;connectstring={a;b}");
  EXPECT_EQ(p.userName(), u"李四");
  EXPECT_EQ(p.userId(), 16394);
  EXPECT_EQ(p.conDbmsName(), u"Microsoft SQL Server");
  EXPECT_EQ(p.conDbmsVersion(), u"10.50.1600");
  EXPECT_EQ(p.conStr(), u"a;b");
}

// ---- UserID conversion ----------------------------------------------------------

namespace {
int32_t userIdError(const ustring& text) {
  Parse p;
  p.parseString(u"UserID=" + text);
  return errorOf([&] { p.userId(); });
}
int16_t userIdOf(const ustring& text) {
  Parse p;
  p.parseString(u"UserID=" + text);
  return p.userId();
}
}  // namespace

TEST(SessionUserId, AcceptsTheWholeSixteenBitRange) {
  EXPECT_EQ(userIdOf(u"-32768"), -32768);
  EXPECT_EQ(userIdOf(u"32767"), 32767);
  EXPECT_EQ(userIdOf(u"0"), 0);
}

TEST(SessionUserId, OutOfRangeRaisesOverflow) {
  EXPECT_EQ(userIdError(u"32768"), errnum::Overflow);
  EXPECT_EQ(userIdError(u"-32769"), errnum::Overflow);
  EXPECT_EQ(userIdError(u"100000"), errnum::Overflow);
}

TEST(SessionUserId, NonNumericTextRaisesTypeMismatch) {
  EXPECT_EQ(userIdError(u"abc"), errnum::TypeMismatch);
  EXPECT_EQ(userIdError(u"12a"), errnum::TypeMismatch);
}

TEST(SessionUserId, EmptyValueRaisesTypeMismatch) { EXPECT_EQ(userIdError(u""), errnum::TypeMismatch); }

TEST(SessionUserId, FractionsRoundHalfToEven) {
  EXPECT_EQ(userIdOf(u"2.5"), 2);
  EXPECT_EQ(userIdOf(u"3.5"), 4);
  EXPECT_EQ(userIdOf(u"-1.5"), -2);
}

TEST(SessionUserId, HexadecimalTextConverts) { EXPECT_EQ(userIdOf(u"&H10"), 16); }

TEST(SessionUserId, BracedNumberConverts) { EXPECT_EQ(userIdOf(u"{ 42 }"), 42); }
