// What a list grid does with its rows beyond drawing them: the order of a sort,
// finding a text, and the text a selection puts on the clipboard. The grid's
// data is reached through TableText, so the same code serves any table that
// keeps a header row 0 and data rows under it.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "automation/text.h"
#include "ui/parallel.h"

namespace lumo::ui {

// A table as a list grid shows it: row 0 is the header row, rows 1..rowCount-1
// hold the data, columns are counted from 1.
class TableText {
 public:
  virtual ~TableText() = default;
  virtual int32_t rowCount() const = 0;
  virtual int32_t columnCount() const = 0;
  // The cells of a row, columns 1..columnCount joined by tabs (a missing cell is
  // empty). The result is either stored text or built in scratch.
  virtual const ustring& joinedCells(int32_t row, ustring& scratch) const = 0;
  // A data row's text as stored, which is its joined cells when it holds
  // exactly columnCount cells; null when the row is to be read through
  // joinedCells alone. Found without reading the text, so that a walk over many
  // scattered rows can find them all first and then read them in a second walk.
  // It and willLocate only read, and may be called from several threads at
  // once while the table stays as it is.
  virtual const ustring* storedRow(int32_t row) const {
    (void)row;
    return nullptr;
  }
  // A walk down the rows is about to read this one (which may lie outside the
  // table): a table whose rows lie scattered in memory starts fetching it.
  virtual void willRead(int32_t row) const { (void)row; }
  // The same for a walk that only locates the rows' stored texts (storedRow).
  virtual void willLocate(int32_t row) const { (void)row; }
};

// Whether a row's stored text, holding 'tabs' tabs, is its joined cells: it
// holds exactly 'columns' cells.
inline bool isJoinedRow(std::size_t tabs, int32_t columns) {
  return columns >= 1 && tabs == static_cast<std::size_t>(columns - 1);
}

// ---- sorting ----------------------------------------------------------------------------

// The order of two texts as the user's language orders them: negative, zero or
// positive as a comes before, with or after b.
class Collation {
 public:
  virtual ~Collation() = default;
  virtual int compare(ustring_view a, ustring_view b) const = 0;
  // Appends the sort key of a non-empty text to keys: bytes whose order (byte
  // by byte as unsigned, a key before the longer ones it starts) is compare's
  // order of the texts. A sort of many rows reads each text once this way
  // instead of comparing texts in pairs. False, with keys as they were, when
  // there is none for the text; the texts are then compared in pairs.
  virtual bool appendSortKey(ustring_view text, std::string& keys) const {
    (void)text;
    (void)keys;
    return false;
  }
};

// UTF-16 code units compared one by one: the fallback, and what tests use.
class OrdinalCollation final : public Collation {
 public:
  int compare(ustring_view a, ustring_view b) const override;
  // Each unit as two bytes, the high one first.
  bool appendSortKey(ustring_view text, std::string& keys) const override;
};

// The value of a cell in a column of numbers: blanks around it are ignored, then
// an optional sign, digits (optionally grouped by three with ",") and at most
// one decimal point with digits on at least one side. False for anything else
// (and for an empty cell): such a cell is text.
bool numberCellValue(ustring_view cell, double& value);

enum class SortKind { Text, Number };

// The rows' order after a sort on one cell per row (cells[i] is row i's cell):
// position p of the result holds the index of the row that goes there.
// Text cells compare through the collation. In a Number sort, cells that are
// numbers compare by value and come before the cells that are text. Empty cells
// come last whatever the direction; descending reverses everything else. Rows
// whose cells compare equal keep their order (the sort is stable).
std::vector<uint32_t> sortOrder(std::span<const ustring_view> cells, SortKind kind, bool descending,
                                const Collation& collation);

// ---- finding ---------------------------------------------------------------------------

struct FindRequest {
  ustring text;
  bool matchCase = false;
  bool down = true;
};

// The first data row, searched from the row after 'from' (before it, going up)
// and wrapping once past the end so that 'from' itself comes last, with a cell
// that contains the text; 0 when none does. 'from' outside the data rows starts
// at the first row (the last, going up). Without match case, letters compare
// through the simple case folding. A text that is empty, or holds a tab (which
// no cell can), is never found.
int32_t findRow(const TableText& table, int32_t from, const FindRequest& request);

// ---- copying ----------------------------------------------------------------------------

// Rows first..last, both included.
struct RowRange {
  int32_t first = 0, last = -1;
  bool operator==(const RowRange&) const = default;
};

// The text a selection puts on the clipboard, as spreadsheets read it: the
// header row, then the rows of the ranges in order, each line the cells joined
// by tabs and ended by CR LF. A cell holding a line break is quoted ("..." with
// inner quotes doubled) so that it stays one cell. Rows outside the data rows
// are left out.
//
// Measured first, then written straight where it goes (the clipboard's own
// memory): a large table is not built twice. The lines are found once; the
// table must not change until the text is written.
//
// After a sort the rows lie scattered in memory. Finding every line's text
// first and looking the texts through afterwards keeps many fetches under way
// in each walk, where one walk doing both waits for every row twice. A large
// copy is cut into parts, one per processor the given Parallel has, which look
// through and write their own lines; the table itself is read on the caller's
// thread only, but for storedRow and willLocate, which the parts call at once.
class CopyText {
 public:
  CopyText(const TableText& table, std::span<const RowRange> rows, const Parallel& parallel = inTurn());
  // In UTF-16 units, without a terminating NUL.
  std::size_t size() const { return size_; }
  // Writes exactly size() units to out.
  void write(char16_t* out) const;

 private:
  struct Line {
    const char16_t* data;  // the row's stored text, or one of built_; null until found
    std::size_t size;
    int32_t row;           // in the table
    bool quoted;           // a cell holds a line break
  };
  struct Part {
    std::size_t first = 0, end = 0;  // its lines
    std::size_t offset = 0, size = 0;  // where its text goes, and its length
    std::vector<std::size_t> toJoin;   // lines whose cells must be joined by the table
  };
  std::unique_ptr<Line[]> lines_;  // header first
  std::size_t lineCount_ = 0;
  std::vector<Part> parts_;
  std::deque<ustring> built_;   // lines that had to be joined; a deque keeps them in place
  std::size_t size_ = 0;
  const Parallel& parallel_;
};
ustring copyText(const TableText& table, std::span<const RowRange> rows, const Parallel& parallel = inTurn());

}  // namespace lumo::ui
