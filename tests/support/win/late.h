// Late binding as an automation client does it, for the tests and benchmarks that
// call the add-in's public classes through IDispatch: VARIANTs that own their
// contents, and calls by name with their outcome (HRESULT, result, EXCEPINFO).
#pragma once

#include <windows.h>
#include <oaidl.h>

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

namespace lumo::test {

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
  // By an identifier looked up beforehand, as a host that keeps them calls.
  Outcome invoke(DISPID id, WORD flags, std::vector<V>& args) const;

 private:
  IDispatch* d_;
};

}  // namespace lumo::test
