// The windows under test as the tests find them: by class.
#pragma once

#include <windows.h>

#include <string>

namespace lumo::test {

// The window's class name ("#32770" for a dialog box).
std::wstring className(HWND window);

// The first child window of that class; nullptr when there is none.
inline HWND childOfClass(HWND parent, const wchar_t* cls) { return FindWindowExW(parent, nullptr, cls, nullptr); }

}  // namespace lumo::test
