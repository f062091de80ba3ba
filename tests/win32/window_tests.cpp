// The window base as every window of the add-in uses it, on real windows under
// Wine: the three kinds of window bound before their first message, the guard
// (exactly one report through the add-in's error trap, the window goes on), errors
// while creating raised to the creator, notifications reflected to the control
// that sent them, the last message and the object's end, typed characters
// filtered, dialog keys in a plain message loop, and the handle owners' counts.
#include <gtest/gtest.h>

#include <windows.h>
#include <commctrl.h>

#include <memory>
#include <stdexcept>
#include <vector>

#include "automation/error.h"
#include "fake_platform.h"
#include "host/services.h"
#include "tests/support/win/pump.h"
#include "tests/support/win/text.h"
#include "win32/controls.h"
#include "win32/window.h"

namespace lumo::win32 {
namespace {

void pump(int milliseconds = 30) { lumo::test::pumpFor(milliseconds); }

constexpr UINT kThrowError = WM_APP + 1;
constexpr UINT kThrowStd = WM_APP + 2;
constexpr UINT kAnswer = WM_APP + 3;
constexpr UINT kDestroyFromInside = WM_APP + 4;

bool g_deletedWhileInHandler = false;

// A top-level window of ours whose handlers throw on request. Never shown: Wine
// waits for a window manager whenever a shown top-level window goes away.
class TestWindow : public Window {
 public:
  explicit TestWindow(bool* deleted = nullptr) : Window(u"testWindow"), deleted_(deleted) {}
  ~TestWindow() override {
    if (deleted_) *deleted_ = true;
  }
  void open(bool throwOnCreate = false) {
    throwOnCreate_ = throwOnCreate;
    create(WindowClass{.name = L"LumoWindowBaseTest"}, L"窗口基类", WS_OVERLAPPEDWINDOW, 0, 40, 40,
           320, 200, nullptr, nullptr);
  }
  std::vector<UINT> seen;
  std::vector<std::pair<UINT, UINT_PTR>> fromChildren;  // (message, control id) the parent itself got
  bool ownsItself = false;
  bool inHandler = false;

 protected:
  bool onMessage(UINT msg, WPARAM wParam, LPARAM lParam, LRESULT& result) override {
    switch (msg) {
      case WM_CREATE:
        if (throwOnCreate_) throw Error(errnum::InvalidCall, u"the controls could not be made");
        return false;
      case kThrowError:
        seen.push_back(msg);
        throw Error(errnum::Overflow, u"溢出");
      case kThrowStd:
        seen.push_back(msg);
        throw std::runtime_error("plain failure");
      case kAnswer:
        seen.push_back(msg);
        result = 42;
        return true;
      case kDestroyFromInside:
        inHandler = true;
        destroy();
        // Still here: the object goes only once this message has been handled.
        g_deletedWhileInHandler = deleted_ && *deleted_;
        inHandler = false;
        return true;
      case WM_COMMAND:
        fromChildren.emplace_back(msg, LOWORD(wParam));
        return true;
      case WM_NOTIFY:
        fromChildren.emplace_back(msg, reinterpret_cast<const NMHDR*>(lParam)->idFrom);
        return true;
      default:
        return false;
    }
  }
  void onFinalMessage() override {
    if (ownsItself) delete this;
  }

 private:
  bool* deleted_;
  bool throwOnCreate_ = false;
};

// A control of our own class that tells its parent about itself and hears back.
class TestControl : public Window {
 public:
  TestControl() : Window(u"testControl") {}
  void open(HWND parent, int id) {
    create(WindowClass{.name = L"LumoWindowBaseTestControl"}, L"", WS_CHILD | WS_VISIBLE, 0, 0, 0, 50, 20, parent,
           reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)));
  }
  std::vector<UINT> reflected;

 protected:
  bool onMessage(UINT, WPARAM, LPARAM, LRESULT&) override { return false; }
  bool onReflected(UINT msg, WPARAM, LPARAM, LRESULT& result) override {
    reflected.push_back(msg);
    result = 7;
    return true;
  }
};

class WindowBase : public ::testing::Test {
 protected:
  void SetUp() override { setErrorSink(&trapError); }
  void TearDown() override {
    setErrorSink(nullptr);
    pump();
  }
  lumo::test::FakePlatform fake;
  lumo::test::FakePlatformScope scope{fake};
};

TEST_F(WindowBase, AnErrorInAHandlerIsShownOnceAndTheWindowGoesOn) {
  TestWindow w;
  w.open();
  SendMessageW(w.hwnd(), kThrowError, 0, 0);
  ASSERT_EQ(1u, fake.messageBoxes.size());
  EXPECT_EQ(u"溢出", fake.messageBoxes[0].prompt);
  EXPECT_EQ(u"Vantor提示", fake.messageBoxes[0].title);
  EXPECT_EQ(errnum::Overflow, err().number);
  EXPECT_EQ(u"SmsManager.testWindow", err().source);
  // Still there, and it still answers.
  EXPECT_TRUE(IsWindow(w.hwnd()));
  EXPECT_EQ(42, SendMessageW(w.hwnd(), kAnswer, 0, 0));
  EXPECT_EQ(1u, fake.messageBoxes.size());
}

TEST_F(WindowBase, AnErrorFromOutsideTheAutomationLayerIsShownWithItsOwnText) {
  TestWindow w;
  w.open();
  PostMessageW(w.hwnd(), kThrowStd, 0, 0);
  pump();  // through a message loop, as the user's actions arrive
  ASSERT_EQ(1u, fake.messageBoxes.size());
  EXPECT_EQ(u"plain failure", fake.messageBoxes[0].prompt);
  EXPECT_TRUE(IsWindow(w.hwnd()));
}

TEST_F(WindowBase, AFailureWhileCreatingReachesTheCreatorAndLeavesNoWindow) {
  const long before = liveHandles(Handle::Window);
  TestWindow w;
  try {
    w.open(true);
    ADD_FAILURE() << "the window was created";
  } catch (const Error& e) {
    EXPECT_EQ(errnum::InvalidCall, e.number());
    EXPECT_EQ(u"the controls could not be made", e.description());
  }
  EXPECT_EQ(nullptr, w.hwnd());
  EXPECT_EQ(nullptr, FindWindowW(L"LumoWindowBaseTest", nullptr));
  EXPECT_TRUE(fake.messageBoxes.empty()) << "the creator reports it, not the guard";
  EXPECT_EQ(before, liveHandles(Handle::Window));
}

TEST_F(WindowBase, TheObjectOutlivesTheMessageThatDestroyedItsWindow) {
  bool deleted = false;
  g_deletedWhileInHandler = true;
  auto* w = new TestWindow(&deleted);
  w->ownsItself = true;
  w->open();
  const HWND hwnd = w->hwnd();
  SendMessageW(hwnd, kDestroyFromInside, 0, 0);
  EXPECT_FALSE(g_deletedWhileInHandler) << "the object went while its handler was still running";
  EXPECT_TRUE(deleted) << "the object did not go after its window's last message";
  EXPECT_FALSE(IsWindow(hwnd));
}

TEST_F(WindowBase, NotificationsGoBackToTheControlThatSentThem) {
  TestWindow parent;
  parent.open();
  TestControl ours;
  ours.open(parent.hwnd(), 11);
  HWND button = createControl(parent.hwnd(), L"BUTTON", WS_VISIBLE, 0, 12, u"OK");

  NMHDR header{ours.hwnd(), 11, NM_CLICK};
  EXPECT_EQ(7, SendMessageW(parent.hwnd(), WM_NOTIFY, 11, reinterpret_cast<LPARAM>(&header)));
  EXPECT_EQ(7, SendMessageW(parent.hwnd(), WM_COMMAND, MAKEWPARAM(11, BN_CLICKED),
                            reinterpret_cast<LPARAM>(ours.hwnd())));
  EXPECT_EQ((std::vector<UINT>{WM_NOTIFY, WM_COMMAND}), ours.reflected);
  EXPECT_TRUE(parent.fromChildren.empty()) << "the parent never saw what its control handled";

  // A system control's notifications are the parent's.
  SendMessageW(parent.hwnd(), WM_COMMAND, MAKEWPARAM(12, BN_CLICKED), reinterpret_cast<LPARAM>(button));
  NMHDR other{button, 12, NM_CLICK};
  SendMessageW(parent.hwnd(), WM_NOTIFY, 12, reinterpret_cast<LPARAM>(&other));
  EXPECT_EQ((std::vector<std::pair<UINT, UINT_PTR>>{{WM_COMMAND, 12}, {WM_NOTIFY, 12}}), parent.fromChildren);
}

TEST_F(WindowBase, RefusedCharactersNeverReachASystemControl) {
  TestWindow parent;
  parent.open();
  HWND edit = createControl(parent.hwnd(), L"EDIT", WS_VISIBLE | ES_AUTOHSCROLL, 0, 21);
  MoveWindow(edit, 10, 10, 200, 24, TRUE);
  filterChars(edit, [](char16_t c) { return c >= u'0' && c <= u'9'; });
  for (char16_t c : std::u16string(u"1a2b3")) SendMessageW(edit, WM_CHAR, c, 1);
  EXPECT_EQ(u"123", windowText(edit));
  // The filter goes with the control; the control goes with its parent.
  const long before = liveHandles(Handle::Window);
  DestroyWindow(edit);
  EXPECT_EQ(before - 1, liveHandles(Handle::Window));
}

// A modeless dialog with one edit box, counting the keys it sees first.
class TestDialog : public Window {
 public:
  TestDialog() : Window(u"testDialog") {}
  void open() { createDialog(WS_OVERLAPPED | WS_CAPTION, WS_EX_CONTROLPARENT, nullptr); }
  HWND edit = nullptr;
  int returns = 0, cancels = 0;

 protected:
  bool onMessage(UINT msg, WPARAM wParam, LPARAM, LRESULT& result) override {
    if (msg == WM_INITDIALOG) {
      edit = createControl(hwnd(), L"EDIT", WS_VISIBLE | WS_TABSTOP | ES_MULTILINE | ES_WANTRETURN, 0, 31);
      MoveWindow(edit, 5, 5, 150, 60, TRUE);
      SetFocus(edit);
      result = FALSE;
      return true;
    }
    if (msg == WM_COMMAND && LOWORD(wParam) == IDCANCEL) {
      ++cancels;
      return true;
    }
    return false;
  }
  bool preTranslate(MSG& msg) override {
    if (msg.message != WM_KEYDOWN || msg.wParam != VK_RETURN) return false;
    ++returns;
    return true;
  }
};

TEST_F(WindowBase, AModelessDialogSeesItsKeysFirstInAnyMessageLoop) {
  TestDialog d;
  d.open();
  ASSERT_NE(nullptr, d.edit);
  // A loop that knows nothing of dialogs, as a host's may be.
  PostMessageW(d.edit, WM_KEYDOWN, VK_RETURN, 1);
  PostMessageW(d.edit, WM_KEYDOWN, VK_ESCAPE, 1);
  pump();
  EXPECT_EQ(1, d.returns);
  EXPECT_EQ(1, d.cancels) << "Esc reached the dialog manager";
  EXPECT_EQ(u"", windowText(d.edit)) << "the consumed Enter made no line break";
}

TEST_F(WindowBase, OwnersCountWhatTheyHoldAndGiveItBack) {
  const long fonts = liveHandles(Handle::Font), pens = liveHandles(Handle::Pen), dcs = liveHandles(Handle::DC),
             bitmaps = liveHandles(Handle::Bitmap), menus = liveHandles(Handle::Menu);
  {
    Font f = messageFont(96);
    Pen p(CreatePen(PS_SOLID, 1, RGB(0, 0, 0)));
    WindowDC screen(nullptr);
    MemoryDC mem(CreateCompatibleDC(screen.get()));
    Bitmap b(CreateCompatibleBitmap(screen.get(), 8, 8));
    Menu m(CreatePopupMenu());
    const Selected chosen(mem.get(), b.get());
    EXPECT_EQ(fonts + 1, liveHandles(Handle::Font));
    EXPECT_EQ(pens + 1, liveHandles(Handle::Pen));
    EXPECT_EQ(dcs + 2, liveHandles(Handle::DC));
    EXPECT_EQ(bitmaps + 1, liveHandles(Handle::Bitmap));
    EXPECT_EQ(menus + 1, liveHandles(Handle::Menu));
    Font moved = std::move(f);
    EXPECT_EQ(fonts + 1, liveHandles(Handle::Font));
  }
  EXPECT_EQ(fonts, liveHandles(Handle::Font));
  EXPECT_EQ(pens, liveHandles(Handle::Pen));
  EXPECT_EQ(dcs, liveHandles(Handle::DC));
  EXPECT_EQ(bitmaps, liveHandles(Handle::Bitmap));
  EXPECT_EQ(menus, liveHandles(Handle::Menu));
}

bool classRegistered(const wchar_t* name) {
  WNDCLASSEXW wc{};
  wc.cbSize = sizeof wc;
  return GetClassInfoExW(GetModuleHandleW(nullptr), name, &wc) != FALSE;
}

TEST_F(WindowBase, AClassWithoutWindowsIsUnregisteredForTheModuleToGo) {
  {
    TestWindow w;
    w.open();
    unregisterWindowClasses();  // a class with a window stays
    EXPECT_TRUE(classRegistered(L"LumoWindowBaseTest"));
  }
  pump();
  unregisterWindowClasses();
  EXPECT_FALSE(classRegistered(L"LumoWindowBaseTest"));
  // And a window of it can be made again afterwards.
  TestWindow again;
  again.open();
  EXPECT_NE(nullptr, again.hwnd());
}

}  // namespace
}  // namespace lumo::win32
