// The development host's SMS gateway as an operator sees it: what becomes of
// each receiver of an accepted message, and the log that answers for them.
#pragma once

#include "automation/object.h"
#include "devhost/components/hostdb.h"

namespace lumo::devhost {

struct Delivery {
  int32_t outcome = 2;  // 2 delivered, 3 failed
  ustring reason;       // why it failed
};

// What the operator will do with a number: a number that is no mobile number
// (eleven digits starting 13..19) is unknown to it, a blocked number is refused,
// and the delivery switch (dh_Switch member 'Deliver', mode 'raise') fails the rest.
Delivery deliveryOf(HostDb& db, const ustring& number, bool deliverySwitchedOff);

// The workstation's name, as GetComputerName gives it.
ustring workstationName();

// Seconds from acceptance to the final state (dh_Setting 'DeliverySeconds', 0 when unset).
int32_t deliverySeconds(HostDb& db);

// 'YYYY-MM-DD HH:MM:SS.fff' of an OLE date, as the outbox writes its times.
ustring timeText(double oleDate);

// The log query of QueryLog's conditions (after the session): its SQL and its
// parameters, checked as QueryLog checks them.
struct LogSql {
  ustring sql;
  Args params;
};
LogSql logQuery(HostDb& db, const Args& conditions);

// QueryLog(session, status, sending number, account, from, to, ascending, workstation):
// one row per receiver with FTime, FUserName, FReceiver, FEmpName, FTitle,
// FStatus, FReason, FMessageID. Conditions are bound as parameters.
ObjectPtr queryLog(HostDb& db, const Args& args);

}  // namespace lumo::devhost
