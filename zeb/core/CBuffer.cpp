#include "zeb/core/CBuffer.h"

#include <cstring>
#include <openssl/crypto.h>

CBuffer const& CBuffer::Nil() {
    static CBuffer const nil(nullptr, 0);
    return nil;
}

bool CBuffer::operator==(CBuffer const& other) const {
    if (&other == this) return true;
    if (size_ != other.size_) return false;
    if (size_ == 0) return true;
    return (secure_ ? CRYPTO_memcmp(data_, other.data_, size_) : memcmp(data_, other.data_, size_)) == 0;
}
