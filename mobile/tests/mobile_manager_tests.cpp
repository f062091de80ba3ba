#include <gtest/gtest.h>

#include <map>
#include <memory>

#include "fake_view.h"
#include "host/services.h"
#include "mobile/mobile_manager.h"
#include "mobile_fixture.h"

namespace lumo::mobile {
namespace {

using test::kMobileTableSql;
using test::LookupAnswer;
using Texts = std::vector<ustring>;

class FakeManagerView : public MobileManagerView {
 public:
  ustring caption, status;
  std::map<ustring, ustring> toolList, band;  // captions
  std::map<ustring, bool> enabled{{u"Save", true}, {u"SetEmp", true}, {u"Refresh", true}, {u"Exit", true}};
  std::vector<std::pair<ustring, bool>> enabling;  // every change, in order
  int closes = 0;

  void setCaption(const ustring& t) override { caption = t; }
  void setToolCaption(const ustring& key, const ustring& t, bool inBand) override { (inBand ? band : toolList)[key] = t; }
  bool toolEnabled(const ustring& key) const override { return enabled.at(key); }
  void setToolEnabled(const ustring& key, bool on) override {
    enabled[key] = on;
    enabling.emplace_back(key, on);
  }
  void setStatusText(const ustring& t) override { status = t; }
  void close() override { ++closes; }
};

// Keeps every list window it makes, as a real one keeps itself until closed.
class KeepingFactory : public display::test::FakeWindowFactory {
 public:
  std::shared_ptr<display::DisplayerPresenter> listWindow() override {
    auto w = FakeWindowFactory::listWindow();
    kept.push_back(w);
    return w;
  }
  std::vector<std::shared_ptr<display::DisplayerPresenter>> kept;
};

class Manager : public test::MobileTest {
 protected:
  FakeManagerView view;
  KeepingFactory lists;
  MobileManagerPresenter window{view, lists};
  ui::EditGrid& grid = window.grid();

  void open() { window.formLoad(); }
  // The row of a user, by name.
  int32_t row(const ustring& user) {
    for (int32_t r = 1; r <= grid.rows(); ++r)
      if (grid.text(r, colUser) == user) return r;
    ADD_FAILURE() << "no row " << test::u8(user);
    return 0;
  }
  // The user types a number into a row's cell and presses Enter.
  void edit(const ustring& user, const ustring& number) {
    grid.setActive(row(user), colMobile);
    ASSERT_TRUE(grid.beginEdit(number));
    grid.commitEdit();
  }
  ustring mobile(const ustring& user) { return grid.text(row(user), colMobile); }
  std::vector<std::map<ustring, Variant>> pending() {
    std::vector<std::map<ustring, Variant>> out;
    for (std::size_t i = 1; i <= window.pending()->count(); ++i)
      out.push_back(test::readDictionary(window.pending()->item(i).toObject()));
    return out;
  }
  std::vector<std::string> logCalls() { return calls(u"OxaBase.LogServer"); }
  std::string logCall(int action, const std::string& desc) {
    return "OxaBase.LogServer.WriteLog('" + test::u8(props) + "', 'SMS00108', " + std::to_string(action) + ", '" +
           desc + "', 'WORKSTATION01', '192.168.10.21')";
  }
  void pick(int32_t id, const ustring& name, std::optional<Variant> mobile = Variant(u"13700000000")) {
    lookups.push_back({LookupAnswer::Item, id, name, mobile});
  }
};

// ---- load and the grid ---------------------------------------------------------------------------

TEST_F(Manager, TheFillQueryIsTheTextByteForByte) {
  EXPECT_EQ(mobileTableSql(),
            u"Select a.FName,a.FEmpID,b.FName as EmpName,b.FMobilePhone From t_User a Left join t_Emp b On "
            u"a.FEmpID=b.FItemID Where a.FUserID Between 16384 And 32767And a.FForbidden=0 Order By a.FUserID");
  open();
  EXPECT_EQ(db.queries, Texts{kMobileTableSql});
}

TEST_F(Manager, LoadSetsCaptionsHeadersToolsAndDisablesSave) {
  open();
  EXPECT_EQ(view.caption, u"用户-职员-移动电话对照表");
  EXPECT_EQ(grid.text(0, colUser), u"用户");
  EXPECT_EQ(grid.text(0, colEmp), u"职员");
  EXPECT_EQ(grid.text(0, colMobile), u"移动电话");
  EXPECT_EQ(grid.text(0, colEmpId), u"");
  EXPECT_EQ(view.toolList[u"Save"], u"保存");
  EXPECT_EQ(view.band[u"Save"], u"保存");
  EXPECT_EQ(view.toolList[u"Exit"], u"退出");
  EXPECT_EQ(view.band[u"Exit"], u"退出");
  EXPECT_FALSE(view.enabled[u"Save"]);
  EXPECT_EQ(logCalls(), std::vector<std::string>{logCall(1, "")});
}

TEST_F(Manager, CaptionsAreLookedUp) {
  fake.setCurrentLanguage(u"en");
  open();
  EXPECT_EQ(view.caption, u"en:用户-职员-移动电话对照表");
  EXPECT_EQ(grid.text(0, colMobile), u"en:移动电话");
  EXPECT_EQ(view.band[u"Save"], u"en:保存");
}

TEST_F(Manager, RowsShowUsersInTheListedRangeWithNullsEmptyAndTheirLocksAndColours) {
  open();
  ASSERT_EQ(grid.rows(), 6);  // 16384..16390 without the forbidden one; the administrator is outside
  EXPECT_EQ(grid.text(1, colUser), u"王建国");
  EXPECT_EQ(grid.text(1, colEmp), u"王建国");
  EXPECT_EQ(grid.text(1, colMobile), u"13901010001");
  EXPECT_EQ(grid.text(1, colEmpId), u"1001");
  for (int32_t r = 1; r <= grid.rows(); ++r) {
    EXPECT_TRUE(grid.locked(r, colUser));
    EXPECT_EQ(grid.backColor(r, colUser), ui::rgb(217, 217, 210));
    EXPECT_TRUE(grid.locked(r, colEmp));
    EXPECT_TRUE(grid.locked(r, colEmpId));
  }
  const int32_t unbound = row(u"临时用户");
  EXPECT_EQ(grid.text(unbound, colEmp), u"");
  EXPECT_EQ(grid.text(unbound, colEmpId), u"");
  EXPECT_TRUE(grid.locked(unbound, colMobile));
  EXPECT_EQ(grid.backColor(unbound, colMobile), ui::rgb(241, 241, 241));
  const int32_t noNumber = row(u"张伟");
  EXPECT_EQ(grid.text(noNumber, colMobile), u"");
  EXPECT_FALSE(grid.locked(noNumber, colMobile));
  EXPECT_EQ(grid.backColor(noNumber, colMobile), ui::kWhite);
}

TEST_F(Manager, AFailingFillIsShownAndTheWindowStaysUsable) {
  db.failing.insert(kMobileTableSql);
  open();
  EXPECT_EQ(prompts(), Texts{u"对象名 't_Emp' 无效。"});
  EXPECT_EQ(grid.rows(), 0);
  EXPECT_EQ(err().source, u"HostDb.Query");
  EXPECT_TRUE(grid.redraw());
}

TEST_F(Manager, AFillWithANullEmployeeIdLocksTheNumber) {
  db.scripted[kMobileTableSql] = test::FakeTable{{u"FName", u"FEmpID", u"EmpName", u"FMobilePhone"},
                                                 {{u"某'人\"", Variant::null(), Variant::null(), Variant::null()}}};
  open();
  ASSERT_EQ(grid.rows(), 1);
  EXPECT_EQ(grid.text(1, colUser), u"某'人\"");
  EXPECT_TRUE(grid.locked(1, colMobile));
}

// ---- editing -------------------------------------------------------------------------------------

TEST_F(Manager, TheFirstEditEnablesSave) {
  open();
  edit(u"李秀英", u"13900000000");
  EXPECT_TRUE(view.enabled[u"Save"]);
  const auto changes = std::count(view.enabling.begin(), view.enabling.end(), std::make_pair(ustring(u"Save"), true));
  edit(u"李秀英", u"13900000001");
  EXPECT_EQ(std::count(view.enabling.begin(), view.enabling.end(), std::make_pair(ustring(u"Save"), true)), changes);
}

TEST_F(Manager, TwelveCharactersLeaveEleven) {
  open();
  edit(u"李秀英", u"139000000001");
  EXPECT_EQ(mobile(u"李秀英"), u"13900000000");
  EXPECT_EQ(pending().at(0).at(u"Mobile"), Variant(u"13900000000"));
}

TEST_F(Manager, APastedFiveThousandCharactersLeaveEleven) {
  open();
  edit(u"李秀英", ustring(5000, u'8'));
  EXPECT_EQ(mobile(u"李秀英"), ustring(11, u'8'));
}

TEST_F(Manager, TwoUsersOfOneEmployeeFollowEachOtherWithOnePendingRecord) {
  open();
  edit(u"王建国", u"13811112222");
  EXPECT_EQ(mobile(u"王建国(备)"), u"13811112222");
  edit(u"王建国(备)", u"13833334444");
  EXPECT_EQ(mobile(u"王建国"), u"13833334444");
  const auto p = pending();
  ASSERT_EQ(p.size(), 1u);
  EXPECT_EQ(p[0].at(u"FEmpID"), Variant(u"1001"));
  EXPECT_EQ(p[0].at(u"FEmpName"), Variant(u"王建国"));
  EXPECT_EQ(p[0].at(u"Mobile"), Variant(u"13833334444"));
  std::vector<ustring> keys;
  for (const Variant& k : std::static_pointer_cast<Dictionary>(window.pending()->item(1).toObject())->keys())
    keys.push_back(k.toString());
  EXPECT_EQ(keys, (Texts{u"FEmpID", u"FEmpName", u"Mobile"}));
}

TEST_F(Manager, EditsOfDifferentEmployeesKeepTheirOrder) {
  open();
  edit(u"李秀英", u"13900000002");
  edit(u"王建国", u"13900000001");
  edit(u"李秀英", u"13900000003");
  const auto p = pending();
  ASSERT_EQ(p.size(), 2u);
  EXPECT_EQ(p[0].at(u"FEmpName"), Variant(u"李秀英"));
  EXPECT_EQ(p[0].at(u"Mobile"), Variant(u"13900000003"));
  EXPECT_EQ(p[1].at(u"FEmpName"), Variant(u"王建国"));
}

TEST_F(Manager, AnEditAsksTheHostNothing) {
  open();
  edit(u"李秀英", u"1390");  // a mark and the count: their texts were looked up before
  fake.clearJournal();
  edit(u"王建国", u"13911112222");
  edit(u"李秀英", u"13501080022");
  EXPECT_TRUE(fake.creations.empty());
  EXPECT_EQ(view.status, u"有冲突或不是11位数字的号码:0");
}

TEST_F(Manager, TheIndexNamesEveryRowOfAnEmployee) {
  open();
  EXPECT_EQ(window.rowsOf(u"1001"), (std::vector<int32_t>{row(u"王建国"), row(u"王建国(备)")}));
  EXPECT_TRUE(window.rowsOf(u"").empty());
}

TEST_F(Manager, ALockedNumberCellCannotBeEditedAndAClickExplains) {
  open();
  const int32_t r = row(u"临时用户");
  grid.setActive(r, colMobile);
  EXPECT_FALSE(grid.beginEdit(u"1"));
  grid.click(r, colMobile);
  ASSERT_EQ(fake.messageBoxes.size(), 1u);
  EXPECT_EQ(fake.messageBoxes[0].prompt, u"该用户未关联职员，不能修改手机号码,请先关联职员!");
  EXPECT_EQ(fake.messageBoxes[0].title, u"Vantor提示!");
  grid.click(row(u"李秀英"), colMobile);  // an open cell explains nothing
  EXPECT_EQ(fake.messageBoxes.size(), 1u);
}

TEST_F(Manager, TheLockedCellTitleIsNotLocalised) {
  fake.setCurrentLanguage(u"en");
  open();
  grid.click(row(u"临时用户"), colMobile);
  ASSERT_EQ(fake.messageBoxes.size(), 1u);
  EXPECT_EQ(fake.messageBoxes[0].title, u"Vantor提示!");
}

// ---- binding -------------------------------------------------------------------------------------

TEST_F(Manager, AClickOnTheEmployeeColumnBindsThroughTheExactCalls) {
  open();
  fake.clearJournal();
  pick(1004, u"刘芳", Variant(u"13801020004"));
  const int32_t r = row(u"临时用户");
  grid.click(r, colEmp);
  EXPECT_EQ(calls(u"LumoMRightManage.CUserInfo"),
            std::vector<std::string>{"LumoMRightManage.CUserInfo.chkAuthRight('" + test::u8(props) + "', 0, 2)"});
  EXPECT_EQ(calls(u"OxcGLView.GLView"), std::vector<std::string>{"OxcGLView.GLView.ItemLookup(3, 0, 'fdetail=1')"});
  EXPECT_EQ(calls(u"OxaBase.SecurityInfo"),
            std::vector<std::string>{"OxaBase.SecurityInfo.CheckEmpIsGroup('" + test::u8(props) + "', 1004)"});
  ASSERT_EQ(bindings.size(), 1u);
  EXPECT_EQ(bindings[0].first, u"临时用户");
  EXPECT_EQ(bindings[0].second.at(u"FEmpID"), Variant(int32_t(1004)));
  EXPECT_EQ(bindings[0].second.at(u"MachineName"), Variant(u"WORKSTATION01"));
  EXPECT_EQ(bindings[0].second.at(u"IPAddress"), Variant(u"192.168.10.21"));
  EXPECT_EQ(bindings[0].second.size(), 3u);
  EXPECT_EQ(grid.text(r, colEmp), u"刘芳");
  EXPECT_EQ(grid.text(r, colMobile), u"13801020004");
  EXPECT_FALSE(grid.locked(r, colMobile));
  EXPECT_EQ(grid.backColor(r, colMobile), ui::kWhite);
  EXPECT_EQ(grid.text(r, colEmpId), u"1004");
  EXPECT_EQ(logCalls(), std::vector<std::string>{logCall(5, "用户:[临时用户]关联职员:[刘芳]")});
  EXPECT_FALSE(window.busy());
  EXPECT_EQ(window.rowsOf(u"1004"), std::vector<int32_t>{r});
}

TEST_F(Manager, TheSetEmpToolBindsTheActiveRowAndIsDisabledMeanwhile) {
  open();
  bool enabledDuring = true;
  fake.registerComponent(u"OxcGLView.GLView", [&](test::FakeComponent& c) {
    c.on(u"ItemLookup", [&](InvokeKind, Args&) -> Variant {
      enabledDuring = view.enabled[u"SetEmp"];
      return Variant(ObjectPtr());
    });
  });
  grid.setActive(row(u"张伟"), colUser);
  window.toolClick(u"SetEmp");
  EXPECT_FALSE(enabledDuring);
  EXPECT_TRUE(view.enabled[u"SetEmp"]);
  EXPECT_TRUE(bindings.empty());
}

TEST_F(Manager, ASecondBindWhileOneRunsDoesNothing) {
  open();
  int lookupsSeen = 0;
  fake.registerComponent(u"OxcGLView.GLView", [&](test::FakeComponent& c) {
    c.on(u"ItemLookup", [&](InvokeKind, Args&) -> Variant {
      ++lookupsSeen;
      EXPECT_TRUE(window.busy());
      window.bind(1, false);  // a click while the picker is up
      return Variant(ObjectPtr());
    });
  });
  window.bind(2, false);
  EXPECT_EQ(lookupsSeen, 1);
  EXPECT_FALSE(window.busy());
}

TEST_F(Manager, WithoutTheRightNothingChanges) {
  open();
  hasRight = false;
  fake.clearJournal();
  grid.click(row(u"临时用户"), colEmp);
  EXPECT_EQ(prompts(), Texts{u"当前用户没有权限进行用户管理"});
  EXPECT_TRUE(calls(u"OxcGLView.GLView").empty());
  EXPECT_TRUE(bindings.empty());
  EXPECT_FALSE(window.busy());
}

TEST_F(Manager, AMissingRightComponentMeansNoRight) {
  open();
  fake.unregister(u"LumoMRightManage.CUserInfo");
  EXPECT_FALSE(window.checkUserManagerRight());
}

TEST_F(Manager, CancelStopsQuietly) {
  open();
  lookups.push_back({LookupAnswer::Cancel, 0, Variant(), std::nullopt});
  grid.click(1, colEmp);
  EXPECT_TRUE(prompts().empty());
  EXPECT_TRUE(bindings.empty());
  EXPECT_TRUE(calls(u"OxaBase.SecurityInfo").empty());
}

TEST_F(Manager, AnEmptySelectionRaisesFiveFromKeyForlookup) {
  open();
  lookups.push_back({LookupAnswer::Empty, 0, Variant(), std::nullopt});
  grid.click(1, colEmp);
  EXPECT_EQ(prompts(), Texts{u"选择数据不存在!"});
  EXPECT_EQ(err().number, 5);
  EXPECT_EQ(err().source, u"KeyForlookup");
  EXPECT_TRUE(bindings.empty());
  EXPECT_FALSE(window.busy());
}

TEST_F(Manager, AGroupEmployeeIsRefused) {
  open();
  groupEmployees.insert(900);
  pick(900, u"管理人员");
  const int32_t r = row(u"临时用户");
  grid.click(r, colEmp);
  EXPECT_EQ(prompts(), Texts{u"所选择的职员是一个上级组,不能进行关联,请选择其他的职员!"});
  EXPECT_TRUE(bindings.empty());
  EXPECT_EQ(grid.text(r, colEmp), u"");
  EXPECT_EQ(logCalls().size(), 1u);  // the opening only
}

TEST_F(Manager, AnItemWithoutTheNumberPropertyEndsTheBindBeforeAnythingChanges) {
  open();
  pick(1004, u"刘芳", std::nullopt);
  const int32_t r = row(u"临时用户");
  grid.click(r, colEmp);
  EXPECT_EQ(prompts(), Texts{u"Invalid procedure call or argument"});
  EXPECT_TRUE(bindings.empty());
  EXPECT_EQ(grid.text(r, colEmp), u"");
  EXPECT_FALSE(window.busy());
}

TEST_F(Manager, ABindOfARowWithEditsKeepsTheIndexRight) {
  open();
  pick(1002, u"李秀英", Variant(u"13901010002"));
  const int32_t r = row(u"王建国(备)");
  grid.click(r, colEmp);
  EXPECT_EQ(window.rowsOf(u"1001"), std::vector<int32_t>{row(u"王建国")});
  EXPECT_EQ(window.rowsOf(u"1002"), (std::vector<int32_t>{r, row(u"李秀英")}));
  edit(u"李秀英", u"13911111111");
  EXPECT_EQ(grid.text(r, colMobile), u"13911111111");
  EXPECT_EQ(mobile(u"王建国"), u"13901010001");
}

// ---- saving --------------------------------------------------------------------------------------

TEST_F(Manager, SaveHandsThePendingEditsOverAndDropsThem) {
  open();
  edit(u"王建国", u"13811112222");
  edit(u"李秀英", u"13922223333");
  window.toolClick(u"Save");
  ASSERT_EQ(batches.size(), 1u);
  ASSERT_EQ(batches[0].size(), 2u);
  EXPECT_EQ(batches[0][0].at(u"FEmpID"), Variant(u"1001"));
  EXPECT_EQ(batches[0][1].at(u"Mobile"), Variant(u"13922223333"));
  EXPECT_EQ(window.pending()->count(), 0u);
  EXPECT_FALSE(view.enabled[u"Save"]);
  EXPECT_TRUE(lists.made.empty());
}

TEST_F(Manager, SaveWithoutEditsCallsNothing) {
  open();
  window.save();
  EXPECT_TRUE(batches.empty());
  EXPECT_TRUE(calls(u"OxaGLItem.ItemUpdate").empty());
}

TEST_F(Manager, FailuresAreListedOneLinePerRecordInANewListWindow) {
  open();
  edit(u"张伟", u"13901010002");
  edit(u"陈静", u"13901010001");
  batchFailures = {{u"张伟", u"13901010002"}, {u"陈静", u"13901010001"}};
  window.save();
  ASSERT_EQ(lists.made.size(), 1u);
  auto list = lists.made[0].lock();
  ASSERT_TRUE(list);
  EXPECT_EQ(list->presenter.titles(), u"显示信息|");
  const auto& rows = list->presenter.rowSets();
  ASSERT_EQ(rows->count(), 2u);
  EXPECT_EQ(rows->item(1), Variant(u"职员:[张伟]手机号码保存失败,已有职员存在手机号码[13901010002]"));
  EXPECT_EQ(rows->item(2), Variant(u"职员:[陈静]手机号码保存失败,已有职员存在手机号码[13901010001]"));
  EXPECT_EQ(list->view.shows, 1);
  EXPECT_FALSE(list->view.shownModal);
  EXPECT_EQ(window.pending()->count(), 0u);
  EXPECT_EQ(mobile(u"张伟"), u"13901010002");  // the typed numbers stay until refreshed
}

TEST_F(Manager, AFailingBatchIsToldAndTheEditsAreDroppedAllTheSame) {
  open();
  edit(u"张伟", u"13900000000");
  batchThrows = true;
  window.save();
  EXPECT_EQ(prompts(), Texts{u"数据库连接已断开"});
  EXPECT_EQ(window.pending()->count(), 0u);
  EXPECT_TRUE(lists.made.empty());
}

TEST_F(Manager, RefreshRereadsTheTableAndKeepsPendingEdits) {
  open();
  edit(u"李秀英", u"13922223333");
  db.employees[1].mobile = u"13000000000";
  window.toolClick(u"Refresh");
  EXPECT_EQ(db.queries, (Texts{kMobileTableSql, kMobileTableSql}));
  EXPECT_EQ(mobile(u"李秀英"), u"13000000000");
  EXPECT_EQ(window.pending()->count(), 1u);
}

TEST_F(Manager, RefreshSetsLocksOfRowsBoundOrUnboundSince) {
  open();
  db.user(u"临时用户")->empId = int32_t(1005);
  db.user(u"张伟")->empId = Variant::null();
  window.fillGrid();
  EXPECT_FALSE(grid.locked(row(u"临时用户"), colMobile));
  EXPECT_EQ(grid.backColor(row(u"临时用户"), colMobile), ui::kWhite);
  EXPECT_TRUE(grid.locked(row(u"张伟"), colMobile));
}

// ---- closing -------------------------------------------------------------------------------------

TEST_F(Manager, ClosingWithNoEditsAsksNothing) {
  open();
  window.toolClick(u"Exit");
  EXPECT_EQ(view.closes, 1);
  EXPECT_FALSE(window.queryUnload());
  EXPECT_TRUE(prompts().empty());
}

TEST_F(Manager, ClosingWithEditsAsksCancelKeepsYesSavesNoDrops) {
  open();
  edit(u"李秀英", u"13922223333");
  fake.answers = {msgbox::vbCancel, msgbox::vbYes};
  EXPECT_TRUE(window.queryUnload());
  ASSERT_EQ(fake.messageBoxes.size(), 1u);
  EXPECT_EQ(fake.messageBoxes[0].prompt, u"已有数据被修改，是否保存？");
  EXPECT_EQ(fake.messageBoxes[0].buttons, 35);
  EXPECT_EQ(fake.messageBoxes[0].title, u"Vantor提示");
  EXPECT_TRUE(batches.empty());
  EXPECT_FALSE(window.queryUnload());
  EXPECT_EQ(batches.size(), 1u);

  edit(u"李秀英", u"13922224444");
  fake.answers = {msgbox::vbNo};
  EXPECT_FALSE(window.queryUnload());
  EXPECT_EQ(batches.size(), 1u);
}

TEST_F(Manager, UnloadWritesTheClosing) {
  open();
  window.formUnload();
  EXPECT_EQ(logCalls(), (std::vector<std::string>{logCall(1, ""), logCall(3, "")}));
}

TEST_F(Manager, OtherToolKeysDoNothing) {
  open();
  window.toolClick(u"Print");
  EXPECT_EQ(view.closes, 0);
  EXPECT_EQ(db.queries.size(), 1u);
}

// ---- conflicts before saving ---------------------------------------------------------------------

TEST_F(Manager, ANumberAnotherEmployeeHoldsIsMarkedWithTheOtherNamed) {
  open();
  EXPECT_EQ(window.conflictCount(), 0);
  edit(u"陈静", u"13901010002");  // 李秀英's
  const int32_t r = row(u"陈静");
  EXPECT_TRUE(grid.marked(r, colMobile));
  EXPECT_EQ(grid.foreColor(r, colMobile), kConflictForeColor);
  EXPECT_EQ(grid.toolTip(r, colMobile), u"该号码也属于职员:李秀英");
  EXPECT_TRUE(grid.marked(row(u"李秀英"), colMobile));
  EXPECT_EQ(grid.toolTip(row(u"李秀英"), colMobile), u"该号码也属于职员:陈静");
  EXPECT_EQ(grid.backColor(r, colMobile), ui::kWhite);  // the fixed background stays
  EXPECT_EQ(window.conflictCount(), 2);
  EXPECT_EQ(view.status, u"有冲突或不是11位数字的号码:2");
  edit(u"陈静", u"13801020005");
  EXPECT_FALSE(grid.marked(r, colMobile));
  EXPECT_FALSE(grid.marked(row(u"李秀英"), colMobile));
  EXPECT_EQ(window.conflictCount(), 0);
}

TEST_F(Manager, TheRowsOfOneEmployeeDoNotConflictWithEachOther) {
  open();
  EXPECT_FALSE(grid.marked(row(u"王建国"), colMobile));
  EXPECT_FALSE(grid.marked(row(u"王建国(备)"), colMobile));
}

TEST_F(Manager, ANumberThatIsNotElevenDigitsIsMarkedAndClearingItUnmarks) {
  open();
  edit(u"李秀英", u"1390");
  EXPECT_TRUE(grid.marked(row(u"李秀英"), colMobile));
  EXPECT_EQ(grid.toolTip(row(u"李秀英"), colMobile), u"手机号码不是11位数字");
  edit(u"李秀英", u"");
  EXPECT_FALSE(grid.marked(row(u"李秀英"), colMobile));
  EXPECT_EQ(window.conflictCount(), 0);
}

TEST_F(Manager, ARefreshMarksWhatTheHostHoldsNowAndClearsTheMarksOfEdits) {
  open();
  edit(u"陈静", u"13901010002");  // 李秀英's: both marked
  db.employees[2].mobile = u"13801020005";  // 张伟 holds 陈静's number in the host now
  window.toolClick(u"Refresh");
  const int32_t chen = row(u"陈静"), li = row(u"李秀英"), zhang = row(u"张伟");
  EXPECT_EQ(mobile(u"陈静"), u"13801020005");
  EXPECT_FALSE(grid.marked(li, colMobile));
  EXPECT_EQ(grid.toolTip(li, colMobile), u"");
  EXPECT_EQ(grid.foreColor(li, colMobile), ui::kBlack);
  EXPECT_TRUE(grid.marked(chen, colMobile));
  EXPECT_EQ(grid.toolTip(chen, colMobile), u"该号码也属于职员:张伟");
  EXPECT_EQ(grid.foreColor(chen, colMobile), kConflictForeColor);
  EXPECT_EQ(grid.toolTip(zhang, colMobile), u"该号码也属于职员:陈静");
  EXPECT_EQ(window.conflictCount(), 2);
  EXPECT_EQ(view.status, u"有冲突或不是11位数字的号码:2");
}

TEST_F(Manager, FindGoesToTheNextUserOrEmployeeAndWraps) {
  open();
  EXPECT_EQ(window.findRow(u"王建国", 0), 1);
  EXPECT_EQ(window.findRow(u"王建国", 1), 2);
  EXPECT_EQ(window.findRow(u"王建国", 2), 1);
  EXPECT_EQ(window.findRow(u"陈", 0), row(u"陈静"));
  EXPECT_EQ(window.findRow(u"无此人", 0), 0);
  EXPECT_EQ(window.findRow(u" ", 0), 0);
}

}  // namespace
}  // namespace lumo::mobile
