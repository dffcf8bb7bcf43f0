// Work handed to another thread: until it begins, until its end is seen back, and a thousand at once. A name
// is <operation>/<who>.

#include "bench/Answer.h"
#include "zeb/core/AutoPtr.h"
#include "zeb/event/Bus.h"
#include "zeb/event/Delegate.h"
#include "zeb/event/LibraryEvents.h"
#include "zeb/runtime/ThreadMain.h"
#include "zeb/task/TaskObject.h"
#include "zeb/task/TaskQueue.h"

#include <benchmark/benchmark.h>

#include <atomic>
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
#include <Poco/Notification.h>
#include <Poco/NotificationQueue.h>
#include <Poco/RunnableAdapter.h>
#include <Poco/ThreadPool.h>
#endif

namespace {

constexpr int MANY = 1000;

using ClockT = std::chrono::steady_clock;

// Posts one unit of work after the other, and takes the time until each has begun.
void Begin(benchmark::State& state, std::function<void(std::function<void()>)> const& post) {
    Answer answer;
    ClockT::time_point begun;
    for (auto _ : state) {
        ClockT::time_point const posted = ClockT::now();
        post([&] {
            begun = ClockT::now();
            answer.Give();
        });
        answer.Await();
        state.SetIterationTime(std::chrono::duration<double>(begun - posted).count());
    }
}

void SeeBack(benchmark::State& state, std::function<void(std::function<void()>)> const& post) {
    Answer answer;
    for (auto _ : state) {
        post([&] { answer.Give(); });
        answer.Await();
    }
}

void PostMany(benchmark::State& state, std::function<void(std::function<void()>)> const& post) {
    Answer answer;
    std::atomic<int> runs = 0;
    for (auto _ : state) {
        runs = 0;
        for (int i = 0; i < MANY; ++i)
            post([&] {
                if (++runs == MANY) answer.Give();
            });
        answer.Await();
    }
}

void MainThread() { static AutoPtr<ThreadMain> const main(ThreadMain::New("bench")); }

struct Job : Task::Object {
    Job()
        : Object(nullptr, nullptr) {}
    bool Initialized() const override { return true; }
    char const* Ident() const override { return "job"; }
    ReturnT Run() override {
        if (body) body();
        return ReturnT::Done();
    }

    std::function<void()> body;
};

struct Poster {
    explicit Poster(bool subscribe) {
        if (subscribe) (void)Event::Subscribe("Event::Type::TaskDone", delegate);
    }
    ~Poster() { Event::Unsubscribe("", this, delegate.Ident()); }
    void OnDone(Event::TaskDone const&) { answer.Give(); }
    void Post(Job& job) { (void)queue.EnqueueTask(delegate, &job); }

    Answer answer;
    Event::Delegate<Poster> const delegate{"poster", this, &Poster::OnDone, nullptr};
    Task::Queue queue{"bench", Time::Span(), nullptr};
};

void BeginOurs(benchmark::State& state) {
    MainThread();
    Poster poster(false);
    Job job;
    Begin(state, [&](std::function<void()> body) {
        job.body = std::move(body);
        poster.Post(job);
    });
    poster.queue.CancelAllTasks(poster.delegate);
}
BENCHMARK(BeginOurs)->Name("Task.Begin/ours")->UseManualTime();

void SeeBackOurs(benchmark::State& state) {
    MainThread();
    Poster poster(true);
    Job job;
    for (auto _ : state) {
        poster.Post(job);
        poster.answer.Await();
    }
}
BENCHMARK(SeeBackOurs)->Name("Task.SeenBackAsEvent/ours")->UseRealTime();

void SeeBackPlainOurs(benchmark::State& state) {
    MainThread();
    Poster poster(false);
    Job job;
    SeeBack(state, [&](std::function<void()> body) {
        job.body = std::move(body);
        poster.Post(job);
    });
    poster.queue.CancelAllTasks(poster.delegate);
}
BENCHMARK(SeeBackPlainOurs)->Name("Task.SeenBack/ours")->UseRealTime();

// For each task ours makes the event of its end and a clone of the delegate ahead of its run, takes monitored
// locks for the list and for the run, and tells everybody who waits that it has ended: peers that do none of
// this are ahead.
void ManyOurs(benchmark::State& state) {
    MainThread();
    Poster poster(false);
    std::deque<Job> jobs(MANY);
    jobs.back().body = [&] { poster.answer.Give(); };
    for (auto _ : state) {
        for (Job& job : jobs)
            poster.Post(job);
        poster.answer.Await();
    }
    poster.queue.CancelAllTasks(poster.delegate);
}
BENCHMARK(ManyOurs)->Name("Task.Thousand/ours")->UseRealTime();

// So many tasks are listed behind one that waits, and then all of them run; or all are cancelled one by one,
// the last one first.
void Growth(benchmark::State& state, bool cancelled) {
    MainThread();
    Poster poster(false);
    Answer gate;
    Job blocker;
    blocker.body = [&] { gate.Await(); };
    std::deque<Job> jobs(static_cast<unsigned long>(state.range(0)));
    Job last;
    last.body = [&] { poster.answer.Give(); };
    for (auto _ : state) {
        poster.Post(blocker);
        for (Job& job : jobs)
            poster.Post(job);
        poster.Post(last);
        for (auto job = jobs.rbegin(); cancelled && job != jobs.rend(); ++job)
            poster.queue.CancelTask(poster.delegate, &*job);
        gate.Give();
        poster.answer.Await();
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * state.range(0));
    poster.queue.CancelAllTasks(poster.delegate);
}
#define GROWTH(name, cancelled)                                                                              \
    BENCHMARK_CAPTURE(Growth, name, cancelled)                                                               \
        ->Name("Task." #name "/Growth")                                                                      \
        ->Arg(16)                                                                                            \
        ->Arg(256)                                                                                           \
        ->Arg(4096)                                                                                          \
        ->Arg(32768)                                                                                         \
        ->UseRealTime()
GROWTH(Queue, false);
GROWTH(Cancel, true);

// The same of a peer, which takes one function after the other over in Post().
template<class PeerT>
void BeginPeer(benchmark::State& state) {
    PeerT peer;
    Begin(state, [&](std::function<void()> body) { peer.Post(std::move(body)); });
}

template<class PeerT>
void SeeBackPeer(benchmark::State& state) {
    PeerT peer;
    SeeBack(state, [&](std::function<void()> body) { peer.Post(std::move(body)); });
}

template<class PeerT>
void ManyPeer(benchmark::State& state) {
    PeerT peer;
    PostMany(state, [&](std::function<void()> body) { peer.Post(std::move(body)); });
}

#define PEER(PeerT, name)                                                                                    \
    BENCHMARK(BeginPeer<PeerT>)->Name("Task.Begin/" name)->UseManualTime();                                  \
    BENCHMARK(SeeBackPeer<PeerT>)->Name("Task.SeenBack/" name)->UseRealTime();                               \
    BENCHMARK(SeeBackPeer<PeerT>)->Name("Task.SeenBackAsEvent/" name)->UseRealTime();                        \
    BENCHMARK(ManyPeer<PeerT>)->Name("Task.Thousand/" name)->UseRealTime()

// The least that can be done: a list under a mutex, and a condition variable.
class List {
public:
    ~List() {
        Post(nullptr);
        thread_.join();
    }
    void Post(std::function<void()> body) {
        std::unique_lock const lock(mutex_);
        bodies_.push_back(std::move(body));
        if (bodies_.size() == 1) changed_.notify_one();
    }

private:
    void Run_() {
        for (;;) {
            std::unique_lock lock(mutex_);
            changed_.wait(lock, [this] { return !bodies_.empty(); });
            std::function<void()> const body = std::move(bodies_.front());
            bodies_.pop_front();
            lock.unlock();
            if (!body) return;
            body();
        }
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::function<void()>> bodies_;
    std::thread thread_{[this] { Run_(); }};
};
PEER(List, "condvar");

#ifdef ZEB_PEER_BOOST
class Asio {
public:
    ~Asio() { pool_.join(); }
    void Post(std::function<void()> body) { boost::asio::post(pool_, std::move(body)); }

private:
    boost::asio::thread_pool pool_{1};
};
PEER(Asio, "asio");
#endif

#ifdef ZEB_PEER_GLIB
class Glib {
public:
    ~Glib() { g_thread_pool_free(pool_, FALSE, TRUE); }
    void Post(std::function<void()> body) {
        g_thread_pool_push(pool_, new std::function<void()>(std::move(body)), nullptr);
    }

private:
    static void Run_(void* data, void*) {
        auto* const body = static_cast<std::function<void()>*>(data);
        (*body)();
        delete body;
    }

    GThreadPool* pool_ = g_thread_pool_new(&Glib::Run_, nullptr, 1, TRUE, nullptr);
};
PEER(Glib, "glib");
#endif

#ifdef ZEB_PEER_POCO
class PocoQueue {
public:
    ~PocoQueue() {
        Post(nullptr);
        thread_.join();
    }
    void Post(std::function<void()> body) { queue_.enqueueNotification(new Body_(std::move(body))); }

private:
    struct Body_ : Poco::Notification {
        explicit Body_(std::function<void()> function)
            : body(std::move(function)) {}
        std::function<void()> body;
    };

    void Run_() {
        for (;;) {
            Poco::AutoPtr<Poco::Notification> next(queue_.waitDequeueNotification());
            std::function<void()> const& body = static_cast<Body_&>(*next).body;
            if (!body) return;
            body();
        }
    }

    Poco::NotificationQueue queue_;
    std::thread thread_{[this] { Run_(); }};
};
PEER(PocoQueue, "poco-queue");

class PocoPool {
public:
    ~PocoPool() { pool_.joinAll(); }
    void Post(std::function<void()> body) {
        body_ = std::move(body);
        while (pool_.available() == 0)
            std::this_thread::yield();
        pool_.start(runnable_);
    }

private:
    void Run_() { body_(); }

    std::function<void()> body_;
    Poco::ThreadPool pool_{1, 2};
    Poco::RunnableAdapter<PocoPool> runnable_{*this, &PocoPool::Run_};
};
BENCHMARK(BeginPeer<PocoPool>)->Name("Task.Begin/poco-pool")->UseManualTime();
BENCHMARK(SeeBackPeer<PocoPool>)->Name("Task.SeenBack/poco-pool")->UseRealTime();
BENCHMARK(SeeBackPeer<PocoPool>)->Name("Task.SeenBackAsEvent/poco-pool")->UseRealTime();
#endif

} // namespace
