#include "zeb/core/Buffer.h"

#include <cstdlib>
#include <cstring>
#include <openssl/crypto.h>
#include <utility>

Buffer::~Buffer() { Free_(); }

bool Buffer::Resize(unsigned long size) {
    if (!Grow_(size)) return false;
    size_ = size;
    return true;
}

bool Buffer::Assign(CBuffer const& data) {
    if (&data == this) return true;
    if (!Resize(data.Size())) return false;
    if (size_ != 0) memcpy(Ptr(), data.Ptr(), size_);
    return true;
}

bool Buffer::Append(CBuffer const& data) {
    unsigned long const added = data.Size();
    unsigned long longer;
    if (added == 0) return true;
    if (__builtin_add_overflow(size_, added, &longer) || !Grow_(longer)) return false;
    memcpy(Bytes() + size_, data.Ptr(), added); // the pointer is read now: the data may be this buffer
    size_ = longer;
    return true;
}

void Buffer::Erase(unsigned long pos, unsigned long count) {
    if (count == 0) return;
    memmove(Bytes() + pos, Bytes() + pos + count, size_ - pos - count);
    size_ -= count;
}

void Buffer::ShrinkToFit() {
    if (size_ == 0) return Free_();
    if (size_ == capacity_) return;
    void* const block = Reallocate_(size_);
    if (!block) return;
    data_ = block;
    capacity_ = size_;
}

void Buffer::Swap(Buffer& other) noexcept {
    std::swap(data_, other.data_);
    std::swap(size_, other.size_);
    std::swap(capacity_, other.capacity_);
    std::swap(secure_, other.secure_);
}

bool Buffer::Grow_(unsigned long capacity) {
    if (capacity <= capacity_) return true;
    void* const block = Reallocate_(capacity);
    if (!block) return false;
    data_ = block;
    capacity_ = capacity;
    return true;
}

void* Buffer::Reallocate_(unsigned long capacity) {
    if (!secure_) return realloc(Ptr(), capacity);
    return CRYPTO_clear_realloc(Ptr(), capacity_, capacity, OPENSSL_FILE, OPENSSL_LINE);
}

void Buffer::Free_() {
    if (secure_)
        CRYPTO_clear_free(Ptr(), capacity_, OPENSSL_FILE, OPENSSL_LINE);
    else
        free(Ptr());
    data_ = nullptr;
    size_ = capacity_ = 0;
}
