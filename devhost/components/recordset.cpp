#include "devhost/components/recordset.h"

#ifdef _WIN32
#include <windows.h>
#endif
#include <sql.h>
#include <sqlext.h>

namespace lumo::devhost {

struct RecordsetObject::Data {
  odbc::Result r;
  long pos = 0;  // -1 before the first row (BOF), rows.size() after the last (EOF)
  bool open = true;

  long count() const { return static_cast<long>(r.rows.size()); }
  bool eof() const { return pos >= count(); }
  bool bof() const { return pos < 0 || count() == 0; }
  void checkOpen() const {
    if (!open) throw Error(adoerr::ObjectClosed, u"Operation is not allowed when the object is closed.", u"Recordset");
  }
  [[noreturn]] static void noCurrentRecord() {
    throw Error(adoerr::NoCurrentRecord,
                u"Either BOF or EOF is True, or the current record has been deleted. Requested operation requires a "
                u"current record.",
                u"Recordset");
  }
  std::size_t fieldIndex(const Variant& index) const {
    const Variant& v = index.deref();
    if (v.isString()) {
      for (std::size_t k = 0; k < r.columns.size(); ++k)
        if (equalsNoCase(r.columns[k].name, v.rawString())) return k;
    } else if (v.isNumeric()) {
      double d = v.toDouble();
      if (d >= 0 && d < static_cast<double>(r.columns.size())) return static_cast<std::size_t>(v.toI4());
    }
    throw Error(adoerr::ItemNotFound,
                u"Item cannot be found in the collection corresponding to the requested name or ordinal.",
                u"Recordset");
  }
  const Variant& value(std::size_t field) const {
    checkOpen();
    if (bof() || eof()) noCurrentRecord();
    return r.rows[static_cast<std::size_t>(pos)][field];
  }
};

namespace {

// The data-access type code of a column (integer, double, boolean, wide text).
int32_t adoType(int16_t sqlType) {
  switch (sqlType) {
    case SQL_INTEGER:
    case SQL_SMALLINT:
    case SQL_TINYINT:
    case SQL_BIGINT: return 3;
    case SQL_REAL:
    case SQL_FLOAT:
    case SQL_DOUBLE:
    case SQL_NUMERIC:
    case SQL_DECIMAL: return 5;
    case SQL_BIT: return 11;
    default: return 202;
  }
}

bool isPut(InvokeKind k) { return k == InvokeKind::Put || k == InvokeKind::PutRef; }

void noArgs(const Args& args) {
  if (!args.empty()) throw Error(errnum::WrongArgumentCount);
}

class FieldObject : public Object {
 public:
  FieldObject(std::shared_ptr<RecordsetObject::Data> d, std::size_t index) : d_(std::move(d)), index_(index) {}

  Variant invoke(const ustring& name, InvokeKind kind, Args& args) override {
    if (name.empty() || equalsNoCase(name, u"Value")) {
      if (isPut(kind))
        throw Error(adoerr::ReadOnly, u"The development host's recordsets are read-only.", u"Recordset");
      noArgs(args);
      return d_->value(index_);
    }
    if (equalsNoCase(name, u"Name")) {
      noArgs(args);
      return d_->r.columns[index_].name;
    }
    if (equalsNoCase(name, u"Type")) {
      noArgs(args);
      return adoType(d_->r.columns[index_].sqlType);
    }
    throw Error(errnum::NotSupported);
  }
  bool hasMember(const ustring& name) const override {
    return name.empty() || equalsNoCase(name, u"Value") || equalsNoCase(name, u"Name") || equalsNoCase(name, u"Type");
  }
  ustring className() const override { return u"Field"; }

 private:
  std::shared_ptr<RecordsetObject::Data> d_;
  std::size_t index_;
};

class FieldsObject : public Object {
 public:
  explicit FieldsObject(std::shared_ptr<RecordsetObject::Data> d) : d_(std::move(d)) {}

  Variant invoke(const ustring& name, InvokeKind kind, Args& args) override {
    (void)kind;
    if (name.empty() || equalsNoCase(name, u"Item")) {
      if (args.size() != 1) throw Error(errnum::WrongArgumentCount);
      return ObjectPtr(std::make_shared<FieldObject>(d_, d_->fieldIndex(args[0])));
    }
    if (equalsNoCase(name, u"Count")) {
      noArgs(args);
      return static_cast<int32_t>(d_->r.columns.size());
    }
    throw Error(errnum::NotSupported);
  }
  bool hasMember(const ustring& name) const override {
    return name.empty() || equalsNoCase(name, u"Item") || equalsNoCase(name, u"Count");
  }
  std::vector<Variant> enumerate() override {
    std::vector<Variant> out;
    for (std::size_t k = 0; k < d_->r.columns.size(); ++k) out.push_back(ObjectPtr(std::make_shared<FieldObject>(d_, k)));
    return out;
  }
  ustring className() const override { return u"Fields"; }

 private:
  std::shared_ptr<RecordsetObject::Data> d_;
};

const char16_t* const kMembers[] = {u"",          u"EOF",         u"BOF",      u"MoveNext",         u"MovePrevious",
                                    u"MoveFirst", u"MoveLast",    u"RecordCount", u"AbsolutePosition", u"State",
                                    u"Close",     u"Fields",      u"Collect",     u"GetString"};

}  // namespace

namespace {

// GetString(StringFormat = 2, NumRows = -1, ColumnDelimiter = TAB, RowDelimiter = CR,
// NullExpr = ""): the rows from the current one on as one text, each value as text,
// each row followed by the row delimiter; the recordset moves past them.
Variant getString(RecordsetObject::Data& d, const Args& args) {
  if (args.size() > 5) throw Error(errnum::WrongArgumentCount);
  auto given = [&](std::size_t i) {
    return i < args.size() && !args[i].deref().isMissing() && !args[i].deref().isEmpty();
  };
  if (given(0) && args[0].deref().toI4() != 2)
    throw Error(errnum::InvalidCall, u"GetString: the only string format is adClipString (2)", u"Recordset");
  long long left = given(1) ? args[1].deref().toI4() : -1;
  const ustring column = given(2) ? args[2].deref().toString() : ustring(u"\t");
  const ustring row = given(3) ? args[3].deref().toString() : ustring(u"\r");
  const ustring null = given(4) ? args[4].deref().toString() : ustring();
  if (d.bof() || d.eof()) RecordsetObject::Data::noCurrentRecord();
  ustring out;
  for (; !d.eof() && left != 0; ++d.pos, --left) {
    const auto& values = d.r.rows[static_cast<std::size_t>(d.pos)];
    for (std::size_t k = 0; k < values.size(); ++k) {
      if (k) out += column;
      out += values[k].isNull() ? null : values[k].toString();
    }
    out += row;
  }
  return out;
}

}  // namespace

RecordsetObject::RecordsetObject(odbc::Result result) : d_(std::make_shared<Data>()) {
  d_->r = std::move(result);
  d_->pos = 0;
  fields_ = std::make_shared<FieldsObject>(d_);
}

RecordsetObject::RecordsetObject() : RecordsetObject(odbc::Result()) {}

std::size_t RecordsetObject::rowCount() const { return d_->r.rows.size(); }
std::size_t RecordsetObject::fieldCount() const { return d_->r.columns.size(); }

bool RecordsetObject::hasMember(const ustring& name) const {
  for (const char16_t* m : kMembers)
    if (equalsNoCase(name, m)) return true;
  return false;
}

Variant RecordsetObject::invoke(const ustring& name, InvokeKind kind, Args& args) {
  (void)kind;
  Data& d = *d_;
  if (equalsNoCase(name, u"State")) {
    noArgs(args);
    return static_cast<int32_t>(d.open ? 1 : 0);
  }
  if (equalsNoCase(name, u"Close")) {
    d.checkOpen();
    d.open = false;
    return {};
  }
  d.checkOpen();
  if (name.empty() || equalsNoCase(name, u"Fields")) {
    if (args.empty()) return fields_;
    return fields_->invoke(u"Item", InvokeKind::Get, args);
  }
  if (equalsNoCase(name, u"Collect")) {
    if (args.size() != 1) throw Error(errnum::WrongArgumentCount);
    return d.value(d.fieldIndex(args[0]));
  }
  if (equalsNoCase(name, u"GetString")) return getString(d, args);
  noArgs(args);
  if (equalsNoCase(name, u"EOF")) return d.eof();
  if (equalsNoCase(name, u"BOF")) return d.bof();
  if (equalsNoCase(name, u"RecordCount")) return static_cast<int32_t>(d.count());
  if (equalsNoCase(name, u"AbsolutePosition")) {
    if (d.count() == 0 || d.pos < 0) return static_cast<int32_t>(-2);  // before the first row
    if (d.eof()) return static_cast<int32_t>(-3);                        // after the last row
    return static_cast<int32_t>(d.pos + 1);
  }
  if (equalsNoCase(name, u"MoveNext")) {
    if (d.eof()) Data::noCurrentRecord();
    ++d.pos;
    return {};
  }
  if (equalsNoCase(name, u"MovePrevious")) {
    if (d.bof()) Data::noCurrentRecord();
    --d.pos;
    return {};
  }
  if (equalsNoCase(name, u"MoveFirst")) {
    if (d.count() == 0) Data::noCurrentRecord();
    d.pos = 0;
    return {};
  }
  if (equalsNoCase(name, u"MoveLast")) {
    if (d.count() == 0) Data::noCurrentRecord();
    d.pos = d.count() - 1;
    return {};
  }
  throw Error(errnum::NotSupported);
}

}  // namespace lumo::devhost
