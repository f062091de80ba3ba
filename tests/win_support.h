// Small helpers shared by the window tests and the window benchmarks, which run
// as Windows programs under Wine: a clock and message pumps.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace lumo::winsupport {

// Milliseconds from the high-resolution counter.
inline double nowMs() {
  static const LARGE_INTEGER frequency = [] {
    LARGE_INTEGER f;
    QueryPerformanceFrequency(&f);
    return f;
  }();
  LARGE_INTEGER t;
  QueryPerformanceCounter(&t);
  return static_cast<double>(t.QuadPart) * 1000.0 / static_cast<double>(frequency.QuadPart);
}

// Runs every message waiting for this thread, as the host's loop would, until none is left.
inline void drain() {
  MSG msg;
  while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
    TranslateMessage(&msg);
    DispatchMessageW(&msg);
  }
}

// Runs messages for a while, those that come in meanwhile too (timers, posted work).
inline void pumpFor(int milliseconds) {
  const double end = nowMs() + milliseconds;
  do {
    drain();
    Sleep(5);
  } while (nowMs() < end);
}

// This thread's top-level windows of one window class.
inline std::vector<HWND> threadWindowsOfClass(const wchar_t* className) {
  struct Query {
    std::wstring cls;
    std::vector<HWND> found;
  } q{className, {}};
  EnumThreadWindows(
      GetCurrentThreadId(),
      [](HWND h, LPARAM p) -> BOOL {
        auto* query = reinterpret_cast<Query*>(p);
        wchar_t cls[256] = L"";
        GetClassNameW(h, cls, 256);
        if (query->cls == cls) query->found.push_back(h);
        return TRUE;
      },
      reinterpret_cast<LPARAM>(&q));
  return q.found;
}

}  // namespace lumo::winsupport
