// The fixture shared by the host tests: a fresh fake platform installed for each test.
#pragma once

#include <gtest/gtest.h>

#include "fake_platform.h"

namespace lumo::test {

class HostTest : public ::testing::Test {
 protected:
  FakePlatform fake;
  FakePlatformScope scope{fake};

  // A session in the given language with the usual loaders present.
  void session(const ustring& props) { fake.setSessionString(props); }
};

// Runs f and returns the number of the lumo::Error it raises (0 when none).
template <class F>
int32_t errorNumberOf(F&& f) {
  try {
    f();
  } catch (const Error& e) {
    return e.number();
  }
  return 0;
}

}  // namespace lumo::test
