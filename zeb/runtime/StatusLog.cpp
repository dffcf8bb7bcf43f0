#include "zeb/runtime/StatusLog.h"

#include "zeb/core/CString.h"
#include "zeb/core/UnseenImpl.h"
#include "zeb/runtime/Status.h"
#include "zeb/runtime/Thread.h"

StatusLog::StatusLog(ReturnT const& code, Log::LevelT level, char const* ident, char const* name,
                     char const* message, Status* status)
    : code_(code)
    , ident_(ident)
    , log_(level, ident, name, message)
    , status_(status ? status : Thread::SelfStatus()) {}

ZEB_UNSEEN StatusLog::~StatusLog() { Set_(); }

StatusLog& StatusLog::SetFail() {
    if (!set_) log_.Fail(code_);
    return *this;
}

StatusLog& StatusLog::SetOom() {
    if (!set_) log_.Oom(code_);
    return *this;
}

StatusLog& StatusLog::SetDone() {
    // The end of the statement replaces the word by the message of the Log, if it has one, and else by none.
    if (!set_ && status_) status_->SetDone_();
    return *this;
}

StatusLog::operator Status const&() {
    Set_();
    return status_ ? *status_ : Status::UNDEFINED;
}

void StatusLog::Set_() {
    if (set_) return;
    set_ = true;
    if (!status_) return;
    bool internal = false;
    char const* const message = log_.MakeMessage_(&internal);
    if (!message) return status_->Set(code_, ident_);
    if (internal) return status_->Set(log_.Code_(), Log::IDENT, message);
    status_->Set(code_, ident_, message);
}
