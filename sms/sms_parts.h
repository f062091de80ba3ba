// How many SMS a text costs. A gateway sends a text in 7-bit GSM characters when
// every character has one (160 in a single SMS, 153 in each part of a longer one,
// the escaped characters counting two), and in UCS-2 otherwise (70, and 67 per
// part). A part never splits an escaped character or a surrogate pair.
#pragma once

#include <cstdint>

#include "automation/text.h"

namespace lumo::sms {

struct SmsParts {
  int32_t parts = 0;     // 0 for an empty text
  bool unicode = false;  // sent as UCS-2
  int32_t units = 0;     // septets (GSM) or UTF-16 units (UCS-2)
};

// Septets a character takes in GSM 7-bit: 1 for the basic set, 2 for the
// extension set (escape + character), 0 when it has none.
int gsmSeptets(char16_t c);

SmsParts countParts(ustring_view text);

// Receivers in a comma-separated list: the entries holding more than blanks.
std::size_t countReceivers(ustring_view receivers);

}  // namespace lumo::sms
