// A firmware file of 64 MiB in the page cache. A name is <operation>/<who>/<block size in KiB>.
//   scan   one pass: read and CRC                       ours; zlib's CRC in the same loop; the bare read
//   both   read and CRC, read and SHA-256               the same
//   dump   zeb_fw_dump() of a signed image, the search for its block size with it; "openssl dgst -verify" of
//   its bytes

#include "libzeb/zeb_crc.h"
#include "libzeb/zeb_tlv.h"
#include "zeb/firmware/ImageImpl.h"

#include <benchmark/benchmark.h>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <openssl/evp.h>
#include <random>
#include <string>
#include <unistd.h>
#include <vector>

#ifdef ZEB_PEER_ZLIB
#include <zlib.h>
#endif

namespace {

constexpr unsigned long SIZE = 64UL << 20, BLOCK = 0x10000;

std::string const& Folder() {
    static std::string const& folder = *[] { // lives until the last handler at exit
        char path[] = "/tmp/zebbench.XXXXXX";
        if (mkdtemp(path) == nullptr) abort();
        return new std::string(path);
    }();
    return folder;
}

std::string Path(char const* name) { return Folder() + "/" + name; }

bool Shell(std::string const& command) {
    return system(("cd " + Folder() + " && { " + command + "; } >/dev/null 2>&1").c_str()) == 0;
}

std::string Read(char const* name) {
    std::ifstream file(Path(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void Write(char const* name, std::string const& bytes) {
    std::ofstream(Path(name), std::ios::binary) << bytes;
}

// The image with this signature, and with its CRC or with zeros there.
std::string Image(std::string const& certificate, std::string const& signature, bool isSealed) {
    std::string raw(SIZE, '\0');
    std::mt19937_64 random(5);
    for (unsigned long at = 0; at < SIZE; at += 8) {
        unsigned long const word = random();
        memcpy(raw.data() + at, &word, 8);
    }
    std::string field(104, '\0');
    if (!signature.empty())
        field.replace(0, 4, std::string("\0\0\0", 3) + static_cast<char>(signature.size()))
            .replace(4, signature.size(), signature);
    zeb_tlv_entry const entries[] = {{3, 8, "0a510100"},
                                     {0x10002, certificate.size(), certificate.data()},
                                     {0x10003, 6, "sha256"},
                                     {0x10004, field.size(), field.data()},
                                     {0x10005, 4, "\0\1\0"}};
    zeb_tlv_table* table;
    if (zeb_tlv_table_make(&table, ".BEZ.VLT", 8, entries, 5) != 0) abort();
    std::string block(static_cast<char const*>(zeb_tlv_table_img_ptr(table)), zeb_tlv_table_img_len(table));
    zeb_tlv_table_free(&table);
    if (!isSealed) block.replace(12, 4, 4, '\0');
    block.resize(BLOCK, '\xFF');
    return raw.replace(0, BLOCK, block);
}

// The files: signed.fw, its bytes before signing, key and certificate.
bool Prepare() {
    static bool const done = [] {
        Write("leaf.ext",
              "keyUsage=digitalSignature\nextendedKeyUsage=codeSigning\nbasicConstraints=CA:FALSE\n");
        std::string const ask = "openssl req -nodes -newkey ec -pkeyopt ec_paramgen_curve:P-256 ";
        if (!Shell(ask + "-x509 -keyout ca.key -out ca.pem -subj /CN=ca && mkdir ca && cp ca.pem ca/ && " +
                   ask +
                   "-keyout leaf.key -out leaf.csr -subj /CN=leaf && openssl x509 -req -in leaf.csr -CA "
                   "ca.pem -CAkey ca.key "
                   "-set_serial 5 -extfile leaf.ext -out leaf.pem && openssl pkey -in leaf.key -pubout -out "
                   "leaf.pub"))
            return false;
        std::string const certificate = Read("leaf.pem");
        Write("bytes", Image(certificate, "", false));
        if (!Shell("openssl dgst -sha256 -sign leaf.key -out signature bytes")) return false;
        std::string raw = Image(certificate, Read("signature"), true);
        unsigned crc = 0xFFFFFFFF;
        zeb_crc32_update(&crc, raw.data(), raw.size());
        raw += std::string("WQRT\1\0\0\0name", 12) + std::string(44, '\0') +
               std::string(reinterpret_cast<char*>(&crc), 4);
        Write("signed.fw", raw);
        return true;
    }();
    return done;
}

template<class UpdateT>
void Pass(int fd, std::vector<unsigned char>& block, UpdateT const& update) {
    lseek(fd, 0, SEEK_SET);
    for (unsigned long at = 0; at < SIZE; at += block.size())
        if (read_all_(fd, block.data(), block.size()) == block.size()) update(block.data(), block.size());
}

template<class CheckT>
void Passes(benchmark::State& state, bool both, CheckT const& check) {
    if (!Prepare()) return state.SkipWithError("no openssl");
    std::vector<unsigned char> block(static_cast<unsigned long>(state.range(0)) << 10);
    int const fd = open(Path("signed.fw").c_str(), O_RDONLY);
    EVP_MD_CTX* const context = EVP_MD_CTX_new();
    unsigned char digest[EVP_MAX_MD_SIZE];
    for (auto _ : state) {
        unsigned crc = 0xFFFFFFFF;
        Pass(fd, block, [&](unsigned char const* data, unsigned long size) { check(crc, data, size); });
        benchmark::DoNotOptimize(crc);
        if (!both) continue;
        EVP_DigestInit_ex(context, EVP_sha256(), nullptr);
        Pass(fd, block,
             [&](unsigned char const* data, unsigned long size) { EVP_DigestUpdate(context, data, size); });
        EVP_DigestFinal_ex(context, digest, nullptr);
    }
    EVP_MD_CTX_free(context);
    close(fd);
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(SIZE));
}

void Ours(unsigned& crc, unsigned char const* data, unsigned long size) {
    zeb_crc32_update(&crc, data, size);
}
void Bare(unsigned& crc, unsigned char const* data, unsigned long) { crc ^= *data; }
#ifdef ZEB_PEER_ZLIB
void Zlib(unsigned& crc, unsigned char const* data, unsigned long size) {
    crc = ~static_cast<unsigned>(crc32(~crc, data, static_cast<unsigned>(size)));
}
#endif

void DumpOurs(benchmark::State& state) {
    if (!Prepare()) return state.SkipWithError("no openssl");
    std::string const path = Path("signed.fw"), authorities = Path("ca");
    for (auto _ : state) {
        zeb_fw_error error;
        unsigned status = 9;
        bool const isDone = zeb_fw_dump(&error, path.c_str(), 1, &status, 0, nullptr, 0, authorities.c_str(),
                                        nullptr, 0, nullptr, nullptr);
        if (!isDone || status != 0) state.SkipWithError(isDone ? "wrong signature" : error.message);
    }
}

void DumpOpenssl(benchmark::State& state) {
    if (!Prepare()) return state.SkipWithError("no openssl");
    for (auto _ : state)
        if (!Shell("openssl dgst -sha256 -verify leaf.pub -signature signature bytes"))
            state.SkipWithError("not verified");
}

[[maybe_unused]] bool const added = [] {
    for (bool const both : {false, true}) {
        std::string const name = both ? "both/" : "scan/";
        auto const add = [&](char const* who, auto const& check) {
            benchmark::RegisterBenchmark(
                (name + who).c_str(), [both, check](benchmark::State& state) { Passes(state, both, check); })
                ->Arg(64)
                ->Arg(512)
                ->Unit(benchmark::kMillisecond);
        };
        add("ours", Ours), add("read", Bare);
#ifdef ZEB_PEER_ZLIB
        add("zlib", Zlib);
#endif
    }
    benchmark::RegisterBenchmark("dump/ours", DumpOurs)->Unit(benchmark::kMillisecond)->UseRealTime();
    benchmark::RegisterBenchmark("dump/openssl", DumpOpenssl)->Unit(benchmark::kMillisecond)->UseRealTime();
    atexit([] { Shell("rm -rf " + Folder()); });
    return true;
}();

} // namespace
