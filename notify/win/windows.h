// The windows of the approval-notification subsystem on Win32, as the rest of
// the add-in and the tests reach them.
#pragma once

#include <windows.h>

#include <memory>

#include "host/windows.h"

namespace lumo::win32 {

// The service management window (frmSmsManager) for the SmsManager command and
// the personal settings window (frmUserSmsManager) for UserSms: one window over
// one presenter, told which it is. Both are shown modal; result lists come from
// 'windows'.
std::unique_ptr<CommandWindow> makeSmsManagerWindow(ModuleHold hold, WindowFactory& windows);
std::unique_ptr<CommandWindow> makeUserSmsWindow(ModuleHold hold, WindowFactory& windows);

// The notification options (frmSetUseFlag), modal over 'owner'; returns when closed.
void showSetUseFlag(HWND owner);

namespace sms_manager {
// The window's controls (GetDlgItem), in tab order.
enum ControlId : int {
  idToolBar = 2001,
  idToolText,
  idFaTree,
  idTree,
  idSep,
  idBar,
  idFaList,
  idList,
};
// Tool-bar command ids: kToolIdBase + the button's place on the bar.
constexpr int kToolIdBase = 2100;
}  // namespace sms_manager

namespace set_use_flag {
enum ControlId : int {
  idFam1 = 2201,
  idChkFlag,
  idFam2,
  idChkFlagAudit,
  idCmdOk,
  idCmdCancel,
};
}  // namespace set_use_flag

}  // namespace lumo::win32
