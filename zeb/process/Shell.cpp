#include "zeb/process/Shell.h"

#include "zeb/process/IoProcess.h"

namespace Util {

namespace {

constexpr char const NAME[] = "Util::Shell";
constexpr char const PROGRAM[] = "/bin/sh";
constexpr unsigned long KILL_DELAY_MS = 2000;

} // namespace

int Shell(char const* command, long timeoutMs) {
    Io::Process shell(NAME, PROGRAM, Io::MODE_READ_WRITE, Io::EOL_ANY_LF, Process::STOP_SIGNAL_TERM,
                      KILL_DELAY_MS, CString::Nil());
    char const* const arguments[] = {"-c", command, nullptr};
    if (!shell.Initialized() || shell.SetArguments(arguments).Failed()) return -1;
    return shell.Execute(timeoutMs, nullptr, nullptr);
}

} // namespace Util
