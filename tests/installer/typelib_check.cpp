// Loads the add-in's type library the way a compiled host does, through its
// registration (LoadRegTypeLib), and checks where the registry says it lives.
//   typelib_check.exe EXPECTED_PATH      exit 0 when it loads from EXPECTED_PATH
#include <windows.h>
#include <oleauto.h>

#include <cstdio>
#include <string>

#include "registry_rows.h"

int wmain(int argc, wchar_t** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: typelib_check.exe EXPECTED_PATH\n");
    return 2;
  }
  GUID libid{};
  if (FAILED(CLSIDFromString(reinterpret_cast<LPCOLESTR>(lumo::com::registry::kLibId), &libid))) return 2;
  BSTR path = nullptr;
  HRESULT hr = QueryPathOfRegTypeLib(libid, 1, 0, LOCALE_NEUTRAL, &path);
  if (FAILED(hr)) {
    std::printf("FAIL: QueryPathOfRegTypeLib: 0x%08lx\n", static_cast<unsigned long>(hr));
    return 1;
  }
  std::wstring registered(path, SysStringLen(path));
  SysFreeString(path);
  // The registered text may end with a NUL that counts in its length.
  while (!registered.empty() && registered.back() == L'\0') registered.pop_back();
  int failures = 0;
  if (CompareStringOrdinal(registered.c_str(), -1, argv[1], -1, TRUE) != CSTR_EQUAL) {
    std::printf("FAIL: registered at %ls, expected %ls\n", registered.c_str(), argv[1]);
    ++failures;
  }
  ITypeLib* lib = nullptr;
  hr = LoadRegTypeLib(libid, 1, 0, LOCALE_NEUTRAL, &lib);
  if (FAILED(hr)) {
    std::printf("FAIL: LoadRegTypeLib: 0x%08lx\n", static_cast<unsigned long>(hr));
    return 1;
  }
  BSTR name = nullptr;
  lib->GetDocumentation(-1, &name, nullptr, nullptr, nullptr);
  if (!name || std::wstring(name) != L"LumoSmsManager") {
    std::printf("FAIL: the library calls itself %ls\n", name ? name : L"(nothing)");
    ++failures;
  }
  std::printf("type library %ls: %u types, loaded from %ls\n", name ? name : L"", lib->GetTypeInfoCount(),
              registered.c_str());
  SysFreeString(name);
  lib->Release();
  return failures == 0 ? 0 : 1;
}
