#include "zeb/core/TimeStamp.h"
#include "tests/support/Heap.h"

#include <gtest/gtest.h>

#include <climits>
#include <random>
#include <string>

using Time::Stamp;

namespace {

constexpr Stamp::FormatT FORMAT_COUNT = static_cast<Stamp::FormatT>(23);

Stamp Make(unsigned day, unsigned month, unsigned year, unsigned hour = 0, unsigned minute = 0,
           unsigned second = 0, unsigned millisecond = 0) {
    Stamp stamp;
    EXPECT_EQ(stamp.Set(day, month, year, hour, minute, second, millisecond, Stamp::GMT), 0x00FB0001u);
    return stamp;
}

// A zone with summer time, for the length of a test.
class Zone {
public:
    explicit Zone(char const* rule) {
        setenv("TZ", rule, 1);
        tzset();
    }
    ~Zone() {
        unsetenv("TZ");
        tzset();
    }
};

TEST(TimeStamp, RoundsUpOnlyBeyondHalfASecond) {
    Stamp stamp(2);
    EXPECT_TRUE(stamp.AdjustMicroseconds(500000));
    EXPECT_EQ(stamp.AsPosix(), 2);
    EXPECT_TRUE(stamp.AdjustMicroseconds(500001));
    EXPECT_EQ(stamp.AsPosix(), 3);
    EXPECT_EQ(stamp.AsMicroseconds(), 2500001);
    EXPECT_FALSE(stamp.AdjustMicroseconds(1000000));
    EXPECT_EQ(Stamp(LONG_MAX).AsMicroseconds(), LLONG_MAX);
    EXPECT_EQ(Stamp(LONG_MIN).AsMicroseconds(), LLONG_MIN);
    EXPECT_EQ(Stamp().AsPosix(), 0);
}

TEST(TimeStamp, DifferencesAreSpans) {
    Stamp const a(timespec{100, 250000000});
    Stamp const b = a + Time::Span(-750);
    EXPECT_EQ(b.AsMicroseconds(), 99500000);
    EXPECT_EQ(b - a, Time::Span(-750));
    EXPECT_EQ(a - Time::Span(750), b);
    EXPECT_TRUE(b <= a && a <= a && a != b);
    EXPECT_FALSE(a <= b);
    EXPECT_EQ(static_cast<timespec>(b).tv_nsec, 500000000);
    EXPECT_EQ(static_cast<timeval>(b).tv_sec, 99);
}

TEST(TimeStamp, SetRefusesDatesThatDoNotExist) {
    struct {
        unsigned day, month, year, hour, minute, second, millisecond;
        bool ok;
    } const rows[] = {
        {29, 2, 2024, 23, 59, 59, 999, true}, {29, 2, 2023, 0, 0, 0, 0, false},
        {31, 2, 2024, 0, 0, 0, 0, false},     {0, 1, 2024, 0, 0, 0, 0, false},
        {1, 0, 2024, 0, 0, 0, 0, false},      {1, 13, 2024, 0, 0, 0, 0, false},
        {1, 1, 2024, 24, 0, 0, 0, false},     {1, 1, 2024, 0, 60, 0, 0, false},
        {1, 1, 2024, 0, 0, 60, 0, false},     {1, 1, 2024, 0, 0, 0, 1000, false},
        {~0U, 1, 2024, 0, 0, 0, 0, false},    {31, 12, 1969, 23, 59, 59, 0, true},
    };
    for (auto const& row : rows) {
        Stamp stamp(77);
        ReturnT const code = stamp.Set(row.day, row.month, row.year, row.hour, row.minute, row.second,
                                       row.millisecond, Stamp::GMT);
        EXPECT_EQ(code, row.ok ? 0x00FB0001u : 0x80FB000Eu) << row.day << "." << row.month << "." << row.year;
        EXPECT_EQ(stamp.AsPosix() == 77, !row.ok);
    }
    EXPECT_EQ(Make(31, 12, 1969, 23, 59, 59).AsPosix(), -1);
}

TEST(TimeStamp, LocalTimeKnowsSummerTime) {
    Zone const zone("CET-1CEST,M3.5.0,M10.5.0/3");
    Stamp stamp;
    EXPECT_EQ(stamp.Set(31, 3, 2024, 2, 30, 0, 0, Stamp::LOCAL), 0x80FB000Eu) << "that hour is skipped";
    ASSERT_EQ(stamp.Set(1, 7, 2024, 12, 0, 0, 7, Stamp::LOCAL), 0x00FB0001u);
    EXPECT_EQ(stamp, Make(1, 7, 2024, 10, 0, 0, 7));
    unsigned weekday, day, month, year, hour, minute, second, millisecond;
    bool dst;
    EXPECT_EQ(stamp.Get(weekday, day, month, year, hour, minute, second, millisecond, dst, Stamp::LOCAL),
              0x00FB0002u);
    EXPECT_EQ((std::vector{weekday, day, month, year, hour, minute, second, millisecond}),
              (std::vector<unsigned>{1, 1, 7, 2024, 12, 0, 0, 7}));
    EXPECT_TRUE(dst);
    EXPECT_EQ(stamp.Get(weekday, day, month, year, hour, minute, second, millisecond, dst, Stamp::GMT),
              0x00FB0002u);
    EXPECT_EQ(hour, 10u);
    EXPECT_FALSE(dst);
    char text[Stamp::TEXT_SIZE];
    EXPECT_EQ(stamp.AsString(Stamp::LOG, Stamp::LOCAL, text), 0x00FB0003u);
    EXPECT_STREQ(text, "Jul  1 12:00:00");
    EXPECT_EQ(stamp.Parse(Stamp::CLOCK_SHORT, Stamp::LOCAL, "01:30", nullptr), 0x00FB0002u);
    EXPECT_EQ(stamp, Make(30, 6, 2024, 23, 30, 0, 7));
}

TEST(TimeStamp, PrintsEveryFormatWithoutTheHeap) {
    char const* const texts[] = {
        "Sun,  6 Nov 1994 08:49:07 GMT",
        "Sun,  6-Nov-94 08:49:07 GMT",
        "Sun Nov  6 08:49:07 1994",
        " 6 Nov 1994 08:49:07",
        " 6 Nov 1994 08:49:07.045",
        "Nov  6 08:49:07",
        " 6 Nov 1994",
        "08:49:07",
        "08:49",
        "Sunday",
        "Sun",
        " 6",
        "11",
        "November",
        "Nov",
        "1994",
        "94",
        "08",
        "49",
        "07",
        "045",
        "1994-11- 6T08:49:07.045Z",
        "1994-11- 6T08:49:07Z",
    };
    Stamp const stamp = Make(6, 11, 1994, 8, 49, 7, 45);
    Footprint const footprint;
    for (unsigned i = 0; i < FORMAT_COUNT; ++i) {
        char text[Stamp::TEXT_SIZE];
        ASSERT_EQ(stamp.AsString(static_cast<Stamp::FormatT>(i), Stamp::GMT, text), 0x00FB0003u);
        std::string expected = texts[i];
        if (i >= Stamp::ISO_MILLISECOND) expected[8] = '0'; // %d
        EXPECT_EQ(text, expected) << i;
    }
    EXPECT_EQ(footprint.Allocations(), 0u);
}

TEST(TimeStamp, PrintFailuresLeaveTheOutputAlone) {
    struct {
        Stamp stamp;
        unsigned format;
        Stamp::ModeT mode;
        unsigned code;
    } const rows[] = {
        {Stamp(), Stamp::HTTP, Stamp::LOCAL, 0x80FB001A},
        {Stamp(), Stamp::COOKIE, Stamp::LOCAL, 0x80FB001A},
        {Stamp(), FORMAT_COUNT, Stamp::GMT, 0x00FB0003},
        {Stamp(LONG_MAX), Stamp::YEAR, Stamp::GMT, 0x80FB000F},
        {Make(1, 1, 1969), Stamp::YEAR_SHORT, Stamp::GMT, 0x80FB0019},
        {Make(1, 1, 2070), Stamp::COOKIE, Stamp::GMT, 0x80FB0019},
        {Make(1, 1, 2147483647), Stamp::HTTP, Stamp::GMT, 0x80FB0018}, // " GMT" has no room
        {Make(1, 1, 2147483647), Stamp::DATE_TIME, Stamp::GMT, 0x00FB0003},
    };
    for (auto const& row : rows) {
        char text[Stamp::TEXT_SIZE] = "untouched";
        EXPECT_EQ(row.stamp.AsString(static_cast<Stamp::FormatT>(row.format), row.mode, text), row.code);
        if (row.format != Stamp::DATE_TIME) {
            EXPECT_STREQ(text, "untouched") << row.format;
        }
    }
    for (auto const& [year, text] : {std::pair{1970U, "70"}, std::pair{2069U, "69"}}) {
        char out[Stamp::TEXT_SIZE];
        EXPECT_TRUE(Make(1, 1, year).AsString(Stamp::YEAR_SHORT, Stamp::GMT, out).Succeeded());
        EXPECT_STREQ(out, text);
    }
}

TEST(TimeStamp, ParsesTextsOfPeers) {
    Stamp const start = Make(2, 1, 2000, 3, 4, 5, 6);
    struct {
        Stamp::FormatT format;
        char const* text;
        unsigned consumed;
        Stamp stamp;
    } const rows[] = {
        {Stamp::HTTP, "Sun,  6 Nov 1994 08:49:37 GMT", 29, Make(6, 11, 1994, 8, 49, 37, 6)},
        {Stamp::HTTP, "sun, 06 NOV 1994 08:49:37 GMT; more", 29, Make(6, 11, 1994, 8, 49, 37, 6)},
        {Stamp::HTTP, "Mon, 006 Nov 1994 8:9:7 GMT", 27, Make(6, 11, 1994, 8, 9, 7, 6)},
        {Stamp::COOKIE, "Sun, 6-Nov-69 08:49:37 GMT", 26, Make(6, 11, 2069, 8, 49, 37, 6)},
        {Stamp::COOKIE, "Sun, 6-Nov-70 08:49:37 GMT", 26, Make(6, 11, 1970, 8, 49, 37, 6)},
        {Stamp::ASCTIME, "Sun Nov  6 08:49:37 1994", 24, Make(6, 11, 1994, 8, 49, 37, 6)},
        {Stamp::FIELDS, "6 \t11  1994 08:49:37", 20, Make(6, 11, 1994, 8, 49, 37, 6)},
        {Stamp::FIELDS, "06 nov 1994\t08:49:37", 20, Make(6, 11, 1994, 8, 49, 37, 6)},
        {Stamp::DATE_TIME, "6 Nov 1994 08:49:37.5", 21, Make(6, 11, 1994, 8, 49, 37, 5)},
        {Stamp::ISO_MILLISECOND, "1994-11-06T00:00:00.999Z", 24, Make(6, 11, 1994, 0, 0, 0, 999)},
        {Stamp::ISO, "1994-1-6T8:9:7Z", 15, Make(6, 1, 1994, 8, 9, 7, 6)},
        {Stamp::CLOCK_SHORT, "23:59xyz", 5, Make(2, 1, 2000, 23, 59, 5, 6)},
        {Stamp::CLOCK, "00:00:00", 8, Make(2, 1, 2000, 0, 0, 0, 6)},
        {Stamp::MONTH, "MAY", 3, Make(2, 5, 2000, 3, 4, 5, 6)},
        {Stamp::WEEKDAY, "sunday", 6, start},
        {Stamp::DAY, " 31", 3, Make(31, 1, 2000, 3, 4, 5, 6)},
        {Stamp::YEAR, "20001", 4, start},
        {Stamp::MILLISECOND, "000000", 6, Make(2, 1, 2000, 3, 4, 5, 0)},
    };
    for (auto const& row : rows) {
        Stamp stamp = start;
        unsigned consumed = 99;
        EXPECT_EQ(stamp.Parse(row.format, Stamp::GMT, row.text, &consumed), 0x00FB0002u) << row.text;
        EXPECT_EQ(stamp.AsMicroseconds(), row.stamp.AsMicroseconds()) << row.text;
        EXPECT_EQ(consumed, row.consumed) << row.text;
    }
}

TEST(TimeStamp, AParseFailureNamesTheFieldAndChangesNothing) {
    struct {
        unsigned format;
        char const* text;
        unsigned code;
        unsigned consumed;
    } const rows[] = {
        {Stamp::HTTP, "Son, 6 Nov 1994 08:49:37 GMT", 0x80FB0003, 0},
        {Stamp::HTTP, "Sunday, 6 Nov 1994 08:49:37 GMT", 0x80FB0003, 0},
        {Stamp::HTTP, "Sun 6 Nov 1994 08:49:37 GMT", 0x80FB0003, 3}, // the literal behind the name
        {Stamp::HTTP, "Sun,6 Nov 1994 08:49:37 GMT", 0x80FB000B, 4},
        {Stamp::HTTP, "Sun, x Nov 1994 08:49:37 GMT", 0x80FB0004, 5},
        {Stamp::HTTP, "Sun, 123 Nov 1994 08:49:37 GMT", 0x80FB0004, 7},
        {Stamp::HTTP, "Sun, 6 November 1994 08:49:37 GMT", 0x80FB0005, 7},
        {Stamp::HTTP, "Sun, 6 Nov x 08:49:37 GMT", 0x80FB0006, 11},
        {Stamp::HTTP, "Sun, 6 Nov 1994 08:49:37", 0x80FB0009, 24},
        {Stamp::HTTP, "Sun, 6 Nov 1994 08:49:37 UTC", 0x80FB000B, 25},
        {Stamp::HTTP, "Sun, 31 Feb 1994 08:49:37 GMT", 0x80FB000C, 29},
        {Stamp::COOKIE, "Sun, 6-Nov-1994 08:49:37 GMT", 0x80FB0006, 13},
        {Stamp::WEEKDAY, "Sun", 0x80FB0003, 0},
        {Stamp::MONTH_NUMBER, "13", 0x80FB0005, 0},
        {Stamp::MONTH_NUMBER, "0", 0x80FB0005, 0},
        {Stamp::FIELDS, "6,Nov 1994 08:49:37", 0x80FB000B, 1},
        {Stamp::FIELDS, "6 13 1994 08:49:37", 0x80FB0005, 2},
        {Stamp::CLOCK_SHORT, "24:00", 0x80FB0007, 0},
        {Stamp::CLOCK_SHORT, "", 0x80FB0007, 0},
        {Stamp::CLOCK_SHORT, "-1:00", 0x80FB0007, 0},
        {Stamp::CLOCK_SHORT, "12.00", 0x80FB0007, 2},
        {Stamp::CLOCK_SHORT, "12:60", 0x80FB0008, 3},
        {Stamp::CLOCK, "12:00:60", 0x80FB0009, 6},
        {Stamp::MILLISECOND, "x", 0x80FB0009, 0},
        {Stamp::DAY, "  6", 0x80FB0004, 0},
        {Stamp::DAY, "32", 0x80FB000C, 2},
        {FORMAT_COUNT, "1", 0x00FB0004, 0},
    };
    for (auto const& row : rows) {
        Stamp stamp(86400);
        unsigned consumed = 99;
        EXPECT_EQ(stamp.Parse(static_cast<Stamp::FormatT>(row.format), Stamp::GMT, row.text, &consumed),
                  row.code)
            << row.text;
        EXPECT_EQ(consumed, row.consumed) << row.text;
        EXPECT_EQ(stamp, Stamp(86400)) << row.text;
    }
    unsigned consumed = 99;
    Stamp stamp;
    EXPECT_EQ(stamp.Parse(Stamp::HTTP, Stamp::LOCAL, "", &consumed), 0x80FB0001u);
    EXPECT_EQ(consumed, 99u);
    EXPECT_EQ(Stamp(LONG_MAX).Parse(Stamp::CLOCK, Stamp::GMT, "01:02:03", &consumed), 0x80FB000Du);
    EXPECT_EQ(consumed, 0u);
}

TEST(TimeStamp, WhatIsPrintedReadsBackInEveryWholeFormat) {
    std::mt19937_64 random(11);
    for (int i = 0; i < 3000; ++i) {
        Stamp const stamp(static_cast<long>(random() % 3155760000UL)); // years 1970 to 2069
        for (auto const format : {Stamp::HTTP, Stamp::COOKIE, Stamp::ASCTIME, Stamp::FIELDS, Stamp::DATE_TIME,
                                  Stamp::ISO_MILLISECOND, Stamp::ISO}) {
            char text[Stamp::TEXT_SIZE];
            Stamp again;
            ASSERT_TRUE(stamp.AsString(format, Stamp::GMT, text).Succeeded());
            ASSERT_TRUE(again.Parse(format, Stamp::GMT, text, nullptr).Succeeded()) << text;
            ASSERT_EQ(again, stamp) << text;
        }
    }
}

} // namespace
