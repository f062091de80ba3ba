#include "automation/object.h"

#include <algorithm>

#include "automation/prefetch.h"

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
  const auto at = static_cast<uint32_t>(items_.size());
  if (key) {
    ustring folded = toUpper(*key);
    if (keys_.count(folded)) throw Error(errnum::KeyAlreadyExists);
    keys_.emplace(std::move(folded), at);
  }
  items_.push_back(std::move(item));
  order_.push_back(at);
}

const Variant& Collection::item(std::size_t position) const {
  if (position < 1 || position > order_.size()) throw Error(errnum::InvalidCall);
  return items_[order_[position - 1]];
}

void Collection::prefetch(std::size_t position) const {
  if (position >= 1 && position <= order_.size()) prefetchForRead(&items_[order_[position - 1]]);
}

const Variant& Collection::item(const ustring& key) const {
  auto it = keys_.find(toUpper(key));
  if (it == keys_.end()) throw Error(errnum::InvalidCall);
  return items_[it->second];
}

std::size_t Collection::position(const ustring& key) const {
  auto it = keys_.find(toUpper(key));
  if (it == keys_.end()) throw Error(errnum::InvalidCall);
  return static_cast<std::size_t>(std::find(order_.begin(), order_.end(), it->second) - order_.begin());
}

bool Collection::hasKey(const ustring& key) const { return keys_.count(toUpper(key)) > 0; }

void Collection::remove(std::size_t position) {
  if (position < 1 || position > order_.size()) throw Error(errnum::InvalidCall);
  const uint32_t gone = order_[position - 1];
  items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(gone));
  order_.erase(order_.begin() + static_cast<std::ptrdiff_t>(position - 1));
  // The item's key goes; the items after it moved down by one.
  for (uint32_t& at : order_)
    if (at > gone) --at;
  for (auto it = keys_.begin(); it != keys_.end();) {
    if (it->second == gone) {
      it = keys_.erase(it);
      continue;
    }
    if (it->second > gone) --it->second;
    ++it;
  }
}

void Collection::reorder(std::span<const uint32_t> order) {
  const std::size_t m = order.size();
  if (m > order_.size()) throw Error(errnum::InvalidCall);
  // A position met twice or out of range is no permutation.
  std::vector<bool> met(m, false);
  for (std::size_t p = 0; p < m; ++p) {
    if (order[p] >= m || met[order[p]]) throw Error(errnum::InvalidCall);
    met[order[p]] = true;
  }
  std::vector<uint32_t> placed(order_.begin(), order_.begin() + static_cast<std::ptrdiff_t>(m));
  for (std::size_t p = 0; p < m; ++p) order_[p] = placed[order[p]];
}

void Collection::clear() {
  items_.clear();
  order_.clear();
  keys_.clear();
}

const Variant& Collection::lookup(const Variant& index) const {
  if (index.isString()) return item(index.rawString());
  double d = index.toDouble();
  if (d < 1 || d > static_cast<double>(order_.size())) throw Error(errnum::InvalidCall);
  return item(static_cast<std::size_t>(index.toI4()));
}

Variant Collection::invoke(const ustring& name, InvokeKind kind, Args& args) {
  if (name.empty() || equalsNoCase(name, u"Item")) {
    if (args.size() != 1) throw Error(errnum::WrongArgumentCount);
    return lookup(args[0].deref());
  }
  if (equalsNoCase(name, u"Count")) return static_cast<int32_t>(order_.size());
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
  out.reserve(order_.size());
  for (uint32_t at : order_) out.push_back(items_[at]);
  return out;
}

}  // namespace lumo
