#include "tests/io/Transports.h"
#include "zeb/core/Base64.h"
#include "zeb/core/Buffer.h"
#include "zeb/io/StringStream.h"

namespace {

// The result, and the state of the input behind it.
template<bool (*Run)(Io::IStream&, Io::OStream&, Base64::FormatT)>
std::string Through(std::string const& text, Base64::FormatT format, unsigned long bufferSize) {
    Io::StringStream in(text.data(), text.size(), Io::MODE_READ, Io::EOL_LF, bufferSize);
    Io::StringStream out(CString::Nil(), Io::MODE_READ_WRITE, Io::EOL_LF, bufferSize);
    bool const done = Run(in, out, format);
    EXPECT_TRUE(out.Flush() && done == in.Ok());
    return Text(out.Str()) + "|" + in.ErrorString();
}

TEST(Base64Stream, ReadsBlocksAcrossTheEndsOfTheBuffer) {
    std::string data;
    for (unsigned long size = 0; size < 40; ++size, data += static_cast<char>(size * 77)) {
        for (Base64::FormatT const format : {Base64::STANDARD, Base64::URL}) {
            String text;
            ASSERT_TRUE(Base64::EncodeToString(CBuffer(data.data(), size), text, format).Succeeded());
            for (unsigned long const block : {1, 2, 3, 5, 7, 4096}) {
                EXPECT_EQ(Through<Base64::Encode>(data, format, block), Text(text) + "|ok") << block;
                EXPECT_EQ(Through<Base64::Decode>(Text(text), format, block), data + "|ok") << block;
            }
        }
    }
}

TEST(Base64Stream, TextInErrorIsInvalidInputAndAFailedStreamFailsTheWork) {
    std::pair<char const*, char const*> const rows[] = {{"Zm9v Zg==\n", "foof|ok"},
                                                        {"Zm9v!Zm9v", "foo|invalid input"},
                                                        {"Zm9vZ", "foo|invalid input"},
                                                        {"\xff", "|invalid input"}};
    for (auto const& [text, result] : rows)
        EXPECT_EQ(Through<Base64::Decode>(text, Base64::STANDARD, 3), result) << text;
    for (auto const run : {Base64::Encode, Base64::Decode}) {
        for (bool const input : {true, false}) {
            Io::StringStream in("Zm9v"), out;
            (input ? in : out).SetState(Io::Stateful::STATE_TIMEOUT);
            EXPECT_FALSE(run(in, out, Base64::STANDARD));
            EXPECT_EQ(out.Str(), "");
        }
    }
}

} // namespace
