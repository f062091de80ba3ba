#include "com/module.h"

#include <utility>
#include <vector>

#include "automation/win/bridge.h"
#include "automation/win/com_ptr.h"
#include "host/language.h"
#include "win32/window.h"

namespace lumo::com {
namespace {

HMODULE g_module = nullptr;
long g_objects = 0;
long g_locks = 0;
ITypeLib* g_typeLib = nullptr;

}  // namespace

HMODULE moduleHandle() {
  if (!g_module) {
    // Not loaded through DllMain (cannot happen for the DLL; kept for static links).
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCWSTR>(&moduleHandle), &g_module);
  }
  return g_module;
}

void setModuleHandle(HMODULE module) { g_module = module; }

ustring modulePath() {
  std::vector<wchar_t> buffer(MAX_PATH);
  for (;;) {
    DWORD n = GetModuleFileNameW(moduleHandle(), buffer.data(), static_cast<DWORD>(buffer.size()));
    if (n == 0) return {};
    if (n < buffer.size()) return ustring(reinterpret_cast<const char16_t*>(buffer.data()), n);
    buffer.resize(buffer.size() * 2);
  }
}

ustring moduleDirectory() {
  ustring path = modulePath();
  std::size_t slash = path.find_last_of(u"\\/");
  return slash == ustring::npos ? ustring() : path.substr(0, slash);
}

void objectCreated() { InterlockedIncrement(&g_objects); }
void objectDestroyed() { InterlockedDecrement(&g_objects); }
long liveComObjects() { return g_objects; }

void lockServer(bool lock) {
  if (lock)
    InterlockedIncrement(&g_locks);
  else if (g_locks > 0)
    InterlockedDecrement(&g_locks);
}
long serverLocks() { return g_locks; }

bool canUnload() {
  if (g_objects != 0 || g_locks != 0 || lumo::com::liveObjects() != 0) return false;
  // The module may go now: drop what it keeps for the life of the process (the
  // type library, the shared resource loaders) while it is still safe to call out.
  if (g_typeLib) std::exchange(g_typeLib, nullptr)->Release();
  // No window of ours is left: the window classes may go with the module.
  win32::unregisterWindowClasses();
  try {
    lumo::resetLanguageObjects();
  } catch (...) {
    // Releasing a loader that fails changes nothing about unloading.
  }
  return true;
}

HRESULT typeLib(ITypeLib** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  if (!g_typeLib) {
    ustring path = modulePath();
    if (path.empty()) return HRESULT_FROM_WIN32(GetLastError());
    HRESULT hr = LoadTypeLibEx(lumo::wz(path), REGKIND_NONE, &g_typeLib);
    if (FAILED(hr)) {
      g_typeLib = nullptr;
      return hr;
    }
  }
  g_typeLib->AddRef();
  *out = g_typeLib;
  return S_OK;
}

HRESULT dispatchTypeInfo(REFIID iid, ITypeInfo** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  lumo::com::ComPtr<ITypeLib> lib;
  HRESULT hr = typeLib(lib.put());
  if (FAILED(hr)) return hr;
  return lib->GetTypeInfoOfGuid(iid, out);
}

HRESULT interfaceTypeInfo(REFIID iid, ITypeInfo** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  lumo::com::ComPtr<ITypeInfo> info;
  HRESULT hr = dispatchTypeInfo(iid, info.put());
  if (FAILED(hr)) return hr;
  TYPEATTR* attr = nullptr;
  hr = info->GetTypeAttr(&attr);
  if (FAILED(hr)) return hr;
  TYPEKIND kind = attr->typekind;
  info->ReleaseTypeAttr(attr);
  if (kind != TKIND_DISPATCH) {
    *out = info.detach();
    return S_OK;
  }
  // A dual interface is listed as its dispinterface; index -1 leads to the vtable interface.
  HREFTYPE ref = 0;
  hr = info->GetRefTypeOfImplType(-1, &ref);
  if (FAILED(hr)) return hr;
  return info->GetRefTypeInfo(ref, out);
}

HRESULT classTypeInfo(REFCLSID clsid, ITypeInfo** out) { return dispatchTypeInfo(clsid, out); }

}  // namespace lumo::com
