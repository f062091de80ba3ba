#include "host/session.h"

#include "host/language.h"
#include "host/platform.h"

namespace lumo {

namespace {
// The module's host-object reference. Nothing in the add-in sets it; a host that
// hands one over makes it the source of the session string.
ObjectPtr g_hostObject;
}  // namespace

void setHostObject(ObjectPtr host) { g_hostObject = std::move(host); }

ustring getPropsString() {
  if (g_hostObject) return g_hostObject->get(u"PropsString").toString();
  return getShareProp(u"PropsString").toString();
}

Variant getShareProp(const ustring& name) {
  const auto processId = static_cast<int32_t>(platform().currentProcessId());
  Variant value;
  {
    ObjectPtr props = platform().create(u"PropsMgr.ShareProps");
    value = props->call(u"GetProperty", {processId, name});
  }
  // The resource lookups and GetPropertyExt("LANGUAGE") read the language from
  // the session string; a host that left it out runs in its own current language.
  if (name == u"PropsString" && !contains(value.toString(), u"Language")) {
    switch (getLanguageCode()) {
      case 1: value = value.toString() + u";Language=chs"; break;
      case 2: value = value.toString() + u";Language=en"; break;
      case 3: value = value.toString() + u";Language=cht"; break;
      default: break;
    }
  }
  return value;
}

ustring getPropertyExt(const ustring& name) {
  // A plain substring search, kept as callers know it: a key that merely ends in
  // 'name' matches too when it comes first, and braces mean nothing here.
  ustring result;
  try {
    ustring text = getPropsString();
    if (text.empty() || text.back() != u';') text += u';';
    const ustring needle = name + u"=";
    const std::size_t p = findNoCase(text, needle);
    if (p == ustring::npos) return result;
    text.erase(0, p);
    const std::size_t end = text.find(u';');
    if (end != ustring::npos) {
      text.erase(end);
      result = needle.size() < text.size() ? text.substr(needle.size()) : ustring();
    }
  } catch (const std::exception&) {
    // The session cannot be read: whatever was found stands.
  }
  return result;
}

}  // namespace lumo
