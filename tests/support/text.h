// Text in test programs, native and under Wine: the UTF-16 values of the code
// under test shown as UTF-8, so that failure messages read as the text they hold
// and expectations can be written as plain UTF-8 literals. Builds on the UTF-8
// conversions of automation/text.h; no Windows header (see win/text.h for the
// wide-character additions of the Windows tests).
#pragma once

#include <ostream>
#include <string>

#include "automation/text.h"
#include "automation/variant.h"

namespace lumo {

// GoogleTest prints a Variant through this (found by argument-dependent lookup).
inline void PrintTo(const Variant& v, std::ostream* os) { *os << toUtf8(v.describe()); }

}  // namespace lumo

namespace lumo::test {

// One overload for each way a test holds UTF-16 text, so that none of the calls
// needs a conversion that another overload could also take.
inline std::string u8(const ustring& s) { return toUtf8(s); }
inline std::string u8(ustring_view s) { return toUtf8(s); }
inline std::string u8(const char16_t* s) { return toUtf8(s); }
// A Variant as it describes itself: text quoted, Null and Empty by name.
inline std::string u8(const Variant& v) { return toUtf8(v.describe()); }

}  // namespace lumo::test
