// The one way errors leave a COM method of this server: the member's body runs
// inside boundary(), which turns any C++ exception into a failed HRESULT with the
// error published through SetErrorInfo (source "SmsManager.<class>.<member>" unless
// an inner procedure already named itself, description = the error text). Late-bound
// callers then receive DISP_E_EXCEPTION with the same source and description.
#pragma once

#include <windows.h>

#include "automation/error.h"

namespace lumo::com {

// "SmsManager.<className>.<member>"
ustring errorSource(const char16_t* className, const char16_t* member);

// Publishes the exception being handled (call only inside a catch block) and
// returns its HRESULT, which is always a failure.
HRESULT reportCurrentException(const char16_t* className, const char16_t* member) noexcept;

template <class Body>
HRESULT boundary(const char16_t* className, const char16_t* member, Body&& body) noexcept {
  try {
    body();
    return S_OK;
  } catch (...) {
    return reportCurrentException(className, member);
  }
}

// Out-parameters: a null pointer is the caller's error (E_POINTER).
template <class T>
T* checkOut(T* p) {
  if (!p) throw Error(static_cast<int32_t>(E_POINTER), u"Invalid pointer");
  return p;
}

}  // namespace lumo::com
