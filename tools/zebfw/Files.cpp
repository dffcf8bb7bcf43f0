#include "tools/zebfw/Zebfw.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace Zebfw {

namespace {

constexpr std::size_t WIDTH = 50;

} // namespace

int Complain(int exitCode, char const* format, ...) {
    fputs("zebfw: ", stderr);
    va_list arguments;
    va_start(arguments, format);
    vfprintf(stderr, format, arguments);
    va_end(arguments);
    fputc('\n', stderr);
    return exitCode;
}

bool ReadFile(std::string const& path, std::string& bytes) {
    FILE* const file = fopen(path.c_str(), "rbe");
    if (file == nullptr) return Complain(0, "cannot open %s: %s", path.c_str(), strerror(errno)) != 0;
    char buffer[0x10000];
    bytes.clear();
    while (std::size_t const count = fread(buffer, 1, sizeof buffer, file))
        bytes.append(buffer, count);
    bool const isGood = ferror(file) == 0;
    if (!isGood) Complain(0, "cannot read %s: %s", path.c_str(), strerror(errno));
    fclose(file);
    return isGood;
}

bool WriteFile(std::string const& path, std::string const& bytes) {
    if (path.empty()) return Complain(0, "no output is named: -o FILE") != 0;
    FILE* const file = fopen(path.c_str(), "wbe");
    bool isGood = file != nullptr && fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
    if (file != nullptr) isGood = fclose(file) == 0 && isGood;
    if (!isGood) Complain(0, "cannot write %s: %s", path.c_str(), strerror(errno));
    return isGood;
}

bool Load(Options const& options, std::optional<Image>& image) {
    std::string bytes;
    if (!ReadFile(options.input, bytes)) return false;
    image.emplace(std::move(bytes), options.isRaw);
    return true;
}

ProgressBar::ProgressBar(bool isShown, std::size_t expected)
    : isShown_(isShown)
    , expected_(std::max<std::size_t>(expected, 1)) {}

ProgressBar::~ProgressBar() {
    if (isShown_) fputs("\r\033[K", stderr);
}

void ProgressBar::Step() {
    done_ = std::min(done_ + 1, expected_);
    std::size_t const filled = done_ * WIDTH / expected_;
    if (!isShown_ || filled == shown_) return;
    shown_ = filled;
    std::string const bar = std::string(filled, '#') + std::string(WIDTH - filled, '.');
    fprintf(stderr, "\r[%s] %3zu %%", bar.c_str(), done_ * 100 / expected_);
    fflush(stderr);
}

} // namespace Zebfw
