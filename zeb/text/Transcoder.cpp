#include "zeb/text/Transcoder.h"

#include <bit>
#include <cstring>

namespace Charset {

namespace {

constexpr uint32_t LAST_POINT = 0x10FFFF;

constexpr bool IsHigh_(uint32_t unit) { return unit >> 10 == 0xD800 >> 10; }
constexpr bool IsLow_(uint32_t unit) { return unit >> 10 == 0xDC00 >> 10; }

enum class FoundT { CHARACTER, TRUNCATED, INVALID };

// What stands at the front of the input.
struct Decoded_ {
    FoundT found;
    uint32_t point = 0;
    unsigned long size = 0; // of the character in bytes
};

// The encodings. Each has a decoder: Decode() of at least one byte, and BadRun(), the size of what is invalid
// at the front; and an encoder: Shows() a character, in Size() bytes, which Put() writes.

struct Ascii_ {
    static constexpr bool HAS_ASCII_BYTES = true;

    static Decoded_ Decode(unsigned char const* at, unsigned long) {
        if (*at >= 0x80) return {FoundT::INVALID};
        return {FoundT::CHARACTER, *at, 1};
    }
    static unsigned long BadRun(unsigned char const*, unsigned long) { return 1; }

    static constexpr bool Shows(uint32_t point) { return point < 0x80; }
    static constexpr unsigned Size(uint32_t) { return 1; }
    static void Put(unsigned char* out, uint32_t point) { *out = static_cast<unsigned char>(point); }
};

struct Utf8_ {
    static constexpr bool HAS_ASCII_BYTES = true;

    static constexpr bool CanStart(unsigned c) { return c < 0x80 || (c >= 0xC2 && c <= 0xF4); }

    static Decoded_ Decode(unsigned char const* at, unsigned long left) {
        unsigned const lead = *at;
        if (lead < 0x80) return {FoundT::CHARACTER, lead, 1};
        if (!CanStart(lead)) return {FoundT::INVALID};
        unsigned const size = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
        // Bounds of the next byte: behind these leads a form is too long or a point too high beyond them.
        unsigned low = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
        unsigned high = lead == 0xF4 ? 0x8F : 0xBF;
        uint32_t point = lead & (0x7FU >> size);
        for (unsigned i = 1; i < size; ++i) {
            if (i == left) return {FoundT::TRUNCATED};
            if (at[i] < low || at[i] > high) return {FoundT::INVALID};
            point = point << 6 | (at[i] & 0x3FU);
            low = 0x80;
            high = 0xBF;
        }
        return {FoundT::CHARACTER, point, size};
    }
    static unsigned long BadRun(unsigned char const* at, unsigned long left) {
        unsigned long size = 1;
        while (size < left && !CanStart(at[size]))
            ++size;
        return size;
    }

    static constexpr bool Shows(uint32_t) { return true; }
    static constexpr unsigned Size(uint32_t point) {
        return point < 0x80 ? 1 : point < 0x800 ? 2 : point < 0x10000 ? 3 : 4;
    }
    static void Put(unsigned char* out, uint32_t point) {
        unsigned const size = Size(point);
        unsigned const mark = size == 1 ? 0 : 0xF00U >> size & 0xFF;
        for (unsigned i = size - 1; i != 0; --i, point >>= 6)
            out[i] = static_cast<unsigned char>(0x80 | (point & 0x3F));
        *out = static_cast<unsigned char>(mark | point);
    }
};

template<class T, std::endian ORDER>
struct Units_ {
    static T Swapped(T value) {
        if constexpr (ORDER == std::endian::native)
            return value;
        else if constexpr (sizeof(T) == 2)
            return __builtin_bswap16(value);
        else
            return __builtin_bswap32(value);
    }
    static uint32_t Get(unsigned char const* at) {
        T value;
        memcpy(&value, at, sizeof value);
        return Swapped(value);
    }
    static void Set(unsigned char* out, uint32_t unit) {
        T const value = Swapped(static_cast<T>(unit));
        memcpy(out, &value, sizeof value);
    }
};

template<std::endian ORDER>
struct Utf16_ : Units_<uint16_t, ORDER> {
    using Units_<uint16_t, ORDER>::Get;
    using Units_<uint16_t, ORDER>::Set;
    static constexpr bool HAS_ASCII_BYTES = false;

    static Decoded_ Decode(unsigned char const* at, unsigned long left) {
        if (left < 2) return {FoundT::TRUNCATED};
        uint32_t const unit = Get(at);
        if (IsLow_(unit)) return {FoundT::INVALID};
        if (!IsHigh_(unit)) return {FoundT::CHARACTER, unit, 2};
        if (left < 4) return {FoundT::TRUNCATED};
        uint32_t const next = Get(at + 2);
        if (!IsLow_(next)) return {FoundT::INVALID};
        return {FoundT::CHARACTER, 0x10000 + ((unit & 0x3FF) << 10 | (next & 0x3FF)), 4};
    }
    static unsigned long BadRun(unsigned char const* at, unsigned long left) {
        unsigned long size = 2;
        while (size + 2 <= left && IsLow_(Get(at + size)))
            size += 2;
        return size;
    }

    static constexpr bool Shows(uint32_t) { return true; }
    static constexpr unsigned Size(uint32_t point) { return point < 0x10000 ? 2 : 4; }
    static void Put(unsigned char* out, uint32_t point) {
        if (point < 0x10000) return Set(out, point);
        Set(out, 0xD800 + ((point - 0x10000) >> 10));
        Set(out + 2, 0xDC00 + (point & 0x3FF));
    }
};

template<std::endian ORDER>
struct Utf32_ : Units_<uint32_t, ORDER> {
    using Units_<uint32_t, ORDER>::Get;
    static constexpr bool HAS_ASCII_BYTES = false;

    static bool IsBad(uint32_t unit) { return unit > LAST_POINT || IsHigh_(unit) || IsLow_(unit); }

    static Decoded_ Decode(unsigned char const* at, unsigned long left) {
        if (left < 4) return {FoundT::TRUNCATED};
        uint32_t const unit = Get(at);
        if (IsBad(unit)) return {FoundT::INVALID};
        return {FoundT::CHARACTER, unit, 4};
    }
    static unsigned long BadRun(unsigned char const* at, unsigned long left) {
        unsigned long size = 4;
        while (size + 4 <= left && IsBad(Get(at + size)))
            size += 4;
        return size;
    }

    static constexpr bool Shows(uint32_t) { return true; }
    static constexpr unsigned Size(uint32_t) { return 4; }
    static void Put(unsigned char* out, uint32_t point) { Units_<uint32_t, ORDER>::Set(out, point); }
};

struct Walk_ {
    unsigned char const* in;
    unsigned char const* end;
    unsigned char* out;
    unsigned long room;
    unsigned long needed = 0;

    unsigned long Left() const { return static_cast<unsigned long>(end - in); }

    template<class TargetT>
    void Put(uint32_t point) {
        unsigned const size = TargetT::Size(point);
        needed += size;
        if (size > room) {
            room = 0; // nothing is written behind a gap
            return;
        }
        TargetT::Put(out, point);
        out += size;
        room -= size;
    }

    // Eight characters at a time while they are ASCII and there is room.
    template<class TargetT>
    void PutAscii() {
        constexpr unsigned SIZE = TargetT::Size('?');
        constexpr uint64_t HIGH_BITS = 0x8080808080808080;
        uint64_t eight;
        while (Left() >= 8 && room >= 8 * SIZE) {
            memcpy(&eight, in, 8);
            if ((eight & HIGH_BITS) != 0) return;
            for (unsigned i = 0; i < 8; ++i)
                TargetT::Put(out + i * SIZE, in[i]);
            in += 8;
            out += 8 * SIZE;
            room -= 8 * SIZE;
            needed += 8 * SIZE;
        }
    }

    template<class SourceT, class TargetT>
    ReturnT Run(uint32_t flags) {
        while (in != end) {
            if constexpr (SourceT::HAS_ASCII_BYTES) {
                PutAscii<TargetT>();
                if (in == end) break;
            }
            Decoded_ next = SourceT::Decode(in, Left());
            if (next.found == FoundT::TRUNCATED) {
                if ((flags & Transcoder::REPLACE_TRUNCATED) == 0) return Transcoder::TRUNCATED;
                next = {FoundT::CHARACTER, '?', Left()};
            }
            if (next.found == FoundT::INVALID) {
                if ((flags & Transcoder::REPLACE_INVALID) == 0) return Transcoder::INVALID;
                next = {FoundT::CHARACTER, '?', SourceT::BadRun(in, Left())};
            }
            if (!TargetT::Shows(next.point)) {
                if ((flags & Transcoder::REPLACE_NOT_SHOWN) == 0) return Transcoder::NOT_SHOWN;
                next.point = '?';
            }
            Put<TargetT>(next.point);
            in += next.size;
        }
        return Transcoder::DONE;
    }
};

constexpr unsigned COUNT = UTF_32BE + 1;

using RunT = ReturnT (Walk_::*)(uint32_t flags);

template<class... T>
struct List_ {};

using Encodings_ = List_<Ascii_, Utf8_, Utf16_<std::endian::little>, Utf16_<std::endian::big>,
                         Utf32_<std::endian::little>, Utf32_<std::endian::big>>;

// A row of runs for each source, in the order of TypeT.
struct Runs_ {
    RunT rows[COUNT][COUNT] = {};

    template<class... T>
    constexpr explicit Runs_(List_<T...> all) {
        unsigned row = 0;
        (Fill<T>(rows[row++], all), ...);
    }
    template<class SourceT, class... T>
    static constexpr void Fill(RunT (&row)[COUNT], List_<T...>) {
        unsigned column = 0;
        ((row[column++] = &Walk_::Run<SourceT, T>), ...);
    }
};

constexpr Runs_ RUNS{Encodings_{}};

} // namespace

Transcoder::Transcoder(Charset::TypeT source, Charset::TypeT target, Charset::Transcoder::FlagT flags)
    : source_(source)
    , target_(target)
    , flags_(flags) {}

ReturnT Transcoder::Encode(char const** input, unsigned long inputSize, char** output,
                           unsigned long outputSize, unsigned long* needed) const {
    bool const counts = output == nullptr || *output == nullptr;
    auto const* const in = reinterpret_cast<unsigned char const*>(*input);
    Walk_ walk{in, in + inputSize, counts ? nullptr : reinterpret_cast<unsigned char*>(*output),
               counts ? 0 : outputSize};
    ReturnT const code =
        source_ < COUNT && target_ < COUNT ? (walk.*RUNS.rows[source_][target_])(flags_) : INVALID;
    *input = reinterpret_cast<char const*>(walk.in);
    if (!counts) *output = reinterpret_cast<char*>(walk.out);
    if (needed != nullptr) *needed = walk.needed;
    return code;
}

} // namespace Charset
