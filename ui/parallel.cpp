#include "ui/parallel.h"

namespace lumo::ui {

namespace {

class InTurn final : public Parallel {
 public:
  std::size_t width() const override { return 1; }
  void run(std::size_t parts, const std::function<void(std::size_t)>& part) const override {
    for (std::size_t p = 0; p < parts; ++p) part(p);
  }
};

}  // namespace

const Parallel& inTurn() {
  static const InTurn parallel;
  return parallel;
}

}  // namespace lumo::ui
