// The one way a window of the add-in is written, whatever it is: a top-level
// window, a modeless dialog, a control of our own class or a system control we
// subclass. A Window object is bound to its handle before the first message,
// every message goes to onMessage, and notifications that a control sends its
// parent come back to that control first (onReflected), so a window never
// forwards them by hand.
//
// No C++ exception leaves a window procedure: one that reaches the guard is
// handed to the error sink (the add-in's error path, which shows its description
// once) and the message counts as handled. While the window is being created an
// exception is kept instead and raised again by create() or createDialog(), so
// that whoever opens a window learns why it failed.
//
// The handles a view creates belong to the owners below; none is deleted, released
// or destroyed by hand. The owners count what they hold, so that a long run can
// prove that nothing is left behind.
#pragma once

#include <windows.h>
#include <commctrl.h>

#include <exception>
#include <functional>
#include <utility>

#include "automation/text.h"

namespace lumo::win32 {

// ---- handle owners ----------------------------------------------------------------------

enum class Handle { Font, Pen, Brush, Bitmap, DC, Menu, ImageList, Window };
inline constexpr int kHandleKinds = 8;

// Handles of a kind that owners hold now; Handle::Window counts live Window objects
// bound to a window.
long liveHandles(Handle kind);

namespace detail {
void countHandle(Handle kind, long delta) noexcept;
template <class H>
void deleteGdiObject(H h) { DeleteObject(h); }
inline void deleteDc(HDC dc) { DeleteDC(dc); }
inline void destroyMenu(HMENU menu) { DestroyMenu(menu); }
inline void destroyImageList(HIMAGELIST list) { ImageList_Destroy(list); }
}  // namespace detail

// Sole owner of one handle, closed with Close when the owner goes or is reset.
template <class H, Handle Kind, void (*Close)(H)>
class Owned {
 public:
  Owned() = default;
  explicit Owned(H h) { reset(h); }
  Owned(const Owned&) = delete;
  Owned& operator=(const Owned&) = delete;
  Owned(Owned&& o) noexcept : h_(std::exchange(o.h_, nullptr)) {}
  Owned& operator=(Owned&& o) noexcept {
    if (this != &o) {
      reset();
      h_ = std::exchange(o.h_, nullptr);
    }
    return *this;
  }
  ~Owned() { reset(); }

  H get() const { return h_; }
  explicit operator bool() const { return h_ != nullptr; }
  void reset(H h = nullptr) {
    if (h_) {
      Close(h_);
      detail::countHandle(Kind, -1);
    }
    h_ = h;
    if (h_) detail::countHandle(Kind, +1);
  }

 private:
  H h_ = nullptr;
};

using Font = Owned<HFONT, Handle::Font, &detail::deleteGdiObject<HFONT>>;
using Pen = Owned<HPEN, Handle::Pen, &detail::deleteGdiObject<HPEN>>;
using Brush = Owned<HBRUSH, Handle::Brush, &detail::deleteGdiObject<HBRUSH>>;
using Bitmap = Owned<HBITMAP, Handle::Bitmap, &detail::deleteGdiObject<HBITMAP>>;
using MemoryDC = Owned<HDC, Handle::DC, &detail::deleteDc>;  // CreateCompatibleDC, PrintDlg's DC
using Menu = Owned<HMENU, Handle::Menu, &detail::destroyMenu>;
using ImageList = Owned<HIMAGELIST, Handle::ImageList, &detail::destroyImageList>;

// A window's (or the screen's, for null) device context from GetDC.
class WindowDC {
 public:
  explicit WindowDC(HWND hwnd);
  WindowDC(const WindowDC&) = delete;
  WindowDC& operator=(const WindowDC&) = delete;
  ~WindowDC();
  HDC get() const { return dc_; }

 private:
  HWND hwnd_;
  HDC dc_;
};

// BeginPaint ... EndPaint.
class PaintDC {
 public:
  explicit PaintDC(HWND hwnd);
  PaintDC(const PaintDC&) = delete;
  PaintDC& operator=(const PaintDC&) = delete;
  ~PaintDC();
  HDC get() const { return ps_.hdc; }
  const RECT& dirty() const { return ps_.rcPaint; }

 private:
  HWND hwnd_;
  PAINTSTRUCT ps_{};
};

// An object selected into a device context until the scope ends.
class Selected {
 public:
  Selected(HDC dc, HGDIOBJ object) : dc_(dc), old_(object ? SelectObject(dc, object) : nullptr) {}
  Selected(const Selected&) = delete;
  Selected& operator=(const Selected&) = delete;
  ~Selected() {
    if (old_) SelectObject(dc_, old_);
  }

 private:
  HDC dc_;
  HGDIOBJ old_;
};

// ---- the error path ---------------------------------------------------------------------

// Where an exception that reached a window procedure goes; 'source' names the
// window ("SmsManager.frmSendSms"). The server installs the add-in's error trap.
using ErrorSink = void (*)(std::exception_ptr error, const ustring& source);
void setErrorSink(ErrorSink sink);

// Unregisters the window classes of ours that no window uses any more (before the
// module that holds them may be unloaded).
void unregisterWindowClasses();

// Characters typed into a control (WM_CHAR, however it arrives) that 'accept'
// refuses never reach it. Works on our windows and on the system's controls alike.
void filterChars(HWND control, std::function<bool(char16_t)> accept);

// A dialog layout of this module in a language (the first of that id when the
// language has none); null when the module has no layout of that id.
const DLGTEMPLATE* dialogLayout(int id, LANGID language);

// ---- the window base ----------------------------------------------------------------------

// A window class of ours: every one is served by the same window procedure and is
// registered with the module that holds this code while one of its windows lives.
struct WindowClass {
  const wchar_t* name;
  UINT style = CS_DBLCLKS;
  HBRUSH background = nullptr;  // e.g. reinterpret_cast<HBRUSH>(COLOR_BTNFACE + 1)
  const wchar_t* cursor = IDC_ARROW;
  const wchar_t* icon = nullptr;
};

class Window {
 public:
  Window(const Window&) = delete;
  Window& operator=(const Window&) = delete;
  // A window still open goes with its object (a subclassed control is only let go).
  virtual ~Window();

  HWND hwnd() const { return hwnd_; }
  // Our object behind a handle; null for a window that is not ours.
  static Window* from(HWND hwnd);
  // Destroys the window; its last messages run as usual.
  void destroy();
  // Runs the messages of this thread until this window is gone or hidden (as a
  // modal form's Hide ends its Show), with 'owner' disabled meanwhile. A WM_QUIT
  // met on the way is posted again.
  void runModal(HWND owner);

 protected:
  // name: the window's name in error sources, e.g. u"frmSendSms".
  explicit Window(const char16_t* name) : name_(name) {}

  // One message: true (with result set) when handled; false lets the default
  // procedure have it (DefWindowProc, the control's own, or the dialog manager).
  virtual bool onMessage(UINT msg, WPARAM wParam, LPARAM lParam, LRESULT& result) = 0;
  // A notification this window sent its parent (WM_NOTIFY, WM_COMMAND,
  // WM_DRAWITEM, WM_MEASUREITEM, WM_CTLCOLOR*, WM_HSCROLL, WM_VSCROLL), sent back
  // before the parent sees it: true when handled here.
  virtual bool onReflected(UINT msg, WPARAM wParam, LPARAM lParam, LRESULT& result);
  // After the last message, once no message of this window is being handled:
  // where a window that owns its object deletes it.
  virtual void onFinalMessage() {}
  // Keyboard messages of a modeless dialog and its controls before they are
  // dispatched, in whichever loop runs them; true when consumed.
  virtual bool preTranslate(MSG& msg);

  // Creates a window of one of our classes (a top-level window or a control).
  // Raises an Error when the system refuses or the window failed while creating.
  void create(const WindowClass& cls, const wchar_t* title, DWORD style, DWORD exStyle, int x, int y, int width,
              int height, HWND parent, HMENU menuOrId);
  // Creates a modeless dialog without controls (WM_INITDIALOG builds them); it
  // gets the dialog keys (tab, mnemonics, Enter, Esc) in any message loop.
  void createDialog(DWORD style, DWORD exStyle, HWND owner);
  // Creates a modeless dialog from a layout of this module's resources: its
  // controls and captions are the layout's. Raises an Error when the layout is
  // missing or the system refuses it.
  void createDialog(const DLGTEMPLATE* layout, HWND owner);
  // Routes the messages of a system control here first.
  void subclass(HWND control);
  // The same for a modeless dialog the system made (the find dialog, for one):
  // it gets the dialog keys in any message loop, as createDialog's do.
  void subclassDialog(HWND dialog);
  // What leaving a message unhandled does.
  LRESULT defaultProc(UINT msg, WPARAM wParam, LPARAM lParam);

 private:
  enum class Kind { None, Class, Dialog, Subclass };
  static LRESULT CALLBACK windowProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam);
  static INT_PTR CALLBACK dialogProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam);
  static LRESULT CALLBACK subclassProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam);
  static LRESULT CALLBACK keysHook(int code, WPARAM wParam, LPARAM lParam);
  static Window* bind(HWND hwnd);
  // One message with its reflection and default handling, under the guard.
  template <class Default>
  LRESULT route(UINT msg, WPARAM wParam, LPARAM lParam, bool& handled, Default&& byDefault);
  // Any other call into the window's code, under the guard.
  template <class F>
  void guarded(F&& body);
  void fail(std::exception_ptr error) noexcept;
  void leave() noexcept;
  friend void filterChars(HWND control, std::function<bool(char16_t)> accept);
  void attach(HWND hwnd, Kind kind);
  void detach();
  void finishCreate(HWND hwnd, const char16_t* what);

  const char16_t* name_;
  HWND hwnd_ = nullptr;
  Kind kind_ = Kind::None;
  WNDPROC previous_ = nullptr;  // a subclassed control's own procedure
  const wchar_t* className_ = nullptr;
  int depth_ = 0;               // messages of this window being handled
  bool finalPending_ = false;   // WM_NCDESTROY seen; onFinalMessage once depth_ is 0
  bool creating_ = false;
  bool dialogKeys_ = false;     // a modeless dialog: its keys go through the dialog manager
  std::exception_ptr createError_;
  std::function<bool(char16_t)> charFilter_;
};

}  // namespace lumo::win32
