// The window's start and end, the message with its counter, and the dispatch.
#include "sms_fixture.h"

#include "automation/dictionary.h"
#include "host/services.h"

using namespace lumo;
using namespace lumo::test;
using sms::Control;
using sms::Tree;

namespace {
using Texts = std::vector<ustring>;
const ustring kCounter130 = u"您还可以输入130字符,末尾将自动加上发送人姓名";
const char* kProps = "'UserName=张伟;UserID=16394;Language=chs'";

std::vector<std::string> writeLogCalls(const FakePlatform& fake, int action) {
  std::vector<std::string> out;
  for (const auto& e : fake.journal)
    if (e.member == u"WriteLog" && e.args.size() == 6 && e.args[2] == toText(action)) out.push_back(e.text());
  return out;
}
}  // namespace

class Window : public SmsTest {
 protected:
  // A window opened with a message and receivers typed.
  void ready(const ustring& message = u"明天上午九点开会", const ustring& receivers = u"13800000001,13800000002") {
    open();
    view.message = message;
    window.messageChanged();
    view.receivers = receivers;
  }
  std::size_t gatewayCreations() const { return fake.creationCount(u"VtMobileOpen.MobileOpen"); }
};

// ---- the employee check ---------------------------------------------------------------------

TEST_F(Window, AUserBoundToAnEmployeeMaySend) {
  EXPECT_TRUE(window.isRelateEmp());
  EXPECT_EQ(window.senderName(), u"张伟");
  EXPECT_EQ(fake.calls(u"LumoMSmsManager.CSerivceInfo"),
            std::vector<std::string>{std::string("LumoMSmsManager.CSerivceInfo.EmpInfo(") + kProps + ")"});
  EXPECT_EQ(fake.liveInstances(u"LumoMSmsManager.CSerivceInfo"), 0u);
  EXPECT_TRUE(prompts().empty());
}

TEST_F(Window, AUserWithoutEmployeeMayNot) {
  employeeName = u"";
  EXPECT_FALSE(window.isRelateEmp());
  EXPECT_EQ(window.senderName(), u"");
  EXPECT_TRUE(prompts().empty());
}

TEST_F(Window, AMissingEmployeeServiceIsShownAndRefuses) {
  fake.unregister(u"LumoMSmsManager.CSerivceInfo");
  EXPECT_FALSE(window.isRelateEmp());
  ASSERT_EQ(prompts().size(), 1u);
  EXPECT_NE(prompts()[0].find(u"LumoMSmsManager.CSerivceInfo"), ustring::npos);
  EXPECT_EQ(err().number, errnum::CannotCreateObject);
  EXPECT_EQ(err().source, u"SmsManager.frmSendSms.IsRelateEmp");
}

// ---- opening and closing --------------------------------------------------------------------

TEST_F(Window, LoadSetsEveryCaption) {
  open();
  const std::map<Control, ustring> expected{
      {Control::Form, u"发送短信"},
      {Control::faRecevie, u"接收号码"},
      {Control::tabDepartment, u"部门"},
      {Control::tabGroup, u"系统用户组"},
      {Control::cmdFind, u"查找(&F)"},
      {Control::cmdFindNext, u"下一个(&N)"},
      {Control::cmdAdd, u"-->"},
      {Control::lblInfo, u"支持群发,有效号码分隔符为\",\""},
      {Control::cmdClearMobile, u"清空"},
      {Control::faContent, u"短信内容"},
      {Control::lblSms, kCounter130},
      {Control::cmdClear, u"清空"},
      {Control::chkRestore, u"短信可回复"},
      {Control::cmdSend, u"发送(&S)"},
      {Control::cmdCancel, u"取消"},
      // Beside the described captions: what the (empty) message costs with its signature.
      {Control::lblCost, u"含签名每个号码1条短信，0个号码共0条"},
  };
  EXPECT_EQ(view.captions, expected);
  EXPECT_EQ(view.toolTips, (std::map<Control, ustring>{{Control::cmdAdd, u"添加手机号码"}}));
}

TEST_F(Window, CaptionsAreLookedUp) {
  fake.setCurrentLanguage(u"en");
  open();
  EXPECT_EQ(view.captions[Control::Form], u"en:发送短信");
  EXPECT_EQ(view.captions[Control::cmdAdd], u"en:-->");
  EXPECT_EQ(view.captions[Control::lblInfo], u"en:支持群发,有效号码分隔符为\",\"");
  EXPECT_EQ(view.toolTips[Control::cmdAdd], u"en:添加手机号码");
  EXPECT_EQ(view.captions[Control::lblSms], u"en:" + kCounter130);
}

TEST_F(Window, TheReceiverBoxMenuIsLookedUpInItsOrder) {
  open();
  EXPECT_EQ(view.receiverMenu, (std::array<ustring, 6>{u"撤消(&U)", u"剪切(&T)", u"复制(&C)", u"粘贴(&P)", u"删除(&D)",
                                                      u"全选(&A)"}));
  view.receiverMenu = {};
  fake.setCurrentLanguage(u"en");
  sms::SendSmsPresenter english{view};
  english.formLoad();
  EXPECT_EQ(view.receiverMenu[static_cast<int>(sms::ReceiverMenu::Undo)], u"en:撤消(&U)");
  EXPECT_EQ(view.receiverMenu[static_cast<int>(sms::ReceiverMenu::SelectAll)], u"en:全选(&A)");
}

TEST_F(Window, TheCounterStartsAtTheFullLengthWhateverTheBoxHolds) {
  view.message = u"已有文字";
  open();
  EXPECT_EQ(view.captions[Control::lblSms], kCounter130);
  EXPECT_EQ(view.maxLength, 130);
  EXPECT_EQ(window.maxLength(), 130);
}

TEST_F(Window, LoadReadsTheSenderAndWorkstationAndWritesTheOpening) {
  open();
  EXPECT_EQ(window.senderId(), u"13800000001");
  EXPECT_EQ(fake.calls(u"LumoMSmsManager.clsBillUseInfo").back(),
            std::string("LumoMSmsManager.clsBillUseInfo.GetEmpMobile(") + kProps + ")");
  EXPECT_EQ(window.machineName(), u"WORKSTATION01");
  EXPECT_EQ(window.ipAddress(), u"192.168.10.21");
  EXPECT_EQ(logCalls(), std::vector<std::string>{std::string("OxaBase.LogServer.WriteLog(") + kProps +
                                                 ", 'SMS00109', 1, '', 'WORKSTATION01', '192.168.10.21')"});
  EXPECT_TRUE(prompts().empty());
  EXPECT_EQ(view.closes, 0);
}

TEST_F(Window, TheDepartmentTreeIsBuiltBeforeTheSenderIsRead) {
  open();
  std::vector<std::string> members;
  for (const auto& e : fake.journal)
    if (e.component == u"LumoMSmsManager.clsBillUseInfo") members.push_back(u8(e.member));
  EXPECT_EQ(members, (std::vector<std::string>{"GetData", "GetEmpMobile"}));
}

TEST_F(Window, AFailingSenderLookupIsShownAndEndsTheLoad) {
  senderMobile = Variant::null();
  open();
  EXPECT_EQ(prompts(), Texts{u"Invalid use of Null"});
  EXPECT_EQ(err().source, u"SmsManager.frmSendSms.Form_Load");
  EXPECT_TRUE(logCalls().empty());
  EXPECT_EQ(tree(Tree::Department).rootCount(), 5u);  // what was done stays
}

TEST_F(Window, TheFormFontIsAppliedWhenTheViewOffersTheForm) {
  auto form = std::make_shared<DynamicObject>(u"frmSendSms");
  view.form = form;
  std::vector<Variant> seen;
  fake.registerComponent(u"FrmRes.FrmResLoader", [&seen](FakeComponent& c) {
    c.on(u"SetFrmFont", [&seen](InvokeKind, Args& a) -> Variant {
      seen = a;
      return Variant();
    });
  });
  open();
  ASSERT_EQ(seen.size(), 2u);
  EXPECT_EQ(seen[0].toObject(), ObjectPtr(form));
  EXPECT_EQ(seen[1], Variant(u"chs"));
  EXPECT_EQ(logCalls().size(), 1u);
}

TEST_F(Window, UnloadWritesTheClosing) {
  open();
  window.formUnload();
  EXPECT_EQ(writeLogCalls(fake, 3), std::vector<std::string>{std::string("OxaBase.LogServer.WriteLog(") + kProps +
                                                             ", 'SMS00109', 3, '', 'WORKSTATION01', '192.168.10.21')"});
}

TEST_F(Window, AMissingLogServerStopsNothing) {
  fake.unregister(u"OxaBase.LogServer");
  ready();
  window.cmdSendClick();
  window.formUnload();
  EXPECT_EQ(sent.size(), 1u);
  EXPECT_EQ(prompts(), Texts{u"发送成功"});
}

TEST_F(Window, CancelCloses) {
  open();
  window.cmdCancelClick();
  EXPECT_EQ(view.closes, 1);
}

// ---- the counter ----------------------------------------------------------------------------

TEST_F(Window, TheCounterShowsWhatIsLeft) {
  open();
  view.message = u"abc";
  window.messageChanged();
  EXPECT_EQ(view.captions[Control::lblSms], u"您还可以输入127字符,末尾将自动加上发送人姓名");
  view.message = u"你好，世界";  // every character counts one
  window.messageChanged();
  EXPECT_EQ(view.captions[Control::lblSms], u"您还可以输入125字符,末尾将自动加上发送人姓名");
  view.message = ustring(130, u'字');
  window.messageChanged();
  EXPECT_EQ(view.captions[Control::lblSms], u"您还可以输入0字符,末尾将自动加上发送人姓名");
  view.message = ustring(131, u'x');
  window.messageChanged();
  EXPECT_EQ(view.captions[Control::lblSms], u"您还可以输入-1字符,末尾将自动加上发送人姓名");
}

TEST_F(Window, TheCostLineCountsTheSignatureAndEveryReceiver) {
  open();
  // 64 characters, "--" and the sender's two: 68, one SMS each.
  view.message = ustring(64, u'会');
  window.messageChanged();
  view.receivers = u"13800000001,13800000002,,13800000003";
  window.receiversChanged();
  EXPECT_EQ(view.captions[Control::lblCost], u"含签名每个号码1条短信，3个号码共3条");
  // Three more characters and the signature pushes it into two parts.
  view.message = ustring(67, u'会');
  window.messageChanged();
  EXPECT_EQ(view.captions[Control::lblCost], u"含签名每个号码2条短信，3个号码共6条");
  // The message as sent is trimmed: blanks around it cost nothing.
  view.message = u"   " + ustring(64, u'会') + u"   ";
  window.messageChanged();
  EXPECT_EQ(view.captions[Control::lblCost], u"含签名每个号码1条短信，3个号码共3条");
}

TEST_F(Window, TheCostLineFollowsTheReceiversTheWindowChanges) {
  open();
  view.message = u"hello";
  window.messageChanged();
  view.receivers = u"13800000001";
  window.receiversChanged();
  EXPECT_EQ(view.captions[Control::lblCost], u"含签名每个号码1条短信，1个号码共1条");
  window.cmdClearMobileClick();
  EXPECT_EQ(view.captions[Control::lblCost], u"含签名每个号码1条短信，0个号码共0条");
}

TEST_F(Window, APrefilledWindowOpensWithTheReceiversAndTheMessageAndSendsNothing) {
  window.prefill(u"13800000001,13800000002", u"明天开会");
  open();
  EXPECT_EQ(view.receivers, u"13800000001,13800000002");
  EXPECT_EQ(view.message, u"明天开会");
  EXPECT_EQ(view.captions[Control::lblSms], u"您还可以输入126字符,末尾将自动加上发送人姓名");
  EXPECT_EQ(view.captions[Control::lblCost], u"含签名每个号码1条短信，2个号码共2条");
  EXPECT_TRUE(fake.calls(u"VtMobileOpen.MobileOpen").empty());
}

TEST_F(Window, APrefilledMessageIsCutToTheBoxLength) {
  window.prefill(u"13800000001", ustring(129, u'字') + u"\U0001F600" + u"尾");
  open();
  // The cut would split the last character: it goes whole.
  EXPECT_EQ(view.message, ustring(129, u'字'));
}

TEST_F(Window, ClearingTheMessageResetsTheCounter) {
  ready();
  window.cmdClearClick();
  EXPECT_EQ(view.message, u"");
  EXPECT_EQ(view.captions[Control::lblSms], kCounter130);
  EXPECT_EQ(view.receivers, u"13800000001,13800000002");
}

// ---- sending --------------------------------------------------------------------------------

TEST_F(Window, SendHandsTheGatewayTheParameterSetInOrder) {
  ready(u"  明天上午九点开会  ", u"13800000001,13800000002");
  window.cmdSendClick();
  ASSERT_EQ(sent.size(), 1u);
  const Parameters& p = sent[0];
  std::vector<ustring> names;
  for (const auto& [k, v] : p) names.push_back(k);
  EXPECT_EQ(names, (Texts{u"title", u"msgType", u"Propstr", u"isRevertible", u"receivers", u"senderid",
                          u"FuncNumber"}));
  EXPECT_EQ(parameter(p, u"title"), Variant(u"明天上午九点开会--张伟"));
  EXPECT_EQ(parameter(p, u"msgType"), Variant(int16_t(0)));
  EXPECT_EQ(parameter(p, u"Propstr"), Variant(u"UserName=张伟;UserID=16394;Language=chs"));
  EXPECT_EQ(parameter(p, u"isRevertible"), Variant(int16_t(0)));
  EXPECT_EQ(parameter(p, u"receivers"), Variant(u"13800000001,13800000002"));
  EXPECT_EQ(parameter(p, u"senderid"), Variant(u"13800000001"));
  EXPECT_EQ(parameter(p, u"FuncNumber"), Variant(u"YDSW"));
  EXPECT_EQ(fake.liveInstances(u"VtMobileOpen.MobileOpen"), 0u);
}

TEST_F(Window, TheParameterSetIsADictionaryWithExactKeys) {
  ObjectPtr received;
  fake.registerComponent(u"VtMobileOpen.MobileOpen", [&received](FakeComponent& c) {
    c.on(u"SendMessage", [&received](InvokeKind, Args& a) -> Variant {
      received = a.at(0).deref().toObject();
      return u"ok";
    });
  });
  ready();
  window.cmdSendClick();
  ASSERT_TRUE(received);
  EXPECT_EQ(received->className(), u"Dictionary");
  EXPECT_EQ(received->get(u"Count"), Variant(7));
  EXPECT_EQ(received->call(u"Exists", {u"receivers"}), Variant(true));
  EXPECT_EQ(received->call(u"Exists", {u"Receivers"}), Variant(false));
  EXPECT_EQ(received->get(u"", {u"FuncNumber"}), Variant(u"YDSW"));
}

TEST_F(Window, TheReplyOptionFollowsTheBox) {
  ready();
  view.restore = true;
  window.cmdSendClick();
  ASSERT_EQ(sent.size(), 1u);
  EXPECT_EQ(parameter(sent[0], u"isRevertible"), Variant(int16_t(1)));
}

TEST_F(Window, ASuccessIsLoggedAndAnnounced) {
  ready();
  window.cmdSendClick();
  EXPECT_EQ(writeLogCalls(fake, 5), std::vector<std::string>{std::string("OxaBase.LogServer.WriteLog(") + kProps +
                                                             ", 'SMS00109', 5, '发送短信', 'WORKSTATION01', "
                                                             "'192.168.10.21')"});
  ASSERT_EQ(fake.messageBoxes.size(), 1u);
  EXPECT_EQ(fake.messageBoxes[0].prompt, u"发送成功");
  EXPECT_EQ(fake.messageBoxes[0].buttons, msgbox::vbInformation);
  EXPECT_EQ(fake.messageBoxes[0].title, u"Vantor提示");
}

TEST_F(Window, AnyNonEmptyResultIsASuccess) {
  gatewayResult = int32_t(42);
  ready();
  window.cmdSendClick();
  EXPECT_EQ(prompts(), Texts{u"发送成功"});
}

TEST_F(Window, SuccessTextsAreLookedUp) {
  fake.setCurrentLanguage(u"en");
  ready();
  window.cmdSendClick();
  EXPECT_EQ(prompts(), Texts{u"en:发送成功"});
  EXPECT_EQ(fake.messageBoxes[0].title, u"en:Vantor提示");
  ASSERT_EQ(writeLogCalls(fake, 5).size(), 1u);
  EXPECT_NE(writeLogCalls(fake, 5)[0].find("'en:发送短信'"), std::string::npos);
}

TEST_F(Window, TheWindowKeepsEverythingAfterASuccess) {
  open();
  check(Tree::Department, u"D1");
  window.cmdAddClick();
  view.message = u"通知";
  window.cmdSendClick();
  EXPECT_EQ(sent.size(), 1u);
  EXPECT_EQ(view.message, u"通知");
  EXPECT_EQ(view.receivers, u"13800000001,13800000002");
  EXPECT_TRUE(tree(Tree::Department).checked(node(Tree::Department, u"E1001")));
  EXPECT_EQ(view.closes, 0);
}

TEST_F(Window, SendingTwiceSendsTwice) {
  ready();
  window.cmdSendClick();
  window.cmdSendClick();
  EXPECT_EQ(sent.size(), 2u);
  EXPECT_EQ(gatewayCreations(), 2u);
  EXPECT_EQ(writeLogCalls(fake, 5).size(), 2u);
  EXPECT_EQ(prompts(), (Texts{u"发送成功", u"发送成功"}));
}

TEST_F(Window, AFullMessageIsSentWithTheSignatureBeyondTheLimit) {
  const ustring full(130, u'会');
  ready(full);
  EXPECT_EQ(view.captions[Control::lblSms], u"您还可以输入0字符,末尾将自动加上发送人姓名");
  window.cmdSendClick();
  ASSERT_EQ(sent.size(), 1u);
  const ustring title = parameter(sent[0], u"title").toString();
  EXPECT_EQ(title, full + u"--张伟");
  EXPECT_EQ(title.size(), 134u);
}

TEST_F(Window, EmptyOrBlankMessageOrReceiversAreRefused) {
  const std::vector<std::pair<ustring, ustring>> cases{
      {u"", u"13800000001"}, {u"   ", u"13800000001"}, {u"通知", u""}, {u"通知", u"   "}, {u"", u""}};
  open();
  for (const auto& [message, receivers] : cases) {
    view.message = message;
    view.receivers = receivers;
    window.cmdSendClick();
  }
  EXPECT_EQ(prompts(), Texts(cases.size(), u"必须输入短信内容和接收号码"));
  EXPECT_EQ(gatewayCreations(), 0u);
  EXPECT_TRUE(writeLogCalls(fake, 5).empty());
}

TEST_F(Window, ABadNumberIsShownAndNothingIsSent) {
  ready(u"通知", u"13800000001,138000000012");
  window.cmdSendClick();
  view.receivers = u"1380000000a";
  window.cmdSendClick();
  EXPECT_EQ(prompts(), (Texts{u"手机号码长度不能大于11!", u"手机号码中包含非法字符!"}));
  EXPECT_EQ(gatewayCreations(), 0u);
  EXPECT_EQ(view.receivers, u"1380000000a");
}

TEST_F(Window, RefusalsAreLookedUp) {
  fake.setCurrentLanguage(u"en");
  ready(u"通知", u"1380000000a");
  window.cmdSendClick();
  view.message = u"";
  window.cmdSendClick();
  EXPECT_EQ(prompts(), (Texts{u"en:手机号码中包含非法字符!", u"en:必须输入短信内容和接收号码"}));
}

TEST_F(Window, AVerdictAsksForTheLanguageOnce) {
  ready(u"通知", u"1380000000a");
  fake.clearJournal();
  window.cmdSendClick();
  EXPECT_EQ(prompts(), Texts{u"手机号码中包含非法字符!"});
  EXPECT_EQ(fake.creationCount(u"LumoLangInfo.LangInfo"), 1u);
  // The next press is an action of its own.
  window.cmdSendClick();
  EXPECT_EQ(fake.creationCount(u"LumoLangInfo.LangInfo"), 2u);
}

TEST_F(Window, AWindowHoldsTheClassObjectsWhileItLives) {
  auto held = [&] {
    int n = 0;
    for (bool h : fake.classObjectHolds) n += h ? 1 : -1;
    return n;
  };
  EXPECT_EQ(held(), 1);  // the fixture's window
  {
    sms::SendSmsPresenter another(view);
    another.formLoad();
    EXPECT_EQ(held(), 2);
  }
  EXPECT_EQ(held(), 1);
}

TEST_F(Window, ATrailingCommaPassesAndIsHandedOnAsTyped) {
  ready(u"通知", u"13800000001,");
  window.cmdSendClick();
  ASSERT_EQ(sent.size(), 1u);
  EXPECT_EQ(parameter(sent[0], u"receivers"), Variant(u"13800000001,"));
}

TEST_F(Window, AnEmptyResultIsAFailureWithoutLog) {
  gatewayResult = u"";
  ready();
  window.cmdSendClick();
  EXPECT_EQ(sent.size(), 1u);
  EXPECT_EQ(prompts(), Texts{u"发送失败：短信平台连接失败"});
  EXPECT_EQ(fake.messageBoxes[0].buttons, msgbox::vbOKOnly);
  EXPECT_TRUE(writeLogCalls(fake, 5).empty());
  EXPECT_EQ(view.message, u"明天上午九点开会");
  EXPECT_EQ(view.receivers, u"13800000001,13800000002");
}

TEST_F(Window, AMissingGatewayIsReportedAsAConnectionFailure) {
  fake.unregister(u"VtMobileOpen.MobileOpen");
  ready();
  window.cmdSendClick();
  EXPECT_EQ(prompts(), Texts{u"短信平台连接失败"});
  EXPECT_EQ(err().number, errnum::CannotCreateObject);
  EXPECT_EQ(err().source, u"SmsManager.frmSendSms.cmdSend_Click");
  EXPECT_TRUE(writeLogCalls(fake, 5).empty());
  EXPECT_EQ(view.message, u"明天上午九点开会");
  EXPECT_EQ(view.receivers, u"13800000001,13800000002");
}

TEST_F(Window, ARaisingGatewayIsReportedAsAConnectionFailure) {
  gatewayThrows = true;
  fake.setCurrentLanguage(u"en");
  ready();
  window.cmdSendClick();
  EXPECT_EQ(sent.size(), 1u);
  EXPECT_EQ(prompts(), Texts{u"en:短信平台连接失败"});
  EXPECT_EQ(err().description, u"RPC 服务器不可用");
  EXPECT_TRUE(writeLogCalls(fake, 5).empty());
  EXPECT_EQ(fake.liveInstances(u"VtMobileOpen.MobileOpen"), 0u);
  EXPECT_EQ(view.message, u"明天上午九点开会");
}

TEST_F(Window, ANullResultIsReportedAsAConnectionFailure) {
  gatewayResult = Variant::null();
  ready();
  window.cmdSendClick();
  EXPECT_EQ(prompts(), Texts{u"短信平台连接失败"});
  EXPECT_TRUE(writeLogCalls(fake, 5).empty());
}

TEST_F(Window, AMegabyteOfReceiversIsCheckedAndHandedOnIntact) {
  ustring list;
  while (list.size() < (1u << 20)) list += u"13912345678,";
  ready(u"通知", list);
  window.cmdSendClick();
  ASSERT_EQ(sent.size(), 1u);
  EXPECT_EQ(parameter(sent[0], u"receivers").toString(), list);
  EXPECT_EQ(prompts(), Texts{u"发送成功"});
}

TEST_F(Window, NulsAndLoneSurrogatesInNameAndMessageArriveIntact) {
  employeeName = ustring(u"张\0伟", 3);
  const ustring message(u"\xD800通\0知\xDFFF", 5);
  ready(message);
  window.cmdSendClick();
  ASSERT_EQ(sent.size(), 1u);
  EXPECT_EQ(parameter(sent[0], u"title").toString(), message + u"--" + ustring(u"张\0伟", 3));
}

TEST_F(Window, ANulInTheReceiversIsAnIllegalCharacter) {
  ready(u"通知", ustring(u"1380000\0" u"0001", 12));
  window.cmdSendClick();
  EXPECT_EQ(prompts(), Texts{u"手机号码长度不能大于11!"});
  view.receivers = ustring(u"138\0" u"1", 5);
  window.cmdSendClick();
  EXPECT_EQ(prompts().back(), u"手机号码中包含非法字符!");
  EXPECT_TRUE(sent.empty());
}
