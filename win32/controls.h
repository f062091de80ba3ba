// Owning handles for windows, fonts and image lists, and the DPI helpers every
// view lays itself out with.
#pragma once

#include <windows.h>
#include <commctrl.h>

#include "automation/object.h"
#include "automation/text.h"

namespace lumo::win32 {

inline const wchar_t* wz(const ustring& s) { return reinterpret_cast<const wchar_t*>(s.c_str()); }
ustring fromWide(const wchar_t* s, std::size_t n);

// The window's text, whole.
ustring windowText(HWND hwnd);
void setWindowText(HWND hwnd, const ustring& text);

// Dots per inch of the monitor the window is on (GetDpiForWindow where the system
// has it, else the screen's LOGPIXELSY).
UINT windowDpi(HWND hwnd);
// A length given at 96 DPI, at 'dpi'.
inline int scale(int length, UINT dpi) { return MulDiv(length, static_cast<int>(dpi), 96); }

class Font {
 public:
  Font() = default;
  explicit Font(HFONT f) : font_(f) {}
  Font(const Font&) = delete;
  Font& operator=(const Font&) = delete;
  Font(Font&& o) noexcept : font_(o.font_) { o.font_ = nullptr; }
  Font& operator=(Font&& o) noexcept {
    if (this != &o) {
      reset();
      font_ = o.font_;
      o.font_ = nullptr;
    }
    return *this;
  }
  ~Font() { reset(); }
  HFONT get() const { return font_; }
  void reset() {
    if (font_) DeleteObject(font_);
    font_ = nullptr;
  }

 private:
  HFONT font_ = nullptr;
};

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

class ImageList {
 public:
  ImageList() = default;
  explicit ImageList(HIMAGELIST l) : list_(l) {}
  ImageList(const ImageList&) = delete;
  ImageList& operator=(const ImageList&) = delete;
  ~ImageList() { reset(); }
  HIMAGELIST get() const { return list_; }
  void reset(HIMAGELIST l = nullptr) {
    if (list_) ImageList_Destroy(list_);
    list_ = l;
  }

 private:
  HIMAGELIST list_ = nullptr;
};

// A window destroyed with its owner object unless released.
class Window {
 public:
  Window() = default;
  explicit Window(HWND h) : hwnd_(h) {}
  Window(const Window&) = delete;
  Window& operator=(const Window&) = delete;
  ~Window() { reset(); }
  HWND get() const { return hwnd_; }
  HWND release() {
    HWND h = hwnd_;
    hwnd_ = nullptr;
    return h;
  }
  void reset(HWND h = nullptr) {
    if (hwnd_ && IsWindow(hwnd_)) DestroyWindow(hwnd_);
    hwnd_ = h;
  }

 private:
  HWND hwnd_ = nullptr;
};

// A child control; raises an Error when the system refuses to create it.
HWND createControl(HWND parent, const wchar_t* className, DWORD style, DWORD exStyle, int id,
                   const ustring& text = {});

// Raises the last Win32 error as an Error naming what failed.
[[noreturn]] void throwLastError(const char16_t* what);

}  // namespace lumo::win32
