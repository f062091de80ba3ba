#include "tests/support/win/late.h"

#include "tests/support/win/text.h"

namespace lumo::test {

V::V(const wchar_t* s) : V() {
  V_VT(&v_) = VT_BSTR;
  V_BSTR(&v_) = SysAllocString(s);
}
V::V(const std::wstring& s) : V() {
  V_VT(&v_) = VT_BSTR;
  V_BSTR(&v_) = SysAllocStringLen(s.data(), static_cast<UINT>(s.size()));
}
V::V(int32_t i) : V() {
  V_VT(&v_) = VT_I4;
  V_I4(&v_) = i;
}
V::V(int16_t i) : V() {
  V_VT(&v_) = VT_I2;
  V_I2(&v_) = i;
}
V::V(bool b) : V() {
  V_VT(&v_) = VT_BOOL;
  V_BOOL(&v_) = b ? VARIANT_TRUE : VARIANT_FALSE;
}
V::V(double d) : V() {
  V_VT(&v_) = VT_R8;
  V_R8(&v_) = d;
}
V::V(IDispatch* d) : V() {
  V_VT(&v_) = VT_DISPATCH;
  V_DISPATCH(&v_) = d;
  if (d) d->AddRef();
}
V V::missing() { return error(DISP_E_PARAMNOTFOUND); }
V V::error(SCODE code) {
  V v;
  V_VT(&v.v_) = VT_ERROR;
  V_ERROR(&v.v_) = code;
  return v;
}
V V::byRef(V& target) {
  V v;
  V_VT(&v.v_) = static_cast<VARTYPE>(VT_BYREF | target.vt());
  V_BYREF(&v.v_) = &V_I4(&target.v_);  // the value union starts at the same place for every type
  return v;
}
V::V(const V& o) : V() { VariantCopy(&v_, const_cast<VARIANT*>(&o.v_)); }
V::V(V&& o) noexcept : v_(o.v_) { VariantInit(&o.v_); }
V& V::operator=(V o) noexcept {
  std::swap(v_, o.v_);
  return *this;
}
V::~V() { VariantClear(&v_); }
std::wstring V::text() const {
  if (V_VT(&v_) != VT_BSTR || !V_BSTR(&v_)) return {};
  return std::wstring(V_BSTR(&v_), SysStringLen(V_BSTR(&v_)));
}

std::ostream& operator<<(std::ostream& os, const Outcome& o) {
  os << "hr=0x" << std::hex << static_cast<unsigned long>(o.hr) << " scode=0x" << static_cast<unsigned long>(o.scode)
     << std::dec << " source='" << u8(o.source) << "' description='" << u8(o.description)
     << "' vt=" << o.result.vt() << " text='" << u8(o.text()) << "' argErr=" << o.argErr;
  return os;
}

HRESULT Late::dispid(const wchar_t* name, DISPID* id) const {
  LPOLESTR names[] = {const_cast<LPOLESTR>(name)};
  return d_->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, id);
}

Outcome Late::invoke(const wchar_t* name, WORD flags, std::vector<V>& args) const {
  DISPID id = DISPID_UNKNOWN;
  const HRESULT hr = dispid(name, &id);
  if (SUCCEEDED(hr)) return invoke(id, flags, args);
  Outcome o;
  o.hr = hr;
  return o;
}

Outcome Late::invoke(DISPID id, WORD flags, std::vector<V>& args) const {
  Outcome o;
  // Arguments travel last to first; the VARIANTs stay owned by args.
  std::vector<VARIANT> reversed(args.size());
  for (std::size_t i = 0; i < args.size(); ++i) reversed[args.size() - 1 - i] = *args[i].get();
  DISPPARAMS params{reversed.data(), nullptr, static_cast<UINT>(args.size()), 0};
  DISPID putId = DISPID_PROPERTYPUT;
  bool isPut = (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0;
  if (isPut) {
    params.rgdispidNamedArgs = &putId;
    params.cNamedArgs = 1;
  }
  EXCEPINFO info{};
  o.hr = d_->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, &params, isPut ? nullptr : o.result.get(), &info,
                    &o.argErr);
  if (info.pfnDeferredFillIn) info.pfnDeferredFillIn(&info);
  o.scode = info.scode;
  if (info.bstrSource) o.source.assign(info.bstrSource, SysStringLen(info.bstrSource));
  if (info.bstrDescription) o.description.assign(info.bstrDescription, SysStringLen(info.bstrDescription));
  SysFreeString(info.bstrSource);
  SysFreeString(info.bstrDescription);
  SysFreeString(info.bstrHelpFile);
  return o;
}

Outcome Late::call(const wchar_t* name, std::vector<V> args) const { return invoke(name, DISPATCH_METHOD, args); }
Outcome Late::get(const wchar_t* name, std::vector<V> args) const {
  return invoke(name, DISPATCH_PROPERTYGET, args);
}
Outcome Late::put(const wchar_t* name, V value) const {
  std::vector<V> args{std::move(value)};
  return invoke(name, DISPATCH_PROPERTYPUT, args);
}
Outcome Late::putRef(const wchar_t* name, V value) const {
  std::vector<V> args{std::move(value)};
  return invoke(name, DISPATCH_PROPERTYPUTREF, args);
}

}  // namespace lumo::test
