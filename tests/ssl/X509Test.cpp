#include "zeb/ssl/X509.h"

#include "tests/ssl/Rig.h"

#include <openssl/pem.h>

using Ssl::X509;

namespace {

struct Chain : Certificates {
    Chain() {
        Make({.name = "root", .extensions = CA});
        Make({.name = "other", .extensions = CA, .key = {"ed25519"}});
        Make({.name = "twin", .extensions = CA});
        Make({.name = "leaf", .issuer = "root"});
        Make({.name = "old", .issuer = "root", .to = "20200101000000Z"});
        Make({.name = "early", .issuer = "root", .from = "20480101000000Z"});
        Make({.name = "plain", .extensions = "basicConstraints=CA:FALSE"});
        Write("text", "no certificate");
        Write("empty", "");
    }

    ReturnT Ask(char const* operation, std::string const& a, std::string const& b, bool& match) const {
        std::string const first = Read(a), second = Read(b);
        if (*operation == 'm') return X509::MatchPublicKey("Us", View(first), View(second), match);
        if (*operation == 's') return X509::VerifySignature("Us", View(first), View(second));
        return X509::VerifyChain("Us", View(first), View(second));
    }
};

TEST(X509, AnswersWhoMadeAndWhoSignedACertificate) {
    ZEB_NEED_OPENSSL();
    Chain const chain;
    std::tuple<char const*, char const*, char const*, char const*> const rows[] = {
        // clang-format off
        {"match", "leaf.csr", "leaf.pem", "Done 1"}, {"match", "root.csr", "leaf.pem", "Done 0"}, {"match", "other.csr",
         "leaf.pem", "Done 0"},
        {"match", "leaf.csr", "text", "Oom 2"}, {"match", "leaf.pem", "leaf.pem", "Oom 2"}, {"match", "empty", "leaf.pem",
         "Oom 2"},
        {"signature", "root.pem", "leaf.pem", "Done 2"}, {"signature", "root.pem", "old.pem", "Done 2"}, {"chain", "empty",
         "leaf.pem", "Oom 2"},
        {"signature", "root.pem", "root.pem", "Done 2"}, {"signature", "twin.pem", "leaf.pem", "Fail 2"}, {"chain", "root.pem",
         "empty", "Oom 2"},
        {"signature", "other.pem", "leaf.pem", "Fail 2"}, {"signature", "text", "leaf.pem", "Oom 2"}, {"chain", "root.pem",
         "root.pem", "Done 2"},
        {"signature", "root.pem", "leaf.csr", "Oom 2"}, {"chain", "root.pem", "leaf.pem", "Done 2"}, {"chain", "root.pem",
         "old.pem", "Fail 2"},
        {"chain", "root.pem", "early.pem", "Fail 2"}, {"chain", "twin.pem", "leaf.pem", "Fail 2"}};
    // clang-format on
    LogCapture log;
    for (auto const& [operation, a, b, expected] : rows) {
        int match = 2;
        ReturnT const code = Quiet([&] {
            bool answer = match;
            ReturnT const result = chain.Ask(operation, a, b, answer);
            if (result.Succeeded() && *operation == 'm') match = answer;
            return result;
        });
        EXPECT_EQ(Kind(code) + " " + std::to_string(match), expected) << operation << " " << a << " " << b;
    }
    EXPECT_TRUE(log.Has("C Us: system failed [0xcffd****], certificate has expired."));
    EXPECT_TRUE(log.Has("C Us: system failed [0xcffd****], certificate is not yet valid."));
    EXPECT_TRUE(log.Has("C Us: out of memory [0xcffe****], unable to read a certificate."));
    EXPECT_TRUE(log.Has("E Ssl::Error: \"Us\": ["));
}

TEST(X509, LeavesTheCertificateWithItsOwner) {
    ZEB_NEED_OPENSSL();
    Chain const chain;
    AutoPtr<x509_st, X509::X509Deleter> certificate;
    std::string const root = chain.Read("root.pem"), leaf = chain.Read("leaf.pem");
    EXPECT_EQ(Kind(Quiet([&] { return X509::VerifyChain("Us", View(root), certificate); })), "Fail");
    BIO* const stream = BIO_new_mem_buf(leaf.data(), static_cast<int>(leaf.size()));
    certificate.Reset(PEM_read_bio_X509(stream, nullptr, nullptr, nullptr));
    BIO_free(stream);
    for (unsigned i = 0; i < 2; ++i)
        EXPECT_EQ(Kind(Quiet([&] { return X509::VerifyChain("Us", View(root), certificate); })), "Done");
    EXPECT_TRUE(certificate);
}

TEST(X509, TellsEveryCallAndEveryAllocationThatFails) {
    ZEB_NEED_OPENSSL();
    Chain const chain;
    using C = SysCall;
    std::tuple<C, int, char const*, unsigned, char const*> const rows[] = {
        // clang-format off
        {C::BIO_new_mem_buf, 0, "match", 2, "Oom"}, {C::X509_REQ_get0_pubkey, 0, "match", 1, "Oom"}, {C::EVP_PKEY_eq, -2,
         "match", 1, "Fail"},
        {C::X509_get0_pubkey, 0, "match", 1, "Oom"}, {C::X509_get0_pubkey, 0, "signature", 1, "Fail"}, {C::X509_STORE_new, 0,
         "chain", 1, "Oom"},
        {C::X509_STORE_add_cert, 0, "chain", 1, "Fail"}, {C::X509_STORE_CTX_new, 0, "chain", 1, "Oom"},
        {C::X509_STORE_CTX_init, 0, "chain", 1, "Fail"}};
    // clang-format on
    bool match = true;
    auto const ask = [&](char const* what) { return chain.Ask(what, *what == 'm' ? "leaf.csr" : "root.pem", "leaf.pem", match); };
    for (auto const& [call, result, operation, count, expected] : rows) {
        unsigned const taken = ForEveryCall(call, Calls::Return(result), [&, what = operation, code = expected](auto const& arm) {
            arm();
            std::string const kind = Kind(Quiet([&] { return ask(what); }));
            EXPECT_TRUE(kind == "Done" || kind == code) << what << kind;
            return kind != "Done";
        });
        EXPECT_EQ(taken, count) << operation;
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
