#include "tools/zebfw/Zebfw.h"

#include "zeb/firmware/zeb_fw.h"

#include <algorithm>
#include <memory>
#include <vector>

#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

namespace Zebfw {

namespace {

template<class T, void (*FREE)(T*)>
struct Deleter {
    void operator()(T* object) const { FREE(object); }
};
using Key = std::unique_ptr<EVP_PKEY, Deleter<EVP_PKEY, EVP_PKEY_free>>;
using Certificate = std::unique_ptr<X509, Deleter<X509, X509_free>>;
using Context = std::unique_ptr<EVP_MD_CTX, Deleter<EVP_MD_CTX, EVP_MD_CTX_free>>;

int ComplainOpenSsl(char const* what) {
    char text[256];
    ERR_error_string_n(ERR_peek_last_error(), text, sizeof text);
    return Complain(REFUSED, "%s: %s", what, text);
}

BIO* Stream(std::string const& text) { return BIO_new_mem_buf(text.data(), static_cast<int>(text.size())); }

Key ReadKey(std::string const& pem) {
    std::unique_ptr<BIO, Deleter<BIO, BIO_free_all>> const stream(Stream(pem));
    return Key(PEM_read_bio_PrivateKey(stream.get(), nullptr, nullptr, nullptr));
}

// Whether one of the certificates that is no authority is that of the key.
bool HasCertificateOf(EVP_PKEY const* key, std::string const& pem) {
    std::unique_ptr<BIO, Deleter<BIO, BIO_free_all>> const stream(Stream(pem));
    while (Certificate const certificate{PEM_read_bio_X509(stream.get(), nullptr, nullptr, nullptr)})
        if (X509_check_ca(certificate.get()) == 0 && X509_check_private_key(certificate.get(), key) == 1)
            return true;
    return false;
}

// Empty when it fails.
std::string SignBytes(EVP_PKEY* key, EVP_MD const* digest, std::string const& bytes, ProgressBar& bar) {
    Context const context(EVP_MD_CTX_new());
    if (!context || EVP_DigestSignInit(context.get(), nullptr, digest, nullptr, key) != 1) return {};
    for (std::size_t at = 0; at < bytes.size(); at += BLOCK_SIZES[0], bar.Step()) {
        std::size_t const size = std::min(BLOCK_SIZES[0], bytes.size() - at);
        if (EVP_DigestSignUpdate(context.get(), bytes.data() + at, size) != 1) return {};
    }
    std::size_t size = static_cast<std::size_t>(EVP_PKEY_get_size(key));
    std::string signature(size, '\0');
    if (EVP_DigestSignFinal(context.get(), reinterpret_cast<unsigned char*>(signature.data()), &size) != 1)
        return {};
    signature.resize(size);
    return signature;
}

} // namespace

int Make(Options const& options) {
    std::string payload;
    if (!ReadFile(options.input, payload)) return UNREADABLE;
    std::size_t const block = options.block, least = (SIZE_MIN + block - 1) / block;
    std::size_t const filled = (payload.size() + block - 1) / block + 1;
    std::size_t const blocks = std::max({filled, least, options.at + 1});
    if (blocks * block + TRAILER_SIZE > SIZE_MAX_)
        return Complain(REFUSED, "the image would have %zu bytes, and may have %zu",
                        blocks * block + TRAILER_SIZE, SIZE_MAX_);
    payload.resize((blocks - 1) * block, options.fill);
    payload.insert(options.at * block, block, options.fill);
    Tags tags = options.tags;
    tags[ZEB_FW_TAG_UNSIGNED];
    tags[ZEB_FW_TAG_DIGEST] = options.digest;
    tags[ZEB_FW_TAG_BLOCK_SIZE] = Word(block);
    tags[ZEB_FW_TAG_FILL_BYTE] = Word(static_cast<unsigned char>(options.fill));
    if (!options.isRaw) payload.append(TRAILER_SIZE, '\0');
    Image image(std::move(payload), options.isRaw);
    if (!image.Replace(options.at * block, block, options.fill, tags, options.trailer))
        return Complain(REFUSED, "the tags do not fit into a block of 0x%zx bytes: take a larger one", block);
    return WriteFile(options.output, image.Bytes()) ? OK : UNREADABLE;
}

int Sign(Options const& options) {
    std::optional<Image> image;
    std::string keyPem, certificates;
    if (!Load(options, image) || !ReadFile(options.key, keyPem) ||
        !ReadFile(options.certificates, certificates))
        return UNREADABLE;
    std::size_t const offset = image->TableOffset();
    std::optional<Table> table;
    if (offset != std::string::npos) table = ParseTable(image->Blocks().substr(offset));
    if (!table)
        return Complain(REFUSED, "there is no table in %s; zebfw explain tells more", options.input.c_str());
    Key const key = ReadKey(keyPem);
    if (!key) return ComplainOpenSsl("the key cannot be read");
    if (!HasCertificateOf(key.get(), certificates))
        return Complain(REFUSED,
                        "none of the certificates is that of the key: one that is no authority has to be");
    EVP_MD const* const digest = EVP_get_digestbyname(options.digest.c_str());
    if (digest == nullptr) return Complain(REFUSED, "there is no digest %s", options.digest.c_str());
    table->tags.erase(ZEB_FW_TAG_UNSIGNED);
    table->tags[ZEB_FW_TAG_CERTIFICATES] = certificates;
    table->tags[ZEB_FW_TAG_DIGEST] = options.digest;
    std::string& field = table->tags[ZEB_FW_TAG_SIGNATURE];
    field.assign(4 + static_cast<std::size_t>(EVP_PKEY_get_size(key.get())), '\0');
    std::size_t const block = table->Number(ZEB_FW_TAG_BLOCK_SIZE, 0);
    char const fill = static_cast<char>(table->Number(ZEB_FW_TAG_FILL_BYTE, 0xFF));
    Trailer const trailer = Trailer::Of(image->TrailerBytes());
    if (block == 0 || offset + block > image->Size() ||
        !image->Replace(offset, block, fill, table->tags, trailer))
        return Complain(REFUSED, "the certificates do not fit into the block of the table");
    ProgressBar bar(options.showsProgress, image->Size() / BLOCK_SIZES[0]);
    std::string const signature = SignBytes(key.get(), digest, image->Unsigned(offset, *table), bar);
    if (signature.empty()) return ComplainOpenSsl("signing fails");
    field.replace(0, 4 + signature.size(), Word(signature.size()) + signature);
    image->Replace(offset, block, fill, table->tags, trailer); // has fitted before
    return WriteFile(options.output, image->Bytes()) ? OK : UNREADABLE;
}

} // namespace Zebfw
