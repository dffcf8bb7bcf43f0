#pragma once

// The base of the text forms of the values: a view of a fixed array of its own.

#include "zeb/core/CString.h"

#include <cstring>

namespace Network {

template<unsigned long N>
class AddressStr : public CString {
public:
    AddressStr(AddressStr const& other)
        : CString(text_, other.size_) {
        memcpy(text_, other.text_, sizeof(text_));
    }
    AddressStr& operator=(AddressStr const& other) {
        if (this == &other) return *this;
        memcpy(text_, other.text_, sizeof(text_));
        size_ = other.size_;
        return *this;
    }
    void Reset(char const*) = delete;
    void Reset(CString const&) = delete;

protected:
    AddressStr()
        : CString(text_, 0) {}

    // What was written from the start of the array up to `end` becomes the text.
    void End_(char* end) {
        *end = '\0';
        size_ = static_cast<unsigned long>(end - text_);
    }

    char text_[N];
};

} // namespace Network
