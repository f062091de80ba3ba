// The add-in's own name-to-value automation object, handed to host components
// that read a keyed parameter set: items stay in the order they were added, keys
// are compared exactly by default (strings character for character, numbers by
// value), and the members are those a late-bound caller expects of a dictionary:
// Add, Item (the default member), Exists, Count, Keys, Items, Remove, RemoveAll,
// CompareMode. Look-up by key is constant time; Keys and Items are linear.
#pragma once

#include <cstdint>
#include <list>
#include <unordered_map>

#include "automation/object.h"

namespace lumo {

namespace errnum {
constexpr int32_t ElementNotFound = 32811;  // a dictionary's Remove of a key it does not hold
}  // namespace errnum

class Dictionary : public Object {
 public:
  // How string keys compare: Binary (the default) exactly, Text without regard to case.
  enum class CompareMode : int32_t { Binary = 0, Text = 1 };

  Dictionary() = default;
  explicit Dictionary(CompareMode mode) : mode_(mode) {}

  // Raises 457 when the key is already present; 13 for an array key.
  void add(const Variant& key, const Variant& item);
  bool exists(const Variant& key) const;
  std::size_t count() const { return entries_.size(); }

  // Reading a key that is absent adds it with an empty value, as late-bound
  // callers of a dictionary expect; find() looks without adding.
  Variant item(const Variant& key);
  const Variant* find(const Variant& key) const;
  // Replaces the value of a present key or adds the key at the end.
  void setItem(const Variant& key, const Variant& item);

  std::vector<Variant> keys() const;
  std::vector<Variant> items() const;
  // Raises 32811 when the key is absent.
  void remove(const Variant& key);
  void removeAll();

  CompareMode compareMode() const { return mode_; }
  // Only while the dictionary is empty (5 otherwise).
  void setCompareMode(CompareMode mode);

  Variant invoke(const ustring& name, InvokeKind kind, Args& args) override;
  bool hasMember(const ustring& name) const override;
  // For Each over a dictionary yields its keys.
  std::vector<Variant> enumerate() override { return keys(); }
  ustring className() const override { return u"Dictionary"; }

 private:
  // A key reduced to what decides equality: its kind and its value.
  struct Norm {
    enum Kind : uint8_t { Empty, Null, Number, Text, Object } kind = Empty;
    double number = 0;
    ustring text;
    const lumo::Object* object = nullptr;
    bool operator==(const Norm& o) const;
  };
  struct NormHash {
    std::size_t operator()(const Norm& n) const;
  };
  struct Entry {
    Variant key;
    Variant item;
  };

  Norm normalise(const Variant& key) const;

  CompareMode mode_ = CompareMode::Binary;
  std::list<Entry> entries_;
  std::unordered_map<Norm, std::list<Entry>::iterator, NormHash> index_;
};

}  // namespace lumo
