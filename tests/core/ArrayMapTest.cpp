#include "zeb/core/ArrayMap.h"

#include "tests/core/Rig.h"
#include "zeb/core/StringMap.h"

namespace {

using namespace std::string_literals;

// In blocks of these tests a dot stands for NUL.
std::string Swapped(std::string text, char from, char to) { return std::ranges::replace(text, from, to), text; }
std::string Block(ArrayMap const& map) { return Swapped({map.Ptr(), map.Size()}, '\0', '.'); }
ArrayMap Make(std::string const& block, unsigned long maxSize = 100, char separator = '=') {
    return {maxSize, separator, Swapped(block, '.', '\0').data(), block.size()};
}

TEST(ArrayMap, KeepsWholeEntriesOfABlockAndOneNulBehindThem) {
    std::pair<char const*, char const*> const rows[] = {
        // clang-format off
        {"", "."}, {".", "."}, {".a=1.", "."}, {"a=1", "a=1.."}, {"a:1.", "."}, {"a=1.b=2..", "a=1.b=2.."},
        {"a=1.b=2.", "a=1.b=2.."}, {"a=1..junk=1.", "a=1.."}, {"a=1.=2.b=3.", "a=1.."},
        {"a=1.junk.b=3.", "a=1.."}, {"a=1.b=2", "a=1.b=2.."}, {"a=", "a=.."}, {"a=1.b", "a=1.."}, {"a=.b==x=.", "a=.b==x=.."},
        // clang-format on
    };
    Heap const heap; // new memory holds junk
    for (auto const& [block, kept] : rows) {
        EXPECT_EQ(Block(Make(block)), kept) << block;
        EXPECT_EQ(Make(block).Empty(), kept == "."s) << block;
    }
    EXPECT_EQ(Block(Make("k.v.l.w.", 100, '\0')), "k.v.l.w..");
    EXPECT_TRUE(Make("a=1.", 5).Initialized());
}

TEST(ArrayMap, ABlockThatIsTooLargeIsAStateThatEverythingReturns) {
    ArrayMap map = Make("a=1.", 4), good = Make("x=1.");
    String value;
    StringMap all;
    ASSERT_TRUE(!map.Initialized() && all.Set("old", "value"));
    for (ReturnT const code : {map.Assign("", 0), map.Get("a", value), map.Get(all), map.Set("", "1", true), map.Unset("a"),
                               good.Assign(map), good.Assign("", 0)})
        EXPECT_EQ(code, 0x80800004u);
    EXPECT_TRUE(all.Empty() && !map.Has("a") && map.Empty() && !good.Initialized());
}

TEST(ArrayMap, SetAndUnsetGiveTheirCodesAndKeepPlaces) {
    std::tuple<char const*, char const*, bool, unsigned, char const*> const rows[] = {
        // clang-format off
        {"", "1", true, 0x80800001, "."}, {"a=", "1", true, 0x80800002, "."}, {"a", nullptr, true, 0x80800003, "."},
        {"a", "123456789012", true, 0x00800003, "a=123456789012.."}, {"a", "1234567890123", true, 0x80800004, "a=123456789012.."},
        {"a", "1", true, 0x00800003, "a=1.."}, {"b", "22", false, 0x00800003, "a=1.b=22.."},
        {"c", "333", false, 0x00800003, "a=1.b=22.c=333.."}, {"d", "", false, 0x80800004, "a=1.b=22.c=333.."},
        {"a", "9", false, 0x80800005, "a=1.b=22.c=333.."}, {"b", "22", true, 0x00800006, "a=1.b=22.c=333.."},
        {"b", "", true, 0x00800003, "a=1.b=.c=333.."}, {"b", nullptr, true, 0x00800004, "a=1.c=333.."},
        {"c", nullptr, true, 0x00800004, "a=1.."}, {"a", nullptr, true, 0x00800004, "."},
        // clang-format on
    };
    ArrayMap map = Make("", 16);
    for (auto const& [key, value, overwrite, code, block] : rows) { // a null value: Unset
        EXPECT_EQ(value ? map.Set(key, value, overwrite) : map.Unset(key), code) << key << " " << block;
        EXPECT_EQ(Block(map), block) << key;
    }
}

TEST(ArrayMap, FindsWithoutCaseOnRequestAndRefusesNulBytes) {
    ArrayMap map = Make("Host=a.PORT=80.");
    String value;
    ReturnT const codes[] = {map.Get("host", value), map.Get(CString::IgnoreCase("host"), value),
                             map.Set(CString::IgnoreCase("port"), "81", true), map.Set(CString("x\0y", 3), "1", true),
                             map.Set("x", CString("1\0002", 3), true)};
    EXPECT_THAT(codes, testing::ElementsAre(0x80800003u, 0x00800002u, 0x00800003u, 0x80800002u, 0x80800006u));
    EXPECT_EQ(Block(map), "Host=a.port=81..");
}

} // namespace
