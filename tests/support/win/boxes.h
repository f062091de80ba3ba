// Message boxes as the user in front of the screen meets them: found among the
// windows, read, and answered. The window tests answer the boxes of their own
// thread from a timer, which runs inside a box's own modal loop; box_watcher.exe
// answers those of other programs (the script probes').
#pragma once

#include <windows.h>

#include <vector>

#include "automation/text.h"

namespace lumo::test {

// A visible dialog holding the static text control (id 0xFFFF) of a message box.
bool isMessageBox(HWND window);
// The message a box shows.
ustring messageText(HWND box);
// Presses one of a dialog's buttons; posted, so that the box's own loop runs it.
void pressButton(HWND dialog, int button = IDOK);

// While it lives, every message box this thread brings up is read and answered
// with OK: boxes() are their messages, in the order they came.
class BoxWatcher {
 public:
  BoxWatcher();
  ~BoxWatcher();
  BoxWatcher(const BoxWatcher&) = delete;
  BoxWatcher& operator=(const BoxWatcher&) = delete;
  const std::vector<ustring>& boxes() const { return boxes_; }

 private:
  static void CALLBACK tick(HWND, UINT, UINT_PTR, DWORD);
  std::vector<ustring> boxes_;
  UINT_PTR timer_ = 0;
};

}  // namespace lumo::test
