#include "ui/edit_grid.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <utility>

#include "automation/error.h"

namespace lumo::ui {

namespace {
const ustring kNoTip;
[[noreturn]] void invalidCall() { throw Error(5, u"Invalid procedure call or argument"); }
}  // namespace

EditGrid::Column& EditGrid::column(int32_t row, int32_t col) {
  if (row < 0 || row > rows_ || col < 1 || col > cols_) invalidCall();
  return columns_[static_cast<std::size_t>(col)];
}

const EditGrid::Column& EditGrid::column(int32_t row, int32_t col) const {
  if (row < 0 || row > rows_ || col < 1 || col > cols_) invalidCall();
  return columns_[static_cast<std::size_t>(col)];
}

EditGrid::Style& EditGrid::style(int32_t row, int32_t col) {
  Column& c = column(row, col);
  return row == 0 ? c.headerStyle : c.style[static_cast<std::size_t>(row - 1)];
}

const EditGrid::Style& EditGrid::style(int32_t row, int32_t col) const {
  const Column& c = column(row, col);
  return row == 0 ? c.headerStyle : c.style[static_cast<std::size_t>(row - 1)];
}

ustring& EditGrid::textOf(int32_t row, int32_t col) {
  Column& c = column(row, col);
  return row == 0 ? c.headerText : c.text[static_cast<std::size_t>(row - 1)];
}

void EditGrid::setCols(int32_t n) {
  if (n < 0) invalidCall();
  cancelEdit();
  const std::size_t had = columns_.size();
  columns_.resize(static_cast<std::size_t>(n + 1));
  for (std::size_t c = had; c < columns_.size(); ++c) {
    columns_[c].text.resize(static_cast<std::size_t>(rows_));
    columns_[c].style.resize(static_cast<std::size_t>(rows_));
  }
  cols_ = n;
  shaped();
}

void EditGrid::fill(std::vector<ColumnFill> columns) {
  if (columns.size() != static_cast<std::size_t>(cols_)) invalidCall();
  const std::size_t rows = columns.empty() ? 0 : columns.front().texts.size();
  if (rows > static_cast<std::size_t>(INT32_MAX)) invalidCall();
  for (const ColumnFill& f : columns)
    if (f.texts.size() != rows) invalidCall();
  cancelEdit();
  for (std::size_t i = 0; i < columns.size(); ++i) {
    Column& c = columns_[i + 1];
    c.text = std::move(columns[i].texts);
    Style cell;
    static_cast<CellStyle&>(cell) = columns[i].style;
    c.style.assign(rows, cell);
    std::erase_if(c.tips, [](const auto& tip) { return tip.first > 0; });
  }
  rows_ = static_cast<int32_t>(rows);
  shaped();
}

void EditGrid::shaped() {
  activeRow_ = std::clamp(activeRow_, rows_ > 0 ? 1 : 0, rows_);
  activeCol_ = std::clamp(activeCol_, cols_ > 0 ? 1 : 0, cols_);
  if (activeRow_ == 0 && rows_ > 0) activeRow_ = 1;
  if (activeCol_ == 0 && cols_ > 0) activeCol_ = 1;
  if (observer_ && redraw_) observer_->gridReset();
}

void EditGrid::changed(int32_t row, int32_t col) {
  if (observer_ && redraw_) observer_->cellChanged(row, col);
}

const ustring& EditGrid::text(int32_t row, int32_t col) const {
  const Column& c = column(row, col);
  return row == 0 ? c.headerText : c.text[static_cast<std::size_t>(row - 1)];
}

void EditGrid::setText(int32_t row, int32_t col, ustring text) {
  ustring& t = textOf(row, col);
  if (t == text) return;
  t = std::move(text);
  changed(row, col);
}

bool EditGrid::locked(int32_t row, int32_t col) const { return style(row, col).locked; }

void EditGrid::setLocked(int32_t row, int32_t col, bool locked) {
  Style& c = style(row, col);
  if (c.locked == locked) return;
  c.locked = locked;
  if (locked && editing_ && editRow_ == row && editCol_ == col) cancelEdit();
  changed(row, col);
}

Rgb EditGrid::backColor(int32_t row, int32_t col) const { return style(row, col).back; }

void EditGrid::setBackColor(int32_t row, int32_t col, Rgb color) {
  Style& c = style(row, col);
  if (c.back == color) return;
  c.back = color;
  changed(row, col);
}

Rgb EditGrid::foreColor(int32_t row, int32_t col) const { return style(row, col).fore; }

void EditGrid::setForeColor(int32_t row, int32_t col, Rgb color) {
  Style& c = style(row, col);
  if (c.fore == color) return;
  c.fore = color;
  changed(row, col);
}

bool EditGrid::marked(int32_t row, int32_t col) const { return style(row, col).marked; }

const ustring& EditGrid::toolTip(int32_t row, int32_t col) const {
  const Column& c = column(row, col);
  auto it = c.tips.find(row);
  return it == c.tips.end() ? kNoTip : it->second;
}

void EditGrid::setMark(int32_t row, int32_t col, bool marked, ustring toolTip) {
  Style& st = style(row, col);
  Column& c = columns_[static_cast<std::size_t>(col)];
  auto it = c.tips.find(row);
  if (st.marked == marked && (it == c.tips.end() ? toolTip.empty() : it->second == toolTip)) return;
  st.marked = marked;
  if (toolTip.empty()) {
    if (it != c.tips.end()) c.tips.erase(it);
  } else if (it != c.tips.end()) {
    it->second = std::move(toolTip);
  } else {
    c.tips.emplace(row, std::move(toolTip));
  }
  changed(row, col);
}

int32_t EditGrid::maxLength(int32_t col) const { return column(0, col).maxLength; }

void EditGrid::setMaxLength(int32_t col, int32_t length) { column(0, col).maxLength = std::max(0, length); }

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
  const int32_t max = columns_[static_cast<std::size_t>(col)].maxLength;
  if (max > 0 && text.size() > static_cast<std::size_t>(max)) text.resize(static_cast<std::size_t>(max));
  return text;
}

bool EditGrid::beginEdit() {
  if (activeRow_ < 1 || activeCol_ < 1) return false;
  return beginEdit(text(activeRow_, activeCol_));
}

bool EditGrid::beginEdit(const ustring& replace) {
  if (activeRow_ < 1 || activeCol_ < 1 || locked(activeRow_, activeCol_)) return false;
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
  if (this->text(row, col) == text) return false;
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
