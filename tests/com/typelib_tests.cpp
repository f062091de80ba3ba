// The type library embedded in the DLL, read back as a compiled host reads it:
// names, identifiers, member order (vtable slots), parameters and enumerations.
#include <memory>
#include <set>

#include "com_support.h"

namespace lumo::com {
namespace {

struct TypeLibDeleter {
  void operator()(IUnknown* p) const {
    if (p) p->Release();
  }
};
using LibPtr = std::unique_ptr<ITypeLib, TypeLibDeleter>;
using InfoPtr = std::unique_ptr<ITypeInfo, TypeLibDeleter>;

std::wstring takeBstr(BSTR b) {
  std::wstring s = b ? std::wstring(b, SysStringLen(b)) : std::wstring();
  SysFreeString(b);
  return s;
}

std::wstring nameOf(ITypeInfo* info, MEMBERID id = MEMBERID_NIL) {
  BSTR name = nullptr;
  info->GetDocumentation(id, &name, nullptr, nullptr, nullptr);
  return takeBstr(name);
}

std::wstring typeName(ITypeInfo* info, const TYPEDESC& t) {
  switch (t.vt) {
    case VT_PTR:
      return typeName(info, *t.lptdesc) + L"*";
    case VT_SAFEARRAY:
      return L"SAFEARRAY(" + typeName(info, *t.lptdesc) + L")";
    case VT_USERDEFINED: {
      ITypeInfo* ref = nullptr;
      if (FAILED(info->GetRefTypeInfo(t.hreftype, &ref))) return L"<bad reference>";
      InfoPtr hold(ref);
      std::wstring name = nameOf(ref);
      return name == L"IDispatch" ? L"IDispatch*" : name;  // an interface is always used through a pointer
    }
    case VT_BSTR: return L"BSTR";
    case VT_I2: return L"short";
    case VT_I4: return L"long";
    case VT_BOOL: return L"VARIANT_BOOL";
    case VT_VARIANT: return L"VARIANT";
    case VT_DISPATCH: return L"IDispatch*";
    case VT_UNKNOWN: return L"IUnknown*";
    case VT_HRESULT: return L"HRESULT";
    case VT_VOID: return L"void";
    default: return L"vt" + std::to_wstring(t.vt);
  }
}

// One member function of a vtable interface, as a line such as
//   "get UserID() -> short", "GetProperty(BSTR sPropName) -> BSTR",
//   "SetColType([in,out] long* Col, [in,out] Enum_ColType* colType)".
// Parameter names are shown for methods (a property's accessors share one member id,
// so only the first accessor's names can be asked for).
std::wstring signature(ITypeInfo* info, UINT index, std::wstring* memberName) {
  FUNCDESC* f = nullptr;
  if (FAILED(info->GetFuncDesc(index, &f))) return L"<no function>";
  BSTR names[64] = {};
  UINT count = 0;
  info->GetNames(f->memid, names, 64, &count);
  std::vector<std::wstring> n;
  for (UINT i = 0; i < count; ++i) n.push_back(takeBstr(names[i]));
  *memberName = n.empty() ? L"" : n[0];

  std::wstring s;
  if (f->cParamsOpt == -1) s += L"vararg ";
  switch (f->invkind) {
    case INVOKE_PROPERTYGET: s += L"get "; break;
    case INVOKE_PROPERTYPUT: s += L"put "; break;
    case INVOKE_PROPERTYPUTREF: s += L"putref "; break;
    default: break;
  }
  s += *memberName + L"(";
  std::wstring result;
  bool first = true;
  for (SHORT i = 0; i < f->cParams; ++i) {
    const ELEMDESC& e = f->lprgelemdescParam[i];
    USHORT flags = e.paramdesc.wParamFlags;
    std::wstring type = typeName(info, e.tdesc);
    if (flags & PARAMFLAG_FRETVAL) {
      result = type.substr(0, type.size() - 1);  // the value behind the [out, retval] pointer
      continue;
    }
    if (!first) s += L", ";
    first = false;
    if ((flags & PARAMFLAG_FIN) && (flags & PARAMFLAG_FOUT)) s += L"[in,out] ";
    else if (flags & PARAMFLAG_FOUT) s += L"[out] ";
    if (flags & PARAMFLAG_FOPT) s += L"[optional] ";
    s += type;
    if (f->invkind == INVOKE_FUNC && static_cast<std::size_t>(i) + 1 < n.size()) s += L" " + n[i + 1];
  }
  s += L")";
  if (!result.empty()) s += L" -> " + result;
  if (typeName(info, f->elemdescFunc.tdesc) != L"HRESULT") s += L" !returns " + typeName(info, f->elemdescFunc.tdesc);
  if (f->oVft != static_cast<SHORT>((7 + index) * sizeof(void*))) s += L" !slot " + std::to_wstring(f->oVft);
  info->ReleaseFuncDesc(f);
  return s;
}

class TypeLibrary : public testing::Test {
 protected:
  void SetUp() override {
    ITypeLib* lib = nullptr;
    ASSERT_EQ(S_OK, LoadTypeLibEx(dllPath().c_str(), REGKIND_NONE, &lib)) << u8(dllPath());
    lib_.reset(lib);
  }
  void TearDown() override {
    lib_.reset();
    EXPECT_EQ(S_OK, server().canUnloadNow());
  }

  InfoPtr byName(const std::wstring& name) {
    for (UINT i = 0; i < lib_->GetTypeInfoCount(); ++i) {
      BSTR n = nullptr;
      lib_->GetDocumentation(static_cast<INT>(i), &n, nullptr, nullptr, nullptr);
      if (takeBstr(n) == name) {
        ITypeInfo* info = nullptr;
        lib_->GetTypeInfo(i, &info);
        return InfoPtr(info);
      }
    }
    ADD_FAILURE() << "the type library has no type " << u8(name);
    return InfoPtr();
  }

  // The vtable view of a dual interface and its members in slot order.
  void expectInterface(const std::wstring& name, const std::vector<std::wstring>& expected,
                       const std::vector<std::wstring>& members) {
    InfoPtr listed = byName(name);
    ASSERT_TRUE(listed);
    TYPEATTR* attr = nullptr;
    ASSERT_EQ(S_OK, listed->GetTypeAttr(&attr));
    EXPECT_EQ(TKIND_DISPATCH, attr->typekind) << "a dual interface is listed as its dispinterface";
    EXPECT_TRUE(attr->wTypeFlags & TYPEFLAG_FDUAL) << u8(name) << " is not dual";
    EXPECT_TRUE(attr->wTypeFlags & TYPEFLAG_FDISPATCHABLE) << u8(name);
    EXPECT_EQ(guidText(recordedGuid(name)), guidText(attr->guid)) << u8(name);
    listed->ReleaseTypeAttr(attr);

    HREFTYPE ref = 0;
    ASSERT_EQ(S_OK, listed->GetRefTypeOfImplType(-1, &ref));
    ITypeInfo* raw = nullptr;
    ASSERT_EQ(S_OK, listed->GetRefTypeInfo(ref, &raw));
    InfoPtr vtable(raw);
    ASSERT_EQ(S_OK, vtable->GetTypeAttr(&attr));
    EXPECT_EQ(TKIND_INTERFACE, attr->typekind);
    EXPECT_TRUE(attr->wTypeFlags & TYPEFLAG_FOLEAUTOMATION) << u8(name) << " is not oleautomation";
    EXPECT_TRUE(attr->wTypeFlags & TYPEFLAG_FDUAL) << u8(name) << " is not dual";
    UINT functions = attr->cFuncs;
    vtable->ReleaseTypeAttr(attr);

    // Inherits IDispatch directly.
    ASSERT_EQ(S_OK, vtable->GetRefTypeOfImplType(0, &ref));
    ASSERT_EQ(S_OK, vtable->GetRefTypeInfo(ref, &raw));
    InfoPtr base(raw);
    EXPECT_EQ(L"IDispatch", nameOf(base.get()));

    std::vector<std::wstring> actual;
    std::vector<std::wstring> actualMembers;
    for (UINT i = 0; i < functions; ++i) {
      std::wstring member;
      actual.push_back(signature(vtable.get(), i, &member));
      if (actualMembers.empty() || actualMembers.back() != member) actualMembers.push_back(member);
    }
    std::vector<std::string> want, got;
    for (const auto& s : expected) want.push_back(u8(s));
    for (const auto& s : actual) got.push_back(u8(s));
    EXPECT_EQ(want, got) << "functions of " << u8(name) << " in slot order";

    std::vector<std::string> wantMembers, gotMembers;
    for (const auto& s : members) wantMembers.push_back(u8(s));
    for (const auto& s : actualMembers) gotMembers.push_back(u8(s));
    EXPECT_EQ(wantMembers, gotMembers) << "members of " << u8(name) << " in slot order";
  }

  void expectEnum(const std::wstring& name, const std::vector<std::pair<std::wstring, long>>& expected) {
    InfoPtr info = byName(name);
    ASSERT_TRUE(info);
    TYPEATTR* attr = nullptr;
    ASSERT_EQ(S_OK, info->GetTypeAttr(&attr));
    EXPECT_EQ(TKIND_ENUM, attr->typekind) << u8(name);
    UINT count = attr->cVars;
    info->ReleaseTypeAttr(attr);
    std::vector<std::pair<std::string, long>> got, want;
    for (const auto& [n, v] : expected) want.emplace_back(u8(n), v);
    for (UINT i = 0; i < count; ++i) {
      VARDESC* var = nullptr;
      ASSERT_EQ(S_OK, info->GetVarDesc(i, &var));
      EXPECT_EQ(VAR_CONST, var->varkind);
      V value;
      VariantChangeType(value.get(), var->lpvarValue, 0, VT_I4);
      got.emplace_back(u8(nameOf(info.get(), var->memid)), V_I4(value.get()));
      info->ReleaseVarDesc(var);
    }
    EXPECT_EQ(want, got) << "members of " << u8(name) << " in published order";
  }

  LibPtr lib_;
};

TEST_F(TypeLibrary, IsNamedLumoSmsManagerWithTheRecordedLibraryId) {
  BSTR name = nullptr;
  ASSERT_EQ(S_OK, lib_->GetDocumentation(-1, &name, nullptr, nullptr, nullptr));
  EXPECT_EQ(L"LumoSmsManager", takeBstr(name));
  TLIBATTR* attr = nullptr;
  ASSERT_EQ(S_OK, lib_->GetLibAttr(&attr));
  EXPECT_EQ(guidText(recordedGuid(L"LumoSmsManager")), guidText(attr->guid));
  EXPECT_EQ(1, attr->wMajorVerNum);
  EXPECT_EQ(0, attr->wMinorVerNum);
  EXPECT_EQ(sizeof(void*) == 8 ? SYS_WIN64 : SYS_WIN32, attr->syskind);
  lib_->ReleaseTLibAttr(attr);
}

TEST_F(TypeLibrary, HoldsExactlyThePublishedTypes) {
  std::set<std::string> names;
  for (UINT i = 0; i < lib_->GetTypeInfoCount(); ++i) {
    BSTR n = nullptr;
    lib_->GetDocumentation(static_cast<INT>(i), &n, nullptr, nullptr, nullptr);
    names.insert(u8(takeBstr(n)));
  }
  std::set<std::string> expected{"Enu_Func_AccessMask", "Enu_Func_ObjectType", "Enu_Func_ObjectID",
                                 "Enum_MsgBoxType",     "Enum_MsgBoxResult",   "Enum_ColType",
                                 "Enum_WindowPos",      "Enum_Action",         "_clsSmsManager",
                                 "_clsParse",           "_clsDispBuilder",     "_clsSaveFile",
                                 "clsSmsManager",       "clsParse",            "clsDispBuilder",
                                 "clsSaveFile"};
  EXPECT_EQ(expected, names);
}

TEST_F(TypeLibrary, CoclassesAreCreatableWithTheirDefaultInterface) {
  for (const wchar_t* cls : {L"clsSmsManager", L"clsParse", L"clsDispBuilder", L"clsSaveFile"}) {
    SCOPED_TRACE(u8(cls));
    InfoPtr info = byName(cls);
    ASSERT_TRUE(info);
    TYPEATTR* attr = nullptr;
    ASSERT_EQ(S_OK, info->GetTypeAttr(&attr));
    EXPECT_EQ(TKIND_COCLASS, attr->typekind);
    EXPECT_TRUE(attr->wTypeFlags & TYPEFLAG_FCANCREATE);
    EXPECT_EQ(guidText(recordedGuid(cls)), guidText(attr->guid));
    EXPECT_EQ(1, attr->cImplTypes);
    info->ReleaseTypeAttr(attr);
    INT flags = 0;
    ASSERT_EQ(S_OK, info->GetImplTypeFlags(0, &flags));
    EXPECT_TRUE(flags & IMPLTYPEFLAG_FDEFAULT);
    HREFTYPE ref = 0;
    ASSERT_EQ(S_OK, info->GetRefTypeOfImplType(0, &ref));
    ITypeInfo* raw = nullptr;
    ASSERT_EQ(S_OK, info->GetRefTypeInfo(ref, &raw));
    InfoPtr itf(raw);
    EXPECT_EQ(std::wstring(L"_") + cls, nameOf(itf.get()));
  }
}

TEST_F(TypeLibrary, SmsManagerCommandsInSlotOrder) {
  expectInterface(L"_clsSmsManager",
                  {L"SetUserMobile()", L"SetAllMobile()", L"SendSms()", L"SmsManager(BSTR strType)",
                   L"UserSms(BSTR strType)", L"ShowSmsLog()"},
                  {L"SetUserMobile", L"SetAllMobile", L"SendSms", L"SmsManager", L"UserSms", L"ShowSmsLog"});
}

TEST_F(TypeLibrary, SmsManagerKeepsAccessCheckPrivate) {
  InfoPtr info = byName(L"_clsSmsManager");
  ASSERT_TRUE(info);
  LPOLESTR names[] = {const_cast<LPOLESTR>(L"AccessCheck")};
  MEMBERID id = 0;
  EXPECT_EQ(DISP_E_UNKNOWNNAME, info->GetIDsOfNames(names, 1, &id));
}

TEST_F(TypeLibrary, ParseMembersInSlotOrder) {
  expectInterface(
      L"_clsParse",
      {
          L"get g_objResLoader() -> IDispatch*",
          L"putref g_objResLoader(IDispatch*)",
          L"get g_ObjResFrmLoader() -> IDispatch*",
          L"putref g_ObjResFrmLoader(IDispatch*)",
          L"get g_Language() -> BSTR",
          L"put g_Language(BSTR)",
          L"get PropsString() -> BSTR",
          L"get UserName() -> BSTR",
          L"get UserID() -> short",
          L"get ConDBMSName() -> BSTR",
          L"get ConDBMSVersion() -> BSTR",
          L"get ConStr() -> BSTR",
          L"GetProperty(BSTR sPropName) -> BSTR",
          L"ParseString(BSTR sToParse) -> VARIANT_BOOL",
          L"LoadVtString(BSTR strWord) -> BSTR",
          L"vararg LoadResFormat(BSTR strIndexFmt, SAFEARRAY(VARIANT)* arrArgs) -> BSTR",
          L"StrMultiLanguage(IDispatch* frm, [optional] VARIANT st, [optional] VARIANT LanguageBag)",
          L"GetLanguageFieldName(BSTR strFieldName) -> BSTR",
          L"GetPropertyExt(BSTR sName) -> BSTR",
          L"LoadspecialVtString(BSTR strWord) -> BSTR",
          L"TestForMultilanguage(BSTR ResLanguageID, [in,out] BSTR* strWord)",
          L"SetFormFont(IDispatch* frm)",
          L"LoadVtString2(BSTR strWord) -> BSTR",
          L"SetSystemFontName([in,out] IDispatch** font)",
          L"SetLedgerFont(IDispatch* Ledger)",
          L"SetLedger4Font(IDispatch* Ledger)",
      },
      {L"g_objResLoader", L"g_ObjResFrmLoader", L"g_Language", L"PropsString", L"UserName", L"UserID",
       L"ConDBMSName", L"ConDBMSVersion", L"ConStr", L"GetProperty", L"ParseString", L"LoadVtString",
       L"LoadResFormat", L"StrMultiLanguage", L"GetLanguageFieldName", L"GetPropertyExt", L"LoadspecialVtString",
       L"TestForMultilanguage", L"SetFormFont", L"LoadVtString2", L"SetSystemFontName", L"SetLedgerFont",
       L"SetLedger4Font"});
}

TEST_F(TypeLibrary, DispBuilderMembersInSlotOrder) {
  expectInterface(L"_clsDispBuilder",
                  {
                      L"put WindowPos(Enum_WindowPos)",
                      L"get Titles() -> BSTR",
                      L"put Titles(BSTR)",
                      L"get PromptContent() -> BSTR",
                      L"put PromptContent(BSTR)",
                      L"get PromptTitle() -> BSTR",
                      L"put PromptTitle(BSTR)",
                      L"get NeedDisplay() -> long",
                      L"put NeedDisplay(long)",
                      L"get DisplayStyle() -> Enum_MsgBoxType",
                      L"put DisplayStyle(Enum_MsgBoxType)",
                      L"get PromptResult() -> Enum_MsgBoxResult",
                      L"Add([in,out] BSTR* Row)",
                      L"get Cols() -> long",
                      L"put Cols(long)",
                      L"Show([optional] VARIANT mode, [optional] VARIANT LngWindowState)",
                      L"SetColType([in,out] long* Col, [in,out] Enum_ColType* colType)",
                      L"SetColWidth(long Col, [in,out] long* colWidth)",
                      L"get Caption() -> BSTR",
                      L"put Caption(BSTR)",
                      L"get Col() -> long",
                      L"put Col(long)",
                      L"get Row() -> long",
                      L"put Row(long)",
                      L"get Text() -> BSTR",
                      L"put Text(BSTR)",
                      L"GetText(long lRow, long lCol) -> BSTR",
                      L"SetText(long lRow, long lCol, BSTR sValue) -> BSTR",
                  },
                  {L"WindowPos", L"Titles", L"PromptContent", L"PromptTitle", L"NeedDisplay", L"DisplayStyle",
                   L"PromptResult", L"Add", L"Cols", L"Show", L"SetColType", L"SetColWidth", L"Caption", L"Col",
                   L"Row", L"Text", L"GetText", L"SetText"});
}

TEST_F(TypeLibrary, SaveFileMembersInSlotOrder) {
  expectInterface(L"_clsSaveFile",
                  {
                      L"get lineNum() -> long",
                      L"put lineNum(long)",
                      L"get fileName() -> BSTR",
                      L"put fileName(BSTR)",
                      L"WriteTo([in,out] BSTR* line)",
                      L"readFirstLine() -> BSTR",
                      L"readLeftLines() -> IDispatch*",
                      L"get action() -> Enum_Action",
                      L"put action(Enum_Action)",
                  },
                  {L"lineNum", L"fileName", L"WriteTo", L"readFirstLine", L"readLeftLines", L"action"});
}

TEST_F(TypeLibrary, AccessMaskEnumerationInPublishedOrder) {
  expectEnum(L"Enu_Func_AccessMask", {
                                         {L"Enu_Func_AccessMask_Mobile_InfoServiceSet", 0x1},
                                         {L"Enu_Func_AccessMask_Mobile_SendMessage", 0x2},
                                         {L"Enu_Func_AccessMask_Mobile_UserMobileSet", 0x10},
                                         {L"Enu_Func_AccessMask_Mobile_UserMessageSet", 0x40},
                                         {L"Enu_Func_AccessMask_Mobile_UserSubscibeSet", 0x100000},
                                         {L"Enu_Func_AccessMask_Mobile_MessageQueryList", 0x200000},
                                         {L"Enu_Func_AccessMask_Mobile_MessageQueryService", 0x20000},
                                         {L"Enu_Func_AccessMask_Mobile_MessageSubscribeService", 0x400000},
                                         {L"Enu_Func_AccessMask_Mobile_MessageService", 0x10000},
                                         {L"Enu_Func_AccessMask_Mobile_UserEmpList", 0x1000000},
                                     });
}

TEST_F(TypeLibrary, ObjectTypeAndObjectIdEnumerations) {
  expectEnum(L"Enu_Func_ObjectType", {{L"Enu_Func_ObjectType_Mobile", 65010}});
  expectEnum(L"Enu_Func_ObjectID", {{L"Enu_Func_ObjectID_Mobile", 0}});
}

TEST_F(TypeLibrary, MessageBoxEnumerations) {
  expectEnum(L"Enum_MsgBoxType", {{L"vbOKOnly", 0},
                                  {L"vbOKCancel", 1},
                                  {L"vbAbortRetryIgnore", 2},
                                  {L"vbYesNoCancel", 3},
                                  {L"vbYesNo", 4},
                                  {L"vbRetryCancel", 5}});
  expectEnum(L"Enum_MsgBoxResult", {{L"vbOK", 1},
                                    {L"vbCancel", 2},
                                    {L"vbAbort", 3},
                                    {L"vbRetry", 4},
                                    {L"vbIgnore", 5},
                                    {L"vbYes", 6},
                                    {L"vbNo", 7}});
}

TEST_F(TypeLibrary, DisplayAndFileEnumerations) {
  expectEnum(L"Enum_ColType", {{L"CTInteger", 1}, {L"CTDouble", 2}, {L"CTString", 3}});
  expectEnum(L"Enum_WindowPos",
             {{L"HWND_TOPMOST", -1}, {L"HWND_NOTOPMOST", -2}, {L"HWND_TOP", 0}, {L"HWND_BOTTOM", 1}});
  expectEnum(L"Enum_Action", {{L"OpenFile", 1}, {L"SaveFile", 2}});
}

}  // namespace
}  // namespace lumo::com
