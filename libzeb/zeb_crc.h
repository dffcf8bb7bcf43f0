#ifndef ZEB_CRC_H
#define ZEB_CRC_H

/* CRC-32, reflected, polynomial 0xEDB88320. The state is that of the caller: it starts as 0xFFFFFFFF, and is
 * compared as it stands. Inverted at the end it is the check of Ethernet, gzip and PNG. */

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

__attribute__((visibility("default"))) void zeb_crc32_update(unsigned* crc, void const* data, size_t size);

#ifdef __cplusplus
}
#endif

#endif
