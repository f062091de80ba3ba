// Pictures of the windows under test: the part of the screen a window covers,
// written as a PNG file (uncompressed deflate blocks: large, but any viewer reads them).
#pragma once

#include <windows.h>

#include <string>

namespace lumo::test {

// Copies the screen area of a window (frame included) and writes it to path.
// False when the window or the file is not there.
bool saveWindowPng(HWND window, const std::wstring& path);

// Repaints the window and saves its picture as <name>.png in the folder that
// LUMO_SHOTS_DIR names; true when saved, or when no folder is named.
bool saveShot(HWND window, const std::u16string& name);

}  // namespace lumo::test
