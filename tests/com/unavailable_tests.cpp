// Members whose windows and files this version does not provide yet: each fails
// with its own clear error and nothing else happens.
#include "com_support.h"

namespace lumo::com {
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
      SCOPED_TRACE(u8(std::wstring(className) + L"." + m.name) + " kind " + std::to_string(m.kind));
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
                                          {L"SmsManager", kCall, {V(L"")}},
                                          {L"UserSms", kCall, {V(L"1")}},
                                          {L"ShowSmsLog", kCall, {}},
                                      });
}

TEST_F(Unavailable, EarlyBoundCommandFailsWithItsError) {
  IDispatch* d = create(L"LumoSmsManager.clsSmsManager");
  ASSERT_NE(nullptr, d);
  _clsSmsManager* early = nullptr;
  ASSERT_EQ(S_OK, d->QueryInterface(__uuidof(_clsSmsManager), reinterpret_cast<void**>(&early)));
  EXPECT_EQ(kNotImplemented, early->ShowSmsLog());
  IErrorInfo* info = nullptr;
  ASSERT_EQ(S_OK, GetErrorInfo(0, &info));
  BSTR description = nullptr;
  info->GetDescription(&description);
  EXPECT_EQ(std::wstring(L"clsSmsManager.ShowSmsLog is not available in this version"),
            std::wstring(description ? description : L""));
  SysFreeString(description);
  info->Release();
  early->Release();
  d->Release();
}

}  // namespace
}  // namespace lumo::com
