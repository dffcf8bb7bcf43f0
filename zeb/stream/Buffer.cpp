#include "zeb/stream/Buffer.h"

namespace Io {

Buffer::~Buffer() = default;

void Buffer::Set(void* block, unsigned long size) {
    begin_ = gpos_ = gend_ = pstart_ = ppos_ = static_cast<char*>(block);
    end_ = begin_ + size;
}

// A block of size 0 counts as none: a loop over it would never end.
bool Buffer::HasBlock_() const { return begin_ != end_ || state_->Fail(Stateful::STATE_FAILED); }

bool Buffer::Flush_() {
    if (!Ok()) return false;
    while (pstart_ != ppos_) {
        unsigned long done = 0;
        bool const written = transport_->SysWrite(pstart_, PCount(), done);
        pstart_ += done;
        if (!written) return false;
    }
    pstart_ = ppos_ = begin_;
    return true;
}

// The caller has flushed.
bool Buffer::Fill_() {
    gpos_ = gend_ = begin_;
    unsigned long done = 0;
    bool const read = transport_->SysRead(begin_, Size_(), done);
    gend_ += done;
    return read;
}

bool Buffer::Read(void* data, unsigned long size, unsigned long& done) {
    done = 0;
    if (!HasBlock_() || !Flush_()) return false;
    if (size == 0) return true;
    if (gpos_ == gend_) {
        if (size >= Size_()) return ReadPast_(data, Size_(), done);
        if (!Fill_()) return false;
        if (transport_->Eos()) return true;
    }
    done = size < GCount() ? size : GCount();
    memcpy(data, gpos_, done);
    gpos_ += done;
    return true;
}

bool Buffer::ReadBulk(void* data, unsigned long size, unsigned long& done) {
    if (gpos_ != gend_ || size < Size_()) return Read(data, size, done);
    done = 0;
    return HasBlock_() && Flush_() && ReadPast_(data, size, done);
}

// Reads past the block. The whole of it may be put back into then, as if it had been read.
bool Buffer::ReadPast_(void* data, unsigned long size, unsigned long& done) {
    gpos_ = gend_ = begin_;
    if (!transport_->SysRead(data, size, done)) return false;
    gpos_ = gend_ = begin_ + (done < Size_() ? done : Size_());
    return true;
}

int Buffer::GetCharSlow_() {
    if (!HasBlock_() || !Flush_()) return CHAR_END;
    if (gpos_ == gend_ && (!Fill_() || gpos_ == gend_)) return CHAR_END;
    return *gpos_++;
}

bool Buffer::PutBack(char c) {
    if (!Flush_()) return false;
    if (gpos_ == begin_) return state_->Fail(Stateful::STATE_FAILED);
    *--gpos_ = c;
    return true;
}

bool Buffer::GSkip(unsigned long count) {
    if (!Flush_() || count > GCount()) return state_->Fail(Stateful::STATE_FAILED);
    gpos_ += count;
    return true;
}

bool Buffer::Fill() {
    if (!HasBlock_() || !Flush_()) return false;
    return gpos_ != gend_ || Fill_();
}

bool Buffer::Write(void const* data, unsigned long size, unsigned long& done) {
    done = 0;
    if (!HasBlock_() || !Ok()) return false;
    DropInput_();
    if (ppos_ == end_ && !Flush_()) return false;
    unsigned long const room = static_cast<unsigned long>(end_ - ppos_);
    done = size < room ? size : room;
    if (done > 0) memcpy(ppos_, data, done);
    ppos_ += done;
    return true;
}

bool Buffer::WriteBulk(void const* data, unsigned long size, unsigned long& done) {
    bool const full = ppos_ == end_;
    if (size < Size_() || (pstart_ != ppos_ && !full)) return Write(data, size, done);
    done = 0;
    if (!HasBlock_() || !Ok()) return false;
    DropInput_();
    return Flush_() && transport_->SysWrite(data, size, done);
}

bool Buffer::PutCharSlow_(char c) {
    unsigned long done = 0;
    return Write(&c, 1, done);
}

bool Buffer::PSkip(unsigned long count) {
    if (!Ok()) return false;
    // Nothing to commit; while input is unread there is no write position to advance.
    if (count == 0) return true;
    if (count > PFree()) return state_->Fail(Stateful::STATE_FAILED);
    ppos_ += count;
    return true;
}

bool Buffer::PTruncate(unsigned long count) {
    if (count > PCount()) return state_->Fail(Stateful::STATE_FAILED);
    ppos_ = pstart_ + count;
    return true;
}

bool Buffer::Flush() {
    DropInput_();
    return Flush_();
}

bool Buffer::SysFlush() { return Flush() && transport_->SysFlush(); }

} // namespace Io
