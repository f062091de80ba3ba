// The data of the display window's list grid: columns with title, width and
// alignment, a header row 0 and data rows, addressed (row, column) with columns
// counted from 1. The rows are not copied into the grid: the texts live once, in
// the title line and in the row collection, and a cell is cut out of its row's
// text when somebody asks for it. Only cells written through setText are kept
// on their own.
#pragma once

#include <cstdint>
#include <memory>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "automation/object.h"
#include "ui/list_table.h"

namespace lumo::display {

// Alignment codes of a list column.
namespace align {
constexpr int32_t Text = 0;
constexpr int32_t Number = 1;
constexpr int32_t Centre = 2;
}  // namespace align

struct ListColumn {
  static constexpr int32_t kDefaultWidth = 1600;  // twips
  ustring title;          // the header cell, when one was written
  bool hasTitle = false;  // otherwise the header cell comes from the title line
  int32_t width = kDefaultWidth;
  int32_t alignment = align::Text;
};

class ListModel : public ui::TableText {
 public:
  ListModel();

  // ---- the texts behind the lines ---------------------------------------------
  // The title line: the cells of the header row, separated by tabs, usually ended by "|".
  const ustring& titles() const { return titles_; }
  void setTitles(const ustring& t) { titles_ = t; }
  // The row texts: entry k (1-based) holds the cells of row k separated by tabs.
  // A null collection is replaced by an empty one.
  const std::shared_ptr<Collection>& rows() const { return rows_; }
  void setRows(std::shared_ptr<Collection> rows);

  // Line r (counted from 1) as the list asks for it: line 1 is the title line,
  // line r >= 2 the row entry r - 1 followed by "|". A line outside the list, or
  // one whose entry is missing or is not text, is empty.
  ustring line(int32_t r) const;

  // ---- shape -------------------------------------------------------------------
  int32_t columnCount() const override { return static_cast<int32_t>(columns_.size()); }
  // Raises 5 for a negative count. New columns come with the defaults; columns
  // that go take their written cells with them.
  void setColumnCount(int32_t n);
  // Column c (1..count); raises 9 outside.
  const ListColumn& column(int32_t c) const;
  // Each returns false and changes nothing for a column outside 1..count;
  // a negative width is refused the same way.
  bool setColumnWidth(int32_t c, int32_t twips);
  bool setColumnAlignment(int32_t c, int32_t code);

  // Rows including the header row 0. Raises 5 for a negative count; rows that go
  // take their written cells with them, and the current row stays inside.
  int32_t rowCount() const override { return rowCount_; }
  void setRowCount(int32_t n);

  int32_t currentRow() const { return currentRow_; }
  // False (and no change) for a row outside 0..rowCount-1.
  bool setCurrentRow(int32_t r);

  // ---- cells ---------------------------------------------------------------------
  // The text of cell (row, col); "" outside the list. A written cell wins; a
  // header cell is its column's title when one was written; otherwise the cell
  // is cut from the row's line: the line without its final "|", split at tabs.
  ustring text(int32_t row, int32_t col) const;
  // Writes a cell; false (and no change) outside the list. Row 0 sets the
  // column's title.
  bool setText(int32_t row, int32_t col, const ustring& value);

  // The cells of a row, columns 1..count joined by tabs: the stored row text
  // itself when that already holds exactly count cells and none was written
  // over, otherwise the joined text built in scratch (and returned from there).
  const ustring& joinedCells(int32_t row, ustring& scratch) const override;
  // The row's entry when it is text and no cell of the row was written over.
  const ustring* storedRow(int32_t row) const override;
  // Start fetching a row's stored text, or only its entry: after a sort the
  // rows lie scattered.
  void willRead(int32_t row) const override;
  void willLocate(int32_t row) const override;

  // Forgets every written cell and column title (the shape stays).
  void clearCells();

  // ---- order -----------------------------------------------------------------------
  // Sorts the data rows on column c, as numbers when the column is aligned as
  // numbers (ui::sortOrder). The rows that show and have an entry, 1..min(rows - 1,
  // entries), take the new order in the row collection itself: each entry keeps
  // its key, so line r still shows entry r - 1; written cells move with their
  // rows and the current row follows its entry. Nothing is copied but the cells'
  // places. False (no change) for a column outside the list.
  bool sortBy(int32_t c, bool descending, const ui::Collation& collation);

 private:
  static uint64_t keyOf(int32_t row, int32_t col) {
    return (static_cast<uint64_t>(static_cast<uint32_t>(row)) << 32) | static_cast<uint32_t>(col);
  }
  bool inside(int32_t row, int32_t col) const {
    return row >= 0 && row < rowCount_ && col >= 1 && col <= columnCount();
  }
  // The stored cells of a row, before any written cell: the title line without
  // its final "|" for row 0, the row entry for the others.
  ustring_view storedCells(int32_t row, ustring& scratch) const;

  ustring titles_;
  std::shared_ptr<Collection> rows_;
  std::vector<ListColumn> columns_;
  int32_t rowCount_ = 1;
  int32_t currentRow_ = 0;
  std::unordered_map<uint64_t, ustring> cells_;  // written cells of rows >= 1
  std::unordered_set<int32_t> rowsWritten_;      // rows holding one of them
};

// The piece'th (0-based) tab-separated piece of cells; empty when there are fewer.
ustring_view cellPiece(ustring_view cells, std::size_t piece);
// The number of tab characters in a text.
std::size_t tabCount(ustring_view text);

}  // namespace lumo::display
