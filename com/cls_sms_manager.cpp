// clsSmsManager: the host's entry point, one command per window of the add-in.
#include "com/classes.h"
#include "com/dual.h"
#include "com/typelib.h"

namespace lumo::com {
namespace {

class SmsManagerObject final : public DualObject<_clsSmsManager> {
 public:
  SmsManagerObject() : DualObject(IID__clsSmsManager, CLSID_clsSmsManager, u"clsSmsManager") {}

  HRESULT STDMETHODCALLTYPE SetUserMobile() override { return unavailable(u"SetUserMobile"); }
  HRESULT STDMETHODCALLTYPE SetAllMobile() override { return unavailable(u"SetAllMobile"); }
  HRESULT STDMETHODCALLTYPE SendSms() override { return unavailable(u"SendSms"); }
  HRESULT STDMETHODCALLTYPE SmsManager(BSTR) override { return unavailable(u"SmsManager"); }
  HRESULT STDMETHODCALLTYPE UserSms(BSTR) override { return unavailable(u"UserSms"); }
  HRESULT STDMETHODCALLTYPE ShowSmsLog() override { return unavailable(u"ShowSmsLog"); }
};

}  // namespace

HRESULT createSmsManager(REFIID riid, void** ppv) noexcept { return createInstance<SmsManagerObject>(riid, ppv); }

}  // namespace lumo::com
