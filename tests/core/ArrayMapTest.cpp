#include "zeb/core/ArrayMap.h"
#include "tests/support/Heap.h"
#include "zeb/core/String.h"
#include "zeb/core/StringMap.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace std::string_literals;

std::string Block(ArrayMap const& map) { return {map.Ptr(), map.Size()}; }

ArrayMap Make(std::string const& block, unsigned long maxSize = 100, char separator = '=') {
    return {maxSize, separator, block.data(), block.size()};
}

TEST(ArrayMap, KeepsWholeEntriesOfABlockAndOneNulBehindThem) {
    struct {
        std::string block;
        std::string kept;
        char separator = '=';
    } const rows[] = {
        {"", "\0"s},
        {"\0"s, "\0"s},
        {"\0a=1\0"s, "\0"s},
        {"a=1\0b=2\0\0"s, "a=1\0b=2\0\0"s},
        {"a=1\0b=2\0"s, "a=1\0b=2\0\0"s},  // the last NUL is missing
        {"a=1\0\0junk=1\0"s, "a=1\0\0"s},  // junk behind the end
        {"a=1\0=2\0b=3\0"s, "a=1\0\0"s},   // a key without a character
        {"a=1\0junk\0b=3\0"s, "a=1\0\0"s}, // no separator
        {"a=1\0b=2"s, "a=1\0\0"s},         // a value without an end
        {"a=1"s, "\0"s},
        {"a=1\0b"s, "a=1\0\0"s},
        {"a=\0b==x=\0"s, "a=\0b==x=\0\0"s}, // a value may hold anything but NUL
        {"k\0v\0l\0w\0"s, "k\0v\0l\0w\0\0"s, '\0'},
        {"a=1\0"s, "\0"s, ':'},
    };
    for (auto const& row : rows) {
        ArrayMap const map = Make(row.block, 100, row.separator);
        EXPECT_TRUE(map.Initialized());
        EXPECT_EQ(Block(map), row.kept) << testing::PrintToString(row.block);
        EXPECT_EQ(map.Empty(), row.kept.size() == ArrayMap::NilSize());
    }
}

TEST(ArrayMap, ABlockThatIsTooLargeIsAStateThatEverythingReturns) {
    EXPECT_TRUE(Make("a=1\0"s, 5).Initialized());
    ArrayMap map = Make("a=1\0"s, 4);
    EXPECT_FALSE(map.Initialized());
    String value;
    StringMap all;
    ASSERT_TRUE(all.Set("old", "value"));
    EXPECT_EQ(map.Assign("", 0), 0x80800004u);
    EXPECT_EQ(map.Get("a", value), 0x80800004u);
    EXPECT_EQ(map.Get(all), 0x80800004u);
    EXPECT_TRUE(all.Empty());
    EXPECT_EQ(map.Set("", "1", true), 0x80800004u);
    EXPECT_EQ(map.Unset("a"), 0x80800004u);
    EXPECT_FALSE(map.Has("a"));
    EXPECT_TRUE(map.Empty());

    ArrayMap good = Make("x=1\0"s);
    EXPECT_EQ(good.Assign("0=123456789", 12), 0x00800001u);
    EXPECT_EQ(good.Assign(map), 0x80800004u) << "the state comes along";
    EXPECT_FALSE(good.Initialized());
}

TEST(ArrayMap, SetAndUnsetGiveTheirCodesAndKeepPlaces) {
    struct {
        char const* key;
        char const* value; // null: Unset
        bool overwrite;
        unsigned code;
        std::string block;
    } const rows[] = {
        {"", "1", true, 0x80800001, "\0"s},
        {"a=", "1", true, 0x80800002, "\0"s},
        {"a", nullptr, true, 0x80800003, "\0"s},
        {"a", "123456789012", true, 0x00800003, "a=123456789012\0\0"s}, // 16 bytes
        {"a", "1234567890123", true, 0x80800004, "a=123456789012\0\0"s},
        {"a", "1", true, 0x00800003, "a=1\0\0"s},
        {"b", "22", false, 0x00800003, "a=1\0b=22\0\0"s},
        {"c", "333", false, 0x00800003, "a=1\0b=22\0c=333\0\0"s},
        {"d", "", false, 0x80800004, "a=1\0b=22\0c=333\0\0"s},
        {"a", "9", false, 0x80800005, "a=1\0b=22\0c=333\0\0"s},
        {"b", "22", true, 0x00800006, "a=1\0b=22\0c=333\0\0"s},
        {"c", "3333", true, 0x80800004, "a=1\0b=22\0c=333\0\0"s},
        {"b", "", true, 0x00800003, "a=1\0b=\0c=333\0\0"s},
        {"a", "111", true, 0x00800003, "a=111\0b=\0c=333\0\0"s},
        {"b", nullptr, true, 0x00800004, "a=111\0c=333\0\0"s},
        {"b", nullptr, true, 0x80800003, "a=111\0c=333\0\0"s},
        {"c", nullptr, true, 0x00800004, "a=111\0\0"s},
        {"a", nullptr, true, 0x00800004, "\0"s},
    };
    ArrayMap map = Make("", 16);
    for (auto const& row : rows) {
        ReturnT const code = row.value ? map.Set(row.key, row.value, row.overwrite) : map.Unset(row.key);
        EXPECT_EQ(code, row.code) << row.key << " " << (row.value ? row.value : "(unset)");
        EXPECT_EQ(Block(map), row.block) << row.key << " " << (row.value ? row.value : "(unset)");
    }
}

TEST(ArrayMap, FindsWithoutCaseOnRequestAndRefusesNulBytes) {
    ArrayMap map = Make("Host=a\0PORT=80\0"s);
    String value;
    EXPECT_EQ(map.Get("host", value), 0x80800003u);
    EXPECT_EQ(map.Get(CString::IgnoreCase("host"), value), 0x00800002u);
    EXPECT_EQ(value, CString("a"));
    EXPECT_EQ(map.Set(CString::IgnoreCase("port"), "81", true), 0x00800003u);
    EXPECT_EQ(Block(map), "Host=a\0port=81\0\0"s);
    EXPECT_EQ(map.Set(CString("x\0y", 3), "1", true), 0x80800002u);
    EXPECT_EQ(map.Set("x", CString("1\0002", 3), true), 0x00800003u);
    EXPECT_EQ(Block(map), "Host=a\0port=81\0x=1\0\0"s);
}

TEST(ArrayMap, RandomOperationsMatchAListOfPairs) {
    std::mt19937 random(7);
    ArrayMap map = Make("", 300);
    std::vector<std::pair<std::string, std::string>> twin;
    for (int step = 0; step < 5000; ++step) {
        std::string const key = "k" + std::to_string(random() % 20);
        std::string const value(random() % 30, static_cast<char>('a' + random() % 26));
        auto const found =
            std::find_if(twin.begin(), twin.end(), [&](auto& pair) { return pair.first == key; });
        if (random() % 3 == 0) {
            ASSERT_EQ(map.Unset(key.c_str()).Succeeded(), found != twin.end());
            if (found != twin.end()) twin.erase(found);
        } else {
            ReturnT const code = map.Set(key.c_str(), value.c_str(), true);
            if (code.Succeeded() && found != twin.end()) found->second = value;
            if (code.Succeeded() && found == twin.end()) twin.emplace_back(key, value);
        }
        std::string block;
        for (auto const& [name, text] : twin)
            block += name + "=" + text + "\0"s;
        ASSERT_EQ(Block(map), block + "\0"s);
        ASSERT_LE(map.Size(), 300u);
    }
}

TEST(ArrayMap, FailureKeepsTheEntries) {
    ForEveryAllocation([](Heap& heap) {
        ArrayMap map = Make("a=1\0b=2\0"s);
        ArrayMap other = Make("c=3\0"s, 50, ':');
        StringMap all;
        String value;
        heap.Arm();
        ReturnT const set = map.Set("a", "123456789", true);
        ReturnT const got = map.Get("b", value);
        ReturnT const gotAll = map.Get(all);
        ReturnT const copied = other.Assign(map);
        ReturnT const assigned = map.Assign("long=enough to need another block\0", 34);
        heap.Disarm();
        bool failed = false;
        for (ReturnT const code : {set, got, gotAll, copied, assigned}) {
            EXPECT_TRUE(code.Succeeded() || code.IsOom());
            failed = failed || code.Failed();
        }
        EXPECT_EQ(failed, heap.Fired());
        std::string const block = set.Succeeded() ? "a=123456789\0b=2\0\0"s : "a=1\0b=2\0\0"s;
        EXPECT_EQ(Block(map), assigned.Succeeded() ? "long=enough to need another block\0\0"s : block);
        EXPECT_EQ(all.Size(), gotAll.Succeeded() ? 2u : 0u);
        EXPECT_EQ(Block(other), copied.Succeeded() ? block : "\0"s);
    });
    ForEveryAllocation([](Heap& heap) {
        ArrayMap map = Make("a=1\0b=22222222\0"s);
        heap.Arm();
        EXPECT_EQ(map.Unset("b"), 0x00800004u) << "shrinking never fails";
        heap.Disarm();
        EXPECT_EQ(Block(map), "a=1\0\0"s);
        EXPECT_EQ(map.Set("a", "2", true), 0x00800003u);
    });
}

} // namespace
