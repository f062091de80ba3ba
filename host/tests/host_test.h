// The fixture shared by the host tests: a fresh fake platform installed for each test.
#pragma once

#include <gtest/gtest.h>

#include "fake_platform.h"
#include "tests/support/errors.h"

namespace lumo::test {

class HostTest : public ::testing::Test {
 protected:
  FakePlatform fake;
  FakePlatformScope scope{fake};

  // A session in the given language with the usual loaders present.
  void session(const ustring& props) { fake.setSessionString(props); }
};

}  // namespace lumo::test
