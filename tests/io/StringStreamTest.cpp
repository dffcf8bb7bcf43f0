#include "zeb/io/StringStream.h"
#include "tests/io/Transports.h"
#include "tests/support/Heap.h"

#include <random>

using namespace std::string_literals;

namespace {

using Io::SeekableStream;
using Io::StringStream;

TEST(StringStream, ReadsAndOverwritesItsTextFromTheStart) {
    StringStream stream("hello world");
    EXPECT_EQ(stream.GetChar(), 'h');
    EXPECT_EQ(Position(stream), 1); // not where the read-ahead is
    EXPECT_TRUE(stream.Seek(0));
    stream << "HELL";
    EXPECT_EQ(Position(stream), 4);
    EXPECT_EQ(Text(stream.Str()), "hello world"); // pending
    EXPECT_EQ(Rest(stream), "o world");
    EXPECT_TRUE(stream.Seek(13));
    EXPECT_EQ(stream.GetChar(), 256);
    EXPECT_TRUE(stream.Seek(13)); // clears the end of stream
    stream << "cd";
    EXPECT_EQ(SizeOf(stream), 15);
    EXPECT_TRUE(stream.Flush());
    EXPECT_EQ(Text(stream.Str()), "HELLo world\0\0cd"s);
    stream.Clear();
    EXPECT_EQ(Text(stream.Str()), "");
    EXPECT_EQ(Position(stream), 0);
    EXPECT_FALSE(stream.Seek(-1));
    long out = 7;
    EXPECT_FALSE(stream.Tell(out) || stream.GetStreamSize(out));
    EXPECT_EQ(out, 0);
}

TEST(StringStream, KeepsWhatFitsItsBound) {
    std::string const text(70000, 'x');
    for (unsigned long const block : {128UL, 100000UL}) {
        StringStream stream("", Io::MODE_READ_WRITE, Io::EOL_ANY_LF, block);
        EXPECT_FALSE(stream.WriteAll(text.data(), text.size()) && stream.Flush());
        EXPECT_EQ(stream.CurrentState(), Io::Stateful::STATE_FAILED);
        EXPECT_EQ(stream.Str().Size(), 65536u);
    }
    StringStream beyond("", Io::MODE_READ_WRITE, Io::EOL_ANY_LF, 8, 4);
    EXPECT_TRUE(beyond.Seek(5) && beyond.PutChar('x') && !beyond.Flush());
    EXPECT_EQ(beyond.Str().Size(), 0u);
}

TEST(StringStream, TruncateFollowsTheBoundAndThePendingOutput) {
    struct {
        char const* text;
        long seek;
        char const* write;
        long length;
        std::string expected;
        long tell; // -1 for a failure
    } const rows[] = {
        {"hello", 0, "", 0, "", 0},
        {"hello", 2, "LLLL", 3, "heL", 6},
        {"hello", 5, "", 8, "hello\0\0\0"s, 5},
        {"hello", 0, "", -1, "hello", -1},
        {"hello", 0, "", 11, "hello", -1},
        // Text and pending output pass the bound of 10 together.
        {"hello", 5, "123456", 8, "hello123", 11},
        {"hello", 5, "123456", 3, "hel", 11},
        {"12345678", 8, "abc", 10, "12345678ab", 11},
    };
    for (auto const& row : rows) {
        StringStream stream(row.text, Io::MODE_READ_WRITE, Io::EOL_ANY_LF, 128, 10);
        EXPECT_TRUE(stream.Seek(row.seek));
        stream << row.write;
        EXPECT_EQ(stream.Truncate(row.length), row.tell >= 0);
        EXPECT_EQ(stream.CurrentState(), row.tell >= 0 ? Io::Stateful::STATE_OK : Io::Stateful::STATE_FAILED);
        EXPECT_EQ(Text(stream.Str()), row.expected);
        EXPECT_EQ(stream.Ok() ? Position(stream) : -1, row.tell);
    }
}

TEST(StringStream, IsAFileInMemory) {
    std::mt19937 random(7);
    for (int round = 0; round < 50; ++round) {
        StringStream stream("", Io::MODE_READ_WRITE, Io::EOL_ANY_LF, 1 + random() % 20, 1000);
        std::string twin;
        for (unsigned long step = 0, position = 0; step < 200; ++step) {
            std::string part(random() % 30, static_cast<char>('a' + step % 26));
            switch (random() % 4) {
            case 0:
                position = random() % 200;
                break;
            case 1:
                twin.resize(random() % 200);
                ASSERT_TRUE(stream.Truncate(static_cast<long>(twin.size())));
                break;
            case 2:
                if (position + part.size() > twin.size()) break;
                ASSERT_TRUE(stream.ReadAll(part.data(), part.size()));
                ASSERT_EQ(part, twin.substr(position, part.size()));
                position += part.size();
                continue;
            default:
                // A write goes behind the read-ahead that it drops: the position is made anew.
                ASSERT_TRUE(stream.Seek(static_cast<long>(position)));
                ASSERT_TRUE(stream.WriteAll(part.data(), part.size()));
                if (!part.empty()) twin.resize(std::max(twin.size(), position + part.size()));
                twin.replace(std::min(position, twin.size()), part.size(), part);
                position += part.size();
            }
            ASSERT_EQ(SizeOf(stream), static_cast<long>(twin.size()));
            ASSERT_TRUE(stream.Seek(static_cast<long>(position)));
            ASSERT_EQ(Position(stream), static_cast<long>(position));
            ASSERT_EQ(Text(stream.Str()), twin);
        }
    }
}

using Use = bool (*)(SeekableStream&);
Use const EVERYTHING[] = {
    [](SeekableStream& s) { return s.Close(); },
    [](SeekableStream& s) { return s.Seek(0); },
    [](SeekableStream& s) { return s.Truncate(0); },
    [](SeekableStream& s) { return s.WriteAll("x", 1) && s.Flush(); },
    [](SeekableStream& s) { return SizeOf(s) >= 0; },
    [](SeekableStream& s) { return s.GetChar() != 256; },
    [](SeekableStream& s) { return s.CopyFrom(*std::make_unique<StringStream>("text")); },
};

TEST(StringStream, FailsWhenClosedBrokenOrNotOpenForWriting) {
    for (Use const use : EVERYTHING) {
        StringStream closed("text"), negative("text", Io::MODE_READ, Io::EOL_LF, 128, -1);
        closed << "more";
        EXPECT_TRUE(closed.Close());
        EXPECT_EQ(closed.Str().Size(), 0u);
        EXPECT_FALSE(use(closed) || use(negative) || use(SeekableStream::Broken()));
        EXPECT_EQ(closed.CurrentState(), Io::Stateful::STATE_FAILED);
        EXPECT_FALSE(negative.Initialized() || SeekableStream::Broken().Initialized());
    }
    for (Use const use : {EVERYTHING[2], EVERYTHING[3], EVERYTHING[6]}) {
        StringStream reader("text", Io::MODE_READ);
        EXPECT_FALSE(use(reader));
        EXPECT_EQ(reader.CurrentState(), Io::Stateful::STATE_FAILED);
        EXPECT_EQ(Text(reader.Str()), "text");
    }
    EXPECT_TRUE(StringStream().OutBuffer().SysFlush());
    EXPECT_EQ(SeekableStream::Broken().MaxSize(), SeekableStream::MAX_SIZE_UNLIMITED);
}

TEST(StringStream, SurvivesLackOfMemory) {
    ForEveryAllocation([](Heap& heap) {
        heap.Arm();
        StringStream stream("text");
        stream << "more than the text" << Io::Endl;
        bool const ok = stream.Flush() && stream.Truncate(500);
        heap.Disarm();
        EXPECT_EQ(ok, !heap.Fired());
        EXPECT_TRUE(ok || !stream.Initialized() || stream.CurrentState() == Io::Stateful::STATE_NO_MEMORY);
    });
}

TEST(SeekableStream, PassesItsOperationsToWhatItIsAttachedTo) {
    StringStream target("target"), string, source("the source");
    SeekableStream plain(plain, string.InBuffer(), string.OutBuffer(), Io::EOL_LF, Io::MODE_READ, 5);
    for (Use const use : {EVERYTHING[0], EVERYTHING[1], EVERYTHING[2], EVERYTHING[4], EVERYTHING[6]}) {
        EXPECT_FALSE(use(plain)); // no medium of its own
        plain.ClearState_();
    }
    for (SeekableStream* const alias : {&plain, static_cast<SeekableStream*>(&string)}) {
        alias->Attach(&target);
        EXPECT_TRUE(alias->CopyFrom(source) && alias->Seek(4));
        EXPECT_EQ(Position(*alias), 4);
        EXPECT_EQ(SizeOf(*alias), 10);
        EXPECT_EQ(alias->MaxSize(), 65536);
        EXPECT_TRUE(alias->Truncate(5));
        EXPECT_EQ(Text(target.Str()), "the s");
    }
    EXPECT_FALSE(string.CopyFrom(SeekableStream::Broken()));
    EXPECT_EQ(Text(target.Str()), "the s");
    EXPECT_TRUE(plain.Close());
    EXPECT_FALSE(target.Close());
}

} // namespace
