#pragma once

// The object form of a Json::Value: a list of named members in the order of insertion.
//
// Owns       nothing: it is embedded in its value; members, names and values are blocks of the document's
//            pool, none is freed singly, and all end when the document is cleared
// Threads    one at a time
// Memory     an operation that needs it gives null when the pool is exhausted, and takes the document's valid
//            flag down; once it is down every append gives null
//
// A name may occur more than once: the second one is logged as a warning and appended all the same. Lookups
// give the first. Names are compared by CString::Compare, so that a CString::IgnoreCase finds a member of
// whatever case. Lookups are linear in the number of members: objects are small. Appends are not: an object
// of more than 32 members gets an index of its names, some 50 bytes of pool for each.

#include "zeb/core/CString.h"
#include "zeb/doc/json/Null.h"
#include "zeb/doc/json/Readable.h"
#include "zeb/doc/xml/ForeignPointer.h"

namespace Json {

class Array;
class Document;
class Parser_;
class String;
class Value;

class ZEB_PUBLIC Object {
public:
    class Member {
    public:
        CString const& Name() const { return name_; }
        Json::Value* Value() { return value_; }
        Json::Value const* Value() const { return value_; }
        Member* Next() { return next_; }
        Member const* Next() const { return next_; }
        Member* Prev() { return prev_; }
        Member const* Prev() const { return prev_; }

    private:
        friend class Object;
        friend class Parser_;
        Member(CString const& name, Json::Value* value)
            : name_(name)
            , value_(value) {}

        CString name_;
        Json::Value* value_;
        Member* next_ = nullptr;
        Member* prev_ = nullptr;
    };

    Object(Object const&) = delete;
    Object& operator=(Object const&) = delete;

    Member* First() { return first_; }
    Member const* First() const { return first_; }
    Member* Last() { return last_; }
    Member const* Last() const { return last_; }
    Json::Document* Doc() const { return document_; }
    // The value that this object is the content of.
    Json::Value* Value() { return owner_; }
    Json::Value const* Value() const { return owner_; }

    // The first member of that name, or null.
    Member* Get(CString const& name);
    Member const* Get(CString const& name) const;

    // False, and a zeroed result (the nil string for a CString), when there is no such member or it does not
    // hold a T exactly. T: bool, Array*, Array const*, Object*, Object const*, CString, double and the ten
    // integer types; or a ::String, which gets a copy, and is false and empty without memory too. Views and
    // pointers live as long as the document's content.
    template<class T>
    requires IsReadable_<T>
    bool Get(CString const& name, T& result) const;

    // False for an absent member.
    bool IsNull(CString const& name) const;

    // The new value, last in this object. Name and text are copied; a null text counts as the empty one.
    Json::Value* Append(CString const& name, NullT const&);
    Json::Value* Append(CString const& name, bool value);
    template<Doc::ForeignPointer T>
    Json::Value* Append(CString const& name, T value) = delete;
    Json::Value* Append(CString const& name, char const* text);
    Json::Value* Append(CString const& name, CString const& text);
    Json::Value* Append(CString const& name, char value) {
        return Append(name, static_cast<long long>(value));
    }
    Json::Value* Append(CString const& name, unsigned char value) {
        return Append(name, static_cast<unsigned long long>(value));
    }
    Json::Value* Append(CString const& name, short value) {
        return Append(name, static_cast<long long>(value));
    }
    Json::Value* Append(CString const& name, unsigned short value) {
        return Append(name, static_cast<unsigned long long>(value));
    }
    Json::Value* Append(CString const& name, int value) {
        return Append(name, static_cast<long long>(value));
    }
    Json::Value* Append(CString const& name, unsigned int value) {
        return Append(name, static_cast<unsigned long long>(value));
    }
    Json::Value* Append(CString const& name, long value) {
        return Append(name, static_cast<long long>(value));
    }
    Json::Value* Append(CString const& name, unsigned long value) {
        return Append(name, static_cast<unsigned long long>(value));
    }
    Json::Value* Append(CString const& name, long long value);
    Json::Value* Append(CString const& name, unsigned long long value);
    Json::Value* Append(CString const& name, double value);
    Json::Object* AppendObject(CString const& name);
    Json::Array* AppendArray(CString const& name);

    // A deep copy of the value, of whatever document; of a null pointer, a null value.
    Json::Value* AppendCopy(CString const& name, Json::Value const* value);

    // Takes the member from the list; its memory stays until the document is cleared. False if it stands in
    // another object.
    bool Remove(Member* member);

    // Internal. Appends copies of all members; false, with those copied so far, on failure.
    bool Clone_(Json::Object const& from);
    // Internal. Appends the value, as Array::Append_ does, under a name that lies in the pool already; null
    // on failure.
    Json::Value* Append_(Json::String const& name, Json::Value* value);
    // Internal. Forgets the members.
    void Clear_();

private:
    friend class Json::Value;
    friend class Parser_;

    // Left without content: the value that embeds it sets it up when it becomes an object.
    Object() {} // NOLINT(modernize-use-equals-default)
    void Setup_(Json::Value* owner, Json::Document* document) {
        first_ = last_ = nullptr;
        owner_ = owner;
        document_ = document;
    }
    template<class Make>
    Json::Value* AppendNew_(CString const& name, Make make);
    Json::Value* AppendItem_(CString const& name, Json::Value const& item);
    bool IsKnown_(Member const& member);
    void Link_(Member* member);
    void Warn_(CString const& name) const;

    static constexpr char const* IDENT = "Json::Object";

    Member* first_;
    Member* last_;
    Json::Value* owner_;
    Json::Document* document_;
};

static_assert(sizeof(Object::Member) == 48);
static_assert(sizeof(Object) == 32);

} // namespace Json
