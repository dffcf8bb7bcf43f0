#include "libzeb/zeb_string.h"

#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

int zeb_asprintf(char** out, char const* format, ...) {
    *out = nullptr;
    va_list arguments, again;
    va_start(arguments, format);
    va_copy(again, arguments);
    int length = vsnprintf(nullptr, 0, format, arguments);
    if (length >= 0) *out = static_cast<char*>(malloc(static_cast<size_t>(length) + 1));
    if (*out != nullptr)
        vsnprintf(*out, static_cast<size_t>(length) + 1, format, again);
    else
        length = -1;
    va_end(again);
    va_end(arguments);
    return length;
}

char* zeb_string_dup(char const* text) {
    return text == nullptr ? nullptr : zeb_string_ndup(text, strlen(text));
}

char* zeb_string_ndup(char const* text, size_t size) {
    if (text == nullptr) return nullptr;
    size_t const length = strnlen(text, size);
    char* const copy = static_cast<char*>(malloc(length + 1));
    if (copy == nullptr) return nullptr;
    memcpy(copy, text, length);
    copy[length] = '\0';
    return copy;
}
