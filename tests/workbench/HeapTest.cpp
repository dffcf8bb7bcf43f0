#include "workbench/Heap.h"

#include "workbench/Failures.h"
#include "workbench/LogCapture.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <thread>
#include <tuple>
#include <utility>

#include <sys/mman.h>
#include <syslog.h>

extern "C" void CRYPTO_clear_free(void* block, size_t size, char const* file, int line);

namespace {

void* volatile sink;

// Keeps the compiler from doing without the allocation.
void* Kept(void* block) {
    sink = block;
    return block;
}

struct alignas(64) Aligned {
    char data[64];
};

// clang-format off
struct {
    char const* name;
    void* (*take)();
    void (*release)(void*);
} const ROWS[] = {
    {"malloc", [] { return malloc(10); }, free},
    {"calloc", [] { return calloc(2, 5); }, free},
    {"realloc", [] { return realloc(nullptr, 10); }, free},
    {"posix_memalign", [] { void* block = nullptr; return posix_memalign(&block, 64, 100) == 0 ? block : nullptr; }, free},
    {"new", []() -> void* { return new (std::nothrow) int; }, [](void* block) { delete static_cast<int*>(block); }},
    {"new[]", []() -> void* { return new (std::nothrow) char[9]; }, [](void* block) { delete[] static_cast<char*>(block); }},
    {"aligned new", []() -> void* { return new (std::nothrow) Aligned; }, [](void* block) { delete static_cast<Aligned*>(block); }},
    {"mmap", [] { void* const block = mmap(nullptr, 4096, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
                  return block == MAP_FAILED ? nullptr : block; }, [](void* block) { munmap(block, 4096); }},
};
// clang-format on

TEST(HeapTest, FailsCountsAndReleasesEveryKindOfAllocation) {
    for (auto const& row : ROWS) {
        SCOPED_TRACE(row.name);
        Heap heap(2);
        void* const unarmed = Kept(row.take());
        heap.Arm();
        void* const first = Kept(row.take());
        errno = 0;
        void* const second = Kept(row.take());
        EXPECT_TRUE(errno == ENOMEM || strcmp(row.name, "posix_memalign") == 0);
        void* const third = Kept(row.take());
        heap.Disarm();
        EXPECT_TRUE(unarmed != nullptr && first != nullptr && second == nullptr && third != nullptr);
        EXPECT_EQ(std::tuple(heap.Calls(), heap.Failures(), heap.Live()), std::tuple(3u, 1u, 3u));
        for (void* const block : {unarmed, first, third}) row.release(block);
        EXPECT_EQ(heap.Live() + heap.LiveBytes(), 0u) << heap.Describe();
    }
    sink = nullptr;
}

TEST(HeapTest, FailsForeverAndForOtherThreadsOnRequest) {
    Heap heap(1, Heap::ModeT::FOREVER, Heap::ScopeT::PROCESS);
    heap.Arm();
    std::thread([] { EXPECT_TRUE(Kept(malloc(1)) == nullptr && Kept(malloc(1)) == nullptr); }).join();
    heap.Disarm();
    Heap mine(1);
    mine.Arm();
    void* theirs = nullptr;
    std::thread([&] { theirs = malloc(7); }).join();
    mine.Disarm();
    EXPECT_FALSE(mine.Fired());
    EXPECT_EQ(heap.LiveBytes(), 7u);
    free(theirs);
    EXPECT_EQ(heap.Live(), 0u);
}

TEST(HeapTest, ReallocMovesKeepsTheTextAndLeavesTheOldBlockOnFailure) {
    Heap heap(2);
    char* block = static_cast<char*>(malloc(4));
    EXPECT_EQ(block[3], static_cast<char>(0xA5));
    memcpy(block, "abc", 4);
    heap.Arm();
    char* const moved = static_cast<char*>(realloc(block, 6));
    sink = moved;
    EXPECT_EQ(realloc(sink, 900), nullptr);
    heap.Disarm();
    EXPECT_STREQ(moved, "abc");
    EXPECT_EQ(moved[5], static_cast<char>(0xA5));
    EXPECT_EQ(heap.Live(), 1u);
    std::string released;
    heap.OnRelease([&](void const* data, std::size_t size) { released.assign(static_cast<char const*>(data), size); });
    CRYPTO_clear_free(sink, 6, "", 0);
    EXPECT_EQ(released, std::string(6, '\0')) << "is wiped";
}

void* leaked = nullptr;

// Two blocks, the second of which may fail; `bug` says what is wrong with it.
void Sweep(char bug) {
    ForEveryAllocation([bug](Heap& heap) {
        if (bug != 'n') heap.Arm();
        void* const a = malloc(1);
        void* const b = a == nullptr ? nullptr : malloc(1);
        heap.Disarm();
        EXPECT_EQ(b != nullptr || bug == 'r', !heap.Fired());
        bug == 'l' && b == nullptr ? free(std::exchange(leaked, a)) : free(a);
        free(b);
    });
    free(std::exchange(leaked, nullptr));
}

TEST(HeapTest, ASweepPassesWhenRightAndFailsOnLeaksOnWrongResultsAndOnNothing) {
    Sweep(' ');
    EXPECT_THAT_FAILS(Sweep('l'), "1 bytes of allocation 1");
    EXPECT_THAT_FAILS(Sweep('r'), "b != nullptr");
    EXPECT_THAT_FAILS(Sweep('n'), "nothing was allocated");
}

TEST(HeapTest, AFootprintSeesWatchedAllocationsOnly) {
    Footprint footprint;
    std::string const text(1000, 'x');
    EXPECT_EQ(footprint.Allocations() + footprint.SystemCalls(), 0u);
    free(Kept(malloc(1)));
    munmap(mmap(nullptr, 1, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0), 1);
    EXPECT_EQ(std::pair(footprint.Allocations(), footprint.SystemCalls()), std::pair(2ul, 2ul));
}

TEST(LogCaptureTest, KeepsLinesOfAllThreadsWithLetterAndIdent) {
    LogCapture log;
    syslog(LOG_ERR, "%s: %s", "Io::File", "\"etc\": unable: no.");
    std::thread([] { syslog(LOG_CRIT, "%s: %s", "Task", "out of memory [0xcffe0139], x [0x8022cffd]."); }).join();
    {
        LogCapture inner;
        syslog(LOG_AUTH | LOG_NOTICE, "%s: %s", "A", "b");
        EXPECT_EQ(inner.Take(), LogCapture::LinesT({"A A: b"}));
        EXPECT_TRUE(inner.Lines().empty());
    }
    EXPECT_EQ(log.RawLines()[1], "C Task: out of memory [0xcffe0139], x [0x8022cffd].");
    EXPECT_EQ(log.Lines(),
              LogCapture::LinesT({"E Io::File: \"etc\": unable: no.", "C Task: out of memory [0xcffe****], x [0x8022cffd]."}));
    EXPECT_TRUE(log.Has("unable") && log.Await("Task") && !log.Has("W "));
}

} // namespace
