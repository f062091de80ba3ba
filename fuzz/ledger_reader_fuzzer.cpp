// libFuzzer target: the ledger reader (line ends, first line, rows up to the
// first empty line), the header parser and the list filled from them.
#include <cstdio>
#include <cstdlib>

#include "display/tests/ledger_fuzz_entry.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string broken = lumo::display::fuzz::ledgerReaderEntry(data, size);
  if (!broken.empty()) {
    std::fprintf(stderr, "invariant broken: %s\n", broken.c_str());
    std::abort();
  }
  return 0;
}
