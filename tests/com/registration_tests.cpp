// Self-registration through the DLL's exports, machine-wide and per user: what is
// written, and that unregistering leaves each hive exactly as it was.
#include "com_support.h"

namespace lumo::com {
namespace {

const std::wstring kClasses = L"Software\\Classes";
const wchar_t* const kClassNames[] = {L"clsSmsManager", L"clsParse", L"clsDispBuilder", L"clsSaveFile"};

bool samePath(const std::wstring& a, const std::wstring& b) {
  return CompareStringOrdinal(a.c_str(), -1, b.c_str(), -1, TRUE) == CSTR_EQUAL;
}

class Registration : public testing::Test {
 protected:
  void TearDown() override {
    // Whatever a failed expectation left behind goes, so later tests start clean.
    server().unregisterServer();
    server().install(false, L"user");
    EXPECT_EQ(S_OK, server().canUnloadNow());
  }

  void expectRegistered(HKEY root) {
    const std::wstring libid = guidText(recordedGuid(L"LumoSmsManager"));
    const std::wstring path = dllPath();
    for (const wchar_t* name : kClassNames) {
      SCOPED_TRACE(u8(name));
      const std::wstring clsid = guidText(recordedGuid(name));
      const std::wstring progId = std::wstring(L"LumoSmsManager.") + name;
      const std::wstring key = kClasses + L"\\CLSID\\" + clsid;
      EXPECT_TRUE(samePath(path, regText(root, key + L"\\InprocServer32")))
          << u8(regText(root, key + L"\\InprocServer32"));
      EXPECT_EQ(L"Apartment", regText(root, key + L"\\InprocServer32", L"ThreadingModel"));
      EXPECT_EQ(progId + L".1", regText(root, key + L"\\ProgID"));
      EXPECT_EQ(progId, regText(root, key + L"\\VersionIndependentProgID"));
      EXPECT_EQ(libid, regText(root, key + L"\\TypeLib"));
      EXPECT_EQ(L"1.0", regText(root, key + L"\\Version"));

      EXPECT_EQ(clsid, regText(root, kClasses + L"\\" + progId + L"\\CLSID"));
      EXPECT_EQ(progId + L".1", regText(root, kClasses + L"\\" + progId + L"\\CurVer"));
      EXPECT_EQ(clsid, regText(root, kClasses + L"\\" + progId + L".1\\CLSID"));

      const std::wstring itf = kClasses + L"\\Interface\\" + guidText(recordedGuid(std::wstring(L"_") + name));
      EXPECT_EQ(std::wstring(L"_") + name, regText(root, itf));
      EXPECT_EQ(L"{00020424-0000-0000-C000-000000000046}", regText(root, itf + L"\\ProxyStubClsid32"));
      EXPECT_EQ(L"{00020424-0000-0000-C000-000000000046}", regText(root, itf + L"\\ProxyStubClsid"));
      EXPECT_EQ(libid, regText(root, itf + L"\\TypeLib"));
      EXPECT_EQ(L"1.0", regText(root, itf + L"\\TypeLib", L"Version"));
    }
    const std::wstring lib = kClasses + L"\\TypeLib\\" + libid + L"\\1.0";
    const wchar_t* platform = sizeof(void*) == 8 ? L"\\0\\win64" : L"\\0\\win32";
    EXPECT_TRUE(samePath(path, regText(root, lib + platform))) << u8(regText(root, lib + platform));
    EXPECT_EQ(L"0", regText(root, lib + L"\\FLAGS"));
    std::wstring dir = path.substr(0, path.find_last_of(L'\\'));
    EXPECT_TRUE(samePath(dir, regText(root, lib + L"\\HELPDIR"))) << u8(regText(root, lib + L"\\HELPDIR"));
  }

  void expectUnchanged(const Snapshot& before, HKEY root, const char* what) {
    Snapshot after = snapshot(root, kClasses);
    EXPECT_TRUE(before == after) << what << " changed:\n" << differences(before, after);
  }
};

TEST_F(Registration, MachineWideWritesTheClassesAndUnregisteringRestoresTheHive) {
  Snapshot machine = snapshot(HKEY_LOCAL_MACHINE, kClasses);
  Snapshot user = snapshot(HKEY_CURRENT_USER, kClasses);
  ASSERT_FALSE(machine.empty());
  ASSERT_EQ(S_OK, server().registerServer());
  expectRegistered(HKEY_LOCAL_MACHINE);
  expectUnchanged(user, HKEY_CURRENT_USER, "the user's classes");

  // The registration is one COM itself can use.
  CLSID clsid{};
  EXPECT_EQ(S_OK, CLSIDFromProgID(L"LumoSmsManager.clsParse", &clsid));
  EXPECT_EQ(guidText(recordedGuid(L"clsParse")), guidText(clsid));
  ITypeLib* lib = nullptr;
  ASSERT_EQ(S_OK, LoadRegTypeLib(recordedGuid(L"LumoSmsManager"), 1, 0, LOCALE_NEUTRAL, &lib));
  BSTR name = nullptr;
  lib->GetDocumentation(-1, &name, nullptr, nullptr, nullptr);
  EXPECT_EQ(std::wstring(L"LumoSmsManager"), std::wstring(name ? name : L""));
  SysFreeString(name);
  lib->Release();

  ASSERT_EQ(S_OK, server().unregisterServer());
  expectUnchanged(machine, HKEY_LOCAL_MACHINE, "the machine's classes");
  EXPECT_NE(S_OK, CLSIDFromProgID(L"LumoSmsManager.clsParse", &clsid));
}

TEST_F(Registration, PerUserWritesOnlyTheUsersClassesAndUnregisteringRestoresThem) {
  Snapshot machine = snapshot(HKEY_LOCAL_MACHINE, kClasses);
  Snapshot user = snapshot(HKEY_CURRENT_USER, kClasses);
  ASSERT_EQ(S_OK, server().install(true, L"user"));
  expectRegistered(HKEY_CURRENT_USER);
  expectUnchanged(machine, HKEY_LOCAL_MACHINE, "the machine's classes");
  ASSERT_EQ(S_OK, server().install(false, L"user"));
  expectUnchanged(user, HKEY_CURRENT_USER, "the user's classes");
}

TEST_F(Registration, UserCommandIgnoresLetterCase) {
  Snapshot user = snapshot(HKEY_CURRENT_USER, kClasses);
  ASSERT_EQ(S_OK, server().install(true, L"USER"));
  EXPECT_TRUE(keyExists(HKEY_CURRENT_USER, kClasses + L"\\LumoSmsManager.clsParse"));
  ASSERT_EQ(S_OK, server().install(false, L"User"));
  expectUnchanged(user, HKEY_CURRENT_USER, "the user's classes");
}

TEST_F(Registration, InstallWithoutCommandLineIsMachineWide) {
  Snapshot machine = snapshot(HKEY_LOCAL_MACHINE, kClasses);
  ASSERT_EQ(S_OK, server().install(true, nullptr));
  expectRegistered(HKEY_LOCAL_MACHINE);
  ASSERT_EQ(S_OK, server().install(false, L""));
  expectUnchanged(machine, HKEY_LOCAL_MACHINE, "the machine's classes");
}

TEST_F(Registration, UnknownInstallCommandChangesNothing) {
  Snapshot machine = snapshot(HKEY_LOCAL_MACHINE, kClasses);
  Snapshot user = snapshot(HKEY_CURRENT_USER, kClasses);
  EXPECT_EQ(E_INVALIDARG, server().install(true, L"everyone"));
  expectUnchanged(machine, HKEY_LOCAL_MACHINE, "the machine's classes");
  expectUnchanged(user, HKEY_CURRENT_USER, "the user's classes");
}

TEST_F(Registration, RegisteringTwiceAndUnregisteringTwiceIsHarmless) {
  Snapshot machine = snapshot(HKEY_LOCAL_MACHINE, kClasses);
  ASSERT_EQ(S_OK, server().registerServer());
  Snapshot once = snapshot(HKEY_LOCAL_MACHINE, kClasses);
  ASSERT_EQ(S_OK, server().registerServer());
  expectUnchanged(once, HKEY_LOCAL_MACHINE, "a second registration");
  ASSERT_EQ(S_OK, server().unregisterServer());
  ASSERT_EQ(S_OK, server().unregisterServer());
  expectUnchanged(machine, HKEY_LOCAL_MACHINE, "the machine's classes");
}

TEST_F(Registration, UnregisteringLeavesOtherVersionsOfTheLibraryAlone) {
  // Another version of the same library registered by someone else survives.
  const std::wstring other = kClasses + L"\\TypeLib\\" + guidText(recordedGuid(L"LumoSmsManager")) + L"\\2.0";
  HKEY key = nullptr;
  ASSERT_EQ(ERROR_SUCCESS, RegCreateKeyExW(HKEY_LOCAL_MACHINE, other.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, &key,
                                           nullptr));
  RegCloseKey(key);
  ASSERT_EQ(S_OK, server().registerServer());
  ASSERT_EQ(S_OK, server().unregisterServer());
  EXPECT_TRUE(keyExists(HKEY_LOCAL_MACHINE, other));
  EXPECT_FALSE(keyExists(HKEY_LOCAL_MACHINE,
                         kClasses + L"\\TypeLib\\" + guidText(recordedGuid(L"LumoSmsManager")) + L"\\1.0"));
  RegDeleteTreeW(HKEY_LOCAL_MACHINE, (kClasses + L"\\TypeLib\\" + guidText(recordedGuid(L"LumoSmsManager"))).c_str());
}

}  // namespace
}  // namespace lumo::com
