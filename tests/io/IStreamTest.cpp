#include "tests/io/Transports.h"
#include "tests/support/Heap.h"
#include "zeb/io/TextScan.h"

using namespace std::string_literals;

namespace {

// All lines in brackets, what a failed read left in its target, and the state.
std::string Lines(Io::IStream& stream, unsigned long limit) {
    std::string out;
    String line;
    (void)line.Assign("what was there before");
    while (stream.ReadLine(line, limit))
        out += "[" + Text(line) + "]";
    return out + "<" + Text(line) + "> " + stream.ErrorString();
}

TEST(IStreamLines, FollowTheEndOfLineRuleInEveryCut) {
    std::string const longLine(300, 'x');
    struct {
        std::string text;
        Io::EndOfLineT eol;
        unsigned long limit;
        std::string expected;
    } const rows[] = {
        // Behind the last line end stands one more line, an empty one.
        {"", Io::EOL_LF, 256, "[]<> end of stream"},
        {"\n\n", Io::EOL_LF, 256, "[][][]<> end of stream"},
        {"a\nb", Io::EOL_LF, 256, "[a][b]<> end of stream"},
        {"a\nb\r\n", Io::EOL_LF, 256, "[a]<b> invalid input"},
        {"a\r\nb\nc", Io::EOL_CRLF, 256, "[a]<b> invalid input"},
        {"a\r\nb\nc", Io::EOL_ANY_LF, 256, "[a][b][c]<> end of stream"},
        {"a\r\nb\nc\r\n", Io::EOL_ANY_CRLF, 256, "[a][b][c][]<> end of stream"},
        {"a\r", Io::EOL_CRLF, 256, "<a> truncated input"},
        {"a\rb", Io::EOL_ANY_LF, 256, "<a> invalid input"},
        {"a\r\r\n", Io::EOL_ANY_LF, 256, "<a> invalid input"},
        {"ab\7c\n", Io::EOL_LF, 256, "<ab> invalid input"},
        {"a\tb\x7f\x80\xfe \n", Io::EOL_LF, 256, "[a\tb\x7f\x80\xfe ][]<> end of stream"},
        {"0123456789abcdef0123\xff\n", Io::EOL_LF, 256, "<0123456789abcdef0123> invalid input"},
        // The limit: exact, over, and with what may stand right behind it.
        {"abc\nabcdefg\n", Io::EOL_LF, 3, "[abc][abc][def][g][]<> end of stream"},
        {"abc\r\nd", Io::EOL_ANY_LF, 3, "[abc][d]<> end of stream"},
        {"abc\7", Io::EOL_LF, 3, "[abc]<> invalid input"},
        {longLine, Io::EOL_LF, 256,
         "[" + longLine.substr(44) + "][" + longLine.substr(256) + "]<> end of stream"},
    };
    for (auto const& row : rows)
        ForEveryStream(row.text, row.eol,
                       [&](Io::IStream& s) { EXPECT_EQ(Lines(s, row.limit), row.expected); });
}

TEST(IStreamLines, AppendUpToTheLimitAndSkipWithoutOne) {
    ForEveryStream("abcdef\nsecond line\nthird\n", Io::EOL_LF, [](Io::IStream& stream) {
        String text;
        EXPECT_TRUE(text.Assign("12") && stream.ReadString_(&text, 6, Io::EOL_LF));
        EXPECT_EQ(Text(text), "12abcd");
        EXPECT_TRUE(stream.ReadString_(&text, 4, Io::EOL_LF)); // over the limit already: nothing is taken
        EXPECT_EQ(Text(text), "12abcd");
        EXPECT_TRUE(stream.SkipLine() && stream.ReadString_(nullptr, 1, Io::EOL_LF));
        EXPECT_EQ(Rest(stream), "third\n");
    });
    ForEveryAllocation([](Heap& heap) {
        DirectStream stream({"a line of some length\n"}, Io::EOL_LF, 8);
        String line;
        heap.Arm();
        bool const read = stream.ReadLine(line);
        heap.Disarm();
        EXPECT_EQ(read, !heap.Fired());
        EXPECT_EQ(stream.CurrentState(), read ? Io::Stateful::STATE_OK : Io::Stateful::STATE_NO_MEMORY);
    });
}

TEST(IStream, TableAndScanAgreeOnWhatIsText) {
    for (int c = 0; c < 256; ++c) {
        bool const text = c == 9 || (c >= 32 && c <= 254);
        EXPECT_EQ(Io::IStream::PRINTABLE[c], text ? 1 : 0) << c;
        for (unsigned long const at : {0UL, 15UL, 16UL, 63UL, 64UL, 80UL, 95UL}) {
            std::string line(99, 'x');
            line[at] = static_cast<char>(c);
            EXPECT_EQ(Io::TextRun(line.data(), line.size()), text ? line.size() : at) << c;
        }
    }
}

template<class Number>
std::string Parse(Io::IStream& stream) {
    Number value = 99;
    stream >> value;
    EXPECT_TRUE(stream.Ok() || value == Number(99)) << "written on failure";
    std::string const result = stream.Ok() ? std::to_string(value) : stream.ErrorString();
    stream.ClearState_();
    return result + "|" + Rest(stream);
}

TEST(IStreamNumbers, HaveTheRangeOfTheirTypeInEveryCut) {
    struct {
        std::string (*parse)(Io::IStream&);
        char const* text;
        char const* expected;
    } const rows[] = {
        {Parse<short>, "-32768 ", "-32768| "},
        {Parse<short>, "32768x", "invalid input|x"},
        {Parse<unsigned short>, " \t\r\n\v\f 65535,", "65535|,"},
        {Parse<unsigned short>, "65536", "invalid input|"},
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
        {Parse<int>, "-", "invalid input|"},
        {Parse<int>, "- 1", "invalid input| 1"},
        {Parse<int>, "", "end of stream|"},
        {Parse<int>, "  \n", "end of stream|"},
    };
    for (auto const& row : rows)
        ForEveryStream(row.text, Io::EOL_LF, [&](Io::IStream& s) { EXPECT_EQ(row.parse(s), row.expected); });
}

TEST(IStreamSkip, ConsumesATextUpToTheFirstDifference) {
    struct {
        char const *text, *skip;
        unsigned long matched;
        char const *state, *rest;
    } const rows[] = {
        {"HTTP/1.1", "HTTP/", 5, "ok", "1.1"},
        {"HTxP/1.1", "HTTP/", 2, "invalid input", "xP/1.1"},
        {"HTT", "HTTP/", 3, "end of stream", ""},
        {"abc", "", 0, "ok", "abc"},
    };
    for (auto const& row : rows) {
        ForEveryStream(row.text, Io::EOL_LF, [&](Io::IStream& stream) {
            unsigned long matched = 77;
            EXPECT_EQ(stream.Skip(row.skip, &matched), row.state == "ok"s) << row.text;
            EXPECT_EQ(matched, row.matched) << row.text;
            EXPECT_STREQ(stream.ErrorString(), row.state);
            stream.ClearState_();
            EXPECT_EQ(Rest(stream), row.rest);
        });
    }
    ForEveryStream(" \n a\xff  ", Io::EOL_LF, [](Io::IStream& stream) {
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
    stream.SetState(Io::Stateful::STATE_TIMEOUT);
    int number = 5;
    signed char c = 'c';
    String line;
    stream >> number >> c;
    EXPECT_FALSE(stream.ReadLine(line) || stream.SkipLine() || stream.Skip<&isspace>());
    EXPECT_FALSE(stream.Skip("12", nullptr) || stream.Skip("", nullptr));
    EXPECT_EQ(number + c + stream.GetChar(), 5 + 'c' + 256);
    EXPECT_EQ(stream.CurrentState(), Io::Stateful::STATE_TIMEOUT);
    stream.ClearState_();
    EXPECT_EQ(Rest(stream), "12 line\n");
}

TEST(IStream, AttachedToAnotherOneIsAnAliasOfIt) {
    DirectStream target({"first\r\nsecond\r\n"}, Io::EOL_CRLF), wrapper({"never seen"}), outer({"nor this"});
    outer.Attach(&wrapper);
    wrapper.Attach(&target);
    String line;
    EXPECT_TRUE(outer.ReadLine(line));
    EXPECT_EQ(Text(line), "first");
    EXPECT_EQ(outer.Eol(), Io::EOL_CRLF);
    int number = 0;
    outer >> number;
    EXPECT_EQ(target.CurrentState(), Io::Stateful::STATE_INVALID);
    EXPECT_EQ(wrapper.CurrentState(), Io::Stateful::STATE_INVALID);
    target.ClearState_();
    outer.Width(3);
    target << 10;
    EXPECT_EQ(target.buffer.PCount(), 3u);
}

} // namespace
