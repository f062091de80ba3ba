#include "tests/support/win/windows.h"

namespace lumo::test {

std::wstring className(HWND window) {
  wchar_t name[257];  // class names are at most 256 characters
  const int n = GetClassNameW(window, name, 257);
  return std::wstring(name, n > 0 ? static_cast<std::size_t>(n) : 0);
}

}  // namespace lumo::test
