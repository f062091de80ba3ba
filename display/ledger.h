// The ledger file (".ldg"): a tab-separated text file whose first line holds the
// column titles, each followed by its alignment marker in parentheses and a tab,
// and whose other lines hold one list row each, the cells joined by tabs.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "automation/object.h"
#include "display/list_model.h"
#include "display/save_file.h"

namespace lumo::display {

// "字符" for text (0), "数字" for numbers (1), "中间" for centred (2); "" for any other code.
ustring alignmentMarker(int32_t alignment);

// The header line of a list: per column its header text, then "(" marker ")"
// when the alignment has a marker, then a tab. The line therefore ends with a tab
// (and is empty without columns).
ustring ledgerHeaderLine(const ListModel& list);

struct HeaderColumn {
  ustring title;        // as it stands in the file, marker included
  bool marked = false;  // the title ends in "(字符)", "(数字)" or "(中间)"
  int32_t alignment = align::Text;  // meaningful when marked
};

// Reads a header line: while a tab remains, the part before the first tab is
// one column's title and the rest is read on. Whatever follows the last tab is
// not a column. The number of columns is the size of the result.
std::vector<HeaderColumn> parseLedgerHeader(ustring_view header);

// Writes the header and the rows 1..rowCount-1 of the list through an open helper.
void writeLedger(SaveFile& file, const ListModel& list);
// Saves the list as a ledger file: creates the file, writes every line and closes
// it. Raises the helper's error (70 read-only, 76 missing folder, 57 a write that
// failed) and never returns before the last byte has been handed to the system.
// The result is the number of characters the code page could not hold (written as "?").
std::size_t saveLedger(const ustring& path, const ListModel& list);

struct LedgerContents {
  ustring header;                      // the first line, "" when empty
  std::vector<HeaderColumn> columns;   // parsed from a non-empty header
  std::shared_ptr<Collection> rows;    // the lines after the header (null for an empty header)
  int32_t lineNum = 0;                 // the helper's count of lines read
};

// Reads a ledger from an open helper: the first line, and when it is not empty
// its columns and the rows up to the first empty line.
LedgerContents readLedger(SaveFile& file);
// Opens a ledger file; raises the helper's error for a file that cannot be opened.
LedgerContents openLedger(const ustring& path);

}  // namespace lumo::display
