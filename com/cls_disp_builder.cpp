// clsDispBuilder: fills the list display window row by row and shows it.
#include <memory>

// Before any Windows header: the builder names the stacking constants that
// winuser.h defines as macros.
#include "display/disp_builder.h"
// clang-format off
#include "com/classes.h"
#include "com/composition.h"
#include "com/dual.h"
#include "com/typelib.h"
// clang-format on

namespace lumo::com {
namespace {

class DispBuilderObject final : public DualObject<_clsDispBuilder> {
 public:
  explicit DispBuilderObject(WindowFactory& windows)
      : DualObject(IID__clsDispBuilder, CLSID_clsDispBuilder, u"clsDispBuilder"),
        builder_(std::make_unique<display::DispBuilder>(windows)) {}

  HRESULT STDMETHODCALLTYPE put_WindowPos(Enum_WindowPos value) override {
    return run(u"WindowPos", [&] { builder_->setWindowPos(static_cast<int32_t>(value)); });
  }
  HRESULT STDMETHODCALLTYPE get_Titles(BSTR* ret) override {
    return getText(u"Titles", ret, [&] { return builder_->titles(); });
  }
  HRESULT STDMETHODCALLTYPE put_Titles(BSTR value) override {
    return run(u"Titles", [&] { builder_->setTitles(fromBstrArg(value)); });
  }
  HRESULT STDMETHODCALLTYPE get_PromptContent(BSTR* ret) override {
    return getText(u"PromptContent", ret, [&] { return builder_->promptContent(); });
  }
  HRESULT STDMETHODCALLTYPE put_PromptContent(BSTR value) override {
    return run(u"PromptContent", [&] { builder_->setPromptContent(fromBstrArg(value)); });
  }
  HRESULT STDMETHODCALLTYPE get_PromptTitle(BSTR* ret) override {
    return getText(u"PromptTitle", ret, [&] { return builder_->promptTitle(); });
  }
  HRESULT STDMETHODCALLTYPE put_PromptTitle(BSTR value) override {
    return run(u"PromptTitle", [&] { builder_->setPromptTitle(fromBstrArg(value)); });
  }
  HRESULT STDMETHODCALLTYPE get_NeedDisplay(LONG* ret) override {
    return getValue(u"NeedDisplay", ret, [&] { return builder_->needDisplay(); });
  }
  HRESULT STDMETHODCALLTYPE put_NeedDisplay(LONG value) override {
    return run(u"NeedDisplay", [&] { builder_->setNeedDisplay(value); });
  }
  HRESULT STDMETHODCALLTYPE get_DisplayStyle(Enum_MsgBoxType* ret) override {
    return getValue(u"DisplayStyle", ret, [&] { return builder_->displayStyle(); });
  }
  HRESULT STDMETHODCALLTYPE put_DisplayStyle(Enum_MsgBoxType value) override {
    return run(u"DisplayStyle", [&] { builder_->setDisplayStyle(static_cast<int32_t>(value)); });
  }
  HRESULT STDMETHODCALLTYPE get_PromptResult(Enum_MsgBoxResult* ret) override {
    return getValue(u"PromptResult", ret, [&] { return builder_->promptResult(); });
  }
  HRESULT STDMETHODCALLTYPE Add(BSTR* row) override {
    return run(u"Add", [&] { builder_->add(fromBstrArg(*checkOut(row))); });
  }
  HRESULT STDMETHODCALLTYPE get_Cols(LONG* ret) override {
    return getValue(u"Cols", ret, [&] { return builder_->cols(); });
  }
  HRESULT STDMETHODCALLTYPE put_Cols(LONG value) override {
    return run(u"Cols", [&] { builder_->setCols(value); });
  }
  HRESULT STDMETHODCALLTYPE Show(VARIANT mode, VARIANT windowState) override {
    return run(u"Show", [&] { builder_->show(optionalArg(mode), optionalArg(windowState)); });
  }
  HRESULT STDMETHODCALLTYPE SetColType(LONG* col, Enum_ColType* colType) override {
    return run(u"SetColType",
               [&] { builder_->setColType(*checkOut(col), static_cast<int32_t>(*checkOut(colType))); });
  }
  HRESULT STDMETHODCALLTYPE SetColWidth(LONG col, LONG* width) override {
    return run(u"SetColWidth", [&] { builder_->setColWidth(col, *checkOut(width)); });
  }
  HRESULT STDMETHODCALLTYPE get_Caption(BSTR* ret) override {
    return getText(u"Caption", ret, [&] { return builder_->caption(); });
  }
  HRESULT STDMETHODCALLTYPE put_Caption(BSTR value) override {
    return run(u"Caption", [&] { builder_->setCaption(fromBstrArg(value)); });
  }
  HRESULT STDMETHODCALLTYPE get_Col(LONG* ret) override {
    return getValue(u"Col", ret, [&] { return builder_->col(); });
  }
  HRESULT STDMETHODCALLTYPE put_Col(LONG value) override {
    return run(u"Col", [&] { builder_->setCol(value); });
  }
  HRESULT STDMETHODCALLTYPE get_Row(LONG* ret) override {
    return getValue(u"Row", ret, [&] { return builder_->row(); });
  }
  HRESULT STDMETHODCALLTYPE put_Row(LONG value) override {
    return run(u"Row", [&] { builder_->setRow(value); });
  }
  HRESULT STDMETHODCALLTYPE get_Text(BSTR* ret) override {
    return getText(u"Text", ret, [&] { return builder_->text(); });
  }
  HRESULT STDMETHODCALLTYPE put_Text(BSTR value) override {
    return run(u"Text", [&] { builder_->setText(fromBstrArg(value)); });
  }
  HRESULT STDMETHODCALLTYPE GetText(LONG row, LONG col, BSTR* ret) override {
    return getText(u"GetText", ret, [&] { return builder_->getText(row, col); });
  }
  HRESULT STDMETHODCALLTYPE SetText(LONG row, LONG col, BSTR value, BSTR* ret) override {
    return getText(u"SetText", ret, [&] { return builder_->setText(row, col, fromBstrArg(value)); });
  }

 private:
  std::unique_ptr<display::DispBuilder> builder_;
};

}  // namespace

HRESULT createDispBuilder(REFIID riid, void** ppv) noexcept {
  return createInstance<DispBuilderObject>(riid, ppv, addinWindows());
}

}  // namespace lumo::com
