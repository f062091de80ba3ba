#include "tests/support/win/boxes.h"

#include "tests/support/win/windows.h"
#include "win32/controls.h"

namespace lumo::test {
namespace {

constexpr int kMessageTextId = 0xFFFF;

// The watcher whose timer runs; a thread timer's callback has no other way to it.
BoxWatcher* g_watcher = nullptr;

}  // namespace

bool isMessageBox(HWND window) {
  return className(window) == L"#32770" && IsWindowVisible(window) && GetDlgItem(window, kMessageTextId) != nullptr;
}

ustring messageText(HWND box) { return win32::windowText(GetDlgItem(box, kMessageTextId)); }

void pressButton(HWND dialog, int button) {
  const LPARAM control = reinterpret_cast<LPARAM>(GetDlgItem(dialog, button));
  PostMessageW(dialog, WM_COMMAND, MAKEWPARAM(button, BN_CLICKED), control);
}

BoxWatcher::BoxWatcher() {
  g_watcher = this;
  timer_ = SetTimer(nullptr, 0, 100, &BoxWatcher::tick);
}

BoxWatcher::~BoxWatcher() {
  KillTimer(nullptr, timer_);
  g_watcher = nullptr;
}

void CALLBACK BoxWatcher::tick(HWND, UINT, UINT_PTR, DWORD) {
  EnumThreadWindows(
      GetCurrentThreadId(),
      [](HWND window, LPARAM) -> BOOL {
        if (g_watcher && isMessageBox(window)) {
          g_watcher->boxes_.push_back(messageText(window));
          pressButton(window);
        }
        return TRUE;
      },
      0);
}

}  // namespace lumo::test
