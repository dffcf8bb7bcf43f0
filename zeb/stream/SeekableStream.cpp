#include "zeb/stream/SeekableStream.h"

namespace Io {

// The bases are virtual: what is given to them here counts for an object of this very class only. A reference
// to a base of this object must not be formed before its construction, hence the choice.
SeekableStream::SeekableStream(SeekableStream& parent, IStreamBuffer& input, OStreamBuffer& output,
                               EndOfLineT const& eol, ModeT const& mode, long maxSize)
    : Stateful(&parent == this ? nullptr : static_cast<Stateful*>(&parent))
    , Stream(&parent == this ? nullptr : static_cast<Stream*>(&parent), input, output, eol, mode)
    , parent_(&parent)
    , maxSize_(maxSize) {
    if (maxSize < 0) SetState_(STATE_BROKEN);
}

SeekableStream::~SeekableStream() = default;

void SeekableStream::Attach(SeekableStream* parent) {
    parent_ = parent;
    Stream::Attach(parent);
}

bool SeekableStream::CopyFrom(SeekableStream& source) {
    if (!IsRoot_()) return SeekableRoot_()->CopyFrom(source);
    if (source.SeekableRoot_() == this) return Ok();
    return source.Seek(0) && Truncate(0) && Seek(0) && Copy(source);
}

bool SeekableStream::Seek(long offset) {
    return IsRoot_() ? Fail(STATE_FAILED) : SeekableRoot_()->Seek(offset);
}

bool SeekableStream::Tell(long& out) const {
    if (!IsRoot_()) return SeekableRoot_()->Tell(out);
    out = 0;
    return Fail(STATE_FAILED);
}

bool SeekableStream::Truncate(long length) {
    return IsRoot_() ? Fail(STATE_FAILED) : SeekableRoot_()->Truncate(length);
}

bool SeekableStream::GetStreamSize(long& out) const {
    if (!IsRoot_()) return SeekableRoot_()->GetStreamSize(out);
    out = 0;
    return Fail(STATE_FAILED);
}

bool SeekableStream::Close() { return IsRoot_() ? Fail(STATE_FAILED) : SeekableRoot_()->Close(); }

} // namespace Io
