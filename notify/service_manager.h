// The approval-notification service windows: the administrator's service
// management (frmSmsManager) and each user's personal subscriptions
// (frmUserSmsManager). Both show the same catalogue tree on the left and the
// same service list on the right and switch the selected services on or off;
// they differ only in the middle-tier calls behind them and in their texts,
// which the presenter is given (ServiceWindowKind) instead of being written twice.
//
// Every rule lives here; the view draws the tree model and the list and forwards
// the user's actions. Messages reach the user through the host services.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "automation/object.h"
#include "host/platform.h"
#include "host/windows.h"
#include "ui/tree_model.h"

namespace lumo::notify {

using ui::kNoNode;
using ui::NodeId;
using ui::TreeModel;

// The two kinds of service, kept in the list's hidden first column.
extern const char16_t* const kNormal;  // "Normal": a bill type
extern const char16_t* const kOrn;     // "ORN": a workflow

extern const char16_t* const kBillUseInfo;    // "LumoMSmsManager.clsBillUseInfo"
extern const char16_t* const kBillUseUpdate;  // "LumoMSmsManager.clsBillUseUpdate"
extern const char16_t* const kFlowData;       // "LumoMMobileMCSrv.CGetData"

// One row of the service list.
struct ServiceRow {
  ustring type;  // kNormal or kOrn
  ustring id;    // the service's identifier
  ustring name;
  ustring isUse;  // the translated "是" or "否"
};

// Controls whose caption the window sets.
enum class ServiceControl : int32_t { Form, faTree, faList };

struct ToolButton {
  ustring key;
  ustring caption;
};

// The tool bar's keys.
namespace toolkey {
inline constexpr const char16_t* Start = u"Start";
inline constexpr const char16_t* Cancel = u"Cancel";
inline constexpr const char16_t* SelectAll = u"SelectAll";
inline constexpr const char16_t* CancelAll = u"CancelAll";
inline constexpr const char16_t* Print = u"Print";
inline constexpr const char16_t* PrintSet = u"PrintSet";
inline constexpr const char16_t* PrintView = u"PrintView";
inline constexpr const char16_t* Option = u"Option";
inline constexpr const char16_t* Help = u"MnuHelpDoc";
inline constexpr const char16_t* Exit = u"Exit";
// Lists the users who cannot receive an SMS (the service window only).
inline constexpr const char16_t* NoMobile = u"NoMobile";
}  // namespace toolkey

// The list's columns, in twips; the first two are hidden.
inline constexpr int32_t kNameWidth = 3600;
inline constexpr int32_t kStateWidth = 1800;
// The splitter keeps this much on either side.
inline constexpr int32_t kSplitterMargin = 1000;

// The tool-bar text about users who will never receive a notice.
extern const char16_t* const kNoMobileFormat;  // "%1 个用户没有手机号码，收不到短信通知"

class ServiceCalls;

// What tells the two windows apart: their texts and codes (the simplified-Chinese
// wording, looked up when used) and the middle-tier calls behind them.
struct ServiceWindowKind {
  const char16_t* formName;  // error sources: "SmsManager.<formName>:<routine>"
  const char16_t* caption;
  const char16_t* usageCode;  // the window's own usage log (open, close, print)
  const char16_t* printText;  // the usage log's text for Print
  const char16_t* auditOn;    // batch audit descriptions, "%1" the service
  const char16_t* auditOff;
  const char16_t* switchedOn;  // result lines, "%1" the service (and "%2" the user)
  const char16_t* switchedOff;
  const char16_t* refusedOn;
  const char16_t* refusedOff;
  bool hasOptions;      // the "Option" button and the use flag
  bool countsNoMobile;  // the tool-bar count of users without a number
  std::shared_ptr<ServiceCalls> calls;
};

// The administrator's window: every service, switched for everybody.
ServiceWindowKind serviceManagerKind();
// The personal window: the current user's subscriptions.
ServiceWindowKind userSettingsKind();

// The batch audit code of every switch, whichever window made it.
extern const char16_t* const kSwitchAuditCode;  // "SMS00107"

// The splitter's rule: the bar's left edge for a candidate position within a
// window whose inner width is 'innerWidth' (all in twips).
int32_t clampSplitter(int32_t candidate, int32_t innerWidth);

// "是" when the value equals 1 (a number or a numeric text), else "否"; Null,
// Empty and any other text read as "否". Both come back translated.
ustring yesNo(const Variant& value);

// The SQL of the users (ids 16384 to 32767, not forbidden) whose employee is
// missing or has no mobile number: their count, and the list of them.
ustring noMobileCountSql();
ustring noMobileListSql();

class ServiceManagerView {
 public:
  virtual ~ServiceManagerView() = default;
  virtual void setCaption(ServiceControl control, const ustring& text) = 0;
  virtual void setToolButtons(const std::vector<ToolButton>& buttons) = 0;
  // The text shown on the tool bar beside the buttons ("" for none).
  virtual void setToolText(const ustring& text) = 0;
  // Titles "Type|ID|名称|是否启用短信通知" and one width per column (twips).
  virtual void setListLayout(const ustring& titles, const std::vector<int32_t>& widths) = 0;
  // The grid's row count, the title row included; the view asks cellText again.
  virtual void setListRowCount(int32_t rows) = 0;
  // The grid rows selected (2 is the first service row), in ascending order.
  virtual std::vector<int32_t> selectedRows() const = 0;
  virtual void setSelectedRows(const std::vector<int32_t>& rows) = 0;
  // The tree model has been rebuilt.
  virtual void treeLoaded() = 0;
  virtual void printList() = 0;
  virtual void printSetup() = 0;
  virtual void previewList() = 0;
  // Opens the notification options over this window and returns when they close.
  virtual void showOptions() = 0;
  virtual intptr_t windowHandle() const = 0;
  // Closes the window; the view then calls formUnload.
  virtual void close() = 0;
};

class ServiceManagerPresenter {
 public:
  ServiceManagerPresenter(ServiceWindowKind kind, ServiceManagerView& view, WindowFactory& windows);
  ServiceManagerPresenter(const ServiceManagerPresenter&) = delete;
  ServiceManagerPresenter& operator=(const ServiceManagerPresenter&) = delete;

  // The entry command's check (personal window): the user is bound to an employee.
  bool isRelateEmp();

  void formLoad();
  void formUnload();
  // Esc closes, F1 opens the help.
  void formKeyDown(int32_t keyCode);

  // The user clicked a node of the tree.
  void nodeClick(NodeId node);
  void toolButtonClick(const ustring& key);

  // The older, module-split catalogue: the module filter ("W", "Z", "C" or "All")
  // and its loaders (nothing in the window calls them).
  void displayType(const ustring& filter) { displayFilter_ = filter; }
  void loadTreeDataOld();
  void loadListDataOld(const ustring& key);

  // A cell of the list as the grid asks for it: row 2 onwards, columns 1 to 4.
  ustring cellText(int32_t row, int32_t col) const;
  int32_t gridRowCount() const { return static_cast<int32_t>(rows_.size()) + 1; }

  // State, for the view and for tests.
  const ServiceWindowKind& kind() const { return kind_; }
  TreeModel& tree() { return tree_; }
  const TreeModel& tree() const { return tree_; }
  const std::vector<ServiceRow>& rows() const { return rows_; }
  bool useFlag() const { return useFlag_; }
  bool busy() const { return busy_; }
  const ustring& userId() const { return userId_; }
  const ustring& userName() const { return userName_; }
  const ustring& machineName() const { return machineName_; }
  const ustring& ipAddress() const { return ipAddress_; }
  const ustring& displayFilter() const { return displayFilter_; }

 private:
  ustring source(const char16_t* routine) const;
  void setCaptions();
  void iniUseFlag(bool reread);
  void loadTreeData();
  void loadListData(const ustring& key);
  void loadOrnListData(const ustring& key);
  void loadOrnListDataOld(const ustring& key, const ustring& module);
  void showRows();
  void switchSelected(bool on);
  void selectAll();
  void clearSelection();
  void print();
  void options();
  void countNoMobile();
  void listNoMobile();
  void showList(const ustring& titles, const std::shared_ptr<Collection>& lines, int32_t columns = 1);

  ClassObjectHold classObjects_;
  ServiceWindowKind kind_;
  ServiceManagerView& view_;
  WindowFactory& windows_;
  TreeModel tree_;
  std::vector<ServiceRow> rows_;
  bool useFlag_ = false;
  bool busy_ = false;
  ustring displayFilter_;
  ustring userId_, userName_, machineName_, ipAddress_;
  ustring yes_, no_;  // the translated "是" and "否" of the last load
};

}  // namespace lumo::notify
