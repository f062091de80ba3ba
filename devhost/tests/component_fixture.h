// The fixture of the development host's component tests: a fresh demo database
// per test, a user signed in, components created through the factory, the
// switches and the journal reached directly.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "automation/object.h"
#include "devhost/components/components.h"
#include "devhost/components/hostdb.h"
#include "devhost/tests/support.h"
#include "tests/support/errors.h"

namespace lumo::devhost::test {

class DevHost : public ::testing::Test {
 protected:
  void SetUp() override {
    path_ = test::freshDemoDb();
    db_ = test::openDb(path_);
    props_ = signIn(u"张伟", u"chs");
  }

  ObjectPtr create(const ustring& progId) { return factory_.create(progId); }

  ustring signIn(const ustring& user, const ustring& language) {
    return create(u"PropsMgr.ShareProps")->call(u"SignIn", {user, language}).toString();
  }

  // The rows of GetData, each row its fields' values read through Fields(i).Value.
  std::vector<std::vector<Variant>> getData(const ustring& sql, std::vector<ustring>* names = nullptr) {
    return readAll(create(u"LumoMSmsManager.clsBillUseInfo")->call(u"GetData", {props_, sql}).toObject(), names);
  }

  // Every row of a recordset, each row its fields' values read through Fields(i).Value.
  static std::vector<std::vector<Variant>> readAll(const ObjectPtr& rs, std::vector<ustring>* names = nullptr) {
    ObjectPtr fields = rs->get(u"Fields").toObject();
    int32_t n = fields->get(u"Count").toI4();
    if (names) {
      names->clear();
      for (int32_t k = 0; k < n; ++k) names->push_back(fields->call(u"Item", {k}).toObject()->get(u"Name").toString());
    }
    std::vector<std::vector<Variant>> rows;
    while (!rs->get(u"EOF").toBool()) {
      std::vector<Variant> row;
      for (int32_t k = 0; k < n; ++k) row.push_back(rs->get(u"Fields", {k}).toObject()->get(u"Value"));
      rows.push_back(row);
      rs->call(u"MoveNext");
    }
    return rows;
  }

  void setSwitch(const ustring& component, const ustring& method, const ustring& mode) {
    db_->execute(u"INSERT OR REPLACE INTO dh_Switch (FComponent, FMethod, FMode) VALUES (?,?,?)",
                 {component, method, mode});
  }

  struct JournalRow {
    long long seq;
    ustring component, method, kind, arguments;
    Variant result;
    int32_t pid;
  };
  JournalRow lastJournal() {
    odbc::Result r = db_->query(
        u"SELECT FSeq, FComponent, FMethod, FKind, FArguments, FResult, FProcessID FROM dh_Journal ORDER BY FSeq DESC "
        u"LIMIT 1");
    EXPECT_EQ(r.rows.size(), 1u);
    if (r.rows.empty()) return {};
    const auto& x = r.rows[0];
    return {static_cast<long long>(x[0].toDouble()), x[1].toString(), x[2].toString(), x[3].toString(),
            x[4].isNull() ? ustring() : x[4].toString(), x[5], x[6].toI4()};
  }
  int32_t count(const ustring& sql) { return db_->scalar(sql).toI4(); }

  std::string path_;
  std::unique_ptr<odbc::Connection> db_;
  DevHostFactory factory_;
  ustring props_;
};

}  // namespace lumo::devhost::test
