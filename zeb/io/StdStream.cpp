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

bool StdIn::ObjIReady() const { return buffer_.GCount() > 0; }

StdOut::StdOut()
    : OStream(buffer_, eol_)
    , Pollable(*this, IDENT, fd_, mode_)
    , base_(fd_, mode_, verbose_, IDENT, *this)
    , pollableBase_(base_, *this, IDENT)
    , buffer_(pollableBase_, *this) {
    buffer_.Set(block_, sizeof(block_));
    LazyEndl(false);
}

// The object ends; a failure was logged.
StdOut::~StdOut() { (void)buffer_.Flush(); }

StdErr::StdErr()
    : OStream(buffer_, eol_)
    , Pollable(*this, IDENT, fd_, mode_)
    , base_(fd_, mode_, verbose_, IDENT, *this)
    , pollableBase_(base_, *this, IDENT)
    , buffer_(pollableBase_, *this) {
    buffer_.Set(block_, sizeof(block_));
    LazyEndl(false);
}

StdErr::~StdErr() { (void)buffer_.Flush(); }

} // namespace Io
