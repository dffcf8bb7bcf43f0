#ifndef ZEB_PUNYCODE_H
#define ZEB_PUNYCODE_H

/* Punycode of RFC 3492, one label without the prefix "xn--". */

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The text as UTF-8, NUL-terminated, to be released by free(). Null for a text that is no punycode (a
 * character outside of ASCII, a bad digit, a code point that does not exist) and when memory ran out. */
__attribute__((visibility("default"))) char* zeb_punycode_decode_utf8(char const* text, size_t size);

#ifdef __cplusplus
}
#endif

#endif
