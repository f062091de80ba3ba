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
#include "display/win/windows.h"
#include "win32/controls.h"
#include "win32/edit_grid.h"

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

// ---- the user-employee-mobile table -------------------------------------------------------------

HWND tableWindow() { return dialogWith(mobile_manager::idGrid); }
HWND gridOf(HWND w) { return GetDlgItem(w, mobile_manager::idGrid); }

GridCellQuery cell(HWND grid, int32_t row, int32_t col) {
  GridCellQuery q;
  q.row = row;
  q.col = col;
  SendMessageW(grid, kQueryCell, 0, reinterpret_cast<LPARAM>(&q));
  return q;
}
ustring cellText(HWND grid, int32_t row, int32_t col) { return u16(cell(grid, row, col).text); }
int32_t gridRows(HWND grid) { return static_cast<int32_t>(SendMessageW(grid, kQueryRows, 0, 0)); }
int32_t rowOf(HWND grid, const ustring& user) {
  for (int32_t r = 1; r <= gridRows(grid); ++r)
    if (cellText(grid, r, 1) == user) return r;
  return 0;
}
// The text of the grid's tool tip over a cell, after the mouse moved there
// (the tool tip is made on the first move); "" without one.
ustring tipOver(HWND grid, int32_t row, int32_t col) {
  const RECT at = cell(grid, row, col).rect;
  SendMessageW(grid, WM_MOUSEMOVE, 0, MAKELPARAM((at.left + at.right) / 2, (at.top + at.bottom) / 2));
  for (HWND tip : lumo::test::threadWindowsOfClass(TOOLTIPS_CLASSW)) {
    // A pop-up made over a child is owned by the child's window.
    if (GetWindow(tip, GW_OWNER) != GetAncestor(grid, GA_ROOT) || SendMessageW(tip, TTM_GETTOOLCOUNT, 0, 0) != 1)
      continue;
    wchar_t text[256] = L"";
    TTTOOLINFOW ti{};
    ti.cbSize = sizeof ti;
    ti.hwnd = grid;
    ti.uId = reinterpret_cast<UINT_PTR>(grid);
    ti.lpszText = text;
    SendMessageW(tip, TTM_GETTEXTW, 256, reinterpret_cast<LPARAM>(&ti));
    return u16(text);
  }
  return {};
}

// A click in the middle of a cell in sight.
void clickCell(HWND grid, int32_t row, int32_t col) {
  const RECT r = cell(grid, row, col).rect;
  const LPARAM at = MAKELPARAM((r.left + r.right) / 2, (r.top + r.bottom) / 2);
  PostMessageW(grid, WM_LBUTTONDOWN, MK_LBUTTON, at);
  PostMessageW(grid, WM_LBUTTONUP, 0, at);
}
// Finds a user through the find box (Enter runs it), so that the row is in sight.
void findUser(HWND w, const ustring& name) {
  HWND box = GetDlgItem(w, 1221);
  setWindowText(box, name);
  SetFocus(box);
  PostMessageW(box, WM_KEYDOWN, VK_RETURN, 1);
}
// Types into the active cell as a user does: the first character opens the
// edit box, the rest go into it, Enter commits.
void typeIntoGrid(HWND grid, const ustring& text) {
  SetFocus(grid);
  SendMessageW(grid, WM_CHAR, static_cast<WPARAM>(text[0]), 1);
  HWND edit = FindWindowExW(grid, nullptr, L"EDIT", nullptr);
  typeChars(edit, text.substr(1));
  SendMessageW(edit, WM_KEYDOWN, VK_RETURN, 1);
}
HWND picker() {
  HWND w = FindWindowW(L"LumoDevHostPicker", nullptr);
  return w && IsWindowVisible(w) ? w : nullptr;
}

TEST_F(MobileWindow, TableBindsThroughThePickerCopiesEditsCutsToElevenAndListsTheRefusedNumber) {
  signIn(u"王建国");
  const int32_t listed = db_->scalar(u"SELECT COUNT(*) FROM t_User WHERE FUserID BETWEEN 16384 AND 32767 AND "
                                     u"FForbidden=0").toI4();
  Driver d;
  struct Seen {
    int32_t rows = 0;
    GridCellQuery unbound;
    ustring boundEmp, boundMobile, first, second, liXiuYing;
    bool conflictMarked = false;
    ustring conflictTip, failure;
  } seen;
  HWND w = nullptr, grid = nullptr;
  d.then("the table", [&] {
    w = tableWindow();
    if (!w) return false;
    grid = gridOf(w);
    seen.rows = gridRows(grid);
    saveShot(w, u"mobile-manager");
    findUser(w, u"临时用户");
    return true;
  });
  d.then("the unbound user in sight", [&] {
    const int32_t r = rowOf(grid, u"临时用户");
    if (r == 0) return false;
    const RECT at = cell(grid, r, 2).rect;
    if (IsRectEmpty(&at)) return false;
    seen.unbound = cell(grid, r, 3);
    clickCell(grid, r, 2);
    return true;
  });
  d.then("the picker", [&] {
    HWND p = picker();
    if (!p) return false;
    HWND search = GetDlgItem(p, 102);
    setWindowText(search, u"钱进");
    lumo::test::pumpFor(100);
    HWND list = GetDlgItem(p, 103);
    if (ListView_GetItemCount(list) != 1) return false;
    ListView_SetItemState(list, 0, LVIS_SELECTED | LVIS_FOCUSED, LVIS_SELECTED | LVIS_FOCUSED);
    saveShot(p, u"picker");
    click(p, IDOK);
    return true;
  });
  d.then("the bound row", [&] {
    if (picker()) return false;
    const int32_t r = rowOf(grid, u"临时用户");
    seen.boundEmp = cellText(grid, r, 2);
    seen.boundMobile = cellText(grid, r, 3);
    if (seen.boundEmp.empty()) return false;
    // 王建国's first row: twelve characters typed.
    SendMessageW(grid, WM_KEYDOWN, VK_HOME, 1);
    findUser(w, u"王建国");
    return true;
  });
  d.thenDo("an edit of a shared employee", [&] {
    SendMessageW(grid, WM_KEYDOWN, VK_RIGHT, 1);
    SendMessageW(grid, WM_KEYDOWN, VK_RIGHT, 1);
    typeIntoGrid(grid, u"139000000011");
    seen.first = cellText(grid, rowOf(grid, u"王建国"), 3);
    seen.second = cellText(grid, rowOf(grid, u"王建国(备)"), 3);
    findUser(w, u"李秀英");
  });
  d.thenDo("a conflicting number", [&] {
    SendMessageW(grid, WM_KEYDOWN, VK_RIGHT, 1);
    SendMessageW(grid, WM_KEYDOWN, VK_RIGHT, 1);
    typeIntoGrid(grid, u"13501080022");  // 梁宇 (and 钱进) hold it
    const int32_t r = rowOf(grid, u"李秀英");
    seen.liXiuYing = cellText(grid, r, 3);
    seen.conflictMarked = cell(grid, r, 3).marked;
    seen.conflictTip = tipOver(grid, r, 3);
    click(w, mobile_manager::idSave);
  });
  d.then("the list of refused numbers", [&] {
    std::vector<HWND> lists = lumo::test::threadWindowsOfClass(displayer::kClass);
    if (lists.empty()) return false;
    HWND list = lumo::test::childOfClass(lists[0], WC_LISTVIEWW);
    if (!list || ListView_GetItemCount(list) != 1) return false;
    wchar_t line[256] = L"";
    ListView_GetItemText(list, 0, 1, line, 256);  // the only refused edit, under the title line
    seen.failure = u16(line);
    PostMessageW(lists[0], WM_CLOSE, 0, 0);
    click(w, mobile_manager::idExit);
    return true;
  });
  command(u"SetAllMobile", d);
  EXPECT_TRUE(d.strayBoxes().empty()) << u8(d.strayBoxes().front());
  EXPECT_EQ(seen.rows, listed);
  EXPECT_TRUE(seen.unbound.locked);
  EXPECT_EQ(seen.unbound.back, RGB(241, 241, 241));
  EXPECT_EQ(seen.boundEmp, u"钱进");
  EXPECT_EQ(seen.boundMobile, u"13501080022");
  EXPECT_EQ(db_->scalar(u"SELECT FEmpID FROM t_User WHERE FUserID=16398"), Variant(int32_t(1044)));
  EXPECT_EQ(seen.first, u"13900000001");
  EXPECT_EQ(seen.second, u"13900000001");
  EXPECT_EQ(seen.liXiuYing, u"13501080022");
  EXPECT_TRUE(seen.conflictMarked);
  EXPECT_EQ(seen.conflictTip, u"该号码也属于职员:梁宇,钱进");
  EXPECT_EQ(seen.failure, u"职员:[李秀英]手机号码保存失败,已有职员存在手机号码[13501080022]");
  EXPECT_EQ(mobileOf(1001), Variant(u"13900000001"));
  EXPECT_EQ(mobileOf(1002), Variant(u"13901010002"));
  const auto log = audit(u"SMS00108");
  ASSERT_EQ(log.size(), 3u);
  EXPECT_EQ(log[0], std::make_pair(1, ustring()));
  EXPECT_EQ(log[1], std::make_pair(5, ustring(u"用户:[临时用户]关联职员:[钱进]")));
  EXPECT_EQ(log[2], std::make_pair(3, ustring()));
  EXPECT_EQ(tableWindow(), nullptr);
}

TEST_F(MobileWindow, AUserWithoutTheRightGetsTheTableButCannotBind) {
  signIn(u"杨洋");
  Driver d;
  Texts boxes;
  ustring before, after;
  HWND w = nullptr, grid = nullptr;
  d.then("the table", [&] {
    w = tableWindow();
    if (!w) return false;
    grid = gridOf(w);
    before = cellText(grid, 1, 2);
    clickCell(grid, 1, 2);
    return true;
  });
  d.thenAnswerBox(IDOK, &boxes);
  d.thenDo("leaving", [&] {
    after = cellText(grid, 1, 2);
    click(w, mobile_manager::idExit);
  });
  command(u"SetAllMobile", d);
  EXPECT_EQ(boxes, Texts{u"当前用户没有权限进行用户管理"});
  EXPECT_EQ(before, after);
  EXPECT_EQ(picker(), nullptr);
  EXPECT_TRUE(journal(u"OxcGLView.GLView").empty());
}

// The table and the picker as they look, in the session's language.
TEST_F(MobileWindow, TableAndPickerPictures) {
  signIn(u"王建国");
  Driver d;
  HWND w = nullptr;
  d.then("the table", [&] {
    w = tableWindow();
    if (!w) return false;
    saveShot(w, u"mobile-manager");
    clickCell(gridOf(w), 2, 2);
    return true;
  });
  d.then("the picker", [&] {
    HWND p = picker();
    if (!p) return false;
    saveShot(p, u"picker");
    click(p, IDCANCEL);
    return true;
  });
  d.then("leaving", [&] {
    if (picker()) return false;
    click(w, mobile_manager::idExit);
    return true;
  });
  command(u"SetAllMobile", d);
  EXPECT_TRUE(d.strayBoxes().empty());
}

}  // namespace
}  // namespace lumo::win32
