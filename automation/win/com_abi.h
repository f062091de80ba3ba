// What COM's callers and the type library take for granted about our objects and
// the automation types they exchange, checked wherever this header is compiled.
//
// The product is the i686 DLL, the tests run the x86_64 one, and the two differ
// exactly here: on i686 every COM method is stdcall and a member written without
// the attribute is cdecl, a different type that the system would call with the
// wrong stack discipline; on x86_64 there is one convention and the attribute is
// ignored. Pointers, BSTRs, VARIANTs and DISPPARAMS have other sizes, while the
// type library's long, VARIANT_BOOL, DATE and enumerations keep theirs.
#pragma once

#include <windows.h>
#include <oaidl.h>

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace lumo::com::abi {

inline constexpr bool kPointers32 = sizeof(void*) == 4;

// Whether C's member (its own or a base's) can be called through a vtable slot of
// the given type, signature and calling convention alike.
template <class Member, class Slot>
inline constexpr bool kCallableAs = std::is_convertible_v<Member, Slot>;

template <class C>
inline constexpr bool kUnknownAsCalled =
    kCallableAs<decltype(&C::QueryInterface), HRESULT (STDMETHODCALLTYPE C::*)(REFIID, void**)> &&
    kCallableAs<decltype(&C::AddRef), ULONG (STDMETHODCALLTYPE C::*)()> &&
    kCallableAs<decltype(&C::Release), ULONG (STDMETHODCALLTYPE C::*)()>;

template <class C>
inline constexpr bool kDispatchAsCalled =
    kUnknownAsCalled<C> &&
    kCallableAs<decltype(&C::GetTypeInfoCount), HRESULT (STDMETHODCALLTYPE C::*)(UINT*)> &&
    kCallableAs<decltype(&C::GetTypeInfo), HRESULT (STDMETHODCALLTYPE C::*)(UINT, LCID, ITypeInfo**)> &&
    kCallableAs<decltype(&C::GetIDsOfNames),
                HRESULT (STDMETHODCALLTYPE C::*)(REFIID, LPOLESTR*, UINT, LCID, DISPID*)> &&
    kCallableAs<decltype(&C::Invoke), HRESULT (STDMETHODCALLTYPE C::*)(DISPID, REFIID, LCID, WORD, DISPPARAMS*,
                                                                       VARIANT*, EXCEPINFO*, UINT*)>;

template <class C>
inline constexpr bool kEnumVariantAsCalled =
    kUnknownAsCalled<C> &&
    kCallableAs<decltype(&C::Next), HRESULT (STDMETHODCALLTYPE C::*)(ULONG, VARIANT*, ULONG*)> &&
    kCallableAs<decltype(&C::Skip), HRESULT (STDMETHODCALLTYPE C::*)(ULONG)> &&
    kCallableAs<decltype(&C::Reset), HRESULT (STDMETHODCALLTYPE C::*)()> &&
    kCallableAs<decltype(&C::Clone), HRESULT (STDMETHODCALLTYPE C::*)(IEnumVARIANT**)>;

// ---- the automation types, as the type library and the system lay them out -------------

// The library's long and the enumerations ([v1_enum]) are 32 bits on both; a
// VARIANT_BOOL is a 16-bit 0 or -1; a DATE a double; text is 16-bit units, so the
// core's char16_t text is handed over as OLECHAR in place.
static_assert(sizeof(LONG) == 4 && sizeof(ULONG) == 4 && sizeof(long) == 4, "an automation long is 32 bits");
static_assert(sizeof(SHORT) == 2, "an automation short is 16 bits");
static_assert(sizeof(VARIANT_BOOL) == 2 && VARIANT_TRUE == -1 && VARIANT_FALSE == 0,
              "a VARIANT_BOOL is a 16-bit 0 or -1");
static_assert(sizeof(DATE) == 8 && sizeof(CY) == 8 && sizeof(DECIMAL) == 16, "DATE, CY and DECIMAL sizes");
static_assert(sizeof(OLECHAR) == 2 && sizeof(OLECHAR) == sizeof(char16_t), "text is 16-bit units");
static_assert(sizeof(HRESULT) == 4 && sizeof(SCODE) == 4 && sizeof(DISPID) == 4 && sizeof(LCID) == 4 &&
                  sizeof(VARTYPE) == 2,
              "status codes, member ids, locales and type tags are fixed-size");
static_assert(sizeof(BSTR) == sizeof(void*) && sizeof(IDispatch*) == sizeof(void*), "a BSTR is a pointer");

// A VARIANT: the type tag and three reserved words, then the value at offset 8;
// 16 bytes on i686, 24 on x86_64 where the record pair (two pointers) is the widest member.
static_assert(sizeof(VARIANT) == (kPointers32 ? 16 : 24), "VARIANT is 16 bytes on i686, 24 on x86_64");
static_assert(offsetof(VARIANT, vt) == 0 && offsetof(VARIANT, lVal) == 8 && offsetof(VARIANT, byref) == 8,
              "a VARIANT's value starts at offset 8");
static_assert(sizeof(DISPPARAMS) == (kPointers32 ? 16 : 24), "DISPPARAMS: two pointers and two counts");
static_assert(sizeof(EXCEPINFO) == (kPointers32 ? 32 : 64), "EXCEPINFO with its three BSTRs and two pointers");
static_assert(sizeof(SAFEARRAYBOUND) == 8, "a SAFEARRAY bound is a 32-bit count and lower bound");

// ---- window data -------------------------------------------------------------------------

// What a window keeps for us (its procedure, the object it belongs to, a dialog's
// result) is pointer-sized, and so are the message parameters that carry pointers:
// only the ...LongPtr calls and LONG_PTR hold them on x86_64, where LONG stays 32 bits.
static_assert(sizeof(LONG_PTR) == sizeof(void*) && sizeof(ULONG_PTR) == sizeof(void*) &&
                  sizeof(DWORD_PTR) == sizeof(void*),
              "LONG_PTR is pointer-sized");
static_assert(sizeof(WPARAM) == sizeof(void*) && sizeof(LPARAM) == sizeof(void*) &&
                  sizeof(LRESULT) == sizeof(void*) && sizeof(INT_PTR) == sizeof(void*),
              "message parameters and results are pointer-sized");
static_assert(std::is_same_v<decltype(&::GetWindowLongPtrW), LONG_PTR(WINAPI*)(HWND, int)> &&
                  std::is_same_v<decltype(&::SetWindowLongPtrW), LONG_PTR(WINAPI*)(HWND, int, LONG_PTR)>,
              "window data is read and written pointer-sized");
// The core holds window handles as intptr_t.
static_assert(sizeof(intptr_t) == sizeof(HWND), "a window handle fits the core's intptr_t");

}  // namespace lumo::com::abi
