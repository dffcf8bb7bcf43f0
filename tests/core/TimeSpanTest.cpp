#include "zeb/core/TimeSpan.h"

#include "tests/core/Rig.h"
#include "workbench/Clock.h"
#include "zeb/core/Time.h"

using Time::Span;

namespace {

Span Make(long seconds, long microseconds) { return Span(Span::Value(seconds, microseconds)); }
Span Micro(long microseconds) { return Make(microseconds / 1000000, microseconds % 1000000); }
std::string Text(Span const& span) { return Span::String(span).Cstr(); }

} // namespace

TEST(TimeSpan, KeepsBothPartsOfOneSignAndRoundsByItsRules) {
    char const* const max = "9223372036854775807.999999";
    std::tuple<Span, char const*, long, long> const rows[] = {
        // clang-format off
        {Span(), "0.000000", 0, 0}, {Span(-1500), "-1.500000", -1, -1500}, {Span(2500), "2.500000", 3, 2500},
        {Span(2499), "2.499000", 2, 2499}, {Span(2, 1999), "2.999000", 3, 2999}, {Span(-2, 500), "-1.500000", -1, -1500},
        {Span(2, -500), "1.500000", 2, 1500}, {Make(0, -1999), "-0.001999", 0, -1}, {Make(1, 2500000), "3.500000", 4, 3500},
        {Make(1, -2500000), "-1.500000", -1, -1500}, {Make(-1, -3000000), "-4.000000", -4, -4000},
        {Span(timespec{-1, 4999999999}), "3.999999", 4, 3999}, {Make(LONG_MAX, 1000000), max, LONG_MAX, LONG_MAX},
        {Make(LONG_MIN, -1000000), "-9223372036854775808.999999", LONG_MIN, LONG_MIN},
        {Span(timeval{-1, 250000}), "-0.750000", 0, -750}, {Span(timespec{5, 999999999}), "5.999999", 6, 5999},
        {Make(0, -500000) + Span(1000), "0.500000", 1, 500}, {Span(1500) - Span(2000), "-0.500000", 0, -500},
        {Span::Max(), max, LONG_MAX, LONG_MAX}, {Span::Max() + 1, max, LONG_MAX, LONG_MAX},
        {Span() - Make(LONG_MIN, 0), max, LONG_MAX, LONG_MAX},
        {Make(LONG_MIN, -999999) - Micro(1), "-9223372036854775808.999999", LONG_MIN, LONG_MIN},
        {Make(LONG_MIN, 0) - 5000, "-9223372036854775808.999999", LONG_MIN, LONG_MIN},
        // clang-format on
    };
    for (auto const& [span, text, seconds, milliseconds] : rows) {
        Span again;
        EXPECT_TRUE(Span::String::Parse(text, again) && again == span) << text;
        EXPECT_EQ(std::tuple(Text(span), span.Seconds(), span.Milliseconds()), std::tuple(text, seconds, milliseconds));
        EXPECT_EQ(span.IsZero(), span == Span::Zero());
        for (auto const& row : rows) { // a difference has the sign of the order
            auto const& other = std::get<0>(row);
            std::vector<bool> const less(5, span < other);
            EXPECT_EQ(std::vector({span - other<Span(), other> span, !(span >= other), !(other <= span), span < other}), less);
        }
        if (seconds == LONG_MIN) continue; // one second below is not in the range of the system
        timespec const time = span;
        EXPECT_TRUE(time.tv_nsec >= 0 && Span(time) == span && Span(timeval(span)) == span);
    }
    Span below(-1500), above(7, 0);
    EXPECT_TRUE(below.AdjustMicroseconds(25) && !below.AdjustMicroseconds(1000000) && !below.AdjustMicroseconds(-1));
    above.Set(7);
    EXPECT_TRUE(above.AdjustMicroseconds(999999) && Text(below) + Text(above) == "-1.0000257.999999");
}

TEST(TimeSpan, AlsoReadsShorterTextsAndNothingElse) {
    std::pair<char const*, Span> const rows[] = {
        // clang-format off
        {"0", 0}, {"12.", 12000}, {"12.5", 12500}, {"+3.000001", Micro(3000001)}, {"-0.5", -500}, {"-0", 0}, {"-7.250", -7250},
        {"-9223372036854775808", Make(LONG_MIN, 0)}, {"", 42}, {".5", 42}, {"-", 42}, {"-.5", 42}, {"1.x", 42}, {"1.5x", 42},
        {"1.-5", 42}, {"1.1234567", 42}, {"1.5.5", 42}, {" 1", 42}, {"1 ", 42}, {"9223372036854775808", 42},
        // clang-format on
    };
    for (auto const& [text, expected] : rows) {
        Span span(42);
        EXPECT_TRUE(Span::String::Parse(text, strlen(text), span) == (expected != Span(42)) && span == expected) << text;
    }
}

TEST(Time, ReadsTheClocksAndCountsMillisecondsForPoll) {
    std::tuple<Span, Span, int> const rows[] = {
        // clang-format off
        {5, 5, 0}, {6, 5, 0}, {-1500, 1500, 3000}, {0, Micro(999), 0}, {0, INT_MAX, INT_MAX},
        {0, Make(INT_MAX, 0), INT_MAX}, {Make(LONG_MIN, 0), Span::Max(), INT_MAX},
        // clang-format on
    };
    for (auto const& [from, to, milliseconds] : rows)
        EXPECT_EQ(Time::MillisecondsTo(from, to), milliseconds) << Text(from) << Text(to);
    Clock clock;
    clock.SetWall(1000000, 123456789);
    Span const before = Time::Monotonic();
    clock.Advance(69999);
    EXPECT_EQ(Time::Monotonic() - before, Span(69999));
    EXPECT_TRUE(Time::MillisecondsTo(before + 70000) == 1 && Time::MillisecondsTo(before) == 0);
    EXPECT_EQ(Time::Now().AsMicroseconds(), 1000070122456LL);
}
