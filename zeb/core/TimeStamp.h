#pragma once

// Time::Stamp: a point on the wall clock, to the microsecond, since the epoch; with a printer and a parser
// for a closed table of formats.
//
// A plain value. Nothing here allocates or logs: operations that can fail return a code of their own facility
// and leave the stamp as it was. Names of months and days are English, whatever the locale.

#include "zeb/core/CString.h"
#include "zeb/core/Export.h"
#include "zeb/core/ReturnT.h"
#include "zeb/core/TimeSpan.h"

namespace Time {

class ZEB_PUBLIC Stamp {
public:
    enum ModeT : unsigned { GMT = 0, LOCAL = 1 };

    // The numbers are fixed. HTTP and COOKIE name the zone, and refuse LOCAL.
    enum FormatT : unsigned {
        HTTP = 0,           // Sun,  6 Nov 1994 08:49:37 GMT
        COOKIE = 1,         // Sun,  6-Nov-94 08:49:37 GMT
        ASCTIME = 2,        // Sun Nov  6 08:49:37 1994
        FIELDS = 3,         //  6 Nov 1994 08:49:37, read with any blanks, and with the month as a number too
        DATE_TIME = 4,      //  6 Nov 1994 08:49:37.000
        LOG = 5,            // Nov  6 08:49:37
        DATE = 6,           //  6 Nov 1994
        CLOCK = 7,          // 08:49:37
        CLOCK_SHORT = 8,    // 08:49
        WEEKDAY = 9,        // Sunday
        WEEKDAY_SHORT = 10, // Sun
        DAY = 11,           //  6
        MONTH_NUMBER = 12,  // 11
        MONTH = 13,         // November
        MONTH_SHORT = 14,   // Nov
        YEAR = 15,          // 1994
        YEAR_SHORT = 16,    // 94, for the years 1970 to 2069
        HOUR = 17,          // 08
        MINUTE = 18,        // 49
        SECOND = 19,        // 37
        MILLISECOND = 20,   // 000
        ISO_MILLISECOND = 21, // 1994-11-06T08:49:37.000Z
        ISO = 22,             // 1994-11-06T08:49:37Z
    };

    static constexpr unsigned long TEXT_SIZE = 32;

    Stamp() = default;
    Stamp(long posixSeconds)
        : value_(posixSeconds, 0) {}
    Stamp(timespec const& time)
        : value_(time) {}

    // Seconds, and more than half a second up. Mind that Span::Seconds() takes half a second up too.
    long AsPosix() const { return value_.Rounded(500001); }
    long long AsMicroseconds() const;

    void Set(long posixSeconds) { value_.Set(posixSeconds); }
    [[nodiscard]] bool AdjustMicroseconds(long microseconds) {
        return value_.AdjustMicroseconds(microseconds);
    }

    // Months count from 1, years have all their digits. A moment that does not exist, the 31st of February or
    // an hour that the change to summer time skips, is refused, and so is a year that a `tm` cannot hold.
    ReturnT Set(unsigned int day, unsigned int month, unsigned int year, unsigned int hour,
                unsigned int minute, unsigned int second, unsigned int millisecond, ModeT mode);

    // The weekday is 0 for Sunday. Years from 0 to 2147485547 can be told. GMT takes no lock, not even of
    // libc.
    ReturnT Get(unsigned int& weekday, unsigned int& day, unsigned int& month, unsigned int& year,
                unsigned int& hour, unsigned int& minute, unsigned int& second, unsigned int& millisecond,
                bool& dst, ModeT mode) const;

    // `out` holds at least TEXT_SIZE bytes, and is not touched on failure. A format that is not in the table
    // gives success and writes nothing.
    ReturnT AsString(FormatT format, ModeT mode, char* out) const;

    // Fields that the format lacks keep their present value in that mode, so CLOCK_SHORT moves the stamp
    // within its day. Text behind the end of the format is not looked at. `consumed` (or null) gets the
    // number of bytes read, on failure too.
    ReturnT Parse(FormatT format, ModeT mode, CString const& text, unsigned int* consumed);

    Span operator-(Stamp const& other) const { return Span(value_ - other.value_); }
    Stamp operator+(Span const& span) const { return Stamp(value_ + span.Parts()); }
    Stamp operator-(Span const& span) const { return Stamp(value_ - span.Parts()); }

    bool operator==(Stamp const&) const = default;
    bool operator<=(Stamp const& other) const { return !(other.value_ < value_); }

    operator timeval() const { return value_; }
    operator timespec() const { return value_; }

private:
    explicit Stamp(Span::Value const& value)
        : value_(value) {}

    Span::Value value_;
};

static_assert(sizeof(Stamp) == 16);

} // namespace Time
