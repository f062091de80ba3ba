// clsSaveFile: reads or writes a plain text file line by line.
#include "com/classes.h"
#include "com/dual.h"
#include "com/typelib.h"

namespace lumo::com {
namespace {

class SaveFileObject final : public DualObject<_clsSaveFile> {
 public:
  SaveFileObject() : DualObject(IID__clsSaveFile, CLSID_clsSaveFile, u"clsSaveFile") {}

  HRESULT STDMETHODCALLTYPE get_lineNum(LONG* ret) override { return unavailable(u"lineNum", ret); }
  HRESULT STDMETHODCALLTYPE put_lineNum(LONG) override { return unavailable(u"lineNum"); }
  HRESULT STDMETHODCALLTYPE get_fileName(BSTR* ret) override { return unavailable(u"fileName", ret); }
  HRESULT STDMETHODCALLTYPE put_fileName(BSTR) override { return unavailable(u"fileName"); }
  HRESULT STDMETHODCALLTYPE WriteTo(BSTR*) override { return unavailable(u"WriteTo"); }
  HRESULT STDMETHODCALLTYPE readFirstLine(BSTR* ret) override { return unavailable(u"readFirstLine", ret); }
  HRESULT STDMETHODCALLTYPE readLeftLines(IDispatch** ret) override { return unavailable(u"readLeftLines", ret); }
  HRESULT STDMETHODCALLTYPE get_action(Enum_Action* ret) override { return unavailable(u"action", ret); }
  HRESULT STDMETHODCALLTYPE put_action(Enum_Action) override { return unavailable(u"action"); }
};

}  // namespace

HRESULT createSaveFile(REFIID riid, void** ppv) noexcept { return createInstance<SaveFileObject>(riid, ppv); }

}  // namespace lumo::com
