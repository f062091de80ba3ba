// The user-employee-mobile table: every system user, the employee each is bound
// to and that employee's mobile number. The administrator binds users to
// employees, edits numbers in place (one number per employee, shown on every row
// of the employee) and saves the edits in one batch through the host, which
// decides; refused numbers are listed in a list window.
//
// Beyond what the host checks: numbers that another employee of the table holds,
// and numbers that are not eleven digits, are marked in their cells (text colour,
// marker, tool tip naming the other employees) and counted in the status bar, so
// that conflicts are seen before saving. A search finds a user or an employee.
//
// Every rule lives here; the view draws the grid model and the tool bar and
// forwards the user's actions.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <unordered_map>
#include <vector>

#include "automation/object.h"
#include "host/windows.h"
#include "mobile/mobile_index.h"
#include "ui/edit_grid.h"

namespace lumo::mobile {

// The grid's columns.
enum Column : int32_t { colUser = 1, colEmp = 2, colMobile = 3, colEmpId = 4 };

constexpr ui::Rgb kUserBackColor = ui::rgb(217, 217, 210);
constexpr ui::Rgb kNoEmployeeBackColor = ui::rgb(241, 241, 241);
constexpr ui::Rgb kConflictForeColor = ui::rgb(200, 0, 0);
constexpr int32_t kMobileLength = 11;

// The tools of the band "Band", by key.
extern const char16_t* const kToolSave;     // "Save"
extern const char16_t* const kToolSetEmp;   // "SetEmp"
extern const char16_t* const kToolRefresh;  // "Refresh"
extern const char16_t* const kToolExit;     // "Exit"

class MobileManagerView {
 public:
  virtual ~MobileManagerView() = default;
  virtual void setCaption(const ustring& text) = 0;
  // A tool's caption: on the tool bar's tool list (inBand false) or on the same
  // tool within the band "Band" (inBand true).
  virtual void setToolCaption(const ustring& key, const ustring& text, bool inBand) = 0;
  // The band's tools.
  virtual bool toolEnabled(const ustring& key) const = 0;
  virtual void setToolEnabled(const ustring& key, bool enabled) = 0;
  virtual void setStatusText(const ustring& text) = 0;
  // Asks the window to close: the view then asks queryUnload whether it may.
  virtual void close() = 0;
  virtual ObjectPtr formObject() { return nullptr; }
};

// The fill query, byte for byte.
ustring mobileTableSql();
// Whether a number is what an SMS can reach: eleven ASCII digits.
bool wellFormedMobile(ustring_view number);

class MobileManagerPresenter {
 public:
  MobileManagerPresenter(MobileManagerView& view, WindowFactory& windows);
  MobileManagerPresenter(const MobileManagerPresenter&) = delete;
  MobileManagerPresenter& operator=(const MobileManagerPresenter&) = delete;

  ui::EditGrid& grid() { return grid_; }
  const ui::EditGrid& grid() const { return grid_; }

  // Whether the signed-in user may manage users; any error answers false.
  bool checkUserManagerRight();

  void formLoad();
  // Any way of closing asks this first: true keeps the window open.
  bool queryUnload();
  void formUnload();

  // The tool bar's click, by the tool's key; other keys do nothing.
  void toolClick(const ustring& key);
  // The grid's click and its change (the grid raises them).
  void cellClick(int32_t col, int32_t row);
  void cellChanged(int32_t col, int32_t row);

  void fillGrid();
  void save();
  // Binds the user of the row to an employee the user picks.
  void bind(int32_t row, bool fromTool);

  // The next row after 'after' (wrapping) whose user or employee contains the
  // text; 0 when none does.
  int32_t findRow(const ustring& text, int32_t after) const;

  // State, for the view and tests.
  const std::shared_ptr<Collection>& pending() const { return pending_; }
  bool busy() const { return busy_ != 0; }
  int32_t conflictCount() const { return conflicts_; }
  const ustring& machineName() const { return machineName_; }
  const ustring& ipAddress() const { return ipAddress_; }
  // The rows of an employee id, from the index (tests check it against the grid).
  std::vector<int32_t> rowsOf(const ustring& empId) const;

 private:
  void newPending();
  void enableSave();
  // The index of rows by employee and of employees by number.
  void indexRow(int32_t row);
  void rebuildIndex();
  // Marks the rows of every employee that holds one of these numbers.
  void remark(const std::vector<ustring>& numbers);
  void markRow(int32_t row);
  void updateStatus();
  void showFailures(const ObjectPtr& failures);
  struct MarkTexts {
    ustring sharedNumber, malformedNumber, status;  // looked up, placeholders left in
  };
  const MarkTexts& texts();

  MobileManagerView& view_;
  WindowFactory& windows_;
  ui::EditGrid grid_;
  std::shared_ptr<Collection> pending_;
  std::unordered_map<ustring, ObjectPtr> pendingByEmp_;  // the records of pending_, by employee id
  MobileIndex index_;
  std::vector<char> rowMarked_;
  int32_t conflicts_ = 0;
  std::optional<MarkTexts> markTexts_;
  int16_t busy_ = 0;
  ustring machineName_, ipAddress_;
};

}  // namespace lumo::mobile
