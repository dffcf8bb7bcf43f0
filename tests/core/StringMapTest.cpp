#include "zeb/core/StringMap.h"
#include "tests/support/Heap.h"
#include "zeb/core/VoidPMap.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>

namespace {

using TwinT = std::map<std::string, std::string>;

TwinT Twin(StringMap const& map) {
    TwinT twin;
    for (unsigned long i = 0; i < map.Size(); ++i)
        twin[map.Key(i).Cstr()] = map.Get(i).Cstr();
    return twin;
}

TEST(StringMap, KeepsKeysInTheOrderOfTheirBytes) {
    StringMap map;
    for (char const* const key : {"b", "a", "c", "B", "", "ab", "\xE4"})
        ASSERT_TRUE(map.Set(key, key));
    std::string order;
    for (unsigned long i = 0; i < map.Size(); ++i)
        order += std::string(map.Key(i).Cstr()) + ",";
    EXPECT_EQ(order, ",B,a,ab,b,c,\xE4,");
    EXPECT_EQ(map.Find("c"), 5u);
    EXPECT_EQ(map.Find("d"), map.Size());
    EXPECT_EQ(&map.Get("d"), &CString::Nil());
    EXPECT_EQ(&map.Get(7UL), &CString::Nil());
    EXPECT_EQ(&map.Key(7), &CString::Nil());
    EXPECT_TRUE(StringMap::Nil().Empty());
}

TEST(StringMap, AKeyWithoutCaseFindsAndChangesTheEntry) {
    StringMap map;
    ASSERT_TRUE(map.Set("accept", "1") && map.Set("host", "2") && map.Set("range", "3"));
    EXPECT_EQ(map.Find(CString::IgnoreCase("HOST")), 1u);
    ASSERT_TRUE(map.Set(CString::IgnoreCase("Range"), "4"));
    EXPECT_EQ(map.Size(), 3u);
    EXPECT_EQ(map.Get("range"), CString("4"));
    EXPECT_FALSE(map.Has("Range"));
}

TEST(StringMap, RandomOperationsMatchAStandardMap) {
    std::mt19937 random(5);
    StringMap map;
    TwinT twin;
    for (int step = 0; step < 5000; ++step) {
        std::string const key = std::to_string(random() % 60);
        std::string const value = std::to_string(step);
        switch (random() % 5) {
        case 0:
            ASSERT_EQ(map.Remove(key.c_str()), twin.erase(key) == 1);
            break;
        case 1: {
            unsigned long const at = random() % (twin.size() + 1);
            ASSERT_EQ(map.Remove(at), at < twin.size());
            if (at < twin.size()) twin.erase(std::next(twin.begin(), static_cast<long>(at)));
            break;
        }
        case 2: {
            StringMap copy;
            ASSERT_TRUE(copy.Assign(map) && copy.Assign(copy));
            StringMap moved(std::move(copy));
            EXPECT_TRUE(copy.Empty());
            map.Swap(moved);
            break;
        }
        default:
            ASSERT_TRUE(map.Set(key.c_str(), value.c_str()));
            twin[key] = value;
            break;
        }
        ASSERT_EQ(map.Size(), twin.size());
        ASSERT_EQ(Twin(map), twin);
        ASSERT_EQ(map.Has(key.c_str()), twin.contains(key));
    }
}

TEST(StringMap, FailureLeavesItAsItWas) {
    ForEveryAllocation([](Heap& heap) {
        StringMap map;
        StringMap copy;
        ASSERT_TRUE(map.Set("a", "1") && copy.Set("z", "26"));
        heap.Arm();
        bool const changed = map.Set("a", "a text that is much longer than before");
        bool const added = map.Set("b", "2");
        bool const copied = copy.Assign(map);
        heap.Disarm();
        EXPECT_EQ(changed && added && copied, !heap.Fired());
        if (!changed) {
            EXPECT_EQ(map.Get("a"), CString("1"));
        }
        EXPECT_EQ(map.Has("b"), added);
        EXPECT_EQ(map.Size(), added ? 2u : 1u);
        EXPECT_EQ(Twin(copy), copied ? Twin(map) : (TwinT{{"z", "26"}}));
    });
}

TEST(VoidPMap, MapsKeysToPointersThatItDoesNotOwn) {
    int one = 1;
    int const two = 2;
    VoidPMap map;
    ASSERT_TRUE(map.Set("b", &one));
    ASSERT_TRUE(map.Set("a", &two));
    ASSERT_TRUE(map.Set("c", static_cast<void*>(nullptr)));
    VoidPMap const& constant = map;
    EXPECT_EQ(constant.Get(0UL), &two);
    EXPECT_EQ(map.Get("b"), &one);
    EXPECT_EQ(map.Get("x"), nullptr);
    EXPECT_EQ(map.Get(3UL), nullptr);
    EXPECT_EQ(map.Key(1), CString("b"));
    EXPECT_EQ(&map.Key(3), &CString::Nil());
    EXPECT_EQ(map.Find("c"), 2u);
    EXPECT_EQ(map.Find("0"), 3u);
    EXPECT_TRUE(map.Set("b", &two));
    EXPECT_TRUE(map.Set(2UL, &one));
    EXPECT_FALSE(map.Set(3UL, &one));
    EXPECT_EQ(constant.Get("b"), &two);
    EXPECT_EQ(constant.Get("c"), &one);
    EXPECT_EQ(map.Size(), 3u);
    VoidPMap other;
    other.Swap(map);
    EXPECT_TRUE(map.Empty());
    EXPECT_TRUE(other.Remove("a"));
    EXPECT_FALSE(other.Remove("a"));
    EXPECT_TRUE(other.Remove(1UL));
    EXPECT_FALSE(other.Remove(1UL));
    EXPECT_EQ(other.Key(0), CString("b"));
}

TEST(VoidPMap, FailureLeavesItAsItWas) {
    ForEveryAllocation([](Heap& heap) {
        VoidPMap map;
        heap.Arm();
        bool const ok = map.Set("key", &heap);
        heap.Disarm();
        EXPECT_EQ(ok, !heap.Fired());
        EXPECT_EQ(map.Size(), ok ? 1u : 0u);
    });
}

} // namespace
