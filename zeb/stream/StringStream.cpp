#include "zeb/stream/StringStream.h"

#include <cstring>
#include <new>

namespace Io {

StringStream::Base_::Base_(Stateful& state, uint64_t& position, ModeT const& mode, long maxSize,
                           void const* data, unsigned long size)
    : Base(state)
    , state_(state)
    , position_(position)
    , mode_(mode)
    , maxSize_(maxSize) {
    bool const fits = maxSize >= 0 && size <= static_cast<unsigned long>(maxSize);
    if (!fits || !text_.Assign(static_cast<char const*>(data), size)) state.SetState(STATE_BROKEN);
}

bool StringStream::Base_::Writable_() const {
    if (closed_ || (mode_ & MODE_WRITE) == 0) return Fail_(STATE_FAILED);
    return state_.Ok();
}

// To a greater size, with NUL characters.
bool StringStream::Base_::Extend_(uint64_t size) {
    return text_.Replace(text_.Size(), 0, '\0', size - text_.Size()) || Fail_(STATE_NO_MEMORY);
}

bool StringStream::Base_::SysRead(void* data, unsigned long size, unsigned long& done) {
    done = 0;
    if (!state_.Ok()) return false;
    if (Eos()) return Fail_(STATE_EOS);
    if (closed_) return Fail_(STATE_FAILED);
    if (size == 0) return true;
    if (position_ >= text_.Size()) {
        SetEos();
        return true;
    }
    uint64_t const rest = text_.Size() - position_;
    done = size < rest ? size : rest;
    memcpy(data, text_.Cstr() + position_, done);
    position_ += done;
    return true;
}

bool StringStream::Base_::SysWrite(void const* data, unsigned long size, unsigned long& done) {
    done = 0;
    if (!state_.Ok() || !Writable_()) return false;
    if (size == 0) return true;
    uint64_t const maxSize = static_cast<uint64_t>(maxSize_);
    if (position_ > maxSize) return Fail_(STATE_FAILED);
    unsigned long const room = maxSize - position_;
    unsigned long const part = size < room ? size : room;
    if (text_.Size() < position_ + part && !Extend_(position_ + part)) return false;
    if (part > 0) memcpy(text_.Ptr() + position_, data, part);
    position_ += part;
    done = part;
    return part == size || Fail_(STATE_FAILED);
}

bool StringStream::Base_::SysFlush() { return Writable_(); }

bool StringStream::Base_::Seek(long offset) {
    if (!state_.Ok()) return false;
    if (closed_ || offset < 0) return Fail_(STATE_FAILED);
    position_ = static_cast<uint64_t>(offset);
    SetEos(false);
    return true;
}

bool StringStream::Base_::Truncate(long length) {
    if (!Writable_()) return false;
    uint64_t const size = static_cast<uint64_t>(length);
    if (size <= text_.Size()) {
        text_.Truncate(size);
        SetEos(false);
        return true;
    }
    return length <= maxSize_ ? Extend_(size) : Fail_(STATE_NO_MEMORY);
}

void StringStream::Base_::Clear() {
    text_.Clear();
    position_ = 0;
}

bool StringStream::Base_::Close() {
    if (closed_) return Fail_(STATE_FAILED);
    closed_ = true;
    return true;
}

StringStream::StringStream(CString const& text, ModeT mode, EndOfLineT eol, unsigned long bufferSize,
                           long maxSize)
    : StringStream(text.Cstr(), text.Size(), mode, eol, bufferSize, maxSize) {}

StringStream::StringStream(void const* data, unsigned long size, ModeT mode, EndOfLineT eol,
                           unsigned long bufferSize, long maxSize)
    : Stream(buffer_, buffer_, eol_, mode_)
    , SeekableStream(*this, buffer_, buffer_, eol_, mode_, maxSize)
    , mode_(mode)
    , maxSize_(maxSize)
    , base_(*this, position_, mode_, maxSize, data, size)
    , buffer_(base_, *this)
    , block_(new (std::nothrow) char[bufferSize])
    , eol_(eol) {
    if (block_ == nullptr) {
        SetState(STATE_BROKEN);
        return;
    }
    buffer_.Set(block_, bufferSize);
}

StringStream::~StringStream() { delete[] block_; }

StringStream const& StringStream::TextRoot_() const {
    if (IsRoot_()) return *this;
    StringStream const* const root = dynamic_cast<StringStream const*>(SeekableRoot_());
    return root != nullptr ? *root : *this;
}

void StringStream::Clear() { const_cast<StringStream&>(TextRoot_()).base_.Clear(); }

bool StringStream::Seek(long offset) {
    if (!IsRoot_()) return SeekableStream::Seek(offset);
    return buffer_.Flush() && base_.Seek(offset);
}

bool StringStream::Tell(long& out) const {
    if (!IsRoot_()) return SeekableStream::Tell(out);
    out = Ok() ? static_cast<long>(position_ + buffer_.PCount() - buffer_.GCount()) : 0;
    return Ok();
}

bool StringStream::Truncate(long length) {
    if (!IsRoot_()) return SeekableStream::Truncate(length);
    if (!Ok()) return false;
    if ((mode_ & MODE_WRITE) == 0 || length < 0 || length > maxSize_) return Fail(STATE_FAILED);
    uint64_t const pending = buffer_.PCount();
    if (base_.Text().Size() + pending > static_cast<uint64_t>(maxSize_))
        return TruncateFull_(length, pending);
    // The position that the caller sees does not move.
    position_ -= buffer_.GCount();
    return buffer_.Flush() && base_.Truncate(length);
}

// The pending output cannot all be written: what lies behind the length is dropped.
bool StringStream::TruncateFull_(long length, uint64_t pending) {
    uint64_t const saved = position_;
    uint64_t const size = base_.Text().Size();
    uint64_t const wanted = static_cast<uint64_t>(length);
    if (size < wanted) {
        char const* pos = buffer_.PPos() - pending;
        uint64_t rest = wanted - size < pending ? wanted - size : pending;
        while (rest > 0) {
            unsigned long done = 0;
            if (!base_.SysWrite(pos, rest, done)) break;
            pos += done;
            rest -= done;
        }
    } else {
        // A failure is a state, which is the result.
        (void)base_.Truncate(length);
    }
    (void)buffer_.PTruncate(0);
    position_ = saved + pending;
    return Ok();
}

bool StringStream::GetStreamSize(long& out) const {
    if (!IsRoot_()) return SeekableStream::GetStreamSize(out);
    out = 0;
    if (!Ok()) return false;
    if (base_.Closed()) return Fail(STATE_FAILED);
    uint64_t const size = base_.Text().Size();
    uint64_t const pending = buffer_.PCount();
    uint64_t const end = pending > 0 ? position_ + pending : 0;
    out = static_cast<long>(end > size ? end : size);
    return true;
}

bool StringStream::Close() {
    if (!IsRoot_()) return SeekableStream::Close();
    if (!buffer_.Flush()) return false;
    Clear();
    return base_.Close();
}

} // namespace Io
