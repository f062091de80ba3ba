// Drives a modal window from inside its own loop: the test queues steps, a
// thread timer runs the first one whenever the messages run (in the window's
// loop, a message box's or the host's) and drops it once it reports done. A step
// that opens a modal loop of its own posts what it does, so that no step runs
// inside another.
#pragma once

#include <windows.h>

#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "automation/text.h"
#include "tests/support/win/boxes.h"
#include "tests/support/win/pump.h"

namespace lumo::test {

class Driver {
 public:
  using Step = std::function<bool()>;  // true when done
  Driver() {
    current() = this;
    timer_ = SetTimer(nullptr, 0, 40, &Driver::tick);
  }
  ~Driver() {
    KillTimer(nullptr, timer_);
    current() = nullptr;
  }
  Driver(const Driver&) = delete;
  Driver& operator=(const Driver&) = delete;

  void then(std::string what, Step step) { steps_.push_back({std::move(what), std::move(step)}); }
  // Runs an action once.
  void thenDo(std::string what, std::function<void()> action) {
    then(std::move(what), [a = std::move(action)] {
      a();
      return true;
    });
  }
  // Waits for a message box, keeps its text and presses a button of it.
  void thenAnswerBox(int button, std::vector<ustring>* seen = nullptr) {
    then("a message box", [button, seen] {
      HWND box = findBox();
      if (!box) return false;
      if (seen) seen->push_back(messageText(box));
      pressButton(box, button);
      return true;
    });
  }
  bool finished() const { return steps_.empty(); }
  // The step the driver waits on, for a failure message.
  std::string waitingFor() const { return steps_.empty() ? std::string() : steps_.front().what; }
  // Boxes that came up while no step asked for one.
  const std::vector<ustring>& strayBoxes() const { return stray_; }
  // The step that did not come about in time (the driver then closed what was open).
  const std::string& timedOut() const { return timedOut_; }

  static HWND findBox() {
    HWND found = nullptr;
    EnumThreadWindows(
        GetCurrentThreadId(),
        [](HWND w, LPARAM p) {
          if (!isMessageBox(w)) return TRUE;
          *reinterpret_cast<HWND*>(p) = w;
          return FALSE;
        },
        reinterpret_cast<LPARAM>(&found));
    return found;
  }

 private:
  struct Entry {
    std::string what;
    Step step;
  };
  static Driver*& current() {
    static Driver* d = nullptr;
    return d;
  }
  static void CALLBACK tick(HWND, UINT, UINT_PTR, DWORD) {
    Driver* d = current();
    if (!d || d->busy_) return;
    d->busy_ = true;
    if (!d->steps_.empty()) {
      if (d->since_ == 0) d->since_ = nowMs();
      if (d->steps_.front().step()) {
        d->steps_.pop_front();
        d->since_ = 0;
      } else if (nowMs() - d->since_ > 20000) {
        d->giveUp();
      }
    } else if (HWND box = findBox()) {
      // Nobody expects it: note it and let it go, so that the test ends.
      d->stray_.push_back(messageText(box));
      pressButton(box, IDCANCEL);
      pressButton(box, IDOK);
    }
    d->busy_ = false;
  }

  // Ends whatever is open so that the test returns and reports.
  void giveUp() {
    timedOut_ = steps_.front().what;
    steps_.clear();
    since_ = 0;
    EnumThreadWindows(
        GetCurrentThreadId(),
        [](HWND w, LPARAM) {
          if (!IsWindowVisible(w)) return TRUE;
          if (isMessageBox(w)) {
            pressButton(w, IDNO);
            pressButton(w, IDOK);
          } else {
            PostMessageW(w, WM_CLOSE, 0, 0);
          }
          return TRUE;
        },
        0);
  }

  std::deque<Entry> steps_;
  std::string timedOut_;
  double since_ = 0;
  std::vector<ustring> stray_;
  UINT_PTR timer_ = 0;
  bool busy_ = false;
};

}  // namespace lumo::test
