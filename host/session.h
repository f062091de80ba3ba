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

// The module's host-object reference: when set, getPropsString reads its
// PropsString property instead of asking the property manager.
void setHostObject(ObjectPtr host);

}  // namespace lumo
