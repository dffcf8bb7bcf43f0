#pragma once

// What the sources of Time::Stamp share: codes, formats and names. Not installed.
//
// Conversions of a format, our own: %a %A day name, %b %B month name, %w month name, read as a number too, %d
// %e day, %m month, %y %Y year, %H %M %S clock, %K milliseconds, %t blank, %% percent sign.

#include "zeb/core/Facility.h"
#include "zeb/core/TimeStamp.h"

#include <cstdint>

namespace Time::StampImpl_ {

constexpr ReturnT Success(uint32_t code) { return Facility::TIME_STAMP << 16 | code; }
constexpr ReturnT Error(uint32_t code) { return 0x80000000U | Facility::TIME_STAMP << 16 | code; }

inline constexpr ReturnT SET = Success(0x01);
inline constexpr ReturnT GOT = Success(0x02);
inline constexpr ReturnT PARSED = Success(0x02);
inline constexpr ReturnT PRINTED = Success(0x03);
inline constexpr ReturnT PARSED_NOTHING = Success(0x04);

inline constexpr ReturnT PARSE_LOCAL = Error(0x01);
inline constexpr ReturnT PARSE_CONVERSION = Error(0x02);
inline constexpr ReturnT PARSE_WEEKDAY = Error(0x03);
inline constexpr ReturnT PARSE_DAY = Error(0x04);
inline constexpr ReturnT PARSE_MONTH = Error(0x05);
inline constexpr ReturnT PARSE_YEAR = Error(0x06);
inline constexpr ReturnT PARSE_HOUR = Error(0x07);
inline constexpr ReturnT PARSE_MINUTE = Error(0x08);
inline constexpr ReturnT PARSE_SECOND = Error(0x09);
inline constexpr ReturnT PARSE_LITERAL = Error(0x0B);
inline constexpr ReturnT PARSE_DATE = Error(0x0C);
inline constexpr ReturnT GET_FAILED = Error(0x0D);
inline constexpr ReturnT SET_FAILED = Error(0x0E);
inline constexpr ReturnT PRINT_TIME = Error(0x0F);
inline constexpr ReturnT PRINT_WEEKDAY = Error(0x10);
inline constexpr ReturnT PRINT_DAY = Error(0x11);
inline constexpr ReturnT PRINT_MONTH = Error(0x12);
inline constexpr ReturnT PRINT_YEAR = Error(0x13);
inline constexpr ReturnT PRINT_HOUR = Error(0x14);
inline constexpr ReturnT PRINT_MINUTE = Error(0x15);
inline constexpr ReturnT PRINT_SECOND = Error(0x16);
inline constexpr ReturnT PRINT_MILLISECOND = Error(0x17);
inline constexpr ReturnT PRINT_LITERAL = Error(0x18);
inline constexpr ReturnT PRINT_CENTURY = Error(0x19);
inline constexpr ReturnT PRINT_LOCAL = Error(0x1A);
inline constexpr ReturnT PRINT_CONVERSION = Error(0x1B);

inline constexpr char const* FORMATS[] = {
    "%a, %e %b %Y %H:%M:%S GMT",
    "%a, %e-%b-%y %H:%M:%S GMT",
    "%a %b %e %H:%M:%S %Y",
    "%e%t%w%t%Y%t%H:%M:%S",
    "%e %b %Y %H:%M:%S.%K",
    "%b %e %H:%M:%S",
    "%e %b %Y",
    "%H:%M:%S",
    "%H:%M",
    "%A",
    "%a",
    "%e",
    "%m",
    "%B",
    "%b",
    "%Y",
    "%y",
    "%H",
    "%M",
    "%S",
    "%K",
    "%Y-%m-%dT%H:%M:%S.%KZ",
    "%Y-%m-%dT%H:%M:%SZ",
};
inline constexpr unsigned FORMAT_COUNT = sizeof FORMATS / sizeof FORMATS[0];
static_assert(FORMAT_COUNT == Stamp::ISO + 1);

constexpr bool NamesZone(Stamp::FormatT format) { return format == Stamp::HTTP || format == Stamp::COOKIE; }

// The years that two digits can tell.
inline constexpr unsigned CENTURY_FIRST = 1970;
inline constexpr unsigned CENTURY_LAST = 2069;

struct Name {
    static constexpr unsigned long SHORT_SIZE = 3;

    template<unsigned long N>
    constexpr Name(char const (&text)[N])
        : full(text)
        , size(N - 1)
        , brief{text[0], text[1], text[2], '\0'} {}

    char const* full;
    unsigned long size;
    char brief[SHORT_SIZE + 1];
};

inline constexpr unsigned MONTH_COUNT = 12;
inline constexpr unsigned DAY_COUNT = 7;
inline constexpr Name MONTHS[MONTH_COUNT] = {"January",   "February", "March",    "April",
                                             "May",       "June",     "July",     "August",
                                             "September", "October",  "November", "December"};
inline constexpr Name DAYS[DAY_COUNT] = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                         "Thursday", "Friday", "Saturday"};

struct Fields {
    ReturnT Get(Stamp const& stamp, Stamp::ModeT mode) {
        return stamp.Get(weekday, day, month, year, hour, minute, second, millisecond, dst, mode);
    }

    unsigned weekday;
    unsigned day;
    unsigned month;
    unsigned year;
    unsigned hour;
    unsigned minute;
    unsigned second;
    unsigned millisecond;
    bool dst;
};

} // namespace Time::StampImpl_
