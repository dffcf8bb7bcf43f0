#include "tests/io/Transports.h"
#include "zeb/core/Base64.h"
#include "zeb/stream/StringStream.h"

namespace {

TEST(Base64Stream, ReadsBlocksAcrossTheEndsOfTheBufferAndRefusesOtherText) {
    for (std::string data; data.size() < 40; data += static_cast<char>(data.size() * 77))
        for (unsigned long const block : {1, 2, 3, 7, 4096}) {
            Io::StringStream in(data.data(), data.size(), Io::MODE_READ, Io::EOL_LF, block), out;
            Io::StringStream text("", Io::MODE_READ_WRITE, Io::EOL_LF, block);
            EXPECT_TRUE(Base64::Encode(in, text, Base64::STANDARD) && text.Seek(0));
            EXPECT_EQ(SizeOf(text), ssize(data + "  ") / 3 * 4);
            EXPECT_TRUE(Base64::Decode(text, out, Base64::STANDARD) && out.Flush());
            EXPECT_EQ(Text(out.Str()), data);
        }
    for (auto const text : {"Zm9v!Zm9v", "Zm9vZ"}) {
        Io::StringStream in(text), out;
        EXPECT_FALSE(Base64::Decode(in, out, Base64::STANDARD) || Base64::Encode(in, out, Base64::URL));
        EXPECT_EQ(in.CurrentState(), Stateful::STATE_INVALID);
    }
}

} // namespace
