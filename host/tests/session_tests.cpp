#include "host_test.h"
#include "host/language.h"
#include "host/parse.h"
#include "host/session.h"

using namespace lumo;
using namespace lumo::test;

class Session : public HostTest {};

// ---- GetShareProp / GetPropsString -------------------------------------------------

TEST_F(Session, PropsStringComesFromSharePropsWithProcessIdAsLong) {
  fake.processId = 7788;
  session(u"UserName=x;Language=en");
  EXPECT_EQ(getPropsString(), u"UserName=x;Language=en");
  ASSERT_EQ(fake.calls(u"PropsMgr.ShareProps").size(), 1u);
  EXPECT_EQ(fake.calls(u"PropsMgr.ShareProps")[0], "PropsMgr.ShareProps.GetProperty(7788, 'PropsString')");
  // The process id goes as a 32-bit integer.
  EXPECT_EQ(fake.journal[0].kind, InvokeKind::Method);
}

TEST_F(Session, ProcessIdAboveInt32MaxIsPassedAsItsBitPattern) {
  fake.processId = 0x80000001u;
  Variant received;
  fake.registerComponent(u"PropsMgr.ShareProps", [&](FakeComponent& c) {
    c.on(u"GetProperty", [&](InvokeKind, Args& a) -> Variant {
      received = a[0];
      return u"Language=chs";
    });
  });
  getPropsString();
  EXPECT_EQ(received.type(), Variant::Type::I4);
  EXPECT_EQ(received.rawI4(), static_cast<int32_t>(0x80000001u));
}

TEST_F(Session, SharePropsIsReleasedAfterTheCall) {
  session(u"Language=chs");
  getPropsString();
  EXPECT_EQ(fake.creationCount(u"PropsMgr.ShareProps"), 1u);
  EXPECT_EQ(fake.liveInstances(u"PropsMgr.ShareProps"), 0u);
}

TEST_F(Session, SharePropsIsCreatedAfreshForEachRequest) {
  session(u"Language=chs");
  getPropsString();
  getPropsString();
  EXPECT_EQ(fake.creationCount(u"PropsMgr.ShareProps"), 2u);
}

TEST_F(Session, MissingLanguageIsAppendedAsChsWhenNoLanguageComponent) {
  session(u"UserName=x");
  EXPECT_EQ(getPropsString(), u"UserName=x;Language=chs");
}

TEST_F(Session, MissingLanguageIsAppendedAsChsForCode1) {
  session(u"UserName=x");
  fake.setCurrentLanguage(u"chs");
  EXPECT_EQ(getPropsString(), u"UserName=x;Language=chs");
}

TEST_F(Session, MissingLanguageIsAppendedAsEnForCode2) {
  session(u"UserName=x");
  fake.setCurrentLanguage(u"en");
  EXPECT_EQ(getPropsString(), u"UserName=x;Language=en");
}

TEST_F(Session, MissingLanguageIsAppendedAsChtForCode3) {
  session(u"UserName=x");
  fake.setCurrentLanguage(u"cht");
  EXPECT_EQ(getPropsString(), u"UserName=x;Language=cht");
}

TEST_F(Session, EmptySessionStringGetsLanguageAppended) {
  session(u"");
  fake.setCurrentLanguage(u"en");
  EXPECT_EQ(getPropsString(), u";Language=en");
}

TEST_F(Session, LanguageAnywhereInTheTextLeavesItAlone) {
  session(u"UserName=x;Languages=none");
  fake.setCurrentLanguage(u"en");
  EXPECT_EQ(getPropsString(), u"UserName=x;Languages=none");
  EXPECT_EQ(fake.creationCount(u"LumoLangInfo.LangInfo"), 0u);
}

TEST_F(Session, LanguageSearchIsCaseSensitive) {
  session(u"UserName=x;LANGUAGE=en");
  fake.setCurrentLanguage(u"cht");
  EXPECT_EQ(getPropsString(), u"UserName=x;LANGUAGE=en;Language=cht");
}

TEST_F(Session, LanguageInsideAValueCountsAsPresent) {
  session(u"Note={Language=none}");
  EXPECT_EQ(getPropsString(), u"Note={Language=none}");
}

TEST_F(Session, OtherSharedPropertiesGetNoLanguage) {
  fake.registerComponent(u"PropsMgr.ShareProps", [](FakeComponent& c) {
    c.on(u"GetProperty", [](InvokeKind, Args& a) -> Variant { return u"value of " + a[1].toString(); });
  });
  EXPECT_EQ(getShareProp(u"Other"), Variant(u"value of Other"));
  EXPECT_EQ(getShareProp(u"propsstring"), Variant(u"value of propsstring"));
}

TEST_F(Session, SharedPropertyKeepsItsTypeAndObjects) {
  auto held = std::make_shared<DynamicObject>();
  fake.registerComponent(u"PropsMgr.ShareProps", [&](FakeComponent& c) {
    c.on(u"GetProperty", [&](InvokeKind, Args& a) -> Variant {
      if (a[1].toString() == u"Number") return int32_t(12);
      return ObjectPtr(held);
    });
  });
  EXPECT_EQ(getShareProp(u"Number"), Variant(int32_t(12)));
  EXPECT_EQ(getShareProp(u"Object").toObject(), held);
}

TEST_F(Session, MissingSharePropsReachesTheCaller) {
  try {
    getPropsString();
    FAIL() << "no error";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), errnum::CannotCreateObject);
    EXPECT_NE(e.description().find(u"PropsMgr.ShareProps"), ustring::npos);
  }
}

TEST_F(Session, FailingGetPropertyReachesTheCaller) {
  fake.registerComponent(u"PropsMgr.ShareProps", [](FakeComponent& c) {
    c.on(u"GetProperty", [](InvokeKind, Args&) -> Variant { throw Error(1001, u"no session"); });
  });
  EXPECT_EQ(errorOf([] { getShareProp(u"PropsString"); }), 1001);
}

TEST_F(Session, HostObjectSuppliesThePropsStringWhenSet) {
  session(u"From=manager");
  auto host = std::make_shared<DynamicObject>();
  host->property(u"PropsString", u"From=host");
  setHostObject(host);
  EXPECT_EQ(getPropsString(), u"From=host");
  EXPECT_EQ(fake.creationCount(u"PropsMgr.ShareProps"), 0u);
  setHostObject(nullptr);
  EXPECT_EQ(getPropsString(), u"From=manager;Language=chs");
}

TEST_F(Session, WithoutPlatformTheCallRaises91) {
  Platform* mine = setPlatform(nullptr);
  EXPECT_EQ(errorOf([] { getPropsString(); }), errnum::ObjectVariableNotSet);
  setPlatform(mine);
}

// ---- one action, one reading ---------------------------------------------------------

TEST_F(Session, AScopeReadsTheSessionAndTheLanguageOnce) {
  session(u"UserName=x");
  fake.setCurrentLanguage(u"en");
  {
    ActionScope action;
    for (int i = 0; i < 5; ++i) {
      EXPECT_EQ(getPropsString(), u"UserName=x;Language=en");
      EXPECT_EQ(getLanguageCode(), 2);
    }
    EXPECT_EQ(fake.creationCount(u"PropsMgr.ShareProps"), 1u);
    EXPECT_EQ(fake.creationCount(u"LumoLangInfo.LangInfo"), 1u);
  }
  // Outside a scope every reading asks the host again.
  session(u"UserName=y");
  fake.setCurrentLanguage(u"cht");
  EXPECT_EQ(getPropsString(), u"UserName=y;Language=cht");
  EXPECT_EQ(getLanguageCode(), 3);
  EXPECT_EQ(getLanguageCode(), 3);
  EXPECT_EQ(fake.creationCount(u"PropsMgr.ShareProps"), 2u);
}

TEST_F(Session, NestedScopesShareWhatTheOutermostKept) {
  session(u"A=1;Language=chs");
  ActionScope outer;
  getPropsString();
  {
    ActionScope inner;
    session(u"A=2;Language=chs");
    EXPECT_EQ(getPropsString(), u"A=1;Language=chs");
  }
  EXPECT_EQ(getPropsString(), u"A=1;Language=chs");
  EXPECT_EQ(fake.creationCount(u"PropsMgr.ShareProps"), 1u);
}

TEST_F(Session, AClassObjectHoldHoldsForItsLifetimeAndNeedsNoPlatform) {
  {
    ClassObjectHold window;
    EXPECT_EQ(fake.classObjectHolds, std::vector<bool>{true});
    ActionScope action;  // an action holds nothing of its own
    EXPECT_EQ(fake.classObjectHolds, std::vector<bool>{true});
  }
  EXPECT_EQ(fake.classObjectHolds, (std::vector<bool>{true, false}));
  Platform* mine = setPlatform(nullptr);
  {
    ClassObjectHold none;
  }
  setPlatform(mine);
  EXPECT_EQ(fake.classObjectHolds.size(), 2u);
}

TEST_F(Session, AFailedReadingIsNotKeptByTheScope) {
  ActionScope action;
  fake.registerComponent(u"PropsMgr.ShareProps", [](FakeComponent& c) {
    c.on(u"GetProperty", [](InvokeKind, Args&) -> Variant { throw Error(1001, u"no session"); });
  });
  EXPECT_EQ(errorOf([] { getPropsString(); }), 1001);
  session(u"Back=1;Language=chs");
  EXPECT_EQ(getPropsString(), u"Back=1;Language=chs");
}

// ---- GetPropertyExt ----------------------------------------------------------------

TEST_F(Session, PropertyExtFindsKeyIgnoringCase) {
  session(u"UserName=x;Language=chs");
  EXPECT_EQ(getPropertyExt(u"LANGUAGE"), u"chs");
}

TEST_F(Session, PropertyExtMatchesAKeyThatEndsWithTheName) {
  session(u"UserName=x;Name=y;Language=chs");
  EXPECT_EQ(getPropertyExt(u"Name"), u"x");
}

TEST_F(Session, PropertyExtFindsTheLaterExactKeyWhenNoLongerKeyComesFirst) {
  session(u"Name=y;UserName=x;Language=chs");
  EXPECT_EQ(getPropertyExt(u"Name"), u"y");
}

TEST_F(Session, PropertyExtIgnoresBraces) {
  session(u"ConnectString={a=1;b=2};Language=en");
  EXPECT_EQ(getPropertyExt(u"ConnectString"), u"{a=1");
  EXPECT_EQ(getPropertyExt(u"b"), u"2}");
}

TEST_F(Session, PropertyExtOfLastEntryWorksWithoutTrailingSemicolon) {
  session(u"A=1;Language=cht");
  EXPECT_EQ(getPropertyExt(u"language"), u"cht");
}

TEST_F(Session, PropertyExtKeepsBlanksOfTheValue) {
  session(u"A= spaced ;Language=en");
  EXPECT_EQ(getPropertyExt(u"A"), u" spaced ");
}

TEST_F(Session, PropertyExtDoesNotTrimTheKey) {
  session(u"A =1;Language=en");
  EXPECT_EQ(getPropertyExt(u"A"), u"");
  EXPECT_EQ(getPropertyExt(u"A "), u"1");
}

TEST_F(Session, PropertyExtOfAbsentKeyIsEmpty) {
  session(u"A=1;Language=en");
  EXPECT_EQ(getPropertyExt(u"Missing"), u"");
}

TEST_F(Session, PropertyExtOfEmptyValueIsEmpty) {
  session(u"A=;Language=en");
  EXPECT_EQ(getPropertyExt(u"A"), u"");
}

TEST_F(Session, PropertyExtWithEmptyNameFindsTheFirstEquals) {
  session(u"A=1;Language=en");
  EXPECT_EQ(getPropertyExt(u""), u"1");
}

TEST_F(Session, PropertyExtWithSemicolonInNameGivesEmpty) {
  session(u"A=1;B=2;Language=en");
  EXPECT_EQ(getPropertyExt(u"1;B"), u"");
}

TEST_F(Session, PropertyExtSeesTheAppendedLanguage) {
  session(u"UserName=x");
  fake.setCurrentLanguage(u"en");
  EXPECT_EQ(getPropertyExt(u"Language"), u"en");
}

TEST_F(Session, PropertyExtIsEmptyWhenThePropertyManagerIsMissing) {
  EXPECT_EQ(getPropertyExt(u"LANGUAGE"), u"");
}

TEST_F(Session, PropertyExtIsEmptyWhenThePropertyManagerFails) {
  fake.registerComponent(u"PropsMgr.ShareProps", [](FakeComponent& c) {
    c.on(u"GetProperty", [](InvokeKind, Args&) -> Variant { throw Error(5); });
  });
  EXPECT_EQ(getPropertyExt(u"LANGUAGE"), u"");
}

TEST_F(Session, PropertyExtIsEmptyWhenThePropsStringIsNull) {
  fake.registerComponent(u"PropsMgr.ShareProps", [](FakeComponent& c) {
    c.on(u"GetProperty", [](InvokeKind, Args&) -> Variant { return Variant::null(); });
  });
  EXPECT_EQ(getPropertyExt(u"LANGUAGE"), u"");
}

TEST_F(Session, ParsePropertyExtReadsTheSessionNotTheTable) {
  session(u"UserName=session;Language=en");
  Parse p;
  p.parseString(u"UserName=table");
  EXPECT_EQ(p.getPropertyExt(u"UserName"), u"session");
  EXPECT_EQ(p.getProperty(u"UserName"), u"table");
}
