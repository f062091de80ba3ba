// The mobile windows' test bench: the host's users and employees as far as the
// windows read them (answering only the windows' exact SQL texts), the host
// components they call, each answering only the exact call, and views that
// record what the windows show.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <set>
#include <vector>

#include "automation/dictionary.h"
#include "fake_platform.h"
#include "fake_recordset.h"

namespace lumo::test {

struct MobileEmployee {
  int32_t id;
  Variant name;
  Variant mobile;  // Null for none
  bool group = false;  // a grouping node of the employee tree
};

struct MobileUser {
  int32_t id;
  Variant name;
  Variant empId;  // Null when bound to none
  bool forbidden = false;
};

// The SQL texts the windows send, written out here in full.
ustring ownEmployeeSql(int32_t userId);
extern const ustring kMobileTableSql;

class FakeMobileDb {
 public:
  std::vector<MobileEmployee> employees;
  std::vector<MobileUser> users;
  std::vector<ustring> queries;
  std::set<ustring> failing;
  std::map<ustring, FakeTable> scripted;

  // A small company: see mobile_fixture.cpp.
  void demo();
  ObjectPtr query(const ustring& sql);
  const MobileEmployee* employee(int32_t id) const;
  MobileUser* user(const ustring& name);

 private:
  FakeTable answer(const ustring& sql) const;
};

// The host's answer to the employee picker.
struct LookupAnswer {
  enum Kind { Cancel, Empty, Item } kind = Cancel;
  int32_t itemId = 0;
  Variant name;
  std::optional<Variant> mobile;  // no FMobilePhone property when absent
};

class MobileTest : public ::testing::Test {
 protected:
  MobileTest();

  FakePlatform fake;
  FakePlatformScope scope{fake};
  FakeMobileDb db;

  const ustring props = u"UserName=王建国;UserID=16384;Language=chs";
  Variant currentUser = u"王建国";
  Variant currentUserId = int32_t(16384);
  bool userIdThrows = false;

  // ItemUpdate
  bool updateUserMobileThrows = false;
  std::vector<std::map<ustring, Variant>> userMobileUpdates;  // the property sets received, read by key
  std::vector<std::vector<std::map<ustring, Variant>>> batches;  // UpdateBatchMobile's pending edits, read back
  bool batchThrows = false;
  std::vector<std::pair<ustring, ustring>> batchFailures;  // FEmpName, Mobile answered
  // The right check, the picker, the group check, the binding.
  bool hasRight = true;
  std::vector<LookupAnswer> lookups;  // answered in order
  std::set<int32_t> groupEmployees;
  std::vector<std::pair<ustring, std::map<ustring, Variant>>> bindings;  // user, dictionary

  std::vector<ustring> prompts() const;
  std::vector<std::string> calls(const ustring& progId) const { return fake.calls(progId); }
};

// A dictionary handed over late-bound, read back by its keys.
std::map<ustring, Variant> readDictionary(const ObjectPtr& d);

}  // namespace lumo::test
