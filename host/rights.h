// Access rights of the mobile-service functions, checked through the host's
// security component.
#pragma once

#include "automation/text.h"

namespace lumo {

namespace access {
// Enu_Func_AccessMask, as published in the type library.
enum Mask : int32_t {
  InfoServiceSet = 0x1,
  SendMessage = 0x2,
  UserMobileSet = 0x10,
  UserMessageSet = 0x40,
  MessageService = 0x10000,
  MessageQueryService = 0x20000,
  UserSubscibeSet = 0x100000,
  MessageQueryList = 0x200000,
  MessageSubscribeService = 0x400000,
  UserEmpList = 0x1000000,
};
constexpr int32_t ObjectTypeMobile = 65010;  // Enu_Func_ObjectType_Mobile
constexpr int32_t ObjectIdMobile = 0;        // Enu_Func_ObjectID_Mobile
}  // namespace access

// "OxaBase.SecurityInfo".AccessCheck(props, objectType, objectId, accessMask, False).
// Never fails: any error, a missing component included, answers false.
bool accessCheck(const ustring& props, int32_t objectType, int32_t objectId, int32_t accessMask);

}  // namespace lumo
