// The send window on Win32: a modeless, resizable top-level window that draws the
// send presenter's state and forwards the user's actions to it.
//
// It is a dialog window (so a host that calls IsDialogMessage gets tabbing,
// mnemonics, Enter and Esc), and while one is open a message hook on the UI
// thread does the same for hosts that do not. The window owns itself: it lives
// until it is destroyed and deletes itself then.
#pragma once

#include <windows.h>

#include <functional>
#include <memory>
#include <optional>

#include "automation/error.h"
#include "sms/send_sms.h"
#include "win32/check_tree.h"
#include "win32/controls.h"
#include "win32/number_box.h"

namespace lumo::sms::win {

// The controls' identifiers (GetDlgItem), in tab order.
enum ControlId : int {
  idTab = 1001,
  idDepartments,
  idGroups,
  idFind,
  idCmdFind,
  idCmdFindNext,
  idCmdAdd,
  idMobile,
  idLblInfo,
  idCmdClearMobile,
  idFaRecevie,
  idFaContent,
  idMessage,
  idLblSms,
  idCmdClear,
  idChkRestore,
  idCmdSend,
  idCmdCancel,
  idFrame1,
};


class FrmSendSms final : public SendSmsView, private win32::CheckTreeListener {
 public:
  FrmSendSms();
  FrmSendSms(const FrmSendSms&) = delete;
  FrmSendSms& operator=(const FrmSendSms&) = delete;
  ~FrmSendSms() override;

  SendSmsPresenter& presenter() { return presenter_; }
  // Called once, when this object goes (the server counts open windows as live
  // objects so that it is not unloaded under them).
  void setOnDestroyed(std::function<void()> f) { onDestroyed_ = std::move(f); }
  // Creates the window (the presenter's Form_Load runs) and shows it modeless with
  // no owner; from then on the window owns this object. Raises an Error when the
  // system refuses the window.
  static void show(std::unique_ptr<FrmSendSms> form);
  HWND hwnd() const { return hwnd_; }

  // SendSmsView
  int32_t selectedTab() const override;
  void setTreeEnabled(Tree tree, bool enabled) override;
  ustring findText() const override;
  void setFindText(const ustring& text) override;
  const ustring& receiversText() const override;
  void setReceiversText(ustring text) override;
  ustring messageText() const override;
  void setMessageText(const ustring& text) override;
  void setMessageMaxLength(int32_t characters) override;
  bool restoreChecked() const override;
  void setCaption(Control control, const ustring& text) override;
  void setToolTip(Control control, const ustring& text) override;
  void setReceiverMenu(const std::array<ustring, 6>& captions) override;
  void focusTree(Tree tree) override;
  void close() override;
  ObjectPtr formObject() override { return formFont_.form(); }

 private:
  // CheckTreeListener
  void treeExpand(int treeId, NodeId node) override;
  void treeCollapse(int treeId, NodeId node) override;
  void treeClick(int treeId, NodeId node) override;
  void treeCheck(int treeId, NodeId node, bool checked) override;
  void treeDoubleClick(int treeId) override;

  static INT_PTR CALLBACK dialogProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam);
  INT_PTR handle(UINT msg, WPARAM wParam, LPARAM lParam);
  static LRESULT CALLBACK receiverKeyProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam, UINT_PTR id,
                                          DWORD_PTR self);

  void createControls();
  void applyFont();
  void layout();
  void onCommand(int id, int code);
  HWND control(Control c) const;
  Tree treeOf(int treeId) const;
  // Runs a presenter action; the window is deleted only after the outermost
  // action has returned, even when the action closed it.
  template <class F>
  void forward(F&& f);

  SendSmsPresenter presenter_;
  win32::CheckTree departments_;
  win32::CheckTree groups_;
  HWND hwnd_ = nullptr;
  HWND tab_ = nullptr, find_ = nullptr, cmdFind_ = nullptr, cmdFindNext_ = nullptr, cmdAdd_ = nullptr;
  HWND mobile_ = nullptr, lblInfo_ = nullptr, cmdClearMobile_ = nullptr, faRecevie_ = nullptr, faContent_ = nullptr;
  HWND message_ = nullptr, lblSms_ = nullptr, cmdClear_ = nullptr, chkRestore_ = nullptr, cmdSend_ = nullptr;
  HWND cmdCancel_ = nullptr, frame1_ = nullptr, tooltip_ = nullptr;
  win32::FormFont formFont_;  // what the host's form-font service chose
  win32::Font font_;
  UINT dpi_ = 96;
  int silent_ = 0;  // texts set by the program raise no change event
  int depth_ = 0;
  bool destroyed_ = false;
  std::optional<Error> initError_;
  std::function<void()> onDestroyed_;
  ustring addToolTip_;
};

}  // namespace lumo::sms::win
