#include "zeb/ssl/Ec.h"

#include "tests/ssl/Rig.h"

using Ssl::Ec::PrivateKey, Ssl::Ec::PublicKey;

namespace {

CBuffer const MESSAGE("message", 7);

struct Pair {
    PrivateKey secret;
    PublicKey open;
    Buffer signature;

    Pair() { EXPECT_EQ(Kinds({secret.Generate(), secret.GetPublicKey(open), secret.Sign(MESSAGE, signature)}), "DoneDoneDone"); }
};

std::string Asn1(auto const& key) {
    Buffer out;
    EXPECT_EQ(Kind(key.EncodeAsn1(out)), "Done");
    return Text(out);
}

TEST(Ec, AgreesWithTheProgramOpenssl) {
    ZEB_NEED_OPENSSL();
    Certificates openssl;
    Pair ours;
    String pem;
    ASSERT_EQ(Kind(ours.secret.EncodePem(pem)), "Done");
    openssl.Write("our.pem", pem.Cstr()), openssl.Write("our.der", Asn1(ours.secret)), openssl.Write("message", Text(MESSAGE));
    openssl.Write("our.sig", Text(ours.signature));
    std::string const pub = openssl.Run({"pkey", "-in", "our.pem", "-pubout"});
    EXPECT_EQ(openssl.Run({"ec", "-inform", "DER", "-in", "our.der", "-pubout"}), pub);
    std::string const ourPoint = openssl.Run({"ec", "-in", "our.pem", "-pubout", "-outform", "DER", "-conv_form", "compressed"});
    EXPECT_EQ(Asn1(ours.open), ourPoint.substr(ourPoint.size() - 33));
    openssl.Write("our.pub", pub);
    EXPECT_EQ(openssl.Run({"dgst", "-sha256", "-verify", "our.pub", "-signature", "our.sig", "message"}), "Verified OK\n");

    for (char const* const form : {"compressed", "uncompressed"}) {
        openssl.Run({"ecparam", "-genkey", "-name", "prime256v1", "-noout", "-out", "their.pem", "-conv_form", form});
        std::string const der = openssl.Run({"ec", "-in", "their.pem", "-outform", "DER", "-conv_form", form});
        std::string const point = openssl.Run({"ec", "-in", "their.pem", "-pubout", "-outform", "DER", "-conv_form", form});
        std::string const bytes = point.substr(point.size() - (*form == 'c' ? 33 : 65));
        std::string const signature = openssl.Run({"dgst", "-sha256", "-sign", "their.pem", "message"});
        PrivateKey secret;
        PublicKey derived, open;
        for (auto const& operation : std::initializer_list<std::function<ReturnT()>>{
                 [&] { return secret.DecodeAsn1(View(der)); }, [&] { return secret.GetPublicKey(derived); },
                 [&] { return open.DecodeAsn1(View(bytes)); }, [&] { return open.Verify(MESSAGE, View(signature)); }})
            ASSERT_EQ(Kind(operation), "Done");
        EXPECT_EQ(Asn1(secret) + Asn1(open).substr(1), der + bytes.substr(1, 32));
        EXPECT_EQ(Asn1(open), Asn1(derived));
    }
}

TEST(Ec, SharesAKeyByAssignment) {
    Pair pair, other;
    PrivateKey secret;
    PublicKey open;
    EXPECT_FALSE(secret.Exists() || open.Exists());
    for (Pair const* from : {&pair, &other, &other}) {
        EXPECT_EQ(Kinds({secret.Assign(from->secret), open.Assign(from->open)}), "DoneDone");
        EXPECT_EQ(Asn1(secret) + Asn1(open), Asn1(from->secret) + Asn1(from->open));
        EXPECT_EQ(Kinds({secret.Assign(secret), open.Assign(open)}), "DoneDone");
    }
    other.secret.Reset(), other.open.Reset();
    Buffer signature;
    EXPECT_EQ(Kinds({secret.Sign(MESSAGE, signature), open.Verify(MESSAGE, signature), secret.Assign(other.secret),
                     open.Assign(other.open)}),
              "DoneDoneDoneDone");
    EXPECT_FALSE(secret.Exists() || open.Exists());
    EXPECT_EQ(Asn1(pair.open).size(), 33u);
}

TEST(Ec, RefusesWhatIsNoKeyOfItsCurve) {
    Pair pair;
    std::string const der = Asn1(pair.secret), point = Asn1(pair.open);
    std::vector<std::pair<std::string, char const*>> secrets = {{"x", "88350190"}, {point, "88350190"}, {der + "x", "Done"}};
    for (unsigned long size = 0; size < der.size(); size += 12) secrets.emplace_back(der.substr(0, size), "88350190");
    unsigned long decoded = secrets.size() - 1;
    if (Certificates::WhyNot() == nullptr) {
        Certificates openssl;
        for (char const* const curve : {"secp384r1", "secp256k1", "prime239v1", "brainpoolP256t1"})
            secrets.emplace_back(openssl.Run({"ecparam", "-genkey", "-noout", "-outform", "DER", "-name", curve}), "8835019A");
        secrets.emplace_back(openssl.Run({"genrsa", "-traditional", "512"}), "88350190"), ++decoded;
    }
    LogCapture log;
    for (auto const& [data, code] : secrets) {
        EXPECT_EQ(Kind([&, &data = data] { return pair.secret.DecodeAsn1(View(data)); }), code) << data.size();
        EXPECT_EQ(Asn1(pair.secret), der); // as it was
    }
    EXPECT_EQ(log.Count("E Ssl::Ec::PrivateKey: unable to decode an ASN.1 sequence."), decoded);
    for (std::string const& data :
         {std::string(), std::string("x"), point.substr(1), point + "x", '\2' + std::string(32, '\xFF')}) {
        std::string const kind = Kind([&] { return pair.open.DecodeAsn1(View(data)); });
        EXPECT_EQ(kind + Asn1(pair.open), "Fail" + point);
    }
    EXPECT_TRUE(log.Has("E Ssl::Error: \"Ssl::Ec\": [" + std::to_string(getpid()) + "] (SSL error 0x"));
}

TEST(Ec, TellsAWrongSignatureFromAKeyThatIsMissing) {
    Pair pair, other;
    PublicKey none;
    std::string const good = Text(pair.signature), bad = good.substr(0, good.size() - 1) + static_cast<char>(good.back() ^ 1);
    std::tuple<PublicKey const*, char const*, std::string, char const*> const rows[] = {
        // clang-format off
        {&pair.open, "message", good, "Done"}, {&pair.open, "messagf", good, "8834019A"}, {&pair.open, "", good, "8834019A"},
        {&pair.open, "message", bad, "8834019A"}, {&pair.open, "message", "", "8834019A"}, {&none, "message", good, "Fail"},
        {&pair.open, "message", "x", "8834019A"}, {&other.open, "message", good, "8834019A"}};
    // clang-format on
    LogCapture log;
    for (auto const& row : rows) {
        auto const& [key, data, signature, code] = row;
        EXPECT_EQ(Kind([&row] { return std::get<0>(row)->Verify(CString(std::get<1>(row)), View(std::get<2>(row))); }), code)
            << data;
    }
    EXPECT_EQ(log.Count("E Ssl::Ec::PublicKey: wrong signature."), 6u);
    PrivateKey empty;
    Buffer out;
    String text;
    EXPECT_EQ(Kind([&] { return empty.Sign(MESSAGE, out); }) + Kind([&] { return empty.EncodeAsn1(out); }) +
                  Kind([&] { return empty.EncodePem(text); }) + Kind([&] { return empty.GetPublicKey(pair.open); }) +
                  Kind([&] { return none.EncodeAsn1(out); }),
              "FailFailFailFailFail");
    EXPECT_TRUE(out.Empty() && text.Empty() && pair.open.Exists());
}

// All operations on keys that exist, each with its results ahead of it and behind it.
struct Everything {
    Pair pair;
    PrivateKey secret;
    PublicKey open;
    Buffer der, point, signature;
    String pem;
    std::string const good = Asn1(pair.secret), goodPoint = Asn1(pair.open);

    std::vector<std::function<ReturnT()>> const all = {
        // clang-format off
        [this] { return secret.Generate(); }, [this] { return secret.Assign(pair.secret); },
        [this] { return pair.secret.EncodeAsn1(der); }, [this] { return secret.DecodeAsn1(View(good)); },
        [this] { return pair.secret.EncodePem(pem); }, [this] { return pair.secret.Sign(MESSAGE, signature); },
        [this] { return pair.secret.GetPublicKey(open); }, [this] { return open.Assign(pair.open); },
        [this] { return pair.open.EncodeAsn1(point); }, [this] { return open.DecodeAsn1(View(goodPoint)); },
        [this] { return pair.open.Verify(MESSAGE, pair.signature); }};
    // clang-format on
    bool Untouched() const {
        return !secret.Exists() && !open.Exists() && der.Empty() && point.Empty() && signature.Empty() && pem.Empty();
    }
};

TEST(Ec, LeavesEverythingAsItWasWhenMemoryEnds) {
    for (unsigned i = 0; i < Everything().all.size(); ++i) {
        SCOPED_TRACE(i);
        if (i == 1 || i == 7) continue; // shares, and takes no memory
        auto const body = [i](Heap& heap) {
            Everything keys;
            heap.Arm();
            ReturnT const code = keys.all[i]();
            heap.Disarm();
            EXPECT_EQ(ERR_peek_error(), 0u);
            EXPECT_TRUE(code.Succeeded() || (heap.Fired() && keys.Untouched()));
        };
        OpenSslHeap::Sweep(13, body);
        if (i == 2 || i == 4 || i == 5 || i == 6 || i == 8) ForEveryAllocation(body);
    }
}

TEST(Ec, TellsEachCallOfOpensslThatFails) {
    using C = SysCall;
    std::tuple<C, int, unsigned, char const*> const rows[] = {// the call, its result, the operation, what it says each time
                                                              // clang-format off
        {C::EVP_PKEY_set_utf8_string_param, 0, 0, "Fail "}, {C::EVP_PKEY_up_ref, 0, 1, "Fail "}, {C::BIO_new, 0, 4, "Oom "},
        {C::i2d_PrivateKey, -1, 2, "Fail "}, {C::i2d_PrivateKey, 0, 2, "Fail "}, {C::PEM_write_bio_PrivateKey, 0, 4, "Fail "},
        {C::BIO_ctrl, 0, 4, "Fail Fail Fail "}, {C::EVP_MD_CTX_new, 0, 5, "Oom "}, {C::EVP_DigestSignInit, 0, 5, "Fail "},
        {C::EVP_PKEY_get_size, 0, 5, "Fail "}, {C::EVP_DigestSign, 0, 5, "Fail "}, {C::EVP_PKEY_up_ref, 0, 7, "Fail "},
        {C::EVP_PKEY_get_octet_string_param, 0, 6, "Fail Fail "}, {C::EVP_PKEY_get_octet_string_param, 0, 8, "Fail Fail "},
        {C::EVP_MD_CTX_new, 0, 10, "Oom "}, {C::EVP_PKEY_CTX_new_from_name, 0, 9, "Oom "},
        {C::EVP_PKEY_fromdata_init, 0, 9, "Fail "}, {C::EVP_PKEY_fromdata, 0, 9, "Fail "},
        {C::EVP_DigestVerifyInit, 0, 10, "88340190 "}};
    // clang-format on
    for (auto const& [call, result, operation, expected] : rows) {
        LogCapture log;
        auto const body = [which = operation](auto const& arm) {
            Everything keys;
            arm();
            std::string const kind = Kind(keys.all[which]);
            EXPECT_TRUE(kind == "Done" || keys.Untouched()) << kind;
            return kind;
        };
        EXPECT_EQ(ToldByEveryCall(call, Calls::Return(result), "Done", body), expected) << operation;
    }
}

TEST(Ec, WipesAnEncodedKey) {
    Pair pair;
    std::string const der = Asn1(pair.secret);
    Heap heap;
    unsigned wiped = 0;
    heap.OnRelease([&](void const* data, std::size_t size) {
        EXPECT_EQ(std::string_view(static_cast<char const*>(data), size).find(der.substr(0, 40)), std::string::npos);
        wiped += size == der.size();
    });
    Buffer out;
    EXPECT_EQ(Kind(pair.secret.EncodeAsn1(out)), "Done");
    Buffer().Swap(out);
    EXPECT_EQ(wiped, 1u);
}

} // namespace
