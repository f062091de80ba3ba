// A table of rows written as tab-separated texts, row 0 the header, for tests of
// what is done with a list's rows (sorting, finding, copying). It hands out its
// data rows' texts as stored unless told not to, so that both ways of reading
// a row are tried.
#pragma once

#include <algorithm>
#include <utility>
#include <vector>

#include "ui/list_table.h"

namespace lumo::test {

class TableRows final : public ui::TableText {
 public:
  TableRows(int32_t columns, std::vector<ustring> rows, bool storesRows = true)
      : columns_(columns), rows_(std::move(rows)), storesRows_(storesRows) {}
  int32_t rowCount() const override { return static_cast<int32_t>(rows_.size()); }
  int32_t columnCount() const override { return columns_; }
  const ustring& joinedCells(int32_t row, ustring& scratch) const override {
    // Fewer cells than columns are filled up with empty ones, as the list does.
    scratch = rows_[static_cast<std::size_t>(row)];
    const auto tabs = std::count(scratch.begin(), scratch.end(), u'\t');
    for (auto t = tabs; t < columns_ - 1; ++t) scratch.push_back(u'\t');
    return scratch;
  }
  const ustring* storedRow(int32_t row) const override {
    return storesRows_ && row >= 1 && row < rowCount() ? &rows_[static_cast<std::size_t>(row)] : nullptr;
  }

 private:
  int32_t columns_;
  std::vector<ustring> rows_;
  bool storesRows_;
};

// n data rows under a header of three columns, of every kind a copy meets: rows
// with their three cells, short rows, a cell too many, line breaks and quotes,
// empty rows, long cells.
inline std::vector<ustring> mixedRows(int n) {
  std::vector<ustring> rows = {u"h1\th2\th3"};
  for (int i = 0; i < n; ++i) {
    const ustring number(1, static_cast<char16_t>(u'0' + i % 10));
    switch (i % 7) {
      case 0: rows.push_back(u"张三" + number + u"\t销售部\t" + number); break;
      case 1: rows.push_back(u"short" + number); break;
      case 2: rows.push_back(u"a\tb\tc\td" + number); break;
      case 3: rows.push_back(u"x\ty\r\nz\t\"q\"" + number); break;
      case 4: rows.push_back(u""); break;
      case 5: rows.push_back(ustring(static_cast<std::size_t>(40 + i % 97), u'长') + u"\t\t" + number); break;
      default: rows.push_back(u"\t\t"); break;
    }
  }
  return rows;
}

}  // namespace lumo::test
