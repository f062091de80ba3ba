// Pages of a printed list: the title line on top of every page, then the header
// row and as many rows as fit, in the list's columns at the widths they have on
// screen and in their alignments. Columns that do not fit go on further pages in
// bands (ui::PagePlan), each starting with the first column again. The same
// drawing serves the preview (a screen bitmap the size of an A4 page) and a
// printer page.
#pragma once

#include <windows.h>

#include <cstdint>

#include "display/list_model.h"
#include "ui/page_bands.h"
#include "win32/window.h"

namespace lumo::win32 {

// "第 n 页 / 共 m 页" in the session's language, for the page footer and the preview's caption.
ustring pageNumberText(int32_t page, int32_t pages);

struct PageMetrics {
  int width = 0, height = 0;  // the page in device pixels
  int dpi = 96;               // device pixels per inch
};

// An A4 page (210 x 297 mm) at 96 pixels per inch, for the preview.
PageMetrics a4AtScreenResolution();

class PageLayout {
 public:
  // title: the line printed on top of every page; font: the list's font (null
  // for the default GUI font).
  PageLayout(const display::ListModel& list, const ustring& title, const PageMetrics& page, HFONT font);
  // Every page, of every band.
  int32_t pageCount() const { return plan_.pageCount(); }
  int32_t rowsPerPage() const { return plan_.rowsPerPage(); }
  const ui::PagePlan& plan() const { return plan_; }
  // Draws page (0-based) onto dc, which covers the whole page.
  void draw(HDC dc, int32_t page) const;

 private:
  int scale(int pixelsAt96) const { return MulDiv(pixelsAt96, page_.dpi, 96); }
  Font makeFont(bool bold) const;
  Font makeFont(bool bold, int dpi) const;
  ui::PagePlan makePlan() const;
  const display::ListModel& list_;
  ustring title_;
  PageMetrics page_;
  HFONT font_;
  int margin_ = 0;
  ui::PagePlan plan_;
};

}  // namespace lumo::win32
