#include "win32/window.h"

#include <algorithm>
#include <array>
#include <memory>
#include <unordered_map>
#include <vector>

#include "automation/error.h"
#include "win32/controls.h"

namespace lumo::win32 {

namespace {

std::array<long, kHandleKinds> g_live{};
ErrorSink g_sink = nullptr;

// Our windows by handle. Everything runs on the UI thread.
std::unordered_map<HWND, Window*>& bound() {
  static std::unordered_map<HWND, Window*> windows;
  return windows;
}

// Controls whose procedure we replaced and could not give back (someone replaced
// it after us): their own procedure, for the messages that still reach ours.
std::unordered_map<HWND, WNDPROC>& orphans() {
  static std::unordered_map<HWND, WNDPROC> procs;
  return procs;
}

// The window being created on this thread: bound at its first message, which
// comes before CreateWindowEx returns (WM_GETMINMAXINFO even before WM_NCCREATE).
thread_local Window* t_creating = nullptr;

HMODULE thisModule() {
  HMODULE module = nullptr;
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                     reinterpret_cast<LPCWSTR>(&thisModule), &module);
  return module;
}

std::vector<const wchar_t*>& registeredClasses() {
  static std::vector<const wchar_t*> names;
  return names;
}

// ---- the dialog keys of modeless dialogs in any message loop ----------------------------

std::vector<HWND>& modelessDialogs() {
  static std::vector<HWND> dialogs;
  return dialogs;
}
HHOOK g_keysHook = nullptr;

void report(std::exception_ptr error, const char16_t* name) noexcept {
  try {
    const ustring source = ustring(u"SmsManager.") + name;
    if (g_sink) {
      g_sink(error, source);
    } else {
      OutputDebugStringW(L"LumoSmsManager: an error reached a window procedure\n");
    }
  } catch (...) {
  }
}

// The handle of the control that sent a notification to its parent, or null.
HWND notificationSource(HWND parent, UINT msg, WPARAM wParam, LPARAM lParam) {
  switch (msg) {
    case WM_NOTIFY:
      return lParam ? reinterpret_cast<const NMHDR*>(lParam)->hwndFrom : nullptr;
    case WM_COMMAND:
    case WM_HSCROLL:
    case WM_VSCROLL:
    case WM_CTLCOLORBTN:
    case WM_CTLCOLOREDIT:
    case WM_CTLCOLORLISTBOX:
    case WM_CTLCOLORSCROLLBAR:
    case WM_CTLCOLORSTATIC:
      return reinterpret_cast<HWND>(lParam);
    case WM_DRAWITEM: {
      const auto* di = reinterpret_cast<const DRAWITEMSTRUCT*>(lParam);
      return di && di->CtlType != ODT_MENU ? di->hwndItem : nullptr;
    }
    case WM_MEASUREITEM: {
      const auto* mi = reinterpret_cast<const MEASUREITEMSTRUCT*>(lParam);
      return mi && mi->CtlType != ODT_MENU ? GetDlgItem(parent, static_cast<int>(wParam)) : nullptr;
    }
    default:
      return nullptr;
  }
}

}  // namespace

// ---- owners ---------------------------------------------------------------------------------

long liveHandles(Handle kind) { return g_live[static_cast<std::size_t>(kind)]; }

void detail::countHandle(Handle kind, long delta) noexcept { g_live[static_cast<std::size_t>(kind)] += delta; }

WindowDC::WindowDC(HWND hwnd) : hwnd_(hwnd), dc_(GetDC(hwnd)) {
  if (dc_) detail::countHandle(Handle::DC, +1);
}
WindowDC::~WindowDC() {
  if (!dc_) return;
  ReleaseDC(hwnd_, dc_);
  detail::countHandle(Handle::DC, -1);
}

PaintDC::PaintDC(HWND hwnd) : hwnd_(hwnd) {
  if (BeginPaint(hwnd, &ps_)) detail::countHandle(Handle::DC, +1);
}
PaintDC::~PaintDC() {
  if (!ps_.hdc) return;
  EndPaint(hwnd_, &ps_);
  detail::countHandle(Handle::DC, -1);
}

void setErrorSink(ErrorSink sink) { g_sink = sink; }

void unregisterWindowClasses() {
  auto& names = registeredClasses();
  const HMODULE module = thisModule();
  // A class that still has windows stays (the system refuses); it is tried again.
  names.erase(std::remove_if(names.begin(), names.end(),
                             [&](const wchar_t* name) { return UnregisterClassW(name, module) != FALSE; }),
              names.end());
}

// ---- the window base --------------------------------------------------------------------------

Window::~Window() {
  if (!hwnd_) return;
  const HWND hwnd = hwnd_;
  const Kind kind = kind_;
  // No message reaches the object any more; a window of ours goes with it.
  detach();
  finalPending_ = false;
  if (kind != Kind::Subclass) DestroyWindow(hwnd);
}

Window* Window::from(HWND hwnd) {
  if (!hwnd) return nullptr;
  const auto& windows = bound();
  const auto it = windows.find(hwnd);
  return it == windows.end() ? nullptr : it->second;
}

void Window::destroy() {
  if (hwnd_) DestroyWindow(hwnd_);
}

void Window::runModal(HWND owner) {
  const HWND self = hwnd_;
  if (!self) return;
  if (owner == self) owner = nullptr;
  if (owner) EnableWindow(owner, FALSE);
  // The object may be gone when the window is: only the handle is looked at.
  MSG msg;
  while (IsWindow(self) && IsWindowVisible(self)) {
    const BOOL got = GetMessageW(&msg, nullptr, 0, 0);
    if (got == 0) {
      PostQuitMessage(static_cast<int>(msg.wParam));  // the caller's loop ends too
      break;
    }
    if (got < 0) break;
    TranslateMessage(&msg);
    DispatchMessageW(&msg);
  }
  if (owner) {
    EnableWindow(owner, TRUE);
    SetActiveWindow(owner);
  }
}

bool Window::onReflected(UINT, WPARAM, LPARAM, LRESULT&) { return false; }

LRESULT CALLBACK Window::keysHook(int code, WPARAM wParam, LPARAM lParam) {
  if (code == HC_ACTION && wParam == PM_REMOVE) {
    MSG* msg = reinterpret_cast<MSG*>(lParam);
    if (msg->message >= WM_KEYFIRST && msg->message <= WM_KEYLAST && msg->hwnd) {
      for (const HWND dialog : modelessDialogs()) {
        if (msg->hwnd != dialog && !IsChild(dialog, msg->hwnd)) continue;
        bool consumed = false;
        if (Window* w = from(dialog)) w->guarded([&] { consumed = w->preTranslate(*msg); });
        // The window may be gone now: the dialog manager is asked only when it is not.
        if (!consumed && IsWindow(dialog)) consumed = IsDialogMessageW(dialog, msg) != FALSE;
        if (consumed) {
          // Handled here: the loop that fetched it has nothing to dispatch.
          msg->message = WM_NULL;
          msg->wParam = 0;
          msg->lParam = 0;
        }
        break;
      }
    }
  }
  return CallNextHookEx(g_keysHook, code, wParam, lParam);
}
bool Window::preTranslate(MSG&) { return false; }

void Window::attach(HWND hwnd, Kind kind) {
  hwnd_ = hwnd;
  kind_ = kind;
  bound()[hwnd] = this;
  detail::countHandle(Handle::Window, +1);
  if (kind == Kind::Dialog) dialogKeys_ = true;
  if (dialogKeys_) {
    modelessDialogs().push_back(hwnd);
    if (!g_keysHook) g_keysHook = SetWindowsHookExW(WH_GETMESSAGE, &Window::keysHook, nullptr, GetCurrentThreadId());
  }
}

void Window::detach() {
  if (!hwnd_) return;
  const HWND hwnd = hwnd_;
  bound().erase(hwnd);
  detail::countHandle(Handle::Window, -1);
  if (kind_ == Kind::Subclass) {
    if (GetWindowLongPtrW(hwnd, GWLP_WNDPROC) ==
        reinterpret_cast<LONG_PTR>(static_cast<WNDPROC>(&Window::subclassProc)))
      SetWindowLongPtrW(hwnd, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(previous_));
    else if (IsWindow(hwnd))
      orphans()[hwnd] = previous_;  // ours stays in the chain and passes everything on
  }
  if (dialogKeys_) {
    auto& dialogs = modelessDialogs();
    dialogs.erase(std::remove(dialogs.begin(), dialogs.end(), hwnd), dialogs.end());
    if (dialogs.empty() && g_keysHook) {
      UnhookWindowsHookEx(g_keysHook);
      g_keysHook = nullptr;
    }
  }
  hwnd_ = nullptr;
  finalPending_ = true;
}

Window* Window::bind(HWND hwnd) {
  if (Window* w = from(hwnd)) return w;
  Window* w = t_creating;
  if (!w) return nullptr;
  t_creating = nullptr;
  w->attach(hwnd, w->kind_);
  return w;
}

void Window::fail(std::exception_ptr error) noexcept {
  if (creating_) {
    if (!createError_) createError_ = error;
  } else {
    report(error, name_);
  }
}

void Window::leave() noexcept {
  if (--depth_ != 0 || !finalPending_ || creating_) return;
  finalPending_ = false;
  try {
    onFinalMessage();  // may delete this
  } catch (...) {
    report(std::current_exception(), name_);
  }
}

template <class F>
void Window::guarded(F&& body) {
  ++depth_;
  try {
    body();
  } catch (...) {
    fail(std::current_exception());
  }
  leave();
}

template <class Default>
LRESULT Window::route(UINT msg, WPARAM wParam, LPARAM lParam, bool& handled, Default&& byDefault) {
  LRESULT result = 0;
  handled = false;
  ++depth_;
  try {
    if (msg == WM_CHAR && charFilter_ && wParam <= 0xFFFF && !charFilter_(static_cast<char16_t>(wParam))) {
      handled = true;  // refused: the window never sees it
    } else if (Window* sender = from(notificationSource(hwnd_, msg, wParam, lParam)); sender && sender != this) {
      // A notification goes to the control that sent it first.
      handled = sender->onReflected(msg, wParam, lParam, result);
    }
    if (!handled) handled = onMessage(msg, wParam, lParam, result);
    if (!handled) result = byDefault();
  } catch (...) {
    // The handler ended there; the message is not handled a second time.
    handled = true;
    result = 0;
    fail(std::current_exception());
  }
  if (msg == WM_NCDESTROY) detach();
  leave();
  return result;
}

LRESULT CALLBACK Window::windowProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) {
  Window* w = bind(hwnd);
  if (!w) return DefWindowProcW(hwnd, msg, wParam, lParam);
  bool handled = false;
  return w->route(msg, wParam, lParam, handled, [&] { return DefWindowProcW(hwnd, msg, wParam, lParam); });
}

LRESULT CALLBACK Window::subclassProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) {
  Window* w = from(hwnd);
  if (!w) {
    auto& lost = orphans();
    const auto it = lost.find(hwnd);
    if (it == lost.end()) return DefWindowProcW(hwnd, msg, wParam, lParam);
    const WNDPROC previous = it->second;
    if (msg == WM_NCDESTROY) lost.erase(it);
    return CallWindowProcW(previous, hwnd, msg, wParam, lParam);
  }
  const WNDPROC previous = w->previous_;
  bool handled = false;
  return w->route(msg, wParam, lParam, handled,
                  [&] { return CallWindowProcW(previous, hwnd, msg, wParam, lParam); });
}

INT_PTR CALLBACK Window::dialogProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) {
  Window* w = bind(hwnd);
  if (!w) return FALSE;
  bool handled = false;
  const LRESULT result = w->route(msg, wParam, lParam, handled, [] { return LRESULT(0); });
  if (!handled) return FALSE;
  switch (msg) {
    // These answer through the procedure's return value; the rest through DWLP_MSGRESULT.
    case WM_INITDIALOG:
    case WM_CTLCOLORMSGBOX:
    case WM_CTLCOLOREDIT:
    case WM_CTLCOLORLISTBOX:
    case WM_CTLCOLORBTN:
    case WM_CTLCOLORDLG:
    case WM_CTLCOLORSCROLLBAR:
    case WM_CTLCOLORSTATIC:
    case WM_COMPAREITEM:
    case WM_VKEYTOITEM:
    case WM_CHARTOITEM:
    case WM_QUERYDRAGICON:
      return static_cast<INT_PTR>(result);
    default:
      if (IsWindow(hwnd)) SetWindowLongPtrW(hwnd, DWLP_MSGRESULT, result);
      return TRUE;
  }
}

void Window::finishCreate(HWND hwnd, const char16_t* what) {
  creating_ = false;
  if (t_creating == this) t_creating = nullptr;
  if (createError_) {
    const std::exception_ptr error = std::exchange(createError_, nullptr);
    // The half-built window goes without its object hearing of it; the caller,
    // who still owns the object, gets the error.
    const HWND half = hwnd_;
    detach();
    finalPending_ = false;
    if (half && IsWindow(half)) DestroyWindow(half);
    std::rethrow_exception(error);
  }
  if (!hwnd) {
    detach();
    finalPending_ = false;
    throwLastError(what);
  }
  if (finalPending_) {
    // Destroyed while being created: the object is the caller's still.
    finalPending_ = false;
    throw Error(static_cast<int32_t>(E_FAIL), ustring(what) + u": the window closed while it was being created");
  }
}

void Window::create(const WindowClass& cls, const wchar_t* title, DWORD style, DWORD exStyle, int x, int y,
                    int width, int height, HWND parent, HMENU menuOrId) {
  const HMODULE module = thisModule();
  WNDCLASSEXW existing{};
  existing.cbSize = sizeof existing;
  const bool registered = GetClassInfoExW(module, cls.name, &existing) != FALSE;
  // A class of that name whose procedure is not ours was left by an earlier load of
  // this module at another address: it goes, and ours takes its place.
  if (registered && existing.lpfnWndProc != &Window::windowProc) UnregisterClassW(cls.name, module);
  if (!registered || existing.lpfnWndProc != &Window::windowProc) {
    WNDCLASSEXW wc{};
    wc.cbSize = sizeof wc;
    wc.style = cls.style;
    wc.lpfnWndProc = &Window::windowProc;
    wc.hInstance = module;
    wc.hCursor = cls.cursor ? LoadCursorW(nullptr, cls.cursor) : nullptr;
    wc.hIcon = cls.icon ? LoadIconW(nullptr, cls.icon) : nullptr;
    wc.hbrBackground = cls.background;
    wc.lpszClassName = cls.name;
    if (!RegisterClassExW(&wc)) throwLastError(u"RegisterClassEx");
    registeredClasses().push_back(cls.name);
  }
  kind_ = Kind::Class;
  creating_ = true;
  Window* const outer = std::exchange(t_creating, this);
  const HWND hwnd =
      CreateWindowExW(exStyle, cls.name, title, style, x, y, width, height, parent, menuOrId, module, nullptr);
  t_creating = outer;
  finishCreate(hwnd, u"CreateWindowEx");
}

void Window::createDialog(DWORD style, DWORD exStyle, HWND owner) {
  // An empty template: the controls are made in WM_INITDIALOG.
  struct alignas(4) EmptyTemplate {
    DLGTEMPLATE dlg;
    WORD menu, windowClass, title;
  } t{};
  t.dlg.style = style;
  t.dlg.dwExtendedStyle = exStyle;
  t.dlg.cx = 10;
  t.dlg.cy = 10;
  kind_ = Kind::Dialog;
  creating_ = true;
  Window* const outer = std::exchange(t_creating, this);
  const HWND hwnd = CreateDialogIndirectParamW(thisModule(), &t.dlg, owner, &Window::dialogProc, 0);
  t_creating = outer;
  finishCreate(hwnd, u"CreateDialogIndirectParam");
}

void Window::createDialog(const DLGTEMPLATE* layout, HWND owner) {
  if (!layout) throw Error(errnum::InvalidCall, ustring(name_) + u": the dialog's layout is missing");
  kind_ = Kind::Dialog;
  creating_ = true;
  Window* const outer = std::exchange(t_creating, this);
  const HWND hwnd = CreateDialogIndirectParamW(thisModule(), layout, owner, &Window::dialogProc, 0);
  t_creating = outer;
  finishCreate(hwnd, u"CreateDialogIndirectParam");
}

const DLGTEMPLATE* dialogLayout(int id, LANGID language) {
  HMODULE module = thisModule();
  HRSRC found = FindResourceExW(module, MAKEINTRESOURCEW(5) /* RT_DIALOG */, MAKEINTRESOURCEW(id), language);
  // A language without its own layout gets the first one there is.
  if (!found) found = FindResourceW(module, MAKEINTRESOURCEW(id), MAKEINTRESOURCEW(5));
  if (!found) return nullptr;
  HGLOBAL loaded = LoadResource(module, found);
  return loaded ? static_cast<const DLGTEMPLATE*>(LockResource(loaded)) : nullptr;
}

void Window::subclass(HWND control) {
  kind_ = Kind::Subclass;
  attach(control, Kind::Subclass);
  previous_ = reinterpret_cast<WNDPROC>(
      SetWindowLongPtrW(control, GWLP_WNDPROC,
                        reinterpret_cast<LONG_PTR>(static_cast<WNDPROC>(&Window::subclassProc))));
}

void Window::subclassDialog(HWND dialog) {
  dialogKeys_ = true;
  subclass(dialog);
}

namespace {
// A system control with nothing of ours but a filter; it goes with its window.
class FilteredControl final : public Window {
 public:
  FilteredControl() : Window(u"FilteredControl") {}
  using Window::subclass;

 private:
  bool onMessage(UINT, WPARAM, LPARAM, LRESULT&) override { return false; }
  void onFinalMessage() override { delete this; }
};
}  // namespace

void filterChars(HWND control, std::function<bool(char16_t)> accept) {
  Window* w = Window::from(control);
  if (!w) {
    auto filtered = std::make_unique<FilteredControl>();
    filtered->subclass(control);
    w = filtered.release();  // the control's window owns it now
  }
  w->charFilter_ = std::move(accept);
}

LRESULT Window::defaultProc(UINT msg, WPARAM wParam, LPARAM lParam) {
  switch (kind_) {
    case Kind::Class: return DefWindowProcW(hwnd_, msg, wParam, lParam);
    case Kind::Subclass: return CallWindowProcW(previous_, hwnd_, msg, wParam, lParam);
    default: return 0;
  }
}

}  // namespace lumo::win32
