#include "tests/io/Transports.h"
#include "tests/support/Heap.h"
#include "zeb/io/Memory.h"

#include <gtest/gtest.h>

namespace {

TEST(Buffer, ReadGivesAtMostOneBlockAndTheEndOnceBeforeItFails) {
    for (unsigned long const ask : {3UL, 8UL, 100UL}) {
        DirectStream stream({"abcdefghijkl"}, Io::EOL_LF, 8);
        char data[100];
        unsigned long done = 9;
        EXPECT_TRUE(stream.Read(data, 0, done));
        EXPECT_EQ(done, 0u);
        std::string all;
        while (stream.Read(data, ask, done) && done > 0) {
            EXPECT_LE(done, std::min(ask, 8UL));
            all.append(data, done);
        }
        EXPECT_EQ(all, "abcdefghijkl");
        EXPECT_TRUE(stream.Ok());
        EXPECT_TRUE(stream.Eos());
        EXPECT_FALSE(stream.Read(data, ask, done));
        EXPECT_EQ(stream.CurrentState(), Io::Stateful::STATE_EOS);
    }
}

TEST(Buffer, ReadAllTakesExactlyWhatIsAskedInEveryCut) {
    std::string text(1000, ' ');
    for (unsigned long i = 0; i < text.size(); ++i)
        text[i] = static_cast<char>('a' + i % 26);
    ForEveryStream(text, Io::EOL_LF, [&](Io::IStream& stream) {
        std::string got;
        for (unsigned long const size : {1UL, 500UL, 3UL, 400UL, 96UL}) {
            std::string part(size, '\0');
            EXPECT_TRUE(stream.ReadAll(part.data(), size));
            EXPECT_TRUE(
                stream.PutBack('?')); // what was read may be put back, also when it went past the block
            EXPECT_EQ(stream.GetChar(), '?');
            got += part;
        }
        EXPECT_EQ(got, text);
        char more;
        EXPECT_FALSE(stream.ReadAll(&more, 1));
        EXPECT_EQ(stream.CurrentState(), Io::Stateful::STATE_EOS);
    });
}

TEST(Buffer, CharactersAreSignedAndEndWith256) {
    ForEveryStream("a\x80\xff", Io::EOL_LF, [](Io::IStream& stream) {
        EXPECT_EQ(stream.GetChar(), 'a');
        EXPECT_EQ(stream.GetChar(), -128);
        EXPECT_EQ(stream.GetChar(), -1);
        EXPECT_TRUE(stream.PutBack('z')); // need not be what was read
        EXPECT_FALSE(stream.Eos());
        EXPECT_EQ(stream.GetChar(), 'z');
        EXPECT_EQ(stream.GetChar(), 256);
        EXPECT_TRUE(stream.Ok());
        EXPECT_EQ(stream.GetChar(), 256);
        EXPECT_EQ(stream.CurrentState(), Io::Stateful::STATE_EOS);
    });
}

TEST(Buffer, PutBackAndSkipStayInsideTheBlock) {
    DirectStream start({"ab"});
    EXPECT_FALSE(start.PutBack('x'));
    EXPECT_EQ(start.CurrentState(), Io::Stateful::STATE_FAILED);

    DirectStream stream({"abcd"});
    EXPECT_TRUE(stream.buffer.Fill());
    EXPECT_EQ(std::string(stream.buffer.GPos(), stream.buffer.GEnd()), "abcd");
    EXPECT_TRUE(stream.buffer.GSkip(3));
    EXPECT_TRUE(stream.buffer.Fill()); // nothing while a byte is unread
    EXPECT_EQ(stream.buffer.GCount(), 1u);
    EXPECT_FALSE(stream.buffer.GSkip(2));
    EXPECT_EQ(stream.CurrentState(), Io::Stateful::STATE_FAILED);
}

TEST(Buffer, ReadAheadAndPendingOutputNeverCoexist) {
    DirectStream stream({"abcdef", "gh"}, Io::EOL_LF, 16);
    EXPECT_EQ(stream.GetChar(), 'a');
    // While input is unread there is no place to write, and nothing can be committed.
    EXPECT_EQ(stream.buffer.PFree(), 0u);
    EXPECT_EQ(stream.buffer.PPos(), stream.buffer.PEnd());
    EXPECT_TRUE(stream.buffer.PSkip(0));
    EXPECT_EQ(stream.buffer.PCount(), 0u);
    EXPECT_TRUE(stream.PutChar('1')); // drops the input
    EXPECT_EQ(stream.buffer.GCount(), 0u);
    EXPECT_EQ(stream.GetChar(), 'g'); // writes the output
    EXPECT_EQ(stream.transport.written, "1");
    EXPECT_EQ(stream.buffer.PCount(), 0u);
    EXPECT_TRUE(stream.Flush());
    EXPECT_EQ(stream.GetChar(), 256);

    // Each reader flushes first.
    using Reader = void (*)(Io::Buffer&);
    Reader const readers[] = {
        [](Io::Buffer& b) { (void)b.PutBack('x'); },
        [](Io::Buffer& b) { (void)b.Fill(); },
        [](Io::Buffer& b) { (void)b.GSkip(0); },
        [](Io::Buffer& b) {
            unsigned long done;
            char c;
            (void)b.Read(&c, 1, done);
        },
    };
    for (Reader const reader : readers) {
        DirectStream other({"input"});
        other << "out";
        reader(other.buffer);
        EXPECT_EQ(other.transport.written, "out");
    }
}

TEST(Buffer, WritesInPlaceAreCommittedAndCut) {
    DirectStream stream({}, Io::EOL_LF, 8);
    Io::Buffer& buffer = stream.buffer;
    memcpy(buffer.PPos(), "abcdef", 6);
    EXPECT_TRUE(buffer.PSkip(6));
    EXPECT_EQ(buffer.PFree(), 2u);
    EXPECT_TRUE(buffer.PTruncate(4));
    EXPECT_EQ(buffer.PCount(), 4u);
    EXPECT_FALSE(buffer.PTruncate(5));
    EXPECT_EQ(stream.CurrentState(), Io::Stateful::STATE_FAILED);
    EXPECT_FALSE(buffer.PSkip(1));
    stream.ClearState_();
    EXPECT_FALSE(buffer.PSkip(5));
    stream.ClearState_();
    EXPECT_TRUE(buffer.SysFlush());
    EXPECT_EQ(stream.transport.written, "abcd");
    EXPECT_EQ(stream.transport.flushes, 1);
}

TEST(Buffer, WriteTakesWhatFitsAndWriteAllGoesPastTheBlockWhenItIsLarge) {
    DirectStream stream({}, Io::EOL_LF, 8);
    unsigned long done = 0;
    EXPECT_TRUE(stream.buffer.Write("0123456789", 10, done));
    EXPECT_EQ(done, 8u);
    EXPECT_TRUE(stream.buffer.Write("89", 2, done));
    EXPECT_EQ(done, 2u);
    EXPECT_TRUE(stream.WriteAll(std::string(100, 'x').data(), 100));
    EXPECT_TRUE(stream.Flush());
    EXPECT_EQ(stream.transport.written, "0123456789" + std::string(100, 'x'));
    EXPECT_EQ(stream.transport.writes, (std::vector<unsigned long>{8, 8, 94}));
}

TEST(Buffer, AFailedFlushKeepsWhatIsPending) {
    DirectStream stream({}, Io::EOL_LF, 8);
    stream.transport.capacity = 5;
    stream << "abcdefgh";
    EXPECT_FALSE(stream.Flush());
    EXPECT_EQ(stream.buffer.PCount(), 3u);
    EXPECT_FALSE(stream.PutChar('i'));
    stream.transport.capacity = 100;
    EXPECT_FALSE(stream.Flush()); // the failure stands
    stream.ClearState_();
    EXPECT_TRUE(stream.Flush());
    EXPECT_EQ(stream.transport.written, "abcdefgh");
}

TEST(Buffer, WithoutABlockEverythingFails) {
    using Use = bool (*)(Io::Buffer&);
    Use const uses[] = {
        [](Io::Buffer& b) {
            char c;
            unsigned long done;
            return b.Read(&c, 1, done);
        },
        [](Io::Buffer& b) {
            char c;
            return b.ReadAll(&c, 1);
        },
        [](Io::Buffer& b) { return b.GetChar() != 256; },
        [](Io::Buffer& b) { return b.PutBack('c'); },
        [](Io::Buffer& b) { return b.Fill(); },
        [](Io::Buffer& b) { return b.GSkip(1); },
        [](Io::Buffer& b) { return b.PutChar('c'); },
        [](Io::Buffer& b) { return b.PSkip(1); },
        [](Io::Buffer& b) { return b.WriteAll("c", 1); },
    };
    for (Use const use : uses) {
        DirectStream stream({"input"});
        stream.buffer.Set(nullptr, 0);
        EXPECT_FALSE(use(stream.buffer));
        EXPECT_EQ(stream.CurrentState(), Io::Stateful::STATE_FAILED);
    }
}

TEST(WrapperTransport, SharesTheEndOfStreamFlag) {
    DirectStream stream({});
    class Wrapper : public Io::Base {
    public:
        using Base::Base;
        explicit Wrapper(Io::Base& other)
            : Base(other) {}
        bool SysRead(void*, unsigned long, unsigned long&) override { return false; }
        bool SysWrite(void const*, unsigned long, unsigned long&) override { return false; }
        bool SysFlush() override { return false; }
    } wrapper(stream.transport);
    Io::Buffer over(wrapper, stream);
    EXPECT_FALSE(wrapper.IReady());
    wrapper.SetEos();
    EXPECT_TRUE(stream.transport.Eos());
    over.ClearEos();
    EXPECT_FALSE(stream.transport.Eos());
}

TEST(Memory, GivesTheBlocksOfItsModeAndHoldsNothingAfterAFailure) {
    struct {
        Io::ModeT mode;
        bool shared;
        bool input, output;
    } const rows[] = {
        {Io::MODE_READ_WRITE, true, true, true},  {Io::MODE_READ, true, true, true},
        {Io::MODE_READ, false, true, false},      {Io::MODE_WRITE, false, false, true},
        {Io::MODE_READ_WRITE, false, true, true},
    };
    for (auto const& row : rows) {
        ForEveryAllocation([&](Heap& heap) {
            DirectStream stream({});
            Io::Buffer in(stream.transport, stream);
            Io::Buffer out(stream.transport, stream);
            Io::Memory memory(16, row.mode, stream, in, row.shared ? in : out);
            heap.Arm();
            bool ok = memory.Allocate();
            ok = ok && memory.Allocate(); // replaces what is held
            heap.Disarm();
            EXPECT_EQ(ok, !heap.Fired());
            EXPECT_EQ(in.PEnd() != nullptr, ok && row.input);
            EXPECT_EQ((row.shared ? in : out).PEnd() != nullptr, ok && row.output);
            EXPECT_EQ(stream.CurrentState(), ok ? Io::Stateful::STATE_OK : Io::Stateful::STATE_NO_MEMORY);
            EXPECT_EQ(heap.Fired() && memory.Allocate(), false); // not on a failed object
        });
    }
    DirectStream stream({});
    Io::ModeT const none = Io::MODE_PRIORITY;
    Io::Memory memory(16, none, stream, stream.buffer, stream.buffer);
    EXPECT_FALSE(memory.Allocate());
    EXPECT_EQ(stream.CurrentState(), Io::Stateful::STATE_FAILED);
}

} // namespace
