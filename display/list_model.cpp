#include "display/list_model.h"

#include <algorithm>
#include <deque>

#include "automation/prefetch.h"

namespace lumo::display {

ustring_view cellPiece(ustring_view cells, std::size_t piece) {
  std::size_t start = 0;
  for (std::size_t i = 0; i < piece; ++i) {
    const std::size_t tab = cells.find(u'\t', start);
    if (tab == ustring_view::npos) return {};
    start = tab + 1;
  }
  const std::size_t tab = cells.find(u'\t', start);
  return cells.substr(start, tab == ustring_view::npos ? ustring_view::npos : tab - start);
}

std::size_t tabCount(ustring_view text) { return countOf(text, u'\t'); }

ListModel::ListModel() : rows_(std::make_shared<Collection>()) {}

void ListModel::setRows(std::shared_ptr<Collection> rows) {
  rows_ = rows ? std::move(rows) : std::make_shared<Collection>();
}

ustring_view ListModel::storedCells(int32_t row, ustring& scratch) const {
  if (row == 0) {
    ustring_view t = titles_;
    if (!t.empty() && t.back() == u'|') t.remove_suffix(1);
    return t;
  }
  if (row < 1 || static_cast<std::size_t>(row) > rows_->count()) return {};
  const Variant& entry = rows_->item(static_cast<std::size_t>(row));
  if (entry.isString()) return entry.rawString();
  // Something other than text was put in the collection: shown as its text, or
  // not at all when it has none.
  try {
    scratch = entry.toString();
  } catch (const std::exception&) {
    scratch.clear();
  }
  return scratch;
}

ustring ListModel::line(int32_t r) const {
  if (r < 1 || r > rowCount_) return {};
  if (r == 1) return titles_;
  const std::size_t k = static_cast<std::size_t>(r - 1);
  if (k > rows_->count()) return {};
  const Variant& entry = rows_->item(k);
  ustring out;
  if (entry.isString()) {
    out.reserve(entry.rawString().size() + 1);
    out = entry.rawString();
  } else {
    try {
      out = entry.toString();
    } catch (const std::exception&) {
      return {};
    }
  }
  out.push_back(u'|');
  return out;
}

void ListModel::setColumnCount(int32_t n) {
  if (n < 0) throw Error(errnum::InvalidCall);
  if (n < columnCount()) {
    for (auto it = cells_.begin(); it != cells_.end();) {
      if (static_cast<int32_t>(it->first & 0xFFFFFFFFu) > n) it = cells_.erase(it);
      else ++it;
    }
    rowsWritten_.clear();
    for (const auto& [key, value] : cells_) rowsWritten_.insert(static_cast<int32_t>(key >> 32));
  }
  columns_.resize(static_cast<std::size_t>(n));
}

const ListColumn& ListModel::column(int32_t c) const {
  if (c < 1 || c > columnCount()) throw Error(errnum::SubscriptOutOfRange);
  return columns_[static_cast<std::size_t>(c - 1)];
}

bool ListModel::setColumnWidth(int32_t c, int32_t twips) {
  if (c < 1 || c > columnCount() || twips < 0) return false;
  columns_[static_cast<std::size_t>(c - 1)].width = twips;
  return true;
}

bool ListModel::setColumnAlignment(int32_t c, int32_t code) {
  if (c < 1 || c > columnCount()) return false;
  columns_[static_cast<std::size_t>(c - 1)].alignment = code;
  return true;
}

void ListModel::setRowCount(int32_t n) {
  if (n < 0) throw Error(errnum::InvalidCall);
  if (n < rowCount_) {
    for (auto it = cells_.begin(); it != cells_.end();) {
      if (static_cast<int32_t>(it->first >> 32) >= n) it = cells_.erase(it);
      else ++it;
    }
    for (auto it = rowsWritten_.begin(); it != rowsWritten_.end();) {
      if (*it >= n) it = rowsWritten_.erase(it);
      else ++it;
    }
    if (n == 0) {
      for (ListColumn& c : columns_) {
        c.title.clear();
        c.hasTitle = false;
      }
    }
  }
  rowCount_ = n;
  currentRow_ = std::max(0, std::min(currentRow_, n - 1));
}

bool ListModel::setCurrentRow(int32_t r) {
  if (r < 0 || r >= rowCount_) return false;
  currentRow_ = r;
  return true;
}

ustring ListModel::text(int32_t row, int32_t col) const {
  if (!inside(row, col)) return {};
  if (row == 0) {
    const ListColumn& c = columns_[static_cast<std::size_t>(col - 1)];
    if (c.hasTitle) return c.title;
  } else if (!cells_.empty()) {
    auto it = cells_.find(keyOf(row, col));
    if (it != cells_.end()) return it->second;
  }
  ustring scratch;
  return ustring(cellPiece(storedCells(row, scratch), static_cast<std::size_t>(col - 1)));
}

bool ListModel::setText(int32_t row, int32_t col, const ustring& value) {
  if (!inside(row, col)) return false;
  if (row == 0) {
    ListColumn& c = columns_[static_cast<std::size_t>(col - 1)];
    c.title = value;
    c.hasTitle = true;
    return true;
  }
  cells_[keyOf(row, col)] = value;
  rowsWritten_.insert(row);
  return true;
}

const ustring* ListModel::storedRow(int32_t row) const {
  if (row < 1 || row >= rowCount_ || static_cast<std::size_t>(row) > rows_->count()) return nullptr;
  if (!rowsWritten_.empty() && rowsWritten_.count(row) > 0) return nullptr;
  const Variant& entry = rows_->item(static_cast<std::size_t>(row));
  return entry.isString() ? &entry.rawString() : nullptr;
}

const ustring& ListModel::joinedCells(int32_t row, ustring& scratch) const {
  const int32_t n = columnCount();
  if (row < 0 || row >= rowCount_ || n == 0) {
    scratch.clear();
    return scratch;
  }
  // Exactly n cells already, none written over: the stored text is the joined row.
  if (row >= 1) {
    if (const ustring* stored = storedRow(row); stored && ui::isJoinedRow(tabCount(*stored), n)) return *stored;
  } else if (std::none_of(columns_.begin(), columns_.end(), [](const ListColumn& c) { return c.hasTitle; })) {
    const ustring_view titles = storedCells(0, scratch);
    if (ui::isJoinedRow(tabCount(titles), n)) {
      scratch.assign(titles.data(), titles.size());
      return scratch;
    }
  }
  ustring joined;
  for (int32_t c = 1; c <= n; ++c) {
    if (c > 1) joined.push_back(u'\t');
    joined += text(row, c);
  }
  scratch = std::move(joined);
  return scratch;
}

void ListModel::willRead(int32_t row) const {
  // In two steps: the entry of a row further down, and the text of this one,
  // whose entry an earlier call of the walk has fetched.
  willLocate(row + kReadAhead);
  if (row < 1 || static_cast<std::size_t>(row) > rows_->count()) return;
  const Variant& entry = rows_->item(static_cast<std::size_t>(row));
  if (entry.isString()) prefetchForRead(entry.rawString().data());
}

void ListModel::willLocate(int32_t row) const {
  if (row >= 1) rows_->prefetch(static_cast<std::size_t>(row));
}

bool ListModel::sortBy(int32_t c, bool descending, const ui::Collation& collation) {
  if (c < 1 || c > columnCount()) return false;
  const std::size_t m = std::min(static_cast<std::size_t>(std::max(0, rowCount_ - 1)), rows_->count());
  std::vector<ustring_view> cells(m);
  std::deque<ustring> made;  // the texts of entries that are not text themselves
  for (std::size_t i = 0; i < m; ++i) {
    const int32_t row = static_cast<int32_t>(i + 1);
    willRead(row + kReadAhead);
    if (!cells_.empty()) {
      const auto it = cells_.find(keyOf(row, c));
      if (it != cells_.end()) {
        cells[i] = it->second;
        continue;
      }
    }
    const Variant& entry = rows_->item(i + 1);
    ustring_view stored;
    if (entry.isString()) {
      stored = entry.rawString();
    } else {
      made.emplace_back();
      stored = storedCells(row, made.back());
    }
    cells[i] = cellPiece(stored, static_cast<std::size_t>(c - 1));
  }
  const ui::SortKind kind = column(c).alignment == align::Number ? ui::SortKind::Number : ui::SortKind::Text;
  const std::vector<uint32_t> order = ui::sortOrder(cells, kind, descending, collation);
  cells.clear();
  made.clear();
  rows_->reorder(order);

  // The current row follows its entry.
  if (currentRow_ >= 1 && static_cast<std::size_t>(currentRow_) <= m) {
    const auto was = static_cast<uint32_t>(currentRow_ - 1);
    currentRow_ = static_cast<int32_t>(std::find(order.begin(), order.end(), was) - order.begin()) + 1;
  }
  if (cells_.empty()) return true;
  // Where each row went: the written cells move with their rows.
  std::vector<int32_t> target(m + 1, 0);
  for (std::size_t p = 0; p < m; ++p) target[order[p] + 1] = static_cast<int32_t>(p + 1);
  auto moved = [&](int32_t row) { return row >= 1 && static_cast<std::size_t>(row) <= m ? target[static_cast<std::size_t>(row)] : row; };
  std::unordered_map<uint64_t, ustring> cells2;
  cells2.reserve(cells_.size());
  for (auto& [key, value] : cells_)
    cells2.emplace(keyOf(moved(static_cast<int32_t>(key >> 32)), static_cast<int32_t>(key & 0xFFFFFFFFu)), std::move(value));
  cells_ = std::move(cells2);
  std::unordered_set<int32_t> rows2;
  for (int32_t row : rowsWritten_) rows2.insert(moved(row));
  rowsWritten_ = std::move(rows2);
  return true;
}

void ListModel::clearCells() {
  cells_.clear();
  rowsWritten_.clear();
  for (ListColumn& c : columns_) {
    c.title.clear();
    c.hasTitle = false;
  }
}

}  // namespace lumo::display
