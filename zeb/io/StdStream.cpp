#include "zeb/io/StdStream.h"

namespace Io {

StdIn::StdIn()
    : IStream(buffer_, eol_)
    , Pollable(*this, IDENT, fd_, mode_)
    , base_(fd_, mode_, verbose_, IDENT, *this)
    , pollableBase_(base_, *this, IDENT)
    , buffer_(pollableBase_, *this) {
    buffer_.Set(block_, sizeof(block_));
}

StdIn::~StdIn() = default;

bool StdIn::ObjIReady() const { return InBuffer().GCount() > 0; }

StdOutput::StdOutput(int descriptor, char const* ident, Pollable& owner)
    : fd(descriptor)
    , base(fd, mode, verbose, ident, owner)
    , pollableBase(base, owner, ident, PollableBase::BlockLimit(BLOCK_SIZE))
    , buffer(pollableBase, owner) {
    buffer.Set(block, sizeof(block));
}

StdOut::StdOut()
    : OStream(parts_.buffer, parts_.eol)
    , Pollable(*this, IDENT, parts_.fd, parts_.mode)
    , parts_(1, IDENT, *this) {
    LazyEndl(false);
}

// What this object was attached to may be gone.
StdOut::~StdOut() {
    OStream::Attach(this);
    Pollable::Attach(this);
    parts_.pollableBase.Finish(parts_.buffer, nullptr);
}

StdErr::StdErr()
    : OStream(parts_.buffer, parts_.eol)
    , Pollable(*this, IDENT, parts_.fd, parts_.mode)
    , parts_(2, IDENT, *this) {
    LazyEndl(false);
}

StdErr::~StdErr() {
    OStream::Attach(this);
    Pollable::Attach(this);
    parts_.pollableBase.Finish(parts_.buffer, nullptr);
}

} // namespace Io
