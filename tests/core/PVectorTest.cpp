#include "zeb/core/PVector.h"
#include "tests/support/Heap.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace {

int numbers[64];
void* P(unsigned long i) { return numbers + i; }
int ByAddress(void const* a, void const* b) {
    return *static_cast<int* const*>(a) > *static_cast<int* const*>(b) ? 1 : -1;
}
std::vector<void*> List(VoidPVector const& vector) { return {vector.Ptr(), vector.Ptr() + vector.Size()}; }

TEST(VoidPVector, AsksTheHeapOnceForEachGroupOfEightAndGivesGroupsBack) {
    VoidPVector vector;
    Heap heap;
    heap.Arm();
    for (unsigned long i = 0; i < 17; ++i) {
        ASSERT_TRUE(vector.PushBack(P(i)));
        ASSERT_EQ(heap.Calls(), i / 8 + 1);
    }
    while (!vector.Empty()) {
        ASSERT_EQ(heap.LiveBytes(), (vector.Size() + 7) / 8 * 64);
        vector.Remove(0);
    }
    unsigned long const before = heap.Calls();
    EXPECT_TRUE(heap.LiveBytes() == 64 && vector.PushBack(P(0))) << "the last block stays until Clear";
    EXPECT_EQ(heap.Calls(), before);
    EXPECT_TRUE(vector.Insert(P(5), 5) && vector.Ptr()[5] == P(5)) << "past the end, but within the block";
    EXPECT_FALSE(vector.Insert(P(6), 8));
    vector.Clear();
    EXPECT_EQ(heap.Live(), 0u);
}

TEST(VoidPVector, RandomOperationsMatchAStandardVector) {
    std::mt19937 random(2);
    VoidPVector vector;
    std::vector<void*> twin;
    for (int step = 0; step < 20000; ++step) {
        unsigned long const at = random() % (twin.size() + 1);
        unsigned long const last = at + random() % (twin.size() - at + 1);
        unsigned long const middle = at + random() % (last - at + 1);
        auto const place = twin.begin() + static_cast<long>(at);
        auto const end = twin.begin() + static_cast<long>(last);
        void* const value = P(random() % 64);
        auto const action = random() % 12;
        VoidPVector copy;
        if (action < 4 && vector.Insert(value, at)) twin.insert(place, value);
        if (action == 4 || action == 5) vector.Remove(at), place == twin.end() ? place : twin.erase(place);
        if (action == 6 && at < twin.size()) vector.Set(at, value), *place = value;
        if (action == 7) vector.Rotate(), std::rotate(twin.begin(), twin.begin() + !twin.empty(), twin.end());
        if (action == 8)
            vector.Rotate(at, middle, last), std::rotate(place, place + static_cast<long>(middle - at), end);
        if (action == 9) vector.Sort(&ByAddress), std::sort(twin.begin(), twin.end());
        if (action == 10 && copy.Assign(vector) && vector.Assign(vector)) vector.Swap(copy);
        if (action == 11 && step % 97 == 0) vector.Clear(), twin.clear();
        ASSERT_EQ(List(vector), twin);
        ASSERT_EQ(vector.Find(value),
                  static_cast<unsigned long>(std::find(twin.begin(), twin.end(), value) - twin.begin()));
    }
}

TEST(VoidPVector, FailureChangesNothing) {
    ForEveryAllocation([](Heap& heap) {
        VoidPVector vector;
        VoidPVector other;
        for (unsigned long i = 0; i < 9; ++i)
            ASSERT_TRUE(vector.PushBack(P(i)) && other.Size() == 0);
        ASSERT_TRUE(other.PushBack(P(40)));
        heap.Arm();
        vector.Remove(8); // the block may stay large
        auto const before = List(vector);
        bool const inserted = vector.Insert(P(20), 3);
        bool const assigned = other.Assign(vector);
        heap.Disarm();
        EXPECT_TRUE((inserted && assigned) || heap.Fired());
        EXPECT_TRUE(inserted ? vector[8] == P(7) : List(vector) == before);
        EXPECT_EQ(List(other), assigned ? List(vector) : std::vector<void*>{P(40)});
    });
}

struct Item {
    ~Item() { --live; }
    static int ByKey(Item const* a, Item const* b) { return a->key - b->key; }

    static inline int live = 0;
    int key = 0;
    int order = 0;
    int count = ++live;
};
struct Special : Item {};

TEST(PVector, SortsByTypedFunctionsAndBubbleSortKeepsTheOrderOfEquals) {
    std::mt19937 random(3);
    for (unsigned long const size : {0UL, 1UL, 2UL, 9UL, 100UL}) {
        AutoPVector<Item> items;
        for (unsigned long i = 0; i < size; ++i)
            ASSERT_TRUE(items.PushBack(new Item{static_cast<int>(random() % 10), static_cast<int>(i)}));
        items.BubbleSort<&Item::ByKey>();
        for (unsigned long i = 1; i < size; ++i)
            ASSERT_LT(items[i - 1]->key * 1000 + items[i - 1]->order, items[i]->key * 1000 + items[i]->order);
        for (unsigned long i = 0; i < size; ++i)
            std::swap(items[i]->key, items[i]->order);
        items.Sort<&Item::ByKey>();
        for (unsigned long i = 0; i < size; ++i)
            ASSERT_EQ(items[i]->key, static_cast<int>(i));
    }
    EXPECT_EQ(Item::live, 0);
}

TEST(AutoPVector, FreesWhatItHoldsAndMovesIt) {
    AutoPVector<Item> items;
    for (int i = 0; i < 4; ++i)
        ASSERT_TRUE(items.PushBack(new Item{i, i}));
    ASSERT_TRUE(items.PushBack(static_cast<Item*>(nullptr))); // is skipped
    items.Free(0);
    AutoPtr<Item> const taken(items[0]);
    items.Remove(0);
    EXPECT_EQ(Item::live, 3);
    AutoPVector<Item> moved(std::move(items));
    AutoPVector<Item> target;
    ASSERT_TRUE(items.Empty() && target.PushBack(new Item{9, 9}));
    target = std::move(moved);
    EXPECT_TRUE(moved.Empty() && target.Size() == 3 && target.Front()->key == 2);
    EXPECT_EQ(Item::live, 3);
    target.Clear();
    EXPECT_EQ(Item::live, 1);
}

TEST(AutoPVector, AnObjectStaysWithItsOwnerWhenThereIsNoRoom) {
    ForEveryAllocation([](Heap& heap) {
        AutoPVector<Item> items;
        AutoPtr<Special> owner(new Special{{1, 1}});
        heap.Arm();
        bool const ok = items.PushBack(owner);
        heap.Disarm();
        EXPECT_EQ(ok, !heap.Fired());
        EXPECT_TRUE(static_cast<bool>(owner) == !ok && items.Empty() == !ok);
    });
}

template<class T>
struct Counter {
    static void Free(T* object) { ++freed, delete object; }
    static inline int freed = 0;
};

TEST(AutoPtr, FreesExactlyOnceThroughItsDeleter) {
    {
        AutoPtr<Special, Counter> a(new Special{{1}});
        AutoPtr<Special, Counter> b(std::move(a));
        Special* const same = b.Ptr();
        b.Reset(same);
        EXPECT_TRUE(!a && b->key == 1 && Counter<Special>::freed == 0);
        b = AutoPtr<Special, Counter>(new Special{{2}});
        b.Swap(a);
        EXPECT_TRUE((*a).key == 2 && !b && Counter<Special>::freed == 1);
        AutoPtr<Item, Counter> const base(std::move(a));
    }
    EXPECT_TRUE(Counter<Special>::freed == 1 && Counter<Item>::freed == 1 && Item::live == 0);
}

} // namespace
