// That expectations fail: for the tests of a rig, which is worth nothing if it lets a fault pass.
//
//     EXPECT_THAT_FAILS(ForEveryAllocation(leaks), "1 bytes of allocation 1");
//
// The failures are taken away from the test that asks. Only those of the calling thread are seen.
#pragma once

#include <string>

#include <gtest/gtest-spi.h>

// The messages of the expectations that fail in `body` on this thread, one a line.
template<typename BodyT>
std::string FailuresOf(BodyT const& body) {
    testing::TestPartResultArray failures;
    {
        testing::ScopedFakeTestPartResultReporter const reporter(
            testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &failures);
        body();
    }
    std::string text;
    for (int i = 0; i < failures.size(); ++i)
        text += std::string(failures.GetTestPartResult(i).message()) + "\n";
    return text;
}

// Fails unless an expectation in the statement fails with these words; the statement runs twice if not.
#define EXPECT_THAT_FAILS(statement, words)                                                                  \
    EXPECT_NE(FailuresOf([&] { statement; }).find(words), std::string::npos) << FailuresOf([&] { statement; })
