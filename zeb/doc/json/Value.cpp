#include "zeb/doc/json/Value.h"

#include "zeb/core/String.h"
#include "zeb/doc/json/Cursor.h"
#include "zeb/doc/json/Document.h"
#include "zeb/doc/json/NumberFlags.h"

namespace Json {

constinit NullT const Null{};

Value::Value(Document& document, Json::String const& text)
    : Value(document, TYPE_STRING) {
    string_ = text;
}

Value::Value(Document& document, CString const& text)
    : Value(document, TYPE_STRING) {
    Json::String const copy = document.Allocate_(text);
    if (copy.Cstr() != nullptr) string_ = copy;
}

Value::Value(Document& document, long long value)
    : Value(document, TYPE_NUMBER) {
    StoreNumber_(value);
    SetupSignedNumberFlags_(value, flags_);
}

Value::Value(Document& document, unsigned long long value)
    : Value(document, TYPE_NUMBER) {
    StoreNumber_(value);
    SetupUnsignedNumberFlags_(value, flags_);
}

Value::Value(Document& document, double value)
    : Value(document, TYPE_NUMBER) {
    StoreNumber_(value);
    flags_ = NumberFlagsT(NUMBER_DOUBLE);
}

bool Value::Get(bool& result) const { return Get_(BoolPtr(), result); }
bool Value::Get(CString& result) const { return Get_(StringPtr(), result); }

bool Value::Get(::String& result) const {
    if (IsString() && result.Assign(string_)) return true;
    result.Clear();
    return false;
}

bool Value::Get(Json::Array*& result) const {
    result = const_cast<Value*>(this)->Array();
    return result != nullptr;
}

bool Value::Get(Json::Array const*& result) const {
    result = Array();
    return result != nullptr;
}

bool Value::Get(Json::Object*& result) const {
    result = const_cast<Value*>(this)->Object();
    return result != nullptr;
}

bool Value::Get(Json::Object const*& result) const {
    result = Object();
    return result != nullptr;
}

template<class T>
Value* Value::New_(Document& document, T const& content) {
    void* const block = document.Allocate_(sizeof(Value));
    return block != nullptr ? new (block) Value(document, content) : nullptr;
}

Value* Value::AllocateNull_() const { return New_(*document_, TYPE_NULL); }
Value* Value::AllocateBool_(bool value) const { return New_(*document_, value); }
Value* Value::AllocateSigned_(long long value) const { return New_(*document_, value); }
Value* Value::AllocateUnsigned_(unsigned long long value) const { return New_(*document_, value); }
Value* Value::AllocateDouble_(double value) const { return New_(*document_, value); }
Value* Value::AllocateObject_() const { return New_(*document_, TYPE_OBJECT); }
Value* Value::AllocateArray_() const { return New_(*document_, TYPE_ARRAY); }

Value* Value::AllocateString_(CString const& text) const {
    Json::String const copy = document_->Allocate_(text);
    return copy.Cstr() != nullptr ? New_(*document_, copy) : nullptr;
}

void Value::Reset_(TypeT type) {
    type_ = type;
    flags_.Clear();
    StoreNumber_(0ULL);
    boolean_ = type == TYPE_TRUE;
    array_.Setup_(this, document_);
    if (type == TYPE_OBJECT) SetupObject_();
    string_ = Json::String();
}

Value* Value::CopyItem_(Document& document) const {
    if (IsString()) return document.AllocateString_(string_);
    Value* const copy = New_(document, type_);
    if (copy == nullptr || IsContainer_()) return copy;
    copy->flags_ = flags_;
    copy->StoreNumber_(number_);
    return copy;
}

Value* Value::Copy_(Document& document) const {
    Value* const top = CopyItem_(document);
    if (top == nullptr || !IsContainer_()) return top;
    Value* to = top;
    Cursor_ from(*this);
    while (!from.AtEnd() || &from.Owner() != this) {
        if (from.AtEnd()) {
            from.Leave();
            from.Next();
            to = to->parent_;
            continue;
        }
        Value const& item = from.Value();
        Value* const copy = from.InObject() ? to->object_.AppendItem_(from.Name(), item)
                                            : to->array_.Append_(item.CopyItem_(document));
        if (copy == nullptr) return nullptr;
        if (item.IsContainer_()) {
            from.Enter(item);
            to = copy;
        } else {
            from.Next();
        }
    }
    return top;
}

// A value hangs in one place, in its own document, and never below itself, as an empty one cannot.
Value* Value::Own_(Value* value) {
    bool isFree = value->parent_ == nullptr && value->document_ == document_;
    if (isFree && value->IsContainer_() && !Cursor_(*value).AtEnd()) {
        for (Value const* above = this; isFree && above != nullptr; above = above->parent_)
            isFree = above != value;
    }
    return isFree && value != document_ ? value : value->Copy_(*document_);
}

void Value::SetupSignedNumberFlags_(long long value, NumberFlagsT& flags) {
    if (value >= 0) return SetupUnsignedNumberFlags_(static_cast<unsigned long long>(value), flags);
    flags = NumberFlagsT(NUMBER_FLAGS.OfNegative(value));
}

void Value::SetupUnsignedNumberFlags_(unsigned long long value, NumberFlagsT& flags) {
    flags = NumberFlagsT(NUMBER_FLAGS.Of(value));
}

} // namespace Json
