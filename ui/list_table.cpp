#include "ui/list_table.h"

#include "automation/prefetch.h"

#include <algorithm>
#include <array>
#include <cfloat>
#include <charconv>
#include <cstring>
#include <limits>
#include <new>
#include <string>
#include <utility>

namespace lumo::ui {

int OrdinalCollation::compare(ustring_view a, ustring_view b) const { return a.compare(b); }

bool OrdinalCollation::appendSortKey(ustring_view text, std::string& keys) const {
  for (char16_t unit : text) {
    keys.push_back(static_cast<char>(unit >> 8));
    keys.push_back(static_cast<char>(unit & 0xFF));
  }
  return true;
}

namespace {

// Where doubles are divided as doubles, a decimal of up to 15 digits is one
// division of two exact numbers, rounded once as a full reading would round it.
// x87 arithmetic (the 32-bit build) rounds to 64 bits and then again to 53 and
// may miss by a step: there the standard reading reads every number.
#if defined(FLT_EVAL_METHOD) && FLT_EVAL_METHOD == 0
constexpr bool kExactDivision = true;
#else
constexpr bool kExactDivision = false;
#endif

constexpr double kPowers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                              1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

// A number cell as read: its value and, for up to 15 digits, the exact decimal
// it is (value = digits / 10^fraction, with the sign).
struct NumberReading {
  double value = 0;
  bool exact = false;
  int64_t digits = 0;
  uint8_t fraction = 0;
};

// The value of a decimal of up to 15 digits: two numbers a double holds
// exactly, one division.
double decimalValue(uint64_t magnitude, bool negative, uint8_t fraction) {
  const double v = static_cast<double>(magnitude) / kPowers[fraction];
  return negative ? -v : v;
}

bool readNumberCell(ustring_view s, NumberReading& out) {
  std::size_t i = leadingBlanks(s);
  const std::size_t end = s.size() - std::min(s.size(), trailingBlanks(s));
  if (i >= end) return false;
  bool negative = false;
  if (s[i] == u'+' || s[i] == u'-') {
    negative = s[i] == u'-';
    ++i;
  }
  const std::size_t first = i;
  auto isDigit = [](char16_t c) { return c >= u'0' && c <= u'9'; };
  // The digits as one integer, from the first that is not zero, while they fit.
  uint64_t mantissa = 0;
  std::size_t significant = 0;
  auto take = [&](char16_t c) {
    if (significant == 0 && c == u'0') return;
    if (++significant <= 19) mantissa = mantissa * 10 + static_cast<uint64_t>(c - u'0');
  };
  std::size_t whole = 0, group = 0, fraction = 0;
  bool grouped = false;
  for (; i < end; ++i) {
    const char16_t c = s[i];
    if (isDigit(c)) {
      take(c);
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
  const bool wholeNonZero = significant > 0;
  if (i < end && s[i] == u'.') {
    for (++i; i < end && isDigit(s[i]); ++i) {
      take(s[i]);
      ++fraction;
    }
  }
  if (i != end || whole + fraction == 0) return false;

  if (kExactDivision && significant <= 15 && fraction <= 22) {
    out.exact = true;
    out.digits = negative ? -static_cast<int64_t>(mantissa) : static_cast<int64_t>(mantissa);
    out.fraction = static_cast<uint8_t>(fraction);
    out.value = decimalValue(mantissa, negative, out.fraction);
    return true;
  }
  out.exact = false;
  double& value = out.value;
  // Longer numbers: the standard reading of sign, digits and point.
  std::string plain;
  plain.reserve(end - first + 1);
  if (negative) plain.push_back('-');
  for (std::size_t k = first; k < end; ++k)
    if (s[k] != u',') plain.push_back(static_cast<char>(s[k]));
  const char* from = plain.data();
  const char* last = plain.data() + plain.size();
  const auto [ptr, ec] = std::from_chars(from, last, value);
  if (ec == std::errc::result_out_of_range) {
    // More digits than a double holds: beyond its range, or below its smallest step.
    const double size = wholeNonZero ? std::numeric_limits<double>::infinity() : 0.0;
    value = negative ? -size : size;
  } else if (ec != std::errc() || ptr != last) {
    return false;
  }
  return true;
}

}  // namespace

bool numberCellValue(ustring_view cell, double& value) {
  NumberReading reading;
  if (!readNumberCell(cell, reading)) return false;
  value = reading.value;
  return true;
}

namespace {

// The bits of a number as an unsigned integer that orders as the numbers do:
// negative numbers have every bit flipped, the others just their sign bit set.
uint64_t orderedBits(double value) {
  if (value == 0) value = 0;  // -0 and 0 are the same number
  uint64_t bits = 0;
  std::memcpy(&bits, &value, sizeof bits);
  return (bits >> 63) != 0 ? ~bits : bits | (uint64_t{1} << 63);
}

struct NumberKey {
  uint64_t bits;
  uint32_t index;
};

// The keys of a column of numbers. While every number is a decimal of up to 15
// digits whose places after the point differ by at most three, each key holds
// the number as a whole count of the smallest place (1.5 and 1.50 both 150
// hundredths): amounts of money sort on three or four bytes instead of the
// eight of a double. Any other number turns every key into its value's bits.
class NumberKeys {
 public:
  explicit NumberKeys(std::size_t room) { keys_.reserve(room); }
  void add(const NumberReading& n, uint32_t index) {
    if (decimals_ && n.exact) {
      keys_.push_back(NumberKey{static_cast<uint64_t>(n.digits), index});
      fractions_.push_back(n.fraction);
      least_ = std::min(least_, n.fraction);
      most_ = std::max(most_, n.fraction);
      if (most_ - least_ > 3) toValues();
      return;
    }
    if (decimals_) toValues();
    keys_.push_back(NumberKey{orderedBits(n.value), index});
  }
  // The keys in order: going down is going up on the flipped bits, so that
  // equal numbers still keep their order.
  std::vector<NumberKey>& sorted(bool descending) {
    if (decimals_) {
      constexpr int64_t kScale[] = {1, 10, 100, 1000};
      for (std::size_t i = 0; i < keys_.size(); ++i) {
        // Below 10^15 times 1000: no overflow.
        const int64_t whole = static_cast<int64_t>(keys_[i].bits) * kScale[most_ - fractions_[i]];
        keys_[i].bits = static_cast<uint64_t>(whole) ^ (uint64_t{1} << 63);
      }
    }
    if (descending)
      for (NumberKey& k : keys_) k.bits = ~k.bits;
    sortByBits(keys_);
    return keys_;
  }

 private:
  void toValues() {
    for (std::size_t i = 0; i < fractions_.size(); ++i) {
      const auto digits = static_cast<int64_t>(keys_[i].bits);
      const uint64_t magnitude = digits < 0 ? 0 - static_cast<uint64_t>(digits) : static_cast<uint64_t>(digits);
      keys_[i].bits = orderedBits(decimalValue(magnitude, digits < 0, fractions_[i]));
    }
    decimals_ = false;
    fractions_ = {};
  }
  static void sortByBits(std::vector<NumberKey>& keys);

  std::vector<NumberKey> keys_;
  std::vector<uint8_t> fractions_;  // of each key, while they are decimals
  bool decimals_ = true;
  uint8_t least_ = UINT8_MAX, most_ = 0;
};

// A stable sort of the keys on their bits, a byte at a time from the lowest
// (least significant digit first): a pass over the keys for each byte in which
// they differ, at most eight whatever their number, no comparison at all.
void NumberKeys::sortByBits(std::vector<NumberKey>& keys) {
  const std::size_t n = keys.size();
  if (n < 2) return;
  uint64_t differ = 0;
  for (const NumberKey& k : keys) differ |= k.bits ^ keys[0].bits;
  int bytes[8];
  int used = 0;
  for (int d = 0; d < 8; ++d)
    if (((differ >> (8 * d)) & 0xFF) != 0) bytes[used++] = d;
  std::array<std::array<uint32_t, 256>, 8> counts{};
  for (const NumberKey& k : keys)
    for (int u = 0; u < used; ++u) ++counts[u][(k.bits >> (8 * bytes[u])) & 0xFF];
  std::vector<NumberKey> moved(used > 0 ? n : 0);
  for (int u = 0; u < used; ++u) {
    std::array<uint32_t, 256>& at = counts[u];
    const int shift = 8 * bytes[u];
    uint32_t sum = 0;
    for (uint32_t& c : at) sum += std::exchange(c, sum);
    for (const NumberKey& k : keys) moved[at[(k.bits >> shift) & 0xFF]++] = k;
    keys.swap(moved);
  }
}

}  // namespace

namespace {

struct TextKey {
  ustring_view cell;
  uint32_t index;
};

// The first eight bytes of a key as one number, zeros after a shorter key: two
// keys whose numbers differ are in the order of their numbers.
uint64_t keyStart(std::string_view key) {
  uint64_t start = 0;
  for (std::size_t b = 0; b < 8; ++b)
    start = (start << 8) | (b < key.size() ? static_cast<unsigned char>(key[b]) : 0u);
  return start;
}

// More bytes of keys than this and a sort compares pairs instead: keys run to
// one and a half times their texts, and the 32-bit add-in shares its memory
// with the host.
constexpr std::size_t kMostKeyBytes = std::size_t{64} << 20;

// The texts' keys, one after the other, and where each ends; false (and
// nothing kept) when the collation has no key for one of them or they would
// take too much memory.
bool sortKeys(const std::vector<TextKey>& texts, const Collation& collation, std::string& keys,
              std::vector<std::size_t>& ends) {
  try {
    ends.reserve(texts.size());
    for (const TextKey& t : texts) {
      if (keys.size() > kMostKeyBytes || !collation.appendSortKey(t.cell, keys)) break;
      ends.push_back(keys.size());
    }
  } catch (const std::bad_alloc&) {
  }
  if (ends.size() == texts.size()) return true;
  std::string().swap(keys);
  std::vector<std::size_t>().swap(ends);
  return false;
}

// Stable, in the collation's order. Through sort keys where the collation has
// them for every text: each text is read once, where a comparison in pairs
// would read it some twenty times over a million rows.
void sortTexts(std::vector<TextKey>& texts, bool descending, const Collation& collation) {
  std::string keys;
  std::vector<std::size_t> ends;
  if (!sortKeys(texts, collation, keys, ends)) {
    std::stable_sort(texts.begin(), texts.end(), [&](const TextKey& a, const TextKey& b) {
      const int c = collation.compare(a.cell, b.cell);
      return descending ? c > 0 : c < 0;
    });
    return;
  }
  auto keyOf = [&](uint32_t k) {
    const std::size_t begin = k == 0 ? 0 : ends[k - 1];
    return std::string_view(keys.data() + begin, ends[k] - begin);
  };
  struct Keyed {
    uint64_t start;  // the key's first eight bytes
    uint32_t k;      // its text
  };
  std::vector<Keyed> keyed(texts.size());
  for (std::size_t k = 0; k < texts.size(); ++k) keyed[k] = Keyed{keyStart(keyOf(static_cast<uint32_t>(k))), static_cast<uint32_t>(k)};
  auto less = [&](const Keyed& a, const Keyed& b) {
    if (a.start != b.start) return a.start < b.start;
    const std::string_view x = keyOf(a.k), y = keyOf(b.k);
    return x < y;
  };
  if (descending) std::stable_sort(keyed.begin(), keyed.end(), [&](const Keyed& a, const Keyed& b) { return less(b, a); });
  else std::stable_sort(keyed.begin(), keyed.end(), less);
  std::vector<TextKey> sorted(texts.size());
  for (std::size_t k = 0; k < texts.size(); ++k) sorted[k] = texts[keyed[k].k];
  texts = std::move(sorted);
}

}  // namespace

std::vector<uint32_t> sortOrder(std::span<const ustring_view> cells, SortKind kind, bool descending,
                                const Collation& collation) {
  // Each cell is looked at once and goes to its group: numbers (in a Number
  // sort), texts, empty cells. The groups sort on their own and follow each
  // other: numbers before texts going up, texts before numbers going down,
  // empty cells last either way in the order they came.
  NumberKeys numbers(kind == SortKind::Number ? cells.size() : 0);
  std::vector<TextKey> texts;
  std::vector<uint32_t> empty;
  if (kind == SortKind::Text) texts.reserve(cells.size());
  for (std::size_t i = 0; i < cells.size(); ++i) {
    const auto index = static_cast<uint32_t>(i);
    NumberReading number;
    if (cells[i].empty()) {
      empty.push_back(index);
    } else if (kind == SortKind::Number && readNumberCell(cells[i], number)) {
      numbers.add(number, index);
    } else {
      texts.push_back(TextKey{cells[i], index});
    }
  }
  const std::vector<NumberKey>& sortedNumbers = numbers.sorted(descending);
  sortTexts(texts, descending, collation);

  std::vector<uint32_t> order;
  order.reserve(cells.size());
  auto putNumbers = [&] {
    for (const NumberKey& k : sortedNumbers) order.push_back(k.index);
  };
  auto putTexts = [&] {
    for (const TextKey& k : texts) order.push_back(k.index);
  };
  if (descending) {
    putTexts();
    putNumbers();
  } else {
    putNumbers();
    putTexts();
  }
  order.insert(order.end(), empty.begin(), empty.end());
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
    if (request.down) table.willRead(row + kReadAhead);
    if (holds(row)) return row;
    row += request.down ? 1 : -1;
  }
  return 0;
}

namespace {

bool holdsLineBreak(ustring_view text) { return holdsEither(text, u'\r', u'\n'); }

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

namespace {

// Fewer lines than this are not worth a thread.
constexpr std::size_t kLinesPerPart = 1u << 15;

}  // namespace

CopyText::CopyText(const TableText& table, std::span<const RowRange> rows, const Parallel& parallel)
    : parallel_(parallel) {
  // The ranges cut to the data rows, each with the line it starts at.
  struct Run {
    int32_t first, last;
    std::size_t line;
  };
  const int32_t last = table.rowCount() - 1;
  std::vector<Run> runs;
  lineCount_ = 1;
  for (const RowRange& r : rows) {
    const Run run{std::max(r.first, 1), std::min(r.last, last), lineCount_};
    if (run.first > run.last) continue;
    runs.push_back(run);
    lineCount_ += static_cast<std::size_t>(run.last - run.first) + 1;
  }
  // Left as they come (no walk over them here): each part fills its own lines.
  lines_.reset(new Line[lineCount_]);

  const std::size_t partCount = std::clamp<std::size_t>(lineCount_ / kLinesPerPart, 1, parallel.width());
  parts_.resize(partCount);
  for (std::size_t p = 0; p < partCount; ++p) {
    parts_[p].first = lineCount_ * p / partCount;
    parts_[p].end = lineCount_ * (p + 1) / partCount;
  }
  const int32_t columns = table.columnCount();
  auto measure = [](Line& line, const UnitScan& scan) {
    line.quoted = scan.either;
    return (line.quoted ? quotedSize(ustring_view(line.data, line.size)) : line.size) + 2;
  };
  parallel.run(partCount, [&](std::size_t p) {
    Part& part = parts_[p];
    // First where each line's text is, without reading it.
    std::size_t k = part.first;
    if (k == 0) lines_[k++] = Line{nullptr, 0, 0, false};  // the header, joined below
    auto run = std::upper_bound(runs.begin(), runs.end(), k, [](std::size_t line, const Run& r) { return line < r.line; });
    for (; k < part.end; ++run) {
      const Run& r = *(run - 1);
      for (int32_t row = r.first + static_cast<int32_t>(k - r.line); row <= r.last && k < part.end; ++row, ++k) {
        table.willLocate(row + kReadAhead);
        const ustring* stored = table.storedRow(row);
        lines_[k] = Line{stored ? stored->data() : nullptr, stored ? stored->size() : 0, row, false};
      }
    }
    // Then each text looked through once: its tabs say whether a stored row is
    // its joined cells (otherwise the table joins them below), a line break
    // that it is quoted.
    for (k = part.first; k < part.end; ++k) {
      if (k + kReadAhead < part.end) prefetchForRead(lines_[k + kReadAhead].data);
      Line& line = lines_[k];
      const UnitScan scan = scanUnits(ustring_view(line.data, line.size), u'\t', u'\r', u'\n');
      if (line.data && isJoinedRow(scan.count, columns)) part.size += measure(line, scan);
      else part.toJoin.push_back(k);
    }
  });
  ustring scratch;
  for (Part& part : parts_) {
    for (std::size_t k : part.toJoin) {
      Line& line = lines_[k];
      const ustring& cells = table.joinedCells(line.row, scratch);
      const ustring& kept = &cells == &scratch ? built_.emplace_back(std::move(scratch)) : cells;
      scratch.clear();
      line.data = kept.data();
      line.size = kept.size();
      part.size += measure(line, scanUnits(kept, u'\t', u'\r', u'\n'));
    }
    part.offset = size_;
    size_ += part.size;
  }
}

void CopyText::write(char16_t* out) const {
  parallel_.run(parts_.size(), [&](std::size_t p) {
    const Part& part = parts_[p];
    char16_t* o = out + part.offset;
    for (std::size_t k = part.first; k < part.end; ++k) {
      if (k + kReadAhead < part.end) prefetchForRead(lines_[k + kReadAhead].data);
      const Line& line = lines_[k];
      const ustring_view cells(line.data, line.size);
      o = line.quoted ? writeQuoted(o, cells) : std::copy(cells.begin(), cells.end(), o);
      *o++ = u'\r';
      *o++ = u'\n';
    }
  });
}

ustring copyText(const TableText& table, std::span<const RowRange> rows, const Parallel& parallel) {
  const CopyText text(table, rows, parallel);
  ustring out(text.size(), u'\0');
  text.write(out.data());
  return out;
}

}  // namespace lumo::ui
