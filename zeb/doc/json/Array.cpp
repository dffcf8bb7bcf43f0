#include "zeb/doc/json/Array.h"

#include "zeb/doc/json/Document.h"

namespace Json {

Array::Element* Array::Get(unsigned long index) {
    Element* element = first_;
    while (element != nullptr && index-- != 0)
        element = element->next_;
    return element;
}

Array::Element const* Array::Get(unsigned long index) const { return const_cast<Array*>(this)->Get(index); }

bool Array::IsNull(unsigned long index) const {
    Element const* const element = Get(index);
    return element != nullptr && element->value_->IsNull();
}

Json::Value* Array::Append_(Json::Value* value) {
    if (value == nullptr || !document_->Valid()) return nullptr;
    value = owner_->Own_(value);
    void* const block = value != nullptr ? document_->Allocate_(sizeof(Element)) : nullptr;
    if (block == nullptr) return nullptr;
    Link_(new (block) Element(value));
    return value;
}

Json::Value* Array::Append(NullT const&) { return Append_(owner_->AllocateNull_()); }
Json::Value* Array::Append(bool value) { return Append_(owner_->AllocateBool_(value)); }
Json::Value* Array::Append(char const* text) { return Append_(owner_->AllocateString_(text)); }
Json::Value* Array::Append(CString const& text) { return Append_(owner_->AllocateString_(text)); }
Json::Value* Array::Append(char value) { return Append_(owner_->AllocateSigned_(value)); }
Json::Value* Array::Append(unsigned char value) { return Append_(owner_->AllocateUnsigned_(value)); }
Json::Value* Array::Append(short value) { return Append_(owner_->AllocateSigned_(value)); }
Json::Value* Array::Append(unsigned short value) { return Append_(owner_->AllocateUnsigned_(value)); }
Json::Value* Array::Append(int value) { return Append_(owner_->AllocateSigned_(value)); }
Json::Value* Array::Append(unsigned int value) { return Append_(owner_->AllocateUnsigned_(value)); }
Json::Value* Array::Append(long value) { return Append_(owner_->AllocateSigned_(value)); }
Json::Value* Array::Append(unsigned long value) { return Append_(owner_->AllocateUnsigned_(value)); }
Json::Value* Array::Append(long long value) { return Append_(owner_->AllocateSigned_(value)); }
Json::Value* Array::Append(unsigned long long value) { return Append_(owner_->AllocateUnsigned_(value)); }
Json::Value* Array::Append(double value) { return Append_(owner_->AllocateDouble_(value)); }

Json::Object* Array::AppendObject() {
    Json::Value* const value = Append_(owner_->AllocateObject_());
    return value != nullptr ? value->Object() : nullptr;
}

Json::Array* Array::AppendArray() {
    Json::Value* const value = Append_(owner_->AllocateArray_());
    return value != nullptr ? value->Array() : nullptr;
}

Json::Value* Array::AppendCopy(Json::Value const* value) {
    return Append_(value != nullptr ? value->Copy_(*document_) : owner_->AllocateNull_());
}

bool Array::Clone_(Json::Array const& from) {
    Element const* const last = from.first_ != nullptr ? from.last_ : nullptr; // this may be `from`
    for (Element const* element = from.first_; element != nullptr;
         element = element != last ? element->next_ : nullptr)
        if (Append_(element->value_->Copy_(*document_)) == nullptr) return false;
    return true;
}

bool Array::Remove(Element* element) {
    if (element == nullptr || element->value_->parent_ != owner_) return false;
    (element->prev_ != nullptr ? element->prev_->next_ : first_) = element->next_;
    (element->next_ != nullptr ? element->next_->prev_ : last_) = element->prev_;
    element->value_->parent_ = nullptr;
    return true;
}

} // namespace Json
