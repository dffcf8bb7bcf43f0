#include "zeb/text/Version.h"

#include "tests/core/Rig.h"
#include "workbench/LogCapture.h"

namespace {

TEST(Version, ReadsTheFourForms) {
    std::istringstream rows( // text and what is printed: what was there if it is refused
        "2.05(AAXX.3)C7|2.5.C.7.0-3|V2.05(A.10)E12 of today|2.5.E.12.0-10|4.02.1.C|4.2.C.0.0-0|04.02.1.D.3 |4.2.D.3.0-0|"
        "4.02.1.D.3|2.1.D.3.0-0|4.02.C.1|4.2.C.1.0-0|x4.02.C.1.2|4.2.C.1.0-2|4.02.C.1.0-3|4.2.C.1.0-3|"
        "5.01.0.9.7-13 |5.1.0.9.0-13|FFFF1.2.A.3|1.2.A.3.0-0|1.1(A.1)A1 2.2.2.B.2|2.2.B.2.0-0|3.3.C.3.0-3 2.2.2.B.2|3.3.C.3.0-3|"
        "1.1(A.1)A1 4.4.D.4|4.4.D.4.0-0|1.1.A.1.0-1 4.4.D.4|1.1.A.1.0-1|999999999999999.0.A.1|999999999999999.0.A.1.0-0||-|"
        "4.02|-|4.02.F.1|-|4.02.C.1.0 "
        "|-|4.02.c.1|-|2.05(.3)C7|-|2.05(AA.3)C|-|12345678901234567.0.A.1|-|4.02.C.1~.2|4.2.C.1.0-0|"
        "12345678901234567.1(A.1)A1 4.4.D.4|4.4.D.4.0-0|");
    for (std::string line, expected; std::getline(rows, line, '|') && std::getline(rows, expected, '|');) {
        Version version;
        String out;
        EXPECT_TRUE(version.Parse("1.2.E.4.5-6") && out.Assign("<"));
        std::replace(line.begin(), line.end(), '~', '\0');
        EXPECT_EQ(version.Parse(View(line)), expected != "-") << line;
        EXPECT_TRUE(version.Print(out));
        EXPECT_EQ(out.Cstr(), "<" + (expected == "-" ? "1.2.E.4.0-6" : expected)) << line;
    }
}

// "=", "<" or ">"; the six comparisons agree.
char Order(Version const& a, Version const& b) {
    char const order = a < b ? '<' : a == b ? '=' : '>';
    EXPECT_EQ((std::vector{a != b, a <= b, a > b, a >= b}),
              (std::vector{order != '=', order != '>', order == '>', order != '<'}));
    return order;
}

TEST(Version, ComparesTheFieldsOfTheLeftSide) {
    std::istringstream rows( // left, right, how they stand, and how if they change sides
        "4.2.C.1.0-3 4.2.C.1.0-3 ==,4.2.C.1.0-3 4.2.C.1.0-4 <>,4.2.C.1.0-3 4.10.A.0.0-0 <>,5.0.A.0.0-0 4.9.E.9.0-9 ><,"
        "4.2.1.C.1; 4.2.C.1.0-3 =>,4.2.1.C.1; 4.2.C.2.0-0 <>,4.2.C.1 4.2.1.C.1; ==,none 4.2.C.1.0-3 =>,"); // fewer fields in use
    for (std::string left, right, order; rows >> left >> right && std::getline(rows, order, ',');) {
        Version a, b;
        EXPECT_TRUE(a.Parse(View(left)) == (left != "none") && b.Parse(View(right)));
        EXPECT_EQ((std::string{' ', Order(a, b), Order(b, a)}), order) << left << " " << right;
    }
    Version some;
    EXPECT_TRUE(some.Parse("0.0.0.0.0-1") && !some.IsZero() && Version::Zero().IsZero());
    for (unsigned long const mask : {1, 15, 16, 31}) EXPECT_EQ(Version(mask) < some, mask > 15);
}

TEST(Version, TellsThatMemoryRanOut) {
    ForEveryAllocation([](Heap& heap) {
        LogCapture log;
        Version version;
        String text;
        EXPECT_TRUE(version.Parse("1.1.A.1.0-1") && text.Assign("v"));
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
