#pragma once

// Time::Span: a signed length of time to the microsecond, and the reading of the monotonic clock.
//
// A plain value of seconds and microseconds. The microseconds are below 1000000 in magnitude, and the two
// never have opposite signs, whatever a span is made of. Sums that pass the range of seconds stay at its
// ends, so that now + Span::Max() is a deadline that never comes.

#include "zeb/core/Export.h"

#include <ctime>
#include <limits>
#include <sys/time.h>

class CString;

namespace Time {

class ZEB_PUBLIC Span {
public:
    class String;

    // What spans and stamps are made of.
    class ZEB_PUBLIC Value {
    public:
        constexpr Value() = default;

        // Microseconds beyond a second are carried, opposite signs evened out.
        constexpr Value(long seconds, long microseconds)
            : seconds_(seconds)
            , microseconds_(microseconds) {
            if (microseconds >= PER_SECOND || microseconds <= -PER_SECOND) Carry_();
            Settle_();
        }
        Value(timeval const& time)
            : Value(time.tv_sec, time.tv_usec) {}
        Value(timespec const& time)
            : Value(time.tv_sec, time.tv_nsec / 1000) {}

        constexpr long Seconds() const { return seconds_; }
        constexpr long Microseconds() const { return microseconds_; }
        constexpr bool IsNegative() const { return seconds_ < 0 || microseconds_ < 0; }

        // The seconds, and one more from that many microseconds on.
        long Rounded(long from) const;

        void Set(long seconds) { *this = Value(seconds, 0); }

        // The sign of the value stays. False, without a change, for anything but 0 to 999999.
        bool AdjustMicroseconds(long microseconds);

        Value operator+(Value const& other) const { return Add_(other.seconds_, other.microseconds_); }
        Value operator-(Value const& other) const;

        constexpr bool operator==(Value const&) const = default;
        constexpr bool operator<(Value const& other) const {
            return seconds_ != other.seconds_ ? seconds_ < other.seconds_
                                              : microseconds_ < other.microseconds_;
        }

        // The fraction is not negative, as the system wants it: -0.5 is {-1, 500000}.
        operator timeval() const;
        operator timespec() const;

    private:
        constexpr void Carry_() {
            bool const isUp = microseconds_ > 0;
            if (__builtin_add_overflow(seconds_, microseconds_ / PER_SECOND, &seconds_)) {
                seconds_ = isUp ? std::numeric_limits<long>::max() : std::numeric_limits<long>::min();
                microseconds_ = isUp ? PER_SECOND - 1 : 1 - PER_SECOND;
            }
            microseconds_ %= PER_SECOND;
        }
        constexpr void Settle_() {
            if (seconds_ < 0 && microseconds_ > 0) {
                ++seconds_;
                microseconds_ -= PER_SECOND;
            } else if (seconds_ > 0 && microseconds_ < 0) {
                --seconds_;
                microseconds_ += PER_SECOND;
            }
        }
        Value Add_(long seconds, long microseconds) const;

        static constexpr long PER_SECOND = 1000000;

        long seconds_ = 0;
        long microseconds_ = 0;
    };

    constexpr Span() = default;
    constexpr Span(int milliseconds)
        : value_(milliseconds / 1000, milliseconds % 1000 * 1000) {}

    // Of the milliseconds only the part below 1000 counts.
    constexpr Span(int seconds, int milliseconds)
        : value_(seconds, milliseconds % 1000 * 1000) {}

    // What is finer than a microsecond is cut off.
    Span(timeval const& time)
        : value_(time) {}
    Span(timespec const& time)
        : value_(time) {}
    constexpr explicit Span(Value const& value)
        : value_(value) {}

    static Span const& Max();
    static Span const& Zero();

    bool IsZero() const { return value_ == Value(); }
    void Set(long seconds) { value_.Set(seconds); }

    // The sign of the span stays. False, without a change, for anything but 0 to 999999.
    [[nodiscard]] bool AdjustMicroseconds(long microseconds) {
        return value_.AdjustMicroseconds(microseconds);
    }

    // Seconds and half a second up; milliseconds cut towards zero. At the ends of the range of `long` they
    // stay there.
    long Seconds() const { return value_.Rounded(500000); }
    long Milliseconds() const;

    // The parts as they are kept.
    Value const& Parts() const { return value_; }

    Span operator+(Span const& other) const { return Span(value_ + other.value_); }
    Span operator-(Span const& other) const { return Span(value_ - other.value_); }
    Span& operator+=(Span const& other) { return *this = *this + other; }
    Span& operator-=(Span const& other) { return *this = *this - other; }

    constexpr bool operator==(Span const&) const = default;
    constexpr bool operator<(Span const& other) const { return value_ < other.value_; }
    constexpr bool operator>(Span const& other) const { return other < *this; }
    constexpr bool operator<=(Span const& other) const { return !(other < *this); }
    constexpr bool operator>=(Span const& other) const { return !(*this < other); }

    // The fraction is not negative: -0.5 is {-1, 500000}.
    operator timeval() const { return value_; }
    operator timespec() const { return value_; }

private:
    Value value_;
};

static_assert(sizeof(Span) == 16);

// A span as text on the stack, "-1.500000": whole seconds, a point and six digits.
class ZEB_PUBLIC Span::String {
public:
    explicit String(Span const& span);

    char const* Cstr() const { return text_; }
    unsigned long Size() const { return size_; }

    // Whole seconds in decimal with an optional sign, then an optional point with at most six digits. The
    // whole text must be a span. On false `span` stays as it was.
    [[nodiscard]] static bool Parse(CString const& text, Span& span);
    [[nodiscard]] static bool Parse(char const* text, unsigned long size, Span& span);

private:
    char text_[44];
    unsigned long size_;
};

} // namespace Time
