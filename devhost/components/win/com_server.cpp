// LumoDevHost.dll: the development host's components as an in-process COM
// server. One class per ProgID of componentClasses(); each object is a portable
// component shown to COM clients through IDispatch (names resolved at run time).
// Registration writes the ProgID and CLSID keys under HKLM (regsvr32) or, through
// DllInstall with "user", under HKCU for installs without administrator rights.
#include <windows.h>
#include <ole2.h>
#include <olectl.h>

#include <string>

#include "automation/win/bridge.h"
#include "devhost/components/components.h"
#include "devhost/components/hostdb.h"

using lumo::ustring;
using lumo::wz;
using namespace lumo::devhost;

namespace {

HMODULE g_module = nullptr;
LONG g_locks = 0;      // IClassFactory::LockServer
LONG g_factories = 0;  // class factories handed out and not yet released

// A component switched to 'missing' is not available at all. A database that
// cannot be opened is not a reason to refuse: the calls report it.
bool switchedMissing(const ComponentClass& c) {
  try {
    return HostDb::current()->creationMode(c.progId) == SwitchMode::Missing;
  } catch (...) {
    return false;
  }
}

class ClassFactory final : public IClassFactory {
 public:
  explicit ClassFactory(const ComponentClass& c) : cls_(c) { InterlockedIncrement(&g_factories); }
  ClassFactory(const ClassFactory&) = delete;
  ClassFactory& operator=(const ClassFactory&) = delete;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override {
    if (!ppv) return E_POINTER;
    if (IsEqualIID(riid, IID_IUnknown) || IsEqualIID(riid, IID_IClassFactory)) {
      *ppv = static_cast<IClassFactory*>(this);
      AddRef();
      return S_OK;
    }
    *ppv = nullptr;
    return E_NOINTERFACE;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(InterlockedIncrement(&refs_)); }
  ULONG STDMETHODCALLTYPE Release() override {
    LONG n = InterlockedDecrement(&refs_);
    if (n == 0) delete this;
    return static_cast<ULONG>(n);
  }

  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID riid, void** ppv) override {
    if (!ppv) return E_POINTER;
    *ppv = nullptr;
    if (outer) return CLASS_E_NOAGGREGATION;
    try {
      lumo::ObjectPtr object = createComponent(cls_.progId);
      lumo::com::ComPtr<IDispatch> d = lumo::com::ComPtr<IDispatch>::attach(lumo::com::newObjectDispatch(object));
      return d->QueryInterface(riid, ppv);
    } catch (const lumo::Error& e) {
      lumo::com::setErrorInfo(e);
      return e.number() == lumo::errnum::CannotCreateObject ? CLASS_E_CLASSNOTAVAILABLE : e.hresult();
    } catch (...) {
      return E_OUTOFMEMORY;
    }
  }

  HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override {
    if (lock)
      InterlockedIncrement(&g_locks);
    else
      InterlockedDecrement(&g_locks);
    return S_OK;
  }

 private:
  ~ClassFactory() { InterlockedDecrement(&g_factories); }
  LONG refs_ = 1;
  const ComponentClass& cls_;
};

ustring modulePath() {
  wchar_t buf[MAX_PATH * 2];
  DWORD n = GetModuleFileNameW(g_module, buf, MAX_PATH * 2);
  return ustring(reinterpret_cast<const char16_t*>(buf), n);
}

LONG setValue(HKEY root, const ustring& key, const wchar_t* name, const ustring& value) {
  HKEY k = nullptr;
  LONG r = RegCreateKeyExW(root, wz(key), 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_WRITE, nullptr, &k, nullptr);
  if (r != ERROR_SUCCESS) return r;
  r = RegSetValueExW(k, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()),
                     static_cast<DWORD>((value.size() + 1) * sizeof(char16_t)));
  RegCloseKey(k);
  return r;
}

ustring readValue(HKEY root, const ustring& key) {
  wchar_t buf[256];
  DWORD size = sizeof buf;
  if (RegGetValueW(root, wz(key), nullptr, RRF_RT_REG_SZ, nullptr, buf, &size) != ERROR_SUCCESS) return {};
  return ustring(reinterpret_cast<const char16_t*>(buf));
}

HRESULT unregisterAll(HKEY root) {
  const ustring classes = u"Software\\Classes\\";
  for (const auto& c : componentClasses()) {
    ustring progKey = classes + c.progId;
    // The ProgID is ours only while it points at our class.
    if (lumo::equalsNoCase(readValue(root, progKey + u"\\CLSID"), c.clsid)) RegDeleteTreeW(root, wz(progKey));
    RegDeleteTreeW(root, wz(classes + u"CLSID\\" + c.clsid));
  }
  return S_OK;
}

HRESULT registerAll(HKEY root) {
  const ustring classes = u"Software\\Classes\\";
  const ustring path = modulePath();
  for (const auto& c : componentClasses()) {
    ustring clsidKey = classes + u"CLSID\\" + c.clsid;
    ustring progKey = classes + c.progId;
    LONG r = setValue(root, progKey, nullptr, c.description);
    if (r == ERROR_SUCCESS) r = setValue(root, progKey + u"\\CLSID", nullptr, c.clsid);
    if (r == ERROR_SUCCESS) r = setValue(root, clsidKey, nullptr, c.description);
    if (r == ERROR_SUCCESS) r = setValue(root, clsidKey + u"\\ProgID", nullptr, c.progId);
    if (r == ERROR_SUCCESS) r = setValue(root, clsidKey + u"\\InprocServer32", nullptr, path);
    if (r == ERROR_SUCCESS) r = setValue(root, clsidKey + u"\\InprocServer32", L"ThreadingModel", u"Apartment");
    if (r != ERROR_SUCCESS) {
      unregisterAll(root);
      return r == ERROR_ACCESS_DENIED ? SELFREG_E_CLASS : HRESULT_FROM_WIN32(static_cast<DWORD>(r));
    }
  }
  return S_OK;
}

}  // namespace

extern "C" {

BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
  if (reason == DLL_PROCESS_ATTACH) {
    g_module = instance;
    DisableThreadLibraryCalls(instance);
  }
  return TRUE;
}

STDAPI DllGetClassObject(REFCLSID rclsid, REFIID riid, LPVOID* ppv) {
  if (!ppv) return E_POINTER;
  *ppv = nullptr;
  for (const auto& c : componentClasses()) {
    CLSID id;
    if (FAILED(CLSIDFromString(wz(ustring(c.clsid)), &id)) || !IsEqualCLSID(id, rclsid)) continue;
    if (switchedMissing(c)) return CLASS_E_CLASSNOTAVAILABLE;
    ClassFactory* f = new (std::nothrow) ClassFactory(c);
    if (!f) return E_OUTOFMEMORY;
    HRESULT hr = f->QueryInterface(riid, ppv);
    f->Release();
    return hr;
  }
  return CLASS_E_CLASSNOTAVAILABLE;
}

STDAPI DllCanUnloadNow() {
  return (g_locks == 0 && g_factories == 0 && lumo::com::liveObjects() == 0) ? S_OK : S_FALSE;
}

STDAPI DllRegisterServer() { return registerAll(HKEY_LOCAL_MACHINE); }

STDAPI DllUnregisterServer() { return unregisterAll(HKEY_LOCAL_MACHINE); }

// regsvr32 /i:user [/u] /n LumoDevHost.dll: per-user registration under HKCU.
STDAPI DllInstall(BOOL install, LPCWSTR cmdLine) {
  bool user = cmdLine && lumo::equalsNoCase(lumo::fromWide(cmdLine), u"user");
  HKEY root = user ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE;
  return install ? registerAll(root) : unregisterAll(root);
}

}  // extern "C"
