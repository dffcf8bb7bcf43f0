#include "workbench/Feed.h"

#include "workbench/Calls.h"
#include "workbench/TempDir.h"
#include "workbench/Workbench.h"

#include <algorithm>
#include <cerrno>
#include <memory>
#include <random>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

constexpr std::size_t PRIMES[] = {2, 3, 5, 7, 11, 13, 31, 127, 509, 1021, 4093, 16381, 65521};
constexpr unsigned RANDOM_CUTS = 3;
constexpr unsigned READS = 3; // of each byte, by readers that go back

// The text cut where `next` says, each piece in a block of its own.
void Give(std::string_view text, std::string const& name, std::function<std::size_t()> const& next,
          std::function<void(FeedT const&)> const& body) {
    SCOPED_TRACE("fed " + name);
    std::vector<std::unique_ptr<char[]>> blocks;
    FeedT pieces;
    for (std::size_t at = 0; at < text.size();) {
        std::size_t const size = std::min(next(), text.size() - at);
        blocks.emplace_back(new char[size]);
        std::copy_n(text.data() + at, size, blocks.back().get());
        pieces.emplace_back(blocks.back().get(), size);
        at += size;
    }
    body(pieces);
}

int FirstFreeDescriptor() {
    int const free = open("/dev/null", O_RDONLY | O_CLOEXEC);
    close(free);
    return free;
}

} // namespace

void ForEveryRead(std::string const& text, std::function<void(char const*)> const& body) {
    unsigned long const failedBefore = Workbench::FailedParts();
    TempDir const dir;
    std::string const path = dir.Write("text", text);
    int const free = FirstFreeDescriptor();
    body(path.c_str());
    EXPECT_EQ(FirstFreeDescriptor(), free) << "a descriptor is left open";
    if (Workbench::FailedParts() != failedBefore) return;
    SCOPED_TRACE("read byte by byte");
    Calls calls;
    calls.Script(SysCall::read, {Calls::Fail(EINTR), Calls::Short(1), Calls::Fail(EAGAIN)},
                 READS * (text.size() + 1));
    body(path.c_str());
    calls.Clear();
}

std::vector<std::string> Damaged(std::string const& text, char other) {
    std::vector<std::string> texts;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (i != 0) texts.push_back(text.substr(0, i));
        texts.push_back(text.substr(0, i) + text.substr(i + 1));
        texts.push_back(text.substr(0, i) + other + text.substr(i + 1));
    }
    return texts;
}

std::vector<std::size_t> FeedSteps(std::size_t size) {
    std::vector<std::size_t> steps{0};
    if (size > 1) steps.push_back(1);
    for (std::size_t const prime : PRIMES)
        if (prime < size) steps.push_back(prime);
    return steps;
}

void ForEveryFeed(std::string_view text, std::function<void(FeedT const&)> const& body) {
    unsigned long const failedBefore = Workbench::FailedParts();
    for (std::size_t const step : FeedSteps(text.size())) {
        Give(
            text, step == 0 ? "whole" : "by " + std::to_string(step),
            [&] { return step == 0 ? text.size() : step; }, body);
        if (Workbench::FailedParts() != failedBefore) return;
    }
    for (unsigned seed = 1; seed <= RANDOM_CUTS && text.size() > 2; ++seed) {
        std::mt19937 random(seed);
        Give(
            text, "by random sizes of seed " + std::to_string(seed),
            [&] { return 1 + random() % std::max<std::size_t>(2, text.size() / 3); }, body);
        if (Workbench::FailedParts() != failedBefore) return;
    }
}
