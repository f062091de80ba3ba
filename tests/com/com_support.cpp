#include "com_support.h"

#include <cwctype>
#include <fstream>
#include <sstream>

namespace lumo::com {

std::wstring dllPath() { return lumo::test::wide(lumo::test::windowsPath(LUMO_COM_DLL)); }

GUID recordedGuid(const std::wstring& name) {
  std::ifstream in(u8(lumo::test::windowsPath(LUMO_COM_GUIDS)));
  std::string line;
  while (std::getline(in, line)) {
    if (line.empty() || line[0] == '#') continue;
    std::istringstream fields(line);
    std::string kind, entry, guid;
    fields >> kind >> entry >> guid;
    if (lumo::test::wide(lumo::fromUtf8(entry)) != name) continue;
    GUID g{};
    std::wstring braced = L"{" + lumo::test::wide(lumo::fromUtf8(guid)) + L"}";
    if (FAILED(CLSIDFromString(braced.c_str(), &g))) ADD_FAILURE() << "bad GUID for " << entry << ": " << guid;
    return g;
  }
  ADD_FAILURE() << "no GUID recorded for " << u8(name);
  return GUID{};
}

std::wstring guidText(REFGUID guid) {
  wchar_t buffer[40] = {};
  StringFromGUID2(guid, buffer, 40);
  return buffer;
}

// ---------------------------------------------------------------------------

lumo::test::ServerDll& server() {
  static lumo::test::ServerDll dll(LUMO_COM_DLL);
  static const bool checked = [] {
    if (!dll.loaded()) {
      ADD_FAILURE() << "cannot load " << dll.path() << " (error " << GetLastError() << ")";
      return false;
    }
    for (const char* name : {"DllRegisterServer", "DllUnregisterServer", "DllInstall", "DllCanUnloadNow",
                             "DllGetClassObject"})
      if (!dll.exported<FARPROC>(name)) ADD_FAILURE() << "LumoSmsManager.dll does not export " << name;
    return true;
  }();
  (void)checked;
  return dll;
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
      if (++shown <= 40) out << "  + " << u8(k) << " = " << u8(v) << "\n";
    }
  }
  for (const auto& [k, v] : before) {
    if (!after.count(k)) {
      if (++shown <= 40) out << "  - " << u8(k) << " = " << u8(v) << "\n";
    }
  }
  if (shown > 40) out << "  ... " << shown << " differences in all\n";
  return out.str();
}

// ---------------------------------------------------------------------------

void ComEnvironment::SetUp() { ASSERT_TRUE(SUCCEEDED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))); }
void ComEnvironment::TearDown() { CoUninitialize(); }

[[maybe_unused]] static testing::Environment* const g_environment =
    testing::AddGlobalTestEnvironment(new ComEnvironment);

void ComObjectTest::SetUpTestSuite() {
  ASSERT_NE(server().module(), nullptr);
  ASSERT_EQ(S_OK, server().registerServer());
}

void ComObjectTest::TearDownTestSuite() { EXPECT_EQ(S_OK, server().unregisterServer()); }

void ComObjectTest::TearDown() {
  release();
  EXPECT_EQ(0, FakeObject::live()) << "objects handed to the server were not all released";
  EXPECT_EQ(S_OK, server().canUnloadNow()) << "objects of the server are still alive";
}

IDispatch* ComObjectTest::keep(const wchar_t* progId) {
  IDispatch* d = create(progId);
  if (d) kept_.push_back(d);
  return d;
}

void ComObjectTest::release() {
  for (IDispatch* d : kept_) d->Release();
  kept_.clear();
}

IDispatch* ComObjectTest::create(const wchar_t* progId) {
  CLSID clsid{};
  HRESULT hr = CLSIDFromProgID(progId, &clsid);
  EXPECT_EQ(S_OK, hr) << "CLSIDFromProgID " << u8(progId);
  if (FAILED(hr)) return nullptr;
  IDispatch* d = nullptr;
  hr = CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch, reinterpret_cast<void**>(&d));
  EXPECT_EQ(S_OK, hr) << "CoCreateInstance " << u8(progId);
  return d;
}

}  // namespace lumo::com
