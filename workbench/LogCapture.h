// Keeps the lines that the process logs while it exists, instead of passing them to syslog.
//
//     LogCapture log;
//     file.Open(O_RDONLY);
//     EXPECT_EQ(log.Take(), LogCapture::LinesT({"E Io::File: \"x\": no such file or directory."}));
//
// A line is the level letter (I A W E C), ident, and text. Codes that carry a source line ([0xcffd0139]) read
// as [0xcffd****]. Outside of any LogCapture lines are dropped, or go to standard error when ZEB_TEST_LOG is
// in the environment. What console mode prints is for OutputCapture.
//
// The lines of a backtrace behind a statement are dropped, unless WITH_BACKTRACES asks for them. They have
// the level and the ident of the statement: "W Mutex:   Poller::Run()+0x20".
//
// Threads    lines of all threads are kept; any may read them
// Nesting    the innermost one gets the lines; destroy in the reverse order
// Waits      Await() alone, for 2 real seconds at most, whatever a Clock says
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

class LogCapture {
public:
    using LinesT = std::vector<std::string>;

    enum BacktracesT { WITHOUT_BACKTRACES, WITH_BACKTRACES };

    explicit LogCapture(BacktracesT backtraces = WITHOUT_BACKTRACES);
    ~LogCapture();
    LogCapture(LogCapture const&) = delete;
    LogCapture& operator=(LogCapture const&) = delete;

    // The lines so far.
    LinesT Lines() const;

    // The lines so far, which are then forgotten.
    LinesT Take();

    // The same as one text, with an end behind each line.
    std::string TakeText();

    // The lines with their full codes.
    LinesT RawLines() const;

    // Lines that contain `part`.
    unsigned long Count(std::string_view part) const;
    bool Has(std::string_view part) const { return Count(part) != 0; }

    // Waits for another thread to log a line that contains `part`, at most 2 real seconds.
    bool Await(std::string_view part) const;

    void Clear();

private:
    friend class LogWatch;
    struct State;

    State* const state_;
    LogCapture* const outer_;
};

// The text with all matches of each rule (a regular expression, and what takes its place) replaced, one rule
// after the other: what was logged in short, so that a table can hold it.
//     Replaced(log.TakeText(), {{"W Spool: ", ""}, {"unable to ", "~"}, {"\\n", " "}})
std::string Replaced(std::string text, std::vector<std::pair<std::string, std::string>> const& rules);

// While it exists, syslog() is the system's own; for tests with a /dev/log of their own (Namespace.h).
class RealSyslog {
public:
    RealSyslog();
    ~RealSyslog();
    RealSyslog(RealSyslog const&) = delete;
    RealSyslog& operator=(RealSyslog const&) = delete;
};

// While it exists, what the process writes to standard output (or error) goes into memory.
class OutputCapture {
public:
    explicit OutputCapture(int fd = 1);
    ~OutputCapture();
    OutputCapture(OutputCapture const&) = delete;
    OutputCapture& operator=(OutputCapture const&) = delete;

    // What was written so far. Ends the capture.
    std::string Finish();

private:
    int const fd_;
    int saved_;
    int memory_;
};
