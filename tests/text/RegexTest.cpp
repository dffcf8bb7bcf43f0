#include "zeb/text/Regex.h"

#include "tests/core/Rig.h"
#include "workbench/LogCapture.h"
#include "zeb/text/Matcher.h"

namespace {

using Util::Matcher, Util::Regex;

// The groups 0 to 4, with "-" for none.
std::string Groups(Matcher const& matcher) {
    std::string all;
    for (unsigned long i = 0; i < 5; ++i) {
        String group;
        EXPECT_TRUE(group.Assign("old"));
        ReturnT const code = matcher.GetGroup(i, group);
        all += (code == 0x00390001 ? group.Cstr() : code == 0x80390001 ? "-" : "?") + std::string("|");
    }
    return all;
}

TEST(Matcher, WalksThroughTheTextWithAnyExpression) {
    Regex const pair("([a-z]+)=(x(y)?)?", REG_EXTENDED), start("^;", REG_EXTENDED);
    Regex const test("BC(=)", REG_EXTENDED | REG_ICASE | REG_NOSUB);
    Matcher matcher(CString("a=x;bc=,d=xy\0e=", 15));                    // to the NUL
    std::tuple<Regex const&, int, uint32_t, char const*> const rows[] = {// clang-format off
        {start, 0, 0x80390002, "-|-|-|-|-|"}, {pair, 0, 0x00390001, "a=x|a|x||-|"},
        {start, REG_NOTBOL, 0x80390002, "a=x|a|x||-|"}, {start, 0, 0x00390001, ";|-|-|-|-|"}, {test, 0, 0x00390001, "||-|-|-|"},
        {pair, 0, 0x00390001, "bc=|bc|||-|"}, {pair, 0, 0x00390001, "d=xy|d|xy|y|-|"}, {test, 0, 0x80390002, "d=xy|d|xy|y|-|"}};
    // clang-format on
    for (int round = 0; round < 2; ++round, matcher.Reset())
        for (auto const& [regex, flags, code, groups] : rows)
            EXPECT_TRUE(matcher.Find(regex, flags) == code && Groups(matcher) == groups) << groups << Groups(matcher);
}

TEST(Regex, LogsWhatDoesNotCompileAndWhatCannotBeSearchedFor) {
    LogCapture log;
    Regex const regex("a(", REG_EXTENDED), basic("a(", 0);
    EXPECT_EQ(Matcher("a(").Find(regex, 0), 0x80390003);
    EXPECT_EQ(Matcher("a(").Find(basic, 0), 0x00390001u);
    EXPECT_EQ(ReturnT(Matcher("a(").Find(basic, 0x100)).Code() >> 16, 0xCFFDu); // there is no such flag
    EXPECT_EQ(log.Take(), LogCapture::LinesT({"E Util::Regex: unable to compile a regular expression: Unmatched ( or \\(.",
                                              "C Util::Matcher: system failed [0xcffd****], unable to search: Invalid regular "
                                              "expression."}));
}

TEST(Matcher, TellsThatMemoryRanOut) {
    ForEveryAllocation([](Heap& heap) {
        LogCapture log;
        String group;
        heap.Arm();
        Regex const regex("(a)(b)?(c)(d)(e)(f)(g)(h)(i)(j)(k)(l)(m)(n)(o)(p)(q)", REG_EXTENDED);
        Matcher matcher("acdefghijklmnopq");
        ReturnT const found = matcher.Find(regex, 0), got = matcher.GetGroup(3, group);
        heap.Disarm();
        EXPECT_NE(log.Has("E Util::Regex: unable to compile a regular expression: Memory exhausted."), regex.Compiled());
        EXPECT_TRUE(found.Succeeded() || found == (regex.Compiled() ? 0xC0390001 : 0x80390003));
        EXPECT_EQ(got, found.Failed() ? 0x80390001 : group == "c" ? 0x00390001 : 0xC0390001);
        EXPECT_TRUE(heap.Fired() || got == Matcher::DONE);
    });
}

} // namespace
