// The windows of the add-in as the code that opens them sees them. Commands and
// public classes never make a window themselves: they ask the factory they were
// given, so a test can put a window of its own behind each of them, and the
// server (its composition root) is the one place that hands out the real ones.
#pragma once

#include <memory>

#include "automation/error.h"
#include "automation/text.h"

namespace lumo {

namespace display {
class DisplayerPresenter;
}

// The host's six commands, in the order of the entry class's members.
enum class Command { SetUserMobile, SetAllMobile, SendSms, SmsManager, UserSms, ShowSmsLog };

// Something that keeps the module that made a window loaded while the window's
// object lives (the server counts it as a live object); empty where nothing needs it.
using ModuleHold = std::shared_ptr<const void>;

// One window instance as a command sees it.
class CommandWindow {
 public:
  virtual ~CommandWindow() = default;
  // True when the signed-in user is bound to an employee.
  virtual bool isRelateEmp() = 0;
  // Shows the window: a modal one returns when it has been closed, a modeless
  // one returns at once and lives on by itself.
  virtual void show(bool modal) = 0;
  // Puts receivers and a message in place before the window is shown (the SMS
  // log's resend); a window without them refuses.
  virtual void prefill(const ustring& /*receivers*/, const ustring& /*message*/) {
    throw Error(errnum::InvalidCall, u"This window takes no receivers or message");
  }
};

class WindowFactory {
 public:
  virtual ~WindowFactory() = default;
  // A new window for a command. Raises when this build has none for it.
  virtual std::unique_ptr<CommandWindow> commandWindow(Command command) = 0;
  // A new list window (results of the batch windows, the display builder's window).
  virtual std::shared_ptr<display::DisplayerPresenter> listWindow() = 0;
};

}  // namespace lumo
