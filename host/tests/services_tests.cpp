#include "host_test.h"
#include "host/language.h"
#include "host/services.h"
#include "host/session.h"

using namespace lumo;
using namespace lumo::test;

class Services : public HostTest {};

// ---- MsgBoxEx ------------------------------------------------------------------------

TEST_F(Services, DefaultTitleIsTheHouseTitle) { EXPECT_EQ(ustring(kDefaultTitle), u"Vantor提示"); }

TEST_F(Services, HouseTitleIsLocalised) {
  fake.setCurrentLanguage(u"en");
  fake.addResLoader(u"LumoResLoader.Loader", {{u"Vantor提示", u"Vantor Prompt"}});
  fake.answers.push_back(msgbox::vbYes);
  EXPECT_EQ(msgBoxEx(u"确定删除吗？", msgbox::vbYesNo, u"Vantor提示"), msgbox::vbYes);
  ASSERT_EQ(fake.messageBoxes.size(), 1u);
  EXPECT_EQ(fake.messageBoxes[0].prompt, u"确定删除吗？");
  EXPECT_EQ(fake.messageBoxes[0].buttons, msgbox::vbYesNo);
  EXPECT_EQ(fake.messageBoxes[0].title, u"Vantor Prompt");
}

TEST_F(Services, HouseTitleStaysInSimplifiedChinese) {
  fake.addResLoader(u"LumoResLoader.Loader");
  msgBoxEx(u"x");
  EXPECT_EQ(fake.messageBoxes.at(0).title, u"Vantor提示");
  EXPECT_EQ(fake.messageBoxes.at(0).buttons, msgbox::vbOKOnly);
}

TEST_F(Services, OtherTitlesAreShownAsGiven) {
  fake.setCurrentLanguage(u"en");
  fake.addResLoader(u"LumoResLoader.Loader");
  msgBoxEx(u"x", msgbox::vbOKCancel, u"提示");
  msgBoxEx(u"y", msgbox::vbOKCancel, u" Vantor提示");
  msgBoxEx(u"z", msgbox::vbOKCancel, u"");
  EXPECT_EQ(fake.messageBoxes.at(0).title, u"提示");
  EXPECT_EQ(fake.messageBoxes.at(1).title, u" Vantor提示");
  EXPECT_EQ(fake.messageBoxes.at(2).title, u"");
  EXPECT_EQ(fake.calls(u"LumoResLoader.Loader").size(), 0u);
}

TEST_F(Services, ButtonsAndResultsPassThroughUnchanged) {
  fake.answers = {msgbox::vbRetry, msgbox::vbIgnore, msgbox::vbCancel};
  EXPECT_EQ(msgBoxEx(u"a", msgbox::vbAbortRetryIgnore | msgbox::vbInformation, u"t"), msgbox::vbRetry);
  EXPECT_EQ(msgBoxEx(u"b", msgbox::vbAbortRetryIgnore, u"t"), msgbox::vbIgnore);
  EXPECT_EQ(msgBoxEx(u"c", msgbox::vbRetryCancel, u"t"), msgbox::vbCancel);
  EXPECT_EQ(fake.messageBoxes.at(0).buttons, 2 | 64);
  EXPECT_EQ(fake.messageBoxes.at(2).buttons, 5);
}

TEST_F(Services, HouseTitleWithFailingLoaderStaysChinese) {
  fake.setCurrentLanguage(u"en");
  fake.addFailingResLoader(u"LumoResLoader.Loader");
  msgBoxEx(u"x");
  EXPECT_EQ(fake.messageBoxes.at(0).title, u"Vantor提示");
}

TEST_F(Services, HostMessageShowsTextWithOkAndHouseTitle) {
  showHostMessage(u"该用户没有关联职员，不能发送短信");
  ASSERT_EQ(fake.messageBoxes.size(), 1u);
  EXPECT_EQ(fake.messageBoxes[0].prompt, u"该用户没有关联职员，不能发送短信");
  EXPECT_EQ(fake.messageBoxes[0].buttons, msgbox::vbOKOnly);
  EXPECT_EQ(fake.messageBoxes[0].title, u"Vantor提示");
}

// ---- WriteLog -------------------------------------------------------------------------

TEST_F(Services, WriteLogPassesSixArgumentsInOrder) {
  session(u"UserName=x;Language=chs");
  fake.addLogServer(17);
  EXPECT_EQ(writeLog(u"SMS00109", audit::Operation, u"发送短信", u"PC-01", u"10.0.0.5"), 17);
  EXPECT_EQ(fake.calls(u"OxaBase.LogServer"),
            std::vector<std::string>{
                "OxaBase.LogServer.WriteLog('UserName=x;Language=chs', 'SMS00109', 5, '发送短信', 'PC-01', '10.0.0.5')"});
}

TEST_F(Services, WriteLogPassesTheActionAsLong) {
  session(u"Language=chs");
  Variant action;
  fake.registerComponent(u"OxaBase.LogServer", [&](FakeComponent& c) {
    c.on(u"WriteLog", [&](InvokeKind, Args& a) {
      action = a[2];
      return Variant(int32_t(1));
    });
  });
  writeLog(u"SMS00102", audit::Opened, u"", u"", u"");
  EXPECT_EQ(action.type(), Variant::Type::I4);
  EXPECT_EQ(action.rawI4(), 1);
}

TEST_F(Services, WriteLogCreatesTheServerBeforeReadingTheSession) {
  session(u"Language=chs");
  fake.addLogServer();
  writeLog(u"SMS00107", audit::Closed, u"", u"m", u"i");
  EXPECT_EQ(fake.creations, (std::vector<ustring>{u"OxaBase.LogServer", u"PropsMgr.ShareProps"}));
  EXPECT_EQ(fake.liveInstances(u"OxaBase.LogServer"), 0u);
}

TEST_F(Services, WriteLogIsSilentWhenTheLogServerIsMissing) {
  session(u"Language=chs");
  err().set(Error(9, u"pending"));
  EXPECT_EQ(writeLog(u"SMS00109", 1, u"", u"", u""), 0);
  EXPECT_TRUE(fake.messageBoxes.empty());
  EXPECT_EQ(err().number, 9);
}

TEST_F(Services, WriteLogIsSilentWhenTheCallFails) {
  session(u"Language=chs");
  fake.registerComponent(u"OxaBase.LogServer", [](FakeComponent& c) {
    c.on(u"WriteLog", [](InvokeKind, Args&) -> Variant { throw Error(-2147217900, u"SQL error"); });
  });
  EXPECT_EQ(writeLog(u"SMS00109", 1, u"", u"", u""), 0);
}

TEST_F(Services, WriteLogIsSilentWithoutSession) {
  fake.addLogServer(3);
  EXPECT_EQ(writeLog(u"SMS00109", 1, u"", u"", u""), 0);
}

TEST_F(Services, WriteLogOfNonNumericResultGivesZero) {
  session(u"Language=chs");
  fake.registerComponent(u"OxaBase.LogServer", [](FakeComponent& c) {
    c.on(u"WriteLog", [](InvokeKind, Args&) { return Variant(u"ok"); });
  });
  EXPECT_EQ(writeLog(u"SMS00109", 1, u"", u"", u""), 0);
}

TEST_F(Services, WriteLogEmptyResultIsZero) {
  session(u"Language=chs");
  fake.registerComponent(u"OxaBase.LogServer", [](FakeComponent& c) {
    c.on(u"WriteLog", [](InvokeKind, Args&) { return Variant(); });
  });
  EXPECT_EQ(writeLog(u"SMS00109", 1, u"", u"", u""), 0);
}

// ---- batch audit ---------------------------------------------------------------------------

TEST_F(Services, BatchRecordIsReadableByFieldName) {
  ObjectPtr r = makeBatchAuditRecord(u"SMS00107", u"启用审批通知服务:[请假单]", u"PC-01", u"10.0.0.5");
  EXPECT_EQ(r->get(u"Item", {u"FFuncID"}), Variant(u"SMS00107"));
  EXPECT_EQ(r->get(u"", {u"fdesc"}), Variant(u"启用审批通知服务:[请假单]"));
  EXPECT_EQ(r->get(u"Item", {u"FMachineName"}), Variant(u"PC-01"));
  EXPECT_EQ(r->get(u"Item", {u"FIPAddress"}), Variant(u"10.0.0.5"));
  EXPECT_EQ(r->get(u"Count"), Variant(int32_t(5)));
}

TEST_F(Services, BatchRecordStatementIsSixteenBitFive) {
  ObjectPtr r = makeBatchAuditRecord(u"SMS00107", u"", u"", u"");
  const Variant s = r->get(u"Item", {u"FStatement"});
  EXPECT_EQ(s.type(), Variant::Type::I2);
  EXPECT_EQ(s.rawI2(), 5);
}

TEST_F(Services, BatchRecordFieldsStandInTheirOrder) {
  ObjectPtr r = makeBatchAuditRecord(u"F", u"D", u"M", u"I");
  auto items = r->enumerate();
  ASSERT_EQ(items.size(), 5u);
  EXPECT_EQ(items[0], Variant(u"F"));
  EXPECT_EQ(items[1], Variant(int16_t(5)));
  EXPECT_EQ(items[2], Variant(u"D"));
  EXPECT_EQ(items[3], Variant(u"M"));
  EXPECT_EQ(items[4], Variant(u"I"));
  EXPECT_EQ(r->className(), u"Collection");
}

TEST_F(Services, BatchLogHandsSessionAndRecordsByReference) {
  session(u"Language=chs");
  fake.addLogServer();
  auto records = std::make_shared<Collection>();
  records->add(Variant(makeBatchAuditRecord(u"SMS00107", u"a", u"m", u"i")));
  records->add(Variant(makeBatchAuditRecord(u"SMS00107", u"b", u"m", u"i")));
  writeBatchLog(records);
  EXPECT_EQ(fake.calls(u"OxaBase.LogServer"),
            std::vector<std::string>{"OxaBase.LogServer.WriteBatchLog('Language=chs', <object>)"});
  ASSERT_EQ(fake.batchLogs.size(), 1u);
  EXPECT_EQ(fake.batchLogs[0].toObject(), records);
}

TEST_F(Services, BatchLogArgumentIsAReference) {
  session(u"Language=chs");
  bool byRef = false;
  fake.registerComponent(u"OxaBase.LogServer", [&](FakeComponent& c) {
    c.on(u"WriteBatchLog", [&](InvokeKind, Args& a) {
      byRef = a.at(1).isRef();
      return Variant();
    });
  });
  writeBatchLog(std::make_shared<Collection>());
  EXPECT_TRUE(byRef);
}

TEST_F(Services, BatchLogFailureReachesTheCaller) {
  session(u"Language=chs");
  EXPECT_EQ(errorOf([] { writeBatchLog(std::make_shared<Collection>()); }), errnum::CannotCreateObject);
}

// ---- machine name -----------------------------------------------------------------------

TEST_F(Services, MachineNameOfFifteenCharactersHasNoTrailingBlanksOrNuls) {
  fake.computerName = "ABCDEFGHIJKLMNO";
  const ustring name = getMachineName();
  EXPECT_EQ(name, u"ABCDEFGHIJKLMNO");
  EXPECT_EQ(name.size(), 15u);
}

TEST_F(Services, MachineNameAsksWithA128ByteBuffer) {
  getMachineName();
  ASSERT_EQ(fake.computerNameSizes.size(), 1u);
  EXPECT_EQ(fake.computerNameSizes[0], 128u);
  EXPECT_EQ(fake.computerNameBuffersIn[0].size(), 128u);
}

TEST_F(Services, MachineNameIsEmptyWhenTheCallFails) {
  fake.computerNameResult = 0;
  EXPECT_EQ(getMachineName(), u"");
}

TEST_F(Services, MachineNameIsEmptyWhenTheCallRaises) {
  fake.computerNameThrows = true;
  EXPECT_EQ(getMachineName(), u"");
}

TEST_F(Services, MachineNameIsEmptyWhenTheTextIsNotTerminated) {
  fake.computerNameTerminates = false;
  EXPECT_EQ(getMachineName(), u"");
}

TEST_F(Services, MachineNameIsCutAtTheFirstNul) {
  fake.computerName = std::string("AB\0CD", 5);
  EXPECT_EQ(getMachineName(), u"AB");
}

TEST_F(Services, EmptyMachineNameIsEmpty) {
  fake.computerName.clear();
  EXPECT_EQ(getMachineName(), u"");
}

TEST_F(Services, MachineNameIsEmptyWithoutPlatform) {
  Platform* mine = setPlatform(nullptr);
  EXPECT_EQ(getMachineName(), u"");
  setPlatform(mine);
}

// ---- IP address -------------------------------------------------------------------------

TEST_F(Services, IpAddressIsTextUpToTheNul) {
  fake.ipAddress = "192.168.1.20";
  EXPECT_EQ(getIPAddress(), u"192.168.1.20");
}

TEST_F(Services, IpAddressAsksWithEmptyFirstArgumentAnd64Blanks) {
  getIPAddress();
  ASSERT_EQ(fake.readTcpCalls.size(), 1u);
  EXPECT_EQ(fake.readTcpCalls[0].first, "");
  EXPECT_EQ(fake.readTcpCalls[0].buffer, std::string(64, ' '));
}

TEST_F(Services, IpAddressIsEmptyWhenReadTcpReturnsZero) {
  fake.readTcpResult = 0;
  EXPECT_EQ(getIPAddress(), u"");
}

TEST_F(Services, IpAddressIsEmptyForAnyResultButOne) {
  fake.readTcpResult = 2;
  EXPECT_EQ(getIPAddress(), u"");
  fake.readTcpResult = -1;
  EXPECT_EQ(getIPAddress(), u"");
}

TEST_F(Services, IpAddressWithoutNulRaises5ToTheCaller) {
  fake.readTcpScript = [](std::string&, std::string& buffer) {
    buffer.replace(0, 8, "10.1.1.1");
    return 1;
  };
  EXPECT_EQ(errorOf([] { getIPAddress(); }), errnum::InvalidCall);
}

TEST_F(Services, IpAddressWithoutNulAndFailureIsEmpty) {
  fake.readTcpScript = [](std::string&, std::string&) { return 0; };
  EXPECT_EQ(getIPAddress(), u"");
}

TEST_F(Services, IpAddressFillingTheWholeBufferWithNulAtTheEnd) {
  fake.readTcpScript = [](std::string&, std::string& buffer) {
    buffer.assign(63, '1');
    buffer.push_back('\0');
    return 1;
  };
  EXPECT_EQ(getIPAddress(), ustring(63, u'1'));
}

TEST_F(Services, MissingIpLibraryReachesTheCaller) {
  fake.readTcpScript = [](std::string&, std::string&) -> int32_t { throw Error(errnum::FileNotFound, u"vtappsvr.dll"); };
  EXPECT_EQ(errorOf([] { getIPAddress(); }), errnum::FileNotFound);
}

// ---- help -------------------------------------------------------------------------------

TEST_F(Services, HelpOpensTheChmBesideTheModuleAndKeepsItNotTopmost) {
  fake.moduleDir = u"C:\\Lumo";
  fake.helpWindow = 0x777;
  showHelp(0x1234);
  ASSERT_EQ(fake.helpCalls.size(), 1u);
  EXPECT_EQ(fake.helpCalls[0].window, 0x1234);
  EXPECT_EQ(fake.helpCalls[0].path, "C:\\Lumo\\MobileService.chm");
  EXPECT_EQ(fake.helpCalls[0].command, 0u);
  EXPECT_EQ(fake.helpCalls[0].data, 0u);
  ASSERT_EQ(fake.windowPosCalls.size(), 1u);
  const auto& w = fake.windowPosCalls[0];
  EXPECT_EQ(w.window, 0x777);
  EXPECT_EQ(w.insertAfter, -2);
  EXPECT_EQ(w.x, 0);
  EXPECT_EQ(w.y, 0);
  EXPECT_EQ(w.cx, 0);
  EXPECT_EQ(w.cy, 0);
  EXPECT_EQ(w.flags, 0x53u);
}

TEST_F(Services, HelpPathIsConvertedToEightBitText) {
  fake.moduleDir = u"C:\\Prog\u00e9";
  showHelp(1);
  EXPECT_EQ(fake.helpCalls.at(0).path, "C:\\Prog\xe9\\MobileService.chm");
}

TEST_F(Services, HelpErrorsEndItSilently) {
  fake.htmlHelpThrows = true;
  showHelp(1);
  EXPECT_TRUE(fake.windowPosCalls.empty());
  EXPECT_TRUE(fake.messageBoxes.empty());
}

TEST_F(Services, HelpWithoutModuleDirectoryIsSilent) {
  fake.moduleDirectoryThrows = true;
  showHelp(1);
  EXPECT_TRUE(fake.helpCalls.empty());
  EXPECT_TRUE(fake.messageBoxes.empty());
}

// ---- CheckOrnListDataType -------------------------------------------------------------------

TEST(OrnListDataType, WorkflowRangesOfW) {
  EXPECT_FALSE(checkOrnListDataType(u"W", u"1000999"));
  EXPECT_TRUE(checkOrnListDataType(u"W", u"1001000"));
  EXPECT_TRUE(checkOrnListDataType(u"W", u"1001999"));
  EXPECT_FALSE(checkOrnListDataType(u"W", u"1002000"));
  EXPECT_FALSE(checkOrnListDataType(u"W", u"1002999"));
  EXPECT_TRUE(checkOrnListDataType(u"W", u"1003000"));
  EXPECT_TRUE(checkOrnListDataType(u"W", u"1004999"));
  EXPECT_FALSE(checkOrnListDataType(u"W", u"1005000"));
  EXPECT_TRUE(checkOrnListDataType(u"W", u"1005001"));
  EXPECT_TRUE(checkOrnListDataType(u"W", u"1005999"));
  EXPECT_FALSE(checkOrnListDataType(u"W", u"1006000"));
  EXPECT_FALSE(checkOrnListDataType(u"W", u"1006999"));
  EXPECT_TRUE(checkOrnListDataType(u"W", u"1007000"));
  EXPECT_TRUE(checkOrnListDataType(u"W", u"1007799"));
  EXPECT_FALSE(checkOrnListDataType(u"W", u"1007800"));
  EXPECT_FALSE(checkOrnListDataType(u"W", u"1009999"));
  EXPECT_TRUE(checkOrnListDataType(u"W", u"1010000"));
  EXPECT_TRUE(checkOrnListDataType(u"W", u"1010999"));
  EXPECT_FALSE(checkOrnListDataType(u"W", u"1011000"));
}

TEST(OrnListDataType, RangesOfC) {
  EXPECT_FALSE(checkOrnListDataType(u"C", u"999999"));
  EXPECT_TRUE(checkOrnListDataType(u"C", u"1000000"));
  EXPECT_TRUE(checkOrnListDataType(u"C", u"1000999"));
  EXPECT_FALSE(checkOrnListDataType(u"C", u"1001000"));
  EXPECT_TRUE(checkOrnListDataType(u"C", u"1006000"));
  EXPECT_TRUE(checkOrnListDataType(u"C", u"1006999"));
  EXPECT_FALSE(checkOrnListDataType(u"C", u"1007000"));
  EXPECT_FALSE(checkOrnListDataType(u"C", u"1008999"));
  EXPECT_TRUE(checkOrnListDataType(u"C", u"1009000"));
  EXPECT_TRUE(checkOrnListDataType(u"C", u"1009999"));
  EXPECT_FALSE(checkOrnListDataType(u"C", u"1010000"));
}

TEST(OrnListDataType, RangeOfZ) {
  EXPECT_FALSE(checkOrnListDataType(u"Z", u"1001000"));
  EXPECT_FALSE(checkOrnListDataType(u"Z", u"1001999"));
  EXPECT_TRUE(checkOrnListDataType(u"Z", u"1002000"));
  EXPECT_TRUE(checkOrnListDataType(u"Z", u"1002999"));
  EXPECT_FALSE(checkOrnListDataType(u"Z", u"1003000"));
}

TEST(OrnListDataType, OtherModuleTypesAreAlwaysFalse) {
  for (const char16_t* v : {u"1001000", u"1000000", u"1002000", u"0"}) {
    EXPECT_FALSE(checkOrnListDataType(u"X", v));
    EXPECT_FALSE(checkOrnListDataType(u"", v));
  }
}

TEST(OrnListDataType, ModuleTypeIsCaseSensitive) {
  EXPECT_FALSE(checkOrnListDataType(u"w", u"1001000"));
  EXPECT_FALSE(checkOrnListDataType(u"c", u"1000000"));
  EXPECT_FALSE(checkOrnListDataType(u" W", u"1001000"));
}

TEST(OrnListDataType, NonNumericValueIsFalse) {
  EXPECT_FALSE(checkOrnListDataType(u"W", u"abc"));
  EXPECT_FALSE(checkOrnListDataType(u"W", u""));
  EXPECT_FALSE(checkOrnListDataType(u"W", u"1001000x"));
  EXPECT_FALSE(checkOrnListDataType(u"C", u"-"));
}

TEST(OrnListDataType, FractionsAreComparedAsNumbers) {
  EXPECT_FALSE(checkOrnListDataType(u"W", u"1005000.5"));
  EXPECT_TRUE(checkOrnListDataType(u"W", u"1005001.0"));
  EXPECT_TRUE(checkOrnListDataType(u"W", u"1007799.0"));
  EXPECT_FALSE(checkOrnListDataType(u"W", u"1007799.5"));
}

TEST(OrnListDataType, NumericTextFormsAreAccepted) {
  EXPECT_TRUE(checkOrnListDataType(u"W", u" 1001000 "));
  EXPECT_TRUE(checkOrnListDataType(u"Z", u"1.002E6"));
  EXPECT_TRUE(checkOrnListDataType(u"C", u"&HF4240"));  // 1000000
}

// ---- error trap ---------------------------------------------------------------------------

TEST_F(Services, ErrorTrapRunsTheBodyAndReturnsTrue) {
  int ran = 0;
  EXPECT_TRUE(errorTrap(u"SmsManager.frmX.Go", [&] { ++ran; }));
  EXPECT_EQ(ran, 1);
  EXPECT_TRUE(fake.messageBoxes.empty());
  EXPECT_EQ(err().number, 0);
}

TEST_F(Services, ErrorTrapStopsTheBodyShowsTheDescriptionAndRecordsTheError) {
  int after = 0;
  EXPECT_FALSE(errorTrap(u"SmsManager.frmSendSms.IsRelateEmp", [&] {
    throw Error(-2147217900, u"对象名 't_Emp' 无效。");
    ++after;
  }));
  EXPECT_EQ(after, 0);
  ASSERT_EQ(fake.messageBoxes.size(), 1u);
  EXPECT_EQ(fake.messageBoxes[0].prompt, u"对象名 't_Emp' 无效。");
  EXPECT_EQ(fake.messageBoxes[0].title, u"Vantor提示");
  EXPECT_EQ(fake.messageBoxes[0].buttons, msgbox::vbOKOnly);
  EXPECT_EQ(err().number, -2147217900);
  EXPECT_EQ(err().description, u"对象名 't_Emp' 无效。");
  EXPECT_EQ(err().source, u"SmsManager.frmSendSms.IsRelateEmp");
}

TEST_F(Services, ErrorTrapKeepsTheSourceOfTheInnermostProcedure) {
  errorTrap(u"SmsManager.frmA.Outer", [] { throw Error(5, u"bad", u"OxaBase.SecurityInfo"); });
  EXPECT_EQ(err().source, u"OxaBase.SecurityInfo");
}

TEST_F(Services, ErrorTrapCatchesStandardExceptions) {
  EXPECT_FALSE(errorTrap(u"SmsManager.frmA.Go", [] { throw std::runtime_error("disk full"); }));
  EXPECT_EQ(err().description, u"disk full");
  EXPECT_EQ(err().source, u"SmsManager.frmA.Go");
  EXPECT_NE(err().number, 0);
  ASSERT_EQ(fake.messageBoxes.size(), 1u);
  EXPECT_EQ(fake.messageBoxes[0].prompt, u"disk full");
}

TEST_F(Services, ErrorTrapCatchesAMissingComponent) {
  EXPECT_FALSE(errorTrap(u"SmsManager.frmA.Go", [] { platform().create(u"Nope.Nothing"); }));
  EXPECT_EQ(err().number, errnum::CannotCreateObject);
  EXPECT_NE(fake.messageBoxes.at(0).prompt.find(u"Nope.Nothing"), ustring::npos);
}

TEST_F(Services, ErrorTrapShowsTheStandardDescriptionOfARuntimeError) {
  errorTrap(u"S", [] { throw Error(errnum::TypeMismatch); });
  EXPECT_EQ(fake.messageBoxes.at(0).prompt, u"Type mismatch");
}

TEST_F(Services, ErrorTrapKeepsItsErrorAcrossTheTitleLookup) {
  fake.setCurrentLanguage(u"en");
  fake.addResLoader(u"LumoResLoader.Loader");  // clears err() on every lookup
  errorTrap(u"SmsManager.frmA.Go", [] { throw Error(13, u"mismatch"); });
  EXPECT_EQ(fake.messageBoxes.at(0).title, u"en:Vantor提示");
  EXPECT_EQ(err().number, 13);
  EXPECT_EQ(err().source, u"SmsManager.frmA.Go");
}

TEST_F(Services, ErrorTrapLetsAFailingMessageBoxThrough) {
  fake.messageBoxThrows = true;
  EXPECT_EQ(errorOf([] { errorTrap(u"S", [] { throw Error(5); }); }), errnum::PermissionDenied);
}
