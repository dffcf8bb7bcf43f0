#pragma once

// The one implementation of both stream buffers, over a block of memory.
//
// One Buffer serves both directions of an object when the class passes it for both, as files do. Unread input
// and pending output then never coexist: a read first writes pending output out, a write first drops unread
// input. A class that needs the directions apart owns two.
//
//   begin      gpos       gend              end          begin   pstart     ppos       end
//   | taken    | unread   |                 |     or     | sent  | pending  | free     |
//
// Owns       nothing: the block is that of Memory, or of the object
// Threads    one
// Waits      as the transport does. Each transfer is one system call for one block: 64 KiB suits bulk
//            data, what a line needs suits a terminal
// Destroy    anywhere; nothing is flushed
// Failure    by the state of the Stateful it was given. Without a block (none set, or one of size 0)
//            everything fails with STATE_FAILED. Output that could not be written stays pending

#include "zeb/stream/Base.h"
#include "zeb/stream/IStreamBuffer.h"
#include "zeb/stream/OStreamBuffer.h"

#include <cstring>

namespace Io {

class ZEB_PUBLIC Buffer final : public IStreamBuffer, public OStreamBuffer {
public:
    // Both must outlive the buffer.
    Buffer(Base& transport, Stateful& state)
        : IStreamBuffer(true)
        , OStreamBuffer(true)
        , transport_(&transport)
        , state_(&state) {}
    ~Buffer() override;

    // The Buffer behind an interface, or null when it is of another class.
    static Buffer* From(IStreamBuffer& buffer) {
        return buffer.isBuffer_ ? static_cast<Buffer*>(&buffer) : nullptr;
    }
    static Buffer* From(OStreamBuffer& buffer) {
        return buffer.isBuffer_ ? static_cast<Buffer*>(&buffer) : nullptr;
    }

    // Points the buffer at a block, dropping what it held; Set(nullptr, 0) detaches it.
    void Set(void* block, unsigned long size);

    bool Ok() const override { return state_->Ok(); }

    bool Read(void* data, unsigned long size, unsigned long& done) override;
    int GetChar() override { return gpos_ != gend_ && Ok() ? *gpos_++ : GetCharSlow_(); }
    bool PutBack(char c) override;
    char const* GPos() const override { return gpos_; }
    char const* GEnd() const override { return gend_; }
    bool GSkip(unsigned long count) override;
    unsigned long GCount() const override { return static_cast<unsigned long>(gend_ - gpos_); }
    bool Fill() override;
    bool Eos() const override { return transport_->Eos(); }
    void ClearEos() override { transport_->SetEos(false); }

    bool Write(void const* data, unsigned long size, unsigned long& done) override;
    bool PutChar(char c) override {
        if (gpos_ != gend_ || ppos_ == end_ || !Ok()) return PutCharSlow_(c);
        *ppos_++ = c;
        return true;
    }
    char* PPos() const override { return gpos_ == gend_ ? ppos_ : end_; }
    char* PEnd() const override { return end_; }
    bool PSkip(unsigned long count) override;
    bool PTruncate(unsigned long count) override;
    unsigned long PCount() const override { return static_cast<unsigned long>(ppos_ - pstart_); }
    unsigned long PFree() const override { return static_cast<unsigned long>(end_ - PPos()); }
    bool Flush() override;
    bool SysFlush() override;

    // Takes unread data that the caller has looked at between GPos() and GEnd().
    void Take(unsigned long count) { gpos_ += count; }
    // Writes a text that leaves room in the block as it stands; false, with nothing done, when it does not.
    // Without a block there is no room to leave.
    bool PutFitting(char const* text, unsigned long size) {
        if (gpos_ != gend_ || static_cast<unsigned long>(end_ - ppos_) <= size || !Ok()) return false;
        memcpy(ppos_, text, size);
        ppos_ += size;
        return true;
    }

    // One transfer straight between the caller and the transport, for sizes of a block and above when the
    // block is empty; otherwise the same as Read and Write.
    bool ReadBulk(void* data, unsigned long size, unsigned long& done);
    bool WriteBulk(void const* data, unsigned long size, unsigned long& done);

private:
    bool HasBlock_() const;
    unsigned long Size_() const { return static_cast<unsigned long>(end_ - begin_); }
    void DropInput_() { gpos_ = gend_; }
    bool Flush_();
    bool Fill_();
    bool ReadPast_(void* data, unsigned long size, unsigned long& done);
    int GetCharSlow_();
    bool PutCharSlow_(char c);

    Base* transport_;
    Stateful* state_;
    char* begin_ = nullptr;
    char* end_ = nullptr;
    char* gpos_ = nullptr;
    char* gend_ = nullptr;
    char* pstart_ = nullptr;
    char* ppos_ = nullptr;
};

} // namespace Io
