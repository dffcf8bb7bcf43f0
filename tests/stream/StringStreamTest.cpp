#include "zeb/stream/StringStream.h"
#include "tests/io/Transports.h"

#include <random>

namespace {

using Io::SeekableStream, Io::StringStream;

TEST(StringStream, KeepsWhatFitsItsBound) {
    std::string const text(70000, 'x');
    for (unsigned long const block : {128UL, 100000UL}) {
        StringStream stream("", Io::MODE_READ_WRITE, Io::EOL_ANY_LF, block);
        EXPECT_FALSE(stream.WriteAll(text.data(), text.size()) && stream.Flush());
        EXPECT_EQ(std::pair(stream.CurrentState(), stream.Str().Size()), std::pair(Stateful::STATE_FAILED, 65536UL));
    }
    StringStream exact("hello!", Io::MODE_READ_WRITE, Io::EOL_ANY_LF, 128, 10);
    exact << "1234"; // over the start, and written though it were too much behind the end
    EXPECT_TRUE(exact.Truncate(8) && Text(exact.Str()) == std::string("1234o!\0", 8));
    for (long const length : {8, 3}) {
        StringStream stream("hello!", Io::MODE_READ_WRITE, Io::EOL_ANY_LF, 128, 10);
        EXPECT_TRUE(Rest(stream) == "hello!" && stream.Seek(6) && !stream.Eos());
        stream << "12345"; // more than fits
        EXPECT_TRUE(stream.Truncate(length) && Position(stream) == 11);
        EXPECT_EQ(Text(stream.Str()), std::string("hello!12").substr(0, length));
        EXPECT_FALSE(stream.PutChar('x') && stream.Flush()); // beyond the bound
    }
}

TEST(StringStream, IsAFileInMemory) {
    std::mt19937 random(7);
    for (int round = 0; round < 50; ++round) {
        StringStream stream("", Io::MODE_READ_WRITE, Io::EOL_ANY_LF, 1 + random() % 20, 1000);
        std::string twin;
        for (int step = 0; step < 200; ++step) {
            unsigned long const at = random() % 200, size = random() % 30;
            std::string part(size, static_cast<char>('a' + step % 26));
            ASSERT_TRUE(stream.Seek(static_cast<long>(at)));
            if (step % 2 == 0 && at + size <= twin.size()) { // the position stays when the text is cut
                ASSERT_TRUE(stream.ReadAll(part.data(), size));
                ASSERT_EQ(part, twin.substr(at, size));
                ASSERT_EQ(Position(stream), static_cast<long>(at + size)); // not where the read-ahead is
                twin.resize(random() % 200);
                ASSERT_TRUE(stream.Truncate(static_cast<long>(twin.size())));
            } else {
                ASSERT_TRUE(stream.WriteAll(part.data(), size));
                if (size > 0) twin.resize(std::max(twin.size(), at + size));
                twin.replace(std::min(at, twin.size()), size, part);
            }
            ASSERT_EQ(Position(stream), static_cast<long>(at + size));
            ASSERT_EQ(SizeOf(stream), static_cast<long>(twin.size())); // pending output counts
            ASSERT_TRUE(stream.Flush());
            ASSERT_EQ(Text(stream.Str()), twin);
        }
    }
}

using Use = bool (*)(SeekableStream&);
Use const EVERYTHING[] = {
    [](SeekableStream& s) { return s.WriteAll("x", 1) && s.Flush(); },
    [](SeekableStream& s) { return s.Truncate(0); },
    [](SeekableStream& s) { return s.CopyFrom(*std::make_unique<StringStream>("text")); },
    [](SeekableStream& s) { return s.Close(); },
    [](SeekableStream& s) { return s.Seek(0) && !s.Seek(-1); },
    [](SeekableStream& s) { return SizeOf(s) >= 0 && Position(s) >= 0; },
    [](SeekableStream& s) { return s.GetChar() != 256; },
};

TEST(StringStream, FailsWhenClosedBrokenOrNotOpenForWritingAndThroughAnAlias) {
    for (Use const& use : EVERYTHING) {
        StringStream closed("text"), reader("text", Io::MODE_READ), alias("own");
        StringStream negative("text", Io::MODE_READ, Io::EOL_LF, 128, -1);
        SeekableStream plain(plain, alias.InBuffer(), alias.OutBuffer(), Io::EOL_LF, Io::MODE_READ, 0);
        EXPECT_FALSE(!plain.Initialized() || plain.Seek(0) || SizeOf(plain) >= 0 || Position(plain) >= 0); // no medium of its own
        EXPECT_TRUE(closed.Close() && closed.Str().Size() == 0 && !negative.Initialized());
        alias.Attach(&closed);
        EXPECT_FALSE(use(alias) || use(negative) || use(SeekableStream::Broken()));
        EXPECT_EQ(closed.CurrentState(), Stateful::STATE_FAILED);
        plain.Attach(&reader);
        EXPECT_EQ(use(plain), &use >= EVERYTHING + 3); // those that do not write
    }
    StringStream kept("kept"), alias("own");
    EXPECT_FALSE(kept.CopyFrom(SeekableStream::Broken()));
    kept.ClearState_();
    alias.Attach(&kept);
    EXPECT_TRUE(kept.CopyFrom(alias) && Text(alias.Str()) == "kept");
    alias.Clear();
    EXPECT_EQ(kept.Str().Size(), 0u);
    alias.Attach(&SeekableStream::Broken()); // of another kind
    EXPECT_EQ(Text(alias.Str()), "own");
    ForEveryAllocation([](Heap& heap) {
        heap.Arm();
        StringStream stream("text");
        stream << "more than the text" << Io::Endl;
        bool const ok = stream.Flush() && stream.Truncate(500);
        heap.Disarm();
        EXPECT_EQ(ok, !heap.Fired());
        EXPECT_TRUE(ok || !stream.Initialized() || stream.CurrentState() == Stateful::STATE_NO_MEMORY);
    });
}

} // namespace
