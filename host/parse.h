// The parsing class behind the public clsParse: parses a session property string
// into a keyed table and offers the typed properties and the language lookups.
#pragma once

#include <memory>

#include "automation/object.h"

namespace lumo {

// Splits at the first occurrence of separator (matched ignoring case): returns the
// piece before it and leaves the remainder in text; without a separator returns the
// whole text and leaves text empty.
ustring getToken(ustring& text, const ustring& separator);
ustring getKey(ustring& text);
ustring getValue(ustring& text);

class Parse {
 public:
  Parse();

  // Public members in the class's interface order.
  ObjectPtr resLoader() const { return resLoader_; }
  void setResLoader(ObjectPtr o) { resLoader_ = std::move(o); }
  ObjectPtr frmResLoader() const { return frmResLoader_; }
  void setFrmResLoader(ObjectPtr o) { frmResLoader_ = std::move(o); }
  const ustring& language() const { return language_; }
  void setLanguage(ustring l) { language_ = std::move(l); }

  const ustring& propsString() const { return propsString_; }
  ustring userName() const;
  int16_t userId() const;
  ustring conDbmsName() const;
  ustring conDbmsVersion() const;
  ustring conStr() const;
  // Raises 5 for a key the table does not hold, and before any ParseString.
  ustring getProperty(const ustring& name) const;
  // Raises 457 on a duplicate key (entries before it stay); returns true.
  bool parseString(const ustring& text);

  ustring loadVtString(const ustring& word);
  ustring loadResFormat(const ustring& format, const Args& args);
  void strMultiLanguage(const ObjectPtr& form, const ObjectPtr& font, const Variant& languageBag);
  ustring getLanguageFieldName(const ustring& fieldName);
  ustring getPropertyExt(const ustring& name);
  ustring loadspecialVtString(const ustring& word);
  void testForMultilanguage(const ustring& resLanguageId, Variant& word);
  void setFormFont(const ObjectPtr& form);
  ustring loadVtString2(const ustring& word);
  void setSystemFontName(Variant& font);
  void setLedgerFont(const ObjectPtr& ledger);
  void setLedger4Font(const ObjectPtr& ledger);

  // Number of entries in the table (0 before any ParseString); for tests and tools.
  std::size_t entryCount() const;

 private:
  ustring lookup(const ustring& word, bool second);
  // g_Language, taken from the session's "LANGUAGE" entry when still empty; the
  // language code's text when the session has none.
  ustring sessionLanguage();
  // g_ObjResFrmLoader, created on first use.
  ObjectPtr formLoader();
  ObjectPtr resLoader_;
  ObjectPtr frmResLoader_;
  ustring language_;
  ustring propsString_;
  std::shared_ptr<Collection> table_;
};

}  // namespace lumo
