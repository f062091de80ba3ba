// The windows of the SMS-log subsystem on Win32, as the rest of the add-in and the
// tests reach them.
#pragma once

#include <memory>

#include "host/windows.h"

namespace lumo::win32 {

// A new SMS log window (frmMobileLog) for the ShowSmsLog command. 'windows' gives
// it the list window and the send window (resend).
std::unique_ptr<CommandWindow> makeMobileLogWindow(ModuleHold hold, WindowFactory& windows);

namespace mobile_log {
// Window class name, for whoever looks the window up (tests, screenshots).
inline constexpr const wchar_t* kClass = L"LumoMobileLog";
// The tools of 'ab' are kToolIdBase + their smslog::Tool value.
constexpr int kToolIdBase = 3200;
constexpr int kToolBarId = 3300;
constexpr int kListId = 3301;
constexpr int kCountId = 3302;  // the row count, in the tool bar
}  // namespace mobile_log

}  // namespace lumo::win32
