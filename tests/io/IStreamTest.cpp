#include "tests/io/Transports.h"
#include "tests/support/Heap.h"
#include "zeb/io/TextScan.h"

namespace {

using Io::EOL_ANY_CRLF, Io::EOL_ANY_LF, Io::EOL_CRLF, Io::EOL_LF, Io::IStream, Io::Stateful;

// All lines in brackets, what a failed read left in its target, and the state.
std::string Lines(IStream& stream, unsigned long limit) {
    std::string out;
    String line;
    (void)line.Assign("what was there before");
    while (stream.ReadLine(line, limit))
        out += "[" + Text(line) + "]";
    return out + "<" + Text(line) + "> " + stream.ErrorString();
}

TEST(IStreamLines, FollowTheEndOfLineRuleInEveryCut) {
    std::string const longLine(300, 'x'), first(256, 'x'), second(44, 'x');
    struct {
        std::string text, expected;
        Io::EndOfLineT eol = EOL_LF;
        unsigned long limit = 256;
    } const rows[] = {
        // Behind the last line end stands one more line, an empty one.
        {"", "[]<> end of stream"},
        {"a\nb", "[a][b]<> end of stream"},
        {"a\nb\r\n", "[a]<b> invalid input"},
        {"a\r\nb\nc", "[a]<b> invalid input", EOL_CRLF},
        {"a\r\nb\nc", "[a][b][c]<> end of stream", EOL_ANY_LF},
        {"a\r\nb\nc\r\n", "[a][b][c][]<> end of stream", EOL_ANY_CRLF},
        {"a\r", "<a> truncated input", EOL_CRLF},
        {"a\rb", "<a> invalid input", EOL_ANY_LF},
        {"ab\7c\n", "<ab> invalid input"},
        // The limit: exact, over, and with what may stand right behind it.
        {"abc\nabcdefg\n", "[abc][abc][def][g][]<> end of stream", EOL_LF, 3},
        {"abc\r\nd", "[abc][d]<> end of stream", EOL_ANY_LF, 3},
        {"abc\7", "[abc]<> invalid input", EOL_LF, 3},
        {longLine, "[" + first + "][" + second + "]<> end of stream"},
    };
    for (auto const& row : rows)
        ForEveryStream(row.text, row.eol, [&](IStream& s) { EXPECT_EQ(Lines(s, row.limit), row.expected); });
}

TEST(IStreamLines, AppendUpToTheLimitAndSkipWithoutOne) {
    ForEveryStream("abcdef\nsecond line\nthird\n", EOL_LF, [](IStream& stream) {
        String text;
        EXPECT_TRUE(text.Assign("12") && stream.ReadString_(&text, 6, EOL_LF));
        EXPECT_EQ(Text(text), "12abcd");
        EXPECT_TRUE(stream.ReadString_(&text, 4, EOL_LF)); // over the limit already: nothing is taken
        EXPECT_EQ(Text(text), "12abcd");
        EXPECT_TRUE(stream.SkipLine() && stream.ReadString_(nullptr, 1, EOL_LF));
        EXPECT_EQ(Rest(stream), "third\n");
    });
    ForEveryAllocation([](Heap& heap) {
        DirectStream stream({"a line of some length\n"}, EOL_LF, 8);
        String line;
        heap.Arm();
        bool const read = stream.ReadLine(line);
        heap.Disarm();
        EXPECT_EQ(read, !heap.Fired());
        EXPECT_EQ(stream.CurrentState(), read ? Stateful::STATE_OK : Stateful::STATE_NO_MEMORY);
    });
}

TEST(IStream, TableAndScanAgreeOnWhatIsText) {
    for (int c = 0; c < 256; ++c) {
        bool const text = c == 9 || (c >= 32 && c <= 254);
        EXPECT_EQ(IStream::PRINTABLE[c], text ? 1 : 0) << c;
        for (unsigned long const at : {0UL, 15UL, 16UL, 63UL, 64UL, 80UL, 95UL}) {
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

TEST(IStreamNumbers, HaveTheRangeOfTheirTypeInEveryCut) {
    struct {
        std::string (*parse)(IStream&);
        char const *text, *expected;
    } const rows[] = {
        {Parse<short>, "-32768 ", "-32768| "},
        {Parse<short>, "32768x", "invalid input|x"},
        {Parse<unsigned short>, " \t\r\n\v\f 65535,", "65535|,"},
        {Parse<int>, "-2147483648-", "-2147483648|-"},
        {Parse<int>, "-2147483649", "invalid input|"},
        {Parse<int>, "2147483648", "invalid input|"},
        {Parse<unsigned int>, "4294967296 x", "invalid input| x"},
        {Parse<unsigned int>, "  -1", "invalid input|-1"},
        {Parse<long>, "-9223372036854775808", "-9223372036854775808|"},
        {Parse<long>, "9223372036854775808", "invalid input|"},
        {Parse<unsigned long>, "18446744073709551615.", "18446744073709551615|."},
        {Parse<unsigned long>, "18446744073709551616", "invalid input|"},
        // A sum that wraps without falling goes unseen.
        {Parse<unsigned long>, "30000000000000000000", "11553255926290448384|"},
        {Parse<unsigned long long>, "0x12", "0|x12"},
        {Parse<long long>, "+1", "invalid input|+1"},
        {Parse<int>, "- 1", "invalid input| 1"},
        {Parse<int>, "", "end of stream|"},
        {Parse<int>, "  \n", "end of stream|"},
    };
    for (auto const& row : rows)
        ForEveryStream(row.text, EOL_LF, [&](IStream& s) { EXPECT_EQ(row.parse(s), row.expected); });
}

TEST(IStreamSkip, ConsumesATextUpToTheFirstDifference) {
    struct {
        char const *text, *skip;
        unsigned long matched;
        std::string state, rest;
    } const rows[] = {
        {"HTTP/1.1", "HTTP/", 5, "ok", "1.1"},
        {"HTxP/1.1", "HTTP/", 2, "invalid input", "xP/1.1"},
        {"HTT", "HTTP/", 3, "end of stream", ""},
        {"abc", "", 0, "ok", "abc"},
    };
    for (auto const& row : rows) {
        ForEveryStream(row.text, EOL_LF, [&](IStream& stream) {
            unsigned long matched = 77;
            EXPECT_EQ(stream.Skip(row.skip, &matched), row.state == "ok") << row.text;
            EXPECT_EQ(matched, row.matched) << row.text;
            EXPECT_EQ(stream.ErrorString(), row.state);
            stream.ClearState_();
            EXPECT_EQ(Rest(stream), row.rest);
        });
    }
    ForEveryStream(" \n a\xff  ", EOL_LF, [](IStream& stream) {
        signed char s = 'x';
        unsigned char u = 'x';
        stream >> s >> u;
        EXPECT_EQ(u, 0xFF);
        stream >> s; // blanks only: the target is left alone
        EXPECT_EQ(s, 'a');
        EXPECT_FALSE(stream.Skip<&isspace>());
        EXPECT_STREQ(stream.ErrorString(), "end of stream");
    });
}

TEST(IStream, OperationsOnAFailedObjectDoNothing) {
    DirectStream stream({"12 line\n"});
    stream.SetState(Stateful::STATE_TIMEOUT);
    int number = 5;
    signed char c = 'c';
    String line;
    stream >> number >> c;
    EXPECT_FALSE(stream.ReadLine(line) || stream.SkipLine() || stream.Skip<&isspace>());
    EXPECT_FALSE(stream.Skip("12", nullptr) || stream.Skip("", nullptr));
    EXPECT_EQ(number + c + stream.GetChar(), 5 + 'c' + 256);
    EXPECT_EQ(stream.CurrentState(), Stateful::STATE_TIMEOUT);
    stream.ClearState_();
    EXPECT_EQ(Rest(stream), "12 line\n");
}

TEST(IStream, AttachedToAnotherOneIsAnAliasOfIt) {
    DirectStream target({"first\r\nsecond\r\n"}, EOL_CRLF), wrapper({"never seen"}), outer({"nor this"});
    outer.Attach(&wrapper);
    wrapper.Attach(&target);
    String line;
    int number = 0;
    EXPECT_TRUE(outer.ReadLine(line) && outer.Eol() == EOL_CRLF);
    EXPECT_EQ(Text(line), "first");
    outer >> number;
    EXPECT_EQ(target.CurrentState(), Stateful::STATE_INVALID);
    EXPECT_EQ(wrapper.CurrentState(), Stateful::STATE_INVALID);
    target.ClearState_();
    outer.Width(3);
    target << 10;
    EXPECT_EQ(target.buffer.PCount(), 3u);
}

} // namespace
