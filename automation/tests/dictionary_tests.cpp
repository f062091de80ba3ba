#include <gtest/gtest.h>

#include <functional>

#include "automation/dictionary.h"
#include "tests/support/errors.h"

using namespace lumo;
using lumo::test::errorOf;

namespace {

std::vector<ustring> keyTexts(const Dictionary& d) {
  std::vector<ustring> out;
  for (const Variant& k : d.keys()) out.push_back(k.toString());
  return out;
}

}  // namespace

TEST(Dictionary, KeepsInsertionOrder) {
  Dictionary d;
  d.add(u"title", u"hello");
  d.add(u"msgType", int16_t(0));
  d.add(u"Propstr", u"a=b");
  d.add(u"isRevertible", int16_t(1));
  EXPECT_EQ(keyTexts(d), (std::vector<ustring>{u"title", u"msgType", u"Propstr", u"isRevertible"}));
  ASSERT_EQ(d.items().size(), 4u);
  EXPECT_EQ(d.items()[0], Variant(u"hello"));
  EXPECT_EQ(d.items()[1], Variant(int16_t(0)));
  EXPECT_EQ(d.items()[3], Variant(int16_t(1)));
  EXPECT_EQ(d.count(), 4u);
}

TEST(Dictionary, ValuesKeepTheirTypes) {
  Dictionary d;
  d.add(u"a", int16_t(1));
  d.add(u"b", int32_t(1));
  EXPECT_EQ(d.find(u"a")->type(), Variant::Type::I2);
  EXPECT_EQ(d.find(u"b")->type(), Variant::Type::I4);
}

TEST(Dictionary, DuplicateKeyRaises457AndKeepsTheFirst) {
  Dictionary d;
  d.add(u"k", u"1");
  EXPECT_EQ(errorOf([&] { d.add(u"k", u"2"); }), errnum::KeyAlreadyExists);
  EXPECT_EQ(d.count(), 1u);
  EXPECT_EQ(*d.find(u"k"), Variant(u"1"));
}

TEST(Dictionary, StringKeysCompareExactlyByDefault) {
  Dictionary d;
  d.add(u"title", u"x");
  EXPECT_TRUE(d.exists(u"title"));
  EXPECT_FALSE(d.exists(u"Title"));
  EXPECT_FALSE(d.exists(u"title "));
  d.add(u"Title", u"y");
  EXPECT_EQ(d.count(), 2u);
  EXPECT_EQ(d.compareMode(), Dictionary::CompareMode::Binary);
}

TEST(Dictionary, TextModeIgnoresCase) {
  Dictionary d(Dictionary::CompareMode::Text);
  d.add(u"title", u"x");
  EXPECT_TRUE(d.exists(u"TITLE"));
  EXPECT_EQ(errorOf([&] { d.add(u"Title", u"y"); }), errnum::KeyAlreadyExists);
  EXPECT_EQ(keyTexts(d), std::vector<ustring>{u"title"});
}

TEST(Dictionary, CompareModeChangesOnlyWhileEmpty) {
  Dictionary d;
  d.setCompareMode(Dictionary::CompareMode::Text);
  d.add(u"a", 1);
  EXPECT_EQ(errorOf([&] { d.setCompareMode(Dictionary::CompareMode::Binary); }), errnum::InvalidCall);
  d.removeAll();
  d.setCompareMode(Dictionary::CompareMode::Binary);
  EXPECT_EQ(d.compareMode(), Dictionary::CompareMode::Binary);
}

TEST(Dictionary, NumbersAreOneKeyWhateverTheirWidthButNotTheirText) {
  Dictionary d;
  d.add(int16_t(1), u"short");
  EXPECT_TRUE(d.exists(int32_t(1)));
  EXPECT_TRUE(d.exists(1.0));
  EXPECT_FALSE(d.exists(u"1"));
  d.add(u"1", u"text");
  EXPECT_EQ(d.count(), 2u);
  EXPECT_EQ(errorOf([&] { d.add(1.0, u"again"); }), errnum::KeyAlreadyExists);
}

TEST(Dictionary, EmptyStringEmptyAndNullAreThreeKeys) {
  Dictionary d;
  d.add(u"", 1);
  d.add(Variant(), 2);
  d.add(Variant::null(), 3);
  EXPECT_EQ(d.count(), 3u);
  EXPECT_EQ(*d.find(Variant()), Variant(2));
}

TEST(Dictionary, ObjectKeysCompareByIdentity) {
  Dictionary d;
  auto a = std::make_shared<DynamicObject>();
  auto b = std::make_shared<DynamicObject>();
  d.add(ObjectPtr(a), u"a");
  EXPECT_TRUE(d.exists(ObjectPtr(a)));
  EXPECT_FALSE(d.exists(ObjectPtr(b)));
}

TEST(Dictionary, ArrayKeyIsATypeMismatch) {
  Dictionary d;
  EXPECT_EQ(errorOf([&] { d.add(Variant(std::vector<Variant>{1}), 1); }), errnum::TypeMismatch);
  EXPECT_EQ(d.count(), 0u);
}

TEST(Dictionary, ReadingAnAbsentKeyAddsItEmpty) {
  Dictionary d;
  d.add(u"a", 1);
  EXPECT_TRUE(d.item(u"b").isEmpty());
  EXPECT_EQ(keyTexts(d), (std::vector<ustring>{u"a", u"b"}));
  EXPECT_EQ(d.find(u"c"), nullptr);
  EXPECT_EQ(d.count(), 2u);
}

TEST(Dictionary, SetItemReplacesInPlaceOrAppends) {
  Dictionary d;
  d.add(u"a", 1);
  d.add(u"b", 2);
  d.setItem(u"a", 10);
  d.setItem(u"c", 3);
  EXPECT_EQ(keyTexts(d), (std::vector<ustring>{u"a", u"b", u"c"}));
  EXPECT_EQ(d.items()[0], Variant(10));
}

TEST(Dictionary, RemoveKeepsTheOrderOfTheRest) {
  Dictionary d;
  for (const char16_t* k : {u"a", u"b", u"c", u"d"}) d.add(ustring(k), 0);
  d.remove(u"b");
  EXPECT_EQ(keyTexts(d), (std::vector<ustring>{u"a", u"c", u"d"}));
  d.add(u"b", 0);
  EXPECT_EQ(keyTexts(d), (std::vector<ustring>{u"a", u"c", u"d", u"b"}));
  EXPECT_EQ(errorOf([&] { d.remove(u"zz"); }), errnum::ElementNotFound);
  d.removeAll();
  EXPECT_EQ(d.count(), 0u);
  EXPECT_FALSE(d.exists(u"a"));
}

TEST(Dictionary, KeysWithNulsAndLoneSurrogatesAreKeptIntact) {
  Dictionary d;
  const ustring nul(u"a\0b", 3), lone(u"\xD800x");
  d.add(nul, 1);
  d.add(ustring(u"a"), 2);
  d.add(lone, 3);
  EXPECT_EQ(*d.find(nul), Variant(1));
  EXPECT_EQ(*d.find(lone), Variant(3));
  EXPECT_EQ(d.keys()[0].rawString().size(), 3u);
}

TEST(Dictionary, LateBoundMembers) {
  auto d = std::make_shared<Dictionary>();
  ObjectPtr o = d;
  o->call(u"Add", {u"title", u"t"});
  o->call(u"add", {u"receivers", u"13800000000"});
  EXPECT_EQ(o->get(u"Count"), Variant(2));
  EXPECT_EQ(o->get(u"Item", {u"title"}), Variant(u"t"));
  EXPECT_EQ(o->get(u"", {u"receivers"}), Variant(u"13800000000"));
  EXPECT_EQ(o->call(u"Exists", {u"title"}), Variant(true));
  EXPECT_EQ(o->call(u"Exists", {u"TITLE"}), Variant(false));
  const auto keys = o->call(u"Keys").toArray();
  ASSERT_EQ(keys.size(), 2u);
  EXPECT_EQ(keys[1], Variant(u"receivers"));
  EXPECT_EQ(o->call(u"Items").toArray()[0], Variant(u"t"));

  Args put{u"title", u"new"};
  o->invoke(u"Item", InvokeKind::Put, put);
  EXPECT_EQ(d->find(u"title")->toString(), u"new");

  Variant key(u"receivers");
  o->call(u"Remove", {Variant::ref(&key)});
  EXPECT_EQ(d->count(), 1u);
  EXPECT_EQ(errorOf([&] { o->call(u"Remove", {u"receivers"}); }), errnum::ElementNotFound);
  EXPECT_EQ(errorOf([&] { o->call(u"Add", {u"title", u"x"}); }), errnum::KeyAlreadyExists);
  EXPECT_EQ(errorOf([&] { o->call(u"Add", {u"only"}); }), errnum::WrongArgumentCount);
  EXPECT_EQ(errorOf([&] { o->call(u"Sort"); }), errnum::NotSupported);

  EXPECT_EQ(errorOf([&] { o->put(u"CompareMode", int32_t(1)); }), errnum::InvalidCall);  // not empty
  EXPECT_EQ(errorOf([&] { o->put(u"CompareMode", int32_t(0)); }), 0);                    // same mode
  o->call(u"RemoveAll");
  o->put(u"CompareMode", int32_t(1));
  EXPECT_EQ(o->get(u"CompareMode"), Variant(1));
  EXPECT_EQ(errorOf([&] { o->put(u"CompareMode", int32_t(7)); }), errnum::InvalidCall);

  EXPECT_TRUE(o->hasMember(u"items"));
  EXPECT_FALSE(o->hasMember(u"Sort"));
  EXPECT_EQ(o->className(), u"Dictionary");
}

TEST(Dictionary, ForEachYieldsTheKeys) {
  Dictionary d;
  d.add(u"x", 1);
  d.add(u"y", 2);
  const auto e = d.enumerate();
  ASSERT_EQ(e.size(), 2u);
  EXPECT_EQ(e[0], Variant(u"x"));
  EXPECT_EQ(e[1], Variant(u"y"));
}

TEST(Dictionary, ManyKeysStayAddressable) {
  Dictionary d;
  for (int32_t i = 0; i < 20000; ++i) d.add(u"k" + toText(i), i);
  for (int32_t i = 0; i < 20000; i += 2) d.remove(u"k" + toText(i));
  EXPECT_EQ(d.count(), 10000u);
  EXPECT_EQ(*d.find(u"k19999"), Variant(19999));
  EXPECT_EQ(d.keys().front(), Variant(u"k1"));
}
