// Work split into parts that may run at once. The windows hand their models one
// that runs the parts on threads of their own; without one, the parts run in
// turn on the caller's thread.
#pragma once

#include <cstddef>
#include <functional>

namespace lumo::ui {

class Parallel {
 public:
  virtual ~Parallel() = default;
  // How many parts can run at once.
  virtual std::size_t width() const = 0;
  // Runs part(0) .. part(parts - 1) and returns when every one has ended; when
  // one threw, run throws the first such failure after all have ended. The
  // parts must not write anything another part reads or writes, and must not
  // call into objects that belong to the caller's thread.
  virtual void run(std::size_t parts, const std::function<void(std::size_t)>& part) const = 0;
};

// The parts one after the other, on the caller's thread.
const Parallel& inTurn();

}  // namespace lumo::ui
