// The notification options dialog.
#include <map>

#include "host/services.h"
#include "notify/set_use_flag.h"
#include "notify_fixture.h"

namespace lumo::test {
namespace {

using notify::OptionControl;
using V = std::vector<ustring>;

class FakeOptionsView : public notify::SetUseFlagView {
 public:
  std::map<OptionControl, ustring> captions;
  bool use = false, audit = false, ok = true;
  int closes = 0;
  notify::SetUseFlagPresenter* presenter = nullptr;
  bool open = true;

  void setCaption(OptionControl c, const ustring& t) override { captions[c] = t; }
  bool useChecked() const override { return use; }
  void setUseChecked(bool on) override { use = on; }
  bool auditChecked() const override { return audit; }
  void setAuditChecked(bool on) override { audit = on; }
  void setOkEnabled(bool e) override { ok = e; }
  // As a real dialog: the closing check runs first and may keep it open.
  void close() override {
    ++closes;
    if (!presenter->queryUnload()) open = false;
  }
};

class Options : public NotifyTest {
 protected:
  FakeOptionsView dialog;
  notify::SetUseFlagPresenter options{dialog};
  Options() { dialog.presenter = &options; }
  void load() { options.formLoad(); }
  V setters() { return members(u"LumoMSmsManager.clsBillUseUpdate"); }
};

TEST_F(Options, LoadReadsBothFlagsAndDisablesOk) {
  useFlag = true;
  auditFlag = false;
  load();
  EXPECT_TRUE(dialog.use);
  EXPECT_FALSE(dialog.audit);
  EXPECT_FALSE(dialog.ok);
  EXPECT_EQ(options.storedUse(), 1);
  EXPECT_EQ(options.storedAudit(), 0);
  EXPECT_EQ(members(u"LumoMSmsManager.clsBillUseInfo"), (V{u"GetUseFlag", u"GetAuditFlag"}));
  EXPECT_EQ(dialog.captions[OptionControl::Form], u"选项");
  EXPECT_EQ(dialog.captions[OptionControl::fam1], u"审核用户");
  EXPECT_EQ(dialog.captions[OptionControl::fam2], u"短信审核");
  EXPECT_EQ(dialog.captions[OptionControl::chkFlag], u"启用短信通知后，默认所有用户接收短信通知");
  EXPECT_EQ(dialog.captions[OptionControl::chkFlagAudit], u"接收用户可直接回复短信完成审核操作");
  EXPECT_EQ(dialog.captions[OptionControl::cmdOk], u"确定(&O)");
  EXPECT_EQ(dialog.captions[OptionControl::cmdCancel], u"取消(&C)");
}

TEST_F(Options, NullFlagsCountAsOff) {
  useFlag = Variant::null();
  auditFlag = Variant::null();
  load();
  EXPECT_FALSE(dialog.use);
  EXPECT_FALSE(dialog.audit);
  EXPECT_TRUE(prompts().empty());
}

TEST_F(Options, OpenAndCloseWithoutChangeAsksNothingAndWritesNothing) {
  load();
  dialog.close();
  EXPECT_FALSE(dialog.open);
  EXPECT_TRUE(prompts().empty());
  EXPECT_TRUE(setters().empty());
}

TEST_F(Options, TickAndUntickKeepsOkEnabledAndSavesNothing) {
  load();
  dialog.audit = true;
  options.chkFlagAuditClick();
  EXPECT_TRUE(dialog.ok);
  dialog.audit = false;
  options.chkFlagAuditClick();
  EXPECT_TRUE(dialog.ok);
  options.cmdOkClick();
  EXPECT_TRUE(setters().empty());
  EXPECT_FALSE(dialog.open);
  EXPECT_TRUE(prompts().empty());
}

TEST_F(Options, BoxesAreIndependent) {
  useFlag = false;
  load();
  dialog.use = true;
  options.chkFlagClick();
  EXPECT_FALSE(dialog.audit);
  EXPECT_TRUE(dialog.ok);
}

TEST_F(Options, OnlyTheAuditBoxChangedCallsOnlySetAuditFlag) {
  load();
  dialog.audit = true;
  options.chkFlagAuditClick();
  options.cmdOkClick();
  EXPECT_EQ(setters(), (V{u"SetAuditFlag"}));
  EXPECT_EQ(fake.calls(u"LumoMSmsManager.clsBillUseUpdate"),
            (std::vector<std::string>{"LumoMSmsManager.clsBillUseUpdate.SetAuditFlag('" + u8(props) + "', True)"}));
  EXPECT_EQ(auditFlag, Variant(true));
  EXPECT_FALSE(dialog.open);
  EXPECT_TRUE(prompts().empty());  // saved: nothing left to ask
}

TEST_F(Options, BothChangedWritesUseFlagFirst) {
  load();
  dialog.use = false;
  options.chkFlagClick();
  dialog.audit = true;
  options.chkFlagAuditClick();
  options.cmdOkClick();
  EXPECT_EQ(fake.calls(u"LumoMSmsManager.clsBillUseUpdate"),
            (std::vector<std::string>{"LumoMSmsManager.clsBillUseUpdate.SetUseFlag('" + u8(props) + "', False)",
                                      "LumoMSmsManager.clsBillUseUpdate.SetAuditFlag('" + u8(props) + "', True)"}));
}

TEST_F(Options, CancelWithAChangeAsksAndCancelKeepsTheDialog) {
  load();
  dialog.audit = true;
  options.chkFlagAuditClick();
  fake.answers = {msgbox::vbCancel};
  options.cmdCancelClick();
  ASSERT_EQ(fake.messageBoxes.size(), 1u);
  EXPECT_EQ(fake.messageBoxes[0].prompt, u"数据已被修改，是否保存？");
  EXPECT_EQ(fake.messageBoxes[0].title, u"Vantor提示");
  EXPECT_EQ(fake.messageBoxes[0].buttons, msgbox::vbYesNoCancel | 32);
  EXPECT_TRUE(dialog.open);
  EXPECT_TRUE(dialog.audit);  // as the user left it
  // No: closes without saving.
  fake.answers = {msgbox::vbNo};
  options.cmdCancelClick();
  EXPECT_FALSE(dialog.open);
  EXPECT_TRUE(setters().empty());
}

TEST_F(Options, YesSavesThenCloses) {
  load();
  dialog.use = false;
  options.chkFlagClick();
  fake.answers = {msgbox::vbYes};
  options.cmdCancelClick();
  EXPECT_EQ(setters(), (V{u"SetUseFlag"}));
  EXPECT_EQ(useFlag, Variant(false));
  EXPECT_FALSE(dialog.open);
}

TEST_F(Options, FailedWriteKeepsTheOldValueSoClosingAsksAgain) {
  load();
  dialog.use = false;
  options.chkFlagClick();
  dialog.audit = true;
  options.chkFlagAuditClick();
  failing = {u"SetUseFlag"};
  options.cmdOkClick();
  EXPECT_EQ(prompts(), (V{u"SetUseFlag 失败：数据库连接已断开"}));
  EXPECT_EQ(options.storedUse(), 1);
  EXPECT_EQ(options.storedAudit(), 0);  // the routine stopped before it
  EXPECT_TRUE(dialog.open);
  failing.clear();
  fake.answers = {msgbox::vbNo};
  dialog.close();
  EXPECT_EQ(prompts().size(), 2u);
  EXPECT_EQ(prompts()[1], u"数据已被修改，是否保存？");
  EXPECT_FALSE(dialog.open);
}

TEST_F(Options, FailedSaveOnYesKeepsTheDialogOpen) {
  load();
  dialog.audit = true;
  options.chkFlagAuditClick();
  failing = {u"SetAuditFlag"};
  fake.answers = {msgbox::vbYes};
  dialog.close();
  EXPECT_TRUE(dialog.open);
  EXPECT_EQ(options.storedAudit(), 0);
}

}  // namespace
}  // namespace lumo::test
