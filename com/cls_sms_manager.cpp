// clsSmsManager: the host's entry point, one command per window of the add-in.
#include <memory>

#include "com/classes.h"
#include "com/dual.h"
#include "com/module.h"
#include "com/typelib.h"
#include "host/commands.h"
#include "host/rights.h"
#include "sms/win/frm_send_sms.h"

namespace lumo::com {
namespace {

// The send window as a command sees it. It is always modeless: once shown, the
// window owns the form and this wrapper lets go of it.
class SendSmsWindow final : public CommandWindow {
 public:
  SendSmsWindow() : form_(std::make_unique<sms::win::FrmSendSms>()) {
    // An open window keeps the server loaded, like any live object of ours.
    objectCreated();
    form_->setOnDestroyed(objectDestroyed);
  }
  bool isRelateEmp() override { return form_->presenter().isRelateEmp(); }
  void show(bool) override { sms::win::FrmSendSms::show(std::move(form_)); }

 private:
  std::unique_ptr<sms::win::FrmSendSms> form_;
};

class SmsManagerObject final : public DualObject<_clsSmsManager> {
 public:
  SmsManagerObject() : DualObject(IID__clsSmsManager, CLSID_clsSmsManager, u"clsSmsManager") {}

  HRESULT STDMETHODCALLTYPE SetUserMobile() override { return unavailable(u"SetUserMobile"); }
  HRESULT STDMETHODCALLTYPE SetAllMobile() override { return unavailable(u"SetAllMobile"); }
  HRESULT STDMETHODCALLTYPE SendSms() override {
    return run(u"SendSms", [] { runCommand(Command::SendSms, [] { return std::make_unique<SendSmsWindow>(); }); });
  }
  HRESULT STDMETHODCALLTYPE SmsManager(BSTR) override { return unavailable(u"SmsManager"); }
  HRESULT STDMETHODCALLTYPE UserSms(BSTR) override { return unavailable(u"UserSms"); }
  HRESULT STDMETHODCALLTYPE ShowSmsLog() override { return unavailable(u"ShowSmsLog"); }

 private:
  // Kept for windows that check a right of their own; it never fails and answers
  // false whenever the right cannot be confirmed.
  [[maybe_unused]] static bool AccessCheck(const ustring& props, int32_t objectType, int32_t objectID,
                                           int32_t accessMask) {
    return accessCheck(props, objectType, objectID, accessMask);
  }
};

}  // namespace

HRESULT createSmsManager(REFIID riid, void** ppv) noexcept { return createInstance<SmsManagerObject>(riid, ppv); }

}  // namespace lumo::com
