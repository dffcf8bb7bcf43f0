#pragma once

// String: text that owns its bytes, on the heap, in exactly Size() + 1 bytes with a NUL at the end. An empty
// string owns nothing. There is no spare room: each change of length asks the heap for the new size, so a
// long text is made by one Assign or Replace, or by a StringAccumulator with few appends.
//
// A copy can fail, so there is no copying constructor: copies are made by Assign. Operations that can fail
// give false when memory ran out and leave the string as it was. One thread at a time uses an object.

#include "zeb/core/CString.h"

#include <cstdlib>
#include <utility>

class ZEB_PUBLIC String : public CString {
public:
    String() = default;
    String(String&& other) noexcept
        : CString(other) {
        other.Forget_();
    }
    String& operator=(String&& other) noexcept {
        String taken(std::move(other));
        Swap(taken);
        return *this;
    }
    String(String const&) = delete;
    String& operator=(String const&) = delete;
    ~String() override {
        if (data_ != NIL_) free(data_);
    }

    // A source may lie in the string itself, here and below.
    [[nodiscard]] bool Assign(char const* data, unsigned long size);
    [[nodiscard]] bool Assign(char c, unsigned long count);
    [[nodiscard]] bool Assign(CString const& text) {
        return &text == this || Assign(text.Cstr(), text.Size());
    }

    // Puts new bytes in the place of `count` bytes at `pos`; the part must lie in the string.
    [[nodiscard]] bool Replace(unsigned long pos, unsigned long count, char const* data, unsigned long size);
    [[nodiscard]] bool Replace(unsigned long pos, unsigned long count, char c, unsigned long n);
    [[nodiscard]] bool Append(CString const& text) { return Append_(text.Cstr(), text.Size()); }

    // The new size; bytes that come in behind the old end are undefined.
    [[nodiscard]] bool Resize(unsigned long size);

    // These cannot fail. Erase needs a part that lies in the string; Truncate does nothing to a shorter
    // string; Strip takes white space off both ends.
    String& Erase(unsigned long pos, unsigned long count);
    String& Erase(unsigned long pos) { return Erase(pos, 1); }
    String& Truncate(unsigned long size);
    String& Clear();
    String& Strip();
    String& ToUpper();
    String& ToLower();
    String& Swap(String& other) noexcept {
        std::swap(data_, other.data_);
        std::swap(size_, other.size_);
        return *this;
    }

    // The parts with the separator between them.
    [[nodiscard]] bool Join(StringVector const& parts, CString const& separator);

    // The bytes, to be changed in place; Size() of them. Not to be written to when the string is empty.
    char* Ptr() { return data_; }

    // A view can be aimed elsewhere; an owner cannot.
    void Reset(char const*) = delete;
    void Reset(CString const&) = delete;

protected:
    [[nodiscard]] bool Append_(char const* data, unsigned long size);

private:
    bool IsOwn_(char const* data) const { return data >= data_ && data < data_ + size_; }
    void Forget_() {
        data_ = const_cast<char*>(NIL_);
        size_ = 0;
    }

    static bool Resize_(unsigned long pos, unsigned long oldCount, unsigned long newCount, char*& data,
                        unsigned long& size);
};
