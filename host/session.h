// The session property string: "key=value" entries separated by ";", a value in
// braces may hold ";". The add-in gets it from the host's shared property manager.
#pragma once

#include "automation/object.h"

namespace lumo {

// The current session's property string, always carrying a "Language" entry.
ustring getPropsString();

// One property of the host's shared property manager ("PropsMgr.ShareProps") for
// this process. Failures reach the caller.
Variant getShareProp(const ustring& name);

// A key looked up directly in the session string by a plain, case-insensitive
// substring search (a key ending in sName matches too). Never fails: "" when absent.
ustring getPropertyExt(const ustring& name);

// One user action that calls the host many times (opening every branch of a tree
// to search it) reads the session string and the language once: while a scope
// lives, each is read on first use and kept; a failed read keeps nothing. Scopes
// nest; the outermost one forgets what was kept. Used on the host's UI thread only.
class ActionScope {
 public:
  ActionScope();
  ~ActionScope();
  ActionScope(const ActionScope&) = delete;
  ActionScope& operator=(const ActionScope&) = delete;

  // What the scope has kept: nullptr, or 0 for the language, when no scope is
  // active or nothing has been read yet. Keeping outside a scope does nothing.
  static const ustring* keptPropsString();
  static void keepPropsString(const ustring& props);
  static int16_t keptLanguageCode();
  static void keepLanguageCode(int16_t code);
};

// The module's host-object reference: when set, getPropsString reads its
// PropsString property instead of asking the property manager.
void setHostObject(ObjectPtr host);

}  // namespace lumo
