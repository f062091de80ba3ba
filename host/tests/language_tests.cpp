#include "host_test.h"
#include "host/language.h"

using namespace lumo;
using namespace lumo::test;

class Language : public HostTest {
 protected:
  void english() {
    fake.setCurrentLanguage(u"en");
    fake.addResLoader(u"LumoResLoader.Loader");
  }
};

// ---- language code -------------------------------------------------------------

TEST_F(Language, CodeIsReadFromCurrentLanguage) {
  fake.setCurrentLanguage(u"cht");
  EXPECT_EQ(getLanguageCode(), 3);
  fake.setCurrentLanguage(u"en");
  EXPECT_EQ(getLanguageCode(), 2);
  fake.setCurrentLanguage(u"chs");
  EXPECT_EQ(getLanguageCode(), 1);
}

TEST_F(Language, UnknownLanguageIsSimplifiedChinese) {
  fake.setCurrentLanguage(u"fr");
  EXPECT_EQ(getLanguageCode(), 1);
  fake.setCurrentLanguage(u"");
  EXPECT_EQ(getLanguageCode(), 1);
}

TEST_F(Language, LanguageNamesCompareExactly) {
  fake.setCurrentLanguage(u"EN");
  EXPECT_EQ(getLanguageCode(), 1);
  fake.setCurrentLanguage(u" cht");
  EXPECT_EQ(getLanguageCode(), 1);
}

TEST_F(Language, MissingLanguageComponentMeansSimplifiedChinese) {
  EXPECT_EQ(getLanguageCode(), 1);
  EXPECT_EQ(fake.creations, std::vector<ustring>{u"!LumoLangInfo.LangInfo"});
}

TEST_F(Language, FailingLanguageComponentMeansSimplifiedChinese) {
  fake.registerComponent(u"LumoLangInfo.LangInfo", [](FakeComponent& c) {
    c.on(u"CurrentLanguage", [](InvokeKind, Args&) -> Variant { throw Error(1, u"broken"); });
  });
  EXPECT_EQ(getLanguageCode(), 1);
}

TEST_F(Language, NullCurrentLanguageMeansSimplifiedChinese) {
  fake.registerComponent(u"LumoLangInfo.LangInfo",
                         [](FakeComponent& c) { c.property(u"CurrentLanguage", Variant::null()); });
  EXPECT_EQ(getLanguageCode(), 1);
}

TEST_F(Language, LanguageCodeDoesNotDisturbThePendingError) {
  err().set(Error(11, u"pending"));
  EXPECT_EQ(getLanguageCode(), 1);
  EXPECT_EQ(err().number, 11);
}

TEST(LanguageText, CodesMapToTexts) {
  EXPECT_EQ(languageTextOf(1), u"chs");
  EXPECT_EQ(languageTextOf(2), u"en");
  EXPECT_EQ(languageTextOf(3), u"cht");
  EXPECT_EQ(languageTextOf(0), u"chs");
  EXPECT_EQ(languageTextOf(4), u"chs");
  EXPECT_EQ(languageTextOf(-1), u"chs");
}

TEST_F(Language, LanguageTextFollowsTheComponent) {
  EXPECT_EQ(getLanguageText(), u"chs");
  fake.setCurrentLanguage(u"cht");
  EXPECT_EQ(getLanguageText(), u"cht");
}

// ---- shared loaders ------------------------------------------------------------

TEST_F(Language, ResLoaderIsCreatedOnceAndSetUp) {
  fake.addResLoader(u"LumoResLoader.Loader");
  ObjectPtr a = getResLoader(u"en");
  ObjectPtr b = getResLoader(u"cht");
  EXPECT_EQ(a, b);
  EXPECT_EQ(fake.creationCount(u"LumoResLoader.Loader"), 1u);
  const auto calls = fake.calls(u"LumoResLoader.Loader");
  ASSERT_GE(calls.size(), 3u);
  EXPECT_EQ(calls[0], "LumoResLoader.Loader.ResDirectory = ''");
  EXPECT_EQ(calls[1], "LumoResLoader.Loader.ResFileBaseName = 'LumoBase'");
  EXPECT_EQ(calls[2], "LumoResLoader.Loader.LanguageID = 'en'");
  EXPECT_EQ(b->get(u"LanguageID"), Variant(u"cht"));
}

TEST_F(Language, ResLoaderIsKeptAfterUse) {
  fake.addResLoader(u"LumoResLoader.Loader");
  getResLoader(u"en");
  EXPECT_EQ(fake.liveInstances(u"LumoResLoader.Loader"), 1u);
}

TEST_F(Language, ResLoaderWithoutLanguageIdTakesTheCurrentLanguage) {
  fake.addResLoader(u"LumoResLoader.Loader");
  fake.setCurrentLanguage(u"cht");
  EXPECT_EQ(getResLoader(u"")->get(u"LanguageID"), Variant(u"cht"));
}

TEST_F(Language, MissingResLoaderRaisesAndIsTriedAgainLater) {
  EXPECT_EQ(errorOf([] { getResLoader(u"en"); }), errnum::CannotCreateObject);
  fake.addResLoader(u"LumoResLoader.Loader");
  EXPECT_NE(getResLoader(u"en"), nullptr);
}

TEST_F(Language, FormLoaderIsCreatedOnceWithoutSetUp) {
  fake.registerComponent(u"FrmRes.FrmResLoader", nullptr);
  ObjectPtr a = getFrmResLoader();
  EXPECT_EQ(a, getFrmResLoader());
  EXPECT_EQ(fake.creationCount(u"FrmRes.FrmResLoader"), 1u);
  EXPECT_TRUE(fake.calls(u"FrmRes.FrmResLoader").empty());
}

TEST_F(Language, ResetDropsTheSharedLoaders) {
  fake.addResLoader(u"LumoResLoader.Loader");
  getResLoader(u"en");
  resetLanguageObjects();
  EXPECT_EQ(fake.liveInstances(u"LumoResLoader.Loader"), 0u);
  getResLoader(u"en");
  EXPECT_EQ(fake.creationCount(u"LumoResLoader.Loader"), 2u);
}

// ---- LoadVtStringEx ----------------------------------------------------------------

TEST_F(Language, SimplifiedChineseReturnsTextUnchangedBlanksIncluded) {
  fake.addResLoader(u"LumoResLoader.Loader");
  EXPECT_EQ(loadVtString(u"  发送成功 "), u"  发送成功 ");
  EXPECT_EQ(loadVtStringEx(u" 保存 ", 1, u"chs"), u" 保存 ");
  EXPECT_EQ(fake.creationCount(u"LumoResLoader.Loader"), 0u);
}

TEST_F(Language, ChsLanguageIdWinsOverTheCurrentLanguage) {
  english();
  EXPECT_EQ(loadVtStringEx(u"保存", 0, u"chs"), u"保存");
  EXPECT_EQ(fake.creationCount(u"LumoLangInfo.LangInfo"), 0u);
}

TEST_F(Language, TranslatesTrimmedTextInTheCurrentLanguage) {
  english();
  EXPECT_EQ(loadVtString(u"保存"), u"en:保存");
  EXPECT_EQ(fake.calls(u"LumoResLoader.Loader").back(), "LumoResLoader.Loader.LoadString('保存')");
}

TEST_F(Language, LeadingAndTrailingBlanksArePutBack) {
  english();
  EXPECT_EQ(loadVtString(u"  发送成功"), u"  en:发送成功");
  EXPECT_EQ(loadVtString(u"发送成功   "), u"en:发送成功   ");
  EXPECT_EQ(loadVtString(u" 发送 成功  "), u" en:发送 成功  ");
  EXPECT_EQ(fake.calls(u"LumoResLoader.Loader").back(), "LumoResLoader.Loader.LoadString('发送 成功')");
}

TEST_F(Language, BlankTextIsReturnedWithoutLookup) {
  english();
  EXPECT_EQ(loadVtString(u"   "), u"   ");
  EXPECT_EQ(loadVtString(u""), u"");
  EXPECT_EQ(fake.creationCount(u"LumoResLoader.Loader"), 0u);
}

TEST_F(Language, TabsAreNotBlanks) {
  english();
  EXPECT_EQ(loadVtString(u"\t保存"), u"en:\t保存");
}

TEST_F(Language, Mode1UsesLoadString2) {
  english();
  EXPECT_EQ(loadVtStringEx(u" 保存", 1, u""), u" en2:保存");
  EXPECT_EQ(fake.calls(u"LumoResLoader.Loader").back(), "LumoResLoader.Loader.LoadString2('保存')");
}

TEST_F(Language, OtherModesUseLoadString) {
  english();
  EXPECT_EQ(loadVtStringEx(u"保存", 7, u""), u"en:保存");
}

TEST_F(Language, ExplicitLanguageIdIsUsedEvenInAChineseSession) {
  fake.addResLoader(u"LumoResLoader.Loader");
  EXPECT_EQ(loadVtStringEx(u"保存", 0, u"cht"), u"cht:保存");
  EXPECT_EQ(fake.creationCount(u"LumoLangInfo.LangInfo"), 0u);
}

TEST_F(Language, TableTranslationIsReturned) {
  fake.setCurrentLanguage(u"en");
  fake.addResLoader(u"LumoResLoader.Loader", {{u"发送成功", u"Sent successfully"}});
  EXPECT_EQ(loadVtString(u"发送成功"), u"Sent successfully");
}

TEST_F(Language, MissingLoaderReturnsTextAsItStands) {
  fake.setCurrentLanguage(u"en");
  EXPECT_EQ(loadVtString(u"  保存 "), u"  保存 ");
}

TEST_F(Language, FailingLoaderReturnsTextAsItStands) {
  fake.setCurrentLanguage(u"en");
  fake.addFailingResLoader(u"LumoResLoader.Loader");
  EXPECT_EQ(loadVtString(u" 保存"), u" 保存");
}

TEST_F(Language, LookupKeepsThePendingErrorWhenItSucceeds) {
  english();
  Error pending(1234, u"caller's error", u"SmsManager.frmSendSms.cmdSend_Click", u"help.chm", 77);
  err().set(pending);
  const ErrState before = err();
  EXPECT_EQ(loadVtString(u"保存"), u"en:保存");  // the loader clears err() inside
  EXPECT_TRUE(err() == before);
}

TEST_F(Language, LookupKeepsThePendingErrorWhenTheLoaderRaises) {
  fake.setCurrentLanguage(u"en");
  fake.addFailingResLoader(u"LumoResLoader.Loader", 48);
  err().set(Error(91, u"pending", u"src"));
  const ErrState before = err();
  loadVtString(u"保存");
  EXPECT_TRUE(err() == before);
}

TEST_F(Language, LookupKeepsAClearErrorStateClear) {
  fake.setCurrentLanguage(u"en");
  fake.addFailingResLoader(u"LumoResLoader.Loader", 48);
  loadVtString(u"保存");
  EXPECT_EQ(err().number, 0);
  EXPECT_EQ(err().description, u"");
}

TEST_F(Language, LookupKeepsThePendingErrorWhenTheLoaderIsMissing) {
  fake.setCurrentLanguage(u"cht");
  err().set(Error(5, u"pending"));
  loadVtString(u"保存");
  EXPECT_EQ(err().number, 5);
  EXPECT_EQ(err().description, u"pending");
}

TEST_F(Language, NullTranslationReturnsTextAsItStands) {
  fake.setCurrentLanguage(u"en");
  fake.registerComponent(u"LumoResLoader.Loader", [](FakeComponent& c) {
    c.property(u"ResDirectory").property(u"ResFileBaseName").property(u"LanguageID");
    c.on(u"LoadString", [](InvokeKind, Args&) { return Variant::null(); });
  });
  EXPECT_EQ(loadVtString(u"保存"), u"保存");
}

TEST_F(Language, LoaderIsSharedBetweenLookups) {
  english();
  loadVtString(u"a");
  loadVtString(u"b");
  EXPECT_EQ(fake.creationCount(u"LumoResLoader.Loader"), 1u);
}

// ---- placeholders --------------------------------------------------------------------

TEST(Placeholders, ReplacesNumberedPlaceholdersInOrder) {
  EXPECT_EQ(replacePlaceholders(u"用户:[%1]关联职员:[%2]", {u"admin", u"张三"}), u"用户:[admin]关联职员:[张三]");
}

TEST(Placeholders, PlaceholdersMayStandInAnyOrderAndRepeat) {
  EXPECT_EQ(replacePlaceholders(u"%2-%1-%2", {u"a", u"b"}), u"b-a-b");
}

TEST(Placeholders, NumbersAreConvertedToText) {
  EXPECT_EQ(replacePlaceholders(u"您还可以输入%1字符,末尾将自动加上发送人姓名", {int32_t(130)}),
            u"您还可以输入130字符,末尾将自动加上发送人姓名");
  EXPECT_EQ(replacePlaceholders(u"%1 %2 %3", {int16_t(-5), 2.5, true}), u"-5 2.5 True");
}

TEST(Placeholders, PlaceholderWithoutArgumentStaysAsItStands) {
  EXPECT_EQ(replacePlaceholders(u"[%1][%2]", {u"x"}), u"[x][%2]");
  EXPECT_EQ(replacePlaceholders(u"[%1]", {}), u"[%1]");
}

TEST(Placeholders, TenAndAboveAreNotConfusedWithOne) {
  Args args;
  for (int i = 1; i <= 12; ++i) args.push_back(ustring(u"a") + toText(i));
  EXPECT_EQ(replacePlaceholders(u"%1|%10|%11|%12", args), u"a1|a10|a11|a12");
}

TEST(Placeholders, TenWithOnlyOneArgumentStaysWhole) {
  EXPECT_EQ(replacePlaceholders(u"%1 %10", {u"x"}), u"x %10");
}

TEST(Placeholders, PercentWithoutDigitsIsLiteral) {
  EXPECT_EQ(replacePlaceholders(u"100% %a %", {u"x"}), u"100% %a %");
}

TEST(Placeholders, ZeroIsNotAPlaceholder) { EXPECT_EQ(replacePlaceholders(u"%0", {u"x"}), u"%0"); }

TEST(Placeholders, LeadingZeroStillNamesTheArgument) { EXPECT_EQ(replacePlaceholders(u"%01", {u"x"}), u"x"); }

TEST(Placeholders, SubstitutedTextIsNotScannedAgain) {
  EXPECT_EQ(replacePlaceholders(u"%1 %2", {u"%2", u"b"}), u"%2 b");
}

TEST(Placeholders, NullAndMissingArgumentsGiveEmptyText) {
  EXPECT_EQ(replacePlaceholders(u"[%1][%2][%3]", {Variant::null(), Variant(), Variant::missing()}), u"[][][]");
}

TEST(Placeholders, ByReferenceArgumentsAreRead) {
  Variant v(u"ref");
  EXPECT_EQ(replacePlaceholders(u"%1", {Variant::ref(&v)}), u"ref");
}

TEST(Placeholders, HugePlaceholderNumberStaysLiteral) {
  EXPECT_EQ(replacePlaceholders(u"%99999999999999999999", {u"x"}), u"%99999999999999999999");
}

TEST(Placeholders, TextWithoutPlaceholdersIsUnchanged) {
  EXPECT_EQ(replacePlaceholders(u"发送成功", {u"x"}), u"发送成功");
  EXPECT_EQ(replacePlaceholders(u"", {u"x"}), u"");
}

TEST_F(Language, FormatLooksUpTheFormatWithPlaceholdersIntact) {
  fake.setCurrentLanguage(u"en");
  fake.addResLoader(u"LumoResLoader.Loader", {{u"启用[%1]短信通知成功！", u"Enabled SMS notice [%1]!"}});
  EXPECT_EQ(formatResString(u"启用[%1]短信通知成功！", {u"请假单"}), u"Enabled SMS notice [请假单]!");
  EXPECT_EQ(fake.calls(u"LumoResLoader.Loader").back(), "LumoResLoader.Loader.LoadString('启用[%1]短信通知成功！')");
}

TEST_F(Language, FormatInSimplifiedChineseFillsTheKey) {
  EXPECT_EQ(formatResString(u"启用[%1]短信通知成功！", {u"请假单"}), u"启用[请假单]短信通知成功！");
}

TEST_F(Language, FormatWithMissingLoaderFillsTheKey) {
  fake.setCurrentLanguage(u"en");
  EXPECT_EQ(formatResString(u"用户:[%1]关联职员:[%2]", {u"a", u"b"}), u"用户:[a]关联职员:[b]");
}

// ---- SetFormFont -------------------------------------------------------------------

TEST_F(Language, SetFormFontRaisesTheFlagDuringTheCallOnly) {
  bool flagDuringCall = false;
  fake.setCurrentLanguage(u"cht");
  fake.registerComponent(u"FrmRes.FrmResLoader", [&](FakeComponent& c) {
    c.on(u"SetFrmFont", [&](InvokeKind, Args&) -> Variant {
      flagDuringCall = settingFormFont();
      return u"done";
    });
  });
  auto form = std::make_shared<DynamicObject>(u"frmSendSms");
  EXPECT_FALSE(settingFormFont());
  EXPECT_EQ(setFormFont(form), Variant(u"done"));
  EXPECT_TRUE(flagDuringCall);
  EXPECT_FALSE(settingFormFont());
  EXPECT_EQ(fake.calls(u"FrmRes.FrmResLoader"), std::vector<std::string>{"FrmRes.FrmResLoader.SetFrmFont(<object>, 'cht')"});
}

TEST_F(Language, SetFormFontLowersTheFlagWhenTheLoaderFails) {
  fake.registerComponent(u"FrmRes.FrmResLoader", [](FakeComponent& c) {
    c.on(u"SetFrmFont", [](InvokeKind, Args&) -> Variant { throw Error(13); });
  });
  EXPECT_EQ(errorOf([] { setFormFont(nullptr); }), errnum::TypeMismatch);
  EXPECT_FALSE(settingFormFont());
}

TEST_F(Language, SetFormFontWithoutLoaderRaises) {
  EXPECT_EQ(errorOf([] { setFormFont(nullptr); }), errnum::CannotCreateObject);
  EXPECT_FALSE(settingFormFont());
}

TEST_F(Language, SetFormFontKeepsTheFormLoader) {
  fake.registerComponent(u"FrmRes.FrmResLoader",
                         [](FakeComponent& c) { c.on(u"SetFrmFont", [](InvokeKind, Args&) { return Variant(); }); });
  setFormFont(nullptr);
  setFormFont(nullptr);
  EXPECT_EQ(fake.creationCount(u"FrmRes.FrmResLoader"), 1u);
  EXPECT_EQ(fake.liveInstances(u"FrmRes.FrmResLoader"), 1u);
}
