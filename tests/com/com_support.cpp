#include "com_support.h"

#include <cwctype>
#include <fstream>
#include <sstream>

namespace comtest {

std::string narrow(const std::wstring& s) {
  if (s.empty()) return {};
  int n = WideCharToMultiByte(CP_UTF8, 0, s.data(), static_cast<int>(s.size()), nullptr, 0, nullptr, nullptr);
  std::string out(static_cast<std::size_t>(n), '\0');
  WideCharToMultiByte(CP_UTF8, 0, s.data(), static_cast<int>(s.size()), out.data(), n, nullptr, nullptr);
  return out;
}

static std::wstring widen(const std::string& s) {
  if (s.empty()) return {};
  int n = MultiByteToWideChar(CP_UTF8, 0, s.data(), static_cast<int>(s.size()), nullptr, 0);
  std::wstring out(static_cast<std::size_t>(n), L'\0');
  MultiByteToWideChar(CP_UTF8, 0, s.data(), static_cast<int>(s.size()), out.data(), n);
  return out;
}

std::wstring windowsPath(const char* path) {
  std::wstring p = widen(path);
  if (!p.empty() && p[0] == L'/') {
    for (wchar_t& c : p)
      if (c == L'/') c = L'\\';
    p = L"Z:" + p;
  }
  return p;
}

std::wstring dllPath() { return windowsPath(LUMO_COM_DLL); }

GUID recordedGuid(const std::wstring& name) {
  std::ifstream in(narrow(windowsPath(LUMO_COM_GUIDS)));
  std::string line;
  while (std::getline(in, line)) {
    if (line.empty() || line[0] == '#') continue;
    std::istringstream fields(line);
    std::string kind, entry, guid;
    fields >> kind >> entry >> guid;
    if (widen(entry) != name) continue;
    GUID g{};
    std::wstring braced = L"{" + widen(guid) + L"}";
    if (FAILED(CLSIDFromString(braced.c_str(), &g))) ADD_FAILURE() << "bad GUID for " << entry << ": " << guid;
    return g;
  }
  ADD_FAILURE() << "no GUID recorded for " << narrow(name);
  return GUID{};
}

std::wstring guidText(REFGUID guid) {
  wchar_t buffer[40] = {};
  StringFromGUID2(guid, buffer, 40);
  return buffer;
}

// ---------------------------------------------------------------------------

Server& Server::get() {
  static Server server;
  return server;
}

template <class F>
static void bind(HMODULE m, const char* name, F& f) {
  FARPROC p = GetProcAddress(m, name);
  if (!p) ADD_FAILURE() << "LumoSmsManager.dll does not export " << name;
  f = reinterpret_cast<F>(reinterpret_cast<void*>(p));
}

Server::Server() {
  module_ = LoadLibraryW(dllPath().c_str());
  if (!module_) {
    ADD_FAILURE() << "cannot load " << narrow(dllPath()) << " (error " << GetLastError() << ")";
    return;
  }
  bind(module_, "DllRegisterServer", register_);
  bind(module_, "DllUnregisterServer", unregister_);
  bind(module_, "DllInstall", install_);
  bind(module_, "DllCanUnloadNow", canUnload_);
  bind(module_, "DllGetClassObject", getClassObject_);
}

// ---------------------------------------------------------------------------

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
     << std::dec << " source='" << narrow(o.source) << "' description='" << narrow(o.description)
     << "' vt=" << o.result.vt() << " text='" << narrow(o.text()) << "' argErr=" << o.argErr;
  return os;
}

// ---------------------------------------------------------------------------

HRESULT Late::dispid(const wchar_t* name, DISPID* id) const {
  LPOLESTR names[] = {const_cast<LPOLESTR>(name)};
  return d_->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, id);
}

Outcome Late::invoke(const wchar_t* name, WORD flags, std::vector<V>& args) const {
  Outcome o;
  DISPID id = DISPID_UNKNOWN;
  o.hr = dispid(name, &id);
  if (FAILED(o.hr)) return o;
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

// ---------------------------------------------------------------------------

static long g_liveFakes = 0;

FakeObject::FakeObject() { ++g_liveFakes; }
FakeObject::~FakeObject() { --g_liveFakes; }
long FakeObject::live() { return g_liveFakes; }
FakeObject* FakeObject::create() { return new FakeObject(); }

std::wstring FakeObject::key(const std::wstring& name) const {
  std::wstring k = name;
  for (wchar_t& c : k) c = static_cast<wchar_t>(std::towupper(c));
  return k;
}

DISPID FakeObject::idOf(const std::wstring& name) {
  std::wstring k = key(name);
  for (std::size_t i = 0; i < names_.size(); ++i)
    if (names_[i] == k) return static_cast<DISPID>(i + 1);
  names_.push_back(k);
  return static_cast<DISPID>(names_.size());
}

FakeObject& FakeObject::property(const std::wstring& name, V initial) {
  idOf(name);
  properties_[key(name)] = std::move(initial);
  return *this;
}

FakeObject& FakeObject::method(const std::wstring& name, Method m) {
  idOf(name);
  methods_[key(name)] = std::move(m);
  return *this;
}

V FakeObject::value(const std::wstring& name) const {
  auto it = properties_.find(key(name));
  return it == properties_.end() ? V() : it->second;
}

HRESULT FakeObject::QueryInterface(REFIID riid, void** ppv) {
  if (!ppv) return E_POINTER;
  if (IsEqualIID(riid, IID_IUnknown) || IsEqualIID(riid, IID_IDispatch)) {
    *ppv = static_cast<IDispatch*>(this);
    AddRef();
    return S_OK;
  }
  *ppv = nullptr;
  return E_NOINTERFACE;
}
ULONG FakeObject::AddRef() { return ++refs_; }
ULONG FakeObject::Release() {
  ULONG n = --refs_;
  if (n == 0) delete this;
  return n;
}
HRESULT FakeObject::GetTypeInfoCount(UINT* count) {
  *count = 0;
  return S_OK;
}
HRESULT FakeObject::GetTypeInfo(UINT, LCID, ITypeInfo** info) {
  *info = nullptr;
  return E_NOTIMPL;
}
HRESULT FakeObject::GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) {
  HRESULT hr = S_OK;
  for (UINT i = 0; i < count; ++i) {
    std::wstring k = key(names[i]);
    if (i == 0 && (properties_.count(k) || methods_.count(k))) {
      ids[i] = idOf(k);
    } else {
      ids[i] = DISPID_UNKNOWN;
      hr = DISP_E_UNKNOWNNAME;
    }
  }
  return hr;
}
HRESULT FakeObject::Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* params, VARIANT* result, EXCEPINFO*,
                           UINT*) {
  if (id < 1 || static_cast<std::size_t>(id) > names_.size()) return DISP_E_MEMBERNOTFOUND;
  const std::wstring name = names_[static_cast<std::size_t>(id) - 1];
  Call call{name, flags, {}};
  for (UINT i = params->cArgs; i > 0; --i) {
    V copy;
    VariantCopyInd(copy.get(), &params->rgvarg[i - 1]);
    call.args.push_back(copy);
  }
  journal_.push_back(call);
  if (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) {
    if (call.args.empty()) return DISP_E_BADPARAMCOUNT;
    properties_[name] = call.args.back();
    return S_OK;
  }
  auto m = methods_.find(name);
  if (m != methods_.end()) {
    V r = m->second(call.args);
    if (result) VariantCopy(result, r.get());
    return S_OK;
  }
  auto p = properties_.find(name);
  if (p != properties_.end()) {
    if (result) VariantCopy(result, p->second.get());
    return S_OK;
  }
  return DISP_E_MEMBERNOTFOUND;
}

// ---------------------------------------------------------------------------

static std::wstring renderValue(DWORD type, const BYTE* data, DWORD size) {
  std::wostringstream out;
  switch (type) {
    case REG_SZ:
    case REG_EXPAND_SZ: {
      std::wstring s(reinterpret_cast<const wchar_t*>(data), size / sizeof(wchar_t));
      while (!s.empty() && s.back() == L'\0') s.pop_back();
      out << L"sz:" << s;
      break;
    }
    case REG_DWORD:
      out << L"dword:" << *reinterpret_cast<const DWORD*>(data);
      break;
    default:
      out << L"type" << type << L":";
      for (DWORD i = 0; i < size; ++i) out << std::hex << static_cast<unsigned>(data[i]) << L",";
  }
  return out.str();
}

static void walk(HKEY key, const std::wstring& path, Snapshot& out) {
  out[path] = L"<key>";
  DWORD subkeys = 0, maxSubkey = 0, values = 0, maxName = 0, maxData = 0;
  if (RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &subkeys, &maxSubkey, nullptr, &values, &maxName, &maxData,
                       nullptr, nullptr) != ERROR_SUCCESS)
    return;
  std::vector<wchar_t> name(maxName + 2);
  std::vector<BYTE> data(maxData + 2);
  for (DWORD i = 0; i < values; ++i) {
    DWORD nameLength = static_cast<DWORD>(name.size()), dataSize = static_cast<DWORD>(data.size()), type = 0;
    if (RegEnumValueW(key, i, name.data(), &nameLength, nullptr, &type, data.data(), &dataSize) != ERROR_SUCCESS)
      continue;
    out[path + L"|" + std::wstring(name.data(), nameLength)] = renderValue(type, data.data(), dataSize);
  }
  std::vector<std::wstring> children;
  std::vector<wchar_t> child(maxSubkey + 2);
  for (DWORD i = 0; i < subkeys; ++i) {
    DWORD length = static_cast<DWORD>(child.size());
    if (RegEnumKeyExW(key, i, child.data(), &length, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS)
      children.emplace_back(child.data(), length);
  }
  for (const std::wstring& c : children) {
    HKEY sub = nullptr;
    if (RegOpenKeyExW(key, c.c_str(), 0, KEY_READ, &sub) != ERROR_SUCCESS) continue;
    walk(sub, path + L"\\" + c, out);
    RegCloseKey(sub);
  }
}

Snapshot snapshot(HKEY root, const std::wstring& path) {
  Snapshot s;
  HKEY key = nullptr;
  if (RegOpenKeyExW(root, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) return s;
  walk(key, path, s);
  RegCloseKey(key);
  return s;
}

std::string differences(const Snapshot& before, const Snapshot& after) {
  std::ostringstream out;
  int shown = 0;
  for (const auto& [k, v] : after) {
    auto it = before.find(k);
    if (it == before.end() || it->second != v) {
      if (++shown <= 40) out << "  + " << narrow(k) << " = " << narrow(v) << "\n";
    }
  }
  for (const auto& [k, v] : before) {
    if (!after.count(k)) {
      if (++shown <= 40) out << "  - " << narrow(k) << " = " << narrow(v) << "\n";
    }
  }
  if (shown > 40) out << "  ... " << shown << " differences in all\n";
  return out.str();
}

std::wstring regText(HKEY root, const std::wstring& path, const wchar_t* name) {
  wchar_t buffer[1024] = {};
  DWORD size = sizeof(buffer);
  if (RegGetValueW(root, path.c_str(), name, RRF_RT_REG_SZ, nullptr, buffer, &size) != ERROR_SUCCESS)
    return L"<missing>";
  return buffer;
}

bool keyExists(HKEY root, const std::wstring& path) {
  HKEY key = nullptr;
  if (RegOpenKeyExW(root, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) return false;
  RegCloseKey(key);
  return true;
}

// ---------------------------------------------------------------------------

void ComEnvironment::SetUp() { ASSERT_TRUE(SUCCEEDED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))); }
void ComEnvironment::TearDown() { CoUninitialize(); }

[[maybe_unused]] static testing::Environment* const g_environment =
    testing::AddGlobalTestEnvironment(new ComEnvironment);

void ComObjectTest::SetUpTestSuite() {
  ASSERT_NE(Server::get().module(), nullptr);
  ASSERT_EQ(S_OK, Server::get().registerServer());
}

void ComObjectTest::TearDownTestSuite() { EXPECT_EQ(S_OK, Server::get().unregisterServer()); }

void ComObjectTest::TearDown() {
  EXPECT_EQ(0, FakeObject::live()) << "objects handed to the server were not all released";
  EXPECT_EQ(S_OK, Server::get().canUnloadNow()) << "objects of the server are still alive";
}

IDispatch* ComObjectTest::create(const wchar_t* progId) {
  CLSID clsid{};
  HRESULT hr = CLSIDFromProgID(progId, &clsid);
  EXPECT_EQ(S_OK, hr) << "CLSIDFromProgID " << narrow(progId);
  if (FAILED(hr)) return nullptr;
  IDispatch* d = nullptr;
  hr = CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch, reinterpret_cast<void**>(&d));
  EXPECT_EQ(S_OK, hr) << "CoCreateInstance " << narrow(progId);
  return d;
}

}  // namespace comtest
