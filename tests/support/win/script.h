// A user's steps inside modal windows: a modal window keeps the caller's thread in
// its own loop, so the steps run from a thread timer, which every loop of the
// thread dispatches. Each step is tried on every tick until it reports that it is
// done; one that never is, within its time, fails the run and closes this
// thread's windows so that the modal call returns.
#pragma once

#include <windows.h>

#include <chrono>
#include <functional>
#include <vector>

namespace lumo::test {

class Script {
 public:
  // 'tickMs': how often the current step is tried (a benchmark takes a short one).
  explicit Script(std::vector<std::function<bool()>> steps, UINT tickMs = 100,
                  std::chrono::milliseconds stepTimeout = std::chrono::seconds(20));
  ~Script();
  Script(const Script&) = delete;
  Script& operator=(const Script&) = delete;

  bool finished() const { return next_ == steps_.size(); }
  // A step that timed out stops the script: nothing after it is tried.
  bool timedOut() const { return timedOut_; }
  // The step that runs next (the one that timed out, when one did).
  std::size_t reached() const { return next_; }

 private:
  static void CALLBACK tick(HWND, UINT, UINT_PTR, DWORD);
  std::vector<std::function<bool()>> steps_;
  std::chrono::milliseconds timeout_;
  std::size_t next_ = 0;
  bool busy_ = false, timedOut_ = false;
  UINT_PTR timer_ = 0;
  std::chrono::steady_clock::time_point started_;
};

}  // namespace lumo::test
