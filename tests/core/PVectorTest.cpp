#include "zeb/core/PVector.h"
#include "tests/support/Heap.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace {

int numbers[64];

void* P(unsigned long i) { return numbers + i; }

int ByAddress(void const* a, void const* b) {
    auto const* const x = *static_cast<char const* const*>(a);
    auto const* const y = *static_cast<char const* const*>(b);
    return (x > y) - (x < y);
}

std::vector<void*> List(VoidPVector const& vector) { return {vector.Ptr(), vector.Ptr() + vector.Size()}; }

TEST(VoidPVector, AsksTheHeapOnceForEachGroupOfEightAndGivesGroupsBack) {
    VoidPVector vector;
    Heap heap;
    heap.Arm();
    unsigned long calls[18] = {};
    for (unsigned long i = 0; i < 17; ++i) {
        ASSERT_TRUE(vector.PushBack(P(i)));
        calls[i] = heap.Calls();
    }
    EXPECT_EQ(calls[0], 1u);
    EXPECT_EQ(calls[7], 1u);
    EXPECT_EQ(calls[8], 2u);
    EXPECT_EQ(calls[16], 3u);
    EXPECT_EQ(heap.LiveBytes(), 24 * sizeof(void*));
    vector.Remove(0);
    EXPECT_EQ(heap.LiveBytes(), 16 * sizeof(void*));
    while (vector.Size() > 8)
        vector.Remove(8);
    EXPECT_EQ(heap.LiveBytes(), 8 * sizeof(void*));
    while (!vector.Empty())
        vector.Remove(0);
    EXPECT_EQ(heap.LiveBytes(), 8 * sizeof(void*)) << "the last block stays until Clear";
    unsigned long const before = heap.Calls();
    ASSERT_TRUE(vector.PushBack(P(0)));
    EXPECT_EQ(heap.Calls(), before);
    vector.Clear();
    EXPECT_EQ(heap.Live(), 0u);
}

TEST(VoidPVector, AnIndexPastTheEndStoresThereWithinTheBlock) {
    VoidPVector vector;
    ASSERT_TRUE(vector.PushBack(P(0)));
    ASSERT_TRUE(vector.Insert(P(5), 5));
    EXPECT_EQ(vector.Size(), 2u);
    EXPECT_EQ(vector.Ptr()[5], P(5));
    EXPECT_FALSE(vector.Insert(P(6), 8));
    vector.Remove(2);
    EXPECT_EQ(vector.Size(), 2u);
}

TEST(VoidPVector, RandomOperationsMatchAStandardVector) {
    std::mt19937 random(2);
    VoidPVector vector;
    std::vector<void*> twin;
    for (int step = 0; step < 20000; ++step) {
        unsigned long const size = twin.size();
        unsigned long const at = random() % (size + 1);
        long const iat = static_cast<long>(at);
        void* const value = P(random() % 64);
        switch (random() % 10) {
        case 0:
        case 1:
        case 2:
            ASSERT_TRUE(vector.Insert(value, at));
            twin.insert(twin.begin() + iat, value);
            break;
        case 3:
        case 4:
            vector.Remove(at);
            if (at < size) twin.erase(twin.begin() + iat);
            break;
        case 5:
            if (at < size) vector.Set(at, value), twin[at] = value;
            break;
        case 6:
            vector.Rotate();
            if (size != 0) std::rotate(twin.begin(), twin.begin() + 1, twin.end());
            break;
        case 7: {
            unsigned long const last = at + random() % (size - at + 1);
            unsigned long const middle = at + random() % (last - at + 1);
            vector.Rotate(at, middle, last);
            std::rotate(twin.begin() + iat, twin.begin() + static_cast<long>(middle),
                        twin.begin() + static_cast<long>(last));
            break;
        }
        case 8: {
            VoidPVector copy;
            ASSERT_TRUE(copy.Assign(vector));
            ASSERT_TRUE(vector.Assign(vector));
            vector.Swap(copy);
            break;
        }
        default:
            if (step % 4 == 0) vector.Sort(&ByAddress), std::sort(twin.begin(), twin.end());
            if (step % 97 == 0) vector.Clear(), twin.clear();
            break;
        }
        ASSERT_EQ(List(vector), twin);
        auto const found =
            static_cast<unsigned long>(std::find(twin.begin(), twin.end(), value) - twin.begin());
        ASSERT_EQ(vector.Find(value), found);
    }
}

TEST(VoidPVector, FailureChangesNothing) {
    ForEveryAllocation([](Heap& heap) {
        VoidPVector vector;
        VoidPVector other;
        for (unsigned long i = 0; i < 8; ++i)
            ASSERT_TRUE(vector.PushBack(P(i)));
        ASSERT_TRUE(other.PushBack(P(40)));
        auto const before = List(vector);
        heap.Arm();
        bool const inserted = vector.Insert(P(20), 3);
        bool const assigned = other.Assign(vector);
        heap.Disarm();
        EXPECT_EQ(inserted && assigned, !heap.Fired());
        if (!inserted) {
            EXPECT_EQ(List(vector), before);
        }
        EXPECT_EQ(List(other), assigned ? List(vector) : std::vector<void*>{P(40)});
    });
    Heap heap(1);
    VoidPVector vector;
    for (unsigned long i = 0; i < 9; ++i)
        ASSERT_TRUE(vector.PushBack(P(i)));
    heap.Arm();
    vector.Remove(8); // the block stays large
    EXPECT_TRUE(heap.Fired());
    ASSERT_TRUE(vector.PushBack(P(9)));
    EXPECT_EQ(vector[8], P(9));
}

struct Item {
    Item(int k, int o)
        : key(k)
        , order(o) {
        ++live;
    }
    virtual ~Item() { --live; }
    Item(Item const&) = delete;

    static int ByKey(Item const* a, Item const* b) { return a->key - b->key; }

    int key;
    int order;
    static int live;
};
int Item::live = 0;

struct Special : Item {
    using Item::Item;
};

TEST(PVector, SortsByTypedFunctionsAndBubbleSortKeepsTheOrderOfEquals) {
    std::mt19937 random(3);
    for (unsigned long size : {0UL, 1UL, 2UL, 9UL, 100UL}) {
        AutoPVector<Item> items;
        for (unsigned long i = 0; i < size; ++i) {
            AutoPtr<Item> item(new Item(static_cast<int>(random() % 10), static_cast<int>(i)));
            ASSERT_TRUE(items.PushBack(item));
        }
        items.BubbleSort<&Item::ByKey>();
        for (unsigned long i = 1; i < size; ++i) {
            Item const& a = *items[i - 1];
            Item const& b = *items[i];
            ASSERT_TRUE(a.key < b.key || (a.key == b.key && a.order < b.order));
        }
        for (unsigned long i = 0; i < size; ++i)
            items[i]->key = static_cast<int>(random() % 10);
        items.Sort<&Item::ByKey>();
        for (unsigned long i = 1; i < size; ++i)
            ASSERT_LE(items[i - 1]->key, items[i]->key);
    }
    EXPECT_EQ(Item::live, 0);
}

TEST(AutoPVector, FreesWhatItHoldsAndMovesIt) {
    AutoPVector<Item> items;
    for (int i = 0; i < 4; ++i)
        ASSERT_TRUE(items.PushBack(new Item(i, i)));
    ASSERT_TRUE(items.PushBack(static_cast<Item*>(nullptr))); // is skipped
    items.Free(0);
    EXPECT_EQ(Item::live, 3);
    AutoPtr<Item> const taken(items[0]);
    items.Remove(0);
    EXPECT_EQ(Item::live, 3);

    AutoPVector<Item> moved(std::move(items));
    EXPECT_EQ(moved.Size(), 3u);
    EXPECT_EQ(items.Size(), 0u);
    AutoPVector<Item> target;
    ASSERT_TRUE(target.PushBack(new Item(9, 9)));
    target = std::move(moved);
    EXPECT_EQ(moved.Size(), 0u);
    EXPECT_EQ(target.Front()->key, 2);
    EXPECT_EQ(Item::live, 3);
    target.Clear();
    EXPECT_EQ(Item::live, 1);
}

TEST(AutoPVector, AnObjectStaysWithItsOwnerWhenThereIsNoRoom) {
    ForEveryAllocation([](Heap& heap) {
        AutoPVector<Item> items;
        AutoPtr<Special> owner(new Special(1, 1));
        heap.Arm();
        bool const ok = items.PushBack(owner);
        heap.Disarm();
        EXPECT_EQ(ok, !heap.Fired());
        EXPECT_EQ(static_cast<bool>(owner), !ok);
        EXPECT_EQ(items.Size(), ok ? 1u : 0u);
    });
    EXPECT_EQ(Item::live, 0);
}

template<class T>
struct CountingDeleter {
    static void Free(T* object) {
        ++freed;
        delete object;
    }
    static inline int freed = 0;
};

TEST(AutoPtr, FreesExactlyOnceThroughItsDeleter) {
    using PtrT = AutoPtr<Special, CountingDeleter>;
    int& freed = CountingDeleter<Special>::freed;
    {
        PtrT a(new Special(1, 0));
        PtrT b(std::move(a));
        EXPECT_FALSE(a);
        EXPECT_EQ(b->key, 1);
        Special* const same = b.Ptr();
        b.Reset(same);
        EXPECT_EQ(freed, 0);
        b = PtrT(new Special(2, 0));
        EXPECT_EQ(freed, 1);
        b.Swap(a);
        EXPECT_EQ((*a).key, 2);
        EXPECT_FALSE(b);
        delete a.Release();
        EXPECT_EQ(freed, 1);
        AutoPtr<Item, CountingDeleter> base(PtrT(new Special(3, 0)));
        EXPECT_EQ(base->key, 3);
    }
    EXPECT_EQ(CountingDeleter<Item>::freed, 1);
    EXPECT_EQ(Item::live, 0);
}

} // namespace
