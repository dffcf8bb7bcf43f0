// For the tests of the workbench itself: that a wrong use fails.
#pragma once

#include <string>

#include <gtest/gtest-spi.h>

// The messages of the expectations that fail in `body` on this thread.
template<typename BodyT>
std::string FailuresOf(BodyT const& body) {
    testing::TestPartResultArray failures;
    {
        testing::ScopedFakeTestPartResultReporter const reporter(
            testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &failures);
        body();
    }
    std::string text;
    for (int i = 0; i < failures.size(); ++i) text += std::string(failures.GetTestPartResult(i).message()) + "\n";
    return text;
}

#define EXPECT_THAT_FAILS(statement, words)                                                                                      \
    EXPECT_NE(FailuresOf([&] { statement; }).find(words), std::string::npos) << FailuresOf([&] { statement; })
