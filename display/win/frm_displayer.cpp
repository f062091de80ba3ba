// The list window (frmDisplayer) on Win32: a top-level window with a menu bar, a
// tool bar, an owner-data list and a status bar, drawing what the presenter
// decides and handing the user's actions back to it.
#include "display/win/windows.h"

#include <windows.h>
#include <commctrl.h>
#include <commdlg.h>

#include <windowsx.h>

#include <algorithm>
#include <array>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "display/displayer.h"
#include "display/win/frm_preview.h"
#include "display/win/page_layout.h"
#include "host/language.h"
#include "host/services.h"
#include "win32/controls.h"
#include "win32/list_view.h"
#include "win32/parallel.h"
#include "win32/window.h"

namespace lumo::win32 {

using namespace display;
using namespace displayer;

namespace {

int toolIndex(const ustring& key) {
  for (int i = 0; i < 5; ++i)
    if (key == kToolButtonKeys[i]) return i;
  return -1;
}

// The printing commands need a printer; without one they say so instead of
// failing silently.
void noPrinterMessage() { msgBoxEx(loadVtString(u"没有安装打印机，无法打印。请先安装打印机；打印预览不需要打印机。")); }

// Whether the system has a default printer, asked without any dialog (the
// system's own dialogs word the missing printer differently from one system to
// the next, or not at all).
bool printerInstalled() {
  PRINTDLGW pd{};
  pd.lStructSize = sizeof pd;
  pd.Flags = PD_RETURNDEFAULT;
  if (!PrintDlgW(&pd)) return false;
  if (pd.hDevMode) GlobalFree(pd.hDevMode);
  if (pd.hDevNames) GlobalFree(pd.hDevNames);
  return true;
}


// The system's find dialog, modeless: it tells its owner through the registered
// message (message()) and gets its keys (Tab, Enter, Esc) through the dialog
// manager, whichever loop runs. F3 and Shift+F3 pressed in it search on as they
// do in the list.
class FindDialog final : public Window {
 public:
  FindDialog(HWND owner, const ui::FindRequest& start, std::function<void(bool down)> again)
      : Window(u"FindDialog"), again_(std::move(again)) {
    const std::size_t n = std::min<std::size_t>(start.text.size(), kLength - 1);
    std::copy_n(start.text.begin(), n, text_);
    text_[n] = L'\0';
    find_.lStructSize = sizeof find_;
    find_.hwndOwner = owner;
    find_.lpstrFindWhat = text_;
    find_.wFindWhatLen = kLength;
    find_.Flags = FR_HIDEWHOLEWORD | (start.down ? FR_DOWN : 0) | (start.matchCase ? FR_MATCHCASE : 0);
    HWND h = FindTextW(&find_);
    if (!h) throwLastError(u"FindText");
    subclassDialog(h);
  }
  ~FindDialog() override {
    if (hwnd()) destroy();
  }
  static UINT message() {
    static const UINT id = RegisterWindowMessageW(FINDMSGSTRINGW);
    return id;
  }
  // What the dialog holds now.
  ui::FindRequest request() const {
    return ui::FindRequest{.text = fromWide(text_, wcslen(text_)),
                           .matchCase = (find_.Flags & FR_MATCHCASE) != 0,
                           .down = (find_.Flags & FR_DOWN) != 0};
  }
  void bringForward() {
    ShowWindow(hwnd(), SW_SHOW);
    SetActiveWindow(hwnd());
  }

 private:
  static constexpr std::size_t kLength = 512;
  bool onMessage(UINT, WPARAM, LPARAM, LRESULT&) override { return false; }
  bool preTranslate(MSG& msg) override {
    if (msg.message != WM_KEYDOWN || msg.wParam != VK_F3) return false;
    again_((GetKeyState(VK_SHIFT) & 0x8000) == 0);
    return true;
  }
  FINDREPLACEW find_{};
  wchar_t text_[kLength] = {};
  std::function<void(bool)> again_;
};

// ---- the display window ----------------------------------------------------------------

class FrmDisplayer final : public Window, public DisplayerView, public std::enable_shared_from_this<FrmDisplayer> {
 public:
  explicit FrmDisplayer(ModuleHold hold) : Window(u"frmDisplayer"), hold_(std::move(hold)), presenter_(*this) {
    NONCLIENTMETRICSW ncm{};
    ncm.cbSize = sizeof ncm;
    SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof ncm, &ncm, 0);
    font_.name = fromWide(ncm.lfMessageFont.lfFaceName, wcslen(ncm.lfMessageFont.lfFaceName));
    font_.size = 9;
    menuTexts_.fill(u"");
    menuChecked_.fill(false);
    for (int i = 0; i < 5; ++i) toolCaptions_[static_cast<std::size_t>(i)] = toolTips_[static_cast<std::size_t>(i)] = kToolButtonKeys[i];
  }
  // The window, when it is still there (never shown, or shown modal and the
  // owner let go): it goes with the object, without its closing prompt.
  ~FrmDisplayer() override = default;

  DisplayerPresenter& presenter() { return presenter_; }

  // ---- captions and texts --------------------------------------------------------------
  void setCaption(const ustring& text) override {
    caption_ = text;
    if (hwnd()) setWindowText(hwnd(), text);
  }
  void setMenuText(DisplayMenu item, const ustring& text) override {
    menuTexts_[static_cast<std::size_t>(item)] = text;
    if (hwnd()) applyMenuItem(item);
  }
  void setMenuChecked(DisplayMenu item, bool checked) override {
    menuChecked_[static_cast<std::size_t>(item)] = checked;
    if (hwnd()) applyMenuItem(item);
  }
  void setToolButtonCaption(const ustring& key, const ustring& text) override {
    const int i = toolIndex(key);
    if (i < 0) return;
    toolCaptions_[static_cast<std::size_t>(i)] = text;
    if (toolBar_) {
      TBBUTTONINFOW info{};
      info.cbSize = sizeof info;
      info.dwMask = TBIF_TEXT;
      info.pszText = const_cast<wchar_t*>(wz(text));
      SendMessageW(toolBar_, TB_SETBUTTONINFOW, kToolIdBase + i, reinterpret_cast<LPARAM>(&info));
      SendMessageW(toolBar_, TB_AUTOSIZE, 0, 0);
    }
  }
  void setToolButtonToolTip(const ustring& key, const ustring& text) override {
    const int i = toolIndex(key);
    if (i >= 0) toolTips_[static_cast<std::size_t>(i)] = text;  // asked for when the tip shows
  }
  void setStatusPanelText(const ustring& panelKey, const ustring& text) override {
    if (panelKey == kStatusPanelRows) {
      rowsText_ = text;
      if (statusBar_) SendMessageW(statusBar_, SB_SETTEXTW, 1, reinterpret_cast<LPARAM>(wz(text)));
      return;
    }
    if (panelKey != kStatusPanelWait) return;
    statusText_ = text;
    if (statusBar_) {
      SendMessageW(statusBar_, SB_SETTEXTW, 0, reinterpret_cast<LPARAM>(wz(text)));
      UpdateWindow(statusBar_);
    }
  }

  // ---- bars and layout -----------------------------------------------------------------------
  void setToolBarVisible(bool visible) override {
    toolBarVisible_ = visible;
    if (toolBar_) ShowWindow(toolBar_, visible ? SW_SHOW : SW_HIDE);
  }
  void setStatusBarVisible(bool visible) override {
    statusBarVisible_ = visible;
    if (statusBar_) ShowWindow(statusBar_, visible ? SW_SHOW : SW_HIDE);
  }
  int32_t toolBarHeight() const override { return heightOf(toolBar_); }
  int32_t statusBarHeight() const override { return heightOf(statusBar_); }
  Size innerSize() const override {
    RECT r{};
    if (hwnd()) GetClientRect(hwnd(), &r);
    return Size{r.right - r.left, r.bottom - r.top};
  }
  void moveList(const Rect& r) override {
    if (list_) MoveWindow(list_, r.left, r.top, r.width, r.height, TRUE);
  }

  // ---- the list ---------------------------------------------------------------------------------
  void setListBackColor(uint32_t rgb) override {
    // The presenter's colour is 0xBBGGRR-ordered as RGB(r, g, b) writes it.
    backColor_ = static_cast<COLORREF>(rgb);
    if (list_) {
      ListView_SetBkColor(list_, backColor_);
      ListView_SetTextBkColor(list_, backColor_);
    }
  }
  void setListColumnCount(int32_t) override { syncColumns(); }
  void setListColumnWidth(int32_t col, int32_t twips) override {
    if (list_) ListView_SetColumnWidth(list_, col, twipsToPixels(twips));
  }
  void setListColumnAlignment(int32_t col, int32_t) override { applyColumn(col); }
  void setListHeaderText(int32_t col, const ustring&) override { applyColumn(col); }
  void setListRowCount(int32_t rows) override {
    if (!list_) return;
    const int items = std::max(0, rows - 1);
    ListView_SetItemCountEx(list_, items, LVSICF_NOINVALIDATEALL | LVSICF_NOSCROLL);
    // Items that went took their marks with them.
    if (selectedItem_ >= items) selectedItem_ = -1;
    if (focusedItem_ >= items) focusedItem_ = -1;
    // The rows panel counts again once the rows stop coming (a caller adds them one by one).
    later(kRowsLater);
  }
  void setListCurrentRow(int32_t row) override {
    if (!list_) return;
    // The list view reports the changes made here; they are the presenter's own.
    const bool outer = !applyingRow_;
    applyingRow_ = true;
    // Only the items known to carry a mark are touched: asking the list view to
    // clear every item (index -1) costs one step per row, which a list of a
    // million rows feels on every key.
    if (row >= 1) {
      // The row alone is selected: the marks of the others go first.
      const UINT selected = ListView_GetSelectedCount(list_);
      if (selected > 1 || (selected == 1 && selectedItem_ < 0)) {
        ListView_SetItemState(list_, -1, 0, LVIS_SELECTED);
      } else if (selected == 1 && selectedItem_ != row - 1) {
        ListView_SetItemState(list_, selectedItem_, 0, LVIS_SELECTED);
      }
      ListView_SetItemState(list_, row - 1, LVIS_SELECTED | LVIS_FOCUSED, LVIS_SELECTED | LVIS_FOCUSED);
      ListView_EnsureVisible(list_, row - 1, FALSE);
    } else {
      const int selected = selectedItem_, focused = focusedItem_;
      if (selected >= 0) ListView_SetItemState(list_, selected, 0, LVIS_SELECTED | LVIS_FOCUSED);
      if (focused >= 0 && focused != selected) ListView_SetItemState(list_, focused, 0, LVIS_SELECTED | LVIS_FOCUSED);
      // Should a selection ever have escaped the notifications, the slow way clears it.
      if (ListView_GetSelectedCount(list_) > 0) ListView_SetItemState(list_, -1, 0, LVIS_SELECTED);
    }
    if (outer) applyingRow_ = false;
  }
  void listCellChanged(int32_t row, int32_t) override {
    if (list_ && row >= 1) ListView_RedrawItems(list_, row - 1, row - 1);
  }
  void refreshList() override {
    if (!list_) return;
    // The header row may come from the title line, which can change at any time.
    for (int32_t c = 1; c <= presenter_.list().columnCount(); ++c) applyColumn(c);
    InvalidateRect(list_, nullptr, TRUE);
  }
  ListFont listFont() const override { return font_; }
  void setListFont(const ListFont& font) override {
    font_ = font;
    applyFont();
  }
  const ui::Collation& collation() const override { return collation_; }
  const ui::Parallel& parallel() const override { return parallel_; }
  std::vector<ui::RowRange> selectedRows() const override {
    std::vector<ui::RowRange> rows;
    if (!list_) return rows;
    const int count = ListView_GetItemCount(list_);
    const int selected = static_cast<int>(ListView_GetSelectedCount(list_));
    if (selected <= 0) return rows;
    // Every row: no need to visit each one.
    if (selected >= count) return {ui::RowRange{1, count}};
    int found = 0;
    for (int i = ListView_GetNextItem(list_, -1, LVNI_SELECTED); i >= 0 && found < selected;
         i = ListView_GetNextItem(list_, i, LVNI_SELECTED)) {
      ++found;
      if (!rows.empty() && rows.back().last == i) rows.back().last = i + 1;
      else rows.push_back(ui::RowRange{i + 1, i + 1});
    }
    return rows;
  }
  void selectAllRows() override {
    if (list_ && ListView_GetItemCount(list_) > 0) ListView_SetItemState(list_, -1, LVIS_SELECTED, LVIS_SELECTED);
  }
  bool setClipboardText(std::size_t length, const std::function<void(char16_t*)>& write) override {
    HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, (length + 1) * sizeof(wchar_t));
    if (!memory) throw Error(7, u"Out of memory");
    auto* p = static_cast<char16_t*>(GlobalLock(memory));
    write(p);
    p[length] = u'\0';
    GlobalUnlock(memory);
    if (!OpenClipboard(hwnd())) {
      GlobalFree(memory);
      return false;
    }
    EmptyClipboard();
    const bool given = SetClipboardData(CF_UNICODETEXT, memory) != nullptr;
    CloseClipboard();
    if (!given) GlobalFree(memory);  // the clipboard owns it only when it took it
    return given;
  }
  void showFindDialog(const ui::FindRequest& start) override {
    HWND owner = ensureWindow();
    if (findDialog_ && findDialog_->hwnd()) {
      findDialog_->bringForward();
      return;
    }
    findDialog_.reset();
    findDialog_ = std::make_unique<FindDialog>(owner, start, [this](bool down) { presenter_.findAgain(down); });
  }
  // The system's print dialog with the given flags, after making sure a printer
  // exists at all; false (with the no-printer message where due) when there is
  // nothing to do. The caller frees what a successful dialog returns.
  bool printDialog(DWORD flags, PRINTDLGW& pd) {
    HWND owner = ensureWindow();
    if (!printerInstalled()) {
      noPrinterMessage();
      return false;
    }
    pd = PRINTDLGW{};
    pd.lStructSize = sizeof pd;
    pd.hwndOwner = owner;
    pd.Flags = flags;
    if (!PrintDlgW(&pd)) {
      if (CommDlgExtendedError() != 0) noPrinterMessage();  // a cancel is no error
      return false;
    }
    return true;
  }
  // What a successful print dialog hands over: the printer's device context
  // (ours to delete) and its settings (ours to free).
  static MemoryDC releasePrintDialog(PRINTDLGW& pd) {
    if (pd.hDevMode) GlobalFree(pd.hDevMode);
    if (pd.hDevNames) GlobalFree(pd.hDevNames);
    return MemoryDC(pd.hDC);
  }
  void printList() override {
    PRINTDLGW pd{};
    if (!printDialog(PD_RETURNDC | PD_NOSELECTION | PD_NOPAGENUMS, pd)) return;
    const MemoryDC printer = releasePrintDialog(pd);
    printOn(printer.get());
  }
  void previewList() override {
    HWND owner = ensureWindow();
    preview_.reset();
    preview_ = std::make_unique<FrmPreview>(presenter_.list(), printTitle(), font_handle_.get(), owner);
  }
  void printSetup() override {
    PRINTDLGW pd{};
    if (printDialog(PD_PRINTSETUP, pd)) releasePrintDialog(pd);
  }

  // ---- dialogs ------------------------------------------------------------------------------------
  FileChoice fileDialog(FileDialogKind kind, const ustring& filter, int32_t filterIndex, int32_t flags) override {
    HWND owner = ensureWindow();
    // "Name|pattern|Name|pattern" becomes the system's NUL-separated list.
    std::wstring filters(filter.begin(), filter.end());
    std::replace(filters.begin(), filters.end(), L'|', L'\0');
    filters.append(2, L'\0');
    std::vector<wchar_t> name(32768, L'\0');
    OPENFILENAMEW ofn{};
    ofn.lStructSize = sizeof ofn;
    ofn.hwndOwner = owner;
    ofn.lpstrFilter = filters.c_str();
    ofn.nFilterIndex = static_cast<DWORD>(filterIndex);
    ofn.lpstrFile = name.data();
    ofn.nMaxFile = static_cast<DWORD>(name.size());
    // The dialog library's flag 4 hides the read-only box, as OFN_HIDEREADONLY does.
    ofn.Flags = OFN_EXPLORER | ((flags & 4) ? OFN_HIDEREADONLY : 0) | (static_cast<DWORD>(flags) & ~DWORD(4));
    const BOOL ok = kind == FileDialogKind::Save ? GetSaveFileNameW(&ofn) : GetOpenFileNameW(&ofn);
    FileChoice choice;
    if (!ok) return choice;  // cancelled (or the dialog failed): nothing is done
    choice.cancelled = false;
    choice.path = fromWide(name.data(), wcslen(name.data()));
    return choice;
  }
  FontChoice fontDialog(const ustring& fontName, int32_t flags) override {
    HWND owner = ensureWindow();
    LOGFONTW lf = logFont();
    lstrcpynW(lf.lfFaceName, wz(fontName), LF_FACESIZE);
    CHOOSEFONTW cf{};
    cf.lStructSize = sizeof cf;
    cf.hwndOwner = owner;
    cf.lpLogFont = &lf;
    // Screen and printer fonts with effects; printer fonts need a printer, and
    // there is no hook to answer Apply, so those two are left to the system.
    DWORD f = static_cast<DWORD>(flags) & ~DWORD(CF_PRINTERFONTS | CF_APPLY);
    cf.Flags = f | CF_SCREENFONTS | CF_INITTOLOGFONTSTRUCT;
    FontChoice choice;
    if (!ChooseFontW(&cf)) return choice;
    choice.cancelled = false;
    choice.font.name = fromWide(lf.lfFaceName, wcslen(lf.lfFaceName));
    choice.font.size = cf.iPointSize / 10.0;
    choice.font.bold = lf.lfWeight >= FW_BOLD;
    choice.font.italic = lf.lfItalic != 0;
    return choice;
  }

  // ---- the window -----------------------------------------------------------------------------------
  intptr_t windowHandle() const override {
    return reinterpret_cast<intptr_t>(const_cast<FrmDisplayer*>(this)->ensureWindow());
  }
  Rect windowRect() const override {
    RECT r{};
    if (HWND h = const_cast<FrmDisplayer*>(this)->ensureWindow()) GetWindowRect(h, &r);
    return Rect{r.left, r.top, r.right - r.left, r.bottom - r.top};
  }
  void setWindowState(int16_t state) override {
    state_ = state;
    if (hwnd() && IsWindowVisible(hwnd())) ShowWindow(hwnd(), showCommand());
  }
  void showWindow(bool modal) override {
    HWND h = ensureWindow();
    if (!h) return;
    HWND owner = modal ? GetActiveWindow() : nullptr;
    ShowWindow(h, showCommand());
    UpdateWindow(h);
    SetForegroundWindow(h);
    if (modal) {
      // The window that was active waits, disabled, until this one has gone.
      runModal(owner);
    } else {
      // Shown modeless, the window is the user's: it lives until it is closed,
      // whoever lets go of it meanwhile.
      self_ = shared_from_this();
    }
  }
  void closeWindow() override {
    if (hwnd()) SendMessageW(hwnd(), WM_CLOSE, 0, 0);
    else presenter_.unload();
  }

 private:
  static int heightOf(HWND w) {
    if (!w) return 0;
    RECT r{};
    GetWindowRect(w, &r);
    return r.bottom - r.top;
  }
  int dpi() const {
    const WindowDC dc(hwnd());
    const int d = GetDeviceCaps(dc.get(), LOGPIXELSX);
    return d > 0 ? d : 96;
  }
  int twipsToPixels(int32_t twips) const { return MulDiv(twips, dpi(), 1440); }
  int showCommand() const {
    return state_ == 1 ? SW_SHOWMINIMIZED : state_ == 2 ? SW_SHOWMAXIMIZED : SW_SHOWNORMAL;
  }
  ustring printTitle() const {
    ustring t = presenter_.baseCaption().empty() ? caption_ : presenter_.baseCaption();
    return t;
  }
  LOGFONTW logFont() const {
    LOGFONTW lf{};
    lf.lfHeight = -MulDiv(static_cast<int>(font_.size * 10 + 0.5), hwnd() ? dpi() : 96, 720);
    lf.lfWeight = font_.bold ? FW_BOLD : FW_NORMAL;
    lf.lfItalic = font_.italic ? TRUE : FALSE;
    lf.lfCharSet = DEFAULT_CHARSET;
    lstrcpynW(lf.lfFaceName, wz(font_.name), LF_FACESIZE);
    return lf;
  }
  void applyFont() {
    if (!list_) return;
    LOGFONTW lf = logFont();
    Font f(CreateFontIndirectW(&lf));
    SendMessageW(list_, WM_SETFONT, reinterpret_cast<WPARAM>(f.get()), TRUE);
    font_handle_ = std::move(f);
  }

  void printOn(HDC printer) {
    PageMetrics page{GetDeviceCaps(printer, HORZRES), GetDeviceCaps(printer, VERTRES), GetDeviceCaps(printer, LOGPIXELSY)};
    const ustring name = printTitle();
    PageLayout layout(presenter_.list(), name, page, font_handle_.get());
    DOCINFOW doc{};
    doc.cbSize = sizeof doc;
    doc.lpszDocName = wz(name);
    if (StartDocW(printer, &doc) <= 0) return;
    for (int32_t p = 0; p < layout.pageCount(); ++p) {
      if (StartPage(printer) <= 0) break;
      layout.draw(printer, p);
      if (EndPage(printer) <= 0) break;
    }
    EndDoc(printer);
  }

  // ---- creating the controls --------------------------------------------------------------------------
  HWND ensureWindow() {
    if (hwnd()) return hwnd();
    create(WindowClass{.name = kClass,
                       .background = reinterpret_cast<HBRUSH>(COLOR_BTNFACE + 1),
                       .icon = IDI_APPLICATION},
           wz(caption_), WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN, 0, CW_USEDEFAULT, CW_USEDEFAULT, 760, 520, nullptr,
           nullptr);
    return hwnd();
  }

  void createControls() {
    createMenus();
    toolBar_ = createControl(hwnd(), TOOLBARCLASSNAMEW, TBSTYLE_FLAT | TBSTYLE_TOOLTIPS | TBSTYLE_LIST | CCS_TOP, 0,
                             0);
    SendMessageW(toolBar_, TB_BUTTONSTRUCTSIZE, sizeof(TBBUTTON), 0);
    SendMessageW(toolBar_, TB_SETEXTENDEDSTYLE, 0, TBSTYLE_EX_MIXEDBUTTONS);
    SendMessageW(toolBar_, TB_LOADIMAGES, IDB_STD_SMALL_COLOR, reinterpret_cast<LPARAM>(HINST_COMMCTRL));
    const int images[5] = {STD_FILEOPEN, STD_FILESAVE, STD_PRINT, STD_PRINTPRE, STD_DELETE};
    TBBUTTON buttons[5]{};
    for (int i = 0; i < 5; ++i) {
      buttons[i].iBitmap = images[i];
      buttons[i].idCommand = kToolIdBase + i;
      buttons[i].fsState = TBSTATE_ENABLED;
      buttons[i].fsStyle = BTNS_BUTTON | BTNS_AUTOSIZE | BTNS_SHOWTEXT;
      buttons[i].iString = reinterpret_cast<INT_PTR>(wz(toolCaptions_[static_cast<std::size_t>(i)]));
    }
    SendMessageW(toolBar_, TB_ADDBUTTONSW, 5, reinterpret_cast<LPARAM>(buttons));
    SendMessageW(toolBar_, TB_AUTOSIZE, 0, 0);
    ShowWindow(toolBar_, toolBarVisible_ ? SW_SHOW : SW_HIDE);

    statusBar_ = createControl(hwnd(), STATUSCLASSNAMEW, SBARS_SIZEGRIP, 0, 0);
    layoutStatusPanels();
    SendMessageW(statusBar_, SB_SETTEXTW, 0, reinterpret_cast<LPARAM>(wz(statusText_)));
    SendMessageW(statusBar_, SB_SETTEXTW, 1, reinterpret_cast<LPARAM>(wz(rowsText_)));
    ShowWindow(statusBar_, statusBarVisible_ ? SW_SHOW : SW_HIDE);

    list_ = createControl(hwnd(), WC_LISTVIEWW,
                          WS_VISIBLE | WS_TABSTOP | LVS_REPORT | LVS_OWNERDATA | LVS_SHOWSELALWAYS,
                          WS_EX_CLIENTEDGE, kListId);
    ListView_SetExtendedListViewStyle(list_, LVS_EX_FULLROWSELECT | LVS_EX_GRIDLINES | LVS_EX_DOUBLEBUFFER);
    ListView_SetBkColor(list_, backColor_);
    ListView_SetTextBkColor(list_, backColor_);
    applyFont();
    // Column 0 of a list view is always left-aligned: it is kept empty and
    // zero-wide, so that every column of the table can take its own alignment.
    LVCOLUMNW lc{};
    lc.mask = LVCF_WIDTH | LVCF_FMT;
    lc.fmt = LVCFMT_LEFT;
    lc.cx = 0;
    ListView_InsertColumn(list_, 0, &lc);
    syncColumns();
    // The list takes its place before it learns its rows: moved from nothing to
    // its size once it holds thousands of rows, it lays them all out again.
    presenter_.layout();
    setListRowCount(presenter_.list().rowCount());
    setListCurrentRow(presenter_.list().currentRow());
  }

  void createMenus() {
    // The bar belongs to the window from SetMenu on and goes with it. The items
    // come with their texts and marks: set one by one afterwards, each would lay
    // the bar out and draw it again.
    HMENU bar = CreateMenu();
    HMENU popup = nullptr;
    for (int i = 0; i < kDisplayMenuCount; ++i) {
      const auto item = static_cast<DisplayMenu>(i);
      const bool top = item == DisplayMenu::File || item == DisplayMenu::Format || item == DisplayMenu::View ||
                       item == DisplayMenu::Help;
      MENUITEMINFOW mi{};
      mi.cbSize = sizeof mi;
      mi.fMask = MIIM_ID | MIIM_STRING | MIIM_STATE;
      mi.wID = static_cast<UINT>(kMenuIdBase + i);
      mi.dwTypeData = const_cast<wchar_t*>(wz(menuTexts_[static_cast<std::size_t>(i)]));
      mi.fState = menuChecked_[static_cast<std::size_t>(i)] ? MFS_CHECKED : MFS_UNCHECKED;
      if (top) {
        popup = CreatePopupMenu();
        mi.fMask |= MIIM_SUBMENU;
        mi.hSubMenu = popup;
        InsertMenuItemW(bar, static_cast<UINT>(GetMenuItemCount(bar)), TRUE, &mi);
      } else {
        InsertMenuItemW(popup, static_cast<UINT>(GetMenuItemCount(popup)), TRUE, &mi);
      }
    }
    SetMenu(hwnd(), bar);
  }

  void applyMenuItem(DisplayMenu item) {
    HMENU bar = GetMenu(hwnd());
    if (!bar) return;
    MENUITEMINFOW mi{};
    mi.cbSize = sizeof mi;
    mi.fMask = MIIM_STRING | MIIM_STATE;
    mi.dwTypeData = const_cast<wchar_t*>(wz(menuTexts_[static_cast<std::size_t>(item)]));
    mi.fState = menuChecked_[static_cast<std::size_t>(item)] ? MFS_CHECKED : MFS_UNCHECKED;
    SetMenuItemInfoW(bar, static_cast<UINT>(kMenuIdBase + static_cast<int>(item)), FALSE, &mi);
    DrawMenuBar(hwnd());
  }

  // The list view's columns 1..n follow the presenter's list.
  void syncColumns() {
    if (!list_) return;
    HWND header = ListView_GetHeader(list_);
    const int want = presenter_.list().columnCount() + 1;
    int have = header ? Header_GetItemCount(header) : 0;
    while (have > want) ListView_DeleteColumn(list_, --have);
    while (have < want) {
      LVCOLUMNW lc{};
      lc.mask = LVCF_WIDTH | LVCF_FMT | LVCF_TEXT;
      lc.fmt = LVCFMT_LEFT;
      lc.cx = 0;
      lc.pszText = const_cast<wchar_t*>(L"");
      ListView_InsertColumn(list_, have, &lc);
      ++have;
    }
    for (int32_t c = 1; c < want; ++c) applyColumn(c);
  }

  void applyColumn(int32_t c) {
    if (!list_ || c < 1 || c > presenter_.list().columnCount()) return;
    const ListColumn& col = presenter_.list().column(c);
    const ustring title = presenter_.list().text(0, c);
    LVCOLUMNW lc{};
    lc.mask = LVCF_WIDTH | LVCF_FMT | LVCF_TEXT;
    lc.fmt = col.alignment == align::Number ? LVCFMT_RIGHT : col.alignment == align::Centre ? LVCFMT_CENTER : LVCFMT_LEFT;
    lc.cx = twipsToPixels(col.width);
    lc.pszText = const_cast<wchar_t*>(wz(title));
    ListView_SetColumn(list_, c, &lc);
    // The system's sort arrow on the column the rows are sorted on.
    setSortArrow(list_, c,
                 presenter_.sortColumn() != c        ? SortArrow::None
                 : presenter_.sortDescending()       ? SortArrow::Down
                                                     : SortArrow::Up);
  }

  // "Wait" first, as wide as the rest of the bar; the row counts after it.
  void layoutStatusPanels() {
    if (!statusBar_) return;
    RECT r{};
    GetClientRect(statusBar_, &r);
    const int rowsWidth = MulDiv(260, static_cast<int>(windowDpi(hwnd())), 96);
    int parts[2] = {std::max(0, static_cast<int>(r.right) - rowsWidth), -1};
    SendMessageW(statusBar_, SB_SETPARTS, 2, reinterpret_cast<LPARAM>(parts));
  }

  // Work done once the messages in hand are handled, however often it was asked for.
  enum Later : unsigned { kRowsLater = 1, kSelectionLater = 2 };
  void later(unsigned what) {
    if (!hwnd()) return;
    if (!pending_) PostMessageW(hwnd(), kLaterMessage, 0, 0);
    pending_ |= what;
  }
  void runLater() {
    const unsigned what = std::exchange(pending_, 0u);
    if (!list_) return;
    if (what & kSelectionLater) presenter_.selectionChanged(static_cast<int32_t>(ListView_GetSelectedCount(list_)));
    else if (what & kRowsLater) presenter_.updateRowsPanel();
  }

  void contextMenu(LPARAM at) {
    POINT p{GET_X_LPARAM(at), GET_Y_LPARAM(at)};
    if (p.x == -1 && p.y == -1) {
      // From the keyboard: at the focused row, or the list's corner.
      RECT r{};
      const int focused = ListView_GetNextItem(list_, -1, LVNI_FOCUSED);
      if (focused < 0 || !ListView_GetItemRect(list_, focused, &r, LVIR_BOUNDS)) GetClientRect(list_, &r);
      p = POINT{r.left + 8, r.bottom};
      ClientToScreen(list_, &p);
    }
    const Menu menu(CreatePopupMenu());
    for (int i = 0; i < kListCommandCount; ++i) {
      const ustring text = presenter_.listCommandText(static_cast<ListCommand>(i));
      AppendMenuW(menu.get(), MF_STRING, static_cast<UINT_PTR>(kContextIdBase + i), wz(text));
    }
    const int chosen = TrackPopupMenu(menu.get(), TPM_RETURNCMD | TPM_RIGHTBUTTON, p.x, p.y, 0, hwnd(), nullptr);
    if (chosen >= kContextIdBase && chosen < kContextIdBase + kListCommandCount)
      presenter_.listCommand(static_cast<ListCommand>(chosen - kContextIdBase));
  }

  void keyDown(int32_t key) {
    presenter_.keyDown(key, (GetKeyState(VK_CONTROL) & 0x8000) != 0, (GetKeyState(VK_SHIFT) & 0x8000) != 0);
  }

  // ---- messages ---------------------------------------------------------------------------------------------
  bool onMessage(UINT msg, WPARAM wp, LPARAM lp, LRESULT& result) override {
    switch (msg) {
      case WM_CREATE:
        createControls();
        return false;
      case WM_SIZE:
        if (toolBar_) SendMessageW(toolBar_, TB_AUTOSIZE, 0, 0);
        if (statusBar_) SendMessageW(statusBar_, WM_SIZE, 0, 0);
        layoutStatusPanels();
        presenter_.resized();
        return true;
      case WM_ACTIVATE:
        if (LOWORD(wp) != WA_INACTIVE) {
          presenter_.activated();
          // The keys (arrows, End, F1, Esc) go to the list. The system's default
          // handling would give the focus back to the frame, so it is skipped.
          if (list_ && !HIWORD(wp)) {
            SetFocus(list_);
            return true;
          }
        }
        return false;
      case WM_COMMAND: {
        const int id = LOWORD(wp);
        if (id >= kMenuIdBase && id < kMenuIdBase + kDisplayMenuCount) {
          presenter_.menuClicked(static_cast<DisplayMenu>(id - kMenuIdBase));
          return true;
        }
        if (id >= kToolIdBase && id < kToolIdBase + 5) {
          presenter_.toolButtonClicked(kToolButtonKeys[id - kToolIdBase]);
          return true;
        }
        return false;
      }
      case WM_KEYDOWN:
        keyDown(static_cast<int32_t>(wp));
        return true;
      case WM_CONTEXTMENU:
        if (list_ && reinterpret_cast<HWND>(wp) == list_) {
          contextMenu(lp);
          return true;
        }
        return false;
      case kLaterMessage:
        runLater();
        return true;
      case WM_NOTIFY:
        return notify(reinterpret_cast<NMHDR*>(lp), result);
      case WM_CLOSE:
        // However the window closes, the presenter has its say first (the prompt).
        presenter_.unload();
        preview_.reset();
        findDialog_.reset();
        destroy();
        return true;
      case WM_NCDESTROY:
        list_ = toolBar_ = statusBar_ = nullptr;
        selectedItem_ = focusedItem_ = -1;
        pending_ = 0;
        font_handle_.reset();
        return false;
      default:
        if (msg == FindDialog::message() && findDialog_) {
          const auto* find = reinterpret_cast<const FINDREPLACEW*>(lp);
          if (find->Flags & FR_FINDNEXT) presenter_.find(findDialog_->request());
          return true;
        }
        return false;
    }
  }

  // Follows the marks through the list view's change notifications (item -1
  // stands for every item). The states a notification carries leave out the
  // marks that the change did not touch, so the items' states are read back.
  void trackMarks(int item) {
    auto has = [this](int i, UINT mark) { return (ListView_GetItemState(list_, i, mark) & mark) != 0; };
    if (item >= 0 && has(item, LVIS_SELECTED)) selectedItem_ = item;
    if (item >= 0 && has(item, LVIS_FOCUSED)) focusedItem_ = item;
    if (selectedItem_ >= 0 && !has(selectedItem_, LVIS_SELECTED)) selectedItem_ = -1;
    if (focusedItem_ >= 0 && !has(focusedItem_, LVIS_FOCUSED)) focusedItem_ = -1;
  }

  bool notify(NMHDR* nm, LRESULT& result) {
    if (nm->hwndFrom == list_) {
      if (nm->code == LVN_GETDISPINFOW) {
        auto* di = reinterpret_cast<NMLVDISPINFOW*>(nm);
        if (di->item.mask & LVIF_TEXT) {
          // Only the rows on screen are asked for: the text is cut from the row's line on demand.
          cellText_ = di->item.iSubItem == 0 ? ustring()
                                              : presenter_.list().text(di->item.iItem + 1, di->item.iSubItem);
          di->item.pszText = const_cast<wchar_t*>(wz(cellText_));
        }
        return true;
      }
      if (nm->code == LVN_KEYDOWN) {
        keyDown(reinterpret_cast<NMLVKEYDOWN*>(nm)->wVKey);
        return true;
      }
      if (nm->code == LVN_ITEMCHANGED) {
        auto* lv = reinterpret_cast<NMLISTVIEW*>(nm);
        if (lv->uChanged & LVIF_STATE) {
          const int focusedBefore = focusedItem_;
          trackMarks(lv->iItem);
          // The user moved the focus: that row is the current row now.
          if (!applyingRow_ && focusedItem_ >= 0 && focusedItem_ != focusedBefore)
            presenter_.focusMoved(focusedItem_ + 1);
          if ((lv->uNewState ^ lv->uOldState) & LVIS_SELECTED) later(kSelectionLater);
        }
        return true;
      }
      if (nm->code == LVN_ODSTATECHANGED) {
        // A range of rows (Shift with a click or a key) changed its marks.
        later(kSelectionLater);
        return true;
      }
      if (nm->code == LVN_COLUMNCLICK) {
        presenter_.columnClicked(reinterpret_cast<NMLISTVIEW*>(nm)->iSubItem);
        return true;
      }
      return false;
    }
    if (list_ && nm->hwndFrom == ListView_GetHeader(list_)) {
      // A width the user dragged is the column's width from now on.
      if (nm->code == HDN_ITEMCHANGEDW || nm->code == HDN_ITEMCHANGEDA || nm->code == HDN_ENDTRACKW ||
          nm->code == HDN_ENDTRACKA) {
        const auto* hd = reinterpret_cast<const NMHEADERW*>(nm);
        if (hd->iItem >= 1 && hd->iItem <= presenter_.list().columnCount()) {
          const int pixels = ListView_GetColumnWidth(list_, hd->iItem);
          const int32_t twips = MulDiv(pixels, 1440, dpi());
          if (pixels != twipsToPixels(presenter_.list().column(hd->iItem).width)) presenter_.columnResized(hd->iItem, twips);
        }
      }
      return false;
    }
    if (nm->code == TTN_GETDISPINFOW) {
      auto* tt = reinterpret_cast<NMTTDISPINFOW*>(nm);
      const int i = static_cast<int>(nm->idFrom) - kToolIdBase;
      if (i >= 0 && i < 5) {
        tt->lpszText = const_cast<wchar_t*>(wz(toolTips_[static_cast<std::size_t>(i)]));
        result = 0;
        return true;
      }
    }
    return false;
  }

  // After the last message of a window shown modeless: it lets go of itself. The
  // reference leaves the member first: the object may go with it, member and all.
  void onFinalMessage() override { [[maybe_unused]] const auto last = std::move(self_); }

  ModuleHold hold_;
  DisplayerPresenter presenter_;
  std::shared_ptr<FrmDisplayer> self_;  // while shown modeless
  HWND list_ = nullptr, toolBar_ = nullptr, statusBar_ = nullptr;
  Font font_handle_;
  ustring caption_, statusText_;
  std::array<ustring, kDisplayMenuCount> menuTexts_;
  std::array<bool, kDisplayMenuCount> menuChecked_;
  std::array<ustring, 5> toolCaptions_, toolTips_;
  bool toolBarVisible_ = true, statusBarVisible_ = true;
  COLORREF backColor_ = RGB(255, 255, 255);
  ListFont font_;
  int16_t state_ = 0;
  ustring cellText_;
  std::unique_ptr<FrmPreview> preview_;
  std::unique_ptr<FindDialog> findDialog_;
  UserCollation collation_;
  ThreadParallel parallel_;
  ustring rowsText_;
  static constexpr UINT kLaterMessage = WM_APP + 1;
  unsigned pending_ = 0;  // Later flags posted and not yet run
  // The list view's items (0-based) that carry the selection and the focus, -1 for none.
  int selectedItem_ = -1, focusedItem_ = -1;
  bool applyingRow_ = false;  // the presenter's current row is being shown
};

}  // namespace

std::shared_ptr<DisplayerPresenter> makeListWindow(ModuleHold hold) {
  INITCOMMONCONTROLSEX icc{sizeof icc, ICC_LISTVIEW_CLASSES | ICC_BAR_CLASSES | ICC_WIN95_CLASSES};
  InitCommonControlsEx(&icc);
  auto window = std::make_shared<FrmDisplayer>(std::move(hold));
  // The presenter lives inside the window object; whoever holds it keeps both.
  return std::shared_ptr<DisplayerPresenter>(window, &window->presenter());
}

}  // namespace lumo::win32
