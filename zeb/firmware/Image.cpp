#include "zeb/firmware/ImageImpl.h"

#include "libzeb/zeb_crc.h"
#include "zeb/core/Buffer.h"
#include "zeb/firmware/ErrorImpl.h"

#include <cerrno>
#include <cstring>
#include <endian.h>
#include <unistd.h>

namespace {

constexpr char TRAILER_MAGIC[] = {'W', 'Q', 'R', 'T'};
constexpr unsigned CRC_START = 0xFFFFFFFF;
constexpr unsigned char FILL_DEFAULT = 0xFF;

struct Trailer_ {
    char magic[sizeof TRAILER_MAGIC];
    uint32_t word;
    char text[48];
    uint32_t crc;

    bool IsSound() const {
        if (memcmp(magic, TRAILER_MAGIC, sizeof magic) != 0) return false;
        return word != 0 && word != UINT32_MAX && text[0] != '\0';
    }
};
static_assert(sizeof(Trailer_) == ZEB_FW_TRAILER_SIZE_);

// A value of 4 bytes.
bool GetInteger_(zeb_fw_image_ const& image, uint32_t tag, size_t& number) {
    size_t size;
    unsigned char const* const value = image.Get(tag, size);
    uint32_t word;
    if (value == nullptr || size != sizeof word) return false;
    memcpy(&word, value, sizeof word);
    number = be32toh(word);
    return true;
}

// The first `size` bytes are all the same as `byte`.
bool IsFilled_(unsigned char const* at, size_t size, unsigned char byte) {
    return size == 0 || (*at == byte && memcmp(at, at + 1, size - 1) == 0);
}

bool CheckTable_(zeb_fw_error* error, unsigned char const* block, zeb_fw_image_& image) {
    size_t size;
    if (!GetInteger_(image, ZEB_FW_TAG_BLOCK_SIZE, size) || size != image.blockSize)
        return zeb_fw_error_(error, 910, "unable to read a block size (0x%zx) from the TLV table",
                             image.blockSize);
    size_t fill = FILL_DEFAULT;
    if (GetInteger_(image, ZEB_FW_TAG_FILL_BYTE, fill) && fill != 0 && fill != FILL_DEFAULT)
        return zeb_fw_error_(error, 944, "unable to read a fill byte (0x%zx) from the TLV table", fill);
    image.fill = static_cast<unsigned char>(fill);
    size_t const used = zeb_tlv_table_img_len(image.table);
    if (!IsFilled_(block + used, image.blockSize - used, image.fill))
        return zeb_fw_error_(error, 911, "a TLV table block has trailing junk bytes");
    return true;
}

// A block that holds no table is no failure.
bool TryBlock_(zeb_fw_error* error, unsigned char const* block, size_t offset, zeb_fw_image_& image) {
    constexpr size_t MAGIC_SIZE = sizeof ZEB_FW_TLV_MAGIC_;
    if (zeb_tlv_table_parse_img(&image.table, ZEB_FW_TLV_MAGIC_, MAGIC_SIZE, block, image.blockSize) != 0)
        return errno != ENOMEM || zeb_fw_error_sys_(error, 904, "unable to parse a TLV table");
    if (!CheckTable_(error, block, image)) return false;
    image.offset = offset;
    return true;
}

bool ReadBlocks_(zeb_fw_error* error, int fd, zeb_fw_callback_ const& callback, zeb_fw_image_& image,
                 unsigned* crc) {
    Buffer block;
    if (!block.Resize(image.blockSize))
        return zeb_fw_error_sys_(error, 904, "unable to allocate a read buffer");
    if (lseek(fd, 0, SEEK_SET) < 0)
        return zeb_fw_error_sys_(error, 905, "unable to seek to a firmware start");
    for (size_t offset = 0; offset < image.size; offset += image.blockSize) {
        if (read_all_(fd, block.Ptr(), image.blockSize) != image.blockSize)
            return zeb_fw_error_sys_(error, 906, "unable to read a firmware block");
        if (crc != nullptr) zeb_crc32_update(crc, block.Ptr(), image.blockSize);
        if (image.table == nullptr && !TryBlock_(error, block.Bytes(), offset, image)) return false;
        callback(image.table != nullptr);
    }
    return true;
}

bool CheckTrailer_(zeb_fw_error* error, int fd, unsigned crc) {
    Trailer_ trailer;
    if (read_all_(fd, &trailer, sizeof trailer) != sizeof trailer)
        return zeb_fw_error_sys_(error, 906, "unable to read a firmware header");
    if (!trailer.IsSound()) return zeb_fw_error_(error, 907, "a firmware header corrupted");
    if (le32toh(trailer.crc) != crc) return zeb_fw_error_(error, 908, "a firmware image corrupted");
    return true;
}

bool Scan_(zeb_fw_error* error, int fd, bool isRaw, zeb_fw_callback_ const& callback, zeb_fw_image_& image) {
    unsigned crc = CRC_START;
    if (!ReadBlocks_(error, fd, callback, image, isRaw ? nullptr : &crc)) return false;
    if (!isRaw) {
        if (!CheckTrailer_(error, fd, crc)) return false;
        callback(image.table != nullptr);
    }
    return image.table != nullptr || zeb_fw_error_(error, 909, "no TLV table found");
}

} // namespace

void zeb_fw_image_::Reset() {
    zeb_tlv_table_free(&table);
    offset = NO_OFFSET;
}

unsigned char const* zeb_fw_image_::Get(uint32_t tag, size_t& valueSize) const {
    valueSize = 0;
    return static_cast<unsigned char const*>(zeb_tlv_table_get(table, tag, &valueSize));
}

bool zeb_fw_is_block_size_(size_t size) {
    for (size_t const known : ZEB_FW_BLOCK_SIZES_)
        if (size == known) return true;
    return false;
}

bool zeb_fw_dump_(zeb_fw_error* error, int fd, size_t fileSize, size_t rawSize, size_t blockSize,
                  zeb_fw_callback_ const& callback, zeb_fw_image_& image) {
    image.Reset();
    if (rawSize != 0 && !zeb_fw_size_valid_(error, rawSize)) return false;
    image.size = rawSize != 0 ? rawSize : fileSize - ZEB_FW_TRAILER_SIZE_;
    image.blockSize = blockSize;
    if (image.size % blockSize != 0)
        return zeb_fw_error_(error, 903, "raw firmware size %zu is not aligned by a block size 0x%zx",
                             image.size, blockSize);
    if (Scan_(error, fd, rawSize != 0, callback, image)) return true;
    image.Reset();
    return false;
}
