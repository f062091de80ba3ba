#include "smslog/win/frm_filter.h"

#include <windows.h>
#include <commctrl.h>
#include <oleauto.h>

#include "automation/win/wide.h"
#include "host/language.h"
#include "smslog/win/filter_ids.h"
#include "win32/controls.h"

namespace lumo::win32 {
namespace {

using smslog::LogFilter;

LANGID layoutLanguage() {
  switch (getLanguageCode()) {
    case 2: return MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US);
    case 3: return MAKELANGID(LANG_CHINESE, SUBLANG_CHINESE_TRADITIONAL);
    default: return MAKELANGID(LANG_CHINESE, SUBLANG_CHINESE_SIMPLIFIED);
  }
}

double toOleDate(const SYSTEMTIME& st) {
  double d = 0;
  SYSTEMTIME whole = st;
  whole.wMilliseconds = 0;
  SystemTimeToVariantTime(&whole, &d);
  return d;
}

SYSTEMTIME fromOleDate(double d) {
  SYSTEMTIME st{};
  VariantTimeToSystemTime(d, &st);
  return st;
}

class FrmFilter final : public Window {
 public:
  explicit FrmFilter(const LogFilter& conditions) : Window(u"frmFilter"), conditions_(conditions) {}

  std::optional<LogFilter> run(HWND owner) {
    createDialog(dialogLayout(IDD_SMSLOG_FILTER, layoutLanguage()), owner);
    ShowWindow(hwnd(), SW_SHOW);
    runModal(owner);
    std::optional<LogFilter> result;
    if (ok_) result = read_;
    destroy();
    return result;
  }

 private:
  bool onMessage(UINT msg, WPARAM wParam, LPARAM, LRESULT& result) override {
    switch (msg) {
      case WM_INITDIALOG:
        fill();
        result = TRUE;
        return true;
      case WM_COMMAND:
        switch (LOWORD(wParam)) {
          case IDOK:
            read_ = readBack();
            ok_ = true;
            ShowWindow(hwnd(), SW_HIDE);
            return true;
          case IDCANCEL:
            ok_ = false;
            ShowWindow(hwnd(), SW_HIDE);
            return true;
          case IDC_FILTER_BYTIME:
          case IDC_FILTER_ALLTIME:
            if (HIWORD(wParam) == BN_CLICKED) enableRange();
            return true;
          default:
            return false;
        }
      case WM_CLOSE:
        ok_ = false;
        ShowWindow(hwnd(), SW_HIDE);
        return true;
      default:
        return false;
    }
  }

  HWND item(int id) const { return GetDlgItem(hwnd(), id); }

  // The layout holds every caption; only the values are written here.
  void fill() {
    HWND status = item(IDC_FILTER_STATUS);
    const char16_t* keys[] = {u"全部", smslog::statusKey(0), smslog::statusKey(1), smslog::statusKey(2),
                              smslog::statusKey(3)};
    for (const char16_t* k : keys) SendMessageW(status, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(wz(loadVtString(k))));
    SendMessageW(status, CB_SETCURSEL, static_cast<WPARAM>(conditions_.status + 1), 0);
    setWindowText(item(IDC_FILTER_SENDNUM), conditions_.sendNumber);
    setWindowText(item(IDC_FILTER_ACCT), conditions_.account);
    CheckRadioButton(hwnd(), IDC_FILTER_BYTIME, IDC_FILTER_ALLTIME,
                     conditions_.allTimes ? IDC_FILTER_ALLTIME : IDC_FILTER_BYTIME);
    SYSTEMTIME start{}, end{};
    if (conditions_.startTime == 0 && conditions_.endTime == 0) {
      // Never chosen: today up to now.
      GetLocalTime(&end);
      start = end;
      start.wHour = start.wMinute = start.wSecond = start.wMilliseconds = 0;
    } else {
      start = fromOleDate(conditions_.startTime);
      end = fromOleDate(conditions_.endTime);
    }
    for (int id : {IDC_FILTER_START, IDC_FILTER_END})
      SendMessageW(item(id), DTM_SETFORMATW, 0, reinterpret_cast<LPARAM>(L"yyyy-MM-dd HH:mm:ss"));
    SendMessageW(item(IDC_FILTER_START), DTM_SETSYSTEMTIME, GDT_VALID, reinterpret_cast<LPARAM>(&start));
    SendMessageW(item(IDC_FILTER_END), DTM_SETSYSTEMTIME, GDT_VALID, reinterpret_cast<LPARAM>(&end));
    CheckDlgButton(hwnd(), IDC_FILTER_ASC, conditions_.ascending ? BST_CHECKED : BST_UNCHECKED);
    CheckDlgButton(hwnd(), IDC_FILTER_LAST, conditions_.lastFromWorkstation ? BST_CHECKED : BST_UNCHECKED);
    enableRange();
  }

  void enableRange() {
    const bool byTime = IsDlgButtonChecked(hwnd(), IDC_FILTER_BYTIME) == BST_CHECKED;
    EnableWindow(item(IDC_FILTER_START), byTime);
    EnableWindow(item(IDC_FILTER_END), byTime);
  }

  LogFilter readBack() const {
    LogFilter f;
    const auto sel = SendMessageW(item(IDC_FILTER_STATUS), CB_GETCURSEL, 0, 0);
    f.status = static_cast<int16_t>(sel == CB_ERR ? smslog::kEveryStatus : sel - 1);
    f.sendNumber = trim(windowText(item(IDC_FILTER_SENDNUM)));
    f.account = trim(windowText(item(IDC_FILTER_ACCT)));
    f.allTimes = IsDlgButtonChecked(hwnd(), IDC_FILTER_ALLTIME) == BST_CHECKED;
    SYSTEMTIME st{};
    SendMessageW(item(IDC_FILTER_START), DTM_GETSYSTEMTIME, 0, reinterpret_cast<LPARAM>(&st));
    f.startTime = toOleDate(st);
    SendMessageW(item(IDC_FILTER_END), DTM_GETSYSTEMTIME, 0, reinterpret_cast<LPARAM>(&st));
    f.endTime = toOleDate(st);
    f.ascending = IsDlgButtonChecked(hwnd(), IDC_FILTER_ASC) == BST_CHECKED;
    f.lastFromWorkstation = IsDlgButtonChecked(hwnd(), IDC_FILTER_LAST) == BST_CHECKED;
    return f;
  }

  LogFilter conditions_;
  LogFilter read_;
  bool ok_ = false;
};

}  // namespace

std::optional<smslog::LogFilter> runFilterDialog(HWND owner, const smslog::LogFilter& conditions) {
  FrmFilter dialog(conditions);
  return dialog.run(owner);
}

}  // namespace lumo::win32
