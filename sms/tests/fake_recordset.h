// A host recordset for tests and benchmarks, built from DynamicObject the way the
// host tests build theirs: EOF, MoveNext, Fields(name or index) with Value and
// Name, Fields.Count. The field objects are made once per recordset and read the
// current row, so reading large results costs no allocation per value.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <vector>

#include "automation/object.h"

namespace lumo::test {

struct FakeTable {
  std::vector<ustring> columns;
  std::vector<std::vector<Variant>> rows;
};

// failAtRow: moving onto that row raises, as a connection lost in the middle of a
// read does; the rows before it have been readable.
inline ObjectPtr makeRecordset(FakeTable table, std::size_t failAtRow = std::numeric_limits<std::size_t>::max()) {
  struct State {
    FakeTable table;
    std::size_t row = 0;
    std::size_t failAt;
    std::vector<ObjectPtr> fields;
  };
  auto s = std::make_shared<State>(State{std::move(table), 0, failAtRow, {}});
  std::weak_ptr<State> weak = s;
  for (std::size_t col = 0; col < s->table.columns.size(); ++col) {
    auto field = std::make_shared<DynamicObject>(u"Field");
    // The fields are owned by the state; they hold it weakly to avoid a cycle.
    field->on(u"Name", [weak, col](InvokeKind, Args&) {
      auto st = weak.lock();
      if (!st) throw Error(errnum::ObjectVariableNotSet);
      return Variant(st->table.columns[col]);
    });
    field->on(u"Value", [weak, col](InvokeKind, Args&) {
      auto st = weak.lock();
      if (!st) throw Error(errnum::ObjectVariableNotSet);
      if (st->row >= st->table.rows.size()) throw Error(3021, u"Either BOF or EOF is True");
      return st->table.rows[st->row][col];
    });
    s->fields.push_back(field);
  }
  auto fields = std::make_shared<DynamicObject>(u"Fields");
  fields->on(u"Count", [s](InvokeKind, Args&) { return Variant(static_cast<int32_t>(s->table.columns.size())); });
  fields->on(u"Item", [s](InvokeKind, Args& a) {
    std::size_t col = s->table.columns.size();
    if (a.at(0).deref().isString()) {
      const ustring& name = a[0].deref().rawString();
      for (std::size_t i = 0; i < s->table.columns.size(); ++i)
        if (equalsNoCase(s->table.columns[i], name)) {
          col = i;
          break;
        }
    } else {
      col = static_cast<std::size_t>(a[0].deref().toI4());
    }
    if (col >= s->table.columns.size()) throw Error(3265, u"Item cannot be found in the collection");
    return Variant(s->fields[col]);
  });
  auto rs = std::make_shared<DynamicObject>(u"Recordset");
  rs->on(u"EOF", [s](InvokeKind, Args&) { return Variant(s->row >= s->table.rows.size()); });
  rs->on(u"MoveNext", [s](InvokeKind, Args&) {
    if (s->row >= s->table.rows.size()) throw Error(3021, u"Either BOF or EOF is True");
    if (s->row + 1 == s->failAt) throw Error(static_cast<int32_t>(0x80004005u), u"连接已断开");
    ++s->row;
    return Variant();
  });
  rs->on(u"Fields", [fields](InvokeKind, Args&) { return Variant(ObjectPtr(fields)); });
  // The bulk read: GetString(2, rows, column separator, row separator, null text).
  rs->on(u"GetString", [s](InvokeKind, Args& a) {
    if (a.size() != 5 || a[0].deref().toI4() != 2) throw Error(5, u"GetString takes (2, rows, col, row, null) here");
    if (s->row >= s->table.rows.size()) throw Error(3021, u"Either BOF or EOF is True");
    long long left = a[1].deref().toI4();
    const ustring column = a[2].deref().toString(), row = a[3].deref().toString(), null = a[4].deref().toString();
    ustring out;
    for (; s->row < s->table.rows.size() && left != 0; ++s->row, --left) {
      if (s->row == s->failAt) throw Error(static_cast<int32_t>(0x80004005u), u"连接已断开");
      const auto& values = s->table.rows[s->row];
      for (std::size_t k = 0; k < s->table.columns.size(); ++k) {
        if (k) out += column;
        const Variant& v = k < values.size() ? values[k] : Variant::null();
        out += v.isNull() ? null : v.toString();
      }
      out += row;
    }
    return Variant(out);
  });
  return rs;
}

}  // namespace lumo::test
