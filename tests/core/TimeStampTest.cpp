#include "zeb/core/TimeStamp.h"

#include "tests/core/Rig.h"

using Time::Stamp;

namespace {

Stamp Make(unsigned day, unsigned month, unsigned year, unsigned hour = 0, unsigned minute = 0, unsigned second = 0,
           unsigned millisecond = 0) {
    Stamp stamp(77);
    ReturnT const code = stamp.Set(day, month, year, hour, minute, second, millisecond, Stamp::GMT);
    EXPECT_EQ(code, stamp == Stamp(77) ? 0x80FB000Eu : 0x00FB0001u);
    return stamp;
}

std::string Print(Stamp const& stamp, unsigned format, unsigned expected, Stamp::ModeT mode = Stamp::GMT) {
    char text[Stamp::TEXT_SIZE] = "untouched";
    EXPECT_EQ(stamp.AsString(static_cast<Stamp::FormatT>(format), mode, text), expected) << format;
    return text;
}

} // namespace

TEST(TimeStamp, RoundsUpOnlyBeyondHalfASecondAndDifferencesAreSpans) {
    Stamp a(2);
    EXPECT_TRUE(a.AdjustMicroseconds(500000) && a.AsPosix() == 2);
    EXPECT_TRUE(a.AdjustMicroseconds(500001) && a.AsPosix() == 3 && !a.AdjustMicroseconds(1000000));
    Stamp const b = a + Time::Span(-750);
    EXPECT_TRUE(b.AsMicroseconds() == 1750001 && b == a - Time::Span(750) && b - a == Time::Span(-750));
    EXPECT_TRUE(b <= a && a <= a && a != b && !(a <= b) && Stamp(timespec(b)) == b && timeval(b).tv_sec == 1);
    EXPECT_TRUE(Stamp(LONG_MAX).AsMicroseconds() == LLONG_MAX && Stamp(LONG_MIN).AsMicroseconds() == LLONG_MIN);
}

TEST(TimeStamp, SetRefusesDatesThatDoNotExist) {
    // clang-format off
    unsigned const rows[][7] = {
        {29, 2, 2023}, {31, 2, 2024}, {0, 1, 2024}, {~0U, 1, 2024}, {1, 0, 2024}, {1, 13, 2024}, {1, 1, 2147485548}, {1, 1, ~0U},
        {1, 1, 2024, 24}, {1, 1, 2024, 0, 60}, {1, 1, 2024, 0, 0, 60}, {1, 1, 2024, 0, 0, 0, 1000}};
    for (auto const& f : rows) EXPECT_EQ(Make(f[0], f[1], f[2], f[3], f[4], f[5], f[6]), Stamp(77));
    // clang-format on
    EXPECT_EQ(Make(29, 2, 2024, 23, 59, 59, 999).AsMicroseconds(), 1709251199999000);
    EXPECT_EQ(Make(31, 12, 1969, 23, 59, 59).AsPosix(), -1);
}

TEST(TimeStamp, BreaksAnySecondDownAsTheSystemDoes) {
    std::mt19937_64 random(4);
    std::vector<long> seconds = {0, -1, 951782399, 951782400, -62167219200, 67767976233532799};
    for (int i = 0; i < 20000; ++i) seconds.push_back(static_cast<long>(random() % 130000000000) - 62167219200);
    for (long const second : seconds) {
        tm time;
        char text[64];
        strftime(text, sizeof text, "%a %b %e %H:%M:%S %4Y", gmtime_r(&second, &time));
        ASSERT_EQ(Print(second, Stamp::ASCTIME, 0x00FB0003), text) << second;
    }
    for (long const second : {-62167219201, 67768036191676800, LONG_MIN, LONG_MAX})
        EXPECT_EQ(Print(second, Stamp::YEAR, 0x80FB000F), "untouched") << second;
}

TEST(TimeStamp, LocalTimeKnowsSummerTime) {
    setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1), tzset();
    Stamp stamp;
    EXPECT_EQ(stamp.Set(31, 3, 2024, 2, 30, 0, 0, Stamp::LOCAL), 0x80FB000Eu) << "that hour is skipped";
    EXPECT_EQ(stamp.Set(1, 7, 2024, 12, 0, 0, 7, Stamp::LOCAL), 0x00FB0001u);
    EXPECT_EQ(stamp, Make(1, 7, 2024, 10, 0, 0, 7));
    unsigned f[8];
    bool dst;
    for (Stamp::ModeT const mode : {Stamp::GMT, Stamp::LOCAL})
        EXPECT_TRUE(stamp.Get(f[0], f[1], f[2], f[3], f[4], f[5], f[6], f[7], dst, mode) == 0x00FB0002u && dst == (mode != 0));
    EXPECT_THAT(f, testing::ElementsAre(1, 1, 7, 2024, 12, 0, 0, 7));
    EXPECT_EQ(Print(stamp, Stamp::LOG, 0x00FB0003, Stamp::LOCAL), "Jul  1 12:00:00");
    EXPECT_TRUE(stamp.Parse(Stamp::CLOCK_SHORT, Stamp::LOCAL, "01:30", nullptr).Succeeded());
    EXPECT_EQ(stamp, Make(30, 6, 2024, 23, 30, 0, 7));
    unsetenv("TZ"), tzset();
}

TEST(TimeStamp, PrintsEveryFormatWithoutTheHeap) {
    char const* const texts[] = {
        // clang-format off
        "Sun,  6 Nov 1994 08:49:07 GMT", "Sun,  6-Nov-94 08:49:07 GMT", "Sun Nov  6 08:49:07 1994", " 6 Nov 1994 08:49:07",
        " 6 Nov 1994 08:49:07.045", "Nov  6 08:49:07", " 6 Nov 1994", "08:49:07", "08:49", "Sunday", "Sun", " 6", "11",
        "November", "Nov", "1994", "94", "08", "49", "07", "045", "1994-11-06T08:49:07.045Z", "1994-11-06T08:49:07Z",
        // clang-format on
    };
    Stamp const stamp = Make(6, 11, 1994, 8, 49, 7, 45);
    Footprint const footprint;
    for (unsigned i = 0; i < 23; ++i) EXPECT_EQ(Print(stamp, i, 0x00FB0003), texts[i]);
    EXPECT_EQ(footprint.Allocations(), 0u);
    Stamp const late = Make(1, 1, 2147483647);
    EXPECT_EQ(Print(late, Stamp::ASCTIME, 0x00FB0003), "Tue Jan  1 00:00:00 2147483647");
    std::string const untouched[] = {// clang-format off
        Print(late, Stamp::HTTP, 0x80FB0018), Print(Make(1, 1, 1969), Stamp::YEAR_SHORT, 0x80FB0019), Print(0, 23, 0x00FB0003),
        Print(Make(1, 1, 2070), Stamp::COOKIE, 0x80FB0019), Print(LONG_MAX, Stamp::YEAR, 0x80FB000F),
        Print(0, Stamp::HTTP, 0x80FB001A, Stamp::LOCAL), Print(0, Stamp::COOKIE, 0x80FB001A, Stamp::LOCAL)};
    // clang-format on
    EXPECT_THAT(untouched, testing::Each("untouched"));
}

// Rows of format, text and what it is: a code, or the stamp. A bar in the text marks how much of it is used.
TEST(TimeStamp, ParsesTextsOfPeersAndNamesTheFieldThatFails) {
    std::tuple<unsigned, std::string, char const*> const rows[] = {
        // clang-format off
{0, "Sun,  6 Nov 1994 08:49:37 GMT|", "1994-11-06T08:49:37.006Z"},
{0, "mon, 006 NOV 1994 8:9:7 GMT|;", "1994-11-06T08:09:07.006Z"}, {1, "Sun, 6-Nov-69 08:49:37 GMT|", "2069-11-06T08:49:37.006Z"},
{1, "Sun, 6-Nov-70 08:49:37 GMT|", "1970-11-06T08:49:37.006Z"}, {2, "Sun Nov  6 08:49:37 1994|", "1994-11-06T08:49:37.006Z"},
{3, "6 \t11  1994 08:49:37|", "1994-11-06T08:49:37.006Z"}, {3, "06 nov 1994\t08:49:37|", "1994-11-06T08:49:37.006Z"},
{4, "6 Nov 1994 08:49:37.5|", "1994-11-06T08:49:37.005Z"}, {21, "1994-11-06T00:00:00.999Z|", "1994-11-06T00:00:00.999Z"},
{22, "1994-1-6T8:9:7Z|", "1994-01-06T08:09:07.006Z"}, {8, "23:59|x", "2000-01-02T23:59:05.006Z"},
{13, "MAY|", "2000-05-02T03:04:05.006Z"}, {11, " 31|", "2000-01-31T03:04:05.006Z"}, {15, "1994|5", "1994-01-02T03:04:05.006Z"},
{20, "000000|", "2000-01-02T03:04:05.000Z"}, {9, "sunday|", "2000-01-02T03:04:05.006Z"}, {0, "|Son, 6 Nov 1994", "80FB0003"},
{0, "|Sunday, 6 Nov 1994", "80FB0003"}, {0, "Sun| 6 Nov 1994", "80FB0003"}, {0, "Sun,|6 Nov 1994", "80FB000B"},
{0, "Sun, |x Nov 1994", "80FB0004"}, {0, "Sun, 12|3 Nov 1994", "80FB0004"}, {0, "Sun, 6 |November 1994", "80FB0005"},
{0, "Sun, 6 Nov |x", "80FB0006"}, {0, "Sun, 6 Nov 1994 08:49:37|", "80FB0009"}, {0, "Sun, 6 Nov 1994 08:49:37 |UTC", "80FB000B"},
{0, "Sun, 31 Feb 1994 08:49:37 GMT|", "80FB000C"}, {1, "Sun, 6-Nov-19|94 08:49:37 GMT", "80FB0006"}, {9, "|Sun", "80FB0003"},
{12, "|13", "80FB0005"}, {12, "|0", "80FB0005"}, {3, "6|,Nov 1994", "80FB000B"}, {3, "6 |13 1994", "80FB0005"},
{8, "|24:00", "80FB0007"}, {8, "|", "80FB0007"}, {8, "|-1:00", "80FB0007"}, {8, "12|.00", "80FB0007"}, {8, "12:|60", "80FB0008"},
{7, "12:00:|60", "80FB0009"}, {20, "|x", "80FB0009"}, {11, "|  6", "80FB0004"}, {11, "32|", "80FB000C"}, {23, "|1", "00FB0004"},
        // clang-format on
    };
    for (auto const& [format, marked, result] : rows) {
        Stamp stamp = Make(2, 1, 2000, 3, 4, 5, 6);
        unsigned consumed = 99;
        std::string text = marked;
        text.erase(text.find('|'), 1);
        bool const isCode = result[8] == '\0';
        ReturnT const code = stamp.Parse(static_cast<Stamp::FormatT>(format), Stamp::GMT, text.c_str(), &consumed);
        EXPECT_EQ(code.Code(), isCode ? strtoul(result, nullptr, 16) : 0x00FB0002) << marked;
        EXPECT_EQ(consumed, marked.find('|')) << marked;
        EXPECT_EQ(Print(stamp, Stamp::ISO_MILLISECOND, 0x00FB0003), isCode ? "2000-01-02T03:04:05.006Z" : result) << marked;
    }
    unsigned consumed = 99;
    EXPECT_TRUE(Stamp().Parse(Stamp::HTTP, Stamp::LOCAL, "", &consumed) == 0x80FB0001u && consumed == 99);
    EXPECT_TRUE(Stamp(LONG_MAX).Parse(Stamp::CLOCK, Stamp::GMT, "01:02:03", &consumed) == 0x80FB000Du && consumed == 0);
}
