#include "tests/io/Transports.h"
#include "tests/support/Heap.h"

#include <limits>

namespace {

template<class T>
using Limits = std::numeric_limits<T>;

// What `write` sends through blocks of several sizes, transports of several steps, and both kinds of buffer.
template<class Write>
void ExpectWritten(std::string const& expected, Write write, Io::EndOfLineT eol = Io::EOL_LF) {
    for (unsigned long const size : {1UL, 3UL, 16UL, 4096UL}) {
        for (unsigned long const step : {1UL, 5UL, ULONG_MAX}) {
            auto const check = [&](auto& stream) {
                stream.transport.step = step;
                write(static_cast<Io::OStream&>(stream));
                EXPECT_TRUE(stream.Flush());
                EXPECT_EQ(stream.transport.written, expected) << "block " << size << " step " << step;
            };
            check(*std::make_unique<DirectStream>(FeedT{}, eol, size));
            check(*std::make_unique<PieceStream<PlainBuffer>>(FeedT{}, eol, size));
        }
    }
}

TEST(OStream, PrintsNumbersAndTextByItsStickySettings) {
    ExpectWritten("-32768 65535 -2147483648 4294967295 18446744073709551615 0", [](auto& out) {
        out << Limits<short>::min() << ' ' << Limits<unsigned short>::max() << ' ' << Limits<int>::min()
            << ' ';
        out << Limits<unsigned int>::max() << ' ' << ~0ULL << ' ' << 0;
    });
    ExpectWritten("ff ffffffffffffffff 8000000000000000 255", [](auto& out) {
        out.Hex() << 255U << ' ' << -1 << ' ' << Limits<long long>::min() << ' ';
        out.Dec() << 255UL;
    });
    ExpectWritten("00042|00abc|123456|ab...CD...ef...beef.", [](auto& out) {
        out.Width(5).Fill('0').Right();
        for (char const* text : {"42", "abc", "123456"}) {
            out << text;
            EXPECT_TRUE(out.PutChar('|')); // not formatted
        }
        out.Fill('.').Left() << "ab";
        out.Upper() << "cd";
        out.Lower() << CString("EF");
        out.AnyCase().Hex() << 0xBEEF;
    });
    std::string const q(40, 'q'), r(40, 'R'), mixed = "aB1-" + q + "zZ" + r + "\xe4";
    ExpectWritten("AB1-" + std::string(40, 'Q') + "ZZ" + r + "\xe4",
                  [&](auto& out) { out.Upper() << mixed.c_str(); });
    DirectStream stream({});
    Footprint footprint;
    stream.Width(30).Upper().Hex() << -1L << "text" << Io::Endl;
    EXPECT_EQ(footprint.Allocations(), 0u);
}

TEST(OStream, EndsLinesByItsRule) {
    auto const line = [](auto& out) { out << "a" << Io::Endl; };
    for (Io::EndOfLineT const eol : {Io::EOL_LF, Io::EOL_CRLF, Io::EOL_ANY_LF, Io::EOL_ANY_CRLF})
        ExpectWritten(eol == Io::EOL_CRLF || eol == Io::EOL_ANY_CRLF ? "a\r\n" : "a\n", line, eol);
    DirectStream stream({}), wrapper({}, Io::EOL_CRLF);
    stream << "lazy" << Io::Endl;
    EXPECT_EQ(stream.transport.written, "");
    stream.LazyEndl(false) << Io::Endl;
    EXPECT_EQ(stream.transport.written, "lazy\n\n");
    wrapper.Attach(&stream); // the laziness is that of the object, all else that of the root
    wrapper << "x" << Io::Endl;
    EXPECT_EQ(stream.buffer.PCount(), 2u);
}

TEST(OStream, FillsAndCopiesAnyNumberAndTellsHowFarItCame) {
    ExpectWritten(std::string(100, '='), [](auto& out) {
        unsigned long done = 0;
        EXPECT_TRUE(out.Fill('=', 100, &done) && out.Fill('=', 0, nullptr));
        EXPECT_EQ(done, 100u);
    });
    std::string text;
    for (int i = 0; i < 200; ++i)
        text += std::to_string(i);
    FeedT const pieces = {std::string_view(text).substr(0, 7), std::string_view(text).substr(7)};
    for (unsigned long const from : {1UL, 16UL, 4096UL}) {
        ExpectWritten(text, [&](auto& out) {
            DirectStream source(pieces, Io::EOL_LF, from);
            out << static_cast<char>(source.GetChar());
            EXPECT_TRUE(out.Copy(source) && source.Eos());
        });
    }
    DirectStream full({}, Io::EOL_LF, 8), source({text}), good({});
    full.transport.capacity = 16;
    unsigned long done = 0;
    EXPECT_FALSE(full.Fill('=', 100, &done));
    EXPECT_EQ(done, 24u); // 16 gone out, 8 in the block
    EXPECT_FALSE(full.Copy(source));
    source.SetState(Io::Stateful::STATE_RESET);
    EXPECT_FALSE(good.Copy(source));
    EXPECT_TRUE(good.Ok());
}

TEST(OStream, WithoutABlockOrOnAFailedObjectWritesNothing) {
    for (int kind = 0; kind < 4; ++kind) {
        DirectStream none({}, Io::EOL_LF, 0), failed({}), source({"abc"});
        none << "" << CString::Nil();
        EXPECT_TRUE(none.Ok()); // nothing to write
        failed << "kept";
        failed.SetState(Io::Stateful::STATE_TIMEOUT);
        for (DirectStream* const out : {&none, &failed}) {
            bool const done = kind == 0   ? (*out << "text").Ok()
                              : kind == 1 ? (*out << Io::Endl).Ok()
                              : kind == 2 ? out->Fill(' ', 3, nullptr)
                                          : out->Copy(source);
            EXPECT_FALSE(done) << kind;
        }
        EXPECT_EQ(none.CurrentState(), Io::Stateful::STATE_FAILED);
        EXPECT_EQ(failed.CurrentState(), Io::Stateful::STATE_TIMEOUT);
        EXPECT_EQ(failed.buffer.PCount(), 4u);
    }
}

} // namespace
