#include "zeb/core/StringMap.h"
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

TEST(StringMap, KeepsKeysInTheOrderOfTheirBytesAndFindsThemWithoutCaseOnRequest) {
    StringMap map;
    std::string order;
    for (char const* const key : {"b", "a", "c", "0", "", "ab", "\xE4"})
        ASSERT_TRUE(map.Set(key, key));
    ASSERT_TRUE(map.Set(CString::IgnoreCase("AB"), "4"));
    for (unsigned long i = 0; i < map.Size(); ++i)
        order += std::string(map.Key(i).Cstr()) + ",";
    EXPECT_EQ(order, ",0,a,ab,b,c,\xE4,");
    EXPECT_TRUE(map.Find("c") == 5 && map.Find("d") == 7 && map.Get("ab") == CString("4") && !map.Has("AB"));
    for (CString const* const view : {&map.Get("d"), &map.Get(7UL), &map.Key(7)})
        EXPECT_EQ(view, &CString::Nil());
    EXPECT_TRUE(StringMap::Nil().Empty());
}

TEST(StringMap, RandomOperationsMatchAStandardMap) {
    std::mt19937 random(5);
    StringMap map;
    TwinT twin;
    for (int step = 0; step < 5000; ++step) {
        std::string const key = std::to_string(random() % 60);
        std::string const value = std::to_string(step);
        unsigned long const at = random() % (twin.size() + 1);
        auto const action = random() % 5;
        StringMap copy;
        if (action < 2 && map.Set(key.c_str(), value.c_str())) twin[key] = value;
        ASSERT_TRUE(action != 2 || map.Remove(key.c_str()) == (twin.erase(key) == 1));
        if (action == 3 && map.Remove(at)) twin.erase(std::next(twin.begin(), static_cast<long>(at)));
        if (action == 4 && copy.Assign(map) && copy.Assign(copy)) map.Swap(copy);
        ASSERT_EQ(Twin(map), twin);
        ASSERT_EQ(map.Has(key.c_str()), twin.contains(key));
    }
}

TEST(VoidPMap, MapsKeysToPointersThatItDoesNotOwn) {
    int one = 1;
    int const two = 2;
    VoidPMap map;
    VoidPMap const& constant = map;
    ASSERT_TRUE(map.Set("b", &one) && map.Set("a", &two) && map.Set("c", static_cast<void*>(nullptr)));
    EXPECT_TRUE(constant.Get(0UL) == &two && map.Get("b") == &one && !map.Get("x") && !map.Get(3UL));
    EXPECT_TRUE(map.Key(1) == CString("b") && &map.Key(3) == &CString::Nil() && map.Find("0") == 3);
    EXPECT_TRUE(map.Set("b", &two) && map.Set(2UL, &one) && !map.Set(3UL, &one) && map.Size() == 3);
    EXPECT_TRUE(constant.Get("b") == &two && map.Remove("a") && !map.Remove("a") && !map.Remove(2UL));
}

} // namespace
