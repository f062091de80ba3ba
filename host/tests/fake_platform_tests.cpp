// The fake platform itself: the other tests rely on what it records.
#include "host_test.h"

using namespace lumo;
using namespace lumo::test;

class Fake : public HostTest {};

TEST_F(Fake, MissingProgIdRaises429NamingIt) {
  try {
    fake.create(u"Missing.Component");
    FAIL();
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), 429);
    EXPECT_NE(e.description().find(u"Missing.Component"), ustring::npos);
  }
  EXPECT_EQ(fake.creations, std::vector<ustring>{u"!Missing.Component"});
}

TEST_F(Fake, ProgIdsCompareWithoutCase) {
  fake.registerComponent(u"PropsMgr.ShareProps", nullptr);
  EXPECT_NE(fake.create(u"propsmgr.shareprops"), nullptr);
}

TEST_F(Fake, JournalRecordsMethodsPutsAndGets) {
  fake.registerComponent(u"X.Y", [](FakeComponent& c) {
    c.property(u"P", int32_t(1));
    c.on(u"M", [](InvokeKind, Args&) { return Variant(); });
  });
  ObjectPtr o = fake.create(u"X.Y");
  o->call(u"M", {u"a", int16_t(2), Variant::null()});
  o->put(u"P", u"v");
  o->get(u"P");
  EXPECT_EQ(fake.calls(), (std::vector<std::string>{"X.Y.M('a', 2, Null)", "X.Y.P = 'v'", "X.Y.P"}));
  EXPECT_EQ(fake.journal[1].kind, InvokeKind::Put);
}

TEST_F(Fake, FailedCallsAreJournalledToo) {
  fake.registerComponent(u"X.Y", nullptr);
  EXPECT_EQ(errorOf([&] { fake.create(u"X.Y")->call(u"Nope"); }), errnum::NotSupported);
  EXPECT_EQ(fake.calls(), std::vector<std::string>{"X.Y.Nope()"});
}

TEST_F(Fake, LiveInstancesFollowReleases) {
  fake.registerComponent(u"X.Y", nullptr);
  ObjectPtr a = fake.create(u"X.Y");
  EXPECT_EQ(fake.liveInstances(u"X.Y"), 1u);
  a.reset();
  EXPECT_EQ(fake.liveInstances(u"X.Y"), 0u);
}

TEST_F(Fake, ScopeInstallsAndRestoresThePlatform) {
  FakePlatform other;
  {
    FakePlatformScope s(other);
    EXPECT_EQ(&platform(), &other);
  }
  EXPECT_EQ(&platform(), &fake);
}

TEST_F(Fake, MessageBoxAnswersInOrderThenDefault) {
  fake.answers = {6, 7};
  fake.defaultAnswer = 2;
  EXPECT_EQ(fake.messageBox(u"a", 4, u"t"), 6);
  EXPECT_EQ(fake.messageBox(u"b", 4, u"t"), 7);
  EXPECT_EQ(fake.messageBox(u"c", 4, u"t"), 2);
  EXPECT_EQ(fake.messageBoxes.size(), 3u);
}

TEST(PlatformText, DefaultEightBitConversionMapsLatin1AndReplacesTheRest) {
  struct Bare : Platform {
    ObjectPtr create(const ustring&) override { return nullptr; }
    uint32_t currentProcessId() override { return 0; }
    int32_t computerNameA(std::string&, uint32_t) override { return 0; }
    int32_t readTcp(std::string&, std::string&) override { return 0; }
    int32_t messageBox(const ustring&, int32_t, const ustring&) override { return 0; }
    ustring moduleDirectory() override { return {}; }
    intptr_t htmlHelp(intptr_t, const std::string&, uint32_t, uintptr_t) override { return 0; }
    int32_t setWindowPos(intptr_t, intptr_t, int32_t, int32_t, int32_t, int32_t, uint32_t) override { return 0; }
  } bare;
  EXPECT_EQ(bare.toAnsi(u"ab\u00e9\u4e2d"), "ab\xe9?");
  EXPECT_EQ(bare.fromAnsi("ab\xe9"), u"ab\u00e9");
}

TEST(PlatformInstall, NoPlatformRaises91) {
  Platform* previous = setPlatform(nullptr);
  EXPECT_EQ(errorOf([] { platform(); }), errnum::ObjectVariableNotSet);
  setPlatform(previous);
}
