#include "zeb/stream/IStream.h"

#include "zeb/stream/TextScan.h"

#include <limits>

namespace Io {

namespace {

// Runs `body` on the buffer as what it is: the calls into an Io::Buffer are then direct.
template<class Body>
auto With(IStreamBuffer& buffer, Body body) {
    Buffer* const direct = Buffer::From(buffer);
    return direct != nullptr ? body(*direct) : body(buffer);
}

template<class B>
bool AtEnd(B const& buffer) {
    return buffer.GCount() == 0 && buffer.Eos();
}

// Takes what was looked at between GPos() and GEnd(). Unread data proves that no output is pending.
inline void Take(Buffer& buffer, unsigned long count) { buffer.Take(count); }
inline void Take(IStreamBuffer& buffer, unsigned long count) {
    // A failure is a state, which the next step of the reader sees.
    if (count > 0) (void)buffer.GSkip(count);
}

// The start of every reader: false on a failed object, and at the end of the stream.
template<class B>
inline bool CanRead(IStream const& stream, B const& buffer) {
    return stream.Ok() && (!AtEnd(buffer) || stream.Fail(Stateful::STATE_EOS));
}

class LineReader_ {
public:
    LineReader_(IStream& stream, String* out, unsigned long limit, EndOfLineT eol)
        : stream_(stream)
        , out_(out)
        , limit_(limit)
        , eol_(eol) {}

    template<class B>
    bool Read(B& buffer) {
        if (!CanRead(stream_, buffer)) return false;
        while (!AtEnd(buffer)) {
            unsigned long const unread = buffer.GCount();
            unsigned long const room = Room_();
            char const* const text = buffer.GPos();
            unsigned long const size = TextRun(text, unread < room ? unread : room);
            if (!Add_(text, size)) return stream_.Fail(Stateful::STATE_NO_MEMORY);
            Take(buffer, size);
            if (size < unread) return End_(buffer);
            if (!buffer.Fill()) return false;
        }
        return true;
    }

private:
    // How much more text the caller wants.
    unsigned long Room_() const {
        if (out_ == nullptr) return std::numeric_limits<unsigned long>::max();
        return out_->Size() < limit_ ? limit_ - out_->Size() : 0;
    }

    bool Add_(char const* text, unsigned long size) {
        return out_ == nullptr || size == 0 || out_->Append(CString(text, size));
    }

    // At the first character that is no text, or at the limit.
    template<class B>
    bool End_(B& buffer) {
        char const c = *buffer.GPos();
        if (c == '\n') {
            if (eol_ == EOL_CRLF) return stream_.Fail(Stateful::STATE_INVALID);
            Take(buffer, 1);
            return true;
        }
        if (c != '\r') return Room_() == 0 || stream_.Fail(Stateful::STATE_INVALID);
        if (eol_ == EOL_LF) return stream_.Fail(Stateful::STATE_INVALID);
        Take(buffer, 1);
        if (buffer.GCount() == 0) {
            if (!buffer.Fill()) return false;
            if (AtEnd(buffer)) return stream_.Fail(Stateful::STATE_TRUNCATED);
        }
        if (*buffer.GPos() != '\n') return stream_.Fail(Stateful::STATE_INVALID);
        Take(buffer, 1);
        return true;
    }

    IStream& stream_;
    String* out_;
    unsigned long limit_;
    EndOfLineT eol_;
};

template<int (*IsClass)(int)>
bool IsOf(char c) {
    // What is the same in every locale is not worth a call.
    if constexpr (IsClass == &isspace) {
        if (static_cast<unsigned char>(c - '!') < 0x7F - '!') return false;
        if (c == ' ' || c == '\n') return true;
    }
    return IsClass(static_cast<unsigned char>(c)) != 0;
}

template<int (*IsClass)(int), class B>
bool SkipClass(B& buffer) {
    while (!AtEnd(buffer)) {
        char const* const begin = buffer.GPos();
        char const* const end = buffer.GEnd();
        char const* pos = begin;
        while (pos != end && IsOf<IsClass>(*pos))
            ++pos;
        Take(buffer, static_cast<unsigned long>(pos - begin));
        if (pos != end) return true;
        if (!buffer.Fill()) return false;
    }
    return true;
}

// A number being read: digits across refills. A wrapped sum that falls, or one past the greatest magnitude,
// is remembered and does not stop the scan.
struct Digits_ {
    uint64_t max;
    uint64_t value = 0;
    bool any = false;
    bool overflow = false;

    // Gives the first character behind the run, or `end`.
    char const* Scan(char const* begin, char const* end) {
        uint64_t sum = value;
        bool over = false;
        char const* pos = begin;
        for (; pos != end && static_cast<unsigned char>(*pos - '0') < 10; ++pos) {
            uint64_t const next = sum * 10 + static_cast<unsigned char>(*pos - '0');
            over |= next < sum || next > max;
            sum = next;
        }
        value = sum;
        overflow |= over;
        any |= pos != begin;
        return pos;
    }

    template<class B>
    bool Read(B& buffer) {
        while (!AtEnd(buffer)) {
            char const* const begin = buffer.GPos();
            char const* const end = buffer.GEnd();
            char const* const pos = Scan(begin, end);
            Take(buffer, static_cast<unsigned long>(pos - begin));
            if (pos != end) return true;
            if (!buffer.Fill()) return false;
        }
        return true;
    }
};

template<class B>
bool ReadNumber(B& buffer, IStream& stream, bool isSigned, unsigned width, uint64_t& value) {
    if (!CanRead(stream, buffer) || !SkipClass<&isspace>(buffer)) return false;
    if (AtEnd(buffer)) return stream.Fail(Stateful::STATE_EOS);
    Digits_ digits{std::numeric_limits<uint64_t>::max() >> (64 - 8 * width + (isSigned ? 1 : 0))};
    bool const minus = *buffer.GPos() == '-';
    bool valid = isSigned || !minus;
    if (valid) {
        if (minus) {
            Take(buffer, 1);
            ++digits.max;
        }
        if (!digits.Read(buffer)) return false;
        valid = digits.any && !digits.overflow;
    }
    if (!valid) return stream.Fail(Stateful::STATE_INVALID);
    value = minus ? 0 - digits.value : digits.value;
    return true;
}

} // namespace

unsigned char const IStream::PRINTABLE[256] = {
    0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1,
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1,
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1,
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1,
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1,
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1,
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 0,
};

IStream::IStream(IStream& parent, IStreamBuffer& buffer, EndOfLineT const& eol)
    : Stateful(&parent == this ? nullptr : static_cast<Stateful*>(&parent))
    , parent_(&parent)
    , buffer_(&buffer)
    , eol_(eol) {}

IStream::IStream(IStreamBuffer& buffer, EndOfLineT const& eol)
    : parent_(this)
    , buffer_(&buffer)
    , eol_(eol) {}

IStream::~IStream() = default;

void IStream::Attach(IStream* parent) {
    parent_ = parent;
    Stateful::Attach(parent);
}

bool IStream::Eos() const {
    return With(InBuffer(), [](auto& buffer) { return AtEnd(buffer); });
}

bool IStream::ReadLine(String& out, unsigned long limit) {
    out.Clear();
    return ReadString_(&out, limit, InRoot_()->eol_);
}

bool IStream::NextLine(String& out, unsigned long limit) {
    if (Ok() && Eos()) {
        out.Clear();
        return false;
    }
    return ReadLine(out, limit) && !(out.Empty() && Eos());
}

bool IStream::SkipLine() { return ReadString_(nullptr, 0, InRoot_()->eol_); }

bool IStream::ReadString_(String* out, unsigned long limit, EndOfLineT eol) {
    LineReader_ reader(*this, out, limit, eol);
    return With(InBuffer(), [&](auto& buffer) { return reader.Read(buffer); });
}

bool IStream::Skip(CString const& text, unsigned long* count) {
    IStreamBuffer& buffer = InBuffer();
    unsigned long matched = 0;
    bool same = true;
    while (same && matched < text.Size() && Ok()) {
        if (buffer.GCount() == 0) {
            // The next pass sees a failure; at the end of data that is the second refill.
            (void)buffer.Fill();
            continue;
        }
        same = *buffer.GPos() == text[matched];
        if (!same) continue;
        Take(buffer, 1);
        ++matched;
    }
    if (!same) SetState(STATE_INVALID);
    if (count != nullptr) *count = matched;
    return matched == text.Size() && Ok();
}

template<int (*IsClass)(int)>
bool IStream::Skip() {
    return With(InBuffer(),
                [&](auto& buffer) { return CanRead(*this, buffer) && SkipClass<IsClass>(buffer); });
}

template ZEB_PUBLIC bool IStream::Skip<&isspace>();

template<class Char>
IStream& IStream::Char_(Char& value) {
    if (!Skip<&isspace>()) return *this;
    int const c = GetChar();
    if (c != IStreamBuffer::CHAR_END) value = static_cast<Char>(c);
    return *this;
}

template<class Number>
IStream& IStream::Number_(Number& value) {
    uint64_t read = 0;
    bool const done = With(InBuffer(), [&](auto& buffer) {
        return ReadNumber(buffer, *this, std::numeric_limits<Number>::is_signed, sizeof(Number), read);
    });
    if (done) value = static_cast<Number>(read);
    return *this;
}

IStream& IStream::operator>>(char& value) { return Char_(value); }
IStream& IStream::operator>>(signed char& value) { return Char_(value); }
IStream& IStream::operator>>(unsigned char& value) { return Char_(value); }
IStream& IStream::operator>>(short& value) { return Number_(value); }
IStream& IStream::operator>>(unsigned short& value) { return Number_(value); }
IStream& IStream::operator>>(int& value) { return Number_(value); }
IStream& IStream::operator>>(unsigned int& value) { return Number_(value); }
IStream& IStream::operator>>(long& value) { return Number_(value); }
IStream& IStream::operator>>(unsigned long& value) { return Number_(value); }
IStream& IStream::operator>>(long long& value) { return Number_(value); }
IStream& IStream::operator>>(unsigned long long& value) { return Number_(value); }

} // namespace Io
