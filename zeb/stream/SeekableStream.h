#pragma once

// A stream with a position and a size: a file, or memory. Take it as a parameter where either will do.
// Without a medium of its own the class passes its operations to the object that it is attached to, and fails
// with STATE_FAILED when it is its own root.
//
// Sizes and positions are in bytes. The position is the one that the caller sees: what is read ahead or
// pending is counted.
//
// Owns       nothing
// Threads    one
// Waits      all operations but MaxSize, for the medium: pending output is written out first
// Failure    by state; a size or position that cannot be told is 0

#include "zeb/stream/Stream.h"

namespace Io {

class ZEB_PUBLIC SeekableStream : public virtual Stream {
public:
    static constexpr long MAX_SIZE_UNLIMITED = 9223372036854775807;

    // Attached to `parent`, which may be this object itself. A negative `maxSize` gives STATE_BROKEN.
    SeekableStream(SeekableStream& parent, IStreamBuffer& input, OStreamBuffer& output, EndOfLineT const& eol,
                   ModeT const& mode, long maxSize);
    ~SeekableStream() override;

    // Replaces the content by that of `source`, from its start; when that fails midway a part is there. A
    // copy of itself changes nothing.
    [[nodiscard]] virtual bool CopyFrom(SeekableStream& source);
    virtual bool Seek(long offset);
    [[nodiscard]] virtual bool Tell(long& out) const;
    virtual bool Truncate(long length);
    [[nodiscard]] virtual bool GetStreamSize(long& out) const;
    virtual bool Close();

    // The bound of the content of the root.
    long MaxSize() const { return SeekableRoot_()->maxSize_; }

    // Makes this object an alias of another stream.
    void Attach(SeekableStream* parent);

    // The one stream that fails at everything, for where a stream must be returned and none exists.
    static SeekableStream& Broken();

protected:
    bool IsRoot_() const { return parent_ == this; }
    SeekableStream* SeekableRoot_() const {
        SeekableStream const* root = this;
        while (root->parent_ != root)
            root = root->parent_;
        return const_cast<SeekableStream*>(root);
    }

private:
    SeekableStream* parent_;
    int64_t maxSize_;
};

} // namespace Io
