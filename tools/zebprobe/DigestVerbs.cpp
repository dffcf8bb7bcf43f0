#include "tools/zebprobe/Probe.h"

#include "zeb/core/Base64.h"
#include "zeb/core/Buffer.h"
#include "zeb/core/String.h"
#include "zeb/util/CRC16.h"
#include "zeb/util/CRC32.h"
#include "zeb/util/LM.h"
#include "zeb/util/MD4.h"
#include "zeb/util/MD5.h"
#include "zeb/util/MurmurHash.h"
#include "zeb/util/SHA1.h"
#include "zeb/util/SHA256.h"
#include "zeb/util/Scramble.h"
#include "zeb/util/SipHash.h"
#include "zeb/util/Whirlpool.h"

#include <cstdio>

namespace Probe {

namespace {

CBuffer Bytes(std::string const& input) { return {input.data(), input.size()}; }

Result Number(unsigned long value, int digits) {
    char text[17];
    snprintf(text, sizeof text, "%0*lx", digits, value);
    return {ACCEPTED, text};
}

// Takes the input in pieces of `split` bytes.
template<class DigestT>
void Feed(DigestT& digest, std::string const& input, unsigned long split) {
    if (split == 0) split = input.size();
    for (unsigned long at = 0; at < input.size(); at += split)
        digest.Update(input.data() + at, std::min(split, input.size() - at));
}

template<class DigestT>
Result Hash(std::string const& input, unsigned long split) {
    char text[DigestT::TEXT_SIZE];
    DigestT digest;
    Feed(digest, input, split);
    digest.TextDigest(text);
    return {ACCEPTED, text};
}

template<class DigestT>
Result Check(std::string const& input, unsigned long split) {
    DigestT digest;
    Feed(digest, input, split);
    return Number(digest.Digest(), 2 * sizeof digest.Digest());
}

Result HashLm(std::string const& input, unsigned long) {
    char text[Util::LM::TEXT_SIZE];
    if (!Util::LM::TextDigest(Text(input), text)) return {REFUSED, ""};
    return {ACCEPTED, text};
}

char const* const ALGORITHMS[] = {"md4", "md5",   "sha1",  "sha256", "whirlpool",
                                  "lm",  "crc32", "crc16", nullptr};
using HashT = Result (*)(std::string const&, unsigned long);
HashT const HASHES[] = {Hash<Util::MD4>,       Hash<Util::MD5>, Hash<Util::SHA1>,   Hash<Util::SHA256>,
                        Hash<Util::Whirlpool>, HashLm,          Check<Util::CRC32>, Check<Util::CRC16>};

char const* CheckHash(Options const& options) {
    return IndexOf(options.words[0], ALGORITHMS) < 0
               ? "ALG is md4, md5, sha1, sha256, whirlpool, lm, crc32 or crc16"
               : nullptr;
}

Result RunHash(std::string const& input, Options const& options) {
    return HASHES[IndexOf(options.words[0], ALGORITHMS)](input, options.split);
}

char const* CheckKey(Options const& options) {
    return options.words[0].size() != Util::SipHash::KEY_SIZE ? "KEY has 16 characters" : nullptr;
}

Result RunSipHash48(std::string const& input, Options const& options) {
    return Number(Util::SipHash::Digest4u8(options.words[0].data(), Bytes(input)), 16);
}

Result RunSipHash24(std::string const& input, Options const&) {
    return Number(Util::SipHash::Digest2u4(Bytes(input)), 16);
}

char const* CheckSeed(Options const& options) {
    unsigned long seed;
    return ParseNumber(options.words[0], ~0U, seed) ? nullptr : "SEED is a number of 32 bits";
}

Result RunMurmur(std::string const& input, Options const& options) {
    unsigned long seed = 0;
    ParseNumber(options.words[0], ~0U, seed);
    return Number(Util::MurmurHash::Digest(Bytes(input), static_cast<unsigned>(seed)), 8);
}

char const* const WAYS[] = {"enc", "dec", nullptr};
char const* const FORMATS[] = {"standard", "url", nullptr}; // by Base64::FormatT

char const* CheckWay(Options const& options) {
    return IndexOf(options.words[0], WAYS) < 0 ? "the first word is 'enc' or 'dec'" : nullptr;
}

char const* CheckBase64(Options const& options) {
    return IndexOf(options.words[1], FORMATS) < 0 ? "FORMAT is 'standard' or 'url'" : CheckWay(options);
}

Result RunBase64(std::string const& input, Options const& options) {
    auto const format = static_cast<Base64::FormatT>(IndexOf(options.words[1], FORMATS));
    String text;
    Buffer data;
    if (options.words[0] == "enc") {
        if (Base64::EncodeToString(Bytes(input), text, format).Failed()) return {REFUSED, ""};
        return {ACCEPTED, std::string(View(text))};
    }
    if (Base64::DecodeString(Text(input), data, format).Failed()) return {REFUSED, ""};
    return {ACCEPTED, Quoted({static_cast<char const*>(data.Ptr()), data.Size()})};
}

Result RunScramble(std::string const& input, Options const& options) {
    String text;
    bool const isEncoding = options.words[0] == "enc";
    if (isEncoding ? !Util::Scramble::Encode(Text(input), text) : !Util::Scramble::Decode(Text(input), text))
        return {REFUSED, ""};
    return {ACCEPTED, isEncoding ? std::string(View(text)) : Quoted(View(text))};
}

} // namespace

VerbsT const& DigestVerbs() {
    static VerbsT const verbs = {
        {"hash", "ALG", "a digest or checksum in hexadecimal", CheckHash, RunHash},
        {"siphash48", "KEY", "SipHash-4-8 by a key of 16 characters", CheckKey, RunSipHash48},
        {"siphash24", "", "SipHash-2-4 by the fixed key", CheckNothing, RunSipHash24},
        {"murmur", "SEED", "the hash of the filters", CheckSeed, RunMurmur},
        {"b64", "enc|dec FORMAT", "base64, 'standard' or 'url'", CheckBase64, RunBase64},
        {"scramble", "enc|dec", "the form of a password in configurations", CheckWay, RunScramble},
    };
    return verbs;
}

} // namespace Probe
