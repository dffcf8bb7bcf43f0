#include "workbench/FirmwareImage.h"

#include <algorithm>
#include <array>
#include <filesystem>

namespace {

constexpr std::size_t CHECKSUM = 12; // where it stands in a table

std::array<unsigned, 256> CrcOfBytes() {
    std::array<unsigned, 256> made{};
    for (unsigned i = 0; i < 256; ++i) {
        made[i] = i;
        for (int bit = 0; bit < 8; ++bit)
            made[i] = made[i] >> 1 ^ (made[i] & 1 ? 0xEDB88320 : 0);
    }
    return made;
}

} // namespace

std::string FirmwareImage::Word(unsigned long value) {
    std::string word;
    for (int shift = 24; shift >= 0; shift -= 8)
        word += static_cast<char>(value >> shift);
    return word;
}

std::string FirmwareImage::LittleWord(unsigned long value) {
    std::string word = Word(value);
    std::reverse(word.begin(), word.end());
    return word;
}

unsigned FirmwareImage::Crc(std::string const& data) {
    static std::array<unsigned, 256> const table = CrcOfBytes();
    unsigned crc = 0xFFFFFFFF;
    for (char const c : data)
        crc = crc >> 8 ^ table[(crc ^ static_cast<unsigned char>(c)) & 0xFF];
    return crc;
}

std::string FirmwareImage::SealTable(std::string image) {
    image.replace(CHECKSUM, 4, 4, '\0');
    return image.replace(CHECKSUM, 4, Word(Crc(image)));
}

std::string FirmwareImage::Table(std::string const& magic, TagsT const& tags) {
    std::string entries;
    for (auto const& [tag, value] : tags)
        entries += Word(tag) + Word(value.size()) + value + std::string(-value.size() % 4, '\0');
    return SealTable(magic + Word(20 + entries.size()) + Word(0) + Word(tags.size()) + entries);
}

FirmwareImage::FirmwareImage(std::size_t blockSize, std::size_t tablePlace, char fillByte)
    : block(blockSize)
    , place(tablePlace)
    , fill(fillByte)
    , tags({{3, "0x0A510100"},
            {0x11, "5.02"},
            {0x10001, ""},
            {0x10003, "sha256"},
            {0x10005, Word(blockSize)}}) {
    if (fill != '\xFF') tags[0x10007] = Word(static_cast<unsigned char>(fill));
}

FirmwareImage& FirmwareImage::With(unsigned tag, std::string value) {
    tags[tag] = std::move(value);
    return *this;
}

FirmwareImage& FirmwareImage::Without(unsigned tag) {
    tags.erase(tag);
    return *this;
}

FirmwareImage& FirmwareImage::Follow(std::string bytes) {
    behind = std::move(bytes);
    return *this;
}

std::string FirmwareImage::Raw(bool sealed) const {
    std::string raw(size, '\0');
    for (std::size_t i = 0; i < size; i += 64) {
        raw[i] = static_cast<char>(i >> 6);
        raw[i + 1] = static_cast<char>(i >> 14);
    }
    std::string table = Table(".BEZ.VLT", tags);
    if (!sealed) table.replace(CHECKSUM, 4, 4, '\0');
    table += behind;
    return raw.replace(place * block, block, table.append(block - table.size(), fill));
}

std::string FirmwareImage::File() const {
    std::string const raw = Raw();
    return raw + "WQRT" + LittleWord(7) + "name" + std::string(44, '\0') + LittleWord(Crc(raw));
}

FirmwareImage& FirmwareImage::Sign(Certificates const& made, std::vector<std::string> const& names,
                                   std::string const& digest) {
    return Certify(made, names, digest).Seal(made, names.front());
}

FirmwareImage& FirmwareImage::Certify(Certificates const& made, std::vector<std::string> const& names,
                                      std::string const& digest) {
    tags.erase(0x10001);
    tags[0x10002].clear();
    for (std::string const& name : names)
        tags[0x10002] += made.Read(name + ".pem");
    tags[0x10003] = digest;
    tags[0x10004] = Word(70) + std::string(signatureRoom - 4, '\0');
    return *this;
}

FirmwareImage& FirmwareImage::Seal(Certificates const& made, std::string const& key) {
    tags[0x10004] = std::string(signatureRoom, '\0');
    std::string const signature = made.Run({"dgst", "-" + tags[0x10003], "-sign", key + ".key"}, Raw(false));
    tags[0x10004].replace(0, 4 + signature.size(), Word(signature.size()) + signature);
    return *this;
}

FirmwareSigners::FirmwareSigners()
    : trusted(Path("trusted")) {
    if (WhyNot() != nullptr) return;
    Make({.name = "root", .extensions = CA});
    Make({.name = "inter",
          .issuer = "root",
          .extensions = CA,
          .serial = "0x0102030405060708090a0b0c0d0e0f1011121314"});
    Make({.name = "leaf", .issuer = "inter", .extensions = FirmwareImage::LEAF, .serial = "0x0A1B"});
    Folder("trusted", {{"root.pem", Read("root.pem")}, {"note", "no certificate"}});
}

std::string FirmwareSigners::Folder(std::string const& name,
                                    std::map<std::string, std::string> const& files) const {
    std::filesystem::create_directories(Path(name) + "/folder");
    for (auto const& [file, text] : files)
        Write(name + "/" + file, text);
    return Path(name);
}
