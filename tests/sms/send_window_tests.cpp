// The send window as the host opens it: clsSmsManager created by ProgID and
// called late-bound, the window's real controls driven with window messages, the
// message boxes read and dismissed, and what the add-in did read back from the
// development host's database.
#include <gtest/gtest.h>
#include <windows.h>
#include <commctrl.h>
#include <ole2.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "automation/win/bridge.h"
#include "devhost/components/odbc.h"
#include "sms/win/windows.h"
#include "tests/sms/send_windows.h"
#include "tests/support/win/boxes.h"
#include "tests/support/win/pump.h"
#include "tests/support/win/screenshot.h"
#include "tests/support/win/server_dll.h"
#include "tests/support/win/text.h"
#include "tests/support/win/windows.h"
#include "win32/controls.h"

namespace lumo::win32 {
namespace {

using namespace lumo::win32::send_sms;
using lumo::test::BoxWatcher;
using lumo::test::className;
using lumo::test::environment;
using lumo::test::itemChecked;
using lumo::test::itemText;
using lumo::test::RegisteredServers;
using lumo::test::sendWindows;
using lumo::test::u16;
using lumo::test::u8;
using lumo::wz;
using lumo::win32::windowText;
namespace odbc = lumo::devhost::odbc;

const wchar_t* const kTitle = L"发送短信";

// Runs the thread's messages for a while, as the host's loop would.
void pump(int milliseconds = 200) { lumo::test::pumpFor(milliseconds); }

// ---- message boxes ---------------------------------------------------------------------

// Runs 'action', lets the messages run, and returns the texts of the message
// boxes it brought up (each answered with OK).
std::vector<ustring> boxesDuring(const std::function<void()>& action) {
  BoxWatcher watch;
  action();
  pump(200);
  return watch.boxes();
}

// ---- the send windows ------------------------------------------------------------------

HTREEITEM rootItem(HWND tree, int index) {
  HTREEITEM item = TreeView_GetRoot(tree);
  for (int i = 0; i < index && item; ++i) item = TreeView_GetNextSibling(tree, item);
  return item;
}

std::vector<HTREEITEM> children(HWND tree, HTREEITEM item) {
  std::vector<HTREEITEM> out;
  for (HTREEITEM c = TreeView_GetChild(tree, item); c; c = TreeView_GetNextSibling(tree, c)) out.push_back(c);
  return out;
}

// Clicks an item's check box with the mouse messages a user's click makes.
void clickCheckBox(HWND tree, HTREEITEM item) {
  RECT r{};
  // TVM_GETITEMRECT takes the item in the rectangle it fills.
  std::memcpy(&r, &item, sizeof item);
  ASSERT_TRUE(SendMessageW(tree, TVM_GETITEMRECT, TRUE, reinterpret_cast<LPARAM>(&r)));
  HIMAGELIST states = TreeView_GetImageList(tree, TVSIL_STATE);
  int cx = 16, cy = 16;
  if (states) ImageList_GetIconSize(states, &cx, &cy);
  POINT pt{r.left - cx / 2 - 1, (r.top + r.bottom) / 2};
  TVHITTESTINFO hit{};
  hit.pt = pt;
  ASSERT_EQ(TreeView_HitTest(tree, &hit), item);
  ASSERT_TRUE(hit.flags & TVHT_ONITEMSTATEICON) << "flags " << hit.flags;
  const LPARAM at = MAKELPARAM(pt.x, pt.y);
  PostMessageW(tree, WM_LBUTTONDOWN, MK_LBUTTON, at);
  PostMessageW(tree, WM_LBUTTONUP, 0, at);
  pump(400);
}

// Typed at the end of what the box holds.
void typeChars(HWND edit, const ustring& text) {
  const WPARAM end = static_cast<WPARAM>(GetWindowTextLengthW(edit));
  SendMessageW(edit, EM_SETSEL, end, static_cast<LPARAM>(end));
  for (char16_t c : text) SendMessageW(edit, WM_CHAR, static_cast<WPARAM>(c), 1);
}

// A key as the keyboard sends it: posted and run through the host's loop.
void pressKey(HWND target, UINT vk) {
  PostMessageW(target, WM_KEYDOWN, vk, 1);
  PostMessageW(target, WM_KEYUP, vk, 0xC0000001);
  pump(300);
}

// The tool tip text a window's tool-tip control holds for one of its controls.
struct ToolTipQuery {
  HWND owner;
  HWND tooltip;
};
BOOL CALLBACK findToolTip(HWND hwnd, LPARAM p) {
  auto* q = reinterpret_cast<ToolTipQuery*>(p);
  if (className(hwnd) == L"tooltips_class32" && GetWindow(hwnd, GW_OWNER) == q->owner) {
    q->tooltip = hwnd;
    return FALSE;
  }
  return TRUE;
}
ustring toolTipOf(HWND owner, HWND control) {
  ToolTipQuery q{owner, nullptr};
  EnumThreadWindows(GetCurrentThreadId(), findToolTip, reinterpret_cast<LPARAM>(&q));
  if (!q.tooltip) return u"<no tool tip>";
  wchar_t buf[256] = L"";
  TTTOOLINFOW ti{};
  ti.cbSize = sizeof ti;
  ti.hwnd = owner;
  ti.uId = reinterpret_cast<UINT_PTR>(control);
  ti.lpszText = buf;
  SendMessageW(q.tooltip, TTM_GETTEXTW, 256, reinterpret_cast<LPARAM>(&ti));
  return u16(buf);
}

// Saves a picture of the window in LUMO_SHOTS_DIR, when that names a folder.
void saveShot(HWND hwnd, const ustring& name) { EXPECT_TRUE(lumo::test::saveShot(hwnd, name)) << u8(name); }

// ---- the fixture -----------------------------------------------------------------------

class SendWindow : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    INITCOMMONCONTROLSEX icc{sizeof icc, ICC_TREEVIEW_CLASSES | ICC_TAB_CLASSES};
    InitCommonControlsEx(&icc);
    servers_.reset(new RegisteredServers({LUMO_DEVHOST_DLL, LUMO_SMS_DLL}));
    ASSERT_EQ(servers_->failure(), "");
  }
  static void TearDownTestSuite() {
    servers_.reset();
    CoUninitialize();
  }

  void SetUp() override {
    const ustring path = environment(L"LUMO_DEVHOST_DB");
    ASSERT_FALSE(path.empty()) << "LUMO_DEVHOST_DB is not set";
    db_ = std::make_unique<odbc::Connection>(u"Driver=SQLite3;Database=" + path);
    db_->execute(u"DELETE FROM dh_Switch");
    lastAudit_ = db_->scalar(u"SELECT IFNULL(MAX(FID),0) FROM dh_AuditLog").toI4();
    lastMessage_ = db_->scalar(u"SELECT IFNULL(MAX(FMessageID),0) FROM dh_Outbox").toI4();
  }
  void TearDown() override {
    for (HWND w : sendWindows()) SendMessageW(w, WM_CLOSE, 0, 0);
    pump(100);
    if (db_) db_->execute(u"DELETE FROM dh_Switch");
  }

  ustring signIn(const ustring& user, const ustring& language) {
    return com::createByProgId(u"PropsMgr.ShareProps")->call(u"SignIn", {user, language}).toString();
  }
  void sendSms() { com::createByProgId(u"LumoSmsManager.clsSmsManager")->call(u"SendSms", {}); }

  // Opens one window and returns it.
  HWND openWindow() {
    known_ = sendWindows();
    const std::size_t before = known_.size();
    sendSms();
    pump(200);
    std::vector<HWND> now = sendWindows();
    if (now.size() != before + 1) return nullptr;
    for (HWND w : now)
      if (std::find(known_.begin(), known_.end(), w) == known_.end()) {
        known_.push_back(w);
        return w;
      }
    return nullptr;
  }

  // The audit rows of SMS00109 written since the test began: (action, description).
  std::vector<std::pair<int32_t, ustring>> audit(std::vector<odbc::Result>* raw = nullptr) {
    odbc::Result r = db_->query(
        u"SELECT FStatement, IFNULL(FDesc,''), FMachineName, FIPAddress FROM dh_AuditLog "
        u"WHERE FID>? AND FFuncID='SMS00109' ORDER BY FID",
        {Variant(lastAudit_)});
    std::vector<std::pair<int32_t, ustring>> out;
    for (auto& row : r.rows) out.emplace_back(row[0].toI4(), row[1].toString());
    if (raw) raw->push_back(r);
    return out;
  }

  // The add-in, the last of the servers, answers for its objects and windows.
  static const lumo::test::ServerDll& addIn() { return (*servers_)[1]; }

  static std::unique_ptr<RegisteredServers> servers_;
  std::vector<HWND> known_;
  std::unique_ptr<odbc::Connection> db_;
  int32_t lastAudit_ = 0, lastMessage_ = 0;
};
std::unique_ptr<RegisteredServers> SendWindow::servers_;

TEST_F(SendWindow, CheckedDepartmentTypedNumberAndFullMessageReachTheGatewayAndTheLog) {
  const ustring props = signIn(u"王建国", u"chs");
  HWND w = openWindow();
  ASSERT_NE(w, nullptr);
  EXPECT_EQ(windowText(w), u16(kTitle));
  EXPECT_EQ(GetParent(w), nullptr);
  EXPECT_EQ(GetWindow(w, GW_OWNER), nullptr);
  EXPECT_TRUE(GetWindowLongW(w, GWL_STYLE) & WS_THICKFRAME);
  EXPECT_EQ(windowText(GetDlgItem(w, idLblSms)), u"您还可以输入130字符,末尾将自动加上发送人姓名");
  EXPECT_EQ(windowText(GetDlgItem(w, idCmdSend)), u"发送(&S)");
  EXPECT_EQ(windowText(GetDlgItem(w, idCmdAdd)), u"-->");
  EXPECT_EQ(windowText(GetDlgItem(w, idLblInfo)), u"支持群发,有效号码分隔符为\",\"");
  EXPECT_EQ(u8(toolTipOf(w, GetDlgItem(w, idCmdAdd))), "添加手机号码");

  // The first department: never opened, so its only child is the placeholder.
  HWND tree = GetDlgItem(w, idDepartments);
  EXPECT_TRUE(IsWindowVisible(tree));
  EXPECT_FALSE(IsWindowVisible(GetDlgItem(w, idGroups)));
  EXPECT_EQ(itemText(tree, rootItem(tree, 0)), u"无部门");
  HTREEITEM dept = rootItem(tree, 1);
  ASSERT_NE(dept, nullptr);
  ASSERT_EQ(children(tree, dept).size(), 1u);
  EXPECT_EQ(itemText(tree, children(tree, dept)[0]), u"正在加载数据");

  odbc::Result first = db_->query(
      u"SELECT DISTINCT t1.FDepartmentID, t2.FName FROM t_Emp t1 JOIN t_Department t2 ON t1.FDepartmentID=t2.FItemID "
      u"WHERE t1.FItemID>0 ORDER BY t1.FDepartmentID LIMIT 1");
  ASSERT_EQ(first.rows.size(), 1u);
  EXPECT_EQ(itemText(tree, dept), first.rows[0][1].toString());
  odbc::Result members = db_->query(
      u"SELECT t1.FName, t1.FMobilePhone FROM t_Emp t1 JOIN t_Item t2 ON t1.FItemID=t2.FItemID "
      u"WHERE t1.FDepartmentID=? AND t2.FDeleted=0 ORDER BY t1.FNumber",
      {first.rows[0][0]});
  ASSERT_GE(members.rows.size(), 2u);
  ustring expected;
  for (auto& row : members.rows) {
    const ustring number = row[1].isNull() ? ustring() : row[1].toString();
    if (number.empty()) continue;
    if (!expected.empty()) expected += u",";
    expected += number;
  }
  ASSERT_FALSE(expected.empty());

  clickCheckBox(tree, dept);
  EXPECT_TRUE(itemChecked(tree, dept));
  std::vector<HTREEITEM> people = children(tree, dept);
  ASSERT_EQ(people.size(), members.rows.size());
  for (std::size_t i = 0; i < people.size(); ++i) {
    EXPECT_TRUE(itemChecked(tree, people[i])) << i;
    EXPECT_EQ(itemText(tree, people[i]).substr(0, members.rows[i][0].toString().size()), members.rows[i][0].toString());
  }

  SendMessageW(GetDlgItem(w, idCmdAdd), BM_CLICK, 0, 0);
  HWND mobile = GetDlgItem(w, idMobile);
  EXPECT_EQ(u8(windowText(mobile)), u8(expected));

  // Typed at the end: digits and "," pass, a letter is dropped.
  typeChars(mobile, u",1390a0011x122");
  const ustring receivers = expected + u",13900011122";
  EXPECT_EQ(u8(windowText(mobile)), u8(receivers));
  // Typing into the list updates the cost line: one SMS of "--王建国" per number.
  const auto numbers = std::to_string(std::count(receivers.begin(), receivers.end(), u',') + 1);
  EXPECT_EQ(u8(windowText(GetDlgItem(w, idLblCost))), "含签名每个号码1条短信，" + numbers + "个号码共" + numbers + "条");

  // Exactly 130 characters: the counter reaches 0 and the box takes no more.
  ustring message;
  const ustring words = u"明天上午九点在三楼会议室召开月度例会请准时参加";
  while (message.size() < 130) message += words;
  message.resize(130);
  HWND text = GetDlgItem(w, idMessage);
  EXPECT_EQ(SendMessageW(text, EM_GETLIMITTEXT, 0, 0), 130);
  typeChars(text, message.substr(0, 129));
  EXPECT_EQ(windowText(GetDlgItem(w, idLblSms)), u"您还可以输入1字符,末尾将自动加上发送人姓名");
  typeChars(text, message.substr(129));
  EXPECT_EQ(windowText(GetDlgItem(w, idLblSms)), u"您还可以输入0字符,末尾将自动加上发送人姓名");
  // 130 characters and "--王建国" are 135 UCS-2 units: three parts of at most 67.
  const auto three = std::to_string(3 * (std::count(receivers.begin(), receivers.end(), u',') + 1));
  EXPECT_EQ(u8(windowText(GetDlgItem(w, idLblCost))), "含签名每个号码3条短信，" + numbers + "个号码共" + three + "条");
  typeChars(text, u"多");
  EXPECT_EQ(windowText(text).size(), 130u);
  SendMessageW(GetDlgItem(w, idChkRestore), BM_CLICK, 0, 0);

  const std::vector<ustring> boxes = boxesDuring([&] { SendMessageW(GetDlgItem(w, idCmdSend), BM_CLICK, 0, 0); });
  ASSERT_EQ(boxes.size(), 1u);
  EXPECT_EQ(boxes[0], u"发送成功");

  const ustring sender =
      db_->scalar(u"SELECT e.FName FROM t_User u JOIN t_Emp e ON u.FEmpID=e.FItemID WHERE u.FName='王建国'").toString();
  const ustring senderId =
      db_->scalar(u"SELECT e.FMobilePhone FROM t_User u JOIN t_Emp e ON u.FEmpID=e.FItemID WHERE u.FName='王建国'")
          .toString();
  odbc::Result out = db_->query(
      u"SELECT FMessageID, FTitle, FMsgType, FPropstr, FIsRevertible, FReceivers, FSenderID, FFuncNumber "
      u"FROM dh_Outbox WHERE FMessageID>? ORDER BY FMessageID",
      {Variant(lastMessage_)});
  ASSERT_EQ(out.rows.size(), 1u);
  const auto& row = out.rows[0];
  EXPECT_EQ(u8(row[1].toString()), u8(message + u"--" + sender));
  EXPECT_EQ(row[2].toI4(), 0);
  EXPECT_NE(row[3].toString().find(props), ustring::npos) << u8(row[3].toString());
  EXPECT_EQ(row[4].toI4(), 1);
  EXPECT_EQ(u8(row[5].toString()), u8(receivers));
  EXPECT_EQ(row[6].toString(), senderId);
  EXPECT_EQ(row[7].toString(), u"YDSW");
  odbc::Result each =
      db_->query(u"SELECT COUNT(*) FROM dh_OutboxReceiver WHERE FMessageID=?", {row[0]});
  int32_t entries = 0;
  for (std::size_t i = 0, start = 0; i <= receivers.size(); ++i) {
    if (i == receivers.size() || receivers[i] == u',') {
      if (i > start) ++entries;
      start = i + 1;
    }
  }
  EXPECT_EQ(each.rows[0][0].toI4(), entries);

  // The window stays open with everything in it; Esc, pressed as a user does,
  // closes it and the closing is logged.
  EXPECT_EQ(windowText(text), message);
  EXPECT_EQ(u8(windowText(mobile)), u8(receivers));
  pressKey(GetDlgItem(w, idFind), VK_ESCAPE);
  EXPECT_FALSE(IsWindow(w));

  std::vector<odbc::Result> raw;
  auto log = audit(&raw);
  ASSERT_EQ(log.size(), 3u);
  EXPECT_EQ(log[0], std::make_pair(int32_t(1), ustring()));
  EXPECT_EQ(log[1], std::make_pair(int32_t(5), ustring(u"发送短信")));
  EXPECT_EQ(log[2], std::make_pair(int32_t(3), ustring()));
  char machine[MAX_COMPUTERNAME_LENGTH + 1];
  DWORD size = sizeof machine;
  ASSERT_TRUE(GetComputerNameA(machine, &size));
  for (auto& r : raw[0].rows) {
    EXPECT_EQ(u8(r[2].toString()), std::string(machine));
    EXPECT_FALSE(r[3].toString().empty());
  }
}

TEST_F(SendWindow, EnterFindsThePersonTypedInTheSearchBox) {
  signIn(u"王建国", u"chs");
  HWND w = openWindow();
  ASSERT_NE(w, nullptr);
  const ustring name = db_->scalar(
      u"SELECT t1.FName FROM t_Emp t1 JOIN t_Item t2 ON t1.FItemID=t2.FItemID JOIN t_Department d ON "
      u"t1.FDepartmentID=d.FItemID WHERE t2.FDeleted=0 ORDER BY t1.FDepartmentID DESC, t1.FNumber LIMIT 1")
                             .toString();
  HWND find = GetDlgItem(w, idFind);
  SetWindowTextW(find, wz(name));
  SetFocus(find);
  pressKey(find, VK_RETURN);
  HWND tree = GetDlgItem(w, idDepartments);
  HTREEITEM selected = TreeView_GetSelection(tree);
  ASSERT_NE(selected, nullptr);
  EXPECT_EQ(itemText(tree, selected).substr(0, name.size()), name);
  EXPECT_EQ(GetFocus(), tree);
  // Every department is open and shows its people, not the placeholder.
  const int32_t people = db_->scalar(
      u"SELECT COUNT(*) FROM t_Emp t1 JOIN t_Item t2 ON t1.FItemID=t2.FItemID WHERE t2.FDeleted=0 AND "
      u"t1.FDepartmentID IN (SELECT e.FDepartmentID FROM t_Emp e JOIN t_Department d ON e.FDepartmentID=d.FItemID "
      u"WHERE e.FItemID>0)").toI4();
  int32_t shown = 0;
  int departments = 0;
  // The first node holds the people without a department.
  for (HTREEITEM d = TreeView_GetNextSibling(tree, TreeView_GetRoot(tree)); d; d = TreeView_GetNextSibling(tree, d)) {
    ++departments;
    EXPECT_TRUE(TreeView_GetItemState(tree, d, TVIS_EXPANDED) & TVIS_EXPANDED) << u8(itemText(tree, d));
    for (HTREEITEM p = TreeView_GetChild(tree, d); p; p = TreeView_GetNextSibling(tree, p)) {
      EXPECT_NE(itemText(tree, p), u"正在加载数据") << u8(itemText(tree, d));
      ++shown;
    }
  }
  EXPECT_GT(departments, 2);
  EXPECT_EQ(shown, people);
  // The person found is scrolled into view.
  RECT item{}, client{};
  ASSERT_TRUE(TreeView_GetItemRect(tree, selected, &item, FALSE));
  GetClientRect(tree, &client);
  EXPECT_GE(item.top, client.top);
  EXPECT_LE(item.bottom, client.bottom);
  saveShot(w, u"send-found");
}

// Enter runs the search wherever the focus is: in the message box it makes no line
// break, on a button it presses nothing.
TEST_F(SendWindow, EnterInTheMessageBoxOrOnAButtonRunsTheSearchAndNothingElse) {
  signIn(u"王建国", u"chs");
  HWND w = openWindow();
  ASSERT_NE(w, nullptr);
  HWND tree = GetDlgItem(w, idDepartments);
  HWND message = GetDlgItem(w, idMessage);
  SetWindowTextW(GetDlgItem(w, idFind), L"张");
  typeChars(message, u"盘点");
  SetFocus(message);
  pressKey(message, VK_RETURN);
  HTREEITEM found = TreeView_GetSelection(tree);
  ASSERT_NE(found, nullptr);
  EXPECT_NE(itemText(tree, found).find(u"张"), ustring::npos);
  EXPECT_EQ(windowText(message), u"盘点") << "no line break";

  // On the send button: the search again, no send (which would say what is missing).
  TreeView_SelectItem(tree, nullptr);
  HWND send = GetDlgItem(w, idCmdSend);
  const std::vector<ustring> boxes = boxesDuring([&] {
    SetFocus(send);
    pressKey(send, VK_RETURN);
  });
  EXPECT_TRUE(boxes.empty()) << u8(boxes.empty() ? ustring() : boxes[0]);
  EXPECT_EQ(TreeView_GetSelection(tree), found);
  EXPECT_EQ(db_->scalar(u"SELECT IFNULL(MAX(FMessageID),0) FROM dh_Outbox").toI4(), lastMessage_);
}

TEST_F(SendWindow, SpaceKeyTicksTheSelectedNodeAndTheDepartmentFollowsItsPeople) {
  signIn(u"王建国", u"chs");
  HWND w = openWindow();
  ASSERT_NE(w, nullptr);
  HWND tree = GetDlgItem(w, idDepartments);
  HTREEITEM dept = rootItem(tree, 1);
  ASSERT_NE(dept, nullptr);
  TreeView_SelectItem(tree, dept);
  SetFocus(tree);
  pressKey(tree, VK_SPACE);
  EXPECT_TRUE(itemChecked(tree, dept));
  std::vector<HTREEITEM> people = children(tree, dept);
  ASSERT_GE(people.size(), 2u);
  for (HTREEITEM p : people) EXPECT_TRUE(itemChecked(tree, p));

  // One person unticked unticks the department; ticked again with every sibling
  // ticked, the department is ticked again.
  TreeView_SelectItem(tree, people[0]);
  pressKey(tree, VK_SPACE);
  EXPECT_FALSE(itemChecked(tree, people[0]));
  EXPECT_FALSE(itemChecked(tree, dept));
  EXPECT_TRUE(itemChecked(tree, people[1]));
  pressKey(tree, VK_SPACE);
  EXPECT_TRUE(itemChecked(tree, people[0]));
  EXPECT_TRUE(itemChecked(tree, dept));
}

TEST_F(SendWindow, DoubleClickOnAPersonAddsTheNumber) {
  signIn(u"王建国", u"chs");
  HWND w = openWindow();
  ASSERT_NE(w, nullptr);
  HWND tree = GetDlgItem(w, idDepartments);
  HTREEITEM dept = rootItem(tree, 1);
  TreeView_SelectItem(tree, dept);
  SetFocus(tree);
  pressKey(tree, VK_SPACE);  // loads the department
  TreeView_Expand(tree, dept, TVE_EXPAND);
  pump(100);
  HTREEITEM person = children(tree, dept).at(1);
  RECT r{};
  std::memcpy(&r, &person, sizeof person);
  ASSERT_TRUE(SendMessageW(tree, TVM_GETITEMRECT, TRUE, reinterpret_cast<LPARAM>(&r)));
  const LPARAM at = MAKELPARAM(r.left + 4, (r.top + r.bottom) / 2);
  PostMessageW(tree, WM_LBUTTONDOWN, MK_LBUTTON, at);
  PostMessageW(tree, WM_LBUTTONUP, 0, at);
  PostMessageW(tree, WM_LBUTTONDBLCLK, MK_LBUTTON, at);
  PostMessageW(tree, WM_LBUTTONUP, 0, at);
  pump(400);
  const ustring text = itemText(tree, person);
  const std::size_t open = text.find(u'(');
  ASSERT_NE(open, ustring::npos);
  const ustring number = text.substr(open + 1, text.size() - open - 2);
  EXPECT_EQ(u8(windowText(GetDlgItem(w, idMobile))), u8(number));
}

TEST_F(SendWindow, EachCallOpensItsOwnWindow) {
  signIn(u"王建国", u"chs");
  HWND a = openWindow();
  HWND b = openWindow();
  ASSERT_NE(a, nullptr);
  ASSERT_NE(b, nullptr);
  EXPECT_NE(a, b);
  SetWindowTextW(GetDlgItem(a, idMessage), L"甲");
  EXPECT_EQ(windowText(GetDlgItem(b, idMessage)), u"");
  // The group tab of one window leaves the other alone.
  HWND tab = GetDlgItem(a, idTab);
  TabCtrl_SetCurSel(tab, 1);
  NMHDR nm{tab, static_cast<UINT_PTR>(idTab), static_cast<UINT>(TCN_SELCHANGE)};
  SendMessageW(a, WM_NOTIFY, idTab, reinterpret_cast<LPARAM>(&nm));
  EXPECT_TRUE(IsWindowVisible(GetDlgItem(a, idGroups)));
  EXPECT_TRUE(IsWindowEnabled(GetDlgItem(a, idGroups)));
  EXPECT_FALSE(IsWindowVisible(GetDlgItem(a, idDepartments)));
  EXPECT_FALSE(IsWindowEnabled(GetDlgItem(a, idDepartments)));
  EXPECT_GT(TreeView_GetCount(GetDlgItem(a, idGroups)), 0u);
  EXPECT_EQ(TreeView_GetCount(GetDlgItem(b, idGroups)), 0u);
  // Open windows keep the server loaded.
  EXPECT_EQ(addIn().canUnloadNow(), S_FALSE);
  SendMessageW(a, WM_CLOSE, 0, 0);
  EXPECT_FALSE(IsWindow(a));
  EXPECT_TRUE(IsWindow(b));
  EXPECT_EQ(addIn().canUnloadNow(), S_FALSE);
  SendMessageW(b, WM_CLOSE, 0, 0);
  EXPECT_FALSE(IsWindow(b));
  EXPECT_EQ(addIn().canUnloadNow(), S_OK);
  auto log = audit();
  ASSERT_EQ(log.size(), 4u);
  EXPECT_EQ(log[0].first, 1);
  EXPECT_EQ(log[1].first, 1);
  EXPECT_EQ(log[2].first, 3);
  EXPECT_EQ(log[3].first, 3);
}

TEST_F(SendWindow, UserWithoutEmployeeIsRefusedAndGetsNoWindow) {
  signIn(u"临时用户", u"chs");
  const std::vector<ustring> boxes = boxesDuring([&] { sendSms(); });
  ASSERT_EQ(boxes.size(), 1u);
  EXPECT_EQ(boxes[0], u"该用户没有关联职员，不能发送短信");
  EXPECT_TRUE(sendWindows().empty());
  EXPECT_TRUE(audit().empty());
  // The window that was asked and never shown is gone: nothing keeps the server.
  EXPECT_EQ(addIn().canUnloadNow(), S_OK);
}

// Alt with the underlined letter presses the button, wherever the focus is.
TEST_F(SendWindow, AltLettersPressFindFindNextAndSend) {
  signIn(u"王建国", u"chs");
  HWND w = openWindow();
  ASSERT_NE(w, nullptr);
  HWND message = GetDlgItem(w, idMessage);
  HWND tree = GetDlgItem(w, idDepartments);
  SetWindowTextW(GetDlgItem(w, idFind), L"张");
  auto alt = [&](wchar_t letter) {
    SetFocus(message);
    PostMessageW(message, WM_SYSCHAR, letter, 1 << 29);
    pump(300);
  };
  alt(L'f');
  HTREEITEM first = TreeView_GetSelection(tree);
  ASSERT_NE(first, nullptr);
  EXPECT_NE(itemText(tree, first).find(u"张"), ustring::npos);
  alt(L'n');
  HTREEITEM second = TreeView_GetSelection(tree);
  ASSERT_NE(second, nullptr);
  EXPECT_NE(second, first);
  EXPECT_NE(itemText(tree, second).find(u"张"), ustring::npos);

  // Nothing to send yet: the window says what is missing.
  const std::vector<ustring> boxes = boxesDuring([&] { alt(L's'); });
  ASSERT_EQ(boxes.size(), 1u);
  EXPECT_EQ(boxes[0], u"必须输入短信内容和接收号码");
}

// Moved to a denser monitor, the window takes the suggested rectangle and its
// controls and font grow with the density; moved back, they shrink again.
TEST_F(SendWindow, DensityChangeRescalesControlsAndFont) {
  signIn(u"王建国", u"chs");
  HWND w = openWindow();
  ASSERT_NE(w, nullptr);
  HWND send = GetDlgItem(w, idCmdSend);
  auto height = [](HWND h) {
    RECT r;
    GetWindowRect(h, &r);
    return r.bottom - r.top;
  };
  auto fontHeight = [](HWND h) {
    LOGFONTW lf{};
    GetObjectW(reinterpret_cast<HFONT>(SendMessageW(h, WM_GETFONT, 0, 0)), sizeof lf, &lf);
    return lf.lfHeight < 0 ? -lf.lfHeight : lf.lfHeight;
  };
  RECT before;
  GetWindowRect(w, &before);
  const int buttonBefore = height(send), fontBefore = fontHeight(send);
  ASSERT_GT(buttonBefore, 0);
  ASSERT_GT(fontBefore, 0);

  RECT denser{before.left, before.top, before.left + (before.right - before.left) * 3 / 2,
              before.top + (before.bottom - before.top) * 3 / 2};
  SendMessageW(w, 0x02E0 /* WM_DPICHANGED */, MAKEWPARAM(144, 144), reinterpret_cast<LPARAM>(&denser));
  pump(100);
  RECT now;
  GetWindowRect(w, &now);
  EXPECT_EQ(now.right - now.left, denser.right - denser.left);
  EXPECT_EQ(now.bottom - now.top, denser.bottom - denser.top);
  EXPECT_NEAR(height(send), buttonBefore * 3 / 2, 2);
  EXPECT_NEAR(fontHeight(send), fontBefore * 3 / 2, 2);

  SendMessageW(w, 0x02E0, MAKEWPARAM(96, 96), reinterpret_cast<LPARAM>(&before));
  pump(100);
  EXPECT_EQ(height(send), buttonBefore);
  EXPECT_EQ(fontHeight(send), fontBefore);
}

TEST_F(SendWindow, GatewayFailureIsReportedNothingIsLoggedAndTheTextStays) {
  signIn(u"王建国", u"chs");
  HWND w = openWindow();
  ASSERT_NE(w, nullptr);
  db_->execute(
      u"INSERT INTO dh_Switch (FComponent, FMethod, FMode) VALUES ('VtMobileOpen.MobileOpen', 'SendMessage', 'raise')");
  HWND mobile = GetDlgItem(w, idMobile);
  typeChars(mobile, u"13800000001");
  typeChars(GetDlgItem(w, idMessage), u"仓库盘点改到周五");
  const std::vector<ustring> boxes = boxesDuring([&] { SendMessageW(GetDlgItem(w, idCmdSend), BM_CLICK, 0, 0); });
  ASSERT_EQ(boxes.size(), 1u);
  EXPECT_EQ(boxes[0], u"短信平台连接失败");
  EXPECT_EQ(windowText(GetDlgItem(w, idMessage)), u"仓库盘点改到周五");
  EXPECT_EQ(windowText(mobile), u"13800000001");
  EXPECT_EQ(db_->scalar(u"SELECT COUNT(*) FROM dh_Outbox WHERE FMessageID>?", {Variant(lastMessage_)}).toI4(), 0);
  auto log = audit();
  ASSERT_EQ(log.size(), 1u);
  EXPECT_EQ(log[0].first, 1);
}

// Both tabs in the session's language (LUMO_SEND_LANGUAGE, chs by default: the
// language is read once per process), saved as pictures when LUMO_SHOTS_DIR names
// a folder.
TEST_F(SendWindow, CaptionsFollowTheSessionLanguageOnBothTabs) {
  const ustring chosen = environment(L"LUMO_SEND_LANGUAGE");
  const ustring language = chosen.empty() ? ustring(u"chs") : chosen;
  {
    signIn(u"王建国", language);
    HWND w = openWindow();
    ASSERT_NE(w, nullptr);
    // The host's form-font service chose the language's face for every control.
    LOGFONTW lf{};
    GetObjectW(reinterpret_cast<HFONT>(SendMessageW(GetDlgItem(w, idCmdSend), WM_GETFONT, 0, 0)), sizeof lf, &lf);
    EXPECT_EQ(u16(lf.lfFaceName), language == u"chs" ? ustring(u"宋体") : ustring(u"Tahoma"));
    EXPECT_EQ(lf.lfCharSet, language == u"chs" ? 134 : 0);
    if (language == u"chs") {
      EXPECT_EQ(windowText(w), u16(kTitle));
      EXPECT_EQ(windowText(GetDlgItem(w, idCmdFind)), u"查找(&F)");
    } else {
      EXPECT_NE(windowText(w), u16(kTitle));
      EXPECT_FALSE(windowText(w).empty());
      EXPECT_NE(windowText(GetDlgItem(w, idCmdFind)), u"查找(&F)");
    }
    HWND tree = GetDlgItem(w, idDepartments);
    clickCheckBox(tree, rootItem(tree, 1));
    TreeView_Expand(tree, rootItem(tree, 1), TVE_EXPAND);
    saveShot(w, u"send-" + language + u"-departments");
    HWND tab = GetDlgItem(w, idTab);
    TabCtrl_SetCurSel(tab, 1);
    NMHDR nm{tab, static_cast<UINT_PTR>(idTab), static_cast<UINT>(TCN_SELCHANGE)};
    SendMessageW(w, WM_NOTIFY, idTab, reinterpret_cast<LPARAM>(&nm));
    EXPECT_TRUE(IsWindowVisible(GetDlgItem(w, idGroups)));
    saveShot(w, u"send-" + language + u"-groups");
    SendMessageW(w, WM_CLOSE, 0, 0);
  }
}

}  // namespace
}  // namespace lumo::win32
