// Pages of a printed list: the title line on top of every page, then the header
// row and as many rows as fit, in the list's columns and alignments. The same
// drawing serves the preview (a screen bitmap the size of an A4 page) and a
// printer page.
#pragma once

#include <windows.h>

#include <cstdint>

#include "display/list_model.h"
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
  int32_t pageCount() const { return pages_; }
  int32_t rowsPerPage() const { return rowsPerPage_; }
  // Draws page (0-based) onto dc, which covers the whole page.
  void draw(HDC dc, int32_t page) const;

 private:
  int scale(int pixelsAt96) const { return MulDiv(pixelsAt96, page_.dpi, 96); }
  Font makeFont(bool bold) const;
  const display::ListModel& list_;
  ustring title_;
  PageMetrics page_;
  HFONT font_;
  int margin_ = 0, lineHeight_ = 0, titleHeight_ = 0;
  int32_t rowsPerPage_ = 1, pages_ = 1;
};

}  // namespace lumo::win32
