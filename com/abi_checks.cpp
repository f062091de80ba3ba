// Compile-time checks of what the system and compiled hosts take for granted about
// the DLL where the i686 product and the x86_64 build differ. Compiled into the
// DLL in both Windows trees; it holds no code. The COM classes' method types and
// the automation layouts are checked where every class is compiled
// (automation/win/com_abi.h, through com/dual.h); here are the DLL's exports and
// the published enumerations.
#include <windows.h>
#include <objbase.h>

#include <type_traits>

#include "automation/win/com_abi.h"
#include "com/exports.h"
#include "com/typelib.h"

namespace lumo::com::abi_checks {
namespace {

// How the system calls each entry point: COM through its own pointer types for the
// class-object look-up and the unload question, the registration tools with no
// argument, or with the install flag and the command line.
namespace called_as {
using DllGetClassObject = LPFNGETCLASSOBJECT;
using DllCanUnloadNow = LPFNCANUNLOADNOW;
using DllRegisterServer = HRESULT(STDAPICALLTYPE*)();
using DllUnregisterServer = HRESULT(STDAPICALLTYPE*)();
using DllInstall = HRESULT(STDAPICALLTYPE*)(BOOL, LPCWSTR);
}  // namespace called_as

static_assert(std::is_same_v<LPFNGETCLASSOBJECT, HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, LPVOID*)> &&
                  std::is_same_v<LPFNCANUNLOADNOW, HRESULT(STDAPICALLTYPE*)()>,
              "COM calls the class-object look-up and the unload question stdcall");

// Every name LumoSmsManager.def exports (the list is read from it when the tree is
// configured): a name without a known calling type, or declared otherwise, fails here.
#define LUMO_DEF_EXPORT(name)                                                  \
  static_assert(std::is_same_v<decltype(&::name), called_as::name>,             \
                #name " is declared (com/exports.h) as the system calls it");
#include "def_exports.inc"
#undef LUMO_DEF_EXPORT

// The published enumerations are [v1_enum]: 32 bits in the type library, so a
// property of such a type reads and writes exactly a long through its pointer.
template <class... E>
constexpr bool kLongSized = ((sizeof(E) == sizeof(LONG)) && ...);
static_assert(kLongSized<Enu_Func_AccessMask, Enu_Func_ObjectType, Enu_Func_ObjectID, Enum_MsgBoxType,
                         Enum_MsgBoxResult, Enum_ColType, Enum_WindowPos, Enum_Action>,
              "every published enumeration is as wide as a long");

}  // namespace
}  // namespace lumo::com::abi_checks
