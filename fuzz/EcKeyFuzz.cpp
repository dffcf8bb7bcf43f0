// Keys and signatures of ASN.1: one byte says what the rest is: a private key, a public key, a signature.
// What is taken encodes again, to what is taken again.
#include "fuzz/FuzzInput.h"

#include "zeb/core/Buffer.h"
#include "zeb/ssl/Ec.h"

#include <openssl/err.h>

using Ssl::Ec::PrivateKey;
using Ssl::Ec::PublicKey;

namespace {

template<class KeyT>
void Decode(CBuffer const& data) {
    KeyT key, again;
    bool const isTaken = key.DecodeAsn1(data).Succeeded();
    FUZZ_CHECK(isTaken == key.Exists());
    Buffer first, second;
    // A public key of infinity has no form.
    if (!isTaken || key.EncodeAsn1(first).Failed()) return;
    FUZZ_CHECK(again.DecodeAsn1(first).Succeeded() && again.EncodeAsn1(second).Succeeded() &&
               first == second);
}

void Verify(CBuffer const& signature) {
    static PrivateKey secret;
    static PublicKey open;
    static bool const made = secret.Generate().Succeeded() && secret.GetPublicKey(open).Succeeded();
    FUZZ_CHECK(made && open.Verify(CBuffer("message", 7), signature).Failed());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
    FuzzInput input(data, size);
    unsigned const kind = input.Byte() % 3;
    std::string_view const rest = input.Rest();
    CBuffer const view(rest.data(), rest.size());
    if (kind == 0) Decode<PrivateKey>(view);
    if (kind == 1) Decode<PublicKey>(view);
    if (kind == 2) Verify(view);
    FUZZ_CHECK(ERR_peek_error() == 0);
    return 0;
}
