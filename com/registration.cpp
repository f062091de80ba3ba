// Self-registration, machine-wide (HKLM\Software\Classes: DllRegisterServer) or for
// the current user only (HKCU\Software\Classes: DllInstall with "user", for installs
// without administrator rights). The type library is registered by writing its keys
// in the same hive, so that both hives get the same entries and unregistration can
// remove exactly what registration wrote. What is written comes from the registry
// table (com/registry.tsv, expanded into registry_rows.h), from which the installer's
// Registry table is made too.
#include <windows.h>
#include <objbase.h>

#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "automation/win/com_ptr.h"
#include "com/exports.h"
#include "com/module.h"
#include "com/typelib.h"
#include "registry_rows.h"

namespace lumo::com {
namespace {

using lumo::wz;

#ifdef _WIN64
constexpr char kPlatform[] = "win64";
#else
constexpr char kPlatform[] = "win32";
#endif
static_assert(std::string_view(kPlatform) == LUMO_REGISTRY_PLATFORM,
              "registry_rows.h was generated for the other platform");

// One value to write: key (below Software\Classes), value name ("" = default), text.
struct Entry {
  ustring key;
  ustring name;
  ustring value;
};

// The keys that belong to us entirely; unregistration deletes each with its subtree.
struct Layout {
  std::vector<Entry> entries;
  std::vector<ustring> ownedKeys;
  std::vector<ustring> emptyKeys;  // keys written without values (markers)
};

// A row's text with {dll} and {dir} replaced by this DLL's path and folder.
ustring withModule(const char16_t* text, const ustring& path, const ustring& directory) {
  ustring out(text);
  for (auto [token, replacement] : {std::pair<std::u16string_view, const ustring*>{u"{dll}", &path},
                                    std::pair<std::u16string_view, const ustring*>{u"{dir}", &directory}}) {
    for (std::size_t at = out.find(token); at != ustring::npos; at = out.find(token, at + replacement->size()))
      out.replace(at, token.size(), *replacement);
  }
  return out;
}

// The rows of the registry table (com/registry.tsv), for this module's location.
Layout layout() {
  Layout l;
  const ustring path = modulePath();
  const ustring directory = moduleDirectory();
  for (const registry::Row& row : registry::kRows) {
    switch (row.kind) {
      case registry::Kind::Owned:
        l.ownedKeys.emplace_back(row.key);
        break;
      case registry::Kind::Empty:
        l.emptyKeys.emplace_back(row.key);
        break;
      case registry::Kind::Value:
        l.entries.push_back({row.key, row.name, withModule(row.value, path, directory)});
        break;
    }
  }
  return l;
}

class Key {
 public:
  Key() = default;
  Key(const Key&) = delete;
  Key& operator=(const Key&) = delete;
  ~Key() {
    if (h_) RegCloseKey(h_);
  }
  HKEY* put() { return &h_; }
  HKEY get() const { return h_; }

 private:
  HKEY h_ = nullptr;
};

HRESULT fromStatus(LONG status) { return status == ERROR_SUCCESS ? S_OK : HRESULT_FROM_WIN32(status); }

HRESULT createKey(HKEY classes, const ustring& path, Key& key) {
  return fromStatus(RegCreateKeyExW(classes, wz(path), 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_WRITE, nullptr,
                                    key.put(), nullptr));
}

HRESULT writeEntry(HKEY classes, const Entry& e) {
  Key key;
  HRESULT hr = createKey(classes, e.key, key);
  if (FAILED(hr)) return hr;
  const BYTE* data = reinterpret_cast<const BYTE*>(e.value.c_str());
  DWORD bytes = static_cast<DWORD>((e.value.size() + 1) * sizeof(char16_t));
  return fromStatus(RegSetValueExW(key.get(), e.name.empty() ? nullptr : wz(e.name), 0, REG_SZ, data, bytes));
}

bool hasSubkeysOrValues(HKEY classes, const ustring& path) {
  Key key;
  if (RegOpenKeyExW(classes, wz(path), 0, KEY_READ, key.put()) != ERROR_SUCCESS) return true;
  DWORD subkeys = 0, values = 0;
  if (RegQueryInfoKeyW(key.get(), nullptr, nullptr, nullptr, &subkeys, nullptr, nullptr, &values, nullptr, nullptr,
                       nullptr, nullptr) != ERROR_SUCCESS)
    return true;
  return subkeys != 0 || values != 0;
}

// Deletes a key when it exists and holds nothing (a container our registration
// may have created, such as the LIBID key or CLSID under a fresh user hive).
void deleteIfEmpty(HKEY classes, const ustring& path) {
  if (!hasSubkeysOrValues(classes, path)) RegDeleteKeyW(classes, wz(path));
}

HRESULT unregisterIn(HKEY classes) {
  HRESULT result = S_OK;
  for (const ustring& key : layout().ownedKeys) {
    LONG status = RegDeleteTreeW(classes, wz(key));
    if (status != ERROR_SUCCESS && status != ERROR_FILE_NOT_FOUND && SUCCEEDED(result)) result = fromStatus(status);
  }
  deleteIfEmpty(classes, ustring(u"TypeLib\\") + registry::kLibId);
  for (const char16_t* container : {u"CLSID", u"Interface", u"TypeLib"}) deleteIfEmpty(classes, container);
  return result;
}

HRESULT registerIn(HKEY classes) {
  // Refuse to register a module we cannot describe: its type library must load.
  lumo::com::ComPtr<ITypeLib> lib;
  HRESULT hr = typeLib(lib.put());
  if (FAILED(hr)) return hr;
  if (modulePath().empty()) return E_UNEXPECTED;

  Layout l = layout();
  for (const Entry& e : l.entries) {
    hr = writeEntry(classes, e);
    if (FAILED(hr)) break;
  }
  if (SUCCEEDED(hr)) {
    for (const ustring& path : l.emptyKeys) {
      Key key;
      hr = createKey(classes, path, key);
      if (FAILED(hr)) break;
    }
  }
  if (FAILED(hr)) unregisterIn(classes);
  return hr;
}

enum class Hive { Machine, User };

HRESULT updateHive(Hive hive, bool install) {
  HKEY root = hive == Hive::Machine ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER;
  const ustring path = u"Software\\Classes";
  if (install) {
    Key classes;
    LONG status = RegCreateKeyExW(root, wz(path), 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_READ | KEY_WRITE, nullptr,
                                  classes.put(), nullptr);
    if (status != ERROR_SUCCESS) return fromStatus(status);
    return registerIn(classes.get());
  }
  HRESULT hr = S_OK;
  {
    // Nothing to remove from a hive without classes; creating the key here would
    // itself change the hive.
    Key classes;
    LONG status = RegOpenKeyExW(root, wz(path), 0, KEY_READ | KEY_WRITE, classes.put());
    if (status == ERROR_FILE_NOT_FOUND) return S_OK;
    if (status != ERROR_SUCCESS) return fromStatus(status);
    hr = unregisterIn(classes.get());
  }
  // A user hive may have had no Software\Classes before we registered (Windows
  // always keeps one, a fresh Wine prefix has none): an empty one we leave goes.
  if (hive == Hive::User) deleteIfEmpty(root, path);
  return hr;
}

// The registration entry points must not let an exception out.
HRESULT withClassesKey(Hive hive, bool install) noexcept {
  try {
    return updateHive(hive, install);
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  } catch (...) {
    return E_UNEXPECTED;
  }
}

bool isUserCommand(LPCWSTR command) {
  return command && CompareStringOrdinal(command, -1, L"user", -1, TRUE) == CSTR_EQUAL;
}

}  // namespace
}  // namespace lumo::com

STDAPI DllRegisterServer() { return lumo::com::withClassesKey(lumo::com::Hive::Machine, true); }

STDAPI DllUnregisterServer() { return lumo::com::withClassesKey(lumo::com::Hive::Machine, false); }

// "user": register or unregister for the current user only; no command line: the
// same as DllRegisterServer / DllUnregisterServer.
STDAPI DllInstall(BOOL install, LPCWSTR command) {
  if (lumo::com::isUserCommand(command)) return lumo::com::withClassesKey(lumo::com::Hive::User, install != FALSE);
  if (!command || !*command) return lumo::com::withClassesKey(lumo::com::Hive::Machine, install != FALSE);
  return E_INVALIDARG;
}
