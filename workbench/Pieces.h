// A stream whose far end is slow: what it reads comes in small pieces, and what it writes is taken in small
// pieces, up to a bound. For parsers and writers on a stream, which must not notice.
//
//     ForEveryStream("key = value\n", Io::EOL_LF, [](PieceStream& stream) {
//         Config config;
//         EXPECT_TRUE(config.Read(stream) && config.Get("key") == "value");
//     });
//     PieceStream full("", Io::EOL_LF, 16);
//     full.transport.capacity = 20;                       // then it fails
//     EXPECT_FALSE(config.Write(full) && full.Flush());
//     EXPECT_EQ(full.transport.written, "key = value\n...");
//
// Memory     none that a Heap watches, so that a sweep sees what the code at work asks for alone
// State      the end is met once as 0 bytes, then as STATE_EOS; beyond the capacity a write is STATE_FAILED
// Threads    as a stream: one at a time
// Flush      of the transport leaves a "!" in what was written, so that a test sees where it came
#pragma once

#include "zeb/stream/SeekableStream.h"

#include <algorithm>
#include <climits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

// Gives and takes at most `step` bytes a call, and takes `capacity` in all.
struct PieceTransport : Io::Base {
    PieceTransport(Io::Stateful& state, std::string text, unsigned long bytes)
        : Base(state)
        , input(std::move(text))
        , step(bytes) {}

    bool SysRead(void* data, unsigned long size, unsigned long& done) override {
        done = 0;
        if (Eos()) State_().SetState(Io::Stateful::STATE_EOS);
        if (!State_().Ok()) return false;
        done = input.copy(static_cast<char*>(data), std::min(size, step));
        input.erase(0, done);
        SetEos(done == 0);
        return true;
    }
    bool SysWrite(void const* data, unsigned long size, unsigned long& done) override {
        done = std::min({size, step, capacity - written.size()});
        written.append(static_cast<char const*>(data), done);
        if (done == 0) State_().SetState(Io::Stateful::STATE_FAILED);
        return done > 0;
    }
    bool SysFlush() override { return written += "!", State_().Ok(); }

    std::string input;   // what is still to be read
    std::string written; // what has arrived
    unsigned long step, capacity = ULONG_MAX;
};

// A stream over it, with a block of that size in either direction.
struct PieceStream : Io::Stream {
    explicit PieceStream(std::string text, Io::EndOfLineT rule = Io::EOL_LF, unsigned long blockSize = 4096,
                         unsigned long step = ULONG_MAX)
        : Stream(buffer, buffer, eol, mode)
        , transport(*this, std::move(text), step)
        , block(blockSize)
        , eol(rule) {
        buffer.Set(block.data(), blockSize);
    }

    PieceTransport transport;
    Io::Buffer buffer{transport, *this};
    std::vector<char> block;
    Io::EndOfLineT eol;
    Io::ModeT mode = Io::MODE_READ_WRITE;
};

// Runs `body` on a fresh stream of that text for several sizes of the pieces and of the block, and says which
// it was when an expectation fails.
template<class Body>
void ForEveryStream(std::string const& text, Io::EndOfLineT eol, Body body) {
    for (unsigned long const step : {1UL, 2UL, 3UL, 5UL, 7UL, 13UL, ULONG_MAX})
        for (unsigned long const size : {1UL, 2UL, 7UL, 64UL, 4096UL}) {
            SCOPED_TRACE("pieces of " + std::to_string(step) + ", block of " + std::to_string(size));
            PieceStream stream(text, eol, size, step);
            body(stream);
        }
}
