// Which file a function comes from, and where the thread stands in the kernel.
#include "zeb/io/StdStream.h"
#include "zeb/runtime/KernelBacktrace.h"
#include "zeb/runtime/Mapper.h"

#include <cerrno>

#include <unistd.h>

namespace {

bool PrintFile(Io::OStream& out, void const* address) {
    Linux::AddressSpace::Mapper mapper;
    char file[256];
    unsigned long base = 0, size = sizeof file;
    if (mapper.Get(address, base, file, &size) != 0) return false;
    out << "the function is " << reinterpret_cast<unsigned long>(address) - base
        << " bytes into a mapping of " << file << Io::Endl;
    return file[0] != '\0';
}

bool PrintKernelStack(Io::OStream& out) {
    char buffer[256], name[64], module[64];
    unsigned long ip, nameLength, offset, moduleLength;
    Linux::KernelBacktrace stack(static_cast<unsigned long long>(gettid()), buffer, sizeof buffer);
    int result;
    while ((result = stack.Step()) > 0) {
        result =
            stack.GetFrame(ip, name, sizeof name, nameLength, offset, module, sizeof module, moduleLength);
        if (result > 0) out << "in the kernel: " << name << Io::Endl;
    }
    // Not every kernel shows its stacks, and not to everyone.
    if (result == -ENOENT || result == -EACCES || result == -EPERM) return true;
    return result == 0;
}

} // namespace

int main() {
    Io::StdOut out;
    return PrintFile(out, reinterpret_cast<void const*>(&main)) && PrintKernelStack(out) && out.Flush() ? 0
                                                                                                        : 1;
}
