// A maker of firmware images that shares nothing with the library: bytes put together as the format says.
#pragma once

#include "workbench/Calls.h"
#include "workbench/Certificates.h"
#include "workbench/Heap.h"
#include "workbench/OpenSsl.h"
#include "workbench/TempDir.h"
#include "zeb/firmware/ErrorImpl.h"
#include "zeb/firmware/SignatureImpl.h"

#include <algorithm>
#include <fstream>
#include <functional>
#include <map>
#include <set>

#include <openssl/err.h>

inline std::string Word(unsigned long value) {
    std::string word;
    for (int shift = 24; shift >= 0; shift -= 8) word += static_cast<char>(value >> shift);
    return word;
}

inline std::string LittleWord(unsigned long value) {
    std::string word = Word(value);
    std::reverse(word.begin(), word.end());
    return word;
}

inline unsigned SlowCrc(std::string const& data) {
    static std::array<unsigned, 256> const table = [] {
        std::array<unsigned, 256> made{};
        for (unsigned i = 0; i < 256; ++i) {
            made[i] = i;
            for (int bit = 0; bit < 8; ++bit) made[i] = made[i] >> 1 ^ (made[i] & 1 ? 0xEDB88320 : 0);
        }
        return made;
    }();
    unsigned crc = 0xFFFFFFFF;
    for (char const c : data) crc = crc >> 8 ^ table[(crc ^ static_cast<unsigned char>(c)) & 0xFF];
    return crc;
}

struct Firmware {
    std::size_t block = 0x10000;
    std::size_t place = 1; // block of the table
    char fill = '\xFF';
    std::size_t size = 0x400000;
    std::map<unsigned, std::string> tags;
    std::string behind{}; // what stands behind the table in its block
    std::size_t signatureRoom = 300;

    // An unsigned image.
    explicit Firmware(std::size_t blockSize = 0x10000, std::size_t tablePlace = 1, char fillByte = '\xFF')
        : block(blockSize)
        , place(tablePlace)
        , fill(fillByte)
        , tags({{3, "0x0A510100"}, {0x11, "5.02"}, {0x10001, ""}, {0x10003, "sha256"}, {0x10005, Word(blockSize)}}) {
        if (fill != '\xFF') tags[0x10007] = Word(static_cast<unsigned char>(fill));
    }

    std::string Table(bool sealed = true) const {
        std::string entries;
        for (auto const& [tag, value] : tags)
            entries += Word(tag) + Word(value.size()) + value + std::string(-value.size() % 4, '\0');
        std::string image = ".BEZ.VLT" + Word(20 + entries.size()) + Word(0) + Word(tags.size()) + entries;
        return sealed ? image.replace(12, 4, Word(SlowCrc(image))) : image;
    }

    std::string Raw(bool sealed = true) const {
        std::string raw(size, '\0');
        for (std::size_t i = 0; i < size; i += 64) raw[i] = static_cast<char>(i >> 6), raw[i + 1] = static_cast<char>(i >> 14);
        std::string const table = Table(sealed) + behind;
        return raw.replace(place * block, block, table + std::string(block - table.size(), fill));
    }

    static std::string Trailer(unsigned crc) { return "WQRT" + LittleWord(7) + "name" + std::string(44, '\0') + LittleWord(crc); }

    std::string File() const {
        std::string const raw = Raw();
        return raw + Trailer(SlowCrc(raw));
    }

    // Makes it a signed one: the certificates, one behind the other, and a signature by the key of the first one, or none.
    Firmware& Certify(Certificates const& made, std::vector<std::string> const& names, std::string const& digest = "sha256") {
        tags.erase(0x10001);
        tags[0x10002].clear();
        for (std::string const& name : names) tags[0x10002] += made.Read(name + ".pem");
        tags[0x10003] = digest;
        tags[0x10004] = Word(70) + std::string(signatureRoom - 4, '\0');
        return *this;
    }
    Firmware& Sign(Certificates const& made, std::vector<std::string> const& names, std::string const& digest = "sha256") {
        return Certify(made, names, digest).Seal(made, names.front());
    }
    Firmware& Seal(Certificates const& made, std::string const& key) {
        tags[0x10004] = std::string(signatureRoom, '\0');
        std::string const signature = made.Run({"dgst", "-" + tags[0x10003], "-sign", key + ".key"}, Raw(false));
        tags[0x10004].replace(0, 4 + signature.size(), Word(signature.size()) + signature);
        return *this;
    }
};

// What a call of zeb_fw_dump() gave.
struct Dumped {
    zeb_fw_error error{};
    bool isDone = false;
    unsigned status = 77;
    std::vector<zeb_fw_tlv> tags;
    zeb_fw_crt_info* info = nullptr;
    std::string steps; // what the callback got: "0101" in runs, as "0x3 1x62"

    ~Dumped() {
        zeb_fw_free_tlv(tags.data(), tags.size());
        zeb_fw_free_crt_info(&info);
    }
    std::string Tag(unsigned i) const { return tags[i].value == nullptr ? "none" : static_cast<char*>(tags[i].value); }
    std::string Said() const { return std::to_string(error.code) + " " + error.message; }
};

struct Ask {
    std::string file;
    std::size_t blockSize = 0;
    std::size_t rawSize = 0;
    char const* authorities = nullptr;
    unsigned revocation = 0;
    std::vector<unsigned long> tags = {3, 0x11, 1};

    void Run(Dumped& out) const {
        for (unsigned long const tag : tags) out.tags.push_back({tag, 99, &out});
        using Runs = std::vector<std::pair<int, unsigned>>;
        Runs runs;
        auto const count = [](int ok, void* data) {
            Runs& seen = *static_cast<Runs*>(data);
            if (seen.empty() || seen.back().first != ok) seen.emplace_back(ok, 0);
            ++seen.back().second;
        };
        ERR_put_error(ERR_LIB_USER, 0, 1, "stale", 1);
        memset(&out.error, 0x5A, sizeof out.error);
        out.isDone = zeb_fw_dump(&out.error, file.c_str(), revocation, &out.status, blockSize, out.tags.data(), out.tags.size(),
                                 authorities, &out.info, rawSize, count, &runs);
        for (auto const& [ok, times] : runs) out.steps += std::to_string(ok) + "x" + std::to_string(times) + " ";
        EXPECT_EQ(ERR_peek_error(), 0u);
        EXPECT_EQ(out.isDone, out.error.code == 0) << out.Said();
        EXPECT_TRUE(out.isDone || (out.status == 3 && out.info == nullptr)) << out.status;
        for (zeb_fw_tlv const& tag : out.tags)
            EXPECT_TRUE(tag.value == nullptr ? tag.size == 0 : out.isDone && strlen(static_cast<char*>(tag.value)) == tag.size);
    }
    // "done STATUS", or the code and the message.
    std::string operator()() const {
        Dumped out;
        Run(out);
        return out.isDone ? "done " + std::to_string(out.status) : out.Said();
    }
};
