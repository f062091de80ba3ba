#include "win32/number_box.h"

#include <windowsx.h>

#include <algorithm>
#include <climits>
#include <memory>
#include <optional>

#include "ui/number_text.h"
#include "win32/controls.h"
#include "win32/window.h"

namespace lumo::win32 {

const wchar_t* const kNumberBoxClass = L"LumoSmsManager.NumberBox";

namespace {

using ui::NumberText;

constexpr UINT_PTR kDragTimer = 1;
constexpr UINT kDragInterval = 50;

// Context menu commands.
enum MenuCommand : UINT { kMenuUndo = 1, kMenuCut, kMenuCopy, kMenuPaste, kMenuDelete, kMenuSelectAll };

bool isKeyDown(int vk) { return GetKeyState(vk) < 0; }

// The clipboard can be held for a moment by another program (or, under Wine, by the
// bridge to the X selection): a few tries before giving up.
bool openClipboard(HWND owner) {
  for (int i = 0; i < 10; ++i) {
    if (OpenClipboard(owner)) return true;
    Sleep(10);
  }
  return false;
}

bool putClipboardText(HWND owner, ustring_view text) {
  HGLOBAL mem = GlobalAlloc(GMEM_MOVEABLE, (text.size() + 1) * sizeof(char16_t));
  if (!mem) return false;
  auto* p = static_cast<char16_t*>(GlobalLock(mem));
  if (!p) {
    GlobalFree(mem);
    return false;
  }
  std::copy(text.begin(), text.end(), p);
  p[text.size()] = 0;
  GlobalUnlock(mem);
  if (!openClipboard(owner)) {
    GlobalFree(mem);
    return false;
  }
  EmptyClipboard();
  const bool ok = SetClipboardData(CF_UNICODETEXT, mem) != nullptr;
  CloseClipboard();
  if (!ok) GlobalFree(mem);
  return ok;
}

ustring clipboardText(HWND owner) {
  ustring text;
  if (!IsClipboardFormatAvailable(CF_UNICODETEXT) || !openClipboard(owner)) return text;
  if (HANDLE mem = GetClipboardData(CF_UNICODETEXT)) {
    if (const auto* p = static_cast<const char16_t*>(GlobalLock(mem))) {
      const std::size_t most = GlobalSize(mem) / sizeof(char16_t);
      std::size_t n = 0;
      while (n < most && p[n]) ++n;
      text.assign(p, n);
      GlobalUnlock(mem);
    }
  }
  CloseClipboard();
  return text;
}

const wchar_t* wide(const char16_t* s) { return reinterpret_cast<const wchar_t*>(s); }

// The widths of the box's font, as the text output draws each character alone (linked
// fonts included for characters the face lacks). The font is selected only while it
// is measured, so the owner may delete a font it has replaced.
class FontMeasurer final : public ui::CharMeasurer {
 public:
  FontMeasurer() : dc_(CreateCompatibleDC(nullptr)) {}

  void setFont(HFONT font) { font_ = font; }
  // What WM_GETFONT answers: null for the default font.
  HFONT chosen() const { return font_; }
  HFONT font() const { return font_ ? font_ : static_cast<HFONT>(GetStockObject(DEFAULT_GUI_FONT)); }

  bool metrics(TEXTMETRICW& tm) const {
    const Selected selected(dc_.get(), font());
    return GetTextMetricsW(dc_.get(), &tm) != FALSE;
  }

  int advance(char32_t c) override {
    wchar_t units[2];
    int n = 1;
    if (c >= 0x10000) {
      units[0] = static_cast<wchar_t>(0xD800 + ((c - 0x10000) >> 10));
      units[1] = static_cast<wchar_t>(0xDC00 + ((c - 0x10000) & 0x3FF));
      n = 2;
    } else {
      units[0] = static_cast<wchar_t>(c);
    }
    const Selected selected(dc_.get(), font());
    SIZE size{};
    return GetTextExtentPoint32W(dc_.get(), units, n, &size) ? static_cast<int>(size.cx) : 0;
  }

 private:
  MemoryDC dc_;
  HFONT font_ = nullptr;
};

class NumberBox final : public Window {
 public:
  NumberBox() : Window(u"NumberBox"), text_(measurer_) {
    // A fresh layout moves the lines under the scroll bar and the caret.
    text_.setLayoutListener([this] {
      updateScrollBar();
      updateCaret();
    });
  }

  void open(HWND parent, int id, DWORD style, DWORD exStyle) {
    create(WindowClass{kNumberBoxClass, CS_DBLCLKS, nullptr, IDC_IBEAM}, L"", WS_CHILD | style, exStyle, 0, 0, 0,
           0, parent, reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)));
  }

  NumberBoxMenuTexts menuTexts;
  const ustring& text() const { return text_.text(); }
  // WM_SETTEXT: the new text, then the parent told.
  void replaceText(ustring text);

 private:
  bool onMessage(UINT msg, WPARAM wParam, LPARAM lParam, LRESULT& result) override {
    const std::optional<LRESULT> answer = handle(msg, wParam, lParam);
    if (answer) result = *answer;
    return answer.has_value();
  }
  void onFinalMessage() override { delete this; }
  std::optional<LRESULT> handle(UINT msg, WPARAM wParam, LPARAM lParam);

  // ---- geometry
  int visibleLines() const { return std::max(1, clientH_ / std::max(1, lineHeight_)); }
  void fontChanged();
  void geometryChanged(bool redrawNow);
  POINT caretPoint();
  NumberText::Hit hitAt(int x, int y);

  // ---- view
  void refresh() {
    updateScrollBar();
    updateCaret();
    redraw();
  }
  void updateScrollBar();
  void updateCaret();
  void showCaret();
  void hideCaret();
  void redraw() {
    if (hwnd()) InvalidateRect(hwnd(), nullptr, FALSE);
  }
  void paint(HDC target, const RECT& dirty);
  void drawLine(HDC dc, std::size_t line, int y, bool showSelection, COLORREF text);

  // ---- editing
  void edited(NumberText::EditResult result);
  void notify(WORD code);
  void copy();
  void cut();
  void paste();

  // ---- input
  void keyDown(WPARAM vk);
  void contextMenu(int x, int y);
  void dragTo(POINT pt);
  std::optional<LRESULT> scroll(UINT msg, WPARAM wParam);

  FontMeasurer measurer_;
  NumberText text_;

  bool hasVScroll_ = false;
  int lineHeight_ = 16;
  int leftMargin_ = 1;
  int rightMargin_ = 1;
  bool marginsFromFont_ = true;
  int clientW_ = 0;
  int clientH_ = 0;
  // What the scroll bar was last given (max, page, position): it is set again only
  // when that changes, since each call costs a round trip to the display.
  struct Bar {
    int max = -1, page = -1, pos = -1;
    bool operator==(const Bar& o) const { return max == o.max && page == o.page && pos == o.pos; }
  } bar_;

  bool focused_ = false;
  bool caretShown_ = false;
  bool dragging_ = false;
  POINT dragPoint_{0, 0};
  int wheelRest_ = 0;

  NumberText::LineGlyphs glyphs_;
};

// ---- geometry -------------------------------------------------------------------------------

void NumberBox::fontChanged() {
  TEXTMETRICW tm{};
  if (measurer_.metrics(tm)) {
    lineHeight_ = std::max(1, int(tm.tmHeight));
    if (marginsFromFont_) leftMargin_ = rightMargin_ = std::max(1, int(tm.tmAveCharWidth) / 2);
  }
  text_.measurerChanged();
}

// After the client size, the margins or the font changed.
void NumberBox::geometryChanged(bool redrawNow) {
  const bool rewrap = text_.setWrapWidth(clientW_ - leftMargin_ - rightMargin_);
  text_.setPageLines(static_cast<std::size_t>(visibleLines()));
  // Lines laid out again follow when next asked for; otherwise only the view moved.
  if (!rewrap && text_.laidOut()) {
    updateScrollBar();
    updateCaret();
  }
  if (redrawNow) redraw();
}

POINT NumberBox::caretPoint() {
  const NumberText::Spot spot = text_.caretSpot();
  const long long y = (static_cast<long long>(spot.line) - static_cast<long long>(text_.top())) * lineHeight_;
  return {leftMargin_ + spot.x, static_cast<LONG>(std::clamp(y, -30000LL, 30000LL))};
}

NumberText::Hit NumberBox::hitAt(int x, int y) {
  const long long rows = y >= 0 ? y / lineHeight_ : -1 - (-y - 1) / lineHeight_;
  return text_.hit(static_cast<long long>(text_.top()) + rows, x - leftMargin_);
}

// ---- view -----------------------------------------------------------------------------------

void NumberBox::updateScrollBar() {
  if (!hasVScroll_ || !hwnd() || !text_.laidOut()) return;
  const Bar now{static_cast<int>(std::min<std::size_t>(text_.lineCount() - 1, INT_MAX)), visibleLines(),
                static_cast<int>(std::min<std::size_t>(text_.top(), INT_MAX))};
  if (now == bar_) return;
  bar_ = now;
  SCROLLINFO si{};
  si.cbSize = sizeof si;
  si.fMask = SIF_RANGE | SIF_PAGE | SIF_POS | SIF_DISABLENOSCROLL;
  si.nMin = 0;
  si.nMax = now.max;
  si.nPage = static_cast<UINT>(now.page);
  si.nPos = now.pos;
  SetScrollInfo(hwnd(), SB_VERT, &si, TRUE);
}

void NumberBox::updateCaret() {
  if (!caretShown_) return;
  const POINT p = caretPoint();
  SetCaretPos(p.x, p.y);
}

void NumberBox::showCaret() {
  if (caretShown_ || !focused_ || !hwnd() || !IsWindowEnabled(hwnd())) return;
  DWORD width = 1;
  if (!SystemParametersInfoW(SPI_GETCARETWIDTH, 0, &width, 0) || width == 0) width = 1;
  if (!CreateCaret(hwnd(), nullptr, static_cast<int>(width), lineHeight_)) return;
  caretShown_ = true;
  updateCaret();
  ShowCaret(hwnd());
}

void NumberBox::hideCaret() {
  if (!caretShown_) return;
  caretShown_ = false;
  DestroyCaret();
}

void NumberBox::paint(HDC target, const RECT& dirty) {
  const std::size_t lines = text_.lineCount();  // laid out first, if need be
  if (clientW_ <= 0 || clientH_ <= 0) return;
  const RECT client{0, 0, clientW_, clientH_};
  // Drawn off screen and copied in one piece: no flicker while typing or scrolling.
  const MemoryDC memory(CreateCompatibleDC(target));
  const Bitmap bitmap(memory ? CreateCompatibleBitmap(target, clientW_, clientH_) : nullptr);
  const bool buffered = static_cast<bool>(bitmap);
  const Selected canvas(memory.get(), bitmap.get());
  const HDC dc = buffered ? memory.get() : target;
  const DWORD style = static_cast<DWORD>(GetWindowLongPtrW(hwnd(), GWL_STYLE));
  const bool enabled = IsWindowEnabled(hwnd()) != FALSE;
  const COLORREF background = GetSysColor(enabled && !text_.readOnly() ? COLOR_WINDOW : COLOR_BTNFACE);
  const COLORREF textColor = GetSysColor(enabled ? COLOR_WINDOWTEXT : COLOR_GRAYTEXT);
  SetBkColor(dc, background);
  ExtTextOutW(dc, 0, 0, ETO_OPAQUE, &client, nullptr, 0, nullptr);
  {
    const Selected font(dc, measurer_.font());
    SetBkMode(dc, TRANSPARENT);
    SetTextAlign(dc, TA_LEFT | TA_TOP | TA_NOUPDATECP);
    // The selection shows only while the box has the focus, as an edit box's does
    // (unless asked to keep it, as ES_NOHIDESEL asks an edit box).
    const bool showSelection = (focused_ || (style & ES_NOHIDESEL) != 0) && enabled && text_.hasSelection();
    int y = 0;
    for (std::size_t line = text_.top(); line < lines && y < clientH_; ++line, y += lineHeight_) {
      if (y + lineHeight_ <= dirty.top || y >= dirty.bottom) continue;
      drawLine(dc, line, y, showSelection, textColor);
    }
  }
  if (buffered)
    BitBlt(target, dirty.left, dirty.top, dirty.right - dirty.left, dirty.bottom - dirty.top, dc, dirty.left,
           dirty.top, SRCCOPY);
}

void NumberBox::drawLine(HDC dc, std::size_t line, int y, bool showSelection, COLORREF text) {
  text_.glyphs(line, glyphs_);
  const std::size_t n = glyphs_.units.size();
  if (n == 0) return;
  const std::size_t a = showSelection ? glyphs_.selFrom : 0, b = showSelection ? glyphs_.selTo : 0;
  // The advances are given to the text output, so the characters stand exactly where
  // the layout, the caret and the mouse put them.
  const auto run = [&](std::size_t from, std::size_t to, bool selected) {
    if (from >= to) return;
    int x = leftMargin_;
    for (std::size_t k = 0; k < from; ++k) x += glyphs_.advances[k];
    int width = 0;
    for (std::size_t k = from; k < to; ++k) width += glyphs_.advances[k];
    const wchar_t* units = wide(glyphs_.units.data() + from);
    const auto count = static_cast<UINT>(to - from);
    if (selected) {
      SetBkColor(dc, GetSysColor(COLOR_HIGHLIGHT));
      SetTextColor(dc, GetSysColor(COLOR_HIGHLIGHTTEXT));
      const RECT r{x, y, x + width, y + lineHeight_};
      ExtTextOutW(dc, x, y, ETO_OPAQUE, &r, units, count, glyphs_.advances.data() + from);
    } else {
      SetTextColor(dc, text);
      ExtTextOutW(dc, x, y, 0, nullptr, units, count, glyphs_.advances.data() + from);
    }
  };
  run(0, a, false);
  run(a, b, true);
  run(b, n, false);
}

// ---- editing ----------------------------------------------------------------------------------

void NumberBox::notify(WORD code) {
  if (!hwnd()) return;  // the parent destroyed the box from an earlier notification
  const HWND parent = GetParent(hwnd());
  if (!parent) return;
  SendMessageW(parent, WM_COMMAND, MAKEWPARAM(GetDlgCtrlID(hwnd()), code), reinterpret_cast<LPARAM>(hwnd()));
}

// An edit is shown, then the parent hears of the limit and of the change, as from an
// edit box.
void NumberBox::edited(NumberText::EditResult result) {
  if (result.changed) refresh();
  if (result.limitHit) notify(EN_MAXTEXT);
  if (result.changed) {
    notify(EN_UPDATE);
    notify(EN_CHANGE);
  }
}

void NumberBox::replaceText(ustring text) {
  text_.setText(std::move(text));
  redraw();
  // The lines are laid out when next shown or asked for; the caret is at the start of
  // the first line, shown at the top, without them.
  if (caretShown_) SetCaretPos(leftMargin_, 0);
  notify(EN_UPDATE);
  notify(EN_CHANGE);
}

void NumberBox::copy() {
  if (text_.hasSelection()) putClipboardText(hwnd(), text_.selectedText());
}

void NumberBox::cut() {
  if (!text_.canCutOrDelete()) return;
  copy();
  edited(text_.deleteSelection());
}

void NumberBox::paste() {
  if (!text_.canPaste()) return;
  // Pasted text goes in as it is: the list's checks run on the whole text later.
  edited(text_.paste(clipboardText(hwnd())));
}

// ---- input ------------------------------------------------------------------------------------

void NumberBox::keyDown(WPARAM vk) {
  const bool shift = isKeyDown(VK_SHIFT), ctrl = isKeyDown(VK_CONTROL);
  // Ctrl with Alt is AltGr on many layouts: it types characters, not shortcuts.
  const bool shortcut = ctrl && !isKeyDown(VK_MENU);
  switch (vk) {
    case VK_LEFT: text_.moveLeft(shift, ctrl); break;
    case VK_RIGHT: text_.moveRight(shift, ctrl); break;
    case VK_UP: text_.moveLines(-1, shift); break;
    case VK_DOWN: text_.moveLines(1, shift); break;
    case VK_HOME:
      if (ctrl) text_.moveToTextStart(shift);
      else text_.moveToLineStart(shift);
      break;
    case VK_END:
      if (ctrl) text_.moveToTextEnd(shift);
      else text_.moveToLineEnd(shift);
      break;
    case VK_PRIOR: text_.movePages(-1, shift); break;
    case VK_NEXT: text_.movePages(1, shift); break;
    case VK_DELETE:
      if (shift) cut();
      else edited(text_.deleteForward());
      return;
    case VK_INSERT:
      if (shift && !ctrl) paste();
      else if (ctrl && !shift) copy();
      return;
    case VK_BACK:
      // Plain backspace arrives as WM_CHAR 8; with Ctrl it deletes back to the start
      // of the number.
      if (ctrl && !shift) edited(text_.deleteNumberBack());
      return;
    case 'A':
      if (!shortcut) return;
      text_.selectAll();
      break;
    case 'C':
      if (shortcut) copy();
      return;
    case 'X':
      if (shortcut) cut();
      return;
    case 'V':
      if (shortcut) paste();
      return;
    case 'Z':
      if (shortcut) edited(text_.undo());
      return;
    default:
      return;
  }
  refresh();
}

void NumberBox::contextMenu(int x, int y) {
  const HWND self = hwnd();
  if (GetFocus() != self) SetFocus(self);
  if (!hwnd()) return;  // gone with the focus change
  if (x == -1 && y == -1) {
    // From the keyboard: under the caret, kept inside the box.
    POINT p = caretPoint();
    p.x = std::clamp<LONG>(p.x, 0, std::max(0, clientW_ - 1));
    p.y = std::clamp<LONG>(p.y + lineHeight_, 0, std::max(0, clientH_ - 1));
    ClientToScreen(self, &p);
    x = p.x;
    y = p.y;
  }
  UINT command = 0;
  {
    const Menu menu(CreatePopupMenu());
    if (!menu) return;
    const auto item = [&](UINT id, const ustring& caption, bool enabled) {
      AppendMenuW(menu.get(), MF_STRING | (enabled ? MF_ENABLED : MF_GRAYED), id, wz(caption));
    };
    item(kMenuUndo, menuTexts.undo, text_.canUndo());
    AppendMenuW(menu.get(), MF_SEPARATOR, 0, nullptr);
    item(kMenuCut, menuTexts.cut, text_.canCutOrDelete());
    item(kMenuCopy, menuTexts.copy, text_.hasSelection());
    item(kMenuPaste, menuTexts.paste, text_.canPaste() && IsClipboardFormatAvailable(CF_UNICODETEXT));
    item(kMenuDelete, menuTexts.del, text_.canCutOrDelete());
    AppendMenuW(menu.get(), MF_SEPARATOR, 0, nullptr);
    item(kMenuSelectAll, menuTexts.selectAll, text_.canSelectAll());
    command = static_cast<UINT>(TrackPopupMenu(menu.get(),
                                               TPM_LEFTALIGN | TPM_TOPALIGN | TPM_RIGHTBUTTON | TPM_RETURNCMD |
                                                   TPM_NONOTIFY,
                                               x, y, 0, self, nullptr));
  }
  if (!hwnd()) return;
  // Through the window procedure, so that a subclass sees them as it would an edit's.
  switch (command) {
    case kMenuUndo: SendMessageW(self, WM_UNDO, 0, 0); break;
    case kMenuCut: SendMessageW(self, WM_CUT, 0, 0); break;
    case kMenuCopy: SendMessageW(self, WM_COPY, 0, 0); break;
    case kMenuPaste: SendMessageW(self, WM_PASTE, 0, 0); break;
    case kMenuDelete: SendMessageW(self, WM_CLEAR, 0, 0); break;
    case kMenuSelectAll: SendMessageW(self, EM_SETSEL, 0, -1); break;
    default: break;
  }
}

void NumberBox::dragTo(POINT pt) {
  // Inside the shown lines; the timer scrolls when the mouse is above or below.
  const int bottom = std::max(0, visibleLines() * lineHeight_ - 1);
  text_.dragCaret(hitAt(pt.x, std::clamp<int>(pt.y, 0, std::min(bottom, std::max(0, clientH_ - 1)))));
  updateCaret();
  redraw();
}

// WM_VSCROLL and EM_SCROLL.
std::optional<LRESULT> NumberBox::scroll(UINT msg, WPARAM wParam) {
  const std::size_t before = text_.top();
  const long long page = visibleLines();
  switch (LOWORD(wParam)) {
    case SB_LINEUP: text_.scrollBy(-1); break;
    case SB_LINEDOWN: text_.scrollBy(1); break;
    case SB_PAGEUP: text_.scrollBy(-page); break;
    case SB_PAGEDOWN: text_.scrollBy(page); break;
    case SB_TOP: text_.scrollTo(0); break;
    case SB_BOTTOM: text_.scrollTo(text_.maxTop()); break;
    case SB_THUMBTRACK:
    case SB_THUMBPOSITION:
      if (msg == WM_VSCROLL) {
        // The 16-bit position in the message does not reach past 65,535 lines:
        // while the thumb is dragged the scroll bar has the full one.
        SCROLLINFO si{};
        si.cbSize = sizeof si;
        si.fMask = SIF_TRACKPOS | SIF_POS | SIF_RANGE;
        long long pos = HIWORD(wParam);
        if (GetScrollInfo(hwnd(), SB_VERT, &si) && (si.nTrackPos != si.nPos || si.nMax > 0xFFFF)) pos = si.nTrackPos;
        text_.scrollTo(static_cast<std::size_t>(std::max(0LL, pos)));
      }
      break;
    default: break;
  }
  if (text_.top() != before) refresh();
  if (msg != EM_SCROLL) return 0;
  const long long moved = static_cast<long long>(text_.top()) - static_cast<long long>(before);
  return MAKELRESULT(static_cast<WORD>(static_cast<short>(std::clamp(moved, -32768LL, 32767LL))), TRUE);
}

// ---- messages ---------------------------------------------------------------------------------

std::optional<LRESULT> NumberBox::handle(UINT msg, WPARAM wParam, LPARAM lParam) {
  switch (msg) {
    case WM_CREATE: {
      const auto* cs = reinterpret_cast<const CREATESTRUCTW*>(lParam);
      hasVScroll_ = (cs->style & WS_VSCROLL) != 0;
      text_.setReadOnly((cs->style & ES_READONLY) != 0);
      RECT rc{};
      GetClientRect(hwnd(), &rc);
      clientW_ = rc.right;
      clientH_ = rc.bottom;
      if (cs->lpszName && !IS_INTRESOURCE(cs->lpszName) && cs->lpszName[0] != 0xFFFF)
        text_.setText(fromWide(cs->lpszName, wcslen(cs->lpszName)));
      fontChanged();
      geometryChanged(false);
      return 0;
    }
    case WM_DESTROY:
      KillTimer(hwnd(), kDragTimer);
      hideCaret();
      return std::nullopt;

    case WM_SETTEXT: {
      const auto* s = reinterpret_cast<const wchar_t*>(lParam);
      replaceText(s ? fromWide(s, wcslen(s)) : ustring());
      return TRUE;
    }
    case WM_GETTEXT: {
      auto* buffer = reinterpret_cast<wchar_t*>(lParam);
      if (!buffer || wParam == 0) return 0;
      const ustring& t = text_.text();
      const std::size_t n = std::min<std::size_t>(t.size(), wParam - 1);
      std::copy(t.data(), t.data() + n, reinterpret_cast<char16_t*>(buffer));
      buffer[n] = 0;
      return static_cast<LRESULT>(n);
    }
    case WM_GETTEXTLENGTH:
      return static_cast<LRESULT>(text_.size());
    case WM_SETFONT:
      measurer_.setFont(reinterpret_cast<HFONT>(wParam));
      fontChanged();
      geometryChanged(LOWORD(lParam) != 0);
      if (caretShown_) {
        hideCaret();
        showCaret();
      }
      return 0;
    case WM_GETFONT:
      return reinterpret_cast<LRESULT>(measurer_.chosen());

    case WM_SIZE:
      clientW_ = LOWORD(lParam);
      clientH_ = HIWORD(lParam);
      geometryChanged(true);
      return 0;
    case WM_ERASEBKGND:
      return 1;
    case WM_PAINT: {
      const PaintDC dc(hwnd());
      if (dc.get()) paint(dc.get(), dc.dirty());
      return 0;
    }
    case WM_PRINTCLIENT:
      paint(reinterpret_cast<HDC>(wParam), RECT{0, 0, clientW_, clientH_});
      return 0;
    case WM_ENABLE:
      if (wParam) showCaret();
      else hideCaret();
      redraw();
      return 0;
    case WM_STYLECHANGED:
      // ES_READONLY may come through SetWindowLong as well as through EM_SETREADONLY.
      if (wParam == static_cast<WPARAM>(GWL_STYLE) && lParam)
        text_.setReadOnly((reinterpret_cast<const STYLESTRUCT*>(lParam)->styleNew & ES_READONLY) != 0);
      redraw();
      return 0;

    case WM_SETFOCUS:
      focused_ = true;
      showCaret();
      redraw();
      notify(EN_SETFOCUS);
      return 0;
    case WM_KILLFOCUS:
      focused_ = false;
      hideCaret();
      redraw();
      notify(EN_KILLFOCUS);
      return 0;
    case WM_GETDLGCODE:
      // Tab, Enter and Esc stay with the dialog.
      return DLGC_WANTCHARS | DLGC_WANTARROWS | DLGC_HASSETSEL;

    case WM_CHAR:
      if (wParam == 8) edited(text_.backspace());
      else if (wParam <= 0xFFFF) edited(text_.type(static_cast<char16_t>(wParam)));
      return 0;
    case WM_KEYDOWN:
      if (wParam == VK_APPS) contextMenu(-1, -1);
      else keyDown(wParam);
      return 0;
    case WM_KEYUP:
      if (wParam == VK_APPS) return 0;  // the menu came up with the key going down
      return std::nullopt;
    case WM_SYSKEYDOWN:
      if (wParam == VK_F10 && isKeyDown(VK_SHIFT)) {
        contextMenu(-1, -1);
        return 0;
      }
      return std::nullopt;
    case WM_CONTEXTMENU:
      contextMenu(GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam));
      return 0;

    case WM_LBUTTONDOWN: {
      if (GetFocus() != hwnd()) SetFocus(hwnd());
      if (!hwnd()) return 0;
      const NumberText::Hit h = hitAt(GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam));
      text_.moveCaret(h.pos, (wParam & MK_SHIFT) != 0, h.afterWrap);
      refresh();
      dragging_ = true;
      dragPoint_ = {GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
      SetCapture(hwnd());
      return 0;
    }
    case WM_MOUSEMOVE:
      if (dragging_) {
        dragPoint_ = {GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
        if (dragPoint_.y < 0 || dragPoint_.y >= clientH_) SetTimer(hwnd(), kDragTimer, kDragInterval, nullptr);
        else KillTimer(hwnd(), kDragTimer);
        dragTo(dragPoint_);
      }
      return 0;
    case WM_TIMER:
      if (wParam != kDragTimer) return std::nullopt;
      if (!dragging_) {
        KillTimer(hwnd(), kDragTimer);
        return 0;
      }
      if (text_.scrollBy(dragPoint_.y < 0 ? -1 : dragPoint_.y >= clientH_ ? 1 : 0)) refresh();
      dragTo(dragPoint_);
      return 0;
    case WM_LBUTTONUP:
      if (dragging_) {
        dragging_ = false;
        KillTimer(hwnd(), kDragTimer);
        if (GetCapture() == hwnd()) ReleaseCapture();
      }
      return 0;
    case WM_CAPTURECHANGED:
      dragging_ = false;
      KillTimer(hwnd(), kDragTimer);
      return 0;
    case WM_LBUTTONDBLCLK:
      if (GetFocus() != hwnd()) SetFocus(hwnd());
      if (!hwnd()) return 0;
      text_.selectNumberAt(hitAt(GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)).pos);
      refresh();
      return 0;
    case WM_MOUSEWHEEL: {
      UINT lines = 3;
      if (!SystemParametersInfoW(SPI_GETWHEELSCROLLLINES, 0, &lines, 0)) lines = 3;
      if (lines == 0) return 0;
      const int step = lines == WHEEL_PAGESCROLL ? visibleLines() : static_cast<int>(std::min<UINT>(lines, 1000));
      wheelRest_ += GET_WHEEL_DELTA_WPARAM(wParam) * step;
      const int moved = wheelRest_ / WHEEL_DELTA;
      wheelRest_ -= moved * WHEEL_DELTA;
      if (moved && text_.scrollBy(-moved)) refresh();
      return 0;
    }
    case WM_VSCROLL:
    case EM_SCROLL:
      return scroll(msg, wParam);

    // ---- the edit messages
    case EM_GETSEL: {
      const std::size_t s = text_.selStart(), e = text_.selEnd();
      if (wParam) *reinterpret_cast<DWORD*>(wParam) = static_cast<DWORD>(s);
      if (lParam) *reinterpret_cast<DWORD*>(lParam) = static_cast<DWORD>(e);
      return s > 0xFFFF || e > 0xFFFF ? -1 : MAKELRESULT(s, e);
    }
    case EM_SETSEL: {
      const auto start = static_cast<int>(wParam), end = static_cast<int>(lParam);
      if (start < 0) text_.select(text_.caret(), text_.caret());  // deselects, the caret stays
      else text_.select(static_cast<std::size_t>(start), end < 0 ? text_.size() : static_cast<std::size_t>(end));
      refresh();
      return 1;
    }
    case EM_REPLACESEL: {
      const auto* s = reinterpret_cast<const wchar_t*>(lParam);
      edited(text_.replaceSelection(s ? fromWide(s, wcslen(s)) : ustring(), wParam != 0));
      return 0;
    }
    case EM_SCROLLCARET:
      text_.scrollCaretIntoView();
      refresh();
      return TRUE;
    case EM_GETLINECOUNT:
      return static_cast<LRESULT>(text_.lineCount());
    case EM_LINEFROMCHAR:
      if (static_cast<int>(wParam) < 0) return static_cast<LRESULT>(text_.currentLine());
      return static_cast<LRESULT>(text_.lineOf(std::min<std::size_t>(wParam, text_.size())));
    case EM_LINEINDEX: {
      const std::size_t start = text_.lineStart(static_cast<int>(wParam) < 0 ? text_.caretLine() : wParam);
      return start == NumberText::npos ? -1 : static_cast<LRESULT>(start);
    }
    case EM_LINELENGTH: {
      const std::size_t line = static_cast<int>(wParam) < 0
                                   ? text_.caretLine()
                                   : text_.lineOf(std::min<std::size_t>(wParam, text_.size()));
      return static_cast<LRESULT>(text_.lineLength(line));
    }
    case EM_GETLINE: {
      auto* buffer = reinterpret_cast<wchar_t*>(lParam);
      if (!buffer || wParam >= text_.lineCount()) return 0;
      const std::size_t room = *reinterpret_cast<const WORD*>(buffer);
      const std::size_t s = text_.lineStart(wParam);
      const std::size_t n = std::min(room, text_.lineLength(wParam));
      std::copy(text_.text().data() + s, text_.text().data() + s + n, reinterpret_cast<char16_t*>(buffer));
      return static_cast<LRESULT>(n);
    }
    case EM_GETFIRSTVISIBLELINE:
      return static_cast<LRESULT>(text_.top());
    case EM_LINESCROLL:
      if (text_.scrollBy(static_cast<int>(lParam))) refresh();
      return TRUE;
    case EM_POSFROMCHAR: {
      if (wParam > text_.size()) return -1;
      const NumberText::Spot spot = text_.spotOf(wParam);
      const long long y = (static_cast<long long>(spot.line) - static_cast<long long>(text_.top())) * lineHeight_;
      return MAKELRESULT(static_cast<WORD>(static_cast<short>(leftMargin_ + spot.x)),
                         static_cast<WORD>(static_cast<short>(std::clamp(y, -32768LL, 32767LL))));
    }
    case EM_CHARFROMPOS: {
      const NumberText::Hit h = hitAt(GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam));
      return MAKELRESULT(static_cast<WORD>(h.pos), static_cast<WORD>(text_.lineOf(h.pos)));
    }
    case EM_GETRECT:
      if (lParam) *reinterpret_cast<RECT*>(lParam) = RECT{leftMargin_, 0, clientW_ - rightMargin_, clientH_};
      return 0;
    case EM_GETMARGINS:
      return MAKELRESULT(leftMargin_, rightMargin_);
    case EM_SETMARGINS:
      if (wParam == EC_USEFONTINFO) {
        marginsFromFont_ = true;
        fontChanged();
      } else {
        marginsFromFont_ = false;
        if (wParam & EC_LEFTMARGIN) leftMargin_ = LOWORD(lParam);
        if (wParam & EC_RIGHTMARGIN) rightMargin_ = HIWORD(lParam);
      }
      geometryChanged(true);
      return 0;
    case EM_GETMODIFY:
      return text_.modified();
    case EM_SETMODIFY:
      text_.setModified(wParam != 0);
      return 0;
    case EM_SETLIMITTEXT:  // EM_LIMITTEXT is the same message
      text_.setLimit(wParam);
      return 0;
    case EM_GETLIMITTEXT:
      return static_cast<LRESULT>(text_.limit());
    case EM_SETREADONLY: {
      const LONG_PTR style = GetWindowLongPtrW(hwnd(), GWL_STYLE);
      SetWindowLongPtrW(hwnd(), GWL_STYLE, wParam ? (style | ES_READONLY) : (style & ~LONG_PTR(ES_READONLY)));
      text_.setReadOnly(wParam != 0);
      redraw();
      return TRUE;
    }
    case EM_CANUNDO:
      return text_.undoable();
    case EM_UNDO:
    case WM_UNDO: {
      const NumberText::EditResult result = text_.undo();
      edited(result);
      return result.changed;
    }
    case EM_EMPTYUNDOBUFFER:
      text_.emptyUndo();
      return 0;
    case WM_CUT:
      cut();
      return 0;
    case WM_COPY:
      copy();
      return 0;
    case WM_PASTE:
      paste();
      return 0;
    case WM_CLEAR:
      edited(text_.deleteSelection());
      return 0;
    default:
      return std::nullopt;
  }
}

NumberBox* numberBoxOf(HWND box) { return dynamic_cast<NumberBox*>(Window::from(box)); }

}  // namespace

HWND createNumberBox(HWND parent, int id, DWORD style, DWORD exStyle) {
  auto box = std::make_unique<NumberBox>();
  box->open(parent, id, style, exStyle);
  return box.release()->hwnd();  // the window owns its object now
}

const ustring& numberBoxText(HWND box) {
  static const ustring none;
  const NumberBox* b = numberBoxOf(box);
  return b ? b->text() : none;
}

void setNumberBoxText(HWND box, ustring text) {
  if (NumberBox* b = numberBoxOf(box)) b->replaceText(std::move(text));
}

bool setNumberBoxMenuTexts(HWND box, const NumberBoxMenuTexts& texts) {
  NumberBox* b = numberBoxOf(box);
  if (!b) return false;
  b->menuTexts = texts;
  return true;
}

}  // namespace lumo::win32
