#include "zeb/stream/OStream.h"

#include "zeb/core/Digits.h"
#include "zeb/stream/IStream.h"

#include <ctype.h>
#include <type_traits>

namespace Io {

namespace {

constexpr unsigned long CASE_CHUNK = 32;
constexpr unsigned long NUMBER_SIZE = 22;
static_assert(Digits::MAX_SIZE <= NUMBER_SIZE, "a number must fit");

unsigned long Smaller(unsigned long a, unsigned long b) { return a < b ? a : b; }

} // namespace

OStream::OStream(OStream& parent, OStreamBuffer& buffer, EndOfLineT const& eol)
    : Stateful(&parent == this ? nullptr : static_cast<Stateful*>(&parent))
    , parent_(&parent)
    , buffer_(&buffer)
    , eol_(eol) {}

OStream::OStream(OStreamBuffer& buffer, EndOfLineT const& eol)
    : parent_(this)
    , buffer_(&buffer)
    , eol_(eol) {}

OStream::~OStream() = default;

void OStream::Attach(OStream* parent) {
    parent_ = parent;
    Stateful::Attach(parent);
}

OStream& OStream::Set_(uint32_t set, uint32_t clear) {
    OStream* const root = OutRoot_();
    root->flags_ = (root->flags_ & ~clear) | set;
    return *this;
}

void OStream::FmtWrite_(char const* text, unsigned long size) {
    OStream& root = *OutRoot_();
    Buffer* const direct = Buffer::From(*root.buffer_);
    bool const plain = root.width_ <= size && (root.flags_ & FMT_CASE) == 0;
    if (plain && direct != nullptr && direct->PutFitting(text, size)) return;
    FmtWriteSlow_(root, text, size);
}

// Each step records its failure as a state, and does nothing after one.
void OStream::FmtWriteSlow_(OStream& root, char const* text, unsigned long size) {
    unsigned long const fill = root.width_ > size ? root.width_ - size : 0;
    bool const right = (root.flags_ & FMT_RIGHT) != 0;
    if (fill > 0 && right) (void)Fill(root.fill_, fill, nullptr);
    if ((root.flags_ & FMT_CASE) != 0) {
        WriteCase_(root, text, size);
    } else {
        (void)root.buffer_->WriteAll(text, size);
    }
    if (fill > 0 && !right) (void)Fill(root.fill_, fill, nullptr);
}

void OStream::WriteCase_(OStream& root, char const* text, unsigned long size) {
    int (*const map)(int) = (root.flags_ & FMT_UPPER) != 0 ? &toupper : &tolower;
    char chunk[CASE_CHUNK];
    for (unsigned long done = 0; done < size && Ok(); done += CASE_CHUNK) {
        unsigned long const count = Smaller(CASE_CHUNK, size - done);
        for (unsigned long i = 0; i < count; ++i)
            chunk[i] = static_cast<char>(map(static_cast<unsigned char>(text[done + i])));
        (void)root.buffer_->WriteAll(chunk, count);
    }
}

template<class Number>
void OStream::Print_(Number value) {
    char text[NUMBER_SIZE];
    char* end = nullptr;
    if ((OutRoot_()->flags_ & FMT_HEX) != 0) {
        end = Digits::PrintHex(text, static_cast<std::make_unsigned_t<Number>>(value));
    } else {
        end = Digits::Print(text, value);
    }
    FmtWrite_(text, static_cast<unsigned long>(end - text));
}

OStream& OStream::operator<<(CString const& text) {
    FmtWrite_(text.Cstr(), text.Size());
    return *this;
}

OStream& OStream::operator<<(char const* text) { return *this << CString(text); }

OStream& OStream::operator<<(long const& value) {
    Print_(value);
    return *this;
}

OStream& OStream::operator<<(unsigned long const& value) {
    Print_(value);
    return *this;
}

OStream& OStream::operator<<(long long const& value) {
    Print_(value);
    return *this;
}

OStream& OStream::operator<<(unsigned long long const& value) {
    Print_(value);
    return *this;
}

OStream& OStream::operator<<(EndlT const&) {
    if (!Ok()) return *this;
    // A failure of one is a state, which stops the next.
    if (IsEndlCrlf()) (void)PutChar('\r');
    (void)PutChar('\n');
    if (lazyEndl_ == 0) (void)Flush();
    return *this;
}

bool OStream::Fill(char c, unsigned long count, unsigned long* done) {
    OStreamBuffer& buffer = OutBuffer();
    unsigned long written = 0;
    while (written < count && Ok()) {
        if (!MakeRoom_(buffer)) break;
        unsigned long const part = Smaller(buffer.PFree(), count - written);
        memset(buffer.PPos(), c, part);
        if (buffer.PSkip(part)) written += part;
    }
    if (done != nullptr) *done = written;
    return Ok();
}

// A buffer that has no room after a flush has no block.
bool OStream::MakeRoom_(OStreamBuffer& buffer) {
    if (buffer.PFree() > 0) return true;
    if (!buffer.Flush()) return false;
    return buffer.PFree() > 0 || Fail(STATE_FAILED);
}

bool OStream::Copy(IStream& from) {
    OStreamBuffer& buffer = OutBuffer();
    IStreamBuffer& source = from.InBuffer();
    // In one block either would destroy the other.
    Buffer* const shared = Buffer::From(buffer);
    if (shared != nullptr && shared == Buffer::From(source)) return Fail(STATE_FAILED);
    while (Ok() && from.Ok() && !from.Eos() && MakeRoom_(buffer)) {
        unsigned long done = 0;
        if (source.Read(buffer.PPos(), buffer.PFree(), done)) (void)buffer.PSkip(done);
    }
    (void)buffer.Flush();
    return Ok() && from.Ok();
}

} // namespace Io
