#include "zeb/text/Version.h"

#include "tests/core/Rig.h"
#include "workbench/LogCapture.h"

namespace {

TEST(Version, ReadsTheFourForms) {
    std::istringstream rows( // text and what is printed, nothing if it is refused
        "2.05(AAXX.3)C7|2.5.C.7.0-3|V2.05(A.10)E12 of today|2.5.E.12.0-10|4.02.1.C|4.2.C.0.0-0|4.02.1.D.3 |4.2.D.3.0-0|"
        "4.02.1.D.3|2.1.D.3.0-0|4.02.C.1|4.2.C.1.0-0|x4.02.C.1.2|4.2.C.1.0-2|4.02.C.1.0-3|4.2.C.1.0-3|"
        "5.01.0.9.7-13 |5.1.0.9.0-13|FFFF1.2.A.3|1.2.A.3.0-0|1.1(A.1)A1 2.2.2.B.2|2.2.B.2.0-0|3.3.C.3.0-3 2.2.2.B.2|3.3.C.3.0-3|"
        "1.1(A.1)A1 4.4.D.4|4.4.D.4.0-0|1.1.A.1.0-1 4.4.D.4|1.1.A.1.0-1|999999999999999.0.A.1|999999999999999.0.A.1.0-0|||"
        "4.02||4.02.F.1||4.02.C.1.0 ||4.02.c.1||2.05(.3)C7||2.05(AA.3)C||12345678901234567.0.A.1||");
    for (std::string line, expected; std::getline(rows, line, '|') && std::getline(rows, expected, '|');) {
        CString const text(line.c_str());
        Version version, used;
        String out, old;
        ASSERT_TRUE(out.Assign("<") && used.Parse("1.2.E.4.5-6"));
        bool const parsed = version.Parse(text);
        EXPECT_TRUE(parsed == !expected.empty() && used.Parse(text) == parsed && version.Print(out) && used.Print(old)) << line;
        EXPECT_EQ(out.Cstr(), "<" + (expected.empty() ? "0.0.0.0.0-0" : expected)) << line;
        EXPECT_EQ(old.Cstr(), expected.empty() ? "1.2.E.4.0-6" : expected) << "nothing of the old one is left";
    }
}

template<class T>
std::vector<bool> Order(T const& a, T const& b) {
    return {a == b, a != b, a<b, a <= b, a> b, a >= b};
}

TEST(Version, ComparesTheFieldsOfTheLeftSide) {
    std::tuple<char const*, char const*, int, int> const rows[] = {
        // by the left, by the right
        // clang-format off
        {"4.2.C.1.0-3", "4.2.C.1.0-3", 0, 0}, {"4.2.C.1.0-3", "4.2.C.1.0-4", -1, 1}, {"4.2.C.1.0-3", "4.10.A.0.0-0", -1, 1},
        {"4.2.1.C.1;", "4.2.C.1.0-3", 0, 1}, {"4.2.1.C.1;", "4.2.C.2.0-0", -1, 1}, // four fields against five
        {"5.0.A.0.0-0", "4.9.E.9.0-9", 1, -1}, {"4.2.C.1", "4.2.1.C.1;", 0, 0}, {"", "4.2.C.1.0-3", 0, 1}, // no field in use
        // clang-format on
    };
    for (auto const& [leftText, rightText, order, reverse] : rows) {
        Version left, right;
        EXPECT_TRUE(left.Parse(leftText) == (*leftText != '\0') && right.Parse(rightText));
        for (auto const& [a, b, expected] : {std::tuple(left, right, order), std::tuple(right, left, reverse)})
            EXPECT_EQ(Order(a, b), Order(expected, 0)) << leftText << " " << rightText;
    }
    Version some;
    EXPECT_TRUE(some.Parse("0.0.0.0.0-1") && !some.IsZero() && Version(1).IsZero() && Version(1) == some && Version(15) == some);
    EXPECT_TRUE(Version::Zero().IsZero() && Version::Zero() < some && Version(16) < some);
}

TEST(Version, TellsThatMemoryRanOut) {
    ForEveryAllocation([](Heap& heap) {
        LogCapture log;
        Version version;
        String text;
        ASSERT_TRUE(version.Parse("1.1.A.1.0-1") && text.Assign("v"));
        heap.Arm();
        bool const parsed = version.Parse("4.2.C.1.0-3"), printed = version.Print(text);
        heap.Disarm();
        EXPECT_EQ(log.Count("C Version: system failed [0xcffd****], unable to compile the pattern \"("),
                  log.Count("E Util::Regex: "));
        EXPECT_TRUE(heap.Fired() || (parsed && printed));
        EXPECT_STREQ(text.Cstr(), !printed ? "v" : parsed ? "v4.2.C.1.0-3" : "v1.1.A.1.0-1");
    });
}

} // namespace
