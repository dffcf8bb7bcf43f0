#include "zeb/runtime/SignalName.h"

#include "zeb/core/Log.h"

#include <csignal>
#include <cstdio>

namespace {

// By number, from 1 on, as 64-bit ARM and x86-64 have them.
constexpr char const* NAMES[] = {
    "hangup",
    "interrupt",
    "quit",
    "illegal instruction",
    "trace/breakpoint trap",
    "aborted",
    "bus error",
    "arithmetic exception",
    "killed",
    "user defined signal 1",
    "segmentation fault",
    "user defined signal 2",
    "broken pipe",
    "alarm clock",
    "terminated",
    "stack fault",
    "child process status",
    "continued",
    "stopped (signal)",
    "stopped",
    "stopped (tty input)",
    "stopped (tty output)",
    "urgent I/O condition",
    "CPU time limit exceeded",
    "file size limit exceeded",
    "virtual timer expired",
    "profiling timer expired",
    "window changed",
    "I/O possible",
    "power failure",
    "bad system call",
};
constexpr int COUNT = sizeof(NAMES) / sizeof(NAMES[0]);
static_assert(SIGSEGV == 11 && SIGCHLD == 17 && SIGSYS == COUNT);

} // namespace

SignalName::SignalName(int signal) {
    if (signal >= __libc_current_sigrtmin() && signal <= __libc_current_sigrtmax()) {
        int const size = snprintf(text_, sizeof(text_), "%s%d", Log::L10n("real-time signal "), signal);
        bool const fits = size >= 0 && size < static_cast<int>(sizeof(text_));
        name_ = fits ? text_ : Log::L10n("<corrupted real-time signal name>");
    } else if (signal >= 1 && signal <= COUNT) {
        name_ = Log::L10n(NAMES[signal - 1]);
    } else {
        name_ = Log::L10n("unknown signal");
    }
}
