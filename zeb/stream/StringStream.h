#pragma once

// A stream over a text in memory: turns a String into a stream and back.
//
// The position starts at 0: a stream built on a text reads it from the start, and writes over it from the
// start. A write beyond the bound keeps the part that fits and fails with STATE_FAILED. Construction without
// memory, or with a bound below the size of the text, gives STATE_BROKEN. Owns its text and its block.

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

    // The text that has reached the medium: Flush() first. Gone after Close().
    String const& Str() const { return TextRoot_().base_.Text(); }
    // Empties the text and sets the position to 0; what is buffered stays.
    void Clear();

    // May go past the end: a write there fills the hole with NUL characters.
    bool Seek(long offset) override;
    [[nodiscard]] bool Tell(long& out) const override;
    // Cuts the text, or extends it with NUL characters.
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
