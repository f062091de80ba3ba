#include <gtest/gtest.h>

#include <sql.h>

#include <functional>

#include "devhost/components/recordset.h"
#include "devhost/tests/support.h"
#include "tests/support/errors.h"

namespace lumo::devhost {
namespace {

using lumo::test::errorOf;

ObjectPtr twoRows() {
  odbc::Result r;
  r.columns = {{u"FItemID", SQL_INTEGER}, {u"FName", SQL_VARCHAR}, {u"FMobilePhone", SQL_VARCHAR}};
  r.rows = {{int32_t(1), ustring(u"张伟"), Variant::null()}, {int32_t(2), ustring(u"刘芳"), ustring(u"13801020004")}};
  return std::make_shared<RecordsetObject>(std::move(r));
}

Variant value(const ObjectPtr& rs, const Variant& field) {
  return rs->get(u"Fields", {field}).toObject()->get(u"Value");
}

TEST(Recordset, ReadsRowsInOrderUntilEof) {
  ObjectPtr rs = twoRows();
  EXPECT_EQ(rs->get(u"RecordCount").toI4(), 2);
  EXPECT_FALSE(rs->get(u"BOF").toBool());
  EXPECT_FALSE(rs->get(u"EOF").toBool());
  EXPECT_EQ(value(rs, u"FName"), Variant(u"张伟"));
  EXPECT_TRUE(value(rs, u"FMobilePhone").isNull());
  rs->call(u"MoveNext");
  EXPECT_EQ(value(rs, u"fname"), Variant(u"刘芳"));
  EXPECT_EQ(value(rs, int32_t(2)), Variant(u"13801020004"));
  rs->call(u"MoveNext");
  EXPECT_TRUE(rs->get(u"EOF").toBool());
  EXPECT_EQ(errorOf([&] { rs->call(u"MoveNext"); }), adoerr::NoCurrentRecord);
  EXPECT_EQ(errorOf([&] { value(rs, u"FName"); }), adoerr::NoCurrentRecord);
}

TEST(Recordset, GetStringGivesTheRowsAsOneTextAndMovesPastThem) {
  ObjectPtr rs = twoRows();
  // The defaults: tab between values, CR after each row, Null as nothing.
  EXPECT_EQ(rs->call(u"GetString"), Variant(u"1\t张伟\t\r2\t刘芳\t13801020004\r"));
  EXPECT_TRUE(rs->get(u"EOF").toBool());
  EXPECT_EQ(errorOf([&] { rs->call(u"GetString"); }), adoerr::NoCurrentRecord);
  rs->call(u"MoveFirst");
  EXPECT_EQ(rs->call(u"GetString", {int32_t(2), int32_t(1), ustring(u"|"), ustring(u";"), ustring(u"(null)")}),
            Variant(u"1|张伟|(null);"));
  EXPECT_EQ(value(rs, u"FName"), Variant(u"刘芳"));
  EXPECT_EQ(errorOf([&] { rs->call(u"GetString", {int32_t(3)}); }), errnum::InvalidCall);
}

TEST(Recordset, FieldsHaveNamesCountAndValueAsDefaultMember) {
  ObjectPtr rs = twoRows();
  ObjectPtr fields = rs->get(u"Fields").toObject();
  EXPECT_EQ(fields->get(u"Count").toI4(), 3);
  ObjectPtr f = fields->call(u"Item", {int32_t(0)}).toObject();
  EXPECT_EQ(f->get(u"Name"), Variant(u"FItemID"));
  EXPECT_EQ(f->get(u"Type").toI4(), 3);
  EXPECT_EQ(f->get(u""), Variant(int32_t(1)));
  // A field object follows the current row, as the platform's does.
  rs->call(u"MoveNext");
  EXPECT_EQ(f->get(u"Value"), Variant(int32_t(2)));
  // The recordset's default member is Fields(...).
  EXPECT_EQ(rs->get(u"", {ustring(u"FName")}).toObject()->get(u""), Variant(u"刘芳"));
  EXPECT_EQ(rs->get(u"Collect", {ustring(u"FItemID")}), Variant(int32_t(2)));
  EXPECT_EQ(fields->enumerate().size(), 3u);
}

TEST(Recordset, UnknownFieldRaisesItemNotFound) {
  ObjectPtr rs = twoRows();
  EXPECT_EQ(errorOf([&] { rs->get(u"Fields", {ustring(u"FNope")}); }), adoerr::ItemNotFound);
  EXPECT_EQ(errorOf([&] { rs->get(u"Fields", {int32_t(3)}); }), adoerr::ItemNotFound);
  EXPECT_EQ(errorOf([&] { rs->get(u"Fields", {int32_t(-1)}); }), adoerr::ItemNotFound);
}

TEST(Recordset, MovesFirstLastAndBack) {
  ObjectPtr rs = twoRows();
  rs->call(u"MoveLast");
  EXPECT_EQ(value(rs, u"FItemID"), Variant(int32_t(2)));
  EXPECT_EQ(rs->get(u"AbsolutePosition").toI4(), 2);
  rs->call(u"MovePrevious");
  rs->call(u"MovePrevious");
  EXPECT_TRUE(rs->get(u"BOF").toBool());
  EXPECT_EQ(errorOf([&] { rs->call(u"MovePrevious"); }), adoerr::NoCurrentRecord);
  rs->call(u"MoveFirst");
  EXPECT_FALSE(rs->get(u"BOF").toBool());
  EXPECT_EQ(value(rs, u"FItemID"), Variant(int32_t(1)));
}

TEST(Recordset, EmptyRecordsetIsAtBothEnds) {
  ObjectPtr rs = std::make_shared<RecordsetObject>();
  EXPECT_TRUE(rs->get(u"EOF").toBool());
  EXPECT_TRUE(rs->get(u"BOF").toBool());
  EXPECT_EQ(rs->get(u"RecordCount").toI4(), 0);
  EXPECT_EQ(rs->get(u"Fields").toObject()->get(u"Count").toI4(), 0);
  EXPECT_EQ(errorOf([&] { rs->call(u"MoveFirst"); }), adoerr::NoCurrentRecord);
}

TEST(Recordset, ClosedRecordsetRefusesReads) {
  ObjectPtr rs = twoRows();
  EXPECT_EQ(rs->get(u"State").toI4(), 1);
  rs->call(u"Close");
  EXPECT_EQ(rs->get(u"State").toI4(), 0);
  EXPECT_EQ(errorOf([&] { rs->get(u"EOF"); }), adoerr::ObjectClosed);
  EXPECT_EQ(errorOf([&] { rs->call(u"Close"); }), adoerr::ObjectClosed);
}

TEST(Recordset, ValuesAreReadOnlyAndUnknownMembersRaise438) {
  ObjectPtr rs = twoRows();
  ObjectPtr f = rs->get(u"Fields", {ustring(u"FName")}).toObject();
  EXPECT_EQ(errorOf([&] { f->put(u"Value", ustring(u"x")); }), adoerr::ReadOnly);
  EXPECT_EQ(errorOf([&] { rs->call(u"Requery"); }), errnum::NotSupported);
  EXPECT_FALSE(rs->hasMember(u"Requery"));
  EXPECT_TRUE(rs->hasMember(u"movenext"));
}

}  // namespace
}  // namespace lumo::devhost
