#include "host/session.h"

#include "host/language.h"
#include "host/platform.h"

namespace lumo {

namespace {
// The module's host-object reference. Nothing in the add-in sets it; a host that
// hands one over makes it the source of the session string.
ObjectPtr g_hostObject;

// What the active action scopes keep.
struct Kept {
  int depth = 0;
  bool hasProps = false;
  ustring props;
  int16_t language = 0;
};
Kept g_kept;
}  // namespace

ActionScope::ActionScope() { ++g_kept.depth; }

ActionScope::~ActionScope() {
  if (--g_kept.depth > 0) return;
  g_kept = Kept();
}

const ustring* ActionScope::keptPropsString() { return g_kept.hasProps ? &g_kept.props : nullptr; }

void ActionScope::keepPropsString(const ustring& props) {
  if (g_kept.depth == 0) return;
  g_kept.props = props;
  g_kept.hasProps = true;
}

int16_t ActionScope::keptLanguageCode() { return g_kept.language; }

void ActionScope::keepLanguageCode(int16_t code) {
  if (g_kept.depth > 0) g_kept.language = code;
}

void setHostObject(ObjectPtr host) { g_hostObject = std::move(host); }

ustring getPropsString() {
  if (const ustring* kept = ActionScope::keptPropsString()) return *kept;
  ustring props = g_hostObject ? g_hostObject->get(u"PropsString").toString() : getShareProp(u"PropsString").toString();
  ActionScope::keepPropsString(props);
  return props;
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
