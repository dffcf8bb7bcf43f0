#include "workbench/Feed.h"
#include "zeb/core/CBuffer.h"
#include "zeb/util/CRC16.h"
#include "zeb/util/CRC32.h"
#include "zeb/util/LM.h"
#include "zeb/util/MD4.h"
#include "zeb/util/MD5.h"
#include "zeb/util/MurmurHash.h"
#include "zeb/util/SHA1.h"
#include "zeb/util/SHA256.h"
#include "zeb/util/SipHash.h"
#include "zeb/util/Whirlpool.h"

#include <gtest/gtest.h>
#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <random>
#include <string>

namespace {

// A digest of pieces in hexadecimal, taken on the way as well, and once more of a copy after a reset.
template<class DigestT>
std::string Text(FeedT const& pieces) {
    std::string results[2];
    DigestT digest;
    for (std::string& result : results) {
        DigestT other;
        other.Update("x", 1);
        digest.Reset();
        for (std::string_view const piece : pieces) {
            digest.Update(piece.data(), piece.size());
            other = digest;
            if constexpr (requires { &DigestT::TextDigest; }) {
                char text[DigestT::TEXT_SIZE + 1] = {};
                text[DigestT::TEXT_SIZE] = '#';
                other.TextDigest(text);
                result = text;
                EXPECT_EQ(text[DigestT::TEXT_SIZE], '#');
            } else {
                char text[9];
                snprintf(text, sizeof text, "%08x", static_cast<unsigned>(other.Digest()));
                result = text;
            }
        }
    }
    EXPECT_EQ(results[0], results[1]);
    return results[0];
}

// Of the digests of the first 0 to 259 bytes of a text.
template<class DigestT>
std::string OfAllSizes() {
    unsigned char text[260], digest[DigestT::DIGEST_SIZE];
    for (unsigned i = 0; i < 260; ++i)
        text[i] = static_cast<unsigned char>(i * 151);
    DigestT all;
    for (unsigned size = 0; size < 260; ++size) {
        DigestT one;
        one.Update(CString(reinterpret_cast<char const*>(text), size));
        one.Digest(digest);
        all.Update(digest, sizeof digest);
    }
    char out[DigestT::TEXT_SIZE];
    all.TextDigest(out);
    return out;
}

TEST(Digest, GivesThePublishedValuesHoweverTheTextIsCut) {
    std::string const digits =
        "12345678901234567890123456789012345678901234567890123456789012345678901234567890";
    struct {
        std::string (*text)(FeedT const&);
        std::string (*allSizes)();
        char const *abc, *eighty, *all;
    } const rows[] = {
        {Text<Util::MD4>, OfAllSizes<Util::MD4>, "a448017aaf21d8525fc10ae87aa6729d",
         "e33b4ddc9c38f2199c3e7b164fcc0536", "0f7e300d331378a24e59a8d3f162f192"},
        {Text<Util::MD5>, OfAllSizes<Util::MD5>, "900150983cd24fb0d6963f7d28e17f72",
         "57edf4a22be3c955ac49da2e2107b67a", "3abd15bcc40944d812888bfc35898f8e"},
        {Text<Util::SHA1>, OfAllSizes<Util::SHA1>, "a9993e364706816aba3e25717850c26c9cd0d89d",
         "50abf5706a150990a08b2c5ea40fa0e585554732", "30948d60208002f974d0abbe687bb76a1a2438fb"},
        {Text<Util::SHA256>, OfAllSizes<Util::SHA256>,
         "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad",
         "f371bc4a311f2b009eef952dd83ca80e2b60026c8e935592d0f9c308453c813e",
         "f6674e142d2a62ce6c966e24eed5ba241045c943a206581e10c7e9d9f61b659b"},
        {Text<Util::Whirlpool>, OfAllSizes<Util::Whirlpool>,
         "4e2448a4c6f486bb16b6562c73b4020bf3043e3a731bce721ae1b303d97e6d4c"
         "7181eebdb6c57e277d0e34957114cbd6c797fc9d95d8b582d225292076d4eef5",
         "466ef18babb0154d25b9d38a6414f5c08784372bccb204d6549c4afadb601429"
         "4d5bd8df2a6c44e538cd047b2681a51a2c60481e88c5a20b2c2a80cf3a9a083b",
         "a64ad5775c92157043ec86f3796f1a0d51fe28afddc5ba82b481b95cce3bce88"
         "bd9576bfc7066d0fac9b0e4e3eb4f36b27cdaae6aeaf621d0ba7294a8c20bebe"},
        {Text<Util::CRC32>, nullptr, "352441c2", "7ca94a72", ""},
    };
    for (auto const& row : rows) {
        SCOPED_TRACE(row.abc);
        EXPECT_EQ(row.text({"abc"}), row.abc);
        EXPECT_EQ(row.text({"", "ab", "", "c"}), row.abc);
        ForEveryFeed(digits, [&](FeedT const& pieces) { EXPECT_EQ(row.text(pieces), row.eighty); });
        EXPECT_EQ(row.allSizes == nullptr ? "" : row.allSizes(), row.all);
    }
}

TEST(Checksum, AgreesWithTheDefinitionHoweverTheTextIsCut) {
    unsigned table[256]; // of the polynomial 0x82F63B78
    for (unsigned i = 0; i < 256; ++i) {
        table[i] = i;
        for (int bit = 0; bit < 8; ++bit)
            table[i] = table[i] >> 1 ^ (table[i] & 1) * 0x82F63B78;
    }
    std::mt19937 random(6);
    for (unsigned size = 0; size < 90; ++size) {
        std::string text(size, ' ');
        unsigned crc = ~0U, sum = 0;
        for (unsigned i = 0; i < size; ++i) {
            auto const byte = static_cast<unsigned char>(size % 3 == 0 ? 0xFF : random());
            text[i] = static_cast<char>(byte);
            sum += i % 2 == 0 ? byte << 8 : byte;
            crc ^= byte;
            for (int bit = 0; bit < 8; ++bit)
                crc = crc >> 1 ^ (crc & 1) * 0xEDB88320;
        }
        sum = (sum & 0xFFFF) + (sum >> 16);
        sum = (sum & 0xFFFF) + (sum >> 16);
        ForEveryFeed(text, [&](FeedT const& pieces) {
            Util::CRC32 crc32;
            Util::CRC16 crc16;
            for (std::string_view const piece : pieces) {
                crc32.Update(piece.data(), piece.size());
                crc16.Update(piece.data(), piece.size());
            }
            EXPECT_EQ(crc32.Digest(), ~crc) << size;
            EXPECT_EQ(crc16.Digest(), ~sum & 0xFFFF) << size;
        });
    }
    Util::CRC32 own(table);
    own.Update("x", 1);
    own.Reset();
    own.Update("123456789123456789", 9);
    EXPECT_EQ(own.Digest(), 0xE3069283);
    Util::CRC16 sums;
    sums.Update("\0\1\xF2\3\xF4\xF5\xF6\xF7", 8);
    EXPECT_EQ(sums.Digest(), 0x220D);
    std::string const full(100000, '\xFF'); // long enough for a sum of 32 bits to overflow
    for (std::string const& text : {full + "\1", std::string("\1")}) {
        sums.Reset();
        sums.Update(text.data(), text.size());
        EXPECT_EQ(sums.Digest(), 0xFEFF);
    }
    for (unsigned i = 0; i < 40000; ++i)
        sums.Update("\xFF\xFF", 2);
    EXPECT_EQ(sums.Digest(), 0xFEFF);
}

// 64 bits by OpenSSL.
unsigned long Peer(std::string const& key, std::string const& data, unsigned wordRounds, unsigned endRounds) {
    unsigned char out[8];
    size_t size = sizeof out;
    OSSL_PARAM const parameters[] = {OSSL_PARAM_size_t(OSSL_MAC_PARAM_SIZE, &size),
                                     OSSL_PARAM_uint(OSSL_MAC_PARAM_C_ROUNDS, &wordRounds),
                                     OSSL_PARAM_uint(OSSL_MAC_PARAM_D_ROUNDS, &endRounds), OSSL_PARAM_END};
    EVP_MAC* const mac = EVP_MAC_fetch(nullptr, "SIPHASH", nullptr);
    EVP_MAC_CTX* const context = EVP_MAC_CTX_new(mac);
    EXPECT_EQ(EVP_MAC_init(context, reinterpret_cast<unsigned char const*>(key.data()), 16, parameters), 1);
    EVP_MAC_update(context, reinterpret_cast<unsigned char const*>(data.data()), data.size());
    EVP_MAC_final(context, out, &size, sizeof out);
    EVP_MAC_CTX_free(context);
    EVP_MAC_free(mac);
    unsigned long value;
    memcpy(&value, out, sizeof value);
    return value;
}

TEST(SipHash, AgreesWithAnotherLibrary) {
    std::string data, key = "0123456789abcde\xFF";
    for (unsigned size = 0; size < 40; ++size, data += static_cast<char>(size * 151 + 7)) {
        key[size % 16] = static_cast<char>(size + 120);
        CBuffer const view(data.data(), data.size());
        EXPECT_EQ(Util::SipHash::Digest4u8(key.data(), view), Peer(key, data, 4, 8)) << size;
        EXPECT_EQ(Util::SipHash::Digest2u4(view), Peer("Sip-fixed-key-16", data, 2, 4)) << size;
    }
}

// One block, 01 02 03 04, with the seed 0:
//     k = 01020304,  k * c1 = b8a2a844,  (k >> 19) | (k << 15) = 54221714 (a whole turn: 54225c51),  k * c2 =
//     a5e6647c h = 0 ^ k, turned by 13 = cc8f94bc,  * 5 + e6546b64 = e5225310,  ^ 4 = e5225314,  mixed =
//     34a334b7
// The same with the seed 9747b28c and a tail, 81 82 83:
//     h = 9747b28c ^ a5e6647c, turned by 13 = 3ade0654,  * 5 + e6546b64 = 0caa8b08
//     k = 00838281,  * c1 = 9f2af7d1,  turned by 15 = 7be8cf95,  * c2 = 883c0b8f,  h ^ k = 84968087,  ^ 7 =
//     84968080, mixed = 2e2e94fc
// Without a block the variant is MurmurHash3 itself.
TEST(MurmurHash, GivesTheValuesOfItsVariant) {
    std::tuple<std::string, unsigned, unsigned> const rows[] = {
        {"\1\2\3\4", 0, 0x34A334B7},   {"\1\2\3\4\x81\x82\x83", 0x9747B28C, 0x2E2E94FC},
        {"12345678", ~0U, 0xE28D3579}, {"", 0, 0},
        {"", 1, 0x514E28B7},           {"a", 0, 0x3C2569B2},
        {"ab", 0, 0x9BBFD75F},
    };
    for (auto const& [data, seed, expected] : rows)
        EXPECT_EQ(Util::MurmurHash::Digest(CBuffer(data.data(), data.size()), seed), expected) << data;
    EXPECT_EQ(Util::MurmurHash::Digest(0x04030201, 0), 0x34A334B7);
}

TEST(LM, GivesThePublishedValues) {
    std::pair<CString, char const*> const rows[] = {
        {"", "aad3b435b51404eeaad3b435b51404ee"},
        {"password", "e52cac67419a9a224a3b108f3fa6cb6d"},
        {"Password1", "e52cac67419a9a2238f10713b629b565"},
        {"SecREt01", "ff3750bcc2b22412c2265b23734e0dac"},
        {"abcdefghijklmn", "e0c510199cc66abd8c51ec214bebdea1"},
        {"12345678901234", "0182bd0bd4444bf8c03d5bba34975d50"},
        {"P@$$w0rd!{}~", "b0109442b77b46c77823f1e8eb8cfffc"},
        {"The quick \xE4\xFF", "a7b07f9948d8cc7fdaf3148b849d0a7b"},
        {"zzzzzzzyyyyyyy", "a5e6066de61c3e3536d67e522b5c6dff"},
        {"0Aa9Zz<>?/|=;:", "2a7a888f104e2d76ea70b5382520a0cc"},
    };
    char text[Util::LM::TEXT_SIZE];
    unsigned char digest[Util::LM::DIGEST_SIZE];
    for (auto const& [password, expected] : rows) {
        EXPECT_TRUE(Util::LM::TextDigest(password, text));
        EXPECT_STREQ(text, expected);
    }
    EXPECT_FALSE(Util::LM::TextDigest("123456789012345", text) ||
                 Util::LM::Digest("123456789012345", digest));
    EXPECT_STREQ(text, rows[9].second);
}

} // namespace
