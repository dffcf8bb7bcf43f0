#include "zeb/core/StringVector.h"
#include "tests/support/Heap.h"

#include <gtest/gtest.h>

#include <algorithm>
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

void Fill(StringVector& vector, ListT const& list) {
    vector.Clear();
    for (auto const& text : list)
        ASSERT_TRUE(vector.PushBack(text.data(), text.size()));
}

TEST(StringVector, FindsByTextAndRange) {
    StringVector vector;
    Fill(vector, {"a", "B", "a", "", "c"});
    EXPECT_EQ(vector.Find("a"), 0u);
    EXPECT_EQ(vector.Find("a", 1UL, 5UL), 2u);
    EXPECT_EQ(vector.Find("a", 1UL, 2UL), 5u);
    EXPECT_EQ(vector.Find("c", 4UL, 99UL), 4u);
    EXPECT_EQ(vector.Find("cx", 1UL), 4u); // pointer and size
    EXPECT_EQ(vector.Find("Bx", 1, 0, 5), 1u);
    EXPECT_EQ(vector.Find(""), 3u);
    EXPECT_EQ(vector.Find("b"), 5u);
    EXPECT_EQ(vector.Find(CString::IgnoreCase("b")), 1u);
    EXPECT_TRUE(vector.Has("c"));
    EXPECT_FALSE(vector.Has("x"));
    EXPECT_EQ(StringVector::Nil().Size(), 0u);
}

TEST(StringVector, UniqueAndSetDifferenceKeepTheOrderOfWhatStays) {
    struct {
        ListT list;
        ListT other;
        ListT unique;
        ListT difference;
    } const rows[] = {
        {{}, {}, {}, {}},
        {{"a"}, {"a"}, {"a"}, {}},
        {{"b", "a", "b", "c", "a", "b"}, {"c", "x"}, {"b", "a", "c"}, {"b", "a", "b", "a", "b"}},
        {{"x", "x", "x", "X"}, {"x"}, {"x", "X"}, {"X"}},
    };
    for (auto const& row : rows) {
        StringVector vector;
        StringVector other;
        Fill(vector, row.list), Fill(other, row.other);
        vector.SetDifference(other);
        EXPECT_EQ(List(vector), row.difference);
        Fill(vector, row.list);
        vector.Unique();
        EXPECT_EQ(List(vector), row.unique);
        vector.SetDifference(vector);
        EXPECT_TRUE(vector.Empty());
    }
}

TEST(StringVector, AssignsAndAppendsLists) {
    char const* const list[] = {"one", "", "three", nullptr};
    StringVector vector;
    ASSERT_TRUE(vector.PushBack("old"));
    ASSERT_TRUE(vector.Assign(list));
    EXPECT_EQ(List(vector), (ListT{"one", "", "three"}));
    ASSERT_TRUE(vector.Append(vector));
    ASSERT_TRUE(vector.Assign(vector));
    EXPECT_EQ(List(vector), (ListT{"one", "", "three", "one", "", "three"}));
    StringVector moved(std::move(vector));
    EXPECT_TRUE(vector.Empty());
    vector = std::move(moved);
    EXPECT_EQ(vector.Size(), 6u);
    EXPECT_EQ(vector.Back(), CString("three"));
    ASSERT_TRUE(vector.Assign(static_cast<char const* const*>(nullptr)));
    EXPECT_TRUE(vector.Empty());
}

TEST(StringVector, RandomOperationsMatchAStandardVector) {
    std::mt19937 random(4);
    StringVector vector;
    ListT twin;
    for (int step = 0; step < 6000; ++step) {
        unsigned long const at = random() % (twin.size() + 2);
        bool const isInside = at < twin.size();
        std::string const text(random() % 5, static_cast<char>('a' + random() % 3));
        switch (random() % 12) {
        case 0:
        case 1:
        case 2:
        case 3:
            ASSERT_EQ(vector.Insert(text.data(), text.size(), at), at <= twin.size());
            if (at <= twin.size()) twin.insert(twin.begin() + static_cast<long>(at), text);
            break;
        case 4:
            vector.Remove(at);
            if (isInside) twin.erase(twin.begin() + static_cast<long>(at));
            break;
        case 5:
            vector.PopBack();
            if (!twin.empty()) twin.pop_back();
            break;
        case 6:
            vector.PopFront();
            if (!twin.empty()) twin.erase(twin.begin());
            break;
        case 7:
            step % 2 == 0 ? vector.Sort() : vector.BubbleSort(), std::sort(twin.begin(), twin.end());
            break;
        case 8: {
            std::set<std::string> seen;
            vector.Unique();
            std::erase_if(twin, [&](auto const& value) { return !seen.insert(value).second; });
            break;
        }
        case 9:
            if (at % 8 == 0) vector.Truncate(at), twin.resize(std::min(at, twin.size()));
            break;
        default:
            ASSERT_TRUE(vector.PushBack(text.c_str()));
            twin.push_back(text);
            break;
        }
        ASSERT_EQ(List(vector), twin);
    }
    EXPECT_GT(StringVector::Descending(&vector.Front(), &vector.Back()) *
                  StringVector::Ascending(&vector.Back(), &vector.Front()),
              -1);
}

TEST(StringVector, FailureLeavesItAsItWas) {
    ForEveryAllocation([](Heap& heap) {
        StringVector vector;
        StringVector other;
        Fill(vector, {"1", "2", "3", "4", "5", "6", "7"});
        Fill(other, {"one", "", "two"});
        ListT const before = List(vector);
        heap.Arm();
        bool const appended = vector.Append(other);
        ListT const afterAppend = List(vector);
        bool const inserted = vector.Insert("x", 0UL);
        bool const assigned = other.Assign(vector);
        heap.Disarm();
        EXPECT_EQ(appended && inserted && assigned, !heap.Fired());
        if (!appended) {
            EXPECT_EQ(afterAppend, before);
        }
        if (!inserted) {
            EXPECT_EQ(List(vector), afterAppend);
        }
        if (!assigned) {
            EXPECT_EQ(List(other), (ListT{"one", "", "two"}));
        }
    });
    ForEveryAllocation([](Heap& heap) {
        char const* const list[] = {"one", "two", nullptr};
        StringVector vector;
        Fill(vector, {"old"});
        heap.Arm();
        bool const ok = vector.Assign(list);
        heap.Disarm();
        EXPECT_EQ(ok, !heap.Fired());
        EXPECT_EQ(List(vector), ok ? (ListT{"one", "two"}) : ListT());
    });
}

} // namespace
