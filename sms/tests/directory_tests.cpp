// The two recipient directories: what is read, how it is shown, when it is loaded,
// and how checks travel between departments or groups and their people.
#include "sms_fixture.h"

#include "host/language.h"

using namespace lumo;
using namespace lumo::test;
using ui::kNoNode;
using ui::NodeId;
using sms::Tree;

class Directory : public SmsTest {};

// ---- the department tree -------------------------------------------------------------------

TEST_F(Directory, DepartmentTreeIsReadWithItsExactQuery) {
  open();
  ASSERT_FALSE(db.queries.empty());
  EXPECT_EQ(db.queries[0],
            u"Select Distinct t1.FDepartmentID,t2.FName as FDepartName From t_Emp t1 Inner join t_Department t2 on "
            u"t1.FDepartmentID=t2.FItemID Where t1.FItemID>0 Order by t1.FDepartmentID");
  EXPECT_EQ(db.queries.size(), 1u);  // nothing else until a node is opened
  const auto calls = fake.calls(u"LumoMSmsManager.clsBillUseInfo");
  ASSERT_FALSE(calls.empty());
  EXPECT_EQ(calls[0], "LumoMSmsManager.clsBillUseInfo.GetData('UserName=张伟;UserID=16394;Language=chs', '" +
                          u8(db.queries[0]) + "')");
}

TEST_F(Directory, NoDepartmentComesFirstThenDepartmentsInQueryOrder) {
  open();
  const ui::TreeModel& t = tree(D);
  std::vector<ustring> roots, texts;
  for (NodeId n = t.firstRoot(); n != kNoNode; n = t.nextSibling(n)) {
    roots.push_back(t.key(n));
    texts.push_back(t.text(n));
  }
  EXPECT_EQ(roots, (Keys{u"D0", u"D1", u"D2", u"D3", u"D4"}));
  // Department 4 has no name; department 5 has nobody and is not listed.
  EXPECT_EQ(texts, (Keys{u"无部门", u"总经办", u"财务部", u"销售部", u""}));
  EXPECT_EQ(window.topLevelKeys(D), (Keys{u"D0", u"D1", u"D2", u"D3", u"D4"}));
  EXPECT_EQ(positionKeys(D), (Keys{u"D0", u"D0C1", u"D1", u"D1C1", u"D2", u"D2C1", u"D3", u"D3C1", u"D4", u"D4C1"}));
}

TEST_F(Directory, EachUnloadedNodeHoldsOnePlaceholder) {
  open();
  for (const ustring key : {u"D0", u"D1", u"D4"}) {
    EXPECT_EQ(childKeys(D, key), Keys{key + u"C1"});
    EXPECT_EQ(childTexts(D, key), Keys{u"正在加载数据"});
    EXPECT_EQ(tree(D).tag(tree(D).firstChild(node(D, key))), u"");
  }
}

TEST_F(Directory, DepartmentIdsAreWrittenAsTheDatabaseGivesThem) {
  db.scripted[kDepartmentTreeSql] = FakeTable{{u"FDepartmentID", u"FDepartName"},
                                              {{int32_t(7), u"七部"}, {12.0, u"十二部"}, {u"0815", u"文本编号"}}};
  open();
  EXPECT_EQ(window.topLevelKeys(D), (Keys{u"D0", u"D7", u"D12", u"D0815"}));
  expand(D, u"D0815");
  EXPECT_EQ(db.queries.back(), departmentSql(u"0815"));
}

TEST_F(Directory, NoDepartmentIsShownEvenWhenNobodyLacksOne) {
  db.employees.erase(std::remove_if(db.employees.begin(), db.employees.end(),
                                    [](const Employee& e) { return e.department.isNull() || e.department.toI4() == 0; }),
                     db.employees.end());
  open();
  ASSERT_NE(node(D, u"D0"), kNoNode);
  EXPECT_EQ(tree(D).text(node(D, u"D0")), u"无部门");
  expand(D, u"D0");
  EXPECT_EQ(db.queries.back(), kNoDepartmentSql);
  EXPECT_EQ(tree(D).childrenCount(node(D, u"D0")), 0u);
  EXPECT_TRUE(prompts().empty());
}

TEST_F(Directory, NoDepartmentMembersUseTheirOwnQuery) {
  open();
  expand(D, u"D0");
  EXPECT_EQ(db.queries.back(),
            u"Select t1.FItemID,t1.FName,t1.FDepartmentID,t1.FMobilePhone From t_Emp t1 Inner join t_Item t2 On "
            u"t1.FItemID=t2.FItemID Where IsNull(t1.FDepartmentID,0)=0 And (Lower(t1.FNumber) Not in "
            u"('admin','super')) And t2.FDeleted=0 Order by t1.FNumber");
  EXPECT_EQ(childKeys(D, u"D0"), (Keys{u"E1008", u"E1009"}));
  EXPECT_EQ(childTexts(D, u"D0"), (Keys{u"孙丽 (13900000008)", u"周杰 (13900000009)"}));
}

TEST_F(Directory, DepartmentMembersUseTheDepartmentQuery) {
  open();
  expand(D, u"D1");
  EXPECT_EQ(db.queries.back(),
            u"Select t1.FItemID,t1.FName,t1.FDepartmentID,t1.FMobilePhone From t_Emp t1 Inner join t_Item t2 On "
            u"t1.FItemID=t2.FItemID Where t1.FDepartmentID=1 And t2.FDeleted=0 Order by t1.FNumber");
  EXPECT_EQ(childKeys(D, u"D1"), (Keys{u"E1001", u"E1002"}));
  EXPECT_EQ(childTexts(D, u"D1"), (Keys{u"张伟 (13800000001)", u"王芳 (13800000002)"}));
  EXPECT_EQ(tree(D).tag(node(D, u"E1001")), u"13800000001");
  EXPECT_TRUE(tree(D).expanded(node(D, u"D1")));
}

TEST_F(Directory, NullOrBlankNumbersShowNoSuffix) {
  open();
  expand(D, u"D2");
  EXPECT_EQ(childTexts(D, u"D2"), (Keys{u"李娜", u"刘洋"}));
  EXPECT_EQ(tree(D).tag(node(D, u"E1003")), u"");     // Null
  EXPECT_EQ(tree(D).tag(node(D, u"E1004")), u"   ");  // blanks are kept as the number
}

TEST_F(Directory, NullNameShowsAsEmpty) {
  db.employees.push_back({1020, u"E020", Variant::null(), u"13600000000", int32_t(3)});
  db.employees.push_back({1021, u"E021", Variant::null(), Variant::null(), int32_t(3)});
  open();
  expand(D, u"D3");
  EXPECT_EQ(childTexts(D, u"D3"), (Keys{u"陈静 (13800000005)", u" (13600000000)", u""}));
  EXPECT_TRUE(prompts().empty());
}

TEST_F(Directory, PersonTextAndTagRules) {
  EXPECT_EQ(sms::personText(u"张三", Variant(u"138")), u"张三 (138)");
  EXPECT_EQ(sms::personText(u"张三", Variant(u" 138 ")), u"张三 ( 138 )");
  EXPECT_EQ(sms::personText(u"张三", Variant::null()), u"张三");
  EXPECT_EQ(sms::personText(u"张三", Variant()), u"张三");
  EXPECT_EQ(sms::personText(u"张三", Variant(u"  ")), u"张三");
  EXPECT_EQ(sms::personText(u"张三", Variant(int32_t(138))), u"张三 (138)");
  EXPECT_EQ(sms::personTag(Variant::null()), u"");
  EXPECT_EQ(sms::personTag(Variant(u"  ")), u"  ");
}

TEST_F(Directory, MembersAreLoadedOnlyOnce) {
  open();
  expand(D, u"D1");
  window.nodeCollapse(D, node(D, u"D1"));
  EXPECT_FALSE(tree(D).expanded(node(D, u"D1")));
  expand(D, u"D1");
  EXPECT_EQ(db.count(departmentSql(u"1")), 1u);
  EXPECT_EQ(childKeys(D, u"D1"), (Keys{u"E1001", u"E1002"}));
}

TEST_F(Directory, ExpandingByProgramLoadsToo) {
  open();
  tree(D).setExpanded(node(D, u"D3"), true);
  EXPECT_EQ(childKeys(D, u"D3"), Keys{u"E1005"});
}

TEST_F(Directory, OnlyASinglePlaceholderChildMeansUnloaded) {
  open();
  // A lone child with another text is a loaded member.
  tree(D).setText(tree(D).firstChild(node(D, u"D1")), u"正在加载");
  expand(D, u"D1");
  EXPECT_EQ(db.count(departmentSql(u"1")), 0u);
  // Two children, one of them the placeholder: loaded as well.
  tree(D).add(node(D, u"D2"), u"X1", u"正在加载数据");
  expand(D, u"D2");
  EXPECT_EQ(db.count(departmentSql(u"2")), 0u);
  EXPECT_EQ(childKeys(D, u"D2"), (Keys{u"D2C1", u"X1"}));
}

TEST_F(Directory, PlaceholderAndNoDepartmentAreLookedUp) {
  fake.setCurrentLanguage(u"en");
  open();
  EXPECT_EQ(tree(D).text(node(D, u"D0")), u"en:无部门");
  EXPECT_EQ(childTexts(D, u"D1"), Keys{u"en:正在加载数据"});
  // The rule compares with the translated text, so loading still happens.
  expand(D, u"D1");
  EXPECT_EQ(childKeys(D, u"D1"), (Keys{u"E1001", u"E1002"}));
}

TEST_F(Directory, PlaceholderInAnotherLanguageIsNotRecognised) {
  open();  // loaded in simplified Chinese
  fake.setCurrentLanguage(u"en");
  expand(D, u"D1");
  EXPECT_EQ(db.count(departmentSql(u"1")), 0u);
  EXPECT_EQ(childKeys(D, u"D1"), Keys{u"D1C1"});
}

// ---- the group tree -----------------------------------------------------------------------

TEST_F(Directory, GroupTreeWaitsForItsTab) {
  open();
  EXPECT_EQ(db.count(kGroupTreeSql), 0u);
  EXPECT_EQ(tree(G).count(), 0u);
  EXPECT_TRUE(view.enabled[0]);
  EXPECT_FALSE(view.enabled[1]);
  showGroups();
  EXPECT_EQ(db.queries.back(),
            u"Select Distinct g.FGroupID,u.FName as FGroupName From t_User u Inner join t_Group g On u.fUserid "
            u"=g.fGroupID Order by g.FGroupID");
  EXPECT_FALSE(view.enabled[0]);
  EXPECT_TRUE(view.enabled[1]);
  EXPECT_EQ(window.topLevelKeys(G), (Keys{u"G1", u"G2"}));
  EXPECT_EQ(positionKeys(G), (Keys{u"G1", u"G1C1", u"G2", u"G2C1"}));
  EXPECT_EQ(tree(G).text(node(G, u"G2")), u"财务组");
  EXPECT_EQ(childTexts(G, u"G1"), Keys{u"正在加载数据"});
}

TEST_F(Directory, GroupTreeIsReadOnceAndKeptAcrossSwitches) {
  open();
  showGroups();
  expand(G, u"G1");
  view.tab = 0;
  window.tabClick();
  EXPECT_TRUE(view.enabled[0]);
  EXPECT_FALSE(view.enabled[1]);
  showGroups();
  EXPECT_EQ(db.count(kGroupTreeSql), 1u);
  EXPECT_TRUE(tree(G).expanded(node(G, u"G1")));
}

TEST_F(Directory, AnEmptyGroupListIsAskedForAgain) {
  db.memberships.clear();
  open();
  showGroups();
  view.tab = 0;
  window.tabClick();
  showGroups();
  EXPECT_EQ(db.count(kGroupTreeSql), 2u);
  EXPECT_EQ(tree(G).count(), 0u);
}

TEST_F(Directory, GroupMembersUseTheirQuery) {
  open();
  showGroups();
  expand(G, u"G2");
  EXPECT_EQ(db.queries.back(),
            u"Select u.FUserID,u.FName,E.FMobilePhone,g.FGroupID From t_User u Left join t_Group g On "
            u"u.FUserID=g.FUserID Left join t_Emp E On u.FEmpID=e.FItemID Where u.FUserID>=16384 And "
            u"u.FUserID<=32767 And u.FForbidden=0 And g.FGroupID=2");
  EXPECT_EQ(childKeys(G, u"G2"), (Keys{u"U16394,2", u"U16395,2", u"U16397,2"}));
  EXPECT_EQ(childTexts(G, u"G2"), (Keys{u"张伟 (13800000001)", u"王芳 (13800000002)", u"无职员"}));
  EXPECT_EQ(tree(G).tag(node(G, u"U16397,2")), u"");
}

TEST_F(Directory, AUserInTwoGroupsHasTwoKeys) {
  open();
  showGroups();
  expand(G, u"G1");
  expand(G, u"G2");
  EXPECT_EQ(childKeys(G, u"G1"), (Keys{u"U16394,1", u"U16396,1"}));
  EXPECT_NE(node(G, u"U16394,1"), node(G, u"U16394,2"));
  EXPECT_EQ(tree(G).text(node(G, u"U16394,1")), tree(G).text(node(G, u"U16394,2")));
  EXPECT_TRUE(prompts().empty());
}

// ---- checks ---------------------------------------------------------------------------------

TEST_F(Directory, CheckingAnUnopenedDepartmentLoadsAndChecksEveryone) {
  open();
  check(D, u"D1");
  EXPECT_EQ(db.count(departmentSql(u"1")), 1u);
  EXPECT_TRUE(tree(D).checked(node(D, u"D1")));
  EXPECT_TRUE(tree(D).checked(node(D, u"E1001")));
  EXPECT_TRUE(tree(D).checked(node(D, u"E1002")));
  EXPECT_TRUE(tree(D).selected(node(D, u"D1")));
  EXPECT_FALSE(tree(D).expanded(node(D, u"D1")));  // loaded, not opened

  check(D, u"E1002", false);
  EXPECT_FALSE(tree(D).checked(node(D, u"D1")));
  EXPECT_TRUE(tree(D).checked(node(D, u"E1001")));

  check(D, u"E1002", true);
  EXPECT_TRUE(tree(D).checked(node(D, u"D1")));
  EXPECT_TRUE(tree(D).selected(node(D, u"E1002")));
  EXPECT_EQ(db.count(departmentSql(u"1")), 1u);
}

namespace {
// Which model changes a view hears inside and outside updates.
struct UpdateRecorder : ui::TreeObserver {
  int depth = 0, updates = 0, outside = 0;
  void nodeAdded(NodeId) override { count(); }
  void nodeRemoving(NodeId) override { count(); }
  void nodeChanged(NodeId) override { count(); }
  void updateBegun() override {
    ++depth;
    ++updates;
  }
  void updateEnded() override { --depth; }
  void count() {
    if (depth == 0) ++outside;
  }
};
}  // namespace

TEST_F(Directory, LoadingAndCheckingABranchIsOneUpdateOfTheTree) {
  UpdateRecorder r;
  tree(D).setObserver(&r);
  open();
  EXPECT_EQ(r.updates, 1);  // the top level
  check(D, u"D1");
  EXPECT_EQ(r.updates, 2);  // loaded and checked together
  expand(D, u"D2");
  EXPECT_EQ(r.updates, 3);
  check(D, u"E1001", false);
  EXPECT_EQ(r.updates, 4);
  EXPECT_EQ(r.depth, 0);
  // Only a user's expansion itself is reported outside an update.
  EXPECT_EQ(r.outside, 1);
  tree(D).setObserver(nullptr);
}

TEST_F(Directory, APersonWithUncheckedSiblingsLeavesTheDepartmentUnchecked) {
  open();
  expand(D, u"D1");
  check(D, u"E1001");
  EXPECT_FALSE(tree(D).checked(node(D, u"D1")));
  EXPECT_TRUE(tree(D).selected(node(D, u"E1001")));
}

TEST_F(Directory, UncheckingADepartmentUnchecksEveryoneAndKeepsTheSelection) {
  open();
  check(D, u"D1");
  tree(D).setSelected(node(D, u"E1001"), true);
  check(D, u"D1", false);
  EXPECT_FALSE(tree(D).checked(node(D, u"E1001")));
  EXPECT_FALSE(tree(D).checked(node(D, u"E1002")));
  EXPECT_TRUE(tree(D).selected(node(D, u"E1001")));
}

TEST_F(Directory, MembersLoadedUnderACheckedNodeAreChecked) {
  open();
  tree(D).setChecked(node(D, u"D2"), true);
  expand(D, u"D2");
  EXPECT_TRUE(tree(D).checked(node(D, u"E1003")));
  EXPECT_TRUE(tree(D).checked(node(D, u"E1004")));
}

TEST_F(Directory, CheckingAnEmptyDepartmentIsHarmless) {
  db.employees.erase(std::remove_if(db.employees.begin(), db.employees.end(),
                                    [](const Employee& e) { return e.department.isNull() || e.department.toI4() == 0; }),
                     db.employees.end());
  open();
  check(D, u"D0");
  EXPECT_TRUE(tree(D).checked(node(D, u"D0")));
  EXPECT_EQ(tree(D).childrenCount(node(D, u"D0")), 0u);
  check(D, u"D0", false);
  EXPECT_FALSE(tree(D).checked(node(D, u"D0")));
}

TEST_F(Directory, GroupChecksWorkTheSameWay) {
  open();
  showGroups();
  check(G, u"G1");
  EXPECT_TRUE(tree(G).checked(node(G, u"U16394,1")));
  EXPECT_TRUE(tree(G).checked(node(G, u"U16396,1")));
  EXPECT_EQ(tree(G).find(u"U16394,2"), kNoNode);  // the other group is untouched
  check(G, u"U16396,1", false);
  EXPECT_FALSE(tree(G).checked(node(G, u"G1")));
  check(G, u"U16396,1");
  EXPECT_TRUE(tree(G).checked(node(G, u"G1")));
}

// ---- double-click ---------------------------------------------------------------------------

TEST_F(Directory, DoubleClickAddsTheNumberEachTime) {
  open();
  expand(D, u"D1");
  window.nodeClick(D, node(D, u"E1001"));
  window.treeDoubleClick(D);
  EXPECT_EQ(view.receivers, u"13800000001");
  EXPECT_TRUE(tree(D).checked(node(D, u"E1001")));
  window.treeDoubleClick(D);
  EXPECT_EQ(view.receivers, u"13800000001,13800000001");
  window.nodeClick(D, node(D, u"E1002"));
  window.treeDoubleClick(D);
  EXPECT_EQ(view.receivers, u"13800000001,13800000001,13800000002");
}

TEST_F(Directory, DoubleClickReplacesABlankBoxAndAppendsToAnythingElse) {
  open();
  expand(D, u"D1");
  window.nodeClick(D, node(D, u"E1002"));
  view.receivers = u"   ";
  window.treeDoubleClick(D);
  EXPECT_EQ(view.receivers, u"13800000002");
  view.receivers = u"139 ";
  window.treeDoubleClick(D);
  EXPECT_EQ(view.receivers, u"139 ,13800000002");
  EXPECT_EQ(sms::appendNumber(u"", u"1"), u"1");
  EXPECT_EQ(sms::appendNumber(u"1,", u"2"), u"1,,2");
}

TEST_F(Directory, DoubleClickOnAPersonWithoutNumberOnlyChecks) {
  open();
  expand(D, u"D2");
  window.nodeClick(D, node(D, u"E1003"));
  window.treeDoubleClick(D);
  EXPECT_TRUE(tree(D).checked(node(D, u"E1003")));
  EXPECT_EQ(view.receivers, u"");
  // A number of blanks is a number.
  window.nodeClick(D, node(D, u"E1004"));
  view.receivers = u"1";
  window.treeDoubleClick(D);
  EXPECT_EQ(view.receivers, u"1,   ");
}

TEST_F(Directory, DoubleClickIgnoresDepartmentsPlaceholdersAndNoSelection) {
  open();
  window.treeDoubleClick(D);  // nothing selected
  window.nodeClick(D, node(D, u"D1"));
  window.treeDoubleClick(D);
  window.nodeClick(D, node(D, u"D1C1"));
  window.treeDoubleClick(D);
  EXPECT_FALSE(tree(D).checked(node(D, u"D1")));
  EXPECT_FALSE(tree(D).checked(node(D, u"D1C1")));
  EXPECT_EQ(view.receivers, u"");
  EXPECT_TRUE(prompts().empty());
}

TEST_F(Directory, DoubleClickInTheGroupTreeTakesUsers) {
  open();
  showGroups();
  expand(G, u"G2");
  window.nodeClick(G, node(G, u"U16395,2"));
  window.treeDoubleClick(G);
  EXPECT_EQ(view.receivers, u"13800000002");
  window.nodeClick(G, node(G, u"G2"));
  window.treeDoubleClick(G);
  EXPECT_EQ(view.receivers, u"13800000002");
}

// ---- failures -------------------------------------------------------------------------------

TEST_F(Directory, AFailingDepartmentQueryIsShownAndTheTreeStaysUsable) {
  db.failing.insert(departmentSql(u"2"));
  open();
  expand(D, u"D2");
  EXPECT_EQ(prompts(), Keys{u"对象名 't_Emp' 无效。"});
  EXPECT_EQ(fake.messageBoxes.at(0).title, u"Vantor提示");
  EXPECT_EQ(err().source, u"HostDb.Query");  // the error keeps the source it came with
  EXPECT_EQ(tree(D).childrenCount(node(D, u"D2")), 0u);
  // Not asked again: the placeholder is gone.
  expand(D, u"D2");
  EXPECT_EQ(db.count(departmentSql(u"2")), 1u);
  // The rest of the tree works.
  check(D, u"D1");
  view.tab = 0;
  window.cmdAddClick();
  EXPECT_EQ(view.receivers, u"13800000001,13800000002");
  EXPECT_EQ(prompts().size(), 1u);
}

TEST_F(Directory, AFailingQueryWithoutSourceIsNamedAfterTheLoader) {
  fake.registerComponent(u"LumoMSmsManager.clsBillUseInfo", [this](FakeComponent& c) {
    c.on(u"GetData", [this](InvokeKind, Args& a) -> Variant {
      if (a[1].toString() == kNoDepartmentSql) throw Error(errnum::InvalidUseOfNull);
      return Variant(db.query(a[1].toString()));
    });
    c.on(u"GetEmpMobile", [](InvokeKind, Args&) -> Variant { return u"13800000001"; });
  });
  open();
  expand(D, u"D0");
  EXPECT_EQ(prompts(), Keys{u"Invalid use of Null"});
  EXPECT_EQ(err().number, errnum::InvalidUseOfNull);
  EXPECT_EQ(err().source, u"SmsManager.frmSendSms.LoadDepartmentMembers");
}

TEST_F(Directory, CheckingADepartmentWhoseQueryFailsKeepsTheCheck) {
  db.failing.insert(departmentSql(u"3"));
  open();
  check(D, u"D3");
  EXPECT_EQ(prompts().size(), 1u);
  EXPECT_TRUE(tree(D).checked(node(D, u"D3")));
  EXPECT_EQ(tree(D).childrenCount(node(D, u"D3")), 0u);
}

TEST_F(Directory, AReadBrokenHalfwayKeepsTheRowsRead) {
  db.breakAt[departmentSql(u"1")] = 1;
  open();
  expand(D, u"D1");
  EXPECT_EQ(childKeys(D, u"D1"), Keys{u"E1001"});
  EXPECT_EQ(prompts(), Keys{u"连接已断开"});
}

TEST_F(Directory, AFailingDepartmentTreeLeavesTheWindowOpening) {
  db.failing.insert(kDepartmentTreeSql);
  open();
  EXPECT_EQ(prompts().size(), 1u);
  EXPECT_EQ(tree(D).count(), 0u);
  EXPECT_EQ(window.senderId(), u"13800000001");  // the load went on
  ASSERT_EQ(logCalls().size(), 1u);
}

TEST_F(Directory, ADuplicateRowStopsTheLoadWithTheControlsError) {
  db.scripted[kDepartmentTreeSql] =
      FakeTable{{u"FDepartmentID", u"FDepartName"}, {{int32_t(1), u"a"}, {int32_t(1), u"b"}, {int32_t(2), u"c"}}};
  open();
  EXPECT_EQ(prompts(), Keys{u"Key is not unique in collection"});
  EXPECT_EQ(window.topLevelKeys(D), (Keys{u"D0", u"D1"}));
  EXPECT_EQ(tree(D).find(u"D2"), kNoNode);
}

TEST_F(Directory, AnActionOnARemovedNodeIsTrapped) {
  open();
  const NodeId placeholder = tree(D).firstChild(node(D, u"D1"));
  expand(D, u"D1");
  window.nodeCheck(D, placeholder, true);
  window.nodeExpand(D, placeholder);
  EXPECT_EQ(prompts(), (Keys{u"Element not found", u"Element not found"}));
  EXPECT_EQ(err().source, u"SmsManager.frmSendSms.tvDepartment_Expand");
}

TEST_F(Directory, NamesAndNumbersWithNulsAndLoneSurrogatesPassThrough) {
  const ustring name(u"张\0伟", 3), number(u"138\0" u"1", 5), odd(u"\xD83D李", 2), oddNumber(u"\xDC00", 1);
  db.employees.push_back({1030, u"E030", name, number, int32_t(3)});
  db.employees.push_back({1031, u"E031", odd, oddNumber, int32_t(3)});
  open();
  expand(D, u"D3");
  EXPECT_EQ(tree(D).text(node(D, u"E1030")), name + u" (" + number + u")");
  EXPECT_EQ(tree(D).tag(node(D, u"E1030")), number);
  EXPECT_EQ(tree(D).text(node(D, u"E1031")), odd + u" (" + oddNumber + u")");
  check(D, u"D3");
  window.cmdAddClick();
  EXPECT_EQ(view.receivers, u"13800000005," + number + u"," + oddNumber);
}
