#include "zeb/text/Transcoder.h"

#include <bit>
#include <cstring>

namespace Charset {

namespace {

constexpr uint32_t LAST_POINT = 0x10FFFF;

constexpr bool IsHigh_(uint32_t unit) { return unit >> 10 == 0xD800 >> 10; }
constexpr bool IsLow_(uint32_t unit) { return unit >> 10 == 0xDC00 >> 10; }

// What stands at the front of the input: a character, or why there is none.
struct Decoded_ {
    uint32_t point = 0;
    unsigned long size = 0; // of the character in bytes
    ReturnT code = Transcoder::DONE;

    constexpr Decoded_(uint32_t character, unsigned long bytes)
        : point(character)
        , size(bytes) {}
    constexpr Decoded_(ReturnT failure)
        : code(failure) {}
};

// The encodings. Each has units, a decoder: Decode() of at least one byte, and BadRun(), the size of what is
// invalid at the front; and an encoder: Shows() a character, in Size() bytes, which Put() writes.

template<class T, std::endian ORDER = std::endian::native>
struct Units_ {
    static constexpr unsigned UNIT = sizeof(T);

    static constexpr T Swapped(T value) {
        if constexpr (ORDER == std::endian::native || UNIT == 1)
            return value;
        else if constexpr (UNIT == 2)
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
    // Whether eight units are ASCII.
    static bool AreAscii(unsigned char const* at) {
        constexpr uint64_t EACH = UINT64_MAX / static_cast<T>(-1),
                           OTHERS = Swapped(static_cast<T>(~0x7FU)) * EACH;
        uint64_t words[UNIT], all = 0;
        memcpy(words, at, sizeof words);
        for (uint64_t const word : words)
            all |= word;
        return (all & OTHERS) == 0;
    }
};

struct Ascii_ : Units_<unsigned char> {
    static Decoded_ Decode(unsigned char const* at, unsigned long) {
        if (*at >= 0x80) return Transcoder::INVALID;
        return {*at, 1};
    }
    static unsigned long BadRun(unsigned char const*, unsigned long) { return 1; }

    static constexpr bool Shows(uint32_t point) { return point < 0x80; }
    static constexpr unsigned Size(uint32_t) { return 1; }
    static void Put(unsigned char* out, uint32_t point) { Set(out, point); }
};

struct Utf8_ : Units_<unsigned char> {
    static constexpr bool CanStart(unsigned c) { return c < 0x80 || (c >= 0xC2 && c <= 0xF4); }
    static constexpr bool CanFollow(unsigned c) { return c >> 6 == 2; }
    static constexpr uint32_t Follower(uint32_t point) { return 0x80 | (point & 0x3F); }

    // Whether the first two of three or four bytes have a point that no shorter form has and that is not too
    // high.
    static constexpr bool IsBegun(bool isOfThree, uint32_t point) {
        uint32_t const high = point & 0x1FF;
        return isOfThree ? point >= 0x800 >> 6 : high >= 0x10000 >> 12 && high <= LAST_POINT >> 12;
    }

    [[gnu::always_inline]] static Decoded_ Decode(unsigned char const* at, unsigned long left) {
        unsigned const lead = *at;
        if (lead < 0x80) return {lead, 1};
        if (!CanStart(lead)) return Transcoder::INVALID;
        if (left < 2) return Transcoder::TRUNCATED;
        uint32_t point = (lead & 0x1F) << 6 | (at[1] & 0x3FU);
        if (!CanFollow(at[1])) return Transcoder::INVALID;
        if (lead < 0xE0) return {point, 2};
        if (!IsBegun(lead < 0xF0, point)) return Transcoder::INVALID;
        if (left < 3) return Transcoder::TRUNCATED;
        if (!CanFollow(at[2])) return Transcoder::INVALID;
        point = (point & 0x3FF) << 6 | (at[2] & 0x3FU);
        if (lead < 0xF0) return {point, 3};
        if (left < 4) return Transcoder::TRUNCATED;
        if (!CanFollow(at[3])) return Transcoder::INVALID;
        return {(point & 0x7FFF) << 6 | (at[3] & 0x3FU), 4};
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
        if (point < 0x80) return Set(out, point);
        if (point < 0x800) {
            Set(out, 0xC0 | point >> 6);
            return Set(out + 1, Follower(point));
        }
        if (point < 0x10000) {
            Set(out, 0xE0 | point >> 12);
            Set(out + 1, Follower(point >> 6));
            return Set(out + 2, Follower(point));
        }
        Set(out, 0xF0 | point >> 18);
        Set(out + 1, Follower(point >> 12));
        Set(out + 2, Follower(point >> 6));
        Set(out + 3, Follower(point));
    }
};

template<std::endian ORDER>
struct Utf16_ : Units_<uint16_t, ORDER> {
    using Units_<uint16_t, ORDER>::Get;
    using Units_<uint16_t, ORDER>::Set;

    static Decoded_ Decode(unsigned char const* at, unsigned long left) {
        if (left < 2) return Transcoder::TRUNCATED;
        uint32_t const unit = Get(at);
        if (IsLow_(unit)) return Transcoder::INVALID;
        if (!IsHigh_(unit)) return {unit, 2};
        if (left < 4) return Transcoder::TRUNCATED;
        uint32_t const next = Get(at + 2);
        if (!IsLow_(next)) return Transcoder::INVALID;
        return {0x10000 + ((unit & 0x3FF) << 10 | (next & 0x3FF)), 4};
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

    static bool IsBad(uint32_t unit) { return unit > LAST_POINT || IsHigh_(unit) || IsLow_(unit); }

    static Decoded_ Decode(unsigned char const* at, unsigned long left) {
        if (left < 4) return Transcoder::TRUNCATED;
        uint32_t const unit = Get(at);
        if (IsBad(unit)) return Transcoder::INVALID;
        return {unit, 4};
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

    // Eight characters at a time while they are ASCII, and there is room for them or they are counted only.
    template<class SourceT, class TargetT>
    void PutAscii() {
        constexpr unsigned READ = 8 * SourceT::UNIT, WRITTEN = 8 * TargetT::UNIT;
        unsigned char text[READ];
        while (Left() >= READ && (room >= WRITTEN || room == 0) && SourceT::AreAscii(in)) {
            if (room != 0) {
                memcpy(text, in, READ);
                for (unsigned i = 0; i < 8; ++i)
                    TargetT::Set(out + i * TargetT::UNIT, SourceT::Get(text + i * SourceT::UNIT));
                out += WRITTEN;
                room -= WRITTEN;
            }
            in += READ;
            needed += WRITTEN;
        }
    }

    // What comes in place of what has no character, or none that the target shows.
    template<class SourceT, class TargetT>
    Decoded_ Replace(Decoded_ next, uint32_t flags) const {
        if (next.code == Transcoder::TRUNCATED && (flags & Transcoder::REPLACE_TRUNCATED) != 0)
            next = {'?', Left()};
        if (next.code == Transcoder::INVALID && (flags & Transcoder::REPLACE_INVALID) != 0)
            next = {'?', SourceT::BadRun(in, Left())};
        if (next.code != Transcoder::DONE || TargetT::Shows(next.point)) return next;
        if ((flags & Transcoder::REPLACE_NOT_SHOWN) == 0) return Transcoder::NOT_SHOWN;
        return {'?', next.size};
    }
};

template<class SourceT, class TargetT>
ReturnT Run_(Walk_& shared, uint32_t flags) {
    constexpr unsigned ROUNDS = 8; // a search for ASCII, then single characters, as most text is mixed
    Walk_ walk = shared;           // which no store through `out` can change
    ReturnT code = Transcoder::DONE;
    for (unsigned i = 0; walk.in != walk.end; ++i) {
        if (i % ROUNDS == 0) {
            walk.PutAscii<SourceT, TargetT>();
            continue;
        }
        Decoded_ next = SourceT::Decode(walk.in, walk.Left());
        if (next.code != Transcoder::DONE || !TargetT::Shows(next.point)) [[unlikely]] {
            next = walk.Replace<SourceT, TargetT>(next, flags);
            code = next.code;
            if (code != Transcoder::DONE) break;
        }
        walk.Put<TargetT>(next.point);
        walk.in += next.size;
    }
    shared = walk;
    return code;
}

constexpr unsigned COUNT = UTF_32BE + 1;

using RunT = ReturnT (*)(Walk_&, uint32_t flags);

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
        ((row[column++] = &Run_<SourceT, T>), ...);
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
        source_ < COUNT && target_ < COUNT ? RUNS.rows[source_][target_](walk, flags_) : INVALID;
    *input = reinterpret_cast<char const*>(walk.in);
    if (!counts) *output = reinterpret_cast<char*>(walk.out);
    if (needed != nullptr) *needed = walk.needed;
    return code;
}

} // namespace Charset
