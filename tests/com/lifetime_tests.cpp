// Class objects, interfaces every public object answers to, and when the DLL may unload.
#include "com_support.h"

namespace lumo::com {
namespace {

class Lifetime : public ComObjectTest {};

const wchar_t* const kProgIds[] = {L"LumoSmsManager.clsSmsManager", L"LumoSmsManager.clsParse",
                                   L"LumoSmsManager.clsDispBuilder", L"LumoSmsManager.clsSaveFile"};
const wchar_t* const kClassNames[] = {L"clsSmsManager", L"clsParse", L"clsDispBuilder", L"clsSaveFile"};

std::wstring typeInfoName(ITypeInfo* info) {
  BSTR name = nullptr;
  info->GetDocumentation(MEMBERID_NIL, &name, nullptr, nullptr, nullptr);
  std::wstring s = name ? name : L"";
  SysFreeString(name);
  return s;
}

TEST_F(Lifetime, EveryClassIsCreatableByProgIdAndVersionedProgId) {
  for (int i = 0; i < 4; ++i) {
    SCOPED_TRACE(u8(kProgIds[i]));
    IDispatch* d = create(kProgIds[i]);
    ASSERT_NE(nullptr, d);
    d->Release();
    CLSID versioned{}, plain{};
    ASSERT_EQ(S_OK, CLSIDFromProgID((std::wstring(kProgIds[i]) + L".1").c_str(), &versioned));
    ASSERT_EQ(S_OK, CLSIDFromProgID(kProgIds[i], &plain));
    EXPECT_TRUE(IsEqualCLSID(versioned, plain));
    EXPECT_EQ(guidText(recordedGuid(kClassNames[i])), guidText(plain));
  }
}

TEST_F(Lifetime, ObjectsAnswerForTheirInterfaces) {
  for (int i = 0; i < 4; ++i) {
    SCOPED_TRACE(u8(kClassNames[i]));
    IDispatch* d = create(kProgIds[i]);
    ASSERT_NE(nullptr, d);
    const GUID iid = recordedGuid(std::wstring(L"_") + kClassNames[i]);

    IUnknown* dual = nullptr;
    EXPECT_EQ(S_OK, d->QueryInterface(iid, reinterpret_cast<void**>(&dual)));
    if (dual) dual->Release();
    IUnknown* unknown = nullptr;
    EXPECT_EQ(E_NOINTERFACE, d->QueryInterface(IID_IPersist, reinterpret_cast<void**>(&unknown)));
    EXPECT_EQ(nullptr, unknown);

    UINT count = 0;
    EXPECT_EQ(S_OK, d->GetTypeInfoCount(&count));
    EXPECT_EQ(1u, count);
    ITypeInfo* info = nullptr;
    ASSERT_EQ(S_OK, d->GetTypeInfo(0, LOCALE_USER_DEFAULT, &info));
    EXPECT_EQ(std::wstring(L"_") + kClassNames[i], typeInfoName(info));
    info->Release();
    EXPECT_EQ(DISP_E_BADINDEX, d->GetTypeInfo(1, LOCALE_USER_DEFAULT, &info));

    IProvideClassInfo* provide = nullptr;
    ASSERT_EQ(S_OK, d->QueryInterface(IID_IProvideClassInfo, reinterpret_cast<void**>(&provide)));
    ASSERT_EQ(S_OK, provide->GetClassInfo(&info));
    EXPECT_EQ(kClassNames[i], typeInfoName(info));
    info->Release();
    provide->Release();

    ISupportErrorInfo* support = nullptr;
    ASSERT_EQ(S_OK, d->QueryInterface(IID_ISupportErrorInfo, reinterpret_cast<void**>(&support)));
    EXPECT_EQ(S_OK, support->InterfaceSupportsErrorInfo(iid));
    EXPECT_EQ(S_FALSE, support->InterfaceSupportsErrorInfo(IID_IPersist));
    support->Release();
    d->Release();
  }
}

TEST_F(Lifetime, LiveObjectsKeepTheModuleLoaded) {
  IDispatch* a = create(L"LumoSmsManager.clsParse");
  IDispatch* b = create(L"LumoSmsManager.clsSmsManager");
  ASSERT_NE(nullptr, a);
  ASSERT_NE(nullptr, b);
  EXPECT_EQ(S_FALSE, server().canUnloadNow());
  a->Release();
  EXPECT_EQ(S_FALSE, server().canUnloadNow());
  b->Release();
  EXPECT_EQ(S_OK, server().canUnloadNow());
}

TEST_F(Lifetime, LocksKeepTheModuleLoaded) {
  IClassFactory* factory = nullptr;
  ASSERT_EQ(S_OK, server().getClassObject(recordedGuid(L"clsParse"), IID_IClassFactory,
                                               reinterpret_cast<void**>(&factory)));
  EXPECT_EQ(S_OK, factory->LockServer(TRUE));
  EXPECT_EQ(S_OK, factory->LockServer(TRUE));
  EXPECT_EQ(S_FALSE, server().canUnloadNow());
  EXPECT_EQ(S_OK, factory->LockServer(FALSE));
  EXPECT_EQ(S_FALSE, server().canUnloadNow());
  EXPECT_EQ(S_OK, factory->LockServer(FALSE));
  EXPECT_EQ(S_OK, server().canUnloadNow());
  factory->Release();
}

TEST_F(Lifetime, ClassObjectsRefuseAggregationAndUnknownClasses) {
  IClassFactory* factory = nullptr;
  ASSERT_EQ(S_OK, server().getClassObject(recordedGuid(L"clsSaveFile"), IID_IClassFactory,
                                               reinterpret_cast<void**>(&factory)));
  IUnknown* outer = reinterpret_cast<IUnknown*>(factory);  // any non-null controlling unknown
  IUnknown* object = nullptr;
  EXPECT_EQ(CLASS_E_NOAGGREGATION, factory->CreateInstance(outer, IID_IUnknown, reinterpret_cast<void**>(&object)));
  EXPECT_EQ(nullptr, object);
  EXPECT_EQ(E_NOINTERFACE, factory->CreateInstance(nullptr, IID_IPersist, reinterpret_cast<void**>(&object)));
  EXPECT_EQ(nullptr, object);
  factory->Release();

  EXPECT_EQ(CLASS_E_CLASSNOTAVAILABLE,
            server().getClassObject(IID_IPersist, IID_IClassFactory, reinterpret_cast<void**>(&factory)));
}

}  // namespace
}  // namespace lumo::com
