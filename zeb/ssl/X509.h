#pragma once

// Ssl::X509: a few questions about certificates that come as PEM text. `ident` names the caller in the lines
// of the log.
//
// Static; any thread. A text is read up to its first certificate (or request). Each failure is logged under
// `ident`, with what OpenSSL says of it in lines of Ssl::Error. A text that does not parse is told as out of
// memory.
//
// Trust is that of the one authority that is given: no intermediate, no store of the system, and a
// certificate outside of its time is refused. Whether it may be used for a purpose or a host is not asked.

#include "zeb/core/AutoPtr.h"
#include "zeb/core/CString.h"
#include "zeb/core/Export.h"
#include "zeb/core/ReturnT.h"

struct x509_st;

namespace Ssl {

class ZEB_PUBLIC X509 {
public:
    X509() = delete;

    template<class T>
    struct X509Deleter {
        static void Free(T* certificate) { Free_(certificate); }
    };

    // Whether the certificate was made for the key of the request. `match` is set in case of success, where
    // keys that differ, or are of two kinds, are no match.
    static ReturnT MatchPublicKey(char const* ident, CString const& requestPem, CString const& certificatePem,
                                  bool& match);

    // Whether the issuer's key signed the certificate; names and times are not looked at.
    static ReturnT VerifySignature(char const* ident, CString const& issuerPem,
                                   CString const& certificatePem);

    // The same, and that the authority and the certificate form a chain that holds now. The certificate stays
    // with the caller, and may not be empty.
    static ReturnT VerifyChain(char const* ident, CString const& caPem, CString const& certificatePem);
    static ReturnT VerifyChain(char const* ident, CString const& caPem,
                               AutoPtr<x509_st, X509Deleter>& certificate);

private:
    static void Free_(x509_st* certificate);
};

} // namespace Ssl
