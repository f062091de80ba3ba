// An editable grid control that draws an EditGrid model and forwards what the
// user does to it: a control of our own class, owner-drawn, that paints only the
// rows in sight (a table of any length costs what the window shows), with a
// header row, per-cell background and text colours, a marker in the corner of a
// marked cell and that cell's tool tip, and an edit box laid over the cell
// being edited.
//
// Keyboard as a spreadsheet's: arrows, Home/End, Page Up/Down move the active
// cell; F2 edits it with its text, a typed character edits it starting with that
// character; in the edit box Enter commits (and moves down), Esc cancels, Up and
// Down commit and move. A click makes a cell active and raises the model's click;
// a double-click edits.
#pragma once

#include <windows.h>

#include <memory>
#include <vector>

#include "ui/edit_grid.h"
#include "win32/window.h"

namespace lumo::win32 {

// What a test or a tool outside the window reads of a grid: send kQueryCell with
// lParam pointing at a GridCellQuery whose row and col are set; the control
// fills the rest and answers TRUE for a cell of the grid. kQueryRows answers the
// number of rows.
struct GridCellQuery {
  int32_t row = 0, col = 0;
  wchar_t text[256] = L"";
  BOOL locked = FALSE, marked = FALSE;
  COLORREF back = 0, fore = 0;
  RECT rect{};  // in the control's client area; empty when out of sight
};
inline constexpr UINT kQueryCell = WM_APP + 0x60;
inline constexpr UINT kQueryRows = WM_APP + 0x61;

class EditGridControl final : public Window, private ui::GridObserver {
 public:
  explicit EditGridControl(ui::EditGrid& model);
  ~EditGridControl() override;

  void create(HWND parent, int id);
  // Widths of columns 1..n at 96 DPI; 0 hides a column.
  void setColumnWidths(std::vector<int> widths);
  void setFont(HFONT font);
  // Scrolls so that the row is in sight.
  void ensureVisible(int32_t row);
  int32_t topRow() const { return top_; }
  int32_t visibleRows() const;
  // The client rectangle of a cell (row 0 the header); empty when out of sight.
  RECT cellRect(int32_t row, int32_t col) const;
  HWND editBox() const { return edit_; }

 private:
  class EditBox;
  bool onMessage(UINT msg, WPARAM wParam, LPARAM lParam, LRESULT& result) override;

  // GridObserver
  void gridReset() override;
  void cellChanged(int32_t row, int32_t col) override;
  void activeMoved() override;
  void editChanged() override;

  void paint();
  void updateScroll();
  void scrollTo(int32_t top, int left);
  bool hit(int x, int y, int32_t& row, int32_t& col) const;
  void key(UINT vk);
  void placeEdit();
  void editKey(UINT vk);
  int colWidth(int32_t col) const;
  int rowHeight() const { return rowHeight_; }
  void showTip(int x, int y);
  void ensureTooltip(const MSG& move);

  ui::EditGrid& model_;
  int id_ = 0;
  std::vector<int> widths_;
  HFONT font_ = nullptr;
  int rowHeight_ = 20;
  UINT dpi_ = 96;
  int32_t top_ = 1;  // the first row shown below the header
  int left_ = 0;     // pixels scrolled to the right
  HWND edit_ = nullptr;
  HWND tooltip_ = nullptr;
  int32_t tipRow_ = 0, tipCol_ = 0;
  ustring tipText_;
  int silent_ = 0;  // edit box texts set from the model
  std::unique_ptr<EditBox> editBox_;
};

}  // namespace lumo::win32
