// OpenSSL's allocations fail on request, as those of the program do.
//
//     OpenSslHeap::Sweep(7, [](Heap& heap) {
//         PrivateKey key;
//         heap.Arm();                          // from here the n-th allocation fails, whoever makes it
//         ReturnT const code = key.Generate();
//         heap.Disarm();
//         EXPECT_TRUE(code.Succeeded() || !key.Exists());
//     });
//
// OpenSSL makes thousands of allocations where a program makes one, goes on without some of them, and leaves
// blocks of its own behind when others fail. So a sweep fails each `stride`-th, does not ask whether the
// failure shows, and finds no leaks: those of the program are found by ForEveryAllocation(), which does not
// see OpenSSL. A program that links this part routes the memory of OpenSSL through it from its start on.
//
// Threads    what OpenSSL allocates on other threads is not watched
#pragma once

#include "workbench/Heap.h"

#include <functional>

class OpenSslHeap {
public:
    // Runs `body` with the 1st, (1 + stride)-th ... allocation failing, until none failed; then with all from
    // there on. Stops at the first run in which an expectation failed. Give a prime that is not small.
    static void Sweep(unsigned long stride, std::function<void(Heap& heap)> const& body);

    // Bytes that OpenSSL has allocated at once at most while `body` ran, beyond those of before.
    static long Peak(std::function<void()> const& body);
};
