#include "zeb/runtime/Status.h"

#include "zeb/core/CString.h"
#include "zeb/core/Log.h"

#include <cstring>

constinit Status const Status::UNDEFINED;

Status::~Status() = default;

bool Status::IsDefined() const {
    Guard const guard(*this);
    return code_ != ReturnT::UNDEFINED_CODE;
}

ReturnT Status::Code() const {
    Guard const guard(*this);
    return code_;
}

bool Status::NoMessage() const {
    Guard const guard(*this);
    return NoMessage_();
}

void Status::Set(ReturnT const& code, CString const& ident) {
    Guard const guard(*this);
    Set_(code, ident);
    ResetMessage_();
}

void Status::Set(ReturnT const& code, CString const& ident, CString const& message) {
    Guard const guard(*this);
    Set_(code, ident);
    SetMessage_(message);
}

void Status::Reset() {
    Guard const guard(*this);
    Reset_();
}

ReturnT Status::Load(Status const& other) {
    if (&other == this) return Code();
    ReturnT code;
    RString<IDENT_CAPACITY> ident;
    RString<MESSAGE_CAPACITY> message;
    bool noMessage = true;
    other.Get(&code, &noMessage, &ident, &message);

    Guard const guard(*this);
    Set_(code, ident);
    if (noMessage) {
        ResetMessage_();
    } else {
        SetMessage_(message);
    }
    return code;
}

void Status::Get(ReturnT* code, bool* noMessage, RString<IDENT_CAPACITY>* ident,
                 RString<MESSAGE_CAPACITY>* message) const {
    Guard const guard(*this);
    if (code) *code = code_;
    if (noMessage) *noMessage = NoMessage_();
    if (ident) ident->Assign(CString(ident_));
    if (message) message->Assign(Message_());
}

void Status::SetDone_() {
    Guard const guard(*this);
    SetMessage_(Log::L10n("done"));
}

void Status::Set_(ReturnT const& code, CString const& ident) {
    code_ = code;
    unsigned long const size =
        strnlen(ident.Cstr(), ident.Size() < IDENT_CAPACITY ? ident.Size() : IDENT_CAPACITY - 1);
    memcpy(ident_, ident.Cstr(), size);
    ident_[size] = '\0';
}

void Status::Reset_() {
    Set_(ReturnT::UNDEFINED, CString::Nil());
    ResetMessage_();
}

void Status::ResetMessage_() {
    message_[0] = '\0';
    messageSize_ = 0;
}

void Status::SetMessage_(CString const& message) {
    unsigned long const size = message.Size();
    if (size < MESSAGE_CAPACITY) {
        memcpy(message_, message.Cstr(), size);
        message_[size] = '\0';
        messageSize_ = size + 1;
        return;
    }
    CString const& cut = Log::Cut();
    unsigned long const kept = MESSAGE_CAPACITY - cut.Size() - 1;
    memcpy(message_, message.Cstr(), kept);
    memcpy(message_ + kept, cut.Cstr(), cut.Size() + 1);
    messageSize_ = MESSAGE_CAPACITY;
}

CString Status::Message_() const { return NoMessage_() ? CString() : CString(message_, messageSize_ - 1); }
