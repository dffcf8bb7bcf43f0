#pragma once

// Ends the program by a crash, to show its report.

enum CrashT { CRASH_NONE, CRASH_NULL, CRASH_STACK, CRASH_ABORT };

// The kind of a crash by its word: "null", "stack" or "abort". False for any other.
bool ParseCrash(char const* word, CrashT& kind);

// CRASH_NONE returns.
void Crash(CrashT kind);
