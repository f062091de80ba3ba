// Parts of a job on threads of their own, one per processor: a copy of a
// million rows spends its time waiting for memory, and each processor waits for
// its own share.
#pragma once

#include "ui/parallel.h"

namespace lumo::win32 {

class ThreadParallel final : public ui::Parallel {
 public:
  // As wide as the processors (a few at most), or as given.
  explicit ThreadParallel(std::size_t width = 0);
  std::size_t width() const override { return width_; }
  // Part 0 runs on the caller's thread, the others on new threads; a part whose
  // thread cannot be made runs on the caller's thread too.
  void run(std::size_t parts, const std::function<void(std::size_t)>& part) const override;

 private:
  std::size_t width_;
};

}  // namespace lumo::win32
