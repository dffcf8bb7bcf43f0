#pragma once

// The one state word of a stream object, and the virtual base of every stream.
//
// An operation that fails records a state once and returns false; all later operations on the object then
// fail at once, so that a caller chains many operations and tests the object one time at the end:
//
//   file << "port " << port << Io::Endl;
//   if (!file.Flush()) Log(...) << file.ErrorString();   // SysError() has the errno
//
// The first failure wins: its code and errno stay readable until the state is cleared. STATE_BROKEN is final:
// it is what a constructor leaves that failed, and Initialized() tells of it.
//
//   STATE_EOS          reading is over: not a fault at the end of a loop of reads
//   STATE_TIMEOUT      the limit of a wait ran out; ClearState_() and go on, or give up
//   STATE_INTERRUPTED  the thread is to end; STATE_RESET: the peer is gone
//   STATE_INVALID      the input is not what was asked for; STATE_TRUNCATED: it ends in the midst of a line
//   STATE_FAILED       all else: SysError() when it came of the system, and wrong use, which has none
//
// Owns       nothing
// Threads    one at a time; nothing is locked. Operations that record are const, the state being
//            mutable
// Alias      an object reports to its parent, up to the root, which is its own parent; Attach() moves
//            it. The chain must end in a root that is alive: Attach(nullptr) leaves an object that must
//            not be used

#include "zeb/core/ReturnT.h"

class Status;

namespace Io {

class ZEB_PUBLIC Stateful {
public:
    enum StateT : uint32_t {
        STATE_OK = 0,
        STATE_BROKEN = 1,
        STATE_INTERRUPTED = 2,
        STATE_TIMEOUT = 3,
        STATE_TRUNCATED = 4,
        STATE_NO_MEMORY = 5,
        STATE_EOS = 6,
        STATE_RESET = 7,
        STATE_FAILED = 8,
        STATE_INVALID = 9,
    };

    // Attached to `parent`, which may be this object itself.
    explicit Stateful(Stateful& parent);
    // `ok` and `fail` are the codes that stand for success and failure on this object.
    Stateful(Stateful& parent, ReturnT const& ok, ReturnT const& fail);

    // A root. A class that inherits Stateful virtually uses these for an object that is attached to itself: a
    // reference to a base must not be formed before its construction has begun.
    Stateful();
    Stateful(ReturnT const& ok, ReturnT const& fail);

    Stateful(Stateful const&) = delete;
    Stateful& operator=(Stateful const&) = delete;
    virtual ~Stateful();

    // The state of the root differs from STATE_BROKEN.
    virtual bool Initialized() const;

protected:
    // The record that follows this object's state, or null.
    virtual Status* ObjStatus_() const;

public:
    // Of the root.
    bool Ok() const { return StateRoot_()->state_ == STATE_OK; }
    StateT CurrentState() const { return StateRoot_()->state_; }
    // The code stored with the last state.
    ReturnT CurrentCode() const { return StateRoot_()->code_; }
    // The errno stored with the last state, 0 if none.
    int SysError() const { return StateRoot_()->sysError_; }
    // The words for the state.
    char const* ErrorString() const;

    // Record on the root, unless it has a failure already. SetObjState and SetObjBroken give the code to
    // store, as STATE_FAILED and STATE_BROKEN.
    void SetState(StateT const& state) const;
    // SetState, as the end of an operation: false.
    bool Fail(StateT const& state) const {
        SetState(state);
        return false;
    }
    void SetObjState(ReturnT const& code) const;
    void SetObjBroken(ReturnT const& code) const;
    // A failed status becomes STATE_NO_MEMORY when its code is of the out-of-memory family, else
    // STATE_BROKEN.
    void SetObjStatus(Status const& status) const;
    // The same whatever the sign of the code, and the one operation that replaces an earlier failure.
    void SetObjStatusBroken(Status const& status) const;

    // The record that follows the root; resets `status` and gives false when there is none.
    bool GetObjStatus(Status& status) const;

    // Record on this object alone, unless it has a failure already.
    void SetState_(StateT const& state) const;
    // STATE_FAILED with an errno.
    void SetSysError_(int error) const;

    // Back to STATE_OK, on this object alone; a broken object stays broken.
    void ClearState_();

    // The one store of all the above.
    void SetObjState_(StateT const& state, ReturnT const& code, int sysError, Status const& status) const;

    void Attach(Stateful* parent) { parent_ = parent; }

protected:
    // Attached to `parent`, or a root when that is null.
    explicit Stateful(Stateful* parent)
        : parent_(parent != nullptr ? parent : this) {}

    // The end of a constructor that failed: STATE_BROKEN, with the code and errno of the failure recorded so
    // far.
    void Break_() const;

    ReturnT const& OkCode_() const { return okCode_; }
    ReturnT const& FailCode_() const { return failCode_; }

private:
    Stateful const* StateRoot_() const {
        Stateful const* root = this;
        while (root->parent_ != root)
            root = root->parent_;
        return root;
    }
    void SetFailure_(Stateful const* root, Status const& status) const;

    Stateful* parent_;
    mutable StateT state_ = STATE_OK;
    mutable ReturnT code_;
    mutable int32_t sysError_ = 0;
    ReturnT okCode_;
    ReturnT failCode_;
};

} // namespace Io
