#include "ui/number_text.h"

#include <algorithm>

namespace lumo::ui {

namespace {

constexpr uint16_t kUnmeasured = 0xFFFF;
constexpr int kWidest = 0xFFFE;  // widths are kept in 16 bits, the last value marking "not asked yet"
constexpr char16_t kReplacement = 0xFFFD;

bool isHigh(char16_t c) { return c >= 0xD800 && c <= 0xDBFF; }
bool isLow(char16_t c) { return c >= 0xDC00 && c <= 0xDFFF; }
bool isSurrogate(char16_t c) { return c >= 0xD800 && c <= 0xDFFF; }
// Where a number ends: the list's comma, or a line break that came in with pasted text.
bool endsNumber(char16_t c) { return c == u',' || c == u'\n' || c == u'\r'; }

}  // namespace

NumberText::NumberText(CharMeasurer& measurer) : measurer_(&measurer), widths_(0x10000, kUnmeasured) {}

// ---- measuring ----------------------------------------------------------------------------

int NumberText::measureUnit(char16_t c) {
  const int w = std::clamp(measurer_->advance(c), 0, kWidest);
  widths_[c] = static_cast<uint16_t>(w);
  return w;
}

int NumberText::unitWidth(char16_t c) {
  const uint16_t w = widths_[c];
  return w != kUnmeasured ? w : measureUnit(c);
}

// The width of the character at i (a surrogate pair counts as one; *len says how many
// units it took).
int NumberText::charWidth(std::size_t i, std::size_t end, std::size_t* len) {
  const char16_t c = text_[i];
  *len = 1;
  if (!isSurrogate(c)) return unitWidth(c);
  if (isHigh(c) && i + 1 < end && isLow(text_[i + 1])) {
    *len = 2;
    const char32_t cp = 0x10000u + ((static_cast<char32_t>(c) - 0xD800u) << 10) + (text_[i + 1] - 0xDC00u);
    const auto found = pairWidths_.find(cp);
    if (found != pairWidths_.end()) return found->second;
    const int w = std::clamp(measurer_->advance(cp), 0, kWidest);
    pairWidths_.emplace(cp, w);
    return w;
  }
  // A lone surrogate is shown as the replacement character.
  return unitWidth(kReplacement);
}

void NumberText::measurerChanged() {
  std::fill(widths_.begin(), widths_.end(), kUnmeasured);
  pairWidths_.clear();
  invalidateLayout();
}

// ---- layout -------------------------------------------------------------------------------

// One line from 'start': it ends at a line break, after the last comma before the
// first character that does not fit, or (no comma) before that character. Each line
// takes at least one character. Every character is read at most three times over a
// whole pass (the part of a line after its last comma is read again by the next
// line, which always holds it), so a pass costs the text's length.
NumberText::Break NumberText::breakLine(std::size_t start) {
  ++linesBroken_;
  const std::size_t n = text_.size();
  const char16_t* t = text_.data();
  const int wrap = wrap_;
  int x = 0;
  std::size_t lastComma = npos;
  for (std::size_t i = start; i < n;) {
    const char16_t c = t[i];
    if (c == u'\n') return {i + 1, i, false};
    if (c == u'\r' && i + 1 < n && t[i + 1] == u'\n') return {i + 2, i + 1, false};
    std::size_t len = 1;
    int w;
    if (!isSurrogate(c)) {
      w = widths_[c];
      if (w == kUnmeasured) w = measureUnit(c);
    } else {
      w = charWidth(i, n, &len);
    }
    // The character that does not fit was read with the one after it (a "\r\n" or a
    // surrogate pair is decided there): that one counts as read.
    if (x + w > wrap && i > start) return {lastComma != npos ? lastComma : i, i + 1, false};
    x += w;
    i += len;
    if (c == u',') lastComma = i;
  }
  return {n, n, true};
}

void NumberText::layoutAll() {
  starts_.clear();
  reach_.clear();
  std::size_t s = 0;
  for (;;) {
    const Break b = breakLine(s);
    starts_.push_back(s);
    reach_.push_back(b.reach);
    if (b.last) break;
    s = b.next;
  }
}

// After [from, oldTo) of the text was replaced by what now lies in [from, newTo).
// A line whose decision read nothing at or past 'from' is unchanged, and so is the
// start of the line after it. The decisions read ever further (the reach never
// decreases), so the first line to redo is found by a binary search; the redone
// lines rejoin the old ones once a new line starts past the change where an old
// one started: from there the text, and so the layout, is the old one shifted.
void NumberText::relayout(std::size_t from, std::size_t oldTo, std::size_t newTo) {
  std::size_t m = static_cast<std::size_t>(std::lower_bound(reach_.begin(), reach_.end(), from) - reach_.begin());
  if (m >= starts_.size()) m = starts_.size() - 1;
  const std::size_t delta = newTo - oldTo;  // modulo 2^N: adding it shifts either way
  std::vector<std::size_t> newStarts, newReach;
  std::size_t keepFrom = starts_.size();
  std::size_t k = m + 1;
  std::size_t s = starts_[m];
  for (;;) {
    const Break b = breakLine(s);
    newStarts.push_back(s);
    newReach.push_back(b.reach);
    if (b.last) break;
    s = b.next;
    if (s >= newTo) {
      const std::size_t old = s - delta;
      while (k < starts_.size() && starts_[k] < old) ++k;
      if (k < starts_.size() && starts_[k] == old) {
        keepFrom = k;
        break;
      }
    }
  }
  const auto at = [](std::vector<std::size_t>& v, std::size_t i) { return v.begin() + static_cast<std::ptrdiff_t>(i); };
  starts_.erase(at(starts_, m), at(starts_, keepFrom));
  reach_.erase(at(reach_, m), at(reach_, keepFrom));
  for (std::size_t i = m; i < starts_.size(); ++i) {
    starts_[i] += delta;
    reach_[i] += delta;
  }
  starts_.insert(at(starts_, m), newStarts.begin(), newStarts.end());
  reach_.insert(at(reach_, m), newReach.begin(), newReach.end());
}

// The layout is redone when next needed (a paint or a question about lines): a new
// text, measurer and width arriving together cost one pass.
void NumberText::invalidateLayout() {
  if (layoutValid_ && top_ < starts_.size()) topChar_ = starts_[top_];
  layoutValid_ = false;
}

void NumberText::ensureLayout() {
  if (layoutValid_) return;
  layoutValid_ = true;
  layoutAll();
  top_ = std::min(lineOf(std::min(topChar_, text_.size())), maxTop());
  if (laidOutListener_) laidOutListener_();
}

bool NumberText::setWrapWidth(int width) {
  width = std::max(1, width);
  if (width == wrap_) return false;
  wrap_ = width;
  invalidateLayout();
  return true;
}

void NumberText::setPageLines(std::size_t lines) {
  page_ = std::max<std::size_t>(1, lines);
  if (layoutValid_) top_ = std::min(top_, maxTop());
}

// ---- lines --------------------------------------------------------------------------------

std::size_t NumberText::lineCount() {
  ensureLayout();
  return starts_.size();
}

std::size_t NumberText::lineOf(std::size_t pos) {
  ensureLayout();
  return static_cast<std::size_t>(std::upper_bound(starts_.begin(), starts_.end(), pos) - starts_.begin()) - 1;
}

std::size_t NumberText::lineStart(std::size_t line) {
  ensureLayout();
  return line < starts_.size() ? starts_[line] : npos;
}

bool NumberText::softStart(std::size_t line) const {
  return line > 0 && line < starts_.size() && text_[starts_[line] - 1] != u'\n';
}

std::size_t NumberText::lineEnd(std::size_t line) {
  ensureLayout();
  if (line + 1 >= starts_.size()) return text_.size();
  std::size_t e = starts_[line + 1];
  if (text_[e - 1] == u'\n') {
    --e;
    if (e > starts_[line] && text_[e - 1] == u'\r') --e;
  }
  return e;
}

std::size_t NumberText::caretLine() {
  const std::size_t line = lineOf(caret_);
  if (afterWrap_ && line > 0 && caret_ == starts_[line] && softStart(line)) return line - 1;
  return line;
}

std::size_t NumberText::currentLine() { return hasSelection() ? lineOf(selStart()) : caretLine(); }

int NumberText::xOf(std::size_t line, std::size_t pos) {
  const std::size_t end = std::min(pos, lineEnd(line));
  int x = 0;
  for (std::size_t i = starts_[line]; i < end;) {
    std::size_t len;
    x += charWidth(i, end, &len);
    i += len;
  }
  return x;
}

NumberText::Spot NumberText::spotOf(std::size_t pos) {
  pos = std::min(pos, text_.size());
  const std::size_t line = lineOf(pos);
  return {line, xOf(line, pos)};
}

NumberText::Spot NumberText::caretSpot() {
  const std::size_t line = caretLine();
  return {line, xOf(line, caret_)};
}

NumberText::Hit NumberText::posAtX(std::size_t line, int x) {
  const std::size_t end = lineEnd(line);
  int left = 0;
  for (std::size_t i = starts_[line]; i < end;) {
    std::size_t len;
    const int w = charWidth(i, end, &len);
    if (x < left + (w + 1) / 2) return {i, false};
    left += w;
    i += len;
  }
  // The end of a wrapped line is the next line's start: the caret stays up here.
  return {end, line + 1 < starts_.size() && end == starts_[line + 1]};
}

NumberText::Hit NumberText::hit(long long line, int x) {
  const auto last = static_cast<long long>(lineCount()) - 1;
  return posAtX(static_cast<std::size_t>(std::clamp(line, 0LL, last)), x);
}

void NumberText::glyphs(std::size_t line, LineGlyphs& out) {
  const std::size_t start = lineStart(line), end = lineEnd(line);
  const std::size_t n = end - start;
  out.start = start;
  out.units.resize(n);
  out.advances.resize(n);
  // The advances are drawn as given, so the characters stand exactly where the
  // layout, the caret and the mouse put them.
  for (std::size_t i = start; i < end;) {
    std::size_t len;
    const int w = charWidth(i, end, &len);
    const std::size_t k = i - start;
    if (len == 2) {
      out.units[k] = text_[i];
      out.units[k + 1] = text_[i + 1];
      out.advances[k] = w;
      out.advances[k + 1] = 0;
    } else {
      out.units[k] = isSurrogate(text_[i]) ? kReplacement : text_[i];
      out.advances[k] = w;
    }
    i += len;
  }
  out.selFrom = std::clamp(selStart(), start, end) - start;
  out.selTo = std::clamp(selEnd(), start, end) - start;
}

// ---- the view -----------------------------------------------------------------------------

std::size_t NumberText::top() {
  ensureLayout();
  return top_;
}

std::size_t NumberText::maxTop() {
  const std::size_t n = lineCount();
  return n > page_ ? n - page_ : 0;
}

bool NumberText::scrollTo(std::size_t top) {
  top = std::min(top, maxTop());
  if (top == top_) return false;
  top_ = top;
  return true;
}

bool NumberText::scrollBy(long long lines) {
  const long long target = static_cast<long long>(this->top()) + lines;
  return scrollTo(target < 0 ? 0 : static_cast<std::size_t>(target));
}

void NumberText::scrollCaretIntoView() {
  const std::size_t line = caretLine();
  if (line < top_) scrollTo(line);
  else if (line >= top_ + page_) scrollTo(line - page_ + 1);
}

// ---- the selection ------------------------------------------------------------------------

void NumberText::select(std::size_t anchor, std::size_t caret) {
  anchor_ = std::min(anchor, text_.size());
  caret_ = std::min(caret, text_.size());
  afterWrap_ = false;
  desiredX_ = -1;
  endRun();
}

void NumberText::moveCaret(std::size_t pos, bool extend, bool afterWrap) {
  caret_ = std::min(pos, text_.size());
  if (!extend) anchor_ = caret_;
  afterWrap_ = afterWrap;
  desiredX_ = -1;
  endRun();
  scrollCaretIntoView();
}

void NumberText::dragCaret(Hit to) {
  caret_ = std::min(to.pos, text_.size());
  afterWrap_ = to.afterWrap;
  desiredX_ = -1;
  endRun();
}

void NumberText::selectNumberAt(std::size_t pos) {
  std::size_t s = std::min(pos, text_.size()), e = s;
  while (s > 0 && !endsNumber(text_[s - 1])) --s;
  while (e < text_.size() && !endsNumber(text_[e])) ++e;
  select(s, e);
  scrollCaretIntoView();
}

void NumberText::moveLeft(bool extend, bool byNumber) {
  if (byNumber) moveCaret(numberStartBefore(caret_), extend);
  else if (!extend && hasSelection()) moveCaret(selStart(), false);
  else moveCaret(prevPos(caret_), extend);
}

void NumberText::moveRight(bool extend, bool byNumber) {
  if (byNumber) moveCaret(numberStartAfter(caret_), extend);
  else if (!extend && hasSelection()) moveCaret(selEnd(), false);
  else moveCaret(nextPos(caret_), extend);
}

void NumberText::moveToLineStart(bool extend) { moveCaret(lineStart(caretLine()), extend); }

void NumberText::moveToLineEnd(bool extend) {
  const std::size_t line = caretLine();
  const std::size_t end = lineEnd(line);
  moveCaret(end, extend, line + 1 < starts_.size() && end == starts_[line + 1]);
}

void NumberText::moveLines(long long lines, bool extend) {
  const std::size_t line = caretLine();
  const int x = desiredX_ >= 0 ? desiredX_ : xOf(line, caret_);
  const auto last = static_cast<long long>(starts_.size()) - 1;
  const Hit h = posAtX(static_cast<std::size_t>(std::clamp(static_cast<long long>(line) + lines, 0LL, last)), x);
  moveCaret(h.pos, extend, h.afterWrap);
  desiredX_ = x;
}

void NumberText::movePages(long long pages, bool extend) {
  const long long lines = pages * static_cast<long long>(page_);
  const int x = desiredX_ >= 0 ? desiredX_ : xOf(caretLine(), caret_);
  scrollBy(lines);
  desiredX_ = x;
  moveLines(lines, extend);
}

// One character back or forward: a surrogate pair and "\r\n" are one.
std::size_t NumberText::prevPos(std::size_t p) const {
  if (p == 0) return 0;
  std::size_t q = p - 1;
  if (q > 0 && ((isLow(text_[q]) && isHigh(text_[q - 1])) || (text_[q] == u'\n' && text_[q - 1] == u'\r'))) --q;
  return q;
}

std::size_t NumberText::nextPos(std::size_t p) const {
  const std::size_t n = text_.size();
  if (p >= n) return n;
  std::size_t q = p + 1;
  if (q < n && ((isHigh(text_[p]) && isLow(text_[q])) || (text_[p] == u'\r' && text_[q] == u'\n'))) ++q;
  return q;
}

// The numbers start at the text's start and after each comma or line break.
std::size_t NumberText::numberStartBefore(std::size_t p) const {
  if (p == 0) return 0;
  std::size_t q = p - 1;
  while (q > 0 && text_[q - 1] != u',' && text_[q - 1] != u'\n') --q;
  return q;
}

std::size_t NumberText::numberStartAfter(std::size_t p) const {
  const std::size_t n = text_.size();
  if (p >= n) return n;
  std::size_t q = p + 1;
  while (q < n && text_[q - 1] != u',' && text_[q - 1] != u'\n') ++q;
  return q;
}

// ---- editing ------------------------------------------------------------------------------

void NumberText::setText(ustring text) {
  text_ = std::move(text);
  anchor_ = caret_ = 0;
  afterWrap_ = false;
  desiredX_ = -1;
  emptyUndo();
  modified_ = false;
  topChar_ = 0;
  top_ = 0;
  layoutValid_ = false;
}

void NumberText::setLimit(std::size_t limit) { limit_ = limit == 0 ? kNoLimit : std::min(limit, kNoLimit); }

// One level of undo: a typing run or a run of deletions with one key grows the last
// record; anything else starts a new one.
void NumberText::record(std::size_t from, std::size_t to, std::size_t inserted, Undo kind) {
  if (kind == Undo::None) {
    emptyUndo();
  } else if (kind == Undo::Typing && canUndo_ && undoRun_ == Undo::Typing && from == to &&
             from == undoPos_ + undoInserted_) {
    undoInserted_ += inserted;
  } else if (kind == Undo::DeleteBack && canUndo_ && undoRun_ == Undo::DeleteBack && inserted == 0 &&
             undoInserted_ == 0 && to == undoPos_) {
    undoRemoved_.insert(0, text_, from, to - from);
    undoPos_ = from;
  } else if (kind == Undo::DeleteForward && canUndo_ && undoRun_ == Undo::DeleteForward && inserted == 0 &&
             undoInserted_ == 0 && from == undoPos_) {
    undoRemoved_.append(text_, from, to - from);
  } else {
    canUndo_ = true;
    undoPos_ = from;
    undoInserted_ = inserted;
    undoRemoved_.assign(text_, from, to - from);
    undoRun_ = kind;
  }
}

// Replaces [from, to) by 'with' and puts the caret after it, in view.
NumberText::EditResult NumberText::replace(std::size_t from, std::size_t to, ustring_view with, Undo kind,
                                           bool honourLimit) {
  EditResult result;
  from = std::min(from, text_.size());
  to = std::clamp(to, from, text_.size());
  if (honourLimit) {
    const std::size_t kept = text_.size() - (to - from);
    const std::size_t room = limit_ > kept ? limit_ - kept : 0;
    if (with.size() > room) {
      with = with.substr(0, room);
      result.limitHit = true;
    }
  }
  if (with.empty() && (result.limitHit || from == to)) return result;

  record(from, to, with.size(), kind);
  text_.replace(from, to - from, with);
  if (layoutValid_) relayout(from, to, from + with.size());
  caret_ = anchor_ = from + with.size();
  afterWrap_ = false;
  desiredX_ = -1;
  modified_ = true;
  if (layoutValid_) top_ = std::min(top_, maxTop());
  scrollCaretIntoView();
  result.changed = true;
  return result;
}

NumberText::EditResult NumberText::type(char16_t c) {
  if (readOnly_ || c < 0x20 || c == 0x7F) return {};
  const char16_t one[1] = {c};
  return replace(selStart(), selEnd(), ustring_view(one, 1), Undo::Typing, true);
}

NumberText::EditResult NumberText::backspace() {
  if (readOnly_) return {};
  if (hasSelection()) return replace(selStart(), selEnd(), {}, Undo::Replace, false);
  return replace(prevPos(caret_), caret_, {}, Undo::DeleteBack, false);
}

NumberText::EditResult NumberText::deleteNumberBack() {
  if (readOnly_) return {};
  if (hasSelection()) return replace(selStart(), selEnd(), {}, Undo::Replace, false);
  return replace(numberStartBefore(caret_), caret_, {}, Undo::Replace, false);
}

NumberText::EditResult NumberText::deleteForward() {
  if (readOnly_) return {};
  if (hasSelection()) return replace(selStart(), selEnd(), {}, Undo::Replace, false);
  return replace(caret_, nextPos(caret_), {}, Undo::DeleteForward, false);
}

NumberText::EditResult NumberText::deleteSelection() {
  if (!canCutOrDelete()) return {};
  return replace(selStart(), selEnd(), {}, Undo::Replace, false);
}

NumberText::EditResult NumberText::paste(ustring_view text) {
  if (readOnly_ || text.empty()) return {};
  return replace(selStart(), selEnd(), text, Undo::Replace, true);
}

NumberText::EditResult NumberText::replaceSelection(ustring_view with, bool undoable) {
  return replace(selStart(), selEnd(), with, undoable ? Undo::Replace : Undo::None, true);
}

NumberText::EditResult NumberText::undo() {
  if (!canUndo()) return {};
  const std::size_t pos = std::min(undoPos_, text_.size());
  const std::size_t end = std::min(pos + undoInserted_, text_.size());
  ustring restore = std::move(undoRemoved_);
  ustring current = text_.substr(pos, end - pos);
  replace(pos, end, restore, Undo::Replace, false);
  // Undoing again puts back what this undid; the restored text is selected.
  canUndo_ = true;
  undoPos_ = pos;
  undoInserted_ = restore.size();
  undoRemoved_ = std::move(current);
  undoRun_ = Undo::None;
  anchor_ = pos;
  caret_ = pos + restore.size();
  EditResult result;
  result.changed = true;
  return result;
}

void NumberText::emptyUndo() {
  canUndo_ = false;
  undoRemoved_.clear();
  undoRun_ = Undo::None;
}

}  // namespace lumo::ui
