#include "smslog/mobile_log.h"

#include <cmath>

#include "display/disp_builder.h"
#include "host/commands.h"
#include "host/language.h"
#include "host/services.h"
#include "host/session.h"
#include "sms/send_sms.h"

namespace lumo::smslog {
namespace {

ustring source(const char16_t* procedure) { return ustring(u"SmsManager.frmMobileLog.") + procedure; }

constexpr int32_t kMarginTwips = 10;

}  // namespace

MobileLogPresenter::MobileLogPresenter(MobileLogView& view, WindowFactory& windows, std::shared_ptr<LogSource> source,
                                       const ui::Collation& collation)
    : view_(view), windows_(windows), source_(std::move(source)), collation_(collation) {}

void MobileLogPresenter::formLoad() {
  errorTrap(source(u"Form_Load"), [&] {
    ActionScope action;
    view_.setCaption(loadVtString(u"短信日志"));
    view_.setToolCaptions({loadVtString(u"过滤"), loadVtString(u"列表"), loadVtString(u"重新发送")});
    titles_ = {loadVtString(u"发送时间"), loadVtString(u"发送人"),   loadVtString(u"接收号码"),
               loadVtString(u"接收人"),   loadVtString(u"短信内容"), loadVtString(u"状态"),
               loadVtString(u"失败原因"), loadVtString(u"短信编号")};
    view_.setColumnTitles(titles_);
    for (int16_t s = 0; s < 4; ++s) statusTexts_[static_cast<std::size_t>(s)] = loadVtString(statusKey(s));
  });
}

void MobileLogPresenter::formActivate() {
  if (filterShown_) return;
  filterShown_ = true;
  miFilterClick();
}

void MobileLogPresenter::toolClick(Tool tool) {
  switch (tool) {
    case Tool::Filter: miFilterClick(); break;
    case Tool::List: showInListWindow(); break;
    case Tool::Resend: resend(); break;
  }
}

Rect MobileLogPresenter::listRect(int32_t left, int32_t top, int32_t width, int32_t height, int32_t dpi) {
  // Ten twips, at least one pixel.
  const auto margin = std::max<int32_t>(1, static_cast<int32_t>(std::lround(kMarginTwips * dpi / 1440.0)));
  return {left + margin, top + margin, std::max(0, width - 2 * margin), std::max(0, height - 2 * margin)};
}

void MobileLogPresenter::miFilterClick() {
  errorTrap(source(u"miFilter_Click"), [&] {
    // Conditions that cannot run are said, and the dialog comes back with them.
    for (;;) {
      std::optional<LogFilter> chosen = view_.runFilter(conditions_);
      if (!chosen) return;
      conditions_ = *chosen;
      const ustring wrong = checkFilter(conditions_);
      if (wrong.empty()) break;
      msgBoxEx(loadVtString(wrong));
    }
    query();
  });
}

void MobileLogPresenter::query() {
  std::vector<LogRow> rows = source_->query(conditions_);
  rows_ = std::move(rows);
  sortColumn_.reset();
  view_.showSort(sortColumn_, false);
  view_.showRowCount(rows_.size());
  view_.setCountText(rows_.empty() ? loadVtString(u"没有符合条件的短信记录")
                                   : formatResString(u"共%1条记录", {Variant(static_cast<int32_t>(rows_.size()))}));
}

void MobileLogPresenter::columnClick(Column column) {
  errorTrap(source(u"ldgList_ColumnClick"), [&] {
    sortDescending_ = sortColumn_ == column ? !sortDescending_ : false;
    sortColumn_ = column;
    // The cells where they lie (the status's looked-up texts for the status column).
    std::vector<ustring> statusCells;
    std::vector<ustring_view> cells;
    cells.reserve(rows_.size());
    if (column == Column::Status) {
      statusCells.reserve(rows_.size());
      for (std::size_t i = 0; i < rows_.size(); ++i) statusCells.push_back(cell(i, column));
      cells.assign(statusCells.begin(), statusCells.end());
    } else {
      for (std::size_t i = 0; i < rows_.size(); ++i) cells.push_back(cellView(i, column));
    }
    const auto kind = column == Column::MessageId ? ui::SortKind::Number : ui::SortKind::Text;
    const std::vector<uint32_t> order = ui::sortOrder(cells, kind, sortDescending_, collation_);
    std::vector<LogRow> sorted;
    sorted.reserve(rows_.size());
    for (uint32_t i : order) sorted.push_back(std::move(rows_[i]));
    rows_ = std::move(sorted);
    view_.showSort(sortColumn_, sortDescending_);
    view_.showRowCount(rows_.size());
  });
}

ustring_view MobileLogPresenter::cellView(std::size_t i, Column column) const {
  const LogRow& r = rows_.at(i);
  switch (column) {
    case Column::Time: return r.time;
    case Column::User: return r.user;
    case Column::Receiver: return r.receiver;
    case Column::ReceiverName: return r.receiverName;
    case Column::Text: return r.text;
    case Column::Reason: return r.reason;
    case Column::MessageId: return r.messageId;
    case Column::Status: break;
  }
  return {};
}

ustring MobileLogPresenter::cell(std::size_t i, Column column) const {
  if (column != Column::Status) return ustring(cellView(i, column));
  const int16_t status = rows_.at(i).status;
  return status >= 0 && status < 4 ? statusTexts_[static_cast<std::size_t>(status)] : ustring();
}

void MobileLogPresenter::showInListWindow() {
  errorTrap(source(u"miList_Click"), [&] {
    if (rows_.empty()) return;
    display::DispBuilder builder(windows_);
    builder.setCaption(loadVtString(u"短信日志"));
    builder.setCols(static_cast<int32_t>(kColumnCount));
    ustring titles;
    for (const ustring& t : titles_) titles += t + u"\t";
    titles.back() = u'|';
    builder.setTitles(titles);
    for (std::size_t i = 0; i < rows_.size(); ++i) {
      ustring line;
      for (std::size_t c = 0; c < kColumnCount; ++c) {
        if (c) line += u'\t';
        line += cell(i, static_cast<Column>(c));
      }
      builder.add(line);
    }
    builder.show();
  });
}

ustring MobileLogPresenter::bodyOf(const ustring& logged) {
  const std::size_t mark = logged.rfind(u"--");
  ustring body = mark == ustring::npos ? logged : logged.substr(0, mark);
  if (body.size() > static_cast<std::size_t>(sms::kMaxMessageLength)) {
    body.resize(static_cast<std::size_t>(sms::kMaxMessageLength));
    if (body.back() >= 0xD800 && body.back() <= 0xDBFF) body.pop_back();
  }
  return body;
}

void MobileLogPresenter::resend() {
  errorTrap(source(u"miResend_Click"), [&] {
    ustring receivers, body;
    bool first = true;
    for (std::size_t i : view_.selectedRows()) {
      const LogRow& r = rows_.at(i);
      if (r.status != static_cast<int16_t>(Status::Failed)) continue;
      if (first) body = bodyOf(r.text);
      if (!first) receivers += u',';
      receivers += r.receiver;
      first = false;
    }
    if (first) {
      msgBoxEx(loadVtString(u"请选择发送失败的记录"));
      return;
    }
    runCommand(Command::SendSms, windows_, [&](CommandWindow& w) { w.prefill(receivers, body); });
  });
}

}  // namespace lumo::smslog
