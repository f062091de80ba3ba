// The development host's approval-notification services: the queries added to
// "LumoMSmsManager.clsBillUseInfo", and the components
// "LumoMSmsManager.clsBillUseUpdate" and "LumoMMobileMCSrv.CGetData", over the
// tables t_SMSBillGroup, t_SMSBillUse, t_MobileFlow, t_SMSPrescribe and the
// flags "SMS"/"UseFlag" and "SMS"/"AuditFlag" of t_SystemProfile.
//
//   clsBillUseInfo    GetBillInfo(props [, module]) -> FID, FName of the groups
//                     GetBillUseInfo(props, group [, module]) -> FID, FName, FIsRun
//                       of the bill types of a group ("" every group)
//                     GetUseFlag(props), GetAuditFlag(props) -> Boolean (Null when unset)
//                     GetUserBillInfo(props, userId [, module]) -> FBillType, FName:
//                       the groups with a bill type switched on
//                     GetUserBillUseInfo(props, userId, group [, module]) -> FBillType,
//                       FName, FPrescribe: the bill types switched on, 1 when subscribed
//                     GetORNUserBillUseInfo(props, flows, userId) -> FID, FMCName, FIsRun
//                       (1 when subscribed) for each record of a workflow collection
//   clsBillUseUpdate  DeleteUserByFlowInSMSPrescirbe(props): drops subscriptions to
//                       workflows that no longer exist
//                     IniUseFlag(props): writes the two flags as off where unset
//                     BillUseOperate(props, records, on, useFlag): FIsRun of each
//                       record's FID; BillOrnUseOperate(...): FIsMobileServiceRun of
//                       each FID as the record says
//                     BillUserUseOperate(props, records, on, kind): subscribes (or
//                       unsubscribes) FUserID to each FServiceID; kind "2" bill types,
//                       "3" workflows
//                     SetUseFlag(props, flag), SetAuditFlag(props, flag)
//   CGetData          GetAllFlow(props), GetFlowByUser(props, userId): a collection
//                     (Count, Item(1..Count)) of records read by field name (FID,
//                     FMCName, FIsMobileServiceRun); a user's are those switched on
//
// A user is named by the identifier from the session's GetCurrentUserID. Every
// write reads all its records first and runs in one transaction: a bad record
// leaves the tables as they were.
#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "devhost/components/component.h"

namespace lumo::devhost {

// Adds the queries above to a clsBillUseInfo component: 'add' registers a member,
// 'db' reaches its database.
using MemberSink = std::function<void(const ustring& name, Answer answer, std::function<Variant(Args&)> handler)>;
void addServiceQueries(const MemberSink& add, const std::function<HostDb&()>& db, const ustring& progId);

ObjectPtr makeBillUseUpdate(const ustring& progId, std::shared_ptr<HostDb> db, std::optional<Error> err);
ObjectPtr makeFlowData(const ustring& progId, std::shared_ptr<HostDb> db, std::optional<Error> err);

}  // namespace lumo::devhost
