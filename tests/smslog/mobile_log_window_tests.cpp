// The SMS log window end to end: a message sent from the real send window to a
// good, a blocked and an unknown number; the log window's filter (shown once, on
// the first activation) asks for this workstation's last message; the three
// receivers' outcomes are listed; the two failed ones are resent through a
// prefilled send window; the filter comes back with the conditions kept.
#include <gtest/gtest.h>
#include <windows.h>
#include <commctrl.h>
#include <ole2.h>

#include <functional>
#include <memory>
#include <vector>

#include "automation/win/bridge.h"
#include "devhost/components/odbc.h"
#include "sms/win/windows.h"
#include "smslog/win/filter_ids.h"
#include "tests/smslog/log_windows.h"
#include "smslog/win/windows.h"
#include "tests/sms/send_windows.h"
#include "tests/support/win/boxes.h"
#include "tests/support/win/pump.h"
#include "tests/support/win/script.h"
#include "tests/support/win/screenshot.h"
#include "tests/support/win/server_dll.h"
#include "tests/support/win/text.h"
#include "win32/controls.h"

namespace lumo::win32 {
namespace {

using lumo::test::BoxWatcher;
using lumo::test::environment;
using lumo::test::RegisteredServers;
using lumo::test::Script;
using lumo::test::sendWindows;
using lumo::test::u8;
namespace odbc = lumo::devhost::odbc;

// The session's language for this run: chs unless the test run asks for another.
ustring language() {
  const ustring l = environment(L"LUMO_TEST_LANGUAGE");
  return l.empty() ? u"chs" : l;
}
bool chinese() { return language() == u"chs"; }

void shot(HWND w, const ustring& name) { EXPECT_TRUE(lumo::test::saveShot(w, name + u"-" + language())) << u8(name); }

ustring cellText(HWND list, int row, int column) {
  wchar_t buf[1024] = L"";
  ListView_GetItemText(list, row, column, buf, 1024);
  return lumo::test::u16(buf);
}

class MobileLogWindow : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    INITCOMMONCONTROLSEX icc{sizeof icc, ICC_TREEVIEW_CLASSES | ICC_TAB_CLASSES | ICC_LISTVIEW_CLASSES};
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
    db_->execute(u"DELETE FROM dh_Setting WHERE FName='DeliverySeconds'");
    com::createByProgId(u"PropsMgr.ShareProps")->call(u"SignIn", {ustring(u"王建国"), language()});
  }
  void TearDown() override {
    for (HWND w : sendWindows()) SendMessageW(w, WM_CLOSE, 0, 0);
    lumo::test::pumpFor(100);
  }
  ObjectPtr manager() { return com::createByProgId(u"LumoSmsManager.clsSmsManager"); }

  // Sends 'message' to 'receivers' from the real send window and closes it.
  void sendFromTheSendWindow(const ustring& receivers, const ustring& message) {
    manager()->call(u"SendSms", {});
    lumo::test::pumpFor(200);
    ASSERT_EQ(sendWindows().size(), 1u);
    HWND w = sendWindows()[0];
    setWindowText(GetDlgItem(w, send_sms::idMobile), receivers);
    setWindowText(GetDlgItem(w, send_sms::idMessage), message);
    BoxWatcher boxes;
    SendMessageW(GetDlgItem(w, send_sms::idCmdSend), BM_CLICK, 0, 0);
    lumo::test::pumpFor(300);
    ASSERT_EQ(boxes.boxes().size(), 1u);
    SendMessageW(w, WM_CLOSE, 0, 0);
    lumo::test::pumpFor(100);
  }

  static std::unique_ptr<RegisteredServers> servers_;
  std::unique_ptr<odbc::Connection> db_;
};
std::unique_ptr<RegisteredServers> MobileLogWindow::servers_;

TEST_F(MobileLogWindow, TheLastMessagesOutcomesAreListedAndTheFailedOnesResent) {
  // 13800138000 is on the operator's block list; 10086 is no mobile number.
  const ustring body = u"明天上午九点开会";
  sendFromTheSendWindow(u"13901010001,13800138000,10086", body);

  HWND log = nullptr, filter = nullptr, prefilled = nullptr;
  int filters = 0;
  Script script({
      // 1. The filter comes up by itself: ask for this workstation's last message.
      [&] {
        filter = lumo::test::findFilterDialog();
        if (!filter) return false;
        ++filters;
        log = FindWindowW(mobile_log::kClass, nullptr);
        EXPECT_NE(log, nullptr);
        EXPECT_EQ(windowText(filter), chinese() ? u"过滤" : u"Filter");  // the layout's own caption
        EXPECT_EQ(windowText(GetDlgItem(filter, IDOK)), chinese() ? u"确定" : u"OK");
        shot(filter, u"smslog-filter");
        CheckDlgButton(filter, IDC_FILTER_LAST, BST_CHECKED);
        PostMessageW(filter, WM_COMMAND, IDOK, 0);
        return true;
      },
      // 2. Three receivers, each with its outcome.
      [&] {
        HWND list = GetDlgItem(log, mobile_log::kListId);
        if (lumo::test::findFilterDialog() || ListView_GetItemCount(list) != 3) return false;
        const ustring failed = chinese() ? u"发送失败" : u"Failed";
        EXPECT_EQ(cellText(list, 0, 2), u"13901010001");
        EXPECT_EQ(cellText(list, 0, 5), chinese() ? u"已送达" : u"Delivered");
        EXPECT_EQ(cellText(list, 1, 2), u"13800138000");
        EXPECT_EQ(cellText(list, 1, 5), failed);
        EXPECT_EQ(cellText(list, 1, 6), u"号码在黑名单中");
        EXPECT_EQ(cellText(list, 2, 2), u"10086");
        EXPECT_EQ(cellText(list, 2, 5), failed);
        EXPECT_EQ(cellText(list, 2, 6), u"号码不存在");
        EXPECT_EQ(cellText(list, 0, 4), body + u"--王建国");
        EXPECT_EQ(u8(windowText(GetDlgItem(GetDlgItem(log, mobile_log::kToolBarId), mobile_log::kCountId))),
                  chinese() ? "共3条记录" : "3 record(s)");
        // Select every row: only the failed ones are resent.
        ListView_SetItemState(list, -1, LVIS_SELECTED, LVIS_SELECTED);
        PostMessageW(log, WM_COMMAND, mobile_log::kToolIdBase + 2, 0);
        return true;
      },
      // 3. The send window holds the two numbers and the body without its signature.
      [&] {
        if (sendWindows().size() != 1) return false;
        prefilled = sendWindows()[0];
        EXPECT_EQ(windowText(GetDlgItem(prefilled, send_sms::idMobile)), u"13800138000,10086");
        EXPECT_EQ(windowText(GetDlgItem(prefilled, send_sms::idMessage)), body);
        shot(prefilled, u"smslog-resend");
        SendMessageW(prefilled, WM_CLOSE, 0, 0);
        // The filter again, from its tool.
        PostMessageW(log, WM_COMMAND, mobile_log::kToolIdBase + 0, 0);
        return true;
      },
      // 4. The new dialog has the last conditions; now every time, for the history.
      [&] {
        filter = lumo::test::findFilterDialog();
        if (!filter) return false;
        ++filters;
        EXPECT_EQ(IsDlgButtonChecked(filter, IDC_FILTER_LAST), BST_CHECKED);
        CheckDlgButton(filter, IDC_FILTER_LAST, BST_UNCHECKED);
        CheckRadioButton(filter, IDC_FILTER_BYTIME, IDC_FILTER_ALLTIME, IDC_FILTER_ALLTIME);
        PostMessageW(filter, WM_COMMAND, IDOK, 0);
        return true;
      },
      // 5. The month of history, newest first.
      [&] {
        HWND list = GetDlgItem(log, mobile_log::kListId);
        if (lumo::test::findFilterDialog() || ListView_GetItemCount(list) < 300) return false;
        EXPECT_EQ(cellText(list, 0, 2), u"13901010001");  // the message just sent is the newest
        shot(log, u"smslog-history");
        // A click on the receiver's head sorts on it, with the system's arrow; a second reverses.
        HWND header = ListView_GetHeader(list);
        RECT r{};
        Header_GetItemRect(header, 2, &r);
        const LPARAM at = MAKELPARAM((r.left + r.right) / 2, (r.top + r.bottom) / 2);
        PostMessageW(header, WM_LBUTTONDOWN, MK_LBUTTON, at);
        PostMessageW(header, WM_LBUTTONUP, 0, at);
        return true;
      },
      [&] {
        HWND list = GetDlgItem(log, mobile_log::kListId);
        HDITEMW hd{};
        hd.mask = HDI_FORMAT;
        Header_GetItem(ListView_GetHeader(list), 2, &hd);
        if (!(hd.fmt & HDF_SORTUP)) return false;
        const int n = ListView_GetItemCount(list);
        EXPECT_LE(u8(cellText(list, 0, 2)), u8(cellText(list, 1, 2)));
        EXPECT_LE(u8(cellText(list, n / 2, 2)), u8(cellText(list, n - 1, 2)));
        shot(log, u"smslog-sorted");
        PostMessageW(log, WM_CLOSE, 0, 0);
        return true;
      },
  });
  manager()->call(u"ShowSmsLog", {});  // modal: returns when the log window is closed
  EXPECT_FALSE(script.timedOut()) << "step " << script.reached() << " never came about";
  EXPECT_TRUE(script.finished()) << "stopped before step " << script.reached();
  EXPECT_EQ(filters, 2);  // once by itself, once from the tool: never again on activation
  EXPECT_EQ(FindWindowW(mobile_log::kClass, nullptr), nullptr);
}

}  // namespace
}  // namespace lumo::win32
