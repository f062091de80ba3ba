#include <gtest/gtest.h>

#include "automation/win/bridge.h"

using namespace lumo;
using namespace lumo::com;

namespace {

struct ComApartment : ::testing::Test {
  void SetUp() override { ASSERT_TRUE(SUCCEEDED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))); }
  void TearDown() override {
    EXPECT_EQ(liveObjects(), 0);
    CoUninitialize();
  }
};

std::shared_ptr<DynamicObject> sample() {
  auto o = std::make_shared<DynamicObject>(u"Sample");
  o->property(u"Name", Variant(u"初始"));
  o->on(u"Twice", [](InvokeKind, Args& a) { return Variant(a.at(0).toString() + a.at(0).toString()); });
  o->on(u"Bump", [](InvokeKind, Args& a) {
    a.at(0).deref() = Variant(static_cast<int32_t>(a.at(0).toI4() + 1));
    return Variant();
  });
  o->on(u"Fail", [](InvokeKind, Args&) -> Variant { throw Error(5, u"坏参数", u"Sample.Fail"); });
  o->on(u"Count", [](InvokeKind, Args& a) { return Variant(static_cast<int32_t>(a.size())); });
  return o;
}

// Goes through a real IDispatch both ways, not through the shortcut that hands back our own object.
ObjectPtr throughCom(ObjectPtr o) {
  IDispatch* d = newObjectDispatch(std::move(o));
  auto wrapped = std::make_shared<DispatchObject>(ComPtr<IDispatch>::attach(d));
  return wrapped;
}

}  // namespace

TEST_F(ComApartment, CallsAndPropertiesCrossTheBridgeWithChineseText) {
  ObjectPtr o = throughCom(sample());
  EXPECT_EQ(o->call(u"Twice", {Variant(u"短信")}).toString(), u"短信短信");
  EXPECT_EQ(o->get(u"name").toString(), u"初始");
  o->put(u"Name", Variant(u"新值"));
  EXPECT_EQ(o->get(u"Name").toString(), u"新值");
  EXPECT_EQ(o->call(u"Count", {Variant(int16_t(1)), Variant(u"b"), Variant::null()}).toI4(), 3);
}

TEST_F(ComApartment, ByReferenceArgumentsAreWrittenBack) {
  ObjectPtr o = throughCom(sample());
  Variant x(int32_t(41));
  o->call(u"Bump", {Variant::ref(&x)});
  EXPECT_EQ(x.toI4(), 42);
}

TEST_F(ComApartment, ErrorsArriveWithNumberSourceAndDescription) {
  ObjectPtr o = throughCom(sample());
  try {
    o->call(u"Fail");
    FAIL() << "no error";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), 5);
    EXPECT_EQ(e.description(), u"坏参数");
    EXPECT_EQ(e.source(), u"Sample.Fail");
  }
}

TEST_F(ComApartment, UnknownMemberIsReportedAsNotSupported) {
  ObjectPtr o = throughCom(sample());
  EXPECT_FALSE(o->hasMember(u"Nope"));
  try {
    o->call(u"Nope");
    FAIL() << "no error";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), errnum::NotSupported);
  }
}

TEST_F(ComApartment, CollectionsEnumerateAndIndexThroughTheBridge) {
  auto c = std::make_shared<Collection>();
  ustring k = u"FFuncID";
  c->add(Variant(u"SMS00107"), &k);
  c->add(Variant(int16_t(5)));
  ObjectPtr o = throughCom(c);
  EXPECT_EQ(o->get(u"Count").toI4(), 2);
  EXPECT_EQ(o->get(u"Item", {Variant(u"ffuncid")}).toString(), u"SMS00107");
  EXPECT_EQ(o->get(u"", {Variant(int32_t(2))}).toI2(), 5);
  auto items = o->enumerate();
  ASSERT_EQ(items.size(), 2u);
  EXPECT_EQ(items[0].toString(), u"SMS00107");
}

TEST_F(ComApartment, ObjectsPassedAsArgumentsComeBackAsTheSameObject) {
  auto holder = std::make_shared<DynamicObject>();
  holder->property(u"Child");
  ObjectPtr o = throughCom(holder);
  auto child = sample();
  o->putRef(u"Child", Variant(ObjectPtr(child)));
  // Inside the same process our own object is recognised and not wrapped twice.
  EXPECT_EQ(holder->propertyValue(u"Child").toObject(), child);
  EXPECT_EQ(o->get(u"Child").toObject()->call(u"Twice", {Variant(u"a")}).toString(), u"aa");
}

TEST_F(ComApartment, VariantConversionsKeepTypes) {
  Var v;
  toVariant(Variant(int16_t(7)), v.get());
  EXPECT_EQ(V_VT(v.get()), VT_I2);
  EXPECT_EQ(fromVariant(v.ref()), Variant(int16_t(7)));
  Var s;
  toVariant(Variant(std::vector<Variant>{Variant(u"a"), Variant(int32_t(2))}), s.get());
  EXPECT_EQ(V_VT(s.get()), VT_ARRAY | VT_VARIANT);
  Variant back = fromVariant(s.ref());
  ASSERT_EQ(back.toArray().size(), 2u);
  EXPECT_EQ(back.toArray()[1].toI4(), 2);
  Var m;
  toVariant(Variant::missing(), m.get());
  EXPECT_TRUE(fromVariant(m.ref()).isMissing());
}

TEST_F(ComApartment, MissingProgIdRaises429NamingIt) {
  try {
    createByProgId(u"No.Such.Component");
    FAIL() << "no error";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), errnum::CannotCreateObject);
    EXPECT_NE(e.description().find(u"No.Such.Component"), ustring::npos);
  }
}
