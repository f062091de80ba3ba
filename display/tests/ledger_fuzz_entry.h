// The ledger reader's fuzz entry, shared by the libFuzzer target and the replay
// test: returns "" when every invariant held, otherwise what broke.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace lumo::display::fuzz {

// Input layout: byte 0 chooses the reading (bits 0-5: the reader's buffer size
// minus one, so that line ends fall on buffer boundaries; bit 6: the source hands
// out one byte at a time; bit 7: the double-byte test code page instead of the
// byte-for-byte one). The rest is the file's content.
//
// Checked against an independent reading of the bytes: the first line, the
// header's columns, titles and markers, the rows up to the first empty line, the
// line count, the list's lines and cells, and a save and reread of the list.
std::string ledgerReaderEntry(const uint8_t* data, std::size_t size);

}  // namespace lumo::display::fuzz
