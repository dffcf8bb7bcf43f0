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

// In every room, and cut in two at every place: what is left goes to the second part.
void Check(unsigned from, unsigned to, unsigned flags, std::string const& in, OutcomeT const& whole) {
    SCOPED_TRACE(testing::PrintToString(std::tuple(in, from, to, flags)));
    auto const& [code, used, out, needed] = whole;
    for (unsigned long room = 0; room <= out.size() + 9; ++room) { // whole characters, and none behind a gap
        OutcomeT const got = Encode(from, to, flags, in, room);
        unsigned long const written = std::get<2>(got).size();
        EXPECT_EQ(got, OutcomeT(code, used, out.substr(0, written), needed)) << room;
        EXPECT_GT(written + (room < out.size() ? 4 : 1), std::min(room, out.size())) << room;
    }
    for (unsigned long cut = 0; (flags & 3) == 0 && cut <= in.size(); ++cut) {
        auto const [firstCode, firstUsed, first, one] = Encode(from, to, flags, in.substr(0, cut), 400);
        if (firstCode != DONE && firstCode != CUT) continue;
        auto const [secondCode, secondUsed, second, two] = Encode(from, to, flags, in.substr(firstUsed), 400);
        EXPECT_EQ(OutcomeT(secondCode, firstUsed + secondUsed, first + second, one + two), whole) << cut;
    }
}

TEST(Transcoder, PutsAQuestionMarkInPlaceOfWhatTheFlagsName) {
    std::tuple<unsigned, unsigned, unsigned, std::string, uint32_t, unsigned long, std::string> const rows[] = {
        // clang-format off
        {A, 6, 7, "a", BAD, 0, ""}, {6, A, 7, "a", BAD, 0, ""}, {U8, L32, 0, "\xED\xA0\x80", DONE, 3, "\0\xD8\0\0"s},
        {U8, B16, 0, "\xED\x9F\xBF\xED\xBF\xBF", DONE, 6, "\xD7\xFF\xDF\xFF"}, {L16, A, 3, "x\0\x80\0"s, SHOW, 2, "x"},
        {U8, A, 0, "12345678\x7F\xC2\x80", SHOW, 9, "12345678\x7F"}, {A, U8, 2, "\xC3\xA4_", DONE, 3, "??_"},
        {U8, A, 4, "\xC2\x80\xF0\x9F\x98\x80_\xED\xA0\x80", DONE, 10, "??_?"}, {U8, U8, 5, "a\xC0\x80", BAD, 1, "a"},
        {U8, U8, 2, "a\xC0\x80" "b\xC1\xBF" "c\xF5\x80\x80\x80" "d\xFF\xFE\xC3\xA4", DONE, 16, "a?b?c?d?\xC3\xA4"},
        {U8, U8, 2, "\xE0\x9F\x80" "a\xF0\x8F\xBF\xBF" "b\xF4\x90\x80\x80" "c", DONE, 14, "?a?b?c"},
        {U8, U8, 2, "\xC2\xC2\xA9\xE2\x82" "a\xE2" "b\xF4\x8F\xBF\xC0", DONE, 12, "?\xC2\xA9?a?b?"},
        {L16, U8, 2, "\0\xDC\xFF\xDF" "a\0\xFF\xDB" "b\0\0\xD8\0\xD8\0\xDC"s, DONE, 16, "?a?b?\xF0\x90\x80\x80"},
        {L32, U8, 2, "\0\xD8\0\0\xFF\xDF\0\0\0\0\x11\0" "a\0\0\0\0\0\0\x80"s, DONE, 20, "?a?"}, {U8, L16, 6, "\xE2", CUT, 0, ""},
        {B16, B16, 2, "\xDC\0\xDF\xFF\xDB\xFF\0b"s, DONE, 8, "\0?\0?\0b"s}, {U8, L16, 1, "a\xF0\x9F\x98", DONE, 4, "a\0?\0"s},
        {L16, U8, 1, "\0\xD8\0"s, DONE, 3, "?"},
        {L16, U8, 3, "\0\xDC\0"s, DONE, 3, "??"}, {B32, U8, 3, "\x80\0\0\0\0"s, DONE, 5, "??"}};
    // clang-format on
    for (auto const& [from, to, flags, in, code, used, out] : rows) Check(from, to, flags, in, {code, used, out, out.size()});
    char const* in = "\x80\xC3";
    constexpr Transcoder::FlagT BOTH = Transcoder::REPLACE_INVALID | Transcoder::REPLACE_TRUNCATED;
    EXPECT_EQ(Transcoder(Charset::UTF_8, Charset::UTF_8, BOTH).Encode(&in, 2, nullptr, 4, nullptr), DONE);
}

// The same by the system's library.
OutcomeT Iconv(char const* from, char const* to, std::string in) {
    std::string out(400, '#');
    char *at = in.data(), *end = out.data();
    unsigned long left = in.size(), room = out.size();
    iconv_t const converter = iconv_open(to, from);
    uint32_t const code = iconv(converter, &at, &left, &end, &room) != -1UL ? DONE : errno == EINVAL ? CUT : BAD;
    iconv_close(converter);
    return {code, in.size() - left, out.substr(0, 400 - room), 400 - room};
}

TEST(Transcoder, AgreesWithTheSystemOnRandomText) {
    char const* const names[] = {"ASCII", "UTF-8", "UTF-16LE", "UTF-16BE", "UTF-32LE", "UTF-32BE"};
    uint32_t const bounds[] = {0, 0x7F, 0x80, 0x7FF, 0x800, 0xE000, 0xFFFF, 0x10000, 0x10FFFF};
    std::mt19937 random(5);
    for (unsigned round = 0; round < 700; ++round) {
        std::string points;
        for (unsigned i = random() % 40, mask = random() % 3 == 0 ? 0x7F : 0xFFFFF; i != 0; --i) {
            uint32_t const point = random() % 8 == 0 ? bounds[random() % std::size(bounds)] : random() & mask;
            if (point >> 11 != 0xD800 >> 11) points.append(reinterpret_cast<char const*>(&point), 4);
        }
        unsigned const from = random() % 6, to = random() % 6;
        std::string text = std::get<2>(Iconv("UTF-32LE", names[from], points));
        if (round % 2 == 1 && !text.empty()) text[random() % text.size()] = static_cast<char>(random());
        if (round % 3 == 0 && !text.empty()) text.pop_back();
        if (from == U8 && text.find('\xED') != text.npos) continue; // the system refuses surrogates
        OutcomeT expected = Iconv(names[from], names[to], text);
        if (to == A && std::get<1>(expected) < std::get<1>(Encode(from, L32, 0, text, 0))) std::get<0>(expected) = SHOW;
        Check(from, to, 0, text, expected);
    }
}

} // namespace
