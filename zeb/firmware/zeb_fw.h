#ifndef ZEB_FW_H
#define ZEB_FW_H

/* Firmware images: a flat interface, usable from C. Each function that can fail takes an error record first,
 * returns false on failure, and has then filled the record; on success the record is cleared.
 *
 * Threads    any; OpenSSL's queue of errors, which is that of the thread, is empty behind each function */

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

#ifdef __cplusplus
}
#endif

#endif
