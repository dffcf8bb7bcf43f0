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

#include <numeric>
#include <sstream>

namespace {

std::string Bytes(unsigned long size) {
    std::string text;
    for (unsigned i = 0; i < size; ++i) text += static_cast<char>(i * 151);
    return text;
}

// Of the pieces, or of the digests of the first 0 to 259 of those bytes if there are none.
template<class DigestT>
std::string Feed(FeedT const& pieces) {
    std::string text(DigestT::TEXT_SIZE + 1, '#');
    unsigned char out[DigestT::DIGEST_SIZE];
    DigestT digest, all;
    for (unsigned size = 0; pieces.empty() && size < 260; ++size, digest.Reset()) {
        digest.Update(CString(Bytes(size).data(), size));
        digest.Digest(out);
        all.Update(out, sizeof out);
    }
    for (std::string_view const piece : pieces) {
        all.Update(piece.data(), piece.size());
        all.TextDigest(text.data()); // which changes nothing
    }
    all.TextDigest(text.data());
    EXPECT_EQ(text.substr(DigestT::TEXT_SIZE - 1), std::string("\0#", 2));
    return text.c_str();
}

TEST(Digest, GivesThePublishedValuesHoweverTheTextIsCut) {
    std::tuple<std::string (*)(FeedT const&), std::string, std::string> const rows[] = {
        // clang-format off
        {Feed<Util::MD4>, "e33b4ddc9c38f2199c3e7b164fcc0536", "0f7e300d331378a24e59a8d3f162f192"},
        {Feed<Util::MD5>, "57edf4a22be3c955ac49da2e2107b67a", "3abd15bcc40944d812888bfc35898f8e"},
        {Feed<Util::SHA1>, "50abf5706a150990a08b2c5ea40fa0e585554732", "30948d60208002f974d0abbe687bb76a1a2438fb"},
        {Feed<Util::SHA256>, "f371bc4a311f2b009eef952dd83ca80e2b60026c8e935592d0f9c308453c813e",
         "f6674e142d2a62ce6c966e24eed5ba241045c943a206581e10c7e9d9f61b659b"},
        {Feed<Util::Whirlpool>, "466ef18babb0154d25b9d38a6414f5c08784372bccb204d6549c4afadb601429"
         "4d5bd8df2a6c44e538cd047b2681a51a2c60481e88c5a20b2c2a80cf3a9a083b", "a64ad5775c92157043ec86f3796f1a0d51fe28afddc5ba82"
         "b481b95cce3bce88bd9576bfc7066d0fac9b0e4e3eb4f36b27cdaae6aeaf621d0ba7294a8c20bebe"}};
    // clang-format on
    std::string const digits = "1234567890123456789012345678901234567890";
    for (auto const& [feed, ofEighty, ofAll] : rows) {
        ForEveryFeed(digits + digits,
                     [run = feed, &expected = ofEighty](FeedT const& pieces) { EXPECT_EQ(run(pieces), expected); });
        EXPECT_EQ(feed({"", digits, "", digits}), ofEighty);
        EXPECT_EQ(feed({}), ofAll);
    }
}

// The checks of the first 0 to 259 bytes of that text, each whole and cut in two ways, folded into one number.
unsigned long Fold(auto check) {
    unsigned long sum = 0;
    for (unsigned long size = 0; size < 260; ++size)
        for (unsigned long const step : {260, 1, 45}) {
            check.Reset();
            for (unsigned long at = 0; at < size; at += step) check.Update(Bytes(260).data() + at, std::min(step, size - at));
            sum = sum * 31 + check.Digest();
        }
    return sum;
}

TEST(Checksum, GivesTheValuesOfItsDefinitionHoweverTheTextIsCut) {
    unsigned table[256]; // of another polynomial
    std::iota(std::begin(table), std::end(table), 0);
    for (unsigned& entry : table)
        for (int bit = 0; bit < 8; ++bit) entry = entry >> 1 ^ (entry & 1) * 0x82F63B78;
    EXPECT_EQ(Fold(Util::CRC32(table)), 0x98FD09AE492D1AEF);
    EXPECT_EQ(Fold(Util::CRC32()), 0x342E1404738CC7C5);
    EXPECT_EQ(Fold(Util::CRC16()), 0xF454094EDD36E6A1);
    Util::CRC16 sums;
    std::string const full((3 << 20) + 1, '\xFF'); // as large sums as there are
    sums.Update(full.data(), full.size());
    EXPECT_EQ(sums.Digest(), 0xFF);
}

TEST(SipHash, GivesTheValuesOfItsDefinition) {
    unsigned long keyed = 0, fixed = 0;
    for (unsigned size = 0; size < 40; ++size) {
        std::string const text = Bytes(size);
        keyed = keyed * 31 + Util::SipHash::Digest4u8("0123456789abcde\xFF", CBuffer(text.data(), size));
        fixed = fixed * 31 + Util::SipHash::Digest2u4(CBuffer(text.data(), size));
    }
    EXPECT_EQ(keyed, 0x69080235A1EE22F0);
    EXPECT_EQ(fixed, 0x46FF3A0571600EFD);
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
        {"ab", 0, 0x9BBFD75F}};
    for (auto const& [data, seed, expected] : rows)
        EXPECT_EQ(Util::MurmurHash::Digest(CBuffer(data.data(), data.size()), seed), expected) << data;
    EXPECT_EQ(Util::MurmurHash::Digest(0x04030201, 0), 0x34A334B7);
}

TEST(LM, GivesThePublishedValues) {
    char text[Util::LM::TEXT_SIZE];
    std::istringstream rows(
        "- aad3b435b51404eeaad3b435b51404ee password e52cac67419a9a224a3b108f3fa6cb6d SecREt01 ff3750bcc2b22412c2265b23734e0dac "
        "Password1 e52cac67419a9a2238f10713b629b565 12345678901234 0182bd0bd4444bf8c03d5bba34975d50 "
        "P@$$w0rd!{}~ b0109442b77b46c77823f1e8eb8cfffc zzzzzzzyyyyyyy a5e6066de61c3e3536d67e522b5c6dff "
        "abcdefghijklmn e0c510199cc66abd8c51ec214bebdea1 The\xE4\xFF 15325720d3e32408aad3b435b51404ee "
        "0Aa9Zz<>?/|=;: 2a7a888f104e2d76ea70b5382520a0cc");
    for (std::string password, expected; rows >> password >> expected;) {
        EXPECT_TRUE(Util::LM::TextDigest(password == "-" ? "" : password.c_str(), text));
        EXPECT_EQ(text, expected);
    }
    EXPECT_FALSE(Util::LM::TextDigest("123456789012345", text));
    EXPECT_STREQ(text, "2a7a888f104e2d76ea70b5382520a0cc");
}

} // namespace
