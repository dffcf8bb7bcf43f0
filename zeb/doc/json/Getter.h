#pragma once

// Json::Getter: reads a record of known shape without a test for each field. The getter of the record knows
// its container; each member that is hung below it with >> is read at once into its variable; one test at the
// end tells whether the whole record was there, with the right types. For one or two fields the Get() of
// Json::Object does.
//
//   unsigned short mtu;
//   CString const* name; // optional: null unless there is a string of that name
//   Json::Getter::Object record(document.Object()); // null, as for a list, fails the record
//   record >> Json::Getter::Member("mtu", mtu) >> Json::Getter::Member("name", &name);
//   if (!record) error << "bad or missing: " << record.FailedField();
//
// Records nest. The inner getter gets its children first, and is read when it is hung in the outer one:
//
//   bool hasWan; // makes the object optional; a getter without a bool is required
//   Json::Getter::Object wan(&hasWan);
//   record >> Json::Getter::NValue("wan", wan >> Json::Getter::Member("id", id));
//
// The children of an inner getter may also be hung in it afterwards, one by one. What is hung in it ahead
// must live until it is read: "wan >> Json::Getter::Member("id", id);" as a statement of its own leaves
// nothing to read by, and fails wan and all above as soon as wan is hung.
//
// A loop reads each item as its variable is constructed; a mismatch fails the list and all above it:
//
//   Json::Getter::Array list(document.Array());
//   for (Json::Getter::UValue::Iterator& item : list) { Json::Getter::Element element(item, number); ... }
//
// A required item (T&) that is missing or of another type is zeroed (the nil string for a CString), and fails
// the getters above it, up to the top. An optional one (T const**) leaves a null pointer and fails nothing,
// unless its getter is Strict(). For T see Kind.h. What does not fit the type exactly does not match it: 300
// is no unsigned char, 1.0 no int.
//
// Owns       nothing. Pointers and views that were read live as long as the content of the document
// Threads    one: getters are local objects, used in one go
// Destroy    in any order. An NValue or UValue may end once it is read: what it hung stays below its getter
// Fails      by the getters above. Each getter reads once: a second Get() fails, except that of a required
//            scalar. A getter hangs in one place: a second NValue or UValue beside the first fails it
// Memory     is never asked for, and nothing is logged

#include "zeb/doc/json/GetterBase.h"

namespace Json::Getter {

// An unnamed value: a getter as the next element of an array.
class ZEB_PUBLIC UValue : public Child_ {
public:
    class Iterator;

    explicit UValue(Value& inner) { Hold_(inner); }
    // Reads the iterator's element at once.
    UValue(Iterator& at, Value& inner) {
        Hold_(inner);
        Bind_(at);
    }

protected:
    UValue() = default;
    void Bind_(Iterator& at);
};

// A named value: a getter as a member of an object.
class ZEB_PUBLIC NValue : public Child_ {
public:
    class Iterator;

    NValue(CString const& name, Value& inner)
        : name_(name) {
        Hold_(inner);
    }
    // Reads the iterator's member at once, and takes its name.
    NValue(Iterator& at, Value& inner) {
        Hold_(inner);
        Bind_(at);
    }

    CString const& Name() const { return name_; }

protected:
    NValue() = default;
    explicit NValue(CString const& name)
        : name_(name) {}
    void Bind_(Iterator& at);

private:
    CString name_;
};

// A getter that has the members of an object as children.
class ZEB_PUBLIC Object : public Container_ {
public:
    // Of a known object; a null one fails.
    explicit Object(Json::Object const* object)
        : Container_(object != nullptr)
        , object_(object) {}
    // To be hung in another getter. Optional if there is a success, which then has the result: false when the
    // value is missing or no object. False as well when its content failed, but that fails the getters above
    // too. The bool must live as long as this getter and what hangs in it.
    explicit Object(bool* success = nullptr)
        : Container_(success) {}

    bool Get(Json::Value const& value) override;

    Object& operator>>(NValue& member) {
        (void)AddMember_(*this, member); // the result stays in the getter
        return *this;
    }
    Object& operator>>(NValue&& member) { return *this >> member; }

    // From here on an optional child that is there, and neither null nor what it should be, fails this getter
    // too.
    Object& Strict() {
        SetStrict_();
        return *this;
    }

    NValue::Iterator begin();
    static void const* end() { return nullptr; }

    // Internal. The child invalidates the parent, which is this object or stands for it.
    bool AddMember_(Value& parent, NValue& child);
    bool GetMember_(NValue& child);

private:
    Json::Object const* object_ = nullptr;
};

// A getter that has the elements of an array as children, in the order in which they are hung in it. Further
// elements do not matter.
class ZEB_PUBLIC Array : public Container_ {
public:
    // As with Object.
    explicit Array(Json::Array const* array)
        : Container_(array != nullptr) {
        Set_(array);
    }
    explicit Array(bool* success = nullptr)
        : Container_(success) {}

    bool Get(Json::Value const& value) override;

    Array& operator>>(UValue& element) {
        (void)AddElement_(*this, element); // the result stays in the getter
        return *this;
    }
    Array& operator>>(UValue&& element) { return *this >> element; }

    // As with Object.
    Array& Strict() {
        SetStrict_();
        return *this;
    }

    // All elements, whatever was read so far.
    UValue::Iterator begin();
    static void const* end() { return nullptr; }

    // Internal, as with Object.
    bool AddElement_(Value& parent, UValue& child);
    bool GetElement_(UValue& child);

private:
    void Set_(Json::Array const* array) {
        array_ = array;
        next_ = array != nullptr ? array->First() : nullptr;
    }

    Json::Array const* array_ = nullptr;
    Json::Array::Element const* next_ = nullptr;
    unsigned long index_ = 0; // of the next one
};

// The elements of an array, for a range-based loop: the loop variable is the iterator itself.
class UValue::Iterator {
public:
    Iterator(Array& parent, Json::Array::Element const* current)
        : parent_(&parent)
        , current_(current) {}

    Json::Value const* Value() const { return current_ ? current_->Value() : nullptr; }

    Iterator& operator*() { return *this; }
    Iterator& operator++() {
        current_ = current_->Next();
        ++index_;
        return *this;
    }
    bool operator==(void const* end) const { return current_ == end; }

private:
    friend class UValue;

    Array* parent_;
    Json::Array::Element const* current_;
    unsigned long index_ = 0;
};

// The members of an object, for a range-based loop: the loop variable is the iterator itself.
class NValue::Iterator {
public:
    Iterator(Object& parent, Json::Object::Member const* current)
        : parent_(&parent)
        , current_(current) {}

    CString const& Name() const { return current_ ? current_->Name() : CString::Nil(); }
    Json::Value const* Value() const { return current_ ? current_->Value() : nullptr; }

    Iterator& operator*() { return *this; }
    Iterator& operator++() {
        current_ = current_->Next();
        return *this;
    }
    bool operator==(void const* end) const { return current_ == end; }

private:
    friend class NValue;

    Object* parent_;
    Json::Object::Member const* current_;
};

inline UValue::Iterator Array::begin() { return {*this, array_ != nullptr ? array_->First() : nullptr}; }
inline NValue::Iterator Object::begin() { return {*this, object_ != nullptr ? object_->First() : nullptr}; }

// A scalar as an element of an array.
class ZEB_PUBLIC Element : public UValue {
public:
    template<IsItem T>
    explicit Element(T& target)
        : scalar_(target) {
        Hold_(scalar_);
    }
    template<IsItem T>
    explicit Element(T const** target)
        : scalar_(target) {
        Hold_(scalar_);
    }
    template<IsItem T>
    Element(Iterator& at, T& target)
        : Element(target) {
        Bind_(at);
    }
    template<IsItem T>
    Element(Iterator& at, T const** target)
        : Element(target) {
        Bind_(at);
    }

private:
    Scalar scalar_;
};

// A scalar as a member of an object.
class ZEB_PUBLIC Member : public NValue {
public:
    template<IsItem T>
    Member(CString const& name, T& target)
        : NValue(name)
        , scalar_(target) {
        Hold_(scalar_);
    }
    template<IsItem T>
    Member(CString const& name, T const** target)
        : NValue(name)
        , scalar_(target) {
        Hold_(scalar_);
    }
    template<IsItem T>
    Member(Iterator& at, T& target)
        : Member(CString(), target) {
        Bind_(at);
    }
    template<IsItem T>
    Member(Iterator& at, T const** target)
        : Member(CString(), target) {
        Bind_(at);
    }

private:
    Scalar scalar_;
};

} // namespace Json::Getter
