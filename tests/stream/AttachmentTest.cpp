#include "tests/io/Transports.h"

namespace {

TEST(Attachment, AnAliasWorksOnTheRootAndLeavesItsOwnParts) {
    for (bool const made : {true, false}) { // attached by the constructor, or at the end of a chain
        PieceStream root("12 ab\r\ncd", Io::EOL_CRLF, 16), middle("own"), other("own");
        Io::Stream made_of(root, other.buffer, other.buffer, other.eol, other.mode),
            chained(other.buffer, other.buffer, other.eol, other.mode);
        root.mode = Io::MODE_READ;
        middle.Attach(&root);
        chained.Attach(&middle);
        Io::Stream& alias = made ? made_of : chained;
        int number = 0;
        String line;
        alias >> number;
        EXPECT_TRUE(alias.Skip(" ", nullptr) && alias.ReadLine(line) && root.ReadLine(line) && alias.Eos());
        EXPECT_EQ(std::to_string(number) + Text(line), "12cd");
        EXPECT_EQ(uint32_t{alias.Eol()} + alias.Mode(), uint32_t{Io::EOL_CRLF} + Io::MODE_READ);
        alias.Width(5).Fill('0').Right().Hex().Upper() << 0xab;
        root << "x" << Io::Endl;
        EXPECT_EQ(root.transport.written, "");
        alias.LazyEndl(false) << Io::Endl; // this one belongs to the object
        EXPECT_EQ(root.transport.written, "000AB0000X\r\n\r\n");
        EXPECT_TRUE(root.IsLazyEndl() && alias.IsEndlCrlf());
        alias.SetState(Stateful::STATE_TIMEOUT);
        EXPECT_FALSE(root.Ok() || alias.Ok() || alias.GetChar() != 256);
        alias.Attach(&alias);
        EXPECT_TRUE(alias.Ok() && alias.GetChar() == 'o' && other.transport.written.empty());
    }
}

} // namespace
