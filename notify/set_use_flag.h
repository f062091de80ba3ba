// The notification options (frmSetUseFlag): the two system-wide switches, SMS
// notification on (the use flag) and approval by replying to the SMS (the audit
// flag). The dialog remembers both as read at load and writes only what the
// user changed, the use flag first.
#pragma once

#include <cstdint>

#include "automation/object.h"

namespace lumo::notify {

enum class OptionControl : int32_t { Form, fam1, fam2, chkFlag, chkFlagAudit, cmdOk, cmdCancel };

class SetUseFlagView {
 public:
  virtual ~SetUseFlagView() = default;
  virtual void setCaption(OptionControl control, const ustring& text) = 0;
  // The two boxes: chkFlag and chkFlagAudit.
  virtual bool useChecked() const = 0;
  virtual void setUseChecked(bool on) = 0;
  virtual bool auditChecked() const = 0;
  virtual void setAuditChecked(bool on) = 0;
  virtual void setOkEnabled(bool enabled) = 0;
  // Closes the dialog; the view asks queryUnload first, as for any other close.
  virtual void close() = 0;
};

class SetUseFlagPresenter {
 public:
  explicit SetUseFlagPresenter(SetUseFlagView& view);
  SetUseFlagPresenter(const SetUseFlagPresenter&) = delete;
  SetUseFlagPresenter& operator=(const SetUseFlagPresenter&) = delete;

  void formLoad();
  void chkFlagClick();
  void chkFlagAuditClick();
  void cmdOkClick();
  void cmdCancelClick();
  // Whatever closes the dialog asks here first; true keeps it open.
  bool queryUnload();

  // The flags as last read or written (1 on, 0 off).
  int16_t storedUse() const { return storedUse_; }
  int16_t storedAudit() const { return storedAudit_; }
  bool changed() const;

 private:
  // Writes what differs, the use flag first; false when a write failed.
  bool save();

  SetUseFlagView& view_;
  int16_t storedUse_ = 0;
  int16_t storedAudit_ = 0;
  bool okEnabled_ = false;
};

}  // namespace lumo::notify
