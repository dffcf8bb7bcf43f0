#include "zeb/io/StringStream.h"
#include "tests/io/Transports.h"
#include "tests/support/Heap.h"

#include <gtest/gtest.h>

#include <random>

using namespace std::string_literals;

namespace {

using Io::StringStream;

long Tell(Io::SeekableStream const& stream) {
    long position = -1;
    EXPECT_TRUE(stream.Tell(position));
    return position;
}

long SizeOf(Io::SeekableStream const& stream) {
    long size = -1;
    EXPECT_TRUE(stream.GetStreamSize(size));
    return size;
}

TEST(StringStream, ReadsAndOverwritesItsTextFromTheStart) {
    StringStream stream("hello world");
    EXPECT_EQ(stream.GetChar(), 'h');
    EXPECT_EQ(Tell(stream), 1); // not where the read-ahead is
    EXPECT_TRUE(stream.Seek(0));
    stream << "HELL";
    EXPECT_EQ(Tell(stream), 4);
    EXPECT_EQ(Text(stream.Str()), "hello world"); // pending
    EXPECT_TRUE(stream.Flush());
    EXPECT_EQ(Text(stream.Str()), "HELLo world");
    EXPECT_EQ(Rest(stream), "o world");
    stream.Clear();
    EXPECT_EQ(Text(stream.Str()), "");
    EXPECT_EQ(Tell(stream), 0);
}

TEST(StringStream, ASeekPastTheEndLeavesAHoleOfNuls) {
    StringStream stream("ab");
    EXPECT_TRUE(stream.Seek(5));
    EXPECT_EQ(stream.GetChar(), 256);
    EXPECT_TRUE(stream.Seek(5)); // clears the end of stream
    stream << "cd";
    EXPECT_EQ(SizeOf(stream), 7);
    EXPECT_TRUE(stream.Flush());
    EXPECT_EQ(Text(stream.Str()), "ab\0\0\0cd"s);
    EXPECT_FALSE(stream.Seek(-1));
    EXPECT_EQ(stream.CurrentState(), Io::Stateful::STATE_FAILED);
    long out = 7;
    EXPECT_FALSE(stream.Tell(out));
    EXPECT_EQ(out, 0);
    EXPECT_FALSE(stream.GetStreamSize(out));
}

TEST(StringStream, KeepsWhatFitsItsBound) {
    std::string const text(70000, 'x');
    for (unsigned long const block : {128UL, 100000UL}) {
        StringStream stream("", Io::MODE_READ_WRITE, Io::EOL_ANY_LF, block);
        EXPECT_EQ(stream.WriteAll(text.data(), text.size()) && stream.Flush(), false);
        EXPECT_EQ(stream.CurrentState(), Io::Stateful::STATE_FAILED);
        EXPECT_EQ(stream.Str().Size(), 65536u);
        EXPECT_EQ(stream.MaxSize(), 65536);
    }
    StringStream beyond("", Io::MODE_READ_WRITE, Io::EOL_ANY_LF, 8, 4);
    EXPECT_TRUE(beyond.Seek(5));
    beyond << "x";
    EXPECT_FALSE(beyond.Flush());
    EXPECT_EQ(beyond.Str().Size(), 0u);
}

TEST(StringStream, TruncateFollowsTheBoundAndThePendingOutput) {
    struct {
        char const* text;
        long seek;
        char const* write;
        long length;
        char const* state;
        std::string expected;
        long tell;
    } const rows[] = {
        {"hello", 0, "", 0, "ok", "", 0},
        {"hello", 2, "LLLL", 3, "ok", "heL", 6},
        {"hello", 5, "", 8, "ok", "hello\0\0\0"s, 5},
        {"hello", 0, "", -1, "operation failed", "hello", 0},
        {"hello", 0, "", 11, "operation failed", "hello", 0},
        // Text and pending output pass the bound of 10 together.
        {"hello", 5, "123456", 8, "ok", "hello123", 11},
        {"hello", 5, "123456", 3, "ok", "hel", 11},
        {"hello", 0, "123456", 0, "ok", "", 6},
        {"12345678", 8, "abc", 10, "ok", "12345678ab", 11},
    };
    for (auto const& row : rows) {
        StringStream stream(row.text, Io::MODE_READ_WRITE, Io::EOL_ANY_LF, 128, 10);
        EXPECT_TRUE(stream.Seek(row.seek));
        stream << row.write;
        EXPECT_EQ(stream.Truncate(row.length), row.state == "ok"s);
        EXPECT_STREQ(stream.ErrorString(), row.state);
        EXPECT_EQ(Text(stream.Str()), row.expected);
        EXPECT_EQ(stream.Ok() ? Tell(stream) : row.tell, row.tell);
        EXPECT_EQ(SizeOf(*std::make_unique<StringStream>(stream.Str())),
                  static_cast<long>(row.expected.size()));
    }
    StringStream reader("hello");
    EXPECT_EQ(reader.GetChar(), 'h');
    EXPECT_TRUE(reader.Truncate(3));
    EXPECT_EQ(Tell(reader), 1);
    EXPECT_EQ(Rest(reader), "el");
    EXPECT_TRUE(reader.Truncate(5)); // lengthened behind a reader at its end
    EXPECT_TRUE(reader.Seek(3));
    EXPECT_EQ(Rest(reader), "\0\0"s);
}

TEST(StringStream, AsSeenFromOutsideIsAFileInMemory) {
    std::mt19937 random(7);
    for (int round = 0; round < 50; ++round) {
        StringStream stream("", Io::MODE_READ_WRITE, Io::EOL_ANY_LF, 1 + random() % 20, 1000);
        std::string twin;
        unsigned long position = 0;
        for (int step = 0; step < 200; ++step) {
            std::string part(random() % 30, static_cast<char>('a' + step % 26));
            switch (random() % 5) {
            case 0:
                position = random() % 200;
                ASSERT_TRUE(stream.Seek(static_cast<long>(position)));
                break;
            case 1:
                twin.resize(random() % 200);
                ASSERT_TRUE(stream.Truncate(static_cast<long>(twin.size())));
                break;
            case 2: {
                if (position + part.size() > twin.size()) break;
                std::string read = part;
                ASSERT_TRUE(stream.ReadAll(read.data(), read.size()));
                ASSERT_EQ(read, twin.substr(position, part.size()));
                position += part.size();
                break;
            }
            default:
                // A write drops the read-ahead and goes where that ended: an own position is made first.
                ASSERT_TRUE(stream.Seek(static_cast<long>(position)));
                ASSERT_TRUE(stream.WriteAll(part.data(), part.size()));
                if (!part.empty() && twin.size() < position + part.size())
                    twin.resize(position + part.size());
                twin.replace(position < twin.size() ? position : twin.size(), part.size(), part);
                position += part.size();
            }
            ASSERT_EQ(Tell(stream), static_cast<long>(position));
            ASSERT_EQ(SizeOf(stream), static_cast<long>(twin.size()));
        }
        ASSERT_TRUE(stream.Flush());
        ASSERT_EQ(Text(stream.Str()), twin);
    }
}

TEST(StringStream, HonoursItsMode) {
    StringStream reader("text", Io::MODE_READ);
    reader << "x";
    EXPECT_FALSE(reader.Flush());
    EXPECT_EQ(reader.CurrentState(), Io::Stateful::STATE_FAILED);
    StringStream other("text", Io::MODE_READ);
    EXPECT_EQ(other.Mode(), Io::MODE_READ);
    EXPECT_FALSE(other.Truncate(0));
    StringStream flushed("text", Io::MODE_READ);
    EXPECT_FALSE(flushed.OutBuffer().SysFlush());
    EXPECT_TRUE(StringStream().OutBuffer().SysFlush());
}

TEST(StringStream, CloseDropsTheTextAndComesOnce) {
    using Use = bool (*)(StringStream&);
    Use const uses[] = {
        [](StringStream& s) { return s.Close(); },
        [](StringStream& s) { return s.Seek(0); },
        [](StringStream& s) { return s.Truncate(0); },
        [](StringStream& s) { return s.GetChar() != 256; },
        [](StringStream& s) { return s.WriteAll("x", 1) && s.Flush(); },
        [](StringStream& s) {
            long out;
            return s.GetStreamSize(out);
        },
    };
    for (Use const use : uses) {
        StringStream stream("text");
        EXPECT_EQ(Rest(stream), "text");
        stream << "more";
        EXPECT_TRUE(stream.Seek(0));
        EXPECT_TRUE(stream.Close());
        EXPECT_EQ(stream.Str().Size(), 0u);
        EXPECT_FALSE(use(stream));
        EXPECT_EQ(stream.CurrentState(), Io::Stateful::STATE_FAILED);
    }
}

TEST(StringStream, IsBrokenWithoutMemoryOrWithABadBound) {
    for (long const bound : {-1L, 3L}) {
        StringStream stream("text", Io::MODE_READ_WRITE, Io::EOL_ANY_LF, 128, bound);
        EXPECT_FALSE(stream.Initialized());
        EXPECT_EQ(stream.GetChar(), 256);
        EXPECT_FALSE(stream.Seek(0));
    }
    ForEveryAllocation([](Heap& heap) {
        heap.Arm();
        StringStream stream("text");
        heap.Disarm();
        EXPECT_EQ(stream.Initialized(), !heap.Fired());
    });
    ForEveryAllocation([](Heap& heap) {
        StringStream stream("text");
        heap.Arm();
        stream << "more than the text" << Io::Endl;
        bool ok = stream.Flush();
        ok = ok && stream.Truncate(500);
        heap.Disarm();
        EXPECT_EQ(ok, !heap.Fired());
        EXPECT_EQ(stream.CurrentState(), ok ? Io::Stateful::STATE_OK : Io::Stateful::STATE_NO_MEMORY);
        EXPECT_EQ(Text(stream.Str()).substr(0, 4), stream.Str().Size() > 4 ? "more" : "text");
    });
}

TEST(SeekableStream, CopiesTheWholeOfAnotherOne) {
    StringStream source("the source"), target("something longer than the source");
    EXPECT_EQ(source.GetChar(), 't');
    EXPECT_TRUE(target.CopyFrom(source));
    EXPECT_EQ(Text(target.Str()), "the source");
    StringStream readOnly("kept", Io::MODE_READ);
    EXPECT_FALSE(readOnly.CopyFrom(source));
    EXPECT_EQ(Text(readOnly.Str()), "kept");
    EXPECT_FALSE(target.CopyFrom(Io::SeekableStream::Broken()));
    EXPECT_EQ(Text(target.Str()), "the source");
}

TEST(SeekableStream, PassesItsOperationsToWhatItIsAttachedTo) {
    StringStream target("target");
    for (bool const bare : {false, true}) {
        StringStream string("string", Io::MODE_READ_WRITE, Io::EOL_LF, 64, 77);
        Io::SeekableStream plain(plain, string.InBuffer(), string.OutBuffer(), Io::EOL_LF, Io::MODE_READ, 5);
        Io::SeekableStream& alias = bare ? plain : static_cast<Io::SeekableStream&>(string);
        if (bare) {
            long out = 3;
            using Use = bool (*)(Io::SeekableStream&, long&);
            for (Use const use : {Use([](Io::SeekableStream&s, long&) { return s.Seek(0); }),
                                  Use([](Io::SeekableStream&s, long&o) { return s.Tell(o); }),
                                  Use([](Io::SeekableStream&s, long&) { return s.Truncate(0); }),
                                  Use([](Io::SeekableStream&s, long&o) { return s.GetStreamSize(o); }),
                                  Use([](Io::SeekableStream&s, long&) { return s.Close(); })}) {
                EXPECT_FALSE(use(plain, out)); // no medium
                EXPECT_EQ(plain.CurrentState(), Io::Stateful::STATE_FAILED);
                plain.ClearState_();
            }
        }
        alias.Attach(&target);
        EXPECT_TRUE(alias.Seek(3));
        EXPECT_EQ(Tell(alias), 3);
        EXPECT_EQ(SizeOf(alias), static_cast<long>(target.Str().Size()));
        EXPECT_EQ(alias.MaxSize(), 65536);
        alias << "X";
        EXPECT_TRUE(alias.Truncate(4));
        EXPECT_EQ(Text(target.Str()), "tarX");
        StringStream source("target");
        EXPECT_TRUE(alias.CopyFrom(source));
    }
    StringStream alias;
    alias.Attach(&target);
    EXPECT_TRUE(alias.Close());
    EXPECT_FALSE(target.Close());
}

TEST(BrokenStream, FailsAtEverything) {
    Io::SeekableStream& broken = Io::SeekableStream::Broken();
    EXPECT_EQ(&broken, &Io::SeekableStream::Broken());
    StringStream source("text");
    long out = 3;
    char c;
    unsigned long done = 3;
    String line;
    EXPECT_FALSE(broken.Seek(0));
    EXPECT_FALSE(broken.Tell(out));
    EXPECT_EQ(out, 0);
    EXPECT_FALSE(broken.Truncate(0));
    EXPECT_FALSE(broken.GetStreamSize(out));
    EXPECT_FALSE(broken.Close());
    EXPECT_FALSE(broken.CopyFrom(source));
    EXPECT_FALSE(broken.Read(&c, 1, done));
    EXPECT_EQ(done, 0u);
    EXPECT_FALSE(broken.WriteAll("x", 1));
    EXPECT_FALSE(broken.ReadLine(line));
    broken << "text" << 1 << Io::Endl;
    EXPECT_FALSE(broken.Flush());
    EXPECT_TRUE(broken.Eos());
    EXPECT_EQ(broken.MaxSize(), Io::SeekableStream::MAX_SIZE_UNLIMITED);
    broken.ClearState_();
    EXPECT_STREQ(broken.ErrorString(), "object is broken");
}

} // namespace
