// A heap that fails on request, and counts.
//
// While a Heap exists it watches the allocations of its thread (or of the whole process): malloc, calloc,
// realloc, posix_memalign, CRYPTO_clear_realloc, the nothrow forms of new, and anonymous mmap. Between Arm()
// and Disarm() it counts them and fails the n-th. New memory is filled with junk, and a block that realloc()
// grows always moves. The throwing forms of new are not watched: what GoogleTest and the standard library
// allocate does not matter, so a test may use both at any time.
//
//     ForEveryAllocation([](Heap& heap) {
//         StringMap map;
//         heap.Arm();                          // from here the n-th allocation of this thread fails
//         bool const ok = map.Set("b", "2");
//         heap.Disarm();
//         EXPECT_EQ(ok, !heap.Fired());        // reported exactly when it happened
//     });
//
// Scope      THREAD sees what the thread that made it allocates, PROCESS what all others without a Heap do
// Nesting    the innermost one counts and fails; destroy in the reverse order, on the thread that made it
// Threads    every operation may be called by any; a block may be released by any, and is known as released
// Cost       a lock and a table for each allocation; none while no Heap exists
#pragma once

#include <cstddef>
#include <functional>
#include <string>

class Heap {
public:
    enum class ModeT { ONCE, FOREVER }; // the n-th alone; the n-th and all behind it
    enum class ScopeT { THREAD, PROCESS };

    static constexpr unsigned long NEVER = 0;

    explicit Heap(unsigned long failing = NEVER, ModeT mode = ModeT::ONCE, ScopeT scope = ScopeT::THREAD);
    ~Heap();
    Heap(Heap const&) = delete;
    Heap& operator=(Heap const&) = delete;

    // Counting goes on where the last Disarm() left it.
    void Arm();
    void Disarm();

    // Whether an allocation was failed so far.
    bool Fired() const { return Failures() != 0; }
    unsigned long Failures() const;

    // Allocations while armed, failed ones included.
    unsigned long Calls() const;

    // Blocks allocated since this Heap exists, armed or not, that no thread has released yet, and their
    // bytes.
    unsigned long Live() const;
    unsigned long LiveBytes() const;

    // The blocks that still live, one a line: size, and which allocation of this Heap it was.
    std::string Describe() const;

    // Called with each watched block right before its release, on the releasing thread: "is it wiped?".
    void OnRelease(std::function<void(void const* data, std::size_t size)> watcher);

private:
    friend class HeapWatch;
    struct State;

    State* const state_;
    Heap* const outer_;
};

// Runs `body` once without a failure (what the library builds on first use is built then), and then with the
// 1st, 2nd, 3rd ... allocation between Arm() and Disarm() failing, until none failed; then again with all
// allocations from the n-th on failing. Fails the test if nothing was allocated between Arm() and Disarm(),
// if a round leaves blocks behind, and if the sweep does not end. Stops at the first round in which an
// expectation failed.
void ForEveryAllocation(std::function<void(Heap& heap)> const& body,
                        Heap::ScopeT scope = Heap::ScopeT::THREAD);

// Runs `body` between Arm() and Disarm() and gives its answer back, which must be true unless an allocation
// was failed: the shape of most bodies of a sweep.
//     ForEveryAllocation([](Heap& heap) { Reported(heap, [] { return StringMap().Set("b", "2"); }); });
bool Reported(Heap& heap, std::function<bool()> const& body);

// What this thread asks of the heap and of the system in a block of code:
//     Footprint footprint;
//     ...
//     EXPECT_EQ(footprint.Allocations(), 0u);
//     EXPECT_EQ(footprint.SystemCalls(), 0u);  // those named in Calls.inc
class Footprint {
public:
    Footprint();

    unsigned long Allocations() const { return heap_.Calls(); }
    unsigned long SystemCalls() const;

private:
    Heap heap_;
    unsigned long const systemCalls_;
};
