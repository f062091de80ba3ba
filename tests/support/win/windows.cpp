#include "tests/support/win/windows.h"

namespace lumo::test {

std::wstring className(HWND window) {
  wchar_t name[257];  // class names are at most 256 characters
  const int n = GetClassNameW(window, name, 257);
  return std::wstring(name, n > 0 ? static_cast<std::size_t>(n) : 0);
}

std::vector<HWND> threadWindowsOfClass(const wchar_t* cls) {
  struct Query {
    std::wstring cls;
    std::vector<HWND> found;
  } q{cls, {}};
  EnumThreadWindows(
      GetCurrentThreadId(),
      [](HWND h, LPARAM p) -> BOOL {
        auto* query = reinterpret_cast<Query*>(p);
        if (className(h) == query->cls) query->found.push_back(h);
        return TRUE;
      },
      reinterpret_cast<LPARAM>(&q));
  return q.found;
}

}  // namespace lumo::test
