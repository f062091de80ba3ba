// libFuzzer target: ParseString, GetProperty and the typed properties.
#include <cstdio>
#include <cstdlib>

#include "fuzz/entries.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string broken = lumo::fuzz::sessionStringEntry(data, size);
  if (!broken.empty()) {
    std::fprintf(stderr, "invariant broken: %s\n", broken.c_str());
    std::abort();
  }
  return 0;
}
