#include "host/commands.h"
#include "host_test.h"

namespace lumo::test {
namespace {

// A window that records what the command did with it.
struct WindowLog {
  int made = 0, checked = 0, released = 0;
  std::vector<bool> shown;  // the 'modal' of each show
  std::vector<ustring> prefilled;
};

class RecordingWindow : public CommandWindow {
 public:
  RecordingWindow(WindowLog& log, bool bound) : log_(log), bound_(bound) { ++log_.made; }
  ~RecordingWindow() override { ++log_.released; }
  bool isRelateEmp() override {
    ++log_.checked;
    if (checkRaises) throw Error(3021, u"no current record");
    return bound_;
  }
  void show(bool modal) override {
    if (showRaises) throw Error(7, u"out of memory");
    log_.shown.push_back(modal);
  }
  void prefill(const ustring& receivers, const ustring& message) override {
    log_.prefilled.push_back(receivers + u"|" + message + (log_.shown.empty() ? u"|before show" : u"|after show"));
  }
  bool checkRaises = false, showRaises = false;

 private:
  WindowLog& log_;
  bool bound_;
};

// The windows a command gets: recording ones, and a note of what it asked for.
class RecordingFactory : public WindowFactory {
 public:
  explicit RecordingFactory(WindowLog& log) : log_(log) {}
  std::unique_ptr<CommandWindow> commandWindow(Command command) override {
    asked.push_back(command);
    if (makeRaises) throw Error(429, u"cannot create the window");
    auto w = std::make_unique<RecordingWindow>(log_, bound);
    w->checkRaises = checkRaises;
    w->showRaises = showRaises;
    return w;
  }
  std::shared_ptr<display::DisplayerPresenter> listWindow() override {
    throw Error(429, u"no list window here");
  }
  std::vector<Command> asked;
  bool bound = true, checkRaises = false, showRaises = false, makeRaises = false;

 private:
  WindowLog& log_;
};

class Commands : public HostTest {
 protected:
  WindowLog log;
  RecordingFactory factory{log};
  WindowFactory& windows(bool bound, bool checkRaises = false, bool showRaises = false) {
    factory.bound = bound;
    factory.checkRaises = checkRaises;
    factory.showRaises = showRaises;
    return factory;
  }
};

TEST_F(Commands, TableListsTheSixMembersInSlotOrder) {
  const Command all[] = {Command::SetUserMobile, Command::SetAllMobile, Command::SendSms,
                         Command::SmsManager,    Command::UserSms,      Command::ShowSmsLog};
  std::vector<ustring> names;
  for (Command c : all) names.push_back(commandInfo(c).name);
  EXPECT_EQ(names, (std::vector<ustring>{u"SetUserMobile", u"SetAllMobile", u"SendSms", u"SmsManager", u"UserSms",
                                         u"ShowSmsLog"}));
}

TEST_F(Commands, BoundUserGetsTheSendWindowModeless) {
  runCommand(Command::SendSms, windows(true));
  EXPECT_EQ(log.checked, 1);
  EXPECT_EQ(log.shown, std::vector<bool>{false});
  EXPECT_EQ(log.released, 1);
  EXPECT_TRUE(fake.messageBoxes.empty());
}

TEST_F(Commands, BoundUserGetsTheCheckedSettingWindowsModal) {
  runCommand(Command::SetUserMobile, windows(true));
  runCommand(Command::UserSms, windows(true));
  EXPECT_EQ(log.checked, 2);
  EXPECT_EQ(log.shown, (std::vector<bool>{true, true}));
  EXPECT_EQ(log.released, 2);
}

TEST_F(Commands, UncheckedCommandsNeverAskAndShowModal) {
  for (Command c : {Command::SetAllMobile, Command::SmsManager, Command::ShowSmsLog}) runCommand(c, windows(false));
  EXPECT_EQ(log.checked, 0);
  EXPECT_EQ(log.shown, (std::vector<bool>{true, true, true}));
  EXPECT_EQ(log.released, 3);
  EXPECT_TRUE(fake.messageBoxes.empty());
}

TEST_F(Commands, EachCallMakesAWindowOfItsOwn) {
  runCommand(Command::SendSms, windows(true));
  runCommand(Command::SendSms, windows(true));
  EXPECT_EQ(log.made, 2);
  EXPECT_EQ(log.shown.size(), 2u);
}

TEST_F(Commands, EachCommandAsksTheFactoryForItsOwnWindow) {
  const Command all[] = {Command::SetUserMobile, Command::SetAllMobile, Command::SendSms,
                         Command::SmsManager,    Command::UserSms,      Command::ShowSmsLog};
  for (Command c : all) runCommand(c, windows(true));
  EXPECT_EQ(factory.asked, std::vector<Command>(std::begin(all), std::end(all)));
}

TEST_F(Commands, APreparedWindowIsFilledAfterTheCheckAndBeforeItShows) {
  runCommand(Command::SendSms, windows(true), [](CommandWindow& w) { w.prefill(u"13800000001", u"hello"); });
  EXPECT_EQ(log.checked, 1);
  EXPECT_EQ(log.prefilled, std::vector<ustring>{u"13800000001|hello|before show"});
  EXPECT_EQ(log.shown, std::vector<bool>{false});
}

TEST_F(Commands, AnUnboundUserIsRefusedBeforeAnythingIsPrepared) {
  runCommand(Command::SendSms, windows(false), [](CommandWindow& w) { w.prefill(u"13800000001", u"hello"); });
  EXPECT_TRUE(log.prefilled.empty());
  EXPECT_TRUE(log.shown.empty());
  ASSERT_EQ(fake.messageBoxes.size(), 1u);
  EXPECT_EQ(fake.messageBoxes[0].prompt, u"该用户没有关联职员，不能发送短信");
}

TEST_F(Commands, UnboundUserIsToldWhyAndGetsNoWindow) {
  const std::pair<Command, ustring> cases[] = {
      {Command::SetUserMobile, u"该用户没有关联职员，不能修改个人手机号码"},
      {Command::SendSms, u"该用户没有关联职员，不能发送短信"},
      {Command::UserSms, u"该用户没有关联职员，不能进行个人审批通知设置"},
  };
  for (const auto& [command, text] : cases) {
    fake.messageBoxes.clear();
    runCommand(command, windows(false));
    ASSERT_EQ(fake.messageBoxes.size(), 1u) << toUtf8(commandInfo(command).name);
    EXPECT_EQ(fake.messageBoxes[0].prompt, text);
    EXPECT_EQ(fake.messageBoxes[0].title, u"Vantor提示");
  }
  EXPECT_TRUE(log.shown.empty());
  EXPECT_EQ(log.released, 3);
}

TEST_F(Commands, RefusalIsInTheSessionLanguage) {
  fake.setCurrentLanguage(u"en");
  fake.addResLoader(u"LumoResLoader.Loader",
                    {{u"该用户没有关联职员，不能发送短信", u"This user is not linked to an employee"}});
  runCommand(Command::SendSms, windows(false));
  ASSERT_EQ(fake.messageBoxes.size(), 1u);
  EXPECT_EQ(fake.messageBoxes[0].prompt, u"This user is not linked to an employee");
}

TEST_F(Commands, WindowThatCannotBeMadeFailsTheCall) {
  factory.makeRaises = true;
  EXPECT_EQ(errorOf([&] { runCommand(Command::SendSms, factory); }), 429);
  EXPECT_EQ(errorOf([&] { runCommand(Command::ShowSmsLog, factory); }), 429);
  EXPECT_TRUE(fake.messageBoxes.empty());
}

TEST_F(Commands, FailingCheckFailsTheCallAndReleasesTheWindow) {
  EXPECT_EQ(errorOf([&] { runCommand(Command::UserSms, windows(true, true)); }), 3021);
  EXPECT_TRUE(log.shown.empty());
  EXPECT_EQ(log.released, 1);
  EXPECT_TRUE(fake.messageBoxes.empty());
}

TEST_F(Commands, WindowThatCannotBeShownFailsTheCallAndIsReleased) {
  EXPECT_EQ(errorOf([&] { runCommand(Command::SendSms, windows(true, false, true)); }), 7);
  EXPECT_EQ(errorOf([&] { runCommand(Command::SetAllMobile, windows(true, false, true)); }), 7);
  EXPECT_EQ(log.released, 2);
  EXPECT_TRUE(fake.messageBoxes.empty());
}

}  // namespace
}  // namespace lumo::test
