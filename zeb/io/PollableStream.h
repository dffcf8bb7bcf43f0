#pragma once

// Joins a stream and its wait: the base of sockets, devices and pollable files. Each transfer waits in
// Pollable::Wait, no longer than SetTimeout says, and ends when its thread is interrupted.
//
// A class over a descriptor of its own derives from this one, and owns, declared in this order: mode,
// descriptor, the transport (FdBase, SocketBase), a PollableBase around it, the rule for ends of lines, one
// Buffer for each direction over the PollableBase, and Memory. It passes itself as the parent, initialises
// the virtual base Stream as a root, and closes in its own destructor, behind Attach(this) and
// PollableBase::Finish: the bases cannot do that, since what they refer to is gone when their destructors
// run. zeb/io/Device.cpp shows all of it.

#include "zeb/io/Pollable.h"
#include "zeb/stream/Stream.h"

namespace Io {

class ZEB_PUBLIC PollableStream : public Pollable, public virtual Stream {
public:
    // Attached to `parent`, which may be this object itself. What is passed must outlive the stream.
    PollableStream(PollableStream& parent, char const* ident, int const& fd, ModeT const& mode,
                   IStreamBuffer& input, OStreamBuffer& output, EndOfLineT const& eol);
    ~PollableStream() override;

    // Makes this object an alias of another stream, to read, write and wait on.
    void Attach(PollableStream* parent);
};

} // namespace Io
