// The send window's test bench: the host's database as far as the window reads
// it (answering only the window's exact SQL texts), the host components the window
// calls, and a view that records what the window shows (fake_send_view.h).
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <utility>

#include "fake_platform.h"
#include "fake_recordset.h"
#include "fake_send_view.h"
#include "sms/send_sms.h"

namespace lumo::test {

// The SQL texts the window sends, written out here in full.
extern const ustring kDepartmentTreeSql;
extern const ustring kGroupTreeSql;
extern const ustring kNoDepartmentSql;
ustring departmentSql(const ustring& id);
ustring groupSql(const ustring& id);

struct Department {
  int32_t id;
  Variant name;
};

struct Employee {
  int32_t id;
  ustring number;  // FNumber
  Variant name;
  Variant mobile;
  Variant department;  // Null for none
  bool deleted = false;
};

// A row of t_User: a user, or a group (groups are users too).
struct User {
  int32_t id;
  Variant name;
  int32_t employee = 0;
  bool forbidden = false;
};

struct Membership {
  int32_t group;
  int32_t user;
};

class FakeDirectory {
 public:
  std::vector<Department> departments;
  std::vector<Employee> employees;
  std::vector<User> users;
  std::vector<Membership> memberships;

  std::vector<ustring> queries;              // SQL texts received, in order
  std::set<ustring> failing;                 // SQL texts whose query raises
  std::map<ustring, std::size_t> breakAt;    // SQL texts whose read breaks on moving to that row
  std::map<ustring, FakeTable> scripted;     // SQL texts answered with a given table

  // A small company: see sms_fixture.cpp.
  void demo();
  ObjectPtr query(const ustring& sql);
  std::size_t count(const ustring& sql) const;

 private:
  FakeTable answer(const ustring& sql) const;
  const User* user(int32_t id) const;
  const Employee* employee(int32_t id) const;
};

using Parameters = std::vector<std::pair<ustring, Variant>>;

// Short names of the directory and receiver tests.
inline constexpr sms::Tree D = sms::Tree::Department;
inline constexpr sms::Tree G = sms::Tree::Group;
using Keys = std::vector<ustring>;

class SmsTest : public ::testing::Test {
 protected:
  SmsTest();

  FakePlatform fake;
  FakePlatformScope scope{fake};
  FakeDirectory db;
  FakeView view;
  sms::SendSmsPresenter window{view};

  const ustring props = u"UserName=张伟;UserID=16394;Language=chs";
  Variant employeeName = u"张伟";
  Variant senderMobile = u"13800000001";
  // The gateway: what SendMessage returns, or whether it raises; each parameter set received.
  Variant gatewayResult = u"MSG-000001";
  bool gatewayThrows = false;
  std::vector<Parameters> sent;

  // The entry command's check, then the window's load.
  void open();
  ui::TreeModel& tree(sms::Tree which) { return window.tree(which); }
  ui::NodeId node(sms::Tree which, const ustring& key) { return window.tree(which).find(key); }
  std::vector<ustring> childKeys(sms::Tree which, const ustring& key);
  std::vector<ustring> childTexts(sms::Tree which, const ustring& key);
  // Keys by position, 1 to count.
  std::vector<ustring> positionKeys(sms::Tree which);
  std::vector<ustring> prompts() const;
  std::vector<std::string> logCalls() const { return fake.calls(u"OxaBase.LogServer"); }
  // The user ticks or clears a node's box.
  void check(sms::Tree which, const ustring& key, bool on = true);
  void expand(sms::Tree which, const ustring& key);
  // Clicks the group tab (loading the group tree).
  void showGroups();
};

// The value of a named parameter, or Empty with a test failure when absent.
Variant parameter(const Parameters& p, const ustring& name);

}  // namespace lumo::test
