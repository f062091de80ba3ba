// The send window through its real controls, under Wine, against the development
// host's database at two sizes; every figure next to a raw equivalent measured in
// the same run and the same process.
//
//   (a) open    clsSmsManager created by ProgID and SendSms called late-bound, until
//               the window is up and its department tree drawn
//               raw: the department SQL, its nodes (with their placeholders) put
//               into a bare check-box tree view in a plain window, drawn
//   (b) search  the last employee's name in the find box, the find button pressed,
//               until that node is selected and drawn (every department is loaded
//               on the way)
//               raw: the department SQL and each department's member SQL, every
//               node put into a bare tree view, the name found by a plain walk,
//               the node selected and drawn
//   (c) add     every department checked beforehand; only the "-->" button timed,
//               until the window is drawn
//               raw: the numbers joined with "," in one pass
//   (d) check   a list of as many numbers as the size has employees in the
//               receiver box, the last one a digit too long, so that the check
//               reads every entry; Send pressed, until the verdict's message box
//               is being created (the check runs only inside Send, and a verdict
//               stops it before anything is sent)
//               raw: one pass over the same text checking each number
//
// Raw data access is the same SQL through the development host's ODBC wrapper on
// one connection held by this process. The window cannot take that path: it must
// create clsBillUseInfo by ProgID for each query and read the recordset through
// its automation members, so that path (GetData created per query) is measured
// as well, and so is a replay of every host call the window's search makes,
// without the window, which splits the window's time into the host's part and
// its own.
//
// The receiver box is the window's own text box, so (c) and (d) go through it:
// Add puts the whole list into it and it is drawn; the check reads it back.
//
//   send_window_bench --half DB --full DB [--rounds N]
//
// DB: unix paths of databases written by lumo-dbgen. Needs an X display; run
// through bench/win/run-send-bench.sh.
#include <windows.h>
#include <commctrl.h>
#include <ole2.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "automation/win/bridge.h"
#include "devhost/components/hostdb.h"
#include "devhost/components/odbc.h"
#include "devhost/components/sql_dialect.h"
#include "sms/win/windows.h"
#include "tests/sms/send_windows.h"
#include "tests/support/win/boxes.h"
#include "tests/support/win/pump.h"
#include "tests/support/win/server_dll.h"
#include "win32/controls.h"

namespace {

using namespace lumo;
using namespace lumo::win32::send_sms;
using lumo::test::drain;
using lumo::test::itemChecked;
using lumo::test::itemText;
using lumo::test::nowMs;
using lumo::test::sendWindows;
using lumo::wz;
using lumo::win32::windowText;
namespace odbc = lumo::devhost::odbc;

// ---- small helpers ----------------------------------------------------------------------

[[noreturn]] void fail(const std::string& what) {
  std::fprintf(stderr, "send_window_bench: %s\n", what.c_str());
  std::fflush(stderr);
  std::exit(1);
}

void check(bool ok, const std::string& what) {
  if (!ok) fail(what);
}

// Waiting messages run and whatever is left to paint is painted, until nothing is left.
void settle(HWND w) { check(lumo::test::untilPainted(w), "the window never settled"); }

// ---- the directory as the database holds it ------------------------------------------------

// The window's SQL, byte for byte as it sends it to GetData.
const ustring kDepartmentSql =
    u"Select Distinct t1.FDepartmentID,t2.FName as FDepartName From t_Emp t1 Inner join t_Department t2 on "
    u"t1.FDepartmentID=t2.FItemID Where t1.FItemID>0 Order by t1.FDepartmentID";
const ustring kEmployeeSelect =
    u"Select t1.FItemID,t1.FName,t1.FDepartmentID,t1.FMobilePhone From t_Emp t1 Inner join t_Item t2 On "
    u"t1.FItemID=t2.FItemID ";
ustring membersSql(const ustring& departmentId) {
  if (departmentId == u"0")
    return kEmployeeSelect +
           u"Where IsNull(t1.FDepartmentID,0)=0 And (Lower(t1.FNumber) Not in ('admin','super')) And t2.FDeleted=0 "
           u"Order by t1.FNumber";
  return kEmployeeSelect + u"Where t1.FDepartmentID=" + departmentId + u" And t2.FDeleted=0 Order by t1.FNumber";
}

struct Person {
  ustring name, tag, text;  // tag: the number as stored, "" for Null
};

struct Department {
  ustring id, text;
  std::vector<Person> members;
};

// Top level in load order: the no-department node first.
struct Directory {
  std::vector<Department> departments;
  std::size_t people() const {
    std::size_t n = 0;
    for (const auto& d : departments) n += d.members.size();
    return n;
  }
};

ustring personText(const ustring& name, const ustring& tag) {
  return trim(tag).empty() ? name : name + u" (" + tag + u")";
}

// A result read by column name, whichever way the rows came.
class Rows {
 public:
  virtual ~Rows() = default;
  virtual bool next() = 0;
  virtual Variant field(const ustring& name) = 0;
  ustring text(const ustring& name) {
    Variant v = field(name);
    return v.isNull() || v.isEmpty() ? ustring() : v.toString();
  }
};

// Raw: the devhost's ODBC wrapper, one connection, the SQL adapted as GetData adapts it.
class OdbcRows final : public Rows {
 public:
  OdbcRows(odbc::Connection& c, const ustring& sql) : r_(c.query(devhost::adaptSqlForSqlite(sql))) {}
  bool next() override { return ++row_ < r_.rows.size(); }
  Variant field(const ustring& name) override {
    for (std::size_t i = 0; i < r_.columns.size(); ++i)
      if (equalsNoCase(r_.columns[i].name, name)) return r_.rows[row_][i];
    fail("no column " + toUtf8(name));
  }

 private:
  odbc::Result r_;
  std::size_t row_ = static_cast<std::size_t>(-1);
};

// Through the host: clsBillUseInfo created by ProgID for the query and GetData
// called late-bound; the recordset read through its automation members.
class GetDataRows final : public Rows {
 public:
  GetDataRows(const ustring& props, const ustring& sql) {
    ObjectPtr component = com::createByProgId(u"LumoMSmsManager.clsBillUseInfo");
    rs_ = component->call(u"GetData", {props, sql}).toObject();
    check(rs_ != nullptr, "GetData gave no recordset");
  }
  bool next() override {
    if (started_) rs_->call(u"MoveNext");
    started_ = true;
    return !rs_->get(u"EOF").toBool();
  }
  Variant field(const ustring& name) override {
    ObjectPtr fields = rs_->get(u"Fields").toObject();
    return fields->get(u"Item", {name}).toObject()->get(u"Value");
  }

 private:
  ObjectPtr rs_;
  bool started_ = false;
};

using RowsFactory = std::function<std::unique_ptr<Rows>(const ustring& sql)>;

void readTopLevel(const RowsFactory& query, Directory& d) {
  d.departments.clear();
  d.departments.push_back({u"0", u"无部门", {}});
  auto rows = query(kDepartmentSql);
  while (rows->next()) d.departments.push_back({rows->field(u"FDepartmentID").toString(), rows->text(u"FDepartName"), {}});
}

void readMembers(const RowsFactory& query, Department& department) {
  auto rows = query(membersSql(department.id));
  while (rows->next()) {
    Person p;
    p.tag = rows->text(u"FMobilePhone");
    p.name = rows->text(u"FName");
    p.text = personText(p.name, p.tag);
    department.members.push_back(std::move(p));
  }
}

// ---- bare controls for the raw side --------------------------------------------------------

const wchar_t* const kPlainClass = L"SendBenchPlainWindow";

void registerPlainClass() {
  WNDCLASSW wc{};
  wc.lpfnWndProc = DefWindowProcW;
  wc.hInstance = GetModuleHandleW(nullptr);
  wc.hCursor = LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_ARROW));
  wc.hbrBackground = reinterpret_cast<HBRUSH>(static_cast<INT_PTR>(COLOR_BTNFACE + 1));
  wc.lpszClassName = kPlainClass;
  RegisterClassW(&wc);
}

HFONT messageFont() {
  static HFONT font = [] {
    NONCLIENTMETRICSW m{};
    m.cbSize = sizeof m;
    SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof m, &m, 0);
    return CreateFontIndirectW(&m.lfMessageFont);
  }();
  return font;
}

// Where the send window put its department tree, so that the bare tree has its size.
struct Geometry {
  RECT window{100, 100, 760, 610};
  RECT tree{10, 80, 290, 330};  // client coordinates of the window
};

// A plain top-level window holding one control of the given class and styles.
struct PlainWindow {
  HWND frame = nullptr, control = nullptr;
  PlainWindow(const Geometry& g, const wchar_t* cls, DWORD style, DWORD exStyle, const RECT& where) {
    frame = CreateWindowExW(WS_EX_APPWINDOW, kPlainClass, L"raw", WS_OVERLAPPEDWINDOW, g.window.left, g.window.top,
                            g.window.right - g.window.left, g.window.bottom - g.window.top, nullptr, nullptr,
                            GetModuleHandleW(nullptr), nullptr);
    check(frame != nullptr, "cannot create a plain window");
    control = CreateWindowExW(exStyle, cls, L"", WS_CHILD | WS_VISIBLE | style, where.left, where.top,
                              where.right - where.left, where.bottom - where.top, frame, nullptr,
                              GetModuleHandleW(nullptr), nullptr);
    check(control != nullptr, "cannot create a bare control");
    SendMessageW(control, WM_SETFONT, reinterpret_cast<WPARAM>(messageFont()), FALSE);
  }
  void show() {
    ShowWindow(frame, SW_SHOWNOACTIVATE);
    UpdateWindow(frame);
  }
  ~PlainWindow() {
    DestroyWindow(frame);
    drain();
  }
};

constexpr DWORD kTreeStyle =
    WS_TABSTOP | WS_BORDER | TVS_HASBUTTONS | TVS_HASLINES | TVS_LINESATROOT | TVS_SHOWSELALWAYS | TVS_CHECKBOXES;

HTREEITEM insertItem(HWND tree, HTREEITEM parent, const ustring& text, bool expanded) {
  TVINSERTSTRUCTW ins{};
  ins.hParent = parent ? parent : TVI_ROOT;
  ins.hInsertAfter = TVI_LAST;
  ins.item.mask = TVIF_TEXT | TVIF_STATE;
  ins.item.pszText = const_cast<wchar_t*>(wz(text));
  ins.item.stateMask = TVIS_STATEIMAGEMASK | (expanded ? TVIS_EXPANDED : 0u);
  ins.item.state = INDEXTOSTATEIMAGEMASK(1) | (expanded ? TVIS_EXPANDED : 0u);
  return reinterpret_cast<HTREEITEM>(SendMessageW(tree, TVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&ins)));
}

// ---- the send window -----------------------------------------------------------------------

void closeWindow(HWND w) {
  SendMessageW(w, WM_CLOSE, 0, 0);
  drain();
  check(!IsWindow(w), "the send window did not close");
}

// The verdict's message box: when it is being created the time is taken; once it
// is up its text is read and it is dismissed.
struct BoxWatch {
  double created = 0;
  ustring text;
  HHOOK hook = nullptr;
};
BoxWatch* g_box = nullptr;

LRESULT CALLBACK boxHook(int code, WPARAM wParam, LPARAM lParam) {
  if (g_box && code == HCBT_CREATEWND && g_box->created == 0) {
    const auto* cbt = reinterpret_cast<const CBT_CREATEWNDW*>(lParam);
    // A dialog box's class is the atom 32770, given as the atom or by its name.
    const wchar_t* cls = cbt->lpcs->lpszClass;
    const bool dialog = IS_INTRESOURCE(cls) ? reinterpret_cast<ULONG_PTR>(cls) == 32770 : lstrcmpW(cls, L"#32770") == 0;
    if (dialog) g_box->created = nowMs();
  } else if (g_box && code == HCBT_ACTIVATE) {
    HWND box = reinterpret_cast<HWND>(wParam);
    if (GetDlgItem(box, 0xFFFF)) {  // the message text: a message box, not the window
      g_box->text = lumo::test::messageText(box);
      lumo::test::pressButton(box);
    }
  }
  return CallNextHookEx(g_box ? g_box->hook : nullptr, code, wParam, lParam);
}

// Numbers as the bench writes them: "139", eight digits of i.
ustring numberList(std::size_t count) {
  ustring out;
  out.reserve(count * 12);
  for (std::size_t i = 1; i <= count; ++i) {
    if (i > 1) out += u',';
    ustring digits = toText(static_cast<long long>(i));
    out += u"139" + ustring(8 - std::min<std::size_t>(8, digits.size()), u'0') + digits;
  }
  return out;
}

// The journal of host calls: how many the development host answered since a mark.
long long journalMark(odbc::Connection& db) {
  return static_cast<long long>(db.scalar(u"SELECT IFNULL(MAX(FSeq),0) FROM dh_Journal").toDouble());
}

std::string journalSince(odbc::Connection& db, long long mark) {
  odbc::Result r = db.query(
      u"SELECT FComponent||'.'||FMethod, COUNT(*) FROM dh_Journal WHERE FSeq>? GROUP BY 1 ORDER BY 2 DESC, 1",
      {Variant(static_cast<double>(mark))});
  std::string out;
  for (auto& row : r.rows) {
    if (!out.empty()) out += ", ";
    out += toUtf8(row[0].toString()) + " x" + std::to_string(row[1].toI4());
  }
  return out.empty() ? "none" : out;
}

// ---- one size --------------------------------------------------------------------------------

// Progress on stderr, with the time since the previous line.
void progress(const char* what) {
  static double last = nowMs();
  const double now = nowMs();
  std::fprintf(stderr, "    %-34s %9.1f ms\n", what, now - last);
  std::fflush(stderr);
  last = now;
}

struct Best {
  double v = 1e300;
  void take(double x) { v = std::min(v, x); }
};

struct Figures {
  std::size_t departments = 0, people = 0, listNumbers = 0, listChars = 0, addChars = 0, targetPosition = 0,
              treeCount = 0;
  Best openWindow, openRaw, openOdbc;
  Best searchWindow, searchRaw, searchOdbc, searchReplay, findAgain;
  Best checkAll;
  Best addWindow, addRaw;
  Best numbersWindow, numbersShown, numbersRaw, numbersLookups;
  std::string journalOpen, journalSearch, journalAdd, journalNumbers;
};

class SizeRun {
 public:
  SizeRun(const std::string& dbPath, int rounds) : path_(dbPath), rounds_(rounds) {}

  Figures run() {
    const ustring path = fromUtf8(path_);
    SetEnvironmentVariableW(L"LUMO_DEVHOST_DB", wz(path));
    db_ = std::make_unique<odbc::Connection>(devhost::connectStringFor(path));
    db_->execute(u"DELETE FROM dh_Switch");
    const ustring user = db_->scalar(
                                u"SELECT u.FName FROM t_User u JOIN t_Emp e ON u.FEmpID=e.FItemID JOIN t_Item i ON "
                                u"i.FItemID=e.FItemID WHERE i.FDeleted=0 AND u.FForbidden=0 AND IfNull(e.FName,'')<>'' "
                                u"ORDER BY u.FUserID LIMIT 1")
                             .toString();
    check(!user.empty(), "no user bound to an employee in " + path_);
    props_ = com::createByProgId(u"PropsMgr.ShareProps")->call(u"SignIn", {user, ustring(u"chs")}).toString();

    prepare();
    for (int round = 0; round < rounds_; ++round) {
      std::fprintf(stderr, "  %s: round %d of %d\n", path_.c_str(), round + 1, rounds_);
      windowRound(round == 0);
      rawRound();
    }
    return f_;
  }

 private:
  // The whole directory, the search target, the expected receiver list and the
  // number list, read once through the raw path (not timed).
  void prepare() {
    RowsFactory raw = [this](const ustring& sql) { return std::make_unique<OdbcRows>(*db_, sql); };
    readTopLevel(raw, all_);
    for (auto& d : all_.departments) readMembers(raw, d);
    f_.departments = all_.departments.size() - 1;
    f_.people = all_.people();
    f_.treeCount = all_.departments.size() + f_.people;

    // Positions: the top level first, then each department's people in load order.
    // The target is the last person whose name no earlier person's name contains,
    // so that the find walks the whole tree and stops on it.
    std::vector<std::pair<std::size_t, std::size_t>> order;  // (department, member)
    for (std::size_t d = 0; d < all_.departments.size(); ++d)
      for (std::size_t m = 0; m < all_.departments[d].members.size(); ++m) order.emplace_back(d, m);
    auto nameAt = [&](std::size_t k) -> const ustring& {
      return all_.departments[order[k].first].members[order[k].second].name;
    };
    for (std::size_t k = order.size(); k-- > 0;) {
      const ustring& name = nameAt(k);
      if (trim(name).empty()) continue;
      bool earlier = false;
      for (std::size_t j = 0; j < k && !earlier; ++j) earlier = contains(nameAt(j), name);
      if (!earlier) {
        targetDept_ = order[k].first;
        targetMember_ = order[k].second;
        f_.targetPosition = all_.departments.size() + k + 1;
        break;
      }
    }
    check(f_.targetPosition != 0, "no employee with a name of its own");

    for (const auto& d : all_.departments)
      for (const auto& p : d.members) {
        if (p.tag.empty()) continue;
        if (!expectedAdd_.empty()) expectedAdd_ += u',';
        expectedAdd_ += p.tag;
      }

    // As many numbers as the size has employees; the last is a digit too long.
    const long long employees =
        static_cast<long long>(db_->scalar(u"SELECT COUNT(*) FROM t_Emp").toDouble());
    f_.listNumbers = static_cast<std::size_t>(employees);
    numbers_ = numberList(f_.listNumbers) + u"7";
    f_.listChars = numbers_.size();
    f_.addChars = expectedAdd_.size();
  }

  // SendSms called as the host calls it, until the new window is drawn.
  HWND open() {
    const std::size_t before = sendWindows().size();
    {
      ObjectPtr manager = com::createByProgId(u"LumoSmsManager.clsSmsManager");
      manager->call(u"SendSms", {});
    }
    std::vector<HWND> now = sendWindows();
    check(now.size() == before + 1, "SendSms opened no window");
    HWND w = now.back();
    settle(w);
    return w;
  }

  HWND openTimed() {
    const long long mark = journalMark(*db_);
    const double t0 = nowMs();
    HWND w = open();
    f_.openWindow.take(nowMs() - t0);
    f_.journalOpen = journalSince(*db_, mark);
    return w;
  }

  // A button of the window pressed, until the window is drawn; the host calls it
  // made are kept in 'journal'.
  void pressTimed(HWND w, int button, Best& best, std::string& journal) {
    const long long mark = journalMark(*db_);
    const double t0 = nowMs();
    SendMessageW(GetDlgItem(w, button), BM_CLICK, 0, 0);
    settle(w);
    best.take(nowMs() - t0);
    journal = journalSince(*db_, mark);
  }

  void windowRound(bool first) {
    HWND w = openTimed();
    HWND tree = GetDlgItem(w, idDepartments);
    check(TreeView_GetCount(tree) == 2 * all_.departments.size(), "the window's top level differs from the SQL");
    if (first) {
      GetWindowRect(w, &geometry_.window);
      GetWindowRect(tree, &geometry_.tree);
      MapWindowPoints(nullptr, w, reinterpret_cast<POINT*>(&geometry_.tree), 2);
    }

    progress("window opened");
    // (b) the search.
    const Department& dept = all_.departments[targetDept_];
    const Person& target = dept.members[targetMember_];
    SetWindowTextW(GetDlgItem(w, idFind), wz(target.name));
    drain();
    pressTimed(w, idCmdFind, f_.searchWindow, f_.journalSearch);
    HTREEITEM selected = TreeView_GetSelection(tree);
    check(selected != nullptr, "the search selected nothing");
    check(itemText(tree, selected) == target.text, "the search selected another node: " + toUtf8(itemText(tree, selected)));
    check(itemText(tree, TreeView_GetParent(tree, selected)) == dept.text, "the search selected a node of another department");
    check(TreeView_GetCount(tree) == f_.treeCount, "the search left the tree incomplete");
    check(GetFocus() == tree, "the search did not give the tree the focus");
    // The same find once everything is loaded: the walk and the selection alone.
    TreeView_SelectItem(tree, TreeView_GetRoot(tree));
    drain();
    std::string again;
    pressTimed(w, idCmdFind, f_.findAgain, again);
    check(itemText(tree, TreeView_GetSelection(tree)) == target.text, "the second search missed");

    progress("searched twice");
    closeWindow(w);
    progress("closed");
    // Add and the number check need every department checked, which takes a while
    // on a large tree: done once, in the first round, on a window of its own whose
    // departments are checked closed, as a user who never searched would; both
    // are measured that many times on it.
    if (first) {
      HWND checked = open();
      checkEverything(checked);
      for (int r = 0; r < rounds_; ++r) addAndCheck(checked);
      closeWindow(checked);
      progress("closed");
    }
  }

  // Every department checked with the space key, as a user would (timed apart).
  void checkEverything(HWND w) {
    HWND tree = GetDlgItem(w, idDepartments);
    SetFocus(tree);
    const double t0 = nowMs();
    for (HTREEITEM item = TreeView_GetRoot(tree); item; item = TreeView_GetNextSibling(tree, item)) {
      TreeView_SelectItem(tree, item);
      PostMessageW(tree, WM_KEYDOWN, VK_SPACE, 1);
      PostMessageW(tree, WM_KEYUP, VK_SPACE, 0xC0000001);
      drain();
    }
    f_.checkAll.take(nowMs() - t0);
    for (HTREEITEM item = TreeView_GetRoot(tree); item; item = TreeView_GetNextSibling(tree, item))
      check(itemChecked(tree, item), "a department stayed unchecked");

    progress("checked every department");
  }

  // (c) and (d) once each.
  void addAndCheck(HWND w) {
    HWND mobile = GetDlgItem(w, idMobile);

    // (c) Add.
    SetWindowTextW(mobile, L"");
    drain();
    pressTimed(w, idCmdAdd, f_.addWindow, f_.journalAdd);
    check(windowText(mobile) == expectedAdd_, "Add gave another list than the plain join");

    // (d) the number check, run by Send.
    SetWindowTextW(mobile, wz(numbers_));
    SetWindowTextW(GetDlgItem(w, idMessage), L"月度例会改到周五下午三点");
    drain();
    check(windowText(mobile) == numbers_, "the receiver box did not take the whole list");
    BoxWatch verdict;
    g_box = &verdict;
    verdict.hook = SetWindowsHookExW(WH_CBT, boxHook, nullptr, GetCurrentThreadId());
    const long long mark = journalMark(*db_);
    const double t0 = nowMs();
    SendMessageW(GetDlgItem(w, idCmdSend), BM_CLICK, 0, 0);
    const double shown = nowMs();
    UnhookWindowsHookEx(verdict.hook);
    g_box = nullptr;
    settle(w);
    check(verdict.created > 0, "Send showed no message");
    check(verdict.text == u"手机号码长度不能大于11!", "Send answered " + toUtf8(verdict.text));
    f_.numbersWindow.take(verdict.created - t0);
    f_.numbersShown.take(shown - t0);
    f_.journalNumbers = journalSince(*db_, mark);
    SetWindowTextW(mobile, L"");
    progress("added and checked the numbers");
  }

  void rawRound() {
    RowsFactory raw = [this](const ustring& sql) { return std::make_unique<OdbcRows>(*db_, sql); };
    RowsFactory getData = [this](const ustring& sql) { return std::make_unique<GetDataRows>(props_, sql); };

    // (a) the top level into a bare tree, drawn.
    auto openRaw = [&](const RowsFactory& query) {
      const double t0 = nowMs();
      PlainWindow plain(geometry_, WC_TREEVIEWW, kTreeStyle, WS_EX_CLIENTEDGE, geometry_.tree);
      Directory d;
      readTopLevel(query, d);
      SendMessageW(plain.control, WM_SETREDRAW, FALSE, 0);
      for (const auto& dept : d.departments) {
        HTREEITEM item = insertItem(plain.control, nullptr, dept.text, false);
        insertItem(plain.control, item, u"正在加载数据", false);
      }
      SendMessageW(plain.control, WM_SETREDRAW, TRUE, 0);
      plain.show();
      settle(plain.frame);
      const double ms = nowMs() - t0;
      check(TreeView_GetCount(plain.control) == 2 * all_.departments.size(), "raw top level differs");
      return ms;
    };
    f_.openRaw.take(openRaw(getData));
    f_.openOdbc.take(openRaw(raw));
    progress("raw open");

    // (b) everything into a bare tree, every department open, the name found, selected, drawn.
    const ustring& wanted = all_.departments[targetDept_].members[targetMember_].name;
    auto searchRaw = [&](const RowsFactory& query) {
      const double t0 = nowMs();
      PlainWindow plain(geometry_, WC_TREEVIEWW, kTreeStyle, WS_EX_CLIENTEDGE, geometry_.tree);
      plain.show();
      Directory d;
      readTopLevel(query, d);
      // The plain way to fill a tree view in bulk: drawing off until it is full.
      SendMessageW(plain.control, WM_SETREDRAW, FALSE, 0);
      std::vector<HTREEITEM> tops;
      for (const auto& dept : d.departments) tops.push_back(insertItem(plain.control, nullptr, dept.text, true));
      std::vector<HTREEITEM> people;
      for (std::size_t k = 0; k < d.departments.size(); ++k) {
        readMembers(query, d.departments[k]);
        for (const auto& p : d.departments[k].members) people.push_back(insertItem(plain.control, tops[k], p.text, false));
      }
      std::size_t found = people.size(), k = 0;
      for (const auto& dept : d.departments)
        for (const auto& p : dept.members) {
          if (found == people.size() && contains(trim(p.name), wanted)) found = k;
          ++k;
        }
      check(found < people.size(), "raw search missed");
      SendMessageW(plain.control, WM_SETREDRAW, TRUE, 0);
      SetFocus(plain.control);
      TreeView_SelectItem(plain.control, people[found]);
      settle(plain.frame);
      const double ms = nowMs() - t0;
      check(TreeView_GetCount(plain.control) == f_.treeCount, "raw tree incomplete");
      check(itemText(plain.control, TreeView_GetSelection(plain.control)) ==
                all_.departments[targetDept_].members[targetMember_].text,
            "raw search selected another node");
      return ms;
    };
    f_.searchRaw.take(searchRaw(getData));
    progress("raw search through GetData");
    f_.searchOdbc.take(searchRaw(raw));
    progress("raw search through ODBC");
    f_.searchReplay.take(replaySearch());
    progress("replay");

    // (c) the numbers joined.
    {
      ustring joined;
      const double t0 = nowMs();
      for (const auto& dept : all_.departments)
        for (const auto& p : dept.members) {
          if (p.tag.empty()) continue;
          if (!joined.empty()) joined += u',';
          joined += p.tag;
        }
      f_.addRaw.take(nowMs() - t0);
      check(joined == expectedAdd_, "raw join differs");
    }
    progress("raw add");
    // (d) one pass over the text, each number checked.
    {
      const double t0 = nowMs();
      int verdict = 0;  // 1 too long, 2 an illegal character
      std::size_t length = 0;
      bool illegal = false;
      for (std::size_t i = 0; i <= numbers_.size() && verdict == 0; ++i) {
        if (i == numbers_.size() || numbers_[i] == u',') {
          verdict = length > 11 ? 1 : illegal ? 2 : 0;
          length = 0;
          illegal = false;
        } else {
          ++length;
          illegal = illegal || numbers_[i] < u'0' || numbers_[i] > u'9';
        }
      }
      f_.numbersRaw.take(nowMs() - t0);
      check(verdict == 1, "raw check gave another verdict");
    }
    f_.numbersLookups.take(replayVerdictLookups());
  }

  // The host call the verdict needs before its box is made (the language, asked
  // once for the message and the box's title), without the window.
  double replayVerdictLookups() {
    const double t0 = nowMs();
    com::createByProgId(u"LumoLangInfo.LangInfo")->get(u"CurrentLanguage");
    return nowMs() - t0;
  }

  // Every host call the window's search makes, in its order, without the window:
  // the language and the session string read once for the whole search, then per
  // department GetData through the class object kept for the search, the rows
  // read field by field, one call per value. The add-in's own work is what the
  // window needs beyond this.
  double replaySearch() {
    const double t0 = nowMs();
    com::ClassObjects classes;
    classes.create(u"LumoLangInfo.LangInfo")->get(u"CurrentLanguage");
    const ustring props =
        classes.create(u"PropsMgr.ShareProps")
            ->call(u"GetProperty", {static_cast<int32_t>(GetCurrentProcessId()), ustring(u"PropsString")})
            .toString() +
        u";Language=chs";
    std::size_t people = 0;
    for (const auto& dept : all_.departments) {
      ObjectPtr component = classes.create(u"LumoMSmsManager.clsBillUseInfo");
      ObjectPtr rs = component->call(u"GetData", {props, membersSql(dept.id)}).toObject();
      component.reset();
      // As the window reads a result: each column's field object asked for once,
      // then its value read on every row.
      ObjectPtr fields = rs->get(u"Fields").toObject();
      ObjectPtr mobile, id, name;
      while (!rs->get(u"EOF").toBool()) {
        auto value = [&](ObjectPtr& field, const char16_t* column) {
          if (!field) field = fields->get(u"Item", {ustring(column)}).toObject();
          return field->get(u"Value");
        };
        value(mobile, u"FMobilePhone");
        value(id, u"FItemID");
        value(name, u"FName");
        ++people;
        rs->call(u"MoveNext");
      }
    }
    const double ms = nowMs() - t0;
    check(people == f_.people, "the replay read another number of people");
    return ms;
  }

  std::string path_;
  int rounds_;
  std::unique_ptr<odbc::Connection> db_;
  ustring props_;
  Directory all_;
  std::size_t targetDept_ = 0, targetMember_ = 0;
  ustring expectedAdd_, numbers_;
  Geometry geometry_;
  Figures f_;
};

// ---- the table -------------------------------------------------------------------------------

void row(const char* measure, const char* size, double window, double raw) {
  std::printf("%-30s %-5s %11.1f %11.2f %9.1fx\n", measure, size, window, raw, window / raw);
}

void growth(const char* measure, double half, double full) {
  std::printf("  %-40s %6.2fx\n", measure, full / half);
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
    else fail("usage: send_window_bench --half DB --full DB [--rounds N]");
  }
  if (half.empty() || full.empty()) fail("usage: send_window_bench --half DB --full DB [--rounds N]");

  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  INITCOMMONCONTROLSEX icc{sizeof icc, ICC_TREEVIEW_CLASSES | ICC_TAB_CLASSES | ICC_STANDARD_CLASSES};
  InitCommonControlsEx(&icc);
  registerPlainClass();
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

  std::printf("send window under Wine, best of %d rounds\n", rounds);
  std::printf("half: %zu departments, %zu people listed; full: %zu, %zu\n", h.departments, h.people, f.departments,
              f.people);
  std::printf("search target at tree position %zu of %zu (half), %zu of %zu (full)\n", h.targetPosition, h.treeCount,
              f.targetPosition, f.treeCount);
  std::printf("Add list %zu / %zu characters; number check list %zu / %zu numbers, %zu / %zu characters\n\n",
              h.addChars, f.addChars, h.listNumbers, f.listNumbers, h.listChars, f.listChars);
  std::printf("%-30s %-5s %11s %11s %10s\n", "measure", "size", "window ms", "raw ms", "ratio");
  const struct {
    const char* name;
    Best Figures::*window;
    Best Figures::*raw;
  } lines[] = {
      {"(a) SendSms to window ready", &Figures::openWindow, &Figures::openOdbc},
      {"(b) find the last employee", &Figures::searchWindow, &Figures::searchOdbc},
      {"(c) Add, everyone checked", &Figures::addWindow, &Figures::addRaw},
      {"(d) number check via Send", &Figures::numbersWindow, &Figures::numbersRaw},
  };
  for (const auto& l : lines) {
    row(l.name, "half", (h.*l.window).v, (h.*l.raw).v);
    row(l.name, "full", (f.*l.window).v, (f.*l.raw).v);
  }
  std::printf("raw: (a) (b) the same SQL on one held ODBC connection, bare tree view; (c) plain join; (d) plain pass\n");

  std::printf("\nfull / half growth:\n");
  for (const auto& l : lines) {
    growth((std::string(l.name).substr(0, 3) + " window").c_str(), (h.*l.window).v, (f.*l.window).v);
    growth((std::string(l.name).substr(0, 3) + " raw").c_str(), (h.*l.raw).v, (f.*l.raw).v);
  }

  std::printf("\nparts and other equivalents (ms, half / full):\n");
  auto other = [&](const char* name, Best Figures::*m) {
    std::printf("  %-58s %10.1f %10.1f  (%.2fx)\n", name, (h.*m).v, (f.*m).v, (f.*m).v / (h.*m).v);
  };
  other("(a) raw through GetData created per query", &Figures::openRaw);
  other("(b) raw through GetData created per query", &Figures::searchRaw);
  other("(b) replay of the window's host calls, no tree", &Figures::searchReplay);
  other("(b) the same find again, everything loaded", &Figures::findAgain);
  other("    checking every department with the space key", &Figures::checkAll);
  other("(d) replay of the verdict's host call (language)", &Figures::numbersLookups);
  other("(d) until the message box is up and dismissed", &Figures::numbersShown);

  std::printf("\nhost calls per measure (full size, last round):\n");
  std::printf("  (a) %s\n  (b) %s\n  (c) %s\n  (d) %s\n", f.journalOpen.c_str(), f.journalSearch.c_str(),
              f.journalAdd.c_str(), f.journalNumbers.c_str());

  servers.reset();
  CoUninitialize();
  return 0;
}
