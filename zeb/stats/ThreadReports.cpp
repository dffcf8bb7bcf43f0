// All threads, their locks and their processor load as nodes of a document.

#include "zeb/doc/xml/Document.h"
#include "zeb/runtime/StatusLog.h"
#include "zeb/stats/ThreadMonitor.h"

namespace {

constexpr ReturnT ATTACHED{0x0022012C};

int ByTimespanDescending_(Thread::State const* a, Thread::State const* b) {
    if (a->Locks().Empty() || b->Locks().Empty())
        return static_cast<int>(b->Locks().Empty()) - static_cast<int>(a->Locks().Empty());
    Thread::Lock const& lockA = a->Locks().Back();
    Thread::Lock const& lockB = b->Locks().Back();
    bool const holdsA = &lockA.State() == &Thread::Lock::ACQUIRED;
    bool const holdsB = &lockB.State() == &Thread::Lock::ACQUIRED;
    if (!holdsA || !holdsB) return static_cast<int>(holdsA) - static_cast<int>(holdsB);
    if (lockA.Timespan() == lockB.Timespan()) return 0;
    return lockA.Timespan() > lockB.Timespan() ? -1 : 1;
}

void AppendCalls_(Xml::Node& backtrace, CString const& calls) {
    Xml::Node* const element = backtrace.AppendElement("calls");
    if (!element) return;
    Xml::Document& document = *backtrace.Doc();
    Xml::String const copy = document.AllocateString(calls.Cstr(), calls.Size());
    Xml::Node* const data = document.Valid() ? document.AllocateNode(Xml::Node::CDATA, "", copy) : nullptr;
    if (data) element->AppendNode(data);
}

} // namespace

bool Thread::State::AttachTo(Monitor const& monitor, Xml::Node& node) const {
    Xml::Node* const thread = node.AppendToArray("thread");
    if (!thread) return false;
    thread->AppendElement("name", name_);
    thread->AppendElement("tid", tid_);
    thread->AppendElement("lock_list_complete", complete_);
    Xml::Node* const locks = thread->AppendElement("locks");
    for (unsigned long i = 0; locks && i < locks_.Size(); ++i)
        (void)locks_[i].AttachTo(*locks); // the flag of the document tells
    Xml::Node* const backtrace = thread->AppendElement("backtrace");
    if (monitor.AttachTo(tid_, *thread).Failed()) return false;
    if (backtrace) {
        AppendCalls_(*backtrace, calls_);
        backtrace->AppendElement("error", error_);
    }
    return node.Doc()->Valid();
}

ReturnT Thread::AttachThreadsTo(Monitor const& monitor, Xml::Node& node) {
    AutoPVector<State, StdDeleter> states;
    bool done = GetStates(states).Succeeded();
    Xml::Node* threads = nullptr;
    if (done) {
        states.Sort<&ByTimespanDescending_>();
        threads = node.AppendElement("threads");
    }
    done = threads != nullptr;
    for (unsigned long i = 0; done && i < states.Size(); ++i)
        done = states[i]->GetBacktrace() && states[i]->AttachTo(monitor, *threads);
    if (done) return StatusLog(ATTACHED, Log::INFO, IDENT, nullptr, "").SetDone();
    return StatusLog(ReturnT::Oom(), Log::CRITICAL, IDENT, nullptr, "").SetOom();
}
