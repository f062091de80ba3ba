// The send window on Win32: a modeless, resizable top-level window that draws the
// send presenter's state and forwards the user's actions to it.
//
// It is a modeless dialog of the window base, so it gets tabbing, mnemonics and
// Esc in whatever message loop the host runs, and sees every key first: Enter
// runs the search wherever the focus is. The window owns itself: it lives until
// it is destroyed and deletes itself then.
#include "sms/win/windows.h"

#include <windows.h>
#include <windowsx.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "host/services.h"
#include "sms/send_sms.h"
#include "win32/check_tree.h"
#include "win32/controls.h"
#include "win32/number_box.h"
#include "win32/window.h"

namespace lumo::win32 {

using sms::Control;
using sms::ReceiverMenu;
using sms::Tree;
using namespace send_sms;

namespace {

class FrmSendSms final : public Window, public sms::SendSmsView, private CheckTreeListener {
 public:
  // hold: keeps the module loaded while the window object lives.
  explicit FrmSendSms(ModuleHold hold);

  sms::SendSmsPresenter& presenter() { return presenter_; }
  // Creates the window (the presenter's Form_Load runs) and shows it modeless with
  // no owner; from then on the window owns this object. Raises an Error when the
  // system refuses the window or it fails while being built.
  static void show(std::unique_ptr<FrmSendSms> form);

  // SendSmsView
  int32_t selectedTab() const override;
  void setTreeEnabled(sms::Tree tree, bool enabled) override;
  ustring findText() const override;
  void setFindText(const ustring& text) override;
  const ustring& receiversText() const override;
  void setReceiversText(ustring text) override;
  ustring messageText() const override;
  void setMessageText(const ustring& text) override;
  void setMessageMaxLength(int32_t characters) override;
  bool restoreChecked() const override;
  void setCaption(sms::Control control, const ustring& text) override;
  void setToolTip(sms::Control control, const ustring& text) override;
  void setReceiverMenu(const std::array<ustring, 6>& captions) override;
  void focusTree(sms::Tree tree) override;
  void close() override;
  ObjectPtr formObject() override { return formFont_.form(); }

 private:
  // CheckTreeListener
  void treeExpand(int treeId, ui::NodeId node) override;
  void treeCollapse(int treeId, ui::NodeId node) override;
  void treeClick(int treeId, ui::NodeId node) override;
  void treeCheck(int treeId, ui::NodeId node, bool checked) override;
  void treeDoubleClick(int treeId) override;

  bool onMessage(UINT msg, WPARAM wParam, LPARAM lParam, LRESULT& result) override;
  bool preTranslate(MSG& msg) override;
  void onFinalMessage() override { delete this; }

  void createControls();
  void applyFont();
  void layout();
  void drawAddButton(const DRAWITEMSTRUCT& di) const;
  void onCommand(int id, int code);
  HWND control(sms::Control c) const;
  sms::Tree treeOf(int treeId) const;

  ModuleHold hold_;
  sms::SendSmsPresenter presenter_;
  CheckTree departments_;
  CheckTree groups_;
  HWND tab_ = nullptr, find_ = nullptr, cmdFind_ = nullptr, cmdFindNext_ = nullptr, cmdAdd_ = nullptr;
  HWND mobile_ = nullptr, lblInfo_ = nullptr, cmdClearMobile_ = nullptr, faRecevie_ = nullptr, faContent_ = nullptr;
  HWND message_ = nullptr, lblSms_ = nullptr, lblCost_ = nullptr, cmdClear_ = nullptr, chkRestore_ = nullptr, cmdSend_ = nullptr;
  HWND cmdCancel_ = nullptr, frame1_ = nullptr, tooltip_ = nullptr;
  FormFont formFont_;  // what the host's form-font service chose
  Font font_;
  UINT dpi_ = 96;
  int silent_ = 0;  // texts set by the program raise no change event
  ustring addToolTip_;
};


void FrmSendSms::drawAddButton(const DRAWITEMSTRUCT& di) const {
  const UINT dpi = dpi_;
  const Selected font(di.hDC, font_.get());
  RECT r = di.rcItem;
  const bool pushed = (di.itemState & ODS_SELECTED) != 0;
  const bool disabled = (di.itemState & ODS_DISABLED) != 0;
  DrawFrameControl(di.hDC, &r, DFC_BUTTON, DFCS_BUTTONPUSH | (pushed ? DFCS_PUSHED : 0));
  const int shift = pushed ? 1 : 0;
  // The picture (an arrow pointing right) and the caption, centred together.
  const ustring caption = windowText(di.hwndItem);
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
  {
    const Selected fill(di.hDC, brush);
    const Selected noOutline(di.hDC, GetStockObject(NULL_PEN));
    Polygon(di.hDC, head, 3);
  }
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
}

// ---- the window object --------------------------------------------------------------------

FrmSendSms::FrmSendSms(ModuleHold hold)
    : Window(u"frmSendSms"),
      hold_(std::move(hold)),
      presenter_(*this),
      departments_(presenter_.tree(Tree::Department), *this),
      groups_(presenter_.tree(Tree::Group), *this) {}

void FrmSendSms::show(std::unique_ptr<FrmSendSms> form) {
  INITCOMMONCONTROLSEX icc{sizeof icc, ICC_TREEVIEW_CLASSES | ICC_TAB_CLASSES | ICC_BAR_CLASSES |
                                           ICC_STANDARD_CLASSES};
  InitCommonControlsEx(&icc);
  form->createDialog(WS_OVERLAPPED | WS_CAPTION | WS_SYSMENU | WS_THICKFRAME | WS_MINIMIZEBOX | WS_MAXIMIZEBOX |
                         DS_3DLOOK,
                     WS_EX_APPWINDOW | WS_EX_CONTROLPARENT, nullptr);
  // The window now owns the object and deletes it after its last message.
  const HWND hwnd = form.release()->hwnd();
  ShowWindow(hwnd, SW_SHOW);
  SetForegroundWindow(hwnd);
  UpdateWindow(hwnd);
}

bool FrmSendSms::onMessage(UINT msg, WPARAM wParam, LPARAM lParam, LRESULT& result) {
  switch (msg) {
    case WM_INITDIALOG: {
      dpi_ = windowDpi(hwnd());
      createControls();  // raises when the system refuses a control
      applyFont();
      // The opening size, in 96-DPI units, centred on the screen.
      RECT want{0, 0, scale(640, dpi_), scale(470, dpi_)};
      AdjustWindowRectEx(&want, static_cast<DWORD>(GetWindowLongPtrW(hwnd(), GWL_STYLE)), FALSE,
                         static_cast<DWORD>(GetWindowLongPtrW(hwnd(), GWL_EXSTYLE)));
      const int w = want.right - want.left, h = want.bottom - want.top;
      SetWindowPos(hwnd(), nullptr, (GetSystemMetrics(SM_CXSCREEN) - w) / 2,
                   (GetSystemMetrics(SM_CYSCREEN) - h) / 2, w, h, SWP_NOZORDER | SWP_NOACTIVATE);
      presenter_.formLoad();
      applyFont();  // the host's form-font service may have chosen a face
      layout();
      SetFocus(find_);
      result = FALSE;  // focus set here
      return true;
    }
    case WM_SIZE:
      layout();
      return true;
    case WM_GETMINMAXINFO: {
      auto* mm = reinterpret_cast<MINMAXINFO*>(lParam);
      mm->ptMinTrackSize.x = scale(560, dpi_);
      mm->ptMinTrackSize.y = scale(420, dpi_);
      return true;
    }
    case 0x02E0: {  // WM_DPICHANGED: the window moved to a monitor of another density
      dpi_ = HIWORD(wParam);
      applyFont();
      const RECT* r = reinterpret_cast<const RECT*>(lParam);
      SetWindowPos(hwnd(), nullptr, r->left, r->top, r->right - r->left, r->bottom - r->top, SWP_NOZORDER);
      layout();
      return true;
    }
    case WM_COMMAND:
      onCommand(LOWORD(wParam), HIWORD(wParam));
      return true;
    case WM_NOTIFY: {
      // The trees hear their own notifications; the tab control's come here.
      const auto& header = *reinterpret_cast<const NMHDR*>(lParam);
      if (header.hwndFrom != tab_ || header.code != TCN_SELCHANGE) return false;
      presenter_.tabClick();
      return true;
    }
    case WM_DRAWITEM: {
      const auto& di = *reinterpret_cast<const DRAWITEMSTRUCT*>(lParam);
      if (di.hwndItem != cmdAdd_) return false;
      drawAddButton(di);
      result = TRUE;
      return true;
    }
    case WM_CLOSE:
      close();
      return true;
    case WM_DESTROY:
      presenter_.formUnload();
      return true;
    default:
      return false;
  }
}

bool FrmSendSms::preTranslate(MSG& msg) {
  // Enter runs the search wherever the focus is: the message box takes no line
  // break from it and a focused button is not pressed by it.
  if (msg.message != WM_KEYDOWN || msg.wParam != VK_RETURN) return false;
  presenter_.formKeyDown(13);
  return true;
}

void FrmSendSms::onCommand(int id, int code) {
  switch (id) {
    case IDCANCEL:  // Esc
      presenter_.formKeyDown(27);
      break;
    case idCmdFind:
      if (code == BN_CLICKED) presenter_.cmdFindClick();
      break;
    case idCmdFindNext:
      if (code == BN_CLICKED) presenter_.cmdFindNextClick();
      break;
    case idCmdAdd:
      if (code == BN_CLICKED || code == BN_DOUBLECLICKED) presenter_.cmdAddClick();
      break;
    case idCmdClearMobile:
      if (code == BN_CLICKED) presenter_.cmdClearMobileClick();
      break;
    case idCmdClear:
      if (code == BN_CLICKED) presenter_.cmdClearClick();
      break;
    case idCmdSend:
      if (code == BN_CLICKED) presenter_.cmdSendClick();
      break;
    case idCmdCancel:
      if (code == BN_CLICKED) presenter_.cmdCancelClick();
      break;
    case idMessage:
      if (code == EN_CHANGE && !silent_) presenter_.messageChanged();
      break;
    case idMobile:
      // The presenter updates what depends on the list after setting it itself.
      if (code == EN_CHANGE && !silent_) presenter_.receiversChanged();
      break;
    default:
      break;
  }
}

void FrmSendSms::createControls() {
  // Created in tab order.
  faRecevie_ = createControl(hwnd(), L"BUTTON", WS_VISIBLE | BS_GROUPBOX, 0, idFaRecevie);
  find_ = createControl(hwnd(), L"EDIT", WS_VISIBLE | WS_TABSTOP | WS_GROUP | ES_AUTOHSCROLL, WS_EX_CLIENTEDGE, idFind);
  cmdFind_ = createControl(hwnd(), L"BUTTON", WS_VISIBLE | WS_TABSTOP | BS_PUSHBUTTON, 0, idCmdFind);
  cmdFindNext_ = createControl(hwnd(), L"BUTTON", WS_VISIBLE | WS_TABSTOP | BS_PUSHBUTTON, 0, idCmdFindNext);
  // The trees lie on the tab control's page: above it in the z-order, so the
  // tab control (which clips its siblings) leaves them alone; the tree comes
  // before the tab headers in tab order.
  departments_.create(hwnd(), idDepartments);
  groups_.create(hwnd(), idGroups);
  tab_ = createControl(hwnd(), WC_TABCONTROLW, WS_VISIBLE | WS_TABSTOP | WS_CLIPSIBLINGS, 0, idTab);
  TCITEMW item{};
  item.mask = TCIF_TEXT;
  item.pszText = const_cast<wchar_t*>(L"");
  TabCtrl_InsertItem(tab_, 0, &item);
  TabCtrl_InsertItem(tab_, 1, &item);
  cmdAdd_ = createControl(hwnd(), L"BUTTON", WS_VISIBLE | WS_TABSTOP | BS_OWNERDRAW, 0, idCmdAdd);
  // Our own box: the system's edit control cannot hold a list of thousands of
  // numbers in useful time under every platform the host runs on.
  mobile_ = createNumberBox(hwnd(), idMobile, WS_VISIBLE | WS_TABSTOP | WS_VSCROLL, WS_EX_CLIENTEDGE);
  // Typing into the receiver box: the presenter says which keys it takes.
  filterChars(mobile_, [](char16_t c) { return sms::acceptReceiverKey(c); });
  lblInfo_ = createControl(hwnd(), L"STATIC", WS_VISIBLE | SS_LEFT | SS_NOPREFIX, 0, idLblInfo);
  cmdClearMobile_ = createControl(hwnd(), L"BUTTON", WS_VISIBLE | WS_TABSTOP | BS_PUSHBUTTON, 0, idCmdClearMobile);
  faContent_ = createControl(hwnd(), L"BUTTON", WS_VISIBLE | BS_GROUPBOX, 0, idFaContent);
  message_ = createControl(hwnd(), L"EDIT",
                           WS_VISIBLE | WS_TABSTOP | ES_MULTILINE | ES_AUTOVSCROLL | ES_WANTRETURN | WS_VSCROLL,
                           WS_EX_CLIENTEDGE, idMessage);
  lblSms_ = createControl(hwnd(), L"STATIC", WS_VISIBLE | SS_LEFT | SS_NOPREFIX, 0, idLblSms);
  lblCost_ = createControl(hwnd(), L"STATIC", WS_VISIBLE | SS_LEFT | SS_NOPREFIX, 0, idLblCost);
  cmdClear_ = createControl(hwnd(), L"BUTTON", WS_VISIBLE | WS_TABSTOP | BS_PUSHBUTTON, 0, idCmdClear);
  frame1_ = createControl(hwnd(), L"STATIC", WS_VISIBLE | SS_ETCHEDHORZ, 0, idFrame1);
  chkRestore_ = createControl(hwnd(), L"BUTTON", WS_VISIBLE | WS_TABSTOP | BS_AUTOCHECKBOX, 0, idChkRestore);
  cmdSend_ = createControl(hwnd(), L"BUTTON", WS_VISIBLE | WS_TABSTOP | BS_PUSHBUTTON, 0, idCmdSend);
  cmdCancel_ = createControl(hwnd(), L"BUTTON", WS_VISIBLE | WS_TABSTOP | BS_PUSHBUTTON, 0, idCmdCancel);
  // The frames go beneath everything they surround.
  for (HWND frame : {faRecevie_, faContent_})
    SetWindowPos(frame, HWND_BOTTOM, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);

  tooltip_ = CreateWindowExW(WS_EX_TOPMOST, TOOLTIPS_CLASSW, nullptr, WS_POPUP | TTS_ALWAYSTIP | TTS_NOPREFIX,
                             CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, hwnd(), nullptr,
                             GetModuleHandleW(nullptr), nullptr);
  if (tooltip_) {
    TTTOOLINFOW ti{};
    ti.cbSize = sizeof ti;
    ti.uFlags = TTF_IDISHWND | TTF_SUBCLASS;
    ti.hwnd = hwnd();
    ti.uId = reinterpret_cast<UINT_PTR>(cmdAdd_);
    ti.lpszText = const_cast<wchar_t*>(L"");
    SendMessageW(tooltip_, TTM_ADDTOOLW, 0, reinterpret_cast<LPARAM>(&ti));
  }
}

void FrmSendSms::applyFont() {
  font_ = messageFont(dpi_, formFont_.face(), formFont_.charset());
  if (!font_.get()) return;
  for (HWND c = GetWindow(hwnd(), GW_CHILD); c; c = GetWindow(c, GW_HWNDNEXT))
    SendMessageW(c, WM_SETFONT, reinterpret_cast<WPARAM>(font_.get()), TRUE);
  if (tooltip_) SendMessageW(tooltip_, WM_SETFONT, reinterpret_cast<WPARAM>(font_.get()), TRUE);
}

void FrmSendSms::layout() {
  if (!hwnd() || !tab_) return;
  RECT client;
  GetClientRect(hwnd(), &client);
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

  // The message frame: a fixed height above the bottom row; the cost line lies
  // under the counter row.
  const int contentH = s(150) + labelH;
  const int contentY = rowY - 2 * gap - s(2) - contentH;
  place(faContent_, margin, contentY, W - 2 * margin, contentH);
  const int inner = margin + pad;
  const int costY = contentY + contentH - pad - labelH + s(4);
  const int counterY = costY - buttonH;
  place(cmdClear_, W - inner - buttonW, counterY, buttonW, buttonH);
  place(lblSms_, inner, counterY + (buttonH - labelH) / 2 + s(2), W - 2 * inner - buttonW - gap, labelH);
  place(lblCost_, inner, costY, W - 2 * inner - buttonW - gap, labelH);
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
  InvalidateRect(hwnd(), nullptr, TRUE);
}

HWND FrmSendSms::control(Control c) const {
  switch (c) {
    case Control::Form: return hwnd();
    case Control::faRecevie: return faRecevie_;
    case Control::cmdFind: return cmdFind_;
    case Control::cmdFindNext: return cmdFindNext_;
    case Control::cmdAdd: return cmdAdd_;
    case Control::lblInfo: return lblInfo_;
    case Control::cmdClearMobile: return cmdClearMobile_;
    case Control::faContent: return faContent_;
    case Control::lblSms: return lblSms_;
    case Control::lblCost: return lblCost_;
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

ustring FrmSendSms::findText() const { return windowText(find_); }
void FrmSendSms::setFindText(const ustring& text) { setWindowText(find_, text); }
const ustring& FrmSendSms::receiversText() const { return numberBoxText(mobile_); }
void FrmSendSms::setReceiversText(ustring text) {
  ++silent_;
  setNumberBoxText(mobile_, std::move(text));
  --silent_;
}
ustring FrmSendSms::messageText() const { return windowText(message_); }

void FrmSendSms::setMessageText(const ustring& text) {
  ++silent_;
  setWindowText(message_, text);
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
    setWindowText(h, text);
    if (c == Control::cmdAdd) InvalidateRect(h, nullptr, TRUE);
  }
}

void FrmSendSms::setReceiverMenu(const std::array<ustring, 6>& captions) {
  auto at = [&](ReceiverMenu item) { return captions[static_cast<std::size_t>(item)]; };
  NumberBoxMenuTexts texts;
  texts.undo = at(ReceiverMenu::Undo);
  texts.cut = at(ReceiverMenu::Cut);
  texts.copy = at(ReceiverMenu::Copy);
  texts.paste = at(ReceiverMenu::Paste);
  texts.del = at(ReceiverMenu::Delete);
  texts.selectAll = at(ReceiverMenu::SelectAll);
  setNumberBoxMenuTexts(mobile_, texts);
}

void FrmSendSms::setToolTip(Control c, const ustring& text) {
  HWND h = control(c);
  if (!h || !tooltip_) return;
  if (c == Control::cmdAdd) addToolTip_ = text;
  TTTOOLINFOW ti{};
  ti.cbSize = sizeof ti;
  ti.uFlags = TTF_IDISHWND | TTF_SUBCLASS;
  ti.hwnd = hwnd();
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
  destroy();
}

// ---- the trees' events ------------------------------------------------------------------------

void FrmSendSms::treeExpand(int treeId, ui::NodeId node) { presenter_.nodeExpand(treeOf(treeId), node); }
void FrmSendSms::treeCollapse(int treeId, ui::NodeId node) { presenter_.nodeCollapse(treeOf(treeId), node); }
void FrmSendSms::treeClick(int treeId, ui::NodeId node) { presenter_.nodeClick(treeOf(treeId), node); }
void FrmSendSms::treeCheck(int treeId, ui::NodeId node, bool checked) {
  presenter_.nodeCheck(treeOf(treeId), node, checked);
}
void FrmSendSms::treeDoubleClick(int treeId) { presenter_.treeDoubleClick(treeOf(treeId)); }

// The send window as a command sees it. It is always modeless: once shown, the
// window owns the form and this wrapper lets go of it.
class SendSmsCommandWindow final : public CommandWindow {
 public:
  explicit SendSmsCommandWindow(ModuleHold hold) : form_(std::make_unique<FrmSendSms>(std::move(hold))) {}
  bool isRelateEmp() override { return form_->presenter().isRelateEmp(); }
  void show(bool) override { FrmSendSms::show(std::move(form_)); }
  void prefill(const ustring& receivers, const ustring& message) override {
    form_->presenter().prefill(receivers, message);
  }

 private:
  std::unique_ptr<FrmSendSms> form_;
};

}  // namespace

std::unique_ptr<CommandWindow> makeSendSmsWindow(ModuleHold hold) {
  return std::make_unique<SendSmsCommandWindow>(std::move(hold));
}

}  // namespace lumo::win32
