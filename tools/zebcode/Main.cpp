#include "tools/zebcode/Explain.h"

#include <cstdio>
#include <cstring>

namespace {

constexpr int EXIT_USAGE = 2;

constexpr char const USAGE[] =
    "usage: zebcode CODE...\n"
    "\n"
    "Tells what return codes of the library say: one line for each, the code and its words.\n"
    "A code is taken as it stands in a log: 0xcffd00be, cffd00be, [0xcffd00be], or decimal.\n"
    "\n"
    "exit code: 0, 2 for a wrong command\n";

} // namespace

int main(int argc, char** argv) {
    if (argc == 2 && strcmp(argv[1], "--help") == 0) return fputs(USAGE, stdout) < 0 ? 1 : 0;
    if (argc < 2) {
        fputs(USAGE, stderr);
        return EXIT_USAGE;
    }
    int exitCode = 0;
    for (int i = 1; i < argc; ++i) {
        uint32_t code;
        if (ReadCode(argv[i], code)) {
            puts(Explain(code).c_str());
            continue;
        }
        fprintf(stderr, "zebcode: '%s' is no code of 32 bits\n", argv[i]);
        exitCode = EXIT_USAGE;
    }
    return fflush(stdout) != 0 ? 1 : exitCode;
}
