#include "host_test.h"
#include "host/language.h"
#include "host/parse.h"

using namespace lumo;
using namespace lumo::test;

class ParseLanguage : public HostTest {
 protected:
  // A session in 'language' with the class's own loader present.
  void inLanguage(const ustring& language) {
    session(u"UserName=x;Language=" + language);
    fake.addResLoader(u"LumoRESLOADER.Loader");
    fake.addResLoader(u"LumoResLoader.Loader");
  }
  Parse p;
};

// ---- LoadVtString ----------------------------------------------------------------

TEST_F(ParseLanguage, LanguageIsTakenFromTheSessionWhenEmpty) {
  inLanguage(u"en");
  EXPECT_EQ(p.language(), u"");
  p.loadVtString(u"保存");
  EXPECT_EQ(p.language(), u"en");
}

TEST_F(ParseLanguage, LanguageSetByTheHostIsKept) {
  inLanguage(u"en");
  p.setLanguage(u"cht");
  EXPECT_EQ(p.loadVtString(u"保存"), u"cht:保存");
  EXPECT_EQ(fake.creationCount(u"PropsMgr.ShareProps"), 0u);
}

TEST_F(ParseLanguage, OwnLoaderIsCreatedAndSetUp) {
  inLanguage(u"en");
  EXPECT_EQ(p.loadVtString(u"保存"), u"en:保存");
  ASSERT_NE(p.resLoader(), nullptr);
  EXPECT_EQ(fake.calls(u"LumoRESLOADER.Loader"),
            (std::vector<std::string>{"LumoRESLOADER.Loader.ResFileBaseName = 'LUMOINDUSTRY'",
                                      "LumoRESLOADER.Loader.LanguageID = 'en'",
                                      "LumoRESLOADER.Loader.LoadString('保存')"}));
  // The shared module loader is not involved.
  EXPECT_EQ(fake.creationCount(u"LumoResLoader.Loader"), 0u);
}

TEST_F(ParseLanguage, OwnLoaderIsKeptBetweenLookups) {
  inLanguage(u"en");
  p.loadVtString(u"a");
  p.loadVtString(u"b");
  EXPECT_EQ(fake.creationCount(u"LumoRESLOADER.Loader"), 1u);
}

TEST_F(ParseLanguage, LoaderGivenByTheHostIsUsedAndSetUp) {
  inLanguage(u"en");
  auto own = std::make_shared<DynamicObject>();
  own->property(u"ResFileBaseName").property(u"LanguageID");
  own->on(u"LoadString", [](InvokeKind, Args& a) { return Variant(u"host:" + a[0].toString()); });
  p.setResLoader(own);
  EXPECT_EQ(p.loadVtString(u"保存"), u"host:保存");
  EXPECT_EQ(own->propertyValue(u"ResFileBaseName"), Variant(u"LUMOINDUSTRY"));
  EXPECT_EQ(own->propertyValue(u"LanguageID"), Variant(u"en"));
  EXPECT_EQ(fake.creationCount(u"LumoRESLOADER.Loader"), 0u);
}

TEST_F(ParseLanguage, TextIsTrimmedBeforeTheLookup) {
  inLanguage(u"cht");
  EXPECT_EQ(p.loadVtString(u"  保存  "), u"cht:保存");
}

TEST_F(ParseLanguage, SimplifiedChineseReturnsTheKeyUnchangedBlanksIncluded) {
  inLanguage(u"chs");
  EXPECT_EQ(p.loadVtString(u"  保存 "), u"  保存 ");
  EXPECT_EQ(p.loadVtString2(u" 退出"), u" 退出");
}

TEST_F(ParseLanguage, SimplifiedChineseIsRecognisedInAnyCase) {
  inLanguage(u"CHS");
  EXPECT_EQ(p.loadVtString(u" 保存"), u" 保存");
}

TEST_F(ParseLanguage, WithoutSessionLanguageTheLanguageCodeDecides) {
  fake.setSessionString(u"UserName=x;Language=");
  fake.addResLoader(u"LumoRESLOADER.Loader");
  EXPECT_EQ(p.loadVtString(u" 保存"), u" 保存");
  fake.setCurrentLanguage(u"en");
  EXPECT_EQ(p.loadVtString(u"保存"), u"en:保存");
}

TEST_F(ParseLanguage, LoadVtString2UsesLoadString2) {
  inLanguage(u"en");
  EXPECT_EQ(p.loadVtString2(u"保存"), u"en2:保存");
  EXPECT_EQ(fake.calls(u"LumoRESLOADER.Loader").back(), "LumoRESLOADER.Loader.LoadString2('保存')");
}

TEST_F(ParseLanguage, MissingLoaderReturnsTheTextAsItStands) {
  session(u"Language=en");
  EXPECT_EQ(p.loadVtString(u" 保存 "), u" 保存 ");
  EXPECT_EQ(p.loadVtString2(u" 保存 "), u" 保存 ");
}

TEST_F(ParseLanguage, FailingLoaderReturnsTheTextAsItStands) {
  session(u"Language=en");
  fake.addFailingResLoader(u"LumoRESLOADER.Loader");
  EXPECT_EQ(p.loadVtString(u"保存 "), u"保存 ");
}

TEST_F(ParseLanguage, LookupKeepsThePendingError) {
  inLanguage(u"en");
  err().set(Error(3021, u"EOF", u"caller", u"f.hlp", 5));
  const ErrState before = err();
  EXPECT_EQ(p.loadVtString(u"保存"), u"en:保存");
  EXPECT_TRUE(err() == before);
}

TEST_F(ParseLanguage, LookupKeepsThePendingErrorWhenTheLoaderRaises) {
  session(u"Language=en");
  fake.addFailingResLoader(u"LumoRESLOADER.Loader");
  err().set(Error(3021, u"EOF", u"caller"));
  const ErrState before = err();
  p.loadVtString(u"保存");
  p.loadspecialVtString(u"~$~保存^|^x");
  EXPECT_TRUE(err() == before);
}

TEST_F(ParseLanguage, NoSessionAtAllReturnsTheText) {
  EXPECT_EQ(p.loadVtString(u"  保存"), u"  保存");
}

// ---- special texts -------------------------------------------------------------------

TEST_F(ParseLanguage, SpecialTextTranslatesMarkedPiecesAndKeepsLiterals) {
  inLanguage(u"en");
  EXPECT_EQ(p.loadspecialVtString(u"~$~A^|^: ^|^~$~B"), u"en:A: en:B");
}

TEST_F(ParseLanguage, LoadVtStringHandsSpecialTextsOn) {
  inLanguage(u"en");
  EXPECT_EQ(p.loadVtString(u"  ~$~用户^|^:张三"), u"en:用户:张三");
}

TEST_F(ParseLanguage, SpecialTextInSimplifiedChineseDropsOnlyTheMarkers) {
  inLanguage(u"chs");
  EXPECT_EQ(p.loadVtString(u"~$~用户^|^: ^|^~$~张三"), u"用户: 张三");
}

TEST_F(ParseLanguage, SpecialTextWithoutMarkersIsJoinedLiterally) {
  inLanguage(u"en");
  EXPECT_EQ(p.loadspecialVtString(u"a^|^b^|^c"), u"abc");
  EXPECT_EQ(fake.creationCount(u"LumoRESLOADER.Loader"), 0u);
}

TEST_F(ParseLanguage, MarkerMustStandAtTheStartOfThePiece) {
  inLanguage(u"en");
  EXPECT_EQ(p.loadspecialVtString(u" ~$~A^|^x~$~"), u" ~$~Ax~$~");
}

TEST_F(ParseLanguage, EmptyPiecesAddNothing) {
  inLanguage(u"en");
  EXPECT_EQ(p.loadspecialVtString(u"^|^^|^~$~^|^"), u"");
}

TEST_F(ParseLanguage, SeparatorIsMatchedExactly) {
  inLanguage(u"en");
  EXPECT_EQ(p.loadspecialVtString(u"a^|b^ |^c"), u"a^|b^ |^c");
}

TEST_F(ParseLanguage, SpecialTextWithFailingLoaderKeepsPiecesUntranslated) {
  session(u"Language=en");
  fake.addFailingResLoader(u"LumoRESLOADER.Loader");
  EXPECT_EQ(p.loadspecialVtString(u"~$~A^|^: ^|^~$~B"), u"A: B");
}

// ---- formats and field names -------------------------------------------------------------

TEST_F(ParseLanguage, LoadResFormatUsesTheClassLoaderAndTheArguments) {
  session(u"Language=en");
  fake.addResLoader(u"LumoRESLOADER.Loader", {{u"用户:[%1]关联职员:[%2]", u"User [%1] employee [%2]"}});
  EXPECT_EQ(p.loadResFormat(u"用户:[%1]关联职员:[%2]", {u"admin", int32_t(7)}), u"User [admin] employee [7]");
}

TEST_F(ParseLanguage, LoadResFormatInSimplifiedChineseFillsTheKey) {
  inLanguage(u"chs");
  EXPECT_EQ(p.loadResFormat(u"启用[%1]短信通知成功！", {u"请假单"}), u"启用[请假单]短信通知成功！");
}

TEST_F(ParseLanguage, FieldNameGetsChtSuffix) {
  session(u"Language=cht");
  EXPECT_EQ(p.getLanguageFieldName(u"FName"), u"FName_CHT");
}

TEST_F(ParseLanguage, FieldNameGetsEnSuffix) {
  session(u"Language=en");
  EXPECT_EQ(p.getLanguageFieldName(u"FName"), u"FName_EN");
}

TEST_F(ParseLanguage, FieldNameIsUnchangedInSimplifiedChinese) {
  session(u"Language=chs");
  EXPECT_EQ(p.getLanguageFieldName(u"FName"), u"FName");
}

TEST_F(ParseLanguage, FieldNameLanguageIgnoresCase) {
  session(u"Language=Cht");
  EXPECT_EQ(p.getLanguageFieldName(u"FName"), u"FName_CHT");
}

TEST_F(ParseLanguage, FieldNameIsTrimmed) {
  session(u"Language=chs");
  EXPECT_EQ(p.getLanguageFieldName(u"  FName "), u"FName");
  session(u"Language=en");
  EXPECT_EQ(p.getLanguageFieldName(u" FName "), u"FName _EN");
}

TEST_F(ParseLanguage, FieldNameWithoutSessionIsUnchanged) {
  EXPECT_EQ(p.getLanguageFieldName(u"FName"), u"FName");
}

// ---- StrMultiLanguage ----------------------------------------------------------------------

TEST_F(ParseLanguage, MultiLanguageDoesNothingInSimplifiedChinese) {
  session(u"Language=chs");
  fake.registerComponent(u"FrmRes.FrmResLoader", nullptr);
  p.strMultiLanguage(std::make_shared<DynamicObject>(), nullptr, Variant::missing());
  EXPECT_EQ(fake.creationCount(u"FrmRes.FrmResLoader"), 0u);
}

TEST_F(ParseLanguage, MultiLanguageSetsColumnHeadersFlagThenTranslates) {
  session(u"Language=en");
  fake.registerComponent(u"FrmRes.FrmResLoader", [](FakeComponent& c) {
    c.property(u"NeedMLColumnHeaders", false);
    c.on(u"LoadFrmResStrings", [](InvokeKind, Args&) { return Variant(); });
  });
  p.strMultiLanguage(std::make_shared<DynamicObject>(), nullptr, Variant(u"bag"));
  EXPECT_EQ(fake.calls(u"FrmRes.FrmResLoader"),
            (std::vector<std::string>{"FrmRes.FrmResLoader.NeedMLColumnHeaders = True",
                                      "FrmRes.FrmResLoader.LoadFrmResStrings(<object>, 'en', Nothing, 'bag')"}));
  EXPECT_NE(p.frmResLoader(), nullptr);
}

TEST_F(ParseLanguage, MultiLanguageUsesTheFormLoaderGivenByTheHost) {
  session(u"Language=cht");
  auto own = std::make_shared<DynamicObject>();
  int translated = 0;
  own->property(u"NeedMLColumnHeaders", false);
  own->on(u"LoadFrmResStrings", [&](InvokeKind, Args&) {
    ++translated;
    return Variant();
  });
  p.setFrmResLoader(own);
  p.strMultiLanguage(std::make_shared<DynamicObject>(), nullptr, Variant::missing());
  EXPECT_EQ(translated, 1);
  EXPECT_EQ(own->propertyValue(u"NeedMLColumnHeaders"), Variant(true));
  EXPECT_EQ(fake.creationCount(u"FrmRes.FrmResLoader"), 0u);
}

TEST_F(ParseLanguage, MultiLanguageWithoutFormLoaderRaises) {
  session(u"Language=en");
  EXPECT_EQ(errorOf([&] { p.strMultiLanguage(nullptr, nullptr, Variant::missing()); }),
            errnum::CannotCreateObject);
}

// ---- TestForMultilanguage --------------------------------------------------------------------

TEST_F(ParseLanguage, TestForMultilanguageTranslatesTheWordInPlace) {
  inLanguage(u"chs");
  Variant word(u" 保存");
  p.testForMultilanguage(u"en", word);
  EXPECT_EQ(word, Variant(u" en:保存"));
}

TEST_F(ParseLanguage, TestForMultilanguageLeavesTheWordInSimplifiedChinese) {
  inLanguage(u"en");
  Variant word(u" 保存 ");
  p.testForMultilanguage(u"chs", word);
  EXPECT_EQ(word, Variant(u" 保存 "));
  EXPECT_TRUE(fake.calls(u"LumoResLoader.Loader").empty());
}

TEST_F(ParseLanguage, TestForMultilanguageWritesThroughAReference) {
  inLanguage(u"chs");
  Variant word(u"退出");
  Variant ref = Variant::ref(&word);
  p.testForMultilanguage(u"cht", ref);
  EXPECT_EQ(word, Variant(u"cht:退出"));
}

TEST_F(ParseLanguage, TestForMultilanguageWithoutIdUsesTheSessionLanguage) {
  inLanguage(u"en");
  Variant word(u"退出");
  p.testForMultilanguage(u"", word);
  EXPECT_EQ(word, Variant(u"en:退出"));
}

TEST_F(ParseLanguage, TestForMultilanguageLeavesNullAlone) {
  inLanguage(u"en");
  Variant word = Variant::null();
  p.testForMultilanguage(u"en", word);
  EXPECT_TRUE(word.isNull());
}

TEST_F(ParseLanguage, TestForMultilanguageWithMissingLoaderKeepsTheWord) {
  session(u"Language=en");
  Variant word(u"退出");
  p.testForMultilanguage(u"en", word);
  EXPECT_EQ(word, Variant(u"退出"));
}

// ---- fonts --------------------------------------------------------------------------------

namespace {
std::shared_ptr<DynamicObject> makeFont() {
  auto f = std::make_shared<DynamicObject>(u"StdFont");
  f->property(u"Name", u"MS Sans Serif").property(u"Charset", int16_t(0));
  return f;
}
}  // namespace

TEST_F(ParseLanguage, LedgerFontIsSongTiInSimplifiedChinese) {
  session(u"Language=chs");
  auto font = makeFont();
  auto ledger = std::make_shared<DynamicObject>(u"Ledger");
  ledger->property(u"Font", ObjectPtr(font));
  p.setLedgerFont(ledger);
  EXPECT_EQ(font->propertyValue(u"Name"), Variant(u"宋体"));
  EXPECT_EQ(font->propertyValue(u"Charset"), Variant(int16_t(134)));
}

TEST_F(ParseLanguage, LedgerFontIsTraditionalChineseForCht) {
  session(u"Language=cht");
  auto font = makeFont();
  auto ledger = std::make_shared<DynamicObject>(u"Ledger");
  ledger->property(u"Font", ObjectPtr(font));
  p.setLedgerFont(ledger);
  EXPECT_EQ(font->propertyValue(u"Name"), Variant(u"新細明體"));
  EXPECT_EQ(font->propertyValue(u"Charset"), Variant(int16_t(136)));
}

TEST_F(ParseLanguage, LedgerFontIsLatinForEnglish) {
  session(u"Language=en");
  auto font = makeFont();
  auto ledger = std::make_shared<DynamicObject>(u"Ledger");
  ledger->property(u"Font", ObjectPtr(font));
  p.setLedgerFont(ledger);
  EXPECT_EQ(font->propertyValue(u"Name"), Variant(u"Tahoma"));
  EXPECT_EQ(font->propertyValue(u"Charset"), Variant(int16_t(0)));
}

TEST_F(ParseLanguage, Ledger4FontAlsoSetsHeaderFooterAndTextLine) {
  session(u"Language=chs");
  auto font = makeFont(), header = makeFont(), footer = makeFont();
  auto ledger = std::make_shared<DynamicObject>(u"Ledger4");
  ledger->property(u"Font", ObjectPtr(font))
      .property(u"Header", ObjectPtr(header))
      .property(u"Footer", ObjectPtr(footer))
      .property(u"TextlineFontName", u"")
      .property(u"TextlineFontCharset", int16_t(0));
  p.setLedger4Font(ledger);
  for (auto& f : {font, header, footer}) {
    EXPECT_EQ(f->propertyValue(u"Name"), Variant(u"宋体"));
    EXPECT_EQ(f->propertyValue(u"Charset"), Variant(int16_t(134)));
  }
  EXPECT_EQ(ledger->propertyValue(u"TextlineFontName"), Variant(u"宋体"));
  EXPECT_EQ(ledger->propertyValue(u"TextlineFontCharset"), Variant(int16_t(134)));
}

TEST_F(ParseLanguage, LedgerFontOfNothingRaises91) {
  session(u"Language=chs");
  EXPECT_EQ(errorOf([&] { p.setLedgerFont(nullptr); }), errnum::ObjectVariableNotSet);
  EXPECT_EQ(errorOf([&] { p.setLedger4Font(nullptr); }), errnum::ObjectVariableNotSet);
}

TEST_F(ParseLanguage, SystemFontNameComesFromTheFormLoader) {
  session(u"Language=en");
  fake.registerComponent(u"FrmRes.FrmResLoader", [](FakeComponent& c) {
    c.on(u"GetLumoFontProps", [](InvokeKind, Args&) { return Variant(u"Segoe UI"); });
  });
  auto font = makeFont();
  Variant v{ObjectPtr(font)};
  p.setSystemFontName(v);
  EXPECT_EQ(font->propertyValue(u"Name"), Variant(u"Segoe UI"));
  EXPECT_EQ(font->propertyValue(u"Charset"), Variant(int16_t(0)));
  EXPECT_EQ(fake.calls(u"FrmRes.FrmResLoader"), std::vector<std::string>{"FrmRes.FrmResLoader.GetLumoFontProps('en')"});
}

TEST_F(ParseLanguage, SystemFontPropsObjectGivesNameAndCharset) {
  session(u"Language=cht");
  auto props = makeFont();
  props->propertyValue(u"Name") = u"MingLiU";
  props->propertyValue(u"Charset") = int16_t(136);
  fake.registerComponent(u"FrmRes.FrmResLoader", [props](FakeComponent& c) {
    c.on(u"GetLumoFontProps", [props](InvokeKind, Args&) { return Variant(ObjectPtr(props)); });
  });
  auto font = makeFont();
  Variant v{ObjectPtr(font)};
  p.setSystemFontName(v);
  EXPECT_EQ(font->propertyValue(u"Name"), Variant(u"MingLiU"));
  EXPECT_EQ(font->propertyValue(u"Charset"), Variant(int16_t(136)));
}

TEST_F(ParseLanguage, SystemFontFallsBackToTheTableWithoutFormLoader) {
  session(u"Language=chs");
  auto font = makeFont();
  Variant v{ObjectPtr(font)};
  p.setSystemFontName(v);
  EXPECT_EQ(font->propertyValue(u"Name"), Variant(u"宋体"));
  EXPECT_EQ(font->propertyValue(u"Charset"), Variant(int16_t(134)));
}

TEST_F(ParseLanguage, SystemFontFallsBackWhenTheLoaderNamesNone) {
  session(u"Language=cht");
  fake.registerComponent(u"FrmRes.FrmResLoader", [](FakeComponent& c) {
    c.on(u"GetLumoFontProps", [](InvokeKind, Args&) { return Variant(u"  "); });
  });
  auto font = makeFont();
  Variant v{ObjectPtr(font)};
  p.setSystemFontName(v);
  EXPECT_EQ(font->propertyValue(u"Name"), Variant(u"新細明體"));
  EXPECT_EQ(font->propertyValue(u"Charset"), Variant(int16_t(136)));
}

TEST_F(ParseLanguage, SystemFontNameIntoATextVariable) {
  session(u"Language=en");
  Variant name(u"old");
  Variant ref = Variant::ref(&name);
  p.setSystemFontName(ref);
  EXPECT_EQ(name, Variant(u"Tahoma"));
}

// ---- SetFormFont of the class ----------------------------------------------------------------

TEST_F(ParseLanguage, SetFormFontUsesTheClassFormLoaderAndSessionLanguage) {
  session(u"Language=cht");
  bool flag = false;
  fake.registerComponent(u"FrmRes.FrmResLoader", [&](FakeComponent& c) {
    c.on(u"SetFrmFont", [&](InvokeKind, Args&) {
      flag = settingFormFont();
      return Variant();
    });
  });
  p.setFormFont(std::make_shared<DynamicObject>());
  EXPECT_TRUE(flag);
  EXPECT_FALSE(settingFormFont());
  EXPECT_EQ(fake.calls(u"FrmRes.FrmResLoader"), std::vector<std::string>{"FrmRes.FrmResLoader.SetFrmFont(<object>, 'cht')"});
  EXPECT_NE(p.frmResLoader(), nullptr);
}
