// The Windows tests' additions to tests/support/text.h: the system's wide
// characters are the same 16-bit units as the add-in's UTF-16 text, so one is the
// other seen through another type; paths and environment variables as Windows
// code under Wine reaches them.
#pragma once

#include <string>
#include <string_view>

#include "tests/support/text.h"

namespace lumo::test {

static_assert(sizeof(wchar_t) == sizeof(char16_t), "Windows' wide characters are UTF-16 units");

inline ustring_view asUtf16(std::wstring_view s) { return {reinterpret_cast<const char16_t*>(s.data()), s.size()}; }
inline ustring u16(std::wstring_view s) { return ustring(asUtf16(s)); }
inline std::wstring wide(ustring_view s) { return {reinterpret_cast<const wchar_t*>(s.data()), s.size()}; }

inline std::string u8(std::wstring_view s) { return toUtf8(asUtf16(s)); }
inline std::string u8(const std::wstring& s) { return toUtf8(asUtf16(s)); }
inline std::string u8(const wchar_t* s) { return toUtf8(asUtf16(s)); }

// A path of the build machine ("/a/b") as Windows code under Wine reaches it
// ("Z:\a\b": drive Z: is the root of the file system); other paths unchanged.
ustring windowsPath(std::string_view unixPath);

// A variable of this process's environment; empty when it is not set.
ustring environment(const wchar_t* name);

}  // namespace lumo::test
