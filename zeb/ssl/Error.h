#pragma once

// Ssl::Error: a scope for calls of OpenSSL. It empties the thread's queue of errors at its start, and at its
// end logs what has come into the queue, one line an error, and leaves it empty:
//
//   Ssl::Error const scope("Upgrade", Log::VERBOSE_ON);
//   if (EVP_DigestVerify(...) != 1) return ...;
//
//   [E] Ssl::Error: "Upgrade": [4711] (SSL error 0x1c800066): "error:1C800066:Provider routines::cipher
//   operation failed".
//
// Each operation of this folder opens one itself. An empty ident adds a backtrace to each line.
//
// Owns       nothing: the ident must live as long
// Threads    the queue is that of the thread: made and destroyed on one
// Waits      for nothing but the log

#include "zeb/core/CString.h"
#include "zeb/core/Export.h"
#include "zeb/core/Log.h"

namespace Ssl {

class ZEB_PUBLIC Error {
public:
    static constexpr char IDENT[] = "Ssl::Error";

    // VERBOSE_OFF drops the errors without a line.
    Error(CString const& ident, Log::VerboseT verbose);
    ~Error();
    Error(Error const&) = delete;
    Error& operator=(Error const&) = delete;

    // Drops the errors so far: they were expected.
    void Clear() const;

private:
    CString const ident_;
    Log::VerboseT const verbose_;
};

} // namespace Ssl
