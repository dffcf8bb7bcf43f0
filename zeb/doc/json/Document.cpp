#include "zeb/doc/json/Document.h"

#include <cstring>

namespace Json {

Document::Document()
    : Value(*this, TYPE_OBJECT) {}

Document::~Document() { InitObject(); }

Json::String Document::Allocate_(char const* text, unsigned long size) {
    if (size == 0 && text != nullptr) size = strlen(text);
    unsigned long const whole = (size | (PoolBase::ALIGNMENT - 1)) + 1;
    if (whole == 0) valid_ = false;
    char* const block = whole != 0 ? static_cast<char*>(Allocate_(whole)) : nullptr;
    if (block == nullptr) return Json::String(nullptr, 0);
    if (text != nullptr) memcpy(block, text, size);
    block[size] = '\0';
    return Json::String(block, size);
}

Json::String Document::Allocate_(CString const& text) {
    return Allocate_(text.Empty() ? nullptr : text.Cstr(), text.Size());
}

void Document::Clear_(TypeT type) {
    Reset_(type);
    valid_ = true;
    pool_.Clear();
}

void Document::InitValue_(Value const& value) {
    type_ = value.type_;
    flags_ = value.flags_;
    StoreNumber_(value.number_);
    boolean_ = value.boolean_;
    string_ = value.string_;
}

} // namespace Json
