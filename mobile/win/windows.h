// The windows of the mobile-number subsystem on Win32, as the rest of the add-in
// and the tests reach them.
#pragma once

#include <memory>

#include "host/windows.h"

namespace lumo::win32 {

// The personal mobile number dialog (frmSetUserMobile) for SetUserMobile: modal.
std::unique_ptr<CommandWindow> makeSetUserMobileWindow(ModuleHold hold);
// The user-employee-mobile table (frmMobileManager) for SetAllMobile: modal; its
// save results open list windows from 'windows'.
std::unique_ptr<CommandWindow> makeMobileManagerWindow(ModuleHold hold, WindowFactory& windows);

namespace set_user_mobile {
// The dialog's controls (GetDlgItem), in tab order; OK and Cancel are IDOK and IDCANCEL.
enum ControlId : int {
  idFrame1 = 1101,
  idLblUser,
  idUserName,
  idLblEmp,
  idEmp,
  idLblMobile,
  idMobile,
};
}  // namespace set_user_mobile

namespace mobile_manager {
// The window's controls.
enum ControlId : int {
  idToolBar = 1201,
  idGrid,
  idStatus,
  // Tool-bar commands, in the order of the tools.
  idSave = 1210,
  idSetEmp,
  idRefresh,
  idExit,
  idFind,  // Ctrl+F
};
}  // namespace mobile_manager

}  // namespace lumo::win32
