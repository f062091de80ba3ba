// The SMS log's core: the filter's conditions as query arguments, the host's
// answer as rows, and the log window's rules (filter once, conditions kept,
// wrong conditions said and asked again, the list window, resend).
#include <gtest/gtest.h>

#include <deque>

#include "display/displayer.h"
#include "fake_platform.h"
#include "fake_recordset.h"
#include "smslog/mobile_log.h"
#include "tests/support/errors.h"

namespace lumo::smslog {
namespace {

using test::FakeComponent;
using test::FakePlatform;
using test::FakePlatformScope;
using test::FakeTable;
using test::makeRecordset;

// ---- the query's arguments ----------------------------------------------------------------

TEST(LogQuery, EveryConditionTravelsAsAValueInOrder) {
  LogFilter f;
  f.status = static_cast<int16_t>(Status::Failed);
  f.sendNumber = u"13800000001";
  f.account = u"O'Brien; DROP TABLE";
  f.startTime = 46000.25;
  f.endTime = 46001.5;
  f.ascending = true;
  const Args a = queryArguments(f, u"PC-01");
  ASSERT_EQ(a.size(), 7u);
  EXPECT_EQ(a[0], Variant(int16_t(3)));
  EXPECT_EQ(a[1], Variant(u"13800000001"));
  EXPECT_EQ(a[2], Variant(u"O'Brien; DROP TABLE"));  // a value, never SQL text
  EXPECT_EQ(a[3], Variant::date(46000.25));
  EXPECT_EQ(a[4], Variant::date(46001.5));
  EXPECT_EQ(a[5], Variant(true));
  EXPECT_EQ(a[6], Variant(u""));  // not only the last message
}

TEST(LogQuery, AllTimesSendsNullsForTheRange) {
  LogFilter f;
  f.allTimes = true;
  f.startTime = 5;
  f.endTime = 1;  // ignored
  const Args a = queryArguments(f, u"PC-01");
  EXPECT_TRUE(a[3].isNull());
  EXPECT_TRUE(a[4].isNull());
  EXPECT_EQ(a[0], Variant(int16_t(-1)));
  EXPECT_EQ(a[5], Variant(false));
  EXPECT_EQ(checkFilter(f), u"");
}

TEST(LogQuery, TheLastMessageShortcutNamesThisWorkstation) {
  LogFilter f;
  f.lastFromWorkstation = true;
  EXPECT_EQ(queryArguments(f, u"PC-01")[6], Variant(u"PC-01"));
}

TEST(LogQuery, AnEndBeforeTheStartIsRefusedAndEqualEndsAreOne) {
  LogFilter f;
  f.startTime = 46000.5;
  f.endTime = 46000.4;
  EXPECT_EQ(checkFilter(f), u"结束时间不能早于开始时间");
  f.endTime = 46000.5;
  EXPECT_EQ(checkFilter(f), u"");
  f.status = 4;
  EXPECT_EQ(checkFilter(f), u"发送状态无效");
}

TEST(LogQuery, TextsAreShownOnOneLine) {
  EXPECT_EQ(oneLine(ustring(u"a\tb\r\nc") + char16_t(0) + u"d"), u"a b  c d");
  EXPECT_EQ(oneLine(u"审批"), u"审批");
}

// ---- the fixture: a host answering only the exact log query --------------------------------

FakeTable logTable() {
  FakeTable t;
  t.columns = {u"FTime", u"FUserName", u"FReceiver", u"FEmpName", u"FTitle", u"FStatus", u"FReason", u"FMessageID"};
  t.rows = {
      {u"2026-11-25 09:00:00", u"张伟", u"13800000001", u"王建国", u"明天开会--张伟", int16_t(2), Variant::null(), 7},
      {u"2026-11-25 09:00:00", u"张伟", u"10086", Variant::null(), u"明天开会--张伟", int16_t(3), u"号码不存在", 7},
      {u"2026-11-25 09:00:00", u"张伟", u"13900000009", u"", u"明天开会--张伟", int16_t(3), u"号码在黑名单中", 7},
      {u"2026-11-24 18:00:00", u"李娜", u"13800000002", u"李秀英", u"第一行\n第二行\t完--李娜", int16_t(0),
       Variant::null(), 6},
  };
  return t;
}

struct FakeLogView : MobileLogView {
  ustring caption;
  std::array<ustring, kToolCount> tools;
  std::array<ustring, kColumnCount> titles;
  std::deque<std::optional<LogFilter>> answers;  // what each dialog answers
  std::vector<LogFilter> dialogsGot;             // the conditions each dialog was given
  std::size_t rows = 0;
  ustring countText;
  std::vector<std::size_t> selected;

  void setCaption(const ustring& t) override { caption = t; }
  void setToolCaptions(const std::array<ustring, kToolCount>& c) override { tools = c; }
  void setColumnTitles(const std::array<ustring, kColumnCount>& t) override { titles = t; }
  std::optional<LogFilter> runFilter(const LogFilter& c) override {
    dialogsGot.push_back(c);
    if (answers.empty()) return std::nullopt;
    auto a = answers.front();
    answers.pop_front();
    return a;
  }
  void showRowCount(std::size_t n) override { rows = n; }
  void setCountText(const ustring& t) override { countText = t; }
  std::vector<std::size_t> selectedRows() const override { return selected; }
  void showSort(std::optional<Column> c, bool descending) override {
    sortColumn = c;
    sortDescending = descending;
  }
  std::optional<Column> sortColumn;
  bool sortDescending = false;
};

// The send window as the log's resend sees it.
struct Opened {
  int checks = 0, shows = 0;
  std::vector<std::pair<ustring, ustring>> prefills;
};

class Windows : public WindowFactory {
 public:
  explicit Windows(Opened& o) : opened_(o) {}
  bool bound = true;
  std::unique_ptr<CommandWindow> commandWindow(Command command) override {
    EXPECT_EQ(command, Command::SendSms);
    struct W : CommandWindow {
      Opened& o;
      bool bound;
      W(Opened& o, bool b) : o(o), bound(b) {}
      bool isRelateEmp() override {
        ++o.checks;
        return bound;
      }
      void show(bool modal) override {
        EXPECT_FALSE(modal);
        ++o.shows;
      }
      void prefill(const ustring& r, const ustring& m) override { o.prefills.emplace_back(r, m); }
    };
    return std::make_unique<W>(opened_, bound);
  }
  std::shared_ptr<display::DisplayerPresenter> listWindow() override {
    ++lists;
    throw Error(429, u"no list window in this test");
  }
  int lists = 0;

 private:
  Opened& opened_;
};

class LogWindow : public ::testing::Test {
 protected:
  LogWindow() {
    fake.setSessionString(props);
    fake.setCurrentLanguage(u"chs");
    fake.addResLoader(u"LumoResLoader.Loader");
    fake.addResLoader(u"FrmRes.FrmResLoader");
    fake.registerComponent(kLogProgId, [this](FakeComponent& c) {
      c.on(kLogMember, [this](InvokeKind, Args& a) -> Variant {
        if (a.size() != 8) throw Error(errnum::WrongArgumentCount);
        if (a[0].toString() != props) throw Error(5, u"no session");
        if (queryRaises) throw Error(-2147217900, u"the log table is locked");
        return Variant(makeRecordset(table));
      });
    });
  }
  FakePlatform fake;
  FakePlatformScope scope{fake};
  const ustring props = u"UserName=张伟;UserID=16394;Language=chs";
  FakeTable table = logTable();
  bool queryRaises = false;
  FakeLogView view;
  Opened opened;
  Windows windows{opened};
  ui::OrdinalCollation ordinal;
  MobileLogPresenter window{view, windows, std::make_shared<HostLogSource>(), ordinal};

  std::vector<ustring> prompts() const {
    std::vector<ustring> p;
    for (const auto& m : fake.messageBoxes) p.push_back(m.prompt);
    return p;
  }
  LogFilter lastHour() const {
    LogFilter f;
    f.status = static_cast<int16_t>(Status::Failed);
    f.startTime = 46000.0;
    f.endTime = 46000.5;
    return f;
  }
};

TEST_F(LogWindow, LoadSetsCaptionToolsAndColumns) {
  window.formLoad();
  EXPECT_EQ(view.caption, u"短信日志");
  EXPECT_EQ(view.tools, (std::array<ustring, kToolCount>{u"过滤", u"列表", u"重新发送"}));
  EXPECT_EQ(view.titles[0], u"发送时间");
  EXPECT_EQ(view.titles[7], u"短信编号");
}

TEST_F(LogWindow, TheFilterComesUpOnTheFirstActivationOnly) {
  window.formLoad();
  view.answers = {lastHour()};
  window.formActivate();
  window.formActivate();
  window.formActivate();
  EXPECT_EQ(view.dialogsGot.size(), 1u);
  EXPECT_TRUE(window.filterShown());
  EXPECT_EQ(view.rows, 4u);
  EXPECT_EQ(view.countText, u"共4条记录");
}

TEST_F(LogWindow, TheQueryGetsTheSessionAndTheConditionsAsValues) {
  window.formLoad();
  view.answers = {lastHour()};
  window.toolClick(Tool::Filter);
  const auto calls = fake.calls(kLogProgId);
  ASSERT_EQ(calls.size(), 1u);
  EXPECT_EQ(calls[0], toUtf8(ustring(kLogProgId) + u"." + kLogMember + u"('" + props +
                                   u"', 3, '', '', " + Variant::date(46000.0).describe() + u", " +
                                   Variant::date(46000.5).describe() + u", False, '')"));
}

TEST_F(LogWindow, CancelKeepsTheRowsAndRunsNoQuery) {
  window.formLoad();
  view.answers = {lastHour(), std::nullopt};
  window.toolClick(Tool::Filter);
  window.toolClick(Tool::Filter);
  EXPECT_EQ(fake.calls(kLogProgId).size(), 1u);
  EXPECT_EQ(view.rows, 4u);
}

TEST_F(LogWindow, EachNewDialogGetsTheLastConditions) {
  window.formLoad();
  LogFilter f = lastHour();
  f.account = u"张伟";
  view.answers = {f, std::nullopt};
  window.toolClick(Tool::Filter);
  window.toolClick(Tool::Filter);
  ASSERT_EQ(view.dialogsGot.size(), 2u);
  EXPECT_EQ(view.dialogsGot[0], LogFilter{});
  EXPECT_EQ(view.dialogsGot[1], f);
}

TEST_F(LogWindow, AnEndBeforeTheStartIsSaidAndTheFilterComesBackWithTheConditions) {
  window.formLoad();
  LogFilter wrong = lastHour();
  std::swap(wrong.startTime, wrong.endTime);
  view.answers = {wrong, std::nullopt};
  window.toolClick(Tool::Filter);
  EXPECT_EQ(prompts(), std::vector<ustring>{u"结束时间不能早于开始时间"});
  ASSERT_EQ(view.dialogsGot.size(), 2u);
  EXPECT_EQ(view.dialogsGot[1], wrong);
  EXPECT_TRUE(fake.calls(kLogProgId).empty());
}

TEST_F(LogWindow, NothingMatchedIsSaidInTheToolBar) {
  window.formLoad();
  table.rows.clear();
  view.answers = {lastHour()};
  window.toolClick(Tool::Filter);
  EXPECT_EQ(view.rows, 0u);
  EXPECT_EQ(view.countText, u"没有符合条件的短信记录");
  EXPECT_TRUE(fake.messageBoxes.empty());
}

TEST_F(LogWindow, AFailingQueryIsSaidAndTheRowsStay) {
  window.formLoad();
  view.answers = {lastHour(), lastHour()};
  window.toolClick(Tool::Filter);
  queryRaises = true;
  window.toolClick(Tool::Filter);
  EXPECT_EQ(prompts(), std::vector<ustring>{u"the log table is locked"});
  EXPECT_EQ(window.rowCount(), 4u);
  EXPECT_EQ(view.rows, 4u);
}

TEST_F(LogWindow, ALogWithoutAnExpectedColumnIsSaidByName) {
  window.formLoad();
  table.columns[6] = u"FWhy";
  view.answers = {lastHour()};
  window.toolClick(Tool::Filter);
  ASSERT_EQ(fake.messageBoxes.size(), 1u);
  EXPECT_NE(fake.messageBoxes[0].prompt.find(u"'FReason'"), ustring::npos) << toUtf8(fake.messageBoxes[0].prompt);
  EXPECT_EQ(view.rows, 0u);
}

TEST_F(LogWindow, ColumnsAreFoundByNameInTheHostsOrder) {
  window.formLoad();
  // The same log with its first and last columns swapped, names in other case.
  std::swap(table.columns[0], table.columns[7]);
  table.columns[2] = u"freceiver";
  for (auto& r : table.rows) std::swap(r[0], r[7]);
  view.answers = {lastHour()};
  window.toolClick(Tool::Filter);
  ASSERT_EQ(window.rowCount(), 4u);
  EXPECT_EQ(window.cell(0, Column::Time), u"2026-11-25 09:00:00");
  EXPECT_EQ(window.cell(0, Column::MessageId), u"7");
  EXPECT_EQ(window.cell(1, Column::Receiver), u"10086");
}

TEST_F(LogWindow, CellsShowTheRowOnOneLineAndTheStatusAsText) {
  window.formLoad();
  view.answers = {lastHour()};
  window.toolClick(Tool::Filter);
  EXPECT_EQ(window.cell(0, Column::Status), u"已送达");
  EXPECT_EQ(window.cell(1, Column::Status), u"发送失败");
  EXPECT_EQ(window.cell(3, Column::Status), u"等待发送");
  EXPECT_EQ(window.cell(1, Column::ReceiverName), u"");  // null
  EXPECT_EQ(window.cell(1, Column::Reason), u"号码不存在");
  EXPECT_EQ(window.cell(3, Column::Text), u"第一行 第二行 完--李娜");
  EXPECT_EQ(window.cell(0, Column::MessageId), u"7");
}

TEST_F(LogWindow, ResendOpensTheSendWindowWithTheFailedNumbersAndTheBodyWithoutItsSignature) {
  window.formLoad();
  view.answers = {lastHour()};
  window.toolClick(Tool::Filter);
  view.selected = {0, 1, 2};  // one delivered, two failed
  window.toolClick(Tool::Resend);
  EXPECT_EQ(opened.checks, 1);
  EXPECT_EQ(opened.shows, 1);
  ASSERT_EQ(opened.prefills.size(), 1u);
  EXPECT_EQ(opened.prefills[0].first, u"10086,13900000009");
  EXPECT_EQ(opened.prefills[0].second, u"明天开会");
  EXPECT_TRUE(fake.calls(u"VtMobileOpen.MobileOpen.SendMessage").empty());
}

TEST_F(LogWindow, ResendWithoutAFailedRowSaysSoAndOpensNothing) {
  window.formLoad();
  view.answers = {lastHour()};
  window.toolClick(Tool::Filter);
  view.selected = {0};
  window.toolClick(Tool::Resend);
  EXPECT_EQ(prompts(), std::vector<ustring>{u"请选择发送失败的记录"});
  EXPECT_EQ(opened.checks, 0);
}

TEST_F(LogWindow, AnUnboundUserIsRefusedAsTheSendCommandRefuses) {
  window.formLoad();
  view.answers = {lastHour()};
  window.toolClick(Tool::Filter);
  windows.bound = false;
  view.selected = {1};
  window.toolClick(Tool::Resend);
  EXPECT_EQ(prompts(), std::vector<ustring>{u"该用户没有关联职员，不能发送短信"});
  EXPECT_EQ(opened.shows, 0);
  EXPECT_TRUE(opened.prefills.empty());
}

TEST_F(LogWindow, TheListToolHandsTheRowsToAListWindow) {
  window.formLoad();
  view.answers = {lastHour()};
  window.toolClick(Tool::Filter);
  window.toolClick(Tool::List);
  EXPECT_EQ(windows.lists, 1);
  EXPECT_EQ(prompts(), std::vector<ustring>{u"no list window in this test"});
}

TEST_F(LogWindow, ABatchBoundaryLosesNoRow) {
  window.formLoad();
  const auto first = table.rows[0];
  table.rows.clear();
  for (int i = 0; i < 10000; ++i) {
    auto r = first;
    r[7] = i;
    table.rows.push_back(r);
  }
  view.answers = {lastHour()};
  window.toolClick(Tool::Filter);
  ASSERT_EQ(window.rowCount(), 10000u);
  EXPECT_EQ(window.cell(4095, Column::MessageId), u"4095");
  EXPECT_EQ(window.cell(4096, Column::MessageId), u"4096");
  EXPECT_EQ(window.cell(9999, Column::MessageId), u"9999");
}

TEST_F(LogWindow, ALongTextWithTabsLineBreaksAndNulsIsOneLine) {
  window.formLoad();
  ustring text;
  while (text.size() < 4000) text += ustring(u"行\t列\r\n") + char16_t(0) + u"x";
  table.rows[0][4] = text;
  view.answers = {lastHour()};
  window.toolClick(Tool::Filter);
  const ustring shown = window.cell(0, Column::Text);
  EXPECT_EQ(shown.size(), text.size());
  EXPECT_EQ(shown.find_first_of(ustring(u"\t\r\n") + char16_t(0)), ustring::npos);
}

TEST_F(LogWindow, ATextHoldingTheBulkSeparatorsIsSaidAndNothingIsShown) {
  window.formLoad();
  table.rows[1][4] = u"a" u"\x1F\x1D\x1F" u"b";
  view.answers = {lastHour()};
  window.toolClick(Tool::Filter);
  ASSERT_EQ(fake.messageBoxes.size(), 1u);
  EXPECT_NE(fake.messageBoxes[0].prompt.find(u"separators"), ustring::npos) << toUtf8(fake.messageBoxes[0].prompt);
  EXPECT_EQ(view.rows, 0u);
}

// The receivers of rows in the order shown.
std::vector<ustring> column(const MobileLogPresenter& w, Column c) {
  std::vector<ustring> out;
  for (std::size_t i = 0; i < w.rowCount(); ++i) out.push_back(w.cell(i, c));
  return out;
}

TEST_F(LogWindow, AHeadClickSortsTheRowsAndASecondReverses) {
  window.formLoad();
  view.answers = {lastHour()};
  window.toolClick(Tool::Filter);
  window.columnClick(Column::Receiver);
  EXPECT_EQ(column(window, Column::Receiver),
            (std::vector<ustring>{u"10086", u"13800000001", u"13800000002", u"13900000009"}));
  EXPECT_EQ(view.sortColumn, Column::Receiver);
  EXPECT_FALSE(view.sortDescending);
  window.columnClick(Column::Receiver);
  EXPECT_EQ(column(window, Column::Receiver),
            (std::vector<ustring>{u"13900000009", u"13800000002", u"13800000001", u"10086"}));
  EXPECT_TRUE(view.sortDescending);
  // Every cell of a row goes with it.
  EXPECT_EQ(window.cell(0, Column::Reason), u"号码在黑名单中");
}

TEST_F(LogWindow, EmptyCellsGoLastInBothDirections) {
  window.formLoad();
  view.answers = {lastHour()};
  window.toolClick(Tool::Filter);
  window.columnClick(Column::ReceiverName);
  EXPECT_EQ(column(window, Column::ReceiverName), (std::vector<ustring>{u"李秀英", u"王建国", u"", u""}));
  window.columnClick(Column::ReceiverName);
  EXPECT_EQ(column(window, Column::ReceiverName), (std::vector<ustring>{u"王建国", u"李秀英", u"", u""}));
}

TEST_F(LogWindow, TheMessageIdSortsAsANumberAndTheStatusByItsText) {
  window.formLoad();
  table.rows[3][7] = 10;  // 10 after 7 as a number, before it as text
  view.answers = {lastHour()};
  window.toolClick(Tool::Filter);
  window.columnClick(Column::MessageId);
  EXPECT_EQ(column(window, Column::MessageId), (std::vector<ustring>{u"7", u"7", u"7", u"10"}));
  window.columnClick(Column::Status);
  EXPECT_EQ(column(window, Column::Status), (std::vector<ustring>{u"发送失败", u"发送失败", u"已送达", u"等待发送"}));
}

TEST_F(LogWindow, ASortIsStableAndANewQueryComesUnsorted) {
  window.formLoad();
  view.answers = {lastHour(), lastHour()};
  window.toolClick(Tool::Filter);
  window.columnClick(Column::Time);
  // The three receivers of one moment keep their order.
  EXPECT_EQ(column(window, Column::Receiver),
            (std::vector<ustring>{u"13800000002", u"13800000001", u"10086", u"13900000009"}));
  window.toolClick(Tool::Filter);
  EXPECT_EQ(view.sortColumn, std::nullopt);
  EXPECT_EQ(window.cell(0, Column::Receiver), u"13800000001");
}

TEST_F(LogWindow, ResendTakesTheRowsAsSorted) {
  window.formLoad();
  view.answers = {lastHour()};
  window.toolClick(Tool::Filter);
  window.columnClick(Column::Receiver);  // 10086 first
  view.selected = {0, 3};
  window.toolClick(Tool::Resend);
  ASSERT_EQ(opened.prefills.size(), 1u);
  EXPECT_EQ(opened.prefills[0].first, u"10086,13900000009");
}

TEST(LogBody, TheSignatureGoesAndTheBodyIsCutTo130) {
  EXPECT_EQ(MobileLogPresenter::bodyOf(u"明天开会--张伟"), u"明天开会");
  EXPECT_EQ(MobileLogPresenter::bodyOf(u"a--b--张伟"), u"a--b");
  EXPECT_EQ(MobileLogPresenter::bodyOf(u"no signature"), u"no signature");
  EXPECT_EQ(MobileLogPresenter::bodyOf(ustring(200, u'字') + u"--张伟"), ustring(130, u'字'));
}

TEST(LogLayout, TheListKeepsAMarginOfTenTwips) {
  // 10 twips are 2/3 of a pixel at 96 DPI: one pixel.
  EXPECT_EQ(MobileLogPresenter::listRect(0, 30, 800, 570, 96), (Rect{1, 31, 798, 568}));
  // 288 DPI: two pixels.
  EXPECT_EQ(MobileLogPresenter::listRect(0, 0, 100, 100, 288), (Rect{2, 2, 96, 96}));
  EXPECT_EQ(MobileLogPresenter::listRect(0, 0, 1, 1, 96), (Rect{1, 1, 0, 0}));
}

}  // namespace
}  // namespace lumo::smslog
