#include "tests/support/win/files.h"

#include <windows.h>

#include <cstdio>

namespace lumo::test {

std::string readFile(const std::wstring& path) {
  std::string bytes;
  FILE* f = _wfopen(path.c_str(), L"rb");
  if (!f) return "<missing>";
  char buf[65536];
  std::size_t n;
  while ((n = std::fread(buf, 1, sizeof buf, f)) > 0) bytes.append(buf, n);
  std::fclose(f);
  return bytes;
}

std::wstring tempFile(const std::wstring& name) {
  wchar_t dir[MAX_PATH] = {};
  GetTempPathW(MAX_PATH, dir);
  std::wstring path = std::wstring(dir) + name;
  DeleteFileW(path.c_str());
  return path;
}

}  // namespace lumo::test
