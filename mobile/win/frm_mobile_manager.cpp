// The user-employee-mobile table on Win32: a modal, resizable window with a tool
// bar (Save, SetEmp, Refresh, Exit), a find box (Ctrl+F), the editable grid and
// a status bar counting the numbers in conflict. It draws the presenter's models
// and forwards the user's actions; the presenter decides everything.
#include <windows.h>
#include <commctrl.h>

#include <algorithm>
#include <map>
#include <memory>

#include "host/language.h"
#include "mobile/mobile_manager.h"
#include "mobile/win/windows.h"
#include "win32/controls.h"
#include "win32/edit_grid.h"
#include "win32/window.h"

namespace lumo::win32 {

using namespace mobile_manager;

namespace {

struct ToolDef {
  const char16_t* key;
  int id;
};
const ToolDef kTools[] = {{mobile::kToolSave, idSave},
                              {mobile::kToolSetEmp, idSetEmp},
                              {mobile::kToolRefresh, idRefresh},
                              {mobile::kToolExit, idExit}};
constexpr int idFindLabel = 1220, idFindBox = 1221;

class FrmMobileManager final : public Window, public mobile::MobileManagerView {
 public:
  FrmMobileManager(ModuleHold hold, WindowFactory& windows)
      : Window(u"frmMobileManager"), hold_(std::move(hold)), presenter_(*this, windows), grid_(presenter_.grid()) {}

  mobile::MobileManagerPresenter& presenter() { return presenter_; }

  void showModal() {
    INITCOMMONCONTROLSEX icc{sizeof icc, ICC_BAR_CLASSES | ICC_STANDARD_CLASSES};
    InitCommonControlsEx(&icc);
    createDialog(WS_OVERLAPPED | WS_CAPTION | WS_SYSMENU | WS_THICKFRAME | WS_MINIMIZEBOX | WS_MAXIMIZEBOX | DS_3DLOOK,
                 WS_EX_APPWINDOW | WS_EX_CONTROLPARENT, nullptr);
    ShowWindow(hwnd(), SW_SHOW);
    SetForegroundWindow(hwnd());
    UpdateWindow(hwnd());
    runModal(nullptr);
  }

  // MobileManagerView
  void setCaption(const ustring& text) override { setWindowText(hwnd(), text); }
  void setToolCaption(const ustring& key, const ustring& text, bool inBand) override {
    (inBand ? bandCaptions_ : listCaptions_)[key] = text;
    if (!inBand || !toolbar_) return;
    TBBUTTONINFOW info{};
    info.cbSize = sizeof info;
    info.dwMask = TBIF_TEXT;
    info.pszText = const_cast<wchar_t*>(wz(bandCaptions_[key]));
    SendMessageW(toolbar_, TB_SETBUTTONINFOW, static_cast<WPARAM>(idOf(key)), reinterpret_cast<LPARAM>(&info));
    SendMessageW(toolbar_, TB_AUTOSIZE, 0, 0);
  }
  bool toolEnabled(const ustring& key) const override {
    return SendMessageW(toolbar_, TB_ISBUTTONENABLED, static_cast<WPARAM>(idOf(key)), 0) != 0;
  }
  void setToolEnabled(const ustring& key, bool enabled) override {
    SendMessageW(toolbar_, TB_ENABLEBUTTON, static_cast<WPARAM>(idOf(key)), MAKELPARAM(enabled ? TRUE : FALSE, 0));
  }
  void setStatusText(const ustring& text) override {
    if (status_) SendMessageW(status_, SB_SETTEXTW, 0, reinterpret_cast<LPARAM>(wz(text)));
  }
  void close() override { PostMessageW(hwnd(), WM_CLOSE, 0, 0); }
  ObjectPtr formObject() override { return formFont_.form(); }

 private:
  static int idOf(const ustring& key) {
    for (const ToolDef& t : kTools)
      if (key == t.key) return t.id;
    return 0;
  }

  bool onMessage(UINT msg, WPARAM wParam, LPARAM lParam, LRESULT& result) override {
    switch (msg) {
      case WM_INITDIALOG: {
        dpi_ = windowDpi(hwnd());
        createControls();
        RECT want{0, 0, scale(560, dpi_), scale(520, dpi_)};
        AdjustWindowRectEx(&want, static_cast<DWORD>(GetWindowLongPtrW(hwnd(), GWL_STYLE)), FALSE,
                           static_cast<DWORD>(GetWindowLongPtrW(hwnd(), GWL_EXSTYLE)));
        const int w = want.right - want.left, h = want.bottom - want.top;
        SetWindowPos(hwnd(), nullptr, (GetSystemMetrics(SM_CXSCREEN) - w) / 2, (GetSystemMetrics(SM_CYSCREEN) - h) / 2,
                     w, h, SWP_NOZORDER | SWP_NOACTIVATE);
        presenter_.formLoad();
        // Once, after the load: the host's form-font service chooses the face, and
        // every font made before would be thrown away unseen.
        applyFont();
        layout();
        SetFocus(gridControl_.hwnd());
        result = FALSE;
        return true;
      }
      case WM_SIZE:
        if (toolbar_) SendMessageW(toolbar_, TB_AUTOSIZE, 0, 0);
        if (status_) SendMessageW(status_, WM_SIZE, 0, 0);
        layout();
        return true;
      case WM_GETMINMAXINFO: {
        auto* mm = reinterpret_cast<MINMAXINFO*>(lParam);
        mm->ptMinTrackSize.x = scale(420, dpi_);
        mm->ptMinTrackSize.y = scale(300, dpi_);
        return true;
      }
      case WM_COMMAND:
        onCommand(LOWORD(wParam));
        return true;
      case WM_CLOSE:
        if (!presenter_.queryUnload()) destroy();
        return true;
      case WM_DESTROY:
        presenter_.formUnload();
        return true;
      default:
        return false;
    }
  }

  bool preTranslate(MSG& msg) override {
    if (msg.message != WM_KEYDOWN) return false;
    if (msg.wParam == 'F' && GetKeyState(VK_CONTROL) < 0) {
      SetFocus(find_);
      SendMessageW(find_, EM_SETSEL, 0, -1);
      return true;
    }
    if ((msg.wParam == VK_RETURN && msg.hwnd == find_) || msg.wParam == VK_F3) {
      findNext();
      return true;
    }
    // The grid and its edit box take Enter, Esc and Tab for themselves.
    if ((msg.hwnd == gridControl_.hwnd() || msg.hwnd == gridControl_.editBox()) &&
        (msg.wParam == VK_RETURN || msg.wParam == VK_ESCAPE || msg.wParam == VK_TAB)) {
      TranslateMessage(&msg);
      DispatchMessageW(&msg);
      return true;
    }
    return false;
  }

  void onCommand(int id) {
    switch (id) {
      case idSave: presenter_.toolClick(mobile::kToolSave); break;
      case idSetEmp: presenter_.toolClick(mobile::kToolSetEmp); break;
      case idRefresh: presenter_.toolClick(mobile::kToolRefresh); break;
      case idExit:
      case IDCANCEL: presenter_.toolClick(mobile::kToolExit); break;
      default: break;
    }
  }

  void findNext() {
    const int32_t row = presenter_.findRow(windowText(find_), grid_.activeRow());
    if (row == 0) return;
    grid_.setActive(row, mobile::colUser);
    SetFocus(gridControl_.hwnd());
  }

  void createControls() {
    toolbar_ = createControl(hwnd(), TOOLBARCLASSNAMEW,
                             WS_VISIBLE | TBSTYLE_FLAT | TBSTYLE_LIST | TBSTYLE_TOOLTIPS | CCS_TOP | CCS_NODIVIDER, 0,
                             idToolBar);
    SendMessageW(toolbar_, TB_BUTTONSTRUCTSIZE, sizeof(TBBUTTON), 0);
    SendMessageW(toolbar_, TB_SETEXTENDEDSTYLE, 0, TBSTYLE_EX_MIXEDBUTTONS);
    SendMessageW(toolbar_, TB_SETBITMAPSIZE, 0, MAKELPARAM(0, 0));
    for (const ToolDef& t : kTools) {
      TBBUTTON b{};
      b.iBitmap = I_IMAGENONE;
      b.idCommand = t.id;
      b.fsState = TBSTATE_ENABLED;
      b.fsStyle = BTNS_BUTTON | BTNS_AUTOSIZE | BTNS_SHOWTEXT;
      b.iString = reinterpret_cast<INT_PTR>(reinterpret_cast<const wchar_t*>(t.key));
      SendMessageW(toolbar_, TB_ADDBUTTONSW, 1, reinterpret_cast<LPARAM>(&b));
    }
    SendMessageW(toolbar_, TB_AUTOSIZE, 0, 0);
    findLabel_ = createControl(hwnd(), L"STATIC", WS_VISIBLE | SS_LEFT | SS_NOPREFIX, 0, idFindLabel,
                               loadVtString(u"查找用户或职员:"));
    find_ = createControl(hwnd(), L"EDIT", WS_VISIBLE | WS_TABSTOP | ES_AUTOHSCROLL, WS_EX_CLIENTEDGE, idFindBox);
    gridControl_.create(hwnd(), idGrid);
    gridControl_.setColumnWidths({140, 140, 170, 0});  // the employee id is the key, not shown
    status_ = createControl(hwnd(), STATUSCLASSNAMEW, WS_VISIBLE | SBARS_SIZEGRIP, 0, idStatus);
  }

  void applyFont() {
    font_ = messageFont(dpi_, formFont_.face(), formFont_.charset());
    if (!font_.get()) return;
    for (HWND c = GetWindow(hwnd(), GW_CHILD); c; c = GetWindow(c, GW_HWNDNEXT))
      SendMessageW(c, WM_SETFONT, reinterpret_cast<WPARAM>(font_.get()), TRUE);
    gridControl_.setFont(font_.get());
    if (toolbar_) SendMessageW(toolbar_, TB_AUTOSIZE, 0, 0);
  }

  void layout() {
    if (!toolbar_ || !status_) return;
    RECT client{}, tb{}, sb{};
    GetClientRect(hwnd(), &client);
    GetWindowRect(toolbar_, &tb);
    GetWindowRect(status_, &sb);
    const int tbH = tb.bottom - tb.top, sbH = sb.bottom - sb.top;
    auto s = [&](int v) { return scale(v, dpi_); };
    const int margin = s(6), rowH = s(23), labelW = s(150);
    const int findY = tbH + margin;
    MoveWindow(findLabel_, margin, findY + s(4), labelW, rowH - s(4), TRUE);
    MoveWindow(find_, margin + labelW, findY, std::min<int>(s(200), client.right - 2 * margin - labelW), rowH, TRUE);
    const int gridY = findY + rowH + margin;
    MoveWindow(gridControl_.hwnd(), 0, gridY, client.right, std::max(0, static_cast<int>(client.bottom) - sbH - gridY),
               TRUE);
  }

  ModuleHold hold_;
  mobile::MobileManagerPresenter presenter_;
  ui::EditGrid& grid_;
  EditGridControl gridControl_{grid_};
  HWND toolbar_ = nullptr, status_ = nullptr, find_ = nullptr, findLabel_ = nullptr;
  std::map<ustring, ustring> listCaptions_, bandCaptions_;
  FormFont formFont_;
  Font font_;
  UINT dpi_ = 96;
};

class MobileManagerCommandWindow final : public CommandWindow {
 public:
  MobileManagerCommandWindow(ModuleHold hold, WindowFactory& windows)
      : form_(std::make_unique<FrmMobileManager>(std::move(hold), windows)) {}
  // The table is opened without the employee check.
  bool isRelateEmp() override { return true; }
  void show(bool) override { form_->showModal(); }

 private:
  std::unique_ptr<FrmMobileManager> form_;
};

}  // namespace

std::unique_ptr<CommandWindow> makeMobileManagerWindow(ModuleHold hold, WindowFactory& windows) {
  return std::make_unique<MobileManagerCommandWindow>(std::move(hold), windows);
}

}  // namespace lumo::win32
