// The host's six commands: which window each opens, whether the user must be
// bound to an employee first, how the window is shown, and what a refused user
// is told. The COM class only supplies the windows; the order of the steps lives
// here so that it holds for every command alike.
#pragma once

#include <functional>
#include <memory>

#include "automation/text.h"

namespace lumo {

enum class Command { SetUserMobile, SetAllMobile, SendSms, SmsManager, UserSms, ShowSmsLog };

struct CommandInfo {
  const char16_t* name;     // the member of clsSmsManager
  bool employeeCheck;       // the window is asked IsRelateEmp() first
  bool modal;               // shown modal (else modeless), always without an owner
  const char16_t* refusal;  // told to a user bound to no employee (before the lookup)
};

const CommandInfo& commandInfo(Command command);

// One window instance as a command sees it.
class CommandWindow {
 public:
  virtual ~CommandWindow() = default;
  // True when the signed-in user is bound to an employee.
  virtual bool isRelateEmp() = 0;
  // Shows the window: a modal one returns when it has been closed, a modeless
  // one returns at once and lives on by itself.
  virtual void show(bool modal) = 0;
};

// Runs a command: a fresh window from 'makeWindow'; for a checked command the
// employee check, and on refusal the looked-up message through the host's message
// service with no window shown; the window is released before returning. Errors
// in making, checking or showing the window are not caught: they are the call's.
void runCommand(Command command, const std::function<std::unique_ptr<CommandWindow>()>& makeWindow);

}  // namespace lumo
