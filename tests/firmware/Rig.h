// What the tests of this folder share: a call of zeb_fw_dump() with all that it gives.
#pragma once

#include "workbench/Calls.h"
#include "workbench/FirmwareImage.h"
#include "workbench/Heap.h"
#include "workbench/OpenSsl.h"
#include "zeb/firmware/ErrorImpl.h"
#include "zeb/firmware/SignatureImpl.h"

#include <functional>
#include <set>

#include <openssl/err.h>

struct Dumped {
    zeb_fw_error error{};
    bool isDone = false;
    unsigned status = 77;
    std::vector<zeb_fw_tlv> tags;
    zeb_fw_crt_info* info = nullptr;
    std::string steps; // what the callback got, as "000111"

    ~Dumped() { zeb_fw_free_tlv(tags.data(), tags.size()), zeb_fw_free_crt_info(&info); }
    // "done STATUS", or the code and the message.
    std::string Said() const {
        return isDone ? "done " + std::to_string(status) : std::to_string(error.code) + " " + error.message;
    }
    // The same with the values of the tags asked for.
    std::string All() const {
        std::string all = Said();
        for (zeb_fw_tlv const& tag : tags)
            all += tag.value == nullptr ? " none" : std::string(" ") + static_cast<char*>(tag.value);
        return all;
    }
};

struct Ask {
    std::string file;
    std::size_t blockSize = 0;
    std::size_t rawSize = 0;
    char const* authorities = nullptr;
    unsigned revocation = 0;
    std::vector<unsigned long> tags = {3, 0x11, 1};

    void Run(Dumped& out) const {
        for (unsigned long const tag : tags) out.tags.push_back({tag, 99, &out});
        auto const note = [](int ok, void* steps) { *static_cast<std::string*>(steps) += static_cast<char>('0' + ok); };
        ERR_put_error(ERR_LIB_USER, 0, 1, "stale", 1);
        memset(&out.error, 0x5A, sizeof out.error);
        out.isDone = zeb_fw_dump(&out.error, file.c_str(), revocation, &out.status, blockSize, out.tags.data(), out.tags.size(),
                                 authorities, &out.info, rawSize, note, &out.steps);
        EXPECT_EQ(ERR_peek_error(), 0u);
        EXPECT_EQ(out.isDone, out.error.code == 0 && *out.error.message == '\0') << out.error.message;
        EXPECT_TRUE(out.isDone || (out.status == 3 && out.info == nullptr)) << out.status;
        for (zeb_fw_tlv const& tag : out.tags)
            EXPECT_TRUE(tag.value == nullptr ? tag.size == 0 : out.isDone && strlen(static_cast<char*>(tag.value)) == tag.size);
    }
    std::string operator()() const {
        Dumped out;
        return Run(out), out.Said();
    }
};
