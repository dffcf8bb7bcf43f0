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
    void const* const source = data.Ptr(); // a part of this buffer is not longer, so it does not move
    if (!Resize(data.Size())) return false;
    if (size_ != 0) memmove(Ptr(), source, size_);
    return true;
}

bool Buffer::Append(CBuffer const& data) {
    unsigned long const added = data.Size();
    unsigned long longer;
    if (added == 0) return true;
    bool const isOwn = data.Bytes() >= Bytes() && data.Bytes() < Bytes() + size_;
    long const offset = isOwn ? data.Bytes() - Bytes() : 0; // where it is when the block has moved
    if (__builtin_add_overflow(size_, added, &longer) || !Grow_(longer)) return false;
    memcpy(Bytes() + size_, isOwn ? Bytes() + offset : data.Bytes(), added);
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
