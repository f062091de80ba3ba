// The windows of the send subsystem on Win32, as the rest of the add-in and the
// tests reach them.
#pragma once

#include <memory>

#include "host/windows.h"

namespace lumo::win32 {

// The send window (frmSendSms) for the SendSms command: shown modeless, it owns
// itself and lives until the user closes it.
std::unique_ptr<CommandWindow> makeSendSmsWindow(ModuleHold hold);

namespace send_sms {
// The send window's controls (GetDlgItem), in tab order.
enum ControlId : int {
  idTab = 1001,
  idDepartments,
  idGroups,
  idFind,
  idCmdFind,
  idCmdFindNext,
  idCmdAdd,
  idMobile,
  idLblInfo,
  idCmdClearMobile,
  idFaRecevie,
  idFaContent,
  idMessage,
  idLblSms,
  idCmdClear,
  idChkRestore,
  idCmdSend,
  idCmdCancel,
  idFrame1,
  idLblCost,
};
}  // namespace send_sms

}  // namespace lumo::win32
