// Breaking a printed table into pages: rows into blocks that fit the page's
// height, columns into bands that fit its width. Every column is printed at the
// width it has in the list; columns that do not fit continue on further pages,
// each band starting with the first column again so that every page says whose
// row it is. Pages go band by band within a block of rows (a block's pages can
// be laid side by side), then block by block.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace lumo::ui {

// Measures the table's text on the device the pages are drawn on.
class TextMeasure {
 public:
  virtual ~TextMeasure() = default;
  // The height of one line of text in the table's font, in device units.
  virtual int32_t lineHeight(bool bold) const = 0;
};

// A page in device units.
struct PageFrame {
  int32_t width = 0, height = 0;
  int32_t margin = 0;  // on every side
  int32_t dpi = 96;    // device units per inch
};

// A column as placed on a page: its left and right edges in device units. A
// column wider than the room left is cut at the right margin (clipped).
struct PlacedColumn {
  int32_t column = 0;  // 1-based
  int32_t left = 0, right = 0;
  bool clipped = false;
  bool operator==(const PlacedColumn&) const = default;
};

struct PageContent {
  int32_t band = 0, block = 0;
  int32_t firstRow = 1, lastRow = 0;  // data rows; none when lastRow < firstRow
  std::vector<PlacedColumn> columns;
};

class PagePlan {
 public:
  // columnTwips: the width of each column 1..n in twips (1/1440 inch); a
  // negative width counts as 0. dataRows: the rows under the header.
  PagePlan(std::span<const int32_t> columnTwips, int32_t dataRows, const PageFrame& frame, const TextMeasure& measure);

  int32_t pageCount() const { return blocks_ * bandCount(); }
  int32_t bandCount() const { return static_cast<int32_t>(bands_.size()); }
  int32_t blockCount() const { return blocks_; }
  int32_t rowsPerPage() const { return rowsPerPage_; }
  // The heights of a table line (header and rows) and of the title on top.
  int32_t lineHeight() const { return line_; }
  int32_t titleHeight() const { return 2 * line_; }
  // Whether the first column starts every band (it does unless it would take
  // more than half the page's width, leaving too little for the others).
  bool repeatsFirstColumn() const { return repeatFirst_; }
  const std::vector<PlacedColumn>& band(int32_t b) const { return bands_[static_cast<std::size_t>(b)]; }
  // Page index (0-based) clamped into 0..pageCount-1.
  PageContent page(int32_t index) const;

 private:
  std::vector<std::vector<PlacedColumn>> bands_;
  int32_t rows_ = 0, rowsPerPage_ = 1, blocks_ = 1, line_ = 1;
  bool repeatFirst_ = false;
};

}  // namespace lumo::ui
