#pragma once

// RString<N>: text of at most N - 1 bytes in an array inside the object, always terminated by a NUL. It never
// touches the heap, for places where an allocation may not happen. Text that is too long is cut, and the
// operation says so by false. One thread at a time uses an object.

#include "zeb/core/CString.h"

#include <cstdarg>

class ZEB_PUBLIC RStringBase : public CString {
public:
    // Only the owner of the array may aim the view.
    void Reset(char const*) = delete;
    void Reset(CString const&) = delete;

protected:
    explicit RStringBase(char* array)
        : CString(array, 0) {}
    RStringBase(RStringBase const&) = delete;
    RStringBase& operator=(RStringBase const&) = delete;

    bool Assign_(char const* data, unsigned long size, unsigned long capacity);
    bool Format_(unsigned long capacity, char const* format, va_list arguments);
};

template<unsigned long N>
class ZEB_PUBLIC RString : public RStringBase {
    static_assert(N > 0, "room for the terminator");

public:
    static constexpr unsigned long CAPACITY = N - 1;

    RString()
        : RStringBase(array_) {
        array_[0] = '\0';
    }
    explicit RString(CString const& text)
        : RString() {
        Assign(text);
    }
    RString(RString const& other)
        : RString() {
        Assign(other);
    }
    RString& operator=(RString const& other) {
        if (this != &other) Assign(other);
        return *this;
    }

    // True if the text fits. Otherwise its first N - 1 bytes are taken.
    bool Assign(CString const& text) { return Assign_(text.Cstr(), text.Size(), N); }
    bool Assign(char const* data, unsigned long size) { return Assign_(data, size, N); }

    // By the rules of printf; no argument may lie in this string. False if the format is in error (the size
    // stays as it was), or the text was cut.
    __attribute__((format(printf, 2, 3))) bool Assignf(char const* format, ...) {
        va_list arguments;
        va_start(arguments, format);
        bool const ok = Format_(N, format, arguments);
        va_end(arguments);
        return ok;
    }

    RString& Clear() {
        array_[0] = '\0';
        size_ = 0;
        return *this;
    }

private:
    char array_[N];
};
