// The interfaces, identifiers and enumerations of the published type library, as
// widl generates them, plus access to the library embedded in this module.
//
// Three published enumerators share their names with Windows declarations
// (HWND_TOPMOST and friends are macros of winuser.h, OpenFile a kernel32 function).
// While the generated header is read those names are mapped to prefixed ones, so C++
// code names them Enum_WindowPos_HWND_TOPMOST, ..., Enum_Action_OpenFile; the type
// library itself carries the published names.
#pragma once

#include <windows.h>
#include <oaidl.h>
#include <ocidl.h>

#pragma push_macro("HWND_TOPMOST")
#pragma push_macro("HWND_NOTOPMOST")
#pragma push_macro("HWND_TOP")
#pragma push_macro("HWND_BOTTOM")
#undef HWND_TOPMOST
#undef HWND_NOTOPMOST
#undef HWND_TOP
#undef HWND_BOTTOM
#define HWND_TOPMOST Enum_WindowPos_HWND_TOPMOST
#define HWND_NOTOPMOST Enum_WindowPos_HWND_NOTOPMOST
#define HWND_TOP Enum_WindowPos_HWND_TOP
#define HWND_BOTTOM Enum_WindowPos_HWND_BOTTOM
#define OpenFile Enum_Action_OpenFile
#define SaveFile Enum_Action_SaveFile
#include "LumoSmsManager_h.h"
#undef OpenFile
#undef SaveFile
#undef HWND_TOPMOST
#undef HWND_NOTOPMOST
#undef HWND_TOP
#undef HWND_BOTTOM
#pragma pop_macro("HWND_TOPMOST")
#pragma pop_macro("HWND_NOTOPMOST")
#pragma pop_macro("HWND_TOP")
#pragma pop_macro("HWND_BOTTOM")
