#include "devhost/components/parameter_set.h"

#include "devhost/components/component.h"
#include "devhost/components/hostdb.h"

namespace lumo::devhost {

namespace {

[[noreturn]] void unreadable(const ustring& what, const Error& e) {
  throw Error(hosterr::BadArgument, u"the parameter set cannot be read: " + what + u" failed (" + e.description() + u")");
}

std::vector<Variant> listOf(const Variant& keys) {
  const Variant& k = keys.deref();
  if (k.type() == Variant::Type::Array) return k.toArray();
  if (k.isObject() && k.toObject()) return k.toObject()->enumerate();
  throw Error(hosterr::BadArgument, u"the parameter set cannot be read: Keys() answered " + k.describe() +
                                        u" instead of a list of names");
}

int32_t countOf(const ObjectPtr& set) {
  Variant n;
  try {
    n = readMember(set, u"Count", {});
  } catch (const Error& e) {
    unreadable(u"Count", e);
  }
  if (!n.deref().isNumeric())
    throw Error(hosterr::BadArgument, u"the parameter set cannot be read: Count answered " + n.deref().describe());
  return n.deref().toI4();
}

ParameterSet readDictionary(const ObjectPtr& set) {
  std::vector<Variant> keys;
  try {
    keys = listOf(readMember(set, u"Keys", {}));
  } catch (const Error& e) {
    if (e.number() == hosterr::BadArgument) throw;
    unreadable(u"Keys()", e);
  }
  int32_t count = countOf(set);
  if (count < 0 || static_cast<std::size_t>(count) != keys.size())
    throw Error(hosterr::BadArgument, u"the parameter set cannot be read: Count is " + toText(count) + u" but Keys() lists " +
                                          toText(static_cast<long long>(keys.size())) + u" names");
  ParameterSet out;
  for (const Variant& key : keys) {
    Parameter p;
    p.name = key.deref();
    try {
      p.value = readMember(set, u"Item", {p.name}).deref();
    } catch (const Error& e) {
      unreadable(u"Item(" + p.name.describe() + u")", e);
    }
    out.entries.push_back(std::move(p));
  }
  return out;
}

ParameterSet readKeyedCollection(const ObjectPtr& set, const std::vector<ustring>& lookFor) {
  int32_t count = countOf(set);
  ParameterSet out;
  for (const ustring& name : lookFor) {
    Variant value;
    try {
      value = readMember(set, u"Item", {name}).deref();
    } catch (const Error&) {
      continue;  // not in the set
    }
    out.entries.push_back({name, std::move(value)});
  }
  if (count > static_cast<int32_t>(out.entries.size()))
    out.unnamed = static_cast<std::size_t>(count) - out.entries.size();
  return out;
}

}  // namespace

ParameterSet readParameterSet(const ObjectPtr& set, const std::vector<ustring>& lookFor) {
  if (!set) throw Error(hosterr::BadArgument, u"the parameter set is Nothing");
  bool dictionary = false, keyed = false;
  try {
    dictionary = set->hasMember(u"Keys");
    keyed = set->hasMember(u"Item") && set->hasMember(u"Count");
  } catch (const Error& e) {
    unreadable(u"looking up its members", e);
  }
  if (dictionary) return readDictionary(set);
  if (keyed) return readKeyedCollection(set, lookFor);
  throw Error(hosterr::BadArgument,
              u"the parameter set is not a name-to-value object (it has neither Keys() nor Count and Item)");
}

ustring parameterName(const Variant& name) {
  const Variant& n = name.deref();
  return n.isString() ? n.rawString() : n.describe();
}

ustring describeParameterSet(const ParameterSet& set) {
  ustring s = u"{";
  for (std::size_t k = 0; k < set.entries.size(); ++k) {
    if (k) s += u", ";
    s += parameterName(set.entries[k].name) + u"=" + set.entries[k].value.describe();
  }
  if (set.unnamed) {
    if (!set.entries.empty()) s += u", ";
    s += u"+" + toText(static_cast<long long>(set.unnamed)) + u" unnamed";
  }
  return s + u"}";
}

}  // namespace lumo::devhost
