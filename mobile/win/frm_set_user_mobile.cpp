// The personal mobile number dialog on Win32: a small modal dialog that shows
// the presenter's texts and forwards the number box and the buttons to it.
//
// A failing save is not caught on the way: it leaves the presenter, reaches the
// window base's guard, which reports it once through the add-in's error path,
// and the dialog stays as it was.
#include <windows.h>

#include <algorithm>
#include <memory>

#include "mobile/set_user_mobile.h"
#include "mobile/win/windows.h"
#include "win32/controls.h"
#include "win32/window.h"

namespace lumo::win32 {

using mobile::UserMobileControl;
using namespace set_user_mobile;

namespace {

class FrmSetUserMobile final : public Window, public mobile::SetUserMobileView {
 public:
  explicit FrmSetUserMobile(ModuleHold hold) : Window(u"frmSetUserMobile"), hold_(std::move(hold)), presenter_(*this) {}

  mobile::SetUserMobilePresenter& presenter() { return presenter_; }

  // Builds the dialog (its load runs) and runs it modal with no owner; returns
  // once it has been closed.
  void showModal() {
    createDialog(WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME | DS_3DLOOK,
                 WS_EX_DLGMODALFRAME | WS_EX_CONTROLPARENT | WS_EX_APPWINDOW, nullptr);
    ShowWindow(hwnd(), SW_SHOW);
    SetForegroundWindow(hwnd());
    runModal(nullptr);
  }

  // SetUserMobileView
  void setCaption(UserMobileControl c, const ustring& text) override {
    if (HWND h = control(c)) setWindowText(h, text);
  }
  void setUserName(const ustring& text) override { setWindowText(userName_, text); }
  void setEmployeeName(const ustring& text) override { setWindowText(emp_, text); }
  ustring mobileText() const override { return windowText(mobile_); }
  void setMobileText(const ustring& text) override {
    ++silent_;
    setWindowText(mobile_, text);
    --silent_;
  }
  void setOkEnabled(bool enabled) override { EnableWindow(ok_, enabled); }
  void close() override { SendMessageW(hwnd(), WM_CLOSE, 0, 0); }
  ObjectPtr formObject() override { return formFont_.form(); }

 private:
  bool onMessage(UINT msg, WPARAM wParam, LPARAM, LRESULT& result) override {
    switch (msg) {
      case WM_INITDIALOG:
        dpi_ = windowDpi(hwnd());
        createControls();
        presenter_.formLoad();
        applyFont();
        layout();
        SetFocus(mobile_);
        SendMessageW(mobile_, EM_SETSEL, 0, -1);
        result = FALSE;
        return true;
      case WM_COMMAND:
        onCommand(LOWORD(wParam), HIWORD(wParam));
        return true;
      case WM_CLOSE:
        // Asked before any closing; a failing save on Yes leaves through the guard
        // and the dialog stays.
        if (!presenter_.queryUnload()) destroy();
        return true;
      default:
        return false;
    }
  }

  void onCommand(int id, int code) {
    switch (id) {
      case IDOK:
        // Enter reaches here as well: only an enabled OK saves.
        if (IsWindowEnabled(ok_)) presenter_.cmdOkClick();
        break;
      case IDCANCEL:
        presenter_.cmdCancelClick();
        break;
      case idMobile:
        if (code == EN_CHANGE && !silent_) presenter_.mobileChanged();
        break;
      default:
        break;
    }
  }

  void createControls() {
    frame_ = createControl(hwnd(), L"BUTTON", WS_VISIBLE | BS_GROUPBOX, 0, idFrame1);
    lblUser_ = createControl(hwnd(), L"STATIC", WS_VISIBLE | SS_LEFT, 0, idLblUser);
    userName_ = createControl(hwnd(), L"EDIT", WS_VISIBLE | WS_TABSTOP | ES_READONLY | ES_AUTOHSCROLL,
                              WS_EX_CLIENTEDGE, idUserName);
    lblEmp_ = createControl(hwnd(), L"STATIC", WS_VISIBLE | SS_LEFT, 0, idLblEmp);
    emp_ = createControl(hwnd(), L"EDIT", WS_VISIBLE | WS_TABSTOP | ES_READONLY | ES_AUTOHSCROLL, WS_EX_CLIENTEDGE,
                         idEmp);
    lblMobile_ = createControl(hwnd(), L"STATIC", WS_VISIBLE | SS_LEFT, 0, idLblMobile);
    mobile_ = createControl(hwnd(), L"EDIT", WS_VISIBLE | WS_TABSTOP | ES_AUTOHSCROLL, WS_EX_CLIENTEDGE, idMobile);
    // The presenter says which typed characters the number box takes.
    filterChars(mobile_, [](char16_t c) { return mobile::acceptMobileKey(c); });
    ok_ = createControl(hwnd(), L"BUTTON", WS_VISIBLE | WS_TABSTOP | BS_DEFPUSHBUTTON, 0, IDOK);
    cancel_ = createControl(hwnd(), L"BUTTON", WS_VISIBLE | WS_TABSTOP | BS_PUSHBUTTON, 0, IDCANCEL);
    SetWindowPos(frame_, HWND_BOTTOM, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
  }

  void applyFont() {
    font_ = messageFont(dpi_, formFont_.face(), formFont_.charset());
    if (!font_.get()) return;
    for (HWND c = GetWindow(hwnd(), GW_CHILD); c; c = GetWindow(c, GW_HWNDNEXT))
      SendMessageW(c, WM_SETFONT, reinterpret_cast<WPARAM>(font_.get()), TRUE);
  }

  void layout() {
    auto s = [&](int v) { return scale(v, dpi_); };
    const int W = s(360), margin = s(10), pad = s(14), rowH = s(23), gap = s(10), labelW = s(100);
    const int buttonW = s(84), buttonH = s(26);
    const int frameH = pad + 3 * rowH + 2 * gap + pad;
    RECT want{0, 0, W, margin + frameH + gap + buttonH + margin};
    AdjustWindowRectEx(&want, static_cast<DWORD>(GetWindowLongPtrW(hwnd(), GWL_STYLE)), FALSE,
                       static_cast<DWORD>(GetWindowLongPtrW(hwnd(), GWL_EXSTYLE)));
    const int w = want.right - want.left, h = want.bottom - want.top;
    SetWindowPos(hwnd(), nullptr, (GetSystemMetrics(SM_CXSCREEN) - w) / 2, (GetSystemMetrics(SM_CYSCREEN) - h) / 2, w,
                 h, SWP_NOZORDER | SWP_NOACTIVATE);
    MoveWindow(frame_, margin, margin - s(4), W - 2 * margin, frameH + s(4), TRUE);
    const int x = margin + pad, boxX = x + labelW, boxW = W - margin - pad - boxX;
    const HWND rows[3][2] = {{lblUser_, userName_}, {lblEmp_, emp_}, {lblMobile_, mobile_}};
    for (int i = 0; i < 3; ++i) {
      const int y = margin + pad + i * (rowH + gap);
      MoveWindow(rows[i][0], x, y + s(4), labelW - s(4), rowH - s(4), TRUE);
      MoveWindow(rows[i][1], boxX, y, boxW, rowH, TRUE);
    }
    const int by = margin + frameH + gap;
    MoveWindow(cancel_, W - margin - buttonW, by, buttonW, buttonH, TRUE);
    MoveWindow(ok_, W - margin - 2 * buttonW - s(8), by, buttonW, buttonH, TRUE);
  }

  HWND control(UserMobileControl c) const {
    switch (c) {
      case UserMobileControl::Form: return hwnd();
      case UserMobileControl::lblUser: return lblUser_;
      case UserMobileControl::lblEmp: return lblEmp_;
      case UserMobileControl::lblMobile: return lblMobile_;
      case UserMobileControl::cmdOk: return ok_;
      case UserMobileControl::cmdCancel: return cancel_;
    }
    return nullptr;
  }

  ModuleHold hold_;
  mobile::SetUserMobilePresenter presenter_;
  HWND frame_ = nullptr, lblUser_ = nullptr, userName_ = nullptr, lblEmp_ = nullptr, emp_ = nullptr;
  HWND lblMobile_ = nullptr, mobile_ = nullptr, ok_ = nullptr, cancel_ = nullptr;
  FormFont formFont_;
  Font font_;
  UINT dpi_ = 96;
  int silent_ = 0;
};

class SetUserMobileCommandWindow final : public CommandWindow {
 public:
  explicit SetUserMobileCommandWindow(ModuleHold hold) : form_(std::make_unique<FrmSetUserMobile>(std::move(hold))) {}
  bool isRelateEmp() override { return form_->presenter().isRelateEmp(); }
  void show(bool) override { form_->showModal(); }

 private:
  std::unique_ptr<FrmSetUserMobile> form_;
};

}  // namespace

std::unique_ptr<CommandWindow> makeSetUserMobileWindow(ModuleHold hold) {
  return std::make_unique<SetUserMobileCommandWindow>(std::move(hold));
}

}  // namespace lumo::win32
