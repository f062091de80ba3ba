// Stands in for the user in front of a script host: every message box that comes
// up is read, written down and answered with OK, so that a probe which makes the
// add-in show one is not left waiting. Each box adds one line to the log, in
// UTF-16 for the script to read back:
//   <title> TAB <text> TAB <number of open windows captioned as the watched title>
//   box_watcher <log file> [<watched window title>] [<seconds to run, default 300>]
#include <windows.h>

#include <cstdio>
#include <cwchar>
#include <string>

namespace {

std::wstring textOf(HWND h) {
  wchar_t buf[4096];
  const int n = GetWindowTextW(h, buf, 4096);
  return std::wstring(buf, n > 0 ? static_cast<std::size_t>(n) : 0);
}

bool isMessageBox(HWND h) {
  wchar_t cls[32];
  if (!GetClassNameW(h, cls, 32) || std::wcscmp(cls, L"#32770") != 0) return false;
  return IsWindowVisible(h) && GetDlgItem(h, 0xFFFF) != nullptr;  // the box's text
}

struct Scan {
  const std::wstring* watched;
  int windows = 0;
  HWND box = nullptr;
};

BOOL CALLBACK scanWindow(HWND h, LPARAM p) {
  auto* s = reinterpret_cast<Scan*>(p);
  if (isMessageBox(h)) {
    if (!s->box) s->box = h;
  } else if (IsWindowVisible(h) && !s->watched->empty() && textOf(h) == *s->watched) {
    ++s->windows;
  }
  return TRUE;
}

void append(const wchar_t* path, const std::wstring& line) {
  FILE* f = _wfopen(path, L"ab");
  if (!f) return;
  if (std::ftell(f) == 0) std::fwrite(L"\xFEFF", sizeof(wchar_t), 1, f);
  std::fwrite(line.data(), sizeof(wchar_t), line.size(), f);
  std::fwrite(L"\r\n", sizeof(wchar_t), 2, f);
  std::fclose(f);
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  if (argc < 2) {
    std::fwprintf(stderr, L"usage: box_watcher <log file> [<watched window title>] [<seconds>]\n");
    return 2;
  }
  const std::wstring watched = argc > 2 ? argv[2] : L"";
  const DWORD seconds = argc > 3 ? static_cast<DWORD>(std::wcstoul(argv[3], nullptr, 10)) : 300;
  const DWORD end = GetTickCount() + seconds * 1000;
  HWND last = nullptr;
  while (static_cast<LONG>(end - GetTickCount()) > 0) {
    Scan s{&watched};
    EnumWindows(scanWindow, reinterpret_cast<LPARAM>(&s));
    if (s.box && s.box != last) {
      append(argv[1], textOf(s.box) + L"\t" + textOf(GetDlgItem(s.box, 0xFFFF)) + L"\t" +
                          std::to_wstring(s.windows));
      last = s.box;
      PostMessageW(s.box, WM_COMMAND, IDOK, 0);
    } else if (!s.box) {
      last = nullptr;
    }
    Sleep(100);
  }
  return 0;
}
