// A transport that gives and takes at most `step` bytes a call, and takes `capacity` in all; a stream over
// it, and short words for what the tests of streams ask.
#pragma once

#include "workbench/Heap.h"
#include "workbench/LogCapture.h"
#include "zeb/stream/SeekableStream.h"

#include <algorithm>
#include <climits>

using Io::Stateful;

struct PieceTransport : Io::Base {
    PieceTransport(Stateful& state, std::string text, unsigned long bytes)
        : Base(state)
        , input(std::move(text))
        , step(bytes) {}

    bool SysRead(void* data, unsigned long size, unsigned long& done) override {
        done = 0;
        if (Eos()) State_().SetState(Stateful::STATE_EOS);
        if (!State_().Ok()) return false;
        done = input.copy(static_cast<char*>(data), std::min(size, step));
        input.erase(0, done);
        SetEos(done == 0);
        return true;
    }
    bool SysWrite(void const* data, unsigned long size, unsigned long& done) override {
        done = std::min({size, step, capacity - written.size()});
        written.append(static_cast<char const*>(data), done);
        if (done == 0) State_().SetState(Stateful::STATE_FAILED);
        return done > 0;
    }
    bool SysFlush() override { return written += "!", State_().Ok(); }

    std::string input, written;
    unsigned long step, capacity = ULONG_MAX;
};

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

// Runs `body` on a fresh stream for each size of the pieces that come in, and of the block.
template<class Body>
void ForEveryStream(std::string const& text, Io::EndOfLineT eol, Body body) {
    for (unsigned long const step : {1UL, 2UL, 3UL, 5UL, 7UL, 13UL, ULONG_MAX})
        for (unsigned long const size : {1UL, 2UL, 7UL, 64UL, 4096UL}) {
            SCOPED_TRACE("pieces of " + std::to_string(step) + ", block of " + std::to_string(size));
            PieceStream stream(text, eol, size, step);
            body(stream);
        }
}

inline std::string Text(CString const& text) { return {text.Cstr(), text.Size()}; }

// -1 on failure.
template<auto GET>
long Number(Io::SeekableStream const& stream) {
    long out = 77;
    if ((stream.*GET)(out)) return out;
    EXPECT_EQ(out, 0);
    return -1;
}
inline auto const Position = Number<&Io::SeekableStream::Tell>;
inline auto const SizeOf = Number<&Io::SeekableStream::GetStreamSize>;

// What is left of a stream, to its end.
inline std::string Rest(Io::IStream& stream) {
    std::string rest;
    for (int c; (c = stream.GetChar()) != Io::IStreamBuffer::CHAR_END;) rest += static_cast<char>(c);
    return rest;
}

// The lines of the log, with @ for the path.
inline std::string Logged(LogCapture& log, std::string const& path) {
    std::string all;
    for (std::string line : log.Take()) {
        if (line.find(path) != line.npos) line.replace(line.find(path), path.size(), "@");
        all += line + "\n";
    }
    return all;
}
