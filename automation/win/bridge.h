// The two directions between COM automation and the portable Object model:
// an IDispatch used by the core as an Object, and a core Object shown to COM
// clients as an IDispatch (names resolved at run time, errors as EXCEPINFO).
#pragma once

#include <vector>

#include "automation/object.h"
#include "automation/win/com_ptr.h"

namespace lumo::com {

// VARIANT -> Variant. Objects become DispatchObjects (or the original Object when
// the IDispatch is one of ours). By-reference VARIANTs are read through.
Variant fromVariant(const VARIANT& v);
// Variant -> VARIANT (the caller owns the result; VariantClear it). Objects become
// IDispatch (an ObjectDispatch unless the object wraps an IDispatch already).
// References are not converted here (see DispatchObject::invoke).
void toVariant(const Variant& in, VARIANT* out);

// An Error from a failed HRESULT and its EXCEPINFO / IErrorInfo.
Error errorFromHresult(HRESULT hr, const EXCEPINFO* info, const ustring& fallbackSource = {});
// Fills EXCEPINFO from an Error (scode = its HRESULT).
void fillExcepInfo(const Error& e, EXCEPINFO* info);
// SetErrorInfo from an Error; returns its HRESULT.
HRESULT setErrorInfo(const Error& e);

// An IDispatch seen as an Object; DISPIDs are cached per name.
class DispatchObject : public Object {
 public:
  explicit DispatchObject(ComPtr<IDispatch> d);
  Variant invoke(const ustring& name, InvokeKind kind, Args& args) override;
  bool hasMember(const ustring& name) const override;
  std::vector<Variant> enumerate() override;
  ustring className() const override;
  IDispatch* dispatch() const { return d_.get(); }

 private:
  bool dispid(const ustring& name, DISPID& id) const;
  ComPtr<IDispatch> d_;
  mutable std::vector<std::pair<ustring, DISPID>> cache_;
};

// Shows an Object to COM clients as IDispatch. Names get DISPIDs on first request
// (the default member "" is DISPID_VALUE; "_NewEnum" is DISPID_NEWENUM when the
// object enumerates). Errors become DISP_E_EXCEPTION with source and description.
// Every instance counts as a live object (see liveObjects()).
IDispatch* newObjectDispatch(ObjectPtr object);  // returns with one reference
// The Object behind an IDispatch made by newObjectDispatch, or null.
ObjectPtr objectOf(IDispatch* d);

// Live objects handed out by this module (ObjectDispatch and enumerators), for DllCanUnloadNow.
long liveObjects();
void addLiveObject();
void releaseLiveObject();

// Creates a component by ProgID (CLSIDFromProgID + CoCreateInstance, in-process or
// local server) and wraps it. Raises 429 naming the ProgID when it cannot.
ObjectPtr createByProgId(const ustring& progId);

// Creates components as createByProgId does (a new instance every time, the same
// errors), keeping each ProgID's class object once found, so that creating the
// same component again skips the registry and the system's class look-up (under
// Wine that look-up costs a third of a millisecond, a hundred times the creation
// itself). A class object whose creation fails is dropped, so that the next
// creation looks the class up afresh. The class objects belong to the thread that
// found them: other threads create the plain way. clear() lets them all go; the
// owner calls it while calling out is still safe (never from DllMain).
class ClassObjects {
 public:
  ClassObjects() = default;
  ClassObjects(const ClassObjects&) = delete;
  ClassObjects& operator=(const ClassObjects&) = delete;

  ObjectPtr create(const ustring& progId);
  void clear();
  std::size_t size() const { return entries_.size(); }

 private:
  struct Entry {
    ustring progId;
    DWORD thread;
    ComPtr<IClassFactory> factory;
  };
  std::vector<Entry> entries_;  // the host's components: a dozen at most, a short list
};

}  // namespace lumo::com
