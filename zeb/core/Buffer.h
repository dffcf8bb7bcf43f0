#pragma once

// Buffer: bytes from the heap. The block grows to exactly the size that is asked for, without a reserve; a
// user who appends in a loop calls Reserve() first. CryptoBuffer is the same for secrets: a block is wiped
// when it moves and when it dies, and compared in constant time. For text take String, for a view CBuffer.
//
// Owns       its block, which ends with the buffer. Pointers into it, and views of it, stand until an
//            operation that grows or shrinks the block, Swap() included. There is no silent copy: Assign()
//            copies, Swap() moves
// Threads    one at a time
// Memory     an operation that needs some gives false when it ran out, and leaves the buffer as it was;
//            erasing, truncating and shrinking cannot fail

#include "zeb/core/CBuffer.h"

class ZEB_PUBLIC Buffer : public CBuffer {
public:
    Buffer()
        : CBuffer(nullptr, 0) {}
    Buffer(Buffer const&) = delete;
    Buffer& operator=(Buffer const&) = delete;
    ~Buffer() override;

    // New bytes are undefined. A smaller size keeps the block.
    [[nodiscard]] bool Resize(unsigned long size);
    bool Reserve(unsigned long capacity) { return Grow_(capacity); }

    // The source may lie in this buffer.
    [[nodiscard]] bool Assign(CBuffer const& data);
    [[nodiscard]] bool Append(CBuffer const& data);

    // The part must lie in the buffer.
    void Erase(unsigned long pos, unsigned long count);
    void Truncate(unsigned long size) { size_ = size < size_ ? size : size_; }

    // Gives back what is beyond the size, if the heap has a block for it.
    void ShrinkToFit();

    // Being secure is a property of the block, and goes with it.
    void Swap(Buffer& other) noexcept;

    using CBuffer::Bytes;
    using CBuffer::Ptr;
    void* Ptr() { return const_cast<void*>(data_); }
    unsigned char* Bytes() { return static_cast<unsigned char*>(Ptr()); }
    unsigned long Capacity() const { return capacity_; }

private:
    bool Grow_(unsigned long capacity);
    void* Reallocate_(unsigned long capacity);
    void Free_();

    unsigned long capacity_ = 0;
};

class ZEB_PUBLIC CryptoBuffer : public Buffer {
public:
    CryptoBuffer() { secure_ = true; }
};
