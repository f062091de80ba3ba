// The display window as the host gets it: clsDispBuilder created by ProgID fills
// a real window, which is looked at, saved and reopened through the system's
// file dialogs, previewed and closed. Dialogs are answered by a timer that runs
// inside their own modal loops, as a user would answer them.
#include <windows.h>
#include <commctrl.h>

#include <chrono>
#include <cstdio>
#include <functional>
#include <string>

#include "com_support.h"
#include "display/displayer.h"
#include "display/win/windows.h"
#include "held_file.h"
#include "tests/support/win/boxes.h"
#include "tests/support/win/files.h"
#include "tests/support/win/pump.h"
#include "tests/support/win/screenshot.h"
#include "tests/support/win/windows.h"
#include "win32/controls.h"

namespace lumo::com {
namespace {

using lumo::display::DisplayMenu;
using lumo::win32::displayer::kMenuIdBase;
using lumo::win32::displayer::kToolIdBase;
using lumo::test::childOfClass;
using lumo::test::className;
using lumo::test::pressButton;
using lumo::test::readFile;
using lumo::test::tempFile;

constexpr int kToolOpen = kToolIdBase + 0, kToolSave = kToolIdBase + 1, kToolPrint = kToolIdBase + 2,
              kToolPreview = kToolIdBase + 3;

int menuId(DisplayMenu m) { return kMenuIdBase + static_cast<int>(m); }

void pump(int milliseconds) { lumo::test::pumpFor(milliseconds); }

std::wstring windowText(HWND h) { return lumo::test::wide(lumo::win32::windowText(h)); }

// A visible dialog (#32770) of this thread.
HWND findDialog() {
  HWND found = nullptr;
  EnumThreadWindows(
      GetCurrentThreadId(),
      [](HWND h, LPARAM lp) -> BOOL {
        if (IsWindowVisible(h) && className(h) == L"#32770") {
          *reinterpret_cast<HWND*>(lp) = h;
          return FALSE;
        }
        return TRUE;
      },
      reinterpret_cast<LPARAM>(&found));
  return found;
}

// Answers the next dialog that opens while a command runs.
struct DialogDriver {
  std::function<bool(HWND)> answer;
  bool answered = false;
  std::chrono::steady_clock::time_point deadline;
  // When set, any dialog that opens after the answered one is recorded here (its
  // texts) and closed, instead of being left to block the command.
  std::vector<std::wstring>* later = nullptr;
};
DialogDriver* g_driver = nullptr;

std::wstring dialogTexts(HWND dlg);

void CALLBACK driverTick(HWND, UINT, UINT_PTR, DWORD) {
  if (!g_driver) return;
  if (g_driver->answered) {
    HWND dlg = g_driver->later ? findDialog() : nullptr;
    if (dlg) {
      g_driver->later->push_back(dialogTexts(dlg));
      pressButton(dlg, IDCANCEL);
    }
    return;
  }
  HWND dlg = findDialog();
  if (dlg && g_driver->answer(dlg)) {
    g_driver->answered = true;
  } else if (dlg && std::chrono::steady_clock::now() > g_driver->deadline) {
    // Never hang the suite on a dialog that could not be answered.
    pressButton(dlg, IDCANCEL);
  }
}

// Does something to the window and answers the dialog it opens; false when no
// dialog was answered.
bool withDialog(const std::function<void()>& act, std::function<bool(HWND)> answer,
                std::vector<std::wstring>* later = nullptr) {
  DialogDriver driver{std::move(answer), false, std::chrono::steady_clock::now() + std::chrono::seconds(20), later};
  g_driver = &driver;
  const UINT_PTR timer = SetTimer(nullptr, 0, 150, &driverTick);
  act();
  KillTimer(nullptr, timer);
  g_driver = nullptr;
  return driver.answered;
}

// Sends a command (a menu item or a tool) to the window.
bool commandWithDialog(HWND window, int command, std::function<bool(HWND)> answer,
                       std::vector<std::wstring>* later = nullptr) {
  return withDialog([&] { SendMessageW(window, WM_COMMAND, MAKEWPARAM(command, 0), 0); }, std::move(answer), later);
}

// A letter pressed with Ctrl held on the window's list.
bool ctrlKeyWithDialog(HWND window, WORD key, std::function<bool(HWND)> answer) {
  HWND list = childOfClass(window, WC_LISTVIEWW);
  return withDialog(
      [&] {
        BYTE state[256] = {};
        GetKeyboardState(state);
        state[VK_CONTROL] = 0x80;
        SetKeyboardState(state);
        SendMessageW(list, WM_KEYDOWN, key, 0);
        state[VK_CONTROL] = 0;
        SetKeyboardState(state);
        SendMessageW(list, WM_KEYUP, key, 0);
      },
      std::move(answer));
}

// Types the path into a file dialog's name box and presses OK.
std::function<bool(HWND)> chooseFile(const std::wstring& path) {
  return [path](HWND dlg) {
    HWND edit = GetDlgItem(dlg, 0x47c);  // cmb13
    if (!edit) edit = GetDlgItem(dlg, 0x480);  // edt1
    if (!edit) return false;
    SetWindowTextW(edit, path.c_str());
    pressButton(dlg, IDOK);
    return true;
  };
}

// The texts of a dialog's static controls, joined.
std::wstring dialogTexts(HWND dlg) {
  std::wstring text;
  EnumChildWindows(
      dlg,
      [](HWND h, LPARAM lp) -> BOOL {
        if (className(h) == L"Static") *reinterpret_cast<std::wstring*>(lp) += windowText(h);
        return TRUE;
      },
      reinterpret_cast<LPARAM>(&text));
  return text;
}

// Reads a message box's text and presses the button.
std::function<bool(HWND)> readMessageBox(std::wstring* text, int button) {
  return [text, button](HWND dlg) {
    *text = dialogTexts(dlg);
    pressButton(dlg, button);
    return true;
  };
}

std::string cp936(const std::wstring& s) {
  if (s.empty()) return {};
  const int n = WideCharToMultiByte(936, 0, s.c_str(), static_cast<int>(s.size()), nullptr, 0, nullptr, nullptr);
  std::string out(static_cast<std::size_t>(n), '\0');
  WideCharToMultiByte(936, 0, s.c_str(), static_cast<int>(s.size()), out.data(), n, nullptr, nullptr);
  return out;
}

std::wstring shotPath(const char* name) {
  return lumo::test::wide(lumo::test::windowsPath(std::string(LUMO_SHOTS_DIR) + "/" + name));
}

class DisplayWindow : public ComObjectTest {
 protected:
  void SetUp() override {
    builder_ = keep(L"LumoSmsManager.clsDispBuilder");
    ASSERT_NE(nullptr, builder_);
  }
  void TearDown() override {
    release();
    pump(100);
    // A list window shown modeless outlives its builder, as the user's window does;
    // those a test left open are closed here, before the unload check.
    for (HWND w : listWindows()) DestroyWindow(w);
    pump(50);
    ComObjectTest::TearDown();
  }
  static std::vector<HWND> listWindows() {
    return lumo::test::threadWindowsOfClass(lumo::win32::displayer::kClass);
  }
  IDispatch* another() { return keep(L"LumoSmsManager.clsDispBuilder"); }

  // Titles, three columns (the second numeric), rows, caption; shown modeless.
  HWND showTable(IDispatch* b, const std::wstring& caption, const std::vector<std::wstring>& rows) {
    Late l(b);
    EXPECT_EQ(S_OK, l.put(L"Caption", V(caption)).hr);
    EXPECT_EQ(S_OK, l.put(L"Titles", V(L"姓名\t数量\t备注|")).hr);
    EXPECT_EQ(S_OK, l.put(L"Cols", V(3)).hr);
    V col(2), type(1);  // CTInteger
    EXPECT_EQ(S_OK, l.call(L"SetColType", {V::byRef(col), V::byRef(type)}).hr);
    V width(2400);
    EXPECT_EQ(S_OK, l.call(L"SetColWidth", {V(3), V::byRef(width)}).hr);
    for (const std::wstring& r : rows) {
      V row(r);
      EXPECT_EQ(S_OK, l.call(L"Add", {V::byRef(row)}).hr);
    }
    EXPECT_EQ(S_OK, l.call(L"Show", {V(0)}).hr);
    pump(300);
    return FindWindowW(lumo::win32::displayer::kClass, caption.c_str());
  }

  IDispatch* builder_ = nullptr;
};

const std::vector<std::wstring> kRows = {L"张三\t12\t甲组", L"李四\t7\t乙组", L"王五\t130\t"};

std::string expectedLedger(const std::vector<std::wstring>& rows) {
  std::string out = cp936(L"姓名(字符)\t数量(数字)\t备注(字符)\t") + "\r\n";
  for (const std::wstring& r : rows) out += cp936(r) + "\r\n";
  return out;
}

TEST_F(DisplayWindow, ShowsTheTableInARealWindow) {
  EXPECT_EQ(936u, GetACP()) << "the tests expect the Chinese code page";
  HWND w = showTable(builder_, L"显示测试", kRows);
  ASSERT_NE(nullptr, w);
  EXPECT_TRUE(IsWindowVisible(w));

  HWND list = childOfClass(w, WC_LISTVIEWW);
  ASSERT_NE(nullptr, list);
  EXPECT_TRUE(GetWindowLongW(list, GWL_STYLE) & LVS_OWNERDATA);
  EXPECT_EQ(3, ListView_GetItemCount(list));
  EXPECT_EQ(RGB(255, 255, 255), ListView_GetBkColor(list));
  // Column 0 of the list view is the hidden one; the table's columns follow.
  wchar_t title[64] = {};
  LVCOLUMNW lc{};
  lc.mask = LVCF_TEXT | LVCF_FMT | LVCF_WIDTH;
  lc.pszText = title;
  lc.cchTextMax = 64;
  ASSERT_TRUE(ListView_GetColumn(list, 2, &lc));
  EXPECT_EQ(std::wstring(L"数量"), title);
  EXPECT_EQ(LVCFMT_RIGHT, lc.fmt & LVCFMT_JUSTIFYMASK);
  HDC dc = GetDC(w);
  const int dpi = GetDeviceCaps(dc, LOGPIXELSX);
  ReleaseDC(w, dc);
  EXPECT_EQ(MulDiv(1600, dpi, 1440), lc.cx);
  ASSERT_TRUE(ListView_GetColumn(list, 3, &lc));
  EXPECT_EQ(MulDiv(2400, dpi, 1440), lc.cx);
  EXPECT_EQ(LVCFMT_LEFT, lc.fmt & LVCFMT_JUSTIFYMASK);
  wchar_t cell[64] = {};
  ListView_GetItemText(list, 1, 1, cell, 64);
  EXPECT_EQ(std::wstring(L"李四"), cell);

  HMENU bar = GetMenu(w);
  ASSERT_NE(nullptr, bar);
  wchar_t text[64] = {};
  const wchar_t* const tops[] = {L"文件(&F)", L"选项(&O)", L"视图(&V)", L"帮助(&H)"};
  for (int i = 0; i < 4; ++i) {
    GetMenuStringW(bar, static_cast<UINT>(i), text, 64, MF_BYPOSITION);
    EXPECT_EQ(std::wstring(tops[i]), text);
  }
  GetMenuStringW(bar, static_cast<UINT>(menuId(DisplayMenu::FilePreview)), text, 64, MF_BYCOMMAND);
  EXPECT_EQ(std::wstring(L"打印预览(&P)"), text);
  GetMenuStringW(bar, static_cast<UINT>(menuId(DisplayMenu::HelpAbout)), text, 64, MF_BYCOMMAND);
  EXPECT_EQ(std::wstring(L"关于(&A) "), text);
  EXPECT_EQ(static_cast<UINT>(MF_CHECKED),
            GetMenuState(bar, static_cast<UINT>(menuId(DisplayMenu::ViewToolbar)), MF_BYCOMMAND) & MF_CHECKED);

  HWND toolBar = childOfClass(w, TOOLBARCLASSNAMEW);
  ASSERT_NE(nullptr, toolBar);
  EXPECT_EQ(5, SendMessageW(toolBar, TB_BUTTONCOUNT, 0, 0));
  TBBUTTONINFOW bi{};
  bi.cbSize = sizeof bi;
  bi.dwMask = TBIF_TEXT;
  bi.pszText = text;
  bi.cchText = 64;
  SendMessageW(toolBar, TB_GETBUTTONINFOW, kToolPreview, reinterpret_cast<LPARAM>(&bi));
  EXPECT_EQ(std::wstring(L"预览"), text);
  // The tool tips are the window's own texts ("预览" shows "打印预览").
  HWND tips = reinterpret_cast<HWND>(SendMessageW(toolBar, TB_GETTOOLTIPS, 0, 0));
  ASSERT_NE(nullptr, tips);
  wchar_t tip[80] = {};
  TOOLINFOW ti{};
  ti.cbSize = sizeof ti;
  ti.hwnd = toolBar;
  ti.uId = kToolPreview;
  ti.lpszText = tip;
  SendMessageW(tips, TTM_GETTEXTW, 80, reinterpret_cast<LPARAM>(&ti));
  EXPECT_EQ(std::wstring(L"打印预览"), tip);
  HWND status = childOfClass(w, STATUSCLASSNAMEW);
  ASSERT_NE(nullptr, status);
  EXPECT_TRUE(IsWindowVisible(status));

  // The list sits between the bars.
  RECT client, lr, tr, sr;
  GetClientRect(w, &client);
  GetWindowRect(list, &lr);
  GetWindowRect(toolBar, &tr);
  GetWindowRect(status, &sr);
  EXPECT_EQ(tr.bottom, lr.top);
  EXPECT_EQ(sr.top, lr.bottom);

  EXPECT_TRUE(lumo::test::saveWindowPng(w, shotPath("display-window.png")));

  // Hiding the tool bar gives its room to the list.
  SendMessageW(w, WM_COMMAND, menuId(DisplayMenu::ViewToolbar), 0);
  EXPECT_FALSE(IsWindowVisible(toolBar));
  EXPECT_EQ(0u, GetMenuState(bar, static_cast<UINT>(menuId(DisplayMenu::ViewToolbar)), MF_BYCOMMAND) & MF_CHECKED);
  POINT origin{0, 0};
  ClientToScreen(w, &origin);
  GetWindowRect(list, &lr);
  EXPECT_EQ(origin.y, lr.top);
}

TEST_F(DisplayWindow, SavesThroughTheSaveDialogAndReopensTheSameTable) {
  HWND w = showTable(builder_, L"保存测试", kRows);
  ASSERT_NE(nullptr, w);
  const std::wstring path = tempFile(L"lumo-display-save.ldg");
  ASSERT_TRUE(commandWithDialog(w, kToolSave, chooseFile(path)));
  pump(100);
  EXPECT_EQ(expectedLedger(kRows), readFile(path)) << "code page 936 bytes, header ending in a tab, CR LF lines";
  EXPECT_EQ(L"保存测试 - " + path, windowText(w));
  HWND status = childOfClass(w, STATUSCLASSNAMEW);
  wchar_t text[64] = {};
  SendMessageW(status, SB_GETTEXTW, 0, reinterpret_cast<LPARAM>(text));
  EXPECT_EQ(std::wstring(L"保存完毕"), text);

  // A second window opens the file through its open dialog.
  IDispatch* other = another();
  ASSERT_NE(nullptr, other);
  HWND w2 = showTable(other, L"打开测试", {L"旧行"});
  ASSERT_NE(nullptr, w2);
  Late l(other);
  ASSERT_TRUE(commandWithDialog(w2, menuId(DisplayMenu::FileOpen), chooseFile(path)));
  pump(100);
  EXPECT_EQ(3, l.get(L"Cols").result.ref().lVal);
  EXPECT_EQ(L"姓名(字符)", l.call(L"GetText", {V(0), V(1)}).text());
  EXPECT_EQ(L"数量(数字)", l.call(L"GetText", {V(0), V(2)}).text());
  EXPECT_EQ(L"备注(字符)", l.call(L"GetText", {V(0), V(3)}).text());
  for (int r = 1; r <= 3; ++r)
    for (int c = 1; c <= 3; ++c)
      EXPECT_EQ(l.call(L"GetText", {V(r), V(c)}).text(), Late(builder_).call(L"GetText", {V(r), V(c)}).text())
          << r << "," << c;
  EXPECT_EQ(L"", l.call(L"GetText", {V(4), V(1)}).text());
  HWND list = childOfClass(w2, WC_LISTVIEWW);
  EXPECT_EQ(3, ListView_GetItemCount(list));
  LVCOLUMNW lc{};
  lc.mask = LVCF_FMT;
  ASSERT_TRUE(ListView_GetColumn(list, 2, &lc));
  EXPECT_EQ(LVCFMT_RIGHT, lc.fmt & LVCFMT_JUSTIFYMASK);
  EXPECT_EQ(L"打开测试 - " + path, windowText(w2));
  DeleteFileW(path.c_str());
}

TEST_F(DisplayWindow, CtrlSCtrlOAndCtrlPSaveOpenAndPrintAsTheirMenuItemsDo) {
  // Two Thai letters: the ledger's code page has no place for them.
  std::vector<std::wstring> rows = kRows;
  rows.push_back(L"ก和ข\t1\t泰文");
  HWND w = showTable(builder_, L"快捷键测试", rows);
  ASSERT_NE(nullptr, w);
  const std::wstring path = tempFile(L"lumo-display-keys.ldg");
  ASSERT_TRUE(ctrlKeyWithDialog(w, 'S', chooseFile(path)));
  pump(100);
  std::vector<std::wstring> written = kRows;
  written.push_back(L"?和?\t1\t泰文");
  EXPECT_EQ(expectedLedger(written), readFile(path));
  EXPECT_EQ(L"快捷键测试 - " + path, windowText(w));
  HWND status = childOfClass(w, STATUSCLASSNAMEW);
  wchar_t text[128] = {};
  SendMessageW(status, SB_GETTEXTW, 0, reinterpret_cast<LPARAM>(text));
  EXPECT_EQ(std::wstring(L"保存完毕"), text);
  SendMessageW(status, SB_GETTEXTW, 1, reinterpret_cast<LPARAM>(text));
  EXPECT_EQ(std::wstring(L"2 个字符不能按本机编码保存，已写作“?”"), text) << "the row panel counts what was replaced";

  IDispatch* other = another();
  ASSERT_NE(nullptr, other);
  HWND w2 = showTable(other, L"快捷键打开", {L"旧行"});
  ASSERT_NE(nullptr, w2);
  ASSERT_TRUE(ctrlKeyWithDialog(w2, 'O', chooseFile(path)));
  pump(100);
  EXPECT_EQ(L"快捷键打开 - " + path, windowText(w2));
  EXPECT_EQ(4, ListView_GetItemCount(childOfClass(w2, WC_LISTVIEWW)));
  EXPECT_EQ(L"?和?", Late(other).call(L"GetText", {V(4), V(1)}).text());

  std::wstring said;
  ASSERT_TRUE(ctrlKeyWithDialog(w2, 'P', readMessageBox(&said, IDOK)));
  EXPECT_NE(std::wstring::npos, said.find(L"没有安装打印机")) << u8(said);
  EXPECT_TRUE(IsWindow(w2));
  DeleteFileW(path.c_str());
}

TEST_F(DisplayWindow, CancellingTheSaveDialogChangesNothing) {
  HWND w = showTable(builder_, L"取消测试", kRows);
  ASSERT_NE(nullptr, w);
  ASSERT_TRUE(commandWithDialog(w, menuId(DisplayMenu::FileSave), [](HWND dlg) {
    pressButton(dlg, IDCANCEL);
    return true;
  }));
  EXPECT_EQ(std::wstring(L"取消测试"), windowText(w));
}

std::wstring statusText(HWND w) {
  wchar_t text[128] = {};
  SendMessageW(childOfClass(w, STATUSCLASSNAMEW), SB_GETTEXTW, 0, reinterpret_cast<LPARAM>(text));
  return text;
}

// A save through the dialog onto a file that cannot be written: no message, the
// status still says the save is under way, the caption names no file, the file
// keeps its bytes. Once the file can be written the same window saves it.
void expectRefusedSave(HWND w, const std::wstring& caption, const std::wstring& path,
                       const std::function<void()>& freeTheFile) {
  std::vector<std::wstring> later;
  ASSERT_TRUE(commandWithDialog(w, kToolSave, chooseFile(path), &later));
  pump(200);
  EXPECT_TRUE(later.empty()) << "a failed save is not reported: " << u8(later.empty() ? L"" : later[0]);
  EXPECT_EQ(std::wstring(L"保存 ..."), statusText(w));
  EXPECT_EQ(caption, windowText(w)) << "no file name joins the caption";
  freeTheFile();
  EXPECT_EQ("precious\r\n", readFile(path));

  ASSERT_TRUE(commandWithDialog(w, menuId(DisplayMenu::FileSave), chooseFile(path), &later));
  pump(100);
  EXPECT_TRUE(later.empty());
  EXPECT_EQ(std::wstring(L"保存完毕"), statusText(w));
  EXPECT_EQ(caption + L" - " + path, windowText(w));
  EXPECT_EQ(expectedLedger(kRows), readFile(path));
}

TEST_F(DisplayWindow, ASaveOntoAFileHeldOpenElsewhereIsNeverReportedAsSaved) {
  HWND w = showTable(builder_, L"占用测试", kRows);
  ASSERT_NE(nullptr, w);
  const std::wstring path = tempFile(L"lumo-display-held.ldg");
  disptest::HeldFile held(path, "precious\r\n");
  ASSERT_TRUE(held.held());
  expectRefusedSave(w, L"占用测试", path, [&] { held.release(); });
  DeleteFileW(path.c_str());
}

TEST_F(DisplayWindow, ASaveOntoAReadOnlyFileIsNeverReportedAsSaved) {
  HWND w = showTable(builder_, L"只读测试", kRows);
  ASSERT_NE(nullptr, w);
  const std::wstring path = tempFile(L"lumo-display-readonly.ldg");
  ASSERT_TRUE(disptest::makeReadOnlyFile(path, "precious\r\n"));
  expectRefusedSave(w, L"只读测试", path, [&] {
    EXPECT_TRUE(GetFileAttributesW(path.c_str()) & FILE_ATTRIBUTE_READONLY);
    SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
  });
  disptest::removeReadOnlyFile(path);
}

TEST_F(DisplayWindow, TheCurrentRowFollowsTheKeysAndTheBuilder) {
  HWND w = showTable(builder_, L"当前行", kRows);
  ASSERT_NE(nullptr, w);
  HWND list = childOfClass(w, WC_LISTVIEWW);
  ASSERT_EQ(list, GetFocus()) << "the keys go to the list";
  Late l(builder_);
  auto marked = [list](UINT mark) { return ListView_GetNextItem(list, -1, mark); };

  SendMessageW(list, WM_KEYDOWN, VK_END, 0);
  EXPECT_EQ(3, l.get(L"Row").result.ref().lVal);
  EXPECT_EQ(2, marked(LVNI_FOCUSED));
  EXPECT_EQ(2, marked(LVNI_SELECTED));

  EXPECT_EQ(S_OK, l.put(L"Row", V(1)).hr);
  EXPECT_EQ(0, marked(LVNI_FOCUSED));
  EXPECT_EQ(0, marked(LVNI_SELECTED));
  EXPECT_EQ(1u, ListView_GetSelectedCount(list)) << "one row is marked at a time";

  // Row 0 is the header: no row of the list is marked.
  EXPECT_EQ(S_OK, l.put(L"Row", V(0)).hr);
  EXPECT_EQ(-1, marked(LVNI_FOCUSED));
  EXPECT_EQ(0u, ListView_GetSelectedCount(list));
  EXPECT_EQ(0, l.get(L"Row").result.ref().lVal) << "clearing the marks does not move the current row";

  SendMessageW(list, WM_KEYDOWN, VK_DOWN, 0);
  EXPECT_EQ(1, l.get(L"Row").result.ref().lVal);
  SendMessageW(list, WM_KEYDOWN, VK_DOWN, 0);
  EXPECT_EQ(2, l.get(L"Row").result.ref().lVal);
  EXPECT_EQ(1, marked(LVNI_SELECTED));
  EXPECT_EQ(S_OK, l.put(L"Row", V(0)).hr);
  EXPECT_EQ(0u, ListView_GetSelectedCount(list)) << "a row the user marked is cleared too";
  EXPECT_EQ(-1, marked(LVNI_FOCUSED));
  EXPECT_EQ(0, l.get(L"Row").result.ref().lVal);
}

TEST_F(DisplayWindow, FontDialogSetsTheListFontAndCancelKeepsIt) {
  HWND w = showTable(builder_, L"字体测试", kRows);
  ASSERT_NE(nullptr, w);
  HWND list = childOfClass(w, WC_LISTVIEWW);
  const HFONT before = reinterpret_cast<HFONT>(SendMessageW(list, WM_GETFONT, 0, 0));
  ASSERT_TRUE(commandWithDialog(w, menuId(DisplayMenu::FormatFont), [](HWND dlg) {
    pressButton(dlg, IDCANCEL);
    return true;
  }));
  EXPECT_EQ(before, reinterpret_cast<HFONT>(SendMessageW(list, WM_GETFONT, 0, 0)));
  ASSERT_TRUE(commandWithDialog(w, menuId(DisplayMenu::FormatFont), [](HWND dlg) {
    pressButton(dlg, IDOK);
    return true;
  }));
  const HFONT after = reinterpret_cast<HFONT>(SendMessageW(list, WM_GETFONT, 0, 0));
  EXPECT_NE(before, after) << "the chosen font is a new one";
  LOGFONTW lf{};
  ASSERT_NE(0, GetObjectW(after, sizeof lf, &lf));
  EXPECT_NE(0, lf.lfFaceName[0]);
}

TEST_F(DisplayWindow, HundredThousandRowsSaveAndReopen) {
  std::vector<std::wstring> rows;
  for (int i = 1; i <= 100000; ++i)
    rows.push_back(L"行" + std::to_wstring(i) + L"\t" + std::to_wstring(i * 3) + L"\t备注" + std::to_wstring(i % 97));
  HWND w = showTable(builder_, L"十万行", rows);
  ASSERT_NE(nullptr, w);
  HWND list = childOfClass(w, WC_LISTVIEWW);
  EXPECT_EQ(100000, ListView_GetItemCount(list));
  ListView_EnsureVisible(list, 99999, FALSE);
  pump(200);
  const std::wstring path = tempFile(L"lumo-display-100k.ldg");
  ASSERT_TRUE(commandWithDialog(w, kToolSave, chooseFile(path)));
  const std::string bytes = readFile(path);
  EXPECT_TRUE(bytes == expectedLedger(rows)) << "file of " << bytes.size() << " bytes differs";

  IDispatch* other = another();
  HWND w2 = showTable(other, L"十万行打开", {L"x"});
  ASSERT_NE(nullptr, w2);
  ASSERT_TRUE(commandWithDialog(w2, kToolOpen, chooseFile(path)));
  EXPECT_EQ(100000, ListView_GetItemCount(childOfClass(w2, WC_LISTVIEWW)));
  Late l(other);
  EXPECT_EQ(L"行100000", l.call(L"GetText", {V(100000), V(1)}).text());
  EXPECT_EQ(L"300000", l.call(L"GetText", {V(100000), V(2)}).text());
  EXPECT_EQ(L"备注1", l.call(L"GetText", {V(1), V(3)}).text());
  DeleteFileW(path.c_str());
}

TEST_F(DisplayWindow, PrintingWithoutAPrinterSaysSo) {
  HWND w = showTable(builder_, L"打印测试", kRows);
  ASSERT_NE(nullptr, w);
  std::wstring text;
  ASSERT_TRUE(commandWithDialog(w, kToolPrint, readMessageBox(&text, IDOK)));
  EXPECT_NE(std::wstring::npos, text.find(L"没有安装打印机")) << u8(text);
  text.clear();
  ASSERT_TRUE(commandWithDialog(w, menuId(DisplayMenu::FilePrintSetup), readMessageBox(&text, IDOK)));
  EXPECT_NE(std::wstring::npos, text.find(L"没有安装打印机")) << u8(text);
  EXPECT_TRUE(IsWindow(w));
}

TEST_F(DisplayWindow, PreviewShowsPagesWithoutAPrinter) {
  std::vector<std::wstring> rows;
  for (int i = 1; i <= 120; ++i) rows.push_back(L"员工" + std::to_wstring(i) + L"\t" + std::to_wstring(i * 10) + L"\t第" + std::to_wstring(i) + L"行");
  HWND w = showTable(builder_, L"预览测试", rows);
  ASSERT_NE(nullptr, w);
  SendMessageW(w, WM_COMMAND, kToolPreview, 0);
  pump(500);
  HWND preview = FindWindowW(lumo::win32::displayer::kPreviewClass, nullptr);
  ASSERT_NE(nullptr, preview);
  EXPECT_TRUE(IsWindowVisible(preview));
  const std::wstring first = windowText(preview);
  EXPECT_NE(std::wstring::npos, first.find(L"第 1 页")) << u8(first);
  EXPECT_NE(std::wstring::npos, first.find(L"共 3 页")) << u8(first);
  EXPECT_TRUE(lumo::test::saveWindowPng(preview, shotPath("display-preview-page1.png")));
  SendMessageW(preview, WM_KEYDOWN, VK_NEXT, 0);
  pump(300);
  EXPECT_NE(std::wstring::npos, windowText(preview).find(L"第 2 页"));
  EXPECT_TRUE(lumo::test::saveWindowPng(preview, shotPath("display-preview-page2.png")));
  SendMessageW(preview, WM_KEYDOWN, VK_PRIOR, 0);
  EXPECT_NE(std::wstring::npos, windowText(preview).find(L"第 1 页"));
  SendMessageW(preview, WM_KEYDOWN, VK_ESCAPE, 0);
  EXPECT_FALSE(IsWindow(preview));
}

// Runs an action while watching for dialogs: each one that opens is recorded (its
// texts) and closed.
std::vector<std::wstring> dialogsDuring(const std::function<void()>& action) {
  std::vector<std::wstring> seen;
  DialogDriver driver{[&seen](HWND dlg) {
                        seen.push_back(dialogTexts(dlg));
                        pressButton(dlg, IDCANCEL);
                        return true;
                      },
                      false, std::chrono::steady_clock::now() + std::chrono::seconds(20), &seen};
  g_driver = &driver;
  const UINT_PTR timer = SetTimer(nullptr, 0, 100, &driverTick);
  action();
  pump(500);
  KillTimer(nullptr, timer);
  g_driver = nullptr;
  return seen;
}

int visibleWindowsOfThisThread() {
  int count = 0;
  EnumThreadWindows(
      GetCurrentThreadId(),
      [](HWND h, LPARAM lp) -> BOOL {
        if (IsWindowVisible(h)) ++*reinterpret_cast<int*>(lp);
        return TRUE;
      },
      reinterpret_cast<LPARAM>(&count));
  return count;
}

TEST_F(DisplayWindow, HelpKeysWithoutAHelpFileShowNothingAndTheWindowGoesOn) {
  std::wstring chm = dllPath();
  chm = chm.substr(0, chm.find_last_of(L'\\')) + L"\\MobileService.chm";
  ASSERT_EQ(INVALID_FILE_ATTRIBUTES, GetFileAttributesW(chm.c_str())) << "no help file beside the add-in";
  HWND w = showTable(builder_, L"帮助测试", kRows);
  ASSERT_NE(nullptr, w);
  HWND list = childOfClass(w, WC_LISTVIEWW);
  ASSERT_EQ(list, GetFocus()) << "the keys go to the list";
  const int windowsBefore = visibleWindowsOfThisThread();

  const std::vector<std::wstring> dialogs = dialogsDuring([&] {
    SendMessageW(list, WM_KEYDOWN, VK_F1, 0);
    SendMessageW(w, WM_COMMAND, menuId(DisplayMenu::HelpContents), 0);
    SendMessageW(w, WM_COMMAND, menuId(DisplayMenu::HelpSearchForHelpOn), 0);
  });
  // The help library was asked (the add-in loads it on the first help call) ...
  EXPECT_NE(nullptr, GetModuleHandleW(L"hhctrl.ocx")) << "the help keys reach the system's help";
  // ... and with no file to show, nothing appears: no message, no window.
  EXPECT_TRUE(dialogs.empty()) << u8(dialogs.empty() ? L"" : dialogs[0]);
  EXPECT_EQ(windowsBefore, visibleWindowsOfThisThread());
  EXPECT_TRUE(IsWindowVisible(w));

  // The window goes on: it still saves, and Esc still closes it.
  const std::wstring path = tempFile(L"lumo-display-after-help.ldg");
  ASSERT_TRUE(commandWithDialog(w, kToolSave, chooseFile(path)));
  pump(100);
  EXPECT_EQ(expectedLedger(kRows), readFile(path));
  DeleteFileW(path.c_str());
  SendMessageW(list, WM_KEYDOWN, VK_ESCAPE, 0);
  EXPECT_FALSE(IsWindow(w));
}

TEST_F(DisplayWindow, EscapeClosesAfterTheClosingPrompt) {
  Late l(builder_);
  EXPECT_EQ(S_OK, l.put(L"NeedDisplay", V(1)).hr);
  EXPECT_EQ(S_OK, l.put(L"DisplayStyle", V(4)).hr);  // yes / no
  EXPECT_EQ(S_OK, l.put(L"PromptContent", V(L"已显示完毕")).hr);
  EXPECT_EQ(S_OK, l.put(L"PromptTitle", V(L"提示")).hr);
  HWND w = showTable(builder_, L"关闭测试", kRows);
  ASSERT_NE(nullptr, w);
  HWND list = childOfClass(w, WC_LISTVIEWW);
  std::wstring text;
  DialogDriver driver{readMessageBox(&text, IDYES), false, std::chrono::steady_clock::now() + std::chrono::seconds(20)};
  g_driver = &driver;
  const UINT_PTR timer = SetTimer(nullptr, 0, 150, &driverTick);
  SendMessageW(list, WM_KEYDOWN, VK_ESCAPE, 0);
  KillTimer(nullptr, timer);
  g_driver = nullptr;
  EXPECT_TRUE(driver.answered);
  EXPECT_EQ(L"已显示完毕", text);
  EXPECT_FALSE(IsWindow(w));
  EXPECT_EQ(IDYES, l.get(L"PromptResult").result.ref().lVal);
  EXPECT_EQ(0, l.get(L"NeedDisplay").result.ref().lVal);
}

TEST_F(DisplayWindow, NoPromptWhenNothingIsToBeShown) {
  HWND w = showTable(builder_, L"无提示", kRows);
  ASSERT_NE(nullptr, w);
  SendMessageW(w, WM_CLOSE, 0, 0);
  EXPECT_FALSE(IsWindow(w));
  EXPECT_EQ(0, Late(builder_).get(L"PromptResult").result.ref().lVal);
}

TEST_F(DisplayWindow, AModelessWindowOutlivesItsBuilderAndKeepsTheServerLoadedUntilClosed) {
  HWND w = showTable(builder_, L"独立窗口", kRows);
  ASSERT_NE(nullptr, w);
  release();  // the builder goes
  builder_ = nullptr;
  pump(100);
  // The user is still looking at it: it stays, whole and working.
  ASSERT_TRUE(IsWindow(w));
  EXPECT_TRUE(IsWindowVisible(w));
  EXPECT_EQ(3, ListView_GetItemCount(childOfClass(w, WC_LISTVIEWW)));
  EXPECT_EQ(S_FALSE, server().canUnloadNow());
  // Closed by the user, it goes and the server may unload.
  SendMessageW(w, WM_CLOSE, 0, 0);
  pump(50);
  EXPECT_FALSE(IsWindow(w));
  EXPECT_EQ(S_OK, server().canUnloadNow());
}

TEST_F(DisplayWindow, AWindowNeverShownGoesWithItsBuilder) {
  Late l(builder_);
  EXPECT_EQ(S_OK, l.put(L"Caption", V(L"未显示")).hr);
  EXPECT_EQ(S_OK, l.put(L"WindowPos", V(0)).hr);  // re-stacking makes the (hidden) window
  ASSERT_EQ(1u, listWindows().size());
  EXPECT_FALSE(IsWindowVisible(listWindows()[0]));
  release();  // the builder goes
  builder_ = nullptr;
  pump(50);
  EXPECT_TRUE(listWindows().empty());
  EXPECT_EQ(S_OK, server().canUnloadNow());
}

TEST_F(DisplayWindow, ShowWithoutRowsShowsNothing) {
  Late l(builder_);
  EXPECT_EQ(S_OK, l.put(L"Caption", V(L"空表")).hr);
  EXPECT_EQ(S_OK, l.put(L"Cols", V(2)).hr);
  EXPECT_EQ(S_OK, l.call(L"Show", {V(1)}).hr);  // even modal: returns at once
  EXPECT_EQ(nullptr, FindWindowW(lumo::win32::displayer::kClass, L"空表"));
}

TEST_F(DisplayWindow, ModalShowWaitsUntilTheWindowCloses) {
  Late l(builder_);
  EXPECT_EQ(S_OK, l.put(L"Caption", V(L"模态")).hr);
  V row(L"一\t二");
  EXPECT_EQ(S_OK, l.call(L"Add", {V::byRef(row)}).hr);
  // Closes the window from inside the modal loop once it is there.
  const UINT_PTR timer = SetTimer(nullptr, 0, 200, [](HWND, UINT, UINT_PTR, DWORD) {
    if (HWND h = FindWindowW(lumo::win32::displayer::kClass, L"模态"))
      if (IsWindowVisible(h)) PostMessageW(h, WM_COMMAND, menuId(DisplayMenu::FileClose), 0);
  });
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(S_OK, l.call(L"Show", {V(1)}).hr);
  KillTimer(nullptr, timer);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(150));
  EXPECT_EQ(nullptr, FindWindowW(lumo::win32::displayer::kClass, L"模态"));
}

TEST_F(DisplayWindow, BuilderMembersReachTheWindow) {
  Late l(builder_);
  EXPECT_EQ(L"Lumo显示器", l.get(L"Caption").text());
  EXPECT_EQ(S_OK, l.put(L"Cols", V(2)).hr);
  V row1(L"a\tb"), row2(L"c\td");
  l.call(L"Add", {V::byRef(row1)});
  l.call(L"Add", {V::byRef(row2)});
  EXPECT_EQ(L"c", l.call(L"GetText", {V(2), V(1)}).text());
  EXPECT_EQ(L"", l.call(L"SetText", {V(2), V(1), V(L"新")}).text());
  EXPECT_EQ(L"新", l.call(L"GetText", {V(2), V(1)}).text());
  EXPECT_EQ(L"", l.call(L"GetText", {V(9), V(1)}).text());
  EXPECT_EQ(S_OK, l.call(L"SetText", {V(9), V(9), V(L"x")}).hr);
  EXPECT_EQ(S_OK, l.put(L"Row", V(2)).hr);
  EXPECT_EQ(2, l.get(L"Row").result.ref().lVal);
  EXPECT_EQ(0, l.get(L"Col").result.ref().lVal);
  EXPECT_EQ(L"", l.get(L"Text").text());
  EXPECT_EQ(S_OK, l.put(L"WindowPos", V(-1)).hr);
  HWND w = FindWindowW(lumo::win32::displayer::kClass, L"Lumo显示器");
  ASSERT_NE(nullptr, w);
  EXPECT_TRUE(GetWindowLongW(w, GWL_EXSTYLE) & WS_EX_TOPMOST);
}

}  // namespace
}  // namespace lumo::com
