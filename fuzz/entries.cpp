#include "fuzz/entries.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <utility>
#include <vector>

#include "host/gateway.h"
#include "host/language.h"
#include "host/parse.h"
#include "host/session.h"
#include "host/tests/fake_platform.h"

namespace lumo::fuzz {

namespace {

std::string fail(const std::string& what, const ustring& detail = {}) {
  return what + (detail.empty() ? std::string() : ": \"" + toUtf8(detail) + "\"");
}

// The session-string grammar read a second way, by positions over the whole text
// instead of by cutting tokens off a remainder.
struct Entry {
  ustring key, value;
};

std::vector<Entry> referenceParse(const ustring& s) {
  std::vector<Entry> out;
  std::size_t pos = 0, end = s.size();
  for (;;) {
    // Key: up to the next "=" (or the end), trimmed.
    std::size_t eq = s.find(u'=', pos);
    if (eq >= end) eq = ustring::npos;
    const ustring key = trim(ustring_view(s).substr(pos, (eq == ustring::npos ? end : eq) - pos));
    pos = eq == ustring::npos ? end : eq + 1;
    // Value: the rest is trimmed at both ends, which also moves its end.
    std::size_t a = pos, b = end;
    while (a < b && s[a] == u' ') ++a;
    while (b > a && s[b - 1] == u' ') --b;
    ustring value;
    if (a < b && s[a] == u'{') {
      ++a;
      std::size_t close = s.find(u'}', a);
      if (close >= b) close = ustring::npos;
      value = s.substr(a, (close == ustring::npos ? b : close) - a);
      pos = close == ustring::npos ? b : close + 1;
      std::size_t semi = s.find(u';', pos);
      pos = (semi == ustring::npos || semi >= b) ? b : semi + 1;
    } else {
      std::size_t semi = s.find(u';', a);
      if (semi >= b) semi = ustring::npos;
      value = s.substr(a, (semi == ustring::npos ? b : semi) - a);
      pos = semi == ustring::npos ? b : semi + 1;
    }
    if (pos > b) pos = b;
    end = b;
    if (key.empty()) break;
    out.push_back({key, trim(value)});
  }
  return out;
}

// Placeholders read by splitting at every "%".
ustring referencePlaceholders(const ustring& format, const std::vector<ustring>& args) {
  std::vector<ustring> pieces = split(format, u"%");
  ustring out = pieces[0];
  for (std::size_t i = 1; i < pieces.size(); ++i) {
    const ustring& p = pieces[i];
    std::size_t d = 0;
    while (d < p.size() && p[d] >= u'0' && p[d] <= u'9') ++d;
    unsigned long long n = 0;
    if (d >= 1 && d <= 9) n = std::stoull(toUtf8(p.substr(0, d)));
    if (n >= 1 && n <= args.size()) out += args[n - 1] + p.substr(d);
    else out += u"%" + p;
  }
  return out;
}

// What the fake loader answers for a key in a language.
ustring fakeTranslation(const ustring& language, const ustring& key) { return language + u":" + key; }

}  // namespace

ustring decodeText(const uint8_t* data, std::size_t size) {
  if (size == 0) return {};
  const bool utf16 = (data[0] & 1) != 0;
  ++data;
  --size;
  if (!utf16) return fromUtf8(std::string_view(reinterpret_cast<const char*>(data), size));
  ustring out;
  for (std::size_t i = 0; i + 1 < size; i += 2) out.push_back(static_cast<char16_t>(data[i] | (data[i + 1] << 8)));
  return out;
}

std::string sessionStringEntry(const uint8_t* data, std::size_t size) {
  const ustring text = decodeText(data, size);
  const std::vector<Entry> expected = referenceParse(text);

  // The reference stops at the first duplicate key, as the table does.
  std::vector<Entry> kept;
  bool duplicate = false;
  for (const Entry& e : expected) {
    bool seen = false;
    for (const Entry& k : kept) seen = seen || equalsNoCase(k.key, e.key);
    if (seen) {
      duplicate = true;
      break;
    }
    kept.push_back(e);
  }

  Parse p;
  try {
    if (!p.parseString(text)) return "ParseString returned false";
    if (duplicate) return fail("duplicate key accepted", text);
  } catch (const Error& e) {
    if (e.number() != errnum::KeyAlreadyExists) return fail("ParseString raised " + std::to_string(e.number()), text);
    if (!duplicate) return fail("duplicate-key error without a duplicate", text);
  } catch (const std::exception& e) {
    return std::string("ParseString threw ") + e.what();
  }
  if (p.propsString() != text) return "PropsString differs from the parsed text";
  if (p.entryCount() != kept.size())
    return fail("entry count " + std::to_string(p.entryCount()) + " instead of " + std::to_string(kept.size()), text);

  for (const Entry& e : kept) {
    try {
      if (p.getProperty(e.key) != e.value) return fail("value of key differs", e.key);
      if (p.getProperty(toUpper(e.key)) != e.value) return fail("upper-case key differs", e.key);
    } catch (const std::exception&) {
      return fail("GetProperty of a parsed key raised", e.key);
    }
  }

  // Typed properties: their value or the missing-key error; UserID also the
  // conversion errors, and only a value inside the 16-bit range.
  auto find = [&](const ustring& key) -> const Entry* {
    for (const Entry& e : kept)
      if (equalsNoCase(e.key, key)) return &e;
    return nullptr;
  };
  const std::pair<const char16_t*, ustring (Parse::*)() const> typed[] = {
      {u"UserName", &Parse::userName},
      {u"DBMS Name", &Parse::conDbmsName},
      {u"DBMS Version", &Parse::conDbmsVersion},
      {u"ConnectString", &Parse::conStr}};
  for (const auto& [key, getter] : typed) {
    const Entry* e = find(key);
    try {
      const ustring v = (p.*getter)();
      if (!e || v != e->value) return fail("typed property differs", key);
    } catch (const Error& err) {
      if (e || err.number() != errnum::InvalidCall) return fail("typed property raised", key);
    }
  }
  const Entry* uid = find(u"UserID");
  try {
    const int16_t id = p.userId();
    double d = 0;
    if (!uid || !parseNumber(uid->value, d)) return "UserID converted text that is not a number";
    if (roundHalfEven(d) != id) return fail("UserID value differs", uid->value);
  } catch (const Error& err) {
    const int32_t n = err.number();
    if (!uid && n != errnum::InvalidCall) return "UserID without key raised the wrong error";
    if (uid && n != errnum::TypeMismatch && n != errnum::Overflow)
      return fail("UserID raised " + std::to_string(n), uid->value);
  }

  // Keys the text does not hold raise the missing-key error.
  try {
    ustring absent = u"\u0001absent";
    for (const Entry& e : kept) absent += e.key;
    p.getProperty(absent);
    if (!find(absent)) return "an absent key was found";
  } catch (const Error& err) {
    if (err.number() != errnum::InvalidCall) return "absent key raised the wrong error";
  }
  return {};
}

std::string languageTextsEntry(const uint8_t* data, std::size_t size) {
  const uint8_t flags = size ? data[0] : 0;
  const ustring text = decodeText(data, size);
  std::vector<ustring> fields = split(text, u"\u0001");
  fields.resize(std::max<std::size_t>(fields.size(), 4));
  const ustring& props = fields[0];
  const ustring& name = fields[1];
  const ustring& special = fields[2];
  const ustring& format = fields[3];
  std::vector<ustring> argTexts(fields.begin() + 4, fields.end());
  Args args(argTexts.begin(), argTexts.end());

  static const char16_t* const languages[] = {u"chs", u"en", u"cht", u""};
  const ustring language = languages[(flags >> 1) & 3];
  const bool failing = (flags & 8) != 0;
  const bool missing = (flags & 16) != 0;

  test::FakePlatform fake;
  test::FakePlatformScope scope(fake);
  fake.setSessionString(props);
  if (!language.empty()) fake.setCurrentLanguage(language);
  for (const char16_t* id : {u"LumoResLoader.Loader", u"LumoRESLOADER.Loader"}) {
    if (missing) continue;
    if (failing) fake.addFailingResLoader(id);
    else fake.addResLoader(id);
  }
  // Every call runs with a pending error that must survive it.
  err().set(Error(3021, u"pending", u"caller", u"help.chm", 9));
  const ErrState pending = err();

  // The session string as the add-in sees it.
  const int16_t code = language == u"en" ? 2 : language == u"cht" ? 3 : 1;
  ustring session = props;
  if (!contains(session, u"Language")) session += u";Language=" + languageTextOf(code);
  try {
    if (getPropsString() != session) return fail("session string differs", session);
  } catch (const std::exception&) {
    return "GetPropsString raised";
  }

  // GetPropertyExt: never fails; what it finds follows "name=" in the session
  // string (letter case aside) and holds no ";" unless the name does.
  ustring found;
  try {
    found = getPropertyExt(name);
  } catch (...) {
    return "GetPropertyExt raised";
  }
  if (!found.empty()) {
    if (findNoCase(session + u";", name + u"=" + found + u";") == ustring::npos &&
        findNoCase(session + u";", name + u"=" + found) == ustring::npos)
      return fail("GetPropertyExt result does not follow the name", found);
    if (contains(found, u";")) return fail("GetPropertyExt result holds a separator", found);
  }
  if (!(err() == pending)) return "GetPropertyExt disturbed the pending error";

  // The module lookup: unchanged in simplified Chinese, blanks kept around a translation.
  const bool chs = code == 1;
  const bool translates = !chs && !failing && !missing;
  auto expectLookup = [&](const ustring& t, const ustring& lang) {
    if (!translates || trim(t).empty()) return t;
    return ustring(leadingBlanks(t), u' ') + fakeTranslation(lang, trim(t)) + ustring(trailingBlanks(t), u' ');
  };
  const ustring looked = loadVtString(special);
  if (looked != expectLookup(special, languageTextOf(code))) return fail("LoadVtString differs", special);
  if (!(err() == pending)) return "LoadVtString disturbed the pending error";

  // The class's special texts: marked pieces translated, literal pieces kept.
  Parse p;
  ustring sessionLanguage = getPropertyExt(u"LANGUAGE");
  const ustring effective = sessionLanguage.empty() ? languageTextOf(code) : sessionLanguage;
  const bool parseChs = equalsNoCase(trim(effective), u"chs");
  auto expectParseLookup = [&](const ustring& t) {
    const ustring key = trim(t);
    if (parseChs || key.empty() || failing || missing) return t;
    return fakeTranslation(effective, key);
  };
  ustring expectedSpecial;
  {
    std::size_t start = 0;
    for (;;) {
      const std::size_t at = special.find(u"^|^", start);
      const ustring piece = special.substr(start, at == ustring::npos ? ustring::npos : at - start);
      expectedSpecial += piece.compare(0, 3, u"~$~") == 0 ? expectParseLookup(piece.substr(3)) : piece;
      if (at == ustring::npos) break;
      start = at + 3;
    }
  }
  const ustring specialResult = p.loadspecialVtString(special);
  if (specialResult != expectedSpecial) return fail("LoadspecialVtString differs", special);
  if (!(err() == pending)) return "LoadspecialVtString disturbed the pending error";
  if (!p.language().empty() && p.language() != sessionLanguage) return "g_Language differs from the session";

  // The class's plain lookup.
  const ustring classLooked = p.loadVtString(special);
  const ustring expectedClass = contains(trim(special), u"^|^") ? p.loadspecialVtString(trim(special))
                                                                 : expectParseLookup(special);
  if (classLooked != expectedClass) return fail("clsParse.LoadVtString differs", special);
  if (p.language() != sessionLanguage) return "g_Language was not taken from the session";

  // Placeholders, against a reading that splits at every "%".
  const ustring replaced = replacePlaceholders(format, args);
  if (replaced != referencePlaceholders(format, argTexts)) return fail("ReplacePlaceholders differs", format);
  if (argTexts.empty() && replaced != format) return "placeholders replaced without arguments";
  if (formatResString(format, args) != replacePlaceholders(expectLookup(format, languageTextOf(code)), args))
    return fail("FormatResString differs", format);
  if (p.loadResFormat(format, args) != replacePlaceholders(p.loadVtString(format), args))
    return fail("LoadResFormat differs", format);
  if (!(err() == pending)) return "a lookup disturbed the pending error";
  return {};
}

int runTarget(EntryFunction entry, const uint8_t* data, std::size_t size) {
  const std::string broken = entry(data, size);
  if (!broken.empty()) {
    std::fprintf(stderr, "invariant broken: %s\n", broken.c_str());
    std::abort();
  }
  return 0;
}

std::string bulkRowsEntry(const uint8_t* data, std::size_t size) {
  if (size == 0) return {};
  const std::size_t width = 1 + (data[0] & 7);
  const ustring text = decodeText(data, size);
  std::vector<ustring> cells;
  std::size_t rows = 0;
  try {
    rows = splitBulkRows(text, width, cells);
  } catch (const Error&) {
    // Refused: nothing half-read may stay behind beyond the rows before.
    if (cells.size() % width != 0) return fail("a refused row left values behind", text);
    return {};
  } catch (...) {
    return fail("an error that is not the add-in's", text);
  }
  if (cells.size() != rows * width) return fail("the values are not rows of the width", text);
  ustring joined;
  for (std::size_t r = 0; r < rows; ++r) {
    for (std::size_t c = 0; c < width; ++c) {
      if (c) joined += kBulkColumn;
      const ustring& cell = cells[r * width + c];
      if (cell.find(kBulkColumn) != ustring::npos || cell.find(kBulkRow) != ustring::npos)
        return fail("a value holds a separator", text);
      joined += cell;
    }
    joined += kBulkRow;
  }
  if (joined != text) return fail("the values do not give the text back", text);
  return {};
}

}  // namespace lumo::fuzz
