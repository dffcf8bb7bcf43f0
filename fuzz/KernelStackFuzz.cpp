// The kernel's text of a stack: the size of the buffer, the room, then the text. The same frames come
// whatever the buffer.
#include "fuzz/FuzzInput.h"

#include "zeb/runtime/KernelBacktrace.h"

#include <cerrno>

#include <sys/mman.h>
#include <unistd.h>

namespace {

std::string Walk(int file, unsigned long size, unsigned long room) {
    std::string buffer(size, '#'), all;
    Linux::KernelBacktrace stack(("/proc/self/fd/" + std::to_string(file)).c_str(), buffer.data(), size);
    int result;
    while ((result = stack.Step()) > 0) {
        std::string name(room, '#'), module(room, '#');
        unsigned long ip = 0, offset = 0, nameLength = 0, moduleLength = 0;
        int const frame =
            stack.GetFrame(ip, name.data(), room, nameLength, offset, module.data(), room, moduleLength);
        FUZZ_CHECK(frame == 1 || frame == -EILSEQ);
        all += std::to_string(frame) + " ";
        if (frame != 1) continue;
        FUZZ_CHECK(room == 0 || name[std::min(room, nameLength) - 1] == '\0');
        for (unsigned long const number : {ip, offset, nameLength, moduleLength})
            all += std::to_string(number) + " ";
        all += name + module;
    }
    FUZZ_CHECK(result == 0);
    return all;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
    static int const file = memfd_create("stack", 0);
    FuzzInput input(data, size);
    unsigned long const split = input.Byte() + 1, room = input.Byte();
    std::string_view const text = input.Rest();
    FUZZ_CHECK(ftruncate(file, 0) == 0 &&
               pwrite(file, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()));
    FUZZ_CHECK(Walk(file, split, room) == Walk(file, text.size() + 1, room));
    return 0;
}
