// clsSaveFile: reads or writes a plain text file line by line.
#include "automation/win/bridge.h"
#include "com/classes.h"
#include "com/dual.h"
#include "com/typelib.h"
#include "display/save_file.h"

namespace lumo::com {
namespace {

class SaveFileObject final : public DualObject<_clsSaveFile> {
 public:
  SaveFileObject() : DualObject(IID__clsSaveFile, CLSID_clsSaveFile, u"clsSaveFile") {}

  HRESULT STDMETHODCALLTYPE get_lineNum(LONG* ret) override {
    return getValue(u"lineNum", ret, [&] { return file_.lineNum(); });
  }
  HRESULT STDMETHODCALLTYPE put_lineNum(LONG value) override {
    return run(u"lineNum", [&] { file_.setLineNum(value); });
  }
  HRESULT STDMETHODCALLTYPE get_fileName(BSTR* ret) override {
    return getText(u"fileName", ret, [&] { return file_.fileName(); });
  }
  HRESULT STDMETHODCALLTYPE put_fileName(BSTR value) override {
    return run(u"fileName", [&] { file_.setFileName(fromBstrArg(value)); });
  }
  HRESULT STDMETHODCALLTYPE WriteTo(BSTR* line) override {
    return run(u"WriteTo", [&] { file_.writeTo(fromBstrArg(*checkOut(line))); });
  }
  HRESULT STDMETHODCALLTYPE readFirstLine(BSTR* ret) override {
    return getText(u"readFirstLine", ret, [&] { return file_.readFirstLine(); });
  }
  HRESULT STDMETHODCALLTYPE readLeftLines(IDispatch** ret) override {
    if (ret) *ret = nullptr;
    return run(u"readLeftLines", [&] {
      checkOut(ret);
      *ret = lumo::com::newObjectDispatch(file_.readLeftLines());
    });
  }
  HRESULT STDMETHODCALLTYPE get_action(Enum_Action* ret) override {
    return getValue(u"action", ret, [&] { return file_.action(); });
  }
  HRESULT STDMETHODCALLTYPE put_action(Enum_Action value) override {
    return run(u"action", [&] { file_.setAction(static_cast<int32_t>(value)); });
  }

 private:
  display::SaveFile file_;
};

}  // namespace

HRESULT createSaveFile(REFIID riid, void** ppv) noexcept { return createInstance<SaveFileObject>(riid, ppv); }

}  // namespace lumo::com
