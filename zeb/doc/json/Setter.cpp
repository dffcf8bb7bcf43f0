#include "zeb/doc/json/Setter.h"

namespace Json::Setter {

void Value::SetSigned_(long long value) {
    Json::Value::NumberFlagsT flags;
    Json::Value::SetupSignedNumberFlags_(value, flags);
    payload_.asSigned = value;
    tag_ = static_cast<uint32_t>(flags.Word());
}

void Value::SetUnsigned_(unsigned long long value) {
    Json::Value::NumberFlagsT flags;
    Json::Value::SetupUnsignedNumberFlags_(value, flags);
    payload_.asUnsigned = value;
    tag_ = static_cast<uint32_t>(flags.Word());
}

// One of the two widest integers holds any number, and the flags go by its value.
Json::Value* Value::Get_(Json::Document& document) const {
    switch (tag_) {
    case OBJECT:
        return payload_.object != nullptr ? payload_.object->Value() : nullptr;
    case ARRAY:
        return payload_.array != nullptr ? payload_.array->Value() : nullptr;
    case STRING:
        return document.AllocateString_(payload_.text);
    case BOOLEAN:
        return document.AllocateBool_(payload_.boolean);
    case Json::Value::NUMBER_DOUBLE:
        return document.AllocateDouble_(payload_.real);
    case NULL_VALUE:
        return document.AllocateNull_();
    case NOTHING:
        return nullptr;
    default:
        break;
    }
    return (tag_ & Json::Value::NUMBER_ULONGLONG) != 0 ? document.AllocateUnsigned_(payload_.asUnsigned)
                                                       : document.AllocateSigned_(payload_.asSigned);
}

Json::Object* Object::Allocate_(Json::Document& document) {
    Json::Value* const value = document.AllocateObject_();
    return value != nullptr ? value->Object() : nullptr;
}

void Object::Append_(CString const& name, Value const& value) {
    if (object_ == nullptr || value.IsNothing_()) return;
    Json::Document& document = *object_->Doc();
    Json::Value* const made = value.Get_(document);
    if (made == nullptr) return;
    (void)object_->Append_(document.Allocate_(name), made); // a failure shows in the document
}

Json::Array* Array::Allocate_(Json::Document& document) {
    Json::Value* const value = document.AllocateArray_();
    return value != nullptr ? value->Array() : nullptr;
}

void Array::Append_(Element const& element) {
    if (array_ == nullptr || element.IsNothing_()) return;
    (void)array_->Append_(element.Get_(*array_->Doc())); // a failure shows in the document
}

} // namespace Json::Setter
