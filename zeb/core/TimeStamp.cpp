#include "zeb/core/TimeStamp.h"

#include "zeb/core/TimeStampImpl.h"

#include <climits>
#include <cstdlib>

namespace Time {

using namespace StampImpl_;

namespace {

constexpr int FIRST_YEAR = 1900; // that a tm counts from

// A date of the Gregorian calendar: years of March to February, in eras of 400, of which each has the same
// number of days.
bool ToDate_(long days, tm& out) {
    constexpr long ERA = 146097;
    constexpr long TO_EPOCH = 719468; // from the 1st of March of the year 0
    if (__builtin_add_overflow(days, TO_EPOCH, &days)) return false;
    long const era = (days >= 0 ? days : days - (ERA - 1)) / ERA;
    long const ofEra = days - era * ERA;
    long const yearOfEra = (ofEra - ofEra / 1460 + ofEra / 36524 - ofEra / (ERA - 1)) / 365;
    long const ofYear = ofEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    long const month = (5 * ofYear + 2) / 153; // from March
    bool const isNext = month >= 10;
    long const year = yearOfEra + era * 400 + isNext - FIRST_YEAR;
    if (year < INT_MIN || year > INT_MAX) return false;
    out.tm_mday = static_cast<int>(ofYear - (153 * month + 2) / 5 + 1);
    out.tm_mon = static_cast<int>(isNext ? month - 10 : month + 2);
    out.tm_year = static_cast<int>(year);
    return true;
}

// What gmtime_r() does, but that takes a lock of libc, and the lines of signal handlers come this way.
bool BreakDown_(long seconds, tm& out) {
    constexpr long DAY = 86400;
    long days = seconds / DAY;
    long rest = seconds % DAY;
    if (rest < 0) {
        rest += DAY;
        --days;
    }
    out.tm_hour = static_cast<int>(rest / 3600);
    out.tm_min = static_cast<int>(rest / 60 % 60);
    out.tm_sec = static_cast<int>(rest % 60);
    out.tm_wday = static_cast<int>((days % 7 + 11) % 7); // the epoch was a Thursday
    return ToDate_(days, out);
}

} // namespace

long long Stamp::AsMicroseconds() const {
    long long result;
    if (__builtin_mul_overflow(value_.Seconds(), 1000000LL, &result) ||
        __builtin_add_overflow(result, value_.Microseconds(), &result))
        return value_.IsNegative() ? LLONG_MIN : LLONG_MAX;
    return result;
}

ReturnT Stamp::Set(unsigned int day, unsigned int month, unsigned int year, unsigned int hour,
                   unsigned int minute, unsigned int second, unsigned int millisecond, ModeT mode) {
    if (millisecond > 999 || year > unsigned{INT_MAX} + FIRST_YEAR) return SET_FAILED;
    tm given = {};
    given.tm_mday = static_cast<int>(day);
    given.tm_mon = static_cast<int>(month - 1);
    given.tm_year = static_cast<int>(year - FIRST_YEAR);
    given.tm_hour = static_cast<int>(hour);
    given.tm_min = static_cast<int>(minute);
    given.tm_sec = static_cast<int>(second);
    given.tm_isdst = -1;
    given.tm_wday = -1; // stays so when there is no such time, and nothing else tells
    tm found = given;
    long const seconds = mode == LOCAL ? mktime(&found) : timegm(&found);
    bool const isKept = found.tm_wday >= 0 && found.tm_mday == given.tm_mday &&
                        found.tm_mon == given.tm_mon && found.tm_year == given.tm_year &&
                        found.tm_hour == given.tm_hour && found.tm_min == given.tm_min &&
                        found.tm_sec == given.tm_sec;
    if (!isKept) return SET_FAILED;
    value_ = Span::Value(seconds, static_cast<long>(millisecond) * 1000);
    return SET;
}

ReturnT Stamp::Get(unsigned int& weekday, unsigned int& day, unsigned int& month, unsigned int& year,
                   unsigned int& hour, unsigned int& minute, unsigned int& second, unsigned int& millisecond,
                   bool& dst, ModeT mode) const {
    time_t const seconds = value_.Seconds();
    tm time = {};
    bool const ok = mode == LOCAL ? localtime_r(&seconds, &time) != nullptr : BreakDown_(seconds, time);
    if (!ok || time.tm_isdst < 0 || time.tm_year < -FIRST_YEAR) return GET_FAILED;
    weekday = static_cast<unsigned>(time.tm_wday);
    day = static_cast<unsigned>(time.tm_mday);
    month = static_cast<unsigned>(time.tm_mon) + 1;
    year = static_cast<unsigned>(time.tm_year) + FIRST_YEAR;
    hour = static_cast<unsigned>(time.tm_hour);
    minute = static_cast<unsigned>(time.tm_min);
    second = static_cast<unsigned>(time.tm_sec);
    millisecond = static_cast<unsigned>(labs(value_.Microseconds()) / 1000);
    dst = time.tm_isdst > 0;
    return GOT;
}

} // namespace Time
