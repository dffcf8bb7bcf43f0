#include "zeb/text/Transcoder.h"

#include <gtest/gtest.h>
#include <iconv.h>
#include <random>
#include <string>

namespace {

using namespace std::string_literals;
using Charset::Transcoder;

constexpr Charset::TypeT A = Charset::ISO_8859_1, U8 = Charset::UTF_8, L16 = Charset::UTF_16LE,
                         B16 = Charset::UTF_16BE, L32 = Charset::UTF_32LE, B32 = Charset::UTF_32BE;
constexpr uint32_t DONE = 0x005A0064, CUT = 0x805A0064, BAD = 0x805A00C8, SHOW = 0x805A012C;

struct Outcome {
    uint32_t code = DONE;
    unsigned long used = 0; // bytes of the input
    std::string text;
    unsigned long needed = 0;
    bool operator==(Outcome const&) const = default;
};
[[maybe_unused]] void PrintTo(Outcome const& o, std::ostream* out) {
    *out << std::hex << o.code << " " << o.used << " " << testing::PrintToString(o.text) << " " << o.needed;
}

Outcome Encode(Charset::TypeT from, Charset::TypeT to, unsigned flags, std::string_view in,
               unsigned long room) {
    std::string const copy(in); // ends where the input ends
    std::string out(room, '#');
    char const* at = copy.data();
    char* end = out.data();
    Outcome result;
    Transcoder const transcoder(from, to, static_cast<Transcoder::FlagT>(flags));
    result.code = transcoder.Encode(&at, copy.size(), room == 0 ? nullptr : &end, room, &result.needed);
    result.used = static_cast<unsigned long>(at - copy.data());
    unsigned long const written = static_cast<unsigned long>(end - out.data());
    EXPECT_EQ(out.find_first_not_of('#', written), out.npos) << "written behind the end";
    result.text = out.substr(0, written);
    return result;
}

// The text in pieces that end at `cut`, what is left of the first one ahead of the second.
Outcome InTwo(Charset::TypeT from, Charset::TypeT to, unsigned flags, std::string const& in,
              unsigned long cut) {
    Outcome const first = Encode(from, to, flags, in.substr(0, cut), 100);
    if (first.code != DONE && first.code != CUT) return first;
    Outcome second = Encode(from, to, flags, in.substr(first.used), 100);
    return {second.code, first.used + second.used, first.text + second.text, first.needed + second.needed};
}

struct Row {
    Charset::TypeT from, to;
    unsigned flags;
    std::string in;
    uint32_t code;
    unsigned long used;
    std::string out;
};

Row const ROWS[] = {
    // clang-format off
    {U8, U8, 0, "", DONE, 0, ""},
    {U8, L16, 0, "a\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF"s, DONE, 11, "a\0\x80\0\xFF\x07\0\x08\xFF\xFF"s},
    {U8, B16, 0, "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", DONE, 8, "\xD8\0\xDC\0\xDB\xFF\xDF\xFF"s},
    {U8, L32, 0, "\xF4\x8F\xBF\xBF\xED\xA0\x80", DONE, 7, "\xFF\xFF\x10\0\0\xD8\0\0"s},
    {U8, B16, 0, "\xED\xBF\xBF", DONE, 3, "\xDF\xFF"},
    {L16, U8, 0, "\0\xD8\0\xDC\xFF\xDB\xFF\xDF"s, DONE, 8, "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"},
    {B16, U8, 0, "\0\x7F\x07\xFF\x08\0\xD7\xFF\xE0\0"s, DONE, 10, "\x7F\xDF\xBF\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80"},
    {B32, U8, 0, "\0\x10\xFF\xFF\0\0\xE0\0\0\0\xD7\xFF"s, DONE, 12, "\xF4\x8F\xBF\xBF\xEE\x80\x80\xED\x9F\xBF"},
    {A, B32, 0, "a\x7F", DONE, 2, "\0\0\0a\0\0\0\x7F"s},
    {U8, B16, 0, "0123456789abcdef\xC3\xA4gh", DONE, 20,
     "\0000\0001\0002\0003\0004\0005\0006\0007\0008\0009\0a\0b\0c\0d\0e\0f\0\xE4\0g\0h"s},
    {U8, A, 0, "12345678\x7F\xC2\x80", SHOW, 9, "12345678\x7F"},
    {U8, A, 4, "\xC2\x80\xF0\x9F\x98\x80_\xED\xA0\x80", DONE, 10, "??_?"},
    {L16, A, 3, "x\0\x80\0"s, SHOW, 2, "x"},
    // what is invalid; one "?" for each run of it
    {A, U8, 0, "1234567\x80", BAD, 7, "1234567"},
    {A, U8, 2, "\xC3\xA4_", DONE, 3, "??_"},
    {U8, U8, 0, "\x80", BAD, 0, ""},
    {U8, U8, 5, "a\xC0\x80", BAD, 1, "a"},
    {U8, U8, 2, "a\xC0\x80" "b\xC1\xBF" "c\xF5\x80\x80\x80" "d\xFF\xFE\xC3\xA4", DONE, 16, "a?b?c?d?\xC3\xA4"},
    {U8, U8, 2, "\xE0\x9F\x80" "a\xF0\x8F\xBF\xBF" "b\xF4\x90\x80\x80" "c", DONE, 14, "?a?b?c"},
    {U8, U8, 2, "\xC2\xC2\xA9\xE2\x82" "a\xE2" "b\xF4\x8F\xBF\xC0", DONE, 12, "?\xC2\xA9?a?b?"},
    {U8, U8, 0, "\xE2\x82\x7F", BAD, 0, ""},
    {L16, U8, 0, "a\0\0\xDC"s, BAD, 2, "a"},
    {L16, U8, 0, "\0\xDB" "a\0"s, BAD, 0, ""},
    {L16, U8, 2, "\0\xDC\xFF\xDF" "a\0\xFF\xDB" "b\0\0\xD8\0\xD8\0\xDC"s, DONE, 16, "?a?b?\xF0\x90\x80\x80"},
    {B16, B16, 2, "\xDC\0\xDF\xFF\xDB\xFF\0b"s, DONE, 8, "\0?\0?\0b"s},
    {L32, U8, 0, "a\0\0\0\0\0\x11\0"s, BAD, 4, "a"},
    {L32, U8, 2, "\0\xD8\0\0\xFF\xDF\0\0\0\0\x11\0" "a\0\0\0\0\0\0\x80"s, DONE, 20, "?a?"},
    // what ends within a character
    {U8, L16, 0, "a\xC3", CUT, 1, "a\0"s},
    {U8, L16, 6, "\xE2\x82", CUT, 0, ""},
    {U8, L16, 1, "a\xF0\x9F\x98", DONE, 4, "a\0?\0"s},
    {U8, U8, 0, "\xE0\x80", BAD, 0, ""},
    {L16, U8, 0, "a\0b"s, CUT, 2, "a"},
    {B16, U8, 0, "\xD8\0\xDC"s, CUT, 0, ""},
    {B16, U8, 0, "\xD8\0"s, CUT, 0, ""},
    {L16, U8, 1, "\0\xD8\0"s, DONE, 3, "?"},
    {L16, U8, 3, "\0\xDC\0"s, DONE, 3, "??"},
    {B32, U8, 0, "\0\0\0a\0\0\0"s, CUT, 4, "a"},
    {B32, U8, 3, "\x80\0\0\0\0\0\0"s, DONE, 7, "??"},
    {A, static_cast<Charset::TypeT>(6), 7, "a", BAD, 0, ""},
    {static_cast<Charset::TypeT>(6), A, 7, "a", BAD, 0, ""},
    // clang-format on
};

TEST(Transcoder, GivesCodePlaceAndTextInEveryRoomAndCut) {
    for (Row const& row : ROWS) {
        SCOPED_TRACE(testing::Message() << row.from << " " << row.to << " " << row.flags << " "
                                        << testing::PrintToString(row.in));
        Outcome const whole{row.code, row.used, row.out, row.out.size()};
        EXPECT_EQ(Encode(row.from, row.to, row.flags, row.in, row.out.size() + 9), whole);
        for (unsigned long room = 0; room <= row.out.size(); ++room) {
            Outcome const small = Encode(row.from, row.to, row.flags, row.in, room);
            EXPECT_EQ(small.text, row.out.substr(0, small.text.size())) << room;
            EXPECT_TRUE(room - small.text.size() < 4) << room;
            EXPECT_EQ(small, (Outcome{row.code, row.used, small.text, row.out.size()})) << room;
        }
        for (unsigned long cut = 0; (row.flags & 3) == 0 && cut <= row.in.size(); ++cut)
            EXPECT_EQ(InTwo(row.from, row.to, row.flags, row.in, cut), whole) << cut;
    }
}

TEST(Transcoder, StopsWritingAtTheFirstCharacterWithoutRoom) {
    EXPECT_EQ(Encode(U8, U8, 0, "a\xE2\x82\xACz12345678", 3), (Outcome{DONE, 13, "a", 13}));
    Transcoder const transcoder(U8, B16, Transcoder::REPLACE_INVALID | Transcoder::REPLACE_TRUNCATED);
    char const text[] = "\x80\xC3";
    char room[4];
    char const* in = text;
    char* out = room;
    EXPECT_EQ(transcoder.Encode(&in, 2, &out, 4, nullptr), DONE);
    EXPECT_EQ(std::string(room, out), "\0?\0?"s);
    EXPECT_EQ(in, text + 2);
}

// The same by the system's library: code, place and text.
Outcome Iconv(char const* from, char const* to, std::string in, unsigned long room) {
    std::string out(room, '#');
    iconv_t const converter = iconv_open(to, from);
    char *at = in.data(), *end = out.data();
    unsigned long left = in.size();
    bool const failed = iconv(converter, &at, &left, &end, &room) == static_cast<size_t>(-1);
    uint32_t const code = !failed ? DONE : errno == EINVAL ? CUT : BAD;
    iconv_close(converter);
    out.resize(static_cast<unsigned long>(end - out.data()));
    return {code, in.size() - left, out, out.size()};
}

TEST(Transcoder, AgreesWithTheSystemOnRandomText) {
    char const* const names[] = {"ASCII", "UTF-8", "UTF-16LE", "UTF-16BE", "UTF-32LE", "UTF-32BE"};
    std::mt19937 random(5);
    for (unsigned round = 0; round < 1500; ++round) {
        std::string points;
        for (unsigned i = random() % 40; i != 0; --i) {
            uint32_t const point = random() & (random() % 4 == 0   ? 0x7F
                                               : random() % 3 == 0 ? 0x7FF
                                                                   : 0xFFFFF);
            if (point >> 11 != 0xD800 >> 11) points.append(reinterpret_cast<char const*>(&point), 4);
        }
        unsigned const from = random() % 6, to = random() % 6;
        std::string text = Iconv("UTF-32LE", names[from], points, 400).text;
        if (round % 2 == 1 && !text.empty()) text[random() % text.size()] = static_cast<char>(random());
        if (round % 3 == 0 && !text.empty()) text.pop_back();
        if (from == U8 && text.find('\xED') != text.npos) continue; // the system refuses surrogates
        Outcome ours =
            Encode(static_cast<Charset::TypeT>(from), static_cast<Charset::TypeT>(to), 0, text, 400);
        if (ours.code == SHOW) ours.code = BAD;
        EXPECT_EQ(ours, Iconv(names[from], names[to], text, 400))
            << names[from] << " " << names[to] << testing::PrintToString(text);
    }
}

} // namespace
