#include "automation/dictionary.h"

#include <functional>

namespace lumo {

bool Dictionary::Norm::operator==(const Norm& o) const {
  if (kind != o.kind) return false;
  switch (kind) {
    case Number: return number == o.number;
    case Text: return text == o.text;
    case Object: return object == o.object;
    default: return true;
  }
}

std::size_t Dictionary::NormHash::operator()(const Norm& n) const {
  std::size_t h = static_cast<std::size_t>(n.kind) * 0x9E3779B97F4A7C15ull;
  switch (n.kind) {
    case Norm::Number: return h ^ std::hash<double>()(n.number);
    case Norm::Text: return h ^ std::hash<ustring>()(n.text);
    case Norm::Object: return h ^ std::hash<const void*>()(n.object);
    default: return h;
  }
}

Dictionary::Norm Dictionary::normalise(const Variant& key) const {
  const Variant& k = key.deref();
  Norm n;
  switch (k.type()) {
    case Variant::Type::Empty: n.kind = Norm::Empty; break;
    case Variant::Type::Null: n.kind = Norm::Null; break;
    case Variant::Type::Bool:
    case Variant::Type::I2:
    case Variant::Type::I4:
    case Variant::Type::R8:
    case Variant::Type::Date:
      // 1, 1.0 and an integer 1 of either width are one key; the text "1" is another.
      n.kind = Norm::Number;
      n.number = k.toDouble();
      if (n.number == 0) n.number = 0;  // -0 and 0 hash alike
      break;
    case Variant::Type::String:
      n.kind = Norm::Text;
      n.text = mode_ == CompareMode::Text ? toUpper(k.rawString()) : k.rawString();
      break;
    case Variant::Type::Object:
      n.kind = Norm::Object;
      n.object = k.toObject().get();
      break;
    case Variant::Type::Missing: throw Error(errnum::WrongArgumentCount);
    case Variant::Type::Array: throw Error(errnum::TypeMismatch);
  }
  return n;
}

void Dictionary::add(const Variant& key, const Variant& item) {
  Norm n = normalise(key);
  if (index_.count(n)) throw Error(errnum::KeyAlreadyExists);
  entries_.push_back({key.deref(), item.deref()});
  index_.emplace(std::move(n), std::prev(entries_.end()));
}

bool Dictionary::exists(const Variant& key) const { return index_.count(normalise(key)) > 0; }

const Variant* Dictionary::find(const Variant& key) const {
  auto it = index_.find(normalise(key));
  return it == index_.end() ? nullptr : &it->second->item;
}

Variant Dictionary::item(const Variant& key) {
  Norm n = normalise(key);
  auto it = index_.find(n);
  if (it != index_.end()) return it->second->item;
  entries_.push_back({key.deref(), Variant()});
  index_.emplace(std::move(n), std::prev(entries_.end()));
  return Variant();
}

void Dictionary::setItem(const Variant& key, const Variant& item) {
  Norm n = normalise(key);
  auto it = index_.find(n);
  if (it != index_.end()) {
    it->second->item = item.deref();
    return;
  }
  entries_.push_back({key.deref(), item.deref()});
  index_.emplace(std::move(n), std::prev(entries_.end()));
}

std::vector<Variant> Dictionary::keys() const {
  std::vector<Variant> out;
  out.reserve(entries_.size());
  for (const Entry& e : entries_) out.push_back(e.key);
  return out;
}

std::vector<Variant> Dictionary::items() const {
  std::vector<Variant> out;
  out.reserve(entries_.size());
  for (const Entry& e : entries_) out.push_back(e.item);
  return out;
}

void Dictionary::remove(const Variant& key) {
  auto it = index_.find(normalise(key));
  if (it == index_.end()) throw Error(errnum::ElementNotFound, u"Element not found");
  entries_.erase(it->second);
  index_.erase(it);
}

void Dictionary::removeAll() {
  index_.clear();
  entries_.clear();
}

void Dictionary::setCompareMode(CompareMode mode) {
  if (!entries_.empty() && mode != mode_) throw Error(errnum::InvalidCall);
  mode_ = mode;
}

Variant Dictionary::invoke(const ustring& name, InvokeKind kind, Args& args) {
  auto need = [&args](std::size_t n) {
    if (args.size() != n) throw Error(errnum::WrongArgumentCount);
  };
  const bool put = kind == InvokeKind::Put || kind == InvokeKind::PutRef;
  if (name.empty() || equalsNoCase(name, u"Item")) {
    if (put) {
      need(2);
      setItem(args[0], args[1]);
      return {};
    }
    need(1);
    return item(args[0]);
  }
  if (equalsNoCase(name, u"Add")) {
    need(2);
    add(args[0], args[1]);
    return {};
  }
  if (equalsNoCase(name, u"Exists")) {
    need(1);
    return exists(args[0]);
  }
  if (equalsNoCase(name, u"Count")) {
    need(0);
    return static_cast<int32_t>(entries_.size());
  }
  if (equalsNoCase(name, u"Keys")) {
    need(0);
    return Variant(keys());
  }
  if (equalsNoCase(name, u"Items")) {
    need(0);
    return Variant(items());
  }
  if (equalsNoCase(name, u"Remove")) {
    need(1);
    remove(args[0]);
    return {};
  }
  if (equalsNoCase(name, u"RemoveAll")) {
    need(0);
    removeAll();
    return {};
  }
  if (equalsNoCase(name, u"CompareMode")) {
    if (put) {
      need(1);
      const int32_t m = args[0].deref().toI4();
      if (m != 0 && m != 1) throw Error(errnum::InvalidCall);
      setCompareMode(static_cast<CompareMode>(m));
      return {};
    }
    need(0);
    return static_cast<int32_t>(mode_);
  }
  throw Error(errnum::NotSupported);
}

bool Dictionary::hasMember(const ustring& name) const {
  for (const char16_t* m : {u"Item", u"Add", u"Exists", u"Count", u"Keys", u"Items", u"Remove", u"RemoveAll",
                            u"CompareMode"})
    if (equalsNoCase(name, m)) return true;
  return name.empty();
}

}  // namespace lumo
