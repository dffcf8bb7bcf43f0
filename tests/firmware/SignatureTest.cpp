#include "tests/firmware/Rig.h"

namespace {

constexpr char LEAF[] = "basicConstraints=CA:FALSE\nkeyUsage=digitalSignature\nextendedKeyUsage=codeSigning";

// Authorities, leaves of all kinds, and folders of authorities.
struct Chain : Certificates {
    TempDir folder;
    std::string trusted = folder / "trusted";

    Chain() {
        Make({.name = "root", .extensions = CA});
        Make({.name = "inter", .issuer = "root", .extensions = CA, .serial = "0x0102030405060708090a0b0c0d0e0f1011121314"});
        Make({.name = "leaf", .issuer = "inter", .extensions = LEAF, .serial = "0x0A1B"});
        Folder("trusted", {{"root.pem", Read("root.pem")}, {"note", "no certificate"}});
    }

    std::string Folder(std::string const& name, std::map<std::string, std::string> const& files) const {
        mkdir((folder / name).c_str(), 0700);
        mkdir((folder / name + "/folder").c_str(), 0700);
        for (auto const& [file, text] : files) folder.Write(name + "/" + file, text);
        return folder / name;
    }

    Ask Image(Firmware const& firmware, unsigned revocation = 0) const {
        return {.file = folder.Write("image", firmware.File()), .authorities = trusted.c_str(), .revocation = revocation};
    }
    std::string operator()(Firmware const& firmware, unsigned revocation = 0) const { return Image(firmware, revocation)(); }
};

TEST(FirmwareSignature, DescribesWhoSigned) {
    ZEB_NEED_OPENSSL();
    Chain const chain;
    Ask ask = chain.Image(Firmware().Sign(chain, {"leaf", "inter"}), 1);
    Dumped out;
    ask.Run(out);
    ASSERT_EQ(out.Said() + std::to_string(out.status), "0 0");
    EXPECT_EQ(out.steps, "0x1 1x128 ");
    EXPECT_EQ(out.Tag(1), "5.02");
    std::string fingerprint = chain.Run({"x509", "-in", "leaf.pem", "-noout", "-fingerprint", "-sha256"});
    fingerprint = fingerprint.substr(fingerprint.find('=') + 1, 95);
    std::transform(fingerprint.begin(), fingerprint.end(), fingerprint.begin(), tolower);
    EXPECT_EQ(std::string(out.info->fingerprint), fingerprint);
    EXPECT_EQ(std::to_string(out.info->version) + out.info->serial + out.info->issuer + out.info->subject +
                  out.info->keyAlgorithm,
              "20a:1b/CN=inter/CN=leafid-ecPublicKey");
    ask.authorities = nullptr;
    Dumped unchecked;
    ask.Run(unchecked);
    EXPECT_EQ(unchecked.Said() + std::to_string(unchecked.status) + unchecked.Tag(1) + unchecked.steps, "0 35.020x1 1x64 ");
}

TEST(FirmwareSignature, IsTakenFromKeysOfManyKinds) {
    ZEB_NEED_OPENSSL();
    Chain const chain;
    std::tuple<std::vector<std::string>, char const*, std::size_t> const rows[] = {
        // clang-format off
        {{"rsa:2048"}, "sha256", 0x10000}, {{"rsa:2048"}, "sha512", 0x20000}, {{"ec", "-pkeyopt", "ec_paramgen_curve:P-384"},
         "sha384", 0x80000},
        {Certificates::P256, "sha1", 0x80000},
        {{"ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-pkeyopt", "ec_param_enc:explicit"}, "sha256", 0x20000}};
    // clang-format on
    std::size_t number = 0;
    for (auto const& [key, digest, block] : rows) {
        chain.Make({.name = "key", .issuer = "inter", .extensions = LEAF, .key = key});
        Firmware firmware(block, number % 2 == 0 ? 0 : 0x400000 / block - 1, number < 3 ? '\0' : '\xFF');
        EXPECT_EQ(chain(firmware.Sign(chain, {"key", "inter"}, digest)), "done 0") << digest;
        EXPECT_EQ(chain(firmware.Sign(chain, {"leaf", "inter"}, digest).Seal(chain, "inter")), "done 1") << digest;
        ++number;
    }
    chain.Make({.name = "key", .issuer = "inter", .extensions = LEAF, .key = {"ed25519"}});
    Firmware signedByOther;
    signedByOther.Sign(chain, {"leaf", "inter"});
    signedByOther.tags[0x10002] = chain.Read("key.pem") + chain.Read("inter.pem");
    EXPECT_TRUE(chain(signedByOther).starts_with("932 unable to initialize a signing context"));
}

TEST(FirmwareSignature, IsRefusedForItsCertificates) {
    ZEB_NEED_OPENSSL();
    Chain const chain;
    constexpr char TAKEN[] = "941 unable to finish firmware verifying"; // none of them has signed
    using R = Certificates::Request;
    auto const usage = [](std::string const& lines) { return R{.name = "key", .issuer = "inter", .extensions = lines}; };
    auto const serial = [](char const* number) {
        return R{.name = "key", .issuer = "inter", .extensions = LEAF, .serial = number};
    };
    std::string const tooLong = "0x01" + std::string(40, '0');
    R const expired{.name = "key", .issuer = "inter", .extensions = LEAF, .to = "20200101000000Z"},
        early{.name = "key", .issuer = "inter", .extensions = LEAF, .from = "20480101000000Z"};
    std::tuple<R, std::vector<std::string>, unsigned, char const*> const rows[] = {
        // clang-format off
        {expired, {"key", "inter"}, 1, TAKEN}, {early, {"key", "inter"}, 0, TAKEN}, {usage(LEAF), {"inter", "key"}, 0, TAKEN},
        {usage("basicConstraints=CA:FALSE\nextendedKeyUsage=codeSigning"), {"key", "inter"}, 0,
         "619 unable to get a key usage extension from a builder certificate"},
        {usage("keyUsage=keyEncipherment\nextendedKeyUsage=codeSigning"), {"key", "inter"}, 0,
         "620 a builder certificate is not intended to use for a digital signature"},
        {usage("keyUsage=digitalSignature"), {"key", "inter"}, 0,
         "621 unable to get an extended key usage extension of a builder certificate"},
        {usage("keyUsage=digitalSignature\nextendedKeyUsage=serverAuth"), {"key", "inter"}, 0,
         "622 a builder certificate is not intended to use for code signing"},
        {usage("keyUsage=digitalSignature\nextendedKeyUsage=serverAuth,codeSigning"), {"key", "inter"}, 0, TAKEN},
        {usage("keyUsage=keyCertSign"), {"key", "inter"}, 0,
         "634 certificate with unsupported format in a builder certificate stream"},
        {usage(LEAF), {"leaf", "key"}, 0, "635 multiple code signing certificates found in a builder certificate stream"},
        {usage(Certificates::CA), {"key", "inter"}, 0, "627 no builder certificate found in a stream"},
        {usage(LEAF), {"key"}, 0,
         "604 a builder certificate is invalid (error 20 at depth 0; unable to get local issuer certificate)"},
        {{.name = "key", .extensions = LEAF}, {"key"}, 0,
         "604 a builder certificate is invalid (error 18 at depth 0; self-signed certificate)"},
        {serial(tooLong.c_str()), {"key", "inter"}, 0, TAKEN}, {serial("0x00FF"), {"key", "inter"}, 1, TAKEN},
        {serial(tooLong.c_str()), {"key", "inter"}, 1,
         "615 code signing certificate has an invalid serial (length: 21, negative: no)"},
        {serial("-5"), {"key", "inter"}, 1, "615 code signing certificate has an invalid serial (length: 1, negative: yes)"},
        {serial("0"), {"key", "inter"}, 1, "615 code signing certificate has an invalid serial (length: 1, negative: no)"},
        {{.name = "key", .issuer = "root", .extensions = Certificates::CA, .serial = "-7"}, {"leaf", "inter", "key"}, 1,
         "615 intermediate certificate has an invalid serial (length: 1, negative: yes)"}};
    // clang-format on
    for (auto const& [request, names, revocation, expected] : rows) {
        chain.Make(request);
        Firmware firmware;
        EXPECT_EQ(chain(firmware.Certify(chain, names), revocation), expected);
        firmware.tags[3] = "7FFFFFFF";
        std::string const unknown = "636 no certificate revocation list found for 0x7fffffff firmware ID";
        EXPECT_EQ(revocation != 0 && *expected == '9' ? chain(firmware, 1) : unknown, unknown);
    }
    Firmware broken;
    broken.Certify(chain, {"leaf", "inter"});
    broken.tags[0x10002].replace(60, 9, "!!!!!!!!!");
    EXPECT_TRUE(chain(broken).starts_with("632 unable to read a builder certificate chain from a stream"));
    broken.tags[0x10002] = "no certificate";
    EXPECT_EQ(chain(broken), "627 no builder certificate found in a stream");
}

TEST(FirmwareSignature, IsRefusedForItsAuthorities) {
    ZEB_NEED_OPENSSL();
    Chain chain;
    chain.Make({.name = "other", .extensions = Certificates::CA});
    std::string const root = chain.Read("root.pem"), other = chain.Read("other.pem"),
                      bad = std::string(root).replace(60, 9, "!!!!!!!!!");
    std::string const binary = chain.Run({"x509", "-in", "root.pem", "-outform", "DER"});
    std::pair<std::map<std::string, std::string>, char const*> const rows[] = {
        // clang-format off
        {{{"a", other}, {"b", root + root}}, "done 0"}, {{{"a", other + root.substr(0, root.size() - 1)}, {"b", other.substr(0,
         other.size() - 1)}}, "done 0"},
        {{}, "109 no CA certificates found in a directory"}, {{{"a", "text"}, {"b", binary}},
         "109 no CA certificates found in a directory"},
        {{{"a", bad}}, "101 unable to read PATH/a PEM certificate"}, {{{"a", root + bad}},
         "101 unable to read PATH/a PEM certificate"},
        {{{"a", other}}, "604 a builder certificate is invalid (error 20 at depth 1; unable to get local issuer certificate)"}};
    // clang-format on
    Ask const ask = chain.Image(Firmware().Sign(chain, {"leaf", "inter"}));
    unsigned number = 0;
    for (auto const& [files, expected] : rows) {
        Ask asked = ask;
        std::string const path = chain.Folder("ca" + std::to_string(number++), files);
        asked.authorities = path.c_str();
        std::string said = asked();
        if (std::size_t const at = said.find(path); at != std::string::npos) said.replace(at, path.size(), "PATH");
        EXPECT_EQ(said, expected);
    }
    Ask nowhere = ask;
    nowhere.authorities = "/no/where";
    EXPECT_EQ(nowhere(), "105 unable to open a CA certificates directory (no such file or directory)");
    zeb_fw_error error;
    Owned_<X509_STORE> store;
    Buffer pem;
    EXPECT_TRUE(pem.Assign(CBuffer("none", 4)) && !zeb_fw_make_store_(&error, pem, store) && !store);
    EXPECT_STREQ(error.message, "no CA certificates found");
}

TEST(FirmwareSignature, CoversEachByteOfTheImageAndNoneOfTheTrailer) {
    ZEB_NEED_OPENSSL();
    Chain const chain;
    Firmware firmware;
    firmware.Sign(chain, {"leaf", "inter"});
    std::string const good = firmware.File(), raw = good.substr(0, 0x400000);
    auto const says = [&](std::size_t at, bool sealed) {
        std::string file = good;
        file[at] = static_cast<char>(file[at] ^ 0x10);
        if (sealed) file.replace(0x400038, 4, LittleWord(SlowCrc(file.substr(0, 0x400000))));
        Ask ask = chain.Image(firmware);
        ask.blockSize = 0x10000;
        chain.folder.Write("image", file);
        return ask().substr(0, 6);
    };
    for (std::size_t at : {0UL, 0xFFF8UL, 0x20000UL, 0x3FFFF8UL})
        for (std::size_t const end = at + 8; at < end; ++at) EXPECT_EQ(says(at, true), "done 1") << at;
    for (std::size_t at = 0x10000; at < 0x10040; at += 3) EXPECT_EQ(says(at, true), "909 no") << at;
    for (std::size_t at = 0x400000; at < 0x40003C; at += at < 0x400008 ? 1 : 5)
        EXPECT_EQ(says(at, false), at < 0x400004 ? "907 a " : at < 0x400038 ? "done 0" : "908 a ") << at;
    firmware.tags[0x11] = "5.03";
    EXPECT_EQ(chain(firmware), "done 1");
}

TEST(FirmwareSignature, IsRefusedForItsField) {
    ZEB_NEED_OPENSSL();
    Chain const chain;
    Firmware firmware;
    firmware.Sign(chain, {"leaf", "inter"});
    std::string const good = firmware.tags[0x10004];
    std::pair<std::string, char const*> const rows[] = {
        // clang-format off
        {good, "done 0"}, {good + "more", "done 1"}, {Word(296) + good.substr(4), "done 1"}, {Word(297) + good.substr(4),
         "934 signature size 297 is too large, expected less than 296"},
        {Word(~0U) + good.substr(4), "934 signature size 4294967295 is too large, expected less than 296"}, {"",
         "934 signature size 0 is too large, expected less than 0"},
        {"abc", "934 signature size 0 is too large, expected less than 0"}, {Word(0), "done 1"}, {Word(1) + good.substr(4),
         "done 1"}};
    // clang-format on
    for (auto const& [field, expected] : rows) {
        firmware.tags[0x10004] = field;
        std::string const said = chain(firmware);
        EXPECT_TRUE(said == expected ||
                    (*expected == 'd' && field != good && said.starts_with("941 unable to finish firmware verifying")))
            << said << expected;
    }
}

TEST(FirmwareSignature, TellsEachCallThatFails) {
    ZEB_NEED_OPENSSL();
    Chain const chain;
    Ask ask = chain.Image(Firmware().Sign(chain, {"leaf", "inter"}), 1);
    ask.blockSize = 0x10000;
    using C = SysCall;
    auto const no = Calls::Return(0), io = Calls::Fail(EIO);
    std::tuple<C, Calls::Step, char const*> const rows[] = {// clang-format off
        {C::opendir, io, "105 "}, {C::readdir, io, "106 106 106 106 106 106 "}, {C::stat, io, "108 108 108 108 108 "},
         {C::BIO_new_file, no, "100 100 "},
        {C::BIO_read_ex, no, "800 "}, {C::BIO_new_mem_buf, no, "714 925 "}, {C::X509_STORE_new, no, "600 "},
         {C::X509_STORE_add_cert, no, "503 "},
        {C::PEM_read_bio_X509, no, "101 101 101 502 502 632 632 632 "}, {C::X509_check_ca, Calls::Return(5), "634 634 "},
         {C::X509_check_ca, Calls::Return(2), "634 634 "},
        {C::OPENSSL_sk_push, no, "633 "}, {C::X509_STORE_CTX_new, no, "602 "}, {C::X509_STORE_CTX_init, no, "603 "},
         {C::X509_verify_cert, no, "604 "},
        {C::X509_get0_serialNumber, no, "614 614 614 "}, {C::X509_NAME_oneline, no, "606 607 "}, {C::X509_get0_pubkey, no,
         "608 "}, {C::OBJ_nid2sn, no, "609 "},
        {C::EVP_get_digestbyname, no, "919 611 "}, {C::X509_digest, no, "612 "}, {C::X509_get_pubkey, no, "930 "},
         {C::EVP_MD_CTX_new, no, "931 "},
        {C::EVP_DigestVerifyInit, no, "932 "}, {C::lseek, io, "905 905 "}, {C::zeb_tlv_table_set, Calls::Fail(EINVAL), "936 "},
        {C::zeb_tlv_table_img_offs_crc, no, "935 "}, {C::zeb_tlv_table_img_len, Calls::Return(8), "911 939 "},
         {C::EVP_DigestVerifyFinal, Calls::Return(-1), "941 "},
        {C::close, io, "301 "}, {C::X509_STORE_CTX_get_error, Calls::Return(7), "604 "}};
    // clang-format on
    std::set<std::string> seen;
    for (auto const& [call, step, expected] : rows) {
        std::string codes;
        ForEveryCall(call, step, [&](auto const& arm) {
            arm();
            std::string const said = ask();
            if (said != "done 0") codes += said.substr(0, 4);
            return said != "done 0";
        });
        EXPECT_EQ(codes, expected);
    }
    for (auto const& [call, count, code] : {std::tuple(C::read, 128U, "937"), {C::EVP_DigestVerifyUpdate, 67U, "940"}}) {
        std::string last;
        Calls calls;
        calls.Script(call, {Calls::Real()}, count - 1 + (call == C::read ? 1 : 0)),
            calls.Script(call, {call == C::read ? io : no});
        EXPECT_EQ(ask().substr(0, 3), code);
    }
}

TEST(FirmwareSignature, TellsThatMemoryRanOut) {
    ZEB_NEED_OPENSSL();
    Chain const chain;
    Ask ask = chain.Image(Firmware().Sign(chain, {"leaf", "inter"}), 1);
    std::set<std::string> codes;
    ForEveryAllocation([&](Heap& heap) {
        heap.Arm();
        std::string const said = ask();
        heap.Disarm();
        EXPECT_EQ(heap.Fired(), said != "done 0") << said;
        codes.insert(said.substr(0, 3));
        EXPECT_TRUE(said == "done 0" || said.ends_with("(cannot allocate memory)")) << said;
    });
    std::string all;
    for (std::string const& code : codes) all += code + " ";
    EXPECT_EQ(all, "107 605 610 613 617 734 801 902 904 918 933 don ");
    std::string const certificates = chain.Read("leaf.pem") + chain.Read("inter.pem");
    OpenSslHeap::Sweep(23, [&](Heap& heap) {
        Buffer pem;
        Owned_<X509_STORE> store;
        zeb_fw_builder_ builder;
        zeb_fw_error error = {};
        zeb_fw_crt_info* info = nullptr;
        heap.Arm();
        bool const isGood =
            zeb_fw_collect_ca_(&error, chain.trusted.c_str(), pem) && zeb_fw_make_store_(&error, pem, store) &&
            zeb_fw_sort_builder_(&error, {reinterpret_cast<unsigned char const*>(certificates.data()), certificates.size()},
                                 nullptr, builder) &&
            zeb_fw_verify_builder_(&error, store.Ptr(), builder) && zeb_fw_describe_(&error, builder.leaf.Ptr(), &info) &&
            zeb_fw_check_usage_(&error, builder.leaf.Ptr());
        heap.Disarm();
        EXPECT_TRUE(isGood ? error.code == 0 : heap.Fired() && error.code != 0);
        zeb_fw_free_crt_info(&info);
    });
}

TEST(FirmwareSignature, TakesNoMoreMemoryForALargeImage) {
    ZEB_NEED_OPENSSL();
    Chain const chain;
    unsigned long most[2] = {};
    for (unsigned i = 0; i < 2; ++i) {
        Firmware firmware(0x80000, 2);
        firmware.size = i == 0 ? 0x400000 : 0x2000000;
        Ask const ask = chain.Image(firmware.Sign(chain, {"leaf", "inter"}));
        Heap heap;
        struct Watch {
            Heap const& heap;
            unsigned long& most;
        } watch{heap, most[i]};
        zeb_fw_error error;
        unsigned status;
        auto const look = [](int, void* data) {
            Watch& at = *static_cast<Watch*>(data);
            at.most = std::max(at.most, at.heap.LiveBytes());
        };
        long const openSsl = OpenSslHeap::Peak([&] {
            EXPECT_TRUE(
                zeb_fw_dump(&error, ask.file.c_str(), 0, &status, 0, nullptr, 0, ask.authorities, nullptr, 0, look, &watch));
        });
        EXPECT_EQ(status, 0u);
        EXPECT_LT(openSsl, 200000);
        EXPECT_LT(most[i], 0x80000UL + 16384);
    }
    EXPECT_EQ(most[0], most[1]);
}

} // namespace
