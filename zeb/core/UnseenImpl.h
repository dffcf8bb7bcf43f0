#pragma once

// ZEB_UNSEEN marks a function that a backtrace of the calling thread leaves out when it comes first: those of
// the log and of the monitor of locks, so that the stack behind a line begins with the function of the
// client, however compilers inline. A skip count begins behind them. Not installed.
//
// What such a function calls on its way to a statement is marked as well, or [[gnu::always_inline]]: an
// inline function cannot be marked.

#define ZEB_UNSEEN __attribute__((section("zeb_unseen")))
