// What is in a firmware image, and whether it may be written. Without arguments it signs and checks a message
// instead.
#include "zeb/core/Buffer.h"
#include "zeb/firmware/zeb_fw.h"
#include "zeb/runtime/Main.h"
#include "zeb/ssl/Ec.h"

#include <cstdio>
#include <cstdlib>

namespace {

void OnStep(int ok, void* blocks) {
    static_cast<unsigned*>(blocks)[ok]++; // ahead of the table, and from it on
}

int Check(char const* path, char const* authorities) {
    zeb_fw_error error;
    unsigned status, blocks[2] = {};
    zeb_fw_tlv tags[] = {{ZEB_FW_TAG_FIRMWARE_ID, 0, nullptr}, {ZEB_FW_TAG_VERSION, 0, nullptr}};
    zeb_fw_crt_info* builder = nullptr;
    if (!zeb_fw_dump(&error, path, 1, &status, 0, tags, 2, authorities, &builder, 0, OnStep, blocks)) {
        fprintf(stderr, "%s (%u)\n", error.message, error.code);
        return EXIT_FAILURE;
    }
    for (zeb_fw_tlv const& tag : tags) {
        auto const* const value = static_cast<char const*>(tag.value);
        printf("%s: %s\n", zeb_fw_tag_name(static_cast<unsigned>(tag.tag)),
               value == nullptr ? "none" : value);
    }
    if (builder != nullptr) printf("signed by %s\n", builder->subject);
    zeb_fw_free_tlv(tags, 2);
    zeb_fw_free_crt_info(&builder);
    return status == ZEB_FW_SIGNATURE_VALID ? EXIT_SUCCESS : EXIT_FAILURE;
}

ReturnT SignAndVerify() {
    Ssl::Ec::PrivateKey key;
    Ssl::Ec::PublicKey open;
    Buffer signature;
    CBuffer const message("upgrade at night", 16);
    if (ReturnT const code = key.Generate(); code.Failed()) return code;
    if (ReturnT const code = key.Sign(message, signature); code.Failed()) return code;
    if (ReturnT const code = key.GetPublicKey(open); code.Failed()) return code;
    return open.Verify(message, signature);
}

class Program : public Main {
public:
    Program(int argc, char** argv)
        : Main("firmware")
        , argc_(argc)
        , argv_(argv) {}

    int Run() override {
        if (argc_ == 3) return Check(argv_[1], argv_[2]);
        return SignAndVerify().Succeeded() ? EXIT_SUCCESS : EXIT_FAILURE;
    }

private:
    int const argc_;
    char** const argv_;
};

} // namespace

int main(int argc, char** argv) {
    Program program(argc, argv);
    return program.Initialized() ? program.Run() : EXIT_FAILURE;
}
