#include "com/composition.h"

#include <memory>

#include "com/boundary.h"
#include "com/module.h"
#include "display/displayer.h"
#include "display/win/windows.h"
#include "host/commands.h"
#include "host/services.h"
#include "mobile/win/windows.h"
#include "sms/win/windows.h"
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
      default:
        notAvailable(u"clsSmsManager", commandInfo(command).name);
    }
  }
  std::shared_ptr<display::DisplayerPresenter> listWindow() override { return win32::makeListWindow(liveObject()); }
};

}  // namespace

WindowFactory& addinWindows() {
  static AddinWindows windows;
  return windows;
}

}  // namespace lumo::com
