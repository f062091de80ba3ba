// Child controls, window texts, the fonts a view uses and the DPI helpers every
// view lays itself out with.
#pragma once

#include <windows.h>
#include <commctrl.h>

#include "automation/object.h"
#include "automation/text.h"
#include "automation/win/wide.h"
#include "win32/window.h"

namespace lumo::win32 {


// The window's text, whole.
ustring windowText(HWND hwnd);
void setWindowText(HWND hwnd, const ustring& text);

// Dots per inch of the monitor the window is on (GetDpiForWindow where the system
// has it, else the screen's LOGPIXELSY).
UINT windowDpi(HWND hwnd);
// A length given at 96 DPI, at 'dpi'.
inline int scale(int length, UINT dpi) { return MulDiv(length, static_cast<int>(dpi), 96); }

// The system's message font at 'dpi' (what dialogs use), or the same size in the
// face and character set a host chose (an empty face keeps the system's).
Font messageFont(UINT dpi, const ustring& face = {}, int charset = DEFAULT_CHARSET);

// A window's font as the host's form-font service reaches it: a form object whose
// Font has Name and Charset, read and written late-bound. The window builds its
// font from what the service left there.
class FormFont {
 public:
  FormFont();
  ObjectPtr form() const { return form_; }
  ustring face() const;
  int charset() const;

 private:
  std::shared_ptr<DynamicObject> font_;
  ObjectPtr form_;
};

// A child control; raises an Error when the system refuses to create it.
HWND createControl(HWND parent, const wchar_t* className, DWORD style, DWORD exStyle, int id,
                   const ustring& text = {});

// Raises the last Win32 error as an Error naming what failed.
[[noreturn]] void throwLastError(const char16_t* what);

}  // namespace lumo::win32
