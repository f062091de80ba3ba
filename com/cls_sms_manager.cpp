// clsSmsManager: the host's entry point, one command per window of the add-in.
#include "com/classes.h"
#include "com/composition.h"
#include "com/dual.h"
#include "com/typelib.h"
#include "host/commands.h"

namespace lumo::com {
namespace {

class SmsManagerObject final : public DualObject<_clsSmsManager> {
 public:
  explicit SmsManagerObject(WindowFactory& windows)
      : DualObject(IID__clsSmsManager, CLSID_clsSmsManager, u"clsSmsManager"), windows_(windows) {}

  HRESULT STDMETHODCALLTYPE SetUserMobile() override { return command(Command::SetUserMobile); }
  HRESULT STDMETHODCALLTYPE SetAllMobile() override { return command(Command::SetAllMobile); }
  HRESULT STDMETHODCALLTYPE SendSms() override { return command(Command::SendSms); }
  // strType is accepted and not used: the window is the same whatever it holds.
  HRESULT STDMETHODCALLTYPE SmsManager(BSTR) override { return command(Command::SmsManager); }
  HRESULT STDMETHODCALLTYPE UserSms(BSTR) override { return command(Command::UserSms); }
  HRESULT STDMETHODCALLTYPE ShowSmsLog() override { return command(Command::ShowSmsLog); }

 private:
  HRESULT command(Command c) noexcept {
    return run(commandInfo(c).name, [&] { runCommand(c, windows_); });
  }

  WindowFactory& windows_;
};

}  // namespace

HRESULT createSmsManager(REFIID riid, void** ppv) noexcept {
  return createInstance<SmsManagerObject>(riid, ppv, addinWindows());
}

}  // namespace lumo::com
