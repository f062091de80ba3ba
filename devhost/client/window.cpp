// The main window: an ERP desktop's frame with the SMS menu, a command bar, a
// record of the commands run, and a status line naming user, language and database.
#include <windows.h>
#include <commctrl.h>

#include <ctime>

#include "automation/win/com_ptr.h"
#include "devhost/client/app.h"

namespace lumo::client {

namespace {

const wchar_t kClassName[] = L"LumoErpMainWindow";

enum : UINT {
  IdCommandBase = 1000,  // + index in commands()
  IdSwitchUser = 1100,
  IdExit = 1101,
  IdToolbar = 1200,
  IdList = 1201,
  IdStatus = 1202,
};

constexpr UINT WM_RUN_QUEUED = WM_APP + 1;

struct MainWindow {
  App* app = nullptr;
  HWND hwnd = nullptr;
  HWND toolbar = nullptr;
  HWND list = nullptr;
  HWND status = nullptr;
  HFONT font = nullptr;
  UINT dpi = 96;
};

MainWindow* self(HWND hwnd) { return reinterpret_cast<MainWindow*>(GetWindowLongPtrW(hwnd, GWLP_USERDATA)); }

HMENU buildMenu(const App& app) {
  HMENU bar = CreateMenu();
  HMENU file = CreatePopupMenu();
  AppendMenuW(file, MF_STRING, IdSwitchUser, wz(app.tr(u"切换用户")));
  AppendMenuW(file, MF_SEPARATOR, 0, nullptr);
  AppendMenuW(file, MF_STRING, IdExit, wz(app.tr(u"退出")));
  AppendMenuW(bar, MF_POPUP, reinterpret_cast<UINT_PTR>(file), wz(app.tr(u"文件(&F)")));
  HMENU sms = CreatePopupMenu();
  const auto& list = commands();
  for (std::size_t i = 0; i < list.size(); ++i)
    AppendMenuW(sms, MF_STRING, IdCommandBase + i, wz(app.tr(list[i].caption)));
  AppendMenuW(bar, MF_POPUP, reinterpret_cast<UINT_PTR>(sms), wz(app.tr(u"短信(&M)")));
  return bar;
}

void setStatus(MainWindow& w) {
  const App& app = *w.app;
  ustring user = app.signedIn() ? app.user() : app.tr(u"未登录");
  ustring database = databaseLabel(app.propsString());
  if (database.empty()) database = app.tr(u"未知");
  ustring parts[3] = {app.trf(u"用户: %1", {user}), app.trf(u"语言: %1", {app.tr(languageNameKey(app.language()))}),
                      app.trf(u"数据库: %1", {database})};
  for (int i = 0; i < 3; ++i)
    SendMessageW(w.status, SB_SETTEXTW, static_cast<WPARAM>(i), reinterpret_cast<LPARAM>(wz(parts[i])));
}

void layout(MainWindow& w) {
  RECT rc;
  GetClientRect(w.hwnd, &rc);
  SendMessageW(w.toolbar, TB_AUTOSIZE, 0, 0);
  SendMessageW(w.status, WM_SIZE, 0, 0);
  int widths[3] = {scaled(220, w.dpi), scaled(440, w.dpi), -1};
  SendMessageW(w.status, SB_SETPARTS, 3, reinterpret_cast<LPARAM>(widths));
  RECT tb, sb;
  GetWindowRect(w.toolbar, &tb);
  GetWindowRect(w.status, &sb);
  int top = tb.bottom - tb.top;
  int bottom = rc.bottom - (sb.bottom - sb.top);
  int margin = scaled(6, w.dpi);
  MoveWindow(w.list, margin, top + margin, rc.right - 2 * margin, bottom - top - 2 * margin, TRUE);
  // The result column takes whatever width the others leave.
  SendMessageW(w.list, LVM_SETCOLUMNWIDTH, 2, LVSCW_AUTOSIZE_USEHEADER);
}

void setColumns(MainWindow& w, bool create) {
  const App& app = *w.app;
  const char16_t* heads[3] = {u"时间", u"命令", u"结果"};
  const int widths[3] = {90, 200, 420};
  for (int i = 0; i < 3; ++i) {
    ustring text = app.tr(heads[i]);
    LVCOLUMNW c{};
    c.mask = LVCF_TEXT | LVCF_WIDTH | LVCF_SUBITEM;
    c.pszText = const_cast<wchar_t*>(wz(text));
    c.cx = scaled(widths[i], w.dpi);
    c.iSubItem = i;
    SendMessageW(w.list, create ? LVM_INSERTCOLUMNW : LVM_SETCOLUMNW, static_cast<WPARAM>(i),
                 reinterpret_cast<LPARAM>(&c));
  }
}

void setToolbarButtons(MainWindow& w, bool create) {
  const auto& list = commands();
  for (std::size_t i = 0; i < list.size(); ++i) {
    ustring text = w.app->tr(list[i].caption);
    if (create) {
      TBBUTTON b{};
      b.iBitmap = I_IMAGENONE;
      b.idCommand = static_cast<int>(IdCommandBase + i);
      b.fsState = TBSTATE_ENABLED;
      b.fsStyle = BTNS_BUTTON | BTNS_AUTOSIZE | BTNS_SHOWTEXT;
      b.iString = reinterpret_cast<INT_PTR>(wz(text));
      SendMessageW(w.toolbar, TB_ADDBUTTONSW, 1, reinterpret_cast<LPARAM>(&b));
    } else {
      TBBUTTONINFOW info{};
      info.cbSize = sizeof info;
      info.dwMask = TBIF_TEXT;
      info.pszText = const_cast<wchar_t*>(wz(text));
      SendMessageW(w.toolbar, TB_SETBUTTONINFOW, IdCommandBase + i, reinterpret_cast<LPARAM>(&info));
    }
  }
  SendMessageW(w.toolbar, TB_AUTOSIZE, 0, 0);
}

void applyFont(MainWindow& w) {
  HFONT old = w.font;
  w.font = createUiFont(w.dpi);
  for (HWND child : {w.toolbar, w.list, w.status}) SendMessageW(child, WM_SETFONT, reinterpret_cast<WPARAM>(w.font), TRUE);
  if (old) DeleteObject(old);
}

// Everything the language or the user decides: caption, menu, bar, heads, status.
void applyTexts(MainWindow& w) {
  const App& app = *w.app;
  ustring caption = app.tr(u"Lumo ERP 演示客户端") + u" - " + (app.signedIn() ? app.user() : app.tr(u"未登录"));
  SetWindowTextW(w.hwnd, wz(caption));
  HMENU old = GetMenu(w.hwnd);
  SetMenu(w.hwnd, buildMenu(app));
  if (old) DestroyMenu(old);
  setToolbarButtons(w, false);
  setColumns(w, false);
  setStatus(w);
  layout(w);
}

void addRecord(MainWindow& w, const Command& c, const CallResult& r) {
  wchar_t stamp[16];
  std::time_t now = std::time(nullptr);
  std::tm* t = std::localtime(&now);
  wcsftime(stamp, 16, L"%H:%M:%S", t);
  ustring cells[3] = {fromWide(stamp), w.app->tr(c.caption),
                      r.ok ? w.app->tr(u"已完成") : r.description + u" (" + r.source + u")"};
  LVITEMW item{};
  item.mask = LVIF_TEXT;
  item.iItem = static_cast<int>(SendMessageW(w.list, LVM_GETITEMCOUNT, 0, 0));
  item.pszText = const_cast<wchar_t*>(wz(cells[0]));
  int row = static_cast<int>(SendMessageW(w.list, LVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&item)));
  for (int i = 1; i < 3; ++i) {
    LVITEMW sub{};
    sub.iSubItem = i;
    sub.pszText = const_cast<wchar_t*>(wz(cells[i]));
    SendMessageW(w.list, LVM_SETITEMTEXTW, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&sub));
  }
  SendMessageW(w.list, LVM_ENSUREVISIBLE, static_cast<WPARAM>(row), FALSE);
}

void runCommand(MainWindow& w, const Command& c) {
  CallResult r = w.app->runCommand(c);
  if (!IsWindow(w.hwnd)) return;  // closed while the command's window was open
  addRecord(w, c, r);
  w.app->showError(w.hwnd, w.app->tr(u"命令执行失败"), w.app->trf(u"命令: %1", {ustring(c.member)}), r);
}

void switchUser(MainWindow& w) {
  App& app = *w.app;
  ustring user = app.user();
  Language language = app.language();
  if (!runSignInDialog(app, w.hwnd, user, language)) return;
  CallResult r = app.signIn(user, language);
  if (!r.ok) app.showError(w.hwnd, app.tr(u"登录失败"), ustring(), r);
  applyTexts(w);
}

LRESULT CALLBACK mainProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
  MainWindow* w = self(hwnd);
  switch (msg) {
    case WM_NCCREATE: {
      auto* cs = reinterpret_cast<CREATESTRUCTW*>(lp);
      w = static_cast<MainWindow*>(cs->lpCreateParams);
      w->hwnd = hwnd;
      SetWindowLongPtrW(hwnd, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(w));
      break;
    }
    case WM_CREATE: {
      HINSTANCE inst = reinterpret_cast<CREATESTRUCTW*>(lp)->hInstance;
      w->dpi = dpiOf(hwnd);
      w->toolbar = CreateWindowExW(0, TOOLBARCLASSNAMEW, nullptr,
                                   WS_CHILD | WS_VISIBLE | TBSTYLE_FLAT | TBSTYLE_LIST | TBSTYLE_WRAPABLE | CCS_TOP | CCS_NODIVIDER, 0,
                                   0, 0, 0, hwnd, reinterpret_cast<HMENU>(static_cast<INT_PTR>(IdToolbar)), inst,
                                   nullptr);
      SendMessageW(w->toolbar, TB_BUTTONSTRUCTSIZE, sizeof(TBBUTTON), 0);
      SendMessageW(w->toolbar, TB_SETEXTENDEDSTYLE, 0, TBSTYLE_EX_MIXEDBUTTONS);
      w->list = CreateWindowExW(WS_EX_CLIENTEDGE, WC_LISTVIEWW, nullptr,
                                WS_CHILD | WS_VISIBLE | WS_TABSTOP | LVS_REPORT | LVS_SINGLESEL | LVS_SHOWSELALWAYS, 0,
                                0, 0, 0, hwnd, reinterpret_cast<HMENU>(static_cast<INT_PTR>(IdList)), inst, nullptr);
      SendMessageW(w->list, LVM_SETEXTENDEDLISTVIEWSTYLE, 0, LVS_EX_FULLROWSELECT | LVS_EX_DOUBLEBUFFER);
      w->status = CreateWindowExW(0, STATUSCLASSNAMEW, nullptr, WS_CHILD | WS_VISIBLE | SBARS_SIZEGRIP, 0, 0, 0, 0,
                                  hwnd, reinterpret_cast<HMENU>(static_cast<INT_PTR>(IdStatus)), inst, nullptr);
      applyFont(*w);
      setToolbarButtons(*w, true);
      setColumns(*w, true);
      applyTexts(*w);
      return 0;
    }
    case WM_SIZE:
      if (w && w->list) layout(*w);
      return 0;
    case WM_DPICHANGED: {
      w->dpi = HIWORD(wp);
      applyFont(*w);
      setToolbarButtons(*w, false);  // the buttons measure their texts again in the new font
      for (int i = 0; i < 3; ++i) {
        const int widths[3] = {90, 200, 420};
        SendMessageW(w->list, LVM_SETCOLUMNWIDTH, static_cast<WPARAM>(i), scaled(widths[i], w->dpi));
      }
      const RECT* r = reinterpret_cast<const RECT*>(lp);
      SetWindowPos(hwnd, nullptr, r->left, r->top, r->right - r->left, r->bottom - r->top,
                   SWP_NOZORDER | SWP_NOACTIVATE);
      layout(*w);
      return 0;
    }
    case WM_SETFOCUS:
      if (w && w->list) SetFocus(w->list);
      return 0;
    case WM_COMMAND: {
      UINT id = LOWORD(wp);
      const auto& list = commands();
      if (id >= IdCommandBase && id < IdCommandBase + list.size()) {
        runCommand(*w, list[id - IdCommandBase]);
        return 0;
      }
      if (id == IdSwitchUser) {
        switchUser(*w);
        return 0;
      }
      if (id == IdExit) {
        PostMessageW(hwnd, WM_CLOSE, 0, 0);
        return 0;
      }
      break;
    }
    case WM_RUN_QUEUED: {
      for (const ustring& member : w->app->options().run) {
        if (!IsWindow(hwnd)) return 0;
        if (const Command* c = findCommand(member)) runCommand(*w, *c);
      }
      if (w->app->options().exitAfterCommands && IsWindow(hwnd)) PostMessageW(hwnd, WM_CLOSE, 0, 0);
      return 0;
    }
    case WM_DESTROY:
      if (w->font) DeleteObject(w->font);
      w->font = nullptr;
      PostQuitMessage(w->app->failures() ? 1 : 0);
      return 0;
    case WM_NCDESTROY:
      SetWindowLongPtrW(hwnd, GWLP_USERDATA, 0);
      w->hwnd = nullptr;
      break;
    default: break;
  }
  return DefWindowProcW(hwnd, msg, wp, lp);
}

}  // namespace

HWND createMainWindow(App& app, HINSTANCE instance) {
  WNDCLASSEXW wc{};
  wc.cbSize = sizeof wc;
  wc.style = CS_HREDRAW | CS_VREDRAW;
  wc.lpfnWndProc = mainProc;
  wc.hInstance = instance;
  wc.hIcon = LoadIconW(nullptr, IDI_APPLICATION);
  wc.hCursor = LoadCursorW(nullptr, IDC_ARROW);
  wc.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_BTNFACE + 1);
  wc.lpszClassName = kClassName;
  RegisterClassExW(&wc);

  // One main window per process; its state outlives the window for the run queue.
  static MainWindow state;
  state = MainWindow{};
  state.app = &app;
  UINT dpi = dpiOf(nullptr);
  return CreateWindowExW(WS_EX_APPWINDOW, kClassName, L"", WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN, CW_USEDEFAULT,
                         CW_USEDEFAULT, scaled(960, dpi), scaled(560, dpi), nullptr, nullptr, instance, &state);
}

void queueCommands(HWND mainWindow) {
  MainWindow* w = self(mainWindow);
  if (w && (!w->app->options().run.empty() || w->app->options().exitAfterCommands))
    PostMessageW(mainWindow, WM_RUN_QUEUED, 0, 0);
}

}  // namespace lumo::client
