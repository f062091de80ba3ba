// The list window as a user works with it, on the real window in this process
// over a recording platform: sorting on the column heads, widths that stay,
// several rows selected and copied, the find dialog with F3, the row counts, and
// a wide table previewed in column bands. Pictures in Simplified Chinese and in
// English (the development host's translations) go where the other pictures of
// the list window go.
// The builder first: its window-position names are macros once windows.h is in.
#include "display/disp_builder.h"

#include <windows.h>
#include <commctrl.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>
#include <string>
#include <thread>

#include "display/displayer.h"
#include "display/win/windows.h"
#include "fake_platform.h"
#include "host/language.h"
#include "tests/support/win/boxes.h"
#include "tests/support/win/files.h"
#include "tests/support/win/pump.h"
#include "tests/support/win/screenshot.h"
#include "tests/support/win/text.h"
#include "tests/support/win/windows.h"
#include "win32/controls.h"

namespace lumo::display::test {
namespace {

using lumo::test::childOfClass;
using lumo::test::pumpFor;
using lumo::test::u8;
using lumo::win32::displayer::kClass;
using lumo::win32::displayer::kPreviewClass;
using lumo::win32::displayer::kToolIdBase;

constexpr int kToolPreview = kToolIdBase + 3;

class Windows final : public WindowFactory {
 public:
  std::unique_ptr<CommandWindow> commandWindow(Command) override { return nullptr; }
  std::shared_ptr<DisplayerPresenter> listWindow() override { return lumo::win32::makeListWindow(nullptr); }
};

std::wstring text(const ustring& s) { return std::wstring(s.begin(), s.end()); }

std::wstring windowText(HWND h) { return text(lumo::win32::windowText(h)); }

std::wstring shotPath(const std::string& name) {
  return text(lumo::test::windowsPath(std::string(LUMO_SHOTS_DIR) + "/" + name));
}

// The development host's English translations, key -> text.
std::map<ustring, ustring> englishTexts() {
  const std::string bytes = lumo::test::readFile(text(lumo::test::windowsPath(LUMO_RESOURCES)));
  std::map<ustring, ustring> table;
  std::size_t start = bytes.find('\n') + 1;  // past the header
  while (start < bytes.size()) {
    std::size_t end = bytes.find('\n', start);
    if (end == std::string::npos) end = bytes.size();
    const std::string line = bytes.substr(start, end - start);
    const std::size_t tab1 = line.find('\t'), tab2 = line.find('\t', tab1 + 1);
    if (tab1 != std::string::npos && tab2 != std::string::npos)
      table[fromUtf8(line.substr(0, tab1))] = fromUtf8(line.substr(tab1 + 1, tab2 - tab1 - 1));
    start = end + 1;
  }
  return table;
}

// Keys as the keyboard gives them, through the system's input queue.
void chord(std::initializer_list<WORD> keys) {
  std::vector<INPUT> in;
  for (WORD k : keys) {
    INPUT i{};
    i.type = INPUT_KEYBOARD;
    i.ki.wVk = k;
    in.push_back(i);
  }
  for (auto it = keys.end(); it != keys.begin();) {
    INPUT i{};
    i.type = INPUT_KEYBOARD;
    i.ki.wVk = *--it;
    i.ki.dwFlags = KEYEVENTF_KEYUP;
    in.push_back(i);
  }
  ASSERT_EQ(in.size(), SendInput(static_cast<UINT>(in.size()), in.data(), sizeof(INPUT)));
  pumpFor(200);
}

std::wstring clipboardText() {
  std::wstring out;
  if (!OpenClipboard(nullptr)) return L"<clipboard busy>";
  if (HANDLE h = GetClipboardData(CF_UNICODETEXT)) {
    if (const auto* p = static_cast<const wchar_t*>(GlobalLock(h))) {
      out = p;
      GlobalUnlock(h);
    }
  }
  CloseClipboard();
  return out;
}

// A visible find or message dialog of this thread.
HWND visibleDialog() {
  for (HWND h : lumo::test::threadWindowsOfClass(L"#32770"))
    if (IsWindowVisible(h)) return h;
  return nullptr;
}

class ListWindow : public ::testing::Test {
 protected:
  void TearDown() override {
    if (hwnd_ && IsWindow(hwnd_)) SendMessageW(hwnd_, WM_CLOSE, 0, 0);
    builder_.reset();
    pumpFor(50);
    resetLanguageObjects();
  }
  void english() {
    platform.setCurrentLanguage(u"en");
    platform.addResLoader(u"LumoResLoader.Loader", englishTexts());
    resetLanguageObjects();
  }

  // A table through the builder, as a caller fills it, shown modeless.
  void open(const ustring& caption, const ustring& titles, int32_t cols, const std::vector<ustring>& rows,
            std::initializer_list<int32_t> numberColumns = {}) {
    builder_ = std::make_unique<DispBuilder>(windows_);
    builder_->setCaption(caption);
    builder_->setTitles(titles);
    builder_->setCols(cols);
    for (int32_t c : numberColumns) builder_->setColType(c, coltype::CTDouble);
    for (const ustring& r : rows) builder_->add(r);
    builder_->show();
    pumpFor(250);
    hwnd_ = FindWindowW(kClass, text(caption).c_str());
    ASSERT_NE(nullptr, hwnd_);
    list_ = childOfClass(hwnd_, WC_LISTVIEWW);
    ASSERT_NE(nullptr, list_);
    header_ = ListView_GetHeader(list_);
    status_ = childOfClass(hwnd_, STATUSCLASSNAMEW);
    SetForegroundWindow(hwnd_);
    SetFocus(list_);
    pumpFor(50);
  }
  DispBuilder& b() { return *builder_; }

  // A click on the head of column c (the list's column 0 is the hidden one).
  void clickHead(int c) {
    RECT r{};
    Header_GetItemRect(header_, c, &r);
    const LPARAM at = MAKELPARAM((r.left + r.right) / 2, (r.top + r.bottom) / 2);
    SendMessageW(header_, WM_LBUTTONDOWN, MK_LBUTTON, at);
    SendMessageW(header_, WM_LBUTTONUP, 0, at);
    pumpFor(50);
  }
  int sortMark(int c) const {
    HDITEMW hd{};
    hd.mask = HDI_FORMAT;
    Header_GetItem(header_, c, &hd);
    return hd.fmt & (HDF_SORTUP | HDF_SORTDOWN);
  }
  // A click on a row (0-based item), with Ctrl held down on the keyboard when asked.
  void clickRow(int item, bool ctrl) {
    if (ctrl) key(VK_CONTROL, true);
    RECT r{};
    ListView_GetItemRect(list_, item, &r, LVIR_BOUNDS);
    const LPARAM at = MAKELPARAM(r.left + 30, (r.top + r.bottom) / 2);
    const WPARAM keys = MK_LBUTTON | (ctrl ? MK_CONTROL : 0);
    SendMessageW(list_, WM_LBUTTONDOWN, keys, at);
    SendMessageW(list_, WM_LBUTTONUP, keys & ~WPARAM(MK_LBUTTON), at);
    pumpFor(50);
    if (ctrl) key(VK_CONTROL, false);
  }
  static void key(WORD vk, bool down) {
    INPUT i{};
    i.type = INPUT_KEYBOARD;
    i.ki.wVk = vk;
    i.ki.dwFlags = down ? 0 : KEYEVENTF_KEYUP;
    SendInput(1, &i, sizeof i);
    pumpFor(50);
  }
  std::wstring cell(int item, int col) const {
    wchar_t buf[256] = {};
    ListView_GetItemText(list_, item, col, buf, 256);
    return buf;
  }
  std::vector<std::wstring> shownColumn(int col) const {
    std::vector<std::wstring> out;
    for (int i = 0; i < ListView_GetItemCount(list_); ++i) out.push_back(cell(i, col));
    return out;
  }
  std::vector<std::wstring> builderColumn(int col) {
    std::vector<std::wstring> out;
    for (int32_t r = 1; r <= b().rowCount(); ++r) out.push_back(text(b().getText(r, col)));
    return out;
  }
  std::wstring rowsPanel() const {
    wchar_t buf[256] = {};
    SendMessageW(status_, SB_GETTEXTW, 1, reinterpret_cast<LPARAM>(buf));
    return buf;
  }
  std::wstring waitPanel() const {
    wchar_t buf[256] = {};
    SendMessageW(status_, SB_GETTEXTW, 0, reinterpret_cast<LPARAM>(buf));
    return buf;
  }
  int focusedItem() const { return ListView_GetNextItem(list_, -1, LVNI_FOCUSED); }
  void shot(HWND w, const std::string& name) { EXPECT_TRUE(lumo::test::saveWindowPng(w, shotPath(name))) << name; }

  lumo::test::FakePlatform platform;
  lumo::test::FakePlatformScope scope{platform};
  Windows windows_;
  std::unique_ptr<DispBuilder> builder_;
  HWND hwnd_ = nullptr, list_ = nullptr, header_ = nullptr, status_ = nullptr;
};

const std::vector<ustring> kStaff = {u"张三\t1,200.50\t销售部", u"李四\t-3\t财务部", u"王五\t\t研发部",
                                     u"赵六\t75\t销售部",       u"孙七\tn/a\t人事部", u"周八\t8\t财务部",
                                     u"吴九\t75.0\t生产部",     u"郑十\t12\t研发部"};

// ---- sorting -------------------------------------------------------------------------------

TEST_F(ListWindow, TwoClicksOnANumberHeadSortUpThenDownWithTheSystemArrow) {
  open(u"排序测试", u"姓名\t金额\t部门|", 3, kStaff, {2});
  clickHead(2);
  const std::vector<std::wstring> up{L"-3", L"8", L"12", L"75", L"75.0", L"1,200.50", L"n/a", L""};
  EXPECT_EQ(up, shownColumn(2));
  EXPECT_EQ(up, builderColumn(2)) << "GetText sees the order shown";
  EXPECT_EQ(HDF_SORTUP, sortMark(2));
  EXPECT_EQ(0, sortMark(1));
  EXPECT_EQ(text(b().window().rowSets()->item(std::size_t(1)).toString()), L"李四\t-3\t财务部")
      << "the row collection itself took the order";
  shot(hwnd_, "display-list-sorted-chs.png");

  clickHead(2);
  const std::vector<std::wstring> down{L"n/a", L"1,200.50", L"75", L"75.0", L"12", L"8", L"-3", L""};
  EXPECT_EQ(down, shownColumn(2));
  EXPECT_EQ(down, builderColumn(2));
  EXPECT_EQ(HDF_SORTDOWN, sortMark(2));

  // Activation refreshes the list and keeps the order; a new row goes last.
  SendMessageW(hwnd_, WM_ACTIVATE, WA_INACTIVE, 0);
  SendMessageW(hwnd_, WM_ACTIVATE, WA_ACTIVE, 0);
  b().add(u"钱一\t1\t销售部");
  pumpFor(50);
  EXPECT_EQ(L"n/a", cell(0, 2));
  EXPECT_EQ(L"钱一", cell(8, 1));
  EXPECT_EQ(HDF_SORTDOWN, sortMark(2));
}

TEST_F(ListWindow, AChineseColumnSortsAsTheSystemComparesItsTexts) {
  open(u"中文排序", u"姓名\t金额\t部门|", 3, kStaff, {2});
  std::vector<std::wstring> names;
  for (const ustring& r : kStaff) names.push_back(text(r.substr(0, r.find(u'\t'))));
  std::stable_sort(names.begin(), names.end(), [](const std::wstring& a, const std::wstring& c) {
    return CompareStringEx(LOCALE_NAME_USER_DEFAULT, 0, a.c_str(), static_cast<int>(a.size()), c.c_str(),
                           static_cast<int>(c.size()), nullptr, nullptr, 0) == CSTR_LESS_THAN;
  });
  clickHead(1);
  EXPECT_EQ(names, shownColumn(1));
  EXPECT_EQ(names, builderColumn(1));
}

// ---- widths --------------------------------------------------------------------------------

TEST_F(ListWindow, ADraggedWidthStaysWhenTheWindowIsActivatedAgain) {
  open(u"列宽测试", u"姓名\t金额\t部门|", 3, kStaff, {2});
  RECT r{};
  Header_GetItemRect(header_, 1, &r);
  const int before = ListView_GetColumnWidth(list_, 1);
  const int y = (r.top + r.bottom) / 2;
  // The divider at the column's right edge, dragged 60 pixels to the right.
  SendMessageW(header_, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(r.right - 1, y));
  SendMessageW(header_, WM_MOUSEMOVE, MK_LBUTTON, MAKELPARAM(r.right + 30, y));
  SendMessageW(header_, WM_MOUSEMOVE, MK_LBUTTON, MAKELPARAM(r.right + 59, y));
  SendMessageW(header_, WM_LBUTTONUP, 0, MAKELPARAM(r.right + 59, y));
  pumpFor(50);
  const int dragged = ListView_GetColumnWidth(list_, 1);
  ASSERT_EQ(before + 60, dragged) << "the drag reached the list";

  SendMessageW(hwnd_, WM_ACTIVATE, WA_INACTIVE, 0);
  SendMessageW(hwnd_, WM_ACTIVATE, WA_ACTIVE, 0);
  pumpFor(50);
  EXPECT_EQ(dragged, ListView_GetColumnWidth(list_, 1)) << "the refresh keeps the dragged width";
  const int dpi = static_cast<int>(lumo::win32::windowDpi(hwnd_));
  EXPECT_EQ(MulDiv(dragged, 1440, dpi), b().window().list().column(1).width) << "the column holds it, in twips";
}

// ---- selecting, copying, counting -----------------------------------------------------------

TEST_F(ListWindow, RowsPickedWithCtrlGoToTheClipboardWithTheHeaderAndAreCounted) {
  open(u"复制测试", u"姓名\t金额\t部门|", 3, kStaff, {2});
  EXPECT_EQ(L"共 8 行", rowsPanel());
  clickRow(1, false);
  clickRow(3, true);
  clickRow(6, true);
  EXPECT_EQ(3u, ListView_GetSelectedCount(list_));
  EXPECT_EQ(L"共 8 行  已选 3 行", rowsPanel());
  EXPECT_EQ(7, b().row()) << "the builder's Row is the focused row";
  chord({VK_CONTROL, 'C'});
  EXPECT_EQ(L"姓名\t金额\t部门\r\n李四\t-3\t财务部\r\n赵六\t75\t销售部\r\n吴九\t75.0\t生产部\r\n", clipboardText());

  chord({VK_CONTROL, 'A'});
  EXPECT_EQ(8u, ListView_GetSelectedCount(list_));
  EXPECT_EQ(L"共 8 行  已选 8 行", rowsPanel());

  // Another program holds the clipboard: said in the panel, nothing lost.
  HANDLE held = CreateEventW(nullptr, TRUE, FALSE, nullptr), done = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  std::thread other([&] {
    OpenClipboard(nullptr);
    SetEvent(held);
    WaitForSingleObject(done, 10000);
    CloseClipboard();
  });
  WaitForSingleObject(held, 10000);
  chord({VK_CONTROL, 'C'});
  EXPECT_EQ(L"剪贴板正被其他程序使用，未能复制，请稍后再试", rowsPanel());
  EXPECT_TRUE(platform.messageBoxes.empty());
  SetEvent(done);
  other.join();
  CloseHandle(held);
  CloseHandle(done);
  EXPECT_EQ(8u, ListView_GetSelectedCount(list_)) << "the selection is still there";
  chord({VK_CONTROL, 'C'});
  const std::wstring all = clipboardText();
  EXPECT_EQ(9, std::count(all.begin(), all.end(), L'\n')) << u8(all);
  EXPECT_TRUE(all.ends_with(L"郑十\t12\t研发部\r\n"));
  EXPECT_EQ(L"", waitPanel()) << "the Wait panel keeps its own texts";
}

TEST_F(ListWindow, TheContextMenuOffersCopyAndSelectAll) {
  open(u"菜单测试", u"姓名\t金额\t部门|", 3, kStaff, {2});
  static std::vector<std::wstring> items;
  static HWND owner = nullptr;
  items.clear();
  owner = hwnd_;
  // Read and pictured inside the menu's own loop, then closed.
  const UINT_PTR timer = SetTimer(nullptr, 0, 200, [](HWND, UINT, UINT_PTR, DWORD) {
    for (HWND m : lumo::test::threadWindowsOfClass(L"#32768")) {
      if (!IsWindowVisible(m) || !items.empty()) continue;
      HMENU menu = reinterpret_cast<HMENU>(SendMessageW(m, MN_GETHMENU, 0, 0));
      for (int i = 0; menu && i < GetMenuItemCount(menu); ++i) {
        wchar_t buf[64] = {};
        GetMenuStringW(menu, static_cast<UINT>(i), buf, 64, MF_BYPOSITION);
        items.push_back(buf);
      }
      lumo::test::saveWindowPng(owner, shotPath("display-list-menu-chs.png"));
      EndMenu();
    }
  });
  RECT r{};
  ListView_GetItemRect(list_, 2, &r, LVIR_BOUNDS);
  POINT p{r.left + 40, r.bottom};
  ClientToScreen(list_, &p);
  SendMessageW(hwnd_, WM_CONTEXTMENU, reinterpret_cast<WPARAM>(list_), MAKELPARAM(p.x, p.y));
  KillTimer(nullptr, timer);
  EXPECT_EQ((std::vector<std::wstring>{L"复制", L"全选"}), items);
}

// ---- finding ---------------------------------------------------------------------------------

TEST_F(ListWindow, CtrlFFindsFromTheFocusedRowAndF3GoesOnWithoutAMessageBox) {
  open(u"查找测试", u"姓名\t金额\t部门|", 3, kStaff, {2});
  chord({VK_CONTROL, 'F'});
  HWND find = visibleDialog();
  ASSERT_NE(nullptr, find) << "the system's find dialog";
  SetWindowTextW(GetDlgItem(find, 0x480), L"研发部");  // the find-what box
  lumo::test::pressButton(find, IDOK);                  // find next
  pumpFor(50);
  EXPECT_EQ(2, focusedItem());
  EXPECT_EQ(3, b().row());
  shot(hwnd_, "display-list-find-chs.png");

  // F3 in the find dialog and in the list go on; Shift+F3 goes back, wrapping.
  SetActiveWindow(find);
  SetFocus(GetDlgItem(find, 0x480));
  chord({VK_F3});
  EXPECT_EQ(7, focusedItem());
  SetActiveWindow(hwnd_);
  SetFocus(list_);
  chord({VK_F3});
  EXPECT_EQ(2, focusedItem()) << "wrapped past the end";
  chord({VK_SHIFT, VK_F3});
  EXPECT_EQ(7, focusedItem()) << "upwards, wrapped past the start";

  SetWindowTextW(GetDlgItem(find, 0x480), L"不存在");
  lumo::test::pressButton(find, IDOK);
  pumpFor(50);
  EXPECT_EQ(L"找不到“不存在”", rowsPanel());
  EXPECT_EQ(7, focusedItem());
  EXPECT_TRUE(platform.messageBoxes.empty());

  // Esc in the dialog closes the dialog; Esc in the list closes the window.
  SetActiveWindow(find);
  SetFocus(GetDlgItem(find, 0x480));
  chord({VK_ESCAPE});
  EXPECT_FALSE(IsWindow(find));
  EXPECT_TRUE(IsWindow(hwnd_));
  SetActiveWindow(hwnd_);
  SetFocus(list_);
  chord({VK_ESCAPE});
  EXPECT_FALSE(IsWindow(hwnd_));
}

// ---- printing ----------------------------------------------------------------------------------

// Twelve columns of 1600 twips (106 pixels on the preview's 96-DPI page, 698
// pixels between its margins): six fit on the first band, then the first
// column and five more, then the first and the last: three pages for a block.
std::vector<ustring> twelveColumns(ustring& titles) {
  titles.clear();
  for (int c = 1; c <= 12; ++c) titles += u"列" + toText(c) + (c < 12 ? u"\t" : u"|");
  std::vector<ustring> rows;
  for (int r = 1; r <= 20; ++r) {
    ustring row;
    for (int c = 1; c <= 12; ++c) row += u"行" + toText(r) + u"列" + toText(c) + (c < 12 ? u"\t" : u"");
    rows.push_back(row);
  }
  return rows;
}

TEST_F(ListWindow, AWideTablePreviewsInColumnBandsCountedInThePageNumbers) {
  ustring titles;
  const std::vector<ustring> rows = twelveColumns(titles);
  open(u"宽表预览", titles, 12, rows);
  SendMessageW(hwnd_, WM_COMMAND, kToolPreview, 0);
  pumpFor(300);
  HWND preview = FindWindowW(kPreviewClass, nullptr);
  ASSERT_NE(nullptr, preview);
  EXPECT_NE(std::wstring::npos, windowText(preview).find(L"第 1 页 / 共 3 页")) << u8(windowText(preview));
  SendMessageW(preview, WM_KEYDOWN, VK_NEXT, 0);
  pumpFor(200);
  EXPECT_NE(std::wstring::npos, windowText(preview).find(L"第 2 页 / 共 3 页"));
  shot(preview, "display-list-band-chs.png");
  SendMessageW(preview, WM_KEYDOWN, VK_END, 0);
  EXPECT_NE(std::wstring::npos, windowText(preview).find(L"第 3 页"));
  SendMessageW(preview, WM_KEYDOWN, VK_NEXT, 0);
  EXPECT_NE(std::wstring::npos, windowText(preview).find(L"第 3 页")) << "no page after the last";
  SendMessageW(preview, WM_KEYDOWN, VK_ESCAPE, 0);
}

// ---- in English ---------------------------------------------------------------------------------

TEST_F(ListWindow, InEnglishTheNewTextsComeTranslated) {
  english();
  ustring titles;
  const std::vector<ustring> rows = twelveColumns(titles);
  open(u"English", u"Name\tAmount\tDepartment|", 3, kStaff, {2});
  EXPECT_EQ(L"8 rows", rowsPanel());
  clickHead(2);
  clickRow(1, false);
  clickRow(3, true);
  EXPECT_EQ(L"8 rows  2 selected", rowsPanel());
  shot(hwnd_, "display-list-sorted-en.png");

  static std::vector<std::wstring> items;
  static HWND owner = nullptr;
  items.clear();
  owner = hwnd_;
  const UINT_PTR timer = SetTimer(nullptr, 0, 200, [](HWND, UINT, UINT_PTR, DWORD) {
    for (HWND m : lumo::test::threadWindowsOfClass(L"#32768")) {
      if (!IsWindowVisible(m) || !items.empty()) continue;
      HMENU menu = reinterpret_cast<HMENU>(SendMessageW(m, MN_GETHMENU, 0, 0));
      for (int i = 0; menu && i < GetMenuItemCount(menu); ++i) {
        wchar_t buf[64] = {};
        GetMenuStringW(menu, static_cast<UINT>(i), buf, 64, MF_BYPOSITION);
        items.push_back(buf);
      }
      lumo::test::saveWindowPng(owner, shotPath("display-list-menu-en.png"));
      EndMenu();
    }
  });
  SendMessageW(hwnd_, WM_CONTEXTMENU, reinterpret_cast<WPARAM>(list_), MAKELPARAM(-1, -1));
  KillTimer(nullptr, timer);
  EXPECT_EQ((std::vector<std::wstring>{L"Copy", L"Select All"}), items);

  chord({VK_CONTROL, 'F'});
  HWND find = visibleDialog();
  ASSERT_NE(nullptr, find);
  SetWindowTextW(GetDlgItem(find, 0x480), L"nothing like it");
  lumo::test::pressButton(find, IDOK);
  pumpFor(50);
  EXPECT_EQ(L"Cannot find \"nothing like it\"", rowsPanel());
  SetWindowTextW(GetDlgItem(find, 0x480), L"研发部");
  lumo::test::pressButton(find, IDOK);
  pumpFor(50);
  shot(hwnd_, "display-list-find-en.png");
  SendMessageW(hwnd_, WM_CLOSE, 0, 0);
  pumpFor(50);

  open(u"English bands", titles, 12, rows);
  SendMessageW(hwnd_, WM_COMMAND, kToolPreview, 0);
  pumpFor(300);
  HWND preview = FindWindowW(kPreviewClass, nullptr);
  ASSERT_NE(nullptr, preview);
  SendMessageW(preview, WM_KEYDOWN, VK_NEXT, 0);
  pumpFor(200);
  EXPECT_NE(std::wstring::npos, windowText(preview).find(L"Page 2 of 3")) << u8(windowText(preview));
  shot(preview, "display-list-band-en.png");
  SendMessageW(preview, WM_KEYDOWN, VK_ESCAPE, 0);
}

}  // namespace
}  // namespace lumo::display::test
