// Stands in for the user in front of a script host: every message box that comes
// up is read, written down and answered with OK, so that a probe which makes the
// add-in show one is not left waiting. Each box adds one line to the log, in
// UTF-16 for the script to read back:
//   <title> TAB <text> TAB <number of open windows captioned as the watched title>
//   box_watcher <log file> [<watched window title>] [<seconds to run, default 300>]
// Windows captioned as one of the titles in LUMO_WATCHER_CLOSE (separated by "|")
// are closed as a user would close a modal window the probe opened, each once,
// with a line "<closed> TAB <title> TAB <rows of its first list view, 0 without one>".
#include <windows.h>
#include <commctrl.h>

#include <cstdio>
#include <cwchar>
#include <string>
#include <vector>

#include "tests/support/win/boxes.h"
#include "tests/support/win/text.h"
#include "win32/controls.h"

namespace {

using lumo::ustring;

struct Scan {
  const ustring* watched;
  int windows = 0;
  HWND box = nullptr;
  const std::vector<ustring>* closing = nullptr;
  HWND toClose = nullptr;
};

BOOL CALLBACK scanWindow(HWND h, LPARAM p) {
  auto* s = reinterpret_cast<Scan*>(p);
  if (lumo::test::isMessageBox(h)) {
    if (!s->box) s->box = h;
  } else if (IsWindowVisible(h) && !s->watched->empty() && lumo::win32::windowText(h) == *s->watched) {
    ++s->windows;
  } else if (IsWindowVisible(h) && !s->toClose) {
    for (const ustring& t : *s->closing)
      if (lumo::win32::windowText(h) == t) s->toClose = h;
  }
  return TRUE;
}

// The rows of a window's first list view (a system list, owner-data or not): what
// a closed window was showing.
int listRows(HWND window) {
  HWND found = nullptr;
  EnumChildWindows(
      window,
      [](HWND child, LPARAM out) {
        wchar_t cls[64] = L"";
        GetClassNameW(child, cls, 64);
        if (std::wcscmp(cls, L"SysListView32") != 0) return TRUE;
        *reinterpret_cast<HWND*>(out) = child;
        return FALSE;
      },
      reinterpret_cast<LPARAM>(&found));
  return found ? static_cast<int>(SendMessageW(found, LVM_GETITEMCOUNT, 0, 0)) : 0;
}

void append(const wchar_t* path, const ustring& line) {
  FILE* f = _wfopen(path, L"ab");
  if (!f) return;
  // In append mode the position is the end only once something is written: the
  // mark goes at the head of an empty file, not before every line.
  std::fseek(f, 0, SEEK_END);
  if (std::ftell(f) == 0) std::fwrite(L"\xFEFF", sizeof(wchar_t), 1, f);
  std::fwrite(line.data(), sizeof(char16_t), line.size(), f);
  std::fwrite(L"\r\n", sizeof(wchar_t), 2, f);
  std::fclose(f);
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  if (argc < 2) {
    std::fwprintf(stderr, L"usage: box_watcher <log file> [<watched window title>] [<seconds>]\n");
    return 2;
  }
  const ustring watched = argc > 2 ? lumo::test::u16(argv[2]) : ustring();
  const DWORD seconds = argc > 3 ? static_cast<DWORD>(std::wcstoul(argv[3], nullptr, 10)) : 300;
  const DWORD end = GetTickCount() + seconds * 1000;
  std::vector<ustring> closing;
  {
    wchar_t buf[1024] = L"";
    if (GetEnvironmentVariableW(L"LUMO_WATCHER_CLOSE", buf, 1024) > 0)
      for (ustring& t : lumo::split(lumo::test::u16(buf), u"|"))
        if (!t.empty()) closing.push_back(t);
  }
  HWND last = nullptr, closed = nullptr;
  while (static_cast<LONG>(end - GetTickCount()) > 0) {
    Scan s{&watched};
    s.closing = &closing;
    EnumWindows(scanWindow, reinterpret_cast<LPARAM>(&s));
    if (!s.box && s.toClose && s.toClose != closed) {
      append(argv[1], u"<closed>\t" + lumo::win32::windowText(s.toClose) + u"\t" + lumo::toText(listRows(s.toClose)));
      closed = s.toClose;
      PostMessageW(s.toClose, WM_CLOSE, 0, 0);
    }
    if (s.box && s.box != last) {
      append(argv[1], lumo::win32::windowText(s.box) + u"\t" + lumo::test::messageText(s.box) + u"\t" +
                          lumo::toText(s.windows));
      last = s.box;
      lumo::test::pressButton(s.box);
    } else if (!s.box) {
      last = nullptr;
    }
    Sleep(100);
  }
  return 0;
}
