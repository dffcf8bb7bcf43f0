// One call of zeb_fw_dump() with a progress bar.
#pragma once

#include "tools/zebfw/Zebfw.h"
#include "zeb/firmware/zeb_fw.h"

namespace Zebfw {

struct Dump {
    // A block size of 0 is searched for.
    Dump(Options const& options, std::size_t blockSize, std::size_t fileSize);
    ~Dump();
    Dump(Dump const&) = delete;
    Dump& operator=(Dump const&) = delete;

    zeb_fw_error error{};
    bool done;
    unsigned status;
    zeb_fw_crt_info* info = nullptr;
};

// The name of a tag that the image itself needs, or "".
char const* TagWords(uint32_t tag);

} // namespace Zebfw
