#include "tests/io/Transports.h"
#include "zeb/stream/Writer.h"

namespace {

// What `write` sends through blocks of several sizes and transports of several steps.
void ExpectWritten(std::string const& expected, std::function<void(Io::OStream&)> const& write, Io::EndOfLineT eol = Io::EOL_LF) {
    for (unsigned long const size : {1UL, 3UL, 16UL, 4096UL})
        for (unsigned long const step : {1UL, 5UL, ULONG_MAX}) {
            PieceStream stream("", eol, size, step);
            write(stream);
            EXPECT_TRUE(stream.Flush());
            EXPECT_EQ(stream.transport.written, expected) << "block " << size << " step " << step;
        }
}

TEST(OStream, PrintsNumbersAndTextByItsStickySettings) {
    ExpectWritten("-32768 65535 -2147483648 18446744073709551615 ff ffffffffffffffff 255", [](auto& out) {
        out << "" << short(-32768) << ' ' << static_cast<unsigned short>(65535) << ' ' << INT_MIN << ' ' << ~0ULL;
        out.Hex() << ' ' << 255U << ' ' << -1LL;
        out.Dec() << ' ' << 255UL;
    });
    std::string const q(40, 'q'), upper(40, 'Q');
    ExpectWritten("00042|00abc|123456|ab...C" + upper + "\xe4" + "ef...beef.", [&](auto& out) {
        out.Width(5).Fill('0').Right();
        for (char const* text : {"42", "abc", "123456"}) {
            out << text;
            EXPECT_TRUE(out.PutChar('|')); // not formatted
        }
        out.Fill('.').Left() << "ab";
        out.Upper() << ("C" + q + "\xe4").c_str();
        out.Lower() << CString("EF");
        out.AnyCase().Hex() << 0xBEEF;
    });
}

TEST(OStream, EndsLinesByItsRule) {
    for (Io::EndOfLineT const eol : {Io::EOL_LF, Io::EOL_CRLF, Io::EOL_ANY_LF, Io::EOL_ANY_CRLF})
        ExpectWritten(
            eol % 2 == 1 ? "a\r\n" : "a\n", [](auto& out) { out << "a" << Io::Endl; }, eol);
}

TEST(Writer, FillsTheBlockPieceByPiece) {
    std::string const text = "the quick brown fox jumps over the lazy dog";
    std::string expected;
    for (unsigned long n = 0; n < text.size(); ++n) expected += text.substr(0, n) + '|' + std::string(n, '=') + text + "!ab--";
    ExpectWritten(expected, [&](auto& out) {
        Doc::Writer writer(out);
        for (unsigned long n = 0; n < text.size(); ++n) {
            writer.Put(text.data(), n);
            writer.Put('|');
            writer.Fill('=', n);
            writer.PutPiece(48, [&](auto& to) { to.Put(CString(text.data(), 43)), to.Put('!'), to.Put("ab"), to.Fill('-', 2); });
        }
        EXPECT_TRUE(writer.Finish());
    });
}

TEST(OStream, FillsAndCopiesAnyNumberAndTellsHowFarItCame) {
    std::string const text(700, 'x');
    ExpectWritten("==x" + text, [&](auto& out) {
        PieceStream source("xx" + text, Io::EOL_LF, 16);
        EXPECT_TRUE(out.Fill('=', 2, nullptr) && source.GetChar() == 'x' && out.Copy(source));
    });
    PieceStream full("", Io::EOL_LF, 8), source("text"), good(""), none("", Io::EOL_LF, 0);
    EXPECT_TRUE(good.Copy(source) && good.transport.written == "text"); // flushed
    full.transport.capacity = 16;
    unsigned long done = 0;
    EXPECT_FALSE(full.Fill('=', 100, &done));
    EXPECT_EQ(done, 24u); // 16 gone out, 8 in the block
    EXPECT_FALSE(full.Copy(source) || good.Copy(full));
    EXPECT_TRUE(good.Ok() && !good.Copy(good));            // one block
    EXPECT_FALSE(none.Fill('=', 1, nullptr) || none.Ok()); // there is no block
}

} // namespace
