// RAII for COM interface pointers, BSTRs and VARIANTs.
#pragma once

#include <windows.h>
#include <oaidl.h>
#include <oleauto.h>

#include <utility>

#include "automation/text.h"
#include "automation/win/wide.h"

namespace lumo::com {

template <class T>
class ComPtr {
 public:
  ComPtr() = default;
  ComPtr(T* p) : p_(p) { if (p_) p_->AddRef(); }  // NOLINT: adopts with AddRef
  ComPtr(const ComPtr& o) : ComPtr(o.p_) {}
  ComPtr(ComPtr&& o) noexcept : p_(std::exchange(o.p_, nullptr)) {}
  ~ComPtr() { reset(); }
  ComPtr& operator=(ComPtr o) noexcept {
    std::swap(p_, o.p_);
    return *this;
  }
  // Takes over a reference the caller already owns (no AddRef).
  static ComPtr attach(T* p) {
    ComPtr c;
    c.p_ = p;
    return c;
  }
  T* detach() { return std::exchange(p_, nullptr); }
  void reset() {
    if (p_) std::exchange(p_, nullptr)->Release();
  }
  T** put() {
    reset();
    return &p_;
  }
  T* get() const { return p_; }
  T* operator->() const { return p_; }
  explicit operator bool() const { return p_ != nullptr; }
  template <class U>
  ComPtr<U> query() const {
    ComPtr<U> u;
    if (p_) p_->QueryInterface(__uuidof(U), reinterpret_cast<void**>(u.put()));
    return u;
  }

 private:
  T* p_ = nullptr;
};

class Bstr {
 public:
  Bstr() = default;
  explicit Bstr(ustring_view s) : b_(SysAllocStringLen(reinterpret_cast<const OLECHAR*>(s.data()), static_cast<UINT>(s.size()))) {}
  Bstr(const Bstr&) = delete;
  Bstr& operator=(const Bstr&) = delete;
  Bstr(Bstr&& o) noexcept : b_(std::exchange(o.b_, nullptr)) {}
  ~Bstr() { SysFreeString(b_); }
  static Bstr attach(BSTR b) {
    Bstr x;
    x.b_ = b;
    return x;
  }
  BSTR get() const { return b_; }
  BSTR detach() { return std::exchange(b_, nullptr); }
  BSTR* put() {
    SysFreeString(std::exchange(b_, nullptr));
    return &b_;
  }
  ustring str() const { return b_ ? ustring(reinterpret_cast<const char16_t*>(b_), SysStringLen(b_)) : ustring(); }

 private:
  BSTR b_ = nullptr;
};

inline ustring fromBstr(BSTR b) { return b ? ustring(reinterpret_cast<const char16_t*>(b), SysStringLen(b)) : ustring(); }
inline BSTR toBstr(ustring_view s) {
  return SysAllocStringLen(reinterpret_cast<const OLECHAR*>(s.data()), static_cast<UINT>(s.size()));
}

class Var {
 public:
  Var() { VariantInit(&v_); }
  Var(const Var&) = delete;
  Var& operator=(const Var&) = delete;
  ~Var() { VariantClear(&v_); }
  VARIANT* get() { return &v_; }
  const VARIANT& ref() const { return v_; }

 private:
  VARIANT v_;
};

}  // namespace lumo::com
