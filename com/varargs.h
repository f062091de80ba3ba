// [vararg] members through IDispatch. A late-bound caller passes the variable
// arguments one by one; the member receives them as one SAFEARRAY of VARIANTs.
// Wine's ITypeInfo::Invoke gathers them only when exactly one is given (none or
// several are refused with DISP_E_BADPARAMCOUNT), so the server makes such calls
// itself: it converts the fixed arguments to their declared types, gathers the
// rest, and calls the vtable slot with DispCallFunc.
#pragma once

#include <windows.h>
#include <oaidl.h>

namespace lumo::com {

// Invokes member 'id' on 'instance' (the interface 'info' describes) when it is a
// [vararg] method called as a method; returns false, doing nothing, otherwise.
bool invokeVararg(void* instance, ITypeInfo* info, DISPID id, WORD flags, DISPPARAMS* params, VARIANT* result,
                  EXCEPINFO* excepInfo, UINT* argErr, HRESULT* hr);

}  // namespace lumo::com
