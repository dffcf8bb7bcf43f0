#include "zeb/io/PollableStream.h"

namespace Io {

PollableStream::PollableStream(PollableStream& parent, char const* ident, int const& fd, ModeT const& mode,
                               IStreamBuffer& input, OStreamBuffer& output, EndOfLineT const& eol)
    : Stream(input, output, eol, mode)
    , Pollable(parent, ident, fd, mode) {
    if (&parent != this) Attach(&parent);
}

PollableStream::~PollableStream() = default;

void PollableStream::Attach(PollableStream* parent) {
    Pollable::Attach(parent);
    Stream::Attach(parent);
}

} // namespace Io
