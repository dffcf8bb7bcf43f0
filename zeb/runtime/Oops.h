#pragma once

// Oops: the report of a crash. Main makes it when a fatal signal comes (SIGABRT, SIGBUS, SIGFPE, SIGILL,
// SIGSEGV): the reason, the registers and the stack go to standard error and to the device of the kernel that
// keeps them for the next boot, and then the process group is killed. Nothing of it uses the heap, stdio's
// locks or a lock of this library.
//
// A client that wants to leave a word for the next boot of its own accord makes an Oops, prints into it and
// dumps it.

#include "zeb/core/Export.h"

class ZEB_PUBLIC Oops {
public:
    static constexpr unsigned long SIZE = 16384;                // of a report, with its terminator
    static constexpr char const DEVICE[] = "/proc/mtdoops/zeb"; // keeps it

    Oops() = default;
    Oops(Oops const&) = delete;
    Oops& operator=(Oops const&) = delete;

    // Appends a text, and writes it to standard error. What does not fit as a whole is only written there; a
    // text is cut at 2047 bytes.
    void Printf(char const* format, ...) __attribute__((format(printf, 2, 3)));

    // The stack of a thread of this process, by Thread::GetBacktrace; Thread::TID_SELF is the calling one.
    // Uses the heap for readable names.
    void PrintThreadBacktrace(int tid);

    // For a signal handler: registers and stack of what the signal has interrupted. Once in a process; uses
    // static memory.
    void PrintSignalBacktrace();

    // Writes the report to the device. False if that failed; standard error then says why. An empty report is
    // not written, and false too.
    bool Dump();

    char const* Cstr() const { return text_; }

private:
    bool Dump_(int device);
    bool Write_(int device);

    char text_[SIZE] = {};
    char* at_ = text_;
    unsigned long left_ = SIZE - 1;
};
