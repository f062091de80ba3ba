// What the SMS log tests and the SMS log benchmark read of the real windows.
#pragma once

#include <windows.h>

#include "smslog/win/filter_ids.h"

namespace lumo::test {

// The filter dialog this thread shows, found by its controls; null when none is shown.
inline HWND findFilterDialog() {
  HWND found = nullptr;
  EnumThreadWindows(
      GetCurrentThreadId(),
      [](HWND w, LPARAM out) {
        if (IsWindowVisible(w) && GetDlgItem(w, IDC_FILTER_STATUS)) *reinterpret_cast<HWND*>(out) = w;
        return TRUE;
      },
      reinterpret_cast<LPARAM>(&found));
  return found;
}

}  // namespace lumo::test
