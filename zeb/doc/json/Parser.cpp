#include "zeb/doc/json/ParserImpl.h"

#include "zeb/core/Simd.h"
#include "zeb/doc/json/Names.h"

#include <cstring>

namespace Json {

namespace {

constexpr bool IsSpace(unsigned char c) {
    constexpr uint64_t SPACES = 1UL << ' ' | 1UL << '\t' | 1UL << '\n' | 1UL << '\r';
    return c <= ' ' && (SPACES >> c & 1) != 0;
}

} // namespace

ReturnT Document::Parse(CBuffer const& text, ParseT what) {
    return Parser_(*this).Parse(static_cast<char const*>(text.Ptr()), text.Size(), what);
}

ReturnT Document::Parse(CString const& text, ParseT what) {
    return Parser_(*this).Parse(text.Cstr(), text.Size(), what);
}

ReturnT Parser_::Parse(char const* text, unsigned long size, Document::ParseT what) {
    text_.begin = reinterpret_cast<Byte const*>(text);
    text_.end = text_.begin + size;

    Byte const* at = SkipSpace_(text_.begin);
    if (Peek_(at) == 0) return CODE_EMPTY;
    at = ParseRoot_(at, what);
    if (at == nullptr) return code_;
    return SkipSpace_(at) == text_.end ? CODE_OK : CODE_TRAILING;
}

// A byte of text becomes some 4 to 14 bytes of tree. Pages that are mapped one by one serve when nothing can
// be reserved.
void* Parser_::TakeSlow_(Byte const* at, unsigned long size) {
    constexpr unsigned long GUESS = 12;
    unsigned long const left = static_cast<unsigned long>(text_.end - at);
    (void)document_.pool_.Reserve(left * GUESS + size);
    return document_.Allocate_(size);
}

Parser_::Byte const* Parser_::ParseRoot_(Byte const* at, Document::ParseT what) {
    if (*at == '{') {
        document_.InitObject();
        return ParseObject_(at, 0, document_.object_);
    }
    if (*at == '[') {
        document_.InitArray();
        return ParseArray_(at, 0, document_.array_);
    }
    if (what == Document::PARSE_CONTAINER) return Fail_(at, CODE_BAD_ROOT);

    Value* value = nullptr;
    at = ParseValue_(at, 0, value);
    if (at != nullptr) document_.InitValue_(*value);
    return at;
}

// Most often one blank, or a line end and an indent.
Parser_::Byte const* Parser_::SkipSpaceSlow_(Byte const* at) const {
    while (static_cast<unsigned long>(text_.end - at) > Simd::COUNT) {
        if (!IsSpace(*at)) return at;
        ++at;
        Simd::Set const blanks = Simd::Positions(Simd::Equal(Simd::Load(at), Simd::Splat(' ')));
        at += blanks == Simd::ALL ? Simd::COUNT : Simd::First(~blanks);
    }
    while (at != text_.end && IsSpace(*at))
        ++at;
    return at;
}

// What follows a literal is left to who comes next.
template<unsigned long N>
Parser_::Byte const* Parser_::ParseLiteral_(Byte const* at, char const (&literal)[N], Value::TypeT type,
                                            CodeT code, Value*& value) {
    unsigned long const left = static_cast<unsigned long>(text_.end - at);
    if (left < N - 1 || memcmp(at, literal, N - 1) != 0) return Fail_(at, code);
    value = TakeValue_(at, type);
    return value != nullptr ? at + N - 1 : Oom_(at);
}

Parser_::Byte const* Parser_::ParseValue_(Byte const* at, unsigned depth, Value*& value) {
    switch (Peek_(at)) {
    case '"':
        return ParseText_(at + 1, value);
    case '{':
    case '[':
        return ParseContainer_(at, depth, value);
    case 'n':
        return ParseLiteral_(at, "null", Value::TYPE_NULL, CODE_BAD_NULL, value);
    case 'f':
        return ParseLiteral_(at, "false", Value::TYPE_FALSE, CODE_BAD_FALSE, value);
    case 't':
        return ParseLiteral_(at, "true", Value::TYPE_TRUE, CODE_BAD_TRUE, value);
    case '-':
    case '0':
    case '1':
    case '2':
    case '3':
    case '4':
    case '5':
    case '6':
    case '7':
    case '8':
    case '9':
        return ParseNumber_(at, value);
    default:
        return Fail_(at, CODE_NO_VALUE);
    }
}

Parser_::Byte const* Parser_::ParseContainer_(Byte const* at, unsigned depth, Value*& value) {
    bool const isArray = *at == '[';
    value = TakeValue_(at, isArray ? Value::TYPE_ARRAY : Value::TYPE_OBJECT);
    if (value == nullptr) return Oom_(at);
    if (depth + 1 > MAX_DEPTH) return Fail_(at, CODE_TOO_DEEP);
    return isArray ? ParseArray_(at, depth + 1, value->array_) : ParseObject_(at, depth + 1, value->object_);
}

Parser_::Byte const* Parser_::ParseArray_(Byte const* at, unsigned depth, Array& array) {
    at = SkipSpace_(at + 1);
    if (Peek_(at) == ']') return at + 1;
    for (;;) {
        Value* value = nullptr;
        at = ParseValue_(at, depth, value);
        if (at == nullptr) {
            if (code_ == CODE_NO_VALUE && Peek_(failedAt_) == ']') code_ = CODE_BAD_ARRAY;
            return nullptr;
        }
        void* const block = Take_(at, sizeof(Array::Element));
        if (block == nullptr) return Oom_(at);
        array.Link_(new (block) Array::Element(value));

        at = SkipSpace_(at);
        Byte const next = Peek_(at);
        if (next == ']') return at + 1;
        if (next != ',') return Fail_(at, CODE_BAD_ARRAY);
        at = SkipSpace_(at + 1);
    }
}

inline Parser_::Byte const* Parser_::ParseMember_(Byte const* at, unsigned depth, Object& object,
                                                  Names_& names) {
    String_ string;
    at = ParseString_(at, string);
    if (at == nullptr) return nullptr;
    at = SkipSpace_(at);
    if (Peek_(at) != ':') return Fail_(at, CODE_NO_COLON);

    Value* value = nullptr;
    at = ParseValue_(SkipBlank_(at + 1), depth, value);
    if (at == nullptr) {
        if (code_ == CODE_NO_VALUE && Peek_(failedAt_) == '}') code_ = CODE_BAD_OBJECT;
        return nullptr;
    }

    CString const name(string.data, string.size);
    bool found = false;
    if (!names.Add(object, name, string.length, found)) {
        document_.valid_ = false;
        return Oom_(at);
    }
    if (found) object.Warn_(name);
    void* const block = Take_(at, sizeof(Object::Member));
    if (block == nullptr) return Oom_(at);
    object.Link_(new (block) Object::Member(name, value));
    return at;
}

Parser_::Byte const* Parser_::ParseObject_(Byte const* at, unsigned depth, Object& object) {
    at = SkipSpace_(at + 1);
    if (Peek_(at) == '}') return at + 1;
    Names_ names;
    for (;;) {
        if (Peek_(at) != '"') return Fail_(at, CODE_NO_NAME);
        at = ParseMember_(at + 1, depth, object, names);
        if (at == nullptr) return nullptr;

        at = SkipSpace_(at);
        Byte const next = Peek_(at);
        if (next == '}') return at + 1;
        if (next != ',') return Fail_(at, CODE_BAD_OBJECT);
        at = SkipSpace_(at + 1);
    }
}

} // namespace Json
