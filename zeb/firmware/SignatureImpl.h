#pragma once

// The steps from the certificates of an image to the verdict on its signature, below zeb_fw_dump(). All
// report by the error record.

#include "zeb/core/Buffer.h"
#include "zeb/firmware/ImageImpl.h"
#include "zeb/firmware/OwnedImpl.h"

// A value of the table; null if the tag is not there.
struct zeb_fw_value_ {
    unsigned char const* data = nullptr;
    size_t size = 0;
};

// Firmware whose certificates can be taken back: ids that end with 0, and serial numbers.
struct zeb_fw_revocations_ {
    static constexpr size_t SERIALS = 16, SERIAL_SIZE = 20, IDS = 100;

    unsigned char serials[SERIALS][SERIAL_SIZE];
    uint32_t firmwareIds[IDS];
};
extern zeb_fw_revocations_ const CRT_REVOKE_LISTS[2];

// The builder's certificate, and those between it and an authority.
struct zeb_fw_builder_ {
    Owned_<X509> leaf;
    Owned_<STACK_OF(X509)> untrusted;
};

// The end of a PEM stream: OpenSSL's last error says that no more follows. Clears the queue if so.
bool zeb_fw_is_pem_end_(BIO* stream);

// The next certificate of a PEM stream, or null. Never asks for a password.
X509* zeb_fw_read_certificate_(BIO* stream);

// All files of a folder that hold certificates, one behind the other.
bool zeb_fw_collect_ca_(zeb_fw_error* error, char const* directory, Buffer& pem);

bool zeb_fw_make_store_(zeb_fw_error* error, Buffer const& pem, Owned_<X509_STORE>& store);

// Takes a certificate outside of its time, and a curve that is spelled out.
int zeb_fw_cert_verify_cb_(int ok, X509_STORE_CTX* context);

// `revocable` points to the firmware id if revocation is to be checked.
bool zeb_fw_sort_builder_(zeb_fw_error* error, zeb_fw_value_ const& pem, uint32_t const* revocable,
                          zeb_fw_builder_& builder);

bool zeb_fw_verify_builder_(zeb_fw_error* error, X509_STORE* store, zeb_fw_builder_ const& builder);
bool zeb_fw_describe_(zeb_fw_error* error, X509* certificate, zeb_fw_crt_info** info);
bool zeb_fw_check_usage_(zeb_fw_error* error, X509* certificate);

// Reads the whole image once more. `valid` is the verdict.
bool zeb_fw_verify_image_(zeb_fw_error* error, int fd, zeb_fw_image_ const& image, X509* certificate,
                          EVP_MD const* digest, zeb_fw_value_ const& signature,
                          zeb_fw_callback_ const& callback, bool& valid);
