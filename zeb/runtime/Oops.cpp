#include "zeb/runtime/Oops.h"

#include "zeb/core/ErrorString.h"
#include "zeb/core/Integer.h"
#include "zeb/core/UnseenImpl.h"
#include "zeb/runtime/Backtrace.h"
#include "zeb/runtime/Thread.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace {

constexpr int WIDTH = 16; // of an address
constexpr unsigned long LINE_MAX = 2048;
constexpr int RETRIES = 10;
constexpr int RETRY_MS = 300;

// Straight to the descriptor: another thread may hold the lock of `stderr` for ever.
void WriteError_(char const* text, unsigned long size) {
    while (size) {
        ssize_t const written = write(STDERR_FILENO, text, size);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return; // there is no other place to tell
        text += written;
        size -= static_cast<unsigned long>(written);
    }
}

void PrintError_(char const* format, int error) {
    char text[256];
    int const size = snprintf(text, sizeof(text), format, ErrorString(error));
    if (size > 0) WriteError_(text, strlen(text));
}

alignas(Backtrace) char backtraceRoom_[sizeof(Backtrace)];
constinit Backtrace::Regs regs_;

} // namespace

void Oops::Printf(char const* format, ...) {
    char text[LINE_MAX];
    va_list arguments;
    va_start(arguments, format);
    int const size = vsnprintf(text, sizeof(text), format, arguments);
    va_end(arguments);
    if (size < 0) return;
    unsigned long const length = strlen(text);
    WriteError_(text, length);
    if (length > left_) return;
    memcpy(at_, text, length + 1);
    at_ += length;
    left_ -= length;
}

void Oops::PrintSignalBacktrace() {
    Backtrace& backtrace =
        *new (backtraceRoom_) Backtrace(Backtrace::CRASH); // never destroyed: the process ends
    backtrace.GetUser(1, &regs_);
    Printf("\n");
    if (*backtrace.Error()) Printf("Unable to unwind: %s.\n", backtrace.Error());
    if (backtrace.Empty() && !backtrace.Truncated()) {
        Printf("No backtrace available.\n");
        return;
    }
    Printf("%s\n", regs_.Cstr());
    for (Backtrace::Frame const frame : backtrace) {
        Printf("  0x%0*lx: %s+0x%lx (%s+0x%lx)\n", WIDTH, frame.Ip(), frame.Name(), frame.NameOffset(),
               frame.Location(), frame.LocationOffset());
    }
    if (backtrace.Truncated()) Printf("  %s\n", Backtrace::CUT);
}

ZEB_UNSEEN void Oops::PrintThreadBacktrace(int tid) {
    Backtrace backtrace(Backtrace::NAMES);
    int const error = Thread::GetBacktrace(tid, backtrace, nullptr, 0);
    Integer const id(tid == Thread::TID_SELF ? Thread::Id() : tid);
    if (error) {
        Printf("unable to get a backtrace (%s): %s.\n", id.Cstr(), ErrorString(error));
    } else if (*backtrace.Error()) {
        Printf("%s.\n", backtrace.Error());
    } else if (backtrace.Empty() && !backtrace.Truncated()) {
        Printf("  no backtrace available.\n");
    } else {
        Printf("\"%s\" (%s) backtrace:\n", backtrace.ThreadName(), id.Cstr());
    }
    backtrace.Demangle();
    for (Backtrace::Frame const frame : backtrace)
        Printf("  %s+0x%lx\n", frame.Name(), frame.NameOffset());
    if (backtrace.Truncated()) Printf("  %s\n", Backtrace::CUT);
    Printf("\n\n");
}

bool Oops::Dump() {
    if (at_ == text_) return false;
    int const device = open(DEVICE, O_WRONLY | O_TRUNC | O_CLOEXEC);
    if (device < 0) {
        PrintError_("Unable to open dump file: %s.\n", errno);
        return false;
    }
    bool const dumped = Dump_(device);
    if (close(device) == 0) return dumped;
    PrintError_("Unable to close a dump file: %s.\n", errno);
    return false;
}

bool Oops::Dump_(int device) {
    int const flags = fcntl(device, F_GETFL, 0);
    if (flags < 0) {
        PrintError_("Unable to get flags: %s.\n", errno);
        return false;
    }
    if (fcntl(device, F_SETFL, flags | O_NONBLOCK) < 0) {
        PrintError_("Unable to set flags: %s.\n", errno);
        return false;
    }
    if (!Write_(device)) return false;
    if (fsync(device) == 0 || errno == EINVAL || errno == EROFS) return true;
    PrintError_("Unable to synchronize data: %s.\n", errno);
    return false;
}

// The text with its terminator.
bool Oops::Write_(int device) {
    char const* at = text_;
    unsigned long left = static_cast<unsigned long>(at_ - text_) + 1;
    for (int retries = 0; left;) {
        ssize_t const written = write(device, at, left);
        if (written >= 0) {
            at += written;
            left -= static_cast<unsigned long>(written);
            if (written > 0) continue;
        } else if (errno != EINTR && errno != EAGAIN) {
            PrintError_("Unable to write a dump: %s.\n", errno);
            return false;
        }
        if (retries++ == RETRIES) {
            PrintError_("Too many write retries.\n", 0);
            return false;
        }
        pollfd poller = {device, POLLOUT, 0};
        int const ready = poll(&poller, 1, RETRY_MS);
        if (ready < 0 && errno != EINTR) {
            PrintError_("Unable to poll storage state: %s.\n", errno);
            return false;
        }
        if (ready > 0 && (poller.revents & (POLLERR | POLLHUP | POLLNVAL))) {
            PrintError_("Write poll returned broken state.\n", 0);
            return false;
        }
    }
    return true;
}
