// The notification options on Win32: a small modal dialog with the two switches
// in their frames and OK and Cancel. Every way of closing it (the buttons, Esc,
// the title bar) asks the presenter first, which may keep it open.
#include <windows.h>
#include <windowsx.h>

#include "notify/set_use_flag.h"
#include "notify/win/windows.h"
#include "win32/controls.h"
#include "win32/window.h"

namespace lumo::win32 {

using notify::OptionControl;
using namespace set_use_flag;

namespace {

class FrmSetUseFlag final : public Window, public notify::SetUseFlagView {
 public:
  FrmSetUseFlag() : Window(u"frmSetUseFlag"), presenter_(*this) {}

  void showModal(HWND owner) {
    createDialog(WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME | DS_3DLOOK,
                 WS_EX_DLGMODALFRAME | WS_EX_CONTROLPARENT, owner);
    ShowWindow(hwnd(), SW_SHOW);
    runModal(owner);
  }

  // SetUseFlagView
  void setCaption(OptionControl c, const ustring& text) override {
    if (HWND h = control(c)) setWindowText(h, text);
  }
  bool useChecked() const override { return Button_GetCheck(chkFlag_) == BST_CHECKED; }
  void setUseChecked(bool on) override { Button_SetCheck(chkFlag_, on ? BST_CHECKED : BST_UNCHECKED); }
  bool auditChecked() const override { return Button_GetCheck(chkFlagAudit_) == BST_CHECKED; }
  void setAuditChecked(bool on) override { Button_SetCheck(chkFlagAudit_, on ? BST_CHECKED : BST_UNCHECKED); }
  void setOkEnabled(bool enabled) override { EnableWindow(cmdOk_, enabled); }
  void close() override {
    if (!presenter_.queryUnload()) destroy();
  }

 private:
  HWND control(OptionControl c) const {
    switch (c) {
      case OptionControl::Form:
        return hwnd();
      case OptionControl::fam1:
        return fam1_;
      case OptionControl::fam2:
        return fam2_;
      case OptionControl::chkFlag:
        return chkFlag_;
      case OptionControl::chkFlagAudit:
        return chkFlagAudit_;
      case OptionControl::cmdOk:
        return cmdOk_;
      case OptionControl::cmdCancel:
        return cmdCancel_;
    }
    return nullptr;
  }

  bool onMessage(UINT msg, WPARAM wParam, LPARAM, LRESULT& result) override {
    switch (msg) {
      case WM_INITDIALOG: {
        dpi_ = windowDpi(hwnd());
        fam1_ = createControl(hwnd(), L"BUTTON", WS_VISIBLE | BS_GROUPBOX, 0, idFam1);
        chkFlag_ = createControl(hwnd(), L"BUTTON", WS_VISIBLE | WS_TABSTOP | WS_GROUP | BS_AUTOCHECKBOX | BS_MULTILINE,
                                 0, idChkFlag);
        fam2_ = createControl(hwnd(), L"BUTTON", WS_VISIBLE | BS_GROUPBOX, 0, idFam2);
        chkFlagAudit_ = createControl(
            hwnd(), L"BUTTON", WS_VISIBLE | WS_TABSTOP | WS_GROUP | BS_AUTOCHECKBOX | BS_MULTILINE, 0, idChkFlagAudit);
        cmdOk_ = createControl(hwnd(), L"BUTTON", WS_VISIBLE | WS_TABSTOP | WS_GROUP | BS_DEFPUSHBUTTON, 0, idCmdOk);
        cmdCancel_ = createControl(hwnd(), L"BUTTON", WS_VISIBLE | WS_TABSTOP | BS_PUSHBUTTON, 0, idCmdCancel);
        font_ = messageFont(dpi_);
        for (HWND c = GetWindow(hwnd(), GW_CHILD); c; c = GetWindow(c, GW_HWNDNEXT))
          SendMessageW(c, WM_SETFONT, reinterpret_cast<WPARAM>(font_.get()), TRUE);
        layout();
        presenter_.formLoad();
        SetFocus(chkFlag_);
        result = FALSE;
        return true;
      }
      case WM_COMMAND: {
        const int id = LOWORD(wParam), code = HIWORD(wParam);
        if (id == IDCANCEL)
          presenter_.cmdCancelClick();
        else if (id == idCmdCancel && code == BN_CLICKED)
          presenter_.cmdCancelClick();
        else if ((id == idCmdOk || id == IDOK) && code == BN_CLICKED)
          presenter_.cmdOkClick();
        else if (id == idChkFlag && code == BN_CLICKED)
          presenter_.chkFlagClick();
        else if (id == idChkFlagAudit && code == BN_CLICKED)
          presenter_.chkFlagAuditClick();
        return true;
      }
      case WM_CLOSE:
        close();
        return true;
      default:
        return false;
    }
  }

  void layout() {
    auto s = [&](int v) { return scale(v, dpi_); };
    const int W = s(460), margin = s(10), frameH = s(60), buttonW = s(80), buttonH = s(25);
    RECT want{0, 0, W, margin + 2 * frameH + margin + buttonH + margin + s(6)};
    AdjustWindowRectEx(&want, static_cast<DWORD>(GetWindowLongPtrW(hwnd(), GWL_STYLE)), FALSE,
                       static_cast<DWORD>(GetWindowLongPtrW(hwnd(), GWL_EXSTYLE)));
    RECT owner{};
    HWND parent = GetWindow(hwnd(), GW_OWNER);
    if (parent)
      GetWindowRect(parent, &owner);
    else
      owner = RECT{0, 0, GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN)};
    const int w = want.right - want.left, h = want.bottom - want.top;
    SetWindowPos(hwnd(), nullptr, (owner.left + owner.right - w) / 2, (owner.top + owner.bottom - h) / 2, w, h,
                 SWP_NOZORDER | SWP_NOACTIVATE);
    MoveWindow(fam1_, margin, margin, W - 2 * margin, frameH, FALSE);
    MoveWindow(chkFlag_, margin + s(12), margin + s(20), W - 2 * margin - s(24), s(32), FALSE);
    const int y2 = margin + frameH + s(6);
    MoveWindow(fam2_, margin, y2, W - 2 * margin, frameH, FALSE);
    MoveWindow(chkFlagAudit_, margin + s(12), y2 + s(20), W - 2 * margin - s(24), s(32), FALSE);
    const int by = y2 + frameH + margin;
    MoveWindow(cmdOk_, W - margin - 2 * buttonW - s(8), by, buttonW, buttonH, FALSE);
    MoveWindow(cmdCancel_, W - margin - buttonW, by, buttonW, buttonH, FALSE);
  }

  notify::SetUseFlagPresenter presenter_;
  HWND fam1_ = nullptr, fam2_ = nullptr, chkFlag_ = nullptr, chkFlagAudit_ = nullptr, cmdOk_ = nullptr,
       cmdCancel_ = nullptr;
  Font font_;
  UINT dpi_ = 96;
};

}  // namespace

void showSetUseFlag(HWND owner) {
  FrmSetUseFlag dialog;
  dialog.showModal(owner);
}

}  // namespace lumo::win32
