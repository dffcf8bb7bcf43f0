#include "zeb/core/RString.h"

#include <cstdio>

bool RStringBase::Assign_(char const* data, unsigned long size, unsigned long capacity) {
    bool const fits = size < capacity;
    size_ = fits ? size : capacity - 1;
    memmove(data_, data, size_);
    data_[size_] = '\0';
    return fits;
}

bool RStringBase::Format_(unsigned long capacity, char const* format, va_list arguments) {
    int const length = vsnprintf(data_, capacity, format, arguments);
    if (length < 0) return false;
    bool const fits = static_cast<unsigned long>(length) < capacity;
    size_ = fits ? static_cast<unsigned long>(length) : capacity - 1;
    return fits;
}
