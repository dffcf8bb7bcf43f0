#include "zeb/core/StringMap.h"

#include "tests/core/Rig.h"
#include "zeb/core/VoidPMap.h"

#include <map>

namespace {

TEST(StringMap, FindsWithoutCaseOnRequestAndAnswersNilForWhatIsNotThere) {
    StringMap map;
    for (char const* const key : {"b", "a", "\xE4", "", "ab"}) ASSERT_TRUE(map.Set(key, key));
    ASSERT_TRUE(map.Set("ab", CString(map.Get("ab").Cstr() + 1)) && map.Get("ab") == CString("b"));
    ASSERT_TRUE(map.Set(CString::IgnoreCase("AB"), "4") && map.Get("ab") == CString("4"));
    EXPECT_TRUE(map.Find("b") == 3 && map.Find("d") == 5 && !map.Has("AB") && map.Key(4) == CString("\xE4"));
    for (CString const* const view : {&map.Get("d"), &map.Get(5UL), &map.Key(5)}) EXPECT_EQ(view, &CString::Nil());
}

TEST(StringMap, RandomOperationsMatchAStandardMap) {
    std::mt19937 random(5);
    StringMap map;
    std::map<std::string, std::string> twin;
    for (int step = 0; step < 5000; ++step) {
        std::string const key = std::to_string(random() % 60), value = std::to_string(step);
        unsigned long const at = random() % (twin.size() + 1);
        auto const action = random() % 5;
        StringMap copy;
        if (action < 2 && map.Set(key.c_str(), value.c_str())) twin[key] = value;
        ASSERT_TRUE(action != 2 || map.Remove(key.c_str()) == (twin.erase(key) == 1));
        if (action == 3 && map.Remove(at)) twin.erase(std::next(twin.begin(), static_cast<long>(at)));
        if (action == 4 && copy.Assign(map) && copy.Assign(copy)) map.Swap(copy);
        ASSERT_EQ(map.Size(), twin.size());
        auto expected = twin.begin();
        for (auto const& [name, text] : map) ASSERT_TRUE(name == expected->first.c_str() && text == (expected++)->second.c_str());
        ASSERT_EQ(map.Has(key.c_str()), twin.contains(key));
    }
}

TEST(VoidPMap, MapsKeysToPointersThatItDoesNotOwn) {
    int one = 1, two = 2;
    VoidPMap map;
    VoidPMap const& constant = map;
    ASSERT_TRUE(map.Set("b", &one) && map.Set("a", &two) && map.Set("c", static_cast<void*>(nullptr)));
    EXPECT_TRUE(constant.Get(0UL) == &two && map.Get("b") == &one && !map.Get("x") && !map.Get(3UL));
    EXPECT_TRUE(map.Key(1) == CString("b") && &map.Key(3) == &CString::Nil() && map.Find("0") == 3);
    EXPECT_TRUE(map.Set("b", &two) && map.Set(2UL, &one) && !map.Set(3UL, &one) && map.Size() == 3);
    EXPECT_TRUE(constant.Get("b") == &two && map.Remove("a") && !map.Remove("a") && !map.Remove(2UL));
}

} // namespace
