// The notification windows' test bench: a host whose bill-use, workflow, update
// and log components answer only the exact calls the windows make (component,
// member, argument count, values and which arguments come by reference) from a
// small catalogue kept here, applying switches to it so that a reload shows the
// stored state; a view that records what the window shows; fake list windows.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <vector>

#include "fake_platform.h"
#include "fake_recordset.h"
#include "fake_view.h"
#include "notify/service_manager.h"

namespace lumo::test {

struct Group {
  ustring id;
  Variant name;
  ustring module;  // "W", "Z" or "C", for the older catalogue
};

struct BillType {
  ustring id;
  ustring group;
  Variant name;
  Variant isRun;  // FIsRun as stored (Null allowed)
};

struct Flow {
  ustring id;
  Variant name;
  Variant isRun;  // FIsMobileServiceRun
};

// One call of BillUseOperate, BillOrnUseOperate or BillUserUseOperate as received.
struct Operation {
  ustring method;
  std::vector<std::map<ustring, Variant>> records;  // each record's fields by name
  Variant on;
  Variant last;  // the use flag (service window) or the kind code (personal window)
};

class FakeServiceView : public notify::ServiceManagerView {
 public:
  std::map<notify::ServiceControl, ustring> captions;
  std::vector<notify::ToolButton> buttons;
  ustring toolText;
  ustring titles;
  std::vector<int32_t> widths;
  std::vector<int32_t> rowCounts;  // every row count set
  std::vector<int32_t> selection;
  int treeLoads = 0, prints = 0, printSetups = 0, previews = 0, closes = 0;
  intptr_t handle = 0x4321;
  std::function<void()> onOptions;  // what the options dialog does while open
  int options = 0;

  void setCaption(notify::ServiceControl c, const ustring& t) override { captions[c] = t; }
  void setToolButtons(const std::vector<notify::ToolButton>& b) override { buttons = b; }
  void setToolText(const ustring& t) override { toolText = t; }
  void setListLayout(const ustring& t, const std::vector<int32_t>& w) override {
    titles = t;
    widths = w;
  }
  void setListRowCount(int32_t rows) override { rowCounts.push_back(rows); }
  std::vector<int32_t> selectedRows() const override { return selection; }
  void setSelectedRows(const std::vector<int32_t>& rows) override { selection = rows; }
  void treeLoaded() override { ++treeLoads; }
  void printList() override { ++prints; }
  void printSetup() override { ++printSetups; }
  void previewList() override { ++previews; }
  void showOptions() override {
    ++options;
    if (onOptions) onOptions();
  }
  intptr_t windowHandle() const override { return handle; }
  void close() override { ++closes; }
};

// A real list window lives on by itself once shown; these are kept for the test.
class KeepingWindowFactory : public display::test::FakeWindowFactory {
 public:
  std::shared_ptr<display::DisplayerPresenter> listWindow() override;
  std::vector<std::shared_ptr<display::DisplayerPresenter>> kept;
};

class NotifyTest : public ::testing::Test {
 protected:
  NotifyTest();

  FakePlatform fake;
  FakePlatformScope scope{fake};
  FakeServiceView view;
  KeepingWindowFactory windows;
  std::unique_ptr<notify::ServiceManagerPresenter> window;

  const ustring props = u"UserName=张伟;UserID=16394;Language=chs";
  // The catalogue.
  std::vector<Group> groups;
  std::vector<BillType> bills;
  std::vector<Flow> flows;
  // Personal subscriptions of the current user: bill type ids and workflow ids.
  std::set<ustring> billSubscriptions, flowSubscriptions;
  ustring userId = u"16394";
  ustring userName = u"张伟";
  Variant employee = u"张伟";
  Variant useFlag = true, auditFlag = false;
  int32_t usersWithoutMobile = 3;

  std::vector<Operation> operations;
  // Members that raise, by name ("BillUseOperate", "GetAllFlow", ...).
  std::set<ustring> failing;
  // The workflow collection claims this many more items than it holds.
  int32_t extraFlowCount = 0;
  // Called inside GetBillUseInfo (a user clicking while the list loads).
  std::function<void()> duringBillUseInfo;

  // The window of either kind, then its load.
  void open(bool personal = false);
  void make(bool personal = false);
  // Keys of the root's children, in order.
  std::vector<ustring> rootChildKeys() const;
  std::vector<ustring> childKeys(const ustring& key) const;
  std::vector<ustring> childTexts(const ustring& key) const;
  // The list's rows as "type|id|name|state".
  std::vector<ustring> listRows() const;
  void click(const ustring& key);
  // Selects grid rows by service name, in the order given.
  void select(const std::vector<ustring>& names);
  std::vector<ustring> prompts() const;
  // The lines of the last list window made, and the list windows made.
  std::vector<ustring> resultLines();
  std::size_t listWindows() const { return windows.made.size(); }
  // The descriptions of every batch record handed to the log server, per call.
  std::vector<std::vector<ustring>> auditBatches() const;
  std::vector<std::string> calls(const ustring& progId) const { return fake.calls(progId); }
  // Member names called on a component, in order.
  std::vector<ustring> members(const ustring& progId) const;

 private:
  ObjectPtr flowCollection();
  void fail(const ustring& member) const;
  FakeTable userBills(const ustring& group) const;
};

}  // namespace lumo::test
