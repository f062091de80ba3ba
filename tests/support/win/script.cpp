#include "tests/support/win/script.h"

namespace lumo::test {
namespace {
Script* g_current = nullptr;  // one script at a time: it runs on the thread's timer
}  // namespace

Script::Script(std::vector<std::function<bool()>> steps, UINT tickMs, std::chrono::milliseconds stepTimeout)
    : steps_(std::move(steps)), timeout_(stepTimeout), started_(std::chrono::steady_clock::now()) {
  g_current = this;
  timer_ = SetTimer(nullptr, 0, tickMs, &Script::tick);
}

Script::~Script() {
  KillTimer(nullptr, timer_);
  if (g_current == this) g_current = nullptr;
}

void CALLBACK Script::tick(HWND, UINT, UINT_PTR, DWORD) {
  Script* s = g_current;
  // A step that runs a loop of its own gets no second tick meanwhile.
  if (!s || s->busy_ || s->timedOut_ || s->finished()) return;
  s->busy_ = true;
  if (s->steps_[s->next_]()) {
    ++s->next_;
    s->started_ = std::chrono::steady_clock::now();
  } else if (std::chrono::steady_clock::now() - s->started_ > s->timeout_) {
    s->timedOut_ = true;
    EnumThreadWindows(
        GetCurrentThreadId(),
        [](HWND w, LPARAM) {
          PostMessageW(w, WM_CLOSE, 0, 0);
          return TRUE;
        },
        0);
  }
  s->busy_ = false;
}

}  // namespace lumo::test
