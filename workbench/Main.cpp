// The main of every test program: prints failures, slow tests and a summary.
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <signal.h>

#include <gtest/gtest.h>

// A refused allocation is a result like any other.
extern "C" __attribute__((visibility("default"))) char const* __asan_default_options() {
    return "allocator_may_return_null=1:detect_stack_use_after_return=1:handle_abort=0";
}
extern "C" __attribute__((visibility("default"))) char const* __tsan_default_options() {
    return "allocator_may_return_null=1:die_after_fork=0";
}
extern "C" __attribute__((visibility("default"))) char const* __ubsan_default_options() {
    return "print_stacktrace=1:halt_on_error=1";
}

namespace {

constexpr long SLOW_MS = 400;

// Says nothing about tests that pass quickly.
class Printer : public testing::EmptyTestEventListener {
    void OnTestStart(testing::TestInfo const& test) override {
        running_ = Name(test);
        if (getenv("ZEB_TEST_VERBOSE") != nullptr) printf("%s\n", running_.c_str());
        fflush(stdout);
    }

    void OnTestPartResult(testing::TestPartResult const& part) override {
        if (part.passed()) return;
        printf("%s:%d: %s in %s\n%s\n", part.file_name() == nullptr ? "?" : part.file_name(),
               part.line_number(), part.skipped() ? "SKIPPED" : "FAILED", running_.c_str(), part.message());
        fflush(stdout);
    }

    void OnTestEnd(testing::TestInfo const& test) override {
        if (test.result()->Failed()) failed_.push_back(Name(test));
        long const took = static_cast<long>(test.result()->elapsed_time());
        if (took > SLOW_MS) printf("note: %s took %ld ms\n", Name(test).c_str(), took);
        fflush(stdout);
    }

    void OnTestProgramEnd(testing::UnitTest const& all) override {
        for (std::string const& name : failed_)
            printf("FAILED: %s\n", name.c_str());
        printf("%d passed, %d failed, %d skipped, in %ld ms\n", all.successful_test_count(),
               all.failed_test_count(), all.skipped_test_count(), static_cast<long>(all.elapsed_time()));
        fflush(stdout);
    }

    static std::string Name(testing::TestInfo const& test) {
        return std::string(test.test_suite_name()) + "." + test.name();
    }

    std::string running_ = "(no test)";
    std::vector<std::string> failed_;
};

} // namespace

int main(int argc, char** argv) {
    signal(SIGPIPE, SIG_IGN);
    setlocale(LC_ALL, "C");
    setenv("TZ", "UTC", 0);
    testing::InitGoogleTest(&argc, argv);
    testing::TestEventListeners& listeners = testing::UnitTest::GetInstance()->listeners();
    delete listeners.Release(listeners.default_result_printer());
    listeners.Append(new Printer);
    if (RUN_ALL_TESTS() != 0) return 1;
    // A filter that selects nothing is a mistake.
    return testing::UnitTest::GetInstance()->test_to_run_count() == 0 ? 2 : 0;
}
