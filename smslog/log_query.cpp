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

namespace {
// A status as the log writes it: one of the four codes, else none (-1).
int16_t statusOf(const ustring& text) {
  if (text.size() == 1 && text[0] >= u'0' && text[0] <= u'3') return static_cast<int16_t>(text[0] - u'0');
  return -1;
}
}  // namespace

std::vector<LogRow> HostLogSource::query(const LogFilter& filter) {
  Variant answer = callWithSession(kLogProgId, kLogMember, queryArguments(filter, getMachineName()));
  if (!answer.isObject() || !answer.toObject())
    throw Error(errnum::TypeMismatch, ustring(kLogProgId) + u"." + kLogMember + u" answered no recordset");
  Recordset rs(answer.toObject());
  // Where each column of ours stands; a column the host lacks is said before any row is read.
  const std::vector<std::size_t> at = rs.columnsOf(logFields());
  const std::size_t width = static_cast<std::size_t>(rs.fieldCount());
  std::vector<LogRow> rows;
  std::vector<ustring> cells;
  // Read in batches: one call a batch, not one a value.
  while (std::size_t n = rs.readText(4096, cells)) {
    for (std::size_t r = 0; r < n; ++r) {
      const ustring* c = cells.data() + r * width;
      LogRow row;
      row.time = oneLine(c[at[0]]);
      row.user = oneLine(c[at[1]]);
      row.receiver = oneLine(c[at[2]]);
      row.receiverName = oneLine(c[at[3]]);
      row.text = oneLine(c[at[4]]);
      row.status = statusOf(c[at[5]]);
      row.reason = oneLine(c[at[6]]);
      row.messageId = oneLine(c[at[7]]);
      rows.push_back(std::move(row));
    }
    cells.clear();
  }
  return rows;
}

}  // namespace lumo::smslog
