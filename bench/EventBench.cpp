// One event raised and waited for until a handler on another thread has run, beside the queues and loops that
// do the same; and what each further acceptor costs.

#include "bench/Answer.h"
#include "zeb/core/AutoPtr.h"
#include "zeb/event/Bus.h"
#include "zeb/event/Delegate.h"
#include "zeb/runtime/ThreadMain.h"

#include <benchmark/benchmark.h>

#include <condition_variable>
#include <memory>
#include <mutex>
#include <new>
#include <thread>
#include <vector>

#ifdef ZEB_PEER_GLIB
#include <glib.h>
#endif

#ifdef ZEB_PEER_POCO
#include <Poco/Notification.h>
#include <Poco/NotificationQueue.h>
#endif

namespace {

class Tick : public Event::Base {
public:
    char const* Ident() const override { return "Event::Type::Tick"; }
    Base* Clone_() const override { return new (std::nothrow) Tick; }
};

class Counter {
public:
    Counter() { (void)Event::Subscribe("Event::Type::Tick", delegate_); }
    ~Counter() { Event::Unsubscribe("", this, delegate_.Ident()); }

private:
    void On_(Tick const&) { ++count_; }

    Mutex const mutex_{Mutex::CACHE};
    unsigned long count_ = 0;
    Event::Delegate<Counter> const delegate_{"counter", this, &Counter::On_, &mutex_};
};

void MainThread() { static AutoPtr<ThreadMain> const main(ThreadMain::New("bench")); }

void RaiseOurs(benchmark::State& state) {
    MainThread();
    std::vector<std::unique_ptr<Counter>> acceptors;
    for (long i = 0; i < state.range(0); ++i)
        acceptors.push_back(std::make_unique<Counter>());
    for (auto _ : state) {
        AutoPtr<Event::Base> event(new Tick);
        Event::Raise(event, Event::SYNC, Event::DIRECT);
    }
}
BENCHMARK(RaiseOurs)->Name("Event.Sync/ours")->Arg(1)->UseRealTime();
// The difference of both, by 1000, is the cost of one acceptor.
BENCHMARK(RaiseOurs)->Name("Event.SyncToMany/ours")->Arg(1)->Arg(1001)->UseRealTime();

// One more subscriber to a type that has some already, and its end: every equal one is looked for.
void SubscribeOurs(benchmark::State& state) {
    MainThread();
    std::vector<std::unique_ptr<Counter>> acceptors;
    for (long i = 0; i < state.range(0); ++i)
        acceptors.push_back(std::make_unique<Counter>());
    for (auto _ : state)
        Counter const another;
}
BENCHMARK(SubscribeOurs)->Name("Event.Subscribe/Growth")->Arg(16)->Arg(256)->Arg(4096)->Arg(32768);

// One call of many: the cost of each acceptor.
void DeliverOurs(benchmark::State& state) {
    RaiseOurs(state);
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(DeliverOurs)->Name("Event.Deliver/Growth")->Arg(16)->Arg(256)->Arg(4096)->Arg(32768)->UseRealTime();

// The least that can be done: two condition variables, one round trip.
class Loop {
public:
    void Run(bool untilStop) {
        std::unique_lock lock(mutex_);
        do {
            asked_.wait(lock, [this] { return pending_ || stop_; });
            pending_ = false;
            answered_.notify_one();
        } while (untilStop && !stop_);
    }
    void Ask() {
        std::unique_lock lock(mutex_);
        pending_ = true;
        asked_.notify_one();
        answered_.wait(lock, [this] { return !pending_; });
    }
    void Stop() {
        std::unique_lock const lock(mutex_);
        stop_ = true;
        asked_.notify_one();
    }

private:
    std::mutex mutex_;
    std::condition_variable asked_, answered_;
    bool pending_ = false, stop_ = false;
};

void RaiseLimit(benchmark::State& state) {
    Loop loop;
    std::thread thread([&] { loop.Run(true); });
    for (auto _ : state)
        loop.Ask();
    loop.Stop();
    thread.join();
}
BENCHMARK(RaiseLimit)->Name("Event.Sync/condvar")->Arg(1)->UseRealTime();

#ifdef ZEB_PEER_GLIB
void RaiseGlib(benchmark::State& state) {
    GMainContext* const context = g_main_context_new();
    GMainLoop* const loop = g_main_loop_new(context, FALSE);
    std::thread thread([&] { g_main_loop_run(loop); });
    Answer answer;
    for (auto _ : state) {
        g_main_context_invoke_full(
            context, G_PRIORITY_DEFAULT,
            [](void* data) -> gboolean {
                static_cast<Answer*>(data)->Give();
                return G_SOURCE_REMOVE;
            },
            &answer, nullptr);
        answer.Await();
    }
    g_main_loop_quit(loop);
    thread.join();
    g_main_loop_unref(loop);
    g_main_context_unref(context);
}
BENCHMARK(RaiseGlib)->Name("Event.Sync/glib")->Arg(1)->UseRealTime();
#endif

#ifdef ZEB_PEER_POCO
void RaisePoco(benchmark::State& state) {
    Poco::NotificationQueue queue;
    Answer answer;
    std::thread thread([&] {
        while (Poco::Notification::Ptr const note = queue.waitDequeueNotification())
            answer.Give();
    });
    for (auto _ : state) {
        queue.enqueueNotification(new Poco::Notification);
        answer.Await();
    }
    while (!queue.hasIdleThreads())
        std::this_thread::yield();
    queue.wakeUpAll();
    thread.join();
}
BENCHMARK(RaisePoco)->Name("Event.Sync/poco")->Arg(1)->UseRealTime();
#endif

} // namespace
