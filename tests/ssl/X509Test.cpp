#include "zeb/ssl/X509.h"

#include "tests/ssl/Rig.h"

#include <openssl/pem.h>

namespace {

struct SslX509 : testing::Test, Certificates {
    void SetUp() override {
        ZEB_NEED_OPENSSL();
        Request const requests[] = {// clang-format off
        {.name = "root", .extensions = CA}, {.name = "other", .extensions = CA, .key = {"ed25519"}},
        {.name = "twin", .extensions = CA}, {.name = "leaf", .issuer = "root"},
        {.name = "old", .issuer = "root", .to = "20200101000000Z"},
        {.name = "early", .issuer = "root", .from = "20480101000000Z"}};
        // clang-format on
        for (Request const& request : requests) Make(request);
        Write("text", "no certificate"), Write("empty", "");
    }

    ReturnT Ask(char const* operation, std::string const& a, std::string const& b, bool& match) const {
        std::string const first = Read(a), second = Read(b);
        if (*operation == 'm') return Ssl::X509::MatchPublicKey("Us", View(first), View(second), match);
        if (*operation == 's') return Ssl::X509::VerifySignature("Us", View(first), View(second));
        return Ssl::X509::VerifyChain("Us", View(first), View(second));
    }
};

TEST_F(SslX509, AnswersWhoMadeAndWhoSignedACertificate) {
    std::tuple<char const*, char const*, char const*, char const*> const rows[] = {
        // clang-format off
        {"match", "leaf.csr", "leaf.pem", "Done 1"}, {"match", "root.csr", "leaf.pem", "Done 0"},
        {"match", "other.csr", "leaf.pem", "Done 0"}, {"match", "leaf.csr", "text", "Oom 2"},
        {"match", "leaf.pem", "leaf.pem", "Oom 2"}, {"match", "empty", "leaf.pem", "Oom 2"},
        {"signature", "root.pem", "leaf.pem", "Done 2"}, {"signature", "root.pem", "old.pem", "Done 2"},
        {"signature", "root.pem", "root.pem", "Done 2"}, {"signature", "twin.pem", "leaf.pem", "Fail 2"},
        {"signature", "other.pem", "leaf.pem", "Fail 2"}, {"signature", "text", "leaf.pem", "Oom 2"},
        {"signature", "root.pem", "leaf.csr", "Oom 2"}, {"chain", "empty", "leaf.pem", "Oom 2"},
        {"chain", "root.pem", "empty", "Oom 2"}, {"chain", "root.pem", "root.pem", "Done 2"},
        {"chain", "root.pem", "leaf.pem", "Done 2"}, {"chain", "root.pem", "old.pem", "Fail 2"},
        {"chain", "root.pem", "early.pem", "Fail 2"}, {"chain", "twin.pem", "leaf.pem", "Fail 2"}};
    // clang-format on
    LogCapture log;
    for (auto const& [operation, a, b, expected] : rows) {
        bool match = *expected == 'D' && strchr(expected, '1') == nullptr; // the answer is another
        std::string const kind = Kind([&, &operation = operation, &a = a, &b = b] { return Ask(operation, a, b, match); });
        EXPECT_EQ(kind + (kind == "Done" && *operation == 'm' ? match ? " 1" : " 0" : " 2"), expected) << operation << a << b;
    }
    for (char const* const line : {"C Us: system failed [0xcffd****], certificate has expired.", "E Ssl::Error: \"Us\": [",
                                   "C Us: system failed [0xcffd****], certificate is not yet valid.",
                                   "C Us: out of memory [0xcffe****], unable to read a certificate."})
        EXPECT_TRUE(log.Has(line)) << line;
}

TEST_F(SslX509, LeavesTheCertificateWithItsOwner) {
    AutoPtr<x509_st, Ssl::X509::X509Deleter> certificate;
    std::string const root = Read("root.pem"), leaf = Read("leaf.pem");
    auto const verify = [&] { return Ssl::X509::VerifyChain("Us", View(root), certificate); };
    EXPECT_EQ(Kind(verify), "Fail");
    BIO* const stream = BIO_new_mem_buf(leaf.data(), static_cast<int>(leaf.size()));
    certificate.Reset(PEM_read_bio_X509(stream, nullptr, nullptr, nullptr));
    BIO_free(stream);
    EXPECT_EQ(Kind(verify) + Kind(verify), "DoneDone");
    EXPECT_TRUE(certificate);
}

TEST_F(SslX509, TellsEveryCallAndEveryAllocationThatFails) {
    using C = SysCall;
    std::tuple<C, int, char const*, char const*> const rows[] = {
        // clang-format off
        {C::BIO_new_mem_buf, 0, "match", "Oom Oom "}, {C::X509_REQ_get0_pubkey, 0, "match", "Oom "},
        {C::EVP_PKEY_eq, -2, "match", "Fail "}, {C::X509_get0_pubkey, 0, "match", "Oom "},
        {C::X509_get0_pubkey, 0, "signature", "Fail "}, {C::X509_STORE_new, 0, "chain", "Oom "},
        {C::X509_STORE_add_cert, 0, "chain", "Fail "}, {C::X509_STORE_CTX_new, 0, "chain", "Oom "},
        {C::X509_STORE_CTX_init, 0, "chain", "Fail "}};
    // clang-format on
    bool match = true;
    auto const ask = [&](char const* what) { return Ask(what, *what == 'm' ? "leaf.csr" : "root.pem", "leaf.pem", match); };
    for (auto const& [call, result, operation, expected] : rows) {
        auto const body = [&, what = operation](auto const& arm) { return arm(), Kind([&] { return ask(what); }); };
        EXPECT_EQ(ToldByEveryCall(call, Calls::Return(result), "Done", body), expected) << operation;
    }
    Calls calls;
    calls.Script(SysCall::EVP_PKEY_eq, {Calls::Return(-1)}); // keys of two kinds
    EXPECT_EQ(Kind(ask("match")), "Done");
    EXPECT_FALSE(match);
    for (char const* const operation : {"match", "signature", "chain"})
        OpenSslHeap::Sweep(61, [&](Heap& heap) {
            heap.Arm();
            ReturnT const code = ask(operation);
            heap.Disarm();
            EXPECT_EQ(ERR_peek_error(), 0u);
            EXPECT_TRUE(code.Succeeded() || heap.Fired());
        });
}

} // namespace
