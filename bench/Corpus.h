#pragma once

// Inputs of the benchmarks that are not generated: files of a folder that ./dev bench names by --corpus.

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

// The whole file, or empty text when no folder was named or it has no such file. A benchmark then generates
// its input, or leaves the case out.
inline std::string CorpusFile(std::string const& name) {
    char const* folder = std::getenv("ZEB_BENCH_CORPUS");
    if (folder == nullptr) return {};
    std::ifstream file(std::string(folder) + "/" + name, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}
