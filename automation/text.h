// Text helpers with the semantics the add-in's callers expect of their strings:
// UTF-16 code units, one unit per character, blanks meaning the space character.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace lumo {

using ustring = std::u16string;
using ustring_view = std::u16string_view;

// UTF-8 <-> UTF-16. Invalid input never throws: bad UTF-8 bytes become U+FFFD,
// lone surrogates are written as U+FFFD in UTF-8.
ustring fromUtf8(std::string_view s);
std::string toUtf8(ustring_view s);

// Trim removes leading and trailing spaces (U+0020) only, as the host language does.
ustring trim(ustring_view s);
ustring trimLeft(ustring_view s);
ustring trimRight(ustring_view s);
std::size_t leadingBlanks(ustring_view s);
std::size_t trailingBlanks(ustring_view s);
// Whether nothing is left after trimming, without making the trimmed copy.
bool isBlank(ustring_view s);

// Simple case mapping (ASCII, Latin-1, Greek, Cyrillic, full-width Latin);
// characters without a case are left alone.
char16_t foldCase(char16_t c);
ustring toUpper(ustring_view s);
ustring toLower(ustring_view s);
bool equalsNoCase(ustring_view a, ustring_view b);

// Position of the first occurrence of needle in hay at or after 'from', or npos.
// The NoCase variant compares through foldCase.
std::size_t find(ustring_view hay, ustring_view needle, std::size_t from = 0);
std::size_t findNoCase(ustring_view hay, ustring_view needle, std::size_t from = 0);
inline bool contains(ustring_view hay, ustring_view needle) { return find(hay, needle) != ustring::npos; }
// How many units of a text equal 'counted', and whether any equals a or b, in
// one pass: rows of a list are looked through for their tabs and line breaks on
// every copy and save, several units at a time.
struct UnitScan {
  std::size_t count = 0;
  bool either = false;
};
UnitScan scanUnits(ustring_view s, char16_t counted, char16_t a, char16_t b);
inline std::size_t countOf(ustring_view s, char16_t unit) { return scanUnits(s, unit, unit, unit).count; }
inline bool holdsEither(ustring_view s, char16_t a, char16_t b) { return scanUnits(s, a, a, b).either; }
bool startsWith(ustring_view s, ustring_view prefix);
bool endsWith(ustring_view s, ustring_view suffix);

// Splits at every occurrence of sep (exact match); an empty text gives one empty piece.
std::vector<ustring> split(ustring_view s, ustring_view sep);
ustring join(const std::vector<ustring>& parts, ustring_view sep);

// Decimal text of an integer.
ustring toText(long long v);

// Number parsing as the host language's numeric conversion of a string does:
// optional blanks, sign, digits with an optional decimal point and exponent,
// "&H" hexadecimal and "&O" octal. Returns false when the text is not a number.
bool parseNumber(ustring_view s, double& out);

// The host language's rounding of a double to an integer (half to even).
double roundHalfEven(double v);

// Shortest text of a double as the host language prints it (up to 15 significant digits).
ustring doubleToText(double v);

}  // namespace lumo
