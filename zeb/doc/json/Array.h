#pragma once

// The array form of a Json::Value: a list of elements in the order of insertion.
//
// Owns       nothing: it is embedded in its value; elements and values are blocks of the document's pool,
//            none is freed singly, and all end when the document is cleared
// Threads    one at a time
// Memory     an operation that needs it gives null when the pool is exhausted, and takes the document's valid
//            flag down; once it is down every append gives null

#include "zeb/core/CString.h"
#include "zeb/doc/json/Null.h"
#include "zeb/doc/json/Readable.h"
#include "zeb/doc/xml/ForeignPointer.h"

namespace Json {

class Document;
class Names_;
class Object;
class Parser_;
class Value;

class ZEB_PUBLIC Array {
public:
    class Element {
    public:
        Json::Value* Value() { return value_; }
        Json::Value const* Value() const { return value_; }
        Element* Next() { return next_; }
        Element const* Next() const { return next_; }
        Element* Prev() { return prev_; }
        Element const* Prev() const { return prev_; }

    private:
        friend class Array;
        friend class Parser_;
        explicit Element(Json::Value* value)
            : value_(value) {}

        Json::Value* value_;
        Element* next_ = nullptr;
        Element* prev_ = nullptr;
    };

    Array(Array const&) = delete;
    Array& operator=(Array const&) = delete;

    Element* First() { return first_; }
    Element const* First() const { return first_; }
    Element* Last() { return last_; }
    Element const* Last() const { return last_; }
    Json::Document* Doc() const { return document_; }
    // The value that this array is the content of.
    Json::Value* Value() { return owner_; }
    Json::Value const* Value() const { return owner_; }

    // Null past the end. Linear.
    Element* Get(unsigned long index);
    Element const* Get(unsigned long index) const;

    // False, and a zeroed result (the nil string for a CString), when there is no such element or it does not
    // hold a T exactly. T: bool, Array*, Array const*, Object*, Object const*, CString, double and the ten
    // integer types; or a ::String, which gets a copy, and is false and empty without memory too. Views and
    // pointers live as long as the document's content.
    template<class T>
    requires IsReadable_<T>
    bool Get(unsigned long index, T& result) const;

    // False past the end.
    bool IsNull(unsigned long index) const;

    // The new value, last in this array. Text is copied; a null text counts as the empty one.
    Json::Value* Append(NullT const&);
    Json::Value* Append(bool value);
    template<Doc::ForeignPointer T>
    Json::Value* Append(T value) = delete;
    Json::Value* Append(char const* text);
    Json::Value* Append(CString const& text);
    Json::Value* Append(char value);
    Json::Value* Append(unsigned char value);
    Json::Value* Append(short value);
    Json::Value* Append(unsigned short value);
    Json::Value* Append(int value);
    Json::Value* Append(unsigned int value);
    Json::Value* Append(long value);
    Json::Value* Append(unsigned long value);
    Json::Value* Append(long long value);
    Json::Value* Append(unsigned long long value);
    Json::Value* Append(double value);
    Json::Object* AppendObject();
    Json::Array* AppendArray();

    // A deep copy of the value, of whatever document; of a null pointer, a null value.
    Json::Value* AppendCopy(Json::Value const* value);

    // Takes the element from the list; its memory stays until the document is cleared. False if it stands in
    // another array.
    bool Remove(Element* element);

    // Internal. Appends copies of all elements; false, with those copied so far, on failure.
    bool Clone_(Json::Array const& from);
    // Internal. Appends the value: itself, if it is a detached one of this document and does not hold this
    // array, and else a copy. Null (for a null value too) on failure.
    Json::Value* Append_(Json::Value* value);
    // Internal. Forgets the elements.
    void Clear_() { first_ = last_ = nullptr; }

private:
    friend class Json::Object;
    friend class Json::Value;
    friend class Parser_;

    // Left without content: the value that embeds it sets it up when it becomes an array.
    Array() {} // NOLINT(modernize-use-equals-default)
    void Setup_(Json::Value* owner, Json::Document* document) {
        Clear_();
        owner_ = owner;
        document_ = document;
    }

    void Link_(Element* element);

    union {
        Element* first_;
        Names_* names_; // in the value of an object, which has no elements: the index of its names, or null
    };
    Element* last_;
    Json::Value* owner_;
    Json::Document* document_;
};

static_assert(sizeof(Array::Element) == 24);
static_assert(sizeof(Array) == 32);

} // namespace Json
