// The DLL's entry points for COM: class objects and the unload question.
#include <windows.h>
#include <objbase.h>

#include "com/classes.h"
#include "com/module.h"
#include "com/typelib.h"

namespace lumo::com {
namespace {

const PublicClass kClasses[] = {
    {&CLSID_clsSmsManager, &createSmsManager},
    {&CLSID_clsParse, &createParse},
    {&CLSID_clsDispBuilder, &createDispBuilder},
    {&CLSID_clsSaveFile, &createSaveFile},
};

// One class object per public class; it lives as long as the module, so its own
// references do not keep the module loaded (clients use LockServer for that).
class ClassFactory final : public IClassFactory {
 public:
  explicit ClassFactory(const PublicClass& cls) : class_(cls) {}

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override {
    if (!ppv) return E_POINTER;
    if (IsEqualIID(riid, IID_IUnknown) || IsEqualIID(riid, IID_IClassFactory)) {
      *ppv = static_cast<IClassFactory*>(this);
      return S_OK;
    }
    *ppv = nullptr;
    return E_NOINTERFACE;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
  ULONG STDMETHODCALLTYPE Release() override { return 1; }

  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID riid, void** ppv) override {
    if (!ppv) return E_POINTER;
    *ppv = nullptr;
    if (outer) return CLASS_E_NOAGGREGATION;
    return class_.create(riid, ppv);
  }
  HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override {
    lockServer(lock != FALSE);
    return S_OK;
  }

 private:
  const PublicClass& class_;
};

ClassFactory g_factories[] = {ClassFactory(kClasses[0]), ClassFactory(kClasses[1]), ClassFactory(kClasses[2]),
                              ClassFactory(kClasses[3])};
static_assert(sizeof(g_factories) / sizeof(g_factories[0]) == sizeof(kClasses) / sizeof(kClasses[0]),
              "one class object per public class");

}  // namespace

const PublicClass* publicClasses() { return kClasses; }
std::size_t publicClassCount() { return sizeof(kClasses) / sizeof(kClasses[0]); }

const PublicClass* findPublicClass(REFCLSID clsid) {
  for (const PublicClass& c : kClasses)
    if (IsEqualCLSID(*c.clsid, clsid)) return &c;
  return nullptr;
}

}  // namespace lumo::com

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID reserved) {
  switch (reason) {
    case DLL_PROCESS_ATTACH:
      lumo::com::setModuleHandle(instance);
      DisableThreadLibraryCalls(instance);
      lumo::com::installPlatform();
      break;
    case DLL_PROCESS_DETACH:
      // At process exit (reserved non-null) nothing needs tidying.
      if (!reserved) lumo::com::uninstallPlatform();
      break;
    default:
      break;
  }
  return TRUE;
}

STDAPI DllGetClassObject(REFCLSID clsid, REFIID riid, LPVOID* ppv) {
  if (!ppv) return E_POINTER;
  *ppv = nullptr;
  for (std::size_t i = 0; i < lumo::com::publicClassCount(); ++i) {
    if (IsEqualCLSID(*lumo::com::publicClasses()[i].clsid, clsid))
      return lumo::com::g_factories[i].QueryInterface(riid, ppv);
  }
  return CLASS_E_CLASSNOTAVAILABLE;
}

STDAPI DllCanUnloadNow() { return lumo::com::canUnload() ? S_OK : S_FALSE; }
