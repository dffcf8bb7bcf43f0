#include "libzeb/zeb_string.h"
#include "zeb/firmware/ErrorImpl.h"
#include "zeb/firmware/SignatureImpl.h"

#include <openssl/err.h>
#include <openssl/pem.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <dirent.h>
#include <sys/stat.h>

namespace {

template<class T>
struct Closer_;
template<>
struct Closer_<DIR> {
    static void Free(DIR* folder) { closedir(folder); }
};
template<>
struct Closer_<char> {
    static void Free(char* text) { free(text); }
};

// The number of certificates in the stream, to its end.
bool Count_(zeb_fw_error* error, BIO* stream, char const* path, unsigned long& count) {
    count = 0;
    while (Owned_<X509> const certificate{zeb_fw_read_certificate_(stream)})
        ++count;
    if (zeb_fw_is_pem_end_(stream)) return true;
    return zeb_fw_error_openssl_(error, 101, "unable to read %s PEM certificate", path);
}

bool Append_(zeb_fw_error* error, BIO* stream, char const* path, long fileSize, Buffer& pem) {
    if (fileSize <= 0) return zeb_fw_error_(error, 800, "PEM certificate is empty: %s", path);
    unsigned long const before = pem.Size();
    auto const size = static_cast<unsigned long>(fileSize);
    if (!pem.Resize(before + size + 1))
        return zeb_fw_error_sys_(error, 801, "unable to allocate a buffer for a PEM certificate");
    size_t done = 0;
    if (BIO_seek(stream, 0) < 0 || BIO_read_ex(stream, pem.Bytes() + before, size, &done) != 1 ||
        done != size) {
        pem.Truncate(before);
        return zeb_fw_error_openssl_(error, 800, "unable to read %s PEM certificate", path);
    }
    pem.Bytes()[before + size] = '\n'; // the last line of a file may have no end
    return true;
}

bool CollectFile_(zeb_fw_error* error, char const* path, Buffer& pem) {
    struct stat about;
    if (stat(path, &about) != 0)
        return zeb_fw_error_sys_(error, 108, "unable to get %s directory entry type", path);
    if (!S_ISREG(about.st_mode)) return true;
    Owned_<BIO> const stream(BIO_new_file(path, "r"));
    if (!stream) return zeb_fw_error_openssl_(error, 100, "unable to open %s PEM certificate", path);
    unsigned long count;
    if (!Count_(error, stream.Ptr(), path, count)) return false;
    return count == 0 || Append_(error, stream.Ptr(), path, about.st_size, pem);
}

} // namespace

bool zeb_fw_is_pem_end_(BIO* stream) {
    unsigned long const last = ERR_peek_last_error();
    bool const isEnd =
        ERR_GET_LIB(last) == ERR_LIB_PEM && ERR_GET_REASON(last) == PEM_R_NO_START_LINE && BIO_eof(stream);
    if (isEnd) ERR_clear_error();
    return isEnd;
}

X509* zeb_fw_read_certificate_(BIO* stream) {
    static char noPassword[] = "";
    return PEM_read_bio_X509(stream, nullptr, nullptr, noPassword);
}

bool zeb_fw_collect_ca_(zeb_fw_error* error, char const* directory, Buffer& pem) {
    AutoPtr<DIR, Closer_> const folder(opendir(directory));
    if (!folder) return zeb_fw_error_sys_(error, 105, "unable to open a CA certificates directory");
    for (;;) {
        errno = 0;
        dirent const* const entry = readdir(folder.Ptr());
        if (entry == nullptr) break;
        char* text;
        int const size = zeb_asprintf(&text, "%s/%s", directory, entry->d_name);
        AutoPtr<char, Closer_> const path(text);
        if (size < 0) return zeb_fw_error_sys_(error, 107, "unable to allocate a PEM certificate file name");
        if (!CollectFile_(error, path.Ptr(), pem)) return false;
    }
    if (errno != 0)
        return zeb_fw_error_sys_(error, 106, "unable to read entries of a CA certificates directory");
    return !pem.Empty() || zeb_fw_error_(error, 109, "no CA certificates found in a directory");
}

int zeb_fw_cert_verify_cb_(int ok, X509_STORE_CTX* context) {
    if (ok != 0) return 1;
    switch (X509_STORE_CTX_get_error(context)) {
    case X509_V_ERR_CERT_NOT_YET_VALID:
    case X509_V_ERR_CERT_HAS_EXPIRED:
    case X509_V_ERR_EC_KEY_EXPLICIT_PARAMS:
        X509_STORE_CTX_set_error(context, X509_V_OK);
        return 1;
    default:
        return 0;
    }
}

bool zeb_fw_make_store_(zeb_fw_error* error, Buffer const& pem, Owned_<X509_STORE>& store) {
    Owned_<BIO> stream;
    if (pem.Size() <= INT_MAX) stream.Reset(BIO_new_mem_buf(pem.Ptr(), static_cast<int>(pem.Size())));
    if (!stream) return zeb_fw_error_openssl_(error, 714, "unable to create a CA certificate stream");
    Owned_<X509_STORE> made(X509_STORE_new());
    if (!made) return zeb_fw_error_openssl_(error, 600, "unable to create a certificate store");
    unsigned long count = 0;
    for (; Owned_<X509> const certificate{zeb_fw_read_certificate_(stream.Ptr())}; ++count)
        if (X509_STORE_add_cert(made.Ptr(), certificate.Ptr()) != 1)
            return zeb_fw_error_openssl_(error, 503, "unable to add a CA certificate to a storage");
    if (!zeb_fw_is_pem_end_(stream.Ptr()))
        return zeb_fw_error_openssl_(error, 502, "unable to read a CA certificate from a stream");
    if (count == 0) return zeb_fw_error_(error, 504, "no CA certificates found");
    X509_STORE_set_verify_cb(made.Ptr(), zeb_fw_cert_verify_cb_);
    store.Swap(made);
    return true;
}
