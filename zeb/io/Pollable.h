#pragma once

// A stream or socket that can be waited for, and the one wait of the library.
//
// No blocking system call of a socket or pollable file waits by itself: every transfer first waits in
// Pollable::Wait, which slices the time into polls of 333 ms, so that an interrupted thread notices within a
// third of a second. Call it yourself to wait for several objects at once:
//
//   Io::Pollable* objects[] = {&console, &server};
//   Io::ModeT const requests[] = {Io::MODE_READ, Io::MODE_READ};
//   pollfd fds[2];
//   ReturnT const result = Io::Pollable::Wait(objects, requests, fds, 2, 5000, IDENT);
//   if (result == Io::Pollable::READY) ... try each with SetTimeout(0), or ask its ObjIReady()
//
// Owns       nothing: descriptor and mode belong to the concrete class, and must live as long as it
// Threads    one object is used by one thread at a time; two threads must not wait on one object
// Waits      Wait(), until an object is ready, the time is over, or the thread is interrupted
//            (Thread::Interrupt, Stop); a signal ends nothing. Hold no lock that others need meanwhile
// Flags      what a wait found stands until a transfer uses it, and ends further waits for it at once.
//            A wait that finds nothing standing asks the kernel, and replaces all three
// Destroy    anywhere but during a wait. The destructor of a derived class closes: what it holds is
//            gone when the destructors of its bases run
// Failure    Wait() gives a code and logs only a failing poll; a transfer makes the code a state
//            (SetPollState)
// Memory     none is taken

#include "zeb/stream/Mode.h"
#include "zeb/stream/Stateful.h"

#include <poll.h>

namespace Io {

class ZEB_PUBLIC Pollable : public virtual Stateful {
public:
    // Results of Wait. Facility 50.
    static constexpr ReturnT READY{0x00320001};
    static constexpr ReturnT INTERRUPTED{0x80320001};
    static constexpr ReturnT TIMED_OUT{0x80320002};
    static constexpr ReturnT POLL_FAILED{0x80320003};
    // Failed state, negative descriptor, or a direction that the object's mode lacks.
    static constexpr ReturnT UNUSABLE{0x80320004};

    // The longest single poll in milliseconds: how soon an interruption is seen.
    static constexpr int POLL_PERIOD = 333;

    // Attached to `parent`, which may be this object itself. `ident` names the class in log lines.
    Pollable(Pollable& parent, char const* ident, int const& fd, ModeT const& mode);
    ~Pollable() override;

    // The limit in milliseconds of each wait that a transfer makes, of the root; negative, as at the start,
    // means none. A line, or a large text, may take several transfers.
    virtual void SetTimeout(int timeoutMs);
    virtual int Timeout() const;

    // Data is there although the descriptor may be quiet, as with unread bytes in an input buffer; room for
    // output; urgent data. False unless a class overrides them. A wait asks the object and its root.
    virtual bool ObjIReady() const;
    virtual bool ObjOReady() const;
    virtual bool ObjPReady() const;

    // Waits until one of the objects is ready for what is requested of it (MODE_READ, MODE_WRITE,
    // MODE_PRIORITY). Null objects are passed over. `fds` is scratch space of `count` entries. A negative
    // time-out waits without limit, 0 looks and returns. Returns at once, without a system call, when a flag
    // of an earlier wait stands, or Obj...Ready() tells that nothing need be waited for. The end of a stream
    // and a hang-up make an object ready, too: the read that follows tells. An object that is unusable ends
    // the wait for all with UNUSABLE. `ident` names the caller in the log ("Pollable" when null).
    static ReturnT Wait(Pollable** objects, ModeT const* requests, pollfd* fds, unsigned long count,
                        int timeoutMs, char const* ident);

    // Records a result of Wait as the object's state; true for success.
    [[nodiscard]] bool SetPollState(ReturnT const& code) const;

    // The kernel's buffers of a socket, in bytes (SO_RCVBUF, SO_SNDBUF). Getting a direction that the mode
    // lacks gives 0 and true.
    bool SetSysIBufferSize(unsigned long size);
    bool SetSysOBufferSize(unsigned long size);
    [[nodiscard]] bool GetSysIBufferSize(unsigned long& size) const;
    [[nodiscard]] bool GetSysOBufferSize(unsigned long& size) const;

    void Attach(Pollable* parent);

    // Forgets what the last wait found, on the root. A transfer that used a flag clears it, and closing all;
    // a flag that nobody clears makes every further wait for it end at once. So does who waits for something
    // that is not read, as the alarms of a file of the kernel.
    void ClearReady_() {
        ClearInputReady_();
        ClearOutputReady_();
    }

protected:
    // Input takes the priority flag along: data of either kind is looked for anew.
    void ClearInputReady_() { PollableRoot_()->inputReady_ = PollableRoot_()->priorityReady_ = false; }
    void ClearOutputReady_() { PollableRoot_()->outputReady_ = false; }

    // The descriptor of the root.
    int Fd_() const { return PollableRoot_()->fd_; }

    Pollable* PollableRoot_() const {
        Pollable const* root = this;
        while (root->parent_ != root)
            root = root->parent_;
        return const_cast<Pollable*>(root);
    }

private:
    friend class PollableBase;
    friend class PollWait_;

    bool SetSysBufferSize_(ModeT direction, int option, char const* message, unsigned long size);
    [[nodiscard]] bool GetSysBufferSize_(ModeT direction, int option, char const* message,
                                         unsigned long& size) const;

    Pollable* parent_;
    char const* ident_;
    int const& fd_;
    ModeT const& mode_;
    bool inputReady_ = false;
    bool outputReady_ = false;
    bool priorityReady_ = false;
    int timeout_ = -1;
};

} // namespace Io
