// The session as the add-in obtains it in a real process: clsParse asks the host's
// shared property manager ("PropsMgr.ShareProps", created by ProgID through the
// Windows platform) for this process's property string.
#include "com_support.h"
#include "tests/support/win/unknown.h"

namespace lumo::com {
namespace {

// A stand-in for the host's property manager, served from this test process.
const CLSID kStandInClsid = {0x5d0c8f3e, 0x2b7a, 0x4c61, {0x9a, 0x1e, 0x63, 0x0b, 0x84, 0xd2, 0x17, 0xc9}};
const std::wstring kProgIdKey = L"Software\\Classes\\PropsMgr.ShareProps";
// A real registration of the ProgID in the prefix (the development host's) is kept
// here while the stand-in is registered, and put back afterwards.
const std::wstring kBackupKey = L"Software\\LumoComTests\\PropsMgr.ShareProps";

class StandInFactory final : public lumo::test::RefCounted<IClassFactory> {
 public:
  explicit StandInFactory(IDispatch* object) : object_(object) {}
  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID riid, void** ppv) override {
    ++created;
    if (outer) return CLASS_E_NOAGGREGATION;
    return object_->QueryInterface(riid, ppv);
  }
  HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }
  int created = 0;

 private:
  IDispatch* object_;
};

class SessionFromHost : public ComObjectTest {
 protected:
  void SetUp() override {
    manager_ = FakeObject::create();
    manager_->method(L"GetProperty", [this](std::vector<V>& args) {
      calls_.push_back(args);
      return V(propsString_);
    });
    factory_ = new StandInFactory(manager_);
    ASSERT_EQ(S_OK, CoRegisterClassObject(kStandInClsid, factory_, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &cookie_));
    if (keyExists(HKEY_LOCAL_MACHINE, kProgIdKey)) {
      ASSERT_TRUE(copyTree(kProgIdKey, kBackupKey));
      backedUp_ = true;
      RegDeleteTreeW(HKEY_LOCAL_MACHINE, kProgIdKey.c_str());
    }
    HKEY key = nullptr;
    ASSERT_EQ(ERROR_SUCCESS, RegCreateKeyExW(HKEY_LOCAL_MACHINE, (kProgIdKey + L"\\CLSID").c_str(), 0, nullptr, 0,
                                             KEY_WRITE, nullptr, &key, nullptr));
    std::wstring clsid = guidText(kStandInClsid);
    RegSetValueExW(key, nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(clsid.c_str()),
                   static_cast<DWORD>((clsid.size() + 1) * sizeof(wchar_t)));
    RegCloseKey(key);
    parse_ = create(L"LumoSmsManager.clsParse");
    ASSERT_NE(nullptr, parse_);
  }
  void TearDown() override {
    if (parse_) parse_->Release();
    if (cookie_) CoRevokeClassObject(cookie_);
    RegDeleteTreeW(HKEY_LOCAL_MACHINE, kProgIdKey.c_str());
    if (backedUp_) {
      EXPECT_TRUE(copyTree(kBackupKey, kProgIdKey));
      RegDeleteTreeW(HKEY_LOCAL_MACHINE, L"Software\\LumoComTests");
    }
    if (factory_) {
      EXPECT_EQ(1u, factory_->refs()) << "COM let go of the class object it was given";
      factory_->Release();
    }
    manager_->Release();
    ComObjectTest::TearDown();
  }

  static bool copyTree(const std::wstring& from, const std::wstring& to) {
    HKEY source = nullptr, target = nullptr;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, from.c_str(), 0, KEY_READ, &source) != ERROR_SUCCESS) return false;
    bool ok = RegCreateKeyExW(HKEY_LOCAL_MACHINE, to.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &target,
                              nullptr) == ERROR_SUCCESS &&
              RegCopyTreeW(source, nullptr, target) == ERROR_SUCCESS;
    if (target) RegCloseKey(target);
    RegCloseKey(source);
    return ok;
  }

  bool backedUp_ = false;
  std::wstring propsString_;
  std::vector<std::vector<V>> calls_;
  FakeObject* manager_ = nullptr;
  StandInFactory* factory_ = nullptr;
  DWORD cookie_ = 0;
  IDispatch* parse_ = nullptr;
};

TEST_F(SessionFromHost, PropertyManagerIsAskedForThisProcess) {
  propsString_ = L"UserName=张三;UserID=3;LANGUAGE=en";
  Outcome o = Late(parse_).call(L"GetPropertyExt", {V(L"language")});
  ASSERT_EQ(S_OK, o.hr) << o;
  EXPECT_EQ(L"en", o.text());
  EXPECT_GE(factory_->created, 1) << "created by ProgID through the platform";
  ASSERT_FALSE(calls_.empty());
  ASSERT_EQ(2u, calls_[0].size());
  V pid = calls_[0][0];
  ASSERT_EQ(S_OK, VariantChangeType(pid.get(), pid.get(), 0, VT_I4));
  EXPECT_EQ(static_cast<LONG>(GetCurrentProcessId()), V_I4(pid.get())) << "the process id comes first";
  EXPECT_EQ(L"PropsString", calls_[0][1].text());
}

TEST_F(SessionFromHost, PlainSubstringSearchFindsAKeyEndingInTheName) {
  propsString_ = L"UserName=x;Name=y";
  EXPECT_EQ(L"x", Late(parse_).call(L"GetPropertyExt", {V(L"Name")}).text());
}

TEST_F(SessionFromHost, LanguageFieldNameFollowsTheSession) {
  propsString_ = L"UserName=x;Language=cht";
  EXPECT_EQ(L"FName_CHT", Late(parse_).call(L"GetLanguageFieldName", {V(L"FName")}).text());
  propsString_ = L"UserName=x;Language=en";
  EXPECT_EQ(L"FName_EN", Late(parse_).call(L"GetLanguageFieldName", {V(L"FName")}).text());
}

TEST_F(SessionFromHost, MissingKeyGivesEmptyText) {
  propsString_ = L"UserName=x";
  Outcome o = Late(parse_).call(L"GetPropertyExt", {V(L"DBMS Name")});
  ASSERT_EQ(S_OK, o.hr) << o;
  EXPECT_EQ(L"", o.text());
}

TEST_F(SessionFromHost, WithoutThePropertyManagerTheAnswerIsEmpty) {
  CoRevokeClassObject(cookie_);
  cookie_ = 0;
  RegDeleteTreeW(HKEY_LOCAL_MACHINE, kProgIdKey.c_str());
  Outcome o = Late(parse_).call(L"GetPropertyExt", {V(L"UserName")});
  ASSERT_EQ(S_OK, o.hr) << o;
  EXPECT_EQ(L"", o.text());
}

}  // namespace
}  // namespace lumo::com
