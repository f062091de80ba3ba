// The Win32 display window: draws what the presenter (Displayer) decides and
// hands the user's actions back to it.
#pragma once

#include <windows.h>

#include "display/displayer.h"

namespace lumo::display::win {

// Makes makeDisplayer() create real windows. The module handle is where the
// window classes are registered (the DLL's own). Safe to call more than once.
void installDisplayerWindows(HINSTANCE module);

// Window class names, for whoever looks the windows up (tests, screenshots).
inline constexpr const wchar_t* kDisplayerClass = L"LumoDisplayer";
inline constexpr const wchar_t* kPreviewClass = L"LumoDisplayPreview";

// Command identifiers: the menu items are kMenuIdBase + their DisplayMenu value,
// the tool-bar buttons kToolIdBase + their index in kToolButtonKeys.
constexpr int kMenuIdBase = 1000;
constexpr int kToolIdBase = 1100;
constexpr int kListId = 1200;

}  // namespace lumo::display::win
