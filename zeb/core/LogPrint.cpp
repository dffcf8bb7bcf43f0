#include "zeb/core/CString.h"
#include "zeb/core/LogImpl.h"
#include "zeb/core/LogSyslog.h"
#include "zeb/core/Simd.h"
#include "zeb/core/Time.h"
#include "zeb/core/UnseenImpl.h"

#include <atomic>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <pthread.h>
#include <syslog.h>
#include <unistd.h>

namespace {

struct Level_ {
    int priority;
    char letter;
};

constexpr Level_ LEVELS[] = {
    {LOG_INFO, 'I'}, {LOG_AUTH | LOG_NOTICE, 'A'}, {LOG_WARNING, 'W'}, {LOG_ERR, 'E'}, {LOG_CRIT, 'C'},
};

// Of the calling thread.
struct Printing_ {
    unsigned handlers; // that it is in
    bool printing;
};

[[gnu::tls_model("initial-exec")]] constinit thread_local Printing_ own_ = {};

// Keeps the lines of one statement together, and guards the time text that they share.
pthread_mutex_t logLock_ = PTHREAD_MUTEX_INITIALIZER;

// Seconds east of Greenwich, as the last statement outside of a handler found them. A handler adds them up by
// itself: libc converts a time under a lock that the interrupted thread may hold.
std::atomic<long> zoneOffset_ = 0;

// Null leaves it to the name of the program, as in syslog(3).
std::atomic<char const*> processIdent_ = nullptr;

struct TimeText_ {
    // Of a time that has none it is empty.
    void Print(Time::Stamp const& now) {
        Time::Span const offset(Time::Span::Value(zoneOffset_.load(std::memory_order_relaxed), 0));
        Time::Stamp const local = now + offset;
        if (local.AsString(Time::Stamp::LOG, Time::Stamp::GMT, text).Failed()) text[0] = '\0';
    }

    char text[Time::Stamp::TEXT_SIZE] = {};
};

// The text and the zone of the present second, so that they are made once.
struct SharedTime_ : TimeText_ {
    void Refresh() {
        Time::Stamp const now = Time::Now();
        time_t const present = static_cast<timespec>(now).tv_sec;
        if (present == second) return;
        RefreshZone(present);
        Print(now);
        second = present;
    }

    void RefreshZone(time_t present) {
        tm fields;
        if (present == zoneSecond || !localtime_r(&present, &fields)) return;
        zoneOffset_.store(fields.tm_gmtoff, std::memory_order_relaxed);
        zoneSecond = present;
    }

    time_t second = -1;
    time_t zoneSecond = -1;
};

constinit SharedTime_ shared_;

// A line on its way to standard output: one write() unless it is very long.
class ConsoleLine_ {
public:
    void Add(char const* text, unsigned long size) {
        for (; size > sizeof(array_) - size_; Write()) {
            unsigned long const part = sizeof(array_) - size_;
            memcpy(array_ + size_, text, part);
            size_ += part;
            text += part;
            size -= part;
        }
        memcpy(array_ + size_, text, size);
        size_ += size;
    }
    void Add(char const* text) { Add(text, strlen(text)); }

    void Write() {
        char const* next = array_;
        while (size_ != 0) {
            ssize_t const done = write(STDOUT_FILENO, next, size_);
            if (done < 0 && errno == EINTR) continue;
            if (done <= 0) break; // nobody is left to be told
            next += done;
            size_ -= static_cast<unsigned long>(done);
        }
        size_ = 0;
    }

private:
    unsigned long size_ = 0;
    char array_[2048];
};

bool IsControl_(char c) { return (c >= 0 && c < ' ' && c != '\t') || c == 0x7F; }

// One statement is one line: what a terminal would act upon becomes a blank.
void Flatten_(char* text) {
    unsigned long const size = strlen(text);
    unsigned long at = 0;
    Simd::Block const last = Simd::Splat(' ' - 1);
    Simd::Block const erase = Simd::Splat(0x7F);
    for (; at + Simd::COUNT <= size; at += Simd::COUNT) {
        Simd::Block const block = Simd::Load(text + at);
        if (Simd::Positions(Simd::AtMost(block, last) | Simd::Equal(block, erase))) break;
    }
    for (; at != size; ++at)
        if (IsControl_(text[at])) text[at] = ' ';
}

void PrintToConsole_(char letter, char const* time, char const* ident, char* text) {
    Flatten_(text);
    char const head[] = {'[', letter, ']', ' '};
    ConsoleLine_ line;
    line.Add(head, *time ? 4 : 3);
    line.Add(time);
    line.Add(" zeb: ", 6);
    line.Add(ident);
    line.Add(": ", 2);
    line.Add(text);
    line.Add("\n", 1);
    line.Write();
}

} // namespace

Log::InHandler::InHandler() { ++own_.handlers; }
Log::InHandler::~InHandler() { --own_.handlers; }

void Log::Impl_::SetIdent(char const* ident) { processIdent_ = ident; }

void Log::Impl_::ReadZone() {
    tzset();
    pthread_mutex_lock(&logLock_);
    shared_.second = shared_.zoneSecond = -1;
    shared_.Refresh();
    pthread_mutex_unlock(&logLock_);
}

Log::Impl_::Turn_::Turn_()
    : way_(own_.handlers != 0 ? WITHOUT_LOCK
           : own_.printing    ? NONE
                              : WITH_LOCK) {
    if (way_ != WITH_LOCK) return;
    own_.printing = true;
    pthread_mutex_lock(&logLock_);
}

Log::Impl_::Turn_::~Turn_() {
    if (way_ != WITH_LOCK) return;
    pthread_mutex_unlock(&logLock_);
    own_.printing = false;
}

bool Log::Impl_::Turn_::InHandler() { return own_.handlers != 0; }

ZEB_UNSEEN void Log::Impl_::Print() {
    if (flags_ & SILENT) return;
    char* const message = MakeMessage();
    if (!message) return;
    if (flags_ & WITH_BACKTRACE) return PrintWithBacktrace_(message);
    Turn_ const turn;
    if (turn.IsMine()) PrintLine_(level_, message);
}

void Log::Impl_::PrintLine_(LevelT level, char* text) {
    if (own_.handlers != 0) return PrintFromHandler_(level, text);
    Level_ const& row = LEVELS[level];
    if (flags_ & CONSOLE) {
        shared_.Refresh();
        return PrintToConsole_(row.letter, shared_.text, ident_, text);
    }
    shared_.RefreshZone(time(nullptr)); // for handlers: syslog() finds its own time
    syslog(row.priority, "%s: %s", ident_, text);
}

// Only calls that a signal handler may make, and no lock, neither of ours nor of libc: the interrupted
// thread, or one that waits for it, may hold any of them.
void Log::Impl_::PrintFromHandler_(LevelT level, char* text) {
    Level_ const& row = LEVELS[level];
    TimeText_ time;
    time.Print(Time::Now());
    if (flags_ & CONSOLE) return PrintToConsole_(row.letter, time.text, ident_, text);
    char const* const process = processIdent_;
    LogSyslog_Send(row.priority, time.text, process ? process : program_invocation_short_name, ident_, text);
}
