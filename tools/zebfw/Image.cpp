#include "tools/zebfw/Image.h"

#include "libzeb/zeb_crc.h"
#include "libzeb/zeb_tlv.h"
#include "zeb/firmware/zeb_fw.h"

#include <algorithm>
#include <vector>

namespace Zebfw {

namespace {

constexpr std::size_t TRAILER_TEXT = 48;

std::string LittleWord(std::size_t value) {
    std::string word = Word(value);
    std::reverse(word.begin(), word.end());
    return word;
}

} // namespace

std::string Word(std::size_t value) {
    std::string word;
    for (int shift = 24; shift >= 0; shift -= 8)
        word += static_cast<char>(value >> shift);
    return word;
}

std::size_t ReadWord(std::string_view text) {
    std::size_t value = 0;
    for (char const c : text.substr(0, 4))
        value = value << 8 | static_cast<unsigned char>(c);
    return value;
}

uint32_t Crc(std::string_view bytes) {
    unsigned crc = 0xFFFFFFFF;
    zeb_crc32_update(&crc, bytes.data(), bytes.size());
    return crc;
}

std::optional<std::string> MakeTable(Tags const& tags) {
    std::vector<zeb_tlv_entry> entries;
    for (auto const& [tag, value] : tags)
        entries.push_back({tag, value.size(), value.data()});
    zeb_tlv_table* table;
    if (zeb_tlv_table_make(&table, TABLE_MAGIC.data(), TABLE_MAGIC.size(), entries.data(), entries.size()) !=
        0)
        return {};
    std::string image(static_cast<char const*>(zeb_tlv_table_img_ptr(table)), zeb_tlv_table_img_len(table));
    zeb_tlv_table_free(&table);
    return image;
}

std::optional<Table> ParseTable(std::string_view bytes) {
    zeb_tlv_table* table;
    int const result =
        zeb_tlv_table_parse_img(&table, TABLE_MAGIC.data(), TABLE_MAGIC.size(), bytes.data(), bytes.size());
    if (result != 0) return {};
    Table found;
    found.length = zeb_tlv_table_img_len(table);
    found.crcOffset = zeb_tlv_table_img_offs_crc(table, &found.crcSize);
    zeb_tlv_entry entry;
    for (std::size_t place = 0; zeb_tlv_table_at(table, place, &entry) != 0; ++place)
        found.tags[entry.tag].assign(static_cast<char const*>(entry.value), entry.size);
    zeb_tlv_table_free(&table);
    return found;
}

std::size_t Table::Number(uint32_t tag, std::size_t absent) const {
    auto const found = tags.find(tag);
    return found == tags.end() || found->second.size() != 4 ? absent : ReadWord(found->second);
}

std::string Trailer::Bytes(std::string_view raw) const {
    std::string padded = text.substr(0, TRAILER_TEXT);
    padded.resize(TRAILER_TEXT, '\0');
    return std::string(TRAILER_MAGIC) + LittleWord(word) + padded + LittleWord(Crc(raw));
}

Trailer Trailer::Of(std::string_view bytes) {
    Trailer trailer;
    if (!bytes.starts_with(TRAILER_MAGIC) || bytes.size() != TRAILER_SIZE) return trailer;
    std::string word(bytes.substr(TRAILER_MAGIC.size(), 4));
    std::reverse(word.begin(), word.end());
    trailer.word = static_cast<uint32_t>(ReadWord(word));
    trailer.text = bytes.substr(8, bytes.substr(8, TRAILER_TEXT).find('\0'));
    trailer.text.resize(std::min(trailer.text.size(), TRAILER_TEXT));
    return trailer;
}

Image::Image(std::string bytes, bool isRaw)
    : bytes_(std::move(bytes))
    , size_(isRaw || bytes_.size() < TRAILER_SIZE ? bytes_.size() : bytes_.size() - TRAILER_SIZE) {}

std::size_t Image::TableOffset() const {
    std::size_t first = std::string::npos;
    for (std::size_t at = 0; at < size_; at += BLOCK_SIZES[0]) {
        std::string_view const bytes = Blocks().substr(at);
        if (!bytes.starts_with(TABLE_MAGIC)) continue;
        if (ParseTable(bytes)) return at;
        first = std::min(first, at);
    }
    return first;
}

bool Image::Replace(std::size_t offset, std::size_t blockSize, char fill, Tags const& tags,
                    Trailer const& trailer) {
    std::optional<std::string> table = MakeTable(tags);
    if (!table || table->size() > blockSize) return false;
    table->resize(blockSize, fill);
    bytes_.replace(offset, blockSize, *table);
    if (!IsRaw()) bytes_.replace(size_, TRAILER_SIZE, trailer.Bytes(Blocks()));
    return true;
}

std::string Image::Unsigned(std::size_t offset, Table const& table) const {
    Tags tags = table.tags;
    std::string& signature = tags[ZEB_FW_TAG_SIGNATURE];
    signature.assign(signature.size(), '\0');
    std::string blocks(Blocks());
    std::string image = *MakeTable(tags);
    image.replace(table.crcOffset, table.crcSize, table.crcSize, '\0');
    return blocks.replace(offset, image.size(), image);
}

} // namespace Zebfw
