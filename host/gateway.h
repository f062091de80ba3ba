// Calls on the host's middle-tier components: created by programmatic identifier at
// the moment of use, released after the call, the session string first.
#pragma once

#include <utility>
#include <vector>

#include "automation/object.h"

namespace lumo {

// Creates the component, calls method with args, releases the component.
Variant callComponent(const ustring& progId, const ustring& method, Args args);
// The same with the session property string prepended to args.
Variant callWithSession(const ustring& progId, const ustring& method, Args args);

// Reads a host recordset row by row: EOF, MoveNext, Fields(name).Value.
// A field object stands for its column and shows the current row's value, so
// each column is asked for once per recordset and then read on every row:
// reading a large result costs one late-bound call per value, not four.
class Recordset {
 public:
  explicit Recordset(ObjectPtr rs);
  bool eof() const;
  void moveNext();
  Variant field(const ustring& name) const;
  Variant field(int32_t index) const;
  ustring text(const ustring& name) const;  // Null reads as ""
  int32_t fieldCount() const;
  ustring fieldName(int32_t index) const;
  const ObjectPtr& object() const { return rs_; }
  // Up to maxRows rows from the current one on, in one call (the recordset's
  // GetString): each row's values as text (Null as ""), appended row after row to
  // 'cells'; the recordset moves past them. Returns how many rows were read, 0 at
  // the end. Raises when a value holds the separators the call asks for, as no row
  // could then be told apart. A large result costs one call per batch of rows.
  std::size_t readText(int32_t maxRows, std::vector<ustring>& cells);
  // Where each of 'names' stands among the columns (in whatever order the host
  // gives them, case ignored), for the rows readText gives; raises naming the
  // first column the recordset lacks.
  std::vector<std::size_t> columnsOf(const std::vector<ustring>& names) const;

 private:
  const ObjectPtr& fields() const;
  const ObjectPtr& fieldByName(const ustring& name) const;

  ObjectPtr rs_;
  mutable ObjectPtr fields_;
  mutable std::vector<std::pair<ustring, ObjectPtr>> byName_;  // a handful of columns: a short list
};

// The separators of Recordset::readText, and the reading of its text: rows of
// 'width' values, each value followed by kBulkColumn except the row's last, each
// row ended by kBulkRow. Appends the values row after row to 'cells' and returns
// the rows; raises when a row does not have 'width' values or the text does not
// end with a row.
inline constexpr char16_t kBulkColumn[] = u"\x1F\x1D\x1F";
inline constexpr char16_t kBulkRow[] = u"\x1E\x1D\x1E";
std::size_t splitBulkRows(ustring_view text, std::size_t width, std::vector<ustring>& cells);

// GetData of "LumoMSmsManager.clsBillUseInfo" with the session string and sql.
Recordset getData(const ustring& sql);

}  // namespace lumo
