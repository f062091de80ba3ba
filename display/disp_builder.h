// The logic behind the public class clsDispBuilder: fills one display window row
// by row and shows it. Members stand in the order of the class's interface.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "automation/object.h"
#include "display/displayer.h"
#include "host/windows.h"

namespace lumo::display {

// Enum_ColType
namespace coltype {
constexpr int32_t CTInteger = 1;
constexpr int32_t CTDouble = 2;
constexpr int32_t CTString = 3;
}  // namespace coltype

// Enum_WindowPos: the insert-after handles of the system's window-position call.
namespace windowpos {
constexpr int32_t HWND_TOPMOST = -1;
constexpr int32_t HWND_NOTOPMOST = -2;
constexpr int32_t HWND_TOP = 0;
constexpr int32_t HWND_BOTTOM = 1;
}  // namespace windowpos

constexpr uint32_t kSwpNoSize = 1;
constexpr int32_t kBuilderColumnWidth = 1600;  // twips, every column after Cols

class DispBuilder {
 public:
  // Creates the builder's display window through the factory and loads it, as the
  // first use of a window loads it; raises 429 when the factory has none.
  explicit DispBuilder(WindowFactory& windows);
  // Releasing the builder releases its window.
  ~DispBuilder() = default;

  // 1. Re-stacks the window: its position with left and top clamped to 0 when
  // not positive, its size unchanged (SWP_NOSIZE), z-order pos.
  void setWindowPos(int32_t pos);
  // 2-6. Forwarded to the window.
  ustring titles() const { return window_->titles(); }
  void setTitles(const ustring& t) { window_->setTitles(t); }
  ustring promptContent() const { return window_->promptContent(); }
  void setPromptContent(const ustring& t) { window_->setPromptContent(t); }
  ustring promptTitle() const { return window_->promptTitle(); }
  void setPromptTitle(const ustring& t) { window_->setPromptTitle(t); }
  int32_t needDisplay() const { return window_->needDisplay(); }
  void setNeedDisplay(int32_t n) { window_->setNeedDisplay(n); }
  int32_t displayStyle() const { return window_->displayStyle(); }
  void setDisplayStyle(int32_t s) { window_->setDisplayStyle(s); }
  // 7. Read from the window (after it closed).
  int32_t promptResult() const { return window_->promptResult(); }
  // 8. One more row: the list gets count + 1 lines, the row text goes into the
  // window's rows keyed by the decimal new count. Raises 6 when the count would
  // overflow, 457 when the key is taken.
  void add(const ustring& row);
  // 9. The list's column count; setting it resets every column type to CTString
  // and every width to 1600 twips. Raises 5 for a negative count.
  int32_t cols() const { return window_->list().columnCount(); }
  void setCols(int32_t n);
  // 10. Nothing without a row; otherwise the window state (converted to 16 bits,
  // 6 on overflow) and the window shown, modal when mode is 1. An omitted
  // argument counts as 0.
  void show(const Variant& mode = Variant::missing(), const Variant& windowState = Variant::missing());
  // 11. For 1 <= col <= cols only: the type is kept in entry col - 1; numeric
  // types align the column as numbers.
  void setColType(int32_t col, int32_t colType);
  // 12. For 1 <= col <= cols only.
  void setColWidth(int32_t col, int32_t width);
  // 13. Sets the caption and the base caption, then writes the "Exit" button's
  // tool tip back as it reads.
  ustring caption() const { return window_->caption(); }
  void setCaption(const ustring& text);
  // 14. Inert.
  int32_t col() const { return 0; }
  void setCol(int32_t) {}
  // 15. The list's current row.
  int32_t row() const { return window_->list().currentRow(); }
  void setRow(int32_t r) { window_->setCurrentRow(r); }
  // 16. Inert.
  ustring text() const { return {}; }
  void setText(const ustring&) {}
  // 17. Cell (row, col), row 0 the header; "" outside the list.
  ustring getText(int32_t row, int32_t col) const { return window_->list().text(row, col); }
  // 18. Writes a cell; a cell outside the list is ignored. The result is always "".
  ustring setText(int32_t row, int32_t col, const ustring& value);

  // The rows added so far and the column-type table (entries 0..cols).
  int32_t rowCount() const { return rowCount_; }
  const std::vector<int32_t>& colTypes() const { return colTypes_; }
  DisplayerPresenter& window() { return *window_; }

 private:
  std::shared_ptr<DisplayerPresenter> window_;
  int32_t rowCount_ = 0;
  std::vector<int32_t> colTypes_{coltype::CTString};
};

}  // namespace lumo::display
