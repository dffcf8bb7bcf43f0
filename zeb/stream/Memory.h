#pragma once

// The owner of the blocks of one or two stream buffers. The blocks exist between Allocate() and Free(), so
// that a closed stream costs no memory. Declare it behind the buffers, which it detaches when it ends: what
// they held is dropped, flush first.

#include "zeb/stream/Buffer.h"
#include "zeb/stream/Mode.h"

namespace Io {

class ZEB_PUBLIC Memory {
public:
    // Blocks of `size` bytes; one for both directions when `input` and `output` are one Buffer, otherwise one
    // for each direction of `mode`, which is looked at when Allocate is called.
    Memory(unsigned long size, ModeT const& mode, Stateful& state, Buffer& input, Buffer& output)
        : size_(size)
        , mode_(mode)
        , state_(state)
        , input_(input)
        , output_(output) {}
    Memory(Memory const&) = delete;
    Memory& operator=(Memory const&) = delete;
    ~Memory() { Free(); }

    // Replaces what is held. False with STATE_NO_MEMORY, or STATE_FAILED for a mode of no direction; then
    // nothing is held.
    [[nodiscard]] bool Allocate();
    void Free();

private:
    bool Give_(Buffer& buffer, char*& block);

    uint64_t size_;
    ModeT const& mode_;
    Stateful& state_;
    Buffer& input_;
    Buffer& output_;
    char* inputBlock_ = nullptr;
    char* outputBlock_ = nullptr;
};

} // namespace Io
