// libFuzzer target: GetPropertyExt, the resource lookups, special texts and
// placeholders under a fake host.
#include <cstdio>
#include <cstdlib>

#include "fuzz/entries.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string broken = lumo::fuzz::languageTextsEntry(data, size);
  if (!broken.empty()) {
    std::fprintf(stderr, "invariant broken: %s\n", broken.c_str());
    std::abort();
  }
  return 0;
}
