// The receiver list's text as the number box edits and shows it, without a window:
// the text, its lines, the selection, the view's first line, one level of undo and
// the limit. The box draws what this says and turns the user's keys and clicks into
// its calls; every rule of editing and layout lives here.
//
// Lists of mobile numbers run to a million characters, so the layout is linear: one
// pass over the text puts the line starts in a vector, and an edit lays out again
// only from the line it touched until the new lines meet the old ones again.
//
// Lines wrap at the wrap width after a comma; a run without commas that does not fit
// breaks before the first character that does not fit, and every line takes at least
// one character. "\r\n" or "\n" ends a line. Widths are whole units of whatever the
// view draws in (pixels for a window), asked once per character of the measurer,
// which the owner swaps by saying measurerChanged().
//
// Positions are UTF-16 units from 0 to size(). A surrogate pair is one character to
// the caret, to Backspace and Delete, and to the layout (a lone half shows, and is
// measured, as U+FFFD); "\r\n" is one character to the caret as well.
//
// The view's height comes in lines (setPageLines): the model keeps the first line
// shown, scrolls it to keep the caret in view and keeps the first character shown
// when the lines are laid out afresh.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <unordered_map>
#include <vector>

#include "automation/text.h"

namespace lumo::ui {

// The advance of one character, in the unit the view draws in.
class CharMeasurer {
 public:
  virtual ~CharMeasurer() = default;
  // 'c' is a code point: a unit of the basic plane that is not a surrogate, or the
  // character of a surrogate pair.
  virtual int advance(char32_t c) = 0;
};

class NumberText {
 public:
  static constexpr std::size_t npos = static_cast<std::size_t>(-1);
  // What a box takes when no limit is set (as a multi-line edit box's).
  static constexpr std::size_t kNoLimit = 0x7FFFFFFE;

  // A position found from a point. afterWrap: the end of a wrapped line, which is the
  // same text position as the start of the next line but shows the caret up here.
  struct Hit {
    std::size_t pos;
    bool afterWrap;
  };
  // Where a position shows: its line and its distance from the line's left edge.
  struct Spot {
    std::size_t line;
    int x;
  };
  // What an edit did, for the view's notifications: the text changed, and the limit
  // cut the text put in (or refused all of it, when nothing changed).
  struct EditResult {
    bool changed = false;
    bool limitHit = false;
  };
  // A line as drawn: the units to output (a lone surrogate replaced) and the advance
  // of each (a pair's is on its first unit, 0 on its second), and the selected part
  // in units from the line's start (selFrom == selTo: none).
  struct LineGlyphs {
    std::size_t start = 0;
    std::vector<char16_t> units;
    std::vector<int> advances;
    std::size_t selFrom = 0;
    std::size_t selTo = 0;
  };

  explicit NumberText(CharMeasurer& measurer);
  NumberText(const NumberText&) = delete;
  NumberText& operator=(const NumberText&) = delete;

  // ---- the text
  const ustring& text() const { return text_; }
  std::size_t size() const { return text_.size(); }
  // A new text: not undoable, not modified, the caret at its start, shown from the top.
  void setText(ustring text);

  // ---- what the view gives
  // The width lines wrap at (at least 1). True when it changed (the lines are laid
  // out again when next asked for).
  bool setWrapWidth(int width);
  int wrapWidth() const { return wrap_; }
  // How many whole lines the view shows (at least 1).
  void setPageLines(std::size_t lines);
  std::size_t pageLines() const { return page_; }
  // The measurer now answers differently (another font): widths are asked again.
  void measurerChanged();
  // Called after the lines were laid out afresh, which the first question about lines
  // after a new text, width or measurer does: the view's scroll bar and caret follow.
  void setLayoutListener(std::function<void()> listener) { laidOutListener_ = std::move(listener); }
  // Whether the lines are laid out (questions about lines do it when not).
  bool laidOut() const { return layoutValid_; }

  // ---- lines
  std::size_t lineCount();
  // The line that holds 'pos' (a position at a wrap is the next line's start).
  std::size_t lineOf(std::size_t pos);
  // npos for a line past the last.
  std::size_t lineStart(std::size_t line);
  // Past the last character shown on the line (its line break excluded).
  std::size_t lineEnd(std::size_t line);
  std::size_t lineLength(std::size_t line) { return lineEnd(line) - lineStart(line); }
  // The caret's line (the line before when the caret shows at the end of a wrap).
  std::size_t caretLine();
  // The selection's first line, or the caret's without a selection.
  std::size_t currentLine();
  // Distance of 'pos' from the start of 'line' (positions past its end count as its end).
  int xOf(std::size_t line, std::size_t pos);
  Spot spotOf(std::size_t pos);
  Spot caretSpot();
  // The position nearest to 'x' on 'line' (clamped to the lines there are): before a
  // character when 'x' is in its left half.
  Hit hit(long long line, int x);
  void glyphs(std::size_t line, LineGlyphs& out);
  // Lines broken since this model was made: the work the layout has done.
  std::size_t linesBroken() const { return linesBroken_; }

  // ---- the view
  std::size_t top();
  std::size_t maxTop();
  // True when the first line shown moved.
  bool scrollTo(std::size_t top);
  bool scrollBy(long long lines);
  void scrollCaretIntoView();

  // ---- the selection
  std::size_t anchor() const { return anchor_; }
  std::size_t caret() const { return caret_; }
  bool caretAfterWrap() const { return afterWrap_; }
  std::size_t selStart() const { return anchor_ < caret_ ? anchor_ : caret_; }
  std::size_t selEnd() const { return anchor_ < caret_ ? caret_ : anchor_; }
  bool hasSelection() const { return anchor_ != caret_; }
  ustring_view selectedText() const { return ustring_view(text_).substr(selStart(), selEnd() - selStart()); }
  // Positions past the end are the end; the view does not scroll.
  void select(std::size_t anchor, std::size_t caret);
  void selectAll() { select(0, text_.size()); }
  // The caret to 'pos' (and the anchor with it unless 'extend'), scrolled into view.
  void moveCaret(std::size_t pos, bool extend, bool afterWrap = false);
  // The caret (only) to where the mouse is dragged; the view does not scroll.
  void dragCaret(Hit to);
  // The number around 'pos', up to the commas or line breaks on either side.
  void selectNumberAt(std::size_t pos);
  // Left and Right: one character, or (byNumber) to the start of a number; without
  // 'extend' a selection collapses to its side first.
  void moveLeft(bool extend, bool byNumber);
  void moveRight(bool extend, bool byNumber);
  void moveToLineStart(bool extend);
  void moveToLineEnd(bool extend);
  void moveToTextStart(bool extend) { moveCaret(0, extend); }
  void moveToTextEnd(bool extend) { moveCaret(text_.size(), extend); }
  // Up and Down, keeping the column of the first of a run of them.
  void moveLines(long long lines, bool extend);
  // Page Up and Down: the view and the caret move by a page together.
  void movePages(long long pages, bool extend);

  // ---- editing
  bool readOnly() const { return readOnly_; }
  void setReadOnly(bool readOnly) { readOnly_ = readOnly; }
  std::size_t limit() const { return limit_; }
  // 0 lifts the limit.
  void setLimit(std::size_t limit);
  bool modified() const { return modified_; }
  void setModified(bool modified) { modified_ = modified; }

  // The user's edits, refused on a read-only text. A character typed replaces the
  // selection (control characters type nothing); a run of typing, of Backspace or of
  // Delete is undone whole.
  EditResult type(char16_t c);
  EditResult backspace();
  // Ctrl+Backspace: back to the start of the number.
  EditResult deleteNumberBack();
  EditResult deleteForward();
  EditResult deleteSelection();
  // Goes in as it is, up to the limit.
  EditResult paste(ustring_view text);
  // From the program: read-only or not, up to the limit; undoable or not.
  EditResult replaceSelection(ustring_view with, bool undoable);

  // Whether there is an edit to undo (read-only or not).
  bool undoable() const { return canUndo_; }
  // Puts back what the last edit replaced and selects it; undoing again redoes.
  EditResult undo();
  void emptyUndo();

  // What the context menu offers.
  bool canUndo() const { return canUndo_ && !readOnly_; }
  bool canCutOrDelete() const { return hasSelection() && !readOnly_; }
  bool canPaste() const { return !readOnly_; }
  bool canSelectAll() const { return !(selStart() == 0 && selEnd() >= text_.size()); }

 private:
  // How an edit enters the undo record.
  enum class Undo { None, Replace, Typing, DeleteBack, DeleteForward };
  struct Break {
    std::size_t next;   // where the following line starts
    std::size_t reach;  // the last index read to decide (the text's length when it ran out)
    bool last;          // the text ended on this line
  };

  int measureUnit(char16_t c);
  int unitWidth(char16_t c);
  int charWidth(std::size_t i, std::size_t end, std::size_t* len);

  Break breakLine(std::size_t start);
  void layoutAll();
  void relayout(std::size_t from, std::size_t oldTo, std::size_t newTo);
  void invalidateLayout();
  void ensureLayout();
  bool softStart(std::size_t line) const;
  Hit posAtX(std::size_t line, int x);

  EditResult replace(std::size_t from, std::size_t to, ustring_view with, Undo record, bool honourLimit);
  void record(std::size_t from, std::size_t to, std::size_t inserted, Undo kind);
  void endRun() { undoRun_ = Undo::None; }
  std::size_t prevPos(std::size_t p) const;
  std::size_t nextPos(std::size_t p) const;
  std::size_t numberStartBefore(std::size_t p) const;
  std::size_t numberStartAfter(std::size_t p) const;

  CharMeasurer* measurer_;
  std::vector<uint16_t> widths_;
  std::unordered_map<char32_t, int> pairWidths_;

  ustring text_;
  std::size_t anchor_ = 0;
  std::size_t caret_ = 0;
  bool afterWrap_ = false;
  int desiredX_ = -1;  // the column kept by Up and Down
  bool modified_ = false;
  bool readOnly_ = false;
  std::size_t limit_ = kNoLimit;

  bool canUndo_ = false;
  std::size_t undoPos_ = 0;
  std::size_t undoInserted_ = 0;
  ustring undoRemoved_;
  Undo undoRun_ = Undo::None;

  int wrap_ = 1;
  std::size_t page_ = 1;
  std::vector<std::size_t> starts_{0};
  std::vector<std::size_t> reach_{0};
  bool layoutValid_ = false;
  std::size_t top_ = 0;
  std::size_t topChar_ = 0;  // the first character shown, kept while the lines are laid out again
  std::size_t linesBroken_ = 0;
  std::function<void()> laidOutListener_;
};

}  // namespace lumo::ui
