// The system's wide characters are UTF-16 units, the same as the add-in's text:
// one is the other seen through another type. Windows code only.
#pragma once

#include <cstddef>

#include "automation/text.h"

namespace lumo {

static_assert(sizeof(wchar_t) == sizeof(char16_t), "the system's wide characters are UTF-16 units");

// The text as a NUL-terminated wide string, valid while the text lives unchanged.
inline const wchar_t* wz(const ustring& s) { return reinterpret_cast<const wchar_t*>(s.c_str()); }
inline ustring fromWide(const wchar_t* s, std::size_t n) { return ustring(reinterpret_cast<const char16_t*>(s), n); }
// A NUL-terminated wide string; a null one is empty.
inline ustring fromWide(const wchar_t* s) { return s ? ustring(reinterpret_cast<const char16_t*>(s)) : ustring(); }

}  // namespace lumo
