// The display window with N rows x 4 columns: the time to show it and to scroll
// to its last row, until painted, which must not grow with N. The rows go in as a
// host puts them in: clsDispBuilder from the built DLL, Add called late-bound
// once per row (timed on its own and reported as "fill"). Next to it, in the same
// run, a bare owner-data list view of the same rows, created and scrolled the
// same way: what the system's list costs by itself.
//
//   display_window_bench [--rounds R] [rows ...]     (default: 3 rounds, 10000 1000000)
//
// show   : Show (modeless) from the call until every message is handled and the
//          window and its children hold no invalid region (first show: the window
//          and its controls are created inside it)
// scroll : the End key on the list, until painted the same way; the last row must
//          then be the focused one, on screen, and the builder's Row
// sort   : a click on the head of the amounts (numbers) and then of the names (text,
//          the user's collation), each until painted; against finding the same cells
//          in the rows and std::stable_sort of an index with the same comparison
//          (CompareStringEx of the user's locale; the amounts read as numbers first)
// copy   : Ctrl+C with every row selected, until the clipboard holds the table;
//          against the same text written to the clipboard directly
// Each figure is the best of R rounds, each round with a freshly filled window.
#include <windows.h>
#include <commctrl.h>
#include <oaidl.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "tests/support/win/late.h"
#include "ui/list_table.h"
#include "tests/support/win/pump.h"
#include "tests/support/win/server_dll.h"
#include "tests/support/win/text.h"
#include "tests/support/win/windows.h"

namespace {

using lumo::test::drain;
using lumo::test::Late;
using lumo::test::nowMs;
using lumo::test::V;

// ---- failing -----------------------------------------------------------------------

[[noreturn]] void fail(const char* what, long code = 0) {
  std::fprintf(stderr, "display_window_bench: %s (0x%08lx)\n", what, static_cast<unsigned long>(code));
  std::exit(1);
}

void check(HRESULT hr, const char* what) {
  if (FAILED(hr)) fail(what, hr);
}

// Every message handled and everything painted; a window that never settles ends the run.
void untilPainted(HWND top) {
  if (!lumo::test::untilPainted(top)) fail("the window never settled");
}

// The End key pressed on a list of n rows, until the window is painted; the last
// row must then be on screen. Returns the time taken.
double endKey(HWND list, HWND top, int n, const char* missed) {
  const double start = nowMs();
  SendMessageW(list, WM_KEYDOWN, VK_END, 0);
  SendMessageW(list, WM_KEYUP, VK_END, 0);
  untilPainted(top);
  const double ms = nowMs() - start;
  const int first = ListView_GetTopIndex(list), perPage = ListView_GetCountPerPage(list);
  if (first + perPage < n || first >= n) fail(missed);
  return ms;
}

// ---- rows ----------------------------------------------------------------------------

const wchar_t* const kNames[] = {L"张三", L"李四", L"王五", L"赵六", L"孙七", L"周八", L"吴九", L"郑十"};
const wchar_t* const kDepartments[] = {L"销售部", L"财务部", L"研发部", L"人事部", L"生产部"};

std::wstring rowText(long long i) {
  const long long cents = (i * 7919) % 10000000;
  wchar_t buf[128];
  std::swprintf(buf, 128, L"%ls%lld\t%lld.%02lld\t2024-%02lld-15\t%ls", kNames[i % 8], i % 1000, cents / 100,
                cents % 100, i % 12 + 1, kDepartments[i % 5]);
  return buf;
}

// The piece'th tab-separated piece of a row.
std::wstring cell(const wchar_t* row, int piece) {
  const wchar_t* start = row;
  for (int i = 0; i < piece; ++i) {
    start = std::wcschr(start, L'\t');
    if (!start) return L"";
    ++start;
  }
  const wchar_t* end = std::wcschr(start, L'\t');
  return end ? std::wstring(start, end) : std::wstring(start);
}

// The rows as a host holds them: one string each, handed to Add by reference.
class Rows {
 public:
  explicit Rows(int n) {
    rows_.reserve(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i) {
      const std::wstring t = rowText(i);
      BSTR b = SysAllocStringLen(t.data(), static_cast<UINT>(t.size()));
      if (!b) fail("out of memory for the rows");
      rows_.push_back(b);
    }
  }
  ~Rows() {
    for (BSTR b : rows_) SysFreeString(b);
  }
  Rows(const Rows&) = delete;
  Rows& operator=(const Rows&) = delete;
  int count() const { return static_cast<int>(rows_.size()); }
  BSTR& at(int i) { return rows_[static_cast<std::size_t>(i)]; }

 private:
  std::vector<BSTR> rows_;
};

// ---- the builder, late-bound ------------------------------------------------------------

class Server {
 public:
  Server() : dll_(LUMO_COM_DLL) {
    if (!dll_.loaded()) fail("cannot load LumoSmsManager.dll", static_cast<long>(GetLastError()));
    clsid_ = coclass(lumo::test::wide(lumo::test::windowsPath(LUMO_COM_DLL)), L"clsDispBuilder");
    check(dll_.getClassObject(clsid_, IID_IClassFactory, reinterpret_cast<void**>(&factory_)), "class object");
  }
  ~Server() {
    if (factory_) factory_->Release();
  }
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  // A new clsDispBuilder, as CoCreateInstance would give it to the host.
  IDispatch* newBuilder() const {
    IDispatch* d = nullptr;
    check(factory_->CreateInstance(nullptr, IID_IDispatch, reinterpret_cast<void**>(&d)), "CreateInstance");
    return d;
  }

 private:
  // The class identifier from the DLL's own type library: no registration needed.
  static CLSID coclass(const std::wstring& dll, const wchar_t* name) {
    ITypeLib* lib = nullptr;
    check(LoadTypeLibEx(dll.c_str(), REGKIND_NONE, &lib), "LoadTypeLibEx");
    CLSID found = CLSID_NULL;
    for (UINT i = 0; i < lib->GetTypeInfoCount(); ++i) {
      TYPEKIND kind;
      if (FAILED(lib->GetTypeInfoType(i, &kind)) || kind != TKIND_COCLASS) continue;
      BSTR n = nullptr;
      if (FAILED(lib->GetDocumentation(static_cast<INT>(i), &n, nullptr, nullptr, nullptr))) continue;
      const bool match = n && std::wcscmp(n, name) == 0;
      SysFreeString(n);
      if (!match) continue;
      ITypeInfo* info = nullptr;
      check(lib->GetTypeInfo(i, &info), "GetTypeInfo");
      TYPEATTR* attr = nullptr;
      check(info->GetTypeAttr(&attr), "GetTypeAttr");
      found = attr->guid;
      info->ReleaseTypeAttr(attr);
      info->Release();
    }
    lib->Release();
    if (IsEqualGUID(found, CLSID_NULL)) fail("clsDispBuilder not in the type library");
    return found;
  }

  lumo::test::ServerDll dll_;
  CLSID clsid_{};
  IClassFactory* factory_ = nullptr;
};

struct Times {
  double fill = 0, show = 0, scroll = 0, sortText = 0, sortNumber = 0, copy = 0;
};

// ---- the baselines of sorting and copying -----------------------------------------------

int collate(std::wstring_view a, std::wstring_view b) {
  return CompareStringEx(LOCALE_NAME_USER_DEFAULT, 0, a.data(), static_cast<int>(a.size()), b.data(),
                         static_cast<int>(b.size()), nullptr, nullptr, 0);
}

// The piece'th cell of a row, in place.
std::wstring_view cellView(const wchar_t* row, int piece) {
  std::wstring_view v(row);
  for (int i = 0; i < piece; ++i) {
    const std::size_t tab = v.find(L'\t');
    if (tab == std::wstring_view::npos) return {};
    v.remove_prefix(tab + 1);
  }
  return v.substr(0, v.find(L'\t'));
}

const wchar_t* const kHeaderLine = L"姓名\t金额\t日期\t部门";

struct Baseline {
  double sortText = 0, sortNumber = 0, copy = 0;
  std::wstring firstName, firstAmount;  // what the sorted lists start with
  std::size_t copied = 0;               // characters of the copied table
};

// A stable sort of an index of the names and of the amounts, and the clipboard
// written directly with the table's text.
Baseline rawSortAndCopy(Rows& rows) {
  const int n = rows.count();
  Baseline b;
  std::vector<std::wstring_view> names(static_cast<std::size_t>(n)), amounts(static_cast<std::size_t>(n));
  std::vector<uint32_t> order(static_cast<std::size_t>(n));

  // Each sort starts from the rows' texts, as the window's does: the cells are
  // found in them, then an index is sorted.
  double start = nowMs();
  for (int i = 0; i < n; ++i) names[static_cast<std::size_t>(i)] = cellView(rows.at(i), 0);
  for (int i = 0; i < n; ++i) order[static_cast<std::size_t>(i)] = static_cast<uint32_t>(i);
  std::stable_sort(order.begin(), order.end(), [&](uint32_t x, uint32_t y) {
    const std::wstring_view a = names[x], c = names[y];
    if (a.empty() != c.empty()) return c.empty();
    return collate(a, c) == CSTR_LESS_THAN;
  });
  b.sortText = nowMs() - start;
  b.firstName = std::wstring(names[order[0]]);

  start = nowMs();
  for (int i = 0; i < n; ++i) amounts[static_cast<std::size_t>(i)] = cellView(rows.at(i), 1);
  for (int i = 0; i < n; ++i) order[static_cast<std::size_t>(i)] = static_cast<uint32_t>(i);
  struct Key {
    int kind;  // 0 number, 1 text, 2 empty
    double value;
  };
  std::vector<Key> keys(static_cast<std::size_t>(n));
  for (std::size_t i = 0; i < keys.size(); ++i) {
    const std::wstring_view a = amounts[i];
    const lumo::ustring_view u(reinterpret_cast<const char16_t*>(a.data()), a.size());
    keys[i].value = 0;
    keys[i].kind = a.empty() ? 2 : lumo::ui::numberCellValue(u, keys[i].value) ? 0 : 1;
  }
  std::stable_sort(order.begin(), order.end(), [&](uint32_t x, uint32_t y) {
    const Key &a = keys[x], &c = keys[y];
    if (a.kind != c.kind) return a.kind < c.kind;
    if (a.kind == 0) return a.value < c.value;
    if (a.kind == 1) return collate(amounts[x], amounts[y]) == CSTR_LESS_THAN;
    return false;
  });
  b.sortNumber = nowMs() - start;
  b.firstAmount = std::wstring(amounts[order[0]]);

  // The table as the window copies it: header, then every row, CR LF after each.
  std::wstring text = std::wstring(kHeaderLine) + L"\r\n";
  for (int i = 0; i < n; ++i) text.append(rows.at(i)).append(L"\r\n");
  b.copied = text.size();
  start = nowMs();
  if (!OpenClipboard(nullptr)) fail("the clipboard is busy");
  EmptyClipboard();
  HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, (text.size() + 1) * sizeof(wchar_t));
  if (!memory) fail("out of memory for the clipboard");
  auto* p = static_cast<wchar_t*>(GlobalLock(memory));
  std::memcpy(p, text.c_str(), (text.size() + 1) * sizeof(wchar_t));
  GlobalUnlock(memory);
  if (!SetClipboardData(CF_UNICODETEXT, memory)) fail("SetClipboardData");
  CloseClipboard();
  b.copy = nowMs() - start;
  return b;
}

// The characters on the clipboard as text.
std::size_t clipboardLength() {
  std::size_t length = 0;
  if (!OpenClipboard(nullptr)) fail("the clipboard is busy");
  if (HANDLE h = GetClipboardData(CF_UNICODETEXT)) {
    if (const auto* p = static_cast<const wchar_t*>(GlobalLock(h))) {
      length = std::wcslen(p);
      GlobalUnlock(h);
    }
  }
  CloseClipboard();
  return length;
}

// A click on the head of the list's column c, until the window is painted.
double clickHead(HWND list, HWND top, int c) {
  HWND header = ListView_GetHeader(list);
  RECT r{};
  Header_GetItemRect(header, c, &r);
  const LPARAM at = MAKELPARAM((r.left + r.right) / 2, (r.top + r.bottom) / 2);
  const double start = nowMs();
  SendMessageW(header, WM_LBUTTONDOWN, MK_LBUTTON, at);
  SendMessageW(header, WM_LBUTTONUP, 0, at);
  untilPainted(top);
  return nowMs() - start;
}

// A key pressed on the list with Ctrl held.
void ctrlKey(HWND list, WPARAM key) {
  BYTE state[256] = {};
  GetKeyboardState(state);
  state[VK_CONTROL] = 0x80;
  SetKeyboardState(state);
  SendMessageW(list, WM_KEYDOWN, key, 0);
  SendMessageW(list, WM_KEYUP, key, 0);
  state[VK_CONTROL] = 0;
  SetKeyboardState(state);
}

const wchar_t* const kTitles = L"姓名\t金额\t日期\t部门|";

// One round of the real window: fill, show, End, sort twice, copy all, close.
Times windowRound(const Server& server, Rows& rows, int round, const Baseline* expect) {
  const int n = rows.count();
  Times t;
  IDispatch* builder = server.newBuilder();
  Late b(builder);
  const std::wstring caption = L"基准 " + std::to_wstring(n) + L" #" + std::to_wstring(round);
  check(b.put(L"Caption", V(caption)).hr, "Caption");
  check(b.put(L"Titles", V(kTitles)).hr, "Titles");
  check(b.put(L"Cols", V(4)).hr, "Cols");
  V col(2), type(2);  // the amounts: CTDouble
  check(b.call(L"SetColType", {V::byRef(col), V::byRef(type)}).hr, "SetColType");

  // ---- fill: Add once per row, each row's string by reference ------------------------
  DISPID add = DISPID_UNKNOWN;
  check(b.dispid(L"Add", &add), "Add");
  double start = nowMs();
  for (int i = 0; i < n; ++i) {
    VARIANT arg;
    VariantInit(&arg);
    V_VT(&arg) = VT_BYREF | VT_BSTR;
    V_BSTRREF(&arg) = &rows.at(i);
    DISPPARAMS dp{&arg, nullptr, 1, 0};
    const HRESULT hr = builder->Invoke(add, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &dp, nullptr, nullptr, nullptr);
    if (FAILED(hr)) fail("Add", hr);
  }
  t.fill = nowMs() - start;

  // ---- show ----------------------------------------------------------------------------
  DISPID show = DISPID_UNKNOWN;
  check(b.dispid(L"Show", &show), "Show");
  std::vector<V> modeless{V(0)};
  start = nowMs();
  check(b.invoke(show, DISPATCH_METHOD, modeless).hr, "Show");
  HWND w = FindWindowW(L"LumoDisplayer", caption.c_str());
  if (!w) fail("the window did not appear");
  untilPainted(w);
  t.show = nowMs() - start;
  HWND list = lumo::test::childOfClass(w, WC_LISTVIEWW);
  if (!list || ListView_GetItemCount(list) != n) fail("the list does not hold every row");
  if (ListView_GetTopIndex(list) != 0) fail("the list does not start at its first row");

  // ---- scroll to the last row ------------------------------------------------------------
  t.scroll = endKey(list, w, n, "the last row is not on screen");
  if (ListView_GetNextItem(list, -1, LVNI_FOCUSED) != n - 1) fail("the last row is not the focused one");
  V row = b.get(L"Row").result;
  check(VariantChangeType(row.get(), row.get(), 0, VT_I4), "Row");
  if (V_I4(row.get()) != n) fail("the builder's Row is not the last row");
  wchar_t buf[64] = {};
  ListView_GetItemText(list, n - 1, 4, buf, 64);
  if (cell(rows.at(n - 1), 3) != buf) fail("the last row shows the wrong text");

  if (expect) {
    // ---- sort on the amounts, then on the names -------------------------------------------
    // (the first sort meets the rows in the order they were added, as the baselines do)
    t.sortNumber = clickHead(list, w, 2);
    ListView_GetItemText(list, 0, 2, buf, 64);
    if (expect->firstAmount != buf) fail("the amounts did not sort as the baseline did");
    t.sortText = clickHead(list, w, 1);
    ListView_GetItemText(list, 0, 1, buf, 64);
    if (expect->firstName != buf) fail("the names did not sort as the baseline did");

    // ---- copy every row -----------------------------------------------------------------------
    ctrlKey(list, 'A');
    drain();
    if (ListView_GetSelectedCount(list) != static_cast<UINT>(n)) fail("Ctrl+A did not select every row");
    start = nowMs();
    ctrlKey(list, 'C');
    t.copy = nowMs() - start;
    if (clipboardLength() != expect->copied) fail("the clipboard does not hold the whole table");
  }

  SendMessageW(w, WM_CLOSE, 0, 0);
  drain();
  builder->Release();
  return t;
}

// ---- the bare list view -------------------------------------------------------------------

struct RawList {
  Rows* rows = nullptr;
  std::wstring cellText;
};

LRESULT CALLBACK rawProc(HWND h, UINT msg, WPARAM wp, LPARAM lp) {
  auto* self = reinterpret_cast<RawList*>(GetWindowLongPtrW(h, GWLP_USERDATA));
  if (msg == WM_NCCREATE) {
    self = static_cast<RawList*>(reinterpret_cast<CREATESTRUCTW*>(lp)->lpCreateParams);
    SetWindowLongPtrW(h, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(self));
  }
  if (msg == WM_SIZE) {
    if (HWND list = lumo::test::childOfClass(h, WC_LISTVIEWW)) MoveWindow(list, 0, 0, LOWORD(lp), HIWORD(lp), TRUE);
    return 0;
  }
  if (msg == WM_NOTIFY && self) {
    auto* nm = reinterpret_cast<NMHDR*>(lp);
    if (nm->code == LVN_GETDISPINFOW) {
      auto* di = reinterpret_cast<NMLVDISPINFOW*>(nm);
      if (di->item.mask & LVIF_TEXT) {
        self->cellText = cell(self->rows->at(di->item.iItem), di->item.iSubItem);
        di->item.pszText = self->cellText.data();
      }
      return 0;
    }
  }
  return DefWindowProcW(h, msg, wp, lp);
}

// One round of the bare list: created, shown, End, destroyed.
Times rawRound(Rows& rows) {
  const int n = rows.count();
  Times t;
  RawList state{&rows, {}};
  double start = nowMs();
  HWND w = CreateWindowExW(0, L"LumoBenchRawList", L"raw", WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN, CW_USEDEFAULT,
                           CW_USEDEFAULT, 760, 520, nullptr, nullptr, GetModuleHandleW(nullptr), &state);
  RECT client;
  GetClientRect(w, &client);
  HWND list = CreateWindowExW(WS_EX_CLIENTEDGE, WC_LISTVIEWW, nullptr,
                              WS_CHILD | WS_VISIBLE | LVS_REPORT | LVS_OWNERDATA | LVS_SHOWSELALWAYS | LVS_SINGLESEL, 0,
                              0, client.right, client.bottom, w, nullptr, GetModuleHandleW(nullptr), nullptr);
  ListView_SetExtendedListViewStyle(list, LVS_EX_FULLROWSELECT | LVS_EX_GRIDLINES | LVS_EX_DOUBLEBUFFER);
  const wchar_t* heads[] = {L"姓名", L"金额", L"日期", L"部门"};
  for (int c = 0; c < 4; ++c) {
    LVCOLUMNW lc{};
    lc.mask = LVCF_WIDTH | LVCF_FMT | LVCF_TEXT;
    lc.fmt = c == 1 ? LVCFMT_RIGHT : LVCFMT_LEFT;
    lc.cx = 107;
    lc.pszText = const_cast<wchar_t*>(heads[c]);
    ListView_InsertColumn(list, c, &lc);
  }
  ListView_SetItemCountEx(list, n, LVSICF_NOINVALIDATEALL | LVSICF_NOSCROLL);
  ShowWindow(w, SW_SHOWNORMAL);
  UpdateWindow(w);
  SetForegroundWindow(w);
  untilPainted(w);
  t.show = nowMs() - start;

  t.scroll = endKey(list, w, n, "the bare list did not reach its last row");
  DestroyWindow(w);
  drain();
  return t;
}

void keepBest(Times& best, const Times& t) {
  best.fill = std::min(best.fill, t.fill);
  best.show = std::min(best.show, t.show);
  best.scroll = std::min(best.scroll, t.scroll);
  best.sortText = std::min(best.sortText, t.sortText);
  best.sortNumber = std::min(best.sortNumber, t.sortNumber);
  best.copy = std::min(best.copy, t.copy);
}

void keepBest(Baseline& best, const Baseline& b) {
  best.sortText = std::min(best.sortText, b.sortText);
  best.sortNumber = std::min(best.sortNumber, b.sortNumber);
  best.copy = std::min(best.copy, b.copy);
  best.firstName = b.firstName;
  best.firstAmount = b.firstAmount;
  best.copied = b.copied;
}

}  // namespace

int main(int argc, char** argv) {
  int rounds = 3;
  std::vector<int> sizes;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--rounds") == 0 && i + 1 < argc) rounds = std::max(1, std::atoi(argv[++i]));
    else sizes.push_back(std::atoi(argv[i]));
  }
  if (sizes.empty()) sizes = {10000, 1000000};
  for (int n : sizes)
    if (n < 2) fail("each size needs at least two rows");

  check(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), "CoInitializeEx");
  INITCOMMONCONTROLSEX icc{sizeof icc, ICC_LISTVIEW_CLASSES | ICC_BAR_CLASSES};
  InitCommonControlsEx(&icc);
  WNDCLASSEXW wc{};
  wc.cbSize = sizeof wc;
  wc.hInstance = GetModuleHandleW(nullptr);
  wc.hCursor = LoadCursorW(nullptr, IDC_ARROW);
  wc.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_BTNFACE + 1);
  wc.lpfnWndProc = &rawProc;
  wc.lpszClassName = L"LumoBenchRawList";
  RegisterClassExW(&wc);

  struct Line {
    int n;
    Times window, raw;
    Baseline base;
  };
  std::vector<Line> lines;
  {
    Server server;
    // A first small round loads and warms everything that a first window needs.
    {
      Rows warm(200);
      const Baseline warmBase = rawSortAndCopy(warm);
      windowRound(server, warm, 0, &warmBase);
      rawRound(warm);
    }
    for (int n : sizes) {
      Rows rows(n);
      const double inf = 1e300;
      Line line{n, {inf, inf, inf, inf, inf, inf}, {inf, inf, inf, inf, inf, inf}, {inf, inf, inf, {}, {}, 0}};
      for (int r = 1; r <= rounds; ++r) {
        keepBest(line.base, rawSortAndCopy(rows));
        keepBest(line.window, windowRound(server, rows, r, &line.base));
        keepBest(line.raw, rawRound(rows));
      }
      lines.push_back(line);
      std::fprintf(stderr, "  %d rows done\n", n);
    }
  }

  std::printf("display window, N rows x 4 columns under Wine, best of %d rounds (ms)\n", rounds);
  std::printf("%9s | %9s | %8s %9s %8s | %8s %9s | %6s %6s\n", "rows", "fill", "show", "scroll", "total", "raw.show",
              "raw.scrl", "ratio", "raw.r");
  const Line& first = lines.front();
  for (const Line& l : lines) {
    const double total = l.window.show + l.window.scroll, firstTotal = first.window.show + first.window.scroll;
    const double raw = l.raw.show + l.raw.scroll, firstRaw = first.raw.show + first.raw.scroll;
    std::printf("%9d | %9.1f | %8.1f %9.1f %8.1f | %8.1f %9.1f | %6.2f %6.2f\n", l.n, l.window.fill, l.window.show,
                l.window.scroll, total, l.raw.show, l.raw.scroll, total / firstTotal, raw / firstRaw);
  }
  std::printf("fill = Add per row through IDispatch; show = Show until painted; scroll = End key until painted\n");
  std::printf("ratio = (show + scroll) / the same at %d rows; raw = a bare owner-data list view of the same rows\n",
              first.n);
  if (lines.size() > 1) {
    const Line& last = lines.back();
    std::printf("ratio %d/%d: show %.2f, scroll %.2f, show+scroll %.2f (raw list %.2f)\n", last.n, first.n,
                last.window.show / first.window.show, last.window.scroll / first.window.scroll,
                (last.window.show + last.window.scroll) / (first.window.show + first.window.scroll),
                (last.raw.show + last.raw.scroll) / (first.raw.show + first.raw.scroll));
  }

  std::printf("\nsorting and copying, best of %d rounds (ms)\n", rounds);
  std::printf("%9s | %9s %9s %6s | %9s %9s %6s | %9s %9s %6s\n", "rows", "sort.text", "raw", "ratio", "sort.num",
              "raw", "ratio", "copy.all", "raw", "ratio");
  for (const Line& l : lines)
    std::printf("%9d | %9.1f %9.1f %6.2f | %9.1f %9.1f %6.2f | %9.1f %9.1f %6.2f\n", l.n, l.window.sortText,
                l.base.sortText, l.window.sortText / l.base.sortText, l.window.sortNumber, l.base.sortNumber,
                l.window.sortNumber / l.base.sortNumber, l.window.copy, l.base.copy, l.window.copy / l.base.copy);
  std::printf("sort = a click on a column head until painted; raw = std::stable_sort of an index, same comparison\n");
  std::printf("copy.all = Ctrl+C with every row selected; raw = the same text written to the clipboard directly\n");
  if (lines.size() > 1) {
    const Line& first = lines.front();
    const Line& last = lines.back();
    auto perRow = [&](double big, double small) {
      return (big / last.n) / (small / first.n);
    };
    std::printf("per-row cost %d vs %d: sort.text %.2f, sort.num %.2f, copy.all %.2f\n", last.n, first.n,
                perRow(last.window.sortText, first.window.sortText), perRow(last.window.sortNumber, first.window.sortNumber),
                perRow(last.window.copy, first.window.copy));
  }
  CoUninitialize();
  return 0;
}
