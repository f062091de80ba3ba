// The public creatable classes of the server, in one table used by the class
// factories and by registration.
#pragma once

#include <windows.h>

#include <cstddef>

#include "automation/text.h"

namespace lumo::com {

struct PublicClass {
  const CLSID* clsid;
  const IID* iid;                   // its default (dual) interface
  const char16_t* name;             // class name; ProgID "LumoSmsManager.<name>"
  const char16_t* interfaceName;    // "_<name>"
  const char16_t* description;
  HRESULT (*create)(REFIID riid, void** ppv);
};

const PublicClass* publicClasses();
std::size_t publicClassCount();
const PublicClass* findPublicClass(REFCLSID clsid);

HRESULT createSmsManager(REFIID riid, void** ppv) noexcept;
HRESULT createParse(REFIID riid, void** ppv) noexcept;
HRESULT createDispBuilder(REFIID riid, void** ppv) noexcept;
HRESULT createSaveFile(REFIID riid, void** ppv) noexcept;

}  // namespace lumo::com
