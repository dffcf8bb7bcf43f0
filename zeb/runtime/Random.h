#pragma once

// Random: randomness from the kernel, good enough for keys: getrandom() of the blocking pool's quality.
//
// For many numbers of no secrecy (a shuffle, a jitter of times) seed a generator of your own with Get(): each
// operation costs system calls, one for each 256 bytes.
//
// Threads   any
// Waits     each operation, until it has all of its bytes. While the kernel has too few, on a device that has
//           just started, a critical line with the stack says so every 333 milliseconds. Nothing else ends
//           the wait: neither an interruption nor a request to stop, which stay pending for the caller
// Locks     any may be held, for as long as such a wait may take
// Memory    is taken by those two alone that make room for their result; they give false when there is none

#include "zeb/core/Export.h"

class Buffer;
class String;

class ZEB_PUBLIC Random {
public:
    static constexpr char const IDENT[] = "Random";

    // 8 random bytes. GetAbs() too is of either sign.
    static long GetAbs();
    static unsigned long Get();

    // base + GetAbs() modulo span, by unsigned arithmetic: from `base` up to below `base + span`. A span of 0
    // is the whole range.
    static unsigned long GetUniformInterval(unsigned long base, unsigned long span);

    static void Get(unsigned char* data, unsigned long size);
    static void Get(char* data, unsigned long size);

    // The buffer has `size` random bytes then. False, with the buffer as it was, when memory ran out.
    static bool Get(Buffer& out, unsigned long size);

    // `size` characters of 6 bits each, letters and digits: for passwords and names. "Z" and "e" are twice as
    // likely as the others. False, with the text as it was, when memory ran out.
    static bool GetAsciiString(unsigned long size, String& text);

    // Bytes other than 0.
    static void GetNz(unsigned char* data, unsigned long size);
};
