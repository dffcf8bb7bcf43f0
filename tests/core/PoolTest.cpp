#include "zeb/core/Pool.h"

#include "tests/core/Rig.h"
#include "workbench/Calls.h"
#include "workbench/Child.h"
#include "workbench/MemoryGroup.h"

#include <sys/mman.h>
#include <thread>

namespace {

unsigned long const PAGE = static_cast<unsigned long>(sysconf(_SC_PAGESIZE));

// A thread keeps what was reserved, so each of these bodies has a thread of its own, which must leave
// nothing.
template<class F>
void OnFreshThread(F const& body) {
    Heap const heap(Heap::NEVER, Heap::ModeT::ONCE, Heap::ScopeT::PROCESS);
    std::thread([&] { body(heap); }).join();
    EXPECT_EQ(heap.Live(), 0u) << heap.Describe();
}

} // namespace

TEST(Pool, BumpsInsideItselfAndThenInBlocksOfWholePages) {
    Heap const heap;
    Pool<2048> pool;
    auto* const first = static_cast<char*>(pool.Alloc(1));
    EXPECT_EQ(reinterpret_cast<unsigned long>(first) % PoolBase::ALIGNMENT, 0u);
    EXPECT_TRUE(pool.Alloc(17) == first + 16 && pool.Alloc(0) == first + 48 && pool.Left() == 2048 - 48);
    EXPECT_EQ(heap.Live(), 0u);
    EXPECT_TRUE(pool.Alloc(2001) && pool.Left() == PAGE - 16 - 2016) << "the rest of the first block is lost";
    EXPECT_TRUE(pool.Alloc(pool.Left()) && pool.Left() == 0 && heap.LiveBytes() == PAGE);
    EXPECT_TRUE(pool.Alloc(PAGE - 16) && heap.LiveBytes() == 2 * PAGE);
    EXPECT_TRUE(pool.Alloc(PAGE - 15) && heap.LiveBytes() == 4 * PAGE);
    pool.Clear();
    EXPECT_TRUE(heap.Live() == 0 && pool.Left() == 2048 && pool.Alloc(1) == first);
}

TEST(Pool, AFailedAllocOrReserveLeavesThePresentBlockInUse) {
    OnFreshThread([](Heap const&) {
        ForEveryAllocation([](Heap& heap) {
            Pool<64> pool;
            auto* const first = static_cast<char*>(pool.Alloc(16));
            Calls const calls;
            bool small = false, large = false;
            Reported(heap, [&] { return small = pool.Alloc(100), large = pool.Alloc(100000), small && large; });
            EXPECT_TRUE(small || large || pool.Alloc(16) == first + 16);
        });
        Pool<64> pool;
        for (unsigned long const back : {0UL, 15UL, 16UL, 32UL, 5000UL}) EXPECT_EQ(pool.Alloc(~0UL - back), nullptr);
        Calls calls;
        calls.Script(SysCall::mmap, {Calls::Fail(ENOMEM), Calls::Fail(ENOMEM)});
        EXPECT_FALSE(pool.Reserve(100000) || pool.Reserve(3UL << 20));
        EXPECT_TRUE(pool.Left() == 64 && pool.Reserve(100000));
    });
}

TEST(PoolReserve, GivesOneRegionWithinItsLimits) {
    unsigned long const MAX = PoolBase::REGION_MAX;
    for (auto const& [asked, left] :
         {std::pair{2048UL, 2048UL}, {2049, PoolBase::REGION_MIN}, {300000, 300000}, {3UL << 20, MAX}, {~0UL, MAX}})
        OnFreshThread([asked = asked, left = left](Heap const&) {
            Calls const calls;
            Pool<2048> pool;
            EXPECT_TRUE(pool.Reserve(asked) && pool.Left() >= left && pool.Left() < left + 2 * PAGE) << asked;
            EXPECT_TRUE(pool.Reserve(left) && pool.Alloc(left));
            EXPECT_EQ(std::pair(calls.Count(SysCall::mmap), pool.IsFresh()), std::pair(asked > 2048 ? 1UL : 0UL, asked > 2048));
        });
}

TEST(PoolReserve, AThreadKeepsWhatFitsBestUpToItsLimit) {
    constexpr unsigned long LARGE = PoolBase::REGION_MAX + PoolBase::ALIGNMENT;
    std::tuple<unsigned long, std::vector<unsigned long>, std::vector<unsigned long>> const rows[] = {
        {PoolBase::KEPT_MAX, {}, {}},
        {PoolBase::KEPT_MAX, {100000, LARGE, 70000}, {70000, 100000, LARGE}},
        {PoolBase::KEPT_MAX, std::vector<unsigned long>(9, LARGE), std::vector<unsigned long>(8, LARGE)},
        {6UL << 20, {LARGE, LARGE}, {2UL << 20, LARGE}}, // the second one is cut
        {LARGE + PoolBase::REGION_MIN - 1, {LARGE, LARGE}, {LARGE}},
        {100000, {LARGE}, {PoolBase::REGION_MIN}},
        {0, {100000}, {}},
    };
    for (auto const& [limit, reserved, kept] : rows) { // sizes; what further pools get without the kernel
        PoolBase::KeepUpTo(limit);
        OnFreshThread([&, &reserved = reserved, &kept = kept](Heap const& heap) {
            static thread_local Pool<2048> last; // dies behind the thread's own end
            Pool<2048> pool;
            for (unsigned long const size : reserved)
                EXPECT_TRUE(pool.Reserve(size - 16) && memset(pool.Alloc(pool.Left()), 0xFF, size - 16));
            pool.Clear();
            unsigned long bytes = 0;
            for (unsigned long const size : kept) bytes += (size + 16 + PAGE - 1) / PAGE * PAGE;
            EXPECT_TRUE(heap.LiveBytes() >= bytes - bytes % LARGE && heap.LiveBytes() <= bytes + LARGE);
            Calls const calls;
            for (unsigned long const size : kept) {
                EXPECT_TRUE(last.Reserve(size - 16) && last.Left() >= size - 16 && !last.IsFresh());
                EXPECT_TRUE(last.Left() < size + 2 * PAGE && memset(last.Alloc(last.Left()), 0xFF, size - 16));
            }
            EXPECT_EQ(calls.Count(SysCall::mmap), 0u);
            EXPECT_TRUE(last.Reserve(70000) && last.IsFresh() && calls.Count(SysCall::mmap) == 1);
            if (kept.size() < 2) return;
            last.Clear();
            EXPECT_TRUE(last.Reserve(1UL << 30)) << "the longest one, though it is shorter";
            EXPECT_EQ(calls.Count(SysCall::mmap), 1u);
        });
    }
    PoolBase::KeepUpTo(PoolBase::KEPT_MAX);
}

TEST(PoolReserve, WhatAThreadKeepsBeyondTheFirstMiBIsOnOfferToTheKernel) {
    if (char const* const why = WhyNothingIsOnOffer()) GTEST_SKIP() << why;
    OnFreshThread([](Heap const&) {
        unsigned long const before = SmapsBytes("LazyFree");
        Pool<2048> pool;
        for (unsigned long const size : {PoolBase::WARM_MAX - PAGE, 4UL << 20, 4UL << 20})
            EXPECT_TRUE(pool.Reserve(size - 16) && memset(pool.Alloc(size - 16), 0xFF, size - 16));
        pool.Clear();
        EXPECT_NEAR(double(SmapsBytes("LazyFree") - before), 8 << 20, 64 * PAGE); // pages wait in batches of the kernel
        EXPECT_TRUE(pool.Reserve(3UL << 20) && memset(pool.Alloc(3UL << 20), 1, 3UL << 20));
    });
}

TEST(PoolReserve, UnderAMemoryLimitTheKernelTakesWhatIsKept) {
    constexpr unsigned long SIZE = 28UL << 20;
    MemoryGroup const group(SIZE + (12UL << 20));
    if (char const* const why = group.WhyNot()) GTEST_SKIP() << why;
    Child const child = Child::Run([&] {
        group.Join();
        Pool<2048> pool;
        for (unsigned i = 0; i < 7; ++i)
            memset((pool.Reserve(PoolBase::REGION_MAX), pool.Alloc(pool.Left())), 1, PoolBase::REGION_MAX);
        pool.Clear();
        memset(mmap(nullptr, SIZE, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0), 1, SIZE);
    });
    EXPECT_EQ(child.ExitCode(), 0) << "killed for want of memory" << child;
}

TEST(Pool, WhatIsApartLeavesThePresentBlockAsItIs) {
    OnFreshThread([](Heap const& heap) {
        Pool<2048> pool;
        auto* const first = static_cast<char*>(pool.Alloc(16));
        for (unsigned long const size : {1UL, PAGE - 16, 5UL << 20}) EXPECT_TRUE(memset(pool.AllocApart(size), 0xFF, size));
        EXPECT_TRUE(pool.Alloc(16) == first + 16 && !pool.IsFresh());
        EXPECT_EQ(heap.LiveBytes(), 2 * PAGE + (5UL << 20) + PAGE);
        Calls calls;
        calls.Script(SysCall::mmap, {Calls::Fail(ENOMEM)});
        EXPECT_TRUE(!pool.AllocApart(100) && !pool.AllocApart(~0UL) && pool.Left() == 2048 - 32);
        pool.Clear();
        EXPECT_EQ(heap.Live(), 0u);
    });
}

#ifdef ZEB_POOL_POISONS
TEST(Pool, PoisonsWhatIsNotHandedOut) {
    alignas(16) char place[sizeof(Pool<256>)];
    auto* const pool = new (place) Pool<256>;
    auto* const block = static_cast<char*>(pool->Alloc(20));
    EXPECT_TRUE(!__asan_address_is_poisoned(block + 19) && __asan_address_is_poisoned(block + 20));
    pool->Clear();
    EXPECT_TRUE(__asan_address_is_poisoned(block));
    pool->~Pool();
    EXPECT_EQ(__asan_region_is_poisoned(place, sizeof place), nullptr);
}
#endif
