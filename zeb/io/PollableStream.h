#pragma once

// Joins a stream and its wait: the base of sockets, devices and pollable files.

#include "zeb/io/Pollable.h"
#include "zeb/stream/Stream.h"

namespace Io {

class ZEB_PUBLIC PollableStream : public Pollable, public virtual Stream {
public:
    PollableStream(PollableStream& parent, char const* ident, int const& fd, ModeT const& mode,
                   IStreamBuffer& input, OStreamBuffer& output, EndOfLineT const& eol);
    ~PollableStream() override;

    void Attach(PollableStream* parent);
};

} // namespace Io
