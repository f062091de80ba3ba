// The public creatable classes of the server, in one table used by the class
// factories. What registration writes for them comes from com/registry.tsv.
#pragma once

#include <windows.h>

#include <cstddef>

#include "automation/text.h"

namespace lumo::com {

struct PublicClass {
  const CLSID* clsid;
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
