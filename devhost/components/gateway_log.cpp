#include "devhost/components/gateway_log.h"

#include <cmath>
#include <cstdio>

#ifdef _WIN32
#include <windows.h>
#else
#include <unistd.h>
#endif

#include "devhost/components/odbc.h"
#include "devhost/components/recordset.h"
#include "devhost/db/clock_text.h"

namespace lumo::devhost {

namespace {

bool isMobileNumber(const ustring& n) {
  if (n.size() != 11 || n[0] != u'1' || n[1] < u'3' || n[1] > u'9') return false;
  for (char16_t c : n)
    if (c < u'0' || c > u'9') return false;
  return true;
}

[[noreturn]] void refuse(const ustring& why) {
  throw Error(hosterr::BadArgument, u"VtMobileOpen.MobileOpen.QueryLog: " + why, u"VtMobileOpen.MobileOpen");
}

}  // namespace

Delivery deliveryOf(HostDb& db, const ustring& number, bool deliverySwitchedOff) {
  if (!isMobileNumber(number)) return {3, u"号码不存在"};
  if (db.connection().scalar(u"SELECT COUNT(*) FROM dh_BlockList WHERE FNumber = ?", {number}).toI4() > 0)
    return {3, u"号码在黑名单中"};
  if (deliverySwitchedOff) return {3, u"运营商投递失败"};
  return {2, {}};
}

ustring workstationName() {
#ifdef _WIN32
  wchar_t buf[MAX_COMPUTERNAME_LENGTH + 1];
  DWORD n = MAX_COMPUTERNAME_LENGTH + 1;
  if (!GetComputerNameW(buf, &n)) return {};
  return ustring(reinterpret_cast<const char16_t*>(buf), n);
#else
  char buf[256] = {};
  if (gethostname(buf, sizeof buf - 1) != 0) return {};
  return fromUtf8(buf);
#endif
}

int32_t deliverySeconds(HostDb& db) {
  Variant v = db.connection().scalar(u"SELECT FValue FROM dh_Setting WHERE FName = 'DeliverySeconds'");
  if (v.isNull() || v.isEmpty()) return 0;
  double d = v.toDouble();
  return d > 0 ? static_cast<int32_t>(d) : 0;
}

ustring timeText(double oleDate) {
  // OLE dates count days from 1899-12-30 (day -25569 of 1970); the fraction is the
  // time of day, counted forwards also for negative dates.
  const double days = std::trunc(oleDate);
  const double fraction = std::fabs(oleDate - days);
  const long long millis =
      (static_cast<long long>(days) - 25569) * 86400000 + std::llround(fraction * 86400000.0);
  return fromUtf8(clockText(millis));
}

ObjectPtr queryLog(HostDb& db, const Args& a) {
  if (a.size() != 8) refuse(u"expects 8 arguments (session, status, sending number, account, from, to, "
                            u"ascending, workstation), got " + toText(static_cast<int32_t>(a.size())));
  db.resolveSession(a[0].deref());
  LogSql q = logQuery(db, Args(a.begin() + 1, a.end()));
  return std::make_shared<RecordsetObject>(db.connection().query(q.sql, q.params));
}

LogSql logQuery(HostDb& db, const Args& c) {
  if (c.size() != 7) refuse(u"expects 7 conditions, got " + toText(static_cast<int32_t>(c.size())));
  const Variant& status = c[0].deref();
  if (!status.isNumeric() || status.toI4() < -1 || status.toI4() > 3)
    refuse(u"status must be -1 (every status) or 0 to 3, not " + status.describe());
  auto text = [&](std::size_t i, const char16_t* what) {
    const Variant& v = c[i].deref();
    if (!v.isString()) refuse(ustring(what) + u" must be text, not " + v.describe());
    return v.rawString();
  };
  const ustring sendNumber = text(1, u"the sending number");
  const ustring account = text(2, u"the account");
  auto time = [&](std::size_t i, const char16_t* what) -> Variant {
    const Variant& v = c[i].deref();
    if (v.isNull()) return Variant::null();
    if (v.type() != Variant::Type::Date) refuse(ustring(what) + u" must be a date or Null, not " + v.describe());
    return Variant(timeText(v.rawDouble()));
  };
  const Variant from = time(3, u"the start"), to = time(4, u"the end");
  // A whole second at the end: "up to 10:00:00" holds 10:00:00.500.
  const Variant toEnd = to.isNull() ? to : Variant(to.rawString().substr(0, 19) + u".999");
  const Variant& ascending = c[5].deref();
  if (ascending.type() != Variant::Type::Bool) refuse(u"ascending must be a Boolean, not " + ascending.describe());
  const ustring machine = text(6, u"the workstation");

  const ustring now = db.connection().scalar(u"SELECT strftime('%Y-%m-%d %H:%M:%f', 'now', 'localtime')").toString();
  // Messages of the same moment keep the order they were sent in, in the chosen direction.
  const ustring order = ascending.toBool() ? u"ASC" : u"DESC";
  // Plain markers, each value bound where it is used.
  const ustring sql =
      u"SELECT FTime, FUserName, FReceiver, FEmpName, FTitle, FStatus, "
      u"CASE WHEN FStatus = 3 THEN FFailure END AS FReason, FMessageID FROM ("
      u" SELECT o.FTime, o.FUserName, r.FReceiver,"
      u"  (SELECT e.FName FROM t_Emp e JOIN t_Item i ON i.FItemID = e.FItemID AND i.FDeleted = 0"
      u"   WHERE e.FMobilePhone = r.FReceiver ORDER BY e.FItemID LIMIT 1) AS FEmpName,"
      u"  o.FTitle,"
      u"  CASE WHEN r.FDoneAt IS NULL OR r.FDoneAt <= ? THEN r.FOutcome"
      u"       WHEN r.FSentAt <= ? THEN 1 ELSE 0 END AS FStatus,"
      u"  r.FReason AS FFailure, o.FMessageID, r.FSeq"
      u" FROM dh_OutboxReceiver r JOIN dh_Outbox o ON o.FMessageID = r.FMessageID"
      u" WHERE (? = '' OR o.FSenderID = ?) AND (? = '' OR o.FUserName = ?)"
      u"  AND (? IS NULL OR o.FTime >= ?) AND (? IS NULL OR o.FTime <= ?)"
      u"  AND (? = '' OR o.FMessageID = (SELECT MAX(FMessageID) FROM dh_Outbox WHERE FMachineName = ?))"
      u") WHERE (? = -1 OR FStatus = ?) ORDER BY FTime " + order + u", FMessageID " + order + u", FSeq";
  const Variant st(static_cast<int32_t>(status.toI4())), nowV(now), num(sendNumber), acc(account), mach(machine);
  return {sql, {nowV, nowV, num, num, acc, acc, from, from, toEnd, toEnd, mach, mach, st, st}};
}

}  // namespace lumo::devhost
