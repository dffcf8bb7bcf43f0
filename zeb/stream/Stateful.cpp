#include "zeb/stream/Stateful.h"

#include "zeb/core/Log.h"
#include "zeb/runtime/Status.h"

namespace Io {

namespace {

// In the order of StateT.
constexpr char const* WORDS[] = {
    "ok",
    "object is broken",
    "operation interrupted",
    "operation timeout",
    "truncated input",
    "out of memory",
    "end of stream",
    "connection reset by peer",
    "operation failed",
    "invalid input",
};
static_assert(sizeof(WORDS) / sizeof(*WORDS) == Stateful::STATE_INVALID + 1);

} // namespace

Stateful::Stateful(Stateful& parent)
    : Stateful(&parent) {}

Stateful::Stateful(Stateful& parent, ReturnT const& ok, ReturnT const& fail)
    : parent_(&parent)
    , code_(ok)
    , okCode_(ok)
    , failCode_(fail) {}

Stateful::Stateful()
    : parent_(this) {}

Stateful::Stateful(ReturnT const& ok, ReturnT const& fail)
    : parent_(this)
    , code_(ok)
    , okCode_(ok)
    , failCode_(fail) {}

Stateful::~Stateful() = default;

bool Stateful::Initialized() const { return CurrentState() != STATE_BROKEN; }

Status* Stateful::ObjStatus_() const { return nullptr; }

char const* Stateful::ErrorString() const {
    StateT const state = CurrentState();
    return Log::L10n(state <= STATE_INVALID ? WORDS[state] : "unknown state");
}

void Stateful::SetState(StateT const& state) const { StateRoot_()->SetState_(state); }

void Stateful::SetObjState(ReturnT const& code) const {
    Stateful const* const root = StateRoot_();
    if (root->state_ == STATE_OK) root->SetObjState_(STATE_FAILED, code, 0, Status::UNDEFINED);
}

void Stateful::SetObjBroken(ReturnT const& code) const {
    Stateful const* const root = StateRoot_();
    if (root->state_ == STATE_OK) root->SetObjState_(STATE_BROKEN, code, 0, Status::UNDEFINED);
}

void Stateful::SetObjStatus(Status const& status) const {
    Stateful const* const root = StateRoot_();
    if (root->state_ != STATE_OK) return;
    if (status.Code().Failed()) {
        SetFailure_(root, status);
    } else {
        root->SetObjState_(STATE_OK, okCode_, 0, status);
    }
}

void Stateful::SetObjStatusBroken(Status const& status) const {
    Stateful const* const root = StateRoot_();
    if (root->state_ != STATE_BROKEN) SetFailure_(root, status);
}

bool Stateful::GetObjStatus(Status& status) const {
    Status const* const own = StateRoot_()->ObjStatus_();
    if (own == nullptr) {
        status.Reset();
        return false;
    }
    // The code that Load hands back is the one that the caller finds in the status.
    (void)status.Load(*own);
    return true;
}

void Stateful::SetState_(StateT const& state) const {
    if (state_ != STATE_OK) return;
    SetObjState_(state, state == STATE_OK ? okCode_ : failCode_, 0, Status::UNDEFINED);
}

void Stateful::SetSysError_(int error) const {
    if (state_ == STATE_OK) SetObjState_(STATE_FAILED, failCode_, error, Status::UNDEFINED);
}

void Stateful::ClearState_() {
    if (state_ != STATE_BROKEN) SetObjState_(STATE_OK, okCode_, 0, Status::UNDEFINED);
}

void Stateful::SetObjState_(StateT const& state, ReturnT const& code, int sysError,
                            Status const& status) const {
    sysError_ = sysError;
    state_ = state;
    code_ = code;
    Status* const own = ObjStatus_();
    // The record repeats what is stored here; its code is the status's own.
    if (own != nullptr) (void)own->Load(status);
}

void Stateful::Break_() const {
    if (state_ == STATE_OK) SetState_(STATE_BROKEN);
    if (state_ != STATE_BROKEN) SetObjState_(STATE_BROKEN, code_, sysError_, Status::UNDEFINED);
}

void Stateful::SetFailure_(Stateful const* root, Status const& status) const {
    root->SetObjState_(status.Code().IsOom() ? STATE_NO_MEMORY : STATE_BROKEN, failCode_, 0, status);
}

} // namespace Io
