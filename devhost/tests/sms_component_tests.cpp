// The host's side of sending an SMS: the sender's name (EmpInfo), the sender id
// (GetEmpMobile) and the SMS gateway (SendMessage) with its outbox.
#include <gtest/gtest.h>
#include <unistd.h>

#include <set>

#include "automation/object.h"
#include "devhost/components/components.h"
#include "devhost/components/gateway_log.h"
#include "devhost/components/hostdb.h"
#include "devhost/tests/component_fixture.h"
#include "devhost/tests/support.h"

namespace lumo::devhost {
namespace {

using test::DevHost;
using lumo::test::errorOf;
using lumo::test::u8;

// An ordered name-to-value object with the members of a scripting dictionary that
// a reader uses. Like a scripting dictionary, reading Item of an absent key adds
// the key, so a reader that looks up names it was not given shows up in Count.
class ScriptDictionary : public Object {
 public:
  ScriptDictionary& add(const ustring& key, const Variant& value) {
    entries_.push_back({key, value});
    return *this;
  }
  std::size_t count() const { return entries_.size(); }
  void set(const ustring& key, const Variant& value) {
    for (auto& e : entries_)
      if (e.first == key) {
        e.second = value;
        return;
      }
    add(key, value);
  }
  void remove(const ustring& key) {
    for (auto it = entries_.begin(); it != entries_.end(); ++it)
      if (it->first == key) {
        entries_.erase(it);
        return;
      }
  }

  Variant invoke(const ustring& name, InvokeKind kind, Args& args) override {
    if (equalsNoCase(name, u"Count")) return static_cast<int32_t>(entries_.size());
    if (equalsNoCase(name, u"Keys")) {
      std::vector<Variant> keys;
      for (auto& e : entries_) keys.push_back(e.first);
      return keys;
    }
    if (equalsNoCase(name, u"Item") || name.empty()) {
      if (args.empty()) throw Error(errnum::WrongArgumentCount);
      ustring key = args[0].deref().toString();
      for (auto& e : entries_)
        if (e.first == key) return e.second;
      if (kind == InvokeKind::Put) return {};
      entries_.push_back({key, Variant()});
      return {};
    }
    throw Error(errnum::NotSupported);
  }
  bool hasMember(const ustring& name) const override {
    return equalsNoCase(name, u"Count") || equalsNoCase(name, u"Keys") || equalsNoCase(name, u"Item");
  }
  ustring className() const override { return u"Dictionary"; }

 private:
  std::vector<std::pair<ustring, Variant>> entries_;
};

class SmsHost : public DevHost {
 protected:
  // The gateway's tests start from an empty outbox: the demo's month of history
  // would hide what one send did.
  void SetUp() override {
    DevHost::SetUp();
    db_->execute(u"DELETE FROM dh_OutboxReceiver");
    db_->execute(u"DELETE FROM dh_Outbox");
  }
  ustring sessionOf(int32_t userId) {
    return u"UserName=x;UserID=" + toText(userId) + u";DBMS Name=SQLite;Language=chs";
  }
  Variant empInfo(const ustring& props) {
    return create(u"LumoMSmsManager.CSerivceInfo")->call(u"EmpInfo", {props});
  }
  Variant empMobile(const ustring& props) {
    return create(u"LumoMSmsManager.clsBillUseInfo")->call(u"GetEmpMobile", {props});
  }

  // The parameter set the send window builds, in its order and with its kinds.
  std::shared_ptr<ScriptDictionary> message(const ustring& title, const ustring& receivers, int16_t revertible = 0) {
    auto d = std::make_shared<ScriptDictionary>();
    d->add(u"title", title)
        .add(u"msgType", int16_t(0))
        .add(u"Propstr", props_ + u";Language=chs")
        .add(u"isRevertible", revertible)
        .add(u"receivers", receivers)
        .add(u"senderid", ustring(u"13801020003"))
        .add(u"FuncNumber", ustring(u"YDSW"));
    return d;
  }
  Variant send(const ObjectPtr& params) {
    return create(u"VtMobileOpen.MobileOpen")->call(u"SendMessage", {Variant(params)});
  }
  // The error of a refused send, and that nothing reached the outbox.
  int32_t refused(const Variant& params, ustring* description) {
    int32_t before = count(u"SELECT COUNT(*) FROM dh_Outbox");
    int32_t n = errorOf([&] { create(u"VtMobileOpen.MobileOpen")->call(u"SendMessage", {params}); }, description);
    EXPECT_EQ(count(u"SELECT COUNT(*) FROM dh_Outbox"), before);
    EXPECT_EQ(count(u"SELECT COUNT(*) FROM dh_OutboxReceiver WHERE FMessageID NOT IN (SELECT FMessageID FROM "
                    u"dh_Outbox)"),
              0);
    return n;
  }
  std::vector<std::string> receiversOf(const ustring& id) {
    odbc::Result r = db_->query(u"SELECT FSeq, FReceiver FROM dh_OutboxReceiver WHERE FMessageID=? ORDER BY FSeq",
                                {id});
    std::vector<std::string> out;
    for (auto& row : r.rows) out.push_back(std::to_string(row[0].toI4()) + ":" + u8(row[1].toString()));
    return out;
  }
};

// --- EmpInfo -----------------------------------------------------------------

TEST_F(SmsHost, EmpInfoNamesTheEmployeeTheSessionsUserIsBoundTo) {
  EXPECT_EQ(empInfo(props_), Variant(u"张伟"));
  EXPECT_EQ(empInfo(sessionOf(16384)), Variant(u"王建国"));
  EXPECT_EQ(empInfo(sessionOf(16)), Variant(u"系统管理员"));  // a system user bound to an employee
  // The second 张伟 is another user bound to another employee of the same name.
  EXPECT_EQ(empInfo(sessionOf(16404)), Variant(u"张伟"));
  db_->execute(u"UPDATE t_Emp SET FName='张伟(二)' WHERE FItemID=1043");
  EXPECT_EQ(empInfo(sessionOf(16404)), Variant(u"张伟(二)"));
  EXPECT_EQ(empInfo(props_), Variant(u"张伟"));
}

TEST_F(SmsHost, EmpInfoIsEmptyForUsersWithoutAnEmployeeOrWithADeletedOne) {
  EXPECT_EQ(empInfo(sessionOf(16398)), Variant(u""));  // 临时用户: bound to no employee
  EXPECT_EQ(empInfo(sessionOf(16399)), Variant(u""));  // 徐强: his employee item is deleted
  EXPECT_EQ(empInfo(sessionOf(16403)), Variant(u""));  // 失联用户: bound to an employee that does not exist
  EXPECT_EQ(empInfo(sessionOf(17)), Variant(u""));     // guest
  // Undeleting the item brings the name back; deleting another takes it away.
  db_->execute(u"UPDATE t_Item SET FDeleted=0 WHERE FItemID=1011");
  EXPECT_EQ(empInfo(sessionOf(16399)), Variant(u"徐强"));
  db_->execute(u"UPDATE t_Item SET FDeleted=1 WHERE FItemID=1003");
  EXPECT_EQ(empInfo(props_), Variant(u""));
  // An employee with a null name gives the empty name too.
  db_->execute(u"UPDATE t_Emp SET FName=NULL WHERE FItemID=1001");
  EXPECT_EQ(empInfo(sessionOf(16384)), Variant(u""));
}

TEST_F(SmsHost, EmpInfoRefusesUnknownSessionsAndIsJournalled) {
  ustring d;
  EXPECT_EQ(errorOf([&] { empInfo(sessionOf(999)); }, &d), hosterr::UnknownSession);
  EXPECT_NE(d.find(u"999"), ustring::npos) << u8(d);
  EXPECT_EQ(errorOf([&] { create(u"LumoMSmsManager.CSerivceInfo")->call(u"EmpInfo"); }), errnum::WrongArgumentCount);
  empInfo(props_);
  JournalRow j = lastJournal();
  EXPECT_EQ(u8(j.component), "LumoMSmsManager.CSerivceInfo");
  EXPECT_EQ(u8(j.method), "EmpInfo");
  EXPECT_EQ(j.arguments, u"'" + props_ + u"'");
  EXPECT_EQ(j.result, Variant(u"'张伟'"));
}

TEST_F(SmsHost, EmpInfoObeysItsSwitches) {
  setSwitch(u"LumoMSmsManager.CSerivceInfo", u"EmpInfo", u"empty");
  EXPECT_EQ(empInfo(props_), Variant(u""));
  setSwitch(u"LumoMSmsManager.CSerivceInfo", u"EmpInfo", u"raise");
  EXPECT_EQ(errorOf([&] { empInfo(props_); }), hosterr::Switched);
  setSwitch(u"LumoMSmsManager.CSerivceInfo", u"*", u"missing");
  EXPECT_EQ(errorOf([&] { create(u"LumoMSmsManager.CSerivceInfo"); }), errnum::CannotCreateObject);
}

// --- GetEmpMobile ----------------------------------------------------------------

TEST_F(SmsHost, GetEmpMobileAnswersTheNumberAsStored) {
  EXPECT_EQ(empMobile(props_), Variant(u"13801020003"));
  EXPECT_EQ(empMobile(sessionOf(16404)), Variant(u"15801050043"));
  EXPECT_EQ(empMobile(sessionOf(16391)), Variant(u"   "));  // 黄丽: a number of blanks only
  EXPECT_EQ(empMobile(sessionOf(16393)), Variant(u""));     // 吴敏: an empty number
  JournalRow j = lastJournal();
  EXPECT_EQ(u8(j.component), "LumoMSmsManager.clsBillUseInfo");
  EXPECT_EQ(u8(j.method), "GetEmpMobile");
  EXPECT_EQ(j.result, Variant(u"''"));
}

TEST_F(SmsHost, GetEmpMobileIsEmptyWithoutANumberOrAnEmployee) {
  EXPECT_EQ(empMobile(sessionOf(16388)), Variant(u""));  // 陈静: null number
  EXPECT_EQ(empMobile(sessionOf(16398)), Variant(u""));  // no employee
  EXPECT_EQ(empMobile(sessionOf(16399)), Variant(u""));  // a deleted employee, though it has a number
  EXPECT_EQ(empMobile(sessionOf(16403)), Variant(u""));  // an employee that does not exist
  EXPECT_EQ(errorOf([&] { empMobile(sessionOf(999)); }), hosterr::UnknownSession);
  setSwitch(u"LumoMSmsManager.clsBillUseInfo", u"GetEmpMobile", u"raise");
  EXPECT_EQ(errorOf([&] { empMobile(props_); }), hosterr::Switched);
  setSwitch(u"LumoMSmsManager.clsBillUseInfo", u"GetEmpMobile", u"empty");
  EXPECT_EQ(empMobile(props_), Variant(u""));
}

// --- SendMessage: what is stored ---------------------------------------------------

TEST_F(SmsHost, SendMessageStoresTheParameterSetExactlyAndAnswersTheMessageId) {
  auto params = message(u"  明天上午九点开会,请准时参加。--张伟", u"13901010001,,13801020003,", 1);
  Variant id = send(params);
  ASSERT_TRUE(id.isString());
  ASSERT_FALSE(id.rawString().empty());
  odbc::Result r = db_->query(
      u"SELECT FMessageID, FUserID, FUserName, FTitle, FMsgType, FPropstr, FIsRevertible, FReceivers, FSenderID, "
      u"FFuncNumber, FProcessID, FTime FROM dh_Outbox");
  ASSERT_EQ(r.rows.size(), 1u);
  const auto& x = r.rows[0];
  EXPECT_EQ(x[0].toString(), id.rawString());
  EXPECT_EQ(x[1], Variant(int32_t(16386)));
  EXPECT_EQ(x[2], Variant(u"张伟"));
  EXPECT_EQ(x[3], Variant(u"  明天上午九点开会,请准时参加。--张伟"));  // not trimmed
  EXPECT_EQ(x[4], Variant(int32_t(0)));
  EXPECT_EQ(x[5], Variant(props_ + u";Language=chs"));
  EXPECT_EQ(x[6], Variant(int32_t(1)));
  EXPECT_EQ(x[7], Variant(u"13901010001,,13801020003,"));  // exactly as given
  EXPECT_EQ(x[8], Variant(u"13801020003"));
  EXPECT_EQ(x[9], Variant(u"YDSW"));
  EXPECT_EQ(x[10], Variant(int32_t(getpid())));
  EXPECT_EQ(x[11].toString().size(), 23u);
  EXPECT_EQ(receiversOf(id.rawString()), (std::vector<std::string>{"1:13901010001", "2:13801020003"}));
  // Reading the set left it as it was.
  EXPECT_EQ(params->count(), 7u);
}

TEST_F(SmsHost, ReceiversKeepTheirOrderDuplicatesAndTheirText) {
  Variant id = send(message(u"通知", u",13601030006,13601030006, 139,13701000027"));
  EXPECT_EQ(receiversOf(id.rawString()),
            (std::vector<std::string>{"1:13601030006", "2:13601030006", "3: 139", "4:13701000027"}));
}

TEST_F(SmsHost, EachSendGetsADistinctIdAndARowOfItsOwn) {
  std::set<ustring> ids;
  auto params = message(u"第一条", u"13901010001");
  for (int k = 0; k < 3; ++k) ids.insert(send(params).toString());
  db_->execute(u"DELETE FROM dh_Outbox");
  ids.insert(send(message(u"第二条", u"13901010002")).toString());
  EXPECT_EQ(ids.size(), 4u);
  EXPECT_EQ(count(u"SELECT COUNT(*) FROM dh_Outbox"), 1);
  EXPECT_EQ(count(u"SELECT COUNT(*) FROM dh_OutboxReceiver"), 4);
}

TEST_F(SmsHost, ScriptKindsAndTheOtherSessionsAreAccepted) {
  // A script hands 32-bit integers; an empty sender id is the sender without a number.
  auto params = message(u"x--陈静", u"13901010001");
  params->set(u"msgType", int32_t(1));
  params->set(u"isRevertible", int32_t(0));
  params->set(u"Propstr", sessionOf(16388));
  params->set(u"senderid", ustring());
  Variant id = send(params);
  EXPECT_EQ(db_->scalar(u"SELECT FUserName FROM dh_Outbox WHERE FMessageID=?", {id}), Variant(u"陈静"));
  EXPECT_EQ(db_->scalar(u"SELECT FUserID FROM dh_Outbox WHERE FMessageID=?", {id}), Variant(int32_t(16388)));
  EXPECT_EQ(db_->scalar(u"SELECT FMsgType || '/' || FIsRevertible || '/' || FSenderID FROM dh_Outbox"),
            Variant(u"1/0/"));
}

TEST_F(SmsHost, AKeyedCollectionIsReadByTheParameterNames) {
  auto set = std::make_shared<Collection>();
  const std::pair<ustring, Variant> entries[] = {
      {u"title", ustring(u"集合--张伟")},  {u"msgType", int16_t(0)},   {u"Propstr", props_},
      {u"isRevertible", int16_t(1)},      {u"receivers", ustring(u"13901010001,13801020003")},
      {u"senderid", ustring(u"13801020003")}, {u"FuncNumber", ustring(u"YDSW")}};
  for (const auto& e : entries) set->add(e.second, &e.first);
  Variant id = send(set);
  EXPECT_EQ(db_->scalar(u"SELECT FTitle FROM dh_Outbox WHERE FMessageID=?", {id}), Variant(u"集合--张伟"));
  EXPECT_EQ(receiversOf(id.rawString()), (std::vector<std::string>{"1:13901010001", "2:13801020003"}));
  EXPECT_EQ(u8(lastJournal().arguments),
            "{title='集合--张伟', msgType=0, Propstr='" + u8(props_) +
                "', isRevertible=1, receivers='13901010001,13801020003', senderid='13801020003', FuncNumber='YDSW'}");

  ustring extra = u"extra";
  set->add(int32_t(1), &extra);
  ustring d;
  EXPECT_EQ(refused(Variant(ObjectPtr(set)), &d), hosterr::BadArgument);
  EXPECT_NE(d.find(u"holds 8 entries"), ustring::npos) << u8(d);
  auto partial = std::make_shared<Collection>();
  for (const auto& e : entries)
    if (e.first != u"senderid") partial->add(e.second, &e.first);
  EXPECT_EQ(refused(Variant(ObjectPtr(partial)), &d), hosterr::BadArgument);
  EXPECT_NE(d.find(u"has no 'senderid'"), ustring::npos) << u8(d);
}

// --- SendMessage: what is refused ----------------------------------------------------

TEST_F(SmsHost, MalformedParameterSetsAreRefusedNamingTheProblem) {
  struct Case {
    const char* what;
    std::function<void(ScriptDictionary&)> change;
    const char16_t* expected;  // a part of the description
    int32_t number = hosterr::BadArgument;
  };
  const Case cases[] = {
      {"missing name", [](ScriptDictionary& d) { d.remove(u"senderid"); }, u"the parameter set has no 'senderid'"},
      {"unknown name", [](ScriptDictionary& d) { d.add(u"priority", int16_t(1)); },
       u"the parameter set holds 'priority', which is not a parameter of SendMessage (title, msgType, Propstr, "
       u"isRevertible, receivers, senderid, FuncNumber)"},
      {"name in another case",
       [](ScriptDictionary& d) {
         d.remove(u"title");
         d.add(u"Title", ustring(u"x"));
       },
       u"'Title', which is not a parameter of SendMessage"},
      {"empty title", [](ScriptDictionary& d) { d.set(u"title", ustring()); }, u"title must be non-empty text, not ''"},
      {"null title", [](ScriptDictionary& d) { d.set(u"title", Variant::null()); },
       u"title must be non-empty text, not Null"},
      {"numeric title", [](ScriptDictionary& d) { d.set(u"title", int32_t(5)); }, u"title must be non-empty text, not 5"},
      {"msgType 2", [](ScriptDictionary& d) { d.set(u"msgType", int16_t(2)); },
       u"msgType must be the integer 0 or 1, not 2"},
      {"msgType as text", [](ScriptDictionary& d) { d.set(u"msgType", ustring(u"0")); },
       u"msgType must be the integer 0 or 1, not '0'"},
      {"msgType as a double", [](ScriptDictionary& d) { d.set(u"msgType", 0.0); },
       u"msgType must be the integer 0 or 1, not 0"},
      {"isRevertible as a boolean", [](ScriptDictionary& d) { d.set(u"isRevertible", true); },
       u"isRevertible must be the integer 0 or 1, not True"},
      {"isRevertible -1", [](ScriptDictionary& d) { d.set(u"isRevertible", int32_t(-1)); },
       u"isRevertible must be the integer 0 or 1, not -1"},
      {"Propstr of nobody", [](ScriptDictionary& d) { d.set(u"Propstr", ustring(u"UserName=x;UserID=999")); },
       u"Propstr is not a known session (Unknown session: no user has the id 999)", hosterr::UnknownSession},
      {"Propstr without UserID", [](ScriptDictionary& d) { d.set(u"Propstr", ustring(u"Language=chs")); },
       u"Propstr is not a known session", hosterr::UnknownSession},
      {"Propstr empty", [](ScriptDictionary& d) { d.set(u"Propstr", Variant()); },
       u"Propstr must be a session string, not Empty"},
      {"empty receivers", [](ScriptDictionary& d) { d.set(u"receivers", ustring()); },
       u"receivers must be non-empty text, not ''"},
      {"commas only", [](ScriptDictionary& d) { d.set(u"receivers", ustring(u",,")); },
       u"receivers ',,' names no receiver"},
      {"null senderid", [](ScriptDictionary& d) { d.set(u"senderid", Variant::null()); },
       u"senderid must be text, not Null"},
      {"other FuncNumber", [](ScriptDictionary& d) { d.set(u"FuncNumber", ustring(u"ydsw")); },
       u"FuncNumber must be 'YDSW', not 'ydsw'"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    auto params = message(u"内容--张伟", u"13901010001");
    c.change(*params);
    std::size_t entries = params->count();
    ustring d;
    int32_t n = refused(Variant(ObjectPtr(params)), &d);
    EXPECT_EQ(n, c.number);
    EXPECT_EQ(u8(d).rfind("VtMobileOpen.MobileOpen.SendMessage: ", 0), 0u) << u8(d);
    EXPECT_NE(d.find(c.expected), ustring::npos) << u8(d);
    EXPECT_EQ(params->count(), entries) << "the reader looked up a name it was not given";
  }
  // The case hint names the intended parameter.
  auto params = message(u"x", u"1");
  params->remove(u"receivers");
  params->add(u"Receivers", ustring(u"1"));
  ustring d;
  refused(Variant(ObjectPtr(params)), &d);
  EXPECT_NE(d.find(u"names are exact: 'receivers' is meant"), ustring::npos) << u8(d);
}

TEST_F(SmsHost, SomethingThatIsNoParameterSetIsRefused) {
  ustring d;
  EXPECT_EQ(refused(ustring(u"title=x"), &d), hosterr::BadArgument);
  EXPECT_EQ(u8(d),
            "VtMobileOpen.MobileOpen.SendMessage: the argument must be a parameter set (a name-to-value object), not "
            "'title=x'");
  EXPECT_EQ(refused(ObjectPtr(), &d), hosterr::BadArgument);
  EXPECT_NE(d.find(u"not Nothing"), ustring::npos) << u8(d);
  auto plain = std::make_shared<DynamicObject>(u"Form");
  plain->property(u"Caption", ustring(u"x"));
  EXPECT_EQ(refused(ObjectPtr(plain), &d), hosterr::BadArgument);
  EXPECT_NE(d.find(u"not a name-to-value object"), ustring::npos) << u8(d);
  // Keys that fail to list are reported with their reason.
  auto broken = std::make_shared<DynamicObject>(u"Dictionary");
  broken->on(u"Keys", [](InvokeKind, Args&) -> Variant { throw Error(errnum::InvalidCall, u"keys are gone"); });
  broken->on(u"Count", [](InvokeKind, Args&) { return Variant(int32_t(7)); });
  broken->on(u"Item", [](InvokeKind, Args&) { return Variant(); });
  EXPECT_EQ(refused(ObjectPtr(broken), &d), hosterr::BadArgument);
  EXPECT_NE(d.find(u"Keys() failed (keys are gone)"), ustring::npos) << u8(d);
  EXPECT_EQ(errorOf([&] { create(u"VtMobileOpen.MobileOpen")->call(u"SendMessage"); }), errnum::WrongArgumentCount);
}

// --- SendMessage: switches and journal -------------------------------------------------

TEST_F(SmsHost, FailureModesOfTheGateway) {
  auto params = message(u"x--张伟", u"13901010001");
  setSwitch(u"VtMobileOpen.MobileOpen", u"SendMessage", u"empty");
  EXPECT_EQ(send(params), Variant(u""));
  EXPECT_EQ(lastJournal().result, Variant(u"''"));
  setSwitch(u"VtMobileOpen.MobileOpen", u"SendMessage", u"raise");
  ustring d;
  EXPECT_EQ(errorOf([&] { send(params); }, &d), hosterr::Switched);
  EXPECT_EQ(u8(d),
            "VtMobileOpen.MobileOpen.SendMessage failed: the development host's switch for this member is set to "
            "'raise'");
  EXPECT_EQ(count(u"SELECT COUNT(*) FROM dh_Outbox"), 0);
  setSwitch(u"VtMobileOpen.MobileOpen", u"*", u"missing");
  EXPECT_EQ(errorOf([&] { create(u"VtMobileOpen.MobileOpen"); }, &d), errnum::CannotCreateObject);
  EXPECT_NE(d.find(u"VtMobileOpen.MobileOpen"), ustring::npos);
  db_->execute(u"DELETE FROM dh_Switch");
  EXPECT_FALSE(send(params).toString().empty());
  EXPECT_EQ(count(u"SELECT COUNT(*) FROM dh_Outbox"), 1);
}

TEST_F(SmsHost, SendMessageIsJournalledWithItsParametersInOrder) {
  Variant id = send(message(u"会议--张伟", u"13901010001,"));
  JournalRow j = lastJournal();
  EXPECT_EQ(u8(j.component), "VtMobileOpen.MobileOpen");
  EXPECT_EQ(u8(j.method), "SendMessage");
  EXPECT_EQ(u8(j.kind), "call");
  EXPECT_EQ(u8(j.arguments), "{title='会议--张伟', msgType=0, Propstr='" + u8(props_) +
                                 ";Language=chs', isRevertible=0, receivers='13901010001,', senderid='13801020003', "
                                 "FuncNumber='YDSW'}");
  EXPECT_EQ(j.result, Variant(u"'" + id.toString() + u"'"));
  // A refused set is journalled as it came, with the error as the result.
  auto params = message(u"x", u"1");
  params->set(u"msgType", int16_t(7));
  refused(Variant(ObjectPtr(params)), nullptr);
  j = lastJournal();
  EXPECT_NE(u8(j.arguments).find("msgType=7"), std::string::npos) << u8(j.arguments);
  EXPECT_EQ(u8(j.result.toString()),
            "error -2147220987: VtMobileOpen.MobileOpen.SendMessage: msgType must be the integer 0 or 1, not 7");
  // Something that is no parameter set is journalled in its short form.
  refused(int32_t(5), nullptr);
  EXPECT_EQ(u8(lastJournal().arguments), "5");
}

// --- delivery and the message log -------------------------------------------------

class GatewayLog : public SmsHost {
 protected:
  struct Conditions {
    int16_t status = -1;
    ustring sendNumber, account;
    Variant from = Variant::null(), to = Variant::null();
    bool ascending = true;
    ustring workstation;
  };
  std::vector<std::vector<Variant>> queryLog(const Conditions& c, std::vector<ustring>* names = nullptr) {
    return readAll(create(u"VtMobileOpen.MobileOpen")
                       ->call(u"QueryLog", {props_, c.status, c.sendNumber, c.account, c.from, c.to, c.ascending,
                                            c.workstation})
                       .toObject(),
                   names);
  }
  // receiver -> "status|reason|name" of every row, in order.
  std::vector<std::string> outcomes(const Conditions& c) {
    std::vector<std::string> out;
    for (const auto& r : queryLog(c))
      out.push_back(u8(r[2].toString()) + "=" + std::to_string(r[5].toI4()) + "|" +
                    (r[6].isNull() ? std::string("-") : u8(r[6].toString())) + "|" +
                    (r[3].isNull() ? std::string("-") : u8(r[3].toString())));
    return out;
  }
};

TEST_F(GatewayLog, EachReceiverIsDeliveredOrFailsWithTheOperatorsReason) {
  db_->execute(u"INSERT INTO dh_BlockList (FNumber) VALUES ('13901010002')");
  send(message(u"会议--张伟", u"13901010001,13901010002,10086"));
  std::vector<ustring> names;
  queryLog({}, &names);
  EXPECT_EQ(names, (std::vector<ustring>{u"FTime", u"FUserName", u"FReceiver", u"FEmpName", u"FTitle", u"FStatus",
                                         u"FReason", u"FMessageID"}));
  const auto rows = outcomes({});
  ASSERT_EQ(rows.size(), 3u);
  EXPECT_EQ(rows[0].substr(0, rows[0].find('|', rows[0].find('|') + 1)), "13901010001=2|-");
  EXPECT_EQ(rows[1].substr(0, rows[1].find('|', rows[1].find('|') + 1)), "13901010002=3|号码在黑名单中");
  EXPECT_EQ(rows[2], "10086=3|号码不存在|-");
}

TEST_F(GatewayLog, TheReceiverNameIsTheEmployeeHoldingTheNumber) {
  odbc::Result e = db_->query(
      u"SELECT e.FName, e.FMobilePhone FROM t_Emp e JOIN t_Item i ON i.FItemID=e.FItemID AND i.FDeleted=0 "
      u"WHERE length(e.FMobilePhone)=11 ORDER BY e.FItemID LIMIT 1");
  ASSERT_EQ(e.rows.size(), 1u);
  send(message(u"hello--张伟", e.rows[0][1].toString()));
  const auto rows = queryLog({});
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows[0][3], e.rows[0][0]);
  EXPECT_EQ(rows[0][4], Variant(u"hello--张伟"));
  EXPECT_EQ(rows[0][1].toString(), u"张伟");
}

TEST_F(GatewayLog, AtTheGatewaysPaceAReceiverWaitsFirst) {
  db_->execute(u"INSERT INTO dh_Setting (FName, FValue) VALUES ('DeliverySeconds', '3600')");
  send(message(u"稍后--张伟", u"13901010001,10086"));
  const auto waiting = queryLog({});
  ASSERT_EQ(waiting.size(), 2u);
  EXPECT_EQ(waiting[0][5].toI4(), 0);
  EXPECT_EQ(waiting[1][5].toI4(), 0);
  EXPECT_TRUE(waiting[1][6].isNull());  // no reason before the operator answers
  // Half-way the message is sent; at the end the operator's answer is in.
  db_->execute(u"UPDATE dh_OutboxReceiver SET FSentAt = '2000-01-01 00:00:00.000'");
  EXPECT_EQ(queryLog({})[1][5].toI4(), 1);
  db_->execute(u"UPDATE dh_OutboxReceiver SET FDoneAt = '2000-01-01 00:00:00.000'");
  EXPECT_EQ(queryLog({})[1][5].toI4(), 3);
  EXPECT_EQ(queryLog({})[1][6], Variant(u"号码不存在"));
}

TEST_F(GatewayLog, TheDeliverySwitchFailsReceiversButTheMessageIsAccepted) {
  setSwitch(u"VtMobileOpen.MobileOpen", u"Deliver", u"raise");
  EXPECT_FALSE(send(message(u"x--张伟", u"13901010001")).toString().empty());
  const auto rows = queryLog({});
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows[0][5].toI4(), 3);
  EXPECT_EQ(rows[0][6], Variant(u"运营商投递失败"));
}

TEST_F(GatewayLog, ConditionsNarrowTheRows) {
  send(message(u"一--张伟", u"13901010001,10086"));
  auto second = message(u"二--张伟", u"13901010003");
  second->set(u"senderid", ustring(u"13700000000"));
  send(second);
  Conditions failed;
  failed.status = 3;
  EXPECT_EQ(queryLog(failed).size(), 1u);
  Conditions delivered;
  delivered.status = 2;
  EXPECT_EQ(queryLog(delivered).size(), 2u);
  Conditions bySender;
  bySender.sendNumber = u"13700000000";
  ASSERT_EQ(queryLog(bySender).size(), 1u);
  EXPECT_EQ(queryLog(bySender)[0][4], Variant(u"二--张伟"));
  Conditions byOther;
  byOther.account = u"李娜";
  EXPECT_EQ(queryLog(byOther).size(), 0u);
  Conditions byMe;
  byMe.account = u"张伟";
  EXPECT_EQ(queryLog(byMe).size(), 3u);
  // Newest first when not ascending.
  Conditions descending;
  descending.ascending = false;
  EXPECT_EQ(queryLog(descending)[0][4], Variant(u"二--张伟"));
  // The last message of this workstation only.
  Conditions last;
  last.workstation = workstationName();
  EXPECT_EQ(queryLog(last).size(), 1u);
  last.workstation = u"ANOTHER-PC";
  EXPECT_EQ(queryLog(last).size(), 0u);
}

TEST_F(GatewayLog, TheTimeRangeHoldsBothEnds) {
  send(message(u"一--张伟", u"13901010001"));
  db_->execute(u"UPDATE dh_Outbox SET FTime = '2026-11-25 10:00:00.250'");
  // 46351 is 2026-11-25.
  EXPECT_EQ(u8(timeText(46351.0 + 10.0 / 24)), "2026-11-25 10:00:00.000");
  Conditions c;
  c.from = Variant::date(46351.0 + 10.0 / 24);
  c.to = Variant::date(46351.0 + 10.0 / 24);
  EXPECT_EQ(queryLog(c).size(), 1u);
  c.from = Variant::date(46351.0 + 10.0 / 24 + 1.0 / 86400);
  c.to = Variant::date(46352.0);
  EXPECT_EQ(queryLog(c).size(), 0u);
  c.from = Variant::date(46350.0);
  c.to = Variant::date(46351.0 + 9.0 / 24);
  EXPECT_EQ(queryLog(c).size(), 0u);
}

TEST_F(GatewayLog, BadConditionsAreRefusedNamingTheProblem) {
  ObjectPtr gw = create(u"VtMobileOpen.MobileOpen");
  ustring d;
  EXPECT_EQ(errorOf([&] { gw->call(u"QueryLog", {props_, int16_t(-1)}); }, &d), hosterr::BadArgument);
  EXPECT_NE(d.find(u"expects 8 arguments"), ustring::npos) << u8(d);
  EXPECT_EQ(errorOf([&] {
              gw->call(u"QueryLog", {props_, int16_t(7), u"", u"", Variant::null(), Variant::null(), true, u""});
            }, &d),
            hosterr::BadArgument);
  EXPECT_NE(d.find(u"status"), ustring::npos) << u8(d);
  EXPECT_EQ(errorOf([&] {
              gw->call(u"QueryLog", {props_, int16_t(-1), u"", u"", u"2026-01-01", Variant::null(), true, u""});
            }, &d),
            hosterr::BadArgument);
  EXPECT_NE(d.find(u"a date or Null"), ustring::npos) << u8(d);
}

TEST_F(GatewayLog, AQuoteInAConditionIsAValueNotSql) {
  send(message(u"一--张伟", u"13901010001"));
  Conditions c;
  c.account = u"x' OR '1'='1";
  EXPECT_EQ(queryLog(c).size(), 0u);
}

}  // namespace
}  // namespace lumo::devhost
