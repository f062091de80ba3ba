#include "com/convert.h"

#include "automation/win/bridge.h"

namespace lumo::com {

ustring fromBstrArg(BSTR b) { return lumo::com::fromBstr(b); }

BSTR newBstr(const ustring& s) {
  BSTR b = lumo::com::toBstr(s);
  if (!b) throw Error(static_cast<int32_t>(E_OUTOFMEMORY), u"Out of memory");
  return b;
}

void replaceBstr(BSTR* target, const ustring& s) {
  BSTR fresh = newBstr(s);
  SysFreeString(*target);
  *target = fresh;
}

ObjectPtr objectFromDispatch(IDispatch* d) {
  if (!d) return nullptr;
  VARIANT v;
  VariantInit(&v);
  V_VT(&v) = VT_DISPATCH;
  V_DISPATCH(&v) = d;  // borrowed: fromVariant takes its own reference
  return lumo::com::fromVariant(v).toObject();
}

IDispatch* dispatchFromObject(const ObjectPtr& object) {
  if (!object) return nullptr;
  lumo::com::Var v;
  lumo::com::toVariant(Variant(object), v.get());
  if (V_VT(v.get()) != VT_DISPATCH) throw Error(errnum::TypeMismatch);
  IDispatch* d = V_DISPATCH(v.get());
  if (d) d->AddRef();
  return d;
}

bool isMissing(const VARIANT& v) { return V_VT(&v) == VT_ERROR && V_ERROR(&v) == DISP_E_PARAMNOTFOUND; }

Variant optionalArg(const VARIANT& v) {
  if (isMissing(v)) return Variant::missing();
  return lumo::com::fromVariant(v);
}

ObjectPtr optionalObject(const VARIANT& v) {
  if (isMissing(v)) return nullptr;
  Variant value = lumo::com::fromVariant(v);
  if (value.isEmpty() || value.isNull()) return nullptr;
  return value.toObject();
}

Args varargs(SAFEARRAY* array) {
  Args args;
  if (!array) return args;
  if (SafeArrayGetDim(array) != 1) throw Error(errnum::TypeMismatch);
  VARTYPE vt = VT_EMPTY;
  if (FAILED(SafeArrayGetVartype(array, &vt)) || vt != VT_VARIANT) throw Error(errnum::TypeMismatch);
  LONG lower = 0, upper = -1;
  SafeArrayGetLBound(array, 1, &lower);
  SafeArrayGetUBound(array, 1, &upper);
  for (LONG i = lower; i <= upper; ++i) {
    lumo::com::Var element;
    HRESULT hr = SafeArrayGetElement(array, &i, element.get());
    if (FAILED(hr)) throw Error(static_cast<int32_t>(hr), u"Cannot read an argument");
    args.push_back(lumo::com::fromVariant(element.ref()));
  }
  return args;
}

}  // namespace lumo::com
