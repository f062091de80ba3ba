// Receiver lists for the tests of the number text and its box: mobile numbers of
// eleven digits, counted up from 13800000000, joined by commas.
#pragma once

#include <cstdio>

#include "automation/text.h"

namespace lumo::test {

// "138" and i in eight digits.
inline ustring mobileNumber(int i) {
  char buf[16];
  std::snprintf(buf, sizeof buf, "138%08d", i);
  return fromUtf8(buf);
}

// "13800000000,13800000001,...": count numbers, 12 units each but the last.
inline ustring mobileNumberList(int count) {
  ustring s;
  s.reserve(static_cast<std::size_t>(count) * 12);
  for (int i = 0; i < count; ++i) {
    if (i) s += u',';
    s += mobileNumber(i);
  }
  return s;
}

}  // namespace lumo::test
