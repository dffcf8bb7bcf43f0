#pragma once

// One value of a JSON document: null, a boolean, an object, an array, a string or a number.
//
// A value is a block of fixed size in the pool of its document and carries the headers of all its possible
// forms; the document itself is the root value. Nothing is freed singly. Used by one thread at a time.
//
// A number is stored once, with one flag for each type of the host that can hold it exactly. IsUShort() thus
// says that UShort() gives the number unchanged. No integer answers to IsDouble(), and a double answers to
// nothing else.
//
//   v                             Char UChar Short UShort Int UInt Long ULong LongLong ULongLong
//   below -2^31                                                   x          x
//   below -2^15                                           x       x          x
//   below -128                              x             x       x          x
//   below 0                        x        x             x       x          x
//   0 to 127                       x    x   x      x      x   x   x    x     x        x
//   to 255                              x   x      x      x   x   x    x     x        x
//   to 2^15 - 1                             x      x      x   x   x    x     x        x
//   to 2^16 - 1                                    x      x   x   x    x     x        x
//   to 2^31 - 1                                           x   x   x    x     x        x
//   to 2^32 - 1                                               x   x    x     x        x
//   to 2^63 - 1                                                   x    x     x        x
//   above                                                              x              x

#include "zeb/core/Flags.h"
#include "zeb/doc/json/Array.h"
#include "zeb/doc/json/Null.h"
#include "zeb/doc/json/Object.h"
#include "zeb/doc/json/String.h"
#include "zeb/doc/xml/ForeignPointer.h"

#include <cstdint>
#include <new>
#include <type_traits>

namespace Json {

class ZEB_PUBLIC Value {
public:
    enum TypeT : uint32_t {
        TYPE_NULL = 0,
        TYPE_FALSE = 1,
        TYPE_TRUE = 2,
        TYPE_OBJECT = 3,
        TYPE_ARRAY = 4,
        TYPE_STRING = 5,
        TYPE_NUMBER = 6,
    };

    using NumberFlagsT = FlagsT<unsigned long, unsigned long>;

    static constexpr unsigned long NUMBER_CHAR = 1;
    static constexpr unsigned long NUMBER_UCHAR = 2;
    static constexpr unsigned long NUMBER_SHORT = 4;
    static constexpr unsigned long NUMBER_USHORT = 8;
    static constexpr unsigned long NUMBER_INT = 16;
    static constexpr unsigned long NUMBER_UINT = 32;
    static constexpr unsigned long NUMBER_LONG = 64;
    static constexpr unsigned long NUMBER_ULONG = 128;
    static constexpr unsigned long NUMBER_LONGLONG = 256;
    static constexpr unsigned long NUMBER_ULONGLONG = 512;
    static constexpr unsigned long NUMBER_DOUBLE = 1024;
    static constexpr unsigned long NUMBER_ALL_INTEGERS = 1023;

    // A detached value. A number made from its type alone is 0. Text is copied into the document's pool; when
    // that fails the document's valid flag goes down and the string is empty.
    Value(Document& document, TypeT type)
        : type_(type)
        , boolean_(type == TYPE_TRUE)
        , parent_(nullptr)
        , document_(&document) {
        StoreNumber_(0ULL);
        if (type == TYPE_NUMBER) flags_ = NumberFlagsT(NUMBER_ALL_INTEGERS);
        if (type == TYPE_ARRAY) array_.Setup_(this, document_);
        if (type == TYPE_OBJECT) SetupObject_();
    }
    Value(Document& document, NullT const&)
        : Value(document, TYPE_NULL) {}
    Value(Document& document, bool value)
        : Value(document, value ? TYPE_TRUE : TYPE_FALSE) {}
    template<Doc::ForeignPointer T>
    Value(Document& document, T value) = delete;
    Value(Document& document, CString const& text);
    Value(Document& document, char const* text)
        : Value(document, CString(text)) {}
    Value(Document& document, char value)
        : Value(document, static_cast<long long>(value)) {}
    Value(Document& document, unsigned char value)
        : Value(document, static_cast<unsigned long long>(value)) {}
    Value(Document& document, short value)
        : Value(document, static_cast<long long>(value)) {}
    Value(Document& document, unsigned short value)
        : Value(document, static_cast<unsigned long long>(value)) {}
    Value(Document& document, int value)
        : Value(document, static_cast<long long>(value)) {}
    Value(Document& document, unsigned int value)
        : Value(document, static_cast<unsigned long long>(value)) {}
    Value(Document& document, long value)
        : Value(document, static_cast<long long>(value)) {}
    Value(Document& document, unsigned long value)
        : Value(document, static_cast<unsigned long long>(value)) {}
    Value(Document& document, long long value);
    Value(Document& document, unsigned long long value);
    Value(Document& document, double value);

    Value(Value const&) = delete;
    Value& operator=(Value const&) = delete;

    TypeT Type() const { return type_; }
    bool IsNull() const { return type_ == TYPE_NULL; }
    bool IsFalse() const { return type_ == TYPE_FALSE; }
    bool IsTrue() const { return type_ == TYPE_TRUE; }
    bool IsBool() const { return IsFalse() || IsTrue(); }
    bool IsObject() const { return type_ == TYPE_OBJECT; }
    bool IsArray() const { return type_ == TYPE_ARRAY; }
    bool IsString() const { return type_ == TYPE_STRING; }
    bool IsNumber() const { return type_ == TYPE_NUMBER; }

    // Whether the value is a number that the type holds exactly.
    bool IsChar() const { return IsNumber_(NUMBER_CHAR); }
    bool IsUChar() const { return IsNumber_(NUMBER_UCHAR); }
    bool IsShort() const { return IsNumber_(NUMBER_SHORT); }
    bool IsUShort() const { return IsNumber_(NUMBER_USHORT); }
    bool IsInt() const { return IsNumber_(NUMBER_INT); }
    bool IsUInt() const { return IsNumber_(NUMBER_UINT); }
    bool IsLong() const { return IsNumber_(NUMBER_LONG); }
    bool IsULong() const { return IsNumber_(NUMBER_ULONG); }
    bool IsLongLong() const { return IsNumber_(NUMBER_LONGLONG); }
    bool IsULongLong() const { return IsNumber_(NUMBER_ULONGLONG); }
    bool IsDouble() const { return IsNumber_(NUMBER_DOUBLE); }

    // Unchecked: meaningful only when the test of the same name passes. String() is the nil string for what
    // is not a string.
    bool Bool() const { return IsTrue(); }
    CString const& String() const { return string_; }
    char Char() const { return static_cast<char>(number_.asSigned); }
    unsigned char UChar() const { return static_cast<unsigned char>(number_.asUnsigned); }
    short Short() const { return static_cast<short>(number_.asSigned); }
    unsigned short UShort() const { return static_cast<unsigned short>(number_.asUnsigned); }
    int Int() const { return static_cast<int>(number_.asSigned); }
    unsigned int UInt() const { return static_cast<unsigned int>(number_.asUnsigned); }
    long Long() const { return static_cast<long>(number_.asSigned); }
    unsigned long ULong() const { return static_cast<unsigned long>(number_.asUnsigned); }
    long long LongLong() const { return number_.asSigned; }
    unsigned long long ULongLong() const { return number_.asUnsigned; }
    double Double() const { return number_.asDouble; }

    // The embedded container, or null when the type differs.
    Json::Array* Array() { return IsArray() ? &array_ : nullptr; }
    Json::Array const* Array() const { return IsArray() ? &array_ : nullptr; }
    Json::Object* Object() { return IsObject() ? &object_ : nullptr; }
    Json::Object const* Object() const { return IsObject() ? &object_ : nullptr; }

    // The stored item, or null when the test of the same name fails.
    NullT const* NullPtr() const { return IsNull() ? &Null : nullptr; }
    bool const* BoolPtr() const { return IsBool() ? &boolean_ : nullptr; }
    CString const* StringPtr() const { return IsString() ? &string_ : nullptr; }
    char const* CharPtr() const { return NumberPtr_<char>(NUMBER_CHAR); }
    unsigned char const* UCharPtr() const { return NumberPtr_<unsigned char>(NUMBER_UCHAR); }
    short const* ShortPtr() const { return NumberPtr_<short>(NUMBER_SHORT); }
    unsigned short const* UShortPtr() const { return NumberPtr_<unsigned short>(NUMBER_USHORT); }
    int const* IntPtr() const { return NumberPtr_<int>(NUMBER_INT); }
    unsigned int const* UIntPtr() const { return NumberPtr_<unsigned int>(NUMBER_UINT); }
    long const* LongPtr() const { return NumberPtr_<long>(NUMBER_LONG); }
    unsigned long const* ULongPtr() const { return NumberPtr_<unsigned long>(NUMBER_ULONG); }
    long long const* LongLongPtr() const { return NumberPtr_<long long>(NUMBER_LONGLONG); }
    unsigned long long const* ULongLongPtr() const {
        return NumberPtr_<unsigned long long>(NUMBER_ULONGLONG);
    }
    double const* DoublePtr() const { return NumberPtr_<double>(NUMBER_DOUBLE); }

    // The value whose container holds this one; null for a root or a detached value.
    Value* Parent() { return parent_; }
    Value const* Parent() const { return parent_; }
    Document* Doc() const { return document_; }

    // Copies the item out. False, and a zeroed result (the nil string for a CString), when the value does not
    // hold it exactly. A CString becomes a view, which ends with the content of the document; a ::String gets
    // the text itself, or is empty, with false, when there is no memory for it. No other text can be read
    // into.
    bool Get(bool& result) const;
    bool Get(CString& result) const;
    bool Get(::String& result) const;
    template<IsOtherText_ T>
    bool Get(T& result) const = delete;
    bool Get(Json::Array*& result) const;
    bool Get(Json::Array const*& result) const;
    bool Get(Json::Object*& result) const;
    bool Get(Json::Object const*& result) const;
    bool Get(char& result) const { return Get_(CharPtr(), result); }
    bool Get(unsigned char& result) const { return Get_(UCharPtr(), result); }
    bool Get(short& result) const { return Get_(ShortPtr(), result); }
    bool Get(unsigned short& result) const { return Get_(UShortPtr(), result); }
    bool Get(int& result) const { return Get_(IntPtr(), result); }
    bool Get(unsigned int& result) const { return Get_(UIntPtr(), result); }
    bool Get(long& result) const { return Get_(LongPtr(), result); }
    bool Get(unsigned long& result) const { return Get_(ULongPtr(), result); }
    bool Get(long long& result) const { return Get_(LongLongPtr(), result); }
    bool Get(unsigned long long& result) const { return Get_(ULongLongPtr(), result); }
    bool Get(double& result) const { return Get_(DoublePtr(), result); }

    // Internal. The same of a value that may be missing, which is null.
    template<class T>
    static bool GetFrom_(Value const* value, T& result) {
        if (value != nullptr) return value->Get(result);
        if constexpr (std::is_same_v<T, ::String>)
            result.Clear();
        else
            result = T();
        return false;
    }

    // Internal. A new detached value in the pool of this value's document; null when the pool is exhausted.
    Value* AllocateNull_() const;
    Value* AllocateBool_(bool value) const;
    Value* AllocateString_(CString const& text) const;
    Value* AllocateSigned_(long long value) const;
    Value* AllocateUnsigned_(unsigned long long value) const;
    Value* AllocateDouble_(double value) const;
    Value* AllocateObject_() const;
    Value* AllocateArray_() const;

    // Internal. Becomes an empty value of that type; parent and document stay.
    void Reset_(TypeT type);
    // Internal. A detached deep copy in the pool of the document; null when that is exhausted.
    Value* Copy_(Document& document) const;

    static void SetupSignedNumberFlags_(long long value, NumberFlagsT& flags);
    static void SetupUnsignedNumberFlags_(unsigned long long value, NumberFlagsT& flags);

protected:
    friend class Cursor_;
    friend class Json::Array;
    friend class Json::Document;
    friend class Json::Object;
    friend class Parser_;

    union NumberT {
        long long asSigned;
        unsigned long long asUnsigned;
        double asDouble;
        void const* place; // of a container that hangs somewhere: its element or member there
    };

    // Of text that lies in the pool already.
    Value(Document& document, Json::String const& text);

    template<class T>
    static Value* New_(Document& document, T const& content);

    bool IsNumber_(unsigned long flag) const { return IsNumber() && flags_.Has(flag); }

    // The integers are little-endian: the narrow forms start where the wide one does. The number is stored
    // bytewise, see StoreNumber_, so that a read through any of these pointers sees it.
    template<class T>
    T const* NumberPtr_(unsigned long flag) const {
        static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__);
        return IsNumber_(flag) ? static_cast<T const*>(static_cast<void const*>(&number_)) : nullptr;
    }

    template<class T>
    void StoreNumber_(T value) {
        static_assert(sizeof(T) == sizeof(number_));
        __builtin_memcpy(&number_, &value, sizeof(number_));
    }

    template<class T>
    static bool Get_(T const* item, T& result) {
        result = item != nullptr ? *item : T();
        return item != nullptr;
    }

    bool IsContainer_() const { return IsObject() || IsArray(); }
    void SetupObject_() {
        object_.Setup_(this, document_);
        array_.names_ = nullptr;
    }
    // Hangs this value below the owner, in an element or a member.
    void Hang_(Value* owner, void const* place) {
        parent_ = owner;
        if (IsContainer_()) number_.place = place;
    }
    // The value itself if it may be hung in this container, or else a copy; null when the pool is exhausted.
    Value* Own_(Value* value);
    Value* CopyItem_(Document& document) const; // a container without its content

    // array_ and object_ are set up only in a value of their type: they cannot be reached in another.
    TypeT type_;
    NumberFlagsT flags_;
    NumberT number_;
    bool boolean_;
    Json::Array array_;
    Json::Object object_;
    Json::String string_;
    Value* parent_;
    Document* document_;
};

static_assert(sizeof(Value) == 136);

inline void Object::Clear_() {
    first_ = last_ = nullptr;
    owner_->array_.names_ = nullptr;
}

inline void Array::Link_(Element* element) {
    element->prev_ = last_;
    (last_ != nullptr ? last_->next_ : first_) = element;
    last_ = element;
    element->value_->Hang_(owner_, element);
}

inline void Object::Link_(Member* member) {
    member->prev_ = last_;
    (last_ != nullptr ? last_->next_ : first_) = member;
    last_ = member;
    member->value_->Hang_(owner_, member);
}

template<class T>
requires IsReadable_<T>
bool Array::Get(unsigned long index, T& result) const {
    Element const* const element = Get(index);
    return Value::GetFrom_(element != nullptr ? element->Value() : nullptr, result);
}

template<class T>
requires IsReadable_<T>
bool Object::Get(CString const& name, T& result) const {
    Member const* const member = Get(name);
    return Value::GetFrom_(member != nullptr ? member->Value() : nullptr, result);
}

} // namespace Json
