// clsParse: the session property string parser and the language lookups, shown to
// COM clients. Every member hands its arguments to lumo::Parse; objects cross
// through the automation bridges in both directions.
#include "com/classes.h"
#include "com/dual.h"
#include "com/typelib.h"
#include "host/parse.h"

namespace lumo::com {
namespace {

class ParseObject final : public DualObject<_clsParse> {
 public:
  ParseObject() : DualObject(IID__clsParse, CLSID_clsParse, u"clsParse") {}

  HRESULT STDMETHODCALLTYPE get_g_objResLoader(IDispatch** ret) override {
    return getValue(u"g_objResLoader", ret, [&] { return dispatchFromObject(parse_.resLoader()); });
  }
  HRESULT STDMETHODCALLTYPE putref_g_objResLoader(IDispatch* value) override {
    return run(u"g_objResLoader", [&] { parse_.setResLoader(objectFromDispatch(value)); });
  }
  HRESULT STDMETHODCALLTYPE get_g_ObjResFrmLoader(IDispatch** ret) override {
    return getValue(u"g_ObjResFrmLoader", ret, [&] { return dispatchFromObject(parse_.frmResLoader()); });
  }
  HRESULT STDMETHODCALLTYPE putref_g_ObjResFrmLoader(IDispatch* value) override {
    return run(u"g_ObjResFrmLoader", [&] { parse_.setFrmResLoader(objectFromDispatch(value)); });
  }
  HRESULT STDMETHODCALLTYPE get_g_Language(BSTR* ret) override {
    return getText(u"g_Language", ret, [&] { return parse_.language(); });
  }
  HRESULT STDMETHODCALLTYPE put_g_Language(BSTR value) override {
    return run(u"g_Language", [&] { parse_.setLanguage(fromBstrArg(value)); });
  }
  HRESULT STDMETHODCALLTYPE get_PropsString(BSTR* ret) override {
    return getText(u"PropsString", ret, [&] { return parse_.propsString(); });
  }
  HRESULT STDMETHODCALLTYPE get_UserName(BSTR* ret) override {
    return getText(u"UserName", ret, [&] { return parse_.userName(); });
  }
  HRESULT STDMETHODCALLTYPE get_UserID(short* ret) override {
    return getValue(u"UserID", ret, [&] { return parse_.userId(); });
  }
  HRESULT STDMETHODCALLTYPE get_ConDBMSName(BSTR* ret) override {
    return getText(u"ConDBMSName", ret, [&] { return parse_.conDbmsName(); });
  }
  HRESULT STDMETHODCALLTYPE get_ConDBMSVersion(BSTR* ret) override {
    return getText(u"ConDBMSVersion", ret, [&] { return parse_.conDbmsVersion(); });
  }
  HRESULT STDMETHODCALLTYPE get_ConStr(BSTR* ret) override {
    return getText(u"ConStr", ret, [&] { return parse_.conStr(); });
  }
  HRESULT STDMETHODCALLTYPE GetProperty(BSTR sPropName, BSTR* ret) override {
    return getText(u"GetProperty", ret, [&] { return parse_.getProperty(fromBstrArg(sPropName)); });
  }
  HRESULT STDMETHODCALLTYPE ParseString(BSTR sToParse, VARIANT_BOOL* ret) override {
    return getValue(u"ParseString", ret,
                    [&] { return parse_.parseString(fromBstrArg(sToParse)) ? VARIANT_TRUE : VARIANT_FALSE; });
  }
  HRESULT STDMETHODCALLTYPE LoadVtString(BSTR strWord, BSTR* ret) override {
    return getText(u"LoadVtString", ret, [&] { return parse_.loadVtString(fromBstrArg(strWord)); });
  }
  HRESULT STDMETHODCALLTYPE LoadResFormat(BSTR strIndexFmt, SAFEARRAY** arrArgs, BSTR* ret) override {
    return getText(u"LoadResFormat", ret, [&] {
      Args args = varargs(arrArgs ? *arrArgs : nullptr);
      return parse_.loadResFormat(fromBstrArg(strIndexFmt), args);
    });
  }
  HRESULT STDMETHODCALLTYPE StrMultiLanguage(IDispatch* frm, VARIANT st, VARIANT LanguageBag) override {
    return run(u"StrMultiLanguage", [&] {
      parse_.strMultiLanguage(objectFromDispatch(frm), optionalObject(st), optionalArg(LanguageBag));
    });
  }
  HRESULT STDMETHODCALLTYPE GetLanguageFieldName(BSTR strFieldName, BSTR* ret) override {
    return getText(u"GetLanguageFieldName", ret,
                   [&] { return parse_.getLanguageFieldName(fromBstrArg(strFieldName)); });
  }
  HRESULT STDMETHODCALLTYPE GetPropertyExt(BSTR sName, BSTR* ret) override {
    return getText(u"GetPropertyExt", ret, [&] { return parse_.getPropertyExt(fromBstrArg(sName)); });
  }
  HRESULT STDMETHODCALLTYPE LoadspecialVtString(BSTR strWord, BSTR* ret) override {
    return getText(u"LoadspecialVtString", ret, [&] { return parse_.loadspecialVtString(fromBstrArg(strWord)); });
  }
  HRESULT STDMETHODCALLTYPE TestForMultilanguage(BSTR ResLanguageID, BSTR* strWord) override {
    return run(u"TestForMultilanguage", [&] {
      checkOut(strWord);
      Variant word(fromBstrArg(*strWord));
      parse_.testForMultilanguage(fromBstrArg(ResLanguageID), word);
      replaceBstr(strWord, word.toString());
    });
  }
  HRESULT STDMETHODCALLTYPE SetFormFont(IDispatch* frm) override {
    return run(u"SetFormFont", [&] { parse_.setFormFont(objectFromDispatch(frm)); });
  }
  HRESULT STDMETHODCALLTYPE LoadVtString2(BSTR strWord, BSTR* ret) override {
    return getText(u"LoadVtString2", ret, [&] { return parse_.loadVtString2(fromBstrArg(strWord)); });
  }
  HRESULT STDMETHODCALLTYPE SetSystemFontName(IDispatch** font) override {
    return run(u"SetSystemFontName", [&] {
      checkOut(font);
      Variant value(objectFromDispatch(*font));
      parse_.setSystemFontName(value);
      IDispatch* result = value.isObject() ? dispatchFromObject(value.toObject()) : nullptr;
      if (*font) (*font)->Release();
      *font = result;
    });
  }
  HRESULT STDMETHODCALLTYPE SetLedgerFont(IDispatch* Ledger) override {
    return run(u"SetLedgerFont", [&] { parse_.setLedgerFont(objectFromDispatch(Ledger)); });
  }
  HRESULT STDMETHODCALLTYPE SetLedger4Font(IDispatch* Ledger) override {
    return run(u"SetLedger4Font", [&] { parse_.setLedger4Font(objectFromDispatch(Ledger)); });
  }

 private:
  Parse parse_;
};

}  // namespace

HRESULT createParse(REFIID riid, void** ppv) noexcept { return createInstance<ParseObject>(riid, ppv); }

}  // namespace lumo::com
