// The session's language and the resource-string lookups every text passes through.
// Texts are written as their simplified-Chinese wording, which is also the key.
#pragma once

#include "automation/object.h"

namespace lumo {

int16_t getLanguageCode();            // 1 chs (also when the language component is missing), 2 en, 3 cht
ustring getLanguageText();            // "chs", "en", "cht"
ustring languageTextOf(int16_t code);  // any other code gives "chs"
ObjectPtr getResLoader(const ustring& languageId);
ObjectPtr getFrmResLoader();

// Returns text unchanged in simplified Chinese; otherwise the loader's translation
// of the trimmed text with the original leading and trailing blanks put back. The
// caller's pending error state is kept; a failing loader returns text as it stands.
ustring loadVtStringEx(const ustring& text, int16_t mode, const ustring& languageId);
ustring loadVtString(const ustring& text);

// Replaces "%1", "%2", ... in a format text by the arguments (counting from 1).
ustring replacePlaceholders(const ustring& format, const Args& args);
// Looks the format up with loadVtString, then replaces its placeholders.
ustring formatResString(const ustring& format, const Args& args);

// Applies the host's form font through the form resource loader.
Variant setFormFont(const ObjectPtr& form);
// The same through a given form loader and language text (clsParse uses its own loader).
Variant setFormFontWith(const ObjectPtr& loader, const ObjectPtr& form, const ustring& languageText);
// Whether the form resource loader's SetFrmFont is running.
bool settingFormFont();

// Drops the process-wide loaders (tests; a new platform).
void resetLanguageObjects();

}  // namespace lumo
