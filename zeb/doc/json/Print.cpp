#include "zeb/core/Digits.h"
#include "zeb/doc/Writer.h"
#include "zeb/doc/json/Decimal.h"
#include "zeb/doc/json/Document.h"
#include "zeb/doc/json/Plain.h"

#include <cstring>

namespace Json {

namespace {

using Byte = unsigned char;

constexpr unsigned long INDENT = 2;
constexpr char HEX_DIGITS[] = "0123456789ABCDEF";

// Ends of a text of 4 to 16 bytes, which overlap: all of it is looked at and copied. False when a byte may be
// none that stands for itself.
template<class Word>
bool CopyPlainEnds(char* to, char const* from, unsigned long size) {
    Word first;
    Word last;
    memcpy(&first, from, sizeof(Word));
    memcpy(&last, from + size - sizeof(Word), sizeof(Word));
    memcpy(to, &first, sizeof(Word));
    memcpy(to + size - sizeof(Word), &last, sizeof(Word));
    if constexpr (sizeof(Word) == 4) return !MayHaveSpecial(first | uint64_t{last} << 32);
    return !MayHaveSpecial(first) && !MayHaveSpecial(last);
}

// The text as it is; false when a byte of it does not, or may not, stand for itself.
bool CopyPlain(char* to, char const* from, unsigned long size) {
    if (size < 4) {
        for (unsigned long i = 0; i < size; ++i) {
            if (!IsPlain(static_cast<Byte>(from[i]))) return false;
            to[i] = from[i];
        }
        return true;
    }
    if (size < 8) return CopyPlainEnds<uint32_t>(to, from, size);
    if (size < Simd::COUNT) return CopyPlainEnds<uint64_t>(to, from, size);

    for (unsigned long i = 0; i < size; i += Simd::COUNT) {
        unsigned long const at = i + Simd::COUNT <= size ? i : size - Simd::COUNT; // the last ones overlap
        Simd::Block const block = Simd::Load(from + at);
        Simd::Store(to + at, block);
        if (FindSpecials(block) != 0) return false;
    }
    return true;
}

class Printer_ {
public:
    Printer_(Io::OStream& stream, bool compact)
        : stream_(stream)
        , writer_(stream)
        , compact_(compact)
        , crlf_(stream.IsEndlCrlf())
        , lazy_(stream.IsLazyEndl()) {}

    bool Print(Value const& value) {
        PrintValue_(value);
        return writer_.Finish();
    }

private:
    void PrintValue_(Value const& value);
    void PrintNumber_(Value const& value);
    void PrintArray_(Array const& array);
    void PrintObject_(Object const& object);

    void PrintString_(CString const& text);
    void PrintEscaped_(Byte const* at, Byte const* end);
    void PrintSpecial_(Byte c);

    void EndLine_();

    Io::OStream& stream_;
    Doc::Writer writer_;
    bool const compact_;
    bool const crlf_;
    bool const lazy_;
    unsigned long indent_ = 0;
};

void Printer_::PrintValue_(Value const& value) {
    switch (value.Type()) {
    case Value::TYPE_NULL:
        return writer_.Put("null");
    case Value::TYPE_FALSE:
        return writer_.Put("false");
    case Value::TYPE_TRUE:
        return writer_.Put("true");
    case Value::TYPE_OBJECT:
        return PrintObject_(*value.Object());
    case Value::TYPE_ARRAY:
        return PrintArray_(*value.Array());
    case Value::TYPE_STRING:
        return PrintString_(value.String());
    case Value::TYPE_NUMBER:
        return PrintNumber_(value);
    }
}

void Printer_::PrintNumber_(Value const& value) {
    char text[DOUBLE_SIZE];
    bool const inPlace = writer_.Room() >= sizeof(text);
    char* const begin = inPlace ? writer_.At() : text;
    char* const end = value.IsLongLong()    ? Digits::PrintSigned(begin, value.LongLong())
                      : value.IsULongLong() ? Digits::PrintDecimal(begin, value.ULongLong())
                                            : PrintDouble(begin, value.Double());
    unsigned long const size = static_cast<unsigned long>(end - begin);
    if (size == 0) return stream_.SetState(Io::Stateful::STATE_FAILED);
    inPlace ? writer_.Advance(size) : writer_.Put(text, size);
}

void Printer_::PrintArray_(Array const& array) {
    writer_.Put('[');
    indent_ += INDENT;
    for (Array::Element const* element = array.First(); element != nullptr; element = element->Next()) {
        EndLine_();
        PrintValue_(*element->Value());
        if (element->Next() != nullptr) writer_.Put(',');
    }
    indent_ -= INDENT;
    EndLine_();
    writer_.Put(']');
}

void Printer_::PrintObject_(Object const& object) {
    writer_.Put('{');
    indent_ += INDENT;
    for (Object::Member const* member = object.First(); member != nullptr; member = member->Next()) {
        EndLine_();
        PrintString_(member->Name());
        compact_ ? writer_.Put(':') : writer_.Put(": ");
        PrintValue_(*member->Value());
        if (member->Next() != nullptr) writer_.Put(',');
    }
    indent_ -= INDENT;
    EndLine_();
    writer_.Put('}');
}

// A line end and the indent of the next line.
void Printer_::EndLine_() {
    if (compact_) return;
    if (crlf_) writer_.Put('\r');
    writer_.Put('\n');
    if (!lazy_) writer_.Flush();
    writer_.Fill(' ', indent_);
}

void Printer_::PrintString_(CString const& text) {
    unsigned long const size = text.Size();
    if (writer_.Room() >= size + 2) {
        char* const out = writer_.At();
        out[0] = '"';
        if (CopyPlain(out + 1, text.Cstr(), size)) {
            out[size + 1] = '"';
            return writer_.Advance(size + 2);
        }
    }
    writer_.Put('"');
    Byte const* const begin = reinterpret_cast<Byte const*>(text.Cstr());
    PrintEscaped_(begin, begin + size);
    writer_.Put('"');
}

void Printer_::PrintEscaped_(Byte const* at, Byte const* end) {
    for (;;) {
        Byte const* const special = FindSpecial(at, end);
        writer_.Put(reinterpret_cast<char const*>(at), static_cast<unsigned long>(special - at));
        if (special == end) return;
        PrintSpecial_(*special);
        at = special + 1;
    }
}

void Printer_::PrintSpecial_(Byte c) {
    constexpr char LETTERS[] = "btn?fr"; // of the codes from 8; there is none for 11
    if (c == '"' || c == '\\') {
        char const pair[] = {'\\', static_cast<char>(c)};
        return writer_.Put(pair, sizeof(pair));
    }
    if (c >= '\b' && c <= '\r' && c != '\v') {
        char const pair[] = {'\\', LETTERS[c - '\b']};
        return writer_.Put(pair, sizeof(pair));
    }
    char const code[] = {'\\', 'u', '0', '0', HEX_DIGITS[c >> 4], HEX_DIGITS[c & 0xF]};
    writer_.Put(code, sizeof(code));
}

} // namespace

bool Print(Io::OStream& stream, Value const& value, bool compact) {
    return Printer_(stream, compact).Print(value);
}

bool Document::Print(Io::OStream& stream, bool compact) const { return Json::Print(stream, *this, compact); }

} // namespace Json
