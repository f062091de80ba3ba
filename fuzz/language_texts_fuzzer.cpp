// libFuzzer target: GetPropertyExt, the resource lookups, special texts and
// placeholders under a fake host.
#include "fuzz/entries.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  return lumo::fuzz::runTarget(lumo::fuzz::languageTextsEntry, data, size);
}
