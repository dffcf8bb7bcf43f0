#include "workbench/Calls.h"

#include "workbench/Workbench.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <sstream>
#include <vector>

#include <poll.h>

#include <gtest/gtest.h>

namespace {

constexpr std::size_t CALLS = static_cast<std::size_t>(SysCall::COUNT);

Workbench::SpinLock lock;
constinit thread_local Calls* ofThread = nullptr;
constinit std::atomic<Calls*> ofProcess{nullptr};
constinit thread_local unsigned long callsOfThread = 0;

char const* const NAMES[] = {
#define ZEB_CALL(result, name, ...) #name,
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
};

// Of "EIO" or "5"; -1 for what is neither.
int ErrorOf(std::string const& word) {
    constexpr int LAST = 133;
    for (int error = 0; error <= LAST; ++error) {
        char const* const name = strerrorname_np(error);
        if (word == std::to_string(error) || (name != nullptr && word == name)) return error;
    }
    return -1;
}

} // namespace

struct Calls::State {
    ScopeT const scope;
    std::array<unsigned long, CALLS> counts{};
    // Steps that are taken stay until the end: a signal handler may take one, and must free nothing.
    struct Script {
        std::vector<Step> steps;
        std::size_t taken = 0;
        unsigned long Left() const { return steps.size() - taken; }
    };
    std::array<Script, CALLS> scripts{};
};

// The door between the wrapped functions and the scripts.
class CallsWatch {
public:
    using StepT = Calls::Step;
    using KindT = Calls::Step::KindT;

    // Counts a call; the step it takes.
    static StepT Take(SysCall call) {
        if (Workbench::Own::Here()) return {};
        ++callsOfThread;
        bool const watched = ofThread != nullptr || ofProcess.load(std::memory_order_relaxed) != nullptr;
        return watched ? TakeScripted(call) : StepT();
    }

    static StepT TakeScripted(SysCall call) {
        Workbench::Own const own;
        Workbench::SpinLock::Guard const guard(lock);
        std::size_t const index = static_cast<std::size_t>(call);
        for (Calls* calls : {ofThread, ofProcess.load(std::memory_order_acquire)}) {
            if (calls == nullptr) continue;
            Calls::State& state = *calls->state_;
            ++state.counts[index];
            auto& script = state.scripts[index];
            if (script.Left() != 0) return std::move(script.steps[script.taken++]);
        }
        return {};
    }

    // True if the step is the whole result; an action has been run when it is not.
    static bool Ends(StepT const& step) {
        if (step.kind == KindT::DO) step.action();
        return step.kind == KindT::FAIL || step.kind == KindT::RETURN || step.kind == KindT::DATA;
    }

    template<typename ResultT, SysCall CALL = SysCall::COUNT>
    static ResultT Result(StepT const& step) {
        bool const fails = step.kind == KindT::FAIL;
        if (fails) errno = static_cast<int>(step.value);
        if constexpr (std::is_pointer_v<ResultT>)
            return reinterpret_cast<ResultT>(!fails ? step.value : CALL == SysCall::mmap ? -1 : 0);
        else
            return static_cast<ResultT>(fails ? -1 : step.value);
    }

    template<typename DataT>
    static ssize_t Moved(StepT const& step, DataT* data, std::size_t size) {
        if (step.kind != KindT::DATA) return Result<ssize_t>(step);
        std::size_t const moved = std::min(size, step.data.size());
        if constexpr (!std::is_const_v<DataT>) memcpy(data, step.data.data(), moved);
        return static_cast<ssize_t>(moved);
    }

    // Data() of a call that knows itself how much it gives.
    static int Fill(StepT const& step, void* argument) {
        if (step.kind != KindT::DATA) return Result<int>(step);
        memcpy(argument, step.data.data(), step.data.size());
        return 0;
    }

    static int Report(StepT const& step, pollfd* fds, nfds_t count) {
        int ready = 0;
        for (pollfd* entry = fds; entry != fds + count; ++entry) {
            int const wanted = entry->fd < 0 ? 0 : entry->events | POLLERR | POLLHUP | POLLNVAL;
            entry->revents = static_cast<short>(step.value & wanted);
            ready += entry->revents != 0;
        }
        return std::max(ready, 1);
    }

    static std::size_t Limit(StepT const& step, std::size_t size) {
        return step.kind == KindT::SHORT ? std::min(size, static_cast<std::size_t>(step.value)) : size;
    }
};

Calls::Calls(ScopeT scope)
    : state_(new State{.scope = scope})
    , outer_(scope == ScopeT::THREAD ? ofThread : ofProcess.load()) {
    if (scope == ScopeT::THREAD) ofThread = this;
    if (scope == ScopeT::PROCESS) ofProcess.store(this, std::memory_order_release);
}

Calls::~Calls() {
    std::string left;
    {
        Workbench::Own const own;
        Workbench::SpinLock::Guard const guard(lock);
        if (state_->scope == ScopeT::THREAD) ofThread = outer_;
        if (state_->scope == ScopeT::PROCESS) ofProcess.store(outer_, std::memory_order_release);
        for (std::size_t i = 0; i < CALLS; ++i)
            if (unsigned long const count = state_->scripts[i].Left(); count != 0)
                left += std::string(" ") + NAMES[i] + " x " + std::to_string(count);
        delete state_;
    }
    if (!left.empty()) ADD_FAILURE() << "calls that were scripted and not made:" << left;
}

void Calls::Script(SysCall call, std::initializer_list<Step> steps, unsigned long times) {
    Workbench::Own const own;
    Workbench::SpinLock::Guard const guard(lock);
    State::Script& script = state_->scripts[static_cast<std::size_t>(call)];
    if (script.Left() == 0) script = {};
    while (times-- != 0)
        script.steps.insert(script.steps.end(), steps.begin(), steps.end());
}

void Calls::ScriptFailure(std::string const& words) {
    std::istringstream text(words);
    std::string name, error;
    unsigned long ahead = 0;
    if (!(text >> name)) return;
    text >> ahead >> error;
    auto const* const call = std::find(std::begin(NAMES), std::end(NAMES), name);
    int const number = ErrorOf(error);
    if (call == std::end(NAMES) || number < 0) {
        ADD_FAILURE() << "no failure of a call: " << words;
        return;
    }
    auto const index = static_cast<SysCall>(call - std::begin(NAMES));
    Script(index, {Real()}, ahead);
    Script(index, {Fail(number)});
}

unsigned long Calls::Count(SysCall call) const {
    Workbench::SpinLock::Guard const guard(lock);
    return state_->counts[static_cast<std::size_t>(call)];
}

unsigned long Calls::Left(SysCall call) const {
    Workbench::SpinLock::Guard const guard(lock);
    return state_->scripts[static_cast<std::size_t>(call)].Left();
}

void Calls::Clear() {
    Workbench::Own const own;
    Workbench::SpinLock::Guard const guard(lock);
    state_->scripts.fill({});
}

unsigned ForEveryCall(SysCall call, Calls::Step const& step,
                      std::function<bool(std::function<void()> const& arm)> const& body) {
    for (unsigned n = 0;; ++n) {
        SCOPED_TRACE(std::string(NAMES[static_cast<std::size_t>(call)]) + ", call " + std::to_string(n + 1));
        Calls calls;
        bool armed = false;
        bool const showed = body([&] {
            armed = true;
            calls.Script(call, {Calls::Real()}, n);
            calls.Script(call, {step});
        });
        bool const taken = armed && calls.Left(call) == 0;
        calls.Clear();
        EXPECT_EQ(showed, taken);
        if (!taken || !showed) return n;
    }
}

unsigned long Workbench::CallsOfThread() { return callsOfThread; }

// A sanitizer in a shared object may bind to these.
#pragma GCC visibility push(default)

#define ZEB_CALL(result, name, parameters, arguments)                                                        \
    extern "C" result __real_##name parameters;                                                              \
    extern "C" result __wrap_##name parameters {                                                             \
        auto const step = CallsWatch::Take(SysCall::name);                                                   \
        if (CallsWatch::Ends(step)) return (CallsWatch::Result<result, SysCall::name>(step));                \
        return __real_##name arguments;                                                                      \
    }

#define ZEB_CALL_VIA(result, name, parameters, arguments, function)                                          \
    extern "C" result __wrap_##name parameters {                                                             \
        auto const step = CallsWatch::Take(SysCall::name);                                                   \
        if (CallsWatch::Ends(step)) return (CallsWatch::Result<result, SysCall::name>(step));                \
        return function arguments;                                                                           \
    }

#define ZEB_CALL_POLL(result, name, parameters, arguments, function)                                         \
    extern "C" result __wrap_##name parameters {                                                             \
        auto const step = CallsWatch::Take(SysCall::name);                                                   \
        if (step.kind == Calls::Step::KindT::READY) return CallsWatch::Report(step, fds, count);             \
        if (CallsWatch::Ends(step)) return (CallsWatch::Result<result, SysCall::name>(step));                \
        return function arguments;                                                                           \
    }

#define ZEB_CALL_FILLS(result, name, parameters, arguments, argument)                                        \
    extern "C" result __real_##name parameters;                                                              \
    extern "C" result __wrap_##name parameters {                                                             \
        auto const step = CallsWatch::Take(SysCall::name);                                                   \
        if (CallsWatch::Ends(step)) return CallsWatch::Fill(step, argument);                                 \
        return __real_##name arguments;                                                                      \
    }

#define ZEB_CALL_CODE(result, name, parameters, ...)                                                         \
    extern "C" result __real_##name parameters;                                                              \
    extern "C" result __wrap_##name parameters {                                                             \
        auto const step = CallsWatch::Take(SysCall::name);                                                   \
        if (CallsWatch::Ends(step)) return static_cast<result>(step.value);                                  \
        return ZEB_CODE_OF(name, __VA_ARGS__, ZEB_VIA, ZEB_DIRECT, )                                         \
    }
#define ZEB_CODE_OF(name, arguments, function, form, ...) form(name, arguments, function)
#define ZEB_VIA(name, arguments, function) function arguments;
#define ZEB_DIRECT(name, arguments, function) __real_##name arguments;

#define ZEB_CALL_SIZED(result, name, parameters, arguments, data, size)                                      \
    extern "C" result __real_##name parameters;                                                              \
    extern "C" result __wrap_##name parameters {                                                             \
        auto const step = CallsWatch::Take(SysCall::name);                                                   \
        if (CallsWatch::Ends(step)) return CallsWatch::Moved(step, data, size);                              \
        size = CallsWatch::Limit(step, size);                                                                \
        return __real_##name arguments;                                                                      \
    }

#include "workbench/Calls.inc"

#pragma GCC visibility pop

std::string ToldByEveryCall(SysCall call, Calls::Step const& step, std::string const& good,
                            std::function<std::string(std::function<void()> const& arm)> const& body) {
    std::string all;
    ForEveryCall(call, step, [&](std::function<void()> const& arm) {
        std::string const told = body(arm);
        if (told != good) all += told + " ";
        return told != good;
    });
    return all;
}
