// The SMS log as the add-in asks the host for it: the filter's conditions, the one
// query that turns them into rows (one row per receiver of a message) and the
// adapter that asks the host. Another host's log source is another LogSource.
#pragma once

#include <cstdint>
#include <vector>

#include "automation/object.h"
#include "automation/text.h"

namespace lumo::smslog {

// Where a receiver's message stands, as the gateway reports it.
enum class Status : int16_t { Waiting = 0, Sent = 1, Delivered = 2, Failed = 3 };
constexpr int16_t kEveryStatus = -1;

// The conditions of the filter dialog.
struct LogFilter {
  int16_t status = kEveryStatus;  // kEveryStatus or a Status
  ustring sendNumber;             // the sending number (sender id); "" for any
  ustring account;                // the sending user's account; "" for any
  bool allTimes = false;          // optAllTimeBySend; else the range below
  double startTime = 0;           // OLE dates, both ends included
  double endTime = 0;
  bool ascending = false;         // by sending time
  bool lastFromWorkstation = false;  // only the receivers of this workstation's last message
  bool operator==(const LogFilter&) const = default;
};

// One receiver of one message.
struct LogRow {
  ustring time;          // sending time as the host writes it
  ustring user;          // the sending user
  ustring receiver;      // the number
  ustring receiverName;  // the employee holding the number, "" when none
  ustring text;          // the message on one line
  int16_t status = 0;    // Status
  ustring reason;        // why it failed, "" otherwise
  ustring messageId;
};

// The host's log query: the member of the SMS gateway component and its
// arguments after the session string, in order. Conditions travel as values.
inline constexpr char16_t kLogProgId[] = u"VtMobileOpen.MobileOpen";
inline constexpr char16_t kLogMember[] = u"QueryLog";
// status (I2, -1 every), sending number, account, from and to (Date, or Null for
// all times), ascending (Bool), workstation ("" or the machine whose last message
// alone is wanted).
Args queryArguments(const LogFilter& filter, const ustring& machineName);
// The recordset's columns, by name.
const std::vector<ustring>& logFields();

// What is wrong with the conditions: a text key to look up, "" when they can run.
ustring checkFilter(const LogFilter& filter);

// A text on one line: tabs, line breaks and NULs become blanks, so that a list
// row and a saved ledger row stay one line.
ustring oneLine(ustring_view text);

// The text key of a status ("等待发送", "已发送", "已送达", "发送失败"), "" for none of them.
const char16_t* statusKey(int16_t status);

class LogSource {
 public:
  virtual ~LogSource() = default;
  virtual std::vector<LogRow> query(const LogFilter& filter) = 0;
};

// The host's log, asked late-bound with the session string first.
class HostLogSource final : public LogSource {
 public:
  std::vector<LogRow> query(const LogFilter& filter) override;
};

}  // namespace lumo::smslog
