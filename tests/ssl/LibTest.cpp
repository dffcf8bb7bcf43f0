#include "zeb/ssl/Lib.h"

#include "tests/ssl/Rig.h"
#include "workbench/Child.h"
#include "zeb/core/HexString.h"
#include "zeb/runtime/Main.h"
#include "zeb/runtime/MainSt.h"
#include "zeb/ssl/Error.h"
#include "zeb/ssl/Params.h"
#include "zeb/ssl/Spki.h"

#include <openssl/evp.h>
#include <openssl/params.h>

namespace {

bool HasMd4() {
    EVP_MD* const md4 = EVP_MD_fetch(nullptr, "MD4", nullptr);
    EVP_MD_free(md4);
    return md4 != nullptr;
}

TEST(SslLib, StartsOnceWithBothProvidersAndEndsForGood) {
    Child const child = Child::Run([] {
        EXPECT_FALSE(HasMd4()); // of the provider "legacy"
        EXPECT_EQ(Kind(Ssl::Lib::Initialize) + Kind(Ssl::Lib::Initialize), "DoneDone");
        EXPECT_TRUE(HasMd4());
        Ssl::Lib::Cleanup(), Ssl::Lib::Cleanup();
        EXPECT_EQ(Kind(Ssl::Lib::Initialize()), "Fail");
    });
    EXPECT_EQ(child.ExitCode(), 0) << child;
}

TEST(SslLib, UnloadsWhatItHasLoadedWhenAStepFails) {
    using C = SysCall;
    std::tuple<C, unsigned long, std::string> const rows[] = {
        // clang-format off
        {C::OPENSSL_init_ssl, 0, "unable to start OpenSSL."}, {C::OPENSSL_init_ssl, 1, "unable to load error strings."},
        {C::OSSL_PROVIDER_load, 0, "unable to load a provider \"legacy\"."},
        {C::OSSL_PROVIDER_load, 1, "unable to load a provider \"default\"."},
        {C::OPENSSL_init_crypto, 0, "unable to initialize a crypto library."}};
    // clang-format on
    for (auto const& row : rows) {
        Child const child = Child::Run([&row] {
            auto const& [call, before, text] = row;
            Calls calls;
            LogCapture log;
            for (unsigned i = 0; i < 2; ++i) {
                calls.Script(call, {Calls::Real()}, before), calls.Script(call, {Calls::Return(0)});
                EXPECT_EQ(Kind(Ssl::Lib::Initialize), "Fail");
                EXPECT_FALSE(HasMd4());
            }
            EXPECT_EQ(log.Count("C Ssl::Lib: system failed [0xcffd****], " + text), 2u) << log.Lines()[0];
            EXPECT_EQ(Kind(Ssl::Lib::Initialize()), "Done");
            EXPECT_TRUE(HasMd4());
        });
        EXPECT_EQ(child.ExitCode(), 0) << child;
    }
}

template<class FrameT>
struct Program : FrameT {
    using FrameT::FrameT;
    int Run() override { return 0; }
};

template<class FrameT>
std::string LiveAndDie(bool isGood) {
    Child const child = Child::Run([=] {
        Calls calls;
        if (!isGood) calls.Script(SysCall::OSSL_PROVIDER_load, {Calls::Return(0)});
        {
            Program<FrameT> const program("program");
            EXPECT_TRUE(program.Initialized() == isGood && HasMd4() == isGood);
        }
        EXPECT_EQ(OPENSSL_init_crypto(0, nullptr), 0); // it is over
    });
    EXPECT_EQ(child.ExitCode(), 0) << child;
    return child.Errors();
}

TEST(SslLib, LivesAsLongAsTheFrameOfAProgram) {
    LiveAndDie<MainSt>(true), LiveAndDie<MainSt>(false);
    EXPECT_EQ(LiveAndDie<Main>(true), "");
    EXPECT_EQ(LiveAndDie<Main>(false), "program: failed to initialize SSL library.\n");
}

TEST(SslError, LogsWhatCameIntoTheQueueInItsScope) {
    LogCapture log;
    std::string const line = "[" + std::to_string(getpid()) + "] (SSL error 0x40000007): \"error:40000007:lib(128)::reason(7)\".";
    std::tuple<char const*, Log::VerboseT, bool, LogCapture::LinesT> const rows[] = {
        // clang-format off
        {"Us", Log::VERBOSE_OFF, false, {}}, {"Us", Log::VERBOSE_ON, true, {}},
        {"Us", Log::VERBOSE_ON, false, LogCapture::LinesT(2, "E Ssl::Error: \"Us\": " + line)},
        {"", static_cast<Log::VerboseT>(2), false, LogCapture::LinesT(2, "E Ssl::Error: " + line)}};
    // clang-format on
    for (auto const& [ident, verbose, clears, expected] : rows) {
        ERR_put_error(ERR_LIB_USER, 0, 1, "stale", 1);
        {
            Ssl::Error const error(ident, verbose);
            for (unsigned i = 0; i < 2; ++i) ERR_put_error(ERR_LIB_USER, 0, 7, "file", 1);
            if (clears) error.Clear();
        }
        EXPECT_EQ(ERR_peek_error(), 0u);
        EXPECT_EQ(log.Take(), expected);
    }
}

TEST(SslParams, ListsValuesUntilOneDoesNotFit) {
    unsigned const four = 4;
    unsigned long const eight = 8;
    Ssl::Params::Array params;
    EXPECT_EQ(params.Ptr()->key, nullptr);
    EXPECT_TRUE(params.AddU32("four", &four) && params.AddU64("eight", &eight) && params.AddStr("text", "abc"));
    EXPECT_TRUE(params.AddBuf("bytes", CBuffer("xy", 2)) && params.AddBuf("none", CBuffer::Nil()));
    std::string list;
    for (OSSL_PARAM const* at = params.Ptr(); at->key != nullptr; ++at)
        list += std::string(at->key) + " " + std::to_string(at->data_type) + " " + std::to_string(at->data_size) +
                (at->return_size == OSSL_PARAM_UNMODIFIED ? "; " : "?");
    EXPECT_EQ(list, "four 2 4; eight 2 8; text 4 4; bytes 5 2; none 5 0; ");
    unsigned long value = 0;
    EXPECT_TRUE(OSSL_PARAM_get_ulong(params.Ptr(), &value) && value == 4);
    EXPECT_TRUE(params.Ptr()[0].data == &four && params.Ptr()[1].data == &eight);
    for (unsigned i = 5; i < Ssl::Params::Array::CAPACITY; ++i) EXPECT_TRUE(params.AddU32("more", &four));
    EXPECT_TRUE(params.Ptr() != nullptr && params.Ptr()[8].key == nullptr);
    EXPECT_FALSE(params.AddU32("over", &four) || params.Ptr() != nullptr);
    Ssl::Params::Array broken;
    EXPECT_FALSE(broken.AddU32("null", nullptr) || broken.AddU32("good", &four) || broken.Ptr() != nullptr);
    EXPECT_FALSE(Ssl::Params::Array().AddStr("", "no name"));
}

TEST(Spki, TakesPinsOfThirtyTwoBytes) {
    std::string const digits = "000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1eff";
    std::string const pin = "AAECAwQFBgcICQoLDA0ODxAREhMUFRYXGBkaGxwdHv8=";
    constexpr char BAD[] = "84E20064 ab";
    std::pair<std::string, std::string> const rows[] = {// clang-format off
        {"", "04E20064 "}, {pin, "04E200C8 " + digits}, {pin + "AA==", BAD}, {"~", BAD}, {" ", BAD},
        {"AAECAwQFBgcICQoLDA0ODxAREhMUFRYXGBkaGxwdHg==", BAD}, {pin.substr(0, 43) + "gAAA", BAD}, {std::string(9999, 'A'), BAD}};
    // clang-format on
    LogCapture log;
    for (auto const& [text, expected] : rows) {
        HexString out;
        bool valid;
        String back;
        EXPECT_TRUE(out.Assign(CString("ab"), valid));
        std::string const kind = Kind(Util::Spki::Decode(View(text), out));
        EXPECT_EQ(kind + " " + out.Str().Cstr(), expected) << text;
        EXPECT_EQ(Kind(Util::Spki::Encode(out, back)), "04E203E8");
        EXPECT_TRUE(expected == BAD || back == View(text));
    }
    EXPECT_EQ(log.Take(), LogCapture::LinesT(6, "E Util::Spki: unable to decode a public key pin."));
    ForEveryAllocation([&](Heap& heap) {
        HexString out;
        String text;
        heap.Arm();
        ReturnT const decoded = Util::Spki::Decode(View(pin), out), encoded = Util::Spki::Encode(out, text);
        heap.Disarm();
        EXPECT_EQ(heap.Fired(), decoded.IsOom() || encoded.IsOom());
        EXPECT_TRUE(out.Empty() == decoded.IsOom() && (text.Empty() || text == View(pin)));
    });
}

} // namespace
