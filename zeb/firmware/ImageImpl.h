#pragma once

// The pieces of a firmware file, below zeb_fw_dump(). All report by the error record, see ErrorImpl.h.

#include "libzeb/zeb_tlv.h"
#include "zeb/firmware/zeb_fw.h"

#include <cstddef>

constexpr size_t ZEB_FW_BLOCK_SIZES_[] = {0x10000, 0x20000, 0x80000};
constexpr size_t ZEB_FW_SIZE_MIN_ = 0x400000;
constexpr size_t ZEB_FW_SIZE_MAX_ = 0x8000000;
constexpr size_t ZEB_FW_TRAILER_SIZE_ = 60;
constexpr char ZEB_FW_TLV_MAGIC_[] = {'.', 'B', 'E', 'Z', '.', 'V', 'L', 'T'};

struct zeb_fw_callback_ {
    zeb_fw_progress function;
    void* data;

    void operator()(bool ok) const {
        if (function != nullptr) function(ok ? 1 : 0, data);
    }
};

// What a scan finds. Owns the table.
struct zeb_fw_image_ {
    static constexpr size_t NO_OFFSET = ~0UL;

    size_t size = 0; // of all blocks
    size_t blockSize = 0;
    unsigned char fill = 0xFF;
    size_t offset = NO_OFFSET; // of the block with the table
    zeb_tlv_table* table = nullptr;

    zeb_fw_image_() = default;
    zeb_fw_image_(zeb_fw_image_ const&) = delete;
    zeb_fw_image_& operator=(zeb_fw_image_ const&) = delete;
    ~zeb_fw_image_() { Reset(); }
    void Reset();

    // Null and 0 if there is none.
    unsigned char const* Get(uint32_t tag, size_t& size) const;
};

// Without a raw size `size` becomes that of the file.
bool zeb_fw_open_(zeb_fw_error* error, char const* path, size_t rawSize, int* fd, size_t* size);
bool zeb_fw_close_(zeb_fw_error* error, int* fd);
bool zeb_fw_size_valid_(zeb_fw_error* error, size_t size);

// The bytes read; fewer than asked for only with errno, which is EIO at the end of the file.
size_t read_all_(int fd, void* buffer, size_t length);

bool zeb_fw_is_block_size_(size_t size);

// Scans for a table in blocks of one size. On failure the image is empty.
bool zeb_fw_dump_(zeb_fw_error* error, int fd, size_t fileSize, size_t rawSize, size_t blockSize,
                  zeb_fw_callback_ const& callback, zeb_fw_image_& image);

// On failure values that were copied stay with the set.
bool zeb_fw_dump_tlv_set_(zeb_fw_error* error, zeb_fw_image_ const& image, zeb_fw_tlv* set, size_t count);

// Pairs of lower-case digits with ":" between them, by malloc(); null when memory ran out.
char* zeb_fw_alloc_hex_string_(void const* data, size_t size);
