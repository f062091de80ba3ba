#include "com/boundary.h"

#include <new>

#include "automation/win/bridge.h"

namespace lumo::com {
namespace {

constexpr int32_t kOutOfMemory = 7;

HRESULT publish(Error e, const ustring& source) noexcept {
  try {
    e.withSource(source);
    HRESULT hr = static_cast<HRESULT>(e.hresult());
    if (SUCCEEDED(hr)) {
      // An error numbered 0 (or any success code) must still fail the call.
      e = Error(static_cast<int32_t>(E_FAIL), e.description(), e.source(), e.helpFile(), e.helpContext());
      hr = E_FAIL;
    }
    lumo::com::setErrorInfo(e);
    return hr;
  } catch (...) {
    SetErrorInfo(0, nullptr);
    return E_UNEXPECTED;
  }
}

}  // namespace

ustring errorSource(const char16_t* className, const char16_t* member) {
  return ustring(u"SmsManager.") + className + u"." + member;
}

HRESULT reportCurrentException(const char16_t* className, const char16_t* member) noexcept {
  ustring source;
  try {
    source = errorSource(className, member);
  } catch (...) {
    SetErrorInfo(0, nullptr);
    return E_OUTOFMEMORY;
  }
  try {
    throw;
  } catch (const Error& e) {
    return publish(e, source);
  } catch (const std::bad_alloc&) {
    return publish(Error(kOutOfMemory, u"Out of memory"), source);
  } catch (const std::exception& e) {
    return publish(Error(static_cast<int32_t>(E_FAIL), fromUtf8(e.what())), source);
  } catch (...) {
    return publish(Error(static_cast<int32_t>(E_UNEXPECTED), u"Unexpected failure"), source);
  }
}

}  // namespace lumo::com
