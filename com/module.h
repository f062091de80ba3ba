// State of the in-process server as a whole: its module handle, the objects and
// locks that keep it loaded, and the type library embedded in it.
#pragma once

#include <windows.h>
#include <oaidl.h>

#include <string>

#include "automation/text.h"

namespace lumo::com {

HMODULE moduleHandle();
void setModuleHandle(HMODULE module);  // DllMain
// Full path of this DLL and its directory (no trailing separator).
ustring modulePath();
ustring moduleDirectory();

// Live instances of our classes. Each object counts from construction to destruction.
void objectCreated();
void objectDestroyed();
long liveComObjects();

// IClassFactory::LockServer.
void lockServer(bool lock);
long serverLocks();

// Whether nothing keeps the module loaded: no object of ours (classes, bridges,
// enumerators) is alive and no lock is held. Drops the cached type library when so.
bool canUnload();

// The embedded type library (resource TYPELIB 1), loaded on first use.
HRESULT typeLib(ITypeLib** out);
// The type description of a dual interface: as the library lists it (the
// dispinterface, what IDispatch::GetTypeInfo hands out) and its vtable view (what
// DispInvoke calls through).
HRESULT dispatchTypeInfo(REFIID iid, ITypeInfo** out);
HRESULT interfaceTypeInfo(REFIID iid, ITypeInfo** out);
// The type description of a coclass (IProvideClassInfo).
HRESULT classTypeInfo(REFCLSID clsid, ITypeInfo** out);

// Installs the Windows platform of the core (once per load).
void installPlatform();
void uninstallPlatform();

}  // namespace lumo::com
