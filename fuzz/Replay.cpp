// Runs a fuzz target over stored inputs, without libFuzzer: each argument is a file, or a folder of files.

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size);

namespace {

void Run_(std::vector<char> const& input) {
    LLVMFuzzerTestOneInput(reinterpret_cast<uint8_t const*>(input.data()), input.size());
}

void RunFile_(std::filesystem::path const& path) {
    std::ifstream file(path, std::ios::binary);
    Run_(std::vector<char>(std::istreambuf_iterator<char>(file), {}));
}

} // namespace

int main(int argc, char** argv) {
    unsigned count = 1;
    Run_({});
    for (int i = 1; i < argc; ++i) {
        if (!std::filesystem::is_directory(argv[i])) {
            RunFile_(argv[i]);
            ++count;
            continue;
        }
        for (auto const& entry : std::filesystem::recursive_directory_iterator(argv[i])) {
            if (!entry.is_regular_file()) continue;
            RunFile_(entry.path());
            ++count;
        }
    }
    std::printf("%u inputs\n", count);
}
