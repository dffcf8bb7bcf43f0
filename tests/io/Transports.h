// A transport that gives its data in pieces and takes data in steps, a buffer that is no Io::Buffer, and a
// stream over either.
#pragma once

#include "tests/support/Feed.h"
#include "zeb/io/SeekableStream.h"

#include <algorithm>
#include <climits>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

inline std::string Text(CString const& text) { return {text.Cstr(), text.Size()}; }

class PieceTransport : public Io::Base {
public:
    PieceTransport(Io::Stateful& state, FeedT pieces)
        : Base(state)
        , pieces_(std::move(pieces)) {}

    bool SysRead(void* data, unsigned long size, unsigned long& done) override {
        done = 0;
        if (!State_().Ok() || (Eos() && (State_().SetState(Io::Stateful::STATE_EOS), true))) return false;
        if (pieces_.empty()) return SetEos(), true;
        done = pieces_.front().copy(static_cast<char*>(data), size);
        pieces_.front().remove_prefix(done);
        if (pieces_.front().empty()) pieces_.erase(pieces_.begin());
        return true;
    }

    // At most `step` bytes a call, and `capacity` in all.
    bool SysWrite(void const* data, unsigned long size, unsigned long& done) override {
        done = std::min({size, step, capacity - written.size()});
        written.append(static_cast<char const*>(data), done);
        writes.push_back(done);
        if (done == 0) State_().SetState(Io::Stateful::STATE_FAILED);
        return done > 0;
    }

    bool SysFlush() override { return ++flushes, State_().Ok(); }

    unsigned long step = ULONG_MAX;
    unsigned long capacity = ULONG_MAX;
    std::string written;
    std::vector<unsigned long> writes;
    int flushes = 0;

private:
    FeedT pieces_;
};

// Passes everything on, so that the format layer finds only the interfaces.
class PlainBuffer : public Io::IStreamBuffer, public Io::OStreamBuffer {
public:
    explicit PlainBuffer(Io::Buffer& to)
        : to_(to) {}

    bool Ok() const override { return to_.Ok(); }
    bool Read(void* p, unsigned long size, unsigned long& done) override { return to_.Read(p, size, done); }
    int GetChar() override { return to_.GetChar(); }
    bool PutBack(char c) override { return to_.PutBack(c); }
    char const* GPos() const override { return to_.GPos(); }
    char const* GEnd() const override { return to_.GEnd(); }
    bool GSkip(unsigned long count) override { return to_.GSkip(count); }
    unsigned long GCount() const override { return to_.GCount(); }
    bool Fill() override { return to_.Fill(); }
    bool Eos() const override { return to_.Eos(); }
    void ClearEos() override { to_.ClearEos(); }
    bool Write(void const* p, unsigned long n, unsigned long& done) override { return to_.Write(p, n, done); }
    bool PutChar(char c) override { return to_.PutChar(c); }
    char* PPos() const override { return to_.PPos(); }
    char* PEnd() const override { return to_.PEnd(); }
    bool PSkip(unsigned long count) override { return to_.PSkip(count); }
    bool PTruncate(unsigned long count) override { return to_.PTruncate(count); }
    unsigned long PCount() const override { return to_.PCount(); }
    unsigned long PFree() const override { return to_.PFree(); }
    bool Flush() override { return to_.Flush(); }
    bool SysFlush() override { return to_.SysFlush(); }

private:
    Io::Buffer& to_;
};

template<class B>
class PieceStream : public Io::Stream {
public:
    explicit PieceStream(FeedT pieces, Io::EndOfLineT eol = Io::EOL_ANY_LF, unsigned long blockSize = 4096)
        : Stream(Pick_(buffer, plain), Pick_(buffer, plain), eol_, mode_)
        , transport(*this, std::move(pieces))
        , buffer(transport, *this)
        , block_(blockSize)
        , eol_(eol) {
        buffer.Set(block_.data(), blockSize);
    }

    PieceTransport transport;
    Io::Buffer buffer;
    PlainBuffer plain{buffer};

private:
    static Io::Buffer& Pick_(Io::Buffer& direct, PlainBuffer&) requires std::is_same_v<B, Io::Buffer> {
        return direct;
    }
    static PlainBuffer& Pick_(Io::Buffer&, PlainBuffer& plain) { return plain; }

    std::vector<char> block_;
    Io::EndOfLineT eol_;
    Io::ModeT mode_ = Io::MODE_READ_WRITE;
};

using DirectStream = PieceStream<Io::Buffer>;

// Runs `body` on a fresh stream for each cut of the text, size of block and kind of buffer.
template<class Body>
void ForEveryStream(std::string_view text, Io::EndOfLineT eol, Body body) {
    ForEveryFeed(text, [&](FeedT const& pieces) {
        for (unsigned long const size : {1UL, 2UL, 7UL, 64UL, 4096UL}) {
            SCOPED_TRACE("block of " + std::to_string(size));
            body(*std::make_unique<DirectStream>(pieces, eol, size));
            body(*std::make_unique<PieceStream<PlainBuffer>>(pieces, eol, size));
        }
    });
}

// -1 on failure.
inline long Position(Io::SeekableStream const& stream) {
    long out = 0;
    return stream.Tell(out) ? out : -1;
}

inline long SizeOf(Io::SeekableStream const& stream) {
    long out = 0;
    return stream.GetStreamSize(out) ? out : -1;
}

// What is left of a stream, to its end.
inline std::string Rest(Io::IStream& stream) {
    std::string rest;
    for (int c; (c = stream.GetChar()) != Io::IStreamBuffer::CHAR_END;)
        rest += static_cast<char>(c);
    return rest;
}
