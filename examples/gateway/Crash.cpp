#include "Crash.h"

#include <cstdlib>
#include <cstring>

namespace {

// A sanitizer would end the program with words of its own.
#define CRASHES __attribute__((noinline, no_sanitize("address", "undefined")))

int* volatile nowhere = nullptr;
bool volatile endless = true;

CRASHES void WriteNowhere() { *nowhere = 1; }

// With room of its own for each call, so that no compiler makes a loop of it.
CRASHES int Recurse(int depth) {
    char volatile room[1024] = {static_cast<char>(depth)};
    return (endless ? Recurse(depth + 1) : 0) + room[0];
}

} // namespace

bool ParseCrash(char const* word, CrashT& kind) {
    constexpr char const* WORDS[] = {"null", "stack", "abort"};
    for (unsigned i = 0; i < 3; ++i) {
        if (strcmp(word, WORDS[i]) != 0) continue;
        kind = static_cast<CrashT>(CRASH_NULL + i);
        return true;
    }
    return false;
}

void Crash(CrashT kind) {
    switch (kind) {
    case CRASH_NONE:
        return;
    case CRASH_NULL:
        WriteNowhere();
        return;
    case CRASH_STACK:
        (void)Recurse(0);
        return;
    case CRASH_ABORT:
        abort();
    }
}
