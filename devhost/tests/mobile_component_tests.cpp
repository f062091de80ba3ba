// The host's side of the mobile-number windows: storing numbers one by one and
// in batches, the employee picker, the group check, binding a user to an
// employee and the user-management right.
#include <gtest/gtest.h>

#include "automation/dictionary.h"
#include "automation/object.h"
#include "devhost/components/mobile_components.h"
#include "devhost/tests/component_fixture.h"

namespace lumo::devhost {
namespace {

using lumo::test::errorOf;
using test::DevHost;

class MobileHost : public DevHost {
 protected:
  void TearDown() override { setEmployeePicker({}); }

  Variant mobileOf(int32_t emp) {
    return db_->scalar(u"SELECT FMobilePhone FROM t_Emp WHERE FItemID=?", {emp});
  }
  static ObjectPtr record(std::initializer_list<std::pair<const char16_t*, Variant>> fields) {
    auto d = std::make_shared<Dictionary>();
    for (const auto& [k, v] : fields) d->add(ustring(k), v);
    return d;
  }
  Variant updateBatch(std::vector<ObjectPtr> edits, Variant& saved, Variant& refused) {
    auto list = std::make_shared<Collection>();
    for (auto& e : edits) list->add(Variant(e));
    Variant listArg{ObjectPtr(list)};
    return create(u"OxaGLItem.ItemUpdate")
        ->call(u"UpdateBatchMobile", {props_, Variant::ref(&listArg), Variant::ref(&saved), Variant::ref(&refused)});
  }
  Variant lookup(Variant& count) {
    Variant itemClass = int32_t(3);
    return create(u"OxcGLView.GLView")
        ->call(u"ItemLookup", {Variant::ref(&itemClass), Variant::ref(&count), ustring(u"fdetail=1")});
  }
};

TEST_F(MobileHost, UpdateUserMobileStoresTheNumberOfTheSetsEmployee) {
  ObjectPtr set = record({{u"UserName", u"王建国"}, {u"UserID", int32_t(16384)}, {u"FEmpID", int32_t(1001)},
                          {u"FEmpName", u"王建国"}, {u"Mobile", u"13911112222"}});
  create(u"OxaGLItem.ItemUpdate")->call(u"UpdateUserMobile", {props_, Variant(set), u"PC", u"10.0.0.1"});
  EXPECT_EQ(mobileOf(1001), Variant(u"13911112222"));
}

TEST_F(MobileHost, UpdateUserMobileRefusesANumberAnotherEmployeeHolds) {
  ObjectPtr set = record({{u"FEmpID", int32_t(1001)}, {u"Mobile", u"13901010002"}});
  ustring why;
  EXPECT_NE(errorOf([&] {
              create(u"OxaGLItem.ItemUpdate")->call(u"UpdateUserMobile", {props_, Variant(set), u"PC", u"10.0.0.1"});
            }, &why), 0);
  EXPECT_EQ(why, u"手机号码[13901010002]已被职员[李秀英]使用");
  EXPECT_EQ(mobileOf(1001), Variant(u"13901010001"));
}

TEST_F(MobileHost, UpdateBatchMobileSavesTheRestAndReportsEachRefusedEdit) {
  Variant saved = u"", refused = u"";
  Variant result = updateBatch({record({{u"FEmpID", u"1001"}, {u"FEmpName", u"王建国"}, {u"Mobile", u"13500000001"}}),
                                record({{u"FEmpID", u"1003"}, {u"FEmpName", u"张伟"}, {u"Mobile", u"13901010002"}}),
                                record({{u"FEmpID", u"1005"}, {u"FEmpName", u"陈静"}, {u"Mobile", u"13500000001"}}),
                                record({{u"FEmpID", u"1004"}, {u"FEmpName", u"刘芳"}, {u"Mobile", u""}})},
                               saved, refused);
  ObjectPtr failures = result.toObject();
  ASSERT_TRUE(failures);
  ASSERT_EQ(failures->get(u"Count").toI4(), 2);
  ObjectPtr first = failures->get(u"Item", {int32_t(1)}).toObject();
  EXPECT_EQ(first->get(u"Item", {ustring(u"FEmpName")}), Variant(u"张伟"));
  EXPECT_EQ(first->get(u"Item", {ustring(u"Mobile")}), Variant(u"13901010002"));
  ObjectPtr second = failures->get(u"Item", {int32_t(2)}).toObject();
  EXPECT_EQ(second->get(u"Item", {ustring(u"FEmpName")}), Variant(u"陈静"));  // the first edit took the number
  EXPECT_EQ(mobileOf(1001), Variant(u"13500000001"));
  EXPECT_EQ(mobileOf(1003), Variant(u"13801020003"));
  EXPECT_EQ(mobileOf(1005), Variant::null());
  EXPECT_EQ(mobileOf(1004), Variant(u""));  // an empty number never conflicts
  EXPECT_EQ(saved, Variant(u"2"));
  EXPECT_EQ(refused, Variant(u"2"));
}

TEST_F(MobileHost, UpdateBatchMobileHonoursTheRaiseSwitch) {
  setSwitch(u"OxaGLItem.ItemUpdate", u"UpdateBatchMobile", u"raise");
  Variant saved, refused;
  EXPECT_NE(errorOf([&] { updateBatch({}, saved, refused); }), 0);
}

TEST_F(MobileHost, ItemLookupTellsCancelFromAnEmptyChoice) {
  setEmployeePicker([](const PickerRequest&) { return PickerChoice{}; });
  Variant count = int32_t(0);
  EXPECT_FALSE(lookup(count).toObject());
  EXPECT_EQ(count, Variant(int32_t(0)));
  setEmployeePicker([](const PickerRequest&) { return PickerChoice{false, std::nullopt}; });
  ObjectPtr none = lookup(count).toObject();
  ASSERT_TRUE(none);
  EXPECT_EQ(none->get(u"Count").toI4(), 0);
}

TEST_F(MobileHost, ItemLookupOffersDepartmentsEmployeesAndGroupsAndReturnsTheChosenItem) {
  std::size_t departments = 0, employees = 0, groups = 0;
  setEmployeePicker([&](const PickerRequest& r) {
    departments = r.departments.size();
    EXPECT_EQ(r.language, u"chs");
    for (const PickerEmployee& x : r.employees) (x.group ? groups : employees)++;
    return PickerChoice{false, 1044};
  });
  Variant count = int32_t(0);
  ObjectPtr chosen = lookup(count).toObject();
  EXPECT_EQ(departments, 11u);
  EXPECT_EQ(groups, 2u);
  EXPECT_EQ(employees, 41u);  // 44 employees, three of them deleted
  EXPECT_EQ(count, Variant(int32_t(1)));
  ObjectPtr item = chosen->get(u"Item", {int32_t(1)}).toObject();
  EXPECT_EQ(item->get(u"ItemID"), Variant(int32_t(1044)));
  EXPECT_EQ(item->get(u"Name"), Variant(u"钱进"));
  EXPECT_EQ(item->get(u"Properties", {ustring(u"FMobilePhone")}), Variant(u"13501080022"));
}

TEST_F(MobileHost, AGroupItemHasNoNumberAndIsAGroup) {
  setEmployeePicker([](const PickerRequest&) { return PickerChoice{false, 900}; });
  Variant count = int32_t(0);
  ObjectPtr item = lookup(count).toObject()->get(u"Item", {int32_t(1)}).toObject();
  EXPECT_NE(errorOf([&] { item->get(u"Properties", {ustring(u"FMobilePhone")}); }), 0);
  ObjectPtr security = create(u"OxaBase.SecurityInfo");
  EXPECT_EQ(security->call(u"CheckEmpIsGroup", {props_, int32_t(900)}), Variant(true));
  EXPECT_EQ(security->call(u"CheckEmpIsGroup", {props_, int32_t(1001)}), Variant(false));
}

TEST_F(MobileHost, SetUserInfoBindsTheUserOfThatName) {
  Variant name = u"临时用户";
  Variant info{record({{u"FEmpID", int32_t(1005)}, {u"MachineName", u"PC"}, {u"IPAddress", u"10.0.0.1"}})};
  create(u"OxaBase.SecurityAdmin")->call(u"SetUserInfo", {props_, Variant::ref(&name), Variant::ref(&info)});
  EXPECT_EQ(db_->scalar(u"SELECT FEmpID FROM t_User WHERE FUserID=16398"), Variant(int32_t(1005)));
}

TEST_F(MobileHost, SetUserInfoRefusesAnAmbiguousName) {
  Variant name = u"张伟";
  Variant info{record({{u"FEmpID", int32_t(1005)}, {u"MachineName", u"PC"}, {u"IPAddress", u"10.0.0.1"}})};
  ustring why;
  EXPECT_NE(errorOf([&] {
              create(u"OxaBase.SecurityAdmin")->call(u"SetUserInfo", {props_, Variant::ref(&name), Variant::ref(&info)});
            }, &why), 0);
  EXPECT_EQ(why, u"用户名[张伟]不唯一,不能关联职员");
}

TEST_F(MobileHost, ChkAuthRightFollowsTheUserManagementRight) {
  auto check = [&](const ustring& user, int32_t& granted) {
    const ustring props = signIn(user, u"chs");
    Variant level = int32_t(0);
    const bool ok = create(u"LumoMRightManage.CUserInfo")
                        ->call(u"chkAuthRight", {props, Variant::ref(&level), int32_t(2)})
                        .toBool();
    granted = level.toI4();
    return ok;
  };
  int32_t granted = -1;
  EXPECT_TRUE(check(u"王建国", granted));  // an administrator
  EXPECT_EQ(granted, 0x1000000);
  EXPECT_TRUE(check(u"刘芳", granted));  // through the group 财务组
  EXPECT_FALSE(check(u"杨洋", granted));
  EXPECT_EQ(granted, 0);
}

}  // namespace
}  // namespace lumo::devhost
