// Stands in for the user who closes a modal window that a script opened: the
// script starts it before the call that shows the window and reads its log after
// the call has returned. It waits for a visible top-level window with the given
// caption, writes the caption and the window's number of list rows (its list
// view, when it has one) to the log, and closes it.
//   window_closer <log file> <caption> [<seconds to wait, default 60>]
// The log gets "none" when no such window came up in time.
#include <windows.h>
#include <commctrl.h>

#include <cstdio>
#include <cwchar>
#include <string>

namespace {

struct Search {
  const wchar_t* caption;
  HWND found = nullptr;
};

BOOL CALLBACK match(HWND h, LPARAM p) {
  auto* s = reinterpret_cast<Search*>(p);
  wchar_t text[256] = L"";
  GetWindowTextW(h, text, 256);
  if (IsWindowVisible(h) && std::wcscmp(text, s->caption) == 0) {
    s->found = h;
    return FALSE;
  }
  return TRUE;
}

BOOL CALLBACK countRows(HWND h, LPARAM p) {
  wchar_t cls[64] = L"";
  GetClassNameW(h, cls, 64);
  if (_wcsicmp(cls, WC_LISTVIEWW) == 0) {
    *reinterpret_cast<LRESULT*>(p) = SendMessageW(h, LVM_GETITEMCOUNT, 0, 0);
    return FALSE;
  }
  return TRUE;
}

void append(const wchar_t* path, const std::wstring& line) {
  FILE* f = _wfopen(path, L"ab");
  if (!f) return;
  // Several closers write one log: only the first line opens it with a byte-order mark.
  std::fseek(f, 0, SEEK_END);
  if (std::ftell(f) == 0) std::fwrite(L"\xFEFF", sizeof(wchar_t), 1, f);
  std::fwrite(line.data(), sizeof(wchar_t), line.size(), f);
  std::fwrite(L"\r\n", sizeof(wchar_t), 2, f);
  std::fclose(f);
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  if (argc < 3) {
    std::fwprintf(stderr, L"usage: window_closer <log file> <caption> [<seconds>]\n");
    return 2;
  }
  const DWORD seconds = argc > 3 ? static_cast<DWORD>(std::wcstoul(argv[3], nullptr, 10)) : 60;
  const DWORD end = GetTickCount() + seconds * 1000;
  while (static_cast<LONG>(end - GetTickCount()) > 0) {
    Search s{argv[2]};
    EnumWindows(match, reinterpret_cast<LPARAM>(&s));
    if (s.found) {
      Sleep(300);  // the window finishes loading its list
      LRESULT rows = -1;
      EnumChildWindows(s.found, countRows, reinterpret_cast<LPARAM>(&rows));
      append(argv[1], std::wstring(argv[2]) + L"\t" + std::to_wstring(rows));
      PostMessageW(s.found, WM_CLOSE, 0, 0);
      return 0;
    }
    Sleep(50);
  }
  append(argv[1], L"none");
  return 1;
}
