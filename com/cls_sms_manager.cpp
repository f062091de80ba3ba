// clsSmsManager: the host's entry point, one command per window of the add-in.
#include <memory>

#include "com/classes.h"
#include "com/dual.h"
#include "com/module.h"
#include "com/typelib.h"
#include "host/language.h"
#include "host/services.h"
#include "sms/win/frm_send_sms.h"

namespace lumo::com {
namespace {

class SmsManagerObject final : public DualObject<_clsSmsManager> {
 public:
  SmsManagerObject() : DualObject(IID__clsSmsManager, CLSID_clsSmsManager, u"clsSmsManager") {}

  HRESULT STDMETHODCALLTYPE SetUserMobile() override { return unavailable(u"SetUserMobile"); }
  HRESULT STDMETHODCALLTYPE SetAllMobile() override { return unavailable(u"SetAllMobile"); }
  // A fresh send window per call, shown modeless with no owner; it lives on by
  // itself after the call returns. A user bound to no employee is refused.
  HRESULT STDMETHODCALLTYPE SendSms() override {
    return run(u"SendSms", [] {
      auto form = std::make_unique<sms::win::FrmSendSms>();
      // An open window keeps the server loaded, like any live object of ours.
      objectCreated();
      form->setOnDestroyed(objectDestroyed);
      if (!form->presenter().isRelateEmp()) {
        showHostMessage(loadVtString(u"该用户没有关联职员，不能发送短信"));
        return;
      }
      sms::win::FrmSendSms::show(std::move(form));
    });
  }
  HRESULT STDMETHODCALLTYPE SmsManager(BSTR) override { return unavailable(u"SmsManager"); }
  HRESULT STDMETHODCALLTYPE UserSms(BSTR) override { return unavailable(u"UserSms"); }
  HRESULT STDMETHODCALLTYPE ShowSmsLog() override { return unavailable(u"ShowSmsLog"); }
};

}  // namespace

HRESULT createSmsManager(REFIID riid, void** ppv) noexcept { return createInstance<SmsManagerObject>(riid, ppv); }

}  // namespace lumo::com
