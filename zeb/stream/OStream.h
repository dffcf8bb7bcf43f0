#pragma once

// Formatted output through a buffer: text, numbers, ends of lines.
//
//   out.Width(8).Right() << count;
//   out.Width(0) << " packets" << Io::Endl;
//   if (!out.Flush()) ...
//
// Settings are sticky: width, fill, side, base and case stay until changed. They belong to the root of the
// chain of parents, like the buffer and the end-of-line rule; only LazyEndl belongs to the object itself.
//
// Owns       nothing
// Threads    one
// Waits      an operation that fills the block, and Flush(), for the transport (see Pollable for what
//            ends that)
// Destroy    anywhere; nothing is flushed here. A concrete class says what its destructor does
// Failure    all `<<` report by state alone (see Stateful), so a chain is tested once at its end.
//            Success means that the block has the text: only Flush() tells whether the transport took
//            it. After a failure a part may have gone out; what is pending then goes out by a Flush()
//            behind ClearState_()
// Memory     none is taken

#include "zeb/core/CString.h"
#include "zeb/stream/Buffer.h"
#include "zeb/stream/Mode.h"

namespace Io {

class IStream;

// The tag that selects the end of line: stream << Io::Endl.
struct EndlT {};
inline constexpr EndlT Endl{};

class ZEB_PUBLIC OStream : public virtual Stateful {
public:
    enum FlagT : uint32_t {
        FMT_RIGHT = 1, // fill goes before the text instead of behind it
        FMT_HEX = 2,   // integers in hexadecimal
        FMT_UPPER = 4, // with FMT_CASE: upper case instead of lower
        FMT_CASE = 8,  // every character is mapped to one case
    };

    // Attached to `parent`, which may be this object itself. The buffer and the rule must outlive it.
    OStream(OStream& parent, OStreamBuffer& buffer, EndOfLineT const& eol);
    // A root.
    OStream(OStreamBuffer& buffer, EndOfLineT const& eol);
    ~OStream() override;

    // The buffer of the root: for raw writes, and for writing in place.
    OStreamBuffer& OutBuffer() const { return *OutRoot_()->buffer_; }

    // Unformatted.
    bool PutChar(char c) {
        OStreamBuffer& buffer = OutBuffer();
        Buffer* const direct = Buffer::From(buffer);
        return direct != nullptr ? direct->PutChar(c) : buffer.PutChar(c);
    }
    bool WriteAll(void const* data, unsigned long size) { return OutBuffer().WriteAll(data, size); }
    bool Flush() { return OutBuffer().Flush(); }

    OStream& Width(unsigned long width) { return OutRoot_()->width_ = width, *this; }
    OStream& Fill(char fill) { return OutRoot_()->fill_ = fill, *this; }
    OStream& Left() { return Set_(0, FMT_RIGHT); }
    OStream& Right() { return Set_(FMT_RIGHT, 0); }
    OStream& Hex() { return Set_(FMT_HEX, 0); }
    OStream& Dec() { return Set_(0, FMT_HEX); }
    OStream& Upper() { return Set_(FMT_CASE | FMT_UPPER, 0); }
    OStream& Lower() { return Set_(FMT_CASE, FMT_UPPER); }
    // Letters as they come, the setting of a new stream.
    OStream& AnyCase() { return Set_(0, FMT_CASE | FMT_UPPER); }
    // Whether Endl leaves the line in the buffer (the setting of a new stream) or flushes; of this object.
    OStream& LazyEndl(bool lazy) { return lazyEndl_ = lazy ? 1 : 0, *this; }
    bool IsLazyEndl() const { return lazyEndl_ != 0; }
    // Whether Endl writes CR LF rather than LF.
    bool IsEndlCrlf() const {
        EndOfLineT const eol = OutRoot_()->eol_;
        return eol == EOL_CRLF || eol == EOL_ANY_CRLF;
    }

    // Writes a text with width, fill and case.
    void FmtWrite_(char const* text, unsigned long size);

    OStream& operator<<(CString const& text);
    OStream& operator<<(char const* text);
    OStream& operator<<(char c) { return FmtWrite_(&c, 1), *this; }
    OStream& operator<<(signed char c) { return *this << static_cast<char>(c); }
    OStream& operator<<(unsigned char c) { return *this << static_cast<char>(c); }
    OStream& operator<<(short const& value) { return *this << static_cast<long>(value); }
    OStream& operator<<(unsigned short const& value) { return *this << static_cast<unsigned long>(value); }
    OStream& operator<<(int const& value) { return *this << static_cast<long>(value); }
    OStream& operator<<(unsigned int const& value) { return *this << static_cast<unsigned long>(value); }
    // A hexadecimal negative number prints as its two's complement.
    OStream& operator<<(long const& value);
    OStream& operator<<(unsigned long const& value);
    OStream& operator<<(long long const& value);
    OStream& operator<<(unsigned long long const& value);
    OStream& operator<<(EndlT const&);

    // Writes `count` copies of `c`; `done`, if not null, receives the number written.
    bool Fill(char c, unsigned long count, unsigned long* done);

    // Moves all remaining data of `from` to this stream and flushes. True if both streams are good at the
    // end. STATE_FAILED for a stream of one block, and itself.
    [[nodiscard]] bool Copy(IStream& from);

    // Makes this object an alias of another stream.
    void Attach(OStream* parent);

private:
    OStream* OutRoot_() const {
        OStream const* root = this;
        while (root->parent_ != root)
            root = root->parent_;
        return const_cast<OStream*>(root);
    }
    OStream& Set_(uint32_t set, uint32_t clear);
    void FmtWriteSlow_(OStream& root, char const* text, unsigned long size);
    void WriteCase_(OStream& root, char const* text, unsigned long size);
    bool MakeRoom_(OStreamBuffer& buffer);
    template<class Number>
    void Print_(Number value);

    OStream* parent_;
    OStreamBuffer* buffer_;
    EndOfLineT const& eol_;
    uint32_t lazyEndl_ = 1;
    uint64_t width_ = 0;
    signed char fill_ = ' ';
    uint32_t flags_ = 0;
};

} // namespace Io
