#pragma once

// Writes straight into the block of a stream: the chain of parents is walked once, and what was written is
// committed when the block is full and at the end. Once the stream has failed nothing more is written.
// Internal to the documents.

#include "zeb/stream/OStream.h"

#include <cstring>

namespace Doc {

class Writer {
public:
    explicit Writer(Io::OStream& stream)
        : buffer_(stream.OutBuffer()) {
        Begin_();
    }
    Writer(Writer const&) = delete;
    Writer& operator=(Writer const&) = delete;

    // Commits, and says whether the stream is good.
    bool Finish() {
        Commit_();
        return buffer_.Ok();
    }

    bool Failed() const { return failed_; }

    // Hands what was written to the transport.
    void Flush() {
        Commit_();
        if (!failed_ && buffer_.Flush()) Begin_();
    }

    void Put(char c) {
        if (at_ == end_ && !Refill_()) return;
        *at_++ = c;
    }
    void Put(char const* data, unsigned long size) {
        if (size > Room()) return PutSlow_(data, size);
        at_ = Copy(at_, data, size);
    }
    void Put(CString const& text) { Put(text.Cstr(), text.Size()); }
    template<unsigned long N>
    void Put(char const (&text)[N]) {
        Put(text, N - 1);
    }

    void Fill(char c, unsigned long count) {
        if (count == 0) return;
        if (count > Room()) return FillSlow_(c, count);
        memset(at_, c, count);
        at_ += count;
    }

    // Writes a piece of at most `size` bytes at one go: `write` is called with an object that has the Put and
    // Fill operations above, without their tests when there is room.
    template<typename WriteT>
    void PutPiece(unsigned long size, WriteT const& write) {
        if (size + Unchecked::SLACK > Room()) return write(*this);
        Unchecked out(at_);
        write(out);
        at_ = out.At();
    }

    // For writing in place: up to Room() bytes may be stored at At() and taken by Advance().
    unsigned long Room() const { return static_cast<unsigned long>(end_ - at_); }
    char* At() const { return at_; }
    void Advance(unsigned long count) { at_ += count; }

    // The same as memcpy, quicker for names and numbers. Returns the end of the copy.
    static char* Copy(char* to, char const* from, unsigned long size) {
        if (size > 16) {
            memcpy(to, from, size);
        } else if (size >= 8) {
            CopyEnds_<uint64_t>(to, from, size);
        } else if (size >= 4) {
            CopyEnds_<uint32_t>(to, from, size);
        } else {
            for (unsigned long i = 0; i < size; ++i)
                to[i] = from[i];
        }
        return to + size;
    }

    // What PutPiece hands out when there is room for the piece.
    class Unchecked {
    public:
        static constexpr unsigned long SLACK = 16; // bytes behind the piece that may be overwritten

        explicit Unchecked(char* at)
            : at_(at) {}

        void Put(char c) { *at_++ = c; }
        void Put(CString const& text) { at_ = Copy(at_, text.Cstr(), text.Size()); }
        template<unsigned long N>
        void Put(char const (&text)[N]) {
            memcpy(at_, text, N - 1);
            at_ += N - 1;
        }
        void Fill(char c, unsigned long count) {
            for (unsigned long i = 0; i < count; i += SLACK)
                memset(at_ + i, c, SLACK);
            at_ += count;
        }
        char* At() const { return at_; }

    private:
        char* at_;
    };

private:
    template<typename T>
    static void CopyEnds_(char* to, char const* from, unsigned long size) {
        T first;
        T last;
        memcpy(&first, from, sizeof(T));
        memcpy(&last, from + size - sizeof(T), sizeof(T));
        memcpy(to, &first, sizeof(T));
        memcpy(to + size - sizeof(T), &last, sizeof(T));
    }

    void Begin_();
    void Commit_();
    bool Refill_();
    void PutSlow_(char const* data, unsigned long size);
    void FillSlow_(char c, unsigned long count);

    Io::OStreamBuffer& buffer_;
    char* begin_ = nullptr; // what lies between here and at_ is not committed
    char* at_ = nullptr;
    char* end_ = nullptr;
    bool failed_ = false;
};

} // namespace Doc
