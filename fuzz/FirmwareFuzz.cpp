// A firmware file of 4 MiB out of its parts: a byte for what is made right (1 trailer's CRC, 2 table's CRC),
// 60 bytes of trailer, then the block of the table. Any answer is good that says why, and leaves no value
// when it fails.
#include "fuzz/FuzzInput.h"

#include "libzeb/zeb_crc.h"
#include "zeb/firmware/zeb_fw.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace {

constexpr size_t SIZE = 0x400000, BLOCK = 0x10000, TRAILER = 60;

void Put(int fd, std::string const& bytes, size_t at) {
    FUZZ_CHECK(pwrite(fd, bytes.data(), bytes.size(), static_cast<off_t>(at)) ==
               static_cast<ssize_t>(bytes.size()));
}

std::string Word(unsigned value, bool isBig) {
    std::string word;
    for (unsigned i = 0; i < 4; ++i)
        word += static_cast<char>(value >> (isBig ? 24 - 8 * i : 8 * i));
    return word;
}

void SealTable(std::string& block) {
    if (block.size() < 20) return;
    block.replace(0, 8, ".BEZ.VLT").replace(12, 4, 4, '\0');
    unsigned const length = static_cast<unsigned>(static_cast<unsigned char>(block[10]) << 8 |
                                                  static_cast<unsigned char>(block[11]));
    unsigned crc = 0xFFFFFFFF;
    zeb_crc32_update(&crc, block.data(), std::min<size_t>(length, block.size()));
    block.replace(12, 4, Word(crc, true));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
    static int const fd = memfd_create("firmware", 0);
    static std::string const path = "/proc/self/fd/" + std::to_string(fd);
    FuzzInput input(data, size);
    unsigned const right = input.Byte();
    std::string rest(input.Rest());
    std::string trailer = rest.substr(0, TRAILER),
                block = rest.substr(std::min(TRAILER, rest.size())).substr(0, BLOCK);
    trailer.resize(TRAILER, '\0');
    if ((right & 2) != 0) SealTable(block);
    block.resize(BLOCK, '\xFF');
    static std::string const others(SIZE - BLOCK, '\0');
    static bool const laid = (Put(fd, others, BLOCK), true);
    unsigned crc = 0xFFFFFFFF;
    zeb_crc32_update(&crc, block.data(), block.size()), zeb_crc32_update(&crc, others.data(), others.size());
    if ((right & 1) != 0) trailer.replace(56, 4, Word(crc, false));
    Put(fd, block, 0), Put(fd, trailer, SIZE);
    zeb_fw_error error;
    unsigned status;
    zeb_fw_tlv tags[] = {{3, 0, nullptr}, {0x11, 0, nullptr}};
    bool const isDone = laid && zeb_fw_dump(&error, path.c_str(), 0, &status, 0, tags, 2, nullptr, nullptr, 0,
                                            nullptr, nullptr);
    FUZZ_CHECK(isDone == (error.code == 0) &&
               strnlen(error.message, sizeof error.message) < sizeof error.message);
    FUZZ_CHECK(isDone ? status == 2 || status == 3
                      : status == 3 && tags[0].value == nullptr && tags[1].value == nullptr);
    zeb_fw_free_tlv(tags, 2);
    return 0;
}
