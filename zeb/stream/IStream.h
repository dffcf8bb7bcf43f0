#pragma once

// Formatted input through a buffer: lines, numbers, characters.
//
//   String line;
//   while (in.NextLine(line)) Use(line);
//   if (!in.Ok()) Log(Log::ERROR, IDENT, path, "unusable: %1") << in.ErrorString();
//
// Owns       nothing; the text of a line is its caller's String
// Threads    one
// Waits      every operation, for the transport behind the buffer (see Pollable for what ends that)
// Alias      buffer and end-of-line rule are those of the root of the chain of parents
// Failure    by its state (see Stateful): all operations on a failed object return false, or leave
//            their target alone. STATE_EOS comes from the first operation that finds nothing at all
// Memory     only lines take any; STATE_NO_MEMORY, with what was read so far in the target

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

    // Reads one line into `out`, without its end, by the end-of-line rule of the root. True also for a last
    // line without an end, and once more, with an empty line, behind a last line end: the end of the stream
    // is found by reading on. Then STATE_EOS. A longer line comes in pieces of `limit`, with no error.
    // STATE_INVALID for a control character or a wrong line end, STATE_TRUNCATED for a CR at the very end.
    // After a failure the text so far is in `out`; when it was a time-out, clear the state and go on behind
    // it with ReadString_.
    bool ReadLine(String& out, unsigned long limit = LINE_LIMIT);
    // The same without the empty line behind the last line end: false at the end of the stream, with the
    // state left good.
    bool NextLine(String& out, unsigned long limit = LINE_LIMIT);
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

    // One character behind white space. At the end of data STATE_EOS, and the target is left alone.
    IStream& operator>>(char& value);
    IStream& operator>>(signed char& value);
    IStream& operator>>(unsigned char& value);

    // A decimal number behind white space, up to the first character that is no digit, which is left unread.
    // The target is left alone on failure:
    //   STATE_EOS      nothing but white space is left
    //   STATE_INVALID  no digit, a plus sign, a minus sign for an unsigned type (left unread); or a number
    //                  outside of the type, whose digits are consumed. A number of twenty digits and more
    //                  may wrap within 64 bits without notice
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
