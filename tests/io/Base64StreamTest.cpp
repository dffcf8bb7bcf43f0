#include "zeb/core/Base64.h"
#include "zeb/core/Buffer.h"
#include "zeb/io/StringStream.h"

#include <gtest/gtest.h>
#include <string>

namespace {

struct ResultT {
    bool ok;
    std::string text;
    Io::Stateful::StateT inState;
    bool operator==(ResultT const&) const = default;
};

template<bool (*Run)(Io::IStream&, Io::OStream&, Base64::FormatT)>
ResultT Through(std::string const& text, Base64::FormatT format, unsigned long bufferSize) {
    Io::StringStream in(text.data(), text.size(), Io::MODE_READ, Io::EOL_LF, bufferSize);
    Io::StringStream out(CString::Nil(), Io::MODE_READ_WRITE, Io::EOL_LF, bufferSize);
    bool const ok = Run(in, out, format);
    EXPECT_TRUE(out.Flush());
    return {ok, std::string(out.Str().Cstr(), out.Str().Size()), in.CurrentState()};
}

constexpr Io::Stateful::StateT OK = Io::Stateful::STATE_OK, INVALID = Io::Stateful::STATE_INVALID;

} // namespace

TEST(Base64StreamTest, ReadsBlocksAcrossTheEndsOfTheBuffer) {
    std::string data;
    for (unsigned long size = 0; size < 40; ++size, data += static_cast<char>(size * 77)) {
        for (Base64::FormatT const format : {Base64::STANDARD, Base64::URL}) {
            String expected;
            ASSERT_TRUE(Base64::EncodeToString(CBuffer(data.data(), size), expected, format).Succeeded());
            for (unsigned long const bufferSize : {1, 2, 3, 5, 7, 4096}) {
                ResultT const encoded = Through<Base64::Encode>(data, format, bufferSize);
                EXPECT_EQ(encoded, (ResultT{true, expected.Cstr(), OK})) << size << '/' << bufferSize;
                EXPECT_EQ(Through<Base64::Decode>(encoded.text, format, bufferSize),
                          (ResultT{true, data, OK}));
            }
        }
    }
}

TEST(Base64StreamTest, TextInErrorIsInvalidInput) {
    struct {
        char const* text;
        ResultT result;
    } const rows[] = {{"Zm9v Zg==\n", {true, "foof", OK}},
                      {"Zm9v!Zm9v", {false, "foo", INVALID}},
                      {"Zm9vZ", {false, "foo", INVALID}},
                      {"\xff", {false, "", INVALID}}};
    for (auto const& row : rows)
        EXPECT_EQ(Through<Base64::Decode>(row.text, Base64::STANDARD, 3), row.result) << row.text;
}

TEST(Base64StreamTest, AStreamThatHasFailedFailsTheWork) {
    for (auto const run : {Base64::Encode, Base64::Decode}) {
        for (bool const input : {true, false}) {
            Io::StringStream in("Zm9v"), out;
            (input ? in : out).SetState(Io::Stateful::STATE_TIMEOUT);
            EXPECT_FALSE(run(in, out, Base64::STANDARD));
            EXPECT_EQ(out.Str(), "");
        }
    }
}
