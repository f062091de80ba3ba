// The user-employee-mobile table under Wine against a raw baseline in the same
// run, at a half-size and a full-size database (16,384 users):
//   (a) start: SetAllMobile called as the host calls it until the window shows a
//       full grid, against the same query on one held ODBC connection read into
//       memory and shown in a bare owner-data list view;
//   (b) one edit: a number typed into a row and committed, copied to the rows of
//       its employee (found through the window's index), against the same row
//       updated in the bare list through a map and redrawn; and, for scale, a
//       walk over every row comparing employee ids (what the index saves).
// Prints a table of best-of-N times with the ratios and the full/half growth.
#include <windows.h>
#include <commctrl.h>
#include <ole2.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "automation/win/bridge.h"
#include "automation/win/wide.h"
#include "devhost/components/hostdb.h"
#include "devhost/components/odbc.h"
#include "devhost/components/sql_dialect.h"
#include "mobile/win/windows.h"
#include "tests/mobile/driver.h"
#include "tests/support/win/pump.h"
#include "tests/support/win/server_dll.h"
#include "win32/edit_grid.h"

namespace {

using namespace lumo;
namespace odbc = lumo::devhost::odbc;
using lumo::test::Driver;
using lumo::test::nowMs;

[[noreturn]] void fail(const std::string& what) {
  std::fprintf(stderr, "mobile_window_bench: %s\n", what.c_str());
  std::exit(1);
}

const ustring kSql =
    u"Select a.FName,a.FEmpID,b.FName as EmpName,b.FMobilePhone From t_User a Left join t_Emp b On "
    u"a.FEmpID=b.FItemID Where a.FUserID Between 16384 And 32767And a.FForbidden=0 Order By a.FUserID";

struct Best {
  double v = 1e300;
  void take(double x) { v = std::min(v, x); }
};

struct Figures {
  std::size_t rows = 0;
  Best startWindow, startRaw, editWindow, editRaw, editWalk, hostPath;
};

// ---- the raw baseline: a bare owner-data list view over rows read once ---------------------

struct RawRow {
  std::wstring user, emp, mobile, empId;
};
std::vector<RawRow>* g_rows = nullptr;

LRESULT CALLBACK plainProc(HWND h, UINT msg, WPARAM wp, LPARAM lp) {
  if (msg == WM_NOTIFY) {
    auto* di = reinterpret_cast<NMLVDISPINFOW*>(lp);
    if (di->hdr.code == LVN_GETDISPINFOW && g_rows && (di->item.mask & LVIF_TEXT)) {
      const RawRow& r = (*g_rows)[static_cast<std::size_t>(di->item.iItem)];
      const std::wstring& s = di->item.iSubItem == 0 ? r.user : di->item.iSubItem == 1 ? r.emp : r.mobile;
      lstrcpynW(di->item.pszText, s.c_str(), di->item.cchTextMax);
      return 0;
    }
  }
  return DefWindowProcW(h, msg, wp, lp);
}

class SizeRun {
 public:
  SizeRun(std::string path, int rounds) : path_(std::move(path)), rounds_(rounds) {}

  Figures run() {
    const ustring path = fromUtf8(path_);
    SetEnvironmentVariableW(L"LUMO_DEVHOST_DB", wz(path));
    db_ = std::make_unique<odbc::Connection>(devhost::connectStringFor(path));
    db_->execute(u"DELETE FROM dh_Switch");
    props_ = com::createByProgId(u"PropsMgr.ShareProps")
                 ->call(u"SignIn", {ustring(u"administrator"), ustring(u"chs")})
                 .toString();
    f_.rows = static_cast<std::size_t>(
        db_->scalar(u"SELECT COUNT(*) FROM t_User WHERE FUserID BETWEEN 16384 AND 32767 AND FForbidden=0").toI4());
    for (int round = 0; round < rounds_; ++round) {
      std::fprintf(stderr, "  %s: round %d of %d\n", path_.c_str(), round + 1, rounds_);
      windowRound();
      rawRound();
      hostPathRound();
    }
    return f_;
  }

 private:
  void windowRound() {
    Driver d;
    double start = 0, shown = 0, edited = 0;
    HWND w = nullptr, grid = nullptr;
    d.then("the full grid", [&] {
      w = nullptr;
      EnumThreadWindows(
          GetCurrentThreadId(),
          [](HWND h, LPARAM p) {
            if (IsWindowVisible(h) && GetDlgItem(h, win32::mobile_manager::idGrid)) {
              *reinterpret_cast<HWND*>(p) = h;
              return FALSE;
            }
            return TRUE;
          },
          reinterpret_cast<LPARAM>(&w));
      if (!w) return false;
      grid = GetDlgItem(w, win32::mobile_manager::idGrid);
      if (static_cast<std::size_t>(SendMessageW(grid, win32::kQueryRows, 0, 0)) != f_.rows) return false;
      UpdateWindow(w);
      shown = nowMs();
      // A bound row in the middle of the table, reached through the find box.
      int32_t row = static_cast<int32_t>(f_.rows / 2);
      for (;; ++row) {
        win32::GridCellQuery q;
        q.row = row;
        q.col = 4;
        if (!SendMessageW(grid, win32::kQueryCell, 0, reinterpret_cast<LPARAM>(&q))) fail("no bound row");
        if (q.text[0]) break;
      }
      win32::GridCellQuery name;
      name.row = row;
      name.col = 1;
      SendMessageW(grid, win32::kQueryCell, 0, reinterpret_cast<LPARAM>(&name));
      HWND find = GetDlgItem(w, 1221);
      SetWindowTextW(find, name.text);
      SetFocus(find);
      PostMessageW(find, WM_KEYDOWN, VK_RETURN, 1);
      return true;
    });
    d.then("the row found", [&] {
      if (++ticks_ < 2) return false;
      ticks_ = 0;
      SetFocus(grid);
      SendMessageW(grid, WM_KEYDOWN, VK_RIGHT, 1);
      SendMessageW(grid, WM_KEYDOWN, VK_RIGHT, 1);
      const double e0 = nowMs();
      SendMessageW(grid, WM_CHAR, L'1', 1);
      HWND edit = FindWindowExW(grid, nullptr, L"EDIT", nullptr);
      for (const wchar_t* c = L"3900000000"; *c; ++c) SendMessageW(edit, WM_CHAR, *c, 1);
      SendMessageW(edit, WM_KEYDOWN, VK_RETURN, 1);
      UpdateWindow(grid);
      edited = nowMs() - e0;
      PostMessageW(w, WM_COMMAND, win32::mobile_manager::idExit, 0);
      return true;
    });
    d.thenAnswerBox(IDNO);
    start = nowMs();
    com::createByProgId(u"LumoSmsManager.clsSmsManager")->call(u"SetAllMobile", {});
    if (!d.finished() || !d.timedOut().empty()) fail("the window round did not finish: " + d.waitingFor());
    f_.startWindow.take(shown - start);
    f_.editWindow.take(edited);
  }

  // The part of the start the host's path costs: the query through GetData, its
  // recordset read late-bound field by field (what the window reads), no window.
  void hostPathRound() {
    const double t0 = nowMs();
    ObjectPtr rs = com::createByProgId(u"LumoMSmsManager.clsBillUseInfo")->call(u"GetData", {props_, kSql}).toObject();
    ObjectPtr fields = rs->get(u"Fields").toObject();
    ObjectPtr f[4];
    const char16_t* names[4] = {u"FName", u"FEmpID", u"EmpName", u"FMobilePhone"};
    for (int i = 0; i < 4; ++i) f[i] = fields->get(u"Item", {ustring(names[i])}).toObject();
    std::size_t n = 0;
    while (!rs->get(u"EOF").toBool()) {
      for (auto& x : f) x->get(u"Value");
      rs->call(u"MoveNext");
      ++n;
    }
    f_.hostPath.take(nowMs() - t0);
    if (n != f_.rows) fail("GetData read " + std::to_string(n) + " rows");
  }

  void rawRound() {
    const double t0 = nowMs();
    odbc::Result r = db_->query(devhost::adaptSqlForSqlite(kSql));
    std::vector<RawRow> rows;
    rows.reserve(r.rows.size());
    auto text = [](const Variant& v) { return v.isNull() ? std::wstring() : std::wstring(wz(v.toString())); };
    for (auto& x : r.rows) rows.push_back({text(x[0]), text(x[2]), text(x[3]), text(x[1])});
    g_rows = &rows;
    HWND top = CreateWindowExW(0, L"LumoMobileBenchPlain", L"raw", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0, 600, 520,
                               nullptr, nullptr, GetModuleHandleW(nullptr), nullptr);
    HWND list = CreateWindowExW(WS_EX_CLIENTEDGE, WC_LISTVIEWW, L"",
                                WS_CHILD | WS_VISIBLE | LVS_REPORT | LVS_OWNERDATA, 0, 0, 580, 480, top, nullptr,
                                GetModuleHandleW(nullptr), nullptr);
    for (int c = 0; c < 3; ++c) {
      LVCOLUMNW col{};
      col.mask = LVCF_WIDTH;
      col.cx = 150;
      ListView_InsertColumn(list, c, &col);
    }
    ListView_SetItemCountEx(list, static_cast<int>(rows.size()), 0);
    UpdateWindow(top);
    f_.startRaw.take(nowMs() - t0);

    // One edit: the employee's rows through a map, the list told and redrawn.
    std::unordered_map<std::wstring, std::vector<int>> byEmp;
    for (int i = 0; i < static_cast<int>(rows.size()); ++i)
      if (!rows[static_cast<std::size_t>(i)].empId.empty()) byEmp[rows[static_cast<std::size_t>(i)].empId].push_back(i);
    const std::size_t mid = rows.size() / 2;
    std::size_t at = mid;
    while (at < rows.size() && rows[at].empId.empty()) ++at;
    if (at == rows.size()) fail("no bound row (raw)");
    ListView_EnsureVisible(list, static_cast<int>(at), FALSE);
    UpdateWindow(list);
    const double e0 = nowMs();
    for (int i : byEmp[rows[at].empId]) {
      rows[static_cast<std::size_t>(i)].mobile = L"13900000000";
      ListView_RedrawItems(list, i, i);
    }
    UpdateWindow(list);
    f_.editRaw.take(nowMs() - e0);
    // The walk an index saves.
    const double w0 = nowMs();
    int found = 0;
    for (const RawRow& x : rows) found += x.empId == rows[at].empId ? 1 : 0;
    f_.editWalk.take(nowMs() - w0);
    if (found == 0) fail("walk found nothing");
    DestroyWindow(top);
    g_rows = nullptr;
    lumo::test::pumpFor(50);
  }

  std::string path_;
  int rounds_;
  Figures f_;
  std::unique_ptr<odbc::Connection> db_;
  ustring props_;
  int ticks_ = 0;
};

void row(const char* measure, const char* size, double window, double raw) {
  std::printf("%-24s %-5s %11.1f %11.2f %9.2fx\n", measure, size, window, raw, window / raw);
}

}  // namespace

int main(int argc, char** argv) {
  std::string half, full;
  int rounds = 3;
  for (int i = 1; i < argc; ++i) {
    const std::string a = argv[i];
    auto value = [&]() -> std::string {
      if (i + 1 >= argc) fail("missing value after " + a);
      return argv[++i];
    };
    if (a == "--half") half = value();
    else if (a == "--full") full = value();
    else if (a == "--rounds") rounds = std::max(1, std::atoi(value().c_str()));
    else fail("usage: mobile_window_bench --half DB --full DB [--rounds N]");
  }
  if (half.empty() || full.empty()) fail("usage: mobile_window_bench --half DB --full DB [--rounds N]");
  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  INITCOMMONCONTROLSEX icc{sizeof icc, ICC_WIN95_CLASSES};
  InitCommonControlsEx(&icc);
  WNDCLASSW wc{};
  wc.lpfnWndProc = plainProc;
  wc.hInstance = GetModuleHandleW(nullptr);
  wc.lpszClassName = L"LumoMobileBenchPlain";
  wc.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_WINDOW + 1);
  RegisterClassW(&wc);
  auto servers = std::make_unique<lumo::test::RegisteredServers>(
      std::initializer_list<const char*>{LUMO_DEVHOST_DLL, LUMO_SMS_DLL});
  if (!servers->failure().empty()) fail(servers->failure());

  Figures h, f;
  try {
    h = SizeRun(half, rounds).run();
    f = SizeRun(full, rounds).run();
  } catch (const Error& e) {
    fail("error " + std::to_string(e.number()) + ": " + toUtf8(e.description()));
  }
  std::printf("user-employee-mobile table under Wine, best of %d rounds; rows: half %zu, full %zu\n\n", rounds,
              h.rows, f.rows);
  std::printf("%-24s %-5s %11s %11s %10s\n", "measure", "size", "window ms", "raw ms", "ratio");
  row("(a) start to full grid", "half", h.startWindow.v, h.startRaw.v);
  row("(a) start to full grid", "full", f.startWindow.v, f.startRaw.v);
  row("(b) one edit", "half", h.editWindow.v, h.editRaw.v);
  row("(b) one edit", "full", f.editWindow.v, f.editRaw.v);
  std::printf("\nraw: (a) the same SQL on one held ODBC connection, rows in memory, bare owner-data list view;\n"
              "     (b) the row's employee found through a map, the list view's rows redrawn\n");
  std::printf("the host's path alone (GetData, the recordset read late-bound, no window): %.1f / %.1f ms\n",
              h.hostPath.v, f.hostPath.v);
  std::printf("a walk over every row comparing employee ids (what the index saves): %.3f / %.3f ms\n",
              h.editWalk.v, f.editWalk.v);
  std::printf("\nfull / half growth:\n  %-30s %6.2fx\n  %-30s %6.2fx\n  %-30s %6.2fx\n", "start (window)",
              f.startWindow.v / h.startWindow.v, "start (raw)", f.startRaw.v / h.startRaw.v, "one edit (window)",
              f.editWindow.v / h.editWindow.v);
  servers.reset();
  CoUninitialize();
  return 0;
}
