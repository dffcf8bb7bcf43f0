#include "zeb/stream/Stream.h"

namespace Io {

Stream::Stream(Stream& parent, IStreamBuffer& input, OStreamBuffer& output, EndOfLineT const& eol,
               ModeT const& mode)
    : Stateful(&parent == this ? nullptr : static_cast<Stateful*>(&parent))
    , IStream(parent, input, eol)
    , OStream(parent, output, eol)
    , eol_(eol)
    , mode_(mode)
    , parent_(&parent) {}

Stream::Stream(IStreamBuffer& input, OStreamBuffer& output, EndOfLineT const& eol, ModeT const& mode)
    : IStream(input, eol)
    , OStream(output, eol)
    , eol_(eol)
    , mode_(mode)
    , parent_(this) {}

Stream::Stream(Stream* parent, IStreamBuffer& input, OStreamBuffer& output, EndOfLineT const& eol,
               ModeT const& mode)
    : IStream(parent != nullptr ? *parent : *this, input, eol)
    , OStream(parent != nullptr ? *parent : *this, output, eol)
    , eol_(eol)
    , mode_(mode)
    , parent_(parent != nullptr ? parent : this) {}

Stream::~Stream() = default;

void Stream::Attach(Stream* parent) {
    parent_ = parent;
    IStream::Attach(parent);
    OStream::Attach(parent);
}

} // namespace Io
