#include "zeb/util/Regex.h"
#include "tests/support/Heap.h"
#include "tests/support/LogCapture.h"
#include "zeb/util/Matcher.h"

#include <gtest/gtest.h>

namespace {

using Util::Matcher;
using Util::Regex;

std::string Group(Matcher const& matcher, unsigned long index) {
    String group;
    EXPECT_TRUE(group.Assign("old"));
    ReturnT const code = matcher.GetGroup(index, group);
    return code == 0x80390001 && group == "old" ? "none" : code == 0x00390001 ? group.Cstr() : "?";
}

TEST(Matcher, WalksThroughTheTextWithAnyExpression) {
    Regex const pair("([a-z]+)=(x(y)?)?", REG_EXTENDED);
    Regex const start("^;", REG_EXTENDED);
    Matcher matcher("a=x;bc=,d=xy");
    struct {
        Regex const& regex;
        int flags;
        uint32_t code;
        char const* groups[5];
    } const rows[] = {
        {start, 0, 0x80390002, {"none", "none", "none", "none", "none"}},
        {pair, 0, 0x00390001, {"a=x", "a", "x", "", "none"}},
        {start, REG_NOTBOL, 0x80390002, {"a=x", "a", "x", "", "none"}},
        {start, 0, 0x00390001, {";", "none", "none", "none", "none"}},
        {pair, 0, 0x00390001, {"bc=", "bc", "", "", "none"}},
        {pair, 0, 0x00390001, {"d=xy", "d", "xy", "y", "none"}},
        {pair, 0, 0x80390002, {"d=xy", "d", "xy", "y", "none"}},
    };
    for (int round = 0; round < 2; ++round, matcher.Reset()) {
        for (auto const& row : rows) {
            EXPECT_EQ(matcher.Find(row.regex, row.flags), row.code);
            for (unsigned long i = 0; i < 5; ++i)
                EXPECT_EQ(Group(matcher, i), row.groups[i]);
        }
    }
    EXPECT_EQ(Group(matcher, 0), "none");
}

TEST(Matcher, OnlyAsksWithoutGroups) {
    Regex const regex("B(c)", REG_EXTENDED | REG_ICASE | REG_NOSUB);
    Matcher matcher("abc");
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(matcher.Find(regex, 0), Matcher::DONE);
    EXPECT_EQ(Group(matcher, 1) + Group(matcher, 0), "");
    EXPECT_EQ(Matcher("ab").Find(regex, 0), Matcher::NO_MATCH);
}

TEST(Regex, LogsWhatDoesNotCompile) {
    LogCapture log;
    Regex const regex("a(", REG_EXTENDED);
    Matcher matcher("a(");
    EXPECT_EQ(matcher.Find(regex, 0), 0x80390003);
    EXPECT_EQ(
        log.Take(),
        LogCapture::LinesT({"E Util::Regex: unable to compile a regular expression: Unmatched ( or \\(."}));
    EXPECT_TRUE(!regex.Compiled() && regex.Pattern() == "a(" && regex.Flags() == REG_EXTENDED);
    EXPECT_EQ(matcher.Find(Regex("a(", 0), 0), Matcher::DONE); // a basic one
}

TEST(Matcher, TellsThatMemoryRanOut) {
    ForEveryAllocation([](Heap& heap) {
        LogCapture log;
        Regex const warm("x", 0); // what the engine keeps is made
        EXPECT_EQ(Matcher("x").Find(warm, 0), Matcher::DONE);
        String group;
        heap.Arm();
        Regex const regex("(a)(b)?(c)(d)(e)(f)(g)(h)(i)(j)(k)(l)(m)(n)(o)(p)(q)", REG_EXTENDED);
        Matcher matcher("acdefghijklmnopq");
        ReturnT const found = matcher.Find(regex, 0);
        ReturnT const got = matcher.GetGroup(3, group);
        heap.Disarm();
        if (!regex.Compiled()) {
            EXPECT_EQ(found, 0x80390003);
            EXPECT_EQ(log.Count("E Util::Regex: unable to compile a regular expression: Memory exhausted."),
                      1u);
        } else if (found.Failed()) {
            EXPECT_EQ(found, 0xC0390001);
        }
        EXPECT_EQ(got, found.Failed() ? 0x80390001 : group == "c" ? 0x00390001 : 0xC0390001);
        EXPECT_TRUE(heap.Fired() || got == Matcher::DONE);
    });
}

} // namespace
