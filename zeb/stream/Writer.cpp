#include "zeb/stream/Writer.h"

void Doc::Writer::Begin_() {
    failed_ = !buffer_.Ok();
    begin_ = at_ = buffer_.PPos();
    end_ = failed_ ? at_ : at_ + buffer_.PFree();
}

void Doc::Writer::Commit_() {
    if (at_ == begin_) return;
    if (!buffer_.PSkip(static_cast<unsigned long>(at_ - begin_))) failed_ = true;
    begin_ = at_;
}

bool Doc::Writer::Refill_() {
    if (failed_) return false;
    Commit_();
    buffer_.Flush();
    Begin_();
    if (at_ == end_ && !failed_) {
        // There is no block: the stream's own write says so.
        buffer_.PutChar(' ');
        failed_ = true;
    }
    return !failed_;
}

void Doc::Writer::PutSlow_(char const* data, unsigned long size) {
    while (size != 0) {
        if (at_ == end_ && !Refill_()) return;
        unsigned long const part = size < Room() ? size : Room();
        memcpy(at_, data, part);
        at_ += part;
        data += part;
        size -= part;
    }
}

void Doc::Writer::FillSlow_(char c, unsigned long count) {
    while (count != 0) {
        if (at_ == end_ && !Refill_()) return;
        unsigned long const part = count < Room() ? count : Room();
        memset(at_, c, part);
        at_ += part;
        count -= part;
    }
}
