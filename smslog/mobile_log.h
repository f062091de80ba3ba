// The SMS log window: a tool bar and a list of the receivers of the messages the
// filter asks for. The filter dialog comes up by itself on the window's first
// activation and from the filter tool; the window keeps the last conditions and
// hands them to each new dialog.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "automation/text.h"
#include "host/windows.h"
#include "smslog/log_query.h"
#include "ui/list_table.h"

namespace lumo::smslog {

// The list's columns, in order.
enum class Column : int32_t { Time, User, Receiver, ReceiverName, Text, Status, Reason, MessageId };
constexpr std::size_t kColumnCount = 8;

// The tools of the tool bar 'ab'.
enum class Tool : int32_t { Filter, List, Resend };
constexpr std::size_t kToolCount = 3;

struct Rect {
  int32_t left = 0, top = 0, width = 0, height = 0;
  bool operator==(const Rect&) const = default;
};

class MobileLogView {
 public:
  virtual ~MobileLogView() = default;
  virtual void setCaption(const ustring& text) = 0;
  virtual void setToolCaptions(const std::array<ustring, kToolCount>& captions) = 0;
  virtual void setColumnTitles(const std::array<ustring, kColumnCount>& titles) = 0;
  // A new filter dialog, shown modal with these conditions and released when it
  // closes: the conditions when the user pressed OK, nothing on Cancel.
  virtual std::optional<LogFilter> runFilter(const LogFilter& conditions) = 0;
  // The list now has this many rows (it asks the presenter for the cells).
  virtual void showRowCount(std::size_t rows) = 0;
  // The text that stands in the tool bar: the row count, or that nothing matched.
  virtual void setCountText(const ustring& text) = 0;
  // The selected rows, as the list shows them, in order.
  virtual std::vector<std::size_t> selectedRows() const = 0;
  // The column the rows are sorted on (the head's arrow), or none.
  virtual void showSort(std::optional<Column> column, bool descending) = 0;
};

class MobileLogPresenter {
 public:
  // 'collation' orders the text columns when the user sorts on one.
  MobileLogPresenter(MobileLogView& view, WindowFactory& windows, std::shared_ptr<LogSource> source,
                     const ui::Collation& collation);

  void formLoad();
  // Each activation; only the first brings the filter up.
  void formActivate();
  void toolClick(Tool tool);
  // A click on a column's head sorts the rows on it, as the list window sorts: a
  // second click on the same head reverses; the message id compares as a number,
  // the others as text in the user's order; empty cells last. A new query shows
  // its rows in the order the filter asked for, unsorted.
  void columnClick(Column column);
  // The list fills the window's inner area with a margin of 10 twips.
  static Rect listRect(int32_t innerLeft, int32_t innerTop, int32_t innerWidth, int32_t innerHeight, int32_t dpi);

  std::size_t rowCount() const { return rows_.size(); }
  const LogRow& row(std::size_t i) const { return rows_.at(i); }
  // A cell as the list shows it (the status through the texts).
  ustring cell(std::size_t row, Column column) const;

  bool filterShown() const { return filterShown_; }
  const LogFilter& conditions() const { return conditions_; }

  // What a resend puts in the send window: the selected failed receivers, and the
  // body of the first one's message without its appended "--" and name, cut to
  // the send window's length.
  static ustring bodyOf(const ustring& loggedText);

 private:
  // A text cell where it lies (not the status, whose text is looked up).
  ustring_view cellView(std::size_t row, Column column) const;
  void miFilterClick();
  void showInListWindow();
  void resend();
  void query();

  MobileLogView& view_;
  WindowFactory& windows_;
  std::shared_ptr<LogSource> source_;
  bool filterShown_ = false;
  LogFilter conditions_;
  std::vector<LogRow> rows_;
  std::array<ustring, 4> statusTexts_;
  std::array<ustring, kColumnCount> titles_;
  const ui::Collation& collation_;
  std::optional<Column> sortColumn_;
  bool sortDescending_ = false;
};

}  // namespace lumo::smslog
