#ifndef ZEB_STRING_H
#define ZEB_STRING_H

/* Text in new allocations, to be released by free(). */

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Prints into a new text. The length, or -1 with `*out` null when memory ran out or the format is wrong. */
__attribute__((visibility("default"), format(printf, 2, 3))) int zeb_asprintf(char** out, char const* format,
                                                                              ...);

/* A copy; null when memory ran out, or of a null text. The second one ends at `size` bytes, or at a NUL ahead
 * of that. */
__attribute__((visibility("default"))) char* zeb_string_dup(char const* text);
__attribute__((visibility("default"))) char* zeb_string_ndup(char const* text, size_t size);

#ifdef __cplusplus
}
#endif

#endif
