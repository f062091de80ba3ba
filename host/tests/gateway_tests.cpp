#include "host_test.h"
#include "host/gateway.h"

using namespace lumo;
using namespace lumo::test;

namespace {

// A recordset as the host's query components return it: EOF, MoveNext,
// Fields(name or index) with Value and Name, Fields.Count.
struct TableData {
  std::vector<ustring> columns;
  std::vector<std::vector<Variant>> rows;
  std::size_t row = 0;
};

ObjectPtr makeRecordset(std::vector<ustring> columns, std::vector<std::vector<Variant>> rows) {
  auto data = std::make_shared<TableData>(TableData{std::move(columns), std::move(rows), 0});
  auto rs = std::make_shared<DynamicObject>(u"Recordset");
  rs->on(u"EOF", [data](InvokeKind, Args&) { return Variant(data->row >= data->rows.size()); });
  rs->on(u"MoveNext", [data](InvokeKind, Args&) {
    if (data->row >= data->rows.size()) throw Error(3021, u"Either BOF or EOF is True");
    ++data->row;
    return Variant();
  });
  rs->on(u"Fields", [data](InvokeKind, Args&) {
    auto fields = std::make_shared<DynamicObject>(u"Fields");
    fields->on(u"Count", [data](InvokeKind, Args&) { return Variant(static_cast<int32_t>(data->columns.size())); });
    fields->on(u"Item", [data](InvokeKind, Args& a) {
      std::size_t col = data->columns.size();
      if (a.at(0).isString()) {
        for (std::size_t i = 0; i < data->columns.size(); ++i)
          if (equalsNoCase(data->columns[i], a[0].rawString())) col = i;
      } else {
        col = static_cast<std::size_t>(a[0].toI4());
      }
      if (col >= data->columns.size()) throw Error(3265, u"Item cannot be found in the collection");
      auto field = std::make_shared<DynamicObject>(u"Field");
      field->on(u"Name", [data, col](InvokeKind, Args&) { return Variant(data->columns[col]); });
      field->on(u"Value", [data, col](InvokeKind, Args&) {
        if (data->row >= data->rows.size()) throw Error(3021, u"Either BOF or EOF is True");
        return data->rows[data->row][col];
      });
      return Variant(ObjectPtr(field));
    });
    return Variant(ObjectPtr(fields));
  });
  return rs;
}

}  // namespace

class Gateway : public HostTest {};

TEST_F(Gateway, CallComponentCreatesCallsAndReleases) {
  fake.registerComponent(u"OxaBase.SecurityInfo", [](FakeComponent& c) {
    c.on(u"AccessCheck", [](InvokeKind, Args& a) { return Variant(a.size() == 5); });
  });
  const Variant r = callComponent(u"OxaBase.SecurityInfo", u"AccessCheck",
                                  {u"props", int32_t(65010), int32_t(0), int32_t(2), false});
  EXPECT_EQ(r, Variant(true));
  EXPECT_EQ(fake.calls(), std::vector<std::string>{"OxaBase.SecurityInfo.AccessCheck('props', 65010, 0, 2, False)"});
  EXPECT_EQ(fake.liveInstances(u"OxaBase.SecurityInfo"), 0u);
}

TEST_F(Gateway, EachCallGetsAFreshComponent) {
  fake.registerComponent(u"A.B", [](FakeComponent& c) { c.on(u"M", [](InvokeKind, Args&) { return Variant(); }); });
  callComponent(u"A.B", u"M", {});
  callComponent(u"A.B", u"M", {});
  EXPECT_EQ(fake.creationCount(u"A.B"), 2u);
}

TEST_F(Gateway, MissingComponentFailsAtCreationNamingIt) {
  try {
    callComponent(u"OxaGLItem.ItemUpdate", u"UpdateUserMobile", {});
    FAIL();
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), errnum::CannotCreateObject);
    EXPECT_NE(e.description().find(u"OxaGLItem.ItemUpdate"), ustring::npos);
  }
}

TEST_F(Gateway, UnknownMethodRaises438) {
  fake.registerComponent(u"A.B", nullptr);
  EXPECT_EQ(errorOf([] { callComponent(u"A.B", u"Nope", {}); }), errnum::NotSupported);
  EXPECT_EQ(fake.liveInstances(u"A.B"), 0u);
}

TEST_F(Gateway, CallErrorsReachTheCallerAndTheComponentIsStillReleased) {
  fake.registerComponent(u"A.B", [](FakeComponent& c) {
    c.on(u"M", [](InvokeKind, Args&) -> Variant { throw Error(-2147217865, u"Invalid object name"); });
  });
  EXPECT_EQ(errorOf([] { callComponent(u"A.B", u"M", {}); }), -2147217865);
  EXPECT_EQ(fake.liveInstances(u"A.B"), 0u);
}

TEST_F(Gateway, ByReferenceArgumentsAreWrittenBack) {
  session(u"Language=chs");
  fake.registerComponent(u"LumoMRightManage.CUserInfo", [](FakeComponent& c) {
    c.on(u"chkAuthRight", [](InvokeKind, Args& a) {
      a[1].deref() = int32_t(99);
      return Variant(true);
    });
  });
  Variant out(int32_t(0));
  callWithSession(u"LumoMRightManage.CUserInfo", u"chkAuthRight", {Variant::ref(&out), int16_t(2)});
  EXPECT_EQ(out, Variant(int32_t(99)));
}

TEST_F(Gateway, CallWithSessionPutsThePropsStringFirst) {
  session(u"UserName=x;Language=chs");
  fake.registerComponent(u"LumoMSmsManager.clsBillUseInfo", [](FakeComponent& c) {
    c.on(u"GetEmpMobile", [](InvokeKind, Args&) { return Variant(u"13800000000"); });
  });
  EXPECT_EQ(callWithSession(u"LumoMSmsManager.clsBillUseInfo", u"GetEmpMobile", {}), Variant(u"13800000000"));
  EXPECT_EQ(fake.calls(u"LumoMSmsManager.clsBillUseInfo"),
            std::vector<std::string>{"LumoMSmsManager.clsBillUseInfo.GetEmpMobile('UserName=x;Language=chs')"});
  EXPECT_EQ(fake.creations, (std::vector<ustring>{u"LumoMSmsManager.clsBillUseInfo", u"PropsMgr.ShareProps"}));
}

TEST_F(Gateway, CallWithSessionFailsWhenTheSessionCannotBeRead) {
  fake.registerComponent(u"A.B", [](FakeComponent& c) { c.on(u"M", [](InvokeKind, Args&) { return Variant(); }); });
  EXPECT_EQ(errorOf([] { callWithSession(u"A.B", u"M", {}); }), errnum::CannotCreateObject);
  EXPECT_TRUE(fake.calls(u"A.B").empty());
  EXPECT_EQ(fake.liveInstances(u"A.B"), 0u);
}

TEST_F(Gateway, GetDataSendsSessionAndSql) {
  session(u"Language=chs");
  fake.registerComponent(u"LumoMSmsManager.clsBillUseInfo", [](FakeComponent& c) {
    c.on(u"GetData", [](InvokeKind, Args&) {
      return Variant(makeRecordset({u"FName", u"FMobilePhone"}, {{u"张三", u"13800000001"}, {u"李四", Variant::null()}}));
    });
  });
  Recordset rs = getData(u"select FName,FMobilePhone from t_Emp");
  EXPECT_EQ(fake.calls(u"LumoMSmsManager.clsBillUseInfo"),
            std::vector<std::string>{
                "LumoMSmsManager.clsBillUseInfo.GetData('Language=chs', 'select FName,FMobilePhone from t_Emp')"});
  EXPECT_EQ(fake.liveInstances(u"LumoMSmsManager.clsBillUseInfo"), 0u);
  std::vector<ustring> names, phones;
  for (; !rs.eof(); rs.moveNext()) {
    names.push_back(rs.text(u"FName"));
    phones.push_back(rs.text(u"fmobilephone"));
  }
  EXPECT_EQ(names, (std::vector<ustring>{u"张三", u"李四"}));
  EXPECT_EQ(phones, (std::vector<ustring>{u"13800000001", u""}));
}

TEST_F(Gateway, RecordsetReadsFieldsByNameAndIndex) {
  Recordset rs(makeRecordset({u"FItemID", u"FName"}, {{int32_t(7), u"张三"}}));
  EXPECT_EQ(rs.fieldCount(), 2);
  EXPECT_EQ(rs.fieldName(0), u"FItemID");
  EXPECT_EQ(rs.fieldName(1), u"FName");
  EXPECT_EQ(rs.field(u"FItemID"), Variant(int32_t(7)));
  EXPECT_EQ(rs.field(1), Variant(u"张三"));
  EXPECT_EQ(rs.text(u"FItemID"), u"7");
}

TEST_F(Gateway, RecordsetAsksForEachColumnOnceAndReadsItOnEveryRow) {
  ObjectPtr inner = makeRecordset({u"FName", u"FMobilePhone"},
                                  {{u"张三", u"13800000001"}, {u"李四", Variant::null()}, {u"王五", u"13800000003"}});
  // Counts what the reader asks of the recordset on its way to the values.
  int fieldsAsked = 0, itemsAsked = 0;
  auto counting = std::make_shared<DynamicObject>(u"Recordset");
  counting->on(u"EOF", [inner](InvokeKind, Args&) { return inner->get(u"EOF"); });
  counting->on(u"MoveNext", [inner](InvokeKind, Args&) { return inner->call(u"MoveNext"); });
  counting->on(u"Fields", [inner, &fieldsAsked, &itemsAsked](InvokeKind, Args&) {
    ++fieldsAsked;
    ObjectPtr fields = inner->get(u"Fields").toObject();
    auto wrapper = std::make_shared<DynamicObject>(u"Fields");
    wrapper->on(u"Item", [fields, &itemsAsked](InvokeKind, Args& a) {
      ++itemsAsked;
      return fields->get(u"Item", {a.at(0)});
    });
    return Variant(ObjectPtr(wrapper));
  });
  Recordset rs{ObjectPtr(counting)};
  std::vector<ustring> rows;
  for (; !rs.eof(); rs.moveNext()) rows.push_back(rs.text(u"FName") + u"/" + rs.text(u"FMobilePhone"));
  EXPECT_EQ(rows, (std::vector<ustring>{u"张三/13800000001", u"李四/", u"王五/13800000003"}));
  EXPECT_EQ(fieldsAsked, 1);
  EXPECT_EQ(itemsAsked, 2);
}

TEST_F(Gateway, RecordsetKeepsNullValues) {
  Recordset rs(makeRecordset({u"F"}, {{Variant::null()}}));
  EXPECT_TRUE(rs.field(u"F").isNull());
  EXPECT_EQ(rs.text(u"F"), u"");
}

TEST_F(Gateway, EmptyRecordsetIsAtEofAtOnce) {
  Recordset rs(makeRecordset({u"F"}, {}));
  EXPECT_TRUE(rs.eof());
}

TEST_F(Gateway, UnknownFieldRaisesTheRecordsetError) {
  Recordset rs(makeRecordset({u"F"}, {{int32_t(1)}}));
  EXPECT_EQ(errorOf([&] { rs.field(u"G"); }), 3265);
}

TEST_F(Gateway, ReadingPastEndRaises) {
  Recordset rs(makeRecordset({u"F"}, {{int32_t(1)}}));
  rs.moveNext();
  EXPECT_TRUE(rs.eof());
  EXPECT_EQ(errorOf([&] { rs.field(u"F"); }), 3021);
}

TEST_F(Gateway, RecordsetOfNothingRaises91) {
  Recordset rs(nullptr);
  EXPECT_EQ(errorOf([&] { rs.eof(); }), errnum::ObjectVariableNotSet);
  EXPECT_EQ(errorOf([&] { rs.moveNext(); }), errnum::ObjectVariableNotSet);
  EXPECT_EQ(errorOf([&] { rs.field(u"F"); }), errnum::ObjectVariableNotSet);
}

TEST_F(Gateway, GetDataThatReturnsNoObjectRaises) {
  session(u"Language=chs");
  fake.registerComponent(u"LumoMSmsManager.clsBillUseInfo", [](FakeComponent& c) {
    c.on(u"GetData", [](InvokeKind, Args&) { return Variant(u"not a recordset"); });
  });
  EXPECT_EQ(errorOf([] { getData(u"select 1"); }), errnum::ObjectRequired);
}

TEST_F(Gateway, GetDataKeepsTheRecordsetAliveAfterTheComponentIsReleased) {
  session(u"Language=chs");
  fake.registerComponent(u"LumoMSmsManager.clsBillUseInfo", [](FakeComponent& c) {
    c.on(u"GetData", [](InvokeKind, Args&) { return Variant(makeRecordset({u"F"}, {{u"v"}})); });
  });
  Recordset rs = getData(u"select F");
  EXPECT_NE(rs.object(), nullptr);
  EXPECT_EQ(rs.text(u"F"), u"v");
}
