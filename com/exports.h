// The DLL's entry points (exported by name through LumoSmsManager.def), declared
// as the system calls them: stdcall, which on i686 is part of the type and of the
// decorated symbol. A definition that sees this declaration takes its convention;
// one that sees none would be cdecl, and the linker's name fix-up (needed for the
// undecorated names of the .def file) would export it all the same.
#pragma once

#include <windows.h>

STDAPI DllGetClassObject(REFCLSID clsid, REFIID riid, LPVOID* ppv);
STDAPI DllCanUnloadNow(void);
STDAPI DllRegisterServer(void);
STDAPI DllUnregisterServer(void);
STDAPI DllInstall(BOOL install, LPCWSTR command);
