#pragma once

// CBuffer: a read-only view of bytes, pointer and size; the base of Buffer. It owns nothing, and what it aims
// at must live as long as it is used.
//
// A secure view compares in constant time, so that the place of the first difference cannot be measured.

#include "zeb/core/CString.h"
#include "zeb/core/Export.h"

class ZEB_PUBLIC CBuffer {
public:
    CBuffer(void const* data, unsigned long size)
        : data_(data)
        , size_(size) {}
    CBuffer(CString const& text)
        : CBuffer(text.Cstr(), text.Size()) {}
    CBuffer(CBuffer const&) = default;
    CBuffer& operator=(CBuffer const&) = default;
    virtual ~CBuffer() = default;

    static CBuffer const& Nil();

    // The side on the left decides whether the comparison is a secure one.
    bool operator==(CBuffer const& other) const;

    // May be null when the size is 0.
    void const* Ptr() const { return data_; }
    unsigned char const* Bytes() const { return static_cast<unsigned char const*>(data_); }
    unsigned long Size() const { return size_; }
    bool Empty() const { return size_ == 0; }
    bool IsSecure() const { return secure_; }

protected:
    void const* data_;
    unsigned long size_;
    bool secure_ = false;
};
