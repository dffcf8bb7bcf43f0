#include "zeb/core/TimeSpan.h"

#include "workbench/Clock.h"
#include "zeb/core/CString.h"
#include "zeb/core/Time.h"

#include <climits>
#include <gtest/gtest.h>
#include <string>

using Time::Span;

namespace {

Span Make(long seconds, long microseconds) { return Span(Span::Value(seconds, microseconds)); }
Span Micro(long microseconds) { return Make(microseconds / 1000000, microseconds % 1000000); }
std::string Text(Span const& span) { return Span::String(span).Cstr(); }

} // namespace

TEST(TimeSpan, KeepsBothPartsOfOneSignAndRoundsByItsRules) {
    char const* const max = "9223372036854775807.999999";
    struct {
        Span span;
        char const* text;
        long seconds, milliseconds;
    } const rows[] = {
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
    for (auto const& row : rows) {
        Span again;
        EXPECT_TRUE(Span::String::Parse(row.text, again) && again == row.span) << row.text;
        EXPECT_STREQ(Span::String(row.span).Cstr(), row.text);
        EXPECT_EQ(row.span.Seconds(), row.seconds) << row.text;
        EXPECT_EQ(row.span.Milliseconds(), row.milliseconds) << row.text;
        EXPECT_EQ(row.span.IsZero(), row.span == Span::Zero());
        for (auto const& other : rows) { // a difference has the sign of the order
            bool const less = row.span < other.span;
            EXPECT_TRUE(less == (row.span - other.span < Span()) && less == (other.span > row.span));
            EXPECT_TRUE(less != (row.span >= other.span) && less != (other.span <= row.span));
        }
        if (row.seconds == LONG_MIN) continue; // one second below is not in the range of the system
        timespec const time = row.span;
        EXPECT_TRUE(time.tv_nsec >= 0 && Span(time) == row.span && Span(timeval(row.span)) == row.span);
    }
    Span span(-1500);
    EXPECT_TRUE(span.AdjustMicroseconds(25) && !span.AdjustMicroseconds(1000000));
    EXPECT_TRUE(!span.AdjustMicroseconds(-1) && Text(span) == "-1.000025");
    span.Set(7);
    EXPECT_TRUE(span.AdjustMicroseconds(999999) && Text(span) == "7.999999");
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
        EXPECT_EQ(Span::String::Parse(text, strlen(text), span), expected != Span(42)) << text;
        EXPECT_EQ(span, expected) << text;
    }
}

TEST(Time, ReadsTheClocksAndCountsMillisecondsForPoll) {
    struct {
        Span from, to;
        int milliseconds;
    } const rows[] = {
        // clang-format off
        {5, 5, 0}, {6, 5, 0}, {-1500, 1500, 3000}, {0, Micro(999), 0}, {0, INT_MAX, INT_MAX},
        {0, Make(INT_MAX, 0), INT_MAX}, {Make(LONG_MIN, 0), Span::Max(), INT_MAX},
        // clang-format on
    };
    for (auto const& row : rows)
        EXPECT_EQ(Time::MillisecondsTo(row.from, row.to), row.milliseconds) << Text(row.from) << Text(row.to);
    Clock clock;
    clock.SetWall(1000000, 123456789);
    Span const before = Time::Monotonic();
    clock.Advance(69999);
    EXPECT_EQ(Time::Monotonic() - before, Span(69999));
    EXPECT_TRUE(Time::MillisecondsTo(before + 70000) == 1 && Time::MillisecondsTo(before) == 0);
    EXPECT_EQ(Time::Now().AsMicroseconds(), 1000070122456LL);
}
