#include "zeb/firmware/ErrorImpl.h"

#include <openssl/crypto.h>
#include <openssl/err.h>

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace {

constexpr char CUT[] = "[...]";
constexpr char WRONG_FORMAT[] = "(wrong format error)";
constexpr unsigned long SIZE = ZEB_FW_MESSAGE_SIZE;
constexpr unsigned long LENGTH_MAX = SIZE - 2; // of a message that is not cut

// The system's words in parentheses; "I/O error" keeps its first letter.
int AppendCause_(char* out, unsigned long room, int error) {
    char buffer[128];
    char const* const words = strerror_r(error, buffer, sizeof buffer);
    if (words[0] == '\0') return 0;
    bool const isKept = words[1] == '/';
    int const first = static_cast<unsigned char>(words[0]);
    return snprintf(out, room, " (%c%s)", isKept ? first : tolower(first), words + 1);
}

} // namespace

bool zeb_fw_error_va_(zeb_fw_error* error, uint32_t code, int sysError, uint32_t sslError, char const* format,
                      va_list arguments) {
    error->code = code;
    error->sysError = sysError;
    error->sslError = sslError;
    char* const message = error->message;
    int const size = vsnprintf(message, SIZE, format, arguments);
    if (size < 0) {
        memcpy(message, WRONG_FORMAT, sizeof WRONG_FORMAT);
        return false;
    }
    auto length = static_cast<unsigned long>(size);
    if (sysError > 0 && length <= LENGTH_MAX)
        length += static_cast<unsigned long>(AppendCause_(message + length, SIZE - length, sysError));
    if (length > LENGTH_MAX) memcpy(message + SIZE - sizeof CUT, CUT, sizeof CUT);
    return false;
}

bool zeb_fw_error_(zeb_fw_error* error, uint32_t code, char const* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    zeb_fw_error_va_(error, code, 0, 0, format, arguments);
    va_end(arguments);
    return false;
}

bool zeb_fw_error_sys_(zeb_fw_error* error, uint32_t code, char const* format, ...) {
    int const sysError = errno;
    va_list arguments;
    va_start(arguments, format);
    zeb_fw_error_va_(error, code, sysError, 0, format, arguments);
    va_end(arguments);
    return false;
}

bool zeb_fw_error_openssl_(zeb_fw_error* error, uint32_t code, char const* format, ...) {
    int const sysError = errno;
    unsigned long const sslError = ERR_get_error();
    bool const isSystem = ERR_SYSTEM_ERROR(sslError) || ERR_GET_LIB(sslError) == ERR_LIB_SYS;
    va_list arguments;
    va_start(arguments, format);
    zeb_fw_error_va_(error, code, isSystem ? sysError : 0, static_cast<uint32_t>(sslError), format,
                     arguments);
    va_end(arguments);
    ERR_clear_error();
    return false;
}

void zeb_fw_error_clear_(zeb_fw_error* error) { *error = {}; }

bool zeb_fw_init(zeb_fw_error* error) {
    constexpr uint64_t OPTIONS = OPENSSL_INIT_ADD_ALL_CIPHERS | OPENSSL_INIT_ADD_ALL_DIGESTS;
    static_assert(OPTIONS == 12);
    zeb_fw_error_clear_(error);
    if (OPENSSL_init_crypto(OPTIONS, nullptr) == 1) return true;
    return zeb_fw_error_openssl_(error, 310, "unable to initialize a crypto library");
}

void zeb_fw_fini() { OPENSSL_cleanup(); }
