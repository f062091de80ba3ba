// Argument and result conversions between the typed COM signatures of the public
// classes and the core's Variant / Object model (objects cross through the bridges).
#pragma once

#include <windows.h>
#include <oaidl.h>

#include "automation/object.h"

namespace lumo::com {

ustring fromBstrArg(BSTR b);
// A new BSTR for an [out] result (the caller frees it).
BSTR newBstr(const ustring& s);
// Replaces an [in, out] BSTR.
void replaceBstr(BSTR* target, const ustring& s);

// An [in] IDispatch* as a core object (null stays null).
ObjectPtr objectFromDispatch(IDispatch* d);
// A core object as a new IDispatch reference for an [out] result (null stays null).
IDispatch* dispatchFromObject(const ObjectPtr& object);

// An [optional] VARIANT the caller left out (VT_ERROR, DISP_E_PARAMNOTFOUND).
bool isMissing(const VARIANT& v);
// An optional argument as a Variant: Variant::missing() when left out.
Variant optionalArg(const VARIANT& v);
// An optional object argument: null when left out, Empty, Null or Nothing.
ObjectPtr optionalObject(const VARIANT& v);

// The elements of a [vararg] SAFEARRAY(VARIANT) in order.
Args varargs(SAFEARRAY* array);

}  // namespace lumo::com
