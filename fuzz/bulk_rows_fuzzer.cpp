// libFuzzer target: the reading of a recordset's rows from one text.
#include "fuzz/entries.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  return lumo::fuzz::runTarget(lumo::fuzz::bulkRowsEntry, data, size);
}
