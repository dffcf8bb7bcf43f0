#ifdef __x86_64__

#define UNW_LOCAL_ONLY
#include "zeb/runtime/BacktraceImpl.h"

#include <libunwind.h>

namespace {

constexpr Register_ GENERAL[] = {
    {"rax", UNW_X86_64_RAX}, {"rbx", UNW_X86_64_RBX}, {"rcx", UNW_X86_64_RCX}, {"rdx", UNW_X86_64_RDX},
    {"rsi", UNW_X86_64_RSI}, {"rdi", UNW_X86_64_RDI}, {"rbp", UNW_X86_64_RBP}, {"r8", UNW_X86_64_R8},
    {"r9", UNW_X86_64_R9},   {"r10", UNW_X86_64_R10}, {"r11", UNW_X86_64_R11}, {"r12", UNW_X86_64_R12},
    {"r13", UNW_X86_64_R13}, {"r14", UNW_X86_64_R14}, {"r15", UNW_X86_64_R15},
};

} // namespace

Registers_ const REGISTERS_ = {GENERAL,
                               sizeof(GENERAL) / sizeof(GENERAL[0]),
                               {{{"rsp", UNW_X86_64_RSP}, {"rip", UNW_X86_64_RIP}}},
                               1,
                               true};

#endif
