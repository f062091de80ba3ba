// frmFilter: the SMS log's filter dialog, made from its layout in the session's
// language each time it is shown.
#pragma once

#include <optional>

#include "smslog/log_query.h"
#include "win32/window.h"

namespace lumo::win32 {

// Shows a new filter dialog modal over 'owner' with these conditions; the
// conditions when the user pressed OK, nothing on Cancel. The dialog is gone when
// this returns.
std::optional<smslog::LogFilter> runFilterDialog(HWND owner, const smslog::LogFilter& conditions);

}  // namespace lumo::win32
