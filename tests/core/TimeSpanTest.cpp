#include "tests/support/Clock.h"
#include "zeb/core/CString.h"
#include "zeb/core/Time.h"

#include <gtest/gtest.h>

#include <climits>
#include <random>
#include <string>

using Time::Span;

namespace {

Span Make(long seconds, long microseconds) { return Span(Span::Value(seconds, microseconds)); }
std::string Text(Span const& span) { return Span::String(span).Cstr(); }

TEST(TimeSpan, ConstructorsKeepBothPartsOfOneSign) {
    struct {
        Span span;
        long seconds;
        long microseconds;
    } const rows[] = {
        {Span(), 0, 0},
        {Span(-1500), -1, -500000},
        {Span(999), 0, 999000},
        {Span(INT_MIN), INT_MIN / 1000, -648000},
        {Span(2, 1999), 2, 999000},
        {Span(-2, 500), -1, -500000},
        {Span(2, -500), 1, 500000},
        {Span(timeval{-1, 250000}), 0, -750000},
        {Span(timespec{5, 999999999}), 5, 999999},
        {Span::Max(), LONG_MAX, 999999},
        {Span::Zero(), 0, 0},
    };
    for (auto const& row : rows) {
        EXPECT_EQ(row.span.Parts().Seconds(), row.seconds) << Text(row.span);
        EXPECT_EQ(row.span.Parts().Microseconds(), row.microseconds) << Text(row.span);
        timespec const time = row.span;
        EXPECT_GE(time.tv_nsec, 0);
        EXPECT_EQ(Span(time), row.span);
        EXPECT_EQ(Span(static_cast<timeval>(row.span)), row.span);
        EXPECT_EQ(row.span.IsZero(), row.seconds == 0 && row.microseconds == 0);
    }
}

TEST(TimeSpan, RoundsSecondsUpFromAHalfAndCutsMilliseconds) {
    struct {
        Span span;
        long seconds;
        long milliseconds;
    } const rows[] = {
        {Span(2500), 3, 2500},
        {Span(2499), 2, 2499},
        {Make(-2, -500000), -2, -2500},
        {Make(0, 1999), 0, 1},
        {Make(0, -1999), 0, -1},
        {Span::Max(), LONG_MAX, LONG_MAX},
        {Make(LONG_MIN, 0), LONG_MIN, LONG_MIN},
    };
    for (auto const& row : rows) {
        EXPECT_EQ(row.span.Seconds(), row.seconds) << Text(row.span);
        EXPECT_EQ(row.span.Milliseconds(), row.milliseconds) << Text(row.span);
    }
}

TEST(TimeSpan, ArithmeticAndOrderMatchWholeMicroseconds) {
    std::mt19937_64 random(10);
    auto const number = [&random] { return static_cast<long>(random() % 8000001) - 4000000; };
    for (int i = 0; i < 20000; ++i) {
        long const a = number();
        long const b = i % 7 == 0 ? a : number();
        Span const x = Make(a / 1000000, a % 1000000);
        Span const y = Make(b / 1000000, b % 1000000);
        Span sum = x;
        Span difference = x;
        sum += y;
        difference -= y;
        ASSERT_EQ(sum, Make((a + b) / 1000000, (a + b) % 1000000));
        ASSERT_EQ(difference, Make((a - b) / 1000000, (a - b) % 1000000));
        ASSERT_EQ(x < y, a < b);
        ASSERT_EQ(x > y, a > b);
        ASSERT_EQ(x <= y, a <= b);
        ASSERT_EQ(x >= y, a >= b);
        ASSERT_EQ(x != y, a != b);
    }
    EXPECT_EQ(Text(Make(0, -500000) + Span(1000)), "0.500000");
    EXPECT_EQ(Text(Span(1500) - Span(2000)), "-0.500000");
    EXPECT_EQ(Span::Max() + Span(1), Span::Max()) << "stays at the end of the range";
    EXPECT_EQ(Make(LONG_MIN, 0) - Span(5000), Make(LONG_MIN, -999999));
    EXPECT_EQ(Span() - Make(LONG_MIN, 0), Make(LONG_MAX, 0));
}

TEST(TimeSpan, AdjustsTheFractionAndKeepsTheSign) {
    Span span(-1500);
    EXPECT_TRUE(span.AdjustMicroseconds(25));
    EXPECT_EQ(Text(span), "-1.000025");
    EXPECT_FALSE(span.AdjustMicroseconds(1000000));
    EXPECT_FALSE(span.AdjustMicroseconds(-1));
    EXPECT_EQ(Text(span), "-1.000025");
    span.Set(7);
    EXPECT_TRUE(span.AdjustMicroseconds(999999));
    EXPECT_EQ(Text(span), "7.999999");
}

TEST(TimeSpan, TextPrintsAndReadsBack) {
    struct {
        char const* text;
        char const* printed; // null: refused
    } const rows[] = {
        {"0", "0.000000"},
        {"12.", "12.000000"},
        {"12.5", "12.500000"},
        {"+3.000001", "3.000001"},
        {"-0.5", "-0.500000"},
        {"-0", "0.000000"},
        {"-7.250", "-7.250000"},
        {"9223372036854775807.999999", "9223372036854775807.999999"},
        {"-9223372036854775808", "-9223372036854775808.000000"},
        {"", nullptr},
        {".5", nullptr},
        {"-", nullptr},
        {"-.5", nullptr},
        {"1.x", nullptr},
        {"1.5x", nullptr},
        {"1.-5", nullptr},
        {"1.1234567", nullptr},
        {"1.5.5", nullptr},
        {" 1", nullptr},
        {"1 ", nullptr},
        {"9223372036854775808", nullptr},
    };
    for (auto const& row : rows) {
        Span span(42);
        EXPECT_EQ(Span::String::Parse(row.text, span), row.printed != nullptr) << row.text;
        Span::String const text(span);
        EXPECT_STREQ(text.Cstr(), row.printed ? row.printed : "0.042000") << row.text;
        EXPECT_EQ(text.Size(), strlen(text.Cstr()));
        Span again;
        EXPECT_TRUE(Span::String::Parse(text.Cstr(), text.Size(), again));
        EXPECT_EQ(again, span);
    }
}

TEST(Time, MillisecondsToFitPoll) {
    struct {
        Span from;
        Span to;
        int milliseconds;
    } const rows[] = {
        {Span(5), Span(5), 0},
        {Span(6), Span(5), 0},
        {Span(-1500), Span(1500), 3000},
        {Make(0, 0), Make(0, 999), 0},
        {Span(), Make(INT_MAX / 1000, INT_MAX % 1000 * 1000L), INT_MAX},
        {Span(), Make(INT_MAX / 1000 + 1, 0), INT_MAX},
        {Make(LONG_MIN, 0), Span::Max(), INT_MAX},
    };
    for (auto const& row : rows)
        EXPECT_EQ(Time::MillisecondsTo(row.from, row.to), row.milliseconds)
            << Text(row.from) << " " << Text(row.to);
}

TEST(Time, ReadsTheMonotonicAndTheWallClock) {
    Clock clock;
    clock.SetWall(1000000, 123456789);
    Span const before = Time::Monotonic();
    Span const deadline = before + Span(70000);
    EXPECT_EQ(Time::MillisecondsTo(deadline), 70000);
    clock.Advance(69999);
    EXPECT_EQ(Time::Monotonic() - before, Span(69999));
    EXPECT_EQ(Time::MillisecondsTo(deadline), 1);
    clock.Advance(2);
    EXPECT_EQ(Time::MillisecondsTo(deadline), 0);
    EXPECT_EQ(Time::Now().AsMicroseconds(), (1000000 + 70) * 1000000LL + 124456);
}

} // namespace
