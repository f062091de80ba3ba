#include "win32/controls.h"

#include <algorithm>
#include <iterator>
#include <vector>

#include "automation/error.h"

namespace lumo::win32 {

ustring windowText(HWND hwnd) {
  const int n = GetWindowTextLengthW(hwnd);
  if (n <= 0) return {};
  // Read straight into the result: a receiver list can be megabytes long.
  ustring text(static_cast<std::size_t>(n), u'\0');
  const int got = GetWindowTextW(hwnd, reinterpret_cast<wchar_t*>(&text[0]), n + 1);
  text.resize(static_cast<std::size_t>(got > 0 ? std::min(got, n) : 0));
  return text;
}

void setWindowText(HWND hwnd, const ustring& text) { SetWindowTextW(hwnd, wz(text)); }

UINT windowDpi(HWND hwnd) {
  using GetDpiForWindowFn = UINT(WINAPI*)(HWND);
  static const auto getDpiForWindow = reinterpret_cast<GetDpiForWindowFn>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"user32.dll"), "GetDpiForWindow")));
  if (getDpiForWindow && hwnd) {
    const UINT dpi = getDpiForWindow(hwnd);
    if (dpi) return dpi;
  }
  const WindowDC dc(hwnd);
  const int dpi = dc.get() ? GetDeviceCaps(dc.get(), LOGPIXELSY) : 96;
  return dpi > 0 ? static_cast<UINT>(dpi) : 96;
}

Font messageFont(UINT dpi, const ustring& face, int charset) {
  NONCLIENTMETRICSW metrics{};
  metrics.cbSize = sizeof metrics;
  LOGFONTW lf{};
  if (SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, 0)) {
    lf = metrics.lfMessageFont;
    // The metrics are given at the system's DPI; rescale them to the window's.
    const WindowDC dc(nullptr);
    const int systemDpi = dc.get() ? GetDeviceCaps(dc.get(), LOGPIXELSY) : 96;
    if (systemDpi > 0) lf.lfHeight = MulDiv(lf.lfHeight, static_cast<int>(dpi), systemDpi);
  } else {
    lf.lfHeight = -MulDiv(9, static_cast<int>(dpi), 72);
    lf.lfCharSet = DEFAULT_CHARSET;
    lstrcpynW(lf.lfFaceName, L"MS Shell Dlg 2", LF_FACESIZE);
  }
  if (!face.empty() && face.size() < LF_FACESIZE) {
    std::fill(std::begin(lf.lfFaceName), std::end(lf.lfFaceName), L'\0');
    std::copy(face.begin(), face.end(), lf.lfFaceName);
    lf.lfCharSet = static_cast<BYTE>(charset);
  }
  return Font(CreateFontIndirectW(&lf));
}

FormFont::FormFont() : font_(std::make_shared<DynamicObject>(u"Font")) {
  font_->property(u"Name", ustring()).property(u"Charset", int16_t(DEFAULT_CHARSET));
  auto form = std::make_shared<DynamicObject>(u"Form");
  form->property(u"Font", Variant(ObjectPtr(font_)));
  form_ = std::move(form);
}

ustring FormFont::face() const {
  const Variant& v = font_->propertyValue(u"Name");
  return v.isString() ? v.toString() : ustring();
}

int FormFont::charset() const {
  try {
    const int32_t c = font_->propertyValue(u"Charset").toI4();
    return c >= 0 && c <= 255 ? c : DEFAULT_CHARSET;
  } catch (const Error&) {
    return DEFAULT_CHARSET;
  }
}

void throwLastError(const char16_t* what) {
  const DWORD code = GetLastError();
  wchar_t* text = nullptr;
  FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                 code, 0, reinterpret_cast<wchar_t*>(&text), 0, nullptr);
  ustring description = ustring(what) + u": ";
  if (text) {
    description += trim(fromWide(text, wcslen(text)));
    LocalFree(text);
  } else {
    description += u"system error " + fromUtf8(std::to_string(code));
  }
  throw Error(static_cast<int32_t>(code ? HRESULT_FROM_WIN32(code) : E_FAIL), description);
}

HWND createControl(HWND parent, const wchar_t* className, DWORD style, DWORD exStyle, int id, const ustring& text) {
  HWND h = CreateWindowExW(exStyle, className, wz(text), WS_CHILD | style, 0, 0, 0, 0, parent,
                           reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), GetModuleHandleW(nullptr), nullptr);
  if (!h) throwLastError(u"CreateWindowEx");
  return h;
}

}  // namespace lumo::win32
