#include "zeb/doc/json/ParserImpl.h"

#include "zeb/core/Simd.h"
#include "zeb/doc/json/Names.h"
#include "zeb/runtime/StatusLog.h"

#include <cstring>

namespace Json {

namespace {

constexpr bool IsSpace(unsigned char c) {
    constexpr uint64_t SPACES = 1UL << ' ' | 1UL << '\t' | 1UL << '\n' | 1UL << '\r';
    return c <= ' ' && (SPACES >> c & 1) != 0;
}

} // namespace

ReturnT Document::Parse(CBuffer const& text, ParseT what, FaultT* fault) {
    return Parse(CString(static_cast<char const*>(text.Ptr()), text.Size()), what, fault);
}

ReturnT Document::Parse(CString const& text, ParseT what, FaultT* fault) {
    return Parser_(*this).Parse(text.Cstr(), text.Size(), what, fault);
}

ReturnT Parser_::Parse(char const* text, unsigned long size, Document::ParseT what, FaultT* fault) {
    text_.begin = reinterpret_cast<Byte const*>(text);
    text_.end = text_.begin + size;

    if (ParseText_(what)) return CODE_OK;
    if (fault != nullptr) Locate_(*fault);
    if (!code_.IsOom()) return code_;
    return StatusLog(code_, Log::CRITICAL, Document::IDENT, nullptr, "").SetOom();
}

bool Parser_::ParseText_(Document::ParseT what) {
    Byte const* at = SkipSpace_(text_.begin);
    if (Peek_(at) == 0) return Fail_(at, CODE_EMPTY) != nullptr;
    at = ParseRoot_(at, what);
    if (at == nullptr) return false;
    at = SkipSpace_(at);
    return at == text_.end || Fail_(at, CODE_TRAILING) != nullptr;
}

// A column is a character: what continues one in UTF-8 is not counted.
void Parser_::Locate_(FaultT& fault) const {
    fault.offset = static_cast<unsigned long>(failedAt_ - text_.begin);
    fault.line = fault.column = 1;
    for (Byte const* at = text_.begin; at < failedAt_; ++at) {
        if (*at == '\n') {
            ++fault.line;
            fault.column = 1;
        } else if ((*at & 0xC0) != 0x80) {
            ++fault.column;
        }
    }
    fault.words = CodeWords(code_);
}

// A byte of text becomes some 4 to 14 bytes of tree. Pages that are mapped one by one serve when nothing can
// be reserved.
void* Parser_::TakeSlow_(Byte const* at, unsigned long size) {
    constexpr unsigned long GUESS = 12;
    constexpr unsigned long LARGE = PoolBase::REGION_MAX / 4;
    if (size > LARGE) return TakeApart_(size);
    unsigned long const left = static_cast<unsigned long>(text_.end - at);
    (void)document_.pool_.Reserve(left * GUESS + size);
    return document_.Allocate_(size);
}

// A large text has a block of its own, so that what is left of the present one is not lost.
void* Parser_::TakeApart_(unsigned long size) {
    void* const block = document_.pool_.AllocApart(size);
    if (block == nullptr) document_.valid_ = false;
    return block;
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
        return ParseStringValue_(at + 1, value);
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

    void* const block = Take_(at, sizeof(Object::Member));
    if (block == nullptr) return Oom_(at);
    auto* const member = new (block) Object::Member(CString(string.data, string.size), value);
    bool found = false;
    if (!names.Add(object, *member, string.length, found)) {
        document_.valid_ = false;
        return Oom_(at);
    }
    if (found) object.Warn_(member->Name());
    object.Link_(member);
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
