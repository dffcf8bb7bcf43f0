#include "zeb/core/Intrusive.h"

#include <algorithm>
#include <deque>
#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace {

// Neither hook is at the start, and the class has a table of virtual functions.
struct Item {
    Item(int n)
        : number(n) {}
    virtual ~Item() = default;
    int number;
    Intrusive::Hook byAge;
    Intrusive::Hook byName;
};
using AgeListT = Intrusive::List<Item, &Item::byAge>;
using NameListT = Intrusive::List<Item, &Item::byName>;

// Both directions and the counter say the same.
template<class List>
std::deque<int> Numbers(List const& list) {
    std::deque<int> numbers, backwards;
    for (Item const& item : list)
        numbers.push_back(item.number);
    for (Item const* item = list.Back(); item; item = list.Prev(*item))
        backwards.push_front(item->number);
    EXPECT_EQ(numbers, backwards);
    EXPECT_TRUE(numbers.size() == list.Size() && numbers.empty() == list.Empty());
    return numbers;
}

TEST(Intrusive, RandomOperationsMatchAStandardList) {
    std::mt19937 random(8);
    std::deque<Item> items;
    for (int i = 0; i < 50; ++i)
        items.emplace_back(i);
    AgeListT list;
    std::deque<int> twin;
    for (int step = 0; step < 8000; ++step) {
        Item &item = items[random() % 50], &other = items[random() % 50];
        auto const place = std::find(twin.begin(), twin.end(), other.number);
        if (item.byAge.IsLinked())
            list.Remove(item), std::erase(twin, item.number);
        else if (place != twin.end())
            list.Insert(item, &other), twin.insert(place, item.number);
        else if (step % 2 == 0)
            list.PushBack(item), twin.push_back(item.number);
        else
            list.PushFront(item), twin.push_front(item.number);
        if (Item* const first = random() % 16 == 0 ? list.PopFront() : nullptr) {
            ASSERT_EQ(first->number, twin.front());
            twin.pop_front();
        }
        ASSERT_EQ(Numbers(list), twin);
    }
}

TEST(Intrusive, AnObjectIsInOneListForEachHookAndListsUnlinkAtTheirEnd) {
    Item a(1), b(2);
    {
        AgeListT ages;
        NameListT names;
        ages.PushBack(a), ages.PushBack(b), names.PushBack(b), names.PushBack(a);
        names.Remove(a), names.Remove(a); // in no list any more
        EXPECT_EQ(Numbers(names), (std::deque{2}));
        EXPECT_EQ(Numbers(ages), (std::deque{1, 2}));
        { Item(3).byName.Insert(&b.byName); } // leaves its neighbours joined
        EXPECT_EQ(names.Front(), &b);
    }
    EXPECT_FALSE(a.byAge.IsLinked() || b.byAge.IsLinked() || b.byName.IsLinked());
}

} // namespace
