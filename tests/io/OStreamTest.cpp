#include "tests/io/Transports.h"
#include "tests/support/Heap.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

template<class T>
using Limits = std::numeric_limits<T>;

// What `write` sends through blocks of several sizes, transports of several steps, and both kinds of buffer.
template<class Write>
void ExpectWritten(std::string const& expected, Write write, Io::EndOfLineT eol = Io::EOL_LF) {
    for (unsigned long const size : {1UL, 3UL, 16UL, 4096UL}) {
        for (unsigned long const step : {1UL, 5UL, ULONG_MAX}) {
            SCOPED_TRACE("block " + std::to_string(size) + " step " + std::to_string(step));
            auto const check = [&](auto& stream) {
                stream.transport.step = step;
                write(static_cast<Io::OStream&>(stream));
                EXPECT_TRUE(stream.Flush());
                EXPECT_EQ(stream.transport.written, expected);
            };
            check(*std::make_unique<DirectStream>(FeedT{}, eol, size));
            check(*std::make_unique<PieceStream<PlainBuffer>>(FeedT{}, eol, size));
        }
    }
}

TEST(OStream, PrintsNumbersOfEveryWidth) {
    ExpectWritten("-32768 65535 -2147483648 4294967295 -9223372036854775808 18446744073709551615 0",
                  [](Io::OStream& out) {
                      out << Limits<short>::min() << ' ' << Limits<unsigned short>::max() << ' '
                          << Limits<int>::min() << ' ' << Limits<unsigned int>::max() << ' '
                          << Limits<long>::min() << ' ' << Limits<unsigned long long>::max() << ' ' << 0;
                  });
    ExpectWritten("ff ffffffffffffffff 8000000000000000 ffffffffffffffff 255", [](Io::OStream& out) {
        out.Hex() << 255U << ' ' << -1 << ' ' << Limits<long long>::min() << ' '
                  << Limits<unsigned long>::max();
        out.Dec() << ' ' << 255U;
    });
}

TEST(OStream, SettingsApplyToAllTextUntilChanged) {
    ExpectWritten("00042|000-7|00abc|123456|", [](Io::OStream& out) {
        out.Width(5).Fill('0').Right();
        for (char const* text : {"42", "-7", "abc", "123456"}) {
            out << text;
            (void)out.PutChar('|'); // not formatted
        }
    });
    ExpectWritten("ab...|CD...|ef...|beef.", [](Io::OStream& out) {
        out.Width(5).Fill('.').Left() << "ab";
        (void)out.PutChar('|');
        out.Upper() << "cd";
        (void)out.PutChar('|');
        out.Lower() << CString("EF");
        out.Width(0).AnyCase() << '|';
        out.Width(5).Hex() << 0xBEEF;
    });
    std::string const mixed = "aB1-" + std::string(40, 'q') + "zZ" + std::string(40, 'R') + "\xe4";
    ExpectWritten("AB1-" + std::string(40, 'Q') + "ZZ" + std::string(40, 'R') + "\xe4",
                  [&](Io::OStream& out) { out.Upper() << mixed.c_str(); });
    ExpectWritten("", [](Io::OStream& out) { out << static_cast<char const*>(nullptr) << CString(); });
}

TEST(OStream, EndsLinesByItsRule) {
    for (auto const& [eol, end] : {std::pair{Io::EOL_LF, "\n"},
                                   {Io::EOL_CRLF, "\r\n"},
                                   {Io::EOL_ANY_LF, "\n"},
                                   {Io::EOL_ANY_CRLF, "\r\n"}}) {
        ExpectWritten(
            "a" + std::string(end), [](Io::OStream& out) { out << "a" << Io::Endl; }, eol);
    }
    DirectStream stream({});
    stream << "lazy" << Io::Endl;
    EXPECT_EQ(stream.transport.written, "");
    stream.LazyEndl(false) << Io::Endl;
    EXPECT_EQ(stream.transport.written, "lazy\n\n");
    // The laziness is that of the object, all else that of the root.
    DirectStream wrapper({}, Io::EOL_CRLF);
    wrapper.Attach(&stream);
    wrapper << "x" << Io::Endl;
    EXPECT_EQ(stream.buffer.PCount(), 2u);
}

TEST(OStream, FillsAnyNumberAndTellsHowFarItCame) {
    ExpectWritten(std::string(100, '='), [](Io::OStream& out) {
        unsigned long done = 0;
        EXPECT_TRUE(out.Fill('=', 100, &done));
        EXPECT_EQ(done, 100u);
        EXPECT_TRUE(out.Fill('=', 0, nullptr));
    });
    DirectStream stream({}, Io::EOL_LF, 8);
    stream.transport.capacity = 16;
    unsigned long done = 0;
    EXPECT_FALSE(stream.Fill('=', 100, &done));
    EXPECT_EQ(done, 24u); // 16 gone out, 8 in the block
    EXPECT_EQ(stream.transport.written, std::string(16, '='));
}

TEST(OStream, CopiesTheRestOfAnotherStream) {
    std::string text;
    for (int i = 0; i < 1000; ++i)
        text += std::to_string(i);
    ForEveryFeed(text, [&](FeedT const& pieces) {
        for (unsigned long const from : {1UL, 16UL, 4096UL}) {
            ExpectWritten(text, [&](Io::OStream& out) {
                DirectStream source(pieces, Io::EOL_LF, from);
                EXPECT_EQ(source.GetChar(), '0');
                out << '0';
                EXPECT_TRUE(out.Copy(source));
                EXPECT_TRUE(source.Eos());
            });
            if (pieces.size() > 100) return; // small pieces take their time
        }
    });
    DirectStream source({"abcdef"});
    DirectStream full({}, Io::EOL_LF, 2);
    full.transport.capacity = 4;
    EXPECT_FALSE(full.Copy(source));
    EXPECT_EQ(full.transport.written, "abcd");
    source.SetState(Io::Stateful::STATE_RESET);
    DirectStream good({});
    EXPECT_FALSE(good.Copy(source));
    EXPECT_TRUE(good.Ok());
}

TEST(OStream, WithoutABlockOrOnAFailedObjectWritesNothing) {
    DirectStream source({"abc"});
    using Write = void (*)(Io::OStream&, Io::IStream&);
    Write const writes[] = {
        [](Io::OStream& out, Io::IStream&) { out << "text"; },
        [](Io::OStream& out, Io::IStream&) { out << 42; },
        [](Io::OStream& out, Io::IStream&) { out << Io::Endl; },
        [](Io::OStream& out, Io::IStream&) { EXPECT_FALSE(out.Fill(' ', 3, nullptr)); },
        [](Io::OStream& out, Io::IStream& in) { EXPECT_FALSE(out.Copy(in)); },
    };
    for (Write const write : writes) {
        DirectStream none({}, Io::EOL_LF, 0);
        write(none, source);
        EXPECT_EQ(none.CurrentState(), Io::Stateful::STATE_FAILED);
        DirectStream failed({});
        failed << "kept";
        failed.SetState(Io::Stateful::STATE_TIMEOUT);
        write(failed, source);
        EXPECT_EQ(failed.CurrentState(), Io::Stateful::STATE_TIMEOUT);
        EXPECT_EQ(failed.buffer.PCount(), 4u);
    }
}

TEST(OStream, FormattingAllocatesNothing) {
    DirectStream stream({});
    Footprint footprint;
    stream.Width(30).Upper().Hex() << -1L << "text" << Io::Endl;
    EXPECT_EQ(footprint.Allocations(), 0u);
}

} // namespace
