#pragma once

// Owners of OpenSSL's objects: Owned_<EVP_PKEY> key(EVP_PKEY_new()).

#include "zeb/core/AutoPtr.h"

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/x509.h>
#include <openssl/x509_vfy.h>

template<class T>
struct OpenSslDeleter_ {
    static void Free(BIO* object) { BIO_free(object); }
    static void Free(EVP_PKEY* object) { EVP_PKEY_free(object); }
    static void Free(EVP_PKEY_CTX* object) { EVP_PKEY_CTX_free(object); }
    static void Free(EVP_MD_CTX* object) { EVP_MD_CTX_free(object); }
    static void Free(X509* object) { X509_free(object); }
    static void Free(X509_REQ* object) { X509_REQ_free(object); }
    static void Free(X509_STORE* object) { X509_STORE_free(object); }
    static void Free(X509_STORE_CTX* object) { X509_STORE_CTX_free(object); }
    static void Free(STACK_OF(X509) * object) { sk_X509_pop_free(object, X509_free); }
};

template<class T>
using Owned_ = AutoPtr<T, OpenSslDeleter_>;
