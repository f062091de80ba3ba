// Named parameter sets that callers hand to the development host's components
// (the SMS gateway's SendMessage takes one): an ordered name-to-value automation
// object of the caller's, read late-bound.
#pragma once

#include <vector>

#include "automation/object.h"

namespace lumo::devhost {

struct Parameter {
  Variant name;  // as the caller keyed it (normally text)
  Variant value;
};

struct ParameterSet {
  std::vector<Parameter> entries;  // in the caller's order
  // Entries of a keyed collection that none of the looked-up names reach (their
  // keys cannot be listed).
  std::size_t unnamed = 0;
};

// Reads a parameter set.
// - A dictionary (Count, Keys() giving an array or an enumerable object, and
//   Item(name), as a scripting dictionary has them) gives every entry in its own
//   order. Item is read only for the keys Keys() lists, because reading an absent
//   key adds it to a scripting dictionary.
// - An object without Keys but with Count and Item is taken as a keyed collection,
//   whose keys cannot be listed: each of `lookFor` is looked up by key, in that
//   order, and Count tells how many entries were left unreached.
// Raises hosterr::BadArgument saying what could not be read.
ParameterSet readParameterSet(const ObjectPtr& set, const std::vector<ustring>& lookFor);

// "{title='Hi', msgType=0, ...}": each entry as name=value in order, values in
// their short form; unreached entries of a keyed collection are counted at the end.
ustring describeParameterSet(const ParameterSet& set);

// The name of an entry as text: the name itself when it is text, else its short form.
ustring parameterName(const Variant& name);

}  // namespace lumo::devhost
