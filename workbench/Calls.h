// Scripts the next results of system calls, and counts the calls.
//
//     Calls calls;
//     calls.Script(SysCall::read, {Calls::Fail(EINTR), Calls::Short(3), Calls::Data("abc")});
//     ... the next three read() of this thread take these results, then the real read() runs
//     EXPECT_EQ(calls.Count(SysCall::read), 4u);
//
// Scope      THREAD scripts the calls of the thread that made it, PROCESS those of all threads
// Order      a step of the thread's innermost Calls goes ahead of one of the process; without one the call is
//            real. Each counts what it sees, scripted or not
// Threads    any may script and read the counts; destroy on the thread that made it, innermost first
// Destroy    steps left over fail the test, by name
// Misuse     an action (Do) runs inside the call: it may call anything, a scripted call included
//
// The calls known are the rows of Calls.inc.
#pragma once

#include <functional>
#include <initializer_list>
#include <string>

enum class SysCall : unsigned {
#define ZEB_CALL(result, name, ...) name,
#define ZEB_CALL_CODE ZEB_CALL
#define ZEB_CALL_SIZED ZEB_CALL
#define ZEB_CALL_FILLS ZEB_CALL
#define ZEB_CALL_VIA ZEB_CALL
#define ZEB_CALL_POLL ZEB_CALL
#include "workbench/Calls.inc"
#undef ZEB_CALL
#undef ZEB_CALL_CODE
#undef ZEB_CALL_SIZED
#undef ZEB_CALL_FILLS
#undef ZEB_CALL_VIA
#undef ZEB_CALL_POLL
    COUNT
};

class Calls {
public:
    enum class ScopeT { THREAD, PROCESS };

    struct Step {
        enum class KindT { REAL, FAIL, RETURN, SHORT, DATA, READY, DO };

        KindT kind = KindT::REAL;
        long value = 0;
        std::string data;
        std::function<void()> action;
    };

    // The call does not happen, and fails: -1 (null for pointers) with `error` in errno; `error` itself as
    // the result where the function returns its error (pthread_create and its like).
    static Step Fail(int error) { return {Step::KindT::FAIL, error, {}, {}}; }

    // The call does not happen, and returns `value`.
    static Step Return(long value) { return {Step::KindT::RETURN, value, {}, {}}; }

    // The real call, with at most `bytes` bytes.
    static Step Short(long bytes) { return {Step::KindT::SHORT, bytes, {}, {}}; }

    // The call does not happen; a reading call delivers `text`, cut at the room that it has.
    static Step Data(std::string text) { return {Step::KindT::DATA, 0, std::move(text), {}}; }

    // The call does not happen, and succeeds; ioctl() puts `value` where its argument points to.
    template<typename T>
    static Step Value(T const& value) {
        return Data({reinterpret_cast<char const*>(&value), sizeof(value)});
    }

    // The call does not happen; poll() tells these events of each descriptor that asks for them, and errors
    // (POLLERR, POLLHUP, POLLNVAL) of each. With 0 it returns as if something were ready.
    static Step Ready(short events) { return {Step::KindT::READY, events, {}, {}}; }

    // The real call, untouched.
    static Step Real() { return {}; }

    // `action` first, then the real call.
    static Step Do(std::function<void()> action) { return {Step::KindT::DO, 0, {}, std::move(action)}; }

    explicit Calls(ScopeT scope = ScopeT::THREAD);
    ~Calls();
    Calls(Calls const&) = delete;
    Calls& operator=(Calls const&) = delete;

    // Appends steps to what is scripted for `call`; `times` repeats them.
    void Script(SysCall call, std::initializer_list<Step> steps, unsigned long times = 1);

    // The same in words, for tables: "openat 2 EMFILE" fails the third call so; the errors are those of
    // errno.h, or numbers. What it does not know fails the test. An empty text is nothing to do.
    void ScriptFailure(std::string const& words);

    // Calls since this object exists, scripted or not, of the thread or of the process.
    unsigned long Count(SysCall call) const;

    // Steps not yet taken.
    unsigned long Left(SysCall call) const;

    // Forgets all steps.
    void Clear();

private:
    friend class CallsWatch;
    struct State;

    State* const state_;
    Calls* const outer_;
};

// Runs `body` with the 1st, 2nd, 3rd ... call of this thread from arm() on taking `step`, until a run makes
// no such call; the number of runs that took it. `body` tells whether what is under test failed: a step that
// was taken and did not show, or a failure without one, fails the test and ends the sweep.
//
//     ForEveryCall(SysCall::read, Calls::Fail(EIO), [](auto const& arm) {
//         Table table;
//         arm();
//         return !table.Load(path);
//     });
unsigned ForEveryCall(SysCall call, Calls::Step const& step,
                      std::function<bool(std::function<void()> const& arm)> const& body);

// The same of a body that tells in words how it went: what it told in each run that took `step`, each with a
// blank behind it. `good` is what it tells when nothing failed.
//
//     EXPECT_EQ(ToldByEveryCall(SysCall::read, Calls::Fail(EIO), "ok", load), "no header no rows ");
std::string ToldByEveryCall(SysCall call, Calls::Step const& step, std::string const& good,
                            std::function<std::string(std::function<void()> const& arm)> const& body);
