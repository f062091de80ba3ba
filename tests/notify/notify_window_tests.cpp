// The approval-notification windows as the host opens them: clsSmsManager created
// by ProgID and called late-bound. The windows are modal, so the test acts from
// timers that fire inside their message loops (and inside the loops of the
// dialogs and message boxes they open), drives the real controls with window
// messages and reads what the add-in did back from the development host's
// database.
#include <gtest/gtest.h>
#include <windows.h>
#include <commctrl.h>
#include <ole2.h>
#include <windowsx.h>

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "automation/win/bridge.h"
#include "devhost/components/odbc.h"
#include "display/win/windows.h"
#include "notify/win/windows.h"
#include "tests/support/win/boxes.h"
#include "tests/support/win/pump.h"
#include "tests/support/win/screenshot.h"
#include "tests/support/win/server_dll.h"
#include "tests/support/win/text.h"
#include "tests/support/win/windows.h"
#include "win32/controls.h"

namespace lumo::win32 {
namespace {

using namespace lumo::win32::sms_manager;
using lumo::wz;
using lumo::test::environment;
using lumo::test::RegisteredServers;
using lumo::test::u16;
using lumo::test::u8;
using lumo::win32::windowText;
namespace odbc = lumo::devhost::odbc;
using Texts = std::vector<ustring>;

void pump(int milliseconds = 200) { lumo::test::pumpFor(milliseconds); }

// ---- acting inside modal loops ------------------------------------------------------------

// Runs 'inside' from a thread timer once 'find' finds its window: the timer fires
// in whatever loop runs then, the modal window's own included.
struct Pending {
  std::function<HWND()> find;
  std::function<void(HWND)> inside;
};
std::map<UINT_PTR, Pending>& pending() {
  static std::map<UINT_PTR, Pending> p;
  return p;
}
void CALLBACK fire(HWND, UINT, UINT_PTR id, DWORD) {
  auto it = pending().find(id);
  if (it == pending().end()) return;
  const HWND w = it->second.find();
  if (!w) return;
  Pending p = std::move(it->second);
  KillTimer(nullptr, id);
  pending().erase(it);
  p.inside(w);
}
void onWindow(std::function<HWND()> find, std::function<void(HWND)> inside) {
  const UINT_PTR id = SetTimer(nullptr, 0, 50, &fire);
  pending()[id] = Pending{std::move(find), std::move(inside)};
}

HWND firstWindow(const std::function<bool(HWND)>& test) {
  struct Q {
    const std::function<bool(HWND)>* test;
    HWND found;
  } q{&test, nullptr};
  EnumThreadWindows(
      GetCurrentThreadId(),
      [](HWND h, LPARAM p) -> BOOL {
        auto* q = reinterpret_cast<Q*>(p);
        if (IsWindowVisible(h) && (*q->test)(h)) {
          q->found = h;
          return FALSE;
        }
        return TRUE;
      },
      reinterpret_cast<LPARAM>(&q));
  return q.found;
}

HWND serviceWindow() {
  return firstWindow([](HWND h) { return GetDlgItem(h, idTree) && GetDlgItem(h, idList) && GetDlgItem(h, idSep); });
}
HWND optionsDialog() {
  return firstWindow([](HWND h) { return GetDlgItem(h, set_use_flag::idChkFlagAudit) != nullptr; });
}
HWND messageBox() {
  return firstWindow([](HWND h) { return lumo::test::isMessageBox(h); });
}

// The next message box is read into 'text' and answered with 'button'.
void answerBox(int button, ustring* text) {
  onWindow(messageBox, [button, text](HWND box) {
    if (text) *text = lumo::test::messageText(box);
    lumo::test::pressButton(box, button);
  });
}

// Closes a window when the scope ends, however it ends (a failed assertion too).
struct CloseAtEnd {
  HWND w;
  ~CloseAtEnd() {
    if (IsWindow(w)) PostMessageW(w, WM_CLOSE, 0, 0);
  }
};

// ---- reading the controls -------------------------------------------------------------------

std::vector<HTREEITEM> children(HWND tree, HTREEITEM item) {
  std::vector<HTREEITEM> out;
  for (HTREEITEM c = TreeView_GetChild(tree, item); c; c = TreeView_GetNextSibling(tree, c)) out.push_back(c);
  return out;
}

ustring itemText(HWND tree, HTREEITEM item) {
  wchar_t buf[512] = L"";
  TVITEMW tv{};
  tv.mask = TVIF_TEXT | TVIF_HANDLE;
  tv.hItem = item;
  tv.pszText = buf;
  tv.cchTextMax = 512;
  TreeView_GetItem(tree, &tv);
  return u16(buf);
}

ustring cell(HWND list, int item, int sub) {
  wchar_t buf[4096] = L"";
  ListView_GetItemText(list, item, sub, buf, 4096);
  return u16(buf);
}

// The list's rows as "name|state".
Texts rows(HWND list) {
  Texts out;
  for (int i = 0; i < ListView_GetItemCount(list); ++i) out.push_back(cell(list, i, 2) + u"|" + cell(list, i, 3));
  return out;
}

std::vector<int> selectedItems(HWND list) {
  std::vector<int> out;
  for (int i = ListView_GetNextItem(list, -1, LVNI_SELECTED); i >= 0; i = ListView_GetNextItem(list, i, LVNI_SELECTED))
    out.push_back(i);
  return out;
}

// A click on a tree node as the tree reports it.
void clickNode(HWND tree, HTREEITEM item) {
  TreeView_SelectItem(tree, item);
  pump(150);
}

void selectByName(HWND list, const Texts& names) {
  ListView_SetItemState(list, -1, 0, LVIS_SELECTED);
  for (int i = 0; i < ListView_GetItemCount(list); ++i)
    if (std::find(names.begin(), names.end(), cell(list, i, 2)) != names.end())
      ListView_SetItemState(list, i, LVIS_SELECTED, LVIS_SELECTED);
}

// A tool-bar button by key, as the tool bar reports its click.
void pressTool(HWND w, int index) {
  PostMessageW(w, WM_COMMAND, MAKEWPARAM(kToolIdBase + index, BN_CLICKED),
               reinterpret_cast<LPARAM>(GetDlgItem(w, idToolBar)));
  pump(300);
}

Texts toolCaptions(HWND w) {
  HWND tb = GetDlgItem(w, idToolBar);
  Texts out;
  const int n = static_cast<int>(SendMessageW(tb, TB_BUTTONCOUNT, 0, 0));
  for (int i = 0; i < n; ++i) {
    TBBUTTON b{};
    SendMessageW(tb, TB_GETBUTTON, i, reinterpret_cast<LPARAM>(&b));
    wchar_t buf[256] = L"";
    SendMessageW(tb, TB_GETBUTTONTEXTW, b.idCommand, reinterpret_cast<LPARAM>(buf));
    out.push_back(u16(buf));
  }
  return out;
}

// The lines of a list window, in order.
Texts listLines(HWND displayer) {
  HWND list = GetDlgItem(displayer, displayer::kListId);
  EXPECT_NE(list, nullptr);
  EXPECT_GT(ListView_GetItemCount(list), 0) << "columns " << Header_GetItemCount(ListView_GetHeader(list));
  Texts out;
  for (int i = 0; i < ListView_GetItemCount(list); ++i) out.push_back(cell(list, i, 1));
  return out;
}

std::vector<HWND> listWindows() { return lumo::test::threadWindowsOfClass(displayer::kClass); }

RECT childRect(HWND parent, HWND child) {
  RECT r{};
  GetWindowRect(child, &r);
  MapWindowPoints(nullptr, parent, reinterpret_cast<POINT*>(&r), 2);
  return r;
}

void saveShot(HWND hwnd, const ustring& name) {
  const ustring dir = environment(L"LUMO_SHOTS_DIR");
  if (dir.empty()) return;
  RedrawWindow(hwnd, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_UPDATENOW | RDW_ALLCHILDREN | RDW_FRAME);
  pump(400);
  EXPECT_TRUE(lumo::test::saveWindowPng(hwnd, lumo::test::wide(dir + u"\\" + name + u".png"))) << u8(name);
}

// ---- the fixture ----------------------------------------------------------------------------

class NotifyWindow : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    INITCOMMONCONTROLSEX icc{sizeof icc, ICC_TREEVIEW_CLASSES | ICC_LISTVIEW_CLASSES | ICC_BAR_CLASSES};
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
    lastAudit_ = number(u"SELECT IFNULL(MAX(FID),0) FROM dh_AuditLog");
    lastCall_ = number(u"SELECT IFNULL(MAX(FSeq),0) FROM dh_Journal");
  }
  void TearDown() override {
    for (HWND w : listWindows()) SendMessageW(w, WM_CLOSE, 0, 0);
    pump(100);
    if (db_) db_->execute(u"DELETE FROM dh_Switch");
  }

  ustring signIn(const ustring& user, const ustring& language) {
    return com::createByProgId(u"PropsMgr.ShareProps")->call(u"SignIn", {user, language}).toString();
  }
  void command(const ustring& name, const ustring& type) {
    com::createByProgId(u"LumoSmsManager.clsSmsManager")->call(name, {type});
  }
  int32_t number(const ustring& sql) { return db_->scalar(sql).toI4(); }
  // The batch audit descriptions written since the test began, in order.
  Texts batchAudit(const ustring& funcId) {
    Texts out;
    for (const auto& r :
         db_->query(u"SELECT FDesc FROM dh_AuditLog WHERE FBatch=1 AND FFuncID=? AND FID>? ORDER BY FID",
                    {funcId, lastAudit_})
             .rows)
      out.push_back(r[0].toString());
    return out;
  }
  // The members of a component called since the test began, in order, with their arguments.
  Texts calls(const ustring& component) {
    Texts out;
    for (const auto& r : db_->query(u"SELECT FMethod, FArguments FROM dh_Journal WHERE FComponent=? AND FSeq>? "
                                    u"ORDER BY FSeq",
                                    {component, lastCall_})
                             .rows)
      out.push_back(r[0].toString() + u"(" + (r[1].isNull() ? ustring() : r[1].toString()) + u")");
    return out;
  }
  Texts members(const ustring& component) {
    Texts out;
    for (const ustring& c : calls(component)) out.push_back(c.substr(0, c.find(u'(')));
    return out;
  }

  static std::unique_ptr<RegisteredServers> servers_;
  std::unique_ptr<odbc::Connection> db_;
  int32_t lastAudit_ = 0, lastCall_ = 0;
};

std::unique_ptr<RegisteredServers> NotifyWindow::servers_;

// Opens the options from the service window, runs 'inside' in the dialog, and
// returns once the dialog has gone.
void withOptions(HWND w, const std::function<void(HWND)>& inside) {
  bool ran = false;
  onWindow(optionsDialog, [&](HWND d) {
    ran = true;
    inside(d);
    pump(200);
    if (IsWindow(d)) {
      ADD_FAILURE() << "the options stayed open";
      DestroyWindow(d);
    }
  });
  pressTool(w, 7);  // "Option"
  pump(200);
  EXPECT_TRUE(ran);
}

void click(HWND dialog, int id) {
  SendMessageW(GetDlgItem(dialog, id), BM_CLICK, 0, 0);
  pump(100);
}

TEST_F(NotifyWindow, ServiceManagementListsSwitchesAndReports) {
  // The demo's states, whatever an earlier run left.
  db_->execute(u"UPDATE t_SMSBillUse SET FIsRun=0 WHERE FID=103");
  db_->execute(u"UPDATE t_SMSBillUse SET FIsRun=NULL WHERE FID=502");
  db_->execute(u"UPDATE t_MobileFlow SET FIsMobileServiceRun=0 WHERE FID=1003001");
  db_->execute(u"UPDATE t_SystemProfile SET FValue='1' WHERE FCategory='SMS' AND FKey='UseFlag'");
  db_->execute(u"UPDATE t_SystemProfile SET FValue='0' WHERE FCategory='SMS' AND FKey='AuditFlag'");
  signIn(u"王建国", u"chs");
  bool ran = false;
  onWindow(serviceWindow, [&](HWND w) {
    ran = true;
    CloseAtEnd closer{w};
    HWND tree = GetDlgItem(w, idTree), list = GetDlgItem(w, idList);
    EXPECT_EQ(windowText(w), u"审批通知服务管理");
    EXPECT_EQ(windowText(GetDlgItem(w, idFaTree)), u"短信通知服务");
    EXPECT_EQ(windowText(GetDlgItem(w, idFaList)), u"短信通知服务列表");
    EXPECT_EQ(toolCaptions(w), (Texts{u"启用", u"停用", u"全选", u"全清", u"打印", u"打印设置", u"打印预览", u"选项",
                                      u"收不到短信的用户", u"帮助", u"退出"}));
    // 陈静 (no number), 黄丽 (blanks), 吴敏 (empty), 临时用户 (no employee), 失联用户 (a missing one).
    EXPECT_EQ(windowText(GetDlgItem(w, idToolText)), u"5 个用户没有手机号码，收不到短信通知");

    // The catalogue: the groups, then the workflows, under the root.
    const HTREEITEM root = TreeView_GetRoot(tree);
    ASSERT_NE(root, nullptr);
    EXPECT_EQ(itemText(tree, root), u"移动商务");
    const auto nodes = children(tree, root);
    ASSERT_EQ(nodes.size(), 13u);
    EXPECT_EQ(itemText(tree, nodes[0]), u"采购管理");
    EXPECT_EQ(itemText(tree, nodes[5]), u"质量管理");
    EXPECT_EQ(itemText(tree, nodes[6]), u"采购订单审批流");
    EXPECT_EQ(itemText(tree, nodes[12]), u"跨部门协作审批流");

    // Every service for the root, the first one selected; the type and id columns hidden.
    EXPECT_EQ(ListView_GetItemCount(list), 19);
    EXPECT_EQ(selectedItems(list), (std::vector<int>{0}));
    EXPECT_EQ(ListView_GetColumnWidth(list, 0), 0);
    EXPECT_EQ(ListView_GetColumnWidth(list, 1), 0);
    EXPECT_EQ(ListView_GetColumnWidth(list, 2), MulDiv(3600, static_cast<int>(windowDpi(w)), 1440));
    EXPECT_EQ(ListView_GetColumnWidth(list, 3), MulDiv(1800, static_cast<int>(windowDpi(w)), 1440));
    EXPECT_EQ(cell(list, 0, 0), u"Normal");
    EXPECT_EQ(cell(list, 18, 0), u"ORN");

    clickNode(tree, nodes[0]);
    EXPECT_EQ(rows(list), (Texts{u"采购申请单|是", u"采购订单|是", u"采购入库单|否"}));
    const auto contract =
        std::find_if(nodes.begin(), nodes.end(), [&](HTREEITEM n) { return itemText(tree, n) == u"销售合同审批流"; });
    ASSERT_NE(contract, nodes.end());
    clickNode(tree, *contract);
    EXPECT_EQ(rows(list), (Texts{u"销售合同审批流|否"}));
    clickNode(tree, root);
    ASSERT_EQ(ListView_GetItemCount(list), 19);

    // A mixed selection with rows already on; Start.
    selectByName(list, {u"采购订单", u"采购入库单", u"销售合同审批流", u"采购订单审批流"});
    pressTool(w, 0);
    EXPECT_EQ(number(u"SELECT FIsRun FROM t_SMSBillUse WHERE FID=103"), 1);
    EXPECT_EQ(number(u"SELECT FIsMobileServiceRun FROM t_MobileFlow WHERE FID=1003001"), 1);
    Texts switches;
    for (const ustring& m : members(u"LumoMSmsManager.clsBillUseUpdate"))
      if (m.find(u"Operate") != ustring::npos) switches.push_back(m);
    EXPECT_EQ(switches, (Texts{u"BillUseOperate", u"BillOrnUseOperate"}));
    EXPECT_EQ(batchAudit(u"SMS00107"), (Texts{u"启用审批通知服务:[采购入库单]", u"启用审批通知服务:[销售合同审批流]"}));
    // The list shows the stored state.
    EXPECT_EQ(cell(list, 2, 2), u"采购入库单");
    EXPECT_EQ(cell(list, 2, 3), u"是");
    const auto shown = listWindows();
    ASSERT_EQ(shown.size(), 1u);
    EXPECT_EQ(listLines(shown[0]), (Texts{u"启用[采购入库单]短信通知成功！", u"启用[销售合同审批流]短信通知成功！",
                                          u"启用[采购订单]短信通知失败！该服务已经启用短信通知！",
                                          u"启用[采购订单审批流]短信通知失败！该服务已经启用短信通知！"}));
    saveShot(shown[0], u"notify-result-chs");
    SendMessageW(shown[0], WM_CLOSE, 0, 0);
    pump(100);
    saveShot(w, u"notify-service-chs");

    // A failing switch: its text, the list as it was, no audit record.
    db_->execute(
        u"INSERT INTO dh_Switch (FComponent, FMethod, FMode) VALUES ('LumoMSmsManager.clsBillUseUpdate', "
        u"'BillUseOperate', 'raise')");
    const int32_t auditBefore = number(u"SELECT COUNT(*) FROM dh_AuditLog");
    selectByName(list, {u"借款单"});
    ustring box;
    answerBox(IDOK, &box);
    pressTool(w, 0);
    pump(200);
    EXPECT_NE(box.find(u"BillUseOperate"), ustring::npos) << u8(box);
    EXPECT_EQ(number(u"SELECT IFNULL(FIsRun,-1) FROM t_SMSBillUse WHERE FID=502"), -1);
    EXPECT_EQ(number(u"SELECT COUNT(*) FROM dh_AuditLog"), auditBefore);
    EXPECT_TRUE(listWindows().empty());
    for (int i = 0; i < ListView_GetItemCount(list); ++i) {
      if (cell(list, i, 2) == u"借款单") {
        EXPECT_EQ(cell(list, i, 3), u"否");
      }
    }
    db_->execute(u"DELETE FROM dh_Switch");

    // Printing: no printer under Wine, said so; the usage log is written after the
    // print operation. The preview needs no printer.
    {
      ustring box;
      answerBox(IDOK, &box);
      pressTool(w, 4);
      pump(200);
      EXPECT_NE(box.find(u"打印机"), ustring::npos) << u8(box);
      EXPECT_EQ(number(u"SELECT COUNT(*) FROM dh_AuditLog WHERE FFuncID='SMS00107' AND FStatement=5 AND "
                       u"FDesc='打印审批通知服务列表' AND FID>" +
                       toText(lastAudit_)),
                1);
      pressTool(w, 6);
      const auto previews = lumo::test::threadWindowsOfClass(displayer::kPreviewClass);
      ASSERT_EQ(previews.size(), 1u);
      SendMessageW(previews[0], WM_CLOSE, 0, 0);
      pump(100);
    }

    // Who will not get the SMS: a list window of user, employee and department.
    pressTool(w, 8);
    {
      const auto lists = listWindows();
      ASSERT_EQ(lists.size(), 1u);
      const Texts lines = listLines(lists[0]);
      ASSERT_EQ(lines.size(), 5u);
      EXPECT_EQ(lines[0], u"陈静");
      EXPECT_EQ(cell(GetDlgItem(lists[0], displayer::kListId), 0, 3), u"财务部");
      SendMessageW(lists[0], WM_CLOSE, 0, 0);
      pump(100);
    }

    // Select all and clear; Ctrl+A in the list selects all too.
    pressTool(w, 2);
    EXPECT_EQ(static_cast<int>(ListView_GetSelectedCount(list)), 19);
    pressTool(w, 3);
    EXPECT_EQ(ListView_GetSelectedCount(list), 0u);
    SetFocus(list);
    BYTE keys[256] = {};
    GetKeyboardState(keys);
    keys[VK_CONTROL] = 0x80;
    SetKeyboardState(keys);
    PostMessageW(list, WM_KEYDOWN, 'A', 1);
    pump(150);
    keys[VK_CONTROL] = 0;
    SetKeyboardState(keys);
    EXPECT_EQ(static_cast<int>(ListView_GetSelectedCount(list)), 19);
    pressTool(w, 3);

    // The separator follows the mouse and keeps 1000 twips on either side.
    HWND sep = GetDlgItem(w, idSep);
    const int before = childRect(w, sep).left;
    SendMessageW(sep, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(2, 10));
    EXPECT_TRUE(IsWindowVisible(GetDlgItem(w, idBar)));
    SendMessageW(sep, WM_MOUSEMOVE, MK_LBUTTON, MAKELPARAM(62, 10));
    SendMessageW(sep, WM_LBUTTONUP, 0, MAKELPARAM(62, 10));
    pump(100);
    EXPECT_FALSE(IsWindowVisible(GetDlgItem(w, idBar)));
    EXPECT_NEAR(childRect(w, sep).left, before + 60, 2);
    EXPECT_GT(childRect(w, tree).right, before + 40);
    SendMessageW(sep, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(2, 10));
    SendMessageW(sep, WM_MOUSEMOVE, MK_LBUTTON, MAKELPARAM(static_cast<WORD>(-3000), 10));
    SendMessageW(sep, WM_LBUTTONUP, 0, MAKELPARAM(static_cast<WORD>(-3000), 10));
    pump(100);
    EXPECT_NEAR(childRect(w, sep).left, MulDiv(1000, static_cast<int>(windowDpi(w)), 1440), 2);

    // The options: only the audit box changed, only SetAuditFlag is written.
    withOptions(w, [&](HWND d) {
      saveShot(d, u"notify-options-chs");
      EXPECT_EQ(windowText(d), u"选项");
      EXPECT_EQ(Button_GetCheck(GetDlgItem(d, set_use_flag::idChkFlag)), BST_CHECKED);
      EXPECT_EQ(Button_GetCheck(GetDlgItem(d, set_use_flag::idChkFlagAudit)), BST_UNCHECKED);
      EXPECT_FALSE(IsWindowEnabled(GetDlgItem(d, set_use_flag::idCmdOk)));
      click(d, set_use_flag::idChkFlagAudit);
      EXPECT_TRUE(IsWindowEnabled(GetDlgItem(d, set_use_flag::idCmdOk)));
      click(d, set_use_flag::idCmdOk);
    });
    Texts setters;
    for (const ustring& m : members(u"LumoMSmsManager.clsBillUseUpdate"))
      if (m.rfind(u"Set", 0) == 0) setters.push_back(m);
    EXPECT_EQ(setters, (Texts{u"SetAuditFlag"}));
    EXPECT_EQ(db_->scalar(u"SELECT FValue FROM t_SystemProfile WHERE FCategory='SMS' AND FKey='AuditFlag'").toString(),
              u"1");
    // The use flag is read again after the dialog.
    EXPECT_EQ(members(u"LumoMSmsManager.clsBillUseInfo").back(), u"GetUseFlag");

    // Closing with a change: Cancel keeps the dialog, No closes it unsaved.
    withOptions(w, [&](HWND d) {
      click(d, set_use_flag::idChkFlag);
      ustring first, second;
      answerBox(IDCANCEL, &first);
      click(d, set_use_flag::idCmdCancel);
      pump(200);
      EXPECT_EQ(first, u"数据已被修改，是否保存？");
      EXPECT_TRUE(IsWindow(d));
      EXPECT_EQ(Button_GetCheck(GetDlgItem(d, set_use_flag::idChkFlag)), BST_UNCHECKED);
      answerBox(IDNO, &second);
      click(d, set_use_flag::idCmdCancel);
      pump(200);
      EXPECT_EQ(second, u"数据已被修改，是否保存？");
    });
    EXPECT_EQ(db_->scalar(u"SELECT FValue FROM t_SystemProfile WHERE FCategory='SMS' AND FKey='UseFlag'").toString(),
              u"1");
    // Esc closes the window.
    PostMessageW(w, WM_KEYDOWN, VK_ESCAPE, 1);
    PostMessageW(w, WM_KEYUP, VK_ESCAPE, 0xC0000001);
    pump(200);
    EXPECT_FALSE(IsWindow(w));
  });
  command(u"SmsManager", u"");
  EXPECT_TRUE(ran);
  Texts usage;
  for (const auto& r : db_->query(u"SELECT FStatement FROM dh_AuditLog WHERE FBatch=0 AND FFuncID='SMS00107' AND FID>? "
                                  u"ORDER BY FID",
                                  {lastAudit_})
                           .rows)
    usage.push_back(r[0].toString());
  // Opened, printed, closed.
  EXPECT_EQ(usage, (Texts{u"1", u"5", u"3"}));
}

TEST_F(NotifyWindow, PersonalSubscriptionsOrdinaryBeforeWorkflows) {
  db_->execute(u"UPDATE t_SMSBillUse SET FIsRun=0 WHERE FID=103");
  db_->execute(u"UPDATE t_MobileFlow SET FIsMobileServiceRun=0 WHERE FID=1003001");
  db_->execute(u"DELETE FROM t_SMSPrescribe WHERE FUserID=16394 AND FServiceID IN (101,1002001)");
  signIn(u"孙丽娟", u"chs");
  bool ran = false;
  onWindow(serviceWindow, [&](HWND w) {
    ran = true;
    CloseAtEnd closer{w};
    HWND list = GetDlgItem(w, idList);
    EXPECT_EQ(windowText(w), u"个人审批通知设置");
    EXPECT_EQ(toolCaptions(w),
              (Texts{u"启用", u"停用", u"全选", u"全清", u"打印", u"打印设置", u"打印预览", u"帮助", u"退出"}));
    EXPECT_EQ(rows(list), (Texts{u"采购申请单|否", u"采购订单|是", u"销售订单|否", u"盘点单|否", u"生产任务单|否",
                                 u"费用报销单|否", u"采购订单审批流|否", u"生产计划审批流|否", u"费用报销审批流|是"}));
    selectByName(list, {u"采购申请单", u"采购订单", u"生产计划审批流"});
    pressTool(w, 0);
    Texts operations;
    for (const ustring& c : calls(u"LumoMSmsManager.clsBillUseUpdate")) operations.push_back(c.substr(c.rfind(u',')));
    EXPECT_EQ(operations, (Texts{u", '2')", u", '3')"}));
    EXPECT_EQ(number(u"SELECT COUNT(*) FROM t_SMSPrescribe WHERE FUserID=16394 AND FKind=2 AND FServiceID=101"), 1);
    EXPECT_EQ(number(u"SELECT COUNT(*) FROM t_SMSPrescribe WHERE FUserID=16394 AND FKind=3 AND FServiceID=1002001"), 1);
    EXPECT_EQ(batchAudit(u"SMS00107"), (Texts{u"启用个人审批通知:[采购申请单]", u"启用个人审批通知:[生产计划审批流]"}));
    const auto shown = listWindows();
    ASSERT_EQ(shown.size(), 1u);
    EXPECT_EQ(listLines(shown[0]),
              (Texts{u"启用接收短信通知[采购申请单]中用户[孙丽娟]短信通知成功！",
                     u"启用接收短信通知[生产计划审批流]中用户[孙丽娟]短信通知成功！",
                     u"启用短信通知服务[采购订单]中用户[孙丽娟]短信通知失败！该用户已经启用短信通知！"}));
    EXPECT_EQ(rows(list)[0], u"采购申请单|是");
    saveShot(w, u"notify-personal-chs");
  });
  command(u"UserSms", u"x");
  EXPECT_TRUE(ran);
  EXPECT_EQ(
      number(u"SELECT COUNT(*) FROM dh_AuditLog WHERE FBatch=0 AND FFuncID='SMS00102' AND FID>" + toText(lastAudit_)),
      2);
}

// The three windows in the session's language (LUMO_NOTIFY_LANGUAGE, chs by
// default), saved as pictures when LUMO_SHOTS_DIR names a folder.
TEST_F(NotifyWindow, ThreeWindowsInTheSessionLanguage) {
  const ustring chosen = environment(L"LUMO_NOTIFY_LANGUAGE");
  const ustring language = chosen.empty() ? ustring(u"chs") : chosen;
  const bool chs = language == u"chs";
  signIn(u"孙丽娟", language);
  onWindow(serviceWindow, [&](HWND w) {
    CloseAtEnd closer{w};
    EXPECT_EQ(windowText(w), chs ? u"审批通知服务管理" : u"Approval Notification Services");
    saveShot(w, u"notify-service-" + language);
    // The first service is on already: Start gives one refusal line, and no change.
    HWND list = GetDlgItem(w, idList);
    ASSERT_EQ(selectedItems(list), (std::vector<int>{0}));
    ASSERT_EQ(cell(list, 0, 3), chs ? u"是" : u"Yes");
    pressTool(w, 0);
    const auto shown = listWindows();
    ASSERT_EQ(shown.size(), 1u);
    const Texts lines = listLines(shown[0]);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0], chs ? u"启用[采购申请单]短信通知失败！该服务已经启用短信通知！"
                            : u"Could not enable SMS notification for [采购申请单]! The service already has SMS "
                              u"notification enabled!");
    saveShot(shown[0], u"notify-result-" + language);
    SendMessageW(shown[0], WM_CLOSE, 0, 0);
    pump(100);
    withOptions(w, [&](HWND d) {
      EXPECT_EQ(windowText(GetDlgItem(d, set_use_flag::idCmdOk)), chs ? u"确定(&O)" : u"&OK");
      saveShot(d, u"notify-options-" + language);
      click(d, set_use_flag::idCmdCancel);
    });
  });
  command(u"SmsManager", u"anything");
  onWindow(serviceWindow, [&](HWND w) {
    CloseAtEnd closer{w};
    EXPECT_EQ(windowText(w), chs ? u"个人审批通知设置" : u"Personal Approval Notifications");
    saveShot(w, u"notify-personal-" + language);
  });
  command(u"UserSms", u"");
}

}  // namespace
}  // namespace lumo::win32
