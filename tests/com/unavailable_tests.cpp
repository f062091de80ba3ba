// Members whose windows and files this version does not provide yet: each fails
// with its own clear error and nothing else happens.
#include "com_support.h"

namespace comtest {
namespace {

constexpr SCODE kNotImplemented = static_cast<SCODE>(0x800A7FFD);  // errnum::NotImplemented (32765)

struct Member {
  const wchar_t* name;
  WORD kind;
  std::vector<V> args;
};

class Unavailable : public ComObjectTest {
 protected:
  void expectUnavailable(const wchar_t* className, std::vector<Member> members) {
    IDispatch* d = create((std::wstring(L"LumoSmsManager.") + className).c_str());
    ASSERT_NE(nullptr, d);
    for (Member& m : members) {
      SCOPED_TRACE(narrow(std::wstring(className) + L"." + m.name) + " kind " + std::to_string(m.kind));
      Outcome o = Late(d).invoke(m.name, m.kind, m.args);
      EXPECT_EQ(DISP_E_EXCEPTION, o.hr) << o;
      EXPECT_EQ(kNotImplemented, o.scode) << o;
      EXPECT_EQ(std::wstring(className) + L"." + m.name + L" is not available in this version", o.description);
      EXPECT_EQ(std::wstring(L"SmsManager.") + className + L"." + m.name, o.source);
    }
    d->Release();
  }
};

constexpr WORD kCall = DISPATCH_METHOD;
constexpr WORD kGet = DISPATCH_PROPERTYGET;
constexpr WORD kPut = DISPATCH_PROPERTYPUT;

TEST_F(Unavailable, SmsManagerCommands) {
  expectUnavailable(L"clsSmsManager", {
                                          {L"SetUserMobile", kCall, {}},
                                          {L"SetAllMobile", kCall, {}},
                                          {L"SendSms", kCall, {}},
                                          {L"SmsManager", kCall, {V(L"")}},
                                          {L"UserSms", kCall, {V(L"1")}},
                                          {L"ShowSmsLog", kCall, {}},
                                      });
}

TEST_F(Unavailable, DispBuilderMembers) {
  V row(L"1\t2");
  V col(1), colType(3), width(1600);
  expectUnavailable(L"clsDispBuilder", {
                                           {L"WindowPos", kPut, {V(-1)}},
                                           {L"Titles", kGet, {}},
                                           {L"Titles", kPut, {V(L"a|b|")}},
                                           {L"PromptContent", kGet, {}},
                                           {L"PromptContent", kPut, {V(L"x")}},
                                           {L"PromptTitle", kGet, {}},
                                           {L"PromptTitle", kPut, {V(L"x")}},
                                           {L"NeedDisplay", kGet, {}},
                                           {L"NeedDisplay", kPut, {V(1)}},
                                           {L"DisplayStyle", kGet, {}},
                                           {L"DisplayStyle", kPut, {V(4)}},
                                           {L"PromptResult", kGet, {}},
                                           {L"Add", kCall, {V::byRef(row)}},
                                           {L"Cols", kGet, {}},
                                           {L"Cols", kPut, {V(2)}},
                                           {L"Show", kCall, {}},
                                           {L"Show", kCall, {V(1), V(2)}},
                                           {L"SetColType", kCall, {V::byRef(col), V::byRef(colType)}},
                                           {L"SetColWidth", kCall, {V(1), V::byRef(width)}},
                                           {L"Caption", kGet, {}},
                                           {L"Caption", kPut, {V(L"Lumo")}},
                                           {L"Col", kGet, {}},
                                           {L"Col", kPut, {V(1)}},
                                           {L"Row", kGet, {}},
                                           {L"Row", kPut, {V(1)}},
                                           {L"Text", kGet, {}},
                                           {L"Text", kPut, {V(L"x")}},
                                           {L"GetText", kCall, {V(0), V(1)}},
                                           {L"SetText", kCall, {V(1), V(1), V(L"x")}},
                                       });
  EXPECT_EQ(L"1\t2", row.text()) << "a refused Add leaves its argument alone";
}

TEST_F(Unavailable, SaveFileMembers) {
  V line(L"text");
  expectUnavailable(L"clsSaveFile", {
                                        {L"lineNum", kGet, {}},
                                        {L"lineNum", kPut, {V(3)}},
                                        {L"fileName", kGet, {}},
                                        {L"fileName", kPut, {V(L"C:\\x.ldg")}},
                                        {L"WriteTo", kCall, {V::byRef(line)}},
                                        {L"readFirstLine", kCall, {}},
                                        {L"readLeftLines", kCall, {}},
                                        {L"action", kGet, {}},
                                        {L"action", kPut, {V(2)}},
                                    });
}

TEST_F(Unavailable, EarlyBoundCommandFailsWithItsError) {
  IDispatch* d = create(L"LumoSmsManager.clsSmsManager");
  ASSERT_NE(nullptr, d);
  _clsSmsManager* early = nullptr;
  ASSERT_EQ(S_OK, d->QueryInterface(__uuidof(_clsSmsManager), reinterpret_cast<void**>(&early)));
  EXPECT_EQ(kNotImplemented, early->SendSms());
  IErrorInfo* info = nullptr;
  ASSERT_EQ(S_OK, GetErrorInfo(0, &info));
  BSTR description = nullptr;
  info->GetDescription(&description);
  EXPECT_EQ(std::wstring(L"clsSmsManager.SendSms is not available in this version"),
            std::wstring(description ? description : L""));
  SysFreeString(description);
  info->Release();
  early->Release();
  d->Release();
}

}  // namespace
}  // namespace comtest
