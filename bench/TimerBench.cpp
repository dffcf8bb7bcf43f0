// Timers: moving one of sixteen that are armed, and the delay until a callback runs after one millisecond. A
// name is <operation>/<who>. All peers are used from one thread and call back on another.

#include "bench/Answer.h"
#include "zeb/core/AutoPtr.h"
#include "zeb/runtime/ThreadMain.h"
#include "zeb/timer/Timer.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <deque>
#include <functional>
#include <thread>

#ifdef ZEB_PEER_BOOST
#include <boost/asio.hpp>
#endif

#ifdef ZEB_PEER_GLIB
#include <glib.h>
#endif

#ifdef ZEB_PEER_POCO
#include <Poco/Util/Timer.h>
#include <Poco/Util/TimerTask.h>
#endif

namespace {

constexpr int ARMED = 16;
constexpr long FIRST = 100000; // milliseconds until the first one is due, in steps of a second

// Moves the timers in turn, none of them to the front.
template<class TimersT>
void SetArmed(benchmark::State& state) {
    TimersT timers;
    for (int i = 0; i < ARMED; ++i)
        timers.Set(i, FIRST + i * 1000);
    long step = 0;
    for (auto _ : state) {
        ++step;
        timers.Set(1 + static_cast<int>(step % (ARMED - 1)), FIRST + 1500 + step * 7 % ARMED * 1000);
    }
}

template<class TimersT>
void OneMillisecond(benchmark::State& state) {
    TimersT timers;
    for (auto _ : state) {
        timers.Set(0, 1);
        timers.answer.Await();
    }
}

#define PEER(TimersT, name)                                                                                  \
    BENCHMARK(SetArmed<TimersT>)->Name("Timer.Set16/" name)->UseRealTime();                                  \
    BENCHMARK(OneMillisecond<TimersT>)->Name("Timer.OneMillisecond/" name)->UseRealTime()

struct Ours {
    explicit Ours(int count = ARMED) {
        static AutoPtr<ThreadMain> const main(ThreadMain::New("bench"));
        for (int i = 0; i < count; ++i)
            timers.emplace_back("bench", this, &Ours::Fire, nullptr);
    }
    ~Ours() {
        for (auto const& timer : timers)
            timer.Cancel();
    }
    void Set(int number, long milliseconds) { timers[number].Set(milliseconds); }
    void Fire() { answer.Give(); }

    Answer answer;
    std::deque<Timer<Ours>> timers;
};
PEER(Ours, "ours");

// Moves one timer among so many, on the average to the middle.
void SetGrowth(benchmark::State& state) {
    int const count = static_cast<int>(state.range(0));
    Ours timers(count);
    for (int i = count; i-- != 0;) // each to the front
        timers.Set(i, FIRST + i * 10);
    long step = 0;
    for (auto _ : state) {
        ++step;
        timers.Set(1 + static_cast<int>(step % (count - 1)), FIRST + 15 + step * 7919 % count * 10);
    }
}
BENCHMARK(SetGrowth)->Name("Timer.Set/Growth")->Arg(16)->Arg(256)->Arg(4096)->Arg(32768)->UseRealTime();

// A wait with a limit on a condition variable, and nothing else.
void OneMillisecondCondvar(benchmark::State& state) {
    std::mutex mutex;
    std::condition_variable changed;
    std::unique_lock lock(mutex);
    for (auto _ : state)
        changed.wait_for(lock, std::chrono::milliseconds(1));
}
BENCHMARK(OneMillisecondCondvar)->Name("Timer.OneMillisecond/condvar")->UseRealTime();

#ifdef ZEB_PEER_BOOST
struct Asio {
    Asio() {
        for (int i = 0; i < ARMED; ++i)
            timers.emplace_back(context);
    }
    ~Asio() {
        context.stop();
        thread.join();
    }
    void Set(int number, long milliseconds) {
        timers[number].expires_after(std::chrono::milliseconds(milliseconds));
        timers[number].async_wait([this](boost::system::error_code const& error) {
            if (!error) answer.Give();
        });
    }

    Answer answer;
    boost::asio::io_context context;
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> guard{context.get_executor()};
    std::deque<boost::asio::steady_timer> timers;
    std::thread thread{[this] { context.run(); }};
};
PEER(Asio, "asio");
#endif

#ifdef ZEB_PEER_GLIB
struct Glib {
    Glib() {
        for (GSource*& source : sources) {
            source = g_source_new(&functions, sizeof(GSource));
            g_source_set_callback(source, nullptr, this, nullptr);
            g_source_attach(source, context);
        }
    }
    ~Glib() {
        while (!g_main_loop_is_running(loop))
            std::this_thread::yield();
        g_main_loop_quit(loop);
        thread.join();
        for (GSource* source : sources) {
            g_source_destroy(source);
            g_source_unref(source);
        }
        g_main_loop_unref(loop);
        g_main_context_unref(context);
    }
    void Set(int number, long milliseconds) {
        g_source_set_ready_time(sources[number], g_get_monotonic_time() + milliseconds * 1000);
    }

    static gboolean Dispatch(GSource* source, GSourceFunc, void* data) {
        g_source_set_ready_time(source, -1);
        static_cast<Glib*>(data)->answer.Give();
        return G_SOURCE_CONTINUE;
    }

    Answer answer;
    GSourceFuncs functions = {nullptr, nullptr, &Glib::Dispatch, nullptr, nullptr, nullptr};
    GMainContext* context = g_main_context_new();
    GMainLoop* loop = g_main_loop_new(context, FALSE);
    GSource* sources[ARMED];
    std::thread thread{[this] { g_main_loop_run(loop); }};
};
PEER(Glib, "glib");
#endif

#ifdef ZEB_PEER_POCO
struct PocoTimers {
    struct Task_ : Poco::Util::TimerTask {
        explicit Task_(Answer& wanted)
            : answer(wanted) {}
        void run() override { answer.Give(); }
        Answer& answer;
    };
    ~PocoTimers() { timer.cancel(true); }
    void Set(int number, long milliseconds) {
        if (tasks[number]) tasks[number]->cancel();
        tasks[number] = new Task_(answer);
        timer.schedule(tasks[number], Poco::Clock() + milliseconds * 1000);
    }

    Answer answer;
    Poco::Util::Timer timer;
    Poco::Util::TimerTask::Ptr tasks[ARMED];
};
PEER(PocoTimers, "poco");
#endif

} // namespace
