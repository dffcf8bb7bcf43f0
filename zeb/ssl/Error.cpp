#include "zeb/ssl/Error.h"

#include "zeb/runtime/Thread.h"

#include <openssl/err.h>

namespace Ssl {

Error::Error(CString const& ident, Log::VerboseT verbose)
    : ident_(ident)
    , verbose_(verbose) {
    Clear();
}

Error::~Error() {
    if (verbose_ == Log::VERBOSE_OFF) Clear();
    char text[512];
    while (unsigned long const error = ERR_get_error()) {
        ERR_error_string_n(error, text, sizeof text);
        Log line(Log::ERROR, IDENT, ident_.Cstr(), "[%1] (SSL error 0x%2): \"%3\"");
        line << Thread::Id() << Log::HEX << error << text;
        if (ident_.Empty()) line << Log::Backtrace(1);
    }
}

void Error::Clear() const { ERR_clear_error(); }

} // namespace Ssl
