#include "host/gateway.h"

#include "host/platform.h"
#include "host/session.h"

namespace lumo {

Variant callComponent(const ustring& progId, const ustring& method, Args args) {
  // The component lives for this call only; the reference goes when we return.
  ObjectPtr component = platform().create(progId);
  return component->call(method, std::move(args));
}

Variant callWithSession(const ustring& progId, const ustring& method, Args args) {
  ObjectPtr component = platform().create(progId);
  args.insert(args.begin(), Variant(getPropsString()));
  return component->call(method, std::move(args));
}

Recordset::Recordset(ObjectPtr rs) : rs_(std::move(rs)) {}

namespace {
const ObjectPtr& require(const ObjectPtr& o) {
  if (!o) throw Error(errnum::ObjectVariableNotSet);
  return o;
}

ObjectPtr itemOf(const ObjectPtr& fields, const Variant& index) {
  return require(require(fields)->get(u"Item", {index}).toObject());
}
}  // namespace

const ObjectPtr& Recordset::fields() const {
  if (!fields_) fields_ = require(require(rs_)->get(u"Fields").toObject());
  return fields_;
}

const ObjectPtr& Recordset::fieldByName(const ustring& name) const {
  for (const auto& [n, f] : byName_)
    if (n == name) return f;
  byName_.emplace_back(name, itemOf(fields(), name));
  return byName_.back().second;
}

bool Recordset::eof() const { return require(rs_)->get(u"EOF").toBool(); }

void Recordset::moveNext() { require(rs_)->call(u"MoveNext"); }

Variant Recordset::field(const ustring& name) const { return fieldByName(name)->get(u"Value"); }

Variant Recordset::field(int32_t index) const { return itemOf(fields(), index)->get(u"Value"); }

ustring Recordset::text(const ustring& name) const {
  const Variant v = field(name);
  return v.isNull() ? ustring() : v.toString();
}

int32_t Recordset::fieldCount() const { return fields()->get(u"Count").toI4(); }

ustring Recordset::fieldName(int32_t index) const { return itemOf(fields(), index)->get(u"Name").toString(); }

std::size_t Recordset::readText(int32_t maxRows, std::vector<ustring>& cells) {
  if (eof()) return 0;
  const auto width = static_cast<std::size_t>(fieldCount());
  const ustring text = require(rs_)
                           ->call(u"GetString", {Variant(int32_t(2)), Variant(maxRows), Variant(ustring(kBulkColumn)),
                                                 Variant(ustring(kBulkRow)), Variant(ustring())})
                           .toString();
  return splitBulkRows(text, width, cells);
}

std::vector<std::size_t> Recordset::columnsOf(const std::vector<ustring>& names) const {
  std::vector<ustring> have;
  for (int32_t i = 0; i < fieldCount(); ++i) have.push_back(fieldName(i));
  std::vector<std::size_t> at;
  for (const ustring& name : names) {
    std::size_t i = 0;
    while (i < have.size() && !equalsNoCase(have[i], name)) ++i;
    if (i == have.size())
      throw Error(errnum::InvalidCall, u"The recordset has no column '" + name + u"'");
    at.push_back(i);
  }
  return at;
}

std::size_t splitBulkRows(ustring_view text, std::size_t width, std::vector<ustring>& cells) {
  const ustring_view column = kBulkColumn, row = kBulkRow;
  std::size_t rows = 0, at = 0;
  while (at < text.size()) {
    const std::size_t end = text.find(row, at);
    if (end == ustring_view::npos) break;
    std::size_t found = 0;
    for (std::size_t from = at;;) {
      const std::size_t next = text.find(column, from);
      const std::size_t stop = next == ustring_view::npos || next > end ? end : next;
      cells.emplace_back(text.substr(from, stop - from));
      ++found;
      if (stop == end) break;
      from = stop + column.size();
    }
    if (found != width) {
      cells.resize(cells.size() - found);
      throw Error(errnum::InvalidCall, u"A value of the recordset holds the separators of a bulk read: row " +
                                           toText(static_cast<long long>(rows + 1)) + u" cannot be told apart");
    }
    ++rows;
    at = end + row.size();
  }
  if (at != text.size())
    throw Error(errnum::InvalidCall, u"The recordset's text of its rows does not end with a row separator");
  return rows;
}

Recordset getData(const ustring& sql) {
  return Recordset(callWithSession(u"LumoMSmsManager.clsBillUseInfo", u"GetData", {sql}).toObject());
}

}  // namespace lumo
