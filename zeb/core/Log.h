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
// A statement allocates nothing, so that an allocation failure can be logged. Its text is built on the
// calling thread without a lock, in storage that each thread has once: statements of one thread are made one
// at a time. Lines of different threads never mix. Logging is allowed under any lock and from any thread, and
// reports no failure to its caller.

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

    // From here on the statements of all threads print to standard output, which loses its buffering.
    static void ConsoleMode();
    static bool IsConsole();

    // Closes syslog.
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
    template<class T>
    Log& Number_(T number);

    Impl_* impl_;
};

// A part of a text, streamed as one argument. The part must lie in the text, which must live on.
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

// Asks for a backtrace behind the line, without its first `skip` frames; with all bits of `skip` set there is
// none.
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
