// The help keys of the real display window: F1 pressed on the window (through the
// system's input queue, to whichever control has the focus) and the two help
// items of its menu. The window runs in this process over a platform that records
// every help call; its help window is a stand-in that the re-stacking call moves
// for real, so that "shown, not on top, not activated" can be seen.
#include <windows.h>
#include <commctrl.h>

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>

#include "display/displayer.h"
#include "display/win/windows.h"
#include "fake_platform.h"
#include "tests/support/win/pump.h"

namespace lumo::display::test {
namespace {

using lumo::win32::displayer::kClass;
using lumo::win32::displayer::kMenuIdBase;
using lumo::test::pumpFor;

// The platform of these tests: help calls are recorded; the help window that
// HtmlHelp would open is a small hidden window of our own (or none, as when the
// help file is missing), and the re-stacking call is the system's own.
class HelpPlatform : public lumo::test::FakePlatform {
 public:
  enum class Help { Opens, MissingFile, MissingLibrary };
  Help help = Help::Opens;
  HWND helpWindow = nullptr;

  intptr_t htmlHelp(intptr_t window, const std::string& path, uint32_t command, uintptr_t data) override {
    htmlHelpThrows = help == Help::MissingLibrary;
    FakePlatform::htmlHelp(window, path, command, data);  // records, raises for a missing library
    if (help == Help::MissingFile) return 0;
    if (!helpWindow)
      helpWindow = CreateWindowExW(0, L"Static", L"help", WS_POPUP | WS_BORDER, 40, 40, 200, 120,
                                   nullptr, nullptr, GetModuleHandleW(nullptr), nullptr);
    return reinterpret_cast<intptr_t>(helpWindow);
  }
  int32_t setWindowPos(intptr_t window, intptr_t insertAfter, int32_t x, int32_t y, int32_t cx, int32_t cy,
                       uint32_t flags) override {
    FakePlatform::setWindowPos(window, insertAfter, x, y, cx, cy, flags);
    return SetWindowPos(reinterpret_cast<HWND>(window), reinterpret_cast<HWND>(insertAfter), x, y, cx, cy, flags);
  }
  ~HelpPlatform() override {
    if (helpWindow) DestroyWindow(helpWindow);
  }
};

class DisplayHelpKeys : public ::testing::Test {
 protected:
  void SetUp() override {
    window_ = lumo::win32::makeListWindow(nullptr);
    window_->load();
    window_->setCaption(u"帮助键测试");
    window_->setTitles(u"姓名\t数量|");
    window_->setColumnCount(2);
    auto rows = std::make_shared<Collection>();
    rows->add(Variant(ustring(u"张三\t1")));
    rows->add(Variant(ustring(u"李四\t2")));
    window_->setRowSets(rows);
    window_->setRowCount(3);
    window_->show(false);
    pumpFor(200);
    hwnd_ = FindWindowW(kClass, L"帮助键测试");
    ASSERT_NE(nullptr, hwnd_);
    list_ = FindWindowExW(hwnd_, nullptr, WC_LISTVIEWW, nullptr);
    ASSERT_NE(nullptr, list_);
  }
  void TearDown() override {
    if (hwnd_ && IsWindow(hwnd_)) SendMessageW(hwnd_, WM_CLOSE, 0, 0);
    window_.reset();
    pumpFor(50);
  }

  // Presses and releases a key as the keyboard does: into the system's input
  // queue, from where it reaches the control that has the focus.
  void press(WORD vk) {
    INPUT in[2] = {};
    in[0].type = in[1].type = INPUT_KEYBOARD;
    in[0].ki.wVk = in[1].ki.wVk = vk;
    in[1].ki.dwFlags = KEYEVENTF_KEYUP;
    ASSERT_EQ(2u, SendInput(2, in, sizeof(INPUT)));
    pumpFor(150);
  }
  void menu(DisplayMenu item) {
    SendMessageW(hwnd_, WM_COMMAND, MAKEWPARAM(kMenuIdBase + static_cast<int>(item), 0), 0);
    pumpFor(50);
  }
  // The path the help is asked for: the add-in's folder (the platform's
  // moduleDir) and the help file's name.
  static std::string expectedPath() { return "C:\\Program Files\\Lumo\\SmsManager\\MobileService.chm"; }

  HelpPlatform platform;
  lumo::test::FakePlatformScope scope{platform};
  std::shared_ptr<DisplayerPresenter> window_;
  HWND hwnd_ = nullptr, list_ = nullptr;
};

TEST_F(DisplayHelpKeys, F1OnTheListOpensTheHelpFileBesideTheAddIn) {
  ASSERT_EQ(list_, GetFocus()) << "the list has the focus once the window is shown";
  press(VK_F1);
  ASSERT_EQ(1u, platform.helpCalls.size()) << "one press, one help call";
  const lumo::test::HelpCall& call = platform.helpCalls[0];
  EXPECT_EQ(reinterpret_cast<intptr_t>(hwnd_), call.window) << "the help belongs to the display window";
  EXPECT_EQ(expectedPath(), call.path);
  EXPECT_EQ(0u, call.command) << "display topic";
  EXPECT_EQ(0u, call.data);
  // The help window is re-stacked: not topmost, shown, neither moved, sized nor activated.
  ASSERT_EQ(1u, platform.windowPosCalls.size());
  const lumo::test::WindowPosCall& pos = platform.windowPosCalls[0];
  EXPECT_EQ(reinterpret_cast<intptr_t>(platform.helpWindow), pos.window);
  EXPECT_EQ(-2, pos.insertAfter);
  EXPECT_EQ(0, pos.x);
  EXPECT_EQ(0, pos.y);
  EXPECT_EQ(0, pos.cx);
  EXPECT_EQ(0, pos.cy);
  EXPECT_EQ(0x53u, pos.flags);
  EXPECT_TRUE(IsWindowVisible(platform.helpWindow));
  EXPECT_FALSE(GetWindowLongW(platform.helpWindow, GWL_EXSTYLE) & WS_EX_TOPMOST);
  RECT r{};
  GetWindowRect(platform.helpWindow, &r);
  EXPECT_EQ(40, r.left);
  EXPECT_EQ(200, r.right - r.left);
  EXPECT_EQ(hwnd_, GetForegroundWindow()) << "the help does not take the keyboard from the list window";
}

TEST_F(DisplayHelpKeys, F1OnTheWindowItselfOpensTheSameHelp) {
  SetFocus(hwnd_);
  press(VK_F1);
  ASSERT_EQ(1u, platform.helpCalls.size());
  EXPECT_EQ(reinterpret_cast<intptr_t>(hwnd_), platform.helpCalls[0].window);
  EXPECT_EQ(expectedPath(), platform.helpCalls[0].path);
}

TEST_F(DisplayHelpKeys, BothHelpMenuItemsOpenTheHelpAsF1Does) {
  menu(DisplayMenu::HelpContents);
  menu(DisplayMenu::HelpSearchForHelpOn);
  ASSERT_EQ(2u, platform.helpCalls.size());
  for (const lumo::test::HelpCall& call : platform.helpCalls) {
    EXPECT_EQ(reinterpret_cast<intptr_t>(hwnd_), call.window);
    EXPECT_EQ(expectedPath(), call.path);
    EXPECT_EQ(0u, call.command);
    EXPECT_EQ(0u, call.data);
  }
  EXPECT_EQ(2u, platform.windowPosCalls.size());
  // "About" carries its caption only.
  menu(DisplayMenu::HelpAbout);
  EXPECT_EQ(2u, platform.helpCalls.size());
}

TEST_F(DisplayHelpKeys, OtherKeysDoNotOpenTheHelp) {
  press(VK_F2);
  press(VK_DOWN);
  press(VK_RETURN);
  EXPECT_TRUE(platform.helpCalls.empty());
  EXPECT_TRUE(IsWindow(hwnd_));
}

TEST_F(DisplayHelpKeys, AMissingHelpFileSaysNothingAndTheWindowGoesOn) {
  platform.help = HelpPlatform::Help::MissingFile;
  press(VK_F1);
  menu(DisplayMenu::HelpContents);
  EXPECT_EQ(2u, platform.helpCalls.size()) << "the help was asked for";
  EXPECT_TRUE(platform.messageBoxes.empty()) << "a missing help file is not worth a message";
  EXPECT_TRUE(IsWindowVisible(hwnd_));
  // The window still answers its keys: the help once the file is there, Esc closes.
  platform.help = HelpPlatform::Help::Opens;
  press(VK_F1);
  EXPECT_EQ(3u, platform.helpCalls.size());
  EXPECT_TRUE(IsWindowVisible(platform.helpWindow));
  SetForegroundWindow(hwnd_);
  SetFocus(list_);
  press(VK_ESCAPE);
  EXPECT_FALSE(IsWindow(hwnd_)) << "Esc still closes the window";
}

TEST_F(DisplayHelpKeys, AMissingHelpLibrarySaysNothingAndTheWindowGoesOn) {
  platform.help = HelpPlatform::Help::MissingLibrary;
  press(VK_F1);
  menu(DisplayMenu::HelpSearchForHelpOn);
  EXPECT_EQ(2u, platform.helpCalls.size());
  EXPECT_TRUE(platform.windowPosCalls.empty()) << "nothing to re-stack";
  EXPECT_TRUE(platform.messageBoxes.empty());
  EXPECT_TRUE(IsWindowVisible(hwnd_));
  EXPECT_EQ(list_, GetFocus());
  press(VK_ESCAPE);
  EXPECT_FALSE(IsWindow(hwnd_));
}

}  // namespace
}  // namespace lumo::display::test
