#include "tests/io/Transports.h"
#include "tests/support/Heap.h"
#include "zeb/io/Memory.h"

namespace {

using Io::Stateful;

TEST(Buffer, ReadGivesAtMostOneBlockAndTheEndOnceBeforeItFails) {
    for (unsigned long const ask : {3UL, 8UL, 100UL}) {
        DirectStream stream({"abcdefghijkl"}, Io::EOL_LF, 8);
        char data[100];
        unsigned long done = 9;
        EXPECT_TRUE(stream.Read(data, 0, done));
        std::string all;
        while (stream.Read(data, ask, done) && done > 0 && done <= std::min(ask, 8UL))
            all.append(data, done);
        EXPECT_EQ(all, "abcdefghijkl");
        EXPECT_TRUE(stream.Ok() && stream.Eos() && !stream.Read(data, ask, done));
        EXPECT_EQ(stream.CurrentState(), Stateful::STATE_EOS);
    }
}

TEST(Buffer, ReadAllTakesExactlyWhatIsAskedInEveryCut) {
    std::string text(1000, ' ');
    std::generate(text.begin(), text.end(), [c = 0]() mutable { return static_cast<char>('a' + c++ % 26); });
    ForEveryStream(text, Io::EOL_LF, [&](Io::IStream& stream) {
        std::string got;
        for (unsigned long const size : {1UL, 500UL, 3UL, 496UL}) {
            std::string part(size, '\0');
            EXPECT_TRUE(stream.ReadAll(part.data(), size));
            EXPECT_TRUE(stream.PutBack('?')); // also when the read went past the block
            EXPECT_EQ(stream.GetChar(), '?');
            got += part;
        }
        EXPECT_EQ(got, text);
        EXPECT_FALSE(stream.ReadAll(got.data(), 1));
        EXPECT_EQ(stream.CurrentState(), Stateful::STATE_EOS);
    });
    ForEveryStream("a\x80\xff", Io::EOL_LF, [](Io::IStream& stream) {
        for (int const c : {int{'a'}, -128, -1, 256, 256}) { // signed, and the end once before it fails
            EXPECT_TRUE(stream.Ok());
            EXPECT_EQ(stream.GetChar(), c);
        }
        EXPECT_EQ(stream.CurrentState(), Stateful::STATE_EOS);
    });
}

TEST(Buffer, ReadAheadAndPendingOutputNeverCoexist) {
    DirectStream stream({"abcdef", "gh"}, Io::EOL_LF, 16);
    EXPECT_EQ(stream.GetChar(), 'a');
    // While input is unread there is no place to write.
    EXPECT_EQ(stream.buffer.PFree() + stream.buffer.PCount(), 0u);
    EXPECT_EQ(stream.buffer.PPos(), stream.buffer.PEnd());
    EXPECT_TRUE(stream.buffer.PSkip(0) && stream.PutChar('1')); // drops the input
    EXPECT_EQ(stream.GetChar(), 'g');                           // writes the output
    EXPECT_EQ(stream.transport.written, "1");
    EXPECT_TRUE(stream.Flush());
    EXPECT_EQ(stream.GetChar(), 256);
    for (int reader = 0; reader < 3; ++reader) { // each flushes first
        DirectStream other({"input"});
        Io::Buffer& buffer = other.buffer;
        other << "out";
        (void)(reader == 0 ? buffer.PutBack('x') : reader == 1 ? buffer.Fill() : buffer.GSkip(0));
        EXPECT_EQ(other.transport.written, "out");
    }
}

TEST(Buffer, WhatIsOutsideOfTheBlockFailsAndChangesNothing) {
    DirectStream stream({"abcd"}, Io::EOL_LF, 8);
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
    EXPECT_TRUE(fails(buffer.PTruncate(5)) && fails(buffer.PSkip(5)));
    EXPECT_TRUE(buffer.SysFlush());
    EXPECT_EQ(stream.transport.written, "efgh");
    EXPECT_EQ(stream.transport.flushes, 1);
    buffer.Set(nullptr, 0); // no block at all
    EXPECT_TRUE(fails(buffer.GetChar() != 256) && fails(buffer.Fill()));
    EXPECT_TRUE(fails(buffer.PutChar('c')) && fails(buffer.WriteAll("c", 1)));
}

TEST(Buffer, WriteAllGoesPastTheBlockWhenItIsLargeAndAFailedFlushKeepsWhatIsPending) {
    DirectStream stream({}, Io::EOL_LF, 8);
    unsigned long done = 0;
    EXPECT_TRUE(stream.buffer.Write("0123456789", 10, done));
    EXPECT_EQ(done, 8u);
    EXPECT_TRUE(stream.WriteAll("89", 2) && stream.WriteAll(std::string(100, 'x').data(), 100));
    EXPECT_TRUE(stream.Flush());
    EXPECT_EQ(stream.transport.written, "0123456789" + std::string(100, 'x'));
    EXPECT_EQ(stream.transport.writes, (std::vector<unsigned long>{8, 8, 94}));
    stream.transport.capacity = 115;
    stream << "abcdefgh";
    EXPECT_FALSE(stream.Flush() || stream.PutChar('i'));
    stream.transport.capacity = 200;
    EXPECT_FALSE(stream.Flush()); // the failure stands
    stream.ClearState_();
    EXPECT_EQ(stream.buffer.PCount(), 3u);
    EXPECT_TRUE(stream.Flush());
    EXPECT_EQ(stream.transport.written.substr(110), "abcdefgh");
}

TEST(Memory, GivesTheBlocksOfItsModeAndHoldsNothingAfterAFailure) {
    for (Io::ModeT const mode : {Io::MODE_READ, Io::MODE_WRITE, Io::MODE_READ_WRITE, Io::MODE_PRIORITY}) {
        for (bool const shared : {false, true}) {
            bool const none = mode == Io::MODE_PRIORITY;
            auto const body = [&](Heap& heap) {
                DirectStream stream({});
                Io::Buffer in(stream.transport, stream), out(stream.transport, stream);
                Io::Memory memory(16, mode, stream, in, shared ? in : out);
                heap.Arm();
                bool const ok = memory.Allocate() && memory.Allocate(); // the second replaces what is held
                heap.Disarm();
                EXPECT_EQ(ok, !heap.Fired() && !none);
                EXPECT_EQ(in.PEnd() != nullptr, ok && (shared || mode != Io::MODE_WRITE));
                EXPECT_EQ(out.PEnd() != nullptr, ok && !shared && mode != Io::MODE_READ);
                Stateful::StateT const failure = none ? Stateful::STATE_FAILED : Stateful::STATE_NO_MEMORY;
                EXPECT_EQ(stream.CurrentState(), ok ? Stateful::STATE_OK : failure);
            };
            Heap idle;
            none ? body(idle) : ForEveryAllocation(body);
        }
    }
}

} // namespace
