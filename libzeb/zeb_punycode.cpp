#include "libzeb/zeb_punycode.h"

#include <stdint.h>
#include <stdlib.h>
#include <string.h>

namespace {

// The parameters of the encoding, RFC 3492 section 5.
constexpr uint32_t BASE = 36;
constexpr uint32_t TMIN = 1;
constexpr uint32_t TMAX = 26;
constexpr uint32_t SKEW = 38;
constexpr uint32_t DAMP = 700;
constexpr uint32_t INITIAL_BIAS = 72;
constexpr uint32_t INITIAL_N = 128;
constexpr char DELIMITER = '-';

constexpr uint32_t MAX_CODE_POINT = 0x10FFFF;
constexpr size_t MAX_UTF8 = 4;

uint32_t Digit(char c) {
    if (c >= 'a' && c <= 'z') return static_cast<uint32_t>(c - 'a');
    if (c >= 'A' && c <= 'Z') return static_cast<uint32_t>(c - 'A');
    if (c >= '0' && c <= '9') return static_cast<uint32_t>(c - '0') + 26;
    return BASE;
}

uint32_t Adapt(uint32_t delta, uint32_t count, bool first) {
    delta = first ? delta / DAMP : delta / 2;
    delta += delta / count;
    uint32_t k = 0;
    for (; delta > (BASE - TMIN) * TMAX / 2; k += BASE)
        delta /= BASE - TMIN;
    return k + (BASE - TMIN + 1) * delta / (delta + SKEW);
}

uint32_t Threshold(uint32_t k, uint32_t bias) {
    if (k <= bias + TMIN) return TMIN;
    return k >= bias + TMAX ? TMAX : k - bias;
}

bool IsCodePoint(uint32_t code) { return code <= MAX_CODE_POINT && (code < 0xD800 || code > 0xDFFF); }

class Decoder {
public:
    Decoder(uint32_t* codes, char const* text, size_t size)
        : codes_(codes)
        , p_(text)
        , end_(text + size) {}

    // What stands ahead of the last delimiter is taken as it is; the rest tells what to insert where. A
    // delimiter with nothing ahead of it is none, and then a bad digit (section 6.2).
    bool Run() {
        char const* delimiter = end_;
        while (delimiter != p_ && delimiter[-1] != DELIMITER)
            --delimiter;
        if (delimiter - p_ > 1) {
            for (; p_ != delimiter - 1; ++p_) {
                if (static_cast<unsigned char>(*p_) >= INITIAL_N) return false;
                codes_[count_++] = static_cast<unsigned char>(*p_);
            }
            p_ = delimiter;
        }
        while (p_ != end_) {
            if (!Insert()) return false;
        }
        return true;
    }

    size_t Count() const { return count_; }

private:
    bool Insert() {
        uint32_t const before = i_;
        if (!Number()) return false;
        uint32_t const length = static_cast<uint32_t>(count_ + 1);
        bias_ = Adapt(i_ - before, length, before == 0);
        if (__builtin_add_overflow(n_, i_ / length, &n_) || !IsCodePoint(n_)) return false;
        i_ %= length;
        memmove(codes_ + i_ + 1, codes_ + i_, (count_ - i_) * sizeof(*codes_));
        codes_[i_++] = n_;
        ++count_;
        return true;
    }

    // One number of variable length is added to i.
    bool Number() {
        uint32_t weight = 1;
        for (uint32_t k = BASE;; k += BASE) {
            if (p_ == end_) return false;
            uint32_t const digit = Digit(*p_++);
            uint32_t step;
            if (digit == BASE || __builtin_mul_overflow(digit, weight, &step) ||
                __builtin_add_overflow(i_, step, &i_))
                return false;
            uint32_t const threshold = Threshold(k, bias_);
            if (digit < threshold) return true;
            if (__builtin_mul_overflow(weight, BASE - threshold, &weight)) return false;
        }
    }

    uint32_t* codes_;
    char const* p_;
    char const* end_;
    size_t count_ = 0;
    uint32_t n_ = INITIAL_N;
    uint32_t i_ = 0;
    uint32_t bias_ = INITIAL_BIAS;
};

char* PutUtf8(char* out, uint32_t code) {
    auto const tail = [&out, code](int shift) { *out++ = static_cast<char>(0x80 | (code >> shift & 0x3F)); };
    if (code < 0x80) {
        *out++ = static_cast<char>(code);
        return out;
    }
    if (code < 0x800) {
        *out++ = static_cast<char>(0xC0 | code >> 6);
    } else if (code < 0x10000) {
        *out++ = static_cast<char>(0xE0 | code >> 12);
        tail(6);
    } else {
        *out++ = static_cast<char>(0xF0 | code >> 18);
        tail(12);
        tail(6);
    }
    tail(0);
    return out;
}

} // namespace

// Each character of the text makes at most one code point.
char* zeb_punycode_decode_utf8(char const* text, size_t size) {
    size_t bytes;
    if (__builtin_mul_overflow(size + 1, MAX_UTF8, &bytes)) return nullptr;
    auto* const codes = static_cast<uint32_t*>(malloc(bytes));
    if (!codes) return nullptr;
    Decoder decoder(codes, text, size);
    char* const out = decoder.Run() ? static_cast<char*>(malloc(bytes)) : nullptr;
    if (out) {
        char* end = out;
        for (size_t i = 0; i < decoder.Count(); ++i)
            end = PutUtf8(end, codes[i]);
        *end = '\0';
    }
    free(codes);
    return out;
}
