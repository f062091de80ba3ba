#include "mobile/set_user_mobile.h"

#include "host/gateway.h"
#include "host/language.h"
#include "host/services.h"

namespace lumo::mobile {

const char16_t* const kMobileChangedQuestion = u"手机号码已被修改，是否保存？";

namespace {
const char16_t* const kSecurityInfo = u"OxaBase.SecurityInfo";
}  // namespace

ustring userEmployeeSql(const ustring& userId) {
  return ustring(u"select a.FItemID,a.FName,a.FMobilePhone from t_Emp a inner join t_User b on a.FItemID=b.FEmpID") +
         u" and b.FUserID=" + userId;
}

bool acceptMobileKey(int32_t keyAscii) { return (keyAscii >= 48 && keyAscii <= 57) || keyAscii == 8; }

SetUserMobilePresenter::SetUserMobilePresenter(SetUserMobileView& view) : view_(view) {}

bool SetUserMobilePresenter::isRelateEmp() {
  try {
    properties_->setItem(u"UserName", callWithSession(kSecurityInfo, u"GetCurrentUser", {}));
    properties_->setItem(u"UserID", callWithSession(kSecurityInfo, u"GetCurrentUserID", {}));
    Recordset rs = getData(userEmployeeSql(properties_->item(u"UserID").toString()));
    if (rs.eof()) return false;
    properties_->setItem(u"FEmpID", rs.field(u"FItemID"));
    properties_->setItem(u"FEmpName", rs.field(u"FName"));
    properties_->setItem(u"Mobile", rs.text(u"FMobilePhone"));
    return true;
  } catch (const Error&) {
    // The check answers only whether the user may have the window.
    return false;
  }
}

void SetUserMobilePresenter::formLoad() {
  view_.setCaption(UserMobileControl::Form, loadVtString(u"修改个人手机信息"));
  view_.setCaption(UserMobileControl::lblUser, loadVtString(u"用户:"));
  view_.setCaption(UserMobileControl::lblEmp, loadVtString(u"职员:"));
  view_.setCaption(UserMobileControl::lblMobile, loadVtString(u"移动电话:"));
  view_.setCaption(UserMobileControl::cmdOk, loadVtString(u"确定(&O)"));
  view_.setCaption(UserMobileControl::cmdCancel, loadVtString(u"取消(&C)"));
  if (ObjectPtr form = view_.formObject()) setFormFont(form);

  auto text = [&](const char16_t* key) {
    const Variant* v = properties_->find(Variant(ustring(key)));
    return v && !v->isNull() && !v->isEmpty() ? v->toString() : ustring();
  };
  view_.setUserName(text(u"UserName"));
  view_.setEmployeeName(text(u"FEmpName"));
  view_.setMobileText(text(u"Mobile"));
  modified_ = false;
  setOkEnabled(false);
}

void SetUserMobilePresenter::mobileChanged() {
  modified_ = true;
  setOkEnabled(true);
}

void SetUserMobilePresenter::setOkEnabled(bool enabled) { view_.setOkEnabled(enabled); }

void SetUserMobilePresenter::saveMobile() {
  // The machine and its address are read for each save.
  const ustring machine = getMachineName();
  const ustring ip = getIPAddress();
  callWithSession(u"OxaGLItem.ItemUpdate", u"UpdateUserMobile", {Variant(ObjectPtr(properties_)), machine, ip});
}

void SetUserMobilePresenter::cmdOkClick() {
  properties_->setItem(u"Mobile", view_.mobileText());
  saveMobile();
  modified_ = false;
  setOkEnabled(false);
  view_.close();
}

void SetUserMobilePresenter::cmdCancelClick() { view_.close(); }

bool SetUserMobilePresenter::queryUnload() {
  if (!modified_) return false;
  const int32_t answer = msgBoxEx(loadVtString(kMobileChangedQuestion), 35, kDefaultTitle);
  if (answer == msgbox::vbCancel) return true;
  if (answer == msgbox::vbYes) {
    properties_->setItem(u"Mobile", view_.mobileText());
    saveMobile();
  }
  return false;
}

}  // namespace lumo::mobile
