#pragma once

// Log: one statement is one stack object. It is built with a level, the identifier of the reporting class,
// the name of the object (may be null) and a template; arguments are streamed into it; its destructor prints
// one line, to syslog or, after ConsoleMode(), to standard output:
//
//   Log(Log::ERROR, IDENT, path, "unable to read data: %1") << ErrorString(error);
//
//   [E] Nov 14 07:47:16 zeb: Io::File: "etc": unable to read data: bad file descriptor.
//
// The template is plain text with the arguments %1 to %9, each once, in any order, without gaps from 1; %% is
// a percent sign. There are no widths and no conversions. A fault in the statement (a bad template, a wrong
// number of arguments) becomes a critical line of its own, under the ident "Log". Every message ends in a
// full stop unless it ends in one of .,?!*;: and it is cut at 1023 characters, then ending in " [...]".
//
// On the console a statement is one line whatever its arguments hold: line ends and other control characters
// read as blanks there. A Status and syslog get the text as it is.
//
// To fill the status of the thread and return a code by the same statement take StatusLog
// (zeb/runtime/StatusLog.h).
//
// Owns       nothing: ident, name and template must live until the end of the statement; arguments are copied
// Threads    any. Text is built on the calling thread without a lock; lines of different threads never mix,
//            and a statement keeps its backtrace together
// Nesting    a thread has four places: for a statement, and for those made while it lives, by a function that
//            is called for an argument, by the monitor of a lock, by a signal handler. A fifth statement is
//            dropped: it prints nothing, and has no text for a StatusLog
// Waits      the end of a statement waits for lines of other threads and for the console or syslog to take
//            the line; nothing interrupts that. Building, and a QUIET statement, wait for nothing
// Locks      may be used under any lock: that of the log is the last of all, and nothing is called under it
// Signals    a handler that logs opens with a Log::InHandler, see there
// Memory     none is taken, but for a backtrace: the places lie in 9 KiB of static thread storage. To load
// the library by dlopen()
//            start the program with GLIBC_TUNABLES=glibc.rtld.optional_static_tls=16384
// Failure    none is reported to the caller

#include "zeb/core/Export.h"
#include "zeb/core/ReturnT.h"

class CString;
class StringAccumulator;

namespace Xml {
class Base;
}

class ZEB_PUBLIC Log {
public:
    static constexpr char const IDENT[] = "Log";

    enum LevelT : unsigned { INFO = 0, AUTH = 1, WARNING = 2, ERROR = 3, CRITICAL = 4 };

    // Values that steer a statement when they are streamed into it.
    enum ControlT : unsigned {
        HEX = 0,    // the next number is printed in lower-case hexadecimal
        QUIET = 1,  // print nothing; the text still reaches a StatusLog
        LOUD = 2,   // no effect, the counterpart of QUIET
        GLUE = 3,   // the next argument is joined to the one before it
        NO_DOT = 4, // add no full stop
    };

    // An argument of operations that can stay quiet: 0 means quiet, any other value loud.
    enum VerboseT : unsigned { VERBOSE_OFF = 0, VERBOSE_ON = 1 };

    class Slice;
    class Combo;
    class Backtrace;
    class InHandler;
    class Impl_;

    Log(LevelT level, char const* ident, char const* name, char const* message);
    ~Log();
    Log(Log const&) = delete;
    Log& operator=(Log const&) = delete;

    Log& operator<<(char const* text);
    Log& operator<<(CString const& text);
    Log& operator<<(StringAccumulator const& text);
    Log& operator<<(Slice const& text);
    Log& operator<<(Combo const& value);
    Log& operator<<(Xml::Base const* value); // the value of the node or attribute, not its name

    // One character of text.
    Log& operator<<(char c);
    Log& operator<<(signed char c);
    Log& operator<<(unsigned char c);

    Log& operator<<(short number);
    Log& operator<<(unsigned short number);
    Log& operator<<(int number);
    Log& operator<<(unsigned int number);
    Log& operator<<(long number);
    Log& operator<<(unsigned long number);
    Log& operator<<(long long number);
    Log& operator<<(unsigned long long number);

    Log& operator<<(ControlT const& control);
    Log& operator<<(Backtrace const& request);

    // Record a code. The line then says "returned code", "system failed" or "out of memory" with the code
    // ahead of the text, at INFO for Done and at CRITICAL for the others.
    Log& Done(ReturnT const& code);
    Log& Fail(ReturnT const& code);
    Log& Oom(ReturnT const& code);

    // Opens syslog under the part of argv[0] behind its last slash, which is the result.
    static char const* ProcessIdent(int argc, char** argv);

    // From here on the statements of all threads print to standard output, which loses its buffering. Lines
    // go to its descriptor.
    static void ConsoleMode();
    static bool IsConsole();

    // Closes syslog and forgets the ident. A statement that follows opens it again.
    static void Close();

    // The translation hook: every text that a user may read passes through it at the moment of its use. The
    // result is the argument.
    static char const* L10n(char const* text);
    static char const* L10n(CString const& text);

    // The mark " [...]" at the end of a text that was cut.
    static CString const& Cut();

    // What an operation streams at the end of its statements.
    static constexpr ControlT Control(VerboseT verbose) { return verbose == VERBOSE_OFF ? QUIET : LOUD; }

    // For StatusLog. MakeMessage_ builds the text of the statement if that is still to be done; null means
    // that there is none. `internal` tells whether the text is a fault of the statement itself, whose code is
    // Code_().
    ReturnT Code_() const;
    char const* MakeMessage_(bool* internal);

private:
    Log& Text_(char const* text, unsigned long size);
    template<class T>
    Log& Number_(T number);
    Log& SetCode_(uint64_t kind, ReturnT const& code);

    Impl_* impl_; // null when the statement is dropped
};

// A part of a text, streamed as one argument, as far as it lies in the text, which must live on.
class ZEB_PUBLIC Log::Slice {
public:
    Slice(CString const& text, unsigned long pos, unsigned long size);

    char const* Data() const { return data_; }
    unsigned long Size() const { return size_; }

private:
    char const* data_;
    unsigned long size_;
};

// A value that prints itself as one argument: Draw streams the first piece as it is, and Log::GLUE ahead of
// each further piece.
class ZEB_PUBLIC Log::Combo {
public:
    virtual ~Combo();
    virtual void Draw(Log& log) const = 0;
};

// Asks for a backtrace behind the line: a line with the name and the id of the thread, and one for each
// frame, all at the level and under the ident of the statement:
//
//   [W] Nov 14 07:47:16 zeb: Poller: "Poller" (4711) backtrace:
//   [W] Nov 14 07:47:16 zeb: Poller:   Poller::Ask_(Network::Address const&)+0x5c
//
// Skip       of the calling thread, 0 begins with the function that holds the statement, 1 with its caller:
// the
//            log, and the locks that report a misuse of themselves, leave their own frames out. With all bits
//            set there is none. The stack of another thread is printed whole
// Waits      for another thread until it has run, see Thread::GetBacktrace
// Signals    in a handler that says so (Log::InHandler) names stay as they stand, which takes no heap, and
//            another thread has none: "resource deadlock avoided". Lines of other threads may come between
// Memory     10 KiB of the stack; the heap for readable names, without it they stay as they stand
class ZEB_PUBLIC Log::Backtrace {
public:
    enum ContextT : unsigned { DEMANGLE = 0, SIGNAL = 1 }; // names are demangled; are left as they stand

    static constexpr int TID_SELF = 0x7FFFFFFF; // the calling thread

    explicit constexpr Backtrace(unsigned long skip)
        : Backtrace(skip, TID_SELF, DEMANGLE) {}
    constexpr Backtrace(unsigned long skip, int tid, ContextT context)
        : skip_(skip)
        , tid_(tid)
        , context_(context) {}

    unsigned long Skip() const { return skip_; }
    int Tid() const { return tid_; }
    ContextT Context() const { return context_; }

private:
    unsigned long skip_;
    int tid_;
    ContextT context_;
};

// Says, as long as it lives, that the calling thread runs a signal handler. Statements made meanwhile take no
// lock at all, neither that of the log nor one of libc, any of which the interrupted thread may hold:
//
//   void OnSignal(int) {
//       int const error = errno;
//       {
//           Log::InHandler const handler;
//           Log(Log::INFO, IDENT, nullptr, "interrupted");
//       }
//       errno = error;
//   }
//
// A line is one call to the system then, and mixes with no other. Its time has the zone that the last
// statement outside of a handler found. Without this object the line of a handler is dropped if it
// interrupted the printing of another one, and can wait for ever if it interrupted a function of libc such as
// localtime_r() or syslog().
class ZEB_PUBLIC Log::InHandler {
public:
    InHandler();
    ~InHandler();
    InHandler(InHandler const&) = delete;
    InHandler& operator=(InHandler const&) = delete;
};
