#include "ui/list_table.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <string>

namespace lumo::ui {

int OrdinalCollation::compare(ustring_view a, ustring_view b) const { return a.compare(b); }

bool numberCellValue(ustring_view s, double& value) {
  std::size_t i = leadingBlanks(s);
  const std::size_t end = s.size() - std::min(s.size(), trailingBlanks(s));
  if (i >= end) return false;
  std::string digits;  // what from_chars reads: sign, digits, point
  digits.reserve(end - i);
  if (s[i] == u'+' || s[i] == u'-') {
    if (s[i] == u'-') digits.push_back('-');
    ++i;
  }
  auto isDigit = [](char16_t c) { return c >= u'0' && c <= u'9'; };
  std::size_t whole = 0, group = 0, fraction = 0;
  bool grouped = false, nonZero = false;
  for (; i < end; ++i) {
    const char16_t c = s[i];
    if (isDigit(c)) {
      digits.push_back(static_cast<char>(c));
      nonZero = nonZero || c != u'0';
      ++whole;
      ++group;
    } else if (c == u',') {
      // A separator stands after one to three digits, then between groups of three.
      if (group == 0 || group > 3 || (grouped && group != 3)) return false;
      grouped = true;
      group = 0;
    } else {
      break;
    }
  }
  if (grouped && group != 3) return false;
  if (i < end && s[i] == u'.') {
    digits.push_back('.');
    for (++i; i < end && isDigit(s[i]); ++i) {
      digits.push_back(static_cast<char>(s[i]));
      ++fraction;
    }
  }
  if (i != end || whole + fraction == 0) return false;
  const char* first = digits.data();
  const char* last = digits.data() + digits.size();
  const auto [ptr, ec] = std::from_chars(first, last, value);
  if (ec == std::errc::result_out_of_range) {
    // More digits than a double holds: beyond its range, or below its smallest step.
    const double size = nonZero ? std::numeric_limits<double>::infinity() : 0.0;
    value = digits.front() == '-' ? -size : size;
  } else if (ec != std::errc() || ptr != last) {
    return false;
  }
  return true;
}

std::vector<uint32_t> sortOrder(std::span<const ustring_view> cells, SortKind kind, bool descending,
                                const Collation& collation) {
  // What a cell is, worked out once per row rather than once per comparison, and
  // sorted together with its row's index: the comparisons read the keys where
  // they lie instead of going through the index.
  enum : uint8_t { Number, Text, Empty };
  struct Key {
    ustring_view cell;
    double value;
    uint32_t index;
    uint8_t kind;
  };
  std::vector<Key> keys(cells.size());
  for (std::size_t i = 0; i < cells.size(); ++i) {
    Key& k = keys[i];
    k.cell = cells[i];
    k.value = 0;
    k.index = static_cast<uint32_t>(i);
    if (cells[i].empty()) k.kind = Empty;
    else if (kind == SortKind::Number && numberCellValue(cells[i], k.value)) k.kind = Number;
    else k.kind = Text;
  }
  std::stable_sort(keys.begin(), keys.end(), [&](const Key& ka, const Key& kb) {
    if (ka.kind != kb.kind) {
      if (ka.kind == Empty || kb.kind == Empty) return kb.kind == Empty;
      return descending ? ka.kind > kb.kind : ka.kind < kb.kind;
    }
    switch (ka.kind) {
      case Number: return descending ? kb.value < ka.value : ka.value < kb.value;
      case Text: {
        const int c = collation.compare(ka.cell, kb.cell);
        return descending ? c > 0 : c < 0;
      }
      default: return false;
    }
  });
  std::vector<uint32_t> order(keys.size());
  for (std::size_t p = 0; p < keys.size(); ++p) order[p] = keys[p].index;
  return order;
}

int32_t findRow(const TableText& table, int32_t from, const FindRequest& request) {
  const ustring_view needle = request.text;
  if (needle.empty() || needle.find(u'\t') != ustring_view::npos) return 0;
  const int32_t last = table.rowCount() - 1;
  if (last < 1) return 0;
  // No cell holds a tab, and neither does the text: a match in the joined row
  // lies inside one cell.
  ustring scratch;
  auto holds = [&](int32_t row) {
    const ustring& cells = table.joinedCells(row, scratch);
    return (request.matchCase ? find(cells, needle) : findNoCase(cells, needle)) != ustring::npos;
  };
  const bool inside = from >= 1 && from <= last;
  int32_t row = request.down ? (inside ? from + 1 : 1) : (inside ? from - 1 : last);
  for (int32_t k = 0; k < last; ++k) {
    if (row > last) row = 1;
    if (row < 1) row = last;
    if (holds(row)) return row;
    row += request.down ? 1 : -1;
  }
  return 0;
}

namespace {

bool holdsLineBreak(ustring_view text) {
  for (char16_t c : text)
    if (c == u'\r' || c == u'\n') return true;
  return false;
}

// The length of a line whose cells holding a line break are quoted.
std::size_t quotedSize(ustring_view cells) {
  std::size_t size = 0;
  std::size_t start = 0;
  for (;;) {
    const std::size_t tab = cells.find(u'\t', start);
    const ustring_view cell = cells.substr(start, tab == ustring_view::npos ? ustring_view::npos : tab - start);
    size += cell.size();
    if (holdsLineBreak(cell)) size += 2 + static_cast<std::size_t>(std::count(cell.begin(), cell.end(), u'"'));
    if (tab == ustring_view::npos) return size;
    size += 1;
    start = tab + 1;
  }
}

char16_t* writeQuoted(char16_t* out, ustring_view cells) {
  std::size_t start = 0;
  for (;;) {
    const std::size_t tab = cells.find(u'\t', start);
    const ustring_view cell = cells.substr(start, tab == ustring_view::npos ? ustring_view::npos : tab - start);
    if (!holdsLineBreak(cell)) {
      out = std::copy(cell.begin(), cell.end(), out);
    } else {
      *out++ = u'"';
      for (char16_t c : cell) {
        if (c == u'"') *out++ = u'"';
        *out++ = c;
      }
      *out++ = u'"';
    }
    if (tab == ustring_view::npos) return out;
    *out++ = u'\t';
    start = tab + 1;
  }
}

}  // namespace

CopyText::CopyText(const TableText& table, std::span<const RowRange> rows) : table_(table) {
  const int32_t last = table.rowCount() - 1;
  for (const RowRange& r : rows) {
    const RowRange inside{std::max(r.first, 1), std::min(r.last, last)};
    if (inside.last >= inside.first) rows_.push_back(inside);
  }
  ustring scratch;
  auto measure = [&](int32_t row) {
    const ustring& cells = table_.joinedCells(row, scratch);
    const bool quoted = holdsLineBreak(cells);
    quoted_.push_back(quoted);
    size_ += (quoted ? quotedSize(cells) : cells.size()) + 2;
  };
  measure(0);
  for (const RowRange& r : rows_)
    for (int32_t row = r.first; row <= r.last; ++row) measure(row);
}

void CopyText::write(char16_t* out) const {
  ustring scratch;
  std::size_t line = 0;
  auto put = [&](int32_t row) {
    const ustring& cells = table_.joinedCells(row, scratch);
    out = quoted_[line++] ? writeQuoted(out, cells) : std::copy(cells.begin(), cells.end(), out);
    *out++ = u'\r';
    *out++ = u'\n';
  };
  put(0);
  for (const RowRange& r : rows_)
    for (int32_t row = r.first; row <= r.last; ++row) put(row);
}

ustring copyText(const TableText& table, std::span<const RowRange> rows) {
  const CopyText text(table, rows);
  ustring out(text.size(), u'\0');
  text.write(out.data());
  return out;
}

}  // namespace lumo::ui
