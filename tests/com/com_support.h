// Test support for the COM server: the DLL under test loaded by path, late-bound
// calls as an automation client makes them (tests/support/win/late.h), a scriptable
// fake IDispatch for the objects a client hands in, and registry snapshots.
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
#include "tests/support/win/late.h"
#include "tests/support/win/registry.h"
#include "tests/support/win/server_dll.h"
#include "tests/support/win/text.h"
#include "tests/support/win/unknown.h"

namespace lumo::com {

using lumo::test::Late;
using lumo::test::Outcome;
using lumo::test::u8;
using lumo::test::V;

std::wstring dllPath();  // the LumoSmsManager.dll under test

// The identifiers recorded in com/guids.txt, by name ("LumoSmsManager", "_clsParse", "clsParse", ...).
GUID recordedGuid(const std::wstring& name);
std::wstring guidText(REFGUID guid);

// The DLL loaded into this process (LoadLibrary), with its exports.
lumo::test::ServerDll& server();

// An IDispatch written for tests: properties (read/write by name) and methods
// (handlers by name), names case-insensitive; every call is journaled.
class FakeObject final : public lumo::test::RefCounted<IDispatch> {
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
  // FakeObjects alive in this process.
  static long live();

  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override;
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo** info) override;
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) override;
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* params, VARIANT* result,
                                   EXCEPINFO* info, UINT* argErr) override;

 private:
  FakeObject();
  ~FakeObject() override;
  std::wstring key(const std::wstring& name) const;
  DISPID idOf(const std::wstring& name);
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
using lumo::test::keyExists;
using lumo::test::regText;

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
  // CoCreateInstance by ProgID ("LumoSmsManager.clsParse"); the caller releases it.
  static IDispatch* create(const wchar_t* progId);
  // The same, kept by the test and released when it ends (or at release()).
  IDispatch* keep(const wchar_t* progId);
  // Lets go of the objects kept so far.
  void release();

 private:
  std::vector<IDispatch*> kept_;
};

}  // namespace lumo::com
