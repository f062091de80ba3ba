// The development host's employee picker, as the host's item lookup shows it: a
// modal window with the departments on the left (all employees, each
// department, and those without one), the employees of the chosen branch on the
// right with a search box over number and name, and OK / Cancel. OK without a
// chosen employee is a choice of nothing; Cancel, Esc and the close box cancel.
#include <windows.h>
#include <commctrl.h>

#include <string>
#include <vector>

#include "automation/win/wide.h"
#include "devhost/components/mobile_components.h"

namespace lumo::devhost {

namespace {

constexpr const wchar_t* kPickerClass = L"LumoDevHostPicker";
enum : int { idTree = 101, idSearch = 102, idList = 103, idSearchLabel = 104 };
constexpr LPARAM kAll = -1, kNoDepartment = 0;

struct Texts {
  const wchar_t *title, *all, *none, *search, *number, *name, *mobile, *ok, *cancel, *group;
};

const Texts& textsFor(const ustring& language) {
  static const Texts chs{L"选择职员", L"全部职员", L"无部门", L"查找:", L"代码", L"名称", L"移动电话",
                         L"确定", L"取消", L"(上级组)"};
  static const Texts cht{L"選擇職員", L"全部職員", L"無部門", L"查找:", L"代碼", L"名稱", L"行動電話",
                         L"確定", L"取消", L"(上級組)"};
  static const Texts en{L"Choose an employee", L"All employees", L"No department", L"Find:", L"Number", L"Name",
                        L"Mobile", L"OK", L"Cancel", L"(group)"};
  if (language == u"en") return en;
  if (language == u"cht") return cht;
  return chs;
}

class Picker {
 public:
  explicit Picker(const PickerRequest& r) : request_(r), texts_(textsFor(r.language)) {}

  PickerChoice run() {
    registerClass();
    HWND owner = GetActiveWindow();
    HWND hwnd = CreateWindowExW(WS_EX_DLGMODALFRAME | WS_EX_CONTROLPARENT, kPickerClass, texts_.title,
                                WS_POPUP | WS_CAPTION | WS_SYSMENU | WS_THICKFRAME, CW_USEDEFAULT, CW_USEDEFAULT, 640,
                                440, owner, nullptr, module(), this);
    if (!hwnd) throw Error(errnum::CannotCreateObject, u"The employee picker window could not be created", u"GLView");
    RECT r{};
    GetWindowRect(hwnd, &r);
    SetWindowPos(hwnd, nullptr, (GetSystemMetrics(SM_CXSCREEN) - (r.right - r.left)) / 2,
                 (GetSystemMetrics(SM_CYSCREEN) - (r.bottom - r.top)) / 2, 0, 0, SWP_NOSIZE | SWP_NOZORDER);
    if (owner) EnableWindow(owner, FALSE);
    ShowWindow(hwnd, SW_SHOW);
    SetForegroundWindow(hwnd);
    MSG msg;
    bool quit = false;
    while (!done_ && GetMessageW(&msg, nullptr, 0, 0) > 0) {
      if (msg.message == WM_QUIT) {
        quit = true;
        break;
      }
      if (!IsDialogMessageW(hwnd, &msg)) {
        TranslateMessage(&msg);
        DispatchMessageW(&msg);
      }
    }
    if (owner) EnableWindow(owner, TRUE);
    if (IsWindow(hwnd)) DestroyWindow(hwnd);
    UnregisterClassW(kPickerClass, module());
    if (owner) SetActiveWindow(owner);
    if (quit) PostQuitMessage(static_cast<int>(msg.wParam));
    return choice_;
  }

 private:
  // The module that holds this code: the class goes with it, and is registered
  // for each picker and let go after it, as the module may be unloaded between two.
  static HINSTANCE module() {
    HMODULE m = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCWSTR>(&Picker::proc), &m);
    return m;
  }

  static void registerClass() {
    WNDCLASSEXW wc{};
    wc.cbSize = sizeof wc;
    if (GetClassInfoExW(module(), kPickerClass, &wc)) return;
    wc.lpfnWndProc = &Picker::proc;
    wc.hInstance = module();
    wc.hCursor = LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_ARROW));
    wc.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_BTNFACE + 1);
    wc.lpszClassName = kPickerClass;
    RegisterClassExW(&wc);
  }

  static LRESULT CALLBACK proc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
    Picker* self = reinterpret_cast<Picker*>(GetWindowLongPtrW(hwnd, GWLP_USERDATA));
    if (msg == WM_NCCREATE) {
      self = static_cast<Picker*>(reinterpret_cast<CREATESTRUCTW*>(lp)->lpCreateParams);
      SetWindowLongPtrW(hwnd, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(self));
      self->hwnd_ = hwnd;
    }
    if (!self) return DefWindowProcW(hwnd, msg, wp, lp);
    try {
      LRESULT result = 0;
      if (self->onMessage(msg, wp, lp, result)) return result;
    } catch (...) {
      // A picker that failed cancels.
      self->finish(PickerChoice{});
    }
    return DefWindowProcW(hwnd, msg, wp, lp);
  }

  HWND child(const wchar_t* cls, DWORD style, DWORD ex, int id, const wchar_t* text = L"") {
    return CreateWindowExW(ex, cls, text, WS_CHILD | WS_VISIBLE | style, 0, 0, 10, 10, hwnd_,
                           reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), module(), nullptr);
  }

  bool onMessage(UINT msg, WPARAM wp, LPARAM lp, LRESULT& result) {
    switch (msg) {
      case WM_CREATE:
        create();
        return true;
      case WM_SIZE:
        layout();
        return true;
      case WM_COMMAND:
        if (LOWORD(wp) == IDOK) ok();
        else if (LOWORD(wp) == IDCANCEL) finish(PickerChoice{});
        else if (LOWORD(wp) == idSearch && HIWORD(wp) == EN_CHANGE) fill();
        return true;
      case WM_NOTIFY: {
        const auto* h = reinterpret_cast<const NMHDR*>(lp);
        if (h->idFrom == idTree && h->code == TVN_SELCHANGEDW) fill();
        else if (h->idFrom == idList && h->code == NM_DBLCLK) ok();
        result = 0;
        return true;
      }
      case WM_CLOSE:
        finish(PickerChoice{});
        return true;
      default:
        return false;
    }
  }

  void create() {
    NONCLIENTMETRICSW m{};
    m.cbSize = sizeof m;
    SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof m, &m, 0);
    font_ = CreateFontIndirectW(&m.lfMessageFont);
    tree_ = child(WC_TREEVIEWW, WS_TABSTOP | WS_BORDER | TVS_HASLINES | TVS_LINESATROOT | TVS_HASBUTTONS |
                                    TVS_SHOWSELALWAYS, 0, idTree);
    label_ = child(L"STATIC", SS_LEFT, 0, idSearchLabel, texts_.search);
    search_ = child(L"EDIT", WS_TABSTOP | ES_AUTOHSCROLL, WS_EX_CLIENTEDGE, idSearch);
    list_ = child(WC_LISTVIEWW, WS_TABSTOP | LVS_REPORT | LVS_SINGLESEL | LVS_SHOWSELALWAYS, WS_EX_CLIENTEDGE, idList);
    ListView_SetExtendedListViewStyle(list_, LVS_EX_FULLROWSELECT | LVS_EX_GRIDLINES);
    ok_ = child(L"BUTTON", WS_TABSTOP | BS_DEFPUSHBUTTON, 0, IDOK, texts_.ok);
    cancel_ = child(L"BUTTON", WS_TABSTOP | BS_PUSHBUTTON, 0, IDCANCEL, texts_.cancel);
    for (HWND c = GetWindow(hwnd_, GW_CHILD); c; c = GetWindow(c, GW_HWNDNEXT))
      SendMessageW(c, WM_SETFONT, reinterpret_cast<WPARAM>(font_), TRUE);
    const wchar_t* heads[] = {texts_.number, texts_.name, texts_.mobile};
    const int widths[] = {80, 150, 120};
    for (int i = 0; i < 3; ++i) {
      LVCOLUMNW c{};
      c.mask = LVCF_TEXT | LVCF_WIDTH;
      c.pszText = const_cast<wchar_t*>(heads[i]);
      c.cx = widths[i];
      ListView_InsertColumn(list_, i, &c);
    }
    auto add = [&](HTREEITEM parent, const wchar_t* text, LPARAM key) {
      TVINSERTSTRUCTW in{};
      in.hParent = parent;
      in.hInsertAfter = TVI_LAST;
      in.item.mask = TVIF_TEXT | TVIF_PARAM;
      in.item.pszText = const_cast<wchar_t*>(text);
      in.item.lParam = key;
      return reinterpret_cast<HTREEITEM>(SendMessageW(tree_, TVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&in)));
    };
    HTREEITEM all = add(TVI_ROOT, texts_.all, kAll);
    for (const PickerDepartment& d : request_.departments) add(all, wz(d.name.empty() ? u"-" : d.name), d.id);
    add(all, texts_.none, kNoDepartment);
    TreeView_Expand(tree_, all, TVE_EXPAND);
    TreeView_SelectItem(tree_, all);
    fill();
  }

  void layout() {
    RECT r{};
    GetClientRect(hwnd_, &r);
    const int W = r.right, H = r.bottom, m = 8, bh = 26, bw = 84, left = W * 34 / 100;
    MoveWindow(tree_, m, m, left - m, H - 3 * m - bh, TRUE);
    MoveWindow(label_, left + m, m + 4, 60, 20, TRUE);
    MoveWindow(search_, left + m + 64, m, W - left - 2 * m - 64, 24, TRUE);
    MoveWindow(list_, left + m, m + 32, W - left - 2 * m, H - 4 * m - bh - 24, TRUE);
    MoveWindow(cancel_, W - m - bw, H - m - bh, bw, bh, TRUE);
    MoveWindow(ok_, W - 2 * m - 2 * bw, H - m - bh, bw, bh, TRUE);
  }

  LPARAM branch() const {
    TVITEMW item{};
    item.mask = TVIF_PARAM;
    item.hItem = TreeView_GetSelection(tree_);
    if (!item.hItem || !TreeView_GetItem(tree_, &item)) return kAll;
    return item.lParam;
  }

  void fill() {
    if (!list_) return;
    wchar_t buf[256] = L"";
    GetWindowTextW(search_, buf, 256);
    const ustring wanted = trim(fromWide(buf));
    const LPARAM b = branch();
    SendMessageW(list_, WM_SETREDRAW, FALSE, 0);
    ListView_DeleteAllItems(list_);
    shown_.clear();
    for (const PickerEmployee& e : request_.employees) {
      if (b != kAll && (e.group || e.department != b)) continue;
      if (!wanted.empty() && e.name.find(wanted) == ustring::npos && e.number.find(wanted) == ustring::npos) continue;
      const int row = static_cast<int>(shown_.size());
      shown_.push_back(e.id);
      LVITEMW it{};
      it.mask = LVIF_TEXT;
      it.iItem = row;
      it.pszText = const_cast<wchar_t*>(wz(e.number));
      ListView_InsertItem(list_, &it);
      const ustring name = e.group ? e.name + fromWide(texts_.group) : e.name;
      ListView_SetItemText(list_, row, 1, const_cast<wchar_t*>(wz(name)));
      const ustring mobile = e.mobile.isNull() ? ustring() : e.mobile.toString();
      ListView_SetItemText(list_, row, 2, const_cast<wchar_t*>(wz(mobile)));
    }
    SendMessageW(list_, WM_SETREDRAW, TRUE, 0);
    InvalidateRect(list_, nullptr, TRUE);
  }

  void ok() {
    PickerChoice c;
    c.cancelled = false;
    const int row = ListView_GetNextItem(list_, -1, LVNI_SELECTED);
    if (row >= 0 && static_cast<std::size_t>(row) < shown_.size()) c.itemId = shown_[static_cast<std::size_t>(row)];
    finish(c);
  }

  void finish(const PickerChoice& c) {
    choice_ = c;
    done_ = true;
    ShowWindow(hwnd_, SW_HIDE);
    PostMessageW(hwnd_, WM_NULL, 0, 0);  // wakes the loop
  }

 public:
  ~Picker() {
    if (font_) DeleteObject(font_);
  }

 private:
  const PickerRequest& request_;
  const Texts& texts_;
  HWND hwnd_ = nullptr, tree_ = nullptr, label_ = nullptr, search_ = nullptr, list_ = nullptr, ok_ = nullptr,
       cancel_ = nullptr;
  HFONT font_ = nullptr;
  std::vector<int32_t> shown_;
  PickerChoice choice_;
  bool done_ = false;
};

}  // namespace

PickerChoice showPickerWindow(const PickerRequest& request) {
  INITCOMMONCONTROLSEX icc{sizeof icc, ICC_TREEVIEW_CLASSES | ICC_LISTVIEW_CLASSES};
  InitCommonControlsEx(&icc);
  Picker picker(request);
  return picker.run();
}

}  // namespace lumo::devhost
