// The two directions between COM automation and the portable Object model:
// an IDispatch used by the core as an Object, and a core Object shown to COM
// clients as an IDispatch (names resolved at run time, errors as EXCEPINFO).
#pragma once

#include "automation/object.h"
#include "automation/win/com_ptr.h"

namespace lumo::win {

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

}  // namespace lumo::win
