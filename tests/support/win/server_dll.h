// An in-process server DLL under test, loaded into the test program by its path
// in the build tree and reached through its exports, as COM itself reaches it.
#pragma once

#include <windows.h>

#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

namespace lumo::test {

class ServerDll {
 public:
  // Loads the DLL (a path of the build machine); loaded() tells whether that worked.
  explicit ServerDll(const std::string& unixPath);
  ServerDll(const ServerDll&) = delete;
  ServerDll& operator=(const ServerDll&) = delete;

  bool loaded() const { return module_ != nullptr; }
  HMODULE module() const { return module_; }
  const std::string& path() const { return path_; }

  // An export as a typed function pointer; nullptr when the DLL does not have it.
  template <class F>
  F exported(const char* name) const {
    return module_ ? reinterpret_cast<F>(reinterpret_cast<void*>(GetProcAddress(module_, name))) : nullptr;
  }

  // The server's own entry points; a missing DLL or export answers
  // HRESULT_FROM_WIN32(ERROR_PROC_NOT_FOUND).
  HRESULT registerServer() const;
  HRESULT unregisterServer() const;
  HRESULT install(bool install, const wchar_t* command) const;
  HRESULT canUnloadNow() const;
  HRESULT getClassObject(REFCLSID clsid, REFIID iid, void** ppv) const;

  // Lets the DLL go (FreeLibrary); the servers are otherwise kept until the process ends.
  void unload();

 private:
  std::string path_;
  HMODULE module_ = nullptr;
};

// Servers loaded and registered in the prefix for as long as this lives (as the
// host's installation leaves them), unregistered in the reverse order at the end.
class RegisteredServers {
 public:
  explicit RegisteredServers(std::initializer_list<const char*> unixPaths);
  ~RegisteredServers();
  RegisteredServers(const RegisteredServers&) = delete;
  RegisteredServers& operator=(const RegisteredServers&) = delete;

  // What went wrong when a server could not be loaded or registered; empty when
  // they all were.
  const std::string& failure() const { return failure_; }
  // The servers in the order given.
  ServerDll& operator[](std::size_t i) const { return *servers_.at(i); }

 private:
  std::vector<std::unique_ptr<ServerDll>> servers_;
  std::string failure_;
};

}  // namespace lumo::test
