#include "workbench/TempDir.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>

#include <gtest/gtest.h>

namespace fs = std::filesystem;

TempDir::TempDir() {
    char const* const base = getenv("TMPDIR");
    path_ = std::string(base == nullptr ? "/tmp" : base) + "/zebtest.XXXXXX";
    if (mkdtemp(path_.data()) == nullptr) {
        fprintf(stderr, "TempDir: cannot make %s\n", path_.c_str());
        abort();
    }
}

TempDir::~TempDir() {
    std::error_code error;
    fs::remove_all(path_, error);
    if (error) ADD_FAILURE() << "cannot remove " << path_ << ": " << error.message();
}

std::string TempDir::Write(std::string_view name, std::string_view text) const {
    std::string const path = *this / name;
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(text.data(), static_cast<std::streamsize>(text.size()));
    if (!file.flush()) ADD_FAILURE() << "cannot write " << path;
    return path;
}

std::string TempDir::Read(std::string_view name) const { return ReadWholeFile(*this / name); }

bool TempDir::Exists(std::string_view name) const {
    std::error_code error;
    return fs::symlink_status(*this / name, error).type() != fs::file_type::not_found;
}

std::string TempDir::List() const {
    std::set<std::string> names;
    std::error_code error;
    for (fs::directory_iterator entry(path_, error), end; !error && entry != end; entry.increment(error))
        names.insert(entry->path().filename());
    std::string text;
    for (std::string const& name : names)
        text += (text.empty() ? "" : " ") + name;
    return text;
}

std::string ReadWholeFile(std::string const& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) return "(absent)";
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}
