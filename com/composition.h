// The add-in put together: the one place that knows which real window stands
// behind each command and public class, and where an error that reaches a window
// procedure goes. Everything else is handed what it needs from here.
#pragma once

#include "host/windows.h"

namespace lumo::com {

// The windows of this module; each counts as a live object while it lives. The
// first call also gives the window layer its error path: the add-in's error trap
// (the pending error set, the description shown through the host's message service).
WindowFactory& addinWindows();

}  // namespace lumo::com
