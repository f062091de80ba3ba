// The COM side shared by every public class: IUnknown, the IDispatch half of the
// dual interface (driven by the interface's description in the embedded type
// library), IProvideClassInfo and ISupportErrorInfo, plus the module's object count.
#pragma once

#include <windows.h>
#include <oaidl.h>
#include <ocidl.h>

#include <new>

#include "automation/win/com_abi.h"
#include "automation/win/com_ptr.h"
#include "com/boundary.h"
#include "com/convert.h"
#include "com/module.h"
#include "com/varargs.h"

namespace lumo::com {

template <class Itf>
class DualObject : public Itf, public IProvideClassInfo, public ISupportErrorInfo {
 public:
  DualObject(const IID& iid, const CLSID& clsid, const char16_t* className)
      : iid_(iid), clsid_(clsid), className_(className) {
    objectCreated();
  }
  virtual ~DualObject() { objectDestroyed(); }
  DualObject(const DualObject&) = delete;
  DualObject& operator=(const DualObject&) = delete;

  // IUnknown
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override {
    if (!ppv) return E_POINTER;
    if (IsEqualIID(riid, IID_IUnknown) || IsEqualIID(riid, IID_IDispatch) || IsEqualIID(riid, iid_)) {
      *ppv = static_cast<Itf*>(this);
    } else if (IsEqualIID(riid, IID_IProvideClassInfo)) {
      *ppv = static_cast<IProvideClassInfo*>(this);
    } else if (IsEqualIID(riid, IID_ISupportErrorInfo)) {
      *ppv = static_cast<ISupportErrorInfo*>(this);
    } else {
      *ppv = nullptr;
      return E_NOINTERFACE;
    }
    AddRef();
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(InterlockedIncrement(&refs_)); }
  ULONG STDMETHODCALLTYPE Release() override {
    LONG n = InterlockedDecrement(&refs_);
    if (n == 0) delete this;
    return static_cast<ULONG>(n);
  }

  // IDispatch
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
    if (!count) return E_POINTER;
    *count = 1;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID, ITypeInfo** info) override {
    if (!info) return E_POINTER;
    *info = nullptr;
    if (index != 0) return DISP_E_BADINDEX;
    return dispatchTypeInfo(iid_, info);
  }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID riid, LPOLESTR* names, UINT count, LCID,
                                          DISPID* ids) override {
    if (!IsEqualIID(riid, IID_NULL)) return DISP_E_UNKNOWNINTERFACE;
    ITypeInfo* info = nullptr;
    HRESULT hr = invokeTypeInfo(&info);
    if (FAILED(hr)) return hr;
    return DispGetIDsOfNames(info, names, count, ids);
  }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID riid, LCID, WORD flags, DISPPARAMS* params, VARIANT* result,
                                   EXCEPINFO* excepInfo, UINT* argErr) override {
    if (!IsEqualIID(riid, IID_NULL)) return DISP_E_UNKNOWNINTERFACE;
    ITypeInfo* info = nullptr;
    HRESULT hr = invokeTypeInfo(&info);
    if (FAILED(hr)) return hr;
    try {
      if (invokeVararg(static_cast<Itf*>(this), info, id, flags, params, result, excepInfo, argErr, &hr)) return hr;
    } catch (...) {
      return E_OUTOFMEMORY;  // gathering the arguments is all that can throw there
    }
    return DispInvoke(static_cast<Itf*>(this), info, id, flags, params, result, excepInfo, argErr);
  }

  // IProvideClassInfo
  HRESULT STDMETHODCALLTYPE GetClassInfo(ITypeInfo** info) override {
    if (!info) return E_POINTER;
    *info = nullptr;
    return classTypeInfo(clsid_, info);
  }

  // ISupportErrorInfo
  HRESULT STDMETHODCALLTYPE InterfaceSupportsErrorInfo(REFIID riid) override {
    return IsEqualIID(riid, iid_) ? S_OK : S_FALSE;
  }

 protected:
  // Runs a member's body at the COM boundary (see boundary.h).
  template <class Body>
  HRESULT run(const char16_t* member, Body&& body) noexcept {
    return boundary(className_, member, body);
  }
  // A getter: the out-parameter is defined on every path, a null one is E_POINTER.
  template <class Body>
  HRESULT getText(const char16_t* member, BSTR* out, Body&& body) noexcept {
    if (out) *out = nullptr;
    return run(member, [&] {
      checkOut(out);
      *out = newBstr(body());
    });
  }
  template <class T, class Body>
  HRESULT getValue(const char16_t* member, T* out, Body&& body) noexcept {
    if (out) *out = T();
    return run(member, [&] {
      checkOut(out);
      *out = static_cast<T>(body());
    });
  }

 private:
  // The vtable view of the interface, loaded once per object.
  HRESULT invokeTypeInfo(ITypeInfo** out) {
    if (!typeInfo_) {
      HRESULT hr = interfaceTypeInfo(iid_, typeInfo_.put());
      if (FAILED(hr)) return hr;
    }
    *out = typeInfo_.get();
    return S_OK;
  }

  LONG refs_ = 0;
  const IID& iid_;
  const CLSID& clsid_;
  const char16_t* className_;
  lumo::com::ComPtr<ITypeInfo> typeInfo_;
};

// Creates a new instance of T from 'args' and queries it for riid.
template <class T, class... Args>
HRESULT createInstance(REFIID riid, void** ppv, Args&&... args) noexcept {
  // Checked for each public class where it is created, with whatever it overrides.
  static_assert(lumo::com::abi::kDispatchAsCalled<T>, "a public class's methods are called as COM calls them");
  static_assert(lumo::com::abi::kCallableAs<decltype(&T::GetClassInfo), HRESULT (STDMETHODCALLTYPE T::*)(ITypeInfo**)> &&
                    lumo::com::abi::kCallableAs<decltype(&T::InterfaceSupportsErrorInfo),
                                                HRESULT (STDMETHODCALLTYPE T::*)(REFIID)>,
                "class information and error information are answered as COM asks");
  if (!ppv) return E_POINTER;
  *ppv = nullptr;
  try {
    installPlatform();
    T* object = new T(std::forward<Args>(args)...);
    object->AddRef();
    HRESULT hr = object->QueryInterface(riid, ppv);
    object->Release();
    return hr;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  } catch (...) {
    return E_UNEXPECTED;
  }
}

}  // namespace lumo::com
