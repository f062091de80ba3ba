// The windows under test as the tests find them: by class.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace lumo::test {

// The window's class name ("#32770" for a dialog box).
std::wstring className(HWND window);

// The first child window of that class; nullptr when there is none.
inline HWND childOfClass(HWND parent, const wchar_t* cls) { return FindWindowExW(parent, nullptr, cls, nullptr); }

// This thread's top-level windows of one class.
std::vector<HWND> threadWindowsOfClass(const wchar_t* cls);

}  // namespace lumo::test
