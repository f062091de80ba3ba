#include "tests/support/win/pump.h"

#include <windows.h>

namespace lumo::test {

double nowMs() {
  static const LARGE_INTEGER frequency = [] {
    LARGE_INTEGER f;
    QueryPerformanceFrequency(&f);
    return f;
  }();
  LARGE_INTEGER t;
  QueryPerformanceCounter(&t);
  return static_cast<double>(t.QuadPart) * 1000.0 / static_cast<double>(frequency.QuadPart);
}

void drain() {
  MSG msg;
  while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
    TranslateMessage(&msg);
    DispatchMessageW(&msg);
  }
}

void pumpFor(int milliseconds) {
  const double end = nowMs() + milliseconds;
  do {
    drain();
    Sleep(5);
  } while (nowMs() < end);
}

bool untilPainted(HWND top) {
  for (int pass = 0; pass < 10000; ++pass) {
    bool busy = false;
    MSG msg;
    while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
      TranslateMessage(&msg);
      DispatchMessageW(&msg);
      busy = true;
    }
    RECT r;
    if (GetUpdateRect(top, &r, FALSE)) busy = true;
    // Paints the window and every child with an invalid region, now.
    RedrawWindow(top, nullptr, nullptr, RDW_UPDATENOW | RDW_ALLCHILDREN);
    GdiFlush();
    if (HIWORD(GetQueueStatus(QS_ALLINPUT & ~QS_TIMER)) != 0) busy = true;
    if (!busy) return true;
  }
  return false;
}

}  // namespace lumo::test
