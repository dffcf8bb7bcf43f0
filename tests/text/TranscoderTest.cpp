#include "zeb/text/Transcoder.h"

#include <iconv.h>
#include <random>

namespace {

using namespace std::string_literals;
using Charset::Transcoder;

constexpr unsigned A = Charset::ISO_8859_1, U8 = Charset::UTF_8, L16 = Charset::UTF_16LE, B16 = Charset::UTF_16BE,
                   L32 = Charset::UTF_32LE, B32 = Charset::UTF_32BE;
constexpr uint32_t DONE = 0x005A0064, CUT = 0x805A0064, BAD = 0x805A00C8, SHOW = 0x805A012C;

// Code, bytes used of the input, text, bytes needed.
using OutcomeT = std::tuple<uint32_t, unsigned long, std::string, unsigned long>;

OutcomeT Encode(unsigned from, unsigned to, unsigned flags, std::string const& in, unsigned long room) {
    std::string out(room, '#');
    char const* at = in.data();
    char* end = out.data();
    unsigned long needed = 99;
    Transcoder const transcoder(static_cast<Charset::TypeT>(from), static_cast<Charset::TypeT>(to),
                                static_cast<Transcoder::FlagT>(flags));
    ReturnT const code = transcoder.Encode(&at, in.size(), room == 0 ? nullptr : &end, room, &needed);
    auto const written = static_cast<unsigned long>(end - out.data());
    EXPECT_EQ(out.find_first_not_of('#', written), out.npos) << "written behind the end";
    return {code.Code(), at - in.data(), out.substr(0, written), needed};
}

// From, to, flags, input, code, how much of the input is used, output.
std::tuple<unsigned, unsigned, unsigned, std::string, uint32_t, unsigned long, std::string> const ROWS[] = {
    // clang-format off
    {U8, U8, 0, "", DONE, 0, ""}, {A, B32, 0, "a\x7F", DONE, 2, "\0\0\0a\0\0\0\x7F"s},
    {U8, B16, 0, "\xED\xBF\xBF", DONE, 3, "\xDF\xFF"},
    {U8, L16, 0, "a\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF"s, DONE, 11, "a\0\x80\0\xFF\x07\0\x08\xFF\xFF"s},
    {U8, B16, 0, "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", DONE, 8, "\xD8\0\xDC\0\xDB\xFF\xDF\xFF"s},
    {U8, L32, 0, "\xF4\x8F\xBF\xBF\xED\xA0\x80", DONE, 7, "\xFF\xFF\x10\0\0\xD8\0\0"s},
    {L16, U8, 0, "\0\xD8\0\xDC\xFF\xDB\xFF\xDF"s, DONE, 8, "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"},
    {B16, U8, 0, "\0\x7F\x07\xFF\x08\0\xD7\xFF\xE0\0"s, DONE, 10, "\x7F\xDF\xBF\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80"},
    {B32, U8, 0, "\0\x10\xFF\xFF\0\0\xE0\0\0\0\xD7\xFF"s, DONE, 12, "\xF4\x8F\xBF\xBF\xEE\x80\x80\xED\x9F\xBF"},
    {U8, B16, 0, "abcdefghijklmnop\xC3\xA4qr", DONE, 20, "\0a\0b\0c\0d\0e\0f\0g\0h\0i\0j\0k\0l\0m\0n\0o\0p\0\xE4\0q\0r"s},
    {U8, U8, 0, "a\xE2\x82\xACz12345678", DONE, 13, "a\xE2\x82\xACz12345678"}, {L16, A, 3, "x\0\x80\0"s, SHOW, 2, "x"},
    {U8, A, 0, "12345678\x7F\xC2\x80", SHOW, 9, "12345678\x7F"},
    {U8, A, 4, "\xC2\x80\xF0\x9F\x98\x80_\xED\xA0\x80", DONE, 10, "??_?"}, // what is invalid; one "?" for each run of it
    {A, U8, 0, "1234567\x80", BAD, 7, "1234567"}, {A, U8, 2, "\xC3\xA4_", DONE, 3, "??_"}, {U8, U8, 0, "\x80", BAD, 0, ""},
    {U8, U8, 5, "a\xC0\x80", BAD, 1, "a"}, {U8, U8, 0, "\xE2\x82\x7F", BAD, 0, ""}, {L16, U8, 0, "a\0\0\xDC"s, BAD, 2, "a"},
    {U8, U8, 2, "a\xC0\x80" "b\xC1\xBF" "c\xF5\x80\x80\x80" "d\xFF\xFE\xC3\xA4", DONE, 16, "a?b?c?d?\xC3\xA4"},
    {U8, U8, 2, "\xE0\x9F\x80" "a\xF0\x8F\xBF\xBF" "b\xF4\x90\x80\x80" "c", DONE, 14, "?a?b?c"},
    {L16, U8, 0, "\0\xDB" "a\0"s, BAD, 0, ""},
    {U8, U8, 2, "\xC2\xC2\xA9\xE2\x82" "a\xE2" "b\xF4\x8F\xBF\xC0", DONE, 12, "?\xC2\xA9?a?b?"},
    {U8, U8, 0, "\xE0\x80", BAD, 0, ""},
    {L16, U8, 2, "\0\xDC\xFF\xDF" "a\0\xFF\xDB" "b\0\0\xD8\0\xD8\0\xDC"s, DONE, 16, "?a?b?\xF0\x90\x80\x80"},
    {B16, B16, 2, "\xDC\0\xDF\xFF\xDB\xFF\0b"s, DONE, 8, "\0?\0?\0b"s}, {L32, U8, 0, "a\0\0\0\0\0\x11\0"s, BAD, 4, "a"},
    {L32, U8, 2, "\0\xD8\0\0\xFF\xDF\0\0\0\0\x11\0" "a\0\0\0\0\0\0\x80"s, DONE, 20, "?a?"}, {A, 6, 7, "a", BAD, 0, ""},
    {6, A, 7, "a", BAD, 0, ""}, // what ends within a character
    {U8, L16, 0, "a\xC3", CUT, 1, "a\0"s}, {U8, L16, 6, "\xE2\x82", CUT, 0, ""},
    {U8, L16, 1, "a\xF0\x9F\x98", DONE, 4, "a\0?\0"s}, {L16, U8, 0, "a\0b"s, CUT, 2, "a"},
    {B16, U8, 0, "\xD8\0\xDC"s, CUT, 0, ""}, {B16, U8, 0, "\xD8\0"s, CUT, 0, ""}, {L16, U8, 1, "\0\xD8\0"s, DONE, 3, "?"},
    {L16, U8, 3, "\0\xDC\0"s, DONE, 3, "??"}, {B32, U8, 0, "\0\0\0a\0\0\0"s, CUT, 4, "a"},
    {B32, U8, 3, "\x80\0\0\0\0\0\0"s, DONE, 7, "??"}};
// clang-format on

TEST(Transcoder, GivesCodePlaceAndTextInEveryRoomAndCut) {
    for (auto const& [from, to, flags, in, code, used, out] : ROWS) {
        SCOPED_TRACE(testing::PrintToString(std::tuple(in, from, to, flags)));
        OutcomeT const whole(code, used, out, out.size());
        EXPECT_EQ(Encode(from, to, flags, in, out.size() + 9), whole);
        for (unsigned long room = 0; room <= out.size(); ++room) { // whole characters, and none behind a gap
            std::string const written = std::get<2>(Encode(from, to, flags, in, room));
            EXPECT_TRUE(out.starts_with(written) && written.size() + 4 > room) << room;
            EXPECT_EQ(Encode(from, to, flags, in, room), OutcomeT(code, used, written, out.size())) << room;
        }
        for (unsigned long cut = 0; (flags & 3) == 0 && cut <= in.size(); ++cut) { // what is left goes to the next piece
            auto const [firstCode, firstUsed, first, one] = Encode(from, to, flags, in.substr(0, cut), 100);
            if (firstCode != DONE && firstCode != CUT) continue;
            auto const [secondCode, secondUsed, second, two] = Encode(from, to, flags, in.substr(firstUsed), 100);
            EXPECT_EQ(OutcomeT(secondCode, firstUsed + secondUsed, first + second, one + two), whole) << cut;
        }
    }
    char const* in = "\x80\xC3";
    Transcoder const both(Charset::UTF_8, Charset::UTF_8, Transcoder::REPLACE_INVALID | Transcoder::REPLACE_TRUNCATED);
    EXPECT_EQ(both.Encode(&in, 2, nullptr, 4, nullptr), DONE);
}

// The same by the system's library.
OutcomeT Iconv(char const* from, char const* to, std::string in) {
    std::string out(400, '#');
    iconv_t const converter = iconv_open(to, from);
    char *at = in.data(), *end = out.data();
    unsigned long left = in.size(), room = out.size();
    bool const failed = iconv(converter, &at, &left, &end, &room) == static_cast<size_t>(-1);
    uint32_t const code = !failed ? DONE : errno == EINVAL ? CUT : BAD;
    iconv_close(converter);
    return {code, in.size() - left, out.substr(0, 400 - room), 400 - room};
}

TEST(Transcoder, AgreesWithTheSystemOnRandomText) {
    char const* const names[] = {"ASCII", "UTF-8", "UTF-16LE", "UTF-16BE", "UTF-32LE", "UTF-32BE"};
    std::mt19937 random(5);
    for (unsigned round = 0; round < 1500; ++round) {
        std::string points;
        for (unsigned i = random() % 40; i != 0; --i) {
            uint32_t const point = random() & (random() % 4 == 0 ? 0x7F : random() % 3 == 0 ? 0x7FF : 0xFFFFF);
            if (point >> 11 != 0xD800 >> 11) points.append(reinterpret_cast<char const*>(&point), 4);
        }
        unsigned const from = random() % 6, to = random() % 6;
        std::string text = std::get<2>(Iconv("UTF-32LE", names[from], points));
        if (round % 2 == 1 && !text.empty()) text[random() % text.size()] = static_cast<char>(random());
        if (round % 3 == 0 && !text.empty()) text.pop_back();
        if (from == U8 && text.find('\xED') != text.npos) continue; // the system refuses surrogates
        OutcomeT ours = Encode(from, to, 0, text, 400);
        if (std::get<0>(ours) == SHOW) std::get<0>(ours) = BAD;
        EXPECT_EQ(ours, Iconv(names[from], names[to], text)) << testing::PrintToString(text);
    }
}

} // namespace
