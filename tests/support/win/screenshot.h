// Pictures of the windows under test: the part of the screen a window covers,
// written as a PNG file (uncompressed deflate blocks: large, but any viewer reads them).
#pragma once

#include <windows.h>

#include <string>

namespace lumo::test {

// Copies the screen area of a window (frame included) and writes it to path.
// False when the window or the file is not there.
bool saveWindowPng(HWND window, const std::wstring& path);

}  // namespace lumo::test
