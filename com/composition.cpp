#include "com/composition.h"

#include <memory>

#include "com/boundary.h"
#include "com/module.h"
#include "display/displayer.h"
#include "display/win/windows.h"
#include "host/commands.h"
#include "host/services.h"
#include "notify/win/windows.h"
#include "mobile/win/windows.h"
#include "sms/win/windows.h"
#include "smslog/win/windows.h"
#include "win32/window.h"

namespace lumo::com {
namespace {

// A window keeps the module loaded as long as its object lives, like any object of ours.
ModuleHold liveObject() {
  struct Live {
    Live() { objectCreated(); }
    ~Live() { objectDestroyed(); }
    Live(const Live&) = delete;
    Live& operator=(const Live&) = delete;
  };
  return std::make_shared<const Live>();
}

class AddinWindows final : public WindowFactory {
 public:
  AddinWindows() { win32::setErrorSink(&trapError); }

  std::unique_ptr<CommandWindow> commandWindow(Command command) override {
    switch (command) {
      case Command::SetUserMobile:
        return win32::makeSetUserMobileWindow(liveObject());
      case Command::SetAllMobile:
        return win32::makeMobileManagerWindow(liveObject(), *this);
      case Command::SendSms:
        return win32::makeSendSmsWindow(liveObject());
      case Command::ShowSmsLog:
        return win32::makeMobileLogWindow(liveObject(), *this);
      case Command::SmsManager:
        return win32::makeSmsManagerWindow(liveObject(), *this);
      case Command::UserSms:
        return win32::makeUserSmsWindow(liveObject(), *this);
    }
    // A value outside the six commands: a caller's mistake, not a window of ours.
    throw Error(errnum::InvalidCall, u"clsSmsManager: no window for command " + toText(static_cast<long long>(command)));
  }
  std::shared_ptr<display::DisplayerPresenter> listWindow() override { return win32::makeListWindow(liveObject()); }
};

}  // namespace

WindowFactory& addinWindows() {
  static AddinWindows windows;
  return windows;
}

}  // namespace lumo::com
