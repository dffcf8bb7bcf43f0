#pragma once

// StatusLog: reports in one statement. It writes a log line, stores the same text in a Status, and converts
// to the code, which is the result of the function that reports:
//
//   return (StatusLog(ReturnT::Fail(), Log::CRITICAL, IDENT, name, "unable to read data: %1")
//           << ErrorString(error)).SetFail();
//   return StatusLog(DONE, Log::INFO, IDENT, name, "").SetDone();            // the code alone, without a
//   line
//
// Owns     nothing: ident, name, template and the arguments that are views live until the end of the
//          statement. The status is written once, by the conversion to `Status const&` or at the end of the
//          statement; the line is printed at the end of the statement.
// Target   the status of the calling thread unless another one is given. On a thread without a Thread object
//          and without a status of its own, the line alone is written.
// Failure  a fault of the statement itself (see Log) is stored in place of the report, with the code of the
//          fault. A text that is too long is cut.
// Memory   none; what memory a line lacks is told in place of it.

#include "zeb/core/Export.h"
#include "zeb/core/Log.h"
#include "zeb/core/ReturnT.h"

#include <type_traits>

class Status;

class ZEB_PUBLIC StatusLog {
public:
    // A null status is that of the calling thread.
    StatusLog(ReturnT const& code, Log::LevelT level, char const* ident, char const* name,
              char const* message, Status* status = nullptr);
    ~StatusLog();
    StatusLog(StatusLog const&) = delete;
    StatusLog& operator=(StatusLog const&) = delete;

    // What a Log takes. Once the status is written this does nothing. Numbers and addresses come by value, so
    // that a constant of a class needs no definition.
    template<class T>
    requires std::is_scalar_v<T> StatusLog& operator<<(T argument) {
        if (!set_) log_ << argument;
        return *this;
    }
    template<class T>
    requires std::is_class_v<T> StatusLog& operator<<(T const& argument) {
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
