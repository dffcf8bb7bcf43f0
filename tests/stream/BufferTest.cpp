#include "tests/io/Transports.h"
#include "zeb/stream/Memory.h"

namespace {

TEST(Buffer, ReadAllGivesExactlyWhatIsAsked) {
    std::string const text = "abcdefghijklmnopqrstuvwxyz\x80\xff";
    ForEveryStream(text, Io::EOL_LF, [&](Io::IStream& stream) {
        char got[27] = {};
        for (unsigned long const end : {1UL, 16UL, 19UL, 26UL}) {
            unsigned long const from = strlen(got);
            EXPECT_TRUE(stream.ReadAll(got, 0) && stream.ReadAll(got + from, end - from));
            EXPECT_TRUE(stream.PutBack('?') && stream.GetChar() == '?'); // also when it went past the block
        }
        EXPECT_EQ(got, text.substr(0, 26));
        for (int const c : {-128, -1, 256, 256}) // signed, and the end once before it fails
            EXPECT_TRUE(stream.Ok() && stream.GetChar() == c) << c;
        EXPECT_EQ(stream.CurrentState(), Stateful::STATE_EOS);
    });
}

TEST(Buffer, ReadAheadAndPendingOutputNeverCoexist) {
    PieceStream stream("abcdefgh", Io::EOL_LF, 16, 6);
    EXPECT_EQ(stream.GetChar(), 'a');
    EXPECT_EQ(stream.buffer.PFree() + stream.buffer.PCount(), 0u);           // no place to write while input is unread
    EXPECT_TRUE(stream.buffer.PSkip(0) && stream.PutChar('1'));              // drops the input
    EXPECT_TRUE(stream.GetChar() == 'g' && stream.transport.written == "1"); // writes the output
    EXPECT_TRUE(stream.PutChar('2') && stream.PutBack('x') && stream.transport.written == "12");
    EXPECT_TRUE(stream.PutChar('3') && stream.buffer.Fill() && stream.transport.written == "123");
}

TEST(Buffer, WhatIsOutsideOfTheBlockFailsAndChangesNothing) {
    PieceStream stream("abcd", Io::EOL_LF, 8);
    Io::Buffer& buffer = stream.buffer;
    auto const fails = [&](bool result) {
        bool const failed = !result && stream.CurrentState() == Stateful::STATE_FAILED;
        stream.ClearState_();
        return failed;
    };
    EXPECT_TRUE(fails(buffer.PutBack('x'))); // at the start
    EXPECT_TRUE(buffer.Fill() && buffer.GSkip(3) && buffer.Fill());
    EXPECT_EQ(std::string(buffer.GPos(), buffer.GEnd()), "d");
    EXPECT_TRUE(fails(buffer.GSkip(2)) && fails(buffer.PSkip(1))); // while input is unread
    EXPECT_TRUE(buffer.GSkip(1));
    memcpy(buffer.PPos(), "efghij", 6);
    EXPECT_TRUE(buffer.PSkip(6) && buffer.PTruncate(4));
    EXPECT_TRUE(fails(buffer.PTruncate(5)) && fails(buffer.PSkip(5)) && buffer.SysFlush());
    EXPECT_EQ(stream.transport.written, "efgh!");
    buffer.Set(nullptr, 0); // no block at all
    EXPECT_TRUE(fails(buffer.GetChar() != 256) && fails(buffer.Fill()) && fails(buffer.WriteAll("c", 1)));
}

TEST(Buffer, WriteAllGoesPastTheBlockAndAFailedFlushKeepsWhatIsPending) {
    PieceStream stream("", Io::EOL_LF, 8);
    std::string const large(100, 'x');
    EXPECT_TRUE(stream.WriteAll("01", 2) && stream.WriteAll(large.data(), 100) && stream.Flush());
    EXPECT_EQ(stream.transport.written, "01" + large);
    stream.transport.capacity = 107;
    stream << "abcdefgh";
    EXPECT_FALSE(stream.Flush() || stream.PutChar('i') || stream.buffer.PSkip(0));
    stream.transport.capacity = 200;
    EXPECT_FALSE(stream.Flush()); // the failure stands
    stream.ClearState_();
    EXPECT_TRUE(stream.Flush());
    EXPECT_EQ(stream.transport.written, "01" + large + "abcdefgh");
}

TEST(Buffer, MemoryGivesABlockForEachDirectionOrNone) {
    for (Io::ModeT const mode : {Io::MODE_READ, Io::MODE_WRITE, Io::MODE_READ_WRITE})
        ForEveryAllocation([mode](Heap& heap) {
            PieceStream stream("");
            Io::Buffer in(stream.transport, stream), out(stream.transport, stream);
            Io::Memory memory(8, mode, stream, in, out);
            heap.Arm();
            bool const ok = memory.Allocate();
            heap.Disarm();
            EXPECT_EQ(stream.CurrentState(), heap.Fired() ? Stateful::STATE_NO_MEMORY : Stateful::STATE_OK);
            EXPECT_EQ(in.PFree() + 2 * out.PFree(), ok ? 8U * mode : 0U);
        });
}

} // namespace
