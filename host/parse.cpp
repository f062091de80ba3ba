#include "host/parse.h"

#include "host/language.h"
#include "host/platform.h"
#include "host/session.h"

namespace lumo {

// ---------------------------------------------------------------------------
// Tokenising the session property string

ustring getToken(ustring& text, const ustring& separator) {
  if (text.empty()) return {};
  const std::size_t p = separator.empty() ? ustring::npos : findNoCase(text, separator);
  if (p == ustring::npos) {
    ustring whole;
    whole.swap(text);
    return whole;
  }
  ustring first = text.substr(0, p);
  text.erase(0, p + separator.size());
  return first;
}

ustring getKey(ustring& text) { return trim(getToken(text, u"=")); }

ustring getValue(ustring& text) {
  text = trim(text);
  ustring value;
  if (text.empty() || text.front() != u'{') {
    value = getToken(text, u";");
  } else {
    // A braced value may hold ";" and "="; whatever stands between the closing
    // brace and the next ";" is dropped.
    text.erase(0, 1);
    value = getToken(text, u"}");
    getToken(text, u";");
  }
  return trim(value);
}

// ---------------------------------------------------------------------------
// Table and typed properties

Parse::Parse() = default;

bool Parse::parseString(const ustring& text) {
  // Stored first: PropsString answers with the text even when parsing stops.
  propsString_ = text;
  table_ = std::make_shared<Collection>();
  ustring rest = text;
  for (;;) {
    const ustring key = getKey(rest);
    const ustring value = getValue(rest);
    if (key.empty()) break;
    table_->add(value, &key);
  }
  return true;
}

ustring Parse::getProperty(const ustring& name) const {
  if (!table_) throw Error(errnum::InvalidCall);
  return table_->item(name).toString();
}

std::size_t Parse::entryCount() const { return table_ ? table_->count() : 0; }

ustring Parse::userName() const { return getProperty(u"UserName"); }
int16_t Parse::userId() const { return Variant(getProperty(u"UserID")).toI2(); }
ustring Parse::conDbmsName() const { return getProperty(u"DBMS Name"); }
ustring Parse::conDbmsVersion() const { return getProperty(u"DBMS Version"); }
ustring Parse::conStr() const { return getProperty(u"ConnectString"); }

ustring Parse::getPropertyExt(const ustring& name) { return lumo::getPropertyExt(name); }

// ---------------------------------------------------------------------------
// Language

namespace {

bool isChs(const ustring& language) { return equalsNoCase(trim(language), u"chs"); }

// The font for report and system texts per language, used when the host's form
// loader does not name one: the standard simplified-Chinese font with the GB2312
// character set, a traditional-Chinese font with the Big5 character set, and a
// Latin font with the ANSI character set for English.
struct FontChoice {
  ustring name;
  int16_t charset;
};

FontChoice fontFor(const ustring& language) {
  const ustring l = toLower(trim(language));
  if (l == u"cht") return {.name = u"新細明體", .charset = 136};  // not looked up: a font's name
  if (l == u"en") return {.name = u"Tahoma", .charset = 0};
  return {.name = u"宋体", .charset = 134};  // not looked up: a font's name
}

void applyFont(const ObjectPtr& font, const FontChoice& f) {
  if (!font) throw Error(errnum::ObjectVariableNotSet);
  font->put(u"Name", f.name);
  font->put(u"Charset", f.charset);
}

}  // namespace

ustring Parse::sessionLanguage() {
  if (language_.empty()) language_ = lumo::getPropertyExt(u"LANGUAGE");
  return language_.empty() ? getLanguageText() : language_;
}

ObjectPtr Parse::formLoader() {
  if (!frmResLoader_) frmResLoader_ = platform().create(u"FrmRes.FrmResLoader");
  return frmResLoader_;
}

ustring Parse::lookup(const ustring& word, bool second) {
  ErrStateGuard keep;
  try {
    const ustring language = sessionLanguage();
    const ustring key = trim(word);
    if (contains(key, u"^|^")) return loadspecialVtString(key);
    // The key is the simplified-Chinese wording itself.
    if (isChs(language) || key.empty()) return word;
    if (!resLoader_) resLoader_ = platform().create(u"LumoRESLOADER.Loader");
    resLoader_->put(u"ResFileBaseName", ustring(u"LUMOINDUSTRY"));
    resLoader_->put(u"LanguageID", language);
    return resLoader_->call(second ? u"LoadString2" : u"LoadString", {key}).toString();
  } catch (const std::exception&) {
    return word;
  }
}

ustring Parse::loadVtString(const ustring& word) { return lookup(word, false); }
ustring Parse::loadVtString2(const ustring& word) { return lookup(word, true); }

ustring Parse::loadspecialVtString(const ustring& word) {
  // Pieces marked "~$~" are texts to translate; the others (names, numbers) are
  // literal and joined as they stand.
  ErrStateGuard keep;
  ustring out;
  for (const ustring& piece : split(word, u"^|^")) {
    if (piece.starts_with(u"~$~")) out += loadVtString(piece.substr(3));
    else out += piece;
  }
  return out;
}

ustring Parse::loadResFormat(const ustring& format, const Args& args) {
  return replacePlaceholders(loadVtString(format), args);
}

ustring Parse::getLanguageFieldName(const ustring& fieldName) {
  const ustring language = toUpper(lumo::getPropertyExt(u"LANGUAGE"));
  ustring name = fieldName;
  if (language == u"CHT") name += u"_CHT";
  else if (language == u"EN") name += u"_EN";
  return trim(name);
}

void Parse::strMultiLanguage(const ObjectPtr& form, const ObjectPtr& font, const Variant& languageBag) {
  ustring language = lumo::getPropertyExt(u"LANGUAGE");
  if (language.empty()) language = getLanguageText();
  // Forms are designed in simplified Chinese: nothing to translate.
  if (isChs(language)) return;
  ObjectPtr loader = formLoader();
  loader->put(u"NeedMLColumnHeaders", true);
  loader->call(u"LoadFrmResStrings", {Variant(form), language, Variant(font), languageBag});
}

void Parse::testForMultilanguage(const ustring& resLanguageId, Variant& word) {
  // Translates the caller's word in place into the given language (the session's
  // when none is given) through the shared loader; simplified Chinese and any
  // text that cannot be read leave it unchanged.
  const ustring language = resLanguageId.empty() ? sessionLanguage() : resLanguageId;
  if (isChs(language)) return;
  Variant& target = word.deref();
  ustring text;
  try {
    text = target.toString();
  } catch (const std::exception&) {
    return;
  }
  target = loadVtStringEx(text, 0, toLower(trim(language)));
}

void Parse::setFormFont(const ObjectPtr& form) { setFormFontWith(formLoader(), form, sessionLanguage()); }

void Parse::setSystemFontName(Variant& font) {
  // The host's form loader names the font for the language; the built-in table
  // stands in when it cannot be asked or names none.
  const ustring language = toLower(trim(sessionLanguage()));
  FontChoice choice = fontFor(language);
  try {
    const Variant answer = formLoader()->call(u"GetLumoFontProps", {language});
    if (answer.isObject()) {
      ObjectPtr props = answer.toObject();
      if (props) {
        const ustring name = props->get(u"Name").toString();
        if (!trim(name).empty()) choice.name = name;
        if (props->hasMember(u"Charset")) choice.charset = props->get(u"Charset").toI2();
      }
    } else {
      const ustring name = answer.toString();
      if (!trim(name).empty()) choice.name = name;
    }
  } catch (const std::exception&) {
    choice = fontFor(language);
  }
  Variant& target = font.deref();
  if (target.isObject()) applyFont(target.toObject(), choice);
  else target = choice.name;
}

void Parse::setLedgerFont(const ObjectPtr& ledger) {
  if (!ledger) throw Error(errnum::ObjectVariableNotSet);
  applyFont(ledger->get(u"Font").toObject(), fontFor(sessionLanguage()));
}

void Parse::setLedger4Font(const ObjectPtr& ledger) {
  if (!ledger) throw Error(errnum::ObjectVariableNotSet);
  const FontChoice f = fontFor(sessionLanguage());
  applyFont(ledger->get(u"Font").toObject(), f);
  applyFont(ledger->get(u"Header").toObject(), f);
  applyFont(ledger->get(u"Footer").toObject(), f);
  ledger->put(u"TextlineFontName", f.name);
  ledger->put(u"TextlineFontCharset", f.charset);
}

}  // namespace lumo
