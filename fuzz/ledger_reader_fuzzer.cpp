// libFuzzer target: the ledger reader (line ends, first line, rows up to the
// first empty line), the header parser and the list filled from them.
#include "display/tests/ledger_fuzz_entry.h"
#include "fuzz/entries.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  return lumo::fuzz::runTarget(lumo::display::fuzz::ledgerReaderEntry, data, size);
}
