#ifndef ZEB_FW_H
#define ZEB_FW_H

/* Firmware images: a flat interface, usable from C. Each function that can fail takes an error record first,
 * returns false on failure, and has then filled the record; on success the record is cleared. Nothing is
 * printed and nothing is logged.
 *
 *   file     = block* trailer
 *   block      of one of three sizes, 0x10000, 0x20000, 0x80000; one of them, anywhere, holds the table
 *   table    = the image of a table of tags (libzeb/zeb_tlv.h), magic ".BEZ.VLT", and the fill byte up to the
 * end of the block trailer  = "WQRT" word[4] text[48] crc[4]       little-endian; the word is neither 0 nor
 * 0xFFFFFFFF, the text not empty
 *
 * The CRC is zeb_crc32_update() of all blocks, from 0xFFFFFFFF. An image that was read from a flash partition
 * has no trailer: then its raw size is told. A file, with its trailer, or a raw image has from 4 to 128 MiB.
 *
 *   zeb_fw_error error;
 *   unsigned status;
 *   zeb_fw_tlv tags[] = {{.tag = ZEB_FW_TAG_FIRMWARE_ID}, {.tag = ZEB_FW_TAG_VERSION}};
 *   if (!zeb_fw_dump(&error, path, 1, &status, 0, tags, 2, "/etc/firmware-ca", NULL, 0, NULL, NULL))
 *       return complain(error.code, error.message);
 *   if (status != ZEB_FW_SIGNATURE_VALID) ...
 *   zeb_fw_free_tlv(tags, 2);
 *
 * Threads    any; OpenSSL's queue of errors, which is that of the thread, is empty behind each function
 * Waits      for the file alone
 * Memory     of two blocks and of the certificates at most, whatever the file holds */

#include "zeb/core/Export.h"

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define ZEB_FW_MESSAGE_SIZE 1024

typedef struct zeb_fw_error {
    uint32_t code;     /* 0 for none */
    int32_t sysError;  /* errno, or 0 */
    uint32_t sslError; /* that of OpenSSL, or 0 */
    char message[ZEB_FW_MESSAGE_SIZE];
} zeb_fw_error;

/* Prepares OpenSSL, and ends it for the whole process: it does not start a second time. A program with a Main
 * or MainSt calls neither, the frame has done so. Failure: 310. */
ZEB_PUBLIC bool zeb_fw_init(zeb_fw_error* error);
ZEB_PUBLIC void zeb_fw_fini(void);

/* The tags whose values a client may ask for, up to 255: text, without a terminator in the file. */
enum {
    ZEB_FW_TAG_HARDWARE_ID = 1,
    ZEB_FW_TAG_FIRMWARE_ID = 3, /* a number of 32 bits in hexadecimal digits; a signed image has one */
    ZEB_FW_TAG_CUSTOMER = 4,
    ZEB_FW_TAG_DEVICE_MANUFACTURER = 5,
    ZEB_FW_TAG_MODEL_SERIES = 8,
    ZEB_FW_TAG_VENDOR = 0xD,
    ZEB_FW_TAG_VENDOR_EMAIL = 0xE,
    ZEB_FW_TAG_VENDOR_SHORT = 0xF,
    ZEB_FW_TAG_VENDOR_URL = 0x10,
    ZEB_FW_TAG_VERSION = 0x11,
    ZEB_FW_TAG_COMPONENTS = 0x12,
    ZEB_FW_USER_TAG_MAX = 255
};

/* The tags that the image itself needs. Integers are big-endian, of 4 bytes. */
enum {
    ZEB_FW_TAG_UNSIGNED = 0x10001,     /* its presence marks an image without certificates and signature */
    ZEB_FW_TAG_CERTIFICATES = 0x10002, /* PEM: the signing certificate and its intermediate authorities */
    ZEB_FW_TAG_DIGEST = 0x10003,       /* name, as OpenSSL knows it, without a terminator; always there */
    ZEB_FW_TAG_SIGNATURE = 0x10004,    /* length[4] signature, and bytes up to the size of the value */
    ZEB_FW_TAG_BLOCK_SIZE = 0x10005,   /* integer; always there */
    ZEB_FW_TAG_FILL_BYTE = 0x10007     /* integer, 0 or 0xFF; 0xFF without it */
};

typedef struct zeb_fw_tag {
    char const* name;
    unsigned tag;
} zeb_fw_tag;

#define ZEB_FW_TAG_COUNT 11
ZEB_PUBLIC extern zeb_fw_tag const ZEB_FW_TAG_SET[ZEB_FW_TAG_COUNT];

/* The name out of that table, or null. */
ZEB_PUBLIC char const* zeb_fw_tag_name(unsigned tag);

/* Eight hexadecimal digits behind an optional "0x", both in either case. Else false, and `*id` is 0. */
ZEB_PUBLIC bool zeb_fw_parse_firmware_id(char const* text, size_t length, unsigned* id);

/* A value that is asked for by its tag. */
typedef struct zeb_fw_tlv {
    unsigned long tag;
    unsigned long size; /* 0 and null: the image has no such tag */
    void* value;        /* by malloc(), with a NUL behind its size */
} zeb_fw_tlv;

ZEB_PUBLIC void zeb_fw_free_tlv(zeb_fw_tlv* set, size_t count);

/* The certificate that signed. */
typedef struct zeb_fw_crt_info {
    long version;       /* as in the certificate, where 2 stands for version 3 */
    char* serial;       /* pairs of hexadecimal digits, "0a:1b" */
    char* issuer;       /* on one line, "/C=DE/CN=..." */
    char* subject;      /* the same */
    char* keyAlgorithm; /* OpenSSL's short name, "id-ecPublicKey", "rsaEncryption" */
    char* fingerprint;  /* SHA-256, pairs of digits */
} zeb_fw_crt_info;

/* Frees and nulls it; null is good. */
ZEB_PUBLIC void zeb_fw_free_crt_info(zeb_fw_crt_info** info);

enum {
    ZEB_FW_SIGNATURE_VALID = 0,
    ZEB_FW_SIGNATURE_WRONG = 1, /* no failure: the function did what it was asked for */
    ZEB_FW_UNSIGNED = 2,
    ZEB_FW_NOT_CHECKED = 3 /* no directory of authorities was given, or the function failed */
};

/* Called for each block that was read, twice over when a signature is checked, and for the trailer: 1 once
 * the table was found, 0 before. It may not call zeb_fw_dump() with the same error record. */
typedef void (*zeb_fw_progress)(int ok, void* data);

/* Finds the table, copies the values asked for, and checks the signature of the whole image if there is a
 * directory of authorities: files of PEM certificates.
 *
 *   checkRevocation   not 0: the firmware id has to be a known one, and serial numbers have to be sound
 *   blockSize         0: it is searched for
 *   tlvSet, caDirectory, certInfo, callback    may be null
 *   rawSize           0: a file with a trailer
 *
 * Certificates outside of their time are taken: a device may have no clock. On failure there are no values
 * and no certificate information, and `*status` is ZEB_FW_NOT_CHECKED. */
ZEB_PUBLIC bool zeb_fw_dump(zeb_fw_error* error, char const* file, unsigned checkRevocation, unsigned* status,
                            unsigned long blockSize, zeb_fw_tlv* tlvSet, unsigned long tlvCount,
                            char const* caDirectory, zeb_fw_crt_info** certInfo, unsigned long rawSize,
                            zeb_fw_progress callback, void* callbackData);

#ifdef __cplusplus
}
#endif

#endif
