// The receiver list's text box under Wine with a display: a real window driven with
// the messages an edit box gets from the system and from the code that owns it.
#include <gtest/gtest.h>
#include <windows.h>
#include <commctrl.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "automation/error.h"
#include "tests/support/numbers.h"
#include "tests/support/win/pump.h"
#include "tests/support/win/screenshot.h"
#include "tests/support/win/text.h"
#include "win32/controls.h"
#include "win32/number_box.h"

namespace lumo::win32 {
namespace {

constexpr int kBoxId = 101;
constexpr int kButtonId = 102;

using lumo::test::u8;

// ---- the owner window ----------------------------------------------------------------------

struct Notification {
  int id;
  int code;
};
std::vector<Notification> g_notes;
// A box the owner destroys when it sends this notification.
HWND g_destroyOn = nullptr;
int g_destroyCode = 0;

LRESULT CALLBACK hostProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) {
  if (msg == WM_COMMAND) {
    g_notes.push_back({LOWORD(wParam), HIWORD(wParam)});
    if (g_destroyOn && reinterpret_cast<HWND>(lParam) == g_destroyOn && HIWORD(wParam) == g_destroyCode) {
      g_destroyOn = nullptr;
      DestroyWindow(reinterpret_cast<HWND>(lParam));
    }
  }
  return DefWindowProcW(hwnd, msg, wParam, lParam);
}

const wchar_t* hostClass() {
  static bool registered = false;
  if (!registered) {
    WNDCLASSW wc{};
    wc.lpfnWndProc = hostProc;
    wc.hInstance = GetModuleHandleW(nullptr);
    wc.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_BTNFACE + 1);
    wc.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    wc.lpszClassName = L"NumberBoxTestHost";
    RegisterClassW(&wc);
    registered = true;
  }
  return L"NumberBoxTestHost";
}

void pump(int milliseconds = 50) { lumo::test::pumpFor(milliseconds); }

int countOf(int code) {
  return static_cast<int>(std::count_if(g_notes.begin(), g_notes.end(),
                                        [&](const Notification& n) { return n.id == kBoxId && n.code == code; }));
}

class NumberBoxTest : public ::testing::Test {
 protected:
  // Typed by messages sent and, as the user's keys come, posted through the queue:
  // a box whose typing is filtered to digits, commas and backspace keeps the rest out.
  void expectOnlyDigitsCommasAndBackspaceTyped() {
    type(u"13a8,b 中9");
    EXPECT_EQ("138,9", u8(text()));
    SendMessageW(box_, WM_CHAR, 8, 1);
    EXPECT_EQ("138,", u8(text()));
    SetFocus(box_);
    PostMessageW(box_, WM_CHAR, 'x', 1);
    PostMessageW(box_, WM_CHAR, '5', 1);
    pump();
    EXPECT_EQ("138,5", u8(text()));
  }
  void SetUp() override {
    g_notes.clear();
    SetCursorPos(0, 0);  // out of the way of the windows, so no real mouse moves reach them
    // One owner window for the whole suite: Wine waits seconds for a window manager
    // whenever a shown top-level window is hidden, and there is none under Xvfb.
    if (!parent_) {
      parent_ = CreateWindowExW(0, hostClass(), L"号码框", WS_OVERLAPPEDWINDOW | WS_VISIBLE | WS_CLIPCHILDREN, 200,
                                150, 460, 320, nullptr, nullptr, GetModuleHandleW(nullptr), nullptr);
      ASSERT_NE(nullptr, parent_);
      button_ = createControl(parent_, L"BUTTON", WS_VISIBLE | WS_TABSTOP | BS_PUSHBUTTON, 0, kButtonId, u"OK");
      MoveWindow(button_, 320, 10, 80, 26, TRUE);
    }
    box_ = createNumberBox(parent_, kBoxId, WS_VISIBLE | WS_TABSTOP | WS_VSCROLL, WS_EX_CLIENTEDGE);
    SetWindowPos(box_, HWND_TOP, 10, 10, 300, 200, 0);  // first in the tab order
    font_ = messageFont(96);
    SendMessageW(box_, WM_SETFONT, reinterpret_cast<WPARAM>(font_.get()), TRUE);
    SendMessageW(button_, WM_SETFONT, reinterpret_cast<WPARAM>(font_.get()), TRUE);
    SetForegroundWindow(parent_);
    SetFocus(nullptr);
    pump();
    g_notes.clear();
  }
  void TearDown() override {
    setKeys(false, false);
    DestroyWindow(box_);
    pump(10);
  }

  ustring text() const { return windowText(box_); }
  void setText(const ustring& s) const { SetWindowTextW(box_, wz(s)); }
  std::pair<DWORD, DWORD> sel() const {
    DWORD s = 0, e = 0;
    SendMessageW(box_, EM_GETSEL, reinterpret_cast<WPARAM>(&s), reinterpret_cast<LPARAM>(&e));
    return {s, e};
  }
  void select(long long s, long long e) const { SendMessageW(box_, EM_SETSEL, static_cast<WPARAM>(s), e); }
  void type(const ustring& s) const {
    for (char16_t c : s) SendMessageW(box_, WM_CHAR, c, 1);
  }
  static void setKeys(bool ctrl, bool shift) {
    BYTE keys[256];
    GetKeyboardState(keys);
    keys[VK_CONTROL] = keys[VK_LCONTROL] = ctrl ? 0x80 : 0;
    keys[VK_SHIFT] = keys[VK_LSHIFT] = shift ? 0x80 : 0;
    SetKeyboardState(keys);
  }
  void key(UINT vk, bool ctrl = false, bool shift = false) const {
    setKeys(ctrl, shift);
    SendMessageW(box_, WM_KEYDOWN, vk, 1);
    setKeys(false, false);
  }
  int lines() const { return static_cast<int>(SendMessageW(box_, EM_GETLINECOUNT, 0, 0)); }
  int firstVisible() const { return static_cast<int>(SendMessageW(box_, EM_GETFIRSTVISIBLELINE, 0, 0)); }
  std::size_t lineIndex(int line) const {
    return static_cast<std::size_t>(SendMessageW(box_, EM_LINEINDEX, static_cast<WPARAM>(line), 0));
  }
  // The characters of a line as shown (line break excluded).
  ustring line(int l) const {
    const std::size_t s = lineIndex(l);
    const auto n = static_cast<std::size_t>(SendMessageW(box_, EM_LINELENGTH, s, 0));
    std::vector<wchar_t> buf(std::max<std::size_t>(n, 1) + 1);
    *reinterpret_cast<WORD*>(buf.data()) = static_cast<WORD>(n);
    const auto got = static_cast<std::size_t>(SendMessageW(box_, EM_GETLINE, static_cast<WPARAM>(l),
                                                           reinterpret_cast<LPARAM>(buf.data())));
    return fromWide(buf.data(), got);
  }
  POINT posOf(std::size_t index) const {
    const LRESULT r = SendMessageW(box_, EM_POSFROMCHAR, index, 0);
    return {static_cast<short>(LOWORD(r)), static_cast<short>(HIWORD(r))};
  }
  // From two lines in view (far from the view the positions are clamped).
  int lineHeight() const {
    const int top = std::max(0, std::min(firstVisible(), lines() - 2));
    return posOf(lineIndex(top + 1)).y - posOf(lineIndex(top)).y;
  }
  int visibleLines() const {
    RECT rc;
    GetClientRect(box_, &rc);
    const int h = lineHeight();
    return h > 0 ? rc.bottom / h : -1;
  }
  // The width the lines wrap at.
  int wrapWidth() const {
    RECT rc;
    GetClientRect(box_, &rc);
    const LRESULT m = SendMessageW(box_, EM_GETMARGINS, 0, 0);
    return rc.right - LOWORD(m) - HIWORD(m);
  }
  // The advance of each character in the box's font, measured here on our own.
  int width(ustring_view s) {
    HDC dc = CreateCompatibleDC(nullptr);
    HGDIOBJ old = SelectObject(dc, reinterpret_cast<HFONT>(SendMessageW(box_, WM_GETFONT, 0, 0)));
    int w = 0;
    for (char16_t c : s) {
      auto found = widths_.find(c);
      if (found == widths_.end()) {
        SIZE size{};
        const wchar_t ch = static_cast<wchar_t>(c);
        GetTextExtentPoint32W(dc, &ch, 1, &size);
        found = widths_.emplace(c, size.cx).first;
      }
      w += found->second;
    }
    SelectObject(dc, old);
    DeleteDC(dc);
    return w;
  }
  void mouse(UINT msg, POINT p, WPARAM keys = 0) const {
    SendMessageW(box_, msg, keys, MAKELPARAM(p.x, p.y));
  }
  void setClipboard(const ustring& s) const {
    ASSERT_TRUE(OpenClipboard(parent_));
    EmptyClipboard();
    HGLOBAL mem = GlobalAlloc(GMEM_MOVEABLE, (s.size() + 1) * 2);
    auto* p = static_cast<char16_t*>(GlobalLock(mem));
    std::copy(s.begin(), s.end(), p);
    p[s.size()] = 0;
    GlobalUnlock(mem);
    SetClipboardData(CF_UNICODETEXT, mem);
    CloseClipboard();
  }
  ustring clipboard() const {
    ustring s;
    if (!OpenClipboard(parent_)) return u"<no clipboard>";
    if (HANDLE mem = GetClipboardData(CF_UNICODETEXT)) {
      const auto* p = static_cast<const char16_t*>(GlobalLock(mem));
      if (p) s = p;
      GlobalUnlock(mem);
    }
    CloseClipboard();
    return s;
  }
  // The box as drawn, through WM_PRINTCLIENT into a bitmap: 0x00RRGGBB pixels.
  std::vector<uint32_t> pixels(int* w = nullptr, int* h = nullptr) const {
    RECT rc;
    GetClientRect(box_, &rc);
    BITMAPINFO bi{};
    bi.bmiHeader.biSize = sizeof bi.bmiHeader;
    bi.bmiHeader.biWidth = rc.right;
    bi.bmiHeader.biHeight = -rc.bottom;
    bi.bmiHeader.biPlanes = 1;
    bi.bmiHeader.biBitCount = 32;
    void* bits = nullptr;
    HDC screen = GetDC(nullptr);
    HBITMAP bmp = CreateDIBSection(screen, &bi, DIB_RGB_COLORS, &bits, nullptr, 0);
    HDC dc = CreateCompatibleDC(screen);
    HGDIOBJ old = SelectObject(dc, bmp);
    SendMessageW(box_, WM_PRINTCLIENT, reinterpret_cast<WPARAM>(dc), PRF_CLIENT);
    GdiFlush();
    std::vector<uint32_t> out(static_cast<const uint32_t*>(bits),
                              static_cast<const uint32_t*>(bits) + static_cast<std::size_t>(rc.right) * rc.bottom);
    for (auto& p : out) p &= 0xFFFFFF;
    SelectObject(dc, old);
    DeleteObject(bmp);
    DeleteDC(dc);
    ReleaseDC(nullptr, screen);
    if (w) *w = rc.right;
    if (h) *h = rc.bottom;
    return out;
  }
  static uint32_t rgb(int sysColor) {
    const COLORREF c = GetSysColor(sysColor);
    return (uint32_t(GetRValue(c)) << 16) | (uint32_t(GetGValue(c)) << 8) | GetBValue(c);
  }
  static int count(const std::vector<uint32_t>& px, uint32_t color) {
    return static_cast<int>(std::count(px.begin(), px.end(), color));
  }

  static HWND parent_;
  static HWND button_;
  HWND box_ = nullptr;
  Font font_;
  std::unordered_map<char16_t, int> widths_;
};

HWND NumberBoxTest::parent_ = nullptr;
HWND NumberBoxTest::button_ = nullptr;

// ---- text in and out ----------------------------------------------------------------------

TEST_F(NumberBoxTest, TextSetIsTextReadBackExactly) {
  ustring s;
  for (int i = 0; i < 20000; ++i) s += test::mobileNumber(i) + (i % 7 == 3 ? u"张三\r\n" : u",");
  setText(s);
  EXPECT_EQ(static_cast<int>(s.size()), GetWindowTextLengthW(box_));
  EXPECT_TRUE(text() == s);
  // A short buffer gets the start and a terminating zero.
  wchar_t small[6] = {1, 1, 1, 1, 1, 1};
  EXPECT_EQ(5, SendMessageW(box_, WM_GETTEXT, 6, reinterpret_cast<LPARAM>(small)));
  EXPECT_EQ(u8(s.substr(0, 5)), u8(fromWide(small, 5)));
  EXPECT_EQ(0, small[5]);
  setText(u"");
  EXPECT_EQ(0, GetWindowTextLengthW(box_));
  EXPECT_EQ(1, lines());
}

TEST_F(NumberBoxTest, TextHandedOverAndReadInPlaceActsLikeTheMessages) {
  ustring list;
  for (int i = 0; i < 1000; ++i) list += test::mobileNumber(i) + u",";
  setNumberBoxText(box_, list);
  EXPECT_EQ(1, countOf(EN_CHANGE));
  EXPECT_TRUE(text() == list);
  const ustring& inPlace = numberBoxText(box_);
  EXPECT_TRUE(inPlace == list);
  EXPECT_GT(lines(), 1);
  // The reference follows the box.
  SetWindowTextW(box_, L"13800000001");
  EXPECT_TRUE(inPlace == u"13800000001");
  EXPECT_EQ(2, countOf(EN_CHANGE));
  // Anything but a box reads as empty and takes nothing.
  EXPECT_TRUE(numberBoxText(button_).empty());
  EXPECT_TRUE(numberBoxText(nullptr).empty());
  setNumberBoxText(button_, u"13800000002");
  EXPECT_EQ(u8(windowText(button_)).find("13800000002"), std::string::npos);
}

TEST_F(NumberBoxTest, LoneSurrogatesAndCommasSurvive) {
  const ustring s = u"\xD800,13800000001\xDC00,\xD83D\xDE00,,\xDBFF";
  setText(s);
  UpdateWindow(box_);
  EXPECT_TRUE(text() == s);
  // Typed one unit at a time, a pair and a lone half go in as they come.
  select(static_cast<long long>(s.size()), static_cast<long long>(s.size()));
  SendMessageW(box_, WM_CHAR, 0xD83D, 1);
  SendMessageW(box_, WM_CHAR, 0xDE01, 1);
  SendMessageW(box_, WM_CHAR, 0xDC01, 1);
  EXPECT_TRUE(text() == s + u"\xD83D\xDE01\xDC01");
  // Backspace takes the lone half, then the pair as one.
  SendMessageW(box_, WM_CHAR, 8, 1);
  EXPECT_TRUE(text() == s + u"\xD83D\xDE01");
  SendMessageW(box_, WM_CHAR, 8, 1);
  EXPECT_TRUE(text() == s);
}

TEST_F(NumberBoxTest, TypingReplacesTheSelectionAndRaisesChange) {
  setText(u"13800000001,13900000002");
  EXPECT_EQ(1, countOf(EN_CHANGE));  // a new text is a change, as the owner sees it
  select(0, 11);
  EXPECT_EQ(std::make_pair(DWORD(0), DWORD(11)), sel());
  type(u"15");
  EXPECT_EQ("15,13900000002", u8(text()));
  EXPECT_EQ(std::make_pair(DWORD(2), DWORD(2)), sel());
  EXPECT_EQ(3, countOf(EN_CHANGE));
  EXPECT_EQ(3, countOf(EN_UPDATE));
  // Other control characters change nothing.
  for (WPARAM c : {WPARAM(1), WPARAM(9), WPARAM(13), WPARAM(27), WPARAM(0x16), WPARAM(0x7F)})
    SendMessageW(box_, WM_CHAR, c, 1);
  EXPECT_EQ("15,13900000002", u8(text()));
  EXPECT_EQ(3, countOf(EN_CHANGE));
  // Select all, deselect, a reversed selection.
  select(0, -1);
  EXPECT_EQ(std::make_pair(DWORD(0), DWORD(14)), sel());
  select(-1, 0);
  EXPECT_EQ(std::make_pair(DWORD(14), DWORD(14)), sel());
  select(9, 3);
  EXPECT_EQ(std::make_pair(DWORD(3), DWORD(9)), sel());
  type(u"7");
  EXPECT_EQ("15,700002", u8(text()));
  EXPECT_EQ(MAKELRESULT(4, 4), SendMessageW(box_, EM_GETSEL, 0, 0));
  // EM_REPLACESEL puts its text in place of the selection.
  select(0, 2);
  SendMessageW(box_, EM_REPLACESEL, TRUE, reinterpret_cast<LPARAM>(L"13800000009"));
  EXPECT_EQ("13800000009,700002", u8(text()));
  EXPECT_EQ(5, countOf(EN_CHANGE));
}

LRESULT CALLBACK digitsOnly(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam, UINT_PTR, DWORD_PTR) {
  if (msg == WM_CHAR && !((wParam >= '0' && wParam <= '9') || wParam == ',' || wParam == 8)) return 0;
  if (msg == WM_NCDESTROY) RemoveWindowSubclass(hwnd, digitsOnly, 1);
  return DefSubclassProc(hwnd, msg, wParam, lParam);
}

TEST_F(NumberBoxTest, ASubclassThatDropsLettersKeepsThemOut) {
  ASSERT_TRUE(SetWindowSubclass(box_, digitsOnly, 1, 0));
  expectOnlyDigitsCommasAndBackspaceTyped();
}

TEST_F(NumberBoxTest, BackspaceAndDeleteRemoveOneCharacter) {
  setText(u"123,456");
  select(4, 4);
  SendMessageW(box_, WM_CHAR, 8, 1);
  EXPECT_EQ("123456", u8(text()));
  EXPECT_EQ(std::make_pair(DWORD(3), DWORD(3)), sel());
  key(VK_DELETE);
  EXPECT_EQ("12356", u8(text()));
  EXPECT_EQ(std::make_pair(DWORD(3), DWORD(3)), sel());
  // At the ends nothing happens.
  select(0, 0);
  SendMessageW(box_, WM_CHAR, 8, 1);
  select(5, 5);
  key(VK_DELETE);
  EXPECT_EQ("12356", u8(text()));
  // A line break is one character.
  setText(u"12\r\n34");
  select(4, 4);
  SendMessageW(box_, WM_CHAR, 8, 1);
  EXPECT_EQ("1234", u8(text()));
  setText(u"12\r\n34");
  select(2, 2);
  key(VK_DELETE);
  EXPECT_EQ("1234", u8(text()));
  // With a selection both remove the selection.
  select(1, 3);
  key(VK_DELETE);
  EXPECT_EQ("14", u8(text()));
  // Ctrl+Backspace goes back to the start of the number.
  setText(u"138,13912");
  select(9, 9);
  key(VK_BACK, true);
  EXPECT_EQ("138,", u8(text()));
}

TEST_F(NumberBoxTest, CtrlArrowsJumpBetweenNumbers) {
  setText(u"138,139,140");
  select(11, 11);
  std::vector<DWORD> seen;
  for (int i = 0; i < 4; ++i) {
    key(VK_LEFT, true);
    seen.push_back(sel().second);
  }
  EXPECT_EQ((std::vector<DWORD>{8, 4, 0, 0}), seen);
  seen.clear();
  for (int i = 0; i < 4; ++i) {
    key(VK_RIGHT, true);
    seen.push_back(sel().second);
  }
  EXPECT_EQ((std::vector<DWORD>{4, 8, 11, 11}), seen);
  select(0, 0);
  key(VK_RIGHT, true, true);
  EXPECT_EQ(std::make_pair(DWORD(0), DWORD(4)), sel());
  // Plain arrows move by one; without Shift a selection collapses to its side.
  key(VK_LEFT);
  EXPECT_EQ(std::make_pair(DWORD(0), DWORD(0)), sel());
  key(VK_RIGHT);
  key(VK_RIGHT, false, true);
  EXPECT_EQ(std::make_pair(DWORD(1), DWORD(2)), sel());
  key(VK_RIGHT);
  EXPECT_EQ(std::make_pair(DWORD(2), DWORD(2)), sel());
  key(VK_END, true);
  EXPECT_EQ(std::make_pair(DWORD(11), DWORD(11)), sel());
  key(VK_HOME, true, true);
  EXPECT_EQ(std::make_pair(DWORD(0), DWORD(11)), sel());
  key('A', true);
  select(3, 3);
  key('A', true);
  EXPECT_EQ(std::make_pair(DWORD(0), DWORD(11)), sel());
}

TEST_F(NumberBoxTest, ShiftHomeSelectsToLineStart) {
  const ustring list = test::mobileNumberList(40);
  setText(list);
  ASSERT_GT(lines(), 3);
  const std::size_t second = lineIndex(1), third = lineIndex(2);
  select(static_cast<long long>(second + 5), static_cast<long long>(second + 5));
  key(VK_HOME, false, true);
  EXPECT_EQ(std::make_pair(DWORD(second), DWORD(second + 5)), sel());
  // End goes to the end of the same wrapped line, then Shift+Home back to its start.
  key(VK_END);
  EXPECT_EQ(std::make_pair(DWORD(third), DWORD(third)), sel());
  EXPECT_EQ(1, SendMessageW(box_, EM_LINEFROMCHAR, static_cast<WPARAM>(-1), 0));
  key(VK_HOME, false, true);
  EXPECT_EQ(std::make_pair(DWORD(second), DWORD(third)), sel());
  // Shift+End from the start selects the line.
  select(static_cast<long long>(third), static_cast<long long>(third));
  key(VK_END, false, true);
  EXPECT_EQ(std::make_pair(DWORD(third), DWORD(lineIndex(3))), sel());
}

TEST_F(NumberBoxTest, UpAndDownKeepTheColumnAndPagesMoveTheView) {
  setText(test::mobileNumberList(400));
  const std::size_t first = lineIndex(0), second = lineIndex(1);
  select(5, 5);
  key(VK_DOWN);
  EXPECT_EQ(second + 5, sel().second);
  key(VK_DOWN, false, true);
  EXPECT_EQ(std::make_pair(DWORD(second + 5), DWORD(lineIndex(2) + 5)), sel());
  key(VK_UP);
  key(VK_UP);
  EXPECT_EQ(first + 5, sel().second);
  key(VK_UP);
  EXPECT_EQ(first + 5, sel().second);
  const int page = visibleLines();
  ASSERT_GT(page, 2);
  key(VK_NEXT);
  EXPECT_EQ(page, firstVisible());
  EXPECT_EQ(static_cast<LRESULT>(page), SendMessageW(box_, EM_LINEFROMCHAR, sel().second, 0));
  key(VK_NEXT, false, true);
  EXPECT_EQ(2 * page, firstVisible());
  EXPECT_EQ(std::make_pair(DWORD(lineIndex(page) + 5), DWORD(lineIndex(2 * page) + 5)), sel());
  key(VK_PRIOR);
  EXPECT_EQ(page, firstVisible());
  key(VK_END, true);
  EXPECT_EQ(lines() - page, firstVisible());
}

// ---- wrapping -----------------------------------------------------------------------------

TEST_F(NumberBoxTest, LinesBreakAfterCommasAtTheWidth) {
  const ustring list = test::mobileNumberList(200);
  setText(list);
  const int n = lines();
  const int wrap = wrapWidth();
  ASSERT_GT(n, 10);
  ustring joined;
  for (int l = 0; l < n; ++l) {
    const std::size_t start = lineIndex(l);
    const std::size_t end = l + 1 < n ? lineIndex(l + 1) : list.size();
    const ustring shown = line(l);
    ASSERT_EQ(end - start, shown.size()) << l;
    joined += shown;
    EXPECT_LE(width(shown), wrap) << "line " << l << " " << u8(shown);
    if (l + 1 < n) {
      EXPECT_EQ(u',', shown.back()) << l;
      // The next number with its comma would not have fitted.
      const std::size_t comma = list.find(u',', end);
      const ustring next = list.substr(end, comma == ustring::npos ? ustring::npos : comma + 1 - end);
      EXPECT_GT(width(shown + next), wrap) << l;
    }
  }
  EXPECT_TRUE(joined == list);
  // A narrower box holds fewer numbers a line.
  MoveWindow(box_, 10, 10, 160, 200, TRUE);
  EXPECT_GT(lines(), n);
  EXPECT_EQ(u',', line(0).back());
  EXPECT_LE(width(line(0)), wrapWidth());
}

TEST_F(NumberBoxTest, ARunWithoutCommasBreaksAtTheWidth) {
  ustring digits;
  for (int i = 0; i < 500; ++i) digits += static_cast<char16_t>(u'0' + i % 10);
  setText(digits);
  const int n = lines(), wrap = wrapWidth();
  ASSERT_GT(n, 3);
  for (int l = 0; l < n; ++l) {
    const ustring shown = line(l);
    ASSERT_FALSE(shown.empty());
    EXPECT_LE(width(shown), wrap);
    if (l + 1 < n) {
      EXPECT_GT(width(shown + digits[lineIndex(l + 1)]), wrap) << l;
    }
  }
  // A box narrower than a character still shows one a line.
  MoveWindow(box_, 10, 10, 12, 200, TRUE);
  EXPECT_EQ(500, lines());
  // Line breaks that came in with the text start new lines.
  MoveWindow(box_, 10, 10, 300, 200, TRUE);
  setText(u"123\r\n456\n789\r\n");
  EXPECT_EQ(4, lines());
  EXPECT_EQ("456", u8(line(1)));
  EXPECT_EQ("789", u8(line(2)));
  EXPECT_EQ("", u8(line(3)));
  EXPECT_EQ(14u, lineIndex(3));
}

TEST_F(NumberBoxTest, EditsInTheMiddleLayOutLikeANewText) {
  // After each edit the lines must be those a fresh layout of the same text gives.
  // The fresh layout comes from a second box of the same size, so that this one keeps
  // updating its own lines edit after edit.
  setText(test::mobileNumberList(300));
  HWND fresh = createNumberBox(parent_, kBoxId + 1, WS_VSCROLL, WS_EX_CLIENTEDGE);
  SendMessageW(fresh, WM_SETFONT, reinterpret_cast<WPARAM>(font_.get()), FALSE);
  RECT rc;
  GetWindowRect(box_, &rc);
  MoveWindow(fresh, 10, 10, rc.right - rc.left, rc.bottom - rc.top, FALSE);
  auto snapshot = [&](HWND h) {
    std::vector<std::size_t> starts;
    for (int l = 0, n = static_cast<int>(SendMessageW(h, EM_GETLINECOUNT, 0, 0)); l < n; ++l)
      starts.push_back(static_cast<std::size_t>(SendMessageW(h, EM_LINEINDEX, static_cast<WPARAM>(l), 0)));
    return starts;
  };
  struct Edit {
    int line;           // counted from this line's start
    int offset;
    int remove;
    const char16_t* with;
    bool typed;         // typed and backspaced, or put in with EM_REPLACESEL
  };
  const Edit edits[] = {
      {3, 4, 0, u"9", true},      // a number grows
      {3, 4, 1, u"", true},       // and shrinks again
      {5, 0, 12, u"1,", false},   // a short number now fits on the line before
      {8, 0, 1, u"", true},       // backspace over the comma that ended the line before
      {9, 0, 0, u"13800000000,", false},
      {0, 0, 0, u"1234567890123456789012345678901234567890", false},
      {20, 3, 0, u",,,,", false},
      {30, 5, 0, u"\r\n", false},
      {31, 0, 2, u"", false},
      {40, 2, 0, u"中文,中文,", false},
      {-1, 0, 0, u",13800000400", true},  // at the end
  };
  for (const Edit& e : edits) {
    const std::size_t base = e.line < 0 ? text().size() : lineIndex(e.line);
    const std::size_t at = base + static_cast<std::size_t>(e.offset);
    if (e.typed) {
      select(static_cast<long long>(at), static_cast<long long>(at));
      if (e.remove) {
        select(static_cast<long long>(at), static_cast<long long>(at));
        for (int i = 0; i < e.remove; ++i) SendMessageW(box_, WM_CHAR, 8, 1);
      }
      type(e.with);
    } else {
      select(static_cast<long long>(at), static_cast<long long>(at + e.remove));
      SendMessageW(box_, EM_REPLACESEL, TRUE, reinterpret_cast<LPARAM>(wz(e.with)));
    }
    SetWindowTextW(fresh, wz(text()));
    EXPECT_EQ(snapshot(fresh), snapshot(box_)) << "after the edit at line " << e.line << " + " << e.offset;
  }
  // Where a line breaks at a "\r" or a high surrogate, the unit after it decides as
  // well: its partner put in there changes the line before.
  ustring digits;
  for (int i = 0; i < 200; ++i) digits += static_cast<char16_t>(u'0' + i % 10);
  setText(digits);
  const std::size_t wrapAt = lineIndex(1);
  for (const auto& [first, second] : {std::pair{u'\r', u'\n'}, std::pair{char16_t(0xD83D), char16_t(0xDE00)}}) {
    for (std::size_t p = wrapAt - 2; p <= wrapAt + 2; ++p) {
      ustring t = digits;
      t[p] = first;
      setText(t);
      snapshot(box_);  // laid out before the edit
      select(static_cast<long long>(p + 1), static_cast<long long>(p + 1));
      const char16_t partner[2] = {second, 0};
      SendMessageW(box_, EM_REPLACESEL, TRUE, reinterpret_cast<LPARAM>(partner));
      SetWindowTextW(fresh, wz(text()));
      EXPECT_EQ(snapshot(fresh), snapshot(box_)) << "a partner after " << int(first) << " at " << p;
    }
  }
  DestroyWindow(fresh);
}

// ---- clipboard and undo -------------------------------------------------------------------

TEST_F(NumberBoxTest, PasteInsertsTheClipboardUnfiltered) {
  ASSERT_TRUE(SetWindowSubclass(box_, digitsOnly, 1, 0));
  setText(u"138,139");
  select(4, 4);
  setClipboard(u"abc,中文\r\n1");
  key('V', true);
  EXPECT_EQ(u8(u"138,abc,中文\r\n1139"), u8(text()));
  EXPECT_EQ(DWORD(4 + 9), sel().second);
  select(0, 3);
  key(VK_INSERT, false, true);
  EXPECT_EQ(u8(u"abc,中文\r\n1,abc,中文\r\n1139"), u8(text()));
  SendMessageW(box_, WM_PASTE, 0, 0);
  EXPECT_EQ(u8(u"abc,中文\r\n1abc,中文\r\n1,abc,中文\r\n1139"), u8(text()));
  // Read-only: nothing goes in.
  SendMessageW(box_, EM_SETREADONLY, TRUE, 0);
  EXPECT_NE(0, GetWindowLongPtrW(box_, GWL_STYLE) & ES_READONLY);
  const ustring before = text();
  key('V', true);
  type(u"5");
  SendMessageW(box_, WM_CHAR, 8, 1);
  key(VK_DELETE);
  EXPECT_TRUE(text() == before);
  // A read-only box shows the face colour behind its text.
  const auto px = pixels();
  EXPECT_GT(count(px, rgb(COLOR_BTNFACE)), static_cast<int>(px.size() / 2));
  SendMessageW(box_, EM_SETREADONLY, FALSE, 0);
  type(u"5");
  EXPECT_FALSE(text() == before);
}

TEST_F(NumberBoxTest, CutCopyUndo) {
  setText(u"138,139,140");
  EXPECT_EQ(FALSE, SendMessageW(box_, EM_CANUNDO, 0, 0));
  select(4, 7);
  key('C', true);
  EXPECT_EQ("139", u8(clipboard()));
  select(0, 3);
  key(VK_INSERT, true);
  EXPECT_EQ("138", u8(clipboard()));
  select(4, 8);
  key('X', true);
  EXPECT_EQ("139,", u8(clipboard()));
  EXPECT_EQ("138,140", u8(text()));
  EXPECT_EQ(TRUE, SendMessageW(box_, EM_CANUNDO, 0, 0));
  key('Z', true);
  EXPECT_EQ("138,139,140", u8(text()));
  EXPECT_EQ(std::make_pair(DWORD(4), DWORD(8)), sel());
  // Undo again does what was undone again.
  SendMessageW(box_, WM_UNDO, 0, 0);
  EXPECT_EQ("138,140", u8(text()));
  SendMessageW(box_, EM_UNDO, 0, 0);
  EXPECT_EQ("138,139,140", u8(text()));
  // A typing run is undone whole; moving the caret ends the run.
  select(11, 11);
  type(u",150");
  key(VK_LEFT);
  key(VK_RIGHT);
  type(u"9");
  key('Z', true);
  EXPECT_EQ("138,139,140,150", u8(text()));
  select(11, 11);
  type(u"77");
  key('Z', true);
  EXPECT_EQ("138,139,140,150", u8(text()));
  // So is a run of backspaces.
  select(15, 15);
  for (int i = 0; i < 4; ++i) SendMessageW(box_, WM_CHAR, 8, 1);
  EXPECT_EQ("138,139,140", u8(text()));
  SendMessageW(box_, EM_UNDO, 0, 0);
  EXPECT_EQ("138,139,140,150", u8(text()));
  // Shift+Delete cuts, WM_CLEAR deletes without the clipboard.
  select(0, 4);
  key(VK_DELETE, false, true);
  EXPECT_EQ("138,", u8(clipboard()));
  EXPECT_EQ("139,140,150", u8(text()));
  select(0, 4);
  SendMessageW(box_, WM_CLEAR, 0, 0);
  EXPECT_EQ("140,150", u8(text()));
  EXPECT_EQ("138,", u8(clipboard()));
  SendMessageW(box_, EM_EMPTYUNDOBUFFER, 0, 0);
  EXPECT_EQ(FALSE, SendMessageW(box_, EM_CANUNDO, 0, 0));
  EXPECT_EQ(FALSE, SendMessageW(box_, EM_UNDO, 0, 0));
  EXPECT_EQ("140,150", u8(text()));
  // A new text cannot be undone.
  type(u"1");
  setText(u"5");
  EXPECT_EQ(FALSE, SendMessageW(box_, EM_CANUNDO, 0, 0));
}

TEST_F(NumberBoxTest, TheLimitCutsTypingAndPasteButNotANewText) {
  EXPECT_GE(SendMessageW(box_, EM_GETLIMITTEXT, 0, 0), 0x7FFFFFFE);
  SendMessageW(box_, EM_SETLIMITTEXT, 6, 0);
  EXPECT_EQ(6, SendMessageW(box_, EM_GETLIMITTEXT, 0, 0));
  type(u"1380000");
  EXPECT_EQ("138000", u8(text()));
  EXPECT_EQ(1, countOf(EN_MAXTEXT));
  select(2, 4);
  setClipboard(u"99999");
  SendMessageW(box_, WM_PASTE, 0, 0);
  EXPECT_EQ("139900", u8(text()));
  setText(u"13800000001");
  EXPECT_EQ("13800000001", u8(text()));
  SendMessageW(box_, EM_LIMITTEXT, 0, 0);
  EXPECT_GE(SendMessageW(box_, EM_GETLIMITTEXT, 0, 0), 0x7FFFFFFE);
}

// ---- mouse --------------------------------------------------------------------------------

TEST_F(NumberBoxTest, ClickAndDragSelect) {
  setText(test::mobileNumberList(300));
  const POINT a = posOf(4), b = posOf(40);
  mouse(WM_LBUTTONDOWN, {a.x + 1, a.y + 2}, MK_LBUTTON);
  EXPECT_EQ(box_, GetFocus());
  EXPECT_EQ(std::make_pair(DWORD(4), DWORD(4)), sel());
  mouse(WM_MOUSEMOVE, {b.x + 1, b.y + 2}, MK_LBUTTON);
  mouse(WM_LBUTTONUP, {b.x + 1, b.y + 2});
  EXPECT_EQ(std::make_pair(DWORD(4), DWORD(40)), sel());
  EXPECT_NE(box_, GetCapture());
  // Shift+click moves the end of the selection.
  const POINT c = posOf(20);
  mouse(WM_LBUTTONDOWN, {c.x + 1, c.y + 2}, MK_LBUTTON | MK_SHIFT);
  mouse(WM_LBUTTONUP, {c.x + 1, c.y + 2});
  EXPECT_EQ(std::make_pair(DWORD(4), DWORD(20)), sel());
  // Dragging below the box scrolls it and extends the selection.
  RECT rc;
  GetClientRect(box_, &rc);
  mouse(WM_LBUTTONDOWN, {a.x + 1, a.y + 2}, MK_LBUTTON);
  EXPECT_EQ(box_, GetCapture());
  mouse(WM_MOUSEMOVE, {a.x, rc.bottom + 30}, MK_LBUTTON);
  pump(400);
  const int scrolled = firstVisible();
  EXPECT_GT(scrolled, 2);
  const auto [s, e] = sel();
  EXPECT_EQ(4u, s);
  EXPECT_GE(SendMessageW(box_, EM_LINEFROMCHAR, e, 0), scrolled + visibleLines() - 1);
  mouse(WM_LBUTTONUP, {a.x, rc.bottom + 30});
  pump(200);
  EXPECT_EQ(scrolled, firstVisible()) << "the scrolling stops with the button";
  // And above it scrolls back.
  mouse(WM_LBUTTONDOWN, {a.x + 1, a.y + 2}, MK_LBUTTON);
  mouse(WM_MOUSEMOVE, {a.x, -20}, MK_LBUTTON);
  pump(400);
  mouse(WM_LBUTTONUP, {a.x, -20});
  EXPECT_LT(firstVisible(), scrolled);
}

TEST_F(NumberBoxTest, DoubleClickSelectsOneNumber) {
  setText(u"13800000001,13900000002,13700000003");
  const POINT p = posOf(16);
  mouse(WM_LBUTTONDOWN, {p.x + 1, p.y + 2}, MK_LBUTTON);
  mouse(WM_LBUTTONUP, {p.x + 1, p.y + 2});
  mouse(WM_LBUTTONDBLCLK, {p.x + 1, p.y + 2}, MK_LBUTTON);
  mouse(WM_LBUTTONUP, {p.x + 1, p.y + 2});
  EXPECT_EQ(std::make_pair(DWORD(12), DWORD(23)), sel());
  const POINT q = posOf(1);
  mouse(WM_LBUTTONDBLCLK, {q.x + 1, q.y + 2}, MK_LBUTTON);
  mouse(WM_LBUTTONUP, {q.x + 1, q.y + 2});
  EXPECT_EQ(std::make_pair(DWORD(0), DWORD(11)), sel());
}

TEST_F(NumberBoxTest, WheelAndScrollBarMoveByLines) {
  setText(test::mobileNumberList(300));
  const int n = lines(), page = visibleLines();
  ASSERT_GT(n, 3 * page);
  SCROLLINFO si{};
  si.cbSize = sizeof si;
  si.fMask = SIF_ALL;
  ASSERT_TRUE(GetScrollInfo(box_, SB_VERT, &si));
  EXPECT_EQ(n - 1, si.nMax);
  EXPECT_EQ(static_cast<UINT>(page), si.nPage);
  UINT wheelLines = 3;
  SystemParametersInfoW(SPI_GETWHEELSCROLLLINES, 0, &wheelLines, 0);
  POINT center{50, 50};
  ClientToScreen(box_, &center);
  SendMessageW(box_, WM_MOUSEWHEEL, MAKEWPARAM(0, static_cast<WORD>(-WHEEL_DELTA)), MAKELPARAM(center.x, center.y));
  EXPECT_EQ(static_cast<int>(wheelLines), firstVisible());
  SendMessageW(box_, WM_MOUSEWHEEL, MAKEWPARAM(0, WHEEL_DELTA), MAKELPARAM(center.x, center.y));
  EXPECT_EQ(0, firstVisible());
  SendMessageW(box_, WM_VSCROLL, SB_LINEDOWN, 0);
  EXPECT_EQ(1, firstVisible());
  SendMessageW(box_, WM_VSCROLL, SB_PAGEDOWN, 0);
  EXPECT_EQ(1 + page, firstVisible());
  SendMessageW(box_, WM_VSCROLL, MAKEWPARAM(SB_THUMBTRACK, 7), 0);
  EXPECT_EQ(7, firstVisible());
  SendMessageW(box_, WM_VSCROLL, SB_BOTTOM, 0);
  EXPECT_EQ(n - page, firstVisible());
  SendMessageW(box_, WM_VSCROLL, SB_LINEDOWN, 0);
  EXPECT_EQ(n - page, firstVisible());
  ASSERT_TRUE(GetScrollInfo(box_, SB_VERT, &si));
  EXPECT_EQ(n - page, si.nPos);
  SendMessageW(box_, WM_VSCROLL, SB_PAGEUP, 0);
  EXPECT_EQ(n - 2 * page, firstVisible());
  SendMessageW(box_, WM_VSCROLL, SB_TOP, 0);
  EXPECT_EQ(0, firstVisible());
  // Scrolling leaves the caret where it was.
  EXPECT_EQ(std::make_pair(DWORD(0), DWORD(0)), sel());
  // EM_SCROLLCARET brings it back into view.
  select(static_cast<long long>(lineIndex(n - 1)), static_cast<long long>(lineIndex(n - 1)));
  EXPECT_EQ(0, firstVisible());
  SendMessageW(box_, EM_SCROLLCARET, 0, 0);
  EXPECT_EQ(n - page, firstVisible());
}

TEST_F(NumberBoxTest, MillionCharactersLayOutOnceAndScrollToTheEnd) {
  const ustring list = test::mobileNumberList(100000);
  ASSERT_EQ(1199999u, list.size());
  setText(list);
  UpdateWindow(box_);
  const int n = lines(), wrap = wrapWidth();
  ASSERT_GT(n, 1000);
  // Every line ends after a comma, fits, and could not have taken the next number.
  std::size_t start = 0;
  for (int l = 0; l < n; ++l) {
    const std::size_t next = l + 1 < n ? lineIndex(l + 1) : list.size();
    ASSERT_EQ(start, lineIndex(l));
    ASSERT_GT(next, start);
    const ustring_view shown = ustring_view(list).substr(start, next - start);
    ASSERT_LE(width(shown), wrap) << l;
    if (l + 1 < n) {
      ASSERT_EQ(u',', shown.back()) << l;
      ASSERT_GT(width(shown) + width(ustring_view(list).substr(next, 12)), wrap) << l;
    }
    start = next;
  }
  // Ctrl+End: the view shows the last line, which ends with the last number.
  SetFocus(box_);
  key(VK_END, true);
  UpdateWindow(box_);
  EXPECT_EQ(n - visibleLines(), firstVisible());
  EXPECT_EQ(std::make_pair(DWORD(list.size()), DWORD(list.size())), sel());
  const ustring last = line(n - 1);
  EXPECT_TRUE(last.size() >= 11 && last.substr(last.size() - 11) == u"13800099999") << u8(last);
  EXPECT_EQ(list.size() - last.size(), lineIndex(n - 1));
  POINT caret{};
  GetCaretPos(&caret);
  RECT rc;
  GetClientRect(box_, &rc);
  EXPECT_GE(caret.y, 0);
  EXPECT_LT(caret.y, rc.bottom);
  // Typing at the end adds to the last line only.
  type(u",13800100000");
  EXPECT_EQ(list.size() + 12, static_cast<std::size_t>(GetWindowTextLengthW(box_)));
  EXPECT_GE(lines(), n);
  EXPECT_LE(lines(), n + 1);
  const ustring tail = line(lines() - 1);
  EXPECT_EQ(u"13800100000", tail.substr(tail.size() - 11));
}

// ---- the dialog, focus and the look ---------------------------------------------------------

TEST_F(NumberBoxTest, EnterTabAndEscStayWithTheDialog) {
  EXPECT_EQ(DLGC_WANTCHARS | DLGC_WANTARROWS | DLGC_HASSETSEL, SendMessageW(box_, WM_GETDLGCODE, 0, 0));
  for (UINT vk : {VK_RETURN, VK_TAB, VK_ESCAPE}) {
    MSG m{box_, WM_KEYDOWN, vk, 1, 0, {0, 0}};
    const LRESULT code = SendMessageW(box_, WM_GETDLGCODE, vk, reinterpret_cast<LPARAM>(&m));
    EXPECT_EQ(0, code & (DLGC_WANTALLKEYS | DLGC_WANTMESSAGE | DLGC_WANTTAB)) << vk;
  }
  setText(u"138");
  SetFocus(box_);
  // Enter and Esc reach the dialog as its OK and Cancel; the text stays as it was.
  g_notes.clear();
  MSG enter{box_, WM_KEYDOWN, VK_RETURN, 1, 0, {0, 0}};
  EXPECT_TRUE(IsDialogMessageW(parent_, &enter));
  MSG esc{box_, WM_KEYDOWN, VK_ESCAPE, 1, 0, {0, 0}};
  EXPECT_TRUE(IsDialogMessageW(parent_, &esc));
  pump();
  EXPECT_EQ(1, std::count_if(g_notes.begin(), g_notes.end(), [](const Notification& x) { return x.id == IDOK; }));
  EXPECT_EQ(1, std::count_if(g_notes.begin(), g_notes.end(), [](const Notification& x) { return x.id == IDCANCEL; }));
  EXPECT_EQ("138", u8(text()));
  // Tab moves on to the next control, and back in selects the whole list.
  MSG tab{box_, WM_KEYDOWN, VK_TAB, 1, 0, {0, 0}};
  EXPECT_TRUE(IsDialogMessageW(parent_, &tab));
  EXPECT_EQ(button_, GetFocus());
  setKeys(false, true);
  MSG back{button_, WM_KEYDOWN, VK_TAB, 1, 0, {0, 0}};
  EXPECT_TRUE(IsDialogMessageW(parent_, &back));
  setKeys(false, false);
  EXPECT_EQ(box_, GetFocus());
  EXPECT_EQ(std::make_pair(DWORD(0), DWORD(3)), sel());
}

TEST_F(NumberBoxTest, FocusShowsTheCaretAndTheSelection) {
  setText(u"13800000001,13900000002");
  select(0, 11);
  SetFocus(button_);
  pump();
  g_notes.clear();
  const uint32_t highlight = rgb(COLOR_HIGHLIGHT);
  EXPECT_EQ(0, count(pixels(), highlight));
  SetFocus(box_);
  EXPECT_EQ(1, countOf(EN_SETFOCUS));
  GUITHREADINFO gui{};
  gui.cbSize = sizeof gui;
  ASSERT_TRUE(GetGUIThreadInfo(GetCurrentThreadId(), &gui));
  EXPECT_EQ(box_, gui.hwndCaret);
  EXPECT_GT(count(pixels(), highlight), 100);
  SetFocus(button_);
  EXPECT_EQ(1, countOf(EN_KILLFOCUS));
  ASSERT_TRUE(GetGUIThreadInfo(GetCurrentThreadId(), &gui));
  EXPECT_NE(box_, gui.hwndCaret);
  EXPECT_EQ(0, count(pixels(), highlight));
  // Unless the box is asked to keep it.
  SetWindowLongPtrW(box_, GWL_STYLE, GetWindowLongPtrW(box_, GWL_STYLE) | ES_NOHIDESEL);
  EXPECT_GT(count(pixels(), highlight), 100);
}

TEST_F(NumberBoxTest, DisabledShowsNoCaret) {
  setText(u"13800000001,13900000002");
  SetFocus(box_);
  GUITHREADINFO gui{};
  gui.cbSize = sizeof gui;
  ASSERT_TRUE(GetGUIThreadInfo(GetCurrentThreadId(), &gui));
  ASSERT_EQ(box_, gui.hwndCaret);
  EnableWindow(box_, FALSE);
  ASSERT_TRUE(GetGUIThreadInfo(GetCurrentThreadId(), &gui));
  EXPECT_NE(box_, gui.hwndCaret);
  SetFocus(box_);
  ASSERT_TRUE(GetGUIThreadInfo(GetCurrentThreadId(), &gui));
  EXPECT_NE(box_, gui.hwndCaret);
  // The system keeps the focus away from a disabled window; a focus message that
  // comes anyway brings no caret either.
  SendMessageW(box_, WM_SETFOCUS, 0, 0);
  ASSERT_TRUE(GetGUIThreadInfo(GetCurrentThreadId(), &gui));
  EXPECT_NE(box_, gui.hwndCaret);
  SendMessageW(box_, WM_KILLFOCUS, 0, 0);
  // Grey text on the face colour; no text in the normal colour.
  const auto px = pixels();
  EXPECT_GT(count(px, rgb(COLOR_BTNFACE)), static_cast<int>(px.size() / 2));
  EXPECT_GT(count(px, rgb(COLOR_GRAYTEXT)), 10);
  EXPECT_EQ(0, count(px, rgb(COLOR_WINDOWTEXT)));
  EnableWindow(box_, TRUE);
  SetFocus(button_);
  SetFocus(box_);
  ASSERT_TRUE(GetGUIThreadInfo(GetCurrentThreadId(), &gui));
  EXPECT_EQ(box_, gui.hwndCaret);
  const auto on = pixels();
  EXPECT_GT(count(on, rgb(COLOR_WINDOW)), static_cast<int>(on.size() / 2));
  EXPECT_GT(count(on, rgb(COLOR_WINDOWTEXT)), 10);
}

TEST_F(NumberBoxTest, ALargerFontLaysTheListOutAgain) {
  setText(test::mobileNumberList(200));
  const int before = lines();
  LOGFONTW lf{};
  GetObjectW(font_.get(), sizeof lf, &lf);
  lf.lfHeight *= 2;
  Font big(CreateFontIndirectW(&lf));
  SendMessageW(box_, WM_SETFONT, reinterpret_cast<WPARAM>(big.get()), TRUE);
  EXPECT_EQ(reinterpret_cast<LRESULT>(big.get()), SendMessageW(box_, WM_GETFONT, 0, 0));
  widths_.clear();
  EXPECT_GT(lines(), before);
  EXPECT_LE(width(line(0)), wrapWidth());
  EXPECT_GT(lineHeight(), 0);
  UpdateWindow(box_);
  SendMessageW(box_, WM_SETFONT, reinterpret_cast<WPARAM>(font_.get()), FALSE);
  EXPECT_EQ(before, lines());
}

// The context menu's own loop runs the thread's timers: this one reads the menu and
// picks an item with its access key.
struct MenuSeen {
  std::vector<std::wstring> captions;
  std::vector<bool> enabled;
  wchar_t pick = 0;
};
MenuSeen g_menu;

BOOL CALLBACK findMenu(HWND hwnd, LPARAM found) {
  wchar_t cls[32];
  if (GetClassNameW(hwnd, cls, 32) && lstrcmpW(cls, L"#32768") == 0 && IsWindowVisible(hwnd)) {
    *reinterpret_cast<HWND*>(found) = hwnd;
    return FALSE;
  }
  return TRUE;
}

void CALLBACK readMenu(HWND, UINT, UINT_PTR id, DWORD) {
  HWND menuWindow = nullptr;
  EnumThreadWindows(GetCurrentThreadId(), findMenu, reinterpret_cast<LPARAM>(&menuWindow));
  if (!menuWindow) return;
  KillTimer(nullptr, id);
  auto menu = reinterpret_cast<HMENU>(SendMessageW(menuWindow, MN_GETHMENU, 0, 0));
  for (int i = 0, n = GetMenuItemCount(menu); i < n; ++i) {
    wchar_t text[64] = L"";
    MENUITEMINFOW mi{};
    mi.cbSize = sizeof mi;
    mi.fMask = MIIM_STATE | MIIM_STRING | MIIM_FTYPE;
    mi.dwTypeData = text;
    mi.cch = 64;
    GetMenuItemInfoW(menu, static_cast<UINT>(i), TRUE, &mi);
    if (mi.fType & MFT_SEPARATOR) continue;
    g_menu.captions.push_back(text);
    g_menu.enabled.push_back((mi.fState & MFS_GRAYED) == 0);
  }
  if (g_menu.pick) PostMessageW(menuWindow, WM_CHAR, g_menu.pick, 1);
  else EndMenu();
}

TEST_F(NumberBoxTest, TheContextMenuOffersWhatAnEditBoxDoes) {
  setText(u"138,139");
  select(0, 3);
  OpenClipboard(parent_);
  EmptyClipboard();
  CloseClipboard();
  g_menu = MenuSeen{};
  const UINT_PTR timer = SetTimer(nullptr, 0, 50, readMenu);
  SendMessageW(box_, WM_CONTEXTMENU, reinterpret_cast<WPARAM>(box_), MAKELPARAM(300, 250));
  KillTimer(nullptr, timer);
  EXPECT_EQ(box_, GetFocus());
  const std::vector<std::wstring> chinese = {L"撤消(&U)", L"剪切(&T)", L"复制(&C)", L"粘贴(&P)", L"删除(&D)", L"全选(&A)"};
  EXPECT_EQ(chinese, g_menu.captions);
  EXPECT_EQ((std::vector<bool>{false, true, true, false, true, true}), g_menu.enabled);

  // The owner's captions; the access key picks Select All; Shift+F10 opens it too.
  NumberBoxMenuTexts english{u"&Undo", u"Cu&t", u"&Copy", u"&Paste", u"&Delete", u"Select &All"};
  ASSERT_TRUE(setNumberBoxMenuTexts(box_, english));
  EXPECT_FALSE(setNumberBoxMenuTexts(button_, english));
  type(u"5");
  setClipboard(u"1");
  g_menu = MenuSeen{};
  g_menu.pick = L'a';
  SetTimer(nullptr, 0, 50, readMenu);
  setKeys(false, true);
  SendMessageW(box_, WM_SYSKEYDOWN, VK_F10, 1);
  setKeys(false, false);
  EXPECT_EQ((std::vector<std::wstring>{L"&Undo", L"Cu&t", L"&Copy", L"&Paste", L"&Delete", L"Select &All"}),
            g_menu.captions);
  EXPECT_EQ((std::vector<bool>{true, false, false, true, false, true}), g_menu.enabled);
  EXPECT_EQ(std::make_pair(DWORD(0), DWORD(5)), sel());
  // With everything selected, Select All is grey; read-only greys the changes.
  SendMessageW(box_, EM_SETREADONLY, TRUE, 0);
  g_menu = MenuSeen{};
  SetTimer(nullptr, 0, 50, readMenu);
  key(VK_APPS);
  EXPECT_EQ((std::vector<bool>{false, false, true, false, false, false}), g_menu.enabled);
}

// ---- the box as a window of ours ------------------------------------------------------------

TEST_F(NumberBoxTest, TheBoxGoesWithItsWindowAndLeavesNoHandlesBehind) {
  const long windows = liveHandles(Handle::Window), dcs = liveHandles(Handle::DC);
  const long bitmaps = liveHandles(Handle::Bitmap), menus = liveHandles(Handle::Menu);
  HWND box = createNumberBox(parent_, kBoxId + 2, WS_VISIBLE | WS_VSCROLL, WS_EX_CLIENTEDGE);
  EXPECT_EQ(windows + 1, liveHandles(Handle::Window));
  EXPECT_EQ(dcs + 1, liveHandles(Handle::DC));  // the one it measures with
  SendMessageW(box, WM_SETFONT, reinterpret_cast<WPARAM>(font_.get()), FALSE);
  MoveWindow(box, 10, 215, 300, 60, TRUE);
  SetWindowTextW(box, wz(test::mobileNumberList(100)));
  UpdateWindow(box);
  EXPECT_GT(SendMessageW(box, EM_GETLINECOUNT, 0, 0), 10);
  g_menu = MenuSeen{};
  SetTimer(nullptr, 0, 50, readMenu);
  SendMessageW(box, WM_CONTEXTMENU, reinterpret_cast<WPARAM>(box), MAKELPARAM(300, 250));
  EXPECT_EQ(6u, g_menu.captions.size());
  EXPECT_EQ(menus, liveHandles(Handle::Menu));
  EXPECT_EQ(bitmaps, liveHandles(Handle::Bitmap));
  EXPECT_EQ(dcs + 1, liveHandles(Handle::DC));
  EXPECT_NE(nullptr, Window::from(box));
  DestroyWindow(box);
  EXPECT_EQ(windows, liveHandles(Handle::Window));
  EXPECT_EQ(dcs, liveHandles(Handle::DC));
  EXPECT_EQ(nullptr, Window::from(box));
  EXPECT_TRUE(numberBoxText(box).empty());
}

TEST_F(NumberBoxTest, AParentMayDestroyTheBoxFromAnyOfItsNotifications) {
  const long windows = liveHandles(Handle::Window), dcs = liveHandles(Handle::DC);
  // One replacement over the limit sends EN_MAXTEXT, EN_UPDATE and EN_CHANGE.
  for (int code : {EN_MAXTEXT, EN_UPDATE, EN_CHANGE}) {
    HWND box = createNumberBox(parent_, kBoxId + 3, WS_VISIBLE, 0);
    SendMessageW(box, EM_SETLIMITTEXT, 1, 0);
    g_notes.clear();
    g_destroyOn = box;
    g_destroyCode = code;
    SendMessageW(box, EM_REPLACESEL, TRUE, reinterpret_cast<LPARAM>(L"55"));
    EXPECT_FALSE(IsWindow(box)) << code;
    EXPECT_EQ(nullptr, g_destroyOn);
    // Nothing is heard from it after it went.
    EXPECT_EQ(code, g_notes.empty() ? -1 : g_notes.back().code);
  }
  HWND box = createNumberBox(parent_, kBoxId + 3, WS_VISIBLE, 0);
  g_destroyOn = box;
  g_destroyCode = EN_SETFOCUS;
  SetFocus(box);
  EXPECT_FALSE(IsWindow(box));
  g_destroyOn = nullptr;
  EXPECT_EQ(windows, liveHandles(Handle::Window));
  EXPECT_EQ(dcs, liveHandles(Handle::DC));
}

TEST_F(NumberBoxTest, ABoxTheSystemRefusesRaisesAndLeavesNothing) {
  const long windows = liveHandles(Handle::Window), dcs = liveHandles(Handle::DC);
  HWND notAWindow = reinterpret_cast<HWND>(static_cast<INT_PTR>(0x7FFF0));
  ASSERT_FALSE(IsWindow(notAWindow));
  EXPECT_THROW(createNumberBox(notAWindow, kBoxId + 4, WS_VISIBLE, 0), Error);
  EXPECT_EQ(windows, liveHandles(Handle::Window));
  EXPECT_EQ(dcs, liveHandles(Handle::DC));
}

TEST_F(NumberBoxTest, CharactersTheOwnerFiltersNeverReachTheBox) {
  const long windows = liveHandles(Handle::Window);
  filterChars(box_, [](char16_t c) { return (c >= u'0' && c <= u'9') || c == u',' || c == 8; });
  EXPECT_EQ(windows, liveHandles(Handle::Window));  // the box's own object holds the filter
  expectOnlyDigitsCommasAndBackspaceTyped();
  // Pasted text is not typed: it goes in whole.
  setClipboard(u"a1");
  SendMessageW(box_, WM_PASTE, 0, 0);
  EXPECT_EQ("138,5a1", u8(text()));
}

TEST_F(NumberBoxTest, ReadOnlySetThroughTheStyleIsHonoured) {
  setText(u"138");
  select(3, 3);
  SetWindowLongPtrW(box_, GWL_STYLE, GetWindowLongPtrW(box_, GWL_STYLE) | ES_READONLY);
  type(u"9");
  SendMessageW(box_, WM_CHAR, 8, 1);
  select(0, 0);
  key(VK_DELETE);
  EXPECT_EQ("138", u8(text()));
  const auto px = pixels();
  EXPECT_GT(count(px, rgb(COLOR_BTNFACE)), static_cast<int>(px.size() / 2));
  SetWindowLongPtrW(box_, GWL_STYLE, GetWindowLongPtrW(box_, GWL_STYLE) & ~LONG_PTR(ES_READONLY));
  type(u"9");
  EXPECT_EQ("9138", u8(text()));
  // Created read-only.
  HWND ro = createNumberBox(parent_, kBoxId + 5, ES_READONLY, 0);
  SendMessageW(ro, WM_CHAR, '1', 1);
  EXPECT_EQ(0, GetWindowTextLengthW(ro));
  SendMessageW(ro, EM_SETREADONLY, FALSE, 0);
  SendMessageW(ro, WM_CHAR, '1', 1);
  EXPECT_EQ(1, GetWindowTextLengthW(ro));
  DestroyWindow(ro);
}

// A picture of the box for a person to look at: a wrapped list, a selection and
// Chinese text pasted in.
TEST_F(NumberBoxTest, ShowsAWrappedListWithASelectionAndChineseText) {
  setText(test::mobileNumberList(60));
  select(24, 24);
  setClipboard(u"张三,李四,");
  SendMessageW(box_, WM_PASTE, 0, 0);
  SetFocus(box_);
  select(48, 95);
  RedrawWindow(parent_, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_UPDATENOW | RDW_ALLCHILDREN | RDW_FRAME);
  pump(300);
  EXPECT_GT(count(pixels(), rgb(COLOR_HIGHLIGHT)), 100);
  const ustring path = lumo::test::windowsPath(std::string(LUMO_SHOTS_DIR) + "/number-box.png");
  EXPECT_TRUE(lumo::test::saveWindowPng(parent_, lumo::test::wide(path)));
}

// Not a check: how long the long lists take. Run with
//   --gtest_also_run_disabled_tests --gtest_filter=*Timing*
TEST_F(NumberBoxTest, DISABLED_Timing) {
  using lumo::test::nowMs;
  auto ms = [](double t0, double t1) { return t1 - t0; };
  SetFocus(box_);
  for (int count : {10000, 100000}) {
    const ustring list = test::mobileNumberList(count);
    setText(u"");
    UpdateWindow(box_);
    double t0 = nowMs();
    setText(list);
    const double ta = nowMs();
    SendMessageW(box_, EM_GETLINECOUNT, 0, 0);  // the layout
    const double tb = nowMs();
    UpdateWindow(box_);
    double t1 = nowMs();
    std::vector<wchar_t> buf(list.size() + 1);
    const double t2 = nowMs();
    GetWindowTextW(box_, buf.data(), static_cast<int>(buf.size()));
    const double t3 = nowMs();
    key(VK_END, true);
    UpdateWindow(box_);
    const double t4 = nowMs();
    type(u",");
    UpdateWindow(box_);
    const double t5 = nowMs();
    SendMessageW(box_, WM_CHAR, 8, 1);
    UpdateWindow(box_);
    key(VK_HOME, true);
    UpdateWindow(box_);
    const double t6 = nowMs();
    int pages = 0;
    while (pages < 200) {
      key(VK_NEXT);
      UpdateWindow(box_);
      ++pages;
    }
    const double t7 = nowMs();
    select(0, 0);
    const double t8 = nowMs();
    type(u"1");
    UpdateWindow(box_);
    const double t9 = nowMs();
    std::printf("%7zu chars, %d lines: set+paint %.1f ms (set %.2f, layout %.2f, paint %.2f), get text %.2f ms, "
                "Ctrl+End+paint %.2f ms, type at end+paint %.2f ms, type at start+paint %.2f ms, "
                "page down+paint %.3f ms each\n",
                list.size(), lines(), ms(t0, t1), ms(t0, ta), ms(ta, tb), ms(tb, t1), ms(t2, t3), ms(t3, t4),
                ms(t4, t5), ms(t8, t9), ms(t6, t7) / pages);
  }
  // The layout pass alone: a box without a scroll bar (whose update costs a round trip
  // to the display), the text set and the lines counted, best of five.
  HWND bare = createNumberBox(parent_, kBoxId + 10, 0, 0);
  SendMessageW(bare, WM_SETFONT, reinterpret_cast<WPARAM>(font_.get()), FALSE);
  MoveWindow(bare, 0, 0, 300, 200, FALSE);
  for (int count : {10000, 100000, 500000}) {
    const ustring list = test::mobileNumberList(count);
    double best = 1e9;
    for (int round = 0; round < 5; ++round) {
      SetWindowTextW(bare, L"");
      const double t0 = nowMs();
      SetWindowTextW(bare, wz(list));
      SendMessageW(bare, EM_GETLINECOUNT, 0, 0);
      best = std::min(best, ms(t0, nowMs()));
    }
    std::printf("%7zu chars: set + layout %.2f ms (%.2f ns a character)\n", list.size(), best,
                best * 1e6 / double(list.size()));
  }
  DestroyWindow(bare);
}

}  // namespace
}  // namespace lumo::win32
