// The receiver list: typing, adding the checked people, clearing, the number
// check, and the search over the directories.
#include "sms_fixture.h"

using namespace lumo;
using namespace lumo::test;
using ui::kNoNode;
using ui::NodeId;
using sms::Tree;

namespace {
const ustring kTooLong = u"手机号码长度不能大于11!";
const ustring kIllegal = u"手机号码中包含非法字符!";
}  // namespace

class Receivers : public SmsTest {};

// ---- typing ---------------------------------------------------------------------------------

TEST(ReceiverKeys, DigitsCommaAndBackspaceAreAccepted) {
  for (int32_t c = '0'; c <= '9'; ++c) EXPECT_TRUE(sms::acceptReceiverKey(c)) << c;
  EXPECT_TRUE(sms::acceptReceiverKey(44));
  EXPECT_TRUE(sms::acceptReceiverKey(8));
}

TEST(ReceiverKeys, EverythingElseIsDropped) {
  for (int32_t c : {0, 1, 3, 9, 13, 22, 24, 26, 27, 32, 43, 45, 46, 47, 58, 59, 65, 97, 127, 0xFF0C, 0xFF10, 0x4E00,
                    0xD800, 0xFFFF})
    EXPECT_FALSE(sms::acceptReceiverKey(c)) << c;
  int accepted = 0;
  for (int32_t c = 0; c < 0x10000; ++c) accepted += sms::acceptReceiverKey(c) ? 1 : 0;
  EXPECT_EQ(accepted, 12);
}

// ---- the number check -----------------------------------------------------------------------

TEST(NumberCheck, ElevenDigitNumbersPass) {
  EXPECT_EQ(sms::checkNumbers(u"13800000001,13800000002"), u"");
  EXPECT_EQ(sms::checkNumbers(u"13800000001"), u"");
  EXPECT_EQ(sms::checkNumbers(u"1"), u"");  // shorter numbers pass
}

TEST(NumberCheck, TwelveDigitsFailOnLength) {
  EXPECT_EQ(sms::checkNumbers(u"138000000012"), kTooLong);
  EXPECT_EQ(sms::checkNumbers(u"13800000001,138000000012"), kTooLong);
}

TEST(NumberCheck, IllegalCharactersFail) {
  EXPECT_EQ(sms::checkNumbers(u"1380000000a"), kIllegal);  // ten digits and a letter
  EXPECT_EQ(sms::checkNumbers(u"1380000000 "), kIllegal);  // ten digits and a blank: not trimmed
  EXPECT_EQ(sms::checkNumbers(u" 13800000"), kIllegal);
  EXPECT_EQ(sms::checkNumbers(u"1380000000-"), kIllegal);
  EXPECT_EQ(sms::checkNumbers(u"１３８"), kIllegal);  // full-width digits are not ASCII digits
  EXPECT_EQ(sms::checkNumbers(u"13800000001;13800000002"), kTooLong);
}

TEST(NumberCheck, LengthIsMeasuredBeforeCharacters) {
  // Eleven digits and a blank are twelve characters: the length decides first.
  EXPECT_EQ(sms::checkNumbers(u"13800000001 "), kTooLong);
  EXPECT_EQ(sms::checkNumbers(u"1380000000a12"), kTooLong);
}

TEST(NumberCheck, TheFirstFailingEntryDecides) {
  EXPECT_EQ(sms::checkNumbers(u"1380000000a,138000000012"), kIllegal);
  EXPECT_EQ(sms::checkNumbers(u"138000000012,1380000000a"), kTooLong);
  EXPECT_EQ(sms::checkNumbers(u"13800000001,13800000002,x"), kIllegal);
}

TEST(NumberCheck, EmptyEntriesPass) {
  EXPECT_EQ(sms::checkNumbers(u""), u"");
  EXPECT_EQ(sms::checkNumbers(u","), u"");
  EXPECT_EQ(sms::checkNumbers(u"13800000001,"), u"");
  EXPECT_EQ(sms::checkNumbers(u",,13800000001,,"), u"");
}

TEST(NumberCheck, CharactersCountInUtf16Units) {
  EXPECT_EQ(sms::checkNumbers(ustring(u"138\0", 4)), kIllegal);
  EXPECT_EQ(sms::checkNumbers(u"\xD800"), kIllegal);
  EXPECT_EQ(sms::checkNumbers(u"1234567890\xD83D\xDE00"), kTooLong);  // 10 digits + a pair = 12 units
  EXPECT_EQ(sms::checkNumbers(u"123456789\xD83D\xDE00"), kIllegal);   // 11 units
}

TEST(NumberCheck, AListOfAMegabytePasses) {
  ustring list;
  while (list.size() < (1u << 20)) list += u"13800000000,";
  EXPECT_EQ(sms::checkNumbers(list), u"");
  list += u"1380000000x";
  EXPECT_EQ(sms::checkNumbers(list), kIllegal);
}

// ---- adding the checked people --------------------------------------------------------------

TEST_F(Receivers, AddJoinsTheCheckedNumbersInPositionOrder) {
  open();
  check(D, u"D1");
  window.cmdAddClick();
  EXPECT_EQ(view.receivers, u"13800000001,13800000002");
}

TEST_F(Receivers, AddCountsTheNewNumbersInTheCostLine) {
  open();
  check(D, u"D1");
  window.cmdAddClick();
  EXPECT_EQ(view.captions[sms::Control::lblCost], u"含签名每个号码1条短信，2个号码共2条");
}

TEST_F(Receivers, AddingTwiceDoublesTheList) {
  open();
  check(D, u"D1");
  window.cmdAddClick();
  window.cmdAddClick();
  EXPECT_EQ(view.receivers, u"13800000001,13800000002,13800000001,13800000002");
}

TEST_F(Receivers, AddAppendsToWhateverTheBoxHolds) {
  open();
  check(D, u"D3");
  view.receivers = u"139";
  window.cmdAddClick();
  EXPECT_EQ(view.receivers, u"139,13800000005");
  view.receivers = u" ";  // not empty as it stands
  window.cmdAddClick();
  EXPECT_EQ(view.receivers, u" ,13800000005");
}

TEST_F(Receivers, NothingCheckedLeavesTheBoxAlone) {
  open();
  view.receivers = u"";
  window.cmdAddClick();
  EXPECT_EQ(view.receivers, u"");
  view.receivers = u"139,";
  window.cmdAddClick();
  EXPECT_EQ(view.receivers, u"139,");
}

TEST_F(Receivers, PeopleWithoutNumbersAndDepartmentsContributeNothing) {
  open();
  expand(D, u"D2");
  check(D, u"E1003");  // no number
  window.cmdAddClick();
  EXPECT_EQ(view.receivers, u"");
  // A checked department node: only its people count.
  tree(D).setChecked(node(D, u"D4"), true);
  window.cmdAddClick();
  EXPECT_EQ(view.receivers, u"");
  EXPECT_TRUE(prompts().empty());
}

TEST_F(Receivers, ABlankNumberIsAddedAsItStands) {
  open();
  check(D, u"D2");  // 李娜 (none) and 刘洋 ("   ")
  window.cmdAddClick();
  EXPECT_EQ(view.receivers, u"   ");
}

TEST_F(Receivers, MembersOpenedByHandComeBeforeThoseLoadedLater) {
  open();
  expand(D, u"D3");
  check(D, u"D1");
  check(D, u"D3");
  window.cmdAddClick();
  EXPECT_EQ(view.receivers, u"13800000005,13800000001,13800000002");
}

TEST_F(Receivers, TheGroupTabAddsUsersOnly) {
  open();
  check(D, u"D3");
  showGroups();
  check(G, u"G2");
  window.cmdAddClick();
  // 张伟 and 王芳 through the group; the user without an employee has no number.
  EXPECT_EQ(view.receivers, u"13800000001,13800000002");
  view.tab = 0;
  window.tabClick();
  view.receivers.clear();
  window.cmdAddClick();
  EXPECT_EQ(view.receivers, u"13800000005");
}

TEST_F(Receivers, AUserInTwoCheckedGroupsIsAddedTwice) {
  open();
  showGroups();
  check(G, u"G1");
  check(G, u"G2");
  window.cmdAddClick();
  EXPECT_EQ(view.receivers, u"13800000001,13800000001,13800000002");
}

TEST_F(Receivers, ClearEmptiesTheBox) {
  open();
  view.receivers = u"13800000001,13800000002";
  window.cmdClearMobileClick();
  EXPECT_EQ(view.receivers, u"");
}

// ---- search ---------------------------------------------------------------------------------

TEST(SearchName, IsTheTextBeforeTheFirstParenthesisTrimmed) {
  EXPECT_EQ(sms::searchName(u"张伟 (13800000001)"), u"张伟");
  EXPECT_EQ(sms::searchName(u"  张伟  "), u"张伟");
  EXPECT_EQ(sms::searchName(u"李(小)明 (138)"), u"李");
  EXPECT_EQ(sms::searchName(u"(138)"), u"");
  EXPECT_EQ(sms::searchName(u""), u"");
}

TEST_F(Receivers, BlankSearchEmptiesTheBoxAndResetsThePosition) {
  open();
  view.find = u"   ";
  window.cmdFindClick();
  EXPECT_EQ(view.find, u"");
  EXPECT_EQ(window.searchPosition(D), 1u);
  EXPECT_EQ(db.queries.size(), 1u);  // nothing loaded
  EXPECT_TRUE(view.focused.empty());
  EXPECT_EQ(tree(D).selectedNode(), kNoNode);
}

TEST_F(Receivers, FindLoadsEveryNodeThenSelectsTheFirstMatch) {
  open();
  view.find = u" 陈静 ";
  window.cmdFindClick();
  for (const ustring& key : window.topLevelKeys(D)) EXPECT_TRUE(tree(D).expanded(node(D, key))) << u8(key);
  EXPECT_EQ(db.count(kNoDepartmentSql), 1u);
  EXPECT_EQ(db.count(departmentSql(u"4")), 1u);
  const NodeId match = node(D, u"E1005");
  EXPECT_TRUE(tree(D).selected(match));
  EXPECT_EQ(view.focused, std::vector<Tree>{D});
  EXPECT_EQ(window.searchPosition(D), tree(D).positionOf(match));
  // Top level first, then the members in the order they were loaded.
  EXPECT_EQ(positionKeys(D), (Keys{u"D0", u"D1", u"D2", u"D3", u"D4", u"E1008", u"E1009", u"E1001", u"E1002",
                                   u"E1003", u"E1004", u"E1005", u"E1006"}));
  EXPECT_EQ(window.searchPosition(D), 12u);
}

TEST_F(Receivers, FindLoadsEveryBranchInOneUpdateOfTheTree) {
  open();
  struct Counter : ui::TreeObserver {
    int begun = 0, ended = 0, removed = 0;
    void updateBegun() override { ++begun; }
    void updateEnded() override { ++ended; }
    void nodeRemoving(NodeId) override {
      if (begun == ended) ADD_FAILURE() << "a placeholder was removed outside the update";
      ++removed;
    }
  } counter;
  tree(D).setObserver(&counter);
  view.find = u"陈静";
  window.cmdFindClick();
  tree(D).setObserver(nullptr);
  EXPECT_EQ(counter.begun, 1);
  EXPECT_EQ(counter.ended, 1);
  EXPECT_EQ(counter.removed, static_cast<int>(window.topLevelKeys(D).size()));
  EXPECT_TRUE(tree(D).selected(node(D, u"E1005")));
}

TEST_F(Receivers, FindReadsTheSessionAndTheLanguageOnceForEveryBranch) {
  fake.setCurrentLanguage(u"en");
  open();
  fake.clearJournal();
  view.find = u"陈静";
  window.cmdFindClick();
  // One query per branch, each with the session string, and one reading of it;
  // one language look-up for every branch's placeholder.
  EXPECT_EQ(fake.creationCount(u"LumoMSmsManager.clsBillUseInfo"), window.topLevelKeys(D).size());
  EXPECT_EQ(fake.creationCount(u"PropsMgr.ShareProps"), 1u);
  EXPECT_EQ(fake.creationCount(u"LumoLangInfo.LangInfo"), 1u);
  EXPECT_TRUE(tree(D).selected(node(D, u"E1005")));
  for (const std::string& call : fake.calls(u"LumoMSmsManager.clsBillUseInfo"))
    EXPECT_EQ(call.rfind("LumoMSmsManager.clsBillUseInfo.GetData('" + u8(props) + "', ", 0), 0u) << call;
}

TEST_F(Receivers, FindComparesTheNameOnlyAndExactly) {
  db.employees.push_back({1040, u"E040", u"Wang Lei", u"13500000040", int32_t(3)});
  open();
  view.find = u"13800000005";  // a number is not a name
  window.cmdFindClick();
  EXPECT_EQ(tree(D).selectedNode(), kNoNode);
  view.find = u"wang";  // no folding of case
  window.cmdFindClick();
  EXPECT_EQ(tree(D).selectedNode(), kNoNode);
  view.find = u"Lei";
  window.cmdFindClick();
  EXPECT_EQ(tree(D).selectedNode(), node(D, u"E1040"));
  view.find = u"销售";  // departments are not people
  window.cmdFindClick();
  EXPECT_EQ(tree(D).selectedNode(), node(D, u"E1040"));
  EXPECT_TRUE(prompts().empty());  // no message when nothing matches
}

TEST_F(Receivers, FindWithoutMatchKeepsThePosition) {
  open();
  view.find = u"王芳";
  window.cmdFindClick();
  const std::size_t p = window.searchPosition(D);
  EXPECT_GT(p, 0u);
  view.find = u"没有这个人";
  window.cmdFindClick();
  EXPECT_EQ(window.searchPosition(D), p);
  EXPECT_EQ(view.focused.size(), 1u);
}

TEST_F(Receivers, FindNextWrapsToTheFirstMatch) {
  db.employees.push_back({1041, u"E041", u"王芳", u"13500000041", int32_t(3)});
  open();
  view.find = u"王";
  window.cmdFindClick();
  const NodeId first = node(D, u"E1002");
  EXPECT_EQ(tree(D).selectedNode(), first);
  window.cmdFindNextClick();
  EXPECT_EQ(tree(D).selectedNode(), node(D, u"E1041"));
  window.cmdFindNextClick();
  EXPECT_EQ(tree(D).selectedNode(), first);
  EXPECT_EQ(window.searchPosition(D), tree(D).positionOf(first));
}

TEST_F(Receivers, FindNextWithASingleMatchStaysOnIt) {
  open();
  view.find = u"赵磊";
  window.cmdFindNextClick();
  const NodeId only = node(D, u"E1006");
  EXPECT_EQ(tree(D).selectedNode(), only);
  window.cmdFindNextClick();
  EXPECT_EQ(tree(D).selectedNode(), only);
  EXPECT_EQ(view.focused.size(), 2u);
}

TEST_F(Receivers, FindNextWithNoMatchAtAllLeavesPositionOne) {
  open();
  view.find = u"赵磊";
  window.cmdFindClick();
  view.find = u"没有";
  window.cmdFindNextClick();
  EXPECT_EQ(window.searchPosition(D), 1u);
  EXPECT_EQ(tree(D).selectedNode(), node(D, u"E1006"));
  EXPECT_EQ(view.focused.size(), 1u);
}

TEST_F(Receivers, FindNextAfterABlankSearchStartsAtTheSecondPosition) {
  db.employees.push_back({1, u"A001", u"阿一", u"13500000001", Variant::null()});
  open();
  view.find = u"";
  window.cmdFindNextClick();
  EXPECT_EQ(window.searchPosition(D), 1u);
  view.find = u"阿一";
  window.cmdFindNextClick();  // walks from 2, finds the member of 无部门
  EXPECT_EQ(tree(D).selectedNode(), node(D, u"E1"));
}

TEST_F(Receivers, ANameUnderTwoGroupsIsFoundInPositionOrder) {
  open();
  showGroups();
  view.find = u"张伟";
  window.cmdFindClick();
  EXPECT_EQ(tree(G).selectedNode(), node(G, u"U16394,1"));
  EXPECT_EQ(view.focused.back(), G);
  window.cmdFindNextClick();
  EXPECT_EQ(tree(G).selectedNode(), node(G, u"U16394,2"));
  window.cmdFindNextClick();
  EXPECT_EQ(tree(G).selectedNode(), node(G, u"U16394,1"));
  EXPECT_EQ(tree(D).selectedNode(), kNoNode);  // the other tree is not searched
}

TEST_F(Receivers, AGroupOpenedByHandIsSearchedFirst) {
  open();
  showGroups();
  expand(G, u"G2");
  view.find = u"张伟";
  window.cmdFindClick();
  EXPECT_EQ(tree(G).selectedNode(), node(G, u"U16394,2"));
}

TEST_F(Receivers, EachTreeKeepsItsOwnPosition) {
  open();
  view.find = u"张伟";
  window.cmdFindClick();
  const std::size_t inDepartments = window.searchPosition(D);
  showGroups();
  window.cmdFindClick();
  EXPECT_EQ(window.searchPosition(D), inDepartments);
  EXPECT_EQ(window.searchPosition(G), tree(G).positionOf(node(G, u"U16394,1")));
}

TEST_F(Receivers, SearchLoadsOnlyWhatIsNotOpenYet) {
  open();
  expand(D, u"D1");
  view.find = u"周杰";
  window.cmdFindClick();
  window.cmdFindNextClick();
  EXPECT_EQ(db.count(departmentSql(u"1")), 1u);
  EXPECT_EQ(db.count(kNoDepartmentSql), 1u);
  EXPECT_EQ(tree(D).selectedNode(), node(D, u"E1009"));
}

TEST_F(Receivers, EnterFindsAndEscapeCloses) {
  open();
  view.find = u"李娜";
  window.formKeyDown(13);
  EXPECT_EQ(tree(D).selectedNode(), node(D, u"E1003"));
  window.formKeyDown(65);
  EXPECT_EQ(view.closes, 0);
  window.formKeyDown(27);
  EXPECT_EQ(view.closes, 1);
}

TEST_F(Receivers, AFailingMemberQueryDuringSearchIsShownAndTheSearchGoesOn) {
  db.failing.insert(departmentSql(u"1"));
  open();
  view.find = u"赵磊";
  window.cmdFindClick();
  EXPECT_EQ(prompts().size(), 1u);
  EXPECT_EQ(tree(D).selectedNode(), node(D, u"E1006"));
}

TEST_F(Receivers, SearchFindsNamesWithNulsAndSurrogates) {
  const ustring name(u"\xD83D\xDE00\0小明", 5);
  db.employees.push_back({1050, u"E050", name, u"13500000050", int32_t(3)});
  open();
  view.find = ustring(u"\0小", 2);
  window.cmdFindClick();
  EXPECT_EQ(tree(D).selectedNode(), node(D, u"E1050"));
}
