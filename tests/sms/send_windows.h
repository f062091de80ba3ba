// The send windows this thread has open, found by their controls (the window
// tests and the send window benchmark open them through clsSmsManager).
#pragma once

#include <windows.h>

#include <vector>

#include "sms/win/frm_send_sms.h"

namespace lumo::winsupport {

inline BOOL CALLBACK collectSendWindow(HWND hwnd, LPARAM out) {
  using sms::win::idCmdSend;
  using sms::win::idDepartments;
  if (IsWindowVisible(hwnd) && GetDlgItem(hwnd, idCmdSend) && GetDlgItem(hwnd, idDepartments))
    reinterpret_cast<std::vector<HWND>*>(out)->push_back(hwnd);
  return TRUE;
}

inline std::vector<HWND> sendWindows() {
  std::vector<HWND> found;
  EnumThreadWindows(GetCurrentThreadId(), collectSendWindow, reinterpret_cast<LPARAM>(&found));
  return found;
}

}  // namespace lumo::winsupport
