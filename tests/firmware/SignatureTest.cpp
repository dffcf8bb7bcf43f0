#include "tests/firmware/Rig.h"

namespace {

using F = FirmwareImage;

struct FirmwareSignature : testing::Test, FirmwareSigners {
    using FirmwareSigners::Run;

    void SetUp() override { ZEB_NEED_OPENSSL(); }
    Ask Image(F const& firmware, unsigned revocation = 0) const {
        return {.file = Write("image", firmware.File()), .authorities = trusted.c_str(), .revocation = revocation};
    }
    std::string Said(F const& firmware, unsigned revocation = 0) const { return Image(firmware, revocation)(); }
};

TEST_F(FirmwareSignature, DescribesWhoSigned) {
    Ask ask = Image(F().Sign(*this, {"leaf", "inter"}), 1);
    Dumped out, unchecked;
    ask.Run(out);
    ASSERT_EQ(out.All() + " " + out.steps, "done 0 0x0A510100 5.02 none 0" + std::string(128, '1'));
    std::string fingerprint = Run({"x509", "-in", "leaf.pem", "-noout", "-fingerprint", "-sha256"});
    fingerprint = fingerprint.substr(fingerprint.find('=') + 1, 95);
    std::transform(fingerprint.begin(), fingerprint.end(), fingerprint.begin(), tolower);
    zeb_fw_crt_info const& info = *out.info;
    EXPECT_EQ(info.fingerprint + std::to_string(info.version) + info.serial + info.issuer + info.subject + info.keyAlgorithm,
              fingerprint + "20a:1b/CN=inter/CN=leafid-ecPublicKey");
    ask.authorities = nullptr;
    ask.Run(unchecked);
    EXPECT_EQ(unchecked.All() + " " + unchecked.steps, "done 3 0x0A510100 5.02 none 0" + std::string(64, '1'));
}

TEST_F(FirmwareSignature, IsTakenFromKeysOfManyKinds) {
    std::tuple<std::vector<std::string>, char const*, std::size_t, std::size_t, char> const rows[] = {
        // clang-format off
        {{"rsa:2048"}, "sha256", 0x10000, 0, '\0'}, {{"rsa:2048"}, "sha512", 0x20000, 31, '\0'},
        {{"ec", "-pkeyopt", "ec_paramgen_curve:P-384"}, "sha384", 0x80000, 0, '\0'},
        {Certificates::P256, "sha1", 0x80000, 7, '\xFF'},
        {{"ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-pkeyopt", "ec_param_enc:explicit"}, "sha256", 0x20000, 0, '\xFF'}};
    // clang-format on
    for (auto const& [key, digest, block, place, fill] : rows) {
        Make({.name = "key", .issuer = "inter", .extensions = F::LEAF, .key = key});
        F firmware(block, place, fill);
        EXPECT_EQ(Said(firmware.Sign(*this, {"key", "inter"}, digest)), "done 0") << digest;
        EXPECT_EQ(Said(firmware.Sign(*this, {"leaf", "inter"}, digest).Seal(*this, "inter")), "done 1") << digest;
    }
    Make({.name = "key", .issuer = "inter", .extensions = F::LEAF, .key = {"ed25519"}});
    F other;
    other.Sign(*this, {"leaf", "inter"}).tags[0x10002] = Read("key.pem") + Read("inter.pem");
    EXPECT_TRUE(Said(other).starts_with("932 unable to initialize a signing context"));
}

TEST_F(FirmwareSignature, IsRefusedForItsCertificates) {
    using R = Certificates::Request;
    auto const use = [](std::string const& lines) { return R{.name = "key", .issuer = "inter", .extensions = lines}; };
    auto const serial = [](std::string const& is) {
        return R{.name = "key", .issuer = "inter", .extensions = F::LEAF, .serial = is};
    };
    auto const time = [](char const* from, char const* to) {
        return R{.name = "key", .issuer = "inter", .extensions = F::LEAF, .to = to, .from = from};
    };
    std::string const tooLong = "0x01" + std::string(40, '0'), noSerial = "615 code signing certificate has an invalid serial ";
    std::string const taken = "941 unable to finish firmware verifying"; // none of them has signed
    std::vector<std::string> const own = {"key", "inter"};
    std::tuple<R, std::vector<std::string>, unsigned, std::string> const rows[] = {
        // clang-format off
        {time("", "20200101000000Z"), own, 1, taken}, {time("20480101000000Z", ""), own, 0, taken},
        {use(F::LEAF), {"inter", "key"}, 0, taken},
        {use("basicConstraints=CA:FALSE\nextendedKeyUsage=codeSigning"), own, 0,
         "619 unable to get a key usage extension from a builder certificate"},
        {use("keyUsage=keyEncipherment\nextendedKeyUsage=codeSigning"), own, 0,
         "620 a builder certificate is not intended to use for a digital signature"},
        {use("keyUsage=digitalSignature"), own, 0, "621 unable to get an extended key usage extension of a builder certificate"},
        {use("keyUsage=digitalSignature\nextendedKeyUsage=serverAuth"), own, 0,
         "622 a builder certificate is not intended to use for code signing"},
        {use("keyUsage=digitalSignature\nextendedKeyUsage=serverAuth,codeSigning"), own, 0, taken},
        {use("keyUsage=keyCertSign"), own, 0, "634 certificate with unsupported format in a builder certificate stream"},
        {use(F::LEAF), {"leaf", "key"}, 0, "635 multiple code signing certificates found in a builder certificate stream"},
        {use(Certificates::CA), own, 0, "627 no builder certificate found in a stream"}, {serial(tooLong), own, 0, taken},
        {use(F::LEAF), {"key"}, 0,
         "604 a builder certificate is invalid (error 20 at depth 0; unable to get local issuer certificate)"},
        {{.name = "key", .extensions = F::LEAF}, {"key"}, 0,
         "604 a builder certificate is invalid (error 18 at depth 0; self-signed certificate)"},
        {serial("0x00FF"), own, 1, taken}, {serial(tooLong), own, 1, noSerial + "(length: 21, negative: no)"},
        {serial("-5"), own, 1, noSerial + "(length: 1, negative: yes)"},
        {serial("0"), own, 1, noSerial + "(length: 1, negative: no)"},
        {{.name = "key", .issuer = "root", .extensions = Certificates::CA, .serial = "-7"}, {"leaf", "inter", "key"}, 1,
         "615 intermediate certificate has an invalid serial (length: 1, negative: yes)"}};
    // clang-format on
    std::string const unknown = "636 no certificate revocation list found for 0x7fffffff firmware ID";
    F firmware;
    for (auto const& [request, names, revocation, expected] : rows) {
        Make(request);
        firmware.tags[3] = "0x0A510100";
        EXPECT_EQ(Said(firmware.Certify(*this, names), revocation), expected);
        firmware.tags[3] = "7FFFFFFF";
        EXPECT_EQ(revocation != 0 && expected == taken ? Said(firmware, 1) : unknown, unknown);
    }
    firmware.Certify(*this, {"leaf", "inter"}).tags[0x10002].replace(60, 9, "!!!!!!!!!");
    EXPECT_TRUE(Said(firmware).starts_with("632 unable to read a builder certificate chain from a stream"));
    firmware.tags[0x10002] = "no certificate";
    EXPECT_EQ(Said(firmware), "627 no builder certificate found in a stream");
}

TEST_F(FirmwareSignature, IsRefusedForItsAuthorities) {
    Make({.name = "other", .extensions = Certificates::CA});
    std::string const root = Read("root.pem"), other = Read("other.pem"), bad = std::string(root).replace(60, 9, "!!!!!!!!!");
    auto const cut = [](std::string const& pem) { return pem.substr(0, pem.size() - 1); };
    constexpr char NONE[] = "109 no CA certificates found in a directory", UNREAD[] = "101 unable to read PATH/a PEM certificate";
    std::pair<std::map<std::string, std::string>, char const*> const rows[] = {
        // clang-format off
        {{{"a", other}, {"b", root + root}}, "done 0"}, {{{"a", other + cut(root)}, {"b", cut(other)}}, "done 0"}, {{}, NONE},
        {{{"a", "text"}, {"b", Run({"x509", "-in", "root.pem", "-outform", "DER"})}}, NONE}, {{{"a", bad}}, UNREAD},
        {{{"a", root + bad}}, UNREAD},
        {{{"a", other}}, "604 a builder certificate is invalid (error 20 at depth 1; unable to get local issuer certificate)"}};
    // clang-format on
    Ask ask = Image(F().Sign(*this, {"leaf", "inter"}));
    for (unsigned i = 0; auto const& [files, expected] : rows) {
        std::string const path = Folder("ca" + std::to_string(i++), files);
        ask.authorities = path.c_str();
        std::string said = ask();
        if (std::size_t const at = said.find(path); at != std::string::npos) said.replace(at, path.size(), "PATH");
        EXPECT_EQ(said, expected);
    }
    ask.authorities = "/no/where";
    EXPECT_EQ(ask(), "105 unable to open a CA certificates directory (no such file or directory)");
    zeb_fw_error error;
    Owned_<X509_STORE> store;
    Buffer pem;
    EXPECT_TRUE(pem.Assign(CBuffer("none", 4)) && !zeb_fw_make_store_(&error, pem, store) && !store);
    EXPECT_STREQ(error.message, "no CA certificates found");
}

TEST_F(FirmwareSignature, CoversEachByteOfTheImageAndNoneOfTheTrailer) {
    F firmware;
    Ask ask = Image(firmware.Sign(*this, {"leaf", "inter"}));
    ask.blockSize = 0x10000;
    std::string const good = firmware.File();
    auto const says = [&](std::size_t at, bool sealed) {
        std::string file = good;
        file[at] = static_cast<char>(file[at] ^ 0x10);
        if (sealed) file.replace(0x400038, 4, F::LittleWord(F::Crc(file.substr(0, 0x400000))));
        Write("image", file);
        return ask().substr(0, 6);
    };
    for (std::size_t at : {0UL, 0xFFF8UL, 0x20000UL, 0x3FFFF8UL})
        for (std::size_t const end = at + 8; at < end; ++at) EXPECT_EQ(says(at, true), "done 1") << at;
    for (std::size_t at = 0x10000; at < 0x10040; at += 3) EXPECT_EQ(says(at, true), "909 no") << at;
    for (std::size_t at = 0x400000; at < 0x40003C; at += at < 0x400008 ? 1 : 5)
        EXPECT_EQ(says(at, false), at < 0x400004 ? "907 a " : at < 0x400038 ? "done 0" : "908 a ") << at;
    firmware.tags[0x11] = "5.03";
    EXPECT_EQ(Said(firmware), "done 1");
}

TEST_F(FirmwareSignature, IsRefusedForItsField) {
    F firmware;
    std::string const good = firmware.Sign(*this, {"leaf", "inter"}).tags[0x10004];
    auto const sized = [&](unsigned size) { return F::Word(size) + good.substr(4); };
    auto const large = [](char const* size, char const* limit) {
        return std::string("934 signature size ") + size + " is too large, expected less than " + limit;
    };
    std::pair<std::string, std::string> const rows[] = {// clang-format off
        {good, "done 0"}, {good + "more", "bad"}, {sized(296), "bad"}, {sized(297), large("297", "296")}, {"", large("0", "0")},
        {sized(~0U), large("4294967295", "296")}, {"abc", large("0", "0")}, {F::Word(0), "bad"}, {sized(1), "bad"}};
    // clang-format on
    for (auto const& [field, expected] : rows) {
        firmware.tags[0x10004] = field;
        std::string const said = Said(firmware);
        bool const isBad = said == "done 1" || said.starts_with("941 unable to finish firmware verifying");
        EXPECT_EQ(isBad ? "bad" : said, expected);
    }
}

TEST_F(FirmwareSignature, TellsEachCallThatFails) {
    Ask ask = Image(F().Sign(*this, {"leaf", "inter"}), 1);
    ask.blockSize = 0x10000;
    using C = SysCall;
    auto const no = Calls::Return(0), io = Calls::Fail(EIO);
    std::tuple<C, Calls::Step, char const*> const rows[] = {// clang-format off
        {C::opendir, io, "105 "}, {C::readdir, io, "106 106 106 106 106 106 "}, {C::stat, io, "108 108 108 108 108 "},
        {C::BIO_new_file, no, "100 100 "}, {C::BIO_read_ex, no, "800 "}, {C::BIO_new_mem_buf, no, "714 925 "},
        {C::X509_STORE_new, no, "600 "}, {C::X509_STORE_add_cert, no, "503 "}, {C::X509_check_ca, Calls::Return(5), "634 634 "},
        {C::PEM_read_bio_X509, no, "101 101 101 502 502 632 632 632 "}, {C::X509_check_ca, Calls::Return(2), "634 634 "},
        {C::OPENSSL_sk_push, no, "633 "}, {C::X509_STORE_CTX_new, no, "602 "}, {C::X509_STORE_CTX_init, no, "603 "},
        {C::X509_verify_cert, no, "604 "}, {C::X509_get0_serialNumber, no, "614 614 614 "}, {C::X509_get0_pubkey, no, "608 "},
        {C::X509_NAME_oneline, no, "606 607 "}, {C::OBJ_nid2sn, no, "609 "}, {C::EVP_get_digestbyname, no, "919 611 "},
        {C::X509_digest, no, "612 "}, {C::X509_get_pubkey, no, "930 "}, {C::EVP_MD_CTX_new, no, "931 "},
        {C::EVP_DigestVerifyInit, no, "932 "}, {C::lseek, io, "905 905 "}, {C::zeb_tlv_table_set, Calls::Fail(EINVAL), "936 "},
        {C::zeb_tlv_table_img_offs_crc, no, "935 "}, {C::zeb_tlv_table_img_len, Calls::Return(8), "911 939 "},
        {C::EVP_DigestVerifyFinal, Calls::Return(-1), "941 "}, {C::close, io, "301 "},
        {C::X509_STORE_CTX_get_error, Calls::Return(7), "604 "}};
    // clang-format on
    auto const code = [&](auto const& arm) { return arm(), ask().substr(0, 3); };
    for (auto const& [call, step, expected] : rows) EXPECT_EQ(ToldByEveryCall(call, step, "don", code), expected);
    for (auto const& [call, step, ahead, expected] :
         {std::tuple(C::read, io, 128UL, "937"), {C::EVP_DigestVerifyUpdate, no, 66UL, "940"}}) {
        Calls calls;
        calls.Script(call, {Calls::Real()}, ahead), calls.Script(call, {step});
        EXPECT_EQ(ask().substr(0, 3), expected);
    }
}

TEST_F(FirmwareSignature, TellsThatMemoryRanOut) {
    Ask const ask = Image(F().Sign(*this, {"leaf", "inter"}), 1);
    std::set<std::string> codes;
    ForEveryAllocation([&](Heap& heap) {
        heap.Arm();
        std::string const said = ask();
        heap.Disarm();
        EXPECT_EQ(heap.Fired(), said != "done 0") << said;
        codes.insert(said.substr(0, 3));
        EXPECT_TRUE(said == "done 0" || said.ends_with("(cannot allocate memory)")) << said;
    });
    EXPECT_EQ(codes, (std::set<std::string>{"107", "605", "610", "613", "617", "734", "801", "902", "904", "918", "933", "don"}));
    std::string const certificates = Read("leaf.pem") + Read("inter.pem");
    OpenSslHeap::Sweep(23, [&](Heap& heap) {
        Buffer pem;
        Owned_<X509_STORE> store;
        zeb_fw_builder_ builder;
        zeb_fw_error error = {};
        zeb_fw_crt_info* info = nullptr;
        heap.Arm();
        bool const isGood =
            zeb_fw_collect_ca_(&error, trusted.c_str(), pem) && zeb_fw_make_store_(&error, pem, store) &&
            zeb_fw_sort_builder_(&error, {reinterpret_cast<unsigned char const*>(certificates.data()), certificates.size()},
                                 nullptr, builder) &&
            zeb_fw_verify_builder_(&error, store.Ptr(), builder) && zeb_fw_describe_(&error, builder.leaf.Ptr(), &info) &&
            zeb_fw_check_usage_(&error, builder.leaf.Ptr());
        heap.Disarm();
        EXPECT_TRUE(isGood ? error.code == 0 : heap.Fired() && error.code != 0);
        zeb_fw_free_crt_info(&info);
    });
}

TEST_F(FirmwareSignature, TakesNoMoreMemoryForALargeImage) {
    unsigned long most[2] = {};
    for (unsigned i = 0; i < 2; ++i) {
        F firmware(0x80000, 2);
        firmware.size = i == 0 ? 0x400000 : 0x2000000;
        Ask const ask = Image(firmware.Sign(*this, {"leaf", "inter"}));
        Heap heap;
        std::pair<Heap const&, unsigned long&> watch{heap, most[i]};
        auto const look = [](int, void* data) {
            auto& [own, peak] = *static_cast<decltype(watch)*>(data);
            peak = std::max(peak, own.LiveBytes());
        };
        zeb_fw_error error;
        unsigned status = 9;
        EXPECT_LT(OpenSslHeap::Peak([&] {
                      zeb_fw_dump(&error, ask.file.c_str(), 0, &status, 0, nullptr, 0, ask.authorities, nullptr, 0, look, &watch);
                  }),
                  200000);
        EXPECT_EQ(status, 0u);
        EXPECT_LT(most[i], 0x80000UL + 16384);
    }
    EXPECT_EQ(most[0], most[1]);
}

} // namespace
