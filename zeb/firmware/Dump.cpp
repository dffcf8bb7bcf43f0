#include "libzeb/zeb_string.h"
#include "zeb/firmware/ErrorImpl.h"
#include "zeb/firmware/SignatureImpl.h"

#include <openssl/err.h>

#include <cstdlib>

namespace {

// What a client asked for, and where it gets it.
struct Request_ {
    zeb_fw_error* error;
    unsigned checkRevocation;
    unsigned* status;
    unsigned long blockSize;
    zeb_fw_tlv* tlvSet;
    unsigned long tlvCount;
    char const* caDirectory;
    zeb_fw_crt_info** certInfo;
    unsigned long rawSize;
    zeb_fw_callback_ callback;

    bool Clear(char const* file) const;
    bool Dump(int fd, size_t fileSize) const;

private:
    bool Search_(int fd, size_t fileSize, zeb_fw_image_& image) const;
    bool DumpUnsigned_(zeb_fw_image_ const& image) const;
    bool DumpSigned_(int fd, zeb_fw_image_ const& image, EVP_MD const* digest) const;
    bool Verify_(int fd, zeb_fw_image_ const& image, EVP_MD const* digest, uint32_t firmwareId) const;
};

zeb_fw_value_ Value_(zeb_fw_image_ const& image, uint32_t tag) {
    zeb_fw_value_ value;
    value.data = image.Get(tag, value.size);
    return value;
}

// Errors that say "no table in blocks of this size": the search goes on.
bool IsOfBlockSize_(uint32_t code) { return code == 909 || code == 910 || code == 911 || code == 944; }

bool FindDigest_(zeb_fw_error* error, zeb_fw_image_ const& image, EVP_MD const*& digest) {
    zeb_fw_value_ const value = Value_(image, ZEB_FW_TAG_DIGEST);
    if (value.size == 0) return zeb_fw_error_(error, 917, "no digest name found in a TLV table");
    char* const name =
        zeb_string_ndup(static_cast<char const*>(static_cast<void const*>(value.data)), value.size);
    if (name == nullptr) return zeb_fw_error_sys_(error, 918, "unable to allocate a digest name");
    digest = EVP_get_digestbyname(name);
    if (digest == nullptr) zeb_fw_error_openssl_(error, 919, "unable to get a \"%s\" digest object", name);
    free(name);
    return digest != nullptr;
}

bool FindFirmwareId_(zeb_fw_error* error, zeb_fw_image_ const& image, uint32_t& id) {
    zeb_fw_value_ const value = Value_(image, ZEB_FW_TAG_FIRMWARE_ID);
    if (value.data == nullptr) return zeb_fw_error_(error, 942, "no firmware ID in the TLV table found");
    if (zeb_fw_parse_firmware_id(static_cast<char const*>(static_cast<void const*>(value.data)), value.size,
                                 &id))
        return true;
    return zeb_fw_error_(error, 943, "the firmware ID in the TLV table corrupted");
}

bool Request_::Clear(char const* file) const {
    zeb_fw_error_clear_(error);
    *status = ZEB_FW_NOT_CHECKED;
    if (certInfo != nullptr) *certInfo = nullptr;
    for (unsigned long i = 0; tlvSet != nullptr && i < tlvCount; ++i) {
        tlvSet[i].size = 0;
        tlvSet[i].value = nullptr;
    }
    if (file == nullptr || *file == '\0') return zeb_fw_error_(error, 912, "invalid firmware name");
    if (blockSize != 0 && !zeb_fw_is_block_size_(blockSize))
        return zeb_fw_error_(error, 910, "invalid firmware block size 0x%08x",
                             static_cast<unsigned>(blockSize));
    if (tlvSet == nullptr && tlvCount != 0) return zeb_fw_error_(error, 913, "invalid TLV set");
    if (caDirectory != nullptr && *caDirectory == '\0')
        return zeb_fw_error_(error, 914, "invalid CA certificates directory name");
    return true;
}

bool Request_::Dump(int fd, size_t fileSize) const {
    if (rawSize == 0 && !zeb_fw_size_valid_(error, fileSize)) return false;
    zeb_fw_image_ image;
    EVP_MD const* digest = nullptr;
    if (!Search_(fd, fileSize, image) || !FindDigest_(error, image, digest)) return false;
    bool const isUnsigned = Value_(image, ZEB_FW_TAG_UNSIGNED).data != nullptr;
    return isUnsigned ? DumpUnsigned_(image) : DumpSigned_(fd, image, digest);
}

bool Request_::Search_(int fd, size_t fileSize, zeb_fw_image_& image) const {
    if (blockSize != 0) return zeb_fw_dump_(error, fd, fileSize, rawSize, blockSize, callback, image);
    for (size_t const size : ZEB_FW_BLOCK_SIZES_) {
        if (zeb_fw_dump_(error, fd, fileSize, rawSize, size, callback, image)) {
            zeb_fw_error_clear_(error);
            return true;
        }
        if (!IsOfBlockSize_(error->code)) return false;
    }
    return zeb_fw_error_(error, 704, "no TLV table found in a firmware file");
}

bool Request_::DumpUnsigned_(zeb_fw_image_ const& image) const {
    if (Value_(image, ZEB_FW_TAG_CERTIFICATES).data != nullptr)
        return zeb_fw_error_(error, 920, "unexpected builder certificate found in a TLV table");
    if (Value_(image, ZEB_FW_TAG_SIGNATURE).data != nullptr)
        return zeb_fw_error_(error, 921, "unexpected digest found in a TLV table");
    if (!zeb_fw_dump_tlv_set_(error, image, tlvSet, tlvCount)) return false;
    *status = ZEB_FW_UNSIGNED;
    return true;
}

bool Request_::DumpSigned_(int fd, zeb_fw_image_ const& image, EVP_MD const* digest) const {
    if (Value_(image, ZEB_FW_TAG_CERTIFICATES).data == nullptr)
        return zeb_fw_error_(error, 923, "no builder certificate found in a TLV table");
    if (Value_(image, ZEB_FW_TAG_SIGNATURE).data == nullptr)
        return zeb_fw_error_(error, 924, "no digest found in a TLV table");
    uint32_t firmwareId = 0;
    if (!FindFirmwareId_(error, image, firmwareId)) return false;
    if (!zeb_fw_dump_tlv_set_(error, image, tlvSet, tlvCount)) return false;
    return caDirectory == nullptr || Verify_(fd, image, digest, firmwareId);
}

bool Request_::Verify_(int fd, zeb_fw_image_ const& image, EVP_MD const* digest, uint32_t firmwareId) const {
    Buffer authorities;
    Owned_<X509_STORE> store;
    zeb_fw_builder_ builder;
    if (!zeb_fw_collect_ca_(error, caDirectory, authorities)) return false;
    if (!zeb_fw_make_store_(error, authorities, store)) return false;
    uint32_t const* const revocable = checkRevocation != 0 ? &firmwareId : nullptr;
    if (!zeb_fw_sort_builder_(error, Value_(image, ZEB_FW_TAG_CERTIFICATES), revocable, builder))
        return false;
    if (!zeb_fw_verify_builder_(error, store.Ptr(), builder)) return false;
    X509* const leaf = builder.leaf.Ptr();
    if (certInfo != nullptr && !zeb_fw_describe_(error, leaf, certInfo)) return false;
    if (!zeb_fw_check_usage_(error, leaf)) return false;
    bool isValid = false;
    zeb_fw_value_ const signature = Value_(image, ZEB_FW_TAG_SIGNATURE);
    if (!zeb_fw_verify_image_(error, fd, image, leaf, digest, signature, callback, isValid)) return false;
    *status = isValid ? ZEB_FW_SIGNATURE_VALID : ZEB_FW_SIGNATURE_WRONG;
    return true;
}

} // namespace

bool zeb_fw_dump(zeb_fw_error* error, char const* file, unsigned checkRevocation, unsigned* status,
                 unsigned long blockSize, zeb_fw_tlv* tlvSet, unsigned long tlvCount, char const* caDirectory,
                 zeb_fw_crt_info** certInfo, unsigned long rawSize, zeb_fw_progress callback,
                 void* callbackData) {
    Request_ const request = {error,    checkRevocation, status,   blockSize, tlvSet,
                              tlvCount, caDirectory,     certInfo, rawSize,   {callback, callbackData}};
    ERR_clear_error();
    int fd = -1;
    size_t size;
    bool isDone = request.Clear(file) && zeb_fw_open_(error, file, rawSize, &fd, &size);
    if (isDone) {
        isDone = request.Dump(fd, size);
        zeb_fw_error closing;
        if (!zeb_fw_close_(&closing, &fd) && isDone) {
            *error = closing;
            isDone = false;
        }
    }
    ERR_clear_error();
    if (isDone) return true;
    *status = ZEB_FW_NOT_CHECKED;
    if (tlvSet != nullptr) zeb_fw_free_tlv(tlvSet, tlvCount);
    if (certInfo != nullptr) zeb_fw_free_crt_info(certInfo);
    return false;
}
