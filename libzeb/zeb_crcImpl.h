#ifndef ZEB_CRC_IMPL_H
#define ZEB_CRC_IMPL_H

// The ways to the CRC, each for processors of its own. Not installed.

#include <stddef.h>
#include <stdint.h>

// On all processors: 16 tables.
uint32_t zeb_crc32_tables_(uint32_t crc, unsigned char const* data, size_t size);

// By the instructions of this processor, or null.
typedef uint32_t (*zeb_crc32_fast_t_)(uint32_t crc, unsigned char const* data, size_t size);
zeb_crc32_fast_t_ zeb_crc32_fast_(void);

#endif
