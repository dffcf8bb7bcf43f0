// The verbs of the tool. Each gives the exit code, and says on standard error why it is not 0.
#pragma once

#include "tools/zebfw/Image.h"

#include <string>

namespace Zebfw {

enum ExitT : int { OK = 0, REFUSED = 1, USAGE = 2, UNREADABLE = 3 };

struct Options {
    std::string input;
    std::string output;
    std::size_t block = BLOCK_SIZES[0];
    bool isBlockGiven = false;
    char fill = '\xFF';
    std::size_t at = 0; // block of the table
    Tags tags;
    Trailer trailer;
    std::string key, certificates, digest = "sha256";
    std::string authorities;
    bool checkRevocation = false;
    bool isRaw = false;
    bool showsProgress = false;
};

int Make(Options const& options);
int Sign(Options const& options);
int Info(Options const& options);
int Verify(Options const& options);
int Explain(Options const& options);
int Extract(Options const& options);

// Files; false says why.
bool ReadFile(std::string const& path, std::string& bytes);
bool WriteFile(std::string const& path, std::string const& bytes);
bool Load(Options const& options, std::optional<Image>& image);

// Prints "zebfw: TEXT" to standard error.
int Complain(int exitCode, char const* format, ...) __attribute__((format(printf, 2, 3)));

// A bar on standard error: steps done out of those expected.
class ProgressBar {
public:
    ProgressBar(bool isShown, std::size_t expected);
    ~ProgressBar();
    ProgressBar(ProgressBar const&) = delete;
    ProgressBar& operator=(ProgressBar const&) = delete;

    void Step();

private:
    bool const isShown_;
    std::size_t const expected_;
    std::size_t done_ = 0;
    std::size_t shown_ = 0; // characters of the bar
};

} // namespace Zebfw
