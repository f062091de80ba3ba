// LumoErp.exe: the development host's stand-in for the ERP desktop client. It signs
// in as a demo user and calls the add-in's commands exactly as the ERP does.
#include <windows.h>
#include <commctrl.h>
#include <ole2.h>
#include <shellapi.h>

#include "automation/win/com_ptr.h"
#include "devhost/client/app.h"

using namespace lumo;
using namespace lumo::client;

namespace {

void makeDpiAware() {
  // The manifest asks for per-monitor awareness; this covers a manifest that was
  // not honoured (a renamed or copied executable on an older loader).
  using SetContextFn = BOOL(WINAPI*)(HANDLE);
  auto setContext = user32Function<SetContextFn>("SetProcessDpiAwarenessContext");
  if (setContext && setContext(reinterpret_cast<HANDLE>(static_cast<INT_PTR>(-4)))) return;  // per monitor v2
  SetProcessDPIAware();
}

std::vector<ustring> commandLine() {
  int argc = 0;
  wchar_t** argv = CommandLineToArgvW(GetCommandLineW(), &argc);
  std::vector<ustring> args;
  for (int i = 1; i < argc; ++i) args.push_back(fromWide(argv[i]));
  if (argv) LocalFree(argv);
  return args;
}

void writeStderr(const ustring& text) {
  std::string bytes = toUtf8(text) + "\n";
  HANDLE err = GetStdHandle(STD_ERROR_HANDLE);
  DWORD written = 0;
  if (err && err != INVALID_HANDLE_VALUE) WriteFile(err, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
}

int runClient(HINSTANCE instance, const Options& options) {
  App app(options);

  if (options.user) {
    CallResult r = app.signIn(*options.user, options.language.value_or(Language::Chs));
    if (!r.ok) app.showError(nullptr, app.tr(u"登录失败"), ustring(), r);
  } else {
    ustring user;
    Language language = options.language.value_or(Language::Chs);
    if (!runSignInDialog(app, nullptr, user, language)) return 0;
    CallResult r = app.signIn(user, language);
    if (!r.ok) {
      app.setLanguage(language);
      app.showError(nullptr, app.tr(u"登录失败"), ustring(), r);
    }
  }

  HWND main = createMainWindow(app, instance);
  if (!main) {
    writeStderr(u"LumoErp: the main window cannot be created");
    return 3;
  }
  ShowWindow(main, SW_SHOWNORMAL);
  UpdateWindow(main);
  queueCommands(main);

  // The add-in's modeless windows (the send window) live on this loop: give each
  // top-level window other than ours the dialog keyboard (Tab, arrows, Enter, Esc).
  MSG msg;
  BOOL got;
  while ((got = GetMessageW(&msg, nullptr, 0, 0)) != 0) {
    if (got == -1) break;
    HWND root = msg.hwnd ? GetAncestor(msg.hwnd, GA_ROOT) : nullptr;
    if (root && root != main && IsWindowEnabled(root) && IsDialogMessageW(root, &msg)) continue;
    TranslateMessage(&msg);
    DispatchMessageW(&msg);
  }
  return got == -1 ? 3 : static_cast<int>(msg.wParam);
}

}  // namespace

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE, PWSTR, int) {
  makeDpiAware();
  ParsedOptions parsed = parseOptions(commandLine());
  if (!parsed.error.empty() || parsed.options.help) {
    ustring text = parsed.error.empty() ? usageText() : u"LumoErp: " + parsed.error + u"\n" + usageText();
    writeStderr(text);
    if (parsed.options.errorBoxes)
      MessageBoxW(nullptr, wz(text), L"LumoErp", parsed.error.empty() ? MB_ICONINFORMATION : MB_ICONERROR);
    return parsed.error.empty() ? 0 : 2;
  }

  if (FAILED(OleInitialize(nullptr))) {
    writeStderr(u"LumoErp: OleInitialize failed");
    return 3;
  }
  INITCOMMONCONTROLSEX icc{sizeof icc, ICC_BAR_CLASSES | ICC_LISTVIEW_CLASSES | ICC_STANDARD_CLASSES |
                                           ICC_TAB_CLASSES | ICC_TREEVIEW_CLASSES | ICC_WIN95_CLASSES};
  InitCommonControlsEx(&icc);

  int code = runClient(instance, parsed.options);  // every COM object is gone when it returns
  OleUninitialize();
  return code;
}
