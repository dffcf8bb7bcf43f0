#include "zeb/core/Digits.h"
#include "zeb/doc/json/Cursor.h"
#include "zeb/doc/json/Decimal.h"
#include "zeb/doc/json/Document.h"
#include "zeb/doc/json/Plain.h"
#include "zeb/stream/Writer.h"

#include <cstring>
#include <type_traits>

namespace Json {

namespace {

using Byte = unsigned char;

constexpr unsigned long INDENT = 2;
constexpr char HEX_DIGITS[] = "0123456789ABCDEF";

// The text as it is, in whole groups of 16 bytes at either side; false when a byte of it does not stand for
// itself.
bool CopyPlain(char* to, char const* from, unsigned long size) {
    Simd::Set specials = 0;
    for (unsigned long i = 0; i < size; i += Simd::COUNT) {
        Simd::Block const block = Simd::Load(from + i);
        Simd::Store(to + i, block);
        Simd::Set const found = FindSpecials(block);
        specials |= size - i < Simd::COUNT ? found & Simd::Below(static_cast<unsigned>(size - i)) : found;
    }
    return specials == 0;
}

class Printer_ {
public:
    Printer_(Io::OStream& stream, bool compact)
        : stream_(stream)
        , writer_(stream)
        , compact_(compact)
        , crlf_(stream.IsEndlCrlf())
        , lazy_(stream.IsLazyEndl())
        , plainEnd_(lazy_ && !crlf_) {}

    bool Print(Value const& value) {
        value.IsObject() || value.IsArray() ? PrintTree_(value) : PrintScalar_(value);
        return writer_.Finish();
    }

private:
    void PrintTree_(Value const& top);
    template<class ItemT>
    Value const* PrintItems_(Cursor_& at);
    void Open_(Value const& container);
    void Close_(bool isObject);
    void PrintScalar_(Value const& value);
    void PrintNumber_(Value const& value);

    unsigned long PrintPlain_(CString const& text);
    void PrintString_(CString const& text);
    void PrintName_(CString const& name);
    void PrintEscaped_(Byte const* at, Byte const* end);
    void PrintSpecial_(Byte c);

    void EndLine_();
    void EndLineWide_();

    Io::OStream& stream_;
    Doc::Writer writer_;
    bool const compact_;
    bool const crlf_;
    bool const lazy_;
    bool const plainEnd_; // a line ends in LF and stays in the block
    unsigned long indent_ = 0;
};

void Printer_::PrintScalar_(Value const& value) {
    switch (value.Type()) {
    case Value::TYPE_NULL:
        return writer_.Put("null");
    case Value::TYPE_FALSE:
        return writer_.Put("false");
    case Value::TYPE_TRUE:
        return writer_.Put("true");
    case Value::TYPE_STRING:
        return PrintString_(value.String());
    case Value::TYPE_NUMBER:
        return PrintNumber_(value);
    default:
        return;
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

void Printer_::Open_(Value const& container) {
    writer_.Put(container.IsObject() ? '{' : '[');
    indent_ += INDENT;
}

void Printer_::Close_(bool isObject) {
    indent_ -= INDENT;
    EndLine_();
    writer_.Put(isObject ? '}' : ']');
}

// From the present item up to a container, which is the result, or to the end.
template<class ItemT>
Value const* Printer_::PrintItems_(Cursor_& at) {
    ItemT const* next = nullptr;
    for (ItemT const* item = at.Item<ItemT>(); item != nullptr; item = next) {
        next = item->Next();
        __builtin_prefetch(next); // the tree is larger than the text by far
        EndLine_();
        if constexpr (std::is_same_v<ItemT, Object::Member>) PrintName_(item->Name());
        Value const& value = *item->Value();
        if (value.IsObject() || value.IsArray()) {
            at.SetItem(item);
            return &value;
        }
        PrintScalar_(value);
        if (next != nullptr) writer_.Put(',');
    }
    return nullptr;
}

void Printer_::PrintTree_(Value const& top) {
    Open_(top);
    Cursor_ at(top);
    for (;;) {
        Value const* const container =
            at.InObject() ? PrintItems_<Object::Member>(at) : PrintItems_<Array::Element>(at);
        if (container != nullptr) {
            Open_(*container);
            at.Enter(*container);
            continue;
        }
        Close_(at.InObject());
        if (&at.Owner() == &top) return;
        at.Leave();
        at.Next();
        if (!at.AtEnd()) writer_.Put(',');
    }
}

// A line end and the indent of the next line.
void Printer_::EndLine_() {
    if (!compact_) EndLineWide_();
}

void Printer_::EndLineWide_() {
    if (plainEnd_ && writer_.Room() > indent_ + Simd::COUNT) {
        char* const out = writer_.At();
        *out = '\n';
        for (unsigned long i = 0; i < indent_; i += Simd::COUNT)
            Simd::Store(out + 1 + i, Simd::Splat(' '));
        return writer_.Advance(1 + indent_);
    }
    if (crlf_) writer_.Put('\r');
    writer_.Put('\n');
    if (!lazy_) writer_.Flush();
    writer_.Fill(' ', indent_);
}

// In the block of the stream, if the text fits and is plain. The size of what was written, or 0. Of either
// side whole groups of 16 bytes are used: a text in a pool is in such, and there is room for more than the
// text.
unsigned long Printer_::PrintPlain_(CString const& text) {
    constexpr unsigned long MORE =
        2 + Simd::COUNT; // quotes, and the rest of the last group or what stands behind a name
    unsigned long const size = text.Size();
    char* const out = writer_.At();
    if (writer_.Room() < size + MORE || !CopyPlain(out + 1, text.Cstr(), size)) return 0;
    out[0] = '"';
    out[size + 1] = '"';
    return size + 2;
}

void Printer_::PrintString_(CString const& text) {
    unsigned long const done = PrintPlain_(text);
    if (done != 0) return writer_.Advance(done);
    writer_.Put('"');
    Byte const* const begin = reinterpret_cast<Byte const*>(text.Cstr());
    PrintEscaped_(begin, begin + text.Size());
    writer_.Put('"');
}

void Printer_::PrintName_(CString const& name) {
    unsigned long const done = PrintPlain_(name);
    if (done != 0) {
        memcpy(writer_.At() + done, ": ", 2);
        return writer_.Advance(done + (compact_ ? 1 : 2));
    }
    PrintString_(name);
    compact_ ? writer_.Put(':') : writer_.Put(": ");
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
