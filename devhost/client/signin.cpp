// The sign-in dialog: a user from t_User (or one typed in) and a language. Built
// from an in-memory template so that dialog units follow the font and the DPI.
#include <windows.h>
#include <commctrl.h>

#include "automation/win/com_ptr.h"
#include "devhost/client/app.h"

namespace lumo::client {

namespace {

enum : int {
  IdUserLabel = 101,
  IdUser = 102,
  IdLanguageLabel = 103,
  IdLanguage = 104,
  IdMessage = 105,
};

// DLGTEMPLATE and its items, laid out as the dialog manager reads them.
class DialogTemplate {
 public:
  DialogTemplate(DWORD style, short cx, short cy, const wchar_t* font, WORD points) {
    dword(style | DS_SETFONT);
    dword(0);  // extended style
    countAt_ = words_.size();
    word(0);  // item count, patched by add()
    word(0);
    word(0);
    word(static_cast<WORD>(cx));
    word(static_cast<WORD>(cy));
    word(0);  // no menu
    word(0);  // default class
    string(L"");
    word(points);
    string(font);
  }

  void add(WORD classAtom, DWORD style, short x, short y, short cx, short cy, WORD id) {
    while (words_.size() % 2) word(0);  // items start on a DWORD boundary
    dword(style | WS_CHILD | WS_VISIBLE);
    dword(0);
    word(static_cast<WORD>(x));
    word(static_cast<WORD>(y));
    word(static_cast<WORD>(cx));
    word(static_cast<WORD>(cy));
    word(id);
    word(0xFFFF);
    word(classAtom);
    string(L"");
    word(0);  // no creation data
    ++words_[countAt_];
  }

  const DLGTEMPLATE* get() const { return reinterpret_cast<const DLGTEMPLATE*>(words_.data()); }

  static constexpr WORD Button = 0x0080, Static = 0x0082, ComboBox = 0x0085;

 private:
  void word(WORD w) { words_.push_back(w); }
  void dword(DWORD d) {
    word(LOWORD(d));
    word(HIWORD(d));
  }
  void string(const wchar_t* s) {
    for (; *s; ++s) word(static_cast<WORD>(*s));
    word(0);
  }
  std::vector<WORD> words_;
  std::size_t countAt_ = 0;
};

struct SignInState {
  App* app;
  ustring user;
  Language language;
  UserList users;
};

const Language kLanguages[] = {Language::Chs, Language::En, Language::Cht};

void setText(HWND dlg, int id, const ustring& text) { SetDlgItemTextW(dlg, id, wz(text)); }

// Captions in the language chosen in the dialog, so the choice shows at once.
void applyTexts(HWND dlg, SignInState& s) {
  const App& app = *s.app;
  Language l = s.language;
  SetWindowTextW(dlg, wz(app.trIn(u"登录", l) + u" - " + app.trIn(u"Lumo ERP 演示客户端", l)));
  setText(dlg, IdUserLabel, app.trIn(u"用户名:", l));
  setText(dlg, IdLanguageLabel, app.trIn(u"语言:", l));
  setText(dlg, IDOK, app.trIn(u"确定(&O)", l));
  setText(dlg, IDCANCEL, app.trIn(u"取消(&C)", l));
  setText(dlg, IdMessage,
          s.users.error.empty() ? ustring() : formatText(app.trIn(u"无法读取用户列表: %1", l), {s.users.error}));
  HWND combo = GetDlgItem(dlg, IdLanguage);
  SendMessageW(combo, CB_RESETCONTENT, 0, 0);
  int selected = 0;
  for (int i = 0; i < 3; ++i) {
    SendMessageW(combo, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(wz(app.trIn(languageNameKey(kLanguages[i]), l))));
    if (kLanguages[i] == l) selected = i;
  }
  SendMessageW(combo, CB_SETCURSEL, static_cast<WPARAM>(selected), 0);
}

ustring windowText(HWND w) {
  int n = GetWindowTextLengthW(w);
  std::wstring buf(static_cast<std::size_t>(n) + 1, L'\0');
  GetWindowTextW(w, buf.data(), n + 1);
  buf.resize(static_cast<std::size_t>(n));
  return fromWide(buf.c_str());
}

INT_PTR CALLBACK signInProc(HWND dlg, UINT msg, WPARAM wp, LPARAM lp) {
  auto* s = reinterpret_cast<SignInState*>(GetWindowLongPtrW(dlg, DWLP_USER));
  switch (msg) {
    case WM_INITDIALOG: {
      s = reinterpret_cast<SignInState*>(lp);
      SetWindowLongPtrW(dlg, DWLP_USER, lp);
      HWND users = GetDlgItem(dlg, IdUser);
      int selected = -1;
      for (std::size_t i = 0; i < s->users.users.size(); ++i) {
        const UserRow& u = s->users.users[i];
        SendMessageW(users, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(wz(u.name)));
        if (!s->user.empty() ? u.name == s->user : (selected < 0 && u.hasEmployee)) selected = static_cast<int>(i);
      }
      if (selected >= 0)
        SendMessageW(users, CB_SETCURSEL, static_cast<WPARAM>(selected), 0);
      else
        SetWindowTextW(users, wz(s->user));
      applyTexts(dlg, *s);
      return TRUE;
    }
    case WM_COMMAND:
      switch (LOWORD(wp)) {
        case IdLanguage:
          if (HIWORD(wp) == CBN_SELCHANGE) {
            LRESULT i = SendMessageW(GetDlgItem(dlg, IdLanguage), CB_GETCURSEL, 0, 0);
            if (i >= 0 && i < 3) {
              s->language = kLanguages[i];
              applyTexts(dlg, *s);
            }
          }
          return TRUE;
        case IDOK: {
          ustring user = trim(windowText(GetDlgItem(dlg, IdUser)));
          if (user.empty()) {
            SetFocus(GetDlgItem(dlg, IdUser));
            MessageBeep(MB_ICONWARNING);
            return TRUE;
          }
          s->user = user;
          EndDialog(dlg, IDOK);
          return TRUE;
        }
        case IDCANCEL:
          EndDialog(dlg, IDCANCEL);
          return TRUE;
        default: break;
      }
      break;
    default: break;
  }
  return FALSE;
}

}  // namespace

bool runSignInDialog(App& app, HWND owner, ustring& user, Language& language) {
  SignInState state{&app, user, language, app.listUsers()};

  DialogTemplate t(WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME | DS_CENTER, 230, 104, L"MS Shell Dlg", 9);
  t.add(DialogTemplate::Static, SS_LEFT, 10, 12, 56, 10, IdUserLabel);
  t.add(DialogTemplate::ComboBox, CBS_DROPDOWN | CBS_AUTOHSCROLL | WS_VSCROLL | WS_TABSTOP, 70, 10, 150, 120, IdUser);
  t.add(DialogTemplate::Static, SS_LEFT, 10, 32, 56, 10, IdLanguageLabel);
  t.add(DialogTemplate::ComboBox, CBS_DROPDOWNLIST | WS_VSCROLL | WS_TABSTOP, 70, 30, 150, 60, IdLanguage);
  t.add(DialogTemplate::Static, SS_LEFT, 10, 50, 210, 24, IdMessage);
  t.add(DialogTemplate::Button, BS_DEFPUSHBUTTON | WS_TABSTOP, 110, 80, 52, 14, IDOK);
  t.add(DialogTemplate::Button, BS_PUSHBUTTON | WS_TABSTOP, 168, 80, 52, 14, IDCANCEL);

  INT_PTR r = DialogBoxIndirectParamW(GetModuleHandleW(nullptr), t.get(), owner, signInProc,
                                      reinterpret_cast<LPARAM>(&state));
  if (r != IDOK) return false;
  user = state.user;
  language = state.language;
  return true;
}

}  // namespace lumo::client
