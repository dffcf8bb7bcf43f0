#pragma once

// Status: the record of the last report of a thread, or of whoever owns one: code, identifier of the
// reporting class, text. StatusLog fills it; every Thread and every Task::Object has one.
//
// Threads  any: a status may be read by one thread while another writes it. What belongs together is taken
//          together by Get(); two single queries may see two reports.
// Locks    every operation holds the object's own lock, which has the topmost place of the order, so that it
//          can be taken under any other. Load() never holds two.
// Memory   none of the heap, so that its end can be recorded.

#include "zeb/core/Export.h"
#include "zeb/core/RString.h"
#include "zeb/core/ReturnT.h"
#include "zeb/runtime/Mutex.h"

namespace Json {
class Object;
}
namespace Xml {
class Node;
}

class ZEB_PUBLIC Status : public Mutex {
public:
    static constexpr unsigned long IDENT_CAPACITY = 128;    // with the terminator
    static constexpr unsigned long MESSAGE_CAPACITY = 1024; // with the terminator

    // A shared empty status.
    static Status const UNDEFINED;

    constexpr Status()
        : Mutex(STATUS_LOG) {}
    ~Status() override;

    // Something was reported: the code is not 0.
    bool IsDefined() const;
    ReturnT Code() const;
    bool NoMessage() const;

    // Store a report. An ident of 128 bytes or more is cut, a message of 1024 bytes or more is cut and then
    // ends in Log::Cut(). The form without a message clears the old one.
    void Set(ReturnT const& code, CString const& ident);
    void Set(ReturnT const& code, CString const& ident, CString const& message);
    void Reset();

    // Copies another status, and gives its code. The two locks are never held together.
    ReturnT Load(Status const& other);

    // Fills those arguments that are not null, all from the same report.
    void Get(ReturnT* code, bool* noMessage, RString<IDENT_CAPACITY>* ident,
             RString<MESSAGE_CAPACITY>* message) const;

    // Append the report, as an element "error" or "message", or as a member "status" that is an array of one
    // object. False if the document ran out of memory.
    bool AttachTo(Xml::Node& parent) const;
    bool AppendTo(Json::Object& object) const;

private:
    friend class StatusLog;

    // The message becomes the word "done".
    void SetDone_();

    // These expect the lock to be held.
    bool NoMessage_() const { return messageSize_ == 0; }
    void Set_(ReturnT const& code, CString const& ident);
    void Reset_();
    void ResetMessage_();
    void SetMessage_(CString const& message);
    CString Message_() const;

    // Guarded by the lock of the object itself.
    ReturnT code_;
    char ident_[IDENT_CAPACITY] = {};
    char message_[MESSAGE_CAPACITY] = {};
    unsigned long messageSize_ = 0; // bytes used in message_ with the terminator; 0 without a message
};
