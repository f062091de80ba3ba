// The service management window through its real controls, under Wine, on the
// development host's database at two sizes, each figure beside a raw baseline
// measured in the same run and the same process:
//
//   (a) start   clsSmsManager created by ProgID and SmsManager called late-bound,
//               until the window is up with its tree and list drawn (measured from
//               a timer in the window's own modal loop)
//               raw: the same middle-tier calls made directly (the start-up
//               cleaning, the use flag, the workflows, the groups, every bill type,
//               the workflows again, the count of users without a number, the
//               usage log), every value read, the nodes put into a bare tree view
//               and the rows into a bare owner-data list view, drawn
//   (b) switch  every row off beforehand (not timed); "select all" then "Start",
//               until the window and its result list are drawn
//               raw: the records built and handed to BillUseOperate and
//               BillOrnUseOperate, the list read again, the batch audit written,
//               the result lines put into the owner-data list view of a new bare
//               top-level window (the raw form of the result list window), drawn
//
//   notify_window_bench --half DB --full DB [--rounds N]
//
// DB: unix paths of databases written by lumo-dbgen. Needs an X display; run
// through bench/win/run-notify-bench.sh.
#include <windows.h>
#include <commctrl.h>
#include <ole2.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "automation/win/bridge.h"
#include "devhost/components/hostdb.h"
#include "devhost/components/odbc.h"
#include "notify/service_manager.h"
#include "notify/win/windows.h"
#include "tests/support/win/pump.h"
#include "tests/support/win/server_dll.h"
#include "win32/controls.h"

namespace {

using namespace lumo;
using namespace lumo::win32::sms_manager;
using lumo::wz;
using lumo::test::nowMs;
namespace odbc = lumo::devhost::odbc;

[[noreturn]] void fail(const std::string& what) {
  std::fprintf(stderr, "notify_window_bench: %s\n", what.c_str());
  std::fflush(stderr);
  std::exit(1);
}

void check(bool ok, const std::string& what) {
  if (!ok) fail(what);
}

void settle(HWND w) { check(lumo::test::untilPainted(w), "the window never settled"); }

struct Best {
  double v = 1e300;
  void take(double ms) { v = std::min(v, ms); }
};

// ---- the bare controls of the baseline ---------------------------------------------------------

using Row = std::array<ustring, 4>;

// A plain window with a tree view and an owner-data list view answering from rows.
class Bare {
 public:
  Bare() {
    static bool registered = false;
    if (!registered) {
      WNDCLASSW wc{};
      wc.lpfnWndProc = &Bare::proc;
      wc.hInstance = GetModuleHandleW(nullptr);
      wc.lpszClassName = L"NotifyBenchBare";
      wc.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_BTNFACE + 1);
      RegisterClassW(&wc);
      registered = true;
    }
    top_ = CreateWindowExW(0, L"NotifyBenchBare", L"bare", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0, 820, 540, nullptr,
                           nullptr, GetModuleHandleW(nullptr), this);
    tree_ = CreateWindowExW(WS_EX_CLIENTEDGE, WC_TREEVIEWW, L"", WS_CHILD | WS_VISIBLE | TVS_HASLINES, 0, 0, 240, 500,
                            top_, nullptr, nullptr, nullptr);
    list_ = CreateWindowExW(WS_EX_CLIENTEDGE, WC_LISTVIEWW, L"", WS_CHILD | WS_VISIBLE | LVS_REPORT | LVS_OWNERDATA,
                            250, 0, 560, 500, top_, nullptr, nullptr, nullptr);
    for (int c = 0; c < 4; ++c) {
      LVCOLUMNW lc{};
      lc.mask = LVCF_WIDTH;
      lc.cx = c < 2 ? 0 : 200;
      ListView_InsertColumn(list_, c, &lc);
    }
  }
  ~Bare() { DestroyWindow(top_); }
  HWND top() const { return top_; }
  HWND tree() const { return tree_; }
  void showRows(std::vector<Row> rows) {
    rows_ = std::move(rows);
    ListView_SetItemCountEx(list_, static_cast<int>(rows_.size()), 0);
    InvalidateRect(list_, nullptr, TRUE);
  }

 private:
  static LRESULT CALLBACK proc(HWND h, UINT m, WPARAM w, LPARAM l) {
    if (m == WM_NCCREATE)
      SetWindowLongPtrW(h, GWLP_USERDATA,
                        reinterpret_cast<LONG_PTR>(reinterpret_cast<CREATESTRUCTW*>(l)->lpCreateParams));
    auto* self = reinterpret_cast<Bare*>(GetWindowLongPtrW(h, GWLP_USERDATA));
    if (m == WM_NOTIFY && self) {
      auto* nm = reinterpret_cast<NMHDR*>(l);
      if (nm->hwndFrom == self->list_ && nm->code == LVN_GETDISPINFOW) {
        auto* di = reinterpret_cast<NMLVDISPINFOW*>(l);
        if ((di->item.mask & LVIF_TEXT) && di->item.iItem < static_cast<int>(self->rows_.size()))
          di->item.pszText = const_cast<wchar_t*>(
              wz(self->rows_[static_cast<std::size_t>(di->item.iItem)][static_cast<std::size_t>(di->item.iSubItem)]));
        return 0;
      }
    }
    return DefWindowProcW(h, m, w, l);
  }
  HWND top_ = nullptr, tree_ = nullptr, list_ = nullptr;
  std::vector<Row> rows_;
};

// ---- the middle tier, called directly ----------------------------------------------------------

const ustring kInfo = u"LumoMSmsManager.clsBillUseInfo";
const ustring kUpdate = u"LumoMSmsManager.clsBillUseUpdate";
const ustring kFlows = u"LumoMMobileMCSrv.CGetData";

Variant call(const ustring& progId, const ustring& member, Args args) {
  return com::createByProgId(progId)->call(member, std::move(args));
}

ustring text(const Variant& v) { return v.isNull() || v.isEmpty() ? ustring() : v.toString(); }
ustring yesNo(const Variant& v) {
  return !v.isNull() && !v.isEmpty() && v.toDouble() == 1 ? ustring(u"是") : ustring(u"否");
}

// Every row of a recordset: each field object asked for once, its value read per row.
void readRecordset(const ObjectPtr& rs, const std::vector<ustring>& names,
                   const std::function<void(std::vector<Variant>&)>& row) {
  ObjectPtr fields = rs->get(u"Fields").toObject();
  std::vector<ObjectPtr> f;
  for (const ustring& n : names) f.push_back(fields->get(u"Item", {n}).toObject());
  std::vector<Variant> values(names.size());
  while (!rs->get(u"EOF").toBool()) {
    for (std::size_t i = 0; i < f.size(); ++i) values[i] = f[i]->get(u"Value");
    row(values);
    rs->call(u"MoveNext");
  }
}

void readFlows(const ObjectPtr& flows,
               const std::function<void(const ustring&, const ustring&, const Variant&)>& each) {
  const int32_t n = flows->get(u"Count").toI4();
  for (int32_t i = 1; i <= n; ++i) {
    ObjectPtr r = flows->get(u"Item", {Variant(i)}).toObject();
    each(text(r->get(u"Item", {Variant(u"FID")})), text(r->get(u"Item", {Variant(u"FMCName")})),
         r->get(u"Item", {Variant(u"FIsMobileServiceRun")}));
  }
}

std::vector<Row> rawRows(const ustring& props) {
  std::vector<Row> rows;
  readRecordset(call(kInfo, u"GetBillUseInfo", {props, ustring()}).toObject(), {u"FID", u"FName", u"FIsRun"},
                [&](std::vector<Variant>& v) {
                  rows.push_back({u"Normal", text(v[0]), text(v[1]), yesNo(v[2])});
                });
  readFlows(call(kFlows, u"GetAllFlow", {props}).toObject(),
            [&](const ustring& id, const ustring& name, const Variant& run) {
              rows.push_back({u"ORN", id, name, yesNo(run)});
            });
  return rows;
}

// ---- one database size --------------------------------------------------------------------------

struct Figures {
  std::size_t rows = 0;
  Best startWindow, startRaw, switchWindow, switchRaw;
};

HWND serviceWindow() {
  HWND found = nullptr;
  EnumThreadWindows(
      GetCurrentThreadId(),
      [](HWND h, LPARAM p) -> BOOL {
        if (IsWindowVisible(h) && GetDlgItem(h, idTree) && GetDlgItem(h, idList) && GetDlgItem(h, idSep)) {
          *reinterpret_cast<HWND*>(p) = h;
          return FALSE;
        }
        return TRUE;
      },
      reinterpret_cast<LPARAM>(&found));
  return found;
}

std::vector<HWND> listWindows() {
  std::vector<HWND> out;
  EnumThreadWindows(
      GetCurrentThreadId(),
      [](HWND h, LPARAM p) -> BOOL {
        wchar_t cls[64] = L"";
        GetClassNameW(h, cls, 64);
        if (IsWindowVisible(h) && std::wstring(cls) == L"LumoDisplayer")
          reinterpret_cast<std::vector<HWND>*>(p)->push_back(h);
        return TRUE;
      },
      reinterpret_cast<LPARAM>(&out));
  return out;
}

// What runs inside the window's modal loop, from a timer.
std::function<void(HWND)>* g_inside = nullptr;
void CALLBACK tick(HWND, UINT, UINT_PTR id, DWORD) {
  HWND w = serviceWindow();
  if (!w || !g_inside) return;
  KillTimer(nullptr, id);
  auto inside = *g_inside;
  g_inside = nullptr;
  inside(w);
}

class SizeRun {
 public:
  SizeRun(const std::string& dbPath, int rounds) : path_(dbPath), rounds_(rounds) {}

  Figures run() {
    const ustring path = fromUtf8(path_);
    SetEnvironmentVariableW(L"LUMO_DEVHOST_DB", wz(path));
    db_ = std::make_unique<odbc::Connection>(devhost::connectStringFor(path));
    db_->execute(u"DELETE FROM dh_Switch");
    props_ = com::createByProgId(u"PropsMgr.ShareProps")
                 ->call(u"SignIn", {ustring(u"administrator"), ustring(u"chs")})
                 .toString();
    f_.rows = static_cast<std::size_t>(
        db_->scalar(u"SELECT (SELECT COUNT(*) FROM t_SMSBillUse)+(SELECT COUNT(*) FROM t_MobileFlow)").toI4());
    // One round of each, not counted: the first window and the first calls of a
    // process load code and classes that later rounds find ready.
    const Figures kept = f_;
    windowRound();
    rawRound();
    f_ = kept;
    for (int round = 0; round < rounds_; ++round) {
      std::fprintf(stderr, "  %s: round %d of %d\n", path_.c_str(), round + 1, rounds_);
      windowRound();
      rawRound();
    }
    return f_;
  }

 private:
  void allOff() {
    db_->execute(u"UPDATE t_SMSBillUse SET FIsRun=0");
    db_->execute(u"UPDATE t_MobileFlow SET FIsMobileServiceRun=0");
  }

  void windowRound() {
    allOff();
    double started = 0;
    std::function<void(HWND)> inside = [&](HWND w) {
      settle(w);
      f_.startWindow.take(nowMs() - started);
      HWND list = GetDlgItem(w, idList);
      check(ListView_GetItemCount(list) == static_cast<int>(f_.rows), "the window lists another number of rows");
      const double t0 = nowMs();
      SendMessageW(w, WM_COMMAND, MAKEWPARAM(kToolIdBase + 2, BN_CLICKED), 0);  // select all
      SendMessageW(w, WM_COMMAND, MAKEWPARAM(kToolIdBase + 0, BN_CLICKED), 0);  // Start
      const auto shown = listWindows();
      check(shown.size() == 1, "no result list");
      settle(shown[0]);
      settle(w);
      f_.switchWindow.take(nowMs() - t0);
      check(db_->scalar(u"SELECT COUNT(*) FROM t_SMSBillUse WHERE FIsRun=1").toI4() > 0, "nothing was switched");
      SendMessageW(shown[0], WM_CLOSE, 0, 0);
      PostMessageW(w, WM_CLOSE, 0, 0);
    };
    g_inside = &inside;
    SetTimer(nullptr, 0, USER_TIMER_MINIMUM, &tick);
    started = nowMs();
    com::createByProgId(u"LumoSmsManager.clsSmsManager")->call(u"SmsManager", {ustring()});
    check(g_inside == nullptr, "the window never came up");
  }

  void rawRound() {
    allOff();
    {
      const double t0 = nowMs();
      Bare bare;
      call(kUpdate, u"DeleteUserByFlowInSMSPrescirbe", {props_});
      call(kUpdate, u"IniUseFlag", {props_});
      useFlag_ = call(kInfo, u"GetUseFlag", {props_}).toBool();
      ObjectPtr flows = call(kFlows, u"GetAllFlow", {props_}).toObject();
      SendMessageW(bare.tree(), WM_SETREDRAW, FALSE, 0);
      TVINSERTSTRUCTW ins{};
      ins.hParent = TVI_ROOT;
      ins.hInsertAfter = TVI_LAST;
      ins.item.mask = TVIF_TEXT;
      ins.item.pszText = const_cast<wchar_t*>(L"移动商务");
      const HTREEITEM root = TreeView_InsertItem(bare.tree(), &ins);
      auto add = [&](const ustring& t) {
        ins.hParent = root;
        ins.item.pszText = const_cast<wchar_t*>(wz(t));
        TreeView_InsertItem(bare.tree(), &ins);
      };
      readRecordset(call(kInfo, u"GetBillInfo", {props_}).toObject(), {u"FID", u"FName"},
                    [&](std::vector<Variant>& v) { add(text(v[1])); });
      readFlows(flows, [&](const ustring&, const ustring& name, const Variant&) { add(name); });
      TreeView_Expand(bare.tree(), root, TVE_EXPAND);
      SendMessageW(bare.tree(), WM_SETREDRAW, TRUE, 0);
      bare.showRows(rawRows(props_));
      readRecordset(call(kInfo, u"GetData", {props_, notify::noMobileCountSql()}).toObject(), {u"FCount"},
                    [](std::vector<Variant>&) {});
      call(u"OxaBase.LogServer", u"WriteLog",
           {props_, ustring(u"SMS00107"), int32_t(1), ustring(), ustring(), ustring()});
      settle(bare.top());
      f_.startRaw.take(nowMs() - t0);
    }
    {
      Bare bare;
      const std::vector<Row> rows = rawRows(props_);
      bare.showRows(rows);
      settle(bare.top());
      const double t0 = nowMs();
      auto ordinary = std::make_shared<Collection>(), workflow = std::make_shared<Collection>();
      auto audit = std::make_shared<Collection>();
      std::vector<Row> lines;
      for (const Row& r : rows) {
        auto rec = std::make_shared<Collection>();
        const ustring fid = u"FID", fname = u"FName", frun = u"FIsMobileServiceRun";
        rec->add(r[1], &fid);
        rec->add(r[2], &fname);
        if (r[0] == u"ORN") {
          rec->add(int32_t(1), &frun);
          workflow->add(Variant(ObjectPtr(rec)));
        } else {
          ordinary->add(Variant(ObjectPtr(rec)));
        }
      }
      Variant on{true}, use{useFlag_};
      Variant o{ObjectPtr(ordinary)}, wf{ObjectPtr(workflow)};
      call(kUpdate, u"BillUseOperate", {props_, Variant::ref(&o), Variant::ref(&on), Variant::ref(&use)});
      call(kUpdate, u"BillOrnUseOperate", {props_, Variant::ref(&wf), Variant::ref(&on), Variant::ref(&use)});
      bare.showRows(rawRows(props_));
      const ustring keys[5] = {u"FFuncID", u"FStatement", u"FDesc", u"FMachineName", u"FIPAddress"};
      for (const Row& r : rows) {
        auto rec = std::make_shared<Collection>();
        rec->add(ustring(u"SMS00107"), &keys[0]);
        rec->add(int16_t(5), &keys[1]);
        rec->add(u"启用审批通知服务:[" + r[2] + u"]", &keys[2]);
        rec->add(ustring(), &keys[3]);
        rec->add(ustring(), &keys[4]);
        audit->add(Variant(ObjectPtr(rec)));
        lines.push_back({u"启用[" + r[2] + u"]短信通知成功！", {}, {}, {}});
      }
      Variant a{ObjectPtr(audit)};
      call(u"OxaBase.LogServer", u"WriteBatchLog", {props_, Variant::ref(&a)});
      Bare result;
      result.showRows(std::move(lines));
      settle(result.top());
      settle(bare.top());
      f_.switchRaw.take(nowMs() - t0);
    }
  }

  std::string path_;
  int rounds_;
  std::unique_ptr<odbc::Connection> db_;
  ustring props_;
  bool useFlag_ = false;
  Figures f_;
};

void row(const char* name, const char* size, double window, double raw) {
  std::printf("%-34s %-5s %11.1f %11.1f %9.2fx\n", name, size, window, raw, window / raw);
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
    if (a == "--half")
      half = value();
    else if (a == "--full")
      full = value();
    else if (a == "--rounds")
      rounds = std::max(1, std::atoi(value().c_str()));
    else
      fail("usage: notify_window_bench --half DB --full DB [--rounds N]");
  }
  if (half.empty() || full.empty()) fail("usage: notify_window_bench --half DB --full DB [--rounds N]");

  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  INITCOMMONCONTROLSEX icc{sizeof icc, ICC_TREEVIEW_CLASSES | ICC_LISTVIEW_CLASSES | ICC_BAR_CLASSES};
  InitCommonControlsEx(&icc);
  auto servers = std::make_unique<lumo::test::RegisteredServers>(
      std::initializer_list<const char*>{LUMO_DEVHOST_DLL, LUMO_SMS_DLL});
  check(servers->failure().empty(), servers->failure());

  Figures h, f;
  try {
    h = SizeRun(half, rounds).run();
    f = SizeRun(full, rounds).run();
  } catch (const Error& e) {
    fail("error " + std::to_string(e.number()) + ": " + toUtf8(e.description()));
  }

  std::printf("service management window under Wine, best of %d rounds\n", rounds);
  std::printf("half: %zu services; full: %zu services\n\n", h.rows, f.rows);
  std::printf("%-34s %-5s %11s %11s %10s\n", "measure", "size", "window ms", "raw ms", "ratio");
  row("(a) SmsManager to window ready", "half", h.startWindow.v, h.startRaw.v);
  row("(a) SmsManager to window ready", "full", f.startWindow.v, f.startRaw.v);
  row("(b) select all, Start, all rows", "half", h.switchWindow.v, h.switchRaw.v);
  row("(b) select all, Start, all rows", "full", f.switchWindow.v, f.switchRaw.v);
  std::printf("raw: the same middle-tier calls made directly, bare tree view and owner-data list views\n");
  std::printf("\nfull / half growth (2.00 is linear):\n");
  std::printf("  (a) window %.2f, raw %.2f\n", f.startWindow.v / h.startWindow.v, f.startRaw.v / h.startRaw.v);
  std::printf("  (b) window %.2f, raw %.2f\n", f.switchWindow.v / h.switchWindow.v, f.switchRaw.v / h.switchRaw.v);
  servers.reset();
  CoUninitialize();
  return 0;
}
