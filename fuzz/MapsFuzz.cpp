// The kernel's text of an address space: an address of 8 bytes, the room, then the text. The same is told
// whatever the room, and an answer is one of the lines.
#include "fuzz/FuzzInput.h"

#include "zeb/runtime/Mapper.h"

#include <cerrno>

#include <sys/mman.h>
#include <unistd.h>

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
    static int const file = memfd_create("maps", 0);
    FuzzInput input(data, size);
    uint64_t address = 0;
    for (int i = 0; i < 8; ++i)
        address = address << 8 | input.Byte();
    unsigned long const room = input.Byte();
    std::string_view const text = input.Rest();
    FUZZ_CHECK(ftruncate(file, 0) == 0 &&
               pwrite(file, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()));
    Linux::AddressSpace::Mapper mapper(("/proc/self/fd/" + std::to_string(file)).c_str());
    std::string whole(text.size() + 1, '#'), cut(room, '#');
    unsigned long base, again, wholeSize = whole.size(), cutSize = room;
    auto* const at = reinterpret_cast<void*>(address);
    bool const isTold = mapper.Get(at, base, whole.data(), &wholeSize) == 0;
    FUZZ_CHECK(isTold || errno == EILSEQ);
    bool const isToldAgain = mapper.Get(at, again, cut.data(), &cutSize) == 0;
    FUZZ_CHECK(isToldAgain == (isTold && room != 0));
    if (!isToldAgain) return 0;
    FUZZ_CHECK(base == again && base <= address && cutSize == std::min(wholeSize, room));
    FUZZ_CHECK(whole[wholeSize - 1] == '\0' && cut[cutSize - 1] == '\0');
    FUZZ_CHECK(whole.substr(0, cutSize - 1) == cut.substr(0, cutSize - 1));
    FUZZ_CHECK(text.find(std::string_view(whole).substr(0, wholeSize - 1)) != text.npos);
    return 0;
}
