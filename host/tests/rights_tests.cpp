#include "host/rights.h"
#include "host_test.h"

namespace lumo::test {
namespace {

class Rights : public HostTest {
 protected:
  void securityAnswering(Variant answer) {
    fake.registerComponent(u"OxaBase.SecurityInfo", [answer](FakeComponent& c) {
      c.on(u"AccessCheck", [answer](InvokeKind, Args&) { return answer; });
    });
  }
};

TEST_F(Rights, PassesFiveArgumentsInOrderEndingWithFalse) {
  securityAnswering(Variant(true));
  EXPECT_TRUE(accessCheck(u"UserName=a", access::ObjectTypeMobile, access::ObjectIdMobile, access::UserEmpList));
  ASSERT_EQ(fake.calls(u"OxaBase.SecurityInfo").size(), 1u);
  EXPECT_EQ(fake.calls(u"OxaBase.SecurityInfo")[0],
            "OxaBase.SecurityInfo.AccessCheck('UserName=a', 65010, 0, 16777216, False)");
}

TEST_F(Rights, ComponentIsReleasedAfterTheCall) {
  securityAnswering(Variant(true));
  accessCheck(u"p", 1, 2, 3);
  EXPECT_EQ(fake.liveInstances(u"OxaBase.SecurityInfo"), 0u);
}

TEST_F(Rights, DeniedRightIsFalse) {
  securityAnswering(Variant(false));
  EXPECT_FALSE(accessCheck(u"p", access::ObjectTypeMobile, 0, access::SendMessage));
}

TEST_F(Rights, NumericAnswersConvertAsBooleans) {
  securityAnswering(Variant(int32_t(-1)));
  EXPECT_TRUE(accessCheck(u"p", 0, 0, 0));
}

TEST_F(Rights, MissingSecurityComponentIsFalse) {
  EXPECT_FALSE(accessCheck(u"p", access::ObjectTypeMobile, 0, access::InfoServiceSet));
}

TEST_F(Rights, FailingCheckIsFalseAndLeavesNoPendingError) {
  fake.registerComponent(u"OxaBase.SecurityInfo", [](FakeComponent& c) {
    c.on(u"AccessCheck", [](InvokeKind, Args&) -> Variant { throw Error(-2147217900, u"denied by server"); });
  });
  err().clear();
  EXPECT_FALSE(accessCheck(u"p", 0, 0, 0));
  EXPECT_EQ(err().number, 0);
}

TEST_F(Rights, UnconvertibleAnswerIsFalse) {
  securityAnswering(Variant(u"not a boolean"));
  EXPECT_FALSE(accessCheck(u"p", 0, 0, 0));
}

TEST_F(Rights, MaskValuesMatchThePublishedEnumeration) {
  EXPECT_EQ(access::InfoServiceSet, 1);
  EXPECT_EQ(access::SendMessage, 2);
  EXPECT_EQ(access::UserMobileSet, 16);
  EXPECT_EQ(access::UserMessageSet, 64);
  EXPECT_EQ(access::MessageService, 65536);
  EXPECT_EQ(access::MessageQueryService, 131072);
  EXPECT_EQ(access::UserSubscibeSet, 1048576);
  EXPECT_EQ(access::MessageQueryList, 2097152);
  EXPECT_EQ(access::MessageSubscribeService, 4194304);
  EXPECT_EQ(access::UserEmpList, 16777216);
}

}  // namespace
}  // namespace lumo::test
