#include "win32/edit_grid.h"

#include <commctrl.h>
#include <windowsx.h>

#include <algorithm>
#include <utility>

#include "automation/win/wide.h"
#include "win32/controls.h"

namespace lumo::win32 {

namespace {
constexpr const wchar_t* kGridClass = L"LumoEditGrid";
constexpr int kEditId = 1;
}  // namespace

// The edit box over the cell: its keys go to the grid first.
class EditGridControl::EditBox final : public Window {
 public:
  explicit EditBox(EditGridControl& grid) : Window(u"EditGridBox"), grid_(grid) {}
  void attachTo(HWND edit) { subclass(edit); }

 private:
  bool onMessage(UINT msg, WPARAM wParam, LPARAM, LRESULT& result) override {
    switch (msg) {
      case WM_GETDLGCODE:
        result = DLGC_WANTALLKEYS | DLGC_WANTCHARS | DLGC_WANTARROWS;
        return true;
      case WM_KEYDOWN:
        if (wParam == VK_RETURN || wParam == VK_ESCAPE || wParam == VK_UP || wParam == VK_DOWN || wParam == VK_TAB) {
          grid_.editKey(static_cast<UINT>(wParam));
          return true;
        }
        return false;
      case WM_CHAR:
        // Enter, Esc and Tab were handled as keys: no beep, no character.
        return wParam == '\r' || wParam == 27 || wParam == '\t';
      case WM_KILLFOCUS:
        // Leaving the box for another window commits, as a spreadsheet does.
        if (grid_.model_.editing() && reinterpret_cast<HWND>(wParam) != grid_.hwnd()) grid_.model_.commitEdit();
        return false;
      default:
        return false;
    }
  }
  EditGridControl& grid_;
};

EditGridControl::EditGridControl(ui::EditGrid& model) : Window(u"EditGrid"), model_(model) {}

EditGridControl::~EditGridControl() { model_.setObserver(nullptr); }

void EditGridControl::create(HWND parent, int id) {
  id_ = id;
  Window::create(WindowClass{kGridClass, CS_DBLCLKS, nullptr, IDC_ARROW, nullptr}, L"",
                 WS_CHILD | WS_VISIBLE | WS_TABSTOP | WS_VSCROLL | WS_HSCROLL | WS_CLIPCHILDREN, WS_EX_CLIENTEDGE, 0, 0,
                 100, 100, parent, reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)));
  dpi_ = windowDpi(hwnd());
  edit_ = createControl(hwnd(), L"EDIT", ES_AUTOHSCROLL | WS_BORDER, 0, kEditId);
  editBox_ = std::make_unique<EditBox>(*this);
  editBox_->attachTo(edit_);
  model_.setObserver(this);
  gridReset();
}

// Made on the first move of the mouse over the grid, not with the grid: a window
// that opens costs one window less, and a grid never hovered needs none.
void EditGridControl::ensureTooltip(const MSG& move) {
  if (tooltip_) return;
  tooltip_ = CreateWindowExW(WS_EX_TOPMOST, TOOLTIPS_CLASSW, nullptr, WS_POPUP | TTS_ALWAYSTIP | TTS_NOPREFIX,
                             CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, hwnd(), nullptr,
                             GetModuleHandleW(nullptr), nullptr);
  if (!tooltip_) return;
  TTTOOLINFOW ti{};
  ti.cbSize = sizeof ti;
  ti.uFlags = TTF_IDISHWND | TTF_SUBCLASS;
  ti.hwnd = hwnd();
  ti.uId = reinterpret_cast<UINT_PTR>(hwnd());
  ti.lpszText = LPSTR_TEXTCALLBACKW;
  SendMessageW(tooltip_, TTM_ADDTOOLW, 0, reinterpret_cast<LPARAM>(&ti));
  SendMessageW(tooltip_, TTM_SETMAXTIPWIDTH, 0, 400);
  if (font_) SendMessageW(tooltip_, WM_SETFONT, reinterpret_cast<WPARAM>(font_), FALSE);
  // The move that made it came before its watch on the grid began.
  SendMessageW(tooltip_, TTM_RELAYEVENT, 0, reinterpret_cast<LPARAM>(&move));
}

void EditGridControl::setColumnWidths(std::vector<int> widths) {
  widths_ = std::move(widths);
  gridReset();
}

void EditGridControl::setFont(HFONT font) {
  font_ = font;
  if (edit_) SendMessageW(edit_, WM_SETFONT, reinterpret_cast<WPARAM>(font), TRUE);
  if (tooltip_) SendMessageW(tooltip_, WM_SETFONT, reinterpret_cast<WPARAM>(font), TRUE);
  WindowDC dc(hwnd());
  const Selected keep(dc.get(), font ? font : static_cast<HFONT>(GetStockObject(DEFAULT_GUI_FONT)));
  TEXTMETRICW tm{};
  GetTextMetricsW(dc.get(), &tm);
  rowHeight_ = tm.tmHeight + scale(8, dpi_);
  gridReset();
}

int EditGridControl::colWidth(int32_t col) const {
  const auto c = static_cast<std::size_t>(col - 1);
  return scale(c < widths_.size() ? widths_[c] : 100, dpi_);
}

int32_t EditGridControl::visibleRows() const {
  RECT r{};
  GetClientRect(hwnd(), &r);
  return std::max<int32_t>(1, (r.bottom - rowHeight_) / rowHeight_);
}

RECT EditGridControl::cellRect(int32_t row, int32_t col) const {
  RECT r{0, 0, 0, 0};
  if (col < 1 || col > model_.cols()) return r;
  int x = -left_;
  for (int32_t c = 1; c < col; ++c) x += colWidth(c);
  int y = 0;
  if (row > 0) {
    if (row < top_ || row >= top_ + visibleRows() + 1) return r;
    y = rowHeight_ * (1 + row - top_);
  }
  r = RECT{x, y, x + colWidth(col), y + rowHeight_};
  return r;
}

void EditGridControl::updateScroll() {
  if (!hwnd()) return;
  const int32_t page = visibleRows();
  SCROLLINFO si{};
  si.cbSize = sizeof si;
  si.fMask = SIF_RANGE | SIF_PAGE | SIF_POS | SIF_DISABLENOSCROLL;
  si.nMin = 1;
  si.nMax = std::max(1, model_.rows());
  si.nPage = static_cast<UINT>(page);
  si.nPos = top_;
  SetScrollInfo(hwnd(), SB_VERT, &si, TRUE);
  int total = 0;
  for (int32_t c = 1; c <= model_.cols(); ++c) total += colWidth(c);
  RECT r{};
  GetClientRect(hwnd(), &r);
  si.nMin = 0;
  si.nMax = std::max(0, total - 1);
  si.nPage = static_cast<UINT>(std::max<LONG>(1, r.right));
  si.nPos = left_;
  SetScrollInfo(hwnd(), SB_HORZ, &si, TRUE);
}

void EditGridControl::scrollTo(int32_t top, int left) {
  const int32_t maxTop = std::max(1, model_.rows() - visibleRows() + 1);
  top = std::clamp(top, 1, maxTop);
  int total = 0;
  for (int32_t c = 1; c <= model_.cols(); ++c) total += colWidth(c);
  RECT r{};
  GetClientRect(hwnd(), &r);
  left = std::clamp(left, 0, std::max(0, total - static_cast<int>(r.right)));
  if (top == top_ && left == left_) return;
  top_ = top;
  left_ = left;
  updateScroll();
  placeEdit();
  InvalidateRect(hwnd(), nullptr, FALSE);
}

void EditGridControl::ensureVisible(int32_t row) {
  if (row < top_) scrollTo(row, left_);
  else if (row >= top_ + visibleRows()) scrollTo(row - visibleRows() + 1, left_);
}

bool EditGridControl::hit(int x, int y, int32_t& row, int32_t& col) const {
  if (y < rowHeight_) return false;
  row = top_ + (y - rowHeight_) / rowHeight_;
  if (row < 1 || row > model_.rows()) return false;
  int cx = -left_;
  for (int32_t c = 1; c <= model_.cols(); ++c) {
    const int w = colWidth(c);
    if (w > 0 && x >= cx && x < cx + w) {
      col = c;
      return true;
    }
    cx += w;
  }
  return false;
}

// ---- the model's events -----------------------------------------------------------------

void EditGridControl::gridReset() {
  if (!hwnd() || !model_.redraw()) return;
  top_ = std::clamp(top_, 1, std::max(1, model_.rows()));
  updateScroll();
  placeEdit();
  InvalidateRect(hwnd(), nullptr, FALSE);
}

void EditGridControl::cellChanged(int32_t row, int32_t col) {
  if (!hwnd()) return;
  RECT r = cellRect(row, col);
  if (r.right > r.left) InvalidateRect(hwnd(), &r, FALSE);
}

void EditGridControl::activeMoved() {
  if (!hwnd()) return;
  ensureVisible(model_.activeRow());
  InvalidateRect(hwnd(), nullptr, FALSE);
}

void EditGridControl::editChanged() {
  if (!hwnd()) return;
  if (!model_.editing()) {
    const bool hadFocus = GetFocus() == edit_;
    ShowWindow(edit_, SW_HIDE);
    if (hadFocus) SetFocus(hwnd());
    InvalidateRect(hwnd(), nullptr, FALSE);
    return;
  }
  if (silent_) return;  // the box's own typing: it already shows the text
  const int32_t max = model_.maxLength(model_.editCol());
  SendMessageW(edit_, EM_LIMITTEXT, max > 0 ? static_cast<WPARAM>(max) : 0, 0);
  if (windowText(edit_) != model_.editText()) {
    ++silent_;
    setWindowText(edit_, model_.editText());
    --silent_;
    const auto end = static_cast<WPARAM>(model_.editText().size());
    SendMessageW(edit_, EM_SETSEL, end, static_cast<LPARAM>(end));
  }
  placeEdit();
  if (!IsWindowVisible(edit_)) {
    ShowWindow(edit_, SW_SHOW);
    SetFocus(edit_);
  }
}

void EditGridControl::placeEdit() {
  if (!edit_ || !model_.editing()) return;
  const RECT r = cellRect(model_.editRow(), model_.editCol());
  MoveWindow(edit_, r.left, r.top, r.right - r.left, r.bottom - r.top, TRUE);
}

// ---- drawing ------------------------------------------------------------------------------

void EditGridControl::paint() {
  PaintDC pdc(hwnd());
  RECT client{};
  GetClientRect(hwnd(), &client);
  // Drawn off screen and copied once: no flicker while scrolling.
  MemoryDC mem(CreateCompatibleDC(pdc.get()));
  Bitmap bmp(CreateCompatibleBitmap(pdc.get(), std::max<LONG>(1, client.right), std::max<LONG>(1, client.bottom)));
  const Selected bmpIn(mem.get(), bmp.get());
  HDC dc = mem.get();
  FillRect(dc, &client, GetSysColorBrush(COLOR_WINDOW));
  const Selected fontIn(dc, font_ ? font_ : static_cast<HFONT>(GetStockObject(DEFAULT_GUI_FONT)));
  SetBkMode(dc, TRANSPARENT);
  Pen line(CreatePen(PS_SOLID, 1, RGB(200, 200, 200)));
  const Selected lineIn(dc, line.get());  // the cells' borders; other pens are selected only for a moment
  Brush mark(CreateSolidBrush(RGB(220, 0, 0)));
  // A page of cells has a handful of backgrounds: one brush each, made on first use.
  std::vector<std::pair<COLORREF, Brush>> fills;
  auto fillOf = [&](COLORREF color) {
    for (const auto& [c, b] : fills)
      if (c == color) return b.get();
    fills.emplace_back(color, Brush(CreateSolidBrush(color)));
    return fills.back().second.get();
  };
  const int32_t last = std::min(model_.rows(), top_ + visibleRows());
  auto drawCell = [&](int32_t row, int32_t col, const RECT& r) {
    const bool header = row == 0;
    const bool active = !header && row == model_.activeRow() && col == model_.activeCol();
    COLORREF back = header ? GetSysColor(COLOR_BTNFACE) : static_cast<COLORREF>(model_.backColor(row, col));
    FillRect(dc, &r, fillOf(back));
    MoveToEx(dc, r.left, r.bottom - 1, nullptr);
    LineTo(dc, r.right - 1, r.bottom - 1);
    LineTo(dc, r.right - 1, r.top - 1);
    const ustring& text = model_.text(row, col);
    RECT t = r;
    InflateRect(&t, -scale(4, dpi_), 0);
    SetTextColor(dc, header ? GetSysColor(COLOR_BTNTEXT) : static_cast<COLORREF>(model_.foreColor(row, col)));
    DrawTextW(dc, wz(text), static_cast<int>(text.size()), &t,
              DT_SINGLELINE | DT_VCENTER | DT_NOPREFIX | DT_END_ELLIPSIS | (header ? DT_CENTER : DT_LEFT));
    if (!header && model_.marked(row, col)) {
      const int m = scale(7, dpi_);
      POINT corner[3] = {{r.right - 1 - m, r.top}, {r.right - 1, r.top}, {r.right - 1, r.top + m}};
      const Selected brushIn(dc, mark.get());
      const Selected noPen(dc, GetStockObject(NULL_PEN));
      Polygon(dc, corner, 3);
    }
    if (active) {
      RECT f = r;
      InflateRect(&f, -1, -1);
      const Selected penIn(dc, GetStockObject(BLACK_PEN));
      const Selected noFill(dc, GetStockObject(NULL_BRUSH));
      Rectangle(dc, f.left, f.top, f.right - 1, f.bottom - 1);
      if (GetFocus() == hwnd()) DrawFocusRect(dc, &f);
    }
  };
  for (int32_t col = 1; col <= model_.cols(); ++col) {
    if (colWidth(col) == 0) continue;
    for (int32_t row = top_; row <= last; ++row) {
      const RECT r = cellRect(row, col);
      if (r.right > 0 && r.left < client.right) drawCell(row, col, r);
    }
    const RECT h = cellRect(0, col);
    if (h.right > 0 && h.left < client.right) drawCell(0, col, h);
  }
  BitBlt(pdc.get(), 0, 0, client.right, client.bottom, dc, 0, 0, SRCCOPY);
}

// ---- the user -----------------------------------------------------------------------------

void EditGridControl::key(UINT vk) {
  const bool ctrl = GetKeyState(VK_CONTROL) < 0;
  switch (vk) {
    case VK_UP: model_.moveActive(-1, 0); break;
    case VK_DOWN: model_.moveActive(1, 0); break;
    case VK_LEFT: model_.moveActive(0, -1); break;
    case VK_RIGHT: model_.moveActive(0, 1); break;
    case VK_PRIOR: model_.moveActive(-visibleRows(), 0); break;
    case VK_NEXT: model_.moveActive(visibleRows(), 0); break;
    case VK_HOME: model_.setActive(ctrl ? 1 : model_.activeRow(), 1); break;
    case VK_END: model_.setActive(ctrl ? model_.rows() : model_.activeRow(), model_.cols()); break;
    case VK_F2: model_.beginEdit(); break;
    case VK_RETURN: model_.moveActive(1, 0); break;
    default: break;
  }
}

void EditGridControl::editKey(UINT vk) {
  switch (vk) {
    case VK_ESCAPE:
      model_.cancelEdit();
      break;
    case VK_RETURN:
    case VK_DOWN:
      model_.commitEdit();
      model_.moveActive(1, 0);
      break;
    case VK_UP:
      model_.commitEdit();
      model_.moveActive(-1, 0);
      break;
    case VK_TAB:
      model_.commitEdit();
      model_.moveActive(0, GetKeyState(VK_SHIFT) < 0 ? -1 : 1);
      break;
    default:
      break;
  }
  SetFocus(hwnd());
}

void EditGridControl::showTip(int x, int y) {
  int32_t row = 0, col = 0;
  if (!hit(x, y, row, col)) row = col = 0;
  if (row == tipRow_ && col == tipCol_) return;
  tipRow_ = row;
  tipCol_ = col;
  if (tooltip_) SendMessageW(tooltip_, TTM_POP, 0, 0);
}

bool EditGridControl::onMessage(UINT msg, WPARAM wParam, LPARAM lParam, LRESULT& result) {
  switch (msg) {
    case WM_PAINT:
      paint();
      return true;
    case kQueryRows:
      result = model_.rows();
      return true;
    case kQueryCell: {
      auto* q = reinterpret_cast<GridCellQuery*>(lParam);
      result = FALSE;
      if (!q || q->row < 0 || q->row > model_.rows() || q->col < 1 || q->col > model_.cols()) return true;
      const ustring& text = model_.text(q->row, q->col);
      const std::size_t n = std::min<std::size_t>(text.size(), 255);
      std::copy_n(text.data(), n, reinterpret_cast<char16_t*>(q->text));
      q->text[n] = 0;
      q->locked = model_.locked(q->row, q->col);
      q->marked = model_.marked(q->row, q->col);
      q->back = model_.backColor(q->row, q->col);
      q->fore = model_.foreColor(q->row, q->col);
      q->rect = cellRect(q->row, q->col);
      result = TRUE;
      return true;
    }
    case WM_ERASEBKGND:
      result = 1;
      return true;
    case WM_SIZE:
      updateScroll();
      placeEdit();
      InvalidateRect(hwnd(), nullptr, FALSE);
      return true;
    case WM_GETDLGCODE:
      result = DLGC_WANTARROWS | DLGC_WANTCHARS | DLGC_WANTALLKEYS;
      return true;
    case WM_SETFOCUS:
    case WM_KILLFOCUS:
      InvalidateRect(hwnd(), nullptr, FALSE);
      return true;
    case WM_VSCROLL: {
      SCROLLINFO si{};
      si.cbSize = sizeof si;
      si.fMask = SIF_ALL;
      GetScrollInfo(hwnd(), SB_VERT, &si);
      int32_t top = top_;
      switch (LOWORD(wParam)) {
        case SB_LINEUP: --top; break;
        case SB_LINEDOWN: ++top; break;
        case SB_PAGEUP: top -= visibleRows(); break;
        case SB_PAGEDOWN: top += visibleRows(); break;
        case SB_THUMBTRACK:
        case SB_THUMBPOSITION: top = si.nTrackPos; break;
        case SB_TOP: top = 1; break;
        case SB_BOTTOM: top = model_.rows(); break;
        default: break;
      }
      scrollTo(top, left_);
      return true;
    }
    case WM_HSCROLL: {
      SCROLLINFO si{};
      si.cbSize = sizeof si;
      si.fMask = SIF_ALL;
      GetScrollInfo(hwnd(), SB_HORZ, &si);
      int left = left_;
      switch (LOWORD(wParam)) {
        case SB_LINELEFT: left -= 20; break;
        case SB_LINERIGHT: left += 20; break;
        case SB_PAGELEFT: left -= static_cast<int>(si.nPage); break;
        case SB_PAGERIGHT: left += static_cast<int>(si.nPage); break;
        case SB_THUMBTRACK:
        case SB_THUMBPOSITION: left = si.nTrackPos; break;
        default: break;
      }
      scrollTo(top_, left);
      return true;
    }
    case WM_MOUSEWHEEL:
      scrollTo(top_ - GET_WHEEL_DELTA_WPARAM(wParam) / WHEEL_DELTA * 3, left_);
      return true;
    case WM_LBUTTONDOWN: {
      SetFocus(hwnd());
      int32_t row = 0, col = 0;
      if (hit(GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam), row, col)) model_.click(row, col);
      return true;
    }
    case WM_LBUTTONDBLCLK: {
      int32_t row = 0, col = 0;
      if (hit(GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam), row, col) && row == model_.activeRow() &&
          col == model_.activeCol())
        model_.beginEdit();
      return true;
    }
    case WM_MOUSEMOVE: {
      MSG move{hwnd(), msg, wParam, lParam, static_cast<DWORD>(GetMessageTime()), {}};
      const DWORD at = GetMessagePos();
      move.pt = POINT{GET_X_LPARAM(at), GET_Y_LPARAM(at)};
      ensureTooltip(move);
      showTip(GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam));
      return false;
    }
    case WM_KEYDOWN:
      key(static_cast<UINT>(wParam));
      return true;
    case WM_CHAR:
      // A printable character starts an edit with it, as in a spreadsheet.
      if (wParam >= 32 && wParam != 127) model_.beginEdit(ustring(1, static_cast<char16_t>(wParam)));
      return true;
    case WM_COMMAND:
      if (LOWORD(wParam) == kEditId && HIWORD(wParam) == EN_CHANGE && !silent_ && model_.editing()) {
        ++silent_;
        model_.setEditText(windowText(edit_));
        --silent_;
      }
      return true;
    case WM_NOTIFY: {
      auto* h = reinterpret_cast<NMHDR*>(lParam);
      if (h->hwndFrom == tooltip_ && h->code == TTN_GETDISPINFOW) {
        auto* di = reinterpret_cast<NMTTDISPINFOW*>(lParam);
        tipText_ = tipRow_ > 0 && tipCol_ > 0 && tipRow_ <= model_.rows() ? model_.toolTip(tipRow_, tipCol_) : ustring();
        di->lpszText = const_cast<wchar_t*>(wz(tipText_));
        return true;
      }
      return false;
    }
    default:
      return false;
  }
}

}  // namespace lumo::win32
