// Digests and checksums beside OpenSSL and whatever else is installed. A name is <algorithm>/<bytes>/<who>.

#include "zeb/core/CBuffer.h"
#include "zeb/util/CRC16.h"
#include "zeb/util/CRC32.h"
#include "zeb/util/MD4.h"
#include "zeb/util/MD5.h"
#include "zeb/util/SHA1.h"
#include "zeb/util/SHA256.h"
#include "zeb/util/SipHash.h"
#include "zeb/util/Whirlpool.h"

#include <benchmark/benchmark.h>
#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/provider.h>
#include <string>

#ifdef ZEB_PEER_GCRYPT
#include <gcrypt.h>
#endif
#ifdef ZEB_PEER_NETTLE
#include <nettle/nettle-meta.h>
#endif
#ifdef ZEB_PEER_GLIB
#include <glib.h>
#endif
#ifdef ZEB_PEER_ZLIB
#include <zlib.h>
#endif

namespace {

constexpr unsigned long SIZES[] = {64, 1024, 65536};

// Calls run(data, size) over a text of so many bytes.
template<class RunT>
void Add(std::string const& algorithm, char const* who, unsigned long size, RunT const& run) {
    std::string const name = algorithm + "/" + std::to_string(size) + "/" + who;
    benchmark::RegisterBenchmark(name.c_str(), [run, size](benchmark::State& state) {
        std::string data(size, ' ');
        for (unsigned long i = 0; i < size; ++i)
            data[i] = static_cast<char>(i * 151 ^ i >> 8);
        for (auto _ : state)
            run(reinterpret_cast<unsigned char const*>(data.data()), size);
        state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * size));
    });
}

template<class DigestT>
void AddDigest(char const* algorithm) {
    for (unsigned long const size : SIZES) {
        Add(algorithm, "ours", size, [](unsigned char const* data, unsigned long count) {
            unsigned char out[DigestT::DIGEST_SIZE];
            DigestT digest;
            digest.Update(data, count);
            digest.Digest(out);
            benchmark::DoNotOptimize(out);
        });
        EVP_MD* const type = EVP_MD_fetch(nullptr, algorithm, nullptr);
        if (type == nullptr) continue;
        Add(algorithm, "openssl", size, [type](unsigned char const* data, unsigned long count) {
            static EVP_MD_CTX* const context = EVP_MD_CTX_new();
            unsigned char out[DigestT::DIGEST_SIZE];
            EVP_DigestInit_ex(context, type, nullptr);
            EVP_DigestUpdate(context, data, count);
            EVP_DigestFinal_ex(context, out, nullptr);
            benchmark::DoNotOptimize(out);
        });
    }
}

void AddGcrypt([[maybe_unused]] char const* algorithm) {
#ifdef ZEB_PEER_GCRYPT
    gcry_check_version(nullptr);
    int const type = gcry_md_map_name(algorithm);
    for (unsigned long const size : SIZES)
        Add(algorithm, "gcrypt", size, [type](unsigned char const* data, unsigned long count) {
            unsigned char out[64];
            gcry_md_hash_buffer(type, out, data, count);
            benchmark::DoNotOptimize(out);
        });
#endif
}

#ifdef ZEB_PEER_NETTLE
void AddNettle(char const* algorithm, nettle_hash const& hash) {
    for (unsigned long const size : SIZES)
        Add(algorithm, "nettle", size, [&hash](unsigned char const* data, unsigned long count) {
            alignas(16) unsigned char context[512], out[64];
            hash.init(context);
            hash.update(context, count, data);
            hash.digest(context, hash.digest_size, out);
            benchmark::DoNotOptimize(out);
        });
}
#endif

#ifdef ZEB_PEER_GLIB
void AddGlib(char const* algorithm, GChecksumType type) {
    for (unsigned long const size : SIZES)
        Add(algorithm, "glib", size, [type](unsigned char const* data, unsigned long count) {
            unsigned char out[64];
            gsize length = sizeof out;
            GChecksum* const checksum = g_checksum_new(type);
            g_checksum_update(checksum, data, static_cast<gssize>(count));
            g_checksum_get_digest(checksum, out, &length);
            g_checksum_free(checksum);
            benchmark::DoNotOptimize(out);
        });
}
#endif

void AddSipHash(char const* algorithm, unsigned wordRounds, unsigned endRounds) {
    static char key[] = "Sip-fixed-key-16";
    for (unsigned long const size : {16UL, 1024UL}) {
        Add(algorithm, "ours", size, [wordRounds](unsigned char const* data, unsigned long count) {
            CBuffer const view(data, count);
            benchmark::DoNotOptimize(wordRounds == 2 ? Util::SipHash::Digest2u4(view)
                                                     : Util::SipHash::Digest4u8(key, view));
        });
        EVP_MAC_CTX* const context = EVP_MAC_CTX_new(EVP_MAC_fetch(nullptr, "SIPHASH", nullptr));
        Add(algorithm, "openssl", size, [=](unsigned char const* data, unsigned long count) {
            unsigned char out[8];
            size_t length = sizeof out;
            unsigned c = wordRounds, d = endRounds;
            OSSL_PARAM const parameters[] = {OSSL_PARAM_size_t(OSSL_MAC_PARAM_SIZE, &length),
                                             OSSL_PARAM_uint(OSSL_MAC_PARAM_C_ROUNDS, &c),
                                             OSSL_PARAM_uint(OSSL_MAC_PARAM_D_ROUNDS, &d), OSSL_PARAM_END};
            EVP_MAC_init(context, reinterpret_cast<unsigned char const*>(key), 16, parameters);
            EVP_MAC_update(context, data, count);
            EVP_MAC_final(context, out, &length, sizeof out);
            benchmark::DoNotOptimize(out);
        });
    }
}

void AddChecksums() {
    for (unsigned long const size : SIZES) {
        Add("crc32", "ours", size, [](unsigned char const* data, unsigned long count) {
            Util::CRC32 crc;
            crc.Update(data, count);
            benchmark::DoNotOptimize(crc.Digest());
        });
#ifdef ZEB_PEER_ZLIB
        Add("crc32", "zlib", size, [](unsigned char const* data, unsigned long count) {
            benchmark::DoNotOptimize(crc32(0, data, static_cast<unsigned>(count)));
        });
#endif
    }
    for (unsigned long const size : {20UL, 1500UL}) {
        Add("rfc1071", "ours", size, [](unsigned char const* data, unsigned long count) {
            Util::CRC16 sum;
            sum.Update(data, count);
            benchmark::DoNotOptimize(sum.Digest());
        });
        // The loop of the textbooks.
        Add("rfc1071", "textbook", size, [](unsigned char const* data, unsigned long count) {
            unsigned sum = 0;
            for (; count > 1; count -= 2, data += 2) {
                sum += static_cast<unsigned>(data[0] << 8 | data[1]);
                benchmark::DoNotOptimize(sum); // it is not vectorised on the device
            }
            while (sum >> 16 != 0)
                sum = (sum & 0xFFFF) + (sum >> 16);
            benchmark::DoNotOptimize(~sum);
        });
    }
}

[[maybe_unused]] bool const added = [] {
    OSSL_PROVIDER_load(nullptr, "legacy");
    OSSL_PROVIDER_load(nullptr, "default");
    AddDigest<Util::MD4>("md4");
    AddDigest<Util::MD5>("md5");
    AddDigest<Util::SHA1>("sha1");
    AddDigest<Util::SHA256>("sha256");
    AddDigest<Util::Whirlpool>("whirlpool");
    for (char const* const algorithm : {"md4", "md5", "sha1", "sha256", "whirlpool"})
        AddGcrypt(algorithm);
#ifdef ZEB_PEER_NETTLE
    AddNettle("md4", nettle_md4);
    AddNettle("md5", nettle_md5);
    AddNettle("sha1", nettle_sha1);
    AddNettle("sha256", nettle_sha256);
#endif
#ifdef ZEB_PEER_GLIB
    AddGlib("md5", G_CHECKSUM_MD5);
    AddGlib("sha1", G_CHECKSUM_SHA1);
    AddGlib("sha256", G_CHECKSUM_SHA256);
#endif
    AddSipHash("siphash24", 2, 4);
    AddSipHash("siphash48", 4, 8);
    AddChecksums();
    return true;
}();

} // namespace
