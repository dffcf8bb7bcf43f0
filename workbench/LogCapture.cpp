#include "workbench/LogCapture.h"

#include "workbench/Workbench.h"
#include "zeb/core/UnseenImpl.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <regex>
#include <utility>

#include <sys/mman.h>
#include <sys/syscall.h>
#include <syslog.h>
#include <unistd.h>

#include <gtest/gtest.h>

extern "C" void __real_vsyslog(int priority, char const* format, va_list arguments);
extern "C" void __real_LogSyslog_Send(int priority, char const* time, char const* process, char const* ident,
                                      char const* text);
extern "C" void __real__ZN3Log5Impl_19PrintWithBacktrace_EPc(void* statement, char* message);

namespace {

Workbench::SpinLock lock;
LogCapture* innermost = nullptr;
constinit std::atomic<int> realDepth{0};

// Lines so far of the statement with a backtrace that this thread prints; -1 without one.
constinit thread_local int linesOfStatement = -1;

char Letter(int priority) {
    switch (priority) {
    case LOG_INFO:
        return 'I';
    case LOG_AUTH | LOG_NOTICE:
        return 'A';
    case LOG_WARNING:
        return 'W';
    case LOG_ERR:
        return 'E';
    case LOG_CRIT:
        return 'C';
    default:
        return '?';
    }
}

// Blanks out the source line in the codes that carry one.
std::string Masked(std::string line) {
    for (std::string_view const family : {"[0xcffd", "[0xcffe", "[0x0fff"})
        for (std::size_t at = 0; (at = line.find(family, at)) != std::string::npos; at += family.size())
            if (at + family.size() + 4 < line.size()) line.replace(at + family.size(), 4, "****");
    return line;
}

} // namespace

struct LogCapture::State {
    BacktracesT const backtraces;
    LinesT lines;
};

class LogWatch {
public:
    static void Keep(int priority, std::string const& text) {
        std::string line = std::string(1, Letter(priority)) + " " + text;
        bool const ofBacktrace = linesOfStatement > 0;
        if (linesOfStatement >= 0) ++linesOfStatement;
        Workbench::SpinLock::Guard const guard(lock);
        if (innermost != nullptr && ofBacktrace &&
            innermost->state_->backtraces == LogCapture::WITHOUT_BACKTRACES)
            return;
        if (innermost != nullptr)
            innermost->state_->lines.push_back(std::move(line));
        else if (getenv("ZEB_TEST_LOG") != nullptr)
            fprintf(stderr, "[log] %s\n", line.c_str());
    }
};

LogCapture::LogCapture(BacktracesT backtraces)
    : state_(new State{backtraces, {}})
    , outer_(innermost) {
    Workbench::SpinLock::Guard const guard(lock);
    innermost = this;
}

LogCapture::~LogCapture() {
    Workbench::SpinLock::Guard const guard(lock);
    innermost = outer_;
    delete state_;
}

LogCapture::LinesT LogCapture::RawLines() const {
    Workbench::SpinLock::Guard const guard(lock);
    return state_->lines;
}

LogCapture::LinesT LogCapture::Lines() const {
    LinesT lines = RawLines();
    for (std::string& line : lines)
        line = Masked(line);
    return lines;
}

LogCapture::LinesT LogCapture::Take() {
    LinesT lines = Lines();
    Clear();
    return lines;
}

std::string LogCapture::TakeText() {
    std::string text;
    for (std::string const& line : Take())
        text += line + "\n";
    return text;
}

unsigned long LogCapture::Count(std::string_view part) const {
    LinesT const lines = Lines();
    return static_cast<unsigned long>(std::count_if(lines.begin(), lines.end(), [&](std::string const& line) {
        return line.find(part) != std::string::npos;
    }));
}

bool LogCapture::Await(std::string_view part) const {
    for (long const began = Workbench::RealMilliseconds(); !Has(part);) {
        if (Workbench::RealMilliseconds() - began > 2000) return false;
        Workbench::RealSleep(1);
    }
    return true;
}

void LogCapture::Clear() {
    Workbench::SpinLock::Guard const guard(lock);
    state_->lines.clear();
}

std::string Replaced(std::string text, std::vector<std::pair<std::string, std::string>> const& rules) {
    for (auto const& [from, to] : rules)
        text = std::regex_replace(text, std::regex(from), to);
    return text;
}

RealSyslog::RealSyslog() { ++realDepth; }
RealSyslog::~RealSyslog() { --realDepth; }

OutputCapture::OutputCapture(int fd)
    : fd_(fd)
    , saved_(dup(fd))
    , memory_(static_cast<int>(syscall(SYS_memfd_create, "output", 0))) {
    fflush(nullptr);
    dup2(memory_, fd_);
}

OutputCapture::~OutputCapture() { Finish(); }

std::string OutputCapture::Finish() {
    if (saved_ < 0) return {};
    Workbench::Own const own;
    fflush(nullptr);
    dup2(saved_, fd_);
    close(saved_);
    saved_ = -1;
    std::string text(static_cast<std::size_t>(lseek(memory_, 0, SEEK_END)), '\0');
    [[maybe_unused]] ssize_t const got = pread(memory_, text.data(), text.size(), 0);
    close(memory_);
    return text;
}

// A sanitizer in a shared object may bind to these.
#pragma GCC visibility push(default)

extern "C" {

void __wrap_vsyslog(int priority, char const* format, va_list arguments) {
    if (realDepth != 0) {
        __real_vsyslog(priority, format, arguments);
        return;
    }
    Workbench::Own const own;
    va_list again;
    va_copy(again, arguments);
    std::string line(static_cast<std::size_t>(std::max(0, vsnprintf(nullptr, 0, format, again))), '\0');
    va_end(again);
    vsnprintf(line.data(), line.size() + 1, format, arguments);
    LogWatch::Keep(priority, line);
}

// The line of a signal handler, which may not call syslog().
void __wrap_LogSyslog_Send(int priority, char const* time, char const* process, char const* ident,
                           char const* text) {
    if (realDepth != 0) {
        __real_LogSyslog_Send(priority, time, process, ident, text);
        return;
    }
    Workbench::Own const own;
    LogWatch::Keep(priority, std::string(ident) + ": " + text);
}

// Called by the name that the compiler gives it. The statement's own line is the first one.
ZEB_UNSEEN void __wrap__ZN3Log5Impl_19PrintWithBacktrace_EPc(void* statement, char* message) {
    int const outer =
        std::exchange(linesOfStatement, 0); // of a statement that this one's handler has interrupted
    __real__ZN3Log5Impl_19PrintWithBacktrace_EPc(statement, message);
    linesOfStatement = outer;
}

void __wrap___vsyslog_chk(int priority, int, char const* format, va_list arguments) {
    __wrap_vsyslog(priority, format, arguments);
}

void __wrap_syslog(int priority, char const* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    __wrap_vsyslog(priority, format, arguments);
    va_end(arguments);
}

void __wrap___syslog_chk(int priority, int, char const* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    __wrap_vsyslog(priority, format, arguments);
    va_end(arguments);
}
}

#pragma GCC visibility pop
