#include "com/varargs.h"

#include <vector>

namespace lumo::com {
namespace {

class FuncDesc {
 public:
  FuncDesc(ITypeInfo* info, FUNCDESC* desc) : info_(info), desc_(desc) {}
  FuncDesc(const FuncDesc&) = delete;
  FuncDesc& operator=(const FuncDesc&) = delete;
  ~FuncDesc() {
    if (desc_) info_->ReleaseFuncDesc(desc_);
  }
  const FUNCDESC* operator->() const { return desc_; }
  explicit operator bool() const { return desc_ != nullptr; }

 private:
  ITypeInfo* info_;
  FUNCDESC* desc_;
};

FUNCDESC* findVarargMethod(ITypeInfo* info, DISPID id) {
  TYPEATTR* attr = nullptr;
  if (FAILED(info->GetTypeAttr(&attr))) return nullptr;
  WORD functions = attr->cFuncs;
  info->ReleaseTypeAttr(attr);
  for (WORD i = 0; i < functions; ++i) {
    FUNCDESC* f = nullptr;
    if (FAILED(info->GetFuncDesc(i, &f))) continue;
    if (f->memid == id && f->invkind == INVOKE_FUNC && f->cParamsOpt == -1) return f;
    info->ReleaseFuncDesc(f);
  }
  return nullptr;
}

// The VARTYPEs a fixed argument or a result may have here (values passed as such).
bool isPlainType(VARTYPE vt) {
  switch (vt) {
    case VT_I2: case VT_I4: case VT_R4: case VT_R8: case VT_BOOL: case VT_BSTR: case VT_DISPATCH: case VT_UNKNOWN:
    case VT_DATE: case VT_CY: case VT_VARIANT: case VT_UI1: case VT_ERROR:
      return true;
    default:
      return false;
  }
}

struct Variants {
  std::vector<VARIANT> items;
  explicit Variants(std::size_t n) : items(n) {
    for (VARIANT& v : items) VariantInit(&v);
  }
  ~Variants() {
    for (VARIANT& v : items) VariantClear(&v);
  }
};

void fillException(HRESULT failure, EXCEPINFO* excepInfo) {
  if (!excepInfo) return;
  *excepInfo = EXCEPINFO();
  excepInfo->scode = failure;
  IErrorInfo* error = nullptr;
  if (GetErrorInfo(0, &error) == S_OK && error) {
    error->GetSource(&excepInfo->bstrSource);
    error->GetDescription(&excepInfo->bstrDescription);
    error->GetHelpFile(&excepInfo->bstrHelpFile);
    error->GetHelpContext(&excepInfo->dwHelpContext);
    error->Release();
  }
}

}  // namespace

bool invokeVararg(void* instance, ITypeInfo* info, DISPID id, WORD flags, DISPPARAMS* params, VARIANT* result,
                  EXCEPINFO* excepInfo, UINT* argErr, HRESULT* hr) {
  if (!(flags & DISPATCH_METHOD)) return false;
  FuncDesc f(info, findVarargMethod(info, id));
  if (!f) return false;

  if (!params) {
    *hr = E_INVALIDARG;
    return true;
  }
  if (params->cNamedArgs != 0) {
    *hr = DISP_E_NONAMEDARGS;
    return true;
  }
  // Layout: fixed parameters, the SAFEARRAY(VARIANT)* of the rest, an optional [out, retval].
  const SHORT total = f->cParams;
  const bool hasRetval = total > 0 && (f->lprgelemdescParam[total - 1].paramdesc.wParamFlags & PARAMFLAG_FRETVAL);
  const UINT fixed = static_cast<UINT>(total - (hasRetval ? 2 : 1));
  const UINT count = params->cArgs;
  if (count < fixed) {
    *hr = DISP_E_BADPARAMCOUNT;
    return true;
  }

  Variants values(fixed + 1 + (hasRetval ? 1 : 0));
  std::vector<VARTYPE> types(values.items.size());
  std::vector<VARIANTARG*> pointers(values.items.size());

  // Fixed arguments, converted to their declared types (rgvarg runs last to first).
  for (UINT i = 0; i < fixed; ++i) {
    VARTYPE vt = f->lprgelemdescParam[i].tdesc.vt;
    if (!isPlainType(vt)) {
      *hr = DISP_E_TYPEMISMATCH;
      return true;
    }
    VARIANT& source = params->rgvarg[count - 1 - i];
    HRESULT converted = vt == VT_VARIANT ? VariantCopyInd(&values.items[i], &source)
                                         : VariantChangeType(&values.items[i], &source, 0, vt);
    if (FAILED(converted)) {
      if (argErr) *argErr = count - 1 - i;
      *hr = DISP_E_TYPEMISMATCH;
      return true;
    }
    types[i] = vt;
    pointers[i] = &values.items[i];
  }

  // The remaining arguments, in order, as one array.
  SAFEARRAY* rest = SafeArrayCreateVector(VT_VARIANT, 0, count - fixed);
  if (!rest) {
    *hr = E_OUTOFMEMORY;
    return true;
  }
  for (UINT k = 0; k < count - fixed; ++k) {
    LONG index = static_cast<LONG>(k);
    VARIANT value;
    VariantInit(&value);
    VariantCopyInd(&value, &params->rgvarg[count - 1 - fixed - k]);
    SafeArrayPutElement(rest, &index, &value);
    VariantClear(&value);
  }
  VARIANT& arrayHolder = values.items[fixed];
  V_VT(&arrayHolder) = VT_ARRAY | VT_VARIANT;
  V_ARRAY(&arrayHolder) = rest;  // destroyed with values
  VARIANT arrayRef;
  VariantInit(&arrayRef);
  V_VT(&arrayRef) = VT_BYREF | VT_ARRAY | VT_VARIANT;
  V_ARRAYREF(&arrayRef) = &V_ARRAY(&arrayHolder);
  types[fixed] = V_VT(&arrayRef);
  pointers[fixed] = &arrayRef;

  // The result slot: a pointer to a value of the declared type.
  VARIANT resultRef;
  VariantInit(&resultRef);
  if (hasRetval) {
    const TYPEDESC& t = f->lprgelemdescParam[total - 1].tdesc;
    if (t.vt != VT_PTR || !isPlainType(t.lptdesc->vt)) {
      *hr = DISP_E_TYPEMISMATCH;
      return true;
    }
    VARIANT& slot = values.items[fixed + 1];
    VARTYPE vt = t.lptdesc->vt;
    V_VT(&resultRef) = static_cast<VARTYPE>(VT_BYREF | vt);
    if (vt == VT_VARIANT) {
      V_VARIANTREF(&resultRef) = &slot;
    } else {
      V_VT(&slot) = vt;  // the callee fills the value; VariantClear frees it later
      V_BYREF(&resultRef) = &V_I4(&slot);
    }
    types[fixed + 1] = V_VT(&resultRef);
    pointers[fixed + 1] = &resultRef;
  }

  VARIANT returned;
  VariantInit(&returned);
  SetErrorInfo(0, nullptr);
  HRESULT called = DispCallFunc(instance, f->oVft, f->callconv, VT_ERROR, static_cast<UINT>(pointers.size()),
                                types.data(), pointers.data(), &returned);
  if (FAILED(called)) {
    *hr = called;
    return true;
  }
  HRESULT outcome = V_ERROR(&returned);
  if (FAILED(outcome)) {
    fillException(outcome, excepInfo);
    *hr = DISP_E_EXCEPTION;
    return true;
  }
  if (hasRetval && result) {
    VARIANT& slot = values.items[fixed + 1];
    VariantClear(result);
    *result = slot;  // moved out
    VariantInit(&slot);
  }
  *hr = S_OK;
  return true;
}

}  // namespace lumo::com
