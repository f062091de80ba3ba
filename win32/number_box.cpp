#include "win32/number_box.h"

#include <windowsx.h>

#include <algorithm>
#include <cstdint>
#include <unordered_map>
#include <vector>

#include "win32/controls.h"

namespace lumo::win32 {

const wchar_t* const kNumberBoxClass = L"LumoSmsManager.NumberBox";

namespace {

constexpr std::size_t kNoPos = static_cast<std::size_t>(-1);
// What EDIT takes for "no limit" on a multi-line box.
constexpr std::size_t kNoLimit = 0x7FFFFFFE;
constexpr UINT_PTR kDragTimer = 1;
constexpr UINT kDragInterval = 50;
constexpr uint16_t kUnmeasured = 0xFFFF;
constexpr char16_t kReplacement = 0xFFFD;

// Context menu commands.
enum MenuCommand : UINT { kMenuUndo = 1, kMenuCut, kMenuCopy, kMenuPaste, kMenuDelete, kMenuSelectAll };

bool isHigh(char16_t c) { return c >= 0xD800 && c <= 0xDBFF; }
bool isLow(char16_t c) { return c >= 0xDC00 && c <= 0xDFFF; }
bool isSurrogate(char16_t c) { return c >= 0xD800 && c <= 0xDFFF; }
// Where a number ends: the list's comma, or a line break that came in with pasted text.
bool endsNumber(char16_t c) { return c == u',' || c == u'\n' || c == u'\r'; }

HMODULE thisModule() {
  HMODULE module = nullptr;
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                     reinterpret_cast<LPCWSTR>(reinterpret_cast<const void*>(&thisModule)), &module);
  return module;
}

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

class NumberBox {
 public:
  NumberBox(HWND hwnd, const CREATESTRUCTW& cs);
  NumberBox(const NumberBox&) = delete;
  NumberBox& operator=(const NumberBox&) = delete;
  ~NumberBox();

  static LRESULT CALLBACK windowProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam);
  static NumberBox* of(HWND hwnd);

  NumberBoxMenuTexts menuTexts;
  // WM_SETTEXT: the new text, then the parent told.
  void replaceText(ustring text) {
    setText(std::move(text));
    changed();
  }
  const ustring& text() const { return text_; }

 private:
  // How an edit enters the undo record.
  enum class Undo { None, Replace, Typing, DeleteBack, DeleteForward };
  struct Break {
    std::size_t next;   // where the following line starts
    std::size_t reach;  // the last index read to decide (the text's length when it ran out)
    bool last;          // the text ended on this line
  };
  struct Hit {
    std::size_t pos;
    bool afterWrap;
  };

  LRESULT handle(UINT msg, WPARAM wParam, LPARAM lParam);

  // ---- measuring
  HFONT font() const { return font_ ? font_ : static_cast<HFONT>(GetStockObject(DEFAULT_GUI_FONT)); }
  HDC measureDc();
  void releaseMeasureDc();
  int measureUnit(char16_t c);
  int unitWidth(char16_t c) {
    const uint16_t w = widths_[c];
    return w != kUnmeasured ? w : measureUnit(c);
  }
  // The width of the character at i (a surrogate pair counts as one; *len says how
  // many units it took).
  int charWidth(std::size_t i, std::size_t end, std::size_t* len);
  void fontChanged();

  // ---- layout
  Break breakLine(std::size_t start);
  void layoutAll();
  void relayout(std::size_t from, std::size_t oldTo, std::size_t newTo);
  void invalidateLayout(bool redraw);
  void ensureLayout();
  std::size_t lineCount() { return ensureLayout(), starts_.size(); }
  std::size_t lineOf(std::size_t pos) const;
  bool softStart(std::size_t line) const;
  std::size_t lineEnd(std::size_t line) const;  // past the last character shown (line break excluded)
  std::size_t caretLine();
  int xOf(std::size_t line, std::size_t pos);
  Hit posAtX(std::size_t line, int x);
  Hit hit(int x, int y);
  POINT caretPoint();
  int wrapWidth() const { return std::max(1, clientW_ - leftMargin_ - rightMargin_); }
  int visibleLines() const { return std::max(1, clientH_ / std::max(1, lineHeight_)); }
  std::size_t maxTop() {
    const std::size_t n = lineCount(), v = static_cast<std::size_t>(visibleLines());
    return n > v ? n - v : 0;
  }

  // ---- view
  void scrollTo(std::size_t top);
  void scrollBy(long long lines);
  void ensureCaretVisible();
  void updateScrollBar();
  void updateCaret();
  void showCaret();
  void hideCaret();
  void redraw() { InvalidateRect(hwnd_, nullptr, FALSE); }
  void paint(HDC target, const RECT& dirty);
  void drawLine(HDC dc, std::size_t line, int y, std::size_t sel0, std::size_t sel1, COLORREF text);

  // ---- editing
  std::size_t selStart() const { return std::min(anchor_, caret_); }
  std::size_t selEnd() const { return std::max(anchor_, caret_); }
  bool readOnly() const { return (GetWindowLongPtrW(hwnd_, GWL_STYLE) & ES_READONLY) != 0; }
  bool replace(std::size_t from, std::size_t to, ustring_view with, Undo record, bool honourLimit);
  bool replaceSelection(ustring_view with, Undo record, bool honourLimit) {
    return replace(selStart(), selEnd(), with, record, honourLimit);
  }
  void setText(ustring text);
  void setSelection(std::size_t anchor, std::size_t caret);
  void moveCaret(std::size_t pos, bool extend, bool afterWrap = false);
  bool undo();
  void copy();
  void cut();
  void paste();
  void clear();
  void typeChar(char16_t c);
  void deleteBack(bool toNumberStart);
  void deleteForward();
  std::size_t prevPos(std::size_t p) const;
  std::size_t nextPos(std::size_t p) const;
  std::size_t numberStartBefore(std::size_t p) const;
  std::size_t numberStartAfter(std::size_t p) const;
  void selectNumberAt(std::size_t p);
  void notify(WORD code);
  void changed();

  // ---- input
  void keyDown(WPARAM vk);
  void verticalMove(long long lines, bool extend);
  void contextMenu(int x, int y);
  void dragTo(POINT pt);

  HWND hwnd_;
  bool hasVScroll_;
  // Nested calls of the window procedure, and whether the window went away meanwhile:
  // the object outlives a parent that destroys the box from a notification.
  int depth_ = 0;
  bool destroyed_ = false;

  ustring text_;
  std::size_t anchor_ = 0;
  std::size_t caret_ = 0;
  // The caret sits at the end of a wrapped line rather than at the start of the next
  // (the same text position).
  bool afterWrap_ = false;
  int desiredX_ = -1;  // the column kept by Up and Down
  bool modified_ = false;
  std::size_t limit_ = kNoLimit;

  std::size_t undoPos_ = 0;
  std::size_t undoInserted_ = 0;
  ustring undoRemoved_;
  bool canUndo_ = false;
  Undo undoRun_ = Undo::None;

  HFONT font_ = nullptr;
  HDC measureDc_ = nullptr;
  HGDIOBJ measureOldFont_ = nullptr;
  std::vector<uint16_t> widths_;
  std::unordered_map<uint32_t, int> pairWidths_;
  int lineHeight_ = 16;
  int leftMargin_ = 1;
  int rightMargin_ = 1;
  bool marginsFromFont_ = true;

  int clientW_ = 0;
  int clientH_ = 0;
  std::vector<std::size_t> starts_{0};
  std::vector<std::size_t> reach_{0};
  bool layoutValid_ = false;
  std::size_t top_ = 0;
  std::size_t topChar_ = 0;  // the first shown character, kept while the layout is redone

  bool focused_ = false;
  bool caretShown_ = false;
  bool dragging_ = false;
  POINT dragPoint_{0, 0};
  int wheelRest_ = 0;

  std::vector<wchar_t> lineText_;
  std::vector<INT> lineDx_;
};

// ---------------------------------------------------------------------------------------

NumberBox::NumberBox(HWND hwnd, const CREATESTRUCTW& cs)
    : hwnd_(hwnd), hasVScroll_((cs.style & WS_VSCROLL) != 0), widths_(0x10000, kUnmeasured) {
  measureDc_ = CreateCompatibleDC(nullptr);
  fontChanged();
}

NumberBox::~NumberBox() {
  releaseMeasureDc();
  if (measureDc_) DeleteDC(measureDc_);
}

NumberBox* NumberBox::of(HWND hwnd) { return reinterpret_cast<NumberBox*>(GetWindowLongPtrW(hwnd, 0)); }

LRESULT CALLBACK NumberBox::windowProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) {
  NumberBox* box = of(hwnd);
  if (!box) {
    if (msg == WM_NCCREATE) {
      const auto* cs = reinterpret_cast<const CREATESTRUCTW*>(lParam);
      box = new (std::nothrow) NumberBox(hwnd, *cs);
      if (!box) return FALSE;
      SetWindowLongPtrW(hwnd, 0, reinterpret_cast<LONG_PTR>(box));
    }
    return DefWindowProcW(hwnd, msg, wParam, lParam);
  }
  ++box->depth_;
  const LRESULT result = box->handle(msg, wParam, lParam);
  // The font is selected into the measuring DC only while a message is handled, so
  // the owner can delete a font it replaced.
  box->releaseMeasureDc();
  if (--box->depth_ == 0 && box->destroyed_) delete box;
  return result;
}

// ---- measuring ----------------------------------------------------------------------------

HDC NumberBox::measureDc() {
  if (!measureOldFont_) measureOldFont_ = SelectObject(measureDc_, font());
  return measureDc_;
}

void NumberBox::releaseMeasureDc() {
  if (measureOldFont_) {
    SelectObject(measureDc_, measureOldFont_);
    measureOldFont_ = nullptr;
  }
}

int NumberBox::measureUnit(char16_t c) {
  // The extent of the single character, as the text output draws it (linked fonts
  // included for characters the face lacks).
  const wchar_t ch = static_cast<wchar_t>(c);
  SIZE size{};
  int w = 0;
  if (GetTextExtentPoint32W(measureDc(), &ch, 1, &size)) w = size.cx;
  w = std::clamp(w, 0, 0xFFFE);
  widths_[c] = static_cast<uint16_t>(w);
  return w;
}

int NumberBox::charWidth(std::size_t i, std::size_t end, std::size_t* len) {
  const char16_t c = text_[i];
  *len = 1;
  if (!isSurrogate(c)) return unitWidth(c);
  if (isHigh(c) && i + 1 < end && isLow(text_[i + 1])) {
    *len = 2;
    const uint32_t cp = 0x10000u + ((static_cast<uint32_t>(c) - 0xD800u) << 10) + (text_[i + 1] - 0xDC00u);
    auto found = pairWidths_.find(cp);
    if (found != pairWidths_.end()) return found->second;
    const wchar_t pair[2] = {static_cast<wchar_t>(c), static_cast<wchar_t>(text_[i + 1])};
    SIZE size{};
    const int w = GetTextExtentPoint32W(measureDc(), pair, 2, &size) ? std::max(0, int(size.cx)) : 0;
    pairWidths_.emplace(cp, w);
    return w;
  }
  // A lone surrogate is shown as the replacement character.
  return unitWidth(kReplacement);
}

void NumberBox::fontChanged() {
  std::fill(widths_.begin(), widths_.end(), kUnmeasured);
  pairWidths_.clear();
  TEXTMETRICW tm{};
  if (GetTextMetricsW(measureDc(), &tm)) {
    lineHeight_ = std::max(1, int(tm.tmHeight));
    if (marginsFromFont_) leftMargin_ = rightMargin_ = std::max(1, int(tm.tmAveCharWidth) / 2);
  }
  releaseMeasureDc();
}

// ---- layout -------------------------------------------------------------------------------

// One line from 'start': it ends at a line break, after the last comma before the
// first character that does not fit, or (no comma) before that character. Each line
// takes at least one character. Every character is read at most three times over a
// whole pass (the part of a line after its last comma is read again by the next
// line, which always holds it), so a pass costs the text's length.
NumberBox::Break NumberBox::breakLine(std::size_t start) {
  const std::size_t n = text_.size();
  const char16_t* t = text_.data();
  const int wrap = wrapWidth();
  int x = 0;
  std::size_t lastComma = kNoPos;
  for (std::size_t i = start; i < n;) {
    const char16_t c = t[i];
    if (c == u'\n') return {i + 1, i, false};
    if (c == u'\r' && i + 1 < n && t[i + 1] == u'\n') return {i + 2, i + 1, false};
    std::size_t len = 1;
    int w;
    if (!isSurrogate(c)) {
      w = widths_[c];
      if (w == kUnmeasured) w = measureUnit(c);
    } else {
      w = charWidth(i, n, &len);
    }
    // The character that does not fit was read with the one after it (a "\r\n" or a
    // surrogate pair is decided there): that one counts as read.
    if (x + w > wrap && i > start) return {lastComma != kNoPos ? lastComma : i, i + 1, false};
    x += w;
    i += len;
    if (c == u',') lastComma = i;
  }
  return {n, n, true};
}

void NumberBox::layoutAll() {
  starts_.clear();
  reach_.clear();
  std::size_t s = 0;
  for (;;) {
    const Break b = breakLine(s);
    starts_.push_back(s);
    reach_.push_back(b.reach);
    if (b.last) break;
    s = b.next;
  }
}

// After [from, oldTo) of the text was replaced by what now lies in [from, newTo).
// A line whose decision read nothing at or past 'from' is unchanged, and so is the
// start of the line after it. The decisions read ever further (the reach never
// decreases), so the first line to redo is found by a binary search; the redone
// lines rejoin the old ones once a new line starts past the change where an old
// one started: from there the text, and so the layout, is the old one shifted.
void NumberBox::relayout(std::size_t from, std::size_t oldTo, std::size_t newTo) {
  std::size_t m = static_cast<std::size_t>(std::lower_bound(reach_.begin(), reach_.end(), from) - reach_.begin());
  if (m >= starts_.size()) m = starts_.size() - 1;
  const std::size_t delta = newTo - oldTo;  // modulo 2^N: adding it shifts either way
  std::vector<std::size_t> newStarts, newReach;
  std::size_t keepFrom = starts_.size();
  std::size_t k = m + 1;
  std::size_t s = starts_[m];
  for (;;) {
    const Break b = breakLine(s);
    newStarts.push_back(s);
    newReach.push_back(b.reach);
    if (b.last) break;
    s = b.next;
    if (s >= newTo) {
      const std::size_t old = s - delta;
      while (k < starts_.size() && starts_[k] < old) ++k;
      if (k < starts_.size() && starts_[k] == old) {
        keepFrom = k;
        break;
      }
    }
  }
  starts_.erase(starts_.begin() + static_cast<std::ptrdiff_t>(m), starts_.begin() + static_cast<std::ptrdiff_t>(keepFrom));
  reach_.erase(reach_.begin() + static_cast<std::ptrdiff_t>(m), reach_.begin() + static_cast<std::ptrdiff_t>(keepFrom));
  for (std::size_t i = m; i < starts_.size(); ++i) {
    starts_[i] += delta;
    reach_[i] += delta;
  }
  starts_.insert(starts_.begin() + static_cast<std::ptrdiff_t>(m), newStarts.begin(), newStarts.end());
  reach_.insert(reach_.begin() + static_cast<std::ptrdiff_t>(m), newReach.begin(), newReach.end());
}

// The layout is redone when next needed (a paint or a question about lines): a new
// text, font and size arriving together cost one pass.
void NumberBox::invalidateLayout(bool redrawNow) {
  if (layoutValid_ && top_ < starts_.size()) topChar_ = starts_[top_];
  layoutValid_ = false;
  if (redrawNow) redraw();
}

void NumberBox::ensureLayout() {
  if (layoutValid_) return;
  layoutValid_ = true;
  layoutAll();
  top_ = std::min(lineOf(std::min(topChar_, text_.size())), maxTop());
  updateScrollBar();
  updateCaret();
}

std::size_t NumberBox::lineOf(std::size_t pos) const {
  return static_cast<std::size_t>(std::upper_bound(starts_.begin(), starts_.end(), pos) - starts_.begin()) - 1;
}

bool NumberBox::softStart(std::size_t line) const {
  return line > 0 && line < starts_.size() && text_[starts_[line] - 1] != u'\n';
}

std::size_t NumberBox::lineEnd(std::size_t line) const {
  if (line + 1 >= starts_.size()) return text_.size();
  std::size_t e = starts_[line + 1];
  if (text_[e - 1] == u'\n') {
    --e;
    if (e > starts_[line] && text_[e - 1] == u'\r') --e;
  }
  return e;
}

std::size_t NumberBox::caretLine() {
  ensureLayout();
  const std::size_t line = lineOf(caret_);
  if (afterWrap_ && line > 0 && caret_ == starts_[line] && softStart(line)) return line - 1;
  return line;
}

int NumberBox::xOf(std::size_t line, std::size_t pos) {
  ensureLayout();
  const std::size_t end = std::min(pos, lineEnd(line));
  int x = 0;
  for (std::size_t i = starts_[line]; i < end;) {
    std::size_t len;
    x += charWidth(i, end, &len);
    i += len;
  }
  return x;
}

NumberBox::Hit NumberBox::posAtX(std::size_t line, int x) {
  ensureLayout();
  const std::size_t end = lineEnd(line);
  int left = 0;
  for (std::size_t i = starts_[line]; i < end;) {
    std::size_t len;
    const int w = charWidth(i, end, &len);
    if (x < left + (w + 1) / 2) return {i, false};
    left += w;
    i += len;
  }
  return {end, line + 1 < starts_.size() && end == starts_[line + 1]};
}

NumberBox::Hit NumberBox::hit(int x, int y) {
  ensureLayout();
  long long line = static_cast<long long>(top_) + (y >= 0 ? y / lineHeight_ : -1 - (-y - 1) / lineHeight_);
  line = std::clamp(line, 0LL, static_cast<long long>(starts_.size()) - 1);
  return posAtX(static_cast<std::size_t>(line), x - leftMargin_);
}

POINT NumberBox::caretPoint() {
  const std::size_t line = caretLine();
  const long long y = (static_cast<long long>(line) - static_cast<long long>(top_)) * lineHeight_;
  return {leftMargin_ + xOf(line, caret_), static_cast<LONG>(std::clamp(y, -30000LL, 30000LL))};
}

// ---- view ---------------------------------------------------------------------------------

void NumberBox::updateScrollBar() {
  if (!hasVScroll_ || !layoutValid_) return;
  SCROLLINFO si{};
  si.cbSize = sizeof si;
  si.fMask = SIF_RANGE | SIF_PAGE | SIF_POS | SIF_DISABLENOSCROLL;
  si.nMin = 0;
  si.nMax = static_cast<int>(std::min<std::size_t>(starts_.size() - 1, INT_MAX));
  si.nPage = static_cast<UINT>(visibleLines());
  si.nPos = static_cast<int>(std::min<std::size_t>(top_, INT_MAX));
  SetScrollInfo(hwnd_, SB_VERT, &si, TRUE);
}

void NumberBox::scrollTo(std::size_t top) {
  top = std::min(top, maxTop());
  if (top == top_) return;
  top_ = top;
  updateScrollBar();
  redraw();
  updateCaret();
}

void NumberBox::scrollBy(long long lines) {
  ensureLayout();
  const long long target = static_cast<long long>(top_) + lines;
  scrollTo(target < 0 ? 0 : static_cast<std::size_t>(target));
}

void NumberBox::ensureCaretVisible() {
  const std::size_t line = caretLine();
  const std::size_t visible = static_cast<std::size_t>(visibleLines());
  if (line < top_) scrollTo(line);
  else if (line >= top_ + visible) scrollTo(line - visible + 1);
}

void NumberBox::updateCaret() {
  if (!caretShown_) return;
  const POINT p = caretPoint();
  SetCaretPos(p.x, p.y);
}

void NumberBox::showCaret() {
  if (caretShown_ || !focused_ || !IsWindowEnabled(hwnd_)) return;
  DWORD width = 1;
  if (!SystemParametersInfoW(SPI_GETCARETWIDTH, 0, &width, 0) || width == 0) width = 1;
  if (!CreateCaret(hwnd_, nullptr, static_cast<int>(width), lineHeight_)) return;
  caretShown_ = true;
  updateCaret();
  ShowCaret(hwnd_);
}

void NumberBox::hideCaret() {
  if (!caretShown_) return;
  caretShown_ = false;
  DestroyCaret();
}

void NumberBox::paint(HDC target, const RECT& dirty) {
  ensureLayout();
  if (clientW_ <= 0 || clientH_ <= 0) return;
  const RECT client{0, 0, clientW_, clientH_};
  // Drawn off screen and copied in one piece: no flicker while typing or scrolling.
  HDC dc = CreateCompatibleDC(target);
  HBITMAP bitmap = dc ? CreateCompatibleBitmap(target, clientW_, clientH_) : nullptr;
  HGDIOBJ oldBitmap = nullptr;
  if (bitmap) {
    oldBitmap = SelectObject(dc, bitmap);
  } else {
    if (dc) DeleteDC(dc);
    dc = target;
  }
  const bool enabled = IsWindowEnabled(hwnd_) != FALSE;
  const COLORREF background = GetSysColor(enabled && !readOnly() ? COLOR_WINDOW : COLOR_BTNFACE);
  const COLORREF text = GetSysColor(enabled ? COLOR_WINDOWTEXT : COLOR_GRAYTEXT);
  SetBkColor(dc, background);
  ExtTextOutW(dc, 0, 0, ETO_OPAQUE, &client, nullptr, 0, nullptr);
  HGDIOBJ oldFont = SelectObject(dc, font());
  SetBkMode(dc, TRANSPARENT);
  SetTextAlign(dc, TA_LEFT | TA_TOP | TA_NOUPDATECP);
  // The selection shows only while the box has the focus, as an edit box's does
  // (unless asked to keep it, as ES_NOHIDESEL asks an edit box).
  const bool keepSelection = (GetWindowLongPtrW(hwnd_, GWL_STYLE) & ES_NOHIDESEL) != 0;
  const bool showSelection = (focused_ || keepSelection) && enabled && anchor_ != caret_;
  const std::size_t sel0 = showSelection ? selStart() : 0, sel1 = showSelection ? selEnd() : 0;
  int y = 0;
  for (std::size_t line = top_; line < starts_.size() && y < clientH_; ++line, y += lineHeight_) {
    if (y + lineHeight_ <= dirty.top || y >= dirty.bottom) continue;
    drawLine(dc, line, y, sel0, sel1, text);
  }
  SelectObject(dc, oldFont);
  if (dc != target) {
    BitBlt(target, dirty.left, dirty.top, dirty.right - dirty.left, dirty.bottom - dirty.top, dc, dirty.left,
           dirty.top, SRCCOPY);
    SelectObject(dc, oldBitmap);
    DeleteObject(bitmap);
    DeleteDC(dc);
  }
}

void NumberBox::drawLine(HDC dc, std::size_t line, int y, std::size_t sel0, std::size_t sel1, COLORREF text) {
  const std::size_t start = starts_[line], end = lineEnd(line);
  const std::size_t n = end - start;
  if (n == 0) return;
  lineText_.resize(n);
  lineDx_.resize(n);
  // The advances are given to the text output, so the characters stand exactly where
  // the layout, the caret and the mouse put them.
  for (std::size_t i = start; i < end;) {
    std::size_t len;
    const int w = charWidth(i, end, &len);
    const std::size_t k = i - start;
    if (len == 2) {
      lineText_[k] = static_cast<wchar_t>(text_[i]);
      lineText_[k + 1] = static_cast<wchar_t>(text_[i + 1]);
      lineDx_[k] = w;
      lineDx_[k + 1] = 0;
    } else {
      lineText_[k] = static_cast<wchar_t>(isSurrogate(text_[i]) ? kReplacement : text_[i]);
      lineDx_[k] = w;
    }
    i += len;
  }
  const std::size_t a = std::clamp(sel0, start, end) - start, b = std::clamp(sel1, start, end) - start;
  auto run = [&](std::size_t from, std::size_t to, bool selected) {
    if (from >= to) return;
    int x = leftMargin_;
    for (std::size_t k = 0; k < from; ++k) x += lineDx_[k];
    int width = 0;
    for (std::size_t k = from; k < to; ++k) width += lineDx_[k];
    if (selected) {
      SetBkColor(dc, GetSysColor(COLOR_HIGHLIGHT));
      SetTextColor(dc, GetSysColor(COLOR_HIGHLIGHTTEXT));
      const RECT r{x, y, x + width, y + lineHeight_};
      ExtTextOutW(dc, x, y, ETO_OPAQUE, &r, lineText_.data() + from, static_cast<UINT>(to - from),
                  lineDx_.data() + from);
    } else {
      SetTextColor(dc, text);
      ExtTextOutW(dc, x, y, 0, nullptr, lineText_.data() + from, static_cast<UINT>(to - from), lineDx_.data() + from);
    }
  };
  run(0, a, false);
  run(a, b, true);
  run(b, n, false);
}

// ---- editing ------------------------------------------------------------------------------

void NumberBox::notify(WORD code) {
  if (!hwnd_) return;
  HWND parent = GetParent(hwnd_);
  if (!parent) return;
  SendMessageW(parent, WM_COMMAND, MAKEWPARAM(GetDlgCtrlID(hwnd_), code), reinterpret_cast<LPARAM>(hwnd_));
}

void NumberBox::changed() {
  notify(EN_UPDATE);
  notify(EN_CHANGE);
}

// Replaces [from, to) by 'with' and puts the caret after it. The caller notifies.
bool NumberBox::replace(std::size_t from, std::size_t to, ustring_view with, Undo record, bool honourLimit) {
  from = std::min(from, text_.size());
  to = std::clamp(to, from, text_.size());
  bool truncated = false;
  if (honourLimit) {
    const std::size_t kept = text_.size() - (to - from);
    const std::size_t room = limit_ > kept ? limit_ - kept : 0;
    if (with.size() > room) {
      with = with.substr(0, room);
      truncated = true;
    }
  }
  if (truncated && with.empty()) {
    notify(EN_MAXTEXT);
    return false;
  }
  if (from == to && with.empty()) return false;

  // One level of undo: a typing run or a run of deletions with one key grows the
  // last record; anything else starts a new one.
  if (record == Undo::None) {
    canUndo_ = false;
    undoRemoved_.clear();
    undoRun_ = Undo::None;
  } else if (record == Undo::Typing && canUndo_ && undoRun_ == Undo::Typing && from == to &&
             from == undoPos_ + undoInserted_) {
    undoInserted_ += with.size();
  } else if (record == Undo::DeleteBack && canUndo_ && undoRun_ == Undo::DeleteBack && with.empty() &&
             undoInserted_ == 0 && to == undoPos_) {
    undoRemoved_.insert(0, text_, from, to - from);
    undoPos_ = from;
  } else if (record == Undo::DeleteForward && canUndo_ && undoRun_ == Undo::DeleteForward && with.empty() &&
             undoInserted_ == 0 && from == undoPos_) {
    undoRemoved_.append(text_, from, to - from);
  } else {
    canUndo_ = true;
    undoPos_ = from;
    undoInserted_ = with.size();
    undoRemoved_.assign(text_, from, to - from);
    undoRun_ = record;
  }

  text_.replace(from, to - from, with);
  if (layoutValid_) relayout(from, to, from + with.size());
  caret_ = anchor_ = from + with.size();
  afterWrap_ = false;
  desiredX_ = -1;
  modified_ = true;
  if (layoutValid_) {
    top_ = std::min(top_, maxTop());
    updateScrollBar();
  }
  ensureCaretVisible();
  updateCaret();
  redraw();
  if (truncated) notify(EN_MAXTEXT);
  return true;
}

void NumberBox::setText(ustring text) {
  text_ = std::move(text);
  anchor_ = caret_ = 0;
  afterWrap_ = false;
  desiredX_ = -1;
  canUndo_ = false;
  undoRemoved_.clear();
  undoRun_ = Undo::None;
  modified_ = false;
  topChar_ = 0;
  top_ = 0;
  layoutValid_ = false;
  redraw();
  if (caretShown_) {
    // No layout needed: the caret is at the start.
    SetCaretPos(leftMargin_, 0);
  }
}

void NumberBox::setSelection(std::size_t anchor, std::size_t caret) {
  anchor_ = std::min(anchor, text_.size());
  caret_ = std::min(caret, text_.size());
  afterWrap_ = false;
  desiredX_ = -1;
  undoRun_ = Undo::None;
  updateCaret();
  redraw();
}

void NumberBox::moveCaret(std::size_t pos, bool extend, bool afterWrap) {
  caret_ = std::min(pos, text_.size());
  if (!extend) anchor_ = caret_;
  afterWrap_ = afterWrap;
  desiredX_ = -1;
  undoRun_ = Undo::None;
  ensureCaretVisible();
  updateCaret();
  redraw();
}

bool NumberBox::undo() {
  if (!canUndo_ || readOnly()) return false;
  const std::size_t pos = std::min(undoPos_, text_.size());
  const std::size_t end = std::min(pos + undoInserted_, text_.size());
  const ustring restore = undoRemoved_;
  const ustring current = text_.substr(pos, end - pos);
  replace(pos, end, restore, Undo::Replace, false);
  // Undoing again puts back what this undid; the restored text is selected.
  canUndo_ = true;
  undoPos_ = pos;
  undoInserted_ = restore.size();
  undoRemoved_ = current;
  undoRun_ = Undo::None;
  anchor_ = pos;
  caret_ = pos + restore.size();
  updateCaret();
  redraw();
  changed();
  return true;
}

void NumberBox::copy() {
  if (anchor_ == caret_) return;
  putClipboardText(hwnd_, ustring_view(text_).substr(selStart(), selEnd() - selStart()));
}

void NumberBox::cut() {
  if (anchor_ == caret_ || readOnly()) return;
  copy();
  if (replaceSelection({}, Undo::Replace, false)) changed();
}

void NumberBox::paste() {
  if (readOnly()) return;
  // Pasted text goes in as it is: the list's checks run on the whole text later.
  const ustring text = clipboardText(hwnd_);
  if (text.empty()) return;
  if (replaceSelection(text, Undo::Replace, true)) changed();
}

void NumberBox::clear() {
  if (anchor_ == caret_ || readOnly()) return;
  if (replaceSelection({}, Undo::Replace, false)) changed();
}

void NumberBox::typeChar(char16_t c) {
  if (readOnly()) return;
  const char16_t one[1] = {c};
  if (replaceSelection(ustring_view(one, 1), Undo::Typing, true)) changed();
}

void NumberBox::deleteBack(bool toNumberStart) {
  if (readOnly()) return;
  if (anchor_ != caret_) {
    if (replaceSelection({}, Undo::Replace, false)) changed();
    return;
  }
  if (caret_ == 0) return;
  const std::size_t from = toNumberStart ? numberStartBefore(caret_) : prevPos(caret_);
  if (replace(from, caret_, {}, toNumberStart ? Undo::Replace : Undo::DeleteBack, false)) changed();
}

void NumberBox::deleteForward() {
  if (readOnly()) return;
  if (anchor_ != caret_) {
    if (replaceSelection({}, Undo::Replace, false)) changed();
    return;
  }
  if (caret_ >= text_.size()) return;
  if (replace(caret_, nextPos(caret_), {}, Undo::DeleteForward, false)) changed();
}

// One character back or forward: a surrogate pair and "\r\n" are one.
std::size_t NumberBox::prevPos(std::size_t p) const {
  if (p == 0) return 0;
  std::size_t q = p - 1;
  if (q > 0 && ((isLow(text_[q]) && isHigh(text_[q - 1])) || (text_[q] == u'\n' && text_[q - 1] == u'\r'))) --q;
  return q;
}

std::size_t NumberBox::nextPos(std::size_t p) const {
  const std::size_t n = text_.size();
  if (p >= n) return n;
  std::size_t q = p + 1;
  if (q < n && ((isHigh(text_[p]) && isLow(text_[q])) || (text_[p] == u'\r' && text_[q] == u'\n'))) ++q;
  return q;
}

// The numbers start at the text's start and after each comma or line break.
std::size_t NumberBox::numberStartBefore(std::size_t p) const {
  if (p == 0) return 0;
  std::size_t q = p - 1;
  while (q > 0 && text_[q - 1] != u',' && text_[q - 1] != u'\n') --q;
  return q;
}

std::size_t NumberBox::numberStartAfter(std::size_t p) const {
  const std::size_t n = text_.size();
  if (p >= n) return n;
  std::size_t q = p + 1;
  while (q < n && text_[q - 1] != u',' && text_[q - 1] != u'\n') ++q;
  return q;
}

void NumberBox::selectNumberAt(std::size_t p) {
  std::size_t s = std::min(p, text_.size()), e = s;
  while (s > 0 && !endsNumber(text_[s - 1])) --s;
  while (e < text_.size() && !endsNumber(text_[e])) ++e;
  anchor_ = s;
  caret_ = e;
  afterWrap_ = false;
  desiredX_ = -1;
  undoRun_ = Undo::None;
  ensureCaretVisible();
  updateCaret();
  redraw();
}

// ---- input --------------------------------------------------------------------------------

void NumberBox::verticalMove(long long lines, bool extend) {
  const std::size_t line = caretLine();
  const int x = desiredX_ >= 0 ? desiredX_ : xOf(line, caret_);
  const long long last = static_cast<long long>(starts_.size()) - 1;
  const auto target = static_cast<std::size_t>(std::clamp(static_cast<long long>(line) + lines, 0LL, last));
  const Hit h = posAtX(target, x);
  moveCaret(h.pos, extend, h.afterWrap);
  desiredX_ = x;
}

void NumberBox::keyDown(WPARAM vk) {
  const bool shift = isKeyDown(VK_SHIFT), ctrl = isKeyDown(VK_CONTROL);
  // Ctrl with Alt is AltGr on many layouts: it types characters, not shortcuts.
  const bool shortcut = ctrl && !isKeyDown(VK_MENU);
  switch (vk) {
    case VK_LEFT:
      if (ctrl) moveCaret(numberStartBefore(caret_), shift);
      else if (!shift && anchor_ != caret_) moveCaret(selStart(), false);
      else moveCaret(prevPos(caret_), shift);
      break;
    case VK_RIGHT:
      if (ctrl) moveCaret(numberStartAfter(caret_), shift);
      else if (!shift && anchor_ != caret_) moveCaret(selEnd(), false);
      else moveCaret(nextPos(caret_), shift);
      break;
    case VK_UP:
      verticalMove(-1, shift);
      break;
    case VK_DOWN:
      verticalMove(1, shift);
      break;
    case VK_HOME:
      if (ctrl) moveCaret(0, shift);
      else moveCaret(starts_[caretLine()], shift);
      break;
    case VK_END:
      if (ctrl) {
        moveCaret(text_.size(), shift);
      } else {
        const std::size_t line = caretLine();
        const std::size_t end = lineEnd(line);
        moveCaret(end, shift, line + 1 < starts_.size() && end == starts_[line + 1]);
      }
      break;
    case VK_PRIOR:
    case VK_NEXT: {
      // A page of lines: the view and the caret move together.
      const long long page = visibleLines();
      const long long lines = vk == VK_NEXT ? page : -page;
      const int x = desiredX_ >= 0 ? desiredX_ : xOf(caretLine(), caret_);
      scrollBy(lines);
      desiredX_ = x;
      verticalMove(lines, shift);
      break;
    }
    case VK_DELETE:
      if (shift) cut();
      else deleteForward();
      break;
    case VK_INSERT:
      if (shift && !ctrl) paste();
      else if (ctrl && !shift) copy();
      break;
    case VK_BACK:
      // Plain backspace arrives as WM_CHAR 8; with Ctrl it deletes back to the
      // start of the number.
      if (ctrl && !shift) deleteBack(true);
      break;
    case 'A':
      if (shortcut) setSelection(0, text_.size());
      break;
    case 'C':
      if (shortcut) copy();
      break;
    case 'X':
      if (shortcut) cut();
      break;
    case 'V':
      if (shortcut) paste();
      break;
    case 'Z':
      if (shortcut) undo();
      break;
    default:
      break;
  }
}

void NumberBox::contextMenu(int x, int y) {
  HWND hwnd = hwnd_;
  if (GetFocus() != hwnd) SetFocus(hwnd);
  if (!IsWindow(hwnd) || !hwnd_) return;
  if (x == -1 && y == -1) {
    // From the keyboard: under the caret, kept inside the box.
    POINT p = caretPoint();
    p.x = std::clamp<LONG>(p.x, 0, std::max(0, clientW_ - 1));
    p.y = std::clamp<LONG>(p.y + lineHeight_, 0, std::max(0, clientH_ - 1));
    ClientToScreen(hwnd, &p);
    x = p.x;
    y = p.y;
  }
  const bool ro = readOnly(), selection = anchor_ != caret_;
  HMENU menu = CreatePopupMenu();
  if (!menu) return;
  auto item = [&](UINT id, const ustring& text, bool enabled) {
    AppendMenuW(menu, MF_STRING | (enabled ? MF_ENABLED : MF_GRAYED), id, wz(text));
  };
  item(kMenuUndo, menuTexts.undo, canUndo_ && !ro);
  AppendMenuW(menu, MF_SEPARATOR, 0, nullptr);
  item(kMenuCut, menuTexts.cut, selection && !ro);
  item(kMenuCopy, menuTexts.copy, selection);
  item(kMenuPaste, menuTexts.paste, !ro && IsClipboardFormatAvailable(CF_UNICODETEXT));
  item(kMenuDelete, menuTexts.del, selection && !ro);
  AppendMenuW(menu, MF_SEPARATOR, 0, nullptr);
  item(kMenuSelectAll, menuTexts.selectAll, !(selStart() == 0 && selEnd() >= text_.size()));
  const UINT command = static_cast<UINT>(TrackPopupMenu(
      menu, TPM_LEFTALIGN | TPM_TOPALIGN | TPM_RIGHTBUTTON | TPM_RETURNCMD | TPM_NONOTIFY, x, y, 0, hwnd, nullptr));
  DestroyMenu(menu);
  if (!IsWindow(hwnd)) return;
  // Through the window procedure, so that a subclass sees them as it would an edit's.
  switch (command) {
    case kMenuUndo: SendMessageW(hwnd, WM_UNDO, 0, 0); break;
    case kMenuCut: SendMessageW(hwnd, WM_CUT, 0, 0); break;
    case kMenuCopy: SendMessageW(hwnd, WM_COPY, 0, 0); break;
    case kMenuPaste: SendMessageW(hwnd, WM_PASTE, 0, 0); break;
    case kMenuDelete: SendMessageW(hwnd, WM_CLEAR, 0, 0); break;
    case kMenuSelectAll: SendMessageW(hwnd, EM_SETSEL, 0, -1); break;
    default: break;
  }
}

void NumberBox::dragTo(POINT pt) {
  // Inside the shown lines; the timer scrolls when the mouse is above or below.
  const int bottom = std::max(0, visibleLines() * lineHeight_ - 1);
  const Hit h = hit(pt.x, std::clamp<int>(pt.y, 0, std::min(bottom, std::max(0, clientH_ - 1))));
  caret_ = h.pos;
  afterWrap_ = h.afterWrap;
  desiredX_ = -1;
  updateCaret();
  redraw();
}

// ---- messages -----------------------------------------------------------------------------

LRESULT NumberBox::handle(UINT msg, WPARAM wParam, LPARAM lParam) {
  switch (msg) {
    case WM_CREATE: {
      const auto* cs = reinterpret_cast<const CREATESTRUCTW*>(lParam);
      RECT rc{};
      GetClientRect(hwnd_, &rc);
      clientW_ = rc.right;
      clientH_ = rc.bottom;
      if (cs->lpszName && !IS_INTRESOURCE(cs->lpszName) && cs->lpszName[0] != 0xFFFF)
        text_ = fromWide(cs->lpszName, wcslen(cs->lpszName));
      return 0;
    }
    case WM_NCDESTROY:
      KillTimer(hwnd_, kDragTimer);
      SetWindowLongPtrW(hwnd_, 0, 0);
      DefWindowProcW(hwnd_, msg, wParam, lParam);
      hwnd_ = nullptr;
      destroyed_ = true;
      return 0;

    case WM_SETTEXT: {
      const auto* s = reinterpret_cast<const wchar_t*>(lParam);
      replaceText(s ? fromWide(s, wcslen(s)) : ustring());
      return TRUE;
    }
    case WM_GETTEXT: {
      auto* buffer = reinterpret_cast<wchar_t*>(lParam);
      if (!buffer || wParam == 0) return 0;
      const std::size_t n = std::min<std::size_t>(text_.size(), wParam - 1);
      std::copy(text_.data(), text_.data() + n, reinterpret_cast<char16_t*>(buffer));
      buffer[n] = 0;
      return static_cast<LRESULT>(n);
    }
    case WM_GETTEXTLENGTH:
      return static_cast<LRESULT>(text_.size());
    case WM_SETFONT:
      font_ = reinterpret_cast<HFONT>(wParam);
      fontChanged();
      invalidateLayout(LOWORD(lParam) != 0);
      if (caretShown_) {
        hideCaret();
        showCaret();
      }
      return 0;
    case WM_GETFONT:
      return reinterpret_cast<LRESULT>(font_);

    case WM_SIZE: {
      const int w = LOWORD(lParam), h = HIWORD(lParam);
      const bool widthChanged = w != clientW_;
      clientW_ = w;
      clientH_ = h;
      if (widthChanged) {
        invalidateLayout(true);
      } else if (layoutValid_) {
        top_ = std::min(top_, maxTop());
        updateScrollBar();
        updateCaret();
        redraw();
      }
      return 0;
    }
    case WM_ERASEBKGND:
      return 1;
    case WM_PAINT: {
      PAINTSTRUCT ps;
      HDC dc = BeginPaint(hwnd_, &ps);
      if (dc) paint(dc, ps.rcPaint);
      EndPaint(hwnd_, &ps);
      return 0;
    }
    case WM_PRINTCLIENT: {
      const RECT all{0, 0, clientW_, clientH_};
      paint(reinterpret_cast<HDC>(wParam), all);
      return 0;
    }
    case WM_ENABLE:
      if (wParam) showCaret();
      else hideCaret();
      redraw();
      return 0;
    case WM_STYLECHANGED:
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

    case WM_CHAR: {
      const auto c = static_cast<char16_t>(wParam);
      if (wParam == 8) deleteBack(false);
      else if (wParam >= 0x20 && wParam != 0x7F && wParam < 0x10000) typeChar(c);
      return 0;
    }
    case WM_KEYDOWN:
      if (wParam == VK_APPS) {
        contextMenu(-1, -1);
        return 0;
      }
      keyDown(wParam);
      return 0;
    case WM_KEYUP:
      if (wParam == VK_APPS) return 0;  // the menu came up with the key going down
      break;
    case WM_SYSKEYDOWN:
      if (wParam == VK_F10 && isKeyDown(VK_SHIFT)) {
        contextMenu(-1, -1);
        return 0;
      }
      break;
    case WM_CONTEXTMENU:
      contextMenu(GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam));
      return 0;

    case WM_LBUTTONDOWN: {
      if (GetFocus() != hwnd_) SetFocus(hwnd_);
      if (!hwnd_) return 0;
      const Hit h = hit(GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam));
      moveCaret(h.pos, (wParam & MK_SHIFT) != 0, h.afterWrap);
      dragging_ = true;
      dragPoint_ = {GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
      SetCapture(hwnd_);
      return 0;
    }
    case WM_MOUSEMOVE:
      if (dragging_) {
        dragPoint_ = {GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
        if (dragPoint_.y < 0 || dragPoint_.y >= clientH_) SetTimer(hwnd_, kDragTimer, kDragInterval, nullptr);
        else KillTimer(hwnd_, kDragTimer);
        dragTo(dragPoint_);
      }
      return 0;
    case WM_TIMER:
      if (wParam == kDragTimer) {
        if (!dragging_) {
          KillTimer(hwnd_, kDragTimer);
        } else {
          if (dragPoint_.y < 0) scrollBy(-1);
          else if (dragPoint_.y >= clientH_) scrollBy(1);
          dragTo(dragPoint_);
        }
        return 0;
      }
      break;
    case WM_LBUTTONUP:
      if (dragging_) {
        dragging_ = false;
        KillTimer(hwnd_, kDragTimer);
        if (GetCapture() == hwnd_) ReleaseCapture();
      }
      return 0;
    case WM_CAPTURECHANGED:
      dragging_ = false;
      KillTimer(hwnd_, kDragTimer);
      return 0;
    case WM_LBUTTONDBLCLK: {
      if (GetFocus() != hwnd_) SetFocus(hwnd_);
      if (!hwnd_) return 0;
      selectNumberAt(hit(GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)).pos);
      return 0;
    }
    case WM_MOUSEWHEEL: {
      UINT lines = 3;
      if (!SystemParametersInfoW(SPI_GETWHEELSCROLLLINES, 0, &lines, 0)) lines = 3;
      if (lines == 0) return 0;
      const int step = lines == WHEEL_PAGESCROLL ? visibleLines() : static_cast<int>(std::min<UINT>(lines, 1000));
      wheelRest_ += GET_WHEEL_DELTA_WPARAM(wParam) * step;
      const int moved = wheelRest_ / WHEEL_DELTA;
      wheelRest_ -= moved * WHEEL_DELTA;
      if (moved) scrollBy(-moved);
      return 0;
    }
    case WM_VSCROLL:
    case EM_SCROLL: {
      ensureLayout();
      const std::size_t before = top_;
      const long long page = visibleLines();
      switch (LOWORD(wParam)) {
        case SB_LINEUP: scrollBy(-1); break;
        case SB_LINEDOWN: scrollBy(1); break;
        case SB_PAGEUP: scrollBy(-page); break;
        case SB_PAGEDOWN: scrollBy(page); break;
        case SB_TOP: scrollTo(0); break;
        case SB_BOTTOM: scrollTo(maxTop()); break;
        case SB_THUMBTRACK:
        case SB_THUMBPOSITION:
          if (msg == WM_VSCROLL) {
            // The 16-bit position in the message does not reach past 65,535 lines:
            // while the thumb is dragged the scroll bar has the full one.
            SCROLLINFO si{};
            si.cbSize = sizeof si;
            si.fMask = SIF_TRACKPOS | SIF_POS | SIF_RANGE;
            long long pos = HIWORD(wParam);
            if (GetScrollInfo(hwnd_, SB_VERT, &si) && (si.nTrackPos != si.nPos || si.nMax > 0xFFFF))
              pos = si.nTrackPos;
            scrollTo(static_cast<std::size_t>(std::max(0LL, pos)));
          }
          break;
        default: break;
      }
      if (msg == EM_SCROLL) {
        const long long moved = static_cast<long long>(top_) - static_cast<long long>(before);
        return MAKELRESULT(static_cast<WORD>(static_cast<short>(std::clamp(moved, -32768LL, 32767LL))), TRUE);
      }
      return 0;
    }

    // ---- the edit messages
    case EM_GETSEL: {
      const std::size_t s = selStart(), e = selEnd();
      if (wParam) *reinterpret_cast<DWORD*>(wParam) = static_cast<DWORD>(s);
      if (lParam) *reinterpret_cast<DWORD*>(lParam) = static_cast<DWORD>(e);
      return s > 0xFFFF || e > 0xFFFF ? -1 : MAKELRESULT(s, e);
    }
    case EM_SETSEL: {
      const auto start = static_cast<int>(wParam), end = static_cast<int>(lParam);
      if (start < 0) {
        setSelection(caret_, caret_);  // deselects, the caret stays
      } else {
        const std::size_t n = text_.size();
        setSelection(std::min<std::size_t>(static_cast<std::size_t>(start), n),
                     end < 0 ? n : std::min<std::size_t>(static_cast<std::size_t>(end), n));
      }
      return 1;
    }
    case EM_REPLACESEL: {
      const auto* s = reinterpret_cast<const wchar_t*>(lParam);
      const ustring with = s ? fromWide(s, wcslen(s)) : ustring();
      if (replaceSelection(with, wParam ? Undo::Replace : Undo::None, true)) changed();
      return 0;
    }
    case EM_SCROLLCARET:
      ensureCaretVisible();
      return TRUE;
    case EM_GETLINECOUNT:
      return static_cast<LRESULT>(lineCount());
    case EM_LINEFROMCHAR: {
      ensureLayout();
      if (static_cast<int>(wParam) < 0) return static_cast<LRESULT>(anchor_ != caret_ ? lineOf(selStart()) : caretLine());
      return static_cast<LRESULT>(lineOf(std::min<std::size_t>(wParam, text_.size())));
    }
    case EM_LINEINDEX: {
      ensureLayout();
      const std::size_t line = static_cast<int>(wParam) < 0 ? caretLine() : wParam;
      return line < starts_.size() ? static_cast<LRESULT>(starts_[line]) : -1;
    }
    case EM_LINELENGTH: {
      ensureLayout();
      const std::size_t pos = static_cast<int>(wParam) < 0 ? caret_ : std::min<std::size_t>(wParam, text_.size());
      const std::size_t line = static_cast<int>(wParam) < 0 ? caretLine() : lineOf(pos);
      return static_cast<LRESULT>(lineEnd(line) - starts_[line]);
    }
    case EM_GETLINE: {
      ensureLayout();
      auto* buffer = reinterpret_cast<wchar_t*>(lParam);
      if (!buffer || wParam >= starts_.size()) return 0;
      const std::size_t room = *reinterpret_cast<const WORD*>(buffer);
      const std::size_t s = starts_[wParam];
      const std::size_t n = std::min(room, lineEnd(wParam) - s);
      std::copy(text_.data() + s, text_.data() + s + n, reinterpret_cast<char16_t*>(buffer));
      return static_cast<LRESULT>(n);
    }
    case EM_GETFIRSTVISIBLELINE:
      ensureLayout();
      return static_cast<LRESULT>(top_);
    case EM_LINESCROLL:
      scrollBy(static_cast<int>(lParam));
      return TRUE;
    case EM_POSFROMCHAR: {
      ensureLayout();
      if (wParam > text_.size()) return -1;
      const std::size_t line = lineOf(wParam);
      const long long y = (static_cast<long long>(line) - static_cast<long long>(top_)) * lineHeight_;
      const int x = leftMargin_ + xOf(line, wParam);
      return MAKELRESULT(static_cast<WORD>(static_cast<short>(x)),
                         static_cast<WORD>(static_cast<short>(std::clamp(y, -32768LL, 32767LL))));
    }
    case EM_CHARFROMPOS: {
      const Hit h = hit(GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam));
      return MAKELRESULT(static_cast<WORD>(h.pos), static_cast<WORD>(lineOf(h.pos)));
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
      invalidateLayout(true);
      return 0;
    case EM_GETMODIFY:
      return modified_;
    case EM_SETMODIFY:
      modified_ = wParam != 0;
      return 0;
    case EM_SETLIMITTEXT:  // EM_LIMITTEXT is the same message
      limit_ = wParam == 0 ? kNoLimit : std::min<std::size_t>(wParam, kNoLimit);
      return 0;
    case EM_GETLIMITTEXT:
      return static_cast<LRESULT>(limit_);
    case EM_SETREADONLY: {
      const LONG_PTR style = GetWindowLongPtrW(hwnd_, GWL_STYLE);
      SetWindowLongPtrW(hwnd_, GWL_STYLE, wParam ? (style | ES_READONLY) : (style & ~LONG_PTR(ES_READONLY)));
      redraw();
      return TRUE;
    }
    case EM_CANUNDO:
      return canUndo_;
    case EM_UNDO:
    case WM_UNDO:
      return undo();
    case EM_EMPTYUNDOBUFFER:
      canUndo_ = false;
      undoRemoved_.clear();
      undoRun_ = Undo::None;
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
      clear();
      return 0;
    default:
      break;
  }
  return DefWindowProcW(hwnd_, msg, wParam, lParam);
}

// Registers the window class once per load of this module.
void registerNumberBoxClass() {
  HINSTANCE module = thisModule();
  WNDCLASSEXW wc{};
  wc.cbSize = sizeof wc;
  if (GetClassInfoExW(module, kNumberBoxClass, &wc)) {
    if (wc.lpfnWndProc == &NumberBox::windowProc) return;
    // Left behind by an earlier load of this module at another address.
    UnregisterClassW(kNumberBoxClass, module);
  }
  wc = WNDCLASSEXW{};
  wc.cbSize = sizeof wc;
  wc.style = CS_DBLCLKS;
  wc.lpfnWndProc = &NumberBox::windowProc;
  wc.cbWndExtra = sizeof(LONG_PTR);
  wc.hInstance = module;
  wc.hCursor = LoadCursorW(nullptr, IDC_IBEAM);
  wc.lpszClassName = kNumberBoxClass;
  if (!RegisterClassExW(&wc) && GetLastError() != ERROR_CLASS_ALREADY_EXISTS) throwLastError(u"RegisterClassEx");
}

}  // namespace

HWND createNumberBox(HWND parent, int id, DWORD style, DWORD exStyle) {
  registerNumberBoxClass();
  HWND h = CreateWindowExW(exStyle, kNumberBoxClass, L"", WS_CHILD | style, 0, 0, 0, 0, parent,
                           reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), thisModule(), nullptr);
  if (!h) throwLastError(u"CreateWindowEx");
  return h;
}

namespace {
NumberBox* numberBoxOf(HWND box) {
  wchar_t name[64];
  if (!box || !GetClassNameW(box, name, 64) || lstrcmpW(name, kNumberBoxClass) != 0) return nullptr;
  return NumberBox::of(box);
}
}  // namespace

const ustring& numberBoxText(HWND box) {
  static const ustring none;
  NumberBox* b = numberBoxOf(box);
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
