#include "tests/support/win/text.h"

#include <windows.h>

namespace lumo::test {

ustring windowsPath(std::string_view unixPath) {
  ustring p = fromUtf8(unixPath);
  if (p.empty() || p[0] != u'/') return p;
  for (char16_t& c : p)
    if (c == u'/') c = u'\\';
  return u"Z:" + p;
}

ustring environment(const wchar_t* name) {
  std::wstring value(256, L'\0');
  DWORD n = GetEnvironmentVariableW(name, value.data(), static_cast<DWORD>(value.size()));
  if (n >= value.size()) {  // too small: n is the size needed, its terminating NUL included
    value.resize(n);
    n = GetEnvironmentVariableW(name, value.data(), static_cast<DWORD>(value.size()));
  }
  value.resize(n < value.size() ? n : 0);
  return u16(value);
}

}  // namespace lumo::test
