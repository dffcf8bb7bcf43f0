#pragma once

// StatusLog: reports in one statement. It writes a log line, stores the same text in a Status, and converts
// to the code, which is the result of the function that reports:
//
//   return (StatusLog(ReturnT::Fail(), Log::CRITICAL, IDENT, name, "unable to read data: %1")
//           << ErrorString(error)).SetFail();
//
// The status is written once, by the conversion to `Status const&` or at the end of the statement; the line
// is printed at the end of the statement. The target is the status of the calling thread unless another one
// is given. On a thread without a Thread object and without a status of its own, the line alone is written.
//
// A fault of the statement itself (see Log) is stored in place of the report, with the code of the fault.

#include "zeb/core/Export.h"
#include "zeb/core/Log.h"
#include "zeb/core/ReturnT.h"

class Status;

class ZEB_PUBLIC StatusLog {
public:
    // A null status is that of the calling thread.
    StatusLog(ReturnT const& code, Log::LevelT level, char const* ident, char const* name,
              char const* message, Status* status = nullptr);
    ~StatusLog();
    StatusLog(StatusLog const&) = delete;
    StatusLog& operator=(StatusLog const&) = delete;

    // What a Log takes. Once the status is written this does nothing.
    template<class T>
    StatusLog& operator<<(T const& argument) {
        if (!set_) log_ << argument;
        return *this;
    }

    // The kind of the report: the words that lead the line.
    StatusLog& SetFail();
    StatusLog& SetOom();

    // Success. It adds nothing to the line.
    StatusLog& SetDone();

    operator ReturnT() const { return code_; }
    operator Status const&();

private:
    void Set_();

    ReturnT code_;
    char const* ident_;
    bool set_ = false;
    Log log_;
    Status* status_;
};
