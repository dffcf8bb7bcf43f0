#pragma once

// Reads text into a document; see Document::Parse for what it takes. Internal to the library.
//
//   text    = ws value ws                       at least an object or array, unless any value is allowed
//   value   = "null" | "false" | "true" | number | string | array | object
//   array   = "[" ws [ value ws *( "," ws value ws ) ] "]"
//   object  = "{" ws [ member ws *( "," ws member ws ) ] "}"
//   member  = string ws ":" ws value
//   number  = [ "-" ] ( "0" | 1-9 *digit ) [ "." 1*digit ] [ ( "e" | "E" ) [ "+" | "-" ] 1*digit ]
//   string  = quote *( byte from 0x20 but quote and backslash | escape ) quote
//   escape  = "\" ( quote | "\" | "/" | "b" | "f" | "n" | "r" | "t" | "u" 4hexdig )
//   ws      = *( blank | tab | LF | CR )
//
// One pass. A reader takes the position of its first byte and gives the one behind its last, or null after
// Fail_. Every name and every text is preceded in the pool by an unused block of the size of a value; that
// block is bumped over and never touched. A text without escapes goes from the input to its block at once.

#include "zeb/doc/json/Codes.h"
#include "zeb/doc/json/Document.h"

namespace Json {

class Parser_ {
public:
    explicit Parser_(Document& document)
        : document_(document) {}

    ReturnT Parse(char const* text, unsigned long size, Document::ParseT what, FaultT* fault);

private:
    using Byte = unsigned char;

    // The text; the position that a reader works at is its own.
    struct Text_ {
        Byte const* begin = nullptr;
        Byte const* end = nullptr;
    };

    // A text in its block of the pool.
    struct String_ {
        char* data;
        unsigned long size;
        unsigned long length; // up to the first NUL
    };

    static constexpr unsigned MAX_DEPTH = 128;
    static constexpr unsigned long STACK_TEXT = 64;
    static constexpr unsigned long SURCHARGE = (sizeof(Value) + 15) & ~15UL;

    // 0 at the end.
    Byte Peek_(Byte const* at) const { return at != text_.end ? *at : 0; }
    Byte const* SkipSpace_(Byte const* at) const {
        return at != text_.end && *at > ' ' ? at : SkipSpaceSlow_(at);
    }
    // The same, where one blank is likely.
    Byte const* SkipBlank_(Byte const* at) const {
        bool const isOne = text_.end - at > 1 && at[0] == ' ' && at[1] > ' ';
        return isOne ? at + 1 : SkipSpace_(at);
    }
    Byte const* SkipSpaceSlow_(Byte const* at) const;

    bool ParseText_(Document::ParseT what);
    void Locate_(FaultT& fault) const;
    Byte const* ParseRoot_(Byte const* at, Document::ParseT what);
    Byte const* ParseValue_(Byte const* at, unsigned depth, Value*& value);
    Byte const* ParseContainer_(Byte const* at, unsigned depth, Value*& value);
    template<unsigned long N>
    Byte const* ParseLiteral_(Byte const* at, char const (&literal)[N], Value::TypeT type, CodeT code,
                              Value*& value);
    Byte const* ParseArray_(Byte const* at, unsigned depth, Array& array);
    Byte const* ParseObject_(Byte const* at, unsigned depth, Object& object);
    [[gnu::always_inline]] Byte const* ParseMember_(Byte const* at, unsigned depth, Object& object,
                                                    class Names_& names);

    Byte const* ParseStringValue_(Byte const* at, Value*& value);
    // At the byte behind the opening quote.
    Byte const* ParseString_(Byte const* at, String_& string);
    Byte const* ParseEscaped_(Byte const* at, String_& string);
    Byte const* Unescape_(Byte const* at, char* out, unsigned long capacity, unsigned long& size);
    Byte const* ParseEscape_(Byte const* at, char* out, unsigned& size);
    Byte const* ParseUnicode_(Byte const* at, char* out, unsigned& size);
    bool ParseHex_(Byte const* at, uint32_t& code) const;

    Byte const* ParseNumber_(Byte const* at, Value*& value);
    Byte const* ParseFraction_(Byte const* point, uint64_t whole, unsigned long wholeDigits,
                               double& number) const;
    Byte const* StoreDouble_(Byte const* at, Byte const* end, double number, Value*& value);
    Byte const* ParseDouble_(Byte const* at, Byte const* digitsEnd, Value*& value);

    // The failure, and where it stands: a container looks at the byte there.
    Byte const* Fail_(Byte const* at, ReturnT code) {
        failedAt_ = at;
        code_ = code;
        return nullptr;
    }
    Byte const* Oom_(Byte const* at, unsigned line = __builtin_LINE()) {
        return Fail_(at, ReturnT::Oom(line));
    }

    // Memory of the pool, of which the text from `at` on will need more.
    void* Take_(Byte const* at, unsigned long size) {
        bool const fits = document_.pool_.Left() >= RoundUp_(size);
        return fits ? document_.pool_.Alloc(RoundUp_(size)) : TakeSlow_(at, size);
    }
    void* TakeSlow_(Byte const* at, unsigned long size);
    void* TakeApart_(unsigned long size);
    // A block for a text of that size and its NUL, behind the unused one.
    char* TakeString_(Byte const* at, unsigned long size) {
        unsigned long const whole = SURCHARGE + RoundUp_(size + 1);
        if (document_.pool_.Left() >= whole) [[likely]]
            return static_cast<char*>(document_.pool_.Alloc(whole)) + SURCHARGE;
        if (Take_(at, sizeof(Value)) == nullptr) return nullptr;
        return static_cast<char*>(Take_(at, RoundUp_(size + 1)));
    }
    Value* TakeValue_(Byte const* at, Value::TypeT type) {
        void* const block = Take_(at, sizeof(Value));
        return block != nullptr ? new (block) Value(document_, type) : nullptr;
    }
    static constexpr unsigned long RoundUp_(unsigned long size) { return (size + 15) & ~15UL; }

    Document& document_;
    Text_ text_;
    Byte const* failedAt_ = nullptr;
    ReturnT code_;
};

} // namespace Json
