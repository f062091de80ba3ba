#include "devhost/components/sql_dialect.h"

#include <algorithm>
#include <initializer_list>

namespace lumo::devhost {

namespace {

bool isAsciiLetter(char16_t c) { return (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z'); }
bool isDigit(char16_t c) { return c >= u'0' && c <= u'9'; }
// Identifier characters as SQL Server reads them; anything beyond ASCII (a Chinese
// alias, for instance) counts as a letter.
bool isIdentStart(char16_t c) { return isAsciiLetter(c) || c == u'_' || c == u'#' || c == u'@' || c > 0x7F; }
bool isIdentChar(char16_t c) { return isIdentStart(c) || isDigit(c) || c == u'$'; }
bool isBlank(char16_t c) { return c == u' ' || c == u'\t' || c == u'\r' || c == u'\n'; }

bool isKeyword(ustring_view word) {
  static const std::initializer_list<const char16_t*> keywords = {
      u"And",    u"Or",     u"Not",    u"Is",     u"In",    u"Between", u"Like",   u"Escape", u"Order",
      u"Group",  u"By",     u"Having", u"Where",  u"From",  u"Union",   u"Except", u"Intersect",
      u"Inner",  u"Left",   u"Right",  u"Full",   u"Cross", u"Outer",   u"Join",   u"On",     u"Asc",
      u"Desc",   u"As",     u"Case",   u"When",   u"Then",  u"Else",    u"End",    u"Collate", u"Limit",
      u"Offset", u"Select", u"Set",    u"Values", u"Into"};
  return std::any_of(keywords.begin(), keywords.end(), [&](const char16_t* k) { return equalsNoCase(word, k); });
}

std::size_t skipBlanks(ustring_view s, std::size_t i) {
  while (i < s.size() && isBlank(s[i])) ++i;
  return i;
}

// End of a string literal that starts at i (the quote); '' stands for one quote.
std::size_t literalEnd(ustring_view s, std::size_t i) {
  std::size_t j = i + 1;
  while (j < s.size()) {
    if (s[j] == u'\'') {
      if (j + 1 < s.size() && s[j + 1] == u'\'') {
        j += 2;
        continue;
      }
      return j + 1;
    }
    ++j;
  }
  return s.size();
}

bool startsLiteral(ustring_view s, std::size_t i) {
  if (i >= s.size()) return false;
  if (s[i] == u'\'') return true;
  return (s[i] == u'N' || s[i] == u'n') && i + 1 < s.size() && s[i + 1] == u'\'' && (i == 0 || !isIdentChar(s[i - 1]));
}

std::size_t wordEnd(ustring_view s, std::size_t i) {
  while (i < s.size() && isIdentChar(s[i])) ++i;
  return i;
}

}  // namespace

ustring adaptSqlForSqlite(ustring_view s) {
  ustring out;
  out.reserve(s.size() + 16);
  bool lastWasLiteral = false;  // the previous token was a string literal
  int depth = 0;                // parentheses
  bool afterSelect = false;     // just after the outermost Select [Distinct|All]
  bool selectSeen = false;
  ustring limit;                // from Top n, appended at the end

  std::size_t i = 0;
  while (i < s.size()) {
    char16_t c = s[i];

    if (isBlank(c)) {
      out += c;
      ++i;
      continue;
    }
    // Comments are copied as they stand.
    if (c == u'-' && i + 1 < s.size() && s[i + 1] == u'-') {
      std::size_t e = s.find(u'\n', i);
      if (e == ustring_view::npos) e = s.size();
      out.append(s.substr(i, e - i));
      i = e;
      continue;
    }
    if (c == u'/' && i + 1 < s.size() && s[i + 1] == u'*') {
      std::size_t e = s.find(u"*/", i + 2);
      e = e == ustring_view::npos ? s.size() : e + 2;
      out.append(s.substr(i, e - i));
      i = e;
      continue;
    }
    if (startsLiteral(s, i)) {
      if (c != u'\'') ++i;  // N'...' is an ordinary literal to SQLite
      std::size_t e = literalEnd(s, i);
      out.append(s.substr(i, e - i));
      i = e;
      lastWasLiteral = true;
      afterSelect = false;
      continue;
    }
    if (c == u'"' || c == u'[') {
      char16_t close = c == u'"' ? u'"' : u']';
      std::size_t e = s.find(close, i + 1);
      e = e == ustring_view::npos ? s.size() : e + 1;
      out.append(s.substr(i, e - i));
      i = e;
      lastWasLiteral = false;
      afterSelect = false;
      continue;
    }
    if (c == u'+') {
      bool nextIsLiteral = startsLiteral(s, skipBlanks(s, i + 1));
      out += (lastWasLiteral || nextIsLiteral) ? u"||" : u"+";
      ++i;
      lastWasLiteral = false;
      afterSelect = false;
      continue;
    }
    if (isDigit(c) && (i == 0 || (!isIdentChar(s[i - 1]) && s[i - 1] != u'.'))) {
      std::size_t e = i;
      while (e < s.size() && isDigit(s[e])) ++e;
      if (e + 1 < s.size() && s[e] == u'.' && isDigit(s[e + 1])) {
        ++e;
        while (e < s.size() && isDigit(s[e])) ++e;
      }
      if (e + 1 < s.size() && (s[e] == u'e' || s[e] == u'E')) {
        std::size_t x = e + 1;
        if (x < s.size() && (s[x] == u'+' || s[x] == u'-')) ++x;
        if (x < s.size() && isDigit(s[x])) {
          e = x;
          while (e < s.size() && isDigit(s[e])) ++e;
        }
      }
      out.append(s.substr(i, e - i));
      if (e < s.size() && isAsciiLetter(s[e]) && isKeyword(s.substr(e, wordEnd(s, e) - e))) out += u' ';
      i = e;
      lastWasLiteral = false;
      afterSelect = false;
      continue;
    }
    if (isIdentStart(c)) {
      std::size_t e = wordEnd(s, i);
      ustring_view word = s.substr(i, e - i);
      std::size_t next = skipBlanks(s, e);
      bool call = next < s.size() && s[next] == u'(';
      lastWasLiteral = false;
      if (call && equalsNoCase(word, u"IsNull")) {
        out += u"IfNull";
      } else if (call && equalsNoCase(word, u"Len")) {
        out += u"Length";
      } else if (afterSelect && equalsNoCase(word, u"Top")) {
        // Top n or Top (n): dropped here, Limit n at the end.
        std::size_t p = next;
        bool paren = p < s.size() && s[p] == u'(';
        if (paren) p = skipBlanks(s, p + 1);
        std::size_t d = p;
        while (d < s.size() && isDigit(s[d])) ++d;
        std::size_t after = d;
        if (paren) {
          after = skipBlanks(s, d);
          after = after < s.size() && s[after] == u')' ? after + 1 : ustring_view::npos;
        }
        if (d > p && after != ustring_view::npos) {
          limit = ustring(s.substr(p, d - p));
          i = skipBlanks(s, after);
          afterSelect = false;
          continue;
        }
        out.append(word);
      } else {
        out.append(word);
      }
      if (depth == 0 && !selectSeen && equalsNoCase(word, u"Select")) {
        selectSeen = true;
        afterSelect = true;
      } else if (!(afterSelect && (equalsNoCase(word, u"Distinct") || equalsNoCase(word, u"All")))) {
        afterSelect = false;
      }
      i = e;
      continue;
    }
    if (c == u'(') ++depth;
    if (c == u')' && depth > 0) --depth;
    out += c;
    ++i;
    lastWasLiteral = false;
    afterSelect = false;
  }

  if (!limit.empty()) {
    // Before a closing semicolon and trailing blanks, if any.
    std::size_t end = out.size();
    while (end > 0 && (isBlank(out[end - 1]) || out[end - 1] == u';')) --end;
    out.insert(end, u" Limit " + limit);
  }
  return out;
}

}  // namespace lumo::devhost
