// The core's services over the real Windows platform of the add-in: machine name,
// IP address through the host library, the ANSI code page, help and window stacking.
#include <gtest/gtest.h>
#include <windows.h>

#include "com/module.h"
#include "host/platform.h"
#include "host/services.h"
#include "tests/support/win/text.h"

namespace lumo::com {
void installPlatform();
void uninstallPlatform();
}  // namespace lumo::com

using namespace lumo;
using lumo::test::u16;

namespace {

struct WindowsPlatformTest : ::testing::Test {
  void SetUp() override {
    ASSERT_TRUE(SUCCEEDED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)));
    com::installPlatform();
  }
  void TearDown() override {
    com::uninstallPlatform();
    CoUninitialize();
  }
};

ustring systemComputerName() {
  wchar_t buf[MAX_COMPUTERNAME_LENGTH + 1];
  DWORD n = MAX_COMPUTERNAME_LENGTH + 1;
  if (!GetComputerNameW(buf, &n)) return {};
  return u16(std::wstring_view(buf, n));
}

}  // namespace

TEST_F(WindowsPlatformTest, MachineNameIsTheComputerNameWithoutPadding) {
  const ustring name = getMachineName();
  EXPECT_FALSE(name.empty());
  EXPECT_EQ(name, systemComputerName());
  EXPECT_EQ(name.find(u'\0'), ustring::npos);
  EXPECT_EQ(name.find(u' '), ustring::npos);
}

TEST_F(WindowsPlatformTest, IpAddressComesFromTheHostLibraryBesideTheProgram) {
  // vtappsvr.dll is copied next to this test program, where LoadLibrary finds it first.
  const ustring ip = getIPAddress();
  ASSERT_FALSE(ip.empty());
  int dots = 0;
  for (char16_t c : ip) {
    if (c == u'.') ++dots;
    else EXPECT_TRUE(c >= u'0' && c <= u'9') << toUtf8(ip);
  }
  EXPECT_EQ(dots, 3) << toUtf8(ip);
}

TEST_F(WindowsPlatformTest, ChineseTextRoundTripsThroughTheAnsiCodePage) {
  // The test prefix runs with the Chinese ANSI code page (936).
  ASSERT_EQ(GetACP(), 936u);
  const ustring text = u"发送短信 SMS 手机号码";
  const std::string bytes = platform().toAnsi(text);
  EXPECT_EQ(bytes.size(), 2u * 8 + 5);  // two bytes per Chinese character
  EXPECT_EQ(platform().fromAnsi(bytes), text);
  // A character outside the code page is replaced rather than dropped.
  EXPECT_EQ(platform().toAnsi(u"\u0E01"), "?");
}

TEST_F(WindowsPlatformTest, HelpWithoutItsFileShowsNothingAndDoesNotFail) {
  HWND w = CreateWindowExW(0, L"STATIC", L"help owner", WS_OVERLAPPEDWINDOW, 0, 0, 100, 100, nullptr, nullptr,
                           nullptr, nullptr);
  ASSERT_NE(w, nullptr);
  EXPECT_NO_THROW(showHelp(reinterpret_cast<intptr_t>(w)));
  DestroyWindow(w);
}

TEST_F(WindowsPlatformTest, ModuleDirectoryIsTheFolderOfTheLoadedModule) {
  wchar_t path[MAX_PATH];
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  const ustring full = u16(path);
  EXPECT_EQ(platform().moduleDirectory(), full.substr(0, full.find_last_of(u'\\')));
}

TEST_F(WindowsPlatformTest, WindowStackingGoesToTheSystem) {
  HWND w = CreateWindowExW(0, L"STATIC", L"stacked", WS_OVERLAPPEDWINDOW, 10, 10, 100, 100, nullptr, nullptr,
                           nullptr, nullptr);
  ASSERT_NE(w, nullptr);
  EXPECT_NE(platform().setWindowPos(reinterpret_cast<intptr_t>(w), -1, 0, 0, 0, 0, SWP_NOSIZE | SWP_NOACTIVATE), 0);
  EXPECT_TRUE(GetWindowLongW(w, GWL_EXSTYLE) & WS_EX_TOPMOST);
  DestroyWindow(w);
}
