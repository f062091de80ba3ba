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

namespace {

// The list's font measured on the screen at 96 DPI, where it was made, and
// scaled to the page's device.
class FontMeasure final : public ui::TextMeasure {
 public:
  FontMeasure(const Font& normal, const Font& bold, int dpi) : normal_(height(normal, dpi)), bold_(height(bold, dpi)) {}
  int32_t lineHeight(bool bold) const override { return bold ? bold_ : normal_; }

 private:
  static int32_t height(const Font& f, int dpi) {
    TEXTMETRICW tm{};
    const WindowDC screen(nullptr);
    const Selected measuring(screen.get(), f.get());
    GetTextMetricsW(screen.get(), &tm);
    return MulDiv(tm.tmHeight + tm.tmExternalLeading, dpi, 96);
  }
  int32_t normal_, bold_;
};

}  // namespace

PageLayout::PageLayout(const ListModel& list, const ustring& title, const PageMetrics& page, HFONT font)
    : list_(list), title_(title), page_(page), font_(font), margin_(scale(48) /* half an inch */), plan_(makePlan()) {}

ui::PagePlan PageLayout::makePlan() const {
  std::vector<int32_t> widths;
  widths.reserve(static_cast<std::size_t>(list_.columnCount()));
  for (int32_t c = 1; c <= list_.columnCount(); ++c) widths.push_back(list_.column(c).width);
  // Measured at 96 DPI, the screen fonts' own resolution.
  const Font normal = makeFont(false, 96), bold = makeFont(true, 96);
  const FontMeasure measure(normal, bold, page_.dpi);
  return ui::PagePlan(widths, std::max(0, list_.rowCount() - 1),
                      ui::PageFrame{.width = page_.width, .height = page_.height, .margin = margin_, .dpi = page_.dpi},
                      measure);
}

Font PageLayout::makeFont(bool bold) const { return makeFont(bold, page_.dpi); }

Font PageLayout::makeFont(bool bold, int dpi) const {
  LOGFONTW lf{};
  HFONT base = font_ ? font_ : static_cast<HFONT>(GetStockObject(DEFAULT_GUI_FONT));
  GetObjectW(base, sizeof lf, &lf);
  if (lf.lfHeight == 0) lf.lfHeight = -12;
  // The list's font is made for the screen at 96 DPI.
  lf.lfHeight = MulDiv(lf.lfHeight, dpi, 96);
  lf.lfWidth = 0;
  if (bold) lf.lfWeight = FW_BOLD;
  return Font(CreateFontIndirectW(&lf));
}

void PageLayout::draw(HDC dc, int32_t page) const {
  RECT all{0, 0, page_.width, page_.height};
  FillRect(dc, &all, static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH)));
  SetBkMode(dc, TRANSPARENT);
  SetTextColor(dc, RGB(0, 0, 0));
  const ui::PageContent content = plan_.page(page);
  const int line = plan_.lineHeight();
  const int left = margin_, right = page_.width - margin_;
  int y = margin_;

  {
    const Font boldFont = makeFont(true);
    const Selected bold(dc, boldFont.get());
    RECT r{left, y, right, y + plan_.titleHeight()};
    DrawTextW(dc, wz(title_), static_cast<int>(title_.size()), &r, DT_CENTER | DT_VCENTER | DT_SINGLELINE | DT_NOPREFIX);
    y += plan_.titleHeight();
  }

  // The band's columns at the places the plan gave them.
  const int tableRight = content.columns.empty() ? left : content.columns.back().right;
  auto drawRow = [&](int32_t row, int top) {
    for (const ui::PlacedColumn& col : content.columns) {
      RECT cell{col.left + scale(3), top, col.right - scale(3), top + line};
      if (cell.right <= cell.left) continue;
      UINT format = DT_VCENTER | DT_SINGLELINE | DT_NOPREFIX | DT_END_ELLIPSIS;
      const int32_t a = list_.column(col.column).alignment;
      format |= a == align::Number ? DT_RIGHT : a == align::Centre ? DT_CENTER : DT_LEFT;
      const ustring t = list_.text(row, col.column);
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
    y += line;
    hline(y);
  }
  {
    const Font normalFont = makeFont(false);
    const Selected normal(dc, normalFont.get());
    for (int32_t r = content.firstRow; r <= content.lastRow; ++r) {
      drawRow(r, y);
      y += line;
    }
    hline(y);
    const ustring footer = pageNumberText(page + 1, plan_.pageCount());
    RECT r{left, page_.height - margin_ - line, right, page_.height - margin_};
    DrawTextW(dc, wz(footer), static_cast<int>(footer.size()), &r, DT_CENTER | DT_SINGLELINE | DT_NOPREFIX);
  }
}

ustring pageNumberText(int32_t page, int32_t pages) {
  return formatResString(u"第 %1 页 / 共 %2 页", {Variant(page), Variant(pages)});
}

}  // namespace lumo::win32
