#include "display/win/page_layout.h"

#include <algorithm>
#include <vector>

#include "host/language.h"
#include "win32/controls.h"

namespace lumo::win32 {

using display::ListModel;
namespace align = display::align;

PageMetrics a4AtScreenResolution() {
  // 210 mm x 297 mm at 96 pixels per inch.
  return PageMetrics{MulDiv(2100, 96, 254), MulDiv(2970, 96, 254), 96};
}

PageLayout::PageLayout(const ListModel& list, const ustring& title, const PageMetrics& page, HFONT font)
    : list_(list), title_(title), page_(page), font_(font) {
  margin_ = scale(48);  // half an inch
  TEXTMETRICW tm{};
  {
    const Font f = makeFont(false);
    const WindowDC screen(nullptr);
    const Selected measuring(screen.get(), f.get());
    GetTextMetricsW(screen.get(), &tm);
  }
  // Measured on the screen at 96 DPI, then scaled to the page's device.
  lineHeight_ = std::max(1, scale(tm.tmHeight + tm.tmExternalLeading + 6));
  titleHeight_ = lineHeight_ * 2;
  const int usable = page_.height - 2 * margin_ - titleHeight_ - lineHeight_ /* header */ - lineHeight_ /* footer */;
  rowsPerPage_ = std::max(1, usable / lineHeight_);
  const int32_t rows = std::max(0, list_.rowCount() - 1);
  pages_ = std::max<int32_t>(1, (rows + rowsPerPage_ - 1) / rowsPerPage_);
}

Font PageLayout::makeFont(bool bold) const {
  LOGFONTW lf{};
  HFONT base = font_ ? font_ : static_cast<HFONT>(GetStockObject(DEFAULT_GUI_FONT));
  GetObjectW(base, sizeof lf, &lf);
  if (lf.lfHeight == 0) lf.lfHeight = -12;
  // The list's font is made for the screen at 96 DPI.
  lf.lfHeight = MulDiv(lf.lfHeight, page_.dpi, 96);
  lf.lfWidth = 0;
  if (bold) lf.lfWeight = FW_BOLD;
  return Font(CreateFontIndirectW(&lf));
}

void PageLayout::draw(HDC dc, int32_t page) const {
  RECT all{0, 0, page_.width, page_.height};
  FillRect(dc, &all, static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH)));
  SetBkMode(dc, TRANSPARENT);
  SetTextColor(dc, RGB(0, 0, 0));
  const int left = margin_, right = page_.width - margin_;
  int y = margin_;

  {
    const Font boldFont = makeFont(true);
    const Selected bold(dc, boldFont.get());
    RECT r{left, y, right, y + titleHeight_};
    DrawTextW(dc, wz(title_), static_cast<int>(title_.size()), &r, DT_CENTER | DT_VCENTER | DT_SINGLELINE | DT_NOPREFIX);
    y += titleHeight_;
  }

  // Column edges from the list's widths (twips), cut off at the right margin.
  std::vector<int> edges{left};
  for (int32_t c = 1; c <= list_.columnCount(); ++c)
    edges.push_back(edges.back() + MulDiv(list_.column(c).width, page_.dpi, 1440));
  const int tableRight = std::min(right, edges.back());

  auto drawRow = [&](int32_t row, int top) {
    for (int32_t c = 1; c <= list_.columnCount(); ++c) {
      const int x0 = edges[static_cast<std::size_t>(c - 1)], x1 = std::min(edges[static_cast<std::size_t>(c)], right);
      if (x0 >= right) break;
      RECT cell{x0 + scale(3), top, x1 - scale(3), top + lineHeight_};
      UINT format = DT_VCENTER | DT_SINGLELINE | DT_NOPREFIX | DT_END_ELLIPSIS;
      const int32_t a = list_.column(c).alignment;
      format |= a == align::Number ? DT_RIGHT : a == align::Centre ? DT_CENTER : DT_LEFT;
      const ustring t = list_.text(row, c);
      DrawTextW(dc, wz(t), static_cast<int>(t.size()), &cell, format);
    }
  };
  const Pen pen(CreatePen(PS_SOLID, std::max(1, scale(1)), RGB(0, 0, 0)));
  const Selected ruling(dc, pen.get());
  auto hline = [&](int yy) {
    MoveToEx(dc, left, yy, nullptr);
    LineTo(dc, tableRight, yy);
  };

  {
    const Font boldFont = makeFont(true);
    const Selected bold(dc, boldFont.get());
    hline(y);
    drawRow(0, y);
    y += lineHeight_;
    hline(y);
  }
  {
    const Font normalFont = makeFont(false);
    const Selected normal(dc, normalFont.get());
    const int32_t first = 1 + page * rowsPerPage_;
    const int32_t last = std::min(list_.rowCount() - 1, first + rowsPerPage_ - 1);
    for (int32_t r = first; r <= last; ++r) {
      drawRow(r, y);
      y += lineHeight_;
    }
    hline(y);
    const ustring footer = pageNumberText(page + 1, pages_);
    RECT r{left, page_.height - margin_ - lineHeight_, right, page_.height - margin_};
    DrawTextW(dc, wz(footer), static_cast<int>(footer.size()), &r, DT_CENTER | DT_SINGLELINE | DT_NOPREFIX);
  }
}

ustring pageNumberText(int32_t page, int32_t pages) {
  return formatResString(u"第 %1 页 / 共 %2 页", {Variant(page), Variant(pages)});
}

}  // namespace lumo::win32
