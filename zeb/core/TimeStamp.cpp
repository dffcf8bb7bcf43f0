#include "zeb/core/TimeStamp.h"

#include "zeb/core/TimeStampImpl.h"

#include <climits>
#include <cstdlib>

namespace Time {

using namespace StampImpl_;

long long Stamp::AsMicroseconds() const {
    long long result;
    if (__builtin_mul_overflow(value_.Seconds(), 1000000LL, &result) ||
        __builtin_add_overflow(result, value_.Microseconds(), &result))
        return value_.IsNegative() ? LLONG_MIN : LLONG_MAX;
    return result;
}

ReturnT Stamp::Set(unsigned int day, unsigned int month, unsigned int year, unsigned int hour,
                   unsigned int minute, unsigned int second, unsigned int millisecond, ModeT mode) {
    if (millisecond > 999) return SET_FAILED;
    tm given = {};
    given.tm_mday = static_cast<int>(day);
    given.tm_mon = static_cast<int>(month - 1);
    given.tm_year = static_cast<int>(year - 1900);
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
    tm const* const done = mode == LOCAL ? localtime_r(&seconds, &time) : gmtime_r(&seconds, &time);
    if (!done || time.tm_isdst < 0) return GET_FAILED;
    weekday = static_cast<unsigned>(time.tm_wday);
    day = static_cast<unsigned>(time.tm_mday);
    month = static_cast<unsigned>(time.tm_mon) + 1;
    year = static_cast<unsigned>(time.tm_year) + 1900;
    hour = static_cast<unsigned>(time.tm_hour);
    minute = static_cast<unsigned>(time.tm_min);
    second = static_cast<unsigned>(time.tm_sec);
    millisecond = static_cast<unsigned>(labs(value_.Microseconds()) / 1000);
    dst = time.tm_isdst > 0;
    return GOT;
}

} // namespace Time
