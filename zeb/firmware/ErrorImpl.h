#pragma once

// How the functions of firmware images report: each fills the record and gives false, so that a failure is
// one statement: return zeb_fw_error_sys_(error, 302, "unable to open %s", name).
//
// The message is cut at the record's size, and then ends in "[...]". A system error adds its words in
// parentheses.

#include "zeb/firmware/zeb_fw.h"

#include <cstdarg>

#define ZEB_FW_FORMAT_ __attribute__((format(printf, 3, 4)))

void zeb_fw_error_clear_(zeb_fw_error* error);

// Without a cause; with errno; with errno and the first error of OpenSSL's queue, of which errno is the cause
// only if that error says so.
bool zeb_fw_error_(zeb_fw_error* error, uint32_t code, char const* format, ...) ZEB_FW_FORMAT_;
bool zeb_fw_error_sys_(zeb_fw_error* error, uint32_t code, char const* format, ...) ZEB_FW_FORMAT_;
bool zeb_fw_error_openssl_(zeb_fw_error* error, uint32_t code, char const* format, ...) ZEB_FW_FORMAT_;

// What the three do, with the causes at hand.
bool zeb_fw_error_va_(zeb_fw_error* error, uint32_t code, int sysError, uint32_t sslError, char const* format,
                      va_list arguments);
