// The add-in writes its SQL for SQL Server. Before such a text goes to SQLite it
// is adapted here, and only here; everything else is sent as it stands.
#pragma once

#include "automation/text.h"

namespace lumo::devhost {

// Outside string literals, quoted identifiers and comments:
//   IsNull(      -> IfNull(
//   Len(         -> Length(
//   N'text'      -> 'text'
//   5And, 0Order -> 5 And, 0 Order   (a number glued to a keyword gets a blank)
//   'a' + x      -> 'a' || x         (a '+' next to a string literal concatenates)
//   Select [Distinct] Top n ...  -> Select [Distinct] ... Limit n   (outermost select only)
ustring adaptSqlForSqlite(ustring_view sql);

}  // namespace lumo::devhost
