#include "zeb/ssl/Lib.h"

#include "zeb/firmware/zeb_fw.h"
#include "zeb/runtime/MainImpl.h"
#include "zeb/runtime/StatusLog.h"
#include "zeb/ssl/Error.h"

#include <openssl/provider.h>
#include <openssl/ssl.h>

#include <utility>

namespace Ssl {

namespace {

constexpr uint64_t STRINGS = OPENSSL_INIT_LOAD_SSL_STRINGS | OPENSSL_INIT_LOAD_CRYPTO_STRINGS;
static_assert(STRINGS == 0x200002);

ReturnT Fail_(char const* message, char const* cause, unsigned line = __builtin_LINE()) {
    return (StatusLog(ReturnT::Fail(line), Log::CRITICAL, Lib::IDENT, nullptr, message) << cause).SetFail();
}

} // namespace

constinit ossl_provider_st* Lib::legacy_ = nullptr;
constinit ossl_provider_st* Lib::def_ = nullptr;

ReturnT Lib::Initialize() {
    Error const scope(IDENT, Log::VERBOSE_ON);
    if (legacy_ != nullptr) return ReturnT::Done();
    if (OPENSSL_init_ssl(0, nullptr) != 1) return Fail_("unable to start %1", "OpenSSL");
    if (ReturnT const code = LoadProviders_(); code.Failed()) return code;
    ReturnT code = ReturnT::Done();
    zeb_fw_error error;
    if (OPENSSL_init_ssl(STRINGS, nullptr) != 1)
        code = Fail_("unable to load %1", "error strings");
    else if (!zeb_fw_init(&error))
        code = Fail_("%1", error.message);
    if (code.Failed()) UnloadProviders_();
    return code;
}

ReturnT Lib::LoadProviders_() {
    legacy_ = OSSL_PROVIDER_load(nullptr, "legacy");
    if (legacy_ == nullptr) return Fail_("unable to load a provider \"%1\"", "legacy");
    def_ = OSSL_PROVIDER_load(nullptr, "default");
    if (def_ != nullptr) return ReturnT::Done();
    UnloadProviders_();
    return Fail_("unable to load a provider \"%1\"", "default");
}

void Lib::UnloadProviders_() {
    for (ossl_provider_st** const provider : {&legacy_, &def_}) {
        if (*provider != nullptr) OSSL_PROVIDER_unload(std::exchange(*provider, nullptr));
    }
}

void Lib::Cleanup() {
    UnloadProviders_();
    OPENSSL_cleanup();
    zeb_fw_fini();
}

} // namespace Ssl

bool InitializeTls_() { return Ssl::Lib::Initialize().Succeeded(); }

void CleanupTls_() { Ssl::Lib::Cleanup(); }
