// libFuzzer target: ParseString, GetProperty and the typed properties.
#include "fuzz/entries.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  return lumo::fuzz::runTarget(lumo::fuzz::sessionStringEntry, data, size);
}
