// The fuzzers' entry functions, shared by the libFuzzer targets and by the
// replay test of the normal suite. Each checks its invariants and returns "" when
// they held, otherwise a description of the one that broke.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "automation/text.h"

namespace lumo::fuzz {

// Input layout shared by both entries: the first byte selects the decoding of the
// rest (bit 0: UTF-16LE code units, else UTF-8) and, for the language entry, the
// session's language (bits 1-2: chs, en, cht, none) and the loaders' state
// (bit 3: failing, bit 4: missing).
ustring decodeText(const uint8_t* data, std::size_t size);

// ParseString, GetProperty and the typed properties, checked against an
// independent reading of the session-string grammar.
std::string sessionStringEntry(const uint8_t* data, std::size_t size);

// GetPropertyExt, LoadspecialVtString, the lookups, ReplacePlaceholders and
// FormatResString under a fake host. The decoded text holds its fields separated
// by U+0001: session string, property name, special text, format, arguments...
std::string languageTextsEntry(const uint8_t* data, std::size_t size);

// The reading of a recordset's rows as one text (Recordset::readText): the first
// byte gives the row width (1 + its low three bits), the rest is the text. Either
// the text is refused with an error, or its values joined again give it back.
std::string bulkRowsEntry(const uint8_t* data, std::size_t size);

// One input of a libFuzzer target through its entry: 0 when the invariants held;
// otherwise it says which broke and aborts, so that libFuzzer keeps the input.
using EntryFunction = std::string (*)(const uint8_t* data, std::size_t size);
int runTarget(EntryFunction entry, const uint8_t* data, std::size_t size);

}  // namespace lumo::fuzz
