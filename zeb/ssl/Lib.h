#pragma once

// Ssl::Lib: start and stop of OpenSSL for a process, with the algorithms of its providers "legacy" and
// "default". The frame of a program does both (Main, MainSt); a program without one calls Initialize() before
// anything of this folder.
//
// Threads    the first and the last thread of the program, alone
// Failure    a Fail code; what was loaded so far is unloaded
// Once       Cleanup() ends OpenSSL for good: nothing of it may be used behind it, and Initialize() then
// fails. A second
//            Initialize() before that does nothing

#include "zeb/core/Export.h"
#include "zeb/core/ReturnT.h"

struct ossl_provider_st;

namespace Ssl {

class ZEB_PUBLIC Lib {
public:
    static constexpr char IDENT[] = "Ssl::Lib";

    Lib() = delete;

    static ReturnT Initialize();
    static void Cleanup();

private:
    static ReturnT LoadProviders_();
    static void UnloadProviders_();

    static ossl_provider_st* legacy_;
    static ossl_provider_st* def_;
};

} // namespace Ssl
