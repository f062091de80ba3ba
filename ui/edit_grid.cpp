#include "ui/edit_grid.h"

#include <algorithm>
#include <utility>

#include "automation/error.h"

namespace lumo::ui {

std::size_t EditGrid::index(int32_t row, int32_t col) const {
  if (row < 0 || row > rows_ || col < 1 || col > cols_) throw Error(5, u"Invalid procedure call or argument");
  return static_cast<std::size_t>(row) * static_cast<std::size_t>(cols_ + 1) + static_cast<std::size_t>(col);
}

void EditGrid::reshape(int32_t rows, int32_t cols) {
  if (rows < 0 || cols < 0) throw Error(5, u"Invalid procedure call or argument");
  cancelEdit();
  std::vector<Cell> next(static_cast<std::size_t>(rows + 1) * static_cast<std::size_t>(cols + 1));
  const int32_t keepRows = std::min(rows, rows_), keepCols = std::min(cols, cols_);
  for (int32_t r = 0; r <= keepRows; ++r)
    for (int32_t c = 1; c <= keepCols; ++c)
      next[static_cast<std::size_t>(r) * static_cast<std::size_t>(cols + 1) + static_cast<std::size_t>(c)] =
          std::move(cells_[index(r, c)]);
  cells_ = std::move(next);
  rows_ = rows;
  cols_ = cols;
  maxLength_.resize(static_cast<std::size_t>(cols + 1), 0);
  activeRow_ = std::clamp(activeRow_, rows_ > 0 ? 1 : 0, rows_);
  activeCol_ = std::clamp(activeCol_, cols_ > 0 ? 1 : 0, cols_);
  if (activeRow_ == 0 && rows_ > 0) activeRow_ = 1;
  if (activeCol_ == 0 && cols_ > 0) activeCol_ = 1;
  if (observer_ && redraw_) observer_->gridReset();
}

void EditGrid::setCols(int32_t n) { reshape(rows_, n); }
void EditGrid::setRows(int32_t n) { reshape(n, cols_); }

void EditGrid::changed(int32_t row, int32_t col) {
  if (observer_ && redraw_) observer_->cellChanged(row, col);
}

const ustring& EditGrid::text(int32_t row, int32_t col) const { return cell(row, col).text; }

void EditGrid::setText(int32_t row, int32_t col, ustring text) {
  Cell& c = cell(row, col);
  if (c.text == text) return;
  c.text = std::move(text);
  changed(row, col);
}

bool EditGrid::locked(int32_t row, int32_t col) const { return cell(row, col).locked; }

void EditGrid::setLocked(int32_t row, int32_t col, bool locked) {
  Cell& c = cell(row, col);
  if (c.locked == locked) return;
  c.locked = locked;
  if (locked && editing_ && editRow_ == row && editCol_ == col) cancelEdit();
  changed(row, col);
}

Rgb EditGrid::backColor(int32_t row, int32_t col) const { return cell(row, col).back; }

void EditGrid::setBackColor(int32_t row, int32_t col, Rgb color) {
  Cell& c = cell(row, col);
  if (c.back == color) return;
  c.back = color;
  changed(row, col);
}

Rgb EditGrid::foreColor(int32_t row, int32_t col) const { return cell(row, col).fore; }

void EditGrid::setForeColor(int32_t row, int32_t col, Rgb color) {
  Cell& c = cell(row, col);
  if (c.fore == color) return;
  c.fore = color;
  changed(row, col);
}

bool EditGrid::marked(int32_t row, int32_t col) const { return cell(row, col).marked; }
const ustring& EditGrid::toolTip(int32_t row, int32_t col) const { return cell(row, col).tip; }

void EditGrid::setMark(int32_t row, int32_t col, bool marked, ustring toolTip) {
  Cell& c = cell(row, col);
  if (c.marked == marked && c.tip == toolTip) return;
  c.marked = marked;
  c.tip = std::move(toolTip);
  changed(row, col);
}

int32_t EditGrid::maxLength(int32_t col) const {
  index(0, col);
  return maxLength_[static_cast<std::size_t>(col)];
}

void EditGrid::setMaxLength(int32_t col, int32_t length) {
  index(0, col);
  maxLength_[static_cast<std::size_t>(col)] = std::max(0, length);
}

void EditGrid::setRedraw(bool on) {
  if (redraw_ == on) return;
  redraw_ = on;
  if (on && observer_) observer_->gridReset();
}

void EditGrid::setActive(int32_t row, int32_t col) {
  row = rows_ > 0 ? std::clamp(row, 1, rows_) : 0;
  col = cols_ > 0 ? std::clamp(col, 1, cols_) : 0;
  if (editing_ && (row != editRow_ || col != editCol_)) commitEdit();
  if (row == activeRow_ && col == activeCol_) return;
  activeRow_ = row;
  activeCol_ = col;
  if (observer_) observer_->activeMoved();
}

void EditGrid::moveActive(int32_t rows, int32_t cols) {
  const int64_t r = static_cast<int64_t>(activeRow_) + rows, c = static_cast<int64_t>(activeCol_) + cols;
  setActive(static_cast<int32_t>(std::clamp<int64_t>(r, 0, rows_)), static_cast<int32_t>(std::clamp<int64_t>(c, 0, cols_)));
}

void EditGrid::click(int32_t row, int32_t col) {
  if (row < 1 || row > rows_ || col < 1 || col > cols_) return;
  setActive(row, col);
  if (onClick_) onClick_(row, col);
}

ustring EditGrid::clip(int32_t col, ustring text) const {
  const int32_t max = maxLength_[static_cast<std::size_t>(col)];
  if (max > 0 && text.size() > static_cast<std::size_t>(max)) text.resize(static_cast<std::size_t>(max));
  return text;
}

bool EditGrid::beginEdit() {
  if (activeRow_ < 1 || activeCol_ < 1) return false;
  return beginEdit(cell(activeRow_, activeCol_).text);
}

bool EditGrid::beginEdit(const ustring& replace) {
  if (activeRow_ < 1 || activeCol_ < 1 || cell(activeRow_, activeCol_).locked) return false;
  editing_ = true;
  editRow_ = activeRow_;
  editCol_ = activeCol_;
  editText_ = clip(editCol_, replace);
  if (observer_) observer_->editChanged();
  return true;
}

void EditGrid::setEditText(ustring text) {
  if (!editing_) return;
  editText_ = clip(editCol_, std::move(text));
  if (observer_) observer_->editChanged();
}

bool EditGrid::commitEdit() {
  if (!editing_) return false;
  editing_ = false;
  const int32_t row = editRow_, col = editCol_;
  ustring text = std::move(editText_);
  editText_.clear();
  if (observer_) observer_->editChanged();
  if (cell(row, col).text == text) return false;
  setText(row, col, std::move(text));
  if (onChange_) onChange_(row, col);
  return true;
}

void EditGrid::cancelEdit() {
  if (!editing_) return;
  editing_ = false;
  editText_.clear();
  if (observer_) observer_->editChanged();
}

}  // namespace lumo::ui
