#include "automation/win/bridge.h"

#include <cmath>
#include <cstring>
#include <span>

#include "automation/win/com_abi.h"

namespace lumo::com {

namespace {

// Lets objectOf() recognise our own IDispatch wrappers: {6F1E2A4C-3B7D-4E21-9C0A-5D8E7F60A1B2}.
const IID IID_ILumoObjectHolder = {0x6f1e2a4c, 0x3b7d, 0x4e21, {0x9c, 0x0a, 0x5d, 0x8e, 0x7f, 0x60, 0xa1, 0xb2}};

volatile LONG g_live = 0;

}  // namespace

long liveObjects() { return g_live; }
void addLiveObject() { InterlockedIncrement(&g_live); }
void releaseLiveObject() { InterlockedDecrement(&g_live); }

// ---------------------------------------------------------------- conversions

Variant fromVariant(const VARIANT& v) {
  if (V_VT(&v) == (VT_BYREF | VT_VARIANT)) return V_VARIANTREF(&v) ? fromVariant(*V_VARIANTREF(&v)) : Variant();
  if (V_VT(&v) & VT_ARRAY) {
    SAFEARRAY* sa = (V_VT(&v) & VT_BYREF) ? (V_ARRAYREF(&v) ? *V_ARRAYREF(&v) : nullptr) : V_ARRAY(&v);
    std::vector<Variant> out;
    if (!sa || SafeArrayGetDim(sa) != 1) return Variant(std::move(out));
    LONG lo = 0, hi = -1;
    SafeArrayGetLBound(sa, 1, &lo);
    SafeArrayGetUBound(sa, 1, &hi);
    VARTYPE vt = VT_EMPTY;
    SafeArrayGetVartype(sa, &vt);
    for (LONG i = lo; i <= hi; ++i) {
      Var element;
      if (vt == VT_VARIANT) {
        SafeArrayGetElement(sa, &i, element.get());
      } else {
        // A typed array: read each element through a VARIANT of that type.
        V_VT(element.get()) = vt;
        if (FAILED(SafeArrayGetElement(sa, &i, &V_I4(element.get())))) V_VT(element.get()) = VT_EMPTY;
      }
      out.push_back(fromVariant(element.ref()));
    }
    return Variant(std::move(out));
  }
  if (V_VT(&v) & VT_BYREF) {
    Var copy;
    if (FAILED(VariantCopyInd(copy.get(), const_cast<VARIANT*>(&v)))) throw Error(errnum::TypeMismatch);
    return fromVariant(copy.ref());
  }
  switch (V_VT(&v)) {
    case VT_EMPTY: return Variant();
    case VT_NULL: return Variant::null();
    case VT_BOOL: return Variant(V_BOOL(&v) != VARIANT_FALSE);
    case VT_I2: return Variant(static_cast<int16_t>(V_I2(&v)));
    case VT_UI1: return Variant(static_cast<int16_t>(V_UI1(&v)));
    case VT_I1: return Variant(static_cast<int16_t>(V_I1(&v)));
    case VT_I4: return Variant(static_cast<int32_t>(V_I4(&v)));
    case VT_INT: return Variant(static_cast<int32_t>(V_INT(&v)));
    case VT_R8: return Variant(V_R8(&v));
    case VT_R4: return Variant(static_cast<double>(V_R4(&v)));
    case VT_DATE: return Variant::date(V_DATE(&v));
    case VT_BSTR: return Variant(fromBstr(V_BSTR(&v)));
    case VT_DISPATCH: {
      if (!V_DISPATCH(&v)) return Variant(ObjectPtr());
      if (ObjectPtr mine = objectOf(V_DISPATCH(&v))) return Variant(mine);
      return Variant(ObjectPtr(std::make_shared<DispatchObject>(ComPtr<IDispatch>(V_DISPATCH(&v)))));
    }
    case VT_UNKNOWN: {
      if (!V_UNKNOWN(&v)) return Variant(ObjectPtr());
      ComPtr<IDispatch> d;
      if (FAILED(V_UNKNOWN(&v)->QueryInterface(IID_IDispatch, reinterpret_cast<void**>(d.put()))))
        throw Error(errnum::TypeMismatch);
      if (ObjectPtr mine = objectOf(d.get())) return Variant(mine);
      return Variant(ObjectPtr(std::make_shared<DispatchObject>(d)));
    }
    case VT_ERROR:
      if (V_ERROR(&v) == DISP_E_PARAMNOTFOUND) return Variant::missing();
      return Variant(static_cast<int32_t>(V_ERROR(&v)));
    case VT_UI2:
    case VT_UI4:
    case VT_UINT:
    case VT_I8:
    case VT_UI8:
    case VT_CY:
    case VT_DECIMAL: {
      Var d;
      if (FAILED(VariantChangeType(d.get(), const_cast<VARIANT*>(&v), 0, VT_R8))) throw Error(errnum::Overflow);
      double x = V_R8(d.get());
      if (std::floor(x) == x && x >= -2147483648.0 && x <= 2147483647.0) return Variant(static_cast<int32_t>(x));
      return Variant(x);
    }
    default: throw Error(errnum::TypeMismatch);
  }
}

void toVariant(const Variant& in, VARIANT* out) {
  VariantInit(out);
  switch (in.type()) {
    case Variant::Type::Empty: return;
    case Variant::Type::Null: V_VT(out) = VT_NULL; return;
    case Variant::Type::Missing:
      V_VT(out) = VT_ERROR;
      V_ERROR(out) = DISP_E_PARAMNOTFOUND;
      return;
    case Variant::Type::Bool:
      V_VT(out) = VT_BOOL;
      V_BOOL(out) = in.rawBool() ? VARIANT_TRUE : VARIANT_FALSE;
      return;
    case Variant::Type::I2:
      V_VT(out) = VT_I2;
      V_I2(out) = in.rawI2();
      return;
    case Variant::Type::I4:
      V_VT(out) = VT_I4;
      V_I4(out) = in.rawI4();
      return;
    case Variant::Type::R8:
      V_VT(out) = VT_R8;
      V_R8(out) = in.rawDouble();
      return;
    case Variant::Type::Date:
      V_VT(out) = VT_DATE;
      V_DATE(out) = in.rawDouble();
      return;
    case Variant::Type::String:
      V_VT(out) = VT_BSTR;
      V_BSTR(out) = toBstr(in.rawString());
      return;
    case Variant::Type::Object: {
      V_VT(out) = VT_DISPATCH;
      ObjectPtr o = in.toObject();
      if (!o) {
        V_DISPATCH(out) = nullptr;
      } else if (auto d = std::dynamic_pointer_cast<DispatchObject>(o)) {
        V_DISPATCH(out) = d->dispatch();
        V_DISPATCH(out)->AddRef();
      } else {
        V_DISPATCH(out) = newObjectDispatch(o);
      }
      return;
    }
    case Variant::Type::Array: {
      const auto& a = in.toArray();
      SAFEARRAY* sa = SafeArrayCreateVector(VT_VARIANT, 0, static_cast<ULONG>(a.size()));
      for (LONG i = 0; i < static_cast<LONG>(a.size()); ++i) {
        Var element;
        toVariant(a[static_cast<std::size_t>(i)], element.get());
        SafeArrayPutElement(sa, &i, element.get());
      }
      V_VT(out) = VT_ARRAY | VT_VARIANT;
      V_ARRAY(out) = sa;
      return;
    }
  }
}

// ---------------------------------------------------------------- errors

static ustring systemMessage(HRESULT hr) {
  wchar_t* buf = nullptr;
  DWORD n = FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                           nullptr, static_cast<DWORD>(hr), 0, reinterpret_cast<wchar_t*>(&buf), 0, nullptr);
  ustring s;
  if (n && buf) {
    s = fromWide(buf);
    while (!s.empty() && (s.back() == u'\n' || s.back() == u'\r' || s.back() == u' ' || s.back() == u'.'))
      s.pop_back();
  }
  if (buf) LocalFree(buf);
  if (s.empty()) {
    wchar_t hex[32];
    swprintf(hex, 32, L"0x%08lX", static_cast<unsigned long>(hr));
    s = u"Automation error " + fromWide(hex);
  }
  return s;
}

Error errorFromHresult(HRESULT hr, const EXCEPINFO* info, const ustring& fallbackSource) {
  if (hr == DISP_E_EXCEPTION && info) {
    EXCEPINFO e = *info;
    if (e.pfnDeferredFillIn) e.pfnDeferredFillIn(&e);
    int32_t number = e.scode ? numberFromHresult(e.scode) : (e.wCode ? e.wCode : numberFromHresult(hr));
    ustring description = fromBstr(e.bstrDescription);
    ustring source = fromBstr(e.bstrSource);
    ustring helpFile = fromBstr(e.bstrHelpFile);
    if (description.empty()) description = standardDescription(number);
    if (description.empty()) description = systemMessage(e.scode ? e.scode : hr);
    return Error(number, description, source.empty() ? fallbackSource : source, helpFile,
                 static_cast<int32_t>(e.dwHelpContext));
  }
  switch (hr) {
    case DISP_E_UNKNOWNNAME:
    case DISP_E_MEMBERNOTFOUND: return Error(errnum::NotSupported, {}, fallbackSource);
    case DISP_E_BADPARAMCOUNT: return Error(errnum::WrongArgumentCount, {}, fallbackSource);
    case DISP_E_TYPEMISMATCH: return Error(errnum::TypeMismatch, {}, fallbackSource);
    case DISP_E_OVERFLOW: return Error(errnum::Overflow, {}, fallbackSource);
    case DISP_E_PARAMNOTOPTIONAL: return Error(449, u"Argument not optional", fallbackSource);
    default: break;
  }
  // A plain failure HRESULT: the callee may have left error info behind.
  ComPtr<IErrorInfo> ei;
  if (GetErrorInfo(0, ei.put()) == S_OK && ei) {
    Bstr d, s;
    ei->GetDescription(d.put());
    ei->GetSource(s.put());
    ustring description = d.str();
    if (description.empty()) description = systemMessage(hr);
    return Error(numberFromHresult(hr), description, s.str().empty() ? fallbackSource : s.str());
  }
  int32_t number = numberFromHresult(hr);
  ustring description = standardDescription(number);
  if (description.empty()) description = systemMessage(hr);
  return Error(number, description, fallbackSource);
}

void fillExcepInfo(const Error& e, EXCEPINFO* info) {
  if (!info) return;
  std::memset(info, 0, sizeof *info);
  info->scode = e.hresult();
  info->bstrDescription = toBstr(e.description());
  info->bstrSource = toBstr(e.source());
  if (!e.helpFile().empty()) info->bstrHelpFile = toBstr(e.helpFile());
  info->dwHelpContext = static_cast<DWORD>(e.helpContext());
}

HRESULT setErrorInfo(const Error& e) {
  ComPtr<ICreateErrorInfo> cei;
  if (SUCCEEDED(CreateErrorInfo(cei.put()))) {
    Bstr d(e.description()), s(e.source());
    cei->SetDescription(d.get());
    cei->SetSource(s.get());
    cei->SetGUID(GUID_NULL);
    if (!e.helpFile().empty()) {
      Bstr h(e.helpFile());
      cei->SetHelpFile(h.get());
      cei->SetHelpContext(static_cast<DWORD>(e.helpContext()));
    }
    ComPtr<IErrorInfo> ei = cei.query<IErrorInfo>();
    SetErrorInfo(0, ei.get());
  }
  return e.hresult();
}

// ---------------------------------------------------------------- IDispatch -> Object

DispatchObject::DispatchObject(ComPtr<IDispatch> d) : d_(std::move(d)) {}

bool DispatchObject::dispid(const ustring& name, DISPID& id) const {
  if (name.empty()) {
    id = DISPID_VALUE;
    return true;
  }
  for (const auto& [n, i] : cache_)
    if (equalsNoCase(n, name)) {
      id = i;
      return true;
    }
  LPOLESTR names[1] = {const_cast<LPOLESTR>(wz(name))};
  if (FAILED(d_->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id))) return false;
  cache_.emplace_back(name, id);
  return true;
}

bool DispatchObject::hasMember(const ustring& name) const {
  DISPID id;
  return dispid(name, id);
}

Variant DispatchObject::invoke(const ustring& name, InvokeKind kind, Args& args) {
  DISPID id;
  if (!dispid(name, id)) throw Error(errnum::NotSupported, standardDescription(errnum::NotSupported) + u": " + name);

  // DISPPARAMS hold the arguments last to first. A by-reference argument is passed
  // as VT_BYREF|VT_VARIANT pointing at a VARIANT that is read back afterwards.
  const std::size_t n = args.size();
  std::vector<VARIANT> values(n);
  std::vector<VARIANT> slots(n);
  for (std::size_t i = 0; i < n; ++i) {
    VARIANT& slot = slots[n - 1 - i];
    if (args[i].isRef()) {
      toVariant(args[i].deref(), &values[i]);
      VariantInit(&slot);
      V_VT(&slot) = VT_BYREF | VT_VARIANT;
      V_VARIANTREF(&slot) = &values[i];
    } else {
      VariantInit(&values[i]);
      toVariant(args[i], &slot);
    }
  }
  DISPID named = DISPID_PROPERTYPUT;
  DISPPARAMS dp{slots.data(), nullptr, static_cast<UINT>(n), 0};
  WORD flags = DISPATCH_METHOD | DISPATCH_PROPERTYGET;
  if (kind == InvokeKind::Put || kind == InvokeKind::PutRef) {
    flags = kind == InvokeKind::PutRef ? DISPATCH_PROPERTYPUTREF : DISPATCH_PROPERTYPUT;
    dp.rgdispidNamedArgs = &named;
    dp.cNamedArgs = 1;
  } else if (kind == InvokeKind::Get) {
    flags = DISPATCH_PROPERTYGET | DISPATCH_METHOD;
  }
  Var result;
  EXCEPINFO info{};
  UINT argErr = 0;
  HRESULT hr = d_->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, &dp,
                          (kind == InvokeKind::Put || kind == InvokeKind::PutRef) ? nullptr : result.get(), &info,
                          &argErr);
  for (std::size_t i = 0; i < n; ++i) {
    if (args[i].isRef() && SUCCEEDED(hr)) {
      try {
        args[i].deref() = fromVariant(values[i]);
      } catch (...) {
        // A value we cannot represent leaves the caller's variable as it was.
      }
    }
    VariantClear(&values[i]);
    if (!args[i].isRef()) VariantClear(&slots[n - 1 - i]);
  }
  if (FAILED(hr)) {
    Error e = errorFromHresult(hr, &info);
    SysFreeString(info.bstrDescription);
    SysFreeString(info.bstrSource);
    SysFreeString(info.bstrHelpFile);
    throw e;
  }
  return fromVariant(result.ref());
}

std::vector<Variant> DispatchObject::enumerate() {
  Var result;
  DISPPARAMS dp{nullptr, nullptr, 0, 0};
  EXCEPINFO info{};
  HRESULT hr = d_->Invoke(DISPID_NEWENUM, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD | DISPATCH_PROPERTYGET, &dp,
                          result.get(), &info, nullptr);
  if (FAILED(hr)) throw errorFromHresult(hr, &info);
  IUnknown* unk = V_VT(result.get()) == VT_UNKNOWN ? V_UNKNOWN(result.get())
                  : V_VT(result.get()) == VT_DISPATCH ? V_DISPATCH(result.get())
                                                      : nullptr;
  if (!unk) throw Error(errnum::NotSupported);
  ComPtr<IEnumVARIANT> en;
  if (FAILED(unk->QueryInterface(IID_IEnumVARIANT, reinterpret_cast<void**>(en.put())))) throw Error(errnum::NotSupported);
  std::vector<Variant> out;
  for (;;) {
    Var item;
    ULONG got = 0;
    if (en->Next(1, item.get(), &got) != S_OK || got == 0) break;
    out.push_back(fromVariant(item.ref()));
  }
  return out;
}

ustring DispatchObject::className() const {
  ComPtr<ITypeInfo> ti;
  if (SUCCEEDED(d_->GetTypeInfo(0, LOCALE_USER_DEFAULT, ti.put())) && ti) {
    Bstr nm;
    if (SUCCEEDED(ti->GetDocumentation(MEMBERID_NIL, nm.put(), nullptr, nullptr, nullptr))) {
      ustring s = nm.str();
      if (!s.empty() && s[0] == u'_') s.erase(0, 1);  // the default interface of a class is "_Name"
      return s;
    }
  }
  return u"Object";
}

// ---------------------------------------------------------------- Object -> IDispatch

namespace {

class VariantEnum final : public IEnumVARIANT {
 public:
  explicit VariantEnum(std::vector<Variant> items, std::size_t pos = 0) : items_(std::move(items)), pos_(pos) {
    addLiveObject();
  }
  ~VariantEnum() { releaseLiveObject(); }

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override {
    if (!ppv) return E_POINTER;
    if (riid == IID_IUnknown || riid == IID_IEnumVARIANT) {
      *ppv = static_cast<IEnumVARIANT*>(this);
      AddRef();
      return S_OK;
    }
    *ppv = nullptr;
    return E_NOINTERFACE;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(InterlockedIncrement(&refs_)); }
  ULONG STDMETHODCALLTYPE Release() override {
    LONG r = InterlockedDecrement(&refs_);
    if (!r) delete this;
    return static_cast<ULONG>(r);
  }
  HRESULT STDMETHODCALLTYPE Next(ULONG celt, VARIANT* rgVar, ULONG* fetched) override {
    ULONG got = 0;
    try {
      for (; got < celt && pos_ < items_.size(); ++got, ++pos_) toVariant(items_[pos_], &rgVar[got]);
    } catch (...) {
      for (ULONG i = 0; i < got; ++i) VariantClear(&rgVar[i]);
      return E_FAIL;
    }
    if (fetched) *fetched = got;
    return got == celt ? S_OK : S_FALSE;
  }
  HRESULT STDMETHODCALLTYPE Skip(ULONG celt) override {
    pos_ += celt;
    if (pos_ > items_.size()) {
      pos_ = items_.size();
      return S_FALSE;
    }
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Reset() override {
    pos_ = 0;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Clone(IEnumVARIANT** ppEnum) override {
    if (!ppEnum) return E_POINTER;
    *ppEnum = new VariantEnum(items_, pos_);
    return S_OK;
  }

 private:
  LONG refs_ = 1;
  std::vector<Variant> items_;
  std::size_t pos_;
};
static_assert(abi::kEnumVariantAsCalled<VariantEnum>, "the enumerator's methods are called as COM calls them");

class ObjectDispatch final : public IDispatch {
 public:
  explicit ObjectDispatch(ObjectPtr o) : object_(std::move(o)) { addLiveObject(); }
  ~ObjectDispatch() { releaseLiveObject(); }

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override {
    if (!ppv) return E_POINTER;
    if (riid == IID_IUnknown || riid == IID_IDispatch) {
      *ppv = static_cast<IDispatch*>(this);
      AddRef();
      return S_OK;
    }
    if (riid == IID_ILumoObjectHolder) {
      *ppv = this;  // no reference taken: only used to recognise the object
      return S_OK;
    }
    *ppv = nullptr;
    return E_NOINTERFACE;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(InterlockedIncrement(&refs_)); }
  ULONG STDMETHODCALLTYPE Release() override {
    LONG r = InterlockedDecrement(&refs_);
    if (!r) delete this;
    return static_cast<ULONG>(r);
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* n) override {
    if (!n) return E_POINTER;
    *n = 0;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo** ti) override {
    if (ti) *ti = nullptr;
    return DISP_E_BADINDEX;
  }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) override {
    if (!names || !ids || count == 0) return E_INVALIDARG;
    for (UINT i = 1; i < count; ++i) ids[i] = DISPID_UNKNOWN;  // named arguments are not supported
    ustring name = fromWide(names[0]);
    if (equalsNoCase(name, u"_NewEnum")) {
      ids[0] = DISPID_NEWENUM;
      return count == 1 ? S_OK : DISP_E_UNKNOWNNAME;
    }
    bool known = false;
    try {
      known = object_->hasMember(name);
    } catch (...) {
      known = false;
    }
    if (!known) {
      ids[0] = DISPID_UNKNOWN;
      return DISP_E_UNKNOWNNAME;
    }
    for (std::size_t k = 0; k < names_.size(); ++k)
      if (equalsNoCase(names_[k], name)) {
        ids[0] = static_cast<DISPID>(k + 1);
        return count == 1 ? S_OK : DISP_E_UNKNOWNNAME;
      }
    names_.push_back(name);
    ids[0] = static_cast<DISPID>(names_.size());
    return count == 1 ? S_OK : DISP_E_UNKNOWNNAME;
  }

  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* dp, VARIANT* result,
                                   EXCEPINFO* info, UINT* argErr) override {
    if (result) VariantInit(result);
    DISPPARAMS empty{nullptr, nullptr, 0, 0};
    if (!dp) dp = &empty;
    try {
      if (id == DISPID_NEWENUM) {
        auto* e = new VariantEnum(object_->enumerate());
        if (result) {
          V_VT(result) = VT_UNKNOWN;
          V_UNKNOWN(result) = e;
        } else {
          e->Release();
        }
        return S_OK;
      }
      ustring name;
      if (id != DISPID_VALUE) {
        if (id < 1 || static_cast<std::size_t>(id) > names_.size()) return DISP_E_MEMBERNOTFOUND;
        name = names_[static_cast<std::size_t>(id - 1)];
      }
      InvokeKind kind = (flags & DISPATCH_PROPERTYPUTREF) ? InvokeKind::PutRef
                        : (flags & DISPATCH_PROPERTYPUT)  ? InvokeKind::Put
                        : (flags & DISPATCH_METHOD)       ? InvokeKind::Method
                                                          : InvokeKind::Get;
      // The caller's arguments and the ids of the named ones (which stand first among them).
      const std::span<VARIANT> argv(dp->rgvarg, dp->cArgs);
      const std::span<const DISPID> named(dp->rgdispidNamedArgs, dp->cNamedArgs);
      const UINT n = dp->cArgs;
      // Positional arguments come last to first; the value of a put is the named DISPID_PROPERTYPUT one.
      std::vector<Variant> refTargets(n);
      Args args;
      args.reserve(n);
      std::vector<UINT> order;
      for (UINT k = 0; k < n; ++k) {
        UINT idx = n - 1 - k;
        if (idx < named.size()) continue;
        order.push_back(idx);
      }
      for (UINT k = 0; k < named.size(); ++k)
        if (named[k] == DISPID_PROPERTYPUT) order.push_back(k);
        else {
          if (argErr) *argErr = k;
          return DISP_E_NONAMEDARGS;
        }
      for (UINT idx : order) {
        VARIANT& a = argv[idx];
        try {
          if (V_VT(&a) & VT_BYREF) {
            refTargets[idx] = fromVariant(a);
            args.push_back(Variant::ref(&refTargets[idx]));
          } else {
            args.push_back(fromVariant(a));
          }
        } catch (const Error&) {
          if (argErr) *argErr = idx;
          return DISP_E_TYPEMISMATCH;
        }
      }
      Variant r = object_->invoke(name, kind, args);
      // Write back by-reference arguments in the caller's own type.
      for (UINT idx : order) {
        VARIANT& a = argv[idx];
        if (!(V_VT(&a) & VT_BYREF)) continue;
        Var fresh;
        toVariant(refTargets[idx], fresh.get());
        if (V_VT(&a) == (VT_BYREF | VT_VARIANT)) {
          VariantClear(V_VARIANTREF(&a));
          VariantCopy(V_VARIANTREF(&a), fresh.get());
        } else {
          VARTYPE target = static_cast<VARTYPE>(V_VT(&a) & ~VT_BYREF);
          Var converted;
          if (SUCCEEDED(VariantChangeType(converted.get(), fresh.get(), 0, target))) {
            switch (target) {
              case VT_BSTR:
                SysFreeString(*V_BSTRREF(&a));
                *V_BSTRREF(&a) = SysAllocStringLen(V_BSTR(converted.get()), SysStringLen(V_BSTR(converted.get())));
                break;
              case VT_I2: *V_I2REF(&a) = V_I2(converted.get()); break;
              case VT_I4: *V_I4REF(&a) = V_I4(converted.get()); break;
              case VT_R8: *V_R8REF(&a) = V_R8(converted.get()); break;
              case VT_BOOL: *V_BOOLREF(&a) = V_BOOL(converted.get()); break;
              case VT_DATE: *V_DATEREF(&a) = V_DATE(converted.get()); break;
              default: break;
            }
          }
        }
      }
      if (result) toVariant(r, result);
      return S_OK;
    } catch (const Error& e) {
      fillExcepInfo(e, info);
      return DISP_E_EXCEPTION;
    } catch (const std::exception& e) {
      fillExcepInfo(Error(errnum::DeviceIoError, fromUtf8(e.what())), info);
      return DISP_E_EXCEPTION;
    }
  }

  const ObjectPtr& object() const { return object_; }

 private:
  LONG refs_ = 1;
  ObjectPtr object_;
  std::vector<ustring> names_;
};
static_assert(abi::kDispatchAsCalled<ObjectDispatch>, "the wrapper's methods are called as COM calls them");

}  // namespace

IDispatch* newObjectDispatch(ObjectPtr object) { return new ObjectDispatch(std::move(object)); }

ObjectPtr objectOf(IDispatch* d) {
  if (!d) return nullptr;
  void* p = nullptr;
  if (FAILED(d->QueryInterface(IID_ILumoObjectHolder, &p)) || !p) return nullptr;
  return static_cast<ObjectDispatch*>(p)->object();
}

namespace {
[[noreturn]] void notRegistered(const ustring& progId) {
  throw Error(errnum::CannotCreateObject,
              standardDescription(errnum::CannotCreateObject) + u" (" + progId + u" is not registered)");
}

[[noreturn]] void cannotCreate(const ustring& progId, HRESULT hr) {
  throw Error(errnum::CannotCreateObject,
              standardDescription(errnum::CannotCreateObject) + u" (" + progId + u": " + systemMessage(hr) + u")");
}

constexpr DWORD kServers = CLSCTX_INPROC_SERVER | CLSCTX_LOCAL_SERVER;
}  // namespace

ObjectPtr createByProgId(const ustring& progId) {
  CLSID clsid;
  HRESULT hr = CLSIDFromProgID(wz(progId), &clsid);
  if (FAILED(hr)) notRegistered(progId);
  ComPtr<IDispatch> d;
  hr = CoCreateInstance(clsid, nullptr, kServers, IID_IDispatch, reinterpret_cast<void**>(d.put()));
  if (FAILED(hr) || !d) cannotCreate(progId, FAILED(hr) ? hr : E_NOINTERFACE);
  return std::make_shared<DispatchObject>(d);
}

ObjectPtr ClassObjects::create(const ustring& progId) {
  const DWORD thread = GetCurrentThreadId();
  auto it = entries_.begin();
  for (; it != entries_.end(); ++it)
    if (it->thread == thread && equalsNoCase(it->progId, progId)) break;
  if (it == entries_.end()) {
    CLSID clsid;
    if (FAILED(CLSIDFromProgID(wz(progId), &clsid))) notRegistered(progId);
    ComPtr<IClassFactory> factory;
    HRESULT hr = CoGetClassObject(clsid, kServers, nullptr, IID_IClassFactory, reinterpret_cast<void**>(factory.put()));
    if (FAILED(hr) || !factory) cannotCreate(progId, FAILED(hr) ? hr : E_NOINTERFACE);
    entries_.push_back(Entry{progId, thread, std::move(factory)});
    it = entries_.end() - 1;
  }
  ComPtr<IDispatch> d;
  const HRESULT hr = it->factory->CreateInstance(nullptr, IID_IDispatch, reinterpret_cast<void**>(d.put()));
  if (FAILED(hr) || !d) {
    entries_.erase(it);
    cannotCreate(progId, FAILED(hr) ? hr : E_NOINTERFACE);
  }
  return std::make_shared<DispatchObject>(d);
}

void ClassObjects::clear() {
  // Moved out first: releasing a class object may call back into code that creates.
  std::vector<Entry> old;
  old.swap(entries_);
}

}  // namespace lumo::com
