// clsDispBuilder: fills the list display window row by row and shows it.
#include "com/classes.h"
#include "com/dual.h"
#include "com/typelib.h"

namespace lumo::com {
namespace {

class DispBuilderObject final : public DualObject<_clsDispBuilder> {
 public:
  DispBuilderObject() : DualObject(IID__clsDispBuilder, CLSID_clsDispBuilder, u"clsDispBuilder") {}

  HRESULT STDMETHODCALLTYPE put_WindowPos(Enum_WindowPos) override { return unavailable(u"WindowPos"); }
  HRESULT STDMETHODCALLTYPE get_Titles(BSTR* ret) override { return unavailable(u"Titles", ret); }
  HRESULT STDMETHODCALLTYPE put_Titles(BSTR) override { return unavailable(u"Titles"); }
  HRESULT STDMETHODCALLTYPE get_PromptContent(BSTR* ret) override { return unavailable(u"PromptContent", ret); }
  HRESULT STDMETHODCALLTYPE put_PromptContent(BSTR) override { return unavailable(u"PromptContent"); }
  HRESULT STDMETHODCALLTYPE get_PromptTitle(BSTR* ret) override { return unavailable(u"PromptTitle", ret); }
  HRESULT STDMETHODCALLTYPE put_PromptTitle(BSTR) override { return unavailable(u"PromptTitle"); }
  HRESULT STDMETHODCALLTYPE get_NeedDisplay(LONG* ret) override { return unavailable(u"NeedDisplay", ret); }
  HRESULT STDMETHODCALLTYPE put_NeedDisplay(LONG) override { return unavailable(u"NeedDisplay"); }
  HRESULT STDMETHODCALLTYPE get_DisplayStyle(Enum_MsgBoxType* ret) override {
    return unavailable(u"DisplayStyle", ret);
  }
  HRESULT STDMETHODCALLTYPE put_DisplayStyle(Enum_MsgBoxType) override { return unavailable(u"DisplayStyle"); }
  HRESULT STDMETHODCALLTYPE get_PromptResult(Enum_MsgBoxResult* ret) override {
    return unavailable(u"PromptResult", ret);
  }
  HRESULT STDMETHODCALLTYPE Add(BSTR*) override { return unavailable(u"Add"); }
  HRESULT STDMETHODCALLTYPE get_Cols(LONG* ret) override { return unavailable(u"Cols", ret); }
  HRESULT STDMETHODCALLTYPE put_Cols(LONG) override { return unavailable(u"Cols"); }
  HRESULT STDMETHODCALLTYPE Show(VARIANT, VARIANT) override { return unavailable(u"Show"); }
  HRESULT STDMETHODCALLTYPE SetColType(LONG*, Enum_ColType*) override { return unavailable(u"SetColType"); }
  HRESULT STDMETHODCALLTYPE SetColWidth(LONG, LONG*) override { return unavailable(u"SetColWidth"); }
  HRESULT STDMETHODCALLTYPE get_Caption(BSTR* ret) override { return unavailable(u"Caption", ret); }
  HRESULT STDMETHODCALLTYPE put_Caption(BSTR) override { return unavailable(u"Caption"); }
  HRESULT STDMETHODCALLTYPE get_Col(LONG* ret) override { return unavailable(u"Col", ret); }
  HRESULT STDMETHODCALLTYPE put_Col(LONG) override { return unavailable(u"Col"); }
  HRESULT STDMETHODCALLTYPE get_Row(LONG* ret) override { return unavailable(u"Row", ret); }
  HRESULT STDMETHODCALLTYPE put_Row(LONG) override { return unavailable(u"Row"); }
  HRESULT STDMETHODCALLTYPE get_Text(BSTR* ret) override { return unavailable(u"Text", ret); }
  HRESULT STDMETHODCALLTYPE put_Text(BSTR) override { return unavailable(u"Text"); }
  HRESULT STDMETHODCALLTYPE GetText(LONG, LONG, BSTR* ret) override { return unavailable(u"GetText", ret); }
  HRESULT STDMETHODCALLTYPE SetText(LONG, LONG, BSTR, BSTR* ret) override { return unavailable(u"SetText", ret); }
};

}  // namespace

HRESULT createDispBuilder(REFIID riid, void** ppv) noexcept { return createInstance<DispBuilderObject>(riid, ppv); }

}  // namespace lumo::com
