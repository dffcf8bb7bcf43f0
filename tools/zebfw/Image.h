// A firmware image in memory, as the tool makes and takes it apart.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace Zebfw {

constexpr std::size_t BLOCK_SIZES[] = {0x10000, 0x20000, 0x80000};
constexpr std::size_t SIZE_MIN = 0x400000, SIZE_MAX_ = 0x8000000;
constexpr std::size_t TRAILER_SIZE = 60;
constexpr std::string_view TABLE_MAGIC = ".BEZ.VLT", TRAILER_MAGIC = "WQRT";

using Tags = std::map<uint32_t, std::string>;

// Big-endian, as in the table.
std::string Word(std::size_t value);
std::size_t ReadWord(std::string_view text);

// The image of a table, or nothing for tags that are too large.
std::optional<std::string> MakeTable(Tags const& tags);

// A table that was found: its tags, the length of its image, and where in it the CRC stands.
struct Table {
    Tags tags;
    std::size_t length = 0;
    std::size_t crcOffset = 0, crcSize = 0;

    // What says the tag, of 4 bytes; else `absent`.
    std::size_t Number(uint32_t tag, std::size_t absent) const;
};
std::optional<Table> ParseTable(std::string_view bytes);

struct Trailer {
    uint32_t word = 1;
    std::string text = "firmware";

    std::string Bytes(std::string_view raw) const;

    // That of an image; the usual one if there is none.
    static Trailer Of(std::string_view bytes);
};

class Image {
public:
    // Blocks and trailer, or blocks alone.
    Image(std::string bytes, bool isRaw);

    std::string const& Bytes() const { return bytes_; }
    std::string_view Blocks() const { return std::string_view(bytes_).substr(0, Size()); }
    std::string_view TrailerBytes() const { return std::string_view(bytes_).substr(Size()); }
    std::size_t Size() const { return size_; }
    bool IsRaw() const { return size_ == bytes_.size(); }

    // Where the first table begins that can be read, or only its magic if there is none; npos for neither. A
    // table begins at a multiple of the smallest block size.
    std::size_t TableOffset() const;

    // Puts a table in the place of the block at an offset, and a new trailer behind.
    bool Replace(std::size_t offset, std::size_t blockSize, char fill, Tags const& tags,
                 Trailer const& trailer);

    // What a signature covers: the blocks with zeros in the table's place of it, and of its CRC.
    std::string Unsigned(std::size_t offset, Table const& table) const;

private:
    std::string bytes_;
    std::size_t size_;
};

// 0xFFFFFFFF at the start, not inverted.
uint32_t Crc(std::string_view bytes);

} // namespace Zebfw
