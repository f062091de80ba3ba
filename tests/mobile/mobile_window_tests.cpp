// The mobile-number windows as the host opens them: clsSmsManager created by
// ProgID and called late-bound, the modal windows driven from inside their own
// loops with window messages, the message boxes read and answered, and what the
// add-in did read back from the development host's database.
#include <gtest/gtest.h>
#include <windows.h>
#include <commctrl.h>
#include <ole2.h>

#include <memory>
#include <string>
#include <vector>

#include "automation/win/bridge.h"
#include "devhost/components/odbc.h"
#include "mobile/win/windows.h"
#include "tests/mobile/driver.h"
#include "tests/support/win/boxes.h"
#include "tests/support/win/pump.h"
#include "tests/support/win/screenshot.h"
#include "tests/support/win/server_dll.h"
#include "tests/support/win/text.h"
#include "tests/support/win/windows.h"
#include "win32/controls.h"

namespace lumo::win32 {
namespace {

using lumo::test::Driver;
using lumo::test::environment;
using lumo::test::RegisteredServers;
using lumo::test::u16;
using lumo::test::u8;
namespace odbc = lumo::devhost::odbc;
using Texts = std::vector<ustring>;

ustring language() {
  const ustring l = environment(L"LUMO_MOBILE_LANGUAGE");
  return l.empty() ? ustring(u"chs") : l;
}

// Saves a picture of the window in LUMO_SHOTS_DIR, when that names a folder.
void saveShot(HWND hwnd, const ustring& name) {
  const ustring dir = environment(L"LUMO_SHOTS_DIR");
  if (dir.empty() || !hwnd) return;
  RedrawWindow(hwnd, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_UPDATENOW | RDW_ALLCHILDREN | RDW_FRAME);
  lumo::test::pumpFor(300);
  EXPECT_TRUE(lumo::test::saveWindowPng(hwnd, lumo::test::wide(dir + u"\\" + name + u"-" + language() + u".png")))
      << u8(name);
}

// The visible dialog of this thread holding a control with this id.
HWND dialogWith(int id) {
  struct Q {
    int id;
    HWND found;
  } q{id, nullptr};
  EnumThreadWindows(
      GetCurrentThreadId(),
      [](HWND w, LPARAM p) {
        auto* q = reinterpret_cast<Q*>(p);
        if (IsWindowVisible(w) && GetDlgItem(w, q->id)) {
          q->found = w;
          return FALSE;
        }
        return TRUE;
      },
      reinterpret_cast<LPARAM>(&q));
  return q.found;
}

void typeChars(HWND edit, const ustring& text) {
  for (char16_t c : text) SendMessageW(edit, WM_CHAR, static_cast<WPARAM>(c), 1);
}

void click(HWND dialog, int id) {
  PostMessageW(dialog, WM_COMMAND, MAKEWPARAM(id, BN_CLICKED), reinterpret_cast<LPARAM>(GetDlgItem(dialog, id)));
}

class MobileWindow : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    INITCOMMONCONTROLSEX icc{sizeof icc, ICC_WIN95_CLASSES};
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
    // What the tests change is put back afterwards.
    mobiles_ = db_->query(u"SELECT FItemID, FMobilePhone FROM t_Emp");
    bindings_ = db_->query(u"SELECT FUserID, FEmpID FROM t_User");
    lastAudit_ = db_->scalar(u"SELECT IFNULL(MAX(FID),0) FROM dh_AuditLog").toI4();
    lastJournal_ = db_->scalar(u"SELECT IFNULL(MAX(FSeq),0) FROM dh_Journal").toI4();
  }
  void TearDown() override {
    if (!db_) return;
    db_->execute(u"DELETE FROM dh_Switch");
    for (auto& row : mobiles_.rows)
      db_->execute(u"UPDATE t_Emp SET FMobilePhone=? WHERE FItemID=?", {row[1], row[0]});
    for (auto& row : bindings_.rows) db_->execute(u"UPDATE t_User SET FEmpID=? WHERE FUserID=?", {row[1], row[0]});
  }

  ustring signIn(const ustring& user) {
    return com::createByProgId(u"PropsMgr.ShareProps")->call(u"SignIn", {user, language()}).toString();
  }
  // Runs a command with the driver's steps running inside its loops.
  void command(const ustring& member, Driver& driver) {
    com::createByProgId(u"LumoSmsManager.clsSmsManager")->call(member, {});
    lumo::test::pumpFor(100);
    EXPECT_EQ(driver.timedOut(), "") << "the driver gave up waiting for " << driver.timedOut();
    EXPECT_TRUE(driver.finished()) << "still waiting for " << driver.waitingFor();
  }
  Variant mobileOf(int32_t emp) { return db_->scalar(u"SELECT FMobilePhone FROM t_Emp WHERE FItemID=?", {emp}); }
  // The calls a component received since the test began: "Method(arguments)".
  std::vector<ustring> journal(const ustring& component) {
    std::vector<ustring> out;
    for (auto& row : db_->query(u"SELECT FMethod, IFNULL(FArguments,'') FROM dh_Journal WHERE FSeq>? AND "
                                u"FComponent=? ORDER BY FSeq",
                                {Variant(lastJournal_), component})
                         .rows)
      out.push_back(row[0].toString() + u"(" + row[1].toString() + u")");
    return out;
  }
  std::vector<std::pair<int32_t, ustring>> audit(const ustring& func) {
    std::vector<std::pair<int32_t, ustring>> out;
    for (auto& row : db_->query(u"SELECT FStatement, IFNULL(FDesc,'') FROM dh_AuditLog WHERE FID>? AND FFuncID=? "
                                u"ORDER BY FID",
                                {Variant(lastAudit_), func})
                         .rows)
      out.emplace_back(row[0].toI4(), row[1].toString());
    return out;
  }

  static std::unique_ptr<RegisteredServers> servers_;
  std::unique_ptr<odbc::Connection> db_;
  odbc::Result mobiles_, bindings_;
  int32_t lastAudit_ = 0, lastJournal_ = 0;
};
std::unique_ptr<RegisteredServers> MobileWindow::servers_;

// ---- the personal number dialog ---------------------------------------------------------------

using namespace set_user_mobile;

HWND userMobileDialog() { return dialogWith(idMobile); }

TEST_F(MobileWindow, OwnNumberIsChangedAndSavedFiltersKeysAndClosesWithoutQuestion) {
  signIn(u"王建国");
  Driver d;
  struct Seen {
    ustring title, user, emp, mobile, afterFilter;
    bool okAtLoad = true, okAfterFilter = true, okAfterEdit = false;
  } seen;
  d.then("the dialog", [&] {
    HWND w = userMobileDialog();
    if (!w) return false;
    seen.title = windowText(w);
    seen.user = windowText(GetDlgItem(w, idUserName));
    seen.emp = windowText(GetDlgItem(w, idEmp));
    seen.mobile = windowText(GetDlgItem(w, idMobile));
    seen.okAtLoad = IsWindowEnabled(GetDlgItem(w, IDOK));
    saveShot(w, u"set-user-mobile");
    HWND box = GetDlgItem(w, idMobile);
    SendMessageW(box, EM_SETSEL, 11, 11);
    typeChars(box, u"a+");
    seen.afterFilter = windowText(box);
    seen.okAfterFilter = IsWindowEnabled(GetDlgItem(w, IDOK));
    SendMessageW(box, EM_SETSEL, 0, -1);
    typeChars(box, u"13912345678");
    seen.okAfterEdit = IsWindowEnabled(GetDlgItem(w, IDOK));
    click(w, IDOK);
    return true;
  });
  command(u"SetUserMobile", d);
  EXPECT_EQ(userMobileDialog(), nullptr);
  EXPECT_EQ(seen.title, language() == u"chs" ? u"修改个人手机信息" : u"Change Personal Mobile Information");
  EXPECT_EQ(seen.user, u"王建国");
  EXPECT_EQ(seen.emp, u"王建国");
  EXPECT_EQ(seen.mobile, u"13901010001");
  EXPECT_FALSE(seen.okAtLoad);
  EXPECT_EQ(seen.afterFilter, u"13901010001");
  EXPECT_FALSE(seen.okAfterFilter);
  EXPECT_TRUE(seen.okAfterEdit);
  EXPECT_TRUE(d.strayBoxes().empty()) << u8(d.strayBoxes().front());
  EXPECT_EQ(mobileOf(1001), Variant(u"13912345678"));
  const auto calls = journal(u"OxaGLItem.ItemUpdate");
  ASSERT_EQ(calls.size(), 1u);
  EXPECT_EQ(calls[0].substr(0, 17), u"UpdateUserMobile(");
  EXPECT_TRUE(audit(u"SMS00108").empty());
}

TEST_F(MobileWindow, ClosingWithAnEditAsksCancelKeepsTheDialogYesSaves) {
  signIn(u"王建国");
  Driver d;
  Texts boxes;
  bool openAfterCancel = false;
  d.then("the dialog", [&] {
    HWND w = userMobileDialog();
    if (!w) return false;
    HWND box = GetDlgItem(w, idMobile);
    SendMessageW(box, EM_SETSEL, 0, -1);
    typeChars(box, u"13566667777");
    PostMessageW(w, WM_CLOSE, 0, 0);
    return true;
  });
  d.thenAnswerBox(IDCANCEL, &boxes);
  d.then("the dialog after Cancel", [&] {
    HWND w = userMobileDialog();
    if (!w || Driver::findBox()) return false;
    openAfterCancel = true;
    click(w, IDCANCEL);
    return true;
  });
  d.thenAnswerBox(IDYES, &boxes);
  command(u"SetUserMobile", d);
  EXPECT_TRUE(openAfterCancel);
  EXPECT_EQ(boxes, (Texts{u"手机号码已被修改，是否保存？", u"手机号码已被修改，是否保存？"}));
  EXPECT_EQ(userMobileDialog(), nullptr);
  EXPECT_EQ(mobileOf(1001), Variant(u"13566667777"));
}

TEST_F(MobileWindow, AFailingSaveIsReportedOnceAndTheDialogStaysOpenAndModified) {
  signIn(u"王建国");
  Driver d;
  Texts boxes;
  ustring kept;
  bool okStill = false;
  d.then("the dialog", [&] {
    HWND w = userMobileDialog();
    if (!w) return false;
    HWND box = GetDlgItem(w, idMobile);
    SendMessageW(box, EM_SETSEL, 0, -1);
    typeChars(box, u"13901010002");  // 李秀英's number: the host refuses it
    click(w, IDOK);
    return true;
  });
  d.thenAnswerBox(IDOK, &boxes);
  d.then("the dialog after the error", [&] {
    HWND w = userMobileDialog();
    if (!w || Driver::findBox()) return false;
    lumo::test::pumpFor(200);
    if (Driver::findBox()) return false;
    kept = windowText(GetDlgItem(w, idMobile));
    okStill = IsWindowEnabled(GetDlgItem(w, IDOK));
    PostMessageW(w, WM_CLOSE, 0, 0);
    return true;
  });
  d.thenAnswerBox(IDNO, &boxes);
  command(u"SetUserMobile", d);
  ASSERT_EQ(boxes.size(), 2u);
  EXPECT_EQ(boxes[0], u"手机号码[13901010002]已被职员[李秀英]使用");
  EXPECT_EQ(boxes[1], u"手机号码已被修改，是否保存？");
  EXPECT_EQ(kept, u"13901010002");
  EXPECT_TRUE(okStill);
  EXPECT_TRUE(d.strayBoxes().empty());
  EXPECT_EQ(mobileOf(1001), Variant(u"13901010001"));
}

TEST_F(MobileWindow, AUserWithoutEmployeeIsRefusedWithoutDialog) {
  signIn(u"临时用户");
  Driver d;
  Texts boxes;
  d.thenAnswerBox(IDOK, &boxes);
  command(u"SetUserMobile", d);
  EXPECT_EQ(boxes, Texts{u"该用户没有关联职员，不能修改个人手机号码"});
}

}  // namespace
}  // namespace lumo::win32
