#include "tests/support/win/server_dll.h"

#include <cstdio>

#include "tests/support/win/text.h"

namespace lumo::test {
namespace {

const HRESULT kNoEntry = HRESULT_FROM_WIN32(ERROR_PROC_NOT_FOUND);

}  // namespace

ServerDll::ServerDll(const std::string& unixPath)
    : path_(unixPath), module_(LoadLibraryW(wide(windowsPath(unixPath)).c_str())) {}

HRESULT ServerDll::registerServer() const {
  auto f = exported<HRESULT(STDAPICALLTYPE*)()>("DllRegisterServer");
  return f ? f() : kNoEntry;
}

HRESULT ServerDll::unregisterServer() const {
  auto f = exported<HRESULT(STDAPICALLTYPE*)()>("DllUnregisterServer");
  return f ? f() : kNoEntry;
}

HRESULT ServerDll::install(bool install, const wchar_t* command) const {
  auto f = exported<HRESULT(STDAPICALLTYPE*)(BOOL, LPCWSTR)>("DllInstall");
  return f ? f(install, command) : kNoEntry;
}

HRESULT ServerDll::canUnloadNow() const {
  auto f = exported<HRESULT(STDAPICALLTYPE*)()>("DllCanUnloadNow");
  return f ? f() : kNoEntry;
}

HRESULT ServerDll::getClassObject(REFCLSID clsid, REFIID iid, void** ppv) const {
  auto f = exported<HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, LPVOID*)>("DllGetClassObject");
  return f ? f(clsid, iid, ppv) : kNoEntry;
}

void ServerDll::unload() {
  if (module_) FreeLibrary(module_);
  module_ = nullptr;
}

RegisteredServers::RegisteredServers(std::initializer_list<const char*> unixPaths) {
  for (const char* path : unixPaths) {
    servers_.push_back(std::make_unique<ServerDll>(path));
    const ServerDll& dll = *servers_.back();
    if (!dll.loaded()) {
      failure_ = "cannot load " + dll.path() + " (error " + std::to_string(GetLastError()) + ")";
      return;
    }
    const HRESULT hr = dll.registerServer();
    if (hr != S_OK) {
      char code[16];
      std::snprintf(code, sizeof code, "0x%08lX", static_cast<unsigned long>(hr));
      failure_ = "cannot register " + dll.path() + " (DllRegisterServer answered " + code + ")";
      return;
    }
  }
}

RegisteredServers::~RegisteredServers() {
  for (auto it = servers_.rbegin(); it != servers_.rend(); ++it)
    if ((*it)->loaded()) (*it)->unregisterServer();
}

}  // namespace lumo::test
