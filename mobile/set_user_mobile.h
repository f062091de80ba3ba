// The personal mobile number dialog: the signed-in user sees the employee the
// account is bound to and changes that employee's mobile number.
//
// Every rule lives here; the view shows the texts, forwards the number box's
// changes and the buttons, and closes when told. The property set describing
// the user is sent whole to the host when the number is saved.
#pragma once

#include <cstdint>
#include <memory>

#include "automation/dictionary.h"
#include "automation/object.h"

namespace lumo::mobile {

// Controls whose caption the dialog sets.
enum class UserMobileControl : int32_t { Form, lblUser, lblEmp, lblMobile, cmdOk, cmdCancel };

class SetUserMobileView {
 public:
  virtual ~SetUserMobileView() = default;
  virtual void setCaption(UserMobileControl control, const ustring& text) = 0;
  virtual void setUserName(const ustring& text) = 0;      // txtUserName
  virtual void setEmployeeName(const ustring& text) = 0;  // txtEmp
  // txtMobile. Setting it raises no change event back into the presenter.
  virtual ustring mobileText() const = 0;
  virtual void setMobileText(const ustring& text) = 0;
  virtual void setOkEnabled(bool enabled) = 0;
  // Asks the window to close: the view then asks queryUnload whether it may.
  virtual void close() = 0;
  // The window as an automation object for the host's form-font service.
  virtual ObjectPtr formObject() { return nullptr; }
};

// The query that finds the employee of a user id, as sent to GetData.
ustring userEmployeeSql(const ustring& userId);
// The number box takes the digits and backspace from the keyboard.
bool acceptMobileKey(int32_t keyAscii);

extern const char16_t* const kMobileChangedQuestion;  // "手机号码已被修改，是否保存？"

class SetUserMobilePresenter {
 public:
  explicit SetUserMobilePresenter(SetUserMobileView& view);
  SetUserMobilePresenter(const SetUserMobilePresenter&) = delete;
  SetUserMobilePresenter& operator=(const SetUserMobilePresenter&) = delete;

  // Fills the property set from the host; true when the user is bound to an
  // employee. Any error ends it with false.
  bool isRelateEmp();
  void formLoad();
  // txtMobile changed (by the user).
  void mobileChanged();
  // The buttons. A failing save is not caught here: it reaches whoever raised
  // the event, and the steps after the save do not run.
  void cmdOkClick();
  void cmdCancelClick();
  // Any way of closing asks this first: true keeps the window open.
  bool queryUnload();

  void setOkEnabled(bool enabled);
  // Sends the property set through UpdateUserMobile.
  void saveMobile();

  bool modified() const { return modified_; }
  const std::shared_ptr<Dictionary>& properties() const { return properties_; }

 private:
  SetUserMobileView& view_;
  std::shared_ptr<Dictionary> properties_ = std::make_shared<Dictionary>();
  bool modified_ = false;
};

}  // namespace lumo::mobile
