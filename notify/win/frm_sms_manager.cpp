// The approval-notification service window on Win32, for both of its uses (the
// administrator's service management and each user's personal settings): a tool
// bar on top, the catalogue tree on the left, the service list on the right and a
// separator between them that the mouse drags.
//
// It is a dialog of the window base shown modal, so Esc and tabbing work in the
// loop that runs it. The list is owner-data: it asks the presenter for the cells
// it shows, so thousands of services cost nothing until they are scrolled to.
#include <windows.h>
#include <commdlg.h>
#include <windowsx.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "display/list_model.h"
#include "display/win/frm_preview.h"
#include "display/win/page_layout.h"
#include "host/language.h"
#include "notify/service_manager.h"
#include "notify/win/windows.h"
#include "win32/controls.h"
#include "win32/window.h"

namespace lumo::win32 {

using notify::ServiceControl;
using namespace sms_manager;

namespace {

constexpr int kTwipsPerInch = 1440;
// Up to this many selection marks change with the list drawing as it goes.
constexpr std::size_t kFewMarks = 64;

// The separator between the panels: a thin bar of our own class that reports the
// drags of the left mouse button to its window.
class Separator final : public Window {
 public:
  struct Listener {
    virtual ~Listener() = default;
    virtual void separatorDown(int x) = 0;
    virtual void separatorMove(int x) = 0;
    virtual void separatorUp() = 0;
  };
  explicit Separator(Listener& listener) : Window(u"Sep"), listener_(listener) {}
  void create(HWND parent) {
    Window::create(
        WindowClass{
            .name = L"LumoSeparator", .background = reinterpret_cast<HBRUSH>(COLOR_BTNFACE + 1), .cursor = IDC_SIZEWE},
        L"", WS_CHILD | WS_VISIBLE, 0, 0, 0, 4, 4, parent, reinterpret_cast<HMENU>(static_cast<INT_PTR>(idSep)));
  }

 private:
  bool onMessage(UINT msg, WPARAM, LPARAM lParam, LRESULT&) override {
    switch (msg) {
      case WM_LBUTTONDOWN:
        SetCapture(hwnd());
        dragging_ = true;
        listener_.separatorDown(GET_X_LPARAM(lParam));
        return true;
      case WM_MOUSEMOVE:
        if (dragging_) listener_.separatorMove(GET_X_LPARAM(lParam));
        return true;
      case WM_LBUTTONUP:
        if (!dragging_) return true;
        dragging_ = false;
        ReleaseCapture();
        listener_.separatorUp();
        return true;
      case WM_CAPTURECHANGED:
        if (dragging_) {
          dragging_ = false;
          listener_.separatorUp();
        }
        return true;
      default:
        return false;
    }
  }
  Listener& listener_;
  bool dragging_ = false;
};

class FrmSmsManager final : public Window, public notify::ServiceManagerView, private Separator::Listener {
 public:
  FrmSmsManager(ModuleHold hold, notify::ServiceWindowKind kind, WindowFactory& windows)
      : Window(kind.formName == ustring(u"frmUserSmsManager") ? u"frmUserSmsManager" : u"frmSmsManager"),
        hold_(std::move(hold)),
        presenter_(std::move(kind), *this, windows),
        sep_(*this) {}

  notify::ServiceManagerPresenter& presenter() { return presenter_; }

  // Creates the window (the presenter's Form_Load runs), shows it and returns
  // once it has been closed.
  void showModal() {
    INITCOMMONCONTROLSEX icc{sizeof icc,
                             ICC_TREEVIEW_CLASSES | ICC_LISTVIEW_CLASSES | ICC_BAR_CLASSES | ICC_STANDARD_CLASSES};
    InitCommonControlsEx(&icc);
    createDialog(WS_OVERLAPPED | WS_CAPTION | WS_SYSMENU | WS_THICKFRAME | WS_MINIMIZEBOX | WS_MAXIMIZEBOX | DS_3DLOOK,
                 WS_EX_APPWINDOW | WS_EX_CONTROLPARENT, nullptr);
    ShowWindow(hwnd(), SW_SHOW);
    SetForegroundWindow(hwnd());
    UpdateWindow(hwnd());
    runModal(nullptr);
  }

  // ServiceManagerView
  void setCaption(ServiceControl control, const ustring& text) override {
    HWND h = control == ServiceControl::Form ? hwnd() : control == ServiceControl::faTree ? faTree_ : faList_;
    if (h) setWindowText(h, text);
    if (control == ServiceControl::Form) caption_ = text;
  }
  void setToolButtons(const std::vector<notify::ToolButton>& buttons) override {
    buttons_ = buttons;
    if (!toolBar_) return;
    while (SendMessageW(toolBar_, TB_BUTTONCOUNT, 0, 0) > 0) SendMessageW(toolBar_, TB_DELETEBUTTON, 0, 0);
    std::vector<TBBUTTON> tb(buttons.size());
    for (std::size_t i = 0; i < buttons.size(); ++i) {
      tb[i].iBitmap = I_IMAGENONE;
      tb[i].idCommand = kToolIdBase + static_cast<int>(i);
      tb[i].fsState = TBSTATE_ENABLED;
      tb[i].fsStyle = BTNS_BUTTON | BTNS_AUTOSIZE | BTNS_SHOWTEXT;
      tb[i].iString = reinterpret_cast<INT_PTR>(wz(buttons_[i].caption));
    }
    SendMessageW(toolBar_, TB_ADDBUTTONSW, tb.size(), reinterpret_cast<LPARAM>(tb.data()));
    SendMessageW(toolBar_, TB_AUTOSIZE, 0, 0);
    layout();
  }
  void setToolText(const ustring& text) override {
    if (toolText_) setWindowText(toolText_, text);
    layout();
  }
  void setListLayout(const ustring& titles, const std::vector<int32_t>& widths) override {
    titles_ = split(titles, u"|");
    widths_ = widths;
    if (!list_) return;
    while (ListView_DeleteColumn(list_, 0)) {
    }
    static const ustring none;
    for (std::size_t c = 0; c < widths_.size(); ++c) {
      const ustring& title = c < titles_.size() ? titles_[c] : none;
      LVCOLUMNW lc{};
      lc.mask = LVCF_WIDTH | LVCF_TEXT | LVCF_FMT;
      lc.fmt = LVCFMT_LEFT;
      lc.cx = twipsToPixels(widths_[c]);
      lc.pszText = const_cast<wchar_t*>(wz(title));
      ListView_InsertColumn(list_, static_cast<int>(c), &lc);
    }
  }
  void setListRowCount(int32_t rows) override {
    if (!list_) return;
    // The rows are new: the marks of the old ones go with them. An empty list
    // drops them at once, where unmarking each row of thousands (select all,
    // then Start) costs a step per row.
    if (ListView_GetSelectedCount(list_) > 0 || ListView_GetNextItem(list_, -1, LVNI_FOCUSED) >= 0)
      ListView_SetItemCountEx(list_, 0, LVSICF_NOSCROLL | LVSICF_NOINVALIDATEALL);
    ListView_SetItemCountEx(list_, std::max(0, rows - 1), LVSICF_NOSCROLL);
    InvalidateRect(list_, nullptr, TRUE);
  }
  std::vector<int32_t> selectedRows() const override {
    std::vector<int32_t> rows;
    if (!list_) return rows;
    rows.reserve(static_cast<std::size_t>(ListView_GetSelectedCount(list_)));
    for (int i = ListView_GetNextItem(list_, -1, LVNI_SELECTED); i >= 0;
         i = ListView_GetNextItem(list_, i, LVNI_SELECTED))
      rows.push_back(i + 2);
    return rows;
  }
  void setSelectedRows(const std::vector<int32_t>& rows) override {
    if (!list_) return;
    const int items = ListView_GetItemCount(list_);
    const UINT marked = ListView_GetSelectedCount(list_);
    // Many marks change without a redraw per row; the list is drawn once after.
    // A few (the first row after a load) are drawn as they change: turning the
    // redraw back on lays the whole list out again, which costs more than them.
    struct Redraw {
      HWND list = nullptr;
      ~Redraw() {
        if (!list) return;
        SendMessageW(list, WM_SETREDRAW, TRUE, 0);
        InvalidateRect(list, nullptr, FALSE);
      }
    } redraw;
    if (rows.size() + marked > kFewMarks) {
      SendMessageW(list_, WM_SETREDRAW, FALSE, 0);
      redraw.list = list_;
    }
    // Every row at once is one call; otherwise the old marks go and the new come.
    if (!rows.empty() && static_cast<int>(rows.size()) == items) {
      ListView_SetItemState(list_, -1, LVIS_SELECTED, LVIS_SELECTED);
      return;
    }
    if (marked > 0) ListView_SetItemState(list_, -1, 0, LVIS_SELECTED | LVIS_FOCUSED);
    for (int32_t r : rows)
      if (r >= 2 && r - 2 < items) ListView_SetItemState(list_, r - 2, LVIS_SELECTED, LVIS_SELECTED);
    if (!rows.empty() && rows.front() >= 2 && rows.front() - 2 < items) {
      ListView_SetItemState(list_, rows.front() - 2, LVIS_FOCUSED, LVIS_FOCUSED);
      ListView_EnsureVisible(list_, rows.front() - 2, FALSE);
    }
  }
  void treeLoaded() override { fillTree(); }
  void printList() override {
    if (!printerInstalled()) {
      noPrinter();
      return;
    }
    PRINTDLGW pd{};
    pd.lStructSize = sizeof pd;
    pd.hwndOwner = hwnd();
    pd.Flags = PD_RETURNDC | PD_NOSELECTION | PD_NOPAGENUMS;
    if (!PrintDlgW(&pd)) return;
    if (pd.hDevMode) GlobalFree(pd.hDevMode);
    if (pd.hDevNames) GlobalFree(pd.hDevNames);
    const MemoryDC printer(pd.hDC);
    const PageMetrics page{GetDeviceCaps(printer.get(), HORZRES), GetDeviceCaps(printer.get(), VERTRES),
                           GetDeviceCaps(printer.get(), LOGPIXELSY)};
    buildPrintList();
    const PageLayout pages(*printList_, caption_, page, font_.get());
    DOCINFOW doc{};
    doc.cbSize = sizeof doc;
    doc.lpszDocName = wz(caption_);
    if (StartDocW(printer.get(), &doc) <= 0) return;
    for (int32_t p = 0; p < pages.pageCount(); ++p) {
      if (StartPage(printer.get()) <= 0) break;
      pages.draw(printer.get(), p);
      if (EndPage(printer.get()) <= 0) break;
    }
    EndDoc(printer.get());
  }
  void printSetup() override {
    if (!printerInstalled()) {
      noPrinter();
      return;
    }
    PRINTDLGW pd{};
    pd.lStructSize = sizeof pd;
    pd.hwndOwner = hwnd();
    pd.Flags = PD_PRINTSETUP;
    if (PrintDlgW(&pd)) {
      if (pd.hDevMode) GlobalFree(pd.hDevMode);
      if (pd.hDevNames) GlobalFree(pd.hDevNames);
    }
  }
  void previewList() override {
    preview_.reset();
    buildPrintList();
    preview_ = std::make_unique<FrmPreview>(*printList_, caption_, font_.get(), hwnd());
  }
  void showOptions() override { showSetUseFlag(hwnd()); }
  intptr_t windowHandle() const override { return reinterpret_cast<intptr_t>(hwnd()); }
  void close() override { destroy(); }

 private:
  bool onMessage(UINT msg, WPARAM wParam, LPARAM lParam, LRESULT& result) override {
    switch (msg) {
      case WM_INITDIALOG: {
        dpi_ = windowDpi(hwnd());
        createControls();
        RECT want{0, 0, scale(820, dpi_), scale(540, dpi_)};
        AdjustWindowRectEx(&want, static_cast<DWORD>(GetWindowLongPtrW(hwnd(), GWL_STYLE)), FALSE,
                           static_cast<DWORD>(GetWindowLongPtrW(hwnd(), GWL_EXSTYLE)));
        const int w = want.right - want.left, h = want.bottom - want.top;
        SetWindowPos(hwnd(), nullptr, (GetSystemMetrics(SM_CXSCREEN) - w) / 2, (GetSystemMetrics(SM_CYSCREEN) - h) / 2,
                     w, h, SWP_NOZORDER | SWP_NOACTIVATE);
        sepLeft_ = twipsToPixels(3600);
        presenter_.formLoad();
        selectModelNode();
        layout();
        SetFocus(tree_);
        result = FALSE;
        return true;
      }
      case WM_SIZE:
        layout();
        return true;
      case WM_GETMINMAXINFO: {
        auto* mm = reinterpret_cast<MINMAXINFO*>(lParam);
        mm->ptMinTrackSize.x = scale(420, dpi_);
        mm->ptMinTrackSize.y = scale(300, dpi_);
        return true;
      }
      case 0x02E0: {  // WM_DPICHANGED
        const int oldDpi = static_cast<int>(dpi_);
        dpi_ = HIWORD(wParam);
        sepLeft_ = MulDiv(sepLeft_, static_cast<int>(dpi_), oldDpi);
        applyFont();
        setListLayout(join(titles_, u"|"), widths_);
        const RECT* r = reinterpret_cast<const RECT*>(lParam);
        SetWindowPos(hwnd(), nullptr, r->left, r->top, r->right - r->left, r->bottom - r->top, SWP_NOZORDER);
        layout();
        return true;
      }
      case WM_COMMAND: {
        const int id = LOWORD(wParam);
        if (id == IDCANCEL) {
          presenter_.formKeyDown(27);
        } else if (id >= kToolIdBase && id < kToolIdBase + static_cast<int>(buttons_.size())) {
          // A copy: the action may set the buttons again.
          const ustring key = buttons_[static_cast<std::size_t>(id - kToolIdBase)].key;
          presenter_.toolButtonClick(key);
        }
        return true;
      }
      case WM_NOTIFY:
        return onNotify(*reinterpret_cast<NMHDR*>(lParam), result);
      case WM_CONTEXTMENU:
        // The tool bar's actions from the keyboard (Shift+F10, the menu key) or the mouse.
        if (reinterpret_cast<HWND>(wParam) != list_ && reinterpret_cast<HWND>(wParam) != tree_) return false;
        toolMenu(reinterpret_cast<HWND>(wParam), lParam);
        return true;
      case WM_CLOSE:
        destroy();
        return true;
      case WM_DESTROY:
        preview_.reset();
        presenter_.formUnload();
        return true;
      default:
        return false;
    }
  }

  bool preTranslate(MSG& msg) override {
    if (msg.message == WM_KEYDOWN && msg.wParam == VK_F1) {
      presenter_.formKeyDown(112);
      return true;
    }
    // Ctrl+A in the list selects every service, as the tool bar's button does.
    if (msg.message == WM_KEYDOWN && msg.wParam == 'A' && msg.hwnd == list_ && (GetKeyState(VK_CONTROL) & 0x8000)) {
      presenter_.toolButtonClick(notify::toolkey::SelectAll);
      return true;
    }
    return false;
  }

  // The tool bar's buttons as a context menu; the chosen one runs as if clicked.
  void toolMenu(HWND from, LPARAM at) {
    Menu menu(CreatePopupMenu());
    if (!menu) return;
    for (std::size_t i = 0; i < buttons_.size(); ++i)
      AppendMenuW(menu.get(), MF_STRING, static_cast<UINT_PTR>(kToolIdBase + static_cast<int>(i)),
                  wz(buttons_[i].caption));
    POINT pt{GET_X_LPARAM(at), GET_Y_LPARAM(at)};
    if (at == -1) {  // from the keyboard: below the focused row or the control's corner
      RECT r{};
      GetWindowRect(from, &r);
      pt = POINT{r.left + scale(16, dpi_), r.top + scale(24, dpi_)};
      const int focused = from == list_ ? ListView_GetNextItem(list_, -1, LVNI_FOCUSED) : -1;
      if (focused >= 0 && ListView_GetItemRect(list_, focused, &r, LVIR_LABEL)) {
        POINT p{r.left, r.bottom};
        ClientToScreen(list_, &p);
        pt = p;
      }
    }
    const int id = static_cast<int>(
        TrackPopupMenu(menu.get(), TPM_RETURNCMD | TPM_RIGHTBUTTON | TPM_NONOTIFY, pt.x, pt.y, 0, hwnd(), nullptr));
    if (id >= kToolIdBase && id < kToolIdBase + static_cast<int>(buttons_.size())) {
      const ustring key = buttons_[static_cast<std::size_t>(id - kToolIdBase)].key;
      presenter_.toolButtonClick(key);
    }
  }

  bool onNotify(NMHDR& h, LRESULT& result) {
    if (h.hwndFrom == tree_ && h.code == TVN_SELCHANGEDW) {
      if (filling_) return true;
      const auto& nm = reinterpret_cast<const NMTREEVIEWW&>(h);
      if (nm.itemNew.hItem) presenter_.nodeClick(static_cast<ui::NodeId>(nm.itemNew.lParam));
      return true;
    }
    if (h.hwndFrom == list_ && h.code == LVN_GETDISPINFOW) {
      auto& di = reinterpret_cast<NMLVDISPINFOW&>(h);
      if (di.item.mask & LVIF_TEXT) {
        cell_ = presenter_.cellText(di.item.iItem + 2, di.item.iSubItem + 1);
        di.item.pszText = const_cast<wchar_t*>(wz(cell_));
      }
      return true;
    }
    if (h.hwndFrom == ListView_GetHeader(list_) && (h.code == HDN_BEGINTRACKW || h.code == HDN_DIVIDERDBLCLICKW)) {
      // The hidden Type and ID columns stay hidden.
      const auto& nm = reinterpret_cast<const NMHEADERW&>(h);
      result = nm.iItem < 2 ? TRUE : FALSE;
      return true;
    }
    return false;
  }

  void createControls() {
    toolBar_ = createControl(hwnd(), TOOLBARCLASSNAMEW,
                             WS_VISIBLE | TBSTYLE_FLAT | TBSTYLE_LIST | CCS_TOP | CCS_NODIVIDER, 0, idToolBar);
    SendMessageW(toolBar_, TB_BUTTONSTRUCTSIZE, sizeof(TBBUTTON), 0);
    SendMessageW(toolBar_, TB_SETEXTENDEDSTYLE, 0, TBSTYLE_EX_MIXEDBUTTONS);
    SendMessageW(toolBar_, TB_SETPADDING, 0, MAKELPARAM(scale(12, dpi_), scale(8, dpi_)));
    toolText_ = createControl(hwnd(), L"STATIC", WS_VISIBLE | SS_LEFT | SS_NOPREFIX | SS_CENTERIMAGE, 0, idToolText);
    faTree_ = createControl(hwnd(), L"BUTTON", WS_VISIBLE | BS_GROUPBOX, 0, idFaTree);
    tree_ = createControl(hwnd(), WC_TREEVIEWW,
                          WS_VISIBLE | WS_TABSTOP | TVS_HASLINES | TVS_HASBUTTONS | TVS_LINESATROOT | TVS_SHOWSELALWAYS,
                          WS_EX_CLIENTEDGE, idTree);
    sep_.create(hwnd());
    faList_ = createControl(hwnd(), L"BUTTON", WS_VISIBLE | BS_GROUPBOX, 0, idFaList);
    list_ =
        createControl(hwnd(), WC_LISTVIEWW, WS_VISIBLE | WS_TABSTOP | LVS_REPORT | LVS_OWNERDATA | LVS_SHOWSELALWAYS,
                      WS_EX_CLIENTEDGE, idList);
    ListView_SetExtendedListViewStyle(list_, LVS_EX_FULLROWSELECT | LVS_EX_GRIDLINES | LVS_EX_DOUBLEBUFFER);
    // The drag bar: above everything while the separator is dragged.
    bar_ = createControl(hwnd(), L"STATIC", SS_GRAYRECT, 0, idBar);
    for (HWND frame : {faTree_, faList_})
      SetWindowPos(frame, HWND_BOTTOM, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
    SetWindowPos(bar_, HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
    applyFont();
  }

  void applyFont() {
    font_ = messageFont(dpi_);
    if (!font_.get()) return;
    for (HWND c = GetWindow(hwnd(), GW_CHILD); c; c = GetWindow(c, GW_HWNDNEXT))
      SendMessageW(c, WM_SETFONT, reinterpret_cast<WPARAM>(font_.get()), TRUE);
    if (toolBar_) SendMessageW(toolBar_, TB_AUTOSIZE, 0, 0);
  }

  int twipsToPixels(int32_t twips) const { return MulDiv(twips, static_cast<int>(dpi_), kTwipsPerInch); }
  int32_t pixelsToTwips(int pixels) const { return MulDiv(pixels, kTwipsPerInch, static_cast<int>(dpi_)); }

  int toolBarHeight() const {
    if (!toolBar_) return 0;
    RECT r{};
    GetWindowRect(toolBar_, &r);
    return r.bottom - r.top;
  }

  // The layout routine: the tool bar on top, the tree panel left of the
  // separator and the list panel right of it, each filling the height.
  void layout() {
    if (!hwnd() || !list_) return;
    RECT client;
    GetClientRect(hwnd(), &client);
    const int W = client.right, H = client.bottom;
    auto s = [&](int v) { return scale(v, dpi_); };
    SendMessageW(toolBar_, TB_AUTOSIZE, 0, 0);
    const int barH = toolBarHeight();
    // The count sits on the tool bar after the last button.
    int buttonsRight = 0;
    const int count = static_cast<int>(SendMessageW(toolBar_, TB_BUTTONCOUNT, 0, 0));
    if (count > 0) {
      RECT last{};
      SendMessageW(toolBar_, TB_GETITEMRECT, count - 1, reinterpret_cast<LPARAM>(&last));
      buttonsRight = last.right;
    }
    const int sepW = s(5), margin = s(4), pad = s(8), caption = s(18);
    const int sep = std::clamp(sepLeft_, 0, std::max(0, W - sepW));
    HDWP d = BeginDeferWindowPos(8);
    auto place = [&](HWND h, int x, int y, int w, int hgt) {
      if (h && d)
        d = DeferWindowPos(d, h, nullptr, x, y, std::max(0, w), std::max(0, hgt), SWP_NOZORDER | SWP_NOACTIVATE);
    };
    // The count stands beside the buttons when it fits, else on a line of its own
    // under them (still the tool bar's band: the panels below keep their layout).
    int textH = 0;
    if (toolText_ && GetWindowTextLengthW(toolText_) > 0) {
      const ustring text = windowText(toolText_);
      SIZE extent{};
      {
        const WindowDC dc(toolText_);
        const Selected f(dc.get(), font_.get());
        GetTextExtentPoint32W(dc.get(), wz(text), static_cast<int>(text.size()), &extent);
      }
      if (buttonsRight + s(16) + extent.cx + s(8) <= W) {
        place(toolText_, buttonsRight + s(16), 0, W - buttonsRight - s(20), barH);
      } else {
        textH = extent.cy + s(6);
        place(toolText_, s(8), barH, W - s(16), textH);
      }
    }
    const int top = barH + textH + margin, height = H - top - margin;
    place(faTree_, margin, top, sep - margin, height);
    place(tree_, margin + pad, top + caption, sep - margin - 2 * pad, height - caption - pad);
    place(sep_.hwnd(), sep, top, sepW, height);
    const int listX = sep + sepW;
    place(faList_, listX, top, W - listX - margin, height);
    place(list_, listX + pad, top + caption, W - listX - margin - 2 * pad, height - caption - pad);
    if (d) EndDeferWindowPos(d);
    InvalidateRect(hwnd(), nullptr, TRUE);
  }

  // ---- the separator ---------------------------------------------------------------------------
  void separatorDown(int x) override {
    dragOffset_ = x;
    RECT r{};
    GetWindowRect(sep_.hwnd(), &r);
    MapWindowPoints(nullptr, hwnd(), reinterpret_cast<POINT*>(&r), 2);
    // A little taller than the separator, over it.
    SetWindowPos(bar_, HWND_TOP, r.left, r.top - scale(2, dpi_), r.right - r.left, r.bottom - r.top + scale(4, dpi_),
                 SWP_SHOWWINDOW | SWP_NOACTIVATE);
    barLeft_ = r.left;
  }
  void separatorMove(int x) override {
    RECT client;
    GetClientRect(hwnd(), &client);
    const int32_t candidate = pixelsToTwips(sepLeft_ + x - dragOffset_);
    barLeft_ = twipsToPixels(notify::clampSplitter(candidate, pixelsToTwips(client.right)));
    RECT r{};
    GetWindowRect(bar_, &r);
    MapWindowPoints(nullptr, hwnd(), reinterpret_cast<POINT*>(&r), 2);
    SetWindowPos(bar_, HWND_TOP, barLeft_, r.top, r.right - r.left, r.bottom - r.top, SWP_NOACTIVATE);
  }
  void separatorUp() override {
    ShowWindow(bar_, SW_HIDE);
    sepLeft_ = barLeft_;
    layout();
  }

  // ---- the tree ----------------------------------------------------------------------------------
  void fillTree() {
    if (!tree_) return;
    const ui::TreeModel& model = presenter_.tree();
    filling_ = true;
    SendMessageW(tree_, WM_SETREDRAW, FALSE, 0);
    TreeView_DeleteAllItems(tree_);
    items_.clear();
    // Parents come before their children in position order.
    for (std::size_t p = 1; p <= model.count(); ++p) {
      const ui::NodeId node = model.at(p);
      const ui::NodeId parent = model.parent(node);
      TVINSERTSTRUCTW ins{};
      ins.hParent = parent == ui::kNoNode ? TVI_ROOT : itemOf(parent);
      ins.hInsertAfter = TVI_LAST;
      ins.item.mask = TVIF_TEXT | TVIF_PARAM;
      ins.item.pszText = const_cast<wchar_t*>(wz(model.text(node)));
      ins.item.lParam = static_cast<LPARAM>(node);
      items_.emplace_back(node, TreeView_InsertItem(tree_, &ins));
    }
    for (std::size_t p = 1; p <= model.count(); ++p) {
      const ui::NodeId node = model.at(p);
      if (model.expanded(node)) TreeView_Expand(tree_, itemOf(node), TVE_EXPAND);
    }
    SendMessageW(tree_, WM_SETREDRAW, TRUE, 0);
    InvalidateRect(tree_, nullptr, TRUE);
    filling_ = false;
  }
  HTREEITEM itemOf(ui::NodeId node) const {
    for (const auto& [n, item] : items_)
      if (n == node) return item;
    return nullptr;
  }
  void selectModelNode() {
    const ui::NodeId node = presenter_.tree().selectedNode();
    if (node == ui::kNoNode) return;
    filling_ = true;
    TreeView_SelectItem(tree_, itemOf(node));
    filling_ = false;
  }

  // ---- printing -----------------------------------------------------------------------------------
  static bool printerInstalled() {
    PRINTDLGW pd{};
    pd.lStructSize = sizeof pd;
    pd.Flags = PD_RETURNDEFAULT;
    if (!PrintDlgW(&pd)) return false;
    if (pd.hDevMode) GlobalFree(pd.hDevMode);
    if (pd.hDevNames) GlobalFree(pd.hDevNames);
    return true;
  }
  void noPrinter() {
    const ustring text = loadVtString(u"没有安装打印机，无法打印。请先安装打印机；打印预览不需要打印机。");
    MessageBoxW(hwnd(), wz(text), wz(loadVtString(u"打印")), MB_OK | MB_ICONEXCLAMATION);
  }
  // The visible columns as a printable list.
  void buildPrintList() {
    printList_ = std::make_unique<display::ListModel>();
    printList_->setColumnCount(2);
    printList_->setColumnWidth(1, notify::kNameWidth);
    printList_->setColumnWidth(2, notify::kStateWidth);
    printList_->setTitles((titles_.size() > 3 ? titles_[2] + u"\t" + titles_[3] : ustring()) + u"|");
    auto rows = std::make_shared<Collection>();
    const int32_t count = presenter_.gridRowCount();
    rows->reserve(static_cast<std::size_t>(std::max(0, count - 1)));
    for (int32_t r = 2; r <= count; ++r) rows->add(presenter_.cellText(r, 3) + u"\t" + presenter_.cellText(r, 4));
    printList_->setRows(rows);
    printList_->setRowCount(count);
  }

  ModuleHold hold_;
  notify::ServiceManagerPresenter presenter_;
  Separator sep_;
  HWND toolBar_ = nullptr, toolText_ = nullptr, faTree_ = nullptr, tree_ = nullptr, faList_ = nullptr;
  HWND list_ = nullptr, bar_ = nullptr;
  Font font_;
  UINT dpi_ = 96;
  std::vector<notify::ToolButton> buttons_;
  std::vector<ustring> titles_;
  std::vector<int32_t> widths_;
  std::vector<std::pair<ui::NodeId, HTREEITEM>> items_;
  ustring caption_, cell_;
  int sepLeft_ = 240, barLeft_ = 240, dragOffset_ = 0;
  bool filling_ = false;
  std::unique_ptr<display::ListModel> printList_;
  std::unique_ptr<FrmPreview> preview_;
};

// The window as a command sees it: checked (personal settings) and shown modal.
class ServiceCommandWindow final : public CommandWindow {
 public:
  ServiceCommandWindow(ModuleHold hold, notify::ServiceWindowKind kind, WindowFactory& windows)
      : form_(std::make_unique<FrmSmsManager>(std::move(hold), std::move(kind), windows)) {}
  bool isRelateEmp() override { return form_->presenter().isRelateEmp(); }
  void show(bool) override { form_->showModal(); }

 private:
  std::unique_ptr<FrmSmsManager> form_;
};

}  // namespace

std::unique_ptr<CommandWindow> makeSmsManagerWindow(ModuleHold hold, WindowFactory& windows) {
  return std::make_unique<ServiceCommandWindow>(std::move(hold), notify::serviceManagerKind(), windows);
}

std::unique_ptr<CommandWindow> makeUserSmsWindow(ModuleHold hold, WindowFactory& windows) {
  return std::make_unique<ServiceCommandWindow>(std::move(hold), notify::userSettingsKind(), windows);
}

}  // namespace lumo::win32
