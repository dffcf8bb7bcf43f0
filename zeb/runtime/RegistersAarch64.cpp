#ifdef __aarch64__

#define UNW_LOCAL_ONLY
#include "zeb/runtime/BacktraceImpl.h"

#include <libunwind.h>

namespace {

constexpr Register_ GENERAL[] = {
    {"x0", UNW_AARCH64_X0},   {"x1", UNW_AARCH64_X1},   {"x2", UNW_AARCH64_X2},   {"x3", UNW_AARCH64_X3},
    {"x4", UNW_AARCH64_X4},   {"x5", UNW_AARCH64_X5},   {"x6", UNW_AARCH64_X6},   {"x7", UNW_AARCH64_X7},
    {"x8", UNW_AARCH64_X8},   {"x9", UNW_AARCH64_X9},   {"x10", UNW_AARCH64_X10}, {"x11", UNW_AARCH64_X11},
    {"x12", UNW_AARCH64_X12}, {"x13", UNW_AARCH64_X13}, {"x14", UNW_AARCH64_X14}, {"x15", UNW_AARCH64_X15},
    {"x16", UNW_AARCH64_X16}, {"x17", UNW_AARCH64_X17}, {"x18", UNW_AARCH64_X18}, {"x19", UNW_AARCH64_X19},
    {"x20", UNW_AARCH64_X20}, {"x21", UNW_AARCH64_X21}, {"x22", UNW_AARCH64_X22}, {"x23", UNW_AARCH64_X23},
    {"x24", UNW_AARCH64_X24}, {"x25", UNW_AARCH64_X25}, {"x26", UNW_AARCH64_X26}, {"x27", UNW_AARCH64_X27},
    {"x28", UNW_AARCH64_X28}, {"x29", UNW_AARCH64_X29}, {"x30", UNW_AARCH64_X30},
};

} // namespace

Registers_ const REGISTERS_ = {GENERAL,
                               sizeof(GENERAL) / sizeof(GENERAL[0]),
                               {{{"sp", UNW_AARCH64_SP}, {"pc", UNW_REG_IP}},
                                {{"pstate", UNW_AARCH64_PSTATE}, {"fpsr", UNW_AARCH64_FPSR}},
                                {{nullptr, 0}, {"fpcr", UNW_AARCH64_FPCR}}},
                               3,
                               false};

#endif
