#include <gtest/gtest.h>

#include <map>

#include "host/services.h"
#include "mobile/set_user_mobile.h"
#include "mobile_fixture.h"

namespace lumo::mobile {
namespace {

using test::ownEmployeeSql;
using Texts = std::vector<ustring>;

class FakeUserMobileView : public SetUserMobileView {
 public:
  std::map<UserMobileControl, ustring> captions;
  ustring user, employee, mobile;
  bool okEnabled = true;
  std::vector<bool> okHistory;
  int closes = 0;
  ObjectPtr form;

  void setCaption(UserMobileControl c, const ustring& t) override { captions[c] = t; }
  void setUserName(const ustring& t) override { user = t; }
  void setEmployeeName(const ustring& t) override { employee = t; }
  ustring mobileText() const override { return mobile; }
  void setMobileText(const ustring& t) override { mobile = t; }
  void setOkEnabled(bool on) override {
    okEnabled = on;
    okHistory.push_back(on);
  }
  void close() override { ++closes; }
  ObjectPtr formObject() override { return form; }
};

class UserMobile : public test::MobileTest {
 protected:
  FakeUserMobileView view;
  SetUserMobilePresenter window{view};

  void open() {
    ASSERT_TRUE(window.isRelateEmp());
    window.formLoad();
  }
  // The user types: the box changes, then the window hears of it.
  void type(const ustring& text) {
    for (char16_t c : text) {
      if (!acceptMobileKey(c)) continue;
      if (c == 8) {
        if (!view.mobile.empty()) view.mobile.pop_back();
      } else {
        view.mobile += c;
      }
      window.mobileChanged();
    }
  }
  // Closing the way the view does: asks first, then closes when allowed.
  bool tryClose() { return !window.queryUnload(); }
};

TEST_F(UserMobile, ThePropertySetComesFromTheSecurityServiceAndTheExactQuery) {
  ASSERT_TRUE(window.isRelateEmp());
  EXPECT_EQ(db.queries, Texts{ownEmployeeSql(16384)});
  EXPECT_EQ(db.queries[0],
            u"select a.FItemID,a.FName,a.FMobilePhone from t_Emp a inner join t_User b on a.FItemID=b.FEmpID and "
            u"b.FUserID=16384");
  const auto p = test::readDictionary(window.properties());
  ASSERT_EQ(p.size(), 5u);
  EXPECT_EQ(p.at(u"UserName"), Variant(u"王建国"));
  EXPECT_EQ(p.at(u"UserID"), Variant(int32_t(16384)));
  EXPECT_EQ(p.at(u"FEmpID"), Variant(int32_t(1001)));
  EXPECT_EQ(p.at(u"FEmpName"), Variant(u"王建国"));
  EXPECT_EQ(p.at(u"Mobile"), Variant(u"13901010001"));
  EXPECT_EQ(calls(u"OxaBase.SecurityInfo"),
            (std::vector<std::string>{"OxaBase.SecurityInfo.GetCurrentUser('" + test::u8(props) + "')",
                                      "OxaBase.SecurityInfo.GetCurrentUserID('" + test::u8(props) + "')"}));
}

TEST_F(UserMobile, TheKeysAreAddedInTheOrderOfTheTable) {
  ASSERT_TRUE(window.isRelateEmp());
  std::vector<ustring> keys;
  for (const Variant& k : window.properties()->keys()) keys.push_back(k.toString());
  EXPECT_EQ(keys, (Texts{u"UserName", u"UserID", u"FEmpID", u"FEmpName", u"Mobile"}));
}

TEST_F(UserMobile, AUserWithoutEmployeeIsNotRelated) {
  currentUser = u"临时用户";
  currentUserId = int32_t(16387);
  EXPECT_FALSE(window.isRelateEmp());
  EXPECT_EQ(db.queries, Texts{ownEmployeeSql(16387)});
  EXPECT_TRUE(prompts().empty());
}

TEST_F(UserMobile, AnErrorEndsTheCheckWithFalseAndNoMessage) {
  userIdThrows = true;
  EXPECT_FALSE(window.isRelateEmp());
  EXPECT_TRUE(db.queries.empty());
  EXPECT_TRUE(prompts().empty());
  db.failing.insert(ownEmployeeSql(16384));
  userIdThrows = false;
  EXPECT_FALSE(window.isRelateEmp());
}

TEST_F(UserMobile, AnEmployeeWithoutNumberShowsAnEmptyBox) {
  currentUser = u"张伟";
  currentUserId = int32_t(16388);
  open();
  EXPECT_EQ(view.mobile, u"");
  EXPECT_EQ(test::readDictionary(window.properties()).at(u"Mobile"), Variant(u""));
  EXPECT_EQ(view.employee, u"张伟");
}

TEST_F(UserMobile, LoadSetsCaptionsTextsAndDisablesOk) {
  open();
  EXPECT_EQ(view.captions[UserMobileControl::Form], u"修改个人手机信息");
  EXPECT_EQ(view.captions[UserMobileControl::lblUser], u"用户:");
  EXPECT_EQ(view.captions[UserMobileControl::lblEmp], u"职员:");
  EXPECT_EQ(view.captions[UserMobileControl::lblMobile], u"移动电话:");
  EXPECT_EQ(view.captions[UserMobileControl::cmdOk], u"确定(&O)");
  EXPECT_EQ(view.captions[UserMobileControl::cmdCancel], u"取消(&C)");
  EXPECT_EQ(view.user, u"王建国");
  EXPECT_EQ(view.employee, u"王建国");
  EXPECT_EQ(view.mobile, u"13901010001");
  EXPECT_FALSE(view.okEnabled);
  EXPECT_FALSE(window.modified());
}

TEST_F(UserMobile, CaptionsAreLookedUpInTheSessionLanguage) {
  fake.setCurrentLanguage(u"en");
  open();
  EXPECT_EQ(view.captions[UserMobileControl::Form], u"en:修改个人手机信息");
  EXPECT_EQ(view.captions[UserMobileControl::cmdOk], u"en:确定(&O)");
}

TEST_F(UserMobile, TheHostFormFontIsApplied) {
  auto form = std::make_shared<DynamicObject>(u"frmSetUserMobile");
  view.form = form;
  std::vector<Variant> seen;
  fake.registerComponent(u"FrmRes.FrmResLoader", [&seen](test::FakeComponent& c) {
    c.on(u"SetFrmFont", [&seen](InvokeKind, Args& a) -> Variant {
      seen = a;
      return Variant();
    });
  });
  open();
  ASSERT_EQ(seen.size(), 2u);
  EXPECT_EQ(seen[0].toObject(), ObjectPtr(form));
  EXPECT_EQ(seen[1], Variant(u"chs"));
}

TEST_F(UserMobile, OnlyDigitsAndBackspacePassTheKeyFilter) {
  for (int32_t c = 48; c <= 57; ++c) EXPECT_TRUE(acceptMobileKey(c)) << c;
  EXPECT_TRUE(acceptMobileKey(8));
  for (int32_t c : {int32_t('a'), int32_t('A'), int32_t('+'), int32_t('-'), int32_t(' '), int32_t(','), 47, 58, 0, 13, 27, 0xFF10 /* full-width 0 */})
    EXPECT_FALSE(acceptMobileKey(c)) << c;
}

TEST_F(UserMobile, ALetterOrPlusHasNoEffectBackspaceWorks) {
  open();
  type(u"a+");
  EXPECT_EQ(view.mobile, u"13901010001");
  EXPECT_FALSE(window.modified());
  EXPECT_FALSE(view.okEnabled);
  type(u"\b");
  EXPECT_EQ(view.mobile, u"1390101000");
  EXPECT_TRUE(window.modified());
  EXPECT_TRUE(view.okEnabled);
}

TEST_F(UserMobile, AnyChangeSetsTheFlagAndEnablesOk) {
  open();
  window.mobileChanged();  // a paste, say: not filtered
  EXPECT_TRUE(window.modified());
  EXPECT_TRUE(view.okEnabled);
}

TEST_F(UserMobile, OkSavesTheFourArgumentsInOrderAndClosesWithoutQuestion) {
  open();
  type(u"\b\b9");
  fake.clearJournal();
  window.cmdOkClick();
  ASSERT_EQ(userMobileUpdates.size(), 1u);
  EXPECT_EQ(userMobileUpdates[0].at(u"Mobile"), Variant(u"1390101009"));
  EXPECT_EQ(userMobileUpdates[0].at(u"FEmpID"), Variant(int32_t(1001)));
  EXPECT_EQ(userMobileUpdates[0].at(u"UserID"), Variant(int32_t(16384)));
  const auto journal = calls(u"OxaGLItem.ItemUpdate");
  ASSERT_EQ(journal.size(), 1u);
  EXPECT_EQ(journal[0].substr(0, journal[0].find('(') + 1), "OxaGLItem.ItemUpdate.UpdateUserMobile(");
  EXPECT_NE(journal[0].find("'" + test::u8(props) + "', "), std::string::npos);
  EXPECT_NE(journal[0].find(", 'WORKSTATION01', '192.168.10.21')"), std::string::npos) << journal[0];
  EXPECT_FALSE(window.modified());
  EXPECT_FALSE(view.okEnabled);
  EXPECT_EQ(view.closes, 1);
  EXPECT_TRUE(tryClose());
  EXPECT_TRUE(prompts().empty());
  EXPECT_TRUE(calls(u"OxaBase.LogServer").empty());  // the host records the change, not the window
}

TEST_F(UserMobile, TheMachineAndAddressAreReadWhenSaving) {
  open();
  EXPECT_TRUE(fake.readTcpCalls.empty());
  EXPECT_TRUE(fake.computerNameSizes.empty());
  type(u"1");
  fake.computerName = "LATER";
  window.cmdOkClick();
  EXPECT_EQ(fake.readTcpCalls.size(), 1u);
  EXPECT_EQ(fake.computerNameSizes.size(), 1u);
  EXPECT_NE(calls(u"OxaGLItem.ItemUpdate")[0].find("'LATER'"), std::string::npos);
}

TEST_F(UserMobile, AFailingSaveReachesTheCallerAndLeavesTheWindowAsItWas) {
  open();
  type(u"7");
  updateUserMobileThrows = true;
  try {
    window.cmdOkClick();
    FAIL() << "the failure was swallowed";
  } catch (const Error& e) {
    EXPECT_EQ(e.description(), u"违反唯一约束");
  }
  EXPECT_TRUE(window.modified());
  EXPECT_TRUE(view.okEnabled);
  EXPECT_EQ(view.closes, 0);
  EXPECT_EQ(view.mobile, u"139010100017");
  EXPECT_TRUE(prompts().empty());  // reporting it is the window layer's
}

TEST_F(UserMobile, OpeningAndClosingWithoutEditsAsksNothing) {
  open();
  window.cmdCancelClick();
  EXPECT_EQ(view.closes, 1);
  EXPECT_TRUE(tryClose());
  EXPECT_TRUE(prompts().empty());
  EXPECT_TRUE(userMobileUpdates.empty());
}

TEST_F(UserMobile, ClosingAfterAnEditAsksWithYesNoCancel) {
  open();
  type(u"5");
  fake.answers = {msgbox::vbCancel};
  EXPECT_FALSE(tryClose());
  ASSERT_EQ(fake.messageBoxes.size(), 1u);
  EXPECT_EQ(fake.messageBoxes[0].prompt, u"手机号码已被修改，是否保存？");
  EXPECT_EQ(fake.messageBoxes[0].buttons, 35);
  EXPECT_EQ(fake.messageBoxes[0].title, u"Vantor提示");
  EXPECT_TRUE(userMobileUpdates.empty());
  EXPECT_TRUE(window.modified());

  fake.answers = {msgbox::vbYes};
  EXPECT_TRUE(tryClose());
  ASSERT_EQ(userMobileUpdates.size(), 1u);
  EXPECT_EQ(userMobileUpdates[0].at(u"Mobile"), Variant(u"139010100015"));
}

TEST_F(UserMobile, NoClosesWithoutSaving) {
  open();
  type(u"5");
  fake.answers = {msgbox::vbNo};
  EXPECT_TRUE(tryClose());
  EXPECT_TRUE(userMobileUpdates.empty());
}

TEST_F(UserMobile, AFailingSaveOnYesKeepsTheWindowOpen) {
  open();
  type(u"5");
  updateUserMobileThrows = true;
  fake.answers = {msgbox::vbYes};
  EXPECT_THROW(window.queryUnload(), Error);
  EXPECT_TRUE(window.modified());
}

TEST_F(UserMobile, TheQuestionIsLookedUpButTheTitleLocalisedByTheMessageService) {
  fake.setCurrentLanguage(u"en");
  open();
  type(u"5");
  fake.answers = {msgbox::vbNo};
  tryClose();
  ASSERT_EQ(fake.messageBoxes.size(), 1u);
  EXPECT_EQ(fake.messageBoxes[0].prompt, u"en:手机号码已被修改，是否保存？");
  EXPECT_EQ(fake.messageBoxes[0].title, u"en:Vantor提示");
}

}  // namespace
}  // namespace lumo::mobile
