// What the add-in's list views share beyond the system's control: the user's
// order of texts for sorting, and the head's sort arrow.
#pragma once

#include <windows.h>
#include <commctrl.h>

#include <climits>
#include <string>

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
  // The system's sort key, whose bytes order as CompareStringEx orders the texts
  // (its final zero byte left out). A text the system has no key for (too long
  // for it) sends the whole sort back to comparing pairs.
  bool appendSortKey(ustring_view text, std::string& keys) const override {
    if (text.empty() || text.size() > static_cast<std::size_t>(INT_MAX)) return false;
    const auto* source = reinterpret_cast<const wchar_t*>(text.data());
    const int length = static_cast<int>(text.size());
    BYTE first[256];
    int size = LCMapStringEx(LOCALE_NAME_USER_DEFAULT, LCMAP_SORTKEY, source, length, reinterpret_cast<LPWSTR>(first),
                             sizeof first, nullptr, nullptr, 0);
    if (size > 0) {
      keys.append(reinterpret_cast<const char*>(first), static_cast<std::size_t>(size - 1));
      return true;
    }
    size = LCMapStringEx(LOCALE_NAME_USER_DEFAULT, LCMAP_SORTKEY, source, length, nullptr, 0, nullptr, nullptr, 0);
    if (size <= 0) return false;
    std::string key(static_cast<std::size_t>(size), '\0');
    size = LCMapStringEx(LOCALE_NAME_USER_DEFAULT, LCMAP_SORTKEY, source, length, reinterpret_cast<LPWSTR>(key.data()),
                         size, nullptr, nullptr, 0);
    if (size <= 0) return false;
    keys.append(key.data(), static_cast<std::size_t>(size - 1));
    return true;
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
