// The recordset the development host's GetData answers with: the rows fetched
// completely on the call, read through the members of the platform's data-access
// recordset that callers use (EOF, BOF, MoveNext, MoveFirst, MoveLast,
// MovePrevious, RecordCount, AbsolutePosition, State, Close, Collect,
// Fields(name or 0-based index) with Value, Name and Type, Fields.Count).
// The default member of a field is its Value; the recordset's default member
// is Fields(...).
#pragma once

#include <memory>

#include "automation/object.h"
#include "devhost/components/odbc.h"

namespace lumo::devhost {

namespace adoerr {
constexpr int32_t NoCurrentRecord = 3021;  // BOF or EOF is true
constexpr int32_t ItemNotFound = 3265;     // no field of that name or ordinal
constexpr int32_t ObjectClosed = 3704;     // the recordset has been closed
constexpr int32_t ReadOnly = 3251;         // the operation is not supported
}  // namespace adoerr

class RecordsetObject : public Object {
 public:
  explicit RecordsetObject(odbc::Result result);
  // An empty recordset (no rows, no fields).
  RecordsetObject();

  Variant invoke(const ustring& name, InvokeKind kind, Args& args) override;
  bool hasMember(const ustring& name) const override;
  ustring className() const override { return u"Recordset"; }

  std::size_t rowCount() const;
  std::size_t fieldCount() const;

  struct Data;

 private:
  std::shared_ptr<Data> d_;
  ObjectPtr fields_;
};

}  // namespace lumo::devhost
