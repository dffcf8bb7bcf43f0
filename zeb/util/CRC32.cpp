#include "zeb/util/CRC32.h"

#include "libzeb/zeb_crc.h"

namespace Util {

void CRC32::Update(void const* data, unsigned long size) {
    if (table_ == nullptr) return zeb_crc32_update(&state_, data, size);
    for (auto const* at = static_cast<unsigned char const*>(data); size != 0; --size)
        state_ = state_ >> 8 ^ table_[(state_ ^ *at++) & 0xFF];
}

} // namespace Util
