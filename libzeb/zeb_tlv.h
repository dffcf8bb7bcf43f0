#ifndef ZEB_TLV_H
#define ZEB_TLV_H

/* A table of values by tag, as one run of bytes, its image. All integers are unsigned, of 32 bits,
 * big-endian.
 *
 *   image  = magic length crc count entry*
 *   magic    a few bytes, agreed by those who write and read
 *   length   of the image in bytes, a multiple of 4
 *   crc      zeb_crc32_update() from 0xFFFFFFFF over the image, with zeros in the place of the crc
 *   count    of the entries, which end where the image ends
 *   entry  = tag size value padding
 *   tag      each one greater than that of the entry before
 *   size     of the value in bytes
 *   padding  zeros, up to the next multiple of 4
 *
 * What follows the image is not looked at. A table whose bytes differ from what these rules allow in any
 * place is none.
 *
 * Owns       a table is a copy of the image, by malloc(); views of values and of the image live until it is
 * freed Threads    a table is used by one thread at a time, or read by many Memory     one allocation for
 * each table, of its image and a few bytes, however its fields lie */

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define ZEB_TLV_PUBLIC __attribute__((visibility("default")))

typedef struct zeb_tlv_table zeb_tlv_table;

typedef struct zeb_tlv_entry {
    uint32_t tag;
    size_t size;
    void const* value; /* null: zeros */
} zeb_tlv_entry;

/* 0 and a new table if `data` begins with an image; else -1, `*table` null, and errno: ENOMEM, or EINVAL for
 * what is no image. The size of the magic is a multiple of 4. */
ZEB_TLV_PUBLIC int zeb_tlv_table_parse_img(zeb_tlv_table** table, void const* magic, size_t magic_size,
                                           void const* data, size_t size);

/* The same for a table out of entries, whose tags rise. EINVAL as well for what is too large. */
ZEB_TLV_PUBLIC int zeb_tlv_table_make(zeb_tlv_table** table, void const* magic, size_t magic_size,
                                      zeb_tlv_entry const* entries, size_t count);

/* Null for a tag that is not there. A value of size 0 is not null. */
ZEB_TLV_PUBLIC void const* zeb_tlv_table_get(zeb_tlv_table const* table, uint32_t tag, size_t* size);

/* The entry of a place, in the order of the tags; false behind the last. */
ZEB_TLV_PUBLIC int zeb_tlv_table_at(zeb_tlv_table const* table, size_t place, zeb_tlv_entry* entry);

/* Replaces a value by one of the same size, and brings the CRC up to date: 0. Else -1 and errno: ENOENT for a
 * tag that is not there, EINVAL for another size. */
ZEB_TLV_PUBLIC int zeb_tlv_table_set(zeb_tlv_table* table, uint32_t tag, size_t size, void const* data);

ZEB_TLV_PUBLIC size_t zeb_tlv_table_img_len(zeb_tlv_table const* table);
ZEB_TLV_PUBLIC void const* zeb_tlv_table_img_ptr(zeb_tlv_table const* table);

/* Where in the image its CRC stands, and its size. */
ZEB_TLV_PUBLIC size_t zeb_tlv_table_img_offs_crc(zeb_tlv_table const* table, size_t* crc_size);

/* Frees and nulls it; null is good. */
ZEB_TLV_PUBLIC void zeb_tlv_table_free(zeb_tlv_table** table);

#ifdef __cplusplus
}
#endif

#endif
