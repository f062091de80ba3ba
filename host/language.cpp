#include "host/language.h"

#include "host/platform.h"
#include "host/session.h"

namespace lumo {

namespace {

// Created on first use and kept for the process: opening a loader reads its
// resource files, which is too slow to repeat for every caption.
ObjectPtr g_resLoader;
ObjectPtr g_frmResLoader;
// -1 while the form loader's SetFrmFont runs, 0 otherwise.
int16_t g_settingFormFont = 0;

// Text of one formatting argument: Null and an omitted argument read as nothing.
ustring argumentText(const Variant& v) {
  switch (v.type()) {
    case Variant::Type::Empty:
    case Variant::Type::Null:
    case Variant::Type::Missing: return {};
    default: return v.toString();
  }
}

}  // namespace

ustring languageTextOf(int16_t code) {
  switch (code) {
    case 2: return u"en";
    case 3: return u"cht";
    default: return u"chs";
  }
}

int16_t getLanguageCode() {
  if (const int16_t kept = ActionScope::keptLanguageCode()) return kept;
  int16_t code = 1;
  try {
    ObjectPtr info = platform().create(u"LumoLangInfo.LangInfo");
    const ustring current = info->get(u"CurrentLanguage").toString();
    if (current == u"cht") code = 3;
    else if (current == u"en") code = 2;
    else code = 1;
  } catch (const std::exception&) {
    // No language information: the host runs in simplified Chinese.
  }
  ActionScope::keepLanguageCode(code);
  return code;
}

ustring getLanguageText() { return languageTextOf(getLanguageCode()); }

ObjectPtr getResLoader(const ustring& languageId) {
  if (!g_resLoader) {
    g_resLoader = platform().create(u"LumoResLoader.Loader");
    g_resLoader->put(u"ResDirectory", ustring());
    g_resLoader->put(u"ResFileBaseName", ustring(u"LumoBase"));
  }
  g_resLoader->put(u"LanguageID", languageId.empty() ? getLanguageText() : languageId);
  return g_resLoader;
}

ObjectPtr getFrmResLoader() {
  if (!g_frmResLoader) g_frmResLoader = platform().create(u"FrmRes.FrmResLoader");
  return g_frmResLoader;
}

ustring loadVtStringEx(const ustring& text, int16_t mode, const ustring& languageId) {
  // A lookup happens in the middle of other code, often inside an error handler
  // that is about to report the pending error: it must leave that error alone.
  ErrStateGuard keep;
  try {
    if (languageId == u"chs" || (languageId.empty() && getLanguageCode() == 1)) return text;
    const ustring word = trim(text);
    if (word.empty()) return text;
    const std::size_t lead = leadingBlanks(text);
    const std::size_t trail = trailingBlanks(text);
    ObjectPtr loader = getResLoader(languageId);
    // Mode 1 asks the loader's second table; every other mode the first.
    const ustring translated = loader->call(mode == 1 ? u"LoadString2" : u"LoadString", {word}).toString();
    return ustring(lead, u' ') + translated + ustring(trail, u' ');
  } catch (const std::exception&) {
    return text;
  }
}

ustring loadVtString(const ustring& text) { return loadVtStringEx(text, 0, ustring()); }

ustring replacePlaceholders(const ustring& format, const Args& args) {
  // One pass from left to right: the digits after "%" are read as one number, so
  // "%12" is the twelfth argument and never the first followed by "2", and a
  // substituted argument is not scanned again.
  ustring out;
  out.reserve(format.size());
  std::size_t i = 0;
  while (i < format.size()) {
    const char16_t c = format[i];
    if (c != u'%') {
      out.push_back(c);
      ++i;
      continue;
    }
    std::size_t j = i + 1;
    while (j < format.size() && format[j] >= u'0' && format[j] <= u'9') ++j;
    const std::size_t digits = j - i - 1;
    std::size_t n = 0;
    if (digits > 0 && digits <= 9) {
      for (std::size_t k = i + 1; k < j; ++k) n = n * 10 + static_cast<std::size_t>(format[k] - u'0');
    }
    if (n >= 1 && n <= args.size()) {
      out += argumentText(args[n - 1].deref());
    } else {
      // No argument for it: the placeholder stays as it stands.
      out.append(format, i, j - i);
    }
    i = j;
  }
  return out;
}

ustring formatResString(const ustring& format, const Args& args) {
  return replacePlaceholders(loadVtString(format), args);
}

Variant setFormFontWith(const ObjectPtr& loader, const ObjectPtr& form, const ustring& languageText) {
  if (!loader) throw Error(errnum::ObjectVariableNotSet);
  // Controls resized by the font change fire their events while the flag is up;
  // their handlers look at it to tell this from a user's action.
  struct Flag {
    Flag() { g_settingFormFont = -1; }
    ~Flag() { g_settingFormFont = 0; }
  } flag;
  return loader->call(u"SetFrmFont", {Variant(form), languageText});
}

Variant setFormFont(const ObjectPtr& form) { return setFormFontWith(getFrmResLoader(), form, getLanguageText()); }

bool settingFormFont() { return g_settingFormFont != 0; }

void resetLanguageObjects() {
  g_resLoader.reset();
  g_frmResLoader.reset();
  g_settingFormFont = 0;
}

}  // namespace lumo
