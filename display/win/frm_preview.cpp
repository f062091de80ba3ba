#include "display/win/frm_preview.h"

#include <algorithm>

#include "display/win/windows.h"
#include "host/language.h"
#include "win32/controls.h"

namespace lumo::win32 {

FrmPreview::FrmPreview(const display::ListModel& list, const ustring& title, HFONT font, HWND owner)
    : Window(u"frmPreview"), page_(a4AtScreenResolution()), layout_(list, title, page_, font) {
  RECT work{};
  SystemParametersInfoW(SPI_GETWORKAREA, 0, &work, 0);
  const int h = std::min<int>(work.bottom - work.top, page_.height + 80);
  const int w = std::min<int>(work.right - work.left, MulDiv(page_.width, h - 60, page_.height) + 40);
  create(WindowClass{.name = displayer::kPreviewClass, .icon = IDI_APPLICATION}, L"", WS_OVERLAPPEDWINDOW | WS_VSCROLL, 0, work.left,
         work.top, w, h, owner, nullptr);
  updateCaption();
  ShowWindow(hwnd(), SW_SHOWNORMAL);
}

bool FrmPreview::onMessage(UINT msg, WPARAM wp, LPARAM, LRESULT& result) {
  switch (msg) {
    case WM_PAINT:
      paint();
      return true;
    case WM_ERASEBKGND:
      result = 1;  // the page and its grey surround are painted whole
      return true;
    case WM_SIZE:
      InvalidateRect(hwnd(), nullptr, FALSE);
      return true;
    case WM_KEYDOWN:
      if (wp == VK_NEXT || wp == VK_RIGHT || wp == VK_DOWN || wp == VK_SPACE) go(current_ + 1);
      else if (wp == VK_PRIOR || wp == VK_LEFT || wp == VK_UP) go(current_ - 1);
      else if (wp == VK_HOME) go(0);
      else if (wp == VK_END) go(layout_.pageCount() - 1);
      else if (wp == VK_ESCAPE) destroy();
      return true;
    case WM_LBUTTONDOWN:
      go(current_ + 1);
      return true;
    case WM_RBUTTONDOWN:
      go(current_ - 1);
      return true;
    case WM_MOUSEWHEEL:
      go(current_ + (GET_WHEEL_DELTA_WPARAM(wp) < 0 ? 1 : -1));
      return true;
    case WM_VSCROLL: {
      const int code = LOWORD(wp);
      if (code == SB_LINEDOWN || code == SB_PAGEDOWN) go(current_ + 1);
      else if (code == SB_LINEUP || code == SB_PAGEUP) go(current_ - 1);
      else if (code == SB_THUMBPOSITION || code == SB_THUMBTRACK) go(HIWORD(wp));
      return true;
    }
    default:
      return false;
  }
}

void FrmPreview::go(int32_t page) {
  page = std::clamp<int32_t>(page, 0, layout_.pageCount() - 1);
  if (page == current_) return;
  current_ = page;
  updateCaption();
  InvalidateRect(hwnd(), nullptr, FALSE);
}

void FrmPreview::updateCaption() {
  setWindowText(hwnd(), loadVtString(u"打印预览") + u" - " + pageNumberText(current_ + 1, layout_.pageCount()));
  SCROLLINFO si{sizeof si, SIF_RANGE | SIF_POS | SIF_PAGE, 0, layout_.pageCount() - 1, 1, current_, 0};
  SetScrollInfo(hwnd(), SB_VERT, &si, TRUE);
}

void FrmPreview::paint() {
  const PaintDC dc(hwnd());
  RECT client;
  GetClientRect(hwnd(), &client);
  // The page is drawn once at its own size, then shrunk into the window.
  const MemoryDC mem(CreateCompatibleDC(dc.get()));
  const Bitmap bitmap(CreateCompatibleBitmap(dc.get(), page_.width, page_.height));
  {
    const Selected onPage(mem.get(), bitmap.get());
    layout_.draw(mem.get(), current_);
    FillRect(dc.get(), &client, static_cast<HBRUSH>(GetStockObject(GRAY_BRUSH)));
    const int availW = std::max<int>(1, client.right - 20), availH = std::max<int>(1, client.bottom - 20);
    int w = availW, h = MulDiv(availW, page_.height, page_.width);
    if (h > availH) {
      h = availH;
      w = MulDiv(availH, page_.width, page_.height);
    }
    const int x = (client.right - w) / 2, y = (client.bottom - h) / 2;
    SetStretchBltMode(dc.get(), HALFTONE);
    SetBrushOrgEx(dc.get(), 0, 0, nullptr);
    StretchBlt(dc.get(), x, y, w, h, mem.get(), 0, 0, page_.width, page_.height, SRCCOPY);
  }
}

}  // namespace lumo::win32
