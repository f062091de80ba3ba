// The windows of the list-display subsystem on Win32, as the rest of the add-in
// and the tests reach them.
#pragma once

#include <memory>

#include "host/windows.h"

namespace lumo::display {
class DisplayerPresenter;
}

namespace lumo::win32 {

// A new list window (frmDisplayer): the presenter and its Win32 view in one object,
// held through the presenter. Shown modeless, it keeps itself alive until the user
// closes it, whoever let go of it meanwhile.
std::shared_ptr<display::DisplayerPresenter> makeListWindow(ModuleHold hold);

namespace displayer {
// Window class names, for whoever looks the windows up (tests, screenshots).
inline constexpr const wchar_t* kClass = L"LumoDisplayer";
inline constexpr const wchar_t* kPreviewClass = L"LumoDisplayPreview";
// Command identifiers: the menu items are kMenuIdBase + their DisplayMenu value,
// the tool-bar buttons kToolIdBase + their index in kToolButtonKeys.
constexpr int kMenuIdBase = 1000;
constexpr int kToolIdBase = 1100;
constexpr int kListId = 1200;
// The list's context menu: kContextIdBase + the ListCommand value.
constexpr int kContextIdBase = 1300;
}  // namespace displayer

}  // namespace lumo::win32
