// What the add-in's list views share beyond the system's control: the user's
// order of texts for sorting, and the head's sort arrow.
#pragma once

#include <windows.h>
#include <commctrl.h>

#include "ui/list_table.h"

namespace lumo::win32 {

// Texts in the order the user's language sorts them, as the system sorts them.
class UserCollation final : public ui::Collation {
 public:
  int compare(ustring_view a, ustring_view b) const override {
    const int r = CompareStringEx(LOCALE_NAME_USER_DEFAULT, 0, reinterpret_cast<const wchar_t*>(a.data()),
                                  static_cast<int>(a.size()), reinterpret_cast<const wchar_t*>(b.data()),
                                  static_cast<int>(b.size()), nullptr, nullptr, 0);
    // A text the system cannot compare (too long for it) falls back on its code units.
    return r == 0 ? a.compare(b) : r - CSTR_EQUAL;
  }
};

// The system's sort arrow on one column's head of a list view: up, down, or none.
enum class SortArrow { None, Up, Down };
inline void setSortArrow(HWND list, int column, SortArrow arrow) {
  HWND header = ListView_GetHeader(list);
  if (!header) return;
  HDITEMW hd{};
  hd.mask = HDI_FORMAT;
  if (!Header_GetItem(header, column, &hd)) return;
  hd.fmt &= ~(HDF_SORTUP | HDF_SORTDOWN);
  if (arrow == SortArrow::Up) hd.fmt |= HDF_SORTUP;
  if (arrow == SortArrow::Down) hd.fmt |= HDF_SORTDOWN;
  Header_SetItem(header, column, &hd);
}

}  // namespace lumo::win32
