#pragma once

#include "zeb/core/Export.h"

namespace Util {

// Runs a command of the shell ("/bin/sh -c") to its end, and gives its exit status: -1 for one that was
// killed or could not be set up, 1 for one that could not be started. After `timeoutMs`, and when the thread
// is interrupted, it is asked to end, and killed with all its children 2 seconds later; a negative time-out
// waits without limit.
//
// What the command prints goes nowhere, but is not taken either: one that prints more than a few pages
// sends it to a file or to /dev/null, or it stands still until the time-out. It reads nothing: its input has
// no end. The words of docs/processes.md about SIGCHLD and the execution thread hold.
ZEB_PUBLIC int Shell(char const* command, long timeoutMs);

} // namespace Util
