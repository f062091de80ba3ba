// The errors the code under test raises, as tests look at them.
#pragma once

#include <cstdint>
#include <functional>

#include "automation/error.h"
#include "automation/text.h"

namespace lumo::test {

// Runs f and returns the number of the lumo::Error it raises (0 when none); the
// error's description goes to *description when one is asked for.
inline int32_t errorOf(const std::function<void()>& f, ustring* description = nullptr) {
  try {
    f();
  } catch (const Error& e) {
    if (description) *description = e.description();
    return e.number();
  }
  return 0;
}

}  // namespace lumo::test
