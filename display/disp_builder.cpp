#include "display/disp_builder.h"

#include <cstdint>

#include "host/platform.h"

namespace lumo::display {

DispBuilder::DispBuilder(WindowFactory& windows) {
  window_ = windows.listWindow();
  if (!window_) throw Error(errnum::CannotCreateObject, u"ActiveX component can't create object: frmDisplayer");
  window_->load();
  colTypes_.assign(static_cast<std::size_t>(cols()) + 1, coltype::CTString);
}

void DispBuilder::setWindowPos(int32_t pos) {
  const Rect r = window_->windowRect();
  const int32_t left = r.left > 0 ? r.left : 0;
  const int32_t top = r.top > 0 ? r.top : 0;
  platform().setWindowPos(window_->windowHandle(), pos, left, top, r.width, r.height, kSwpNoSize);
}

void DispBuilder::add(const ustring& row) {
  // The list needs count + 1 lines, which must still be a 32-bit count.
  if (rowCount_ >= INT32_MAX - 1) throw Error(errnum::Overflow);
  ++rowCount_;
  window_->setRowCount(rowCount_ + 1);
  const ustring key = toText(rowCount_);
  window_->rowSets()->add(Variant(row), &key);
}

void DispBuilder::setCols(int32_t n) {
  window_->setColumnCount(n);
  colTypes_.assign(static_cast<std::size_t>(n) + 1, coltype::CTString);
  for (int32_t c = 1; c <= n; ++c) window_->setColumnWidth(c, kBuilderColumnWidth);
}

void DispBuilder::show(const Variant& mode, const Variant& windowState) {
  if (window_->rowSets()->count() < 1) return;
  auto given = [](const Variant& v) {
    const Variant& d = v.deref();
    return !d.isMissing() && !d.isEmpty();
  };
  const int16_t state = given(windowState) ? windowState.deref().toI2() : int16_t(0);
  const bool modal = given(mode) && mode.deref().toDouble() == 1.0;
  window_->setWindowState(state);
  window_->show(modal);
}

void DispBuilder::setColType(int32_t col, int32_t colType) {
  if (col < 1 || col > cols()) return;
  // The table follows the list when the list got more columns another way.
  if (colTypes_.size() < static_cast<std::size_t>(cols()) + 1)
    colTypes_.resize(static_cast<std::size_t>(cols()) + 1, coltype::CTString);
  colTypes_[static_cast<std::size_t>(col - 1)] = colType;
  if (colType == coltype::CTInteger || colType == coltype::CTDouble) window_->setColumnAlignment(col, align::Number);
}

void DispBuilder::setColWidth(int32_t col, int32_t width) {
  if (col < 1 || col > cols()) return;
  window_->setColumnWidth(col, width);
}

void DispBuilder::setCaption(const ustring& text) {
  window_->setCaption(text);
  window_->setBaseCaption(text);
  window_->setToolTip(u"Exit", window_->toolTip(u"Exit"));
}

ustring DispBuilder::setText(int32_t row, int32_t col, const ustring& value) {
  window_->setCellText(row, col, value);
  return {};
}

}  // namespace lumo::display
