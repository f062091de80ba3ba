#include "sms/win/frm_send_sms.h"

#include <windowsx.h>

#include <algorithm>
#include <vector>

#include "automation/error.h"
#include "host/services.h"

namespace lumo::sms::win {

using win32::scale;
using win32::wz;

namespace {

// ---- keyboard for a window in someone else's message loop -------------------------------

// The open send windows of this thread and the hook that lets them see their keys.
std::vector<HWND>& openWindows() {
  static std::vector<HWND> windows;
  return windows;
}
HHOOK g_hook = nullptr;

LRESULT CALLBACK getMessageHook(int code, WPARAM wParam, LPARAM lParam) {
  if (code == HC_ACTION && wParam == PM_REMOVE) {
    MSG* msg = reinterpret_cast<MSG*>(lParam);
    if (msg->message >= WM_KEYFIRST && msg->message <= WM_KEYLAST && msg->hwnd) {
      for (HWND w : openWindows()) {
        if ((msg->hwnd == w || IsChild(w, msg->hwnd)) && IsDialogMessageW(w, msg)) {
          // Handled as a dialog key: the host's loop gets nothing to dispatch.
          msg->message = WM_NULL;
          msg->wParam = 0;
          msg->lParam = 0;
          break;
        }
      }
    }
  }
  return CallNextHookEx(g_hook, code, wParam, lParam);
}

void windowOpened(HWND hwnd) {
  openWindows().push_back(hwnd);
  if (!g_hook) g_hook = SetWindowsHookExW(WH_GETMESSAGE, getMessageHook, nullptr, GetCurrentThreadId());
}

void windowClosed(HWND hwnd) {
  auto& w = openWindows();
  w.erase(std::remove(w.begin(), w.end(), hwnd), w.end());
  if (w.empty() && g_hook) {
    UnhookWindowsHookEx(g_hook);
    g_hook = nullptr;
  }
}

// An empty dialog template: the controls are created in WM_INITDIALOG.
struct alignas(4) EmptyTemplate {
  DLGTEMPLATE dlg;
  WORD menu, windowClass, title;
};

void drawAddButton(const DRAWITEMSTRUCT& di, UINT dpi, HFONT font) {
  HGDIOBJ oldFont = font ? SelectObject(di.hDC, font) : nullptr;
  RECT r = di.rcItem;
  const bool pushed = (di.itemState & ODS_SELECTED) != 0;
  const bool disabled = (di.itemState & ODS_DISABLED) != 0;
  DrawFrameControl(di.hDC, &r, DFC_BUTTON, DFCS_BUTTONPUSH | (pushed ? DFCS_PUSHED : 0));
  const int shift = pushed ? 1 : 0;
  // The picture (an arrow pointing right) and the caption, centred together.
  const ustring caption = win32::windowText(di.hwndItem);
  SIZE extent{};
  GetTextExtentPoint32W(di.hDC, wz(caption), static_cast<int>(caption.size()), &extent);
  const int h = scale(10, dpi), space = scale(4, dpi);
  const int width = static_cast<int>(r.right - r.left), content = h + space + static_cast<int>(extent.cx);
  const int left = static_cast<int>(r.left) + std::max(scale(4, dpi), (width - content) / 2) + shift;
  const int midY = (r.top + r.bottom) / 2 + shift;
  HBRUSH brush = GetSysColorBrush(disabled ? COLOR_GRAYTEXT : COLOR_BTNTEXT);
  RECT shaft{left, midY - std::max(1, h / 6), left + h / 2 + 1, midY + std::max(1, h / 6) + 1};
  FillRect(di.hDC, &shaft, brush);
  POINT head[3] = {{left + h / 2, midY - h / 2}, {left + h, midY}, {left + h / 2, midY + h / 2}};
  HGDIOBJ oldBrush = SelectObject(di.hDC, brush);
  HGDIOBJ oldPen = SelectObject(di.hDC, GetStockObject(NULL_PEN));
  Polygon(di.hDC, head, 3);
  SelectObject(di.hDC, oldPen);
  SelectObject(di.hDC, oldBrush);
  RECT text = r;
  text.left = left + h + space;
  text.top += shift;
  text.bottom += shift;
  SetBkMode(di.hDC, TRANSPARENT);
  SetTextColor(di.hDC, GetSysColor(disabled ? COLOR_GRAYTEXT : COLOR_BTNTEXT));
  DrawTextW(di.hDC, wz(caption), -1, &text, DT_SINGLELINE | DT_VCENTER | DT_LEFT | DT_NOPREFIX);
  if (di.itemState & ODS_FOCUS) {
    RECT focus = r;
    InflateRect(&focus, -scale(3, dpi), -scale(3, dpi));
    DrawFocusRect(di.hDC, &focus);
  }
  if (oldFont) SelectObject(di.hDC, oldFont);
}

}  // namespace

// ---- the window object --------------------------------------------------------------------

FrmSendSms::FrmSendSms()
    : presenter_(*this),
      departments_(presenter_.tree(Tree::Department), *this),
      groups_(presenter_.tree(Tree::Group), *this) {}

FrmSendSms::~FrmSendSms() {
  if (hwnd_ && IsWindow(hwnd_)) {
    // Only reached when creation failed half-way: the window must not outlive us.
    SetWindowLongPtrW(hwnd_, DWLP_USER, 0);
    DestroyWindow(hwnd_);
  }
  if (onDestroyed_) onDestroyed_();
}

void FrmSendSms::show(std::unique_ptr<FrmSendSms> form) {
  INITCOMMONCONTROLSEX icc{sizeof icc, ICC_TREEVIEW_CLASSES | ICC_TAB_CLASSES | ICC_BAR_CLASSES |
                                           ICC_STANDARD_CLASSES};
  InitCommonControlsEx(&icc);
  EmptyTemplate t{};
  t.dlg.style = WS_OVERLAPPED | WS_CAPTION | WS_SYSMENU | WS_THICKFRAME | WS_MINIMIZEBOX | WS_MAXIMIZEBOX |
                DS_3DLOOK;
  t.dlg.dwExtendedStyle = WS_EX_APPWINDOW | WS_EX_CONTROLPARENT;
  t.dlg.cx = 10;
  t.dlg.cy = 10;
  FrmSendSms* self = form.get();
  HWND hwnd = CreateDialogIndirectParamW(GetModuleHandleW(nullptr), &t.dlg, nullptr, &FrmSendSms::dialogProc,
                                         reinterpret_cast<LPARAM>(self));
  if (!hwnd) win32::throwLastError(u"CreateDialogIndirectParam");
  if (self->initError_) {
    // The controls could not be made: the half-built window goes and the caller
    // gets the error (the object is still ours and goes with 'form').
    SetWindowLongPtrW(hwnd, DWLP_USER, 0);
    windowClosed(hwnd);
    self->hwnd_ = nullptr;
    DestroyWindow(hwnd);
    throw *self->initError_;
  }
  // The window now owns the object and deletes it on WM_NCDESTROY.
  form.release();
  ShowWindow(hwnd, SW_SHOW);
  SetForegroundWindow(hwnd);
  UpdateWindow(hwnd);
}

INT_PTR CALLBACK FrmSendSms::dialogProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) {
  FrmSendSms* self = nullptr;
  if (msg == WM_INITDIALOG) {
    self = reinterpret_cast<FrmSendSms*>(lParam);
    SetWindowLongPtrW(hwnd, DWLP_USER, reinterpret_cast<LONG_PTR>(self));
    self->hwnd_ = hwnd;
  } else {
    self = reinterpret_cast<FrmSendSms*>(GetWindowLongPtrW(hwnd, DWLP_USER));
  }
  if (!self) return FALSE;
  INT_PTR result = FALSE;
  ++self->depth_;
  try {
    result = self->handle(msg, wParam, lParam);
  } catch (const Error& e) {
    // Nothing may leave a window procedure; a failure while building the window
    // is handed to the one who asked for it.
    if (msg == WM_INITDIALOG) self->initError_ = e;
  } catch (const std::exception&) {
    if (msg == WM_INITDIALOG) self->initError_ = Error(static_cast<int32_t>(E_FAIL), u"The send window failed to open");
  }
  --self->depth_;
  // Destroyed during this message: the object goes when the outermost call returns.
  if (self->destroyed_ && self->depth_ == 0) delete self;
  return result;
}

template <class F>
void FrmSendSms::forward(F&& f) {
  // The presenter traps its own errors; whatever still escapes stops here.
  try {
    f();
  } catch (const std::exception&) {
  }
}

INT_PTR FrmSendSms::handle(UINT msg, WPARAM wParam, LPARAM lParam) {
  switch (msg) {
    case WM_INITDIALOG: {
      dpi_ = win32::windowDpi(hwnd_);
      createControls();  // raises when the system refuses a control
      applyFont();
      // The opening size, in 96-DPI units, centred on the screen.
      RECT want{0, 0, scale(640, dpi_), scale(470, dpi_)};
      AdjustWindowRectEx(&want, static_cast<DWORD>(GetWindowLongPtrW(hwnd_, GWL_STYLE)), FALSE,
                         static_cast<DWORD>(GetWindowLongPtrW(hwnd_, GWL_EXSTYLE)));
      const int w = want.right - want.left, h = want.bottom - want.top;
      SetWindowPos(hwnd_, nullptr, (GetSystemMetrics(SM_CXSCREEN) - w) / 2, (GetSystemMetrics(SM_CYSCREEN) - h) / 2,
                   w, h, SWP_NOZORDER | SWP_NOACTIVATE);
      windowOpened(hwnd_);
      forward([&] { presenter_.formLoad(); });
      applyFont();  // the host's form-font service may have chosen a face
      layout();
      SetFocus(find_);
      return FALSE;  // focus set here
    }
    case WM_SIZE:
      layout();
      return TRUE;
    case WM_GETMINMAXINFO: {
      auto* mm = reinterpret_cast<MINMAXINFO*>(lParam);
      mm->ptMinTrackSize.x = scale(560, dpi_);
      mm->ptMinTrackSize.y = scale(420, dpi_);
      return TRUE;
    }
    case 0x02E0: {  // WM_DPICHANGED: the window moved to a monitor of another density
      dpi_ = HIWORD(wParam);
      applyFont();
      const RECT* r = reinterpret_cast<const RECT*>(lParam);
      SetWindowPos(hwnd_, nullptr, r->left, r->top, r->right - r->left, r->bottom - r->top, SWP_NOZORDER);
      layout();
      return TRUE;
    }
    case WM_COMMAND:
      onCommand(LOWORD(wParam), HIWORD(wParam));
      return TRUE;
    case WM_NOTIFY: {
      const auto& header = *reinterpret_cast<const NMHDR*>(lParam);
      LRESULT result = 0;
      bool handled = false;
      if (header.idFrom == idTab && header.code == TCN_SELCHANGE) {
        forward([&] { presenter_.tabClick(); });
        handled = true;
      } else if (header.idFrom == idDepartments) {
        forward([&] { handled = departments_.onNotify(header, &result); });
      } else if (header.idFrom == idGroups) {
        forward([&] { handled = groups_.onNotify(header, &result); });
      }
      if (!handled) return FALSE;
      SetWindowLongPtrW(hwnd_, DWLP_MSGRESULT, result);
      return TRUE;
    }
    case win32::CheckTree::kPendingCheck: {
      const int id = static_cast<int>(wParam & 0xFFFF);
      const bool fromKey = (wParam & 0x10000u) != 0;
      forward([&] {
        if (id == idDepartments) departments_.onPendingCheck(lParam, fromKey);
        else if (id == idGroups) groups_.onPendingCheck(lParam, fromKey);
      });
      return TRUE;
    }
    case WM_DRAWITEM: {
      const auto& di = *reinterpret_cast<const DRAWITEMSTRUCT*>(lParam);
      if (di.CtlID != idCmdAdd) return FALSE;
      drawAddButton(di, dpi_, font_.get());
      return TRUE;
    }
    case WM_CLOSE:
      close();
      return TRUE;
    case WM_DESTROY:
      windowClosed(hwnd_);
      forward([&] { presenter_.formUnload(); });
      return TRUE;
    case WM_NCDESTROY:
      SetWindowLongPtrW(hwnd_, DWLP_USER, 0);
      hwnd_ = nullptr;
      destroyed_ = true;
      return TRUE;
    default:
      return FALSE;
  }
}

void FrmSendSms::onCommand(int id, int code) {
  switch (id) {
    case IDOK:  // Enter, wherever the focus is (a button takes its own Enter)
      forward([&] { presenter_.formKeyDown(13); });
      break;
    case IDCANCEL:  // Esc
      forward([&] { presenter_.formKeyDown(27); });
      break;
    case idCmdFind:
      if (code == BN_CLICKED) forward([&] { presenter_.cmdFindClick(); });
      break;
    case idCmdFindNext:
      if (code == BN_CLICKED) forward([&] { presenter_.cmdFindNextClick(); });
      break;
    case idCmdAdd:
      if (code == BN_CLICKED || code == BN_DOUBLECLICKED) forward([&] { presenter_.cmdAddClick(); });
      break;
    case idCmdClearMobile:
      if (code == BN_CLICKED) forward([&] { presenter_.cmdClearMobileClick(); });
      break;
    case idCmdClear:
      if (code == BN_CLICKED) forward([&] { presenter_.cmdClearClick(); });
      break;
    case idCmdSend:
      if (code == BN_CLICKED) forward([&] { presenter_.cmdSendClick(); });
      break;
    case idCmdCancel:
      if (code == BN_CLICKED) forward([&] { presenter_.cmdCancelClick(); });
      break;
    case idMessage:
      if (code == EN_CHANGE && !silent_) forward([&] { presenter_.messageChanged(); });
      break;
    default:
      break;
  }
}

LRESULT CALLBACK FrmSendSms::receiverKeyProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam, UINT_PTR,
                                             DWORD_PTR) {
  // Typing into the receiver box: the presenter says which keys it takes.
  if (msg == WM_CHAR && wParam < 0x10000 && !acceptReceiverKey(static_cast<int32_t>(wParam))) return 0;
  if (msg == WM_NCDESTROY) RemoveWindowSubclass(hwnd, &FrmSendSms::receiverKeyProc, 1);
  return DefSubclassProc(hwnd, msg, wParam, lParam);
}

void FrmSendSms::createControls() {
  using win32::createControl;
  // Created in tab order.
  faRecevie_ = createControl(hwnd_, L"BUTTON", WS_VISIBLE | BS_GROUPBOX, 0, idFaRecevie);
  find_ = createControl(hwnd_, L"EDIT", WS_VISIBLE | WS_TABSTOP | WS_GROUP | ES_AUTOHSCROLL, WS_EX_CLIENTEDGE, idFind);
  cmdFind_ = createControl(hwnd_, L"BUTTON", WS_VISIBLE | WS_TABSTOP | BS_PUSHBUTTON, 0, idCmdFind);
  cmdFindNext_ = createControl(hwnd_, L"BUTTON", WS_VISIBLE | WS_TABSTOP | BS_PUSHBUTTON, 0, idCmdFindNext);
  // The trees lie on the tab control's page: above it in the z-order, so the
  // tab control (which clips its siblings) leaves them alone; the tree comes
  // before the tab headers in tab order.
  departments_.create(hwnd_, idDepartments);
  groups_.create(hwnd_, idGroups);
  tab_ = createControl(hwnd_, WC_TABCONTROLW, WS_VISIBLE | WS_TABSTOP | WS_CLIPSIBLINGS, 0, idTab);
  TCITEMW item{};
  item.mask = TCIF_TEXT;
  item.pszText = const_cast<wchar_t*>(L"");
  TabCtrl_InsertItem(tab_, 0, &item);
  TabCtrl_InsertItem(tab_, 1, &item);
  cmdAdd_ = createControl(hwnd_, L"BUTTON", WS_VISIBLE | WS_TABSTOP | BS_OWNERDRAW, 0, idCmdAdd);
  // Our own box: the system's edit control cannot hold a list of thousands of
  // numbers in useful time under every platform the host runs on.
  mobile_ = win32::createNumberBox(hwnd_, idMobile, WS_VISIBLE | WS_TABSTOP | WS_VSCROLL, WS_EX_CLIENTEDGE);
  SetWindowSubclass(mobile_, &FrmSendSms::receiverKeyProc, 1, 0);
  lblInfo_ = createControl(hwnd_, L"STATIC", WS_VISIBLE | SS_LEFT | SS_NOPREFIX, 0, idLblInfo);
  cmdClearMobile_ = createControl(hwnd_, L"BUTTON", WS_VISIBLE | WS_TABSTOP | BS_PUSHBUTTON, 0, idCmdClearMobile);
  faContent_ = createControl(hwnd_, L"BUTTON", WS_VISIBLE | BS_GROUPBOX, 0, idFaContent);
  message_ = createControl(hwnd_, L"EDIT",
                           WS_VISIBLE | WS_TABSTOP | ES_MULTILINE | ES_AUTOVSCROLL | ES_WANTRETURN | WS_VSCROLL,
                           WS_EX_CLIENTEDGE, idMessage);
  lblSms_ = createControl(hwnd_, L"STATIC", WS_VISIBLE | SS_LEFT | SS_NOPREFIX, 0, idLblSms);
  cmdClear_ = createControl(hwnd_, L"BUTTON", WS_VISIBLE | WS_TABSTOP | BS_PUSHBUTTON, 0, idCmdClear);
  frame1_ = createControl(hwnd_, L"STATIC", WS_VISIBLE | SS_ETCHEDHORZ, 0, idFrame1);
  chkRestore_ = createControl(hwnd_, L"BUTTON", WS_VISIBLE | WS_TABSTOP | BS_AUTOCHECKBOX, 0, idChkRestore);
  cmdSend_ = createControl(hwnd_, L"BUTTON", WS_VISIBLE | WS_TABSTOP | BS_PUSHBUTTON, 0, idCmdSend);
  cmdCancel_ = createControl(hwnd_, L"BUTTON", WS_VISIBLE | WS_TABSTOP | BS_PUSHBUTTON, 0, idCmdCancel);
  // The frames go beneath everything they surround.
  for (HWND frame : {faRecevie_, faContent_})
    SetWindowPos(frame, HWND_BOTTOM, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);

  tooltip_ = CreateWindowExW(WS_EX_TOPMOST, TOOLTIPS_CLASSW, nullptr, WS_POPUP | TTS_ALWAYSTIP | TTS_NOPREFIX,
                             CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, hwnd_, nullptr,
                             GetModuleHandleW(nullptr), nullptr);
  if (tooltip_) {
    TTTOOLINFOW ti{};
    ti.cbSize = sizeof ti;
    ti.uFlags = TTF_IDISHWND | TTF_SUBCLASS;
    ti.hwnd = hwnd_;
    ti.uId = reinterpret_cast<UINT_PTR>(cmdAdd_);
    ti.lpszText = const_cast<wchar_t*>(L"");
    SendMessageW(tooltip_, TTM_ADDTOOLW, 0, reinterpret_cast<LPARAM>(&ti));
  }
}

void FrmSendSms::applyFont() {
  font_ = win32::messageFont(dpi_, formFont_.face(), formFont_.charset());
  if (!font_.get()) return;
  for (HWND c = GetWindow(hwnd_, GW_CHILD); c; c = GetWindow(c, GW_HWNDNEXT))
    SendMessageW(c, WM_SETFONT, reinterpret_cast<WPARAM>(font_.get()), TRUE);
  if (tooltip_) SendMessageW(tooltip_, WM_SETFONT, reinterpret_cast<WPARAM>(font_.get()), TRUE);
}

void FrmSendSms::layout() {
  if (!hwnd_ || !tab_) return;
  RECT client;
  GetClientRect(hwnd_, &client);
  const int W = client.right, H = client.bottom;
  auto s = [&](int v) { return scale(v, dpi_); };
  const int margin = s(8), gap = s(6), pad = s(10), buttonH = s(25), editH = s(23), labelH = s(18);
  const int buttonW = s(80);

  HDWP d = BeginDeferWindowPos(24);
  auto place = [&](HWND h, int x, int y, int w, int hgt) {
    if (h && d) d = DeferWindowPos(d, h, nullptr, x, y, std::max(0, w), std::max(0, hgt), SWP_NOZORDER | SWP_NOACTIVATE);
  };

  // Bottom row: the reply option left, send and cancel right, a rule above.
  const int rowY = H - margin - buttonH;
  place(cmdCancel_, W - margin - buttonW, rowY, buttonW, buttonH);
  place(cmdSend_, W - margin - 2 * buttonW - gap, rowY, buttonW, buttonH);
  place(chkRestore_, margin + s(4), rowY, W - 2 * buttonW - 3 * gap - 2 * margin, buttonH);
  place(frame1_, margin, rowY - gap - s(2), W - 2 * margin, s(2));

  // The message frame: a fixed height above the bottom row.
  const int contentH = s(150);
  const int contentY = rowY - 2 * gap - s(2) - contentH;
  place(faContent_, margin, contentY, W - 2 * margin, contentH);
  const int inner = margin + pad;
  const int counterY = contentY + contentH - pad - buttonH;
  place(cmdClear_, W - inner - buttonW, counterY, buttonW, buttonH);
  place(lblSms_, inner, counterY + (buttonH - labelH) / 2 + s(2), W - 2 * inner - buttonW - gap, labelH);
  place(message_, inner, contentY + s(20), W - 2 * inner, counterY - gap - (contentY + s(20)));

  // The receiver frame takes the rest: directories left, receivers right.
  const int topY = margin;
  const int topH = contentY - gap - topY;
  place(faRecevie_, margin, topY, W - 2 * margin, topH);
  const int leftW = std::max(s(270), (W - 2 * inner) * 46 / 100);
  const int findY = topY + s(20);
  const int findButtonW = s(74);
  place(cmdFindNext_, inner + leftW - findButtonW, findY, findButtonW, buttonH);
  place(cmdFind_, inner + leftW - 2 * findButtonW - gap, findY, findButtonW, buttonH);
  place(find_, inner, findY + (buttonH - editH) / 2, leftW - 2 * findButtonW - 2 * gap, editH);
  const int tabY = findY + buttonH + gap;
  const int tabH = topY + topH - pad - tabY;
  place(tab_, inner, tabY, leftW, tabH);
  RECT page{inner, tabY, inner + leftW, tabY + tabH};
  TabCtrl_AdjustRect(tab_, FALSE, &page);
  place(departments_.hwnd(), page.left, page.top, page.right - page.left, page.bottom - page.top);
  place(groups_.hwnd(), page.left, page.top, page.right - page.left, page.bottom - page.top);

  const int addW = s(64);
  const int addX = inner + leftW + gap + s(4);
  place(cmdAdd_, addX, tabY + (tabH - buttonH) / 2, addW, buttonH);
  const int rightX = addX + addW + gap + s(4);
  const int rightW = W - inner - rightX;
  const int clearY = topY + topH - pad - buttonH;
  place(cmdClearMobile_, W - inner - buttonW, clearY, buttonW, buttonH);
  place(lblInfo_, rightX, clearY - gap - labelH, rightW, labelH);
  place(mobile_, rightX, findY, rightW, clearY - gap - labelH - gap - findY);
  if (d) EndDeferWindowPos(d);
  InvalidateRect(hwnd_, nullptr, TRUE);
}

HWND FrmSendSms::control(Control c) const {
  switch (c) {
    case Control::Form: return hwnd_;
    case Control::faRecevie: return faRecevie_;
    case Control::cmdFind: return cmdFind_;
    case Control::cmdFindNext: return cmdFindNext_;
    case Control::cmdAdd: return cmdAdd_;
    case Control::lblInfo: return lblInfo_;
    case Control::cmdClearMobile: return cmdClearMobile_;
    case Control::faContent: return faContent_;
    case Control::lblSms: return lblSms_;
    case Control::cmdClear: return cmdClear_;
    case Control::chkRestore: return chkRestore_;
    case Control::cmdSend: return cmdSend_;
    case Control::cmdCancel: return cmdCancel_;
    default: return nullptr;
  }
}

Tree FrmSendSms::treeOf(int treeId) const { return treeId == idGroups ? Tree::Group : Tree::Department; }

// ---- SendSmsView ---------------------------------------------------------------------------

int32_t FrmSendSms::selectedTab() const {
  const int sel = tab_ ? TabCtrl_GetCurSel(tab_) : 0;
  return sel < 0 ? 0 : sel;
}

void FrmSendSms::setTreeEnabled(Tree tree, bool enabled) {
  HWND h = tree == Tree::Group ? groups_.hwnd() : departments_.hwnd();
  if (!h) return;
  // A hidden, disabled tree is out of reach of both mouse and keyboard.
  if (!enabled && GetFocus() == h) SetFocus(tab_);
  EnableWindow(h, enabled);
  ShowWindow(h, enabled ? SW_SHOW : SW_HIDE);
}

ustring FrmSendSms::findText() const { return win32::windowText(find_); }
void FrmSendSms::setFindText(const ustring& text) { win32::setWindowText(find_, text); }
const ustring& FrmSendSms::receiversText() const { return win32::numberBoxText(mobile_); }
void FrmSendSms::setReceiversText(ustring text) { win32::setNumberBoxText(mobile_, std::move(text)); }
ustring FrmSendSms::messageText() const { return win32::windowText(message_); }

void FrmSendSms::setMessageText(const ustring& text) {
  ++silent_;
  win32::setWindowText(message_, text);
  --silent_;
}

void FrmSendSms::setMessageMaxLength(int32_t characters) { SendMessageW(message_, EM_SETLIMITTEXT, characters, 0); }

bool FrmSendSms::restoreChecked() const { return Button_GetCheck(chkRestore_) == BST_CHECKED; }

void FrmSendSms::setCaption(Control c, const ustring& text) {
  if (c == Control::tabDepartment || c == Control::tabGroup) {
    TCITEMW item{};
    item.mask = TCIF_TEXT;
    item.pszText = const_cast<wchar_t*>(wz(text));
    TabCtrl_SetItem(tab_, c == Control::tabGroup ? 1 : 0, &item);
    return;
  }
  if (HWND h = control(c)) {
    win32::setWindowText(h, text);
    if (c == Control::cmdAdd) InvalidateRect(h, nullptr, TRUE);
  }
}

void FrmSendSms::setReceiverMenu(const std::array<ustring, 6>& captions) {
  auto at = [&](ReceiverMenu item) { return captions[static_cast<std::size_t>(item)]; };
  win32::NumberBoxMenuTexts texts;
  texts.undo = at(ReceiverMenu::Undo);
  texts.cut = at(ReceiverMenu::Cut);
  texts.copy = at(ReceiverMenu::Copy);
  texts.paste = at(ReceiverMenu::Paste);
  texts.del = at(ReceiverMenu::Delete);
  texts.selectAll = at(ReceiverMenu::SelectAll);
  win32::setNumberBoxMenuTexts(mobile_, texts);
}

void FrmSendSms::setToolTip(Control c, const ustring& text) {
  HWND h = control(c);
  if (!h || !tooltip_) return;
  if (c == Control::cmdAdd) addToolTip_ = text;
  TTTOOLINFOW ti{};
  ti.cbSize = sizeof ti;
  ti.uFlags = TTF_IDISHWND | TTF_SUBCLASS;
  ti.hwnd = hwnd_;
  ti.uId = reinterpret_cast<UINT_PTR>(h);
  ti.lpszText = const_cast<wchar_t*>(wz(c == Control::cmdAdd ? addToolTip_ : text));
  SendMessageW(tooltip_, TTM_UPDATETIPTEXTW, 0, reinterpret_cast<LPARAM>(&ti));
}

void FrmSendSms::focusTree(Tree tree) {
  HWND h = tree == Tree::Group ? groups_.hwnd() : departments_.hwnd();
  if (h) SetFocus(h);
}

void FrmSendSms::close() {
  // Destroying runs Form_Unload (WM_DESTROY); the object goes once the action
  // that closed it has returned.
  if (hwnd_) DestroyWindow(hwnd_);
}

// ---- the trees' events ------------------------------------------------------------------------

void FrmSendSms::treeExpand(int treeId, NodeId node) { presenter_.nodeExpand(treeOf(treeId), node); }
void FrmSendSms::treeCollapse(int treeId, NodeId node) { presenter_.nodeCollapse(treeOf(treeId), node); }
void FrmSendSms::treeClick(int treeId, NodeId node) { presenter_.nodeClick(treeOf(treeId), node); }
void FrmSendSms::treeCheck(int treeId, NodeId node, bool checked) {
  presenter_.nodeCheck(treeOf(treeId), node, checked);
}
void FrmSendSms::treeDoubleClick(int treeId) { presenter_.treeDoubleClick(treeOf(treeId)); }

}  // namespace lumo::sms::win
