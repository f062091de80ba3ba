// Late-bound objects: what the add-in calls on host components, and what it hands
// to the host. On Windows an Object wraps an IDispatch (or is wrapped as one); in
// native tests it is an in-process implementation.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <span>
#include <vector>

#include "automation/variant.h"

namespace lumo {

enum class InvokeKind : uint8_t { Method = 1, Get = 2, Put = 4, PutRef = 8 };

class Object : public std::enable_shared_from_this<Object> {
 public:
  virtual ~Object() = default;

  // Invokes a member by name. Arguments stand in their natural order (the value
  // of a Put last); a by-reference argument is a Variant::ref and is written back.
  // The empty name is the default member. An unknown member raises 438.
  virtual Variant invoke(const ustring& name, InvokeKind kind, Args& args) = 0;

  // Whether the object answers to a member name (a name look-up that fails is
  // reported before any call is made).
  virtual bool hasMember(const ustring& name) const {
    (void)name;
    return true;
  }

  // For Each support: the elements in order. Objects that are not collections raise 438.
  virtual std::vector<Variant> enumerate();

  // Class name as the language's TypeName reports it.
  virtual ustring className() const { return u"Object"; }

  Variant get(const ustring& name, Args args = {});
  void put(const ustring& name, const Variant& value);
  void putRef(const ustring& name, const Variant& value);
  Variant call(const ustring& name, Args args = {});
};

// Creates components by programmatic identifier. A component that cannot be
// created raises 429 with a description naming the identifier.
class ComponentFactory {
 public:
  virtual ~ComponentFactory() = default;
  virtual ObjectPtr create(const ustring& progId) = 0;
};

// An object whose members are handlers registered by name (case-insensitive), with
// plain read/write properties as the fallback for names given to setProperty.
class DynamicObject : public Object {
 public:
  using Handler = std::function<Variant(InvokeKind, Args&)>;

  explicit DynamicObject(ustring className = u"Object") : className_(std::move(className)) {}

  DynamicObject& on(const ustring& name, Handler h);
  // A read/write property with an initial value.
  DynamicObject& property(const ustring& name, Variant initial = {});
  Variant& propertyValue(const ustring& name);

  Variant invoke(const ustring& name, InvokeKind kind, Args& args) override;
  bool hasMember(const ustring& name) const override;
  ustring className() const override { return className_; }

 private:
  struct NoCaseLess {
    bool operator()(const ustring& a, const ustring& b) const;
  };
  ustring className_;
  std::map<ustring, Handler, NoCaseLess> handlers_;
  std::map<ustring, Variant, NoCaseLess> properties_;
};

// The host language's Collection: ordered items, optional unique keys compared
// without regard to case, 1-based positions. A missing key or position raises 5,
// a duplicate key 457.
class Collection : public Object {
 public:
  void add(const Variant& item, const ustring* key = nullptr);
  // The same, taking the item over (no copy of a long text).
  void add(Variant&& item, const ustring* key = nullptr);
  std::size_t count() const { return order_.size(); }
  // Room for n items (a caller that knows roughly how many will come).
  void reserve(std::size_t n) {
    items_.reserve(n);
    order_.reserve(n);
  }
  const Variant& item(std::size_t position) const;  // 1-based
  const Variant& item(const ustring& key) const;
  bool hasKey(const ustring& key) const;
  void remove(std::size_t position);
  void clear();
  // Puts the first order.size() items in a new order: order[p] is the 0-based
  // position, before, of the item that goes to position p. The items keep their
  // keys; no item is copied or moved, only their places are. Raises 5 when order
  // is not a permutation of 0..order.size()-1 or is longer than the collection.
  void reorder(std::span<const uint32_t> order);
  // Starts fetching the item at a position (1-based; nothing outside): a walk in
  // the order of a sort meets items scattered in memory.
  void prefetch(std::size_t position) const;

  Variant invoke(const ustring& name, InvokeKind kind, Args& args) override;
  bool hasMember(const ustring& name) const override;
  std::vector<Variant> enumerate() override;
  ustring className() const override { return u"Collection"; }

 private:
  const Variant& lookup(const Variant& index) const;
  // The 0-based position of the item with a key; raises 5 when none has it.
  std::size_t position(const ustring& key) const;
  // The items stay where they were added; the positions are an index into
  // them, so that a new order of a million items moves four bytes each.
  std::vector<Variant> items_;
  std::vector<uint32_t> order_;        // position - 1 -> item
  std::map<ustring, uint32_t> keys_;  // folded key -> item
};

}  // namespace lumo
