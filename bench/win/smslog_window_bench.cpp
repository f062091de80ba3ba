// The SMS log window on a large history: a filtered query of about 100,000
// receivers (the last three days of the month), from the filter's OK until the
// list shows its rows and has painted, and the End key on the list; at a half- and
// a full-size history. Next to it, in the same run, the raw baseline: the same SQL
// with the same values on one held ODBC connection, its rows in a bare owner-data
// list view, shown and scrolled the same way.
//
//   smslog_window_bench --half DB --full DB [--rounds N]
//
// ok     : IDOK in the filter until the log window has the rows and is painted
// scroll : the End key on the list, until painted; the last row must be on screen
// Each figure is the best of N rounds.
#include <windows.h>
#include <commctrl.h>
#include <oleauto.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "automation/win/bridge.h"
#include "automation/win/wide.h"
#include "devhost/components/gateway_log.h"
#include "devhost/components/hostdb.h"
#include "devhost/components/odbc.h"
#include "smslog/win/filter_ids.h"
#include "tests/smslog/log_windows.h"
#include "smslog/win/windows.h"
#include "tests/support/win/pump.h"
#include "tests/support/win/script.h"
#include "tests/support/win/server_dll.h"
#include "tests/support/win/windows.h"

namespace {

using namespace lumo;
using lumo::test::nowMs;
namespace odbc = lumo::devhost::odbc;

[[noreturn]] void fail(const std::string& what) {
  std::fprintf(stderr, "smslog_window_bench: %s\n", what.c_str());
  std::exit(1);
}

void untilPainted(HWND top) {
  if (!lumo::test::untilPainted(top)) fail("the window never settled");
}

double endKey(HWND list, HWND top, int n) {
  const double start = nowMs();
  SendMessageW(list, WM_KEYDOWN, VK_END, 0);
  SendMessageW(list, WM_KEYUP, VK_END, 0);
  untilPainted(top);
  const double ms = nowMs() - start;
  const int first = ListView_GetTopIndex(list), perPage = ListView_GetCountPerPage(list);
  if (first + perPage < n || first >= n) fail("the list did not reach its last row");
  return ms;
}

SYSTEMTIME systemTime(double oleDate) {
  SYSTEMTIME st{};
  VariantTimeToSystemTime(oleDate, &st);
  return st;
}

struct Times {
  double ok = 1e300, scroll = 1e300;
  int rows = 0;
  void keep(double o, double s) {
    ok = std::min(ok, o);
    scroll = std::min(scroll, s);
  }
};

// ---- the bare list ------------------------------------------------------------------

struct RawList {
  const odbc::Result* rows = nullptr;
  std::wstring cell;
};

LRESULT CALLBACK rawProc(HWND h, UINT msg, WPARAM wp, LPARAM lp) {
  auto* self = reinterpret_cast<RawList*>(GetWindowLongPtrW(h, GWLP_USERDATA));
  if (msg == WM_NCCREATE) {
    self = static_cast<RawList*>(reinterpret_cast<CREATESTRUCTW*>(lp)->lpCreateParams);
    SetWindowLongPtrW(h, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(self));
  }
  if (msg == WM_NOTIFY && self) {
    auto* nm = reinterpret_cast<NMHDR*>(lp);
    if (nm->code == LVN_GETDISPINFOW) {
      auto* di = reinterpret_cast<NMLVDISPINFOW*>(nm);
      if (di->item.mask & LVIF_TEXT) {
        const Variant& v = self->rows->rows[static_cast<std::size_t>(di->item.iItem)][static_cast<std::size_t>(di->item.iSubItem)];
        const ustring t = v.isNull() ? ustring() : v.toString();
        self->cell.assign(reinterpret_cast<const wchar_t*>(t.data()), t.size());
        di->item.pszText = self->cell.data();
      }
      return 0;
    }
  }
  return DefWindowProcW(h, msg, wp, lp);
}

class SizeRun {
 public:
  SizeRun(std::string path, int rounds) : path_(std::move(path)), rounds_(rounds) {}

  Times window, raw;

  void run() {
    const ustring path = fromUtf8(path_);
    SetEnvironmentVariableW(L"LUMO_DEVHOST_DB", wz(path));
    com::createByProgId(u"PropsMgr.ShareProps")->call(u"SignIn", {ustring(u"administrator"), ustring(u"chs")});
    // The last three days of the month of history.
    auto db = devhost::HostDb::forPath(path);
    const ustring last = db->connection().scalar(u"SELECT MAX(FTime) FROM dh_Outbox").toString();
    int y = 0, mo = 0, d = 0, h = 0, mi = 0, s = 0;
    std::swscanf(reinterpret_cast<const wchar_t*>(last.c_str()), L"%d-%d-%d %d:%d:%d", &y, &mo, &d, &h, &mi, &s);
    SYSTEMTIME st{static_cast<WORD>(y), static_cast<WORD>(mo), 0, static_cast<WORD>(d), static_cast<WORD>(h),
                  static_cast<WORD>(mi), static_cast<WORD>(s), 0};
    SystemTimeToVariantTime(&st, &end_);
    start_ = end_ - 3.0;
    for (int r = 0; r < rounds_; ++r) {
      std::fprintf(stderr, "  %s: round %d of %d\n", path_.c_str(), r + 1, rounds_);
      rawRound(*db);
      windowRound();
    }
  }

 private:
  Args conditions() const {
    return {Variant(int16_t(-1)), Variant(ustring()), Variant(ustring()), Variant::date(start_), Variant::date(end_),
            Variant(false), Variant(ustring())};
  }

  void rawRound(devhost::HostDb& db) {
    const double t0 = nowMs();
    const devhost::LogSql q = devhost::logQuery(db, conditions());
    odbc::Result rows = db.connection().query(q.sql, q.params);
    RawList state{&rows, {}};
    HWND w = CreateWindowExW(0, L"LumoBenchRawLog", L"raw", WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN, CW_USEDEFAULT,
                             CW_USEDEFAULT, 900, 560, nullptr, nullptr, GetModuleHandleW(nullptr), &state);
    RECT client;
    GetClientRect(w, &client);
    HWND list = CreateWindowExW(WS_EX_CLIENTEDGE, WC_LISTVIEWW, nullptr,
                                WS_CHILD | WS_VISIBLE | LVS_REPORT | LVS_OWNERDATA | LVS_SHOWSELALWAYS, 0, 0,
                                client.right, client.bottom, w, nullptr, GetModuleHandleW(nullptr), nullptr);
    ListView_SetExtendedListViewStyle(list, LVS_EX_FULLROWSELECT | LVS_EX_GRIDLINES | LVS_EX_DOUBLEBUFFER);
    for (int c = 0; c < 8; ++c) {
      LVCOLUMNW lc{};
      lc.mask = LVCF_WIDTH | LVCF_FMT | LVCF_TEXT;
      lc.cx = 100;
      lc.pszText = const_cast<wchar_t*>(L"列");
      ListView_InsertColumn(list, c, &lc);
    }
    const int n = static_cast<int>(rows.rows.size());
    ListView_SetItemCountEx(list, n, LVSICF_NOINVALIDATEALL | LVSICF_NOSCROLL);
    ShowWindow(w, SW_SHOWNORMAL);
    UpdateWindow(w);
    untilPainted(w);
    const double ok = nowMs() - t0;
    raw.keep(ok, endKey(list, w, n));
    raw.rows = n;
    DestroyWindow(w);
    lumo::test::drain();
  }

  void windowRound() {
    HWND log = nullptr;
    double t0 = 0, ok = 0, scroll = 0;
    int n = 0;
    lumo::test::Script script(
        {
            [&] {
              HWND filter = lumo::test::findFilterDialog();
              if (!filter) return false;
              log = FindWindowW(win32::mobile_log::kClass, nullptr);
              CheckRadioButton(filter, IDC_FILTER_BYTIME, IDC_FILTER_ALLTIME, IDC_FILTER_BYTIME);
              SYSTEMTIME a = systemTime(start_), b = systemTime(end_);
              SendMessageW(GetDlgItem(filter, IDC_FILTER_START), DTM_SETSYSTEMTIME, GDT_VALID,
                           reinterpret_cast<LPARAM>(&a));
              SendMessageW(GetDlgItem(filter, IDC_FILTER_END), DTM_SETSYSTEMTIME, GDT_VALID,
                           reinterpret_cast<LPARAM>(&b));
              t0 = nowMs();
              SendMessageW(filter, WM_COMMAND, IDOK, 0);
              return true;
            },
            [&] {
              HWND list = GetDlgItem(log, win32::mobile_log::kListId);
              n = ListView_GetItemCount(list);
              if (n == 0) return false;
              untilPainted(log);
              ok = nowMs() - t0;
              scroll = endKey(list, log, n);
              PostMessageW(log, WM_CLOSE, 0, 0);
              return true;
            },
        },
        1, std::chrono::seconds(300));
    com::createByProgId(u"LumoSmsManager.clsSmsManager")->call(u"ShowSmsLog", {});
    if (!script.finished()) fail("the log window did not show its rows");
    window.keep(ok, scroll);
    window.rows = n;
  }

  std::string path_;
  int rounds_;
  double start_ = 0, end_ = 0;
};

void row(const char* name, const char* size, double w, double r) {
  std::printf("%-26s %-5s %11.1f %11.1f %9.2fx\n", name, size, w, r, w / r);
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
    else fail("usage: smslog_window_bench --half DB --full DB [--rounds N]");
  }
  if (half.empty() || full.empty()) fail("usage: smslog_window_bench --half DB --full DB [--rounds N]");

  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  INITCOMMONCONTROLSEX icc{sizeof icc, ICC_LISTVIEW_CLASSES | ICC_DATE_CLASSES | ICC_BAR_CLASSES};
  InitCommonControlsEx(&icc);
  WNDCLASSW wc{};
  wc.lpfnWndProc = rawProc;
  wc.hInstance = GetModuleHandleW(nullptr);
  wc.lpszClassName = L"LumoBenchRawLog";
  wc.hCursor = LoadCursorW(nullptr, MAKEINTRESOURCEW(32512));
  RegisterClassW(&wc);
  auto servers = std::make_unique<lumo::test::RegisteredServers>(
      std::initializer_list<const char*>{LUMO_DEVHOST_DLL, LUMO_SMS_DLL});
  if (!servers->failure().empty()) fail(servers->failure());

  SizeRun h(half, rounds), f(full, rounds);
  try {
    h.run();
    f.run();
  } catch (const Error& e) {
    fail("error " + std::to_string(e.number()) + ": " + toUtf8(e.description()));
  }
  std::printf("SMS log window under Wine, best of %d rounds; rows: half %d (raw %d), full %d (raw %d)\n\n", rounds,
              h.window.rows, h.raw.rows, f.window.rows, f.raw.rows);
  std::printf("%-26s %-5s %11s %11s %10s\n", "measure", "size", "window ms", "raw ms", "ratio");
  row("filter OK to painted list", "half", h.window.ok, h.raw.ok);
  row("filter OK to painted list", "full", f.window.ok, f.raw.ok);
  row("End key on the list", "half", h.window.scroll, h.raw.scroll);
  row("End key on the list", "full", f.window.scroll, f.raw.scroll);
  std::printf("\nfull / half: window %.2fx (raw %.2fx) for %.2fx the rows; End key %.2fx\n", f.window.ok / h.window.ok,
              f.raw.ok / h.raw.ok, static_cast<double>(f.window.rows) / std::max(1, h.window.rows),
              f.window.scroll / h.window.scroll);
  std::printf("raw: the same SQL and values on one held ODBC connection, a bare owner-data list view\n");
  return 0;
}
