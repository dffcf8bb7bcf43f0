#pragma once

// A stream over a text in memory: turns a String into a stream and back.
//
//   Io::StringStream out;
//   out << "retries=" << retries << Io::Endl;
//   if (out.Flush()) Use(out.Str());          // without Flush() the end of the text is still in the block
//
// The position starts at 0: a stream built on a text reads it from the start, and writes over it from the
// start; Seek() to its end to append.
//
// Owns       its text and its block; a view of Str() lives until the next operation that writes or
//            closes
// Threads    one; nothing waits
// Alias      Str() and Clear() too work on the root, as long as that is a StringStream
// Failure    by state. A write beyond `maxSize` keeps the part that fits and fails with STATE_FAILED
// Memory     taken at construction, where its lack, or a bound below the size of the text, gives
//            STATE_BROKEN; and by writes, where it gives STATE_NO_MEMORY with the text as it was. Each
//            flush of a block grows the text once: a large block suits a large text

#include "zeb/core/String.h"
#include "zeb/stream/SeekableStream.h"

namespace Io {

class ZEB_PUBLIC StringStream : public SeekableStream {
public:
    static constexpr unsigned long DEFAULT_BUFFER_SIZE = 128;
    static constexpr long DEFAULT_MAX_SIZE = 65536;

    explicit StringStream(CString const& text = CString::Nil(), ModeT mode = MODE_READ_WRITE,
                          EndOfLineT eol = EOL_ANY_LF, unsigned long bufferSize = DEFAULT_BUFFER_SIZE,
                          long maxSize = DEFAULT_MAX_SIZE);
    StringStream(void const* data, unsigned long size, ModeT mode, EndOfLineT eol = EOL_ANY_LF,
                 unsigned long bufferSize = DEFAULT_BUFFER_SIZE, long maxSize = DEFAULT_MAX_SIZE);
    ~StringStream() override;

    // The text that has reached the medium: Flush() first. Empty after Close().
    String const& Str() const { return TextRoot_().base_.Text(); }
    // Empties the text and sets the position to 0. The block is left alone: pending output comes first in the
    // new text, and what was read ahead is still read. Seek(0) ahead of it empties the block.
    void Clear();

    // May go past the end: a write there fills the hole with NUL characters.
    bool Seek(long offset) override;
    [[nodiscard]] bool Tell(long& out) const override;
    // Sets the size of the text, pending output included: cuts it, or extends it with NUL characters. The
    // position stays where the caller sees it, which may be past the new end. STATE_FAILED for a negative
    // length or one above the bound; when text and pending output exceed the bound together, only the output
    // that lies within the length is kept.
    bool Truncate(long length) override;
    [[nodiscard]] bool GetStreamSize(long& out) const override;
    // Flushes and drops the text. A second Close fails with STATE_FAILED.
    bool Close() override;

private:
    // The root, when it is of this class; otherwise this object, which no operation reaches.
    StringStream const& TextRoot_() const;

    class Base_ final : public Base {
    public:
        Base_(Stateful& state, uint64_t& position, ModeT const& mode, long maxSize, void const* data,
              unsigned long size);

        bool SysRead(void* data, unsigned long size, unsigned long& done) override;
        bool SysWrite(void const* data, unsigned long size, unsigned long& done) override;
        bool SysFlush() override;

        bool Seek(long offset);
        bool Truncate(long length);
        void Clear();
        bool Close();

        String const& Text() const { return text_; }
        bool Closed() const { return closed_; }

    private:
        bool Writable_() const;
        bool Extend_(uint64_t size);

        Stateful& state_;
        uint64_t& position_;
        String text_;
        ModeT const& mode_;
        int64_t maxSize_;
        bool closed_ = false;
    };

    bool TruncateFull_(long length, uint64_t pending);

    uint64_t position_ = 0;
    ModeT mode_;
    int64_t maxSize_;
    Base_ base_;
    Buffer buffer_;
    char* block_ = nullptr;
    EndOfLineT eol_;
};

} // namespace Io
