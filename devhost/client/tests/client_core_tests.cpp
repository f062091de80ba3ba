#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "devhost/client/client_core.h"

using namespace lumo;
using namespace lumo::client;

namespace {

std::string readTable() {
#ifdef _WIN32
  const std::string path = std::string("Z:") + LUMO_RESOURCES_TSV;  // the source tree as Wine sees it
#else
  const std::string path = LUMO_RESOURCES_TSV;
#endif
  std::ifstream in(path, std::ios::binary);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

std::optional<ustring> noLoader(const ustring&) { return std::nullopt; }

}  // namespace

TEST(ClientCommands, MenuOrderAndArguments) {
  const auto& list = commands();
  ASSERT_EQ(list.size(), 6u);
  const char16_t* members[] = {u"SetUserMobile", u"SetAllMobile", u"SendSms", u"SmsManager", u"UserSms", u"ShowSmsLog"};
  for (std::size_t i = 0; i < 6; ++i) EXPECT_EQ(ustring(list[i].member), members[i]);
  EXPECT_EQ(ustring(list[2].caption), u"发送短信");
  for (const Command& c : list)
    EXPECT_EQ(c.takesType, ustring(c.member) == u"SmsManager" || ustring(c.member) == u"UserSms") << toUtf8(c.member);
}

TEST(ClientCommands, FindIgnoresLetterCase) {
  ASSERT_NE(findCommand(u"sendsms"), nullptr);
  EXPECT_EQ(ustring(findCommand(u"sendsms")->member), u"SendSms");
  EXPECT_EQ(findCommand(u"SendSmsX"), nullptr);
  EXPECT_EQ(findCommand(u""), nullptr);
}

TEST(ClientOptions, UserLanguageAndRepeatedRuns) {
  ParsedOptions p = parseOptions({u"--user", u"张三", u"--lang", u"CHT", u"--run", u"sendsms", u"--run", u"UserSms",
                                  u"--exit-after-commands", u"--log", u"C:\\x.log", u"--no-error-box"});
  ASSERT_TRUE(p.error.empty()) << toUtf8(p.error);
  EXPECT_EQ(p.options.user, ustring(u"张三"));
  EXPECT_EQ(p.options.language, Language::Cht);
  EXPECT_EQ(p.options.run, (std::vector<ustring>{u"SendSms", u"UserSms"}));
  EXPECT_TRUE(p.options.exitAfterCommands);
  EXPECT_FALSE(p.options.errorBoxes);
  EXPECT_EQ(p.options.logFile, ustring(u"C:\\x.log"));
}

TEST(ClientOptions, DefaultsLeaveSignInToTheDialog) {
  ParsedOptions p = parseOptions({});
  EXPECT_TRUE(p.error.empty());
  EXPECT_FALSE(p.options.user);
  EXPECT_FALSE(p.options.language);
  EXPECT_TRUE(p.options.errorBoxes);
  EXPECT_FALSE(p.options.exitAfterCommands);
}

TEST(ClientOptions, RejectsWhatItDoesNotKnow) {
  EXPECT_FALSE(parseOptions({u"--lang", u"fr"}).error.empty());
  EXPECT_FALSE(parseOptions({u"--run", u"Format"}).error.empty());
  EXPECT_FALSE(parseOptions({u"--user"}).error.empty());
  EXPECT_FALSE(parseOptions({u"--user", u"  "}).error.empty());
  EXPECT_FALSE(parseOptions({u"--bogus"}).error.empty());
  EXPECT_TRUE(parseOptions({u"--help"}).options.help);
}

TEST(ClientOptions, NoErrorBoxHoldsEvenAfterAMistake) {
  ParsedOptions p = parseOptions({u"--run", u"Format", u"--no-error-box"});
  EXPECT_FALSE(p.error.empty());
  EXPECT_FALSE(p.options.errorBoxes);
}

TEST(ClientTexts, TableFromTheRepositoryTranslatesBothWays) {
  TextTable t;
  ustring error;
  ASSERT_TRUE(t.parse(readTable(), &error)) << toUtf8(error);
  EXPECT_GT(t.size(), 100u);
  EXPECT_EQ(t.find(u"发送短信", Language::En), ustring(u"Send SMS"));
  EXPECT_EQ(t.find(u"发送短信", Language::Cht), ustring(u"發送短信"));
  EXPECT_EQ(t.find(u"文件(&F)", Language::En), ustring(u"&File"));
  for (const Command& c : commands()) {
    EXPECT_TRUE(t.find(c.caption, Language::En)) << toUtf8(c.caption);
    EXPECT_TRUE(t.find(c.caption, Language::Cht)) << toUtf8(c.caption);
  }
  for (Language l : {Language::Chs, Language::En, Language::Cht}) {
    EXPECT_TRUE(t.find(languageNameKey(l), Language::En)) << toUtf8(languageCode(l));
    EXPECT_TRUE(t.find(languageNameKey(l), Language::Cht)) << toUtf8(languageCode(l));
  }
}

TEST(ClientTexts, LookupKeepsBlanksAndFallsBackToTheKey) {
  TextTable t;
  ASSERT_TRUE(t.parse("key\ten\tcht\n关于(&A)\t&About\t關於(&A)\n"));
  EXPECT_EQ(translate(u"关于(&A) ", Language::En, t, noLoader), u"&About ");
  EXPECT_EQ(translate(u"  关于(&A)", Language::Cht, t, noLoader), u"  關於(&A)");
  EXPECT_EQ(translate(u"关于(&A) ", Language::Chs, t, noLoader), u"关于(&A) ");
  EXPECT_EQ(translate(u"没有的", Language::En, t, noLoader), u"没有的");
  EXPECT_EQ(translate(u"  ", Language::En, t, noLoader), u"  ");
}

TEST(ClientTexts, LoaderAnswerWinsUnlessItEchoesTheKey) {
  TextTable t;
  ASSERT_TRUE(t.parse("key\ten\tcht\n退出\tExit\t退出\n"));
  auto loader = [](const ustring& k) -> std::optional<ustring> {
    if (k == u"退出") return ustring(u"Quit");
    return k;  // a loader without the text answers with the key
  };
  EXPECT_EQ(translate(u"退出", Language::En, t, loader), u"Quit");
  TextTable withOther;
  ASSERT_TRUE(withOther.parse("key\ten\tcht\n切换用户\tSwitch User\t切換用戶\n"));
  EXPECT_EQ(translate(u"切换用户", Language::En, withOther, loader), u"Switch User");
}

TEST(ClientTexts, MalformedTablesAreReported) {
  TextTable t;
  ustring error;
  EXPECT_FALSE(t.parse("key\ten\n", &error));
  EXPECT_FALSE(error.empty());
  EXPECT_FALSE(t.parse("key\ten\tcht\na\tb\n", &error));
  EXPECT_NE(error.find(u"line 2"), ustring::npos);
  EXPECT_FALSE(t.parse("", &error));
  EXPECT_TRUE(t.parse("\xEF\xBB\xBFkey\ten\tcht\r\na\tb\tc\r\n"));
  EXPECT_EQ(t.find(u"a", Language::Cht), ustring(u"c"));
}

TEST(ClientTexts, FormatReplacesNumberedPlaceholders) {
  EXPECT_EQ(formatText(u"用户:[%1]关联职员:[%2]", {u"张三", u"李四"}), u"用户:[张三]关联职员:[李四]");
  EXPECT_EQ(formatText(u"%2-%1-%2", {u"a", u"b"}), u"b-a-b");
  EXPECT_EQ(formatText(u"%1 and %3", {u"a"}), u"a and %3");
  EXPECT_EQ(formatText(u"100% sure %", {}), u"100% sure %");
  EXPECT_EQ(formatText(u"%10", {u"a"}), u"%10");
}

TEST(ClientTexts, StripMnemonic) {
  EXPECT_EQ(stripMnemonic(u"文件(&F)"), u"文件(F)");
  EXPECT_EQ(stripMnemonic(u"A&&B"), u"A&B");
}

TEST(ClientSession, PropsValuesWithBraces) {
  ustring props = u"UserName=张三;ConnectString={Driver=SQLite3;Database=/work/build/demo/demo.db};DBMS Name=SQLite;"
                  u"Language=en";
  EXPECT_EQ(propsValue(props, u"username"), ustring(u"张三"));
  EXPECT_EQ(propsValue(props, u"ConnectString"), ustring(u"Driver=SQLite3;Database=/work/build/demo/demo.db"));
  EXPECT_EQ(propsValue(props, u"Language"), ustring(u"en"));
  EXPECT_FALSE(propsValue(props, u"Missing"));
  EXPECT_EQ(databaseLabel(props), u"SQLite demo.db");
}

TEST(ClientSession, DatabaseLabelFromWhatTheSessionSays) {
  EXPECT_EQ(databaseLabel(u""), u"");
  EXPECT_EQ(databaseLabel(u"ConnectString={Driver=SQLite3;Database=C:\\data\\erp.db}"), u"erp.db");
  EXPECT_EQ(databaseLabel(u"DBMS Name=PostgreSQL;ConnectString={Driver=PostgreSQL;Server=h;dbname=erp}"),
            u"PostgreSQL erp");
  EXPECT_EQ(databaseLabel(u"DBMS Name=SQL Server"), u"SQL Server");
}

TEST(ClientReport, LinesAreSingleLines) {
  EXPECT_EQ(commandOkLine(u"SendSms"), u"command-ok: SendSms");
  EXPECT_EQ(commandErrorLine(u"SendSms", u"SmsManager.clsSmsManager.SendSms", u"not\r\navailable"),
            u"command-error: SendSms: SmsManager.clsSmsManager.SendSms: not  available");
  EXPECT_EQ(signInErrorLine(u"LumoErp", u"x"), u"signin-error: LumoErp: x");
  EXPECT_EQ(signInOkLine(u"张三", u"cht"), u"signin-ok: 张三 cht");
}
