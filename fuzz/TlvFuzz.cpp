// The table of tags: a byte for the failing allocation, a byte that says whether the CRC is set right first,
// then the image. A table that is taken lies in its bytes, is what its entries make, and takes values of the
// same size.
#include "fuzz/FuzzHeap.h"
#include "fuzz/FuzzInput.h"

#include "libzeb/zeb_crc.h"
#include "libzeb/zeb_tlv.h"

#include <vector>

namespace {

constexpr std::string_view MAGIC = ".BEZ.VLT";

// Else no input gets past the check.
std::string Sealed(std::string_view data) {
    std::string image(data);
    if (image.size() < 20) return image;
    image.replace(0, MAGIC.size(), MAGIC);
    image.replace(12, 4, 4, '\0');
    unsigned length = 0;
    for (int i = 8; i < 12; ++i)
        length = length << 8 | static_cast<unsigned char>(image[static_cast<size_t>(i)]);
    unsigned crc = 0xFFFFFFFF;
    zeb_crc32_update(&crc, image.data(), std::min<size_t>(length, image.size()));
    for (unsigned i = 0; i < 4; ++i)
        image[12 + i] = static_cast<char>(crc >> (24 - 8 * i));
    return image;
}

void Check(zeb_tlv_table* table, std::string_view data) {
    std::string_view const image(static_cast<char const*>(zeb_tlv_table_img_ptr(table)),
                                 zeb_tlv_table_img_len(table));
    FUZZ_CHECK(data.starts_with(image));
    std::vector<zeb_tlv_entry> entries;
    zeb_tlv_entry entry;
    for (size_t place = 0; zeb_tlv_table_at(table, place, &entry) != 0; ++place) {
        size_t size = 0;
        FUZZ_CHECK(zeb_tlv_table_get(table, entry.tag, &size) == entry.value && size == entry.size);
        FUZZ_CHECK(zeb_tlv_table_set(
                       table, entry.tag, size,
                       std::string(entry.value == nullptr ? "" : static_cast<char const*>(entry.value), size)
                           .data()) == 0);
        entries.push_back(entry);
    }
    FUZZ_CHECK(data.starts_with(image));
    zeb_tlv_table* again;
    FUZZ_CHECK(zeb_tlv_table_make(&again, MAGIC.data(), MAGIC.size(), entries.data(), entries.size()) == 0);
    FUZZ_CHECK(image == std::string_view(static_cast<char const*>(zeb_tlv_table_img_ptr(again)),
                                         zeb_tlv_table_img_len(again)));
    zeb_tlv_table_free(&again);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
    FuzzInput input(data, size);
    unsigned long const failing = input.Failing();
    bool const isSealed = (input.Byte() & 1) != 0;
    std::string_view const rest = input.Rest();
    std::string const sealed = isSealed ? Sealed(rest) : std::string();
    std::string_view const image = isSealed ? std::string_view(sealed) : rest;
    zeb_tlv_table* table;
    FuzzHeap::Arm(failing);
    int const result =
        zeb_tlv_table_parse_img(&table, MAGIC.data(), MAGIC.size(), image.data(), image.size());
    int const error = errno;
    bool const fired = FuzzHeap::Disarm();
    FUZZ_CHECK(result == 0 || (table == nullptr && error == (fired ? ENOMEM : EINVAL)));
    if (result == 0) Check(table, image);
    zeb_tlv_table_free(&table);
    return 0;
}
