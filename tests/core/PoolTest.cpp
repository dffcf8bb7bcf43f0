#include "zeb/core/Pool.h"
#include "tests/support/Calls.h"
#include "tests/support/Heap.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <random>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

unsigned long Page() { return static_cast<unsigned long>(sysconf(_SC_PAGESIZE)); }

// What is reserved is kept by the thread, so each of these tests has a thread of its own.
template<class F>
void OnFreshThread(F const& body) {
    std::thread(body).join();
}

TEST(Pool, BumpsInsideItselfAndThenInBlocksOfWholePages) {
    Heap heap;
    Pool<2048> pool;
    auto* const first = static_cast<char*>(pool.Alloc(1));
    EXPECT_EQ(reinterpret_cast<unsigned long>(first) % PoolBase::ALIGNMENT, 0u);
    EXPECT_EQ(pool.Alloc(17), first + 16);
    EXPECT_EQ(pool.Alloc(0), first + 48);
    EXPECT_EQ(pool.Left(), 2048u - 48);
    EXPECT_EQ(heap.Live(), 0u);

    EXPECT_NE(pool.Alloc(2001), nullptr); // the rest of the first block is lost
    EXPECT_EQ(heap.LiveBytes(), Page());
    EXPECT_EQ(pool.Left(), Page() - 16 - 2016);
    EXPECT_NE(pool.Alloc(pool.Left()), nullptr);
    EXPECT_EQ(pool.Left(), 0u);
    EXPECT_NE(pool.Alloc(Page() - 16), nullptr);
    EXPECT_EQ(heap.LiveBytes(), 2 * Page());
    EXPECT_NE(pool.Alloc(Page() - 15), nullptr);
    EXPECT_EQ(heap.LiveBytes(), 4 * Page());

    pool.Clear();
    EXPECT_EQ(heap.Live(), 0u);
    EXPECT_EQ(pool.Left(), 2048u);
    EXPECT_EQ(pool.Alloc(1), first);
}

TEST(Pool, AFailedAllocLeavesThePresentBlockInUse) {
    ForEveryAllocation([](Heap& heap) {
        Pool<64> pool;
        ASSERT_NE(pool.Alloc(16), nullptr);
        heap.Arm();
        bool const small = pool.Alloc(100) != nullptr;
        bool const large = pool.Alloc(100000) != nullptr;
        heap.Disarm();
        EXPECT_EQ(small && large, !heap.Fired());
        if (!small && !large) {
            EXPECT_EQ(pool.Left(), 48u);
        }
    });
    Pool<64> pool;
    for (unsigned long back : {0UL, 15UL, 16UL, 32UL, 5000UL})
        EXPECT_EQ(pool.Alloc(~0UL - back), nullptr);
    EXPECT_EQ(pool.Left(), 64u);
}

TEST(Pool, BlocksDoNotOverlap) {
    std::mt19937 random(9);
    Pool<2048> pool;
    for (int round = 0; round < 3; ++round) {
        std::vector<std::pair<unsigned char*, unsigned long>> blocks;
        for (int i = 0; i < 600; ++i) {
            if (random() % 100 == 0) {
                ASSERT_TRUE(pool.Reserve(random() % 200000));
            }
            unsigned long const size = random() % 8 == 0 ? random() % 9000 : random() % 200;
            auto* const block = static_cast<unsigned char*>(pool.Alloc(size));
            ASSERT_NE(block, nullptr);
            memset(block, i % 251, size);
            blocks.emplace_back(block, size);
        }
        for (unsigned long i = 0; i < blocks.size(); ++i)
            for (unsigned long j = 0; j < blocks[i].second; ++j)
                ASSERT_EQ(blocks[i].first[j], i % 251);
        pool.Clear();
    }
}

TEST(PoolReserve, GivesOneRegionWithinItsLimits) {
    OnFreshThread([] {
        struct {
            unsigned long asked;
            unsigned long left;
        } const rows[] = {
            {2048, 2048},
            {2049, PoolBase::REGION_MIN},
            {300000, 300000},
            {3UL << 20, PoolBase::REGION_MAX},
            {100UL << 20, PoolBase::REGION_MAX},
            {~0UL, PoolBase::REGION_MAX},
        };
        for (auto const& row : rows) {
            std::thread([&row] { // without a spare region
                Calls calls;
                Pool<2048> pool;
                ASSERT_TRUE(pool.Reserve(row.asked));
                EXPECT_GE(pool.Left(), row.left);
                EXPECT_LT(pool.Left(), row.left + 2 * Page());
                EXPECT_TRUE(pool.Reserve(row.left));
                EXPECT_NE(pool.Alloc(row.left), nullptr);
                EXPECT_EQ(calls.Count(SysCall::mmap) + calls.Count(SysCall::mmap64),
                          row.asked > 2048 ? 1u : 0u);
                EXPECT_EQ(pool.IsFresh(), row.asked > 2048);
            })
                .join();
        }
    });
}

TEST(PoolReserve, TheThreadKeepsTheLongestRegionUpToItsLimitAndReleasesItAtItsEnd) {
    Heap heap(Heap::NEVER, Heap::ModeT::ONCE, Heap::ScopeT::PROCESS);
    OnFreshThread([&heap] {
        {
            Pool<2048> pool;
            ASSERT_TRUE(pool.Reserve(100000));
            memset(pool.Alloc(1000), 0xFF, 1000);
        }
        Calls calls;
        Pool<2048> pool;
        ASSERT_TRUE(pool.Reserve(3UL << 20)); // gets the spare one, though it is shorter
        EXPECT_GE(pool.Left(), 100000u);
        EXPECT_LT(pool.Left(), 200000u);
        EXPECT_FALSE(pool.IsFresh());
        EXPECT_EQ(calls.Count(SysCall::mmap), 0u);
        ASSERT_TRUE(pool.Reserve(3UL << 20)); // and then a new one
        EXPECT_GE(pool.Left(), 3UL << 20);
        EXPECT_TRUE(pool.IsFresh());
        ASSERT_NE(pool.Alloc(pool.Left()), nullptr);
        ASSERT_NE(pool.Alloc(10), nullptr);
        unsigned long const mapped = calls.Count(SysCall::mmap);
        pool.Clear();
        EXPECT_FALSE(pool.IsFresh());

        ASSERT_TRUE(pool.Reserve(PoolBase::REGION_MAX));
        EXPECT_EQ(pool.Left(), PoolBase::SPARE_MAX - 16);
        EXPECT_EQ(calls.Count(SysCall::mmap), mapped);
        memset(pool.Alloc(pool.Left()), 0xFF, PoolBase::SPARE_MAX - 16);
        pool.Clear();
        EXPECT_EQ(heap.Live(), 1u) << heap.Describe();
    });
    EXPECT_EQ(heap.Live(), 0u) << heap.Describe();
}

TEST(PoolReserve, AProgramMayHaveItKeepMore) {
    PoolBase::KeepUpTo(6UL << 20);
    OnFreshThread([] {
        Pool<2048> pool;
        ASSERT_TRUE(pool.Reserve(100UL << 20));
        EXPECT_EQ(pool.Left(), (6UL << 20) - 16);
        pool.Clear();
        Calls calls;
        ASSERT_TRUE(pool.Reserve(100000));
        EXPECT_EQ(pool.Left(), (6UL << 20) - 16);
        EXPECT_EQ(calls.Count(SysCall::mmap), 0u);
    });
    PoolBase::KeepUpTo(~0UL);
    OnFreshThread([] {
        Pool<2048> pool;
        ASSERT_TRUE(pool.Reserve(6UL << 20));
        EXPECT_GE(pool.Left(), 6UL << 20) << "no limit is the largest one";
    });
    PoolBase::KeepUpTo(0);
}

TEST(PoolReserve, AFailureChangesNothing) {
    OnFreshThread([] {
        Pool<2048> pool;
        auto* const first = static_cast<char*>(pool.Alloc(16));
        Calls calls;
        calls.Script(SysCall::mmap, {Calls::Fail(ENOMEM)});
        EXPECT_FALSE(pool.Reserve(100000));
        EXPECT_EQ(pool.Left(), 2032u);
        EXPECT_EQ(pool.Alloc(16), first + 16);
        EXPECT_TRUE(pool.Reserve(100000));
    });
}

TEST(PoolReserve, APoolThatDiesWithItsThreadLeavesNothing) {
    Heap heap(Heap::NEVER, Heap::ModeT::ONCE, Heap::ScopeT::PROCESS);
    OnFreshThread([] {
        static thread_local Pool<2048> pool;
        EXPECT_TRUE(pool.Reserve(100000));
    });
    EXPECT_EQ(heap.Live(), 0u) << heap.Describe();
}

#ifdef ZEB_POOL_POISONS
TEST(Pool, PoisonsWhatIsNotHandedOut) {
    alignas(16) char array[256];
    struct Own : PoolBase {
        Own(char* data)
            : PoolBase(data, 256) {}
    };
    {
        Own pool(array);
        auto* const block = static_cast<char*>(pool.Alloc(20));
        EXPECT_FALSE(__asan_address_is_poisoned(block + 19));
        EXPECT_TRUE(__asan_address_is_poisoned(block + 20));
        auto* const mapped = static_cast<char*>(pool.Alloc(1000));
        EXPECT_FALSE(__asan_address_is_poisoned(mapped + 999));
        EXPECT_TRUE(__asan_address_is_poisoned(mapped + 1024));
        pool.Clear();
        EXPECT_TRUE(__asan_address_is_poisoned(block));
    }
    EXPECT_EQ(__asan_region_is_poisoned(array, sizeof array), nullptr);
}
#endif

} // namespace
