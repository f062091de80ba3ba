// The clock and the message pumps of the window tests and benchmarks, which run
// the windows under test on their own thread as the host's message loop would.
#pragma once

#include <windows.h>

namespace lumo::test {

// Milliseconds from the high-resolution counter.
double nowMs();

// Runs every message waiting for this thread until none is left.
void drain();

// Runs messages for a while, those that come in meanwhile too (timers, posted work).
void pumpFor(int milliseconds);

// Runs the waiting messages and paints whatever is invalid in the window and its
// children, pass after pass, until a pass finds nothing left: the window then shows
// what it was asked to show. False when it never comes to rest.
bool untilPainted(HWND top);

}  // namespace lumo::test
