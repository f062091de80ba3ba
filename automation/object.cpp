#include "automation/object.h"

namespace lumo {

std::vector<Variant> Object::enumerate() { throw Error(errnum::NotSupported); }

Variant Object::get(const ustring& name, Args args) { return invoke(name, InvokeKind::Get, args); }

void Object::put(const ustring& name, const Variant& value) {
  Args args{value};
  invoke(name, InvokeKind::Put, args);
}

void Object::putRef(const ustring& name, const Variant& value) {
  Args args{value};
  invoke(name, InvokeKind::PutRef, args);
}

Variant Object::call(const ustring& name, Args args) { return invoke(name, InvokeKind::Method, args); }

bool DynamicObject::NoCaseLess::operator()(const ustring& a, const ustring& b) const {
  std::size_t n = a.size() < b.size() ? a.size() : b.size();
  for (std::size_t i = 0; i < n; ++i) {
    char16_t x = foldCase(a[i]), y = foldCase(b[i]);
    if (x != y) return x < y;
  }
  return a.size() < b.size();
}

DynamicObject& DynamicObject::on(const ustring& name, Handler h) {
  handlers_[name] = std::move(h);
  return *this;
}

DynamicObject& DynamicObject::property(const ustring& name, Variant initial) {
  properties_[name] = std::move(initial);
  return *this;
}

Variant& DynamicObject::propertyValue(const ustring& name) {
  auto it = properties_.find(name);
  if (it == properties_.end()) throw Error(errnum::NotSupported);
  return it->second;
}

Variant DynamicObject::invoke(const ustring& name, InvokeKind kind, Args& args) {
  auto h = handlers_.find(name);
  if (h != handlers_.end()) return h->second(kind, args);
  auto p = properties_.find(name);
  if (p != properties_.end()) {
    if (kind == InvokeKind::Put || kind == InvokeKind::PutRef) {
      if (args.empty()) throw Error(errnum::WrongArgumentCount);
      p->second = args.back().deref();
      return {};
    }
    if (!args.empty()) throw Error(errnum::WrongArgumentCount);
    return p->second;
  }
  throw Error(errnum::NotSupported);
}

bool DynamicObject::hasMember(const ustring& name) const {
  return handlers_.count(name) > 0 || properties_.count(name) > 0;
}

void Collection::add(const Variant& item, const ustring* key) { add(Variant(item), key); }

void Collection::add(Variant&& item, const ustring* key) {
  if (key) {
    ustring folded = toUpper(*key);
    if (keys_.count(folded)) throw Error(errnum::KeyAlreadyExists);
    keys_[folded] = items_.size();
    items_.push_back({std::move(item), *key, true});
  } else {
    items_.push_back({std::move(item), {}, false});
  }
}

const Variant& Collection::item(std::size_t position) const {
  if (position < 1 || position > items_.size()) throw Error(errnum::InvalidCall);
  return items_[position - 1].item;
}

std::size_t Collection::position(const ustring& key) const {
  if (positionsStale_) {
    for (std::size_t i = 0; i < items_.size(); ++i)
      if (items_[i].hasKey) keys_[toUpper(items_[i].key)] = i;
    positionsStale_ = false;
  }
  auto it = keys_.find(toUpper(key));
  if (it == keys_.end()) throw Error(errnum::InvalidCall);
  return it->second;
}

const Variant& Collection::item(const ustring& key) const { return items_[position(key)].item; }

bool Collection::hasKey(const ustring& key) const { return keys_.count(toUpper(key)) > 0; }

void Collection::remove(std::size_t position) {
  if (position < 1 || position > items_.size()) throw Error(errnum::InvalidCall);
  items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(position - 1));
  keys_.clear();
  for (std::size_t i = 0; i < items_.size(); ++i)
    if (items_[i].hasKey) keys_[toUpper(items_[i].key)] = i;
  positionsStale_ = false;
}

void Collection::reorder(std::span<const uint32_t> order) {
  const std::size_t m = order.size();
  if (m > items_.size()) throw Error(errnum::InvalidCall);
  // Where each item goes; a position met twice or out of range is no permutation.
  std::vector<uint32_t> target(m, UINT32_MAX);
  for (std::size_t p = 0; p < m; ++p) {
    if (order[p] >= m || target[order[p]] != UINT32_MAX) throw Error(errnum::InvalidCall);
    target[order[p]] = static_cast<uint32_t>(p);
  }
  std::vector<Entry> moved;
  moved.reserve(items_.size());
  for (std::size_t p = 0; p < m; ++p) moved.push_back(std::move(items_[order[p]]));
  for (std::size_t p = m; p < items_.size(); ++p) moved.push_back(std::move(items_[p]));
  items_ = std::move(moved);
  // Walking every key now would cost as much as the move itself; a lookup by key
  // after a reorder (rare: callers go by position) finds the positions again.
  if (!keys_.empty()) positionsStale_ = true;
}

void Collection::clear() {
  items_.clear();
  keys_.clear();
  positionsStale_ = false;
}

const Variant& Collection::lookup(const Variant& index) const {
  if (index.isString()) return item(index.rawString());
  double d = index.toDouble();
  if (d < 1 || d > static_cast<double>(items_.size())) throw Error(errnum::InvalidCall);
  return item(static_cast<std::size_t>(index.toI4()));
}

Variant Collection::invoke(const ustring& name, InvokeKind kind, Args& args) {
  if (name.empty() || equalsNoCase(name, u"Item")) {
    if (args.size() != 1) throw Error(errnum::WrongArgumentCount);
    return lookup(args[0].deref());
  }
  if (equalsNoCase(name, u"Count")) return static_cast<int32_t>(items_.size());
  if (equalsNoCase(name, u"Add")) {
    if (args.empty() || args.size() > 4) throw Error(errnum::WrongArgumentCount);
    if (args.size() >= 2 && !args[1].isMissing() && !args[1].isEmpty()) {
      ustring key = args[1].toString();
      add(args[0].deref(), &key);
    } else {
      add(args[0].deref());
    }
    return {};
  }
  if (equalsNoCase(name, u"Remove")) {
    if (args.size() != 1) throw Error(errnum::WrongArgumentCount);
    const Variant& index = args[0].deref();
    if (index.isString()) {
      remove(position(index.rawString()) + 1);
    } else {
      remove(static_cast<std::size_t>(index.toI4()));
    }
    return {};
  }
  (void)kind;
  throw Error(errnum::NotSupported);
}

bool Collection::hasMember(const ustring& name) const {
  return name.empty() || equalsNoCase(name, u"Item") || equalsNoCase(name, u"Count") || equalsNoCase(name, u"Add") ||
         equalsNoCase(name, u"Remove");
}

std::vector<Variant> Collection::enumerate() {
  std::vector<Variant> out;
  out.reserve(items_.size());
  for (const auto& e : items_) out.push_back(e.item);
  return out;
}

}  // namespace lumo
