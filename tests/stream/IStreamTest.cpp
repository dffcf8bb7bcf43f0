#include "tests/io/Transports.h"
#include "zeb/stream/TextScan.h"

namespace {

using Io::EOL_ANY_CRLF, Io::EOL_ANY_LF, Io::EOL_CRLF, Io::EOL_LF, Io::IStream;

struct Row {
    std::string (*read)(IStream&);
    char const *text, *expected;
    Io::EndOfLineT eol = EOL_LF;
};

void ExpectRead(std::initializer_list<Row> rows) {
    for (Row const& row : rows) ForEveryStream(row.text, row.eol, [&](IStream& s) { EXPECT_EQ(row.read(s), row.expected); });
}

// All lines in brackets, what a failed read left in its target, and the state.
template<unsigned long LIMIT, auto NEXT = &IStream::ReadLine>
std::string Lines(IStream& stream) {
    std::string out;
    String line;
    while ((stream.*NEXT)(line, LIMIT)) out += "[" + Text(line) + "]";
    return out + "<" + Text(line) + "> " + stream.ErrorString();
}
constexpr auto TrueLines = Lines<3, &IStream::NextLine>;

TEST(IStream, LinesFollowTheEndOfLineRuleAndTheLimit) {
    ExpectRead({{TrueLines, "", "<> ok"},
                {TrueLines, "\nab\n\n", "[][ab][]<> ok"},
                {TrueLines, "abcdef\nabc\ng", "[abc][def][abc][g]<> ok"},
                {TrueLines, "a\n\7", "[a]<> invalid input"},
                {Lines<256>, "", "[]<> end of stream"}, // behind the last line end stands one more
                {Lines<256>, "a\nb\r\n", "[a]<b> invalid input"},
                {Lines<256>, "a\r\nb\nc", "[a]<b> invalid input", EOL_CRLF},
                {Lines<256>, "a\r\nb\nc\r\n", "[a][b][c][]<> end of stream", EOL_ANY_CRLF},
                {Lines<256>, "a\r", "<a> truncated input", EOL_CRLF},
                {Lines<3>, "abc\nabcdefg\n", "[abc][abc][def][g][]<> end of stream"},
                {Lines<3>, "abc\r\nd", "[abc][d]<> end of stream", EOL_ANY_LF},
                {Lines<3>, "abc\7", "[abc]<> invalid input"}});
    ForEveryAllocation([](Heap& heap) {
        std::string const first(80, 'a');
        PieceStream stream(first + "\nsecond line\nthird");
        String text;
        heap.Arm();
        bool const read = text.Assign("12") && stream.ReadString_(&text, 70, EOL_LF); // appends
        heap.Disarm();
        EXPECT_EQ(read, !heap.Fired());
        EXPECT_EQ(stream.CurrentState() == Stateful::STATE_NO_MEMORY, !read && text.Size() > 0);
        if (!read) return;
        EXPECT_TRUE(stream.ReadString_(&text, 4, EOL_LF)); // over the limit already: nothing is taken
        EXPECT_EQ(Text(text), "12" + first.substr(0, 68));
        EXPECT_TRUE(stream.SkipLine() && stream.SkipLine() && Rest(stream) == "third");
    });
}

TEST(IStream, TableAndScanAgreeOnWhatIsText) {
    for (int c = 0; c < 256; ++c) {
        bool const text = c == 9 || (c >= 32 && c <= 254);
        EXPECT_EQ(IStream::PRINTABLE[c], text ? 1 : 0) << c;
        for (unsigned long const at : {0UL, 15UL, 16UL, 63UL, 64UL, 95UL, 97UL}) {
            std::string line(99, 'x');
            line[at] = static_cast<char>(c);
            EXPECT_EQ(Io::TextRun(line.data(), line.size()), text ? line.size() : at) << c;
        }
    }
}

template<class Number>
std::string Parse(IStream& stream) {
    Number value = 99;
    stream >> value;
    EXPECT_TRUE(stream.Ok() || value == Number(99)) << "written on failure";
    std::string const result = stream.Ok() ? std::to_string(value) : stream.ErrorString();
    stream.ClearState_();
    return result + "|" + Rest(stream);
}

std::string SkipHttp(IStream& stream) {
    unsigned long matched = 77;
    bool const all = stream.Skip("HTTP/", &matched);
    EXPECT_EQ(all, stream.Ok());
    std::string const state = std::to_string(matched) + " " + stream.ErrorString();
    stream.ClearState_();
    return state + "|" + Rest(stream);
}

TEST(IStream, NumbersHaveTheRangeOfTheirTypeAndATextEndsAtTheFirstDifference) {
    ExpectRead({{Parse<short>, "-32768 ", "-32768| "},
                {Parse<short>, "32768x", "invalid input|x"},
                {Parse<unsigned short>, " \t\r\n\v\f 65535,", "65535|,"},
                {Parse<unsigned int>, "  -1", "invalid input|-1"},
                {Parse<long long>, "-9223372036854775808", "-9223372036854775808|"},
                {Parse<unsigned long long>, "18446744073709551615.", "18446744073709551615|."},
                {Parse<unsigned long>, "184467440737095516160", "invalid input|"},
                {Parse<unsigned long>, "30000000000000000000", "11553255926290448384|"}, // wraps
                {Parse<long long>, "+1", "invalid input|+1"},
                {Parse<int>, "  \n", "end of stream|"},
                {Parse<signed char>, " \n \xff x", "-1| x"},
                {Parse<char>, "  5x", "53|x"},
                {Parse<unsigned char>, "  ", "end of stream|"},
                {SkipHttp, "HTTP/1", "5 ok|1"},
                {SkipHttp, "HTxP/1", "2 invalid input|xP/1"},
                {SkipHttp, "HTT", "3 end of stream|"}});
}

} // namespace
