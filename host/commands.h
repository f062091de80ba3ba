// The host's six commands: which window each opens, whether the user must be
// bound to an employee first, how the window is shown, and what a refused user
// is told. The windows come from the factory the entry class was given; the order
// of the steps lives here so that it holds for every command alike.
#pragma once

#include <functional>

#include "automation/text.h"
#include "host/windows.h"

namespace lumo {

struct CommandInfo {
  const char16_t* name;     // the member of clsSmsManager
  bool employeeCheck;       // the window is asked IsRelateEmp() first
  bool modal;               // shown modal (else modeless), always without an owner
  const char16_t* refusal;  // told to a user bound to no employee (before the lookup)
};

const CommandInfo& commandInfo(Command command);

// Runs a command: a fresh window from the factory; for a checked command the
// employee check, and on refusal the looked-up message through the host's message
// service with no window shown; the window is released before returning. Errors
// in making, checking or showing the window are not caught: they are the call's.
// 'prepare', when given, gets the window after the check and before it is shown.
void runCommand(Command command, WindowFactory& windows, const std::function<void(CommandWindow&)>& prepare = {});

}  // namespace lumo
