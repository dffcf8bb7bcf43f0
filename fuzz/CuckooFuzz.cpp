// Cuckoo filter: a byte for how many items are added, their size, then the bytes of a filter. Whatever these
// are, an item that Add() took in is there afterwards, and the size never changes.
#include "fuzz/FuzzInput.h"

#include "zeb/util/CuckooFilter.h"

#include <bit>

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
    constexpr size_t KICKS_AT = 12;
    FuzzInput input(data, size);
    unsigned const count = input.Byte() & 0x3F, width = input.Byte() & 0xF;
    std::string bytes(input.Rest());
    if (bytes.size() > KICKS_AT + 4)
        std::fill_n(bytes.begin() + KICKS_AT + 1, 3, '\0'); // or it takes for ever
    Util::CuckooFilter filter(CBuffer(bytes.data(), bytes.size()));
    FUZZ_CHECK(filter.Initialized() == !bytes.empty());
    // Only then each of the two buckets of a fingerprint leads to the other.
    uint32_t buckets = 0;
    std::memcpy(&buckets, bytes.data(), std::min(bytes.size(), sizeof buckets));
    bool isSound = std::has_single_bit(buckets);
    auto const item = [width](unsigned i) { return std::string(width, static_cast<char>(i)); };
    for (unsigned i = 0; i < count; ++i) {
        bool const isThere = filter.Contains(CString(item(i).data(), width));
        bool const isAdded = filter.Add(CString(item(i).data(), width));
        FUZZ_CHECK(isAdded || !isThere);
        isSound = isSound && isAdded;
    }
    for (unsigned i = 0; isSound && i < count; ++i)
        FUZZ_CHECK(filter.Contains(CString(item(i).data(), width)));
    FUZZ_CHECK(filter.Size() == bytes.size());
    return 0;
}
