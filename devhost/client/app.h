// The stand-in ERP client as a Windows program: the session it signs in to, the
// texts it shows, the commands it calls on the add-in, and its windows.
#pragma once

#include <windows.h>

#include <optional>

#include "automation/error.h"
#include "automation/object.h"
#include "devhost/client/client_core.h"

namespace lumo::client {

struct UserRow {
  ustring name;
  bool hasEmployee = false;
};

struct UserList {
  std::vector<UserRow> users;
  ustring error;  // why the list could not be read (empty when it could)
};

// Outcome of one host call: ok, or the error the callee reported.
struct CallResult {
  bool ok = true;
  int32_t number = 0;
  int32_t hresult = 0;
  ustring source;
  ustring description;

  static CallResult failed(const Error& e);
};

class App {
 public:
  explicit App(Options options);
  ~App();
  App(const App&) = delete;
  App& operator=(const App&) = delete;

  const Options& options() const { return options_; }

  // ---- texts
  Language language() const { return language_; }
  void setLanguage(Language l) { language_ = l; }
  ustring tr(const ustring& key) const { return trIn(key, language_); }
  ustring trIn(const ustring& key, Language l) const;
  ustring trf(const ustring& key, const std::vector<ustring>& args) const { return formatText(tr(key), args); }
  // Where the translation table was read from ("" when none was found).
  const ustring& tablePath() const { return tablePath_; }

  // ---- session
  bool signedIn() const { return signedIn_; }
  const ustring& user() const { return user_; }
  const ustring& propsString() const { return props_; }
  // Signs in through the host's shared property manager; reports the outcome.
  CallResult signIn(const ustring& user, Language l);
  // The ordinary users of t_User, read through the host's data component.
  UserList listUsers();

  // ---- commands
  // Creates the add-in's entry class, calls the command by name, releases it.
  CallResult runCommand(const Command& c);

  // ---- reporting
  // One line to stderr and, with --log, to the log file.
  void report(const ustring& line) const;
  // Shows a failed call (unless --no-error-box) over 'owner'.
  void showError(HWND owner, const ustring& title, const ustring& what, const CallResult& r) const;
  int failures() const { return failures_; }

 private:
  void loadTable();
  std::optional<ustring> askLoader(const ustring& key, Language l) const;

  Options options_;
  Language language_ = Language::Chs;
  TextTable table_;
  ustring tablePath_;

  // The resource loader, created on first use and kept; null when it cannot be had.
  mutable ObjectPtr loader_;
  mutable bool loaderTried_ = false;
  mutable std::optional<Language> loaderLanguage_;

  // The shared property manager keeps the session of this process: hold it for the
  // life of the session so that its module stays loaded.
  ObjectPtr shareProps_;
  bool signedIn_ = false;
  ustring user_;
  ustring props_;
  int failures_ = 0;
};

// A function of user32 that older Windows versions lack (null when missing).
template <class Fn>
Fn user32Function(const char* name) {
  FARPROC p = GetProcAddress(GetModuleHandleW(L"user32.dll"), name);
  return reinterpret_cast<Fn>(reinterpret_cast<void*>(p));
}

// DPI of a window (or of the system when the window is null or the call is missing).
UINT dpiOf(HWND window);
inline int scaled(int value, UINT dpi) { return MulDiv(value, static_cast<int>(dpi), 96); }
// The message font for a DPI (owned by the caller).
HFONT createUiFont(UINT dpi);

// The sign-in dialog. Returns false when cancelled; otherwise user and language.
bool runSignInDialog(App& app, HWND owner, ustring& user, Language& language);

// The main window; returns its handle (null when it cannot be created).
HWND createMainWindow(App& app, HINSTANCE instance);
// Queues the --run commands; they run once the message loop starts.
void queueCommands(HWND mainWindow);

}  // namespace lumo::client
