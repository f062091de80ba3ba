// An editable grid as the mobile table needs it, and any later window that shows
// rows it lets the user edit in place: columns 1..cols() and rows 1..rows() of
// cells, row 0 the header; each cell with its text, a lock, a background and a
// text colour, a marker and a tool tip. The model holds every state; a control
// only draws the rows it shows and forwards the user's actions.
//
// Editing goes through one edit session at a time: begun on an unlocked cell
// (never on a locked one or the header), its text held apart from the cell's,
// committed (Enter, a click elsewhere) or cancelled (Esc). A commit that changes
// the text writes it and raises the change event with the cell; the handler may
// write the cell again (cut it, copy it to other rows). A column may have a
// maximum length: text typed or pasted into an edit is cut to it.
//
// The active cell moves like a spreadsheet's: arrows one cell, Home/End to the
// row's ends, page up/down by a page the control gives; it stays within 1..rows
// and 1..cols. A click raises the click event with the cell, whatever its lock.
//
// A table of thousands of rows is filled at once, column by column, each cell
// starting in its column's style (then the few that differ are set); the state
// is kept per column in flat lists, not as an object per cell. A run of changes
// is marked with redraw off, so that the control draws once at its end instead
// of after each cell.
#pragma once

#include <cstdint>
#include <functional>
#include <unordered_map>
#include <vector>

#include "automation/text.h"

namespace lumo::ui {

// Colours as the system writes them: 0x00BBGGRR.
using Rgb = uint32_t;
constexpr Rgb rgb(unsigned r, unsigned g, unsigned b) { return r | (g << 8) | (b << 16); }
constexpr Rgb kWhite = 0xFFFFFF;
constexpr Rgb kBlack = 0x000000;

class GridObserver {
 public:
  virtual ~GridObserver() = default;
  // The shape changed (rows, columns) or everything is to be drawn again.
  virtual void gridReset() {}
  // One cell (text, lock, colours, marker) or, for col 0, a whole row.
  virtual void cellChanged(int32_t row, int32_t col) { (void)row, (void)col; }
  virtual void activeMoved() {}
  // An edit began, its text changed, or it ended.
  virtual void editChanged() {}
};

class EditGrid {
 public:
  using CellHandler = std::function<void(int32_t row, int32_t col)>;

  void setObserver(GridObserver* o) { observer_ = o; }

  // ---- shape ----------------------------------------------------------------------------
  int32_t cols() const { return cols_; }
  int32_t rows() const { return rows_; }
  // New cells are empty, unlocked, white with black text; cells that remain keep
  // their state. Ends any edit. The rows come with a fill (below).
  void setCols(int32_t n);

  // ---- cells (row 0 is the header; a cell outside the grid raises 5) --------------------
  const ustring& text(int32_t row, int32_t col) const;
  void setText(int32_t row, int32_t col, ustring text);
  bool locked(int32_t row, int32_t col) const;
  void setLocked(int32_t row, int32_t col, bool locked);
  Rgb backColor(int32_t row, int32_t col) const;
  void setBackColor(int32_t row, int32_t col, Rgb color);
  Rgb foreColor(int32_t row, int32_t col) const;
  void setForeColor(int32_t row, int32_t col, Rgb color);
  // A small mark in the cell's corner and the text shown over it.
  bool marked(int32_t row, int32_t col) const;
  const ustring& toolTip(int32_t row, int32_t col) const;
  void setMark(int32_t row, int32_t col, bool marked, ustring toolTip = {});

  // ---- a whole table at once ------------------------------------------------------------
  struct CellStyle {
    bool locked = false;
    Rgb back = kWhite;
    Rgb fore = kBlack;
  };
  struct ColumnFill {
    std::vector<ustring> texts;  // rows 1..n
    CellStyle style;             // every cell of the column, unmarked
  };
  // Replaces every row below the header with the columns' texts: one fill per
  // column (cols() of them), all of one length, the new number of rows. Ends any
  // edit; the control draws once. Raises 5 for another number of columns or
  // texts of unequal length.
  void fill(std::vector<ColumnFill> columns);

  // 0: no limit.
  int32_t maxLength(int32_t col) const;
  void setMaxLength(int32_t col, int32_t length);

  // ---- drawing -------------------------------------------------------------------------
  bool redraw() const { return redraw_; }
  // Turning it back on draws everything once.
  void setRedraw(bool on);

  // ---- the active cell and the user's actions -------------------------------------------
  int32_t activeRow() const { return activeRow_; }
  int32_t activeCol() const { return activeCol_; }
  // Clamped into the grid (0 when it has no rows or columns). Commits an edit
  // of another cell first.
  void setActive(int32_t row, int32_t col);
  void moveActive(int32_t rows, int32_t cols);

  // A click on a cell: it becomes active and the click event is raised.
  void click(int32_t row, int32_t col);
  void setClickHandler(CellHandler h) { onClick_ = std::move(h); }
  // A committed edit that changed a cell's text.
  void setChangeHandler(CellHandler h) { onChange_ = std::move(h); }

  // ---- the edit session -----------------------------------------------------------------
  // Begins editing the active cell with its text (or with 'replace', the first
  // character typed); false on a locked cell or outside the grid.
  bool beginEdit();
  bool beginEdit(const ustring& replace);
  bool editing() const { return editing_; }
  int32_t editRow() const { return editing_ ? editRow_ : 0; }
  int32_t editCol() const { return editing_ ? editCol_ : 0; }
  const ustring& editText() const { return editText_; }
  // The text in the edit box (cut to the column's maximum length).
  void setEditText(ustring text);
  // Writes the edit into the cell; raises the change event when the text
  // differs. True when it changed.
  bool commitEdit();
  void cancelEdit();

 private:
  struct Style : CellStyle {
    bool marked = false;
  };
  // A column's cells: its header and rows 1 to rows_ (at [row - 1]).
  struct Column {
    ustring headerText;
    Style headerStyle;
    std::vector<ustring> text;
    std::vector<Style> style;
    std::unordered_map<int32_t, ustring> tips;  // by row: only marked cells carry one
    int32_t maxLength = 0;
  };
  Column& column(int32_t row, int32_t col);  // raises 5 outside the grid
  const Column& column(int32_t row, int32_t col) const;
  Style& style(int32_t row, int32_t col);
  const Style& style(int32_t row, int32_t col) const;
  ustring& textOf(int32_t row, int32_t col);
  void changed(int32_t row, int32_t col);
  void shaped();
  ustring clip(int32_t col, ustring text) const;

  GridObserver* observer_ = nullptr;
  int32_t rows_ = 0, cols_ = 0;
  std::vector<Column> columns_;  // cols_ + 1, column 0 unused
  bool redraw_ = true;
  int32_t activeRow_ = 0, activeCol_ = 0;
  bool editing_ = false;
  int32_t editRow_ = 0, editCol_ = 0;
  ustring editText_;
  CellHandler onClick_, onChange_;
};

}  // namespace lumo::ui
