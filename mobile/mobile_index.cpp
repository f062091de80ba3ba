#include "mobile/mobile_index.h"

#include <algorithm>

namespace lumo::mobile {

namespace {

ustring_view trimmed(ustring_view s) {
  const std::size_t a = leadingBlanks(s);
  if (a == s.size()) return {};
  return s.substr(a, s.size() - a - trailingBlanks(s));
}

std::size_t hashOf(ustring_view s) {
  uint64_t h = 1469598103934665603ull;
  for (char16_t c : s) h = (h ^ c) * 1099511628211ull;
  return static_cast<std::size_t>(h ^ (h >> 29));
}

}  // namespace

// ---- the texts ------------------------------------------------------------------------------

void MobileIndex::Texts::clear(std::size_t expected) {
  chars_.clear();
  starts_.assign(1, 0);
  starts_.reserve(expected + 1);
  std::size_t n = 16;
  while (n < expected * 2) n *= 2;
  slots_.assign(n, -1);
}

ustring_view MobileIndex::Texts::text(int32_t id) const {
  const auto i = static_cast<std::size_t>(id);
  return ustring_view(chars_.data() + starts_[i], starts_[i + 1] - starts_[i]);
}

std::size_t MobileIndex::Texts::slotOf(ustring_view s) const {
  const std::size_t mask = slots_.size() - 1;
  for (std::size_t at = hashOf(s) & mask;; at = (at + 1) & mask)
    if (slots_[at] < 0 || text(slots_[at]) == s) return at;
}

int32_t MobileIndex::Texts::find(ustring_view s) const {
  if (slots_.empty()) return -1;
  return slots_[slotOf(s)];
}

int32_t MobileIndex::Texts::add(ustring_view s) {
  if ((size() + 1) * 2 > slots_.size()) grow();
  const std::size_t at = slotOf(s);
  if (slots_[at] >= 0) return slots_[at];
  const auto id = static_cast<int32_t>(size());
  chars_.insert(chars_.end(), s.begin(), s.end());
  starts_.push_back(static_cast<uint32_t>(chars_.size()));
  slots_[at] = id;
  return id;
}

void MobileIndex::Texts::grow() {
  slots_.assign(std::max<std::size_t>(16, slots_.size() * 2), -1);
  const std::size_t mask = slots_.size() - 1;
  for (std::size_t id = 0; id < size(); ++id) {
    std::size_t at = hashOf(text(static_cast<int32_t>(id))) & mask;
    while (slots_[at] >= 0) at = (at + 1) & mask;
    slots_[at] = static_cast<int32_t>(id);
  }
}

// ---- rows -----------------------------------------------------------------------------------

void MobileIndex::reset(int32_t rows) {
  const auto n = static_cast<std::size_t>(std::max(0, rows)) + 1;
  emps_.clear(n);
  numbers_.clear(n);
  rowEmp_.assign(n, -1);
  rowNumber_.assign(n, -1);
  nextRow_.assign(n, -1);
  // As many employees and numbers as rows at most, until edits and binds add some.
  firstRow_.clear();
  firstRow_.reserve(n);
  lastRow_.clear();
  lastRow_.reserve(n);
  firstHolder_.clear();
  firstHolder_.reserve(n);
  holders_.clear();
  holders_.reserve(n);
  freeHolder_ = -1;
}

void MobileIndex::set(int32_t row, ustring_view empId, ustring_view number) {
  if (!inRange(row)) return;
  take(row);
  const auto r = static_cast<std::size_t>(row);
  if (!empId.empty()) {
    const int32_t emp = emps_.add(empId);
    if (static_cast<std::size_t>(emp) == firstRow_.size()) {
      firstRow_.push_back(-1);
      lastRow_.push_back(-1);
    }
    rowEmp_[r] = emp;
    linkRow(row, emp);
  }
  number = trimmed(number);
  if (!number.empty()) {
    const int32_t n = numbers_.add(number);
    if (static_cast<std::size_t>(n) == firstHolder_.size()) firstHolder_.push_back(-1);
    rowNumber_[r] = n;
    if (rowEmp_[r] >= 0) addHolder(n, rowEmp_[r]);
  }
}

void MobileIndex::take(int32_t row) {
  const auto r = static_cast<std::size_t>(row);
  if (rowEmp_[r] >= 0) {
    unlinkRow(row, rowEmp_[r]);
    if (rowNumber_[r] >= 0) removeHolder(rowNumber_[r], rowEmp_[r]);
  }
  rowEmp_[r] = -1;
  rowNumber_[r] = -1;
}

ustring_view MobileIndex::empId(int32_t row) const {
  if (!inRange(row)) return {};
  const int32_t emp = rowEmp_[static_cast<std::size_t>(row)];
  return emp < 0 ? ustring_view() : emps_.text(emp);
}

ustring_view MobileIndex::number(int32_t row) const {
  if (!inRange(row)) return {};
  const int32_t n = rowNumber_[static_cast<std::size_t>(row)];
  return n < 0 ? ustring_view() : numbers_.text(n);
}

// An employee's rows are chained in order: a fill appends at the end, a bind or
// an edit walks the employee's few rows.
void MobileIndex::linkRow(int32_t row, int32_t emp) {
  const auto e = static_cast<std::size_t>(emp);
  int32_t& last = lastRow_[e];
  if (last < 0 || last < row) {
    if (last < 0) firstRow_[e] = row;
    else nextRow_[static_cast<std::size_t>(last)] = row;
    nextRow_[static_cast<std::size_t>(row)] = -1;
    last = row;
    return;
  }
  int32_t* at = &firstRow_[e];
  while (*at >= 0 && *at < row) at = &nextRow_[static_cast<std::size_t>(*at)];
  nextRow_[static_cast<std::size_t>(row)] = *at;
  *at = row;
}

void MobileIndex::unlinkRow(int32_t row, int32_t emp) {
  const auto e = static_cast<std::size_t>(emp);
  int32_t before = -1;
  for (int32_t at = firstRow_[e]; at >= 0; before = at, at = nextRow_[static_cast<std::size_t>(at)]) {
    if (at != row) continue;
    const int32_t next = nextRow_[static_cast<std::size_t>(row)];
    if (before < 0) firstRow_[e] = next;
    else nextRow_[static_cast<std::size_t>(before)] = next;
    if (lastRow_[e] == row) lastRow_[e] = before;
    nextRow_[static_cast<std::size_t>(row)] = -1;
    return;
  }
}

std::vector<int32_t> MobileIndex::rowsOf(ustring_view empId) const {
  std::vector<int32_t> out;
  const int32_t emp = empId.empty() ? -1 : emps_.find(empId);
  if (emp < 0) return out;
  for (int32_t at = firstRow_[static_cast<std::size_t>(emp)]; at >= 0; at = nextRow_[static_cast<std::size_t>(at)])
    out.push_back(at);
  return out;
}

// ---- holders of a number ----------------------------------------------------------------------

int32_t MobileIndex::newHolder(int32_t emp, int32_t next) {
  if (freeHolder_ >= 0) {
    const int32_t h = freeHolder_;
    freeHolder_ = holders_[static_cast<std::size_t>(h)].next;
    holders_[static_cast<std::size_t>(h)] = Holder{emp, 1, next};
    return h;
  }
  holders_.push_back(Holder{emp, 1, next});
  return static_cast<int32_t>(holders_.size()) - 1;
}

void MobileIndex::addHolder(int32_t number, int32_t emp) {
  int32_t& first = firstHolder_[static_cast<std::size_t>(number)];
  for (int32_t h = first; h >= 0; h = holders_[static_cast<std::size_t>(h)].next) {
    if (holders_[static_cast<std::size_t>(h)].emp != emp) continue;
    ++holders_[static_cast<std::size_t>(h)].rows;
    return;
  }
  first = newHolder(emp, first);
}

void MobileIndex::removeHolder(int32_t number, int32_t emp) {
  int32_t* at = &firstHolder_[static_cast<std::size_t>(number)];
  while (*at >= 0) {
    Holder& h = holders_[static_cast<std::size_t>(*at)];
    if (h.emp == emp) {
      if (--h.rows > 0) return;
      const int32_t gone = *at;
      *at = h.next;
      h.next = freeHolder_;
      freeHolder_ = gone;
      return;
    }
    at = &h.next;
  }
}

std::vector<int32_t> MobileIndex::otherHolders(int32_t row) const {
  std::vector<int32_t> out;
  if (!inRange(row)) return out;
  const int32_t own = rowEmp_[static_cast<std::size_t>(row)], n = rowNumber_[static_cast<std::size_t>(row)];
  if (own < 0 || n < 0) return out;
  for (int32_t h = firstHolder_[static_cast<std::size_t>(n)]; h >= 0; h = holders_[static_cast<std::size_t>(h)].next) {
    const int32_t emp = holders_[static_cast<std::size_t>(h)].emp;
    if (emp != own) out.push_back(firstRow_[static_cast<std::size_t>(emp)]);
  }
  std::sort(out.begin(), out.end());
  return out;
}

std::vector<int32_t> MobileIndex::rowsHolding(const std::vector<ustring>& numbers) const {
  std::vector<int32_t> emps;
  for (const ustring& text : numbers) {
    const ustring_view t = trimmed(text);
    const int32_t n = t.empty() ? -1 : numbers_.find(t);
    if (n < 0) continue;
    for (int32_t h = firstHolder_[static_cast<std::size_t>(n)]; h >= 0; h = holders_[static_cast<std::size_t>(h)].next)
      emps.push_back(holders_[static_cast<std::size_t>(h)].emp);
  }
  std::sort(emps.begin(), emps.end());
  emps.erase(std::unique(emps.begin(), emps.end()), emps.end());
  std::vector<int32_t> out;
  for (int32_t emp : emps)
    for (int32_t at = firstRow_[static_cast<std::size_t>(emp)]; at >= 0; at = nextRow_[static_cast<std::size_t>(at)])
      out.push_back(at);
  std::sort(out.begin(), out.end());
  return out;
}

}  // namespace lumo::mobile
