// Screenshots for the window tests: a part of the screen copied into memory and
// written as a PNG file (uncompressed deflate blocks: large, but any viewer reads them).
#pragma once

#include <windows.h>

#include <string>

namespace disptest {

// Copies the screen area of a window (frame included) and writes it to path.
// False when the window or the file is not there.
bool saveWindowPng(HWND window, const std::wstring& path);

}  // namespace disptest
