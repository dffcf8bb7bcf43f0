#pragma once

// Json::Setter: writes a record as one expression. Members and elements describe values; << puts them into an
// object or array of a document.
//
//   Json::Setter::Object(*document.Object()) // or Object(document): a new container, to be hung somewhere
//       << Json::Setter::Member("mtu", 1492)
//       << (name != nullptr ? Json::Setter::Member("name", *name) : Json::Setter::Nothing())
//       << Json::Setter::NObject("wan", Json::Setter::Object(document) << Json::Setter::Member("id", 7));
//
// Numbers get the flags of their value, see Value.h. For single items the Append operations of Json::Object
// and Json::Array do.
//
// Owns       nothing: names, texts and containers must live until they are appended, which copies names and
//            texts into the pool. A text is kept by its pointer alone and ends at its first NUL, so a view
//            must have one behind it. A container that hangs somewhere already is copied
// Threads    one: descriptions are local objects
// Fails      by the document: when the pool is exhausted nothing is appended and its valid flag goes down.
//            Test Valid() once at the end

#include "zeb/doc/json/Document.h"
#include "zeb/doc/json/Kind.h"

namespace Json::Setter {

// The empty value: appended, it does nothing.
struct Nothing {};

// What is to become a value.
class ZEB_PUBLIC Value {
public:
    Value(Nothing const&)
        : tag_(NOTHING) {}
    Value(NullT const&)
        : tag_(NULL_VALUE) {}
    template<class T>
    requires std::is_same_v<T, bool> Value(T value)
        : tag_(BOOLEAN) {
        payload_.boolean = value;
    }
    Value(char const* text)
        : Value(CString(text)) {}
    Value(CString const& text)
        : tag_(STRING) {
        payload_.text = text.Cstr();
    }
    template<IsInteger T>
    Value(T value) {
        if constexpr (std::is_signed_v<T>) {
            SetSigned_(value);
        } else {
            SetUnsigned_(value);
        }
    }
    template<IsPromoted T>
    Value(T value)
        : Value(+value) {}
    Value(double value)
        : tag_(Json::Value::NUMBER_DOUBLE) {
        payload_.real = value;
    }

    // Internal. Of a container; a null one is a failed allocation.
    explicit Value(Json::Object* object)
        : tag_(OBJECT) {
        payload_.object = object;
    }
    explicit Value(Json::Array* array)
        : tag_(ARRAY) {
        payload_.array = array;
    }
    // Internal. A new value in the pool of the document, or that of the container. Null for nothing, and when
    // the pool is exhausted.
    Json::Value* Get_(Json::Document& document) const;
    bool IsNothing_() const { return tag_ == NOTHING; }

private:
    // Beside the flags of a number.
    static constexpr uint32_t NULL_VALUE = 0x800;
    static constexpr uint32_t BOOLEAN = 0x1000;
    static constexpr uint32_t STRING = 0x2000;
    static constexpr uint32_t OBJECT = 0x4000;
    static constexpr uint32_t ARRAY = 0x8000;
    static constexpr uint32_t NOTHING = 0x10000;

    union PayloadT {
        long long asSigned;
        unsigned long long asUnsigned;
        double real;
        bool boolean;
        char const* text;
        Json::Object* object;
        Json::Array* array;
    };

    void SetSigned_(long long value);
    void SetUnsigned_(unsigned long long value);

    PayloadT payload_{};
    uint32_t tag_;
};

static_assert(sizeof(Value) == 16);

// A value for an array.
class Element : public Value {
public:
    using Value::Value;
};

// A named value for an object.
class Member : public Value {
public:
    Member(Nothing const& nothing)
        : Value(nothing) {}
    template<class T>
    Member(CString const& name, T const& value)
        : Value(value)
        , name_(name) {}

    CString const& Name() const { return name_; }

private:
    CString name_;
};

class NArray;
class NObject;
class UArray;
class UObject;

// An object to append to; a handle, null when the object could not be allocated.
class ZEB_PUBLIC Object {
public:
    // A new detached object.
    explicit Object(Json::Document& document)
        : object_(Allocate_(document)) {}
    explicit Object(Json::Object& object)
        : object_(&object) {}

    template<class T>
    Object& operator<<(T const& item) {
        Append_(item);
        return *this;
    }

    // Internal.
    static Json::Object* Allocate_(Json::Document& document);
    Json::Object* Get_() const { return object_; }
    void Append_(Member const& member) { Append_(member.Name(), member); }
    void Append_(NObject const& member);
    void Append_(NArray const& member);

private:
    void Append_(CString const& name, Value const& value);

    Json::Object* object_;
};

// An array to append to; a handle, null when the array could not be allocated.
class ZEB_PUBLIC Array {
public:
    // A new detached array.
    explicit Array(Json::Document& document)
        : array_(Allocate_(document)) {}
    explicit Array(Json::Array& array)
        : array_(&array) {}

    template<class T>
    Array& operator<<(T const& item) {
        Append_(item);
        return *this;
    }

    // Internal.
    static Json::Array* Allocate_(Json::Document& document);
    Json::Array* Get_() const { return array_; }
    void Append_(Element const& element);
    void Append_(UObject const& element);
    void Append_(UArray const& element);

private:
    Json::Array* array_;
};

// A container, ready-made, for an array.
class UObject : public Element {
public:
    explicit UObject(Object const& object)
        : Element(object.Get_()) {}
};

class UArray : public Element {
public:
    explicit UArray(Array const& array)
        : Element(array.Get_()) {}
};

// The same with a name, for an object.
class NObject : public Member {
public:
    NObject(CString const& name, Object const& object)
        : Member(name, object.Get_()) {}
};

class NArray : public Member {
public:
    NArray(CString const& name, Array const& array)
        : Member(name, array.Get_()) {}
};

inline void Object::Append_(NObject const& member) { Append_(member.Name(), member); }
inline void Object::Append_(NArray const& member) { Append_(member.Name(), member); }
inline void Array::Append_(UObject const& element) { Append_(static_cast<Element const&>(element)); }
inline void Array::Append_(UArray const& element) { Append_(static_cast<Element const&>(element)); }

} // namespace Json::Setter
