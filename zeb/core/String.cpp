#include "zeb/core/String.h"

#include "zeb/core/StringVector.h"

#include <cctype>
#include <malloc.h>

namespace {

// The heap hands out whole size classes. While the block has room, growing needs no call, and a block of the
// same class is what the exact size would get.
bool HasRoom_(char* data, unsigned long size, unsigned long longer) {
    return size != 0 && malloc_usable_size(data) > longer;
}

// Not inlined: the compiler would take the size of the last realloc() for all there is.
__attribute__((noinline)) bool Reallocate_(char*& data, unsigned long size, unsigned long longer) {
    if (longer == ~0UL) return false;
    void* const block = size == 0 ? malloc(longer + 1) : realloc(data, longer + 1);
    if (!block) return false;
    data = static_cast<char*>(block);
    return true;
}

// Makes room for the longer text. False, with nothing changed, if there is none.
bool Grow_(char*& data, unsigned long size, unsigned long more, unsigned long& longer) {
    if (__builtin_add_overflow(size, more, &longer)) return false;
    return HasRoom_(data, size, longer) || Reallocate_(data, size, longer);
}

// Behind the copied text.
char* Put_(char* out, CString const& text) {
    return static_cast<char*>(mempcpy(out, text.Cstr(), text.Size()));
}

bool IsSpace_(char c) { return isspace(static_cast<unsigned char>(c)) != 0; }

} // namespace

bool String::Resize_(unsigned long pos, unsigned long oldCount, unsigned long newCount, char*& data,
                     unsigned long& size) {
    if (oldCount == newCount) return true;
    unsigned long const tail = size - pos - oldCount;
    if (newCount < oldCount) {
        unsigned long const shorter = size - (oldCount - newCount);
        if (shorter == 0) {
            free(data);
            data = const_cast<char*>(NIL_);
        } else {
            memmove(data + pos + newCount, data + pos + oldCount, tail + 1);
            void* const block = realloc(data, shorter + 1);
            if (block) data = static_cast<char*>(block);
        }
        size = shorter;
        return true;
    }
    unsigned long longer;
    if (!Grow_(data, size, newCount - oldCount, longer)) return false;
    memmove(data + pos + newCount, data + pos + oldCount, tail);
    data[longer] = '\0';
    size = longer;
    return true;
}

bool String::Resize(unsigned long size) {
    if (size <= size_) return Truncate(size), true;
    return Resize_(size_, 0, size - size_, data_, size_);
}

// A text that lies in the string is not longer than it: it moves to the front, and nothing can fail.
bool String::Assign(char const* data, unsigned long size) {
    if (IsOwn_(data)) {
        memmove(data_, data, size);
        return Truncate(size), true;
    }
    if (!Resize_(0, size_, size, data_, size_)) return false;
    if (size != 0) memcpy(data_, data, size);
    return true;
}

bool String::Assign(char c, unsigned long count) {
    if (!Resize_(0, size_, count, data_, size_)) return false;
    if (count != 0) memset(data_, c, count);
    return true;
}

bool String::Replace(unsigned long pos, unsigned long count, char const* data, unsigned long size) {
    if (IsOwn_(data)) {
        String copy;
        return copy.Assign(data, size) && Replace(pos, count, copy.Cstr(), size);
    }
    if (!Resize_(pos, count, size, data_, size_)) return false;
    if (size != 0) memcpy(data_ + pos, data, size);
    return true;
}

bool String::Replace(unsigned long pos, unsigned long count, char c, unsigned long n) {
    if (!Resize_(pos, count, n, data_, size_)) return false;
    if (n != 0) memset(data_ + pos, c, n);
    return true;
}

bool String::Append_(char const* data, unsigned long size) {
    unsigned long longer;
    if (size == 0) return true;
    bool const isOwn = IsOwn_(data);
    long const offset = isOwn ? data - data_ : 0; // where it is when the block has moved
    if (!Grow_(data_, size_, size, longer)) return false;
    memcpy(data_ + size_, isOwn ? data_ + offset : data, size);
    data_[longer] = '\0';
    size_ = longer;
    return true;
}

String& String::Erase(unsigned long pos, unsigned long count) {
    (void)Resize_(pos, count, 0, data_, size_); // shrinking never fails
    return *this;
}

String& String::Truncate(unsigned long size) { return size < size_ ? Erase(size, size_ - size) : *this; }

String& String::Clear() {
    if (size_ != 0) free(data_);
    Forget_();
    return *this;
}

String& String::Strip() {
    unsigned long front = 0;
    while (front < size_ && IsSpace_(data_[front]))
        ++front;
    if (front == size_) return Clear();
    unsigned long end = size_;
    while (IsSpace_(data_[end - 1]))
        --end;
    if (front != 0) memmove(data_, data_ + front, end - front);
    return Truncate(end - front);
}

String& String::ToUpper() {
    for (char *p = data_, *const end = data_ + size_; p != end; ++p)
        *p = static_cast<char>(toupper(static_cast<unsigned char>(*p)));
    return *this;
}

String& String::ToLower() {
    for (char *p = data_, *const end = data_ + size_; p != end; ++p)
        *p = static_cast<char>(tolower(static_cast<unsigned char>(*p)));
    return *this;
}

bool String::Join(StringVector const& parts, CString const& separator) {
    unsigned long size = 0;
    unsigned long const gaps = parts.Size() == 0 ? 0 : parts.Size() - 1;
    if (__builtin_mul_overflow(gaps, separator.Size(), &size)) return false;
    for (unsigned long i = 0; i < parts.Size(); ++i) {
        if (__builtin_add_overflow(size, parts[i].Size(), &size)) return false;
    }
    String joined;
    if (!joined.Resize(size)) return false;
    char* out = joined.data_;
    for (unsigned long i = 0; i < parts.Size(); ++i) {
        if (i != 0) out = Put_(out, separator);
        out = Put_(out, parts[i]);
    }
    Swap(joined);
    return true;
}
