// clsParse created by ProgID and used late-bound, as a VB or script host uses it.
#include "com_support.h"

namespace lumo::com {
namespace {

constexpr SCODE kInvalidCall = static_cast<SCODE>(0x800A0005);
constexpr SCODE kOverflow = static_cast<SCODE>(0x800A0006);
constexpr SCODE kTypeMismatch = static_cast<SCODE>(0x800A000D);
constexpr SCODE kKeyAlreadyExists = static_cast<SCODE>(0x800A01C9);

class ParseLateBound : public ComObjectTest {
 protected:
  void SetUp() override {
    object_ = keep(L"LumoSmsManager.clsParse");
    ASSERT_NE(nullptr, object_);
  }
  Late parse() const { return Late(object_); }

  // ParseString(text) must succeed and answer True.
  void parseOk(const wchar_t* text) {
    Outcome o = parse().call(L"ParseString", {V(text)});
    ASSERT_EQ(S_OK, o.hr) << o;
    ASSERT_EQ(VT_BOOL, o.result.vt());
    EXPECT_EQ(VARIANT_TRUE, V_BOOL(&o.result.ref()));
  }
  std::wstring property(const wchar_t* key) {
    Outcome o = parse().call(L"GetProperty", {V(key)});
    EXPECT_EQ(S_OK, o.hr) << "GetProperty " << u8(key) << ": " << o;
    return o.text();
  }

  IDispatch* object_ = nullptr;
};

TEST_F(ParseLateBound, TypedPropertiesReadTheirKeys) {
  parseOk(L"UserName=张三;UserID=12;DBMS Name=Microsoft SQL Server;DBMS Version=09.00;"
          L"ConnectString={Provider=SQLOLEDB.1;Data Source=erp};Language=chs");
  EXPECT_EQ(L"张三", parse().get(L"UserName").text());
  Outcome id = parse().get(L"UserID");
  ASSERT_EQ(S_OK, id.hr) << id;
  ASSERT_EQ(VT_I2, id.result.vt());
  EXPECT_EQ(12, V_I2(&id.result.ref()));
  EXPECT_EQ(L"Microsoft SQL Server", parse().get(L"ConDBMSName").text());
  EXPECT_EQ(L"09.00", parse().get(L"ConDBMSVersion").text());
  EXPECT_EQ(L"Provider=SQLOLEDB.1;Data Source=erp", parse().get(L"ConStr").text());
  EXPECT_EQ(L"chs", property(L"Language"));
}

TEST_F(ParseLateBound, PropsStringReturnsTheTextLastParsed) {
  parseOk(L"A=1");
  parseOk(L"B=2;C={3}");
  EXPECT_EQ(L"B=2;C={3}", parse().get(L"PropsString").text());
}

TEST_F(ParseLateBound, BracedValueMayHoldSeparators) {
  parseOk(L"A=1;B={x;y=2};C= 3");
  EXPECT_EQ(L"1", property(L"A"));
  EXPECT_EQ(L"x;y=2", property(L"B"));
  EXPECT_EQ(L"3", property(L"C"));
}

TEST_F(ParseLateBound, EmptyKeyEndsParsing) {
  parseOk(L"A=1;=2;B=3");
  EXPECT_EQ(L"1", property(L"A"));
  Outcome b = parse().call(L"GetProperty", {V(L"B")});
  EXPECT_EQ(DISP_E_EXCEPTION, b.hr) << b;
}

TEST_F(ParseLateBound, EmptyEntryJoinsTheNextKey) {
  parseOk(L"A=1;;B=2");
  EXPECT_EQ(L"1", property(L"A"));
  EXPECT_EQ(L"2", property(L";B"));
}

TEST_F(ParseLateBound, TrailingKeyWithoutValueIsEmpty) {
  parseOk(L"A=1;B");
  EXPECT_EQ(L"", property(L"B"));
}

TEST_F(ParseLateBound, KeysIgnoreLetterCase) {
  parseOk(L"a=1");
  EXPECT_EQ(L"1", property(L"A"));
}

TEST_F(ParseLateBound, MissingKeyRaisesWithSourceAndDescription) {
  parseOk(L"A=1");
  Outcome o = parse().call(L"GetProperty", {V(L"Missing")});
  EXPECT_EQ(DISP_E_EXCEPTION, o.hr) << o;
  EXPECT_EQ(kInvalidCall, o.scode) << o;
  EXPECT_EQ(L"SmsManager.clsParse.GetProperty", o.source);
  EXPECT_FALSE(o.description.empty()) << o;
}

TEST_F(ParseLateBound, TypedPropertyOfAMissingKeyRaises) {
  parseOk(L"A=1");
  Outcome o = parse().get(L"UserName");
  EXPECT_EQ(DISP_E_EXCEPTION, o.hr) << o;
  EXPECT_EQ(kInvalidCall, o.scode) << o;
  EXPECT_EQ(L"SmsManager.clsParse.UserName", o.source);
  EXPECT_FALSE(o.description.empty());
}

TEST_F(ParseLateBound, PropertyBeforeAnyParseRaises) {
  Outcome o = parse().call(L"GetProperty", {V(L"A")});
  EXPECT_EQ(DISP_E_EXCEPTION, o.hr) << o;
  EXPECT_EQ(L"SmsManager.clsParse.GetProperty", o.source);
}

TEST_F(ParseLateBound, DuplicateKeyRaisesAndKeepsEarlierEntries) {
  Outcome o = parse().call(L"ParseString", {V(L"A=1;B=2;a=3;C=4")});
  EXPECT_EQ(DISP_E_EXCEPTION, o.hr) << o;
  EXPECT_EQ(kKeyAlreadyExists, o.scode) << o;
  EXPECT_EQ(L"SmsManager.clsParse.ParseString", o.source);
  EXPECT_FALSE(o.description.empty());
  EXPECT_EQ(L"1", property(L"A"));
  EXPECT_EQ(L"2", property(L"B"));
  EXPECT_EQ(DISP_E_EXCEPTION, parse().call(L"GetProperty", {V(L"C")}).hr);
  EXPECT_EQ(L"A=1;B=2;a=3;C=4", parse().get(L"PropsString").text());
}

TEST_F(ParseLateBound, UserIdOutOfRangeOverflows) {
  parseOk(L"UserID=40000");
  Outcome o = parse().get(L"UserID");
  EXPECT_EQ(DISP_E_EXCEPTION, o.hr) << o;
  EXPECT_EQ(kOverflow, o.scode) << o;
  EXPECT_EQ(L"SmsManager.clsParse.UserID", o.source);
  EXPECT_FALSE(o.description.empty());
}

TEST_F(ParseLateBound, UserIdThatIsNoNumberIsATypeMismatch) {
  parseOk(L"UserID=abc");
  Outcome o = parse().get(L"UserID");
  EXPECT_EQ(DISP_E_EXCEPTION, o.hr) << o;
  EXPECT_EQ(kTypeMismatch, o.scode) << o;
}

TEST_F(ParseLateBound, UserIdAtTheLimitsOfSixteenBits) {
  parseOk(L"UserID=-32768");
  Outcome low = parse().get(L"UserID");
  ASSERT_EQ(S_OK, low.hr) << low;
  EXPECT_EQ(-32768, V_I2(&low.result.ref()));
  parseOk(L"UserID=32767");
  Outcome high = parse().get(L"UserID");
  ASSERT_EQ(S_OK, high.hr) << high;
  EXPECT_EQ(32767, V_I2(&high.result.ref()));
}

TEST_F(ParseLateBound, WrongArgumentCountIsRefused) {
  EXPECT_EQ(DISP_E_BADPARAMCOUNT, parse().call(L"GetProperty").hr);
  EXPECT_EQ(DISP_E_BADPARAMCOUNT, parse().call(L"ParseString", {V(L"A=1"), V(L"B=2")}).hr);
}

TEST_F(ParseLateBound, WrongArgumentTypeIsRefused) {
  // An array cannot stand for a string, nor a string for an object.
  V array;
  SAFEARRAY* sa = SafeArrayCreateVector(VT_I4, 0, 2);
  V_VT(array.get()) = VT_ARRAY | VT_I4;
  V_ARRAY(array.get()) = sa;
  Outcome o = parse().call(L"GetProperty", {array});
  EXPECT_EQ(DISP_E_TYPEMISMATCH, o.hr) << o;
  Outcome r = parse().putRef(L"g_objResLoader", V(L"not an object"));
  EXPECT_EQ(DISP_E_TYPEMISMATCH, r.hr) << r;
}

TEST_F(ParseLateBound, UnknownMemberIsNotFound) {
  DISPID id = 0;
  EXPECT_EQ(DISP_E_UNKNOWNNAME, parse().dispid(L"NoSuchMember", &id));
}

TEST_F(ParseLateBound, LanguageIsReadWrite) {
  EXPECT_EQ(L"", parse().get(L"g_Language").text());
  ASSERT_EQ(S_OK, parse().put(L"g_Language", V(L"cht")).hr);
  EXPECT_EQ(L"cht", parse().get(L"g_Language").text());
}

TEST_F(ParseLateBound, LookupsInSimplifiedChineseReturnTheirInput) {
  ASSERT_EQ(S_OK, parse().put(L"g_Language", V(L"chs")).hr);
  EXPECT_EQ(L"发送成功", parse().call(L"LoadVtString", {V(L"发送成功")}).text());
  EXPECT_EQ(L"  短信  ", parse().call(L"LoadVtString", {V(L"  短信  ")}).text());
  EXPECT_EQ(L"发送成功", parse().call(L"LoadVtString2", {V(L"发送成功")}).text());
  EXPECT_EQ(L"用户: 张三", parse().call(L"LoadspecialVtString", {V(L"~$~用户^|^: ^|^张三")}).text());
}

TEST_F(ParseLateBound, LoadResFormatTakesAnyNumberOfArguments) {
  ASSERT_EQ(S_OK, parse().put(L"g_Language", V(L"chs")).hr);
  Outcome two = parse().call(L"LoadResFormat", {V(L"用户:[%1]关联职员:[%2]"), V(L"张三"), V(12)});
  ASSERT_EQ(S_OK, two.hr) << two;
  EXPECT_EQ(L"用户:[张三]关联职员:[12]", two.text());
  Outcome none = parse().call(L"LoadResFormat", {V(L"发送成功")});
  ASSERT_EQ(S_OK, none.hr) << none;
  EXPECT_EQ(L"发送成功", none.text());
  Outcome one = parse().call(L"LoadResFormat", {V(L"启用[%1]短信通知成功！"), V(L"请假单")});
  ASSERT_EQ(S_OK, one.hr) << one;
  EXPECT_EQ(L"启用[请假单]短信通知成功！", one.text());
  Outcome many = parse().call(L"LoadResFormat", {V(L"%1-%2-%3-%4"), V(1), V(2.5), V(true), V(L"四")});
  ASSERT_EQ(S_OK, many.hr) << many;
  EXPECT_EQ(L"1-2.5-True-四", many.text());
}

TEST_F(ParseLateBound, LoadResFormatChecksItsFixedArgument) {
  EXPECT_EQ(DISP_E_BADPARAMCOUNT, parse().call(L"LoadResFormat").hr);
  V array;
  V_VT(array.get()) = VT_ARRAY | VT_I4;
  V_ARRAY(array.get()) = SafeArrayCreateVector(VT_I4, 0, 1);
  EXPECT_EQ(DISP_E_TYPEMISMATCH, parse().call(L"LoadResFormat", {array, V(1)}).hr);
}

TEST_F(ParseLateBound, LoadResFormatFailureArrivesAsAnException) {
  // An object without a value cannot stand in a text: the call fails as a whole
  // and the caller sees the error with this member as its source.
  FakeObject* object = FakeObject::create();
  Outcome o = parse().call(L"LoadResFormat", {V(L"[%1]"), V(static_cast<IDispatch*>(object))});
  EXPECT_EQ(DISP_E_EXCEPTION, o.hr) << o;
  EXPECT_EQ(L"SmsManager.clsParse.LoadResFormat", o.source);
  EXPECT_FALSE(o.description.empty()) << o;
  object->Release();
}

TEST_F(ParseLateBound, ResourceLoaderHandedInIsUsedForOtherLanguages) {
  FakeObject* loader = FakeObject::create();
  loader->property(L"ResFileBaseName").property(L"LanguageID").method(L"LoadString", [](std::vector<V>& args) {
    return V(L"[en]" + args.at(0).text());
  });
  ASSERT_EQ(S_OK, parse().putRef(L"g_objResLoader", V(static_cast<IDispatch*>(loader))).hr);
  ASSERT_EQ(S_OK, parse().put(L"g_Language", V(L"en")).hr);

  Outcome o = parse().call(L"LoadVtString", {V(L"发送成功")});
  ASSERT_EQ(S_OK, o.hr) << o;
  EXPECT_EQ(L"[en]发送成功", o.text());
  EXPECT_EQ(L"LUMOINDUSTRY", loader->value(L"ResFileBaseName").text());
  EXPECT_EQ(L"en", loader->value(L"LanguageID").text());

  // The object comes back as itself.
  Outcome back = parse().get(L"g_objResLoader");
  ASSERT_EQ(S_OK, back.hr) << back;
  ASSERT_EQ(VT_DISPATCH, back.result.vt());
  EXPECT_EQ(static_cast<IDispatch*>(loader), V_DISPATCH(&back.result.ref()));
  back = Outcome();
  loader->Release();
}

TEST_F(ParseLateBound, FormLoaderHandedInSetsTheFormFont) {
  FakeObject* loader = FakeObject::create();
  FakeObject* form = FakeObject::create();
  form->property(L"hWnd", V(0));
  loader->method(L"SetFrmFont", [](std::vector<V>&) { return V(); });
  ASSERT_EQ(S_OK, parse().putRef(L"g_ObjResFrmLoader", V(static_cast<IDispatch*>(loader))).hr);
  ASSERT_EQ(S_OK, parse().put(L"g_Language", V(L"chs")).hr);

  Outcome o = parse().call(L"SetFormFont", {V(static_cast<IDispatch*>(form))});
  ASSERT_EQ(S_OK, o.hr) << o;
  ASSERT_EQ(1u, loader->journal().size());
  const FakeObject::Call& call = loader->journal()[0];
  EXPECT_EQ(L"SETFRMFONT", call.name);
  ASSERT_GE(call.args.size(), 1u);
  ASSERT_EQ(VT_DISPATCH, call.args[0].vt());
  EXPECT_EQ(static_cast<IDispatch*>(form), V_DISPATCH(&call.args[0].ref())) << "the form reaches the loader as itself";
  loader->Release();
  form->Release();
}

TEST_F(ParseLateBound, LedgerFontIsSetOnTheLedgersFont) {
  FakeObject* font = FakeObject::create();
  font->property(L"Name", V(L"Arial")).property(L"Charset", V(0));
  FakeObject* ledger = FakeObject::create();
  ledger->property(L"Font", V(static_cast<IDispatch*>(font)));
  ASSERT_EQ(S_OK, parse().put(L"g_Language", V(L"chs")).hr);

  Outcome o = parse().call(L"SetLedgerFont", {V(static_cast<IDispatch*>(ledger))});
  ASSERT_EQ(S_OK, o.hr) << o;
  EXPECT_EQ(L"宋体", font->value(L"Name").text());
  V charset = font->value(L"Charset");
  ASSERT_EQ(S_OK, VariantChangeType(charset.get(), charset.get(), 0, VT_I4));
  EXPECT_EQ(134, V_I4(charset.get()));
  ledger->Release();
  font->Release();
}

TEST_F(ParseLateBound, LedgerFontOfNothingRaises) {
  Outcome o = parse().call(L"SetLedgerFont", {V(static_cast<IDispatch*>(nullptr))});
  EXPECT_EQ(DISP_E_EXCEPTION, o.hr) << o;
  EXPECT_EQ(L"SmsManager.clsParse.SetLedgerFont", o.source);
}

TEST_F(ParseLateBound, SystemFontNameComesFromTheFormLoader) {
  FakeObject* loader = FakeObject::create();
  loader->method(L"GetLumoFontProps", [](std::vector<V>&) { return V(L"微软雅黑"); });
  FakeObject* font = FakeObject::create();
  font->property(L"Name", V(L"Arial")).property(L"Charset", V(0));
  ASSERT_EQ(S_OK, parse().putRef(L"g_ObjResFrmLoader", V(static_cast<IDispatch*>(loader))).hr);
  ASSERT_EQ(S_OK, parse().put(L"g_Language", V(L"chs")).hr);

  V fontVar(static_cast<IDispatch*>(font));
  Outcome o = parse().call(L"SetSystemFontName", {V::byRef(fontVar)});
  ASSERT_EQ(S_OK, o.hr) << o;
  EXPECT_EQ(L"微软雅黑", font->value(L"Name").text());
  ASSERT_EQ(VT_DISPATCH, fontVar.vt());
  EXPECT_EQ(static_cast<IDispatch*>(font), V_DISPATCH(fontVar.get())) << "the font stays the caller's object";
  fontVar = V();
  loader->Release();
  font->Release();
}

TEST_F(ParseLateBound, TestForMultilanguageLeavesSimplifiedChineseAlone) {
  V word(L"审批通知");
  Outcome o = parse().call(L"TestForMultilanguage", {V(L"chs"), V::byRef(word)});
  ASSERT_EQ(S_OK, o.hr) << o;
  EXPECT_EQ(L"审批通知", word.text());
}

TEST_F(ParseLateBound, StrMultiLanguageInSimplifiedChineseTouchesNothing) {
  FakeObject* form = FakeObject::create();
  form->property(L"Caption", V(L"发送短信"));
  Outcome o = parse().call(L"StrMultiLanguage", {V(static_cast<IDispatch*>(form))});
  ASSERT_EQ(S_OK, o.hr) << o;
  EXPECT_TRUE(form->journal().empty());
  form->Release();
}

TEST_F(ParseLateBound, LanguageFieldNameWithoutSessionLanguageIsUnchanged) {
  Outcome o = parse().call(L"GetLanguageFieldName", {V(L" FName ")});
  ASSERT_EQ(S_OK, o.hr) << o;
  EXPECT_EQ(L"FName", o.text());
}

TEST_F(ParseLateBound, EarlyBoundCallsReportThroughErrorInfo) {
  // The same object through its vtable: a failed call returns the error's HRESULT
  // and leaves the source and description in the thread's error object.
  _clsParse* early = nullptr;
  ASSERT_EQ(S_OK, object_->QueryInterface(__uuidof(_clsParse), reinterpret_cast<void**>(&early)));
  BSTR text = SysAllocString(L"A=1");
  VARIANT_BOOL ok = VARIANT_FALSE;
  EXPECT_EQ(S_OK, early->ParseString(text, &ok));
  EXPECT_EQ(VARIANT_TRUE, ok);
  SysFreeString(text);

  BSTR key = SysAllocString(L"Missing");
  BSTR value = reinterpret_cast<BSTR>(1);
  EXPECT_EQ(kInvalidCall, early->GetProperty(key, &value));
  EXPECT_EQ(nullptr, value) << "the result is left empty on failure";
  SysFreeString(key);
  IErrorInfo* info = nullptr;
  ASSERT_EQ(S_OK, GetErrorInfo(0, &info));
  BSTR source = nullptr, description = nullptr;
  info->GetSource(&source);
  info->GetDescription(&description);
  EXPECT_EQ(std::wstring(L"SmsManager.clsParse.GetProperty"), std::wstring(source ? source : L""));
  EXPECT_NE(0u, SysStringLen(description));
  SysFreeString(source);
  SysFreeString(description);
  info->Release();

  EXPECT_EQ(E_POINTER, early->GetProperty(nullptr, nullptr));
  early->Release();
}

}  // namespace
}  // namespace lumo::com
