// frmMobileLog: the SMS log. A tool bar 'ab' (filter, list, resend, and the row
// count), and an owner-data list of the receivers the filter found.
#include <windows.h>
#include <commctrl.h>

#include <memory>

#include "automation/win/wide.h"
#include "smslog/mobile_log.h"
#include "smslog/win/frm_filter.h"
#include "smslog/win/windows.h"
#include "win32/controls.h"
#include "win32/list_view.h"
#include "win32/window.h"

namespace lumo::win32 {
namespace {

using namespace mobile_log;
using smslog::Column;
using smslog::kColumnCount;
using smslog::kToolCount;
using smslog::Tool;

// Posted on the first activation: the filter comes up once the window is on screen.
constexpr UINT kFirstActivation = WM_APP + 1;

// Column widths at 96 DPI.
constexpr int kWidths[kColumnCount] = {150, 80, 100, 80, 320, 70, 140, 70};

class FrmMobileLog final : public Window, public smslog::MobileLogView {
 public:
  FrmMobileLog(ModuleHold hold, WindowFactory& windows)
      : Window(u"frmMobileLog"),
        hold_(std::move(hold)),
        presenter_(*this, windows, std::make_shared<smslog::HostLogSource>(), collation_) {}

  // Creates the window (Form_Load runs), shows it and returns when it has been closed.
  void showModal() {
    INITCOMMONCONTROLSEX icc{sizeof icc, ICC_LISTVIEW_CLASSES | ICC_BAR_CLASSES | ICC_DATE_CLASSES |
                                             ICC_STANDARD_CLASSES};
    InitCommonControlsEx(&icc);
    create(WindowClass{.name = kClass, .background = reinterpret_cast<HBRUSH>(COLOR_BTNFACE + 1),
                       .icon = IDI_APPLICATION},
           L"", WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN, 0, CW_USEDEFAULT, CW_USEDEFAULT, 900, 560, nullptr, nullptr);
    ShowWindow(hwnd(), SW_SHOW);
    UpdateWindow(hwnd());
    SetForegroundWindow(hwnd());
    runModal(nullptr);
  }

  // MobileLogView
  void setCaption(const ustring& text) override { setWindowText(hwnd(), text); }
  void setToolCaptions(const std::array<ustring, kToolCount>& captions) override { tools_ = captions; }
  void setColumnTitles(const std::array<ustring, kColumnCount>& titles) override { titles_ = titles; }
  std::optional<smslog::LogFilter> runFilter(const smslog::LogFilter& conditions) override {
    return runFilterDialog(hwnd(), conditions);
  }
  void showRowCount(std::size_t rows) override {
    // A selection of the rows before goes with them (asked first: clearing every
    // item's state walks them all).
    if (ListView_GetSelectedCount(list_) > 0) ListView_SetItemState(list_, -1, 0, LVIS_SELECTED);
    ListView_SetItemCountEx(list_, static_cast<int>(rows), 0);
    InvalidateRect(list_, nullptr, TRUE);
  }
  void setCountText(const ustring& text) override {
    setWindowText(count_, text);
    layout();
  }
  void showSort(std::optional<Column> column, bool descending) override {
    if (!list_) return;
    for (std::size_t c = 0; c < kColumnCount; ++c)
      setSortArrow(list_, static_cast<int>(c),
                   column != static_cast<Column>(c) ? SortArrow::None
                   : descending                      ? SortArrow::Down
                                                     : SortArrow::Up);
  }
  std::vector<std::size_t> selectedRows() const override {
    std::vector<std::size_t> rows;
    for (int i = ListView_GetNextItem(list_, -1, LVNI_SELECTED); i >= 0; i = ListView_GetNextItem(list_, i, LVNI_SELECTED))
      rows.push_back(static_cast<std::size_t>(i));
    return rows;
  }

 private:
  bool onMessage(UINT msg, WPARAM wParam, LPARAM lParam, LRESULT& result) override {
    switch (msg) {
      case WM_CREATE:
        dpi_ = windowDpi(hwnd());
        presenter_.formLoad();
        createControls();
        layout();
        result = 0;
        return true;
      case WM_ACTIVATE:
        if (LOWORD(wParam) != WA_INACTIVE && !activatedOnce_) {
          activatedOnce_ = true;
          PostMessageW(hwnd(), kFirstActivation, 0, 0);
        }
        return false;
      case kFirstActivation:
        presenter_.formActivate();
        return true;
      case WM_SIZE:
        layout();
        return true;
      case WM_COMMAND: {
        const int id = LOWORD(wParam);
        if (id >= kToolIdBase && id < kToolIdBase + static_cast<int>(kToolCount)) {
          presenter_.toolClick(static_cast<Tool>(id - kToolIdBase));
          return true;
        }
        if (id == IDCANCEL) {  // Esc
          DestroyWindow(hwnd());
          return true;
        }
        return false;
      }
      case WM_NOTIFY:
        return notify(reinterpret_cast<NMHDR*>(lParam), result);
      default:
        return false;
    }
  }

  bool preTranslate(MSG& msg) override {
    if (msg.message == WM_KEYDOWN && msg.wParam == VK_ESCAPE) {
      DestroyWindow(hwnd());
      return true;
    }
    return false;
  }

  bool notify(NMHDR* nm, LRESULT&) {
    if (nm->hwndFrom != list_) return false;
    if (nm->code == LVN_GETDISPINFOW) {
      auto* di = reinterpret_cast<NMLVDISPINFOW*>(nm);
      const auto row = static_cast<std::size_t>(di->item.iItem);
      if ((di->item.mask & LVIF_TEXT) && row < presenter_.rowCount()) {
        cell_ = presenter_.cell(row, static_cast<Column>(di->item.iSubItem));
        di->item.pszText = const_cast<wchar_t*>(wz(cell_));
      }
      return true;
    }
    if (nm->code == LVN_COLUMNCLICK) {
      presenter_.columnClick(static_cast<Column>(reinterpret_cast<NMLISTVIEW*>(nm)->iSubItem));
      return true;
    }
    if (nm->code == LVN_KEYDOWN && reinterpret_cast<NMLVKEYDOWN*>(nm)->wVKey == VK_ESCAPE) {
      DestroyWindow(hwnd());
      return true;
    }
    return false;
  }

  void createControls() {
    font_ = messageFont(dpi_);
    toolBar_ = createControl(hwnd(), TOOLBARCLASSNAMEW,
                             WS_VISIBLE | TBSTYLE_FLAT | TBSTYLE_LIST | CCS_TOP | CCS_NODIVIDER | TBSTYLE_TOOLTIPS, 0,
                             kToolBarId);
    SendMessageW(toolBar_, WM_SETFONT, reinterpret_cast<WPARAM>(font_.get()), FALSE);
    SendMessageW(toolBar_, TB_BUTTONSTRUCTSIZE, sizeof(TBBUTTON), 0);
    SendMessageW(toolBar_, TB_SETEXTENDEDSTYLE, 0, TBSTYLE_EX_MIXEDBUTTONS);
    SendMessageW(toolBar_, TB_LOADIMAGES, IDB_STD_SMALL_COLOR, reinterpret_cast<LPARAM>(HINST_COMMCTRL));
    const int images[kToolCount] = {STD_FIND, STD_PRINTPRE, STD_REDOW};
    TBBUTTON buttons[kToolCount]{};
    for (std::size_t i = 0; i < kToolCount; ++i) {
      buttons[i].iBitmap = images[i];
      buttons[i].idCommand = kToolIdBase + static_cast<int>(i);
      buttons[i].fsState = TBSTATE_ENABLED;
      buttons[i].fsStyle = BTNS_BUTTON | BTNS_AUTOSIZE | BTNS_SHOWTEXT;
      buttons[i].iString = reinterpret_cast<INT_PTR>(wz(tools_[i]));
    }
    SendMessageW(toolBar_, TB_ADDBUTTONSW, kToolCount, reinterpret_cast<LPARAM>(buttons));
    SendMessageW(toolBar_, TB_AUTOSIZE, 0, 0);
    // The row count stands in the tool bar, after the buttons.
    count_ = createControl(toolBar_, L"STATIC", WS_VISIBLE | SS_LEFT | SS_NOPREFIX | SS_CENTERIMAGE, 0, kCountId);
    SendMessageW(count_, WM_SETFONT, reinterpret_cast<WPARAM>(font_.get()), FALSE);

    list_ = createControl(hwnd(), WC_LISTVIEWW, WS_VISIBLE | WS_TABSTOP | LVS_REPORT | LVS_OWNERDATA | LVS_SHOWSELALWAYS,
                          WS_EX_CLIENTEDGE, kListId);
    ListView_SetExtendedListViewStyle(list_, LVS_EX_FULLROWSELECT | LVS_EX_GRIDLINES | LVS_EX_DOUBLEBUFFER);
    SendMessageW(list_, WM_SETFONT, reinterpret_cast<WPARAM>(font_.get()), FALSE);
    for (std::size_t c = 0; c < kColumnCount; ++c) {
      LVCOLUMNW lc{};
      lc.mask = LVCF_TEXT | LVCF_WIDTH | LVCF_FMT;
      lc.fmt = LVCFMT_LEFT;
      lc.cx = scale(kWidths[c], dpi_);
      lc.pszText = const_cast<wchar_t*>(wz(titles_[c]));
      ListView_InsertColumn(list_, static_cast<int>(c), &lc);
    }
  }

  void layout() {
    if (!list_) return;
    RECT client;
    GetClientRect(hwnd(), &client);
    SendMessageW(toolBar_, TB_AUTOSIZE, 0, 0);
    RECT bar;
    GetWindowRect(toolBar_, &bar);
    const int barH = bar.bottom - bar.top;
    // The count after the last button.
    RECT last{};
    SendMessageW(toolBar_, TB_GETITEMRECT, kToolCount - 1, reinterpret_cast<LPARAM>(&last));
    const int countX = last.right + scale(16, dpi_);
    MoveWindow(count_, countX, 0, std::max(0, static_cast<int>(client.right) - countX - scale(8, dpi_)), barH, TRUE);
    const smslog::Rect r =
        smslog::MobileLogPresenter::listRect(0, barH, client.right, std::max(0, static_cast<int>(client.bottom) - barH),
                                             static_cast<int32_t>(dpi_));
    MoveWindow(list_, r.left, r.top, r.width, r.height, TRUE);
  }

  ModuleHold hold_;
  UserCollation collation_;  // before the presenter, which keeps it
  smslog::MobileLogPresenter presenter_;
  std::array<ustring, kToolCount> tools_;
  std::array<ustring, kColumnCount> titles_;
  UINT dpi_ = 96;
  Font font_;
  HWND toolBar_ = nullptr, count_ = nullptr, list_ = nullptr;
  ustring cell_;
  bool activatedOnce_ = false;
};

class MobileLogCommandWindow final : public CommandWindow {
 public:
  MobileLogCommandWindow(ModuleHold hold, WindowFactory& windows)
      : form_(std::make_unique<FrmMobileLog>(std::move(hold), windows)) {}
  // The log asks nothing of the user's employee.
  bool isRelateEmp() override { return true; }
  void show(bool) override { form_->showModal(); }

 private:
  std::unique_ptr<FrmMobileLog> form_;
};

}  // namespace

std::unique_ptr<CommandWindow> makeMobileLogWindow(ModuleHold hold, WindowFactory& windows) {
  return std::make_unique<MobileLogCommandWindow>(std::move(hold), windows);
}

}  // namespace lumo::win32
