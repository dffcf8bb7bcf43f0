#include "zeb/core/PVector.h"

#include "tests/core/Rig.h"

namespace {

int numbers[64];
void* P(unsigned long i) { return numbers + i; }
int ByAddress(void const* a, void const* b) { return *static_cast<int* const*>(a) > *static_cast<int* const*>(b) ? 1 : -1; }
std::vector<void*> List(VoidPVector const& vector) { return {vector.Ptr(), vector.Ptr() + vector.Size()}; }

TEST(VoidPVector, AsksTheHeapOnceForEachGroupOfEightAndGivesGroupsBack) {
    VoidPVector vector;
    Heap heap;
    heap.Arm();
    for (unsigned long i = 0; i < 17; ++i) ASSERT_TRUE(vector.PushBack(P(i)) && heap.Calls() == i / 8 + 1);
    for (; !vector.Empty(); vector.Remove(0)) ASSERT_EQ(heap.LiveBytes(), (vector.Size() + 7) / 8 * 64);
    EXPECT_EQ(heap.LiveBytes(), 64u) << "the last block stays until Clear";
    unsigned long const before = heap.Calls();
    EXPECT_TRUE(vector.PushBack(P(0)) && heap.Calls() == before);
    EXPECT_TRUE(vector.Insert(P(5), 5) && vector.Ptr()[5] == P(5)) << "past the end, but within the block";
    EXPECT_TRUE(!vector.Insert(P(6), 8) && !vector.Ptr()[1]) << "what an index past the end leaves out is null";
    EXPECT_EQ((vector.Clear(), heap.Live()), 0u);
}

TEST(VoidPVector, RandomOperationsMatchAStandardVector) {
    std::mt19937 random(2);
    VoidPVector vector;
    std::vector<void*> twin;
    for (int step = 0; step < 20000; ++step) {
        unsigned long const at = random() % (twin.size() + 1), last = at + random() % (twin.size() - at + 1);
        unsigned long const middle = at + random() % (last - at + 1);
        auto const iterator = [&](unsigned long i) { return twin.begin() + static_cast<long>(i); };
        auto const place = iterator(at);
        void* const value = P(random() % 64);
        VoidPVector copy;
        switch (random() % 12) {
        // clang-format off
        case 0: vector.Remove(at), place == twin.end() ? place : twin.erase(place); break;
        case 1: if (at < twin.size()) vector.Set(at, value), *place = value; break;
        case 2: vector.Rotate(), std::rotate(twin.begin(), twin.begin() + !twin.empty(), twin.end()); break;
        case 3: vector.Rotate(at, middle, last), std::rotate(place, iterator(middle), iterator(last)); break;
        case 4: vector.Sort(&ByAddress), std::sort(twin.begin(), twin.end()); break;
        case 5: if (copy.Assign(vector) && vector.Assign(vector)) vector.Swap(copy); break;
        case 6: if (step % 97 == 0) vector.Clear(), twin.clear(); break;
        case 7: vector.Remove(0), twin.erase(twin.begin(), twin.begin() + !twin.empty()); break;
        default: if (vector.Insert(value, at)) twin.insert(place, value);
            // clang-format on
        }
        ASSERT_EQ(List(vector), twin);
        ASSERT_EQ(std::find(twin.begin(), twin.end(), value), iterator(vector.Find(value)));
    }
}

struct Item {
    ~Item() { --live; }
    static int ByKey(Item const* a, Item const* b) { return a->key - b->key; }
    static int ByOrder(Item const* a, Item const* b) { return a->order - b->order; }
    static inline int live = 0;
    int key = 0, order = 0, count = ++live;
};
struct Special : Item {};

TEST(PVector, SortsByTypedFunctionsAndBubbleSortKeepsTheOrderOfEquals) {
    std::mt19937 random(3);
    AutoPVector<Item> items;
    items.Sort<&Item::ByKey>(), items.BubbleSort<&Item::ByKey>(); // there is no block yet
    for (int i = 0; i < 100; ++i) ASSERT_TRUE(items.PushBack(new Item{static_cast<int>(random() % 10), i}));
    items.BubbleSort<&Item::ByKey>();
    for (unsigned long i = 1; i < items.Size(); ++i)
        ASSERT_LT(items[i - 1]->key * 1000 + items[i - 1]->order, items[i]->key * 1000 + items[i]->order);
    items.Sort<&Item::ByOrder>();
    int order = 0;
    for (Item* const item : items) ASSERT_EQ(item->order, order++);
    for (Item const* const item : std::as_const(items)) ASSERT_EQ(item->order, 100 - order--);
}

TEST(AutoPVector, FreesWhatItHoldsAndMovesIt) {
    AutoPVector<Item> items, target;
    for (int i = 0; i < 4; ++i) ASSERT_TRUE(items.PushBack(new Item{i, i}));
    ASSERT_TRUE(items.PushBack(static_cast<Item*>(nullptr)) && target.PushBack(new Item{9, 9}));
    AutoPtr<Item> own(new Item{5, 5});
    EXPECT_TRUE(!items.Insert(own, 6) && own && !items.Insert(own.Ptr(), 7));
    own.Reset();
    items.Free(0), items.Free(4), items.Free(~0UL);
    AutoPtr<Item> const taken(items[0]);
    items.Remove(0);
    target = std::move(items);
    EXPECT_TRUE(items.Empty() && target.Size() == 3 && target.Front()->key == 2 && Item::live == 3);
    EXPECT_EQ((target.Clear(), Item::live), 1);
}

template<class T>
struct Counter {
    static void Free(T* object) { ++freed, delete object; }
    static inline int freed = 0;
};

TEST(AutoPtr, FreesExactlyOnceThroughItsDeleter) {
    {
        AutoPtr<Special, Counter> a(new Special{{1}}), b(std::move(a));
        b.Reset(b.Ptr());
        EXPECT_TRUE(!a && b->key == 1 && Counter<Special>::freed == 0);
        b = AutoPtr<Special, Counter>(new Special{{2}});
        AutoPtr<Item, Counter> const base(std::move(b));
        EXPECT_TRUE(base->key == 2 && Counter<Special>::freed == 1);
    }
    EXPECT_TRUE(Counter<Special>::freed == 1 && Counter<Item>::freed == 1 && Item::live == 0);
}

} // namespace
