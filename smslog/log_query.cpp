#include "smslog/log_query.h"

#include "automation/error.h"
#include "host/gateway.h"
#include "host/services.h"

namespace lumo::smslog {

Args queryArguments(const LogFilter& f, const ustring& machineName) {
  Args a;
  a.push_back(Variant(int16_t(f.status)));
  a.push_back(Variant(f.sendNumber));
  a.push_back(Variant(f.account));
  a.push_back(f.allTimes ? Variant::null() : Variant::date(f.startTime));
  a.push_back(f.allTimes ? Variant::null() : Variant::date(f.endTime));
  a.push_back(Variant(f.ascending));
  a.push_back(Variant(f.lastFromWorkstation ? machineName : ustring()));
  return a;
}

const std::vector<ustring>& logFields() {
  static const std::vector<ustring> fields = {u"FTime",   u"FUserName", u"FReceiver", u"FEmpName",
                                              u"FTitle",  u"FStatus",   u"FReason",   u"FMessageID"};
  return fields;
}

ustring checkFilter(const LogFilter& f) {
  if (f.status < kEveryStatus || f.status > static_cast<int16_t>(Status::Failed)) return u"发送状态无效";
  if (!f.allTimes && !f.lastFromWorkstation && f.endTime < f.startTime) return u"结束时间不能早于开始时间";
  return {};
}

ustring oneLine(ustring_view text) {
  ustring s(text);
  for (char16_t& c : s)
    if (c == u'\t' || c == u'\r' || c == u'\n' || c == 0) c = u' ';
  return s;
}

const char16_t* statusKey(int16_t status) {
  switch (status) {
    case 0: return u"等待发送";
    case 1: return u"已发送";
    case 2: return u"已送达";
    case 3: return u"发送失败";
    default: return u"";
  }
}

std::vector<LogRow> HostLogSource::query(const LogFilter& filter) {
  Variant answer = callWithSession(kLogProgId, kLogMember, queryArguments(filter, getMachineName()));
  if (!answer.isObject() || !answer.toObject())
    throw Error(errnum::TypeMismatch, ustring(kLogProgId) + u"." + kLogMember + u" answered no recordset");
  Recordset rs(answer.toObject());
  // A column the host does not have is said once, before any row is read.
  std::vector<ustring> have;
  for (int32_t i = 0; i < rs.fieldCount(); ++i) have.push_back(rs.fieldName(i));
  for (const ustring& name : logFields()) {
    bool found = false;
    for (const ustring& h : have) found = found || equalsNoCase(h, name);
    if (!found)
      throw Error(errnum::InvalidCall,
                  ustring(kLogProgId) + u"." + kLogMember + u": the log has no column '" + name + u"'");
  }
  std::vector<LogRow> rows;
  for (; !rs.eof(); rs.moveNext()) {
    LogRow r;
    r.time = oneLine(rs.text(u"FTime"));
    r.user = oneLine(rs.text(u"FUserName"));
    r.receiver = oneLine(rs.text(u"FReceiver"));
    r.receiverName = oneLine(rs.text(u"FEmpName"));
    r.text = oneLine(rs.text(u"FTitle"));
    Variant status = rs.field(u"FStatus");
    r.status = status.isNumeric() ? static_cast<int16_t>(status.toI4()) : int16_t(-1);
    r.reason = oneLine(rs.text(u"FReason"));
    r.messageId = oneLine(rs.text(u"FMessageID"));
    rows.push_back(std::move(r));
  }
  return rows;
}

}  // namespace lumo::smslog
