#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "automation/object.h"
#include "tests/support/errors.h"

using namespace lumo;
using lumo::test::errorOf;

TEST(Variant, ConvertsAsTheLanguageDoes) {
  EXPECT_EQ(Variant(u"123").toI2(), 123);
  EXPECT_EQ(Variant(u"12.5").toI2(), 12);
  EXPECT_EQ(Variant(int32_t(7)).toString(), u"7");
  EXPECT_EQ(Variant(true).toString(), u"True");
  EXPECT_EQ(Variant(true).toI4(), -1);
  EXPECT_EQ(Variant().toString(), u"");
  EXPECT_TRUE(Variant(u"true").toBool());
}

TEST(Variant, ConversionFailuresRaiseTheLanguagesErrors) {
  EXPECT_EQ(errorOf([] { Variant(u"abc").toI2(); }), errnum::TypeMismatch);
  EXPECT_EQ(errorOf([] { Variant(u"").toI2(); }), errnum::TypeMismatch);
  EXPECT_EQ(errorOf([] { Variant(u"40000").toI2(); }), errnum::Overflow);
  EXPECT_EQ(errorOf([] { Variant(u"-32769").toI2(); }), errnum::Overflow);
  EXPECT_EQ(errorOf([] { Variant::null().toString(); }), errnum::InvalidUseOfNull);
  EXPECT_EQ(errorOf([] { Variant(u"x").toObject(); }), errnum::ObjectRequired);
}

TEST(Variant, ReferencesReadAndWriteTheirTarget) {
  Variant target(int32_t(1));
  Variant r = Variant::ref(&target);
  EXPECT_TRUE(r.isRef());
  EXPECT_EQ(r.toI4(), 1);
  r.deref() = Variant(u"changed");
  EXPECT_EQ(target.toString(), u"changed");
}

TEST(Collection, KeysIgnoreCaseAndRejectDuplicates) {
  Collection c;
  ustring k1 = u"a", k2 = u"A";
  c.add(Variant(u"1"), &k1);
  EXPECT_EQ(c.item(u"A").toString(), u"1");
  EXPECT_EQ(errorOf([&] { c.add(Variant(u"2"), &k2); }), errnum::KeyAlreadyExists);
  EXPECT_EQ(errorOf([&] { c.item(u"b"); }), errnum::InvalidCall);
  EXPECT_EQ(errorOf([&] { c.item(std::size_t(2)); }), errnum::InvalidCall);
}

TEST(Collection, ReorderMovesItemsWithTheirKeys) {
  Collection c;
  const ustring keys[] = {u"a", u"b", u"c", u"d"};
  for (const ustring& k : keys) c.add(Variant(u"item " + k), &k);
  c.add(Variant(u"last, no key"));
  const uint32_t order[] = {2, 0, 3, 1};  // c a d b; the fifth stays
  c.reorder(order);
  EXPECT_EQ(c.item(std::size_t(1)).toString(), u"item c");
  EXPECT_EQ(c.item(std::size_t(2)).toString(), u"item a");
  EXPECT_EQ(c.item(std::size_t(4)).toString(), u"item b");
  EXPECT_EQ(c.item(std::size_t(5)).toString(), u"last, no key");
  for (const ustring& k : keys) EXPECT_EQ(c.item(k).toString(), u"item " + k);
  c.remove(1);  // keys still find their items after a removal
  EXPECT_EQ(c.item(u"D").toString(), u"item d");
  EXPECT_EQ(c.item(std::size_t(2)).toString(), u"item d");
}

TEST(Collection, KeysAddedAndRemovedAfterAReorderStayRight) {
  auto c = std::make_shared<Collection>();
  for (const char16_t* k : {u"1", u"2", u"3"}) c->call(u"Add", {Variant(ustring(u"row ") + k), Variant(k)});
  const uint32_t order[] = {2, 1, 0};
  c->reorder(order);
  const ustring four = u"4", two = u"2";
  c->add(Variant(u"row 4"), &four);
  EXPECT_EQ(errorOf([&] { c->add(Variant(u"again"), &two); }), errnum::KeyAlreadyExists);
  EXPECT_EQ(c->item(u"4").toString(), u"row 4");
  EXPECT_EQ(c->item(u"1").toString(), u"row 1");
  c->call(u"Remove", {Variant(u"3")});
  EXPECT_EQ(c->item(std::size_t(1)).toString(), u"row 2");
  EXPECT_EQ(c->item(u"1").toString(), u"row 1");
  EXPECT_EQ(c->count(), 3u);
}

TEST(Collection, ReordersAddsAndRemovalsInAnyMixKeepPositionsKeysAndEnumerationInStep) {
  // A plain list of (key, item) as the reference for a random mix of operations.
  std::mt19937 rng(3);
  Collection c;
  std::vector<std::pair<ustring, ustring>> model;
  int made = 0;
  for (int step = 0; step < 400; ++step) {
    const unsigned what = rng() % 4;
    if (what <= 1 || model.empty()) {
      const ustring item = u"item " + toText(static_cast<long long>(made));
      const ustring key = rng() % 2 ? u"k" + toText(static_cast<long long>(made)) : ustring();
      ++made;
      c.add(Variant(item), key.empty() ? nullptr : &key);
      model.emplace_back(key, item);
    } else if (what == 2) {
      std::vector<uint32_t> order(rng() % (model.size() + 1));
      for (uint32_t i = 0; i < order.size(); ++i) order[i] = i;
      std::shuffle(order.begin(), order.end(), rng);
      c.reorder(order);
      std::vector<std::pair<ustring, ustring>> moved(model);
      for (std::size_t p = 0; p < order.size(); ++p) moved[p] = model[order[p]];
      model = std::move(moved);
    } else {
      const std::size_t at = rng() % model.size();
      if (!model[at].first.empty() && rng() % 2) c.call(u"Remove", {Variant(model[at].first)});
      else c.remove(at + 1);
      model.erase(model.begin() + static_cast<std::ptrdiff_t>(at));
    }
    ASSERT_EQ(c.count(), model.size());
  }
  const std::vector<Variant> all = c.enumerate();
  for (std::size_t p = 0; p < model.size(); ++p) {
    EXPECT_EQ(c.item(p + 1).toString(), model[p].second);
    EXPECT_EQ(all[p].toString(), model[p].second);
    if (!model[p].first.empty()) {
      EXPECT_EQ(c.item(model[p].first).toString(), model[p].second);
    }
  }
}

TEST(Collection, ReorderRefusesWhatIsNoPermutation) {
  Collection c;
  for (int i = 0; i < 3; ++i) c.add(Variant(int32_t(i)));
  const uint32_t twice[] = {0, 0, 1}, outside[] = {0, 3, 1}, tooLong[] = {0, 1, 2, 3};
  EXPECT_EQ(errorOf([&] { c.reorder(twice); }), errnum::InvalidCall);
  EXPECT_EQ(errorOf([&] { c.reorder(outside); }), errnum::InvalidCall);
  EXPECT_EQ(errorOf([&] { c.reorder(tooLong); }), errnum::InvalidCall);
  EXPECT_EQ(c.item(std::size_t(2)).toI4(), 1) << "nothing moved";
}

TEST(Collection, LateBoundMembersWork) {
  auto c = std::make_shared<Collection>();
  c->call(u"Add", {Variant(u"x"), Variant(u"k")});
  c->call(u"Add", {Variant(u"y")});
  EXPECT_EQ(c->get(u"Count").toI4(), 2);
  EXPECT_EQ(c->get(u"Item", {Variant(u"K")}).toString(), u"x");
  EXPECT_EQ(c->get(u"", {Variant(int32_t(2))}).toString(), u"y");
  c->call(u"Remove", {Variant(u"k")});
  EXPECT_EQ(c->get(u"Item", {Variant(int32_t(1))}).toString(), u"y");
  EXPECT_EQ(errorOf([&] { c->call(u"Nope"); }), errnum::NotSupported);
}

TEST(DynamicObject, HandlersAndPropertiesAnswerByNameIgnoringCase) {
  auto o = std::make_shared<DynamicObject>(u"Loader");
  o->property(u"LanguageID", Variant(u""));
  o->on(u"LoadString", [](InvokeKind, Args& a) { return Variant(u"[" + a.at(0).toString() + u"]"); });
  o->put(u"languageid", Variant(u"en"));
  EXPECT_EQ(o->get(u"LanguageID").toString(), u"en");
  EXPECT_EQ(o->call(u"loadstring", {Variant(u"x")}).toString(), u"[x]");
  EXPECT_FALSE(o->hasMember(u"Other"));
}
