#pragma once

// The line of a signal handler on its way to syslog. Not installed.

extern "C" {

// Does what syslog(3) does with "<ident>: <text>", by calls that a signal handler may make: that one locks,
// converts the time under another lock, and allocates. `time` is "Mmm dd hh:mm:ss", `process` the identifier
// of the program. A line that cannot be sent is lost.
void LogSyslog_Send(int priority, char const* time, char const* process, char const* ident, char const* text);
}
