// The mobile table's index: the rows of each employee (an edit is copied to
// them without a walk over the table) and the employees that hold each number
// (a number held by two employees is a conflict to mark). A fill indexes
// thousands of rows at once; an edit or a bind re-indexes a few.
//
// Employee ids and numbers are kept once each, as small integers, in one flat
// list of characters: indexing a row allocates nothing of its own, and the
// lists of rows and holders are chained through flat arrays.
#pragma once

#include <cstdint>
#include <vector>

#include "automation/text.h"

namespace lumo::mobile {

class MobileIndex {
 public:
  // Rows 1..rows, none indexed; everything indexed before is forgotten.
  void reset(int32_t rows);
  int32_t rows() const { return static_cast<int32_t>(rowEmp_.size()) - 1; }

  // Indexes a row under its employee id and its number, blanks trimmed ("" for
  // none), after taking it out of what it was indexed under. A number counts as
  // held only on a row with an employee. Rows outside 1..rows() are ignored.
  void set(int32_t row, ustring_view empId, ustring_view number);

  // What a row is indexed under ("" for none).
  ustring_view empId(int32_t row) const;
  ustring_view number(int32_t row) const;

  // The rows of an employee, in order (none for "").
  std::vector<int32_t> rowsOf(ustring_view empId) const;
  // The first row of every other employee that holds the row's number.
  std::vector<int32_t> otherHolders(int32_t row) const;
  // Every row of every employee that holds one of the numbers, once, in order.
  std::vector<int32_t> rowsHolding(const std::vector<ustring>& numbers) const;

 private:
  // Texts kept once each and known by a number 0, 1, ...: open addressing over
  // one list of characters.
  class Texts {
   public:
    void clear(std::size_t expected);
    int32_t find(ustring_view text) const;  // -1 when absent
    int32_t add(ustring_view text);         // the text's number, added when absent
    ustring_view text(int32_t id) const;
    std::size_t size() const { return starts_.size() - 1; }

   private:
    std::size_t slotOf(ustring_view text) const;  // the slot holding it, or the empty one it would take
    void grow();
    std::vector<char16_t> chars_;
    std::vector<uint32_t> starts_{0};  // text i is chars_[starts_[i], starts_[i + 1])
    std::vector<int32_t> slots_;       // text numbers; -1 empty; a power of two long
  };
  struct Holder {
    int32_t emp, rows, next;  // the employee, its rows with the number, the next holder (-1 none)
  };

  bool inRange(int32_t row) const { return row >= 1 && row <= rows(); }
  void take(int32_t row);
  void linkRow(int32_t row, int32_t emp);
  void unlinkRow(int32_t row, int32_t emp);
  void addHolder(int32_t number, int32_t emp);
  void removeHolder(int32_t number, int32_t emp);
  int32_t newHolder(int32_t emp, int32_t next);

  Texts emps_, numbers_;
  std::vector<int32_t> rowEmp_, rowNumber_;  // per row: -1 none
  std::vector<int32_t> nextRow_;             // per row: the employee's next row, -1 none
  std::vector<int32_t> firstRow_, lastRow_;  // per employee: -1 none
  std::vector<int32_t> firstHolder_;         // per number: -1 none
  std::vector<Holder> holders_;
  int32_t freeHolder_ = -1;
};

}  // namespace lumo::mobile
