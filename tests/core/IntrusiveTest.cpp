#include "zeb/core/Intrusive.h"

#include <gtest/gtest.h>

#include <deque>
#include <list>
#include <random>
#include <vector>

namespace {

struct Base {
    virtual ~Base() = default;
    long pad = 0;
};

// Neither hook is at the start, and the class has a table of virtual functions.
struct Item : Base {
    Item(int n)
        : number(n) {}
    int number;
    Intrusive::Hook byAge;
    Intrusive::Hook byName;
};

using AgeListT = Intrusive::List<Item, &Item::byAge>;
using NameListT = Intrusive::List<Item, &Item::byName>;

// Both directions and the counter say the same.
template<class List>
std::vector<int> Numbers(List const& list) {
    std::vector<int> numbers;
    for (Item const& item : list)
        numbers.push_back(item.number);
    std::vector<int> backwards;
    for (Item const* item = list.Back(); item; item = list.Prev(*item))
        backwards.insert(backwards.begin(), item->number);
    EXPECT_EQ(numbers, backwards);
    EXPECT_EQ(numbers.size(), list.Size());
    EXPECT_EQ(numbers.empty(), list.Empty());
    return numbers;
}

TEST(Intrusive, RandomOperationsMatchAStandardList) {
    std::mt19937 random(8);
    std::deque<Item> items;
    for (int i = 0; i < 50; ++i)
        items.emplace_back(i);
    AgeListT list;
    std::list<int> twin;
    for (int step = 0; step < 8000; ++step) {
        Item& item = items[random() % items.size()];
        Item& other = items[random() % items.size()];
        if (item.byAge.IsLinked()) {
            list.Remove(item);
            twin.remove(item.number);
        } else if (other.byAge.IsLinked()) {
            list.Insert(item, &other);
            twin.insert(std::find(twin.begin(), twin.end(), other.number), item.number);
        } else if (random() % 2 == 0) {
            list.PushBack(item), twin.push_back(item.number);
        } else {
            list.PushFront(item), twin.push_front(item.number);
        }
        if (random() % 16 == 0) {
            Item* const first = list.PopFront();
            ASSERT_EQ(first == nullptr, twin.empty());
            if (first) {
                ASSERT_EQ(first->number, twin.front());
                twin.pop_front();
            }
        }
        ASSERT_EQ(Numbers(list), std::vector<int>(twin.begin(), twin.end()));
    }
}

TEST(Intrusive, AnObjectIsInOneListForEachHookAndListsUnlinkAtTheirEnd) {
    Item a(1);
    Item b(2);
    {
        AgeListT ages;
        NameListT names;
        ages.PushBack(a), ages.PushBack(b);
        names.PushBack(b), names.PushBack(a);
        EXPECT_EQ(Numbers(ages), (std::vector{1, 2}));
        EXPECT_EQ(Numbers(names), (std::vector{2, 1}));
        names.Remove(a);
        names.Remove(a); // in no list any more
        EXPECT_EQ(Numbers(names), (std::vector{2}));
        EXPECT_TRUE(a.byAge.IsLinked());
        {
            Item c(3);
            c.byName.Insert(&b.byName);
            EXPECT_EQ(names.Front(), &c);
        } // leaves its neighbours joined
        EXPECT_EQ(names.Front(), &b);
    }
    EXPECT_FALSE(a.byAge.IsLinked() || b.byAge.IsLinked() || b.byName.IsLinked());
}

} // namespace
