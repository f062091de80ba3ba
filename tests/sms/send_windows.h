// What the send window tests and the send window benchmark read of the real
// window: the send windows this thread has open, found by their controls, and
// the items of their trees.
#pragma once

#include <windows.h>
#include <commctrl.h>

#include <vector>

#include "automation/text.h"
#include "sms/win/windows.h"
#include "tests/support/win/text.h"

namespace lumo::test {

inline BOOL CALLBACK collectSendWindow(HWND hwnd, LPARAM out) {
  using win32::send_sms::idCmdSend;
  using win32::send_sms::idDepartments;
  if (IsWindowVisible(hwnd) && GetDlgItem(hwnd, idCmdSend) && GetDlgItem(hwnd, idDepartments))
    reinterpret_cast<std::vector<HWND>*>(out)->push_back(hwnd);
  return TRUE;
}

inline std::vector<HWND> sendWindows() {
  std::vector<HWND> found;
  EnumThreadWindows(GetCurrentThreadId(), collectSendWindow, reinterpret_cast<LPARAM>(&found));
  return found;
}

inline ustring itemText(HWND tree, HTREEITEM item) {
  wchar_t buf[512];
  TVITEMW tv{};
  tv.mask = TVIF_TEXT | TVIF_HANDLE;
  tv.hItem = item;
  tv.pszText = buf;
  tv.cchTextMax = 512;
  if (!TreeView_GetItem(tree, &tv)) return {};
  return u16(buf);
}

inline bool itemChecked(HWND tree, HTREEITEM item) {
  return (TreeView_GetItemState(tree, item, TVIS_STATEIMAGEMASK) >> 12) == 2;
}

}  // namespace lumo::test
