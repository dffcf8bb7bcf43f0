#pragma once

// Formatted input through a buffer: lines, numbers, characters.
//
// Fails by its state (see Stateful): all operations on a failed object return false, or leave their target
// alone. The chain of parents decides which buffer and which end-of-line rule are used: those of the root.
// Owns nothing.

#include "zeb/core/CString.h"
#include "zeb/core/String.h"
#include "zeb/stream/Buffer.h"
#include "zeb/stream/Mode.h"

#include <ctype.h>

namespace Io {

class ZEB_PUBLIC IStream : public virtual Stateful {
public:
    // By unsigned character code: 1 for what line reading takes as text, which is code 9 and all from 32 to
    // 254.
    static unsigned char const PRINTABLE[256];

    // The longest line of ordinary files and status lines, and of HTTP header lines.
    static constexpr unsigned long LINE_LIMIT = 256;
    static constexpr unsigned long HEADER_LINE_LIMIT = 4096;

    // Attached to `parent`, which may be this object itself. The buffer and the rule must outlive it.
    IStream(IStream& parent, IStreamBuffer& buffer, EndOfLineT const& eol);
    // A root.
    IStream(IStreamBuffer& buffer, EndOfLineT const& eol);
    ~IStream() override;

    // The buffer of the root: for raw reads, and for reading in place.
    IStreamBuffer& InBuffer() const { return *InRoot_()->buffer_; }

    // Nothing is unread, and the transport has reached its end.
    bool Eos() const;

    // The next character, sign-extended, or IStreamBuffer::CHAR_END.
    int GetChar() {
        IStreamBuffer& buffer = InBuffer();
        Buffer* const direct = Buffer::From(buffer);
        return direct != nullptr ? direct->GetChar() : buffer.GetChar();
    }
    bool PutBack(char c) { return InBuffer().PutBack(c); }
    // See IStreamBuffer.
    bool Read(void* data, unsigned long size, unsigned long& done) {
        return InBuffer().Read(data, size, done);
    }
    bool ReadAll(void* data, unsigned long size) { return InBuffer().ReadAll(data, size); }

    // Reads one line into `out`, without its end, by the end-of-line rule of the root. A longer line comes in
    // pieces of `limit`, with no error. A last line without an end is accepted, and so is the empty one
    // behind a last line end; STATE_EOS follows. STATE_INVALID for a control character or a wrong line end,
    // with the text before it in `out`.
    bool ReadLine(String& out, unsigned long limit = LINE_LIMIT);
    bool SkipLine();

    // The same with a rule of the caller's. Appends: the size that `out` has counts for `limit`. A null `out`
    // skips a line of any length.
    bool ReadString_(String* out, unsigned long limit, EndOfLineT eol);

    // Consumes exactly `text`. STATE_INVALID at the first character that differs, which is left unread.
    // `count`, if not null, receives the number of characters that matched.
    bool Skip(CString const& text, unsigned long* count);

    // Consumes characters of a class of <ctype.h>; instantiated for isspace. STATE_EOS when nothing is left.
    template<int (*IsClass)(int)>
    bool Skip();

    // One character behind white space; left alone at the end of data.
    IStream& operator>>(signed char& value);
    IStream& operator>>(unsigned char& value);

    // A decimal number behind white space, ended by the first character that is no digit. No plus sign is
    // accepted, and a minus sign only by the signed types. STATE_INVALID, and the target is left alone, for
    // no digits or a number out of range, whose digits are consumed.
    IStream& operator>>(short& value);
    IStream& operator>>(unsigned short& value);
    IStream& operator>>(int& value);
    IStream& operator>>(unsigned int& value);
    IStream& operator>>(long& value);
    IStream& operator>>(unsigned long& value);
    IStream& operator>>(long long& value);
    IStream& operator>>(unsigned long long& value);

    // Makes this object an alias of another stream.
    void Attach(IStream* parent);

private:
    IStream const* InRoot_() const {
        IStream const* root = this;
        while (root->parent_ != root)
            root = root->parent_;
        return root;
    }
    template<class Char>
    IStream& Char_(Char& value);
    template<class Number>
    IStream& Number_(Number& value);

    IStream* parent_;
    IStreamBuffer* buffer_;
    EndOfLineT const& eol_;
};

extern template bool IStream::Skip<&isspace>();

} // namespace Io
