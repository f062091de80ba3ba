// Test support for the COM server: the DLL under test loaded by path, late-bound
// calls as an automation client makes them, a scriptable fake IDispatch for the
// objects a client hands in, and registry snapshots.
#pragma once

#include <windows.h>
#include <oaidl.h>
#include <ocidl.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "com/typelib.h"

namespace comtest {

// "/a/b" (the build's path) as Wine's DOS path "Z:\a\b"; other paths unchanged.
std::wstring windowsPath(const char* path);
std::wstring dllPath();  // the LumoSmsManager.dll under test

// The identifiers recorded in com/guids.txt, by name ("LumoSmsManager", "_clsParse", "clsParse", ...).
GUID recordedGuid(const std::wstring& name);
std::wstring guidText(REFGUID guid);

// The DLL loaded into this process (LoadLibrary), with its exports.
class Server {
 public:
  static Server& get();
  HMODULE module() const { return module_; }
  HRESULT registerServer() const { return register_(); }
  HRESULT unregisterServer() const { return unregister_(); }
  HRESULT install(bool install, const wchar_t* command) const { return install_(install, command); }
  HRESULT canUnloadNow() const { return canUnload_(); }
  HRESULT getClassObject(REFCLSID clsid, REFIID iid, void** ppv) const { return getClassObject_(clsid, iid, ppv); }

 private:
  Server();
  HMODULE module_ = nullptr;
  HRESULT(STDAPICALLTYPE* register_)() = nullptr;
  HRESULT(STDAPICALLTYPE* unregister_)() = nullptr;
  HRESULT(STDAPICALLTYPE* install_)(BOOL, LPCWSTR) = nullptr;
  HRESULT(STDAPICALLTYPE* canUnload_)() = nullptr;
  HRESULT(STDAPICALLTYPE* getClassObject_)(REFCLSID, REFIID, LPVOID*) = nullptr;
};

// A VARIANT that owns its contents and copies with VariantCopy.
class V {
 public:
  V() { VariantInit(&v_); }
  V(const wchar_t* s);
  V(const std::wstring& s);
  V(int32_t i);
  V(int16_t i);
  V(bool b);
  V(double d);
  V(IDispatch* d);  // AddRefs
  static V missing();
  static V error(SCODE code);
  // A VT_BYREF variant pointing at target's value (the target keeps ownership).
  static V byRef(V& target);
  V(const V& o);
  V(V&& o) noexcept;
  V& operator=(V o) noexcept;
  ~V();
  VARIANT* get() { return &v_; }
  const VARIANT& ref() const { return v_; }
  VARTYPE vt() const { return V_VT(&v_); }
  std::wstring text() const;  // VT_BSTR contents ("" otherwise)

 private:
  VARIANT v_;
};

// The outcome of one IDispatch::Invoke.
struct Outcome {
  HRESULT hr = E_FAIL;
  V result;
  SCODE scode = 0;
  std::wstring source;
  std::wstring description;
  UINT argErr = static_cast<UINT>(-1);
  std::wstring text() const { return result.text(); }
};
std::ostream& operator<<(std::ostream& os, const Outcome& o);

// Late binding through IDispatch::GetIDsOfNames + Invoke, arguments in natural order.
class Late {
 public:
  explicit Late(IDispatch* d) : d_(d) {}
  HRESULT dispid(const wchar_t* name, DISPID* id) const;
  Outcome call(const wchar_t* name, std::vector<V> args = {}) const;
  Outcome get(const wchar_t* name, std::vector<V> args = {}) const;
  Outcome put(const wchar_t* name, V value) const;
  Outcome putRef(const wchar_t* name, V value) const;
  Outcome invoke(const wchar_t* name, WORD flags, std::vector<V>& args) const;

 private:
  IDispatch* d_;
};

// An IDispatch written for tests: properties (read/write by name) and methods
// (handlers by name), names case-insensitive; every call is journaled.
class FakeObject final : public IDispatch {
 public:
  struct Call {
    std::wstring name;
    WORD kind;
    std::vector<V> args;  // natural order
  };
  using Method = std::function<V(std::vector<V>& args)>;

  static FakeObject* create();  // one reference, owned by the caller
  FakeObject& property(const std::wstring& name, V initial = V());
  FakeObject& method(const std::wstring& name, Method m);
  V value(const std::wstring& name) const;
  const std::vector<Call>& journal() const { return journal_; }
  ULONG refs() const { return refs_; }
  // FakeObjects alive in this process.
  static long live();

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override;
  ULONG STDMETHODCALLTYPE AddRef() override;
  ULONG STDMETHODCALLTYPE Release() override;
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override;
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo** info) override;
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) override;
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* params, VARIANT* result,
                                   EXCEPINFO* info, UINT* argErr) override;

 private:
  FakeObject();
  ~FakeObject();
  std::wstring key(const std::wstring& name) const;
  DISPID idOf(const std::wstring& name);
  ULONG refs_ = 1;
  std::vector<std::wstring> names_;  // folded name per DISPID - 1
  std::map<std::wstring, V> properties_;
  std::map<std::wstring, Method> methods_;
  std::vector<Call> journal_;
};

// Every value below a registry key: "path" for each key, "path|name" -> "type:data" for each value.
using Snapshot = std::map<std::wstring, std::wstring>;
Snapshot snapshot(HKEY root, const std::wstring& path);
// Keys and values present in one snapshot and not the other, for failure messages.
std::string differences(const Snapshot& before, const Snapshot& after);
// The default (or named) string value of a key; "<missing>" when absent.
std::wstring regText(HKEY root, const std::wstring& path, const wchar_t* name = nullptr);
bool keyExists(HKEY root, const std::wstring& path);

std::string narrow(const std::wstring& s);

// COM initialised for the test program's thread (single-threaded apartment).
class ComEnvironment : public testing::Environment {
 public:
  void SetUp() override;
  void TearDown() override;
};

// Objects created by ProgID with the server registered machine-wide for the suite;
// after each test every object must be gone and the DLL willing to unload.
class ComObjectTest : public testing::Test {
 protected:
  static void SetUpTestSuite();
  static void TearDownTestSuite();
  void TearDown() override;
  // CoCreateInstance by ProgID ("LumoSmsManager.clsParse").
  static IDispatch* create(const wchar_t* progId);
};

}  // namespace comtest
