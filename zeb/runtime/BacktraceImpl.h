#pragma once

// What the sources of Backtrace share. Not installed.

#include "zeb/runtime/Backtrace.h"

#include <cstdarg>

struct Backtrace::Frame_ {
    Frame_* next;
    unsigned long ip;
    char const* name;
    unsigned long nameOffset;
    char const* location;
    unsigned long locationOffset;
    unsigned long nameCapacity; // bytes behind `name` that belong to the frame
};

// A register by the processor's name and the number that the unwinder has for it. A null name leaves its
// place empty.
struct Register_ {
    char const* name;
    int number;
};

// What a dump shows: the general registers two a row, and a last block of pairs.
struct Registers_ {
    static constexpr unsigned long LAST_MAX = 3;

    Register_ const* general;
    unsigned long count;
    Register_ last[LAST_MAX][2];
    unsigned long lastCount;

    // Which frame the unwinder calls that of the signal: the interrupted function itself, or the return from
    // the handler ahead of it.
    bool interruptedIsSignalFrame;
};

// Of the processor that this is built for; one source each.
extern Registers_ const REGISTERS_;
