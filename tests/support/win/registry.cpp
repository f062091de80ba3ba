#include "tests/support/win/registry.h"

namespace lumo::test {

std::wstring regText(HKEY root, const std::wstring& path, const wchar_t* name) {
  wchar_t buffer[1024] = {};
  DWORD size = sizeof(buffer);
  if (RegGetValueW(root, path.c_str(), name, RRF_RT_REG_SZ, nullptr, buffer, &size) != ERROR_SUCCESS)
    return L"<missing>";
  return buffer;
}

bool keyExists(HKEY root, const std::wstring& path) {
  HKEY key = nullptr;
  if (RegOpenKeyExW(root, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) return false;
  RegCloseKey(key);
  return true;
}

}  // namespace lumo::test
