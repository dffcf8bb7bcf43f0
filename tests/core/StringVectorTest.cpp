#include "zeb/core/StringVector.h"
#include "tests/support/Heap.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace {

using ListT = std::vector<std::string>;

ListT List(StringVector const& vector) {
    ListT list;
    for (unsigned long i = 0; i < vector.Size(); ++i)
        list.emplace_back(vector[i].Cstr(), vector[i].Size());
    return list;
}

struct Filled : StringVector {
    Filled(ListT const& list) {
        for (auto const& text : list)
            EXPECT_TRUE(PushBack(text.data(), text.size()));
    }
};

TEST(StringVector, FindsByTextAndRange) {
    Filled const vector({"a", "B", "a", "", "c"});
    EXPECT_EQ(vector.Find("a"), 0u);
    EXPECT_EQ(vector.Find("a", 1UL, 5UL), 2u);
    EXPECT_EQ(vector.Find("a", 1UL, 2UL), 5u);
    EXPECT_EQ(vector.Find("c", 4UL, 99UL), 4u);
    EXPECT_EQ(vector.Find("cx", 1UL), 4u); // pointer and size
    EXPECT_EQ(vector.Find("Bx", 1, 0, 5), 1u);
    EXPECT_EQ(vector.Find(CString::IgnoreCase("b")), 1u);
    EXPECT_TRUE(vector.Has("") && !vector.Has("b") && StringVector::Nil().Empty());
}

TEST(StringVector, RandomOperationsMatchAStandardVector) {
    std::mt19937 random(4);
    StringVector vector;
    ListT twin;
    for (int step = 0; step < 6000; ++step) {
        unsigned long const at = random() % (twin.size() + 2);
        auto const place = twin.begin() + static_cast<long>(std::min(at, twin.size()));
        std::string const text(random() % 5, static_cast<char>('a' + random() % 3));
        auto const action = random() % 12;
        if (action < 6 && vector.Insert(text.data(), text.size(), at)) twin.insert(place, text);
        if (action == 6) vector.Remove(at), place == twin.end() ? place : twin.erase(place);
        if (action == 7) vector.PopBack(), twin.resize(twin.size() - !twin.empty());
        if (action == 8) vector.PopFront(), twin.erase(twin.begin(), twin.begin() + !twin.empty());
        if (action == 9)
            step % 2 == 0 ? vector.Sort() : vector.BubbleSort(), std::sort(twin.begin(), twin.end());
        if (action == 10 && at % 8 == 0) vector.Truncate(at), twin.resize(std::min(at, twin.size()));
        std::set<std::string> seen;
        if (action == 11 && at % 4 == 0)
            vector.Unique(),
                std::erase_if(twin, [&](auto const& value) { return !seen.insert(value).second; });
        if (action == 11 && at % 4 == 1) vector.SetDifference(Filled({text, "x"})), std::erase(twin, text);
        ASSERT_EQ(List(vector), twin);
    }
    StringVector moved(std::move(vector));
    EXPECT_TRUE(vector.Empty() && moved.Append(moved) && moved.Assign(moved));
    vector = std::move(moved);
    EXPECT_TRUE(moved.Empty() && vector.Size() == 2 * twin.size());
    vector.SetDifference(vector);
    EXPECT_TRUE(vector.Empty());
}

TEST(StringVector, FailureLeavesItAsItWasButForAssignOfAList) {
    ForEveryAllocation([](Heap& heap) {
        char const* const list[] = {"one", "two", nullptr};
        Filled vector({"1", "2", "3", "4", "5", "6", "7"});
        Filled other({"one", "", "two"});
        Filled third({"old"});
        heap.Arm();
        bool const appended = vector.Append(other);
        unsigned long const size = vector.Size();
        bool const inserted = vector.Insert("x", 0UL);
        bool const assigned = other.Assign(vector);
        bool const listed = third.Assign(list);
        heap.Disarm();
        EXPECT_EQ(appended && inserted && assigned && listed, !heap.Fired());
        EXPECT_EQ(size, appended ? 10u : 7u);
        EXPECT_EQ(List(vector).front() == "x", inserted);
        EXPECT_EQ(List(other), assigned ? List(vector) : (ListT{"one", "", "two"}));
        EXPECT_EQ(List(third), listed ? (ListT{"one", "two"}) : ListT());
    });
}

} // namespace
