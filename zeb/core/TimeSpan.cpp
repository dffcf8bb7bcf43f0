#include "zeb/core/TimeSpan.h"

#include "zeb/core/CString.h"
#include "zeb/core/Digits.h"
#include "zeb/core/Integer.h"

#include <climits>
#include <cstring>

namespace Time {

namespace {

constinit Span const MAX{Span::Value(LONG_MAX, 999999)};
constinit Span const ZERO;

constexpr unsigned long FRACTION_DIGITS = 6;

// The digits behind the point. None at all are a zero.
bool ParseFraction_(char const* text, unsigned long size, long& microseconds) {
    static constexpr long MULTIPLIERS[] = {1000000, 100000, 10000, 1000, 100, 10, 1};
    if (size > FRACTION_DIGITS) return false;
    uint64_t number = 0;
    if (size != 0 && !Digits::ParseDecimal(text, text + size, number)) return false;
    microseconds = static_cast<long>(number) * MULTIPLIERS[size];
    return true;
}

} // namespace

Span const& Span::Max() { return MAX; }
Span const& Span::Zero() { return ZERO; }

long Span::Milliseconds() const {
    long result;
    if (__builtin_mul_overflow(value_.Seconds(), 1000, &result) ||
        __builtin_add_overflow(result, value_.Microseconds() / 1000, &result))
        return value_.IsNegative() ? LONG_MIN : LONG_MAX;
    return result;
}

long Span::Value::Rounded(long from) const {
    return microseconds_ >= from && seconds_ != LONG_MAX ? seconds_ + 1 : seconds_;
}

bool Span::Value::AdjustMicroseconds(long microseconds) {
    if (static_cast<unsigned long>(microseconds) >= PER_SECOND) return false;
    microseconds_ = IsNegative() ? -microseconds : microseconds;
    return true;
}

Span::Value Span::Value::operator-(Value const& other) const {
    if (other.seconds_ != LONG_MIN) return Add_(-other.seconds_, -other.microseconds_);
    return Add_(LONG_MAX, -other.microseconds_).Add_(1, 0); // its negative is no number
}

Span::Value Span::Value::Add_(long seconds, long microseconds) const {
    long sum;
    if (__builtin_add_overflow(seconds_, seconds, &sum))
        return seconds < 0 ? Value(LONG_MIN, -(PER_SECOND - 1)) : Value(LONG_MAX, PER_SECOND - 1);
    return Value(sum, microseconds_ + microseconds);
}

Span::Value::operator timeval() const {
    if (microseconds_ >= 0 || seconds_ == LONG_MIN) return {seconds_, microseconds_};
    return {seconds_ - 1, microseconds_ + PER_SECOND};
}

Span::Value::operator timespec() const {
    timeval const time = *this;
    return {time.tv_sec, time.tv_usec * 1000};
}

Span::String::String(Span const& span) {
    Value const& value = span.Parts();
    char* out = text_;
    if (value.IsNegative()) *out++ = '-';
    uint64_t const seconds = static_cast<uint64_t>(value.Seconds());
    out = Digits::PrintDecimal(out, value.Seconds() < 0 ? 0 - seconds : seconds);
    *out++ = '.';
    // A one ahead of the digits brings their leading zeros with it; the point takes its place.
    long const fraction = value.Microseconds() < 0 ? -value.Microseconds() : value.Microseconds();
    out = Digits::PrintDecimal(out - 1, static_cast<uint64_t>(1000000 + fraction));
    out[-1L - static_cast<long>(FRACTION_DIGITS)] = '.';
    *out = '\0';
    size_ = static_cast<unsigned long>(out - text_);
}

bool Span::String::Parse(CString const& text, Span& span) { return Parse(text.Cstr(), text.Size(), span); }

bool Span::String::Parse(char const* text, unsigned long size, Span& span) {
    auto const* const point = size != 0 ? static_cast<char const*>(memchr(text, '.', size)) : nullptr;
    unsigned long const whole = point ? static_cast<unsigned long>(point - text) : size;
    long seconds;
    long microseconds = 0;
    if (!Integer::Parse(text, whole, seconds)) return false;
    if (point && !ParseFraction_(point + 1, size - whole - 1, microseconds)) return false;
    span = Span(Value(seconds, *text == '-' ? -microseconds : microseconds));
    return true;
}

} // namespace Time
