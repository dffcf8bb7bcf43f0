#include "zeb/core/Pool.h"

#include "workbench/Calls.h"
#include "workbench/Heap.h"

#include <cerrno>
#include <cstring>
#include <gtest/gtest.h>
#include <thread>
#include <unistd.h>

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
            heap.Arm();
            bool const small = pool.Alloc(100), large = pool.Alloc(100000);
            heap.Disarm();
            EXPECT_EQ(small && large, !heap.Fired());
            EXPECT_TRUE(small || large || pool.Alloc(16) == first + 16);
        });
        Pool<64> pool;
        for (unsigned long const back : {0UL, 15UL, 16UL, 32UL, 5000UL})
            EXPECT_EQ(pool.Alloc(~0UL - back), nullptr);
        Calls calls;
        calls.Script(SysCall::mmap, {Calls::Fail(ENOMEM), Calls::Fail(ENOMEM)});
        EXPECT_FALSE(pool.Reserve(100000) || pool.Reserve(3UL << 20));
        EXPECT_TRUE(pool.Left() == 64 && pool.Reserve(100000));
    });
}

TEST(PoolReserve, GivesOneRegionWithinItsLimits) {
    unsigned long const MAX = PoolBase::REGION_MAX;
    // clang-format off
    std::pair<unsigned long, unsigned long> const rows[] = {
        {2048, 2048}, {2049, PoolBase::REGION_MIN}, {300000, 300000}, {3UL << 20, MAX}, {~0UL, MAX}};
    // clang-format on
    for (auto const& [asked, left] : rows)
        OnFreshThread([&](Heap const&) {
            Calls const calls;
            Pool<2048> pool;
            EXPECT_TRUE(pool.Reserve(asked) && pool.Left() >= left && pool.Left() < left + 2 * PAGE) << asked;
            EXPECT_TRUE(pool.Reserve(left) && pool.Alloc(left));
            EXPECT_EQ(calls.Count(SysCall::mmap), asked > 2048 ? 1u : 0u);
            EXPECT_EQ(pool.IsFresh(), asked > 2048);
        });
}

TEST(PoolReserve, AThreadKeepsTheLongestRegionUpToItsLimit) {
    OnFreshThread([](Heap const& heap) {
        Pool<2048> pool;
        EXPECT_TRUE(pool.Reserve(100000) && memset(pool.Alloc(1000), 0xFF, 1000));
        pool.Clear();
        Calls const calls;
        EXPECT_TRUE(pool.Reserve(3UL << 20) && pool.Left() < 200000 && !pool.IsFresh());
        EXPECT_EQ(calls.Count(SysCall::mmap), 0u) << "the spare one, though it is shorter";
        EXPECT_TRUE(pool.Reserve(3UL << 20) && pool.Left() >= 3UL << 20 && pool.IsFresh());
        EXPECT_TRUE(pool.Alloc(pool.Left()) && pool.Alloc(10));
        pool.Clear();
        EXPECT_TRUE(pool.Reserve(3UL << 20) && pool.Left() == PoolBase::SPARE_MAX - 16 && !pool.IsFresh());
        EXPECT_TRUE(memset(pool.Alloc(pool.Left()), 0xFF, PoolBase::SPARE_MAX - 16));
        pool.Clear();
        EXPECT_TRUE(heap.Live() == 1 && calls.Count(SysCall::mmap) == 2) << heap.Describe();
    });
    PoolBase::KeepUpTo(6UL << 20);
    OnFreshThread([](Heap const&) {
        static thread_local Pool<2048> pool; // dies behind the thread's own end
        EXPECT_TRUE(pool.Reserve(100UL << 20) && pool.Left() == (6UL << 20) - 16);
        pool.Clear();
        EXPECT_TRUE(pool.Reserve(100000) && pool.Left() == (6UL << 20) - 16);
    });
    PoolBase::KeepUpTo(~0UL);
    OnFreshThread([](Heap const&) {
        Pool<2048> pool;
        EXPECT_TRUE(pool.Reserve(6UL << 20) && pool.Left() >= 6UL << 20) << "no limit is the largest one";
    });
    PoolBase::KeepUpTo(0);
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
