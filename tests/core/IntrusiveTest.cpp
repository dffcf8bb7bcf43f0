#include "zeb/core/Intrusive.h"

#include "tests/core/Rig.h"

#include <deque>

namespace {

// Neither hook is at the start, and the class has a table of virtual functions.
struct Item {
    Item(int n) { number = n; }
    virtual ~Item() = default;
    int number = 0;
    Intrusive::Hook byAge, byName;
};
using AgeListT = Intrusive::List<Item, &Item::byAge>;
using NameListT = Intrusive::List<Item, &Item::byName>;

// Both directions and the counter say the same.
template<class List>
std::deque<int> Numbers(List const& list) {
    std::deque<int> numbers, backwards;
    for (Item const& item : list) numbers.push_back(item.number);
    for (Item const* item = list.Back(); item; item = list.Prev(*item)) backwards.push_front(item->number);
    EXPECT_EQ(numbers, backwards);
    EXPECT_TRUE(numbers.size() == list.Size() && numbers.empty() == list.Empty());
    return numbers;
}

TEST(Intrusive, LinksAtBothEndsAndBetween) {
    Item a(1), b(2), c(3), d(4);
    AgeListT list;
    list.PushFront(a), list.PushBack(b), list.PushFront(c), list.Insert(d, &b);
    EXPECT_EQ(Numbers(list), (std::deque{3, 1, 4, 2}));
    EXPECT_EQ((list.Remove(a), list.Remove(b), list.Insert(b, list.Front()), Numbers(list)), (std::deque{2, 3, 4}));
    for (Item* const item : {&b, &c, &d, static_cast<Item*>(nullptr)}) EXPECT_EQ(list.PopFront(), item);
    EXPECT_TRUE(Numbers(list).empty() && !list.Front() && !b.byAge.IsLinked());
}

TEST(Intrusive, AnObjectIsInOneListForEachHookAndListsUnlinkAtTheirEnd) {
    Item a(1), b(2);
    {
        AgeListT ages;
        NameListT names;
        ages.PushBack(a), ages.PushBack(b), names.PushBack(b), names.PushBack(a);
        names.Remove(a), names.Remove(a); // in no list any more
        EXPECT_EQ(std::pair(Numbers(names), Numbers(ages)), std::pair(std::deque{2}, std::deque{1, 2}));
        {
            Item c(3);
            names.PushFront(c), ages.PushBack(c);
            AgeListT().PushBack(c); // leaves the other list; its own one ends
            EXPECT_EQ(Numbers(ages), (std::deque{1, 2}));
            EXPECT_EQ((ages.PushFront(c), ages.PushBack(c), Numbers(ages)), (std::deque{1, 2, 3}));
        } // leaves by itself
        EXPECT_EQ(std::pair(Numbers(names), Numbers(ages)), std::pair(std::deque{2}, std::deque{1, 2}));
    }
    EXPECT_FALSE(a.byAge.IsLinked() || b.byAge.IsLinked() || b.byName.IsLinked());
}

} // namespace
