// A multi-line text box for long lists of mobile numbers ("13800000001,13800000002,...").
//
// The system's edit controls lay out one long paragraph in time that grows with the
// square of its length (a list of 100,000 numbers is 1.2 million characters and would
// freeze the window), so the send window's receiver list uses this control instead.
// It lays out in one pass over the text, keeps its line starts in a vector, updates
// them from the changed line onward on an edit, and draws only the visible lines.
// Those rules, the selection, undo and the limit are the portable ui::NumberText
// (ui/number_text.h); the window measures with its font, draws, and turns messages,
// keys and the mouse into the model's calls. It is a win32::Window owned by its
// window: destroying the window is all it takes to be rid of it.
//
// To the user and to the code that drives it, it behaves like a multi-line EDIT:
// WM_SETTEXT/WM_GETTEXT, EM_SETSEL/EM_GETSEL, EM_REPLACESEL, EM_LINEFROMCHAR and the
// other line messages, the limit, read-only, one level of undo, the clipboard
// messages, EN_CHANGE/EN_UPDATE/EN_SETFOCUS/EN_KILLFOCUS/EN_MAXTEXT to the parent,
// and typing through WM_CHAR (so a subclass that filters WM_CHAR keeps working).
// Lines wrap at the client width after a comma; a run without commas that does not
// fit breaks at the last character that fits; "\r\n" or "\n" starts a new line.
#pragma once

#include <windows.h>

#include "automation/text.h"

namespace lumo::win32 {

// The window class, registered with the module that holds this code.
extern const wchar_t* const kNumberBoxClass;

// The captions of the box's context menu. The owner passes them through its
// language lookup; the defaults are the Chinese ones.
struct NumberBoxMenuTexts {
  ustring undo = u"撤消(&U)";
  ustring cut = u"剪切(&T)";
  ustring copy = u"复制(&C)";
  ustring paste = u"粘贴(&P)";
  ustring del = u"删除(&D)";
  ustring selectAll = u"全选(&A)";
};

// Registers the class if needed and creates the box as a child of 'parent' with the
// control id 'id' (WS_CHILD is added; WS_VISIBLE, WS_TABSTOP, WS_VSCROLL, WS_DISABLED,
// ES_READONLY and WS_EX_CLIENTEDGE are honoured). Raises an Error when the system
// refuses. The box starts empty, with the default GUI font until WM_SETFONT.
// ES_NOHIDESEL keeps the selection shown without the focus.
HWND createNumberBox(HWND parent, int id, DWORD style, DWORD exStyle);

// The box's text in place, and a new text handed over whole, with the effects of
// WM_GETTEXT and WM_SETTEXT (EN_UPDATE and EN_CHANGE included): a receiver list can
// be megabytes, and the messages copy it, once more than the caller's own copy.
// An empty text when 'box' is not one.
const ustring& numberBoxText(HWND box);
void setNumberBoxText(HWND box, ustring text);

// The context menu's captions of a box; false when 'box' is not one.
bool setNumberBoxMenuTexts(HWND box, const NumberBoxMenuTexts& texts);

}  // namespace lumo::win32
