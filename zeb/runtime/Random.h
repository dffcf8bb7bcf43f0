#pragma once

// Random: randomness from the kernel, good enough for keys: getrandom() of the blocking pool's quality.
//
// Nothing here fails for want of randomness: each operation waits until it has all of its bytes. While the
// kernel has too few, a critical line says so every 333 milliseconds; an interruption of the thread does not
// end the wait. Only those that make room for their result say, by false, that memory ran out.
//
// Each call costs system calls, one for each 256 bytes: who needs many numbers of no secrecy (a shuffle, a
// jitter of times) seeds a generator of its own. Any thread, under any lock.

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
