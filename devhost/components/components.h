// The host's middle-tier components as the development host provides them,
// created by programmatic identifier. Natively a test creates them through
// DevHostFactory; on Windows LumoDevHost.dll registers one class per entry of
// componentClasses() and shows each object through IDispatch.
//
// Every component reaches the database named by LUMO_DEVHOST_DB (through the
// connection the process keeps for it, see HostDb::forPath), journals each call
// in dh_Journal and obeys the switches in dh_Switch.
//
//   PropsMgr.ShareProps            GetProperty(processId, name): "PropsString" (also
//                                  "UserName", "UserID", "Language") of the user signed
//                                  in for that process; SignIn(userName, language
//                                  [, processId]) -> the session string;
//                                  SignOut([processId])
//   LumoResLoader.Loader           ResFileBaseName, LanguageID, ResDirectory;
//   (= LumoRESLOADER.Loader)       LoadString(key), LoadString2(key)
//   FrmRes.FrmResLoader            LoadFrmResStrings(form, ...), SetFrmFont(form,
//                                  language), GetLumoFontProps(language), NeedMLColumnHeaders
//   LumoLangInfo.LangInfo          CurrentLanguage
//   OxaBase.LogServer              WriteLog(props, funcCode, action, desc, machine, ip)
//                                  -> 1; WriteBatchLog([props,] records)
//   OxaBase.SecurityInfo           AccessCheck(props, objectType, objectId, mask, flag),
//                                  GetCurrentUser(props), GetCurrentUserID(props)
//   LumoMSmsManager.clsBillUseInfo GetData(props, sql) -> recordset;
//                                  GetEmpMobile(props) -> the mobile number of the
//                                  session user's employee ("" when none or null)
//   LumoMSmsManager.CSerivceInfo   EmpInfo(props) -> the name of the session user's
//                                  employee ("" when the user is bound to none or
//                                  to a deleted item)
//   VtMobileOpen.MobileOpen        SendMessage(params) -> the message id: checks the
//                                  parameter set (title, msgType, Propstr,
//                                  isRevertible, receivers, senderid, FuncNumber),
//                                  keeps it in dh_Outbox and dh_OutboxReceiver
//
// A session string is resolved by its UserID entry; one naming no user of t_User
// is refused. Failure modes: a row (FComponent = ProgID, FMethod = member or '*',
// FMode = 'empty' | 'raise' | 'missing') in dh_Switch, read at every call and
// creation.
#pragma once

#include <vector>

#include "automation/object.h"

namespace lumo::devhost {

struct ComponentClass {
  const char16_t* progId;       // as registered; looked up without regard to case
  const char16_t* clsid;        // "{...}", fixed for good
  const char16_t* description;
};

const std::vector<ComponentClass>& componentClasses();
// The class of a ProgID (case-insensitive), or null.
const ComponentClass* findComponentClass(const ustring& progId);

// A new instance; raises 429 when the ProgID is not one of ours or the component
// is switched to 'missing'.
ObjectPtr createComponent(const ustring& progId);

class DevHostFactory : public ComponentFactory {
 public:
  ObjectPtr create(const ustring& progId) override { return createComponent(progId); }
};

}  // namespace lumo::devhost
