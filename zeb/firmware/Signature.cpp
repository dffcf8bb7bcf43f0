#include "libzeb/zeb_tlv.h"
#include "zeb/firmware/ErrorImpl.h"
#include "zeb/firmware/SignatureImpl.h"

#include <cstdlib>
#include <cstring>
#include <endian.h>
#include <unistd.h>

namespace {

constexpr size_t LENGTH_SIZE = 4; // ahead of a signature

// A signature out of its field: a copy, since the table is put back into the state before signing.
struct Field_ {
    Buffer bytes;
    size_t size = 0;

    unsigned char const* Signature() const { return bytes.Bytes() + LENGTH_SIZE; }
};

bool ReadField_(zeb_fw_error* error, zeb_fw_value_ const& value, Field_& field) {
    if (!field.bytes.Assign(CBuffer(value.data, value.size)))
        return zeb_fw_error_sys_(error, 933, "unable to allocate digest buffers");
    uint32_t length = 0;
    size_t const room = value.size < LENGTH_SIZE ? 0 : value.size - LENGTH_SIZE;
    if (value.size >= LENGTH_SIZE) memcpy(&length, value.data, LENGTH_SIZE);
    field.size = be32toh(length);
    if (value.size >= LENGTH_SIZE && field.size <= room) return true;
    return zeb_fw_error_(error, 934, "signature size %zu is too large, expected less than %zu", field.size,
                         room);
}

bool ClearField_(zeb_fw_error* error, zeb_tlv_table* table, size_t size) {
    Buffer zeros;
    if (!zeros.Resize(size)) return zeb_fw_error_sys_(error, 933, "unable to allocate digest buffers");
    if (size != 0) memset(zeros.Ptr(), 0, size);
    if (zeb_tlv_table_set(table, ZEB_FW_TAG_SIGNATURE, size, zeros.Ptr()) == 0) return true;
    return zeb_fw_error_sys_(error, 936, "unable to reset a digest value in a TLV table");
}

// What is fed to the digest: the blocks, and in the place of the table's one what it was before signing.
class Feed_ {
public:
    Feed_(zeb_fw_error* error, EVP_MD_CTX* context, zeb_fw_image_ const& image)
        : error_(error)
        , context_(context)
        , image_(image) {}

    bool Prepare() {
        crcOffset_ = zeb_tlv_table_img_offs_crc(image_.table, &crcSize_);
        if (crcSize_ == 0) return zeb_fw_error_(error_, 935, "unable to get a CRC size of a TLV table");
        if (!zeros_.Resize(crcSize_))
            return zeb_fw_error_sys_(error_, 734, "unable to allocate a zero CRC buffer");
        memset(zeros_.Ptr(), 0, crcSize_);
        return true;
    }

    bool Plain(void const* data, size_t size) {
        return EVP_DigestVerifyUpdate(context_, data, size) == 1 ||
               zeb_fw_error_openssl_(error_, 940, "unable to update a firmware signature");
    }

    // Uses the block as room.
    bool Table(unsigned char* block) {
        size_t const length = zeb_tlv_table_img_len(image_.table), behind = crcOffset_ + crcSize_;
        if (behind > length || length > image_.blockSize)
            return zeb_fw_error_(error_, 939, "TLV table is too large");
        memset(block, image_.fill, image_.blockSize);
        memcpy(block, zeb_tlv_table_img_ptr(image_.table), length);
        return Plain(block, crcOffset_) && Plain(zeros_.Ptr(), crcSize_) &&
               Plain(block + behind, length - behind) && Plain(block + length, image_.blockSize - length);
    }

private:
    zeb_fw_error* const error_;
    EVP_MD_CTX* const context_;
    zeb_fw_image_ const& image_;
    size_t crcOffset_ = 0;
    size_t crcSize_ = 0;
    Buffer zeros_;
};

bool FeedBlocks_(zeb_fw_error* error, int fd, zeb_fw_image_ const& image, zeb_fw_callback_ const& callback,
                 Feed_& feed) {
    Buffer block;
    if (!block.Resize(image.blockSize))
        return zeb_fw_error_sys_(error, 904, "unable to allocate a read buffer");
    for (size_t offset = 0; offset < image.size; offset += image.blockSize) {
        if (read_all_(fd, block.Ptr(), image.blockSize) != image.blockSize)
            return zeb_fw_error_sys_(error, 937, "unable to read a firmware block");
        callback(true);
        bool const isFed =
            offset == image.offset ? feed.Table(block.Bytes()) : feed.Plain(block.Ptr(), image.blockSize);
        if (!isFed) return false;
    }
    return true;
}

} // namespace

bool zeb_fw_verify_image_(zeb_fw_error* error, int fd, zeb_fw_image_ const& image, X509* certificate,
                          EVP_MD const* digest, zeb_fw_value_ const& signature,
                          zeb_fw_callback_ const& callback, bool& valid) {
    Owned_<EVP_PKEY> const key(X509_get_pubkey(certificate));
    if (!key)
        return zeb_fw_error_openssl_(error, 930, "unable to read a builder public key from a certificate");
    Owned_<EVP_MD_CTX> const context(EVP_MD_CTX_new());
    if (!context) return zeb_fw_error_openssl_(error, 931, "unable to create a signing context");
    if (EVP_DigestVerifyInit(context.Ptr(), nullptr, digest, nullptr, key.Ptr()) != 1)
        return zeb_fw_error_openssl_(error, 932, "unable to initialize a signing context");
    if (lseek(fd, 0, SEEK_SET) < 0)
        return zeb_fw_error_sys_(error, 905, "unable to seek to a firmware start");
    Field_ field;
    if (!ReadField_(error, signature, field) || !ClearField_(error, image.table, signature.size))
        return false;
    Feed_ feed(error, context.Ptr(), image);
    if (!feed.Prepare() || !FeedBlocks_(error, fd, image, callback, feed)) return false;
    int const result = EVP_DigestVerifyFinal(context.Ptr(), field.Signature(), field.size);
    if (result < 0) return zeb_fw_error_openssl_(error, 941, "unable to finish firmware verifying");
    valid = result == 1;
    return true;
}
