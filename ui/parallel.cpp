#include "ui/parallel.h"

#include <exception>

namespace lumo::ui {

namespace {

class InTurn final : public Parallel {
 public:
  std::size_t width() const override { return 1; }
  void run(std::size_t parts, const std::function<void(std::size_t)>& part) const override {
    std::exception_ptr first;
    for (std::size_t p = 0; p < parts; ++p) {
      try {
        part(p);
      } catch (...) {
        if (!first) first = std::current_exception();
      }
    }
    if (first) std::rethrow_exception(first);
  }
};

}  // namespace

const Parallel& inTurn() {
  static const InTurn parallel;
  return parallel;
}

}  // namespace lumo::ui
