#include "notify/set_use_flag.h"

#include "host/gateway.h"
#include "host/language.h"
#include "host/services.h"
#include "host/session.h"

namespace lumo::notify {

namespace {

const char16_t* const kInfo = u"LumoMSmsManager.clsBillUseInfo";
const char16_t* const kUpdate = u"LumoMSmsManager.clsBillUseUpdate";
constexpr int32_t kQuestionIcon = 32;

ustring source(const char16_t* routine) { return ustring(u"SmsManager.frmSetUseFlag.") + routine; }

// A stored flag: Null (and Empty) count as off.
int16_t readFlag(const char16_t* method) {
  const Variant v = callWithSession(kInfo, method, {});
  if (v.isNull() || v.isEmpty()) return 0;
  return v.toBool() ? 1 : 0;
}

int16_t boxValue(bool checked) { return checked ? 1 : 0; }

}  // namespace

SetUseFlagPresenter::SetUseFlagPresenter(SetUseFlagView& view) : view_(view) {}

bool SetUseFlagPresenter::changed() const {
  return boxValue(view_.useChecked()) != storedUse_ || boxValue(view_.auditChecked()) != storedAudit_;
}

void SetUseFlagPresenter::formLoad() {
  errorTrap(source(u"Form_Load"), [&] {
    ActionScope action;
    view_.setCaption(OptionControl::Form, loadVtString(u"选项"));
    view_.setCaption(OptionControl::fam1, loadVtString(u"审核用户"));
    view_.setCaption(OptionControl::fam2, loadVtString(u"短信审核"));
    view_.setCaption(OptionControl::chkFlag, loadVtString(u"启用短信通知后，默认所有用户接收短信通知"));
    view_.setCaption(OptionControl::chkFlagAudit, loadVtString(u"接收用户可直接回复短信完成审核操作"));
    view_.setCaption(OptionControl::cmdOk, loadVtString(u"确定(&O)"));
    view_.setCaption(OptionControl::cmdCancel, loadVtString(u"取消(&C)"));
    storedUse_ = readFlag(u"GetUseFlag");
    view_.setUseChecked(storedUse_ == 1);
    storedAudit_ = readFlag(u"GetAuditFlag");
    view_.setAuditChecked(storedAudit_ == 1);
    okEnabled_ = false;
    view_.setOkEnabled(false);
  });
}

void SetUseFlagPresenter::chkFlagClick() {
  // Once enabled the button stays so: saving writes only what differs.
  if (boxValue(view_.useChecked()) != storedUse_ && !okEnabled_) {
    okEnabled_ = true;
    view_.setOkEnabled(true);
  }
}

void SetUseFlagPresenter::chkFlagAuditClick() {
  if (boxValue(view_.auditChecked()) != storedAudit_ && !okEnabled_) {
    okEnabled_ = true;
    view_.setOkEnabled(true);
  }
}

bool SetUseFlagPresenter::save() {
  return errorTrap(source(u"SaveFlag"), [&] {
    const int16_t use = boxValue(view_.useChecked());
    if (use != storedUse_) {
      callWithSession(kUpdate, u"SetUseFlag", {Variant(use == 1)});
      storedUse_ = use;
    }
    const int16_t audit = boxValue(view_.auditChecked());
    if (audit != storedAudit_) {
      callWithSession(kUpdate, u"SetAuditFlag", {Variant(audit == 1)});
      storedAudit_ = audit;
    }
  });
}

void SetUseFlagPresenter::cmdOkClick() {
  if (save()) view_.close();
}

void SetUseFlagPresenter::cmdCancelClick() { view_.close(); }

bool SetUseFlagPresenter::queryUnload() {
  bool keepOpen = false;
  errorTrap(source(u"Form_QueryUnload"), [&] {
    if (!changed()) return;
    const int32_t answer =
        msgBoxEx(loadVtString(u"数据已被修改，是否保存？"), msgbox::vbYesNoCancel | kQuestionIcon, kDefaultTitle);
    if (answer == msgbox::vbCancel) keepOpen = true;
    // A save that failed has told why; the dialog stays so the user can decide again.
    else if (answer == msgbox::vbYes)
      keepOpen = !save();
  });
  return keepOpen;
}

}  // namespace lumo::notify
