#include "zeb/text/Version.h"
#include "workbench/Heap.h"
#include "workbench/LogCapture.h"
#include "zeb/core/String.h"

#include <gtest/gtest.h>

namespace {

// "!" for a text that is refused, else what is printed.
std::string Parsed(CString const& text, Version& version) {
    String out;
    EXPECT_TRUE(out.Assign("<", 1));
    if (!version.Parse(text)) return "!";
    EXPECT_TRUE(version.Print(out));
    return out.Cstr() + 1;
}

TEST(Version, ReadsTheFourForms) {
    std::pair<char const*, char const*> const rows[] = {
        // clang-format off
        {"2.05(AAXX.3)C7", "2.5.C.7.0-3"},       {"V2.05(A.10)E12 of today", "2.5.E.12.0-10"},
        {"4.02.1.C", "4.2.C.0.0-0"},             {"4.02.1.D.3 ", "4.2.D.3.0-0"},
        {"4.02.C.1", "4.2.C.1.0-0"},             {"x4.02.C.1.2", "4.2.C.1.0-2"},
        {"4.02.C.1.0-3", "4.2.C.1.0-3"},         {"5.01.0.9.7-13 ", "5.1.0.9.0-13"},
        {"10.2.A.1.0-0", "10.2.A.1.0-0"},        {"FFFFFFFFF1.2.A.3", "1.2.A.3.0-0"},
        {"1.1(A.1)A1 2.2.2.B.2", "2.2.B.2.0-0"}, {"3.3.C.3.0-3 2.2.2.B.2", "3.3.C.3.0-3"},
        {"1.1(A.1)A1 4.4.D.4", "4.4.D.4.0-0"},   {"1.1.A.1.0-1 4.4.D.4", "1.1.A.1.0-1"},
        {"999999999999999.0.A.1", "999999999999999.0.A.1.0-0"},
        {"4.02.1.D.3", "2.1.D.3.0-0"}, {"", "!"},      {"4.02", "!"},        {"4.02.F.1", "!"},         {"4.02.C.1.0 ", "!"},
        {"4.02.c.1", "!"}, {"2.05(.3)C7", "!"}, {"2.05(AA.3)C", "!"},    {"12345678901234567.0.A.1", "!"},
        // clang-format on
    };
    for (auto const& [text, printed] : rows) {
        Version version;
        EXPECT_EQ(Parsed(text, version), printed) << text;
        Version kept;
        ASSERT_TRUE(kept.Parse("1.2.E.4.5-6"));
        EXPECT_EQ(Parsed(text, kept), printed);
        EXPECT_TRUE(*printed != '!' || version.Parse("1.2.E.4.5-6")); // what was refused changed nothing
        EXPECT_TRUE(kept == version && version == kept) << text;
    }
}

TEST(Version, ComparesTheFieldsOfTheLeftSide) {
    struct {
        char const *left, *right;
        int order, reverse;
    } const rows[] = {
        {"4.2.C.1.0-3", "4.2.C.1.0-3", 0, 0},
        {"4.2.C.1.0-3", "4.2.C.1.0-4", -1, 1},
        {"4.2.C.1.0-3", "4.10.A.0.0-0", -1, 1},
        {"4.2.1.C.1;", "4.2.C.1.0-3", 0, 1}, // four fields against five
        {"4.2.1.C.1;", "4.2.C.2.0-0", -1, 1},
        {"5.0.A.0.0-0", "4.9.E.9.0-9", 1, -1},
        {"4.2.C.1", "4.2.1.C.1;", 0, 0},
        {"", "4.2.C.1.0-3", 0, 1}, // no field in use
    };
    for (auto const& row : rows) {
        Version left, right;
        EXPECT_EQ(left.Parse(row.left), *row.left != '\0');
        ASSERT_TRUE(right.Parse(row.right));
        for (auto const& [a, b, order] :
             {std::tuple(left, right, row.order), std::tuple(right, left, row.reverse)}) {
            SCOPED_TRACE(testing::Message() << row.left << " " << row.right);
            EXPECT_EQ(std::vector<bool>({a == b, a != b, a<b, a <= b, a> b, a >= b}),
                      std::vector<bool>({order == 0, order != 0, order<0, order <= 0, order> 0, order >= 0}));
        }
    }
    Version some, first(1);
    ASSERT_TRUE(some.Parse("0.0.0.0.0-1"));
    EXPECT_EQ(
        std::vector<bool>({some.IsZero(), first.IsZero(), Version::Zero().IsZero(), Version().IsZero()}),
        std::vector<bool>({false, true, true, true}));
    EXPECT_TRUE(first == some && Version(15) == some && Version(16) < some && Version::Zero() < some);
}

TEST(Version, TellsThatMemoryRanOut) {
    ForEveryAllocation([](Heap& heap) {
        LogCapture log;
        Version version;
        String text;
        ASSERT_TRUE(version.Parse("1.1.A.1.0-1") && text.Assign("v"));
        heap.Arm();
        bool const parsed = version.Parse("4.2.C.1.0-3");
        bool const printed = version.Print(text);
        heap.Disarm();
        EXPECT_EQ(log.Count("C Version: system failed [0xcffd****], unable to compile the pattern \"("),
                  log.Count("E Util::Regex: "));
        EXPECT_TRUE(heap.Fired() || (parsed && printed));
        EXPECT_STREQ(text.Cstr(), !printed ? "v" : parsed ? "v4.2.C.1.0-3" : "v1.1.A.1.0-1");
    });
}

} // namespace
