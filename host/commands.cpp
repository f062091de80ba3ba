#include "host/commands.h"

#include "host/language.h"
#include "host/services.h"

namespace lumo {

namespace {
const CommandInfo kCommands[] = {
    {u"SetUserMobile", true, true, u"该用户没有关联职员，不能修改个人手机号码"},
    {u"SetAllMobile", false, true, nullptr},
    {u"SendSms", true, false, u"该用户没有关联职员，不能发送短信"},
    {u"SmsManager", false, true, nullptr},
    {u"UserSms", true, true, u"该用户没有关联职员，不能进行个人审批通知设置"},
    {u"ShowSmsLog", false, true, nullptr},
};
}  // namespace

const CommandInfo& commandInfo(Command command) { return kCommands[static_cast<int>(command)]; }

void runCommand(Command command, WindowFactory& windows, const std::function<void(CommandWindow&)>& prepare) {
  const CommandInfo& info = commandInfo(command);
  std::unique_ptr<CommandWindow> window = windows.commandWindow(command);
  if (info.employeeCheck && !window->isRelateEmp()) {
    showHostMessage(loadVtString(info.refusal));
    return;
  }
  if (prepare) prepare(*window);
  window->show(info.modal);
}

}  // namespace lumo
