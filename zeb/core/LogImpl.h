#pragma once

// The storage of the statements of one thread. Not installed.

#include "zeb/core/Log.h"
#include "zeb/core/ReturnT.h"

#include <atomic>
#include <cstdint>
#include <cstring>

class Backtrace;

class Log::Impl_ {
public:
    static constexpr char const IDENT[] = "Log";

    // Flags of a statement.
    static constexpr uint64_t NEXT_HEX = 0x0002;
    static constexpr uint64_t NEXT_GLUED = 0x0004;
    static constexpr uint64_t CONSOLE = 0x0008; // the only one that a statement starts with
    static constexpr uint64_t SILENT = 0x0010;
    static constexpr uint64_t WITHOUT_DOT = 0x0020;
    static constexpr uint64_t OUT_OF_MEMORY = 0x0040;
    static constexpr uint64_t BAD_FORMAT = 0x0080;
    static constexpr uint64_t DONE = 0x0100;
    static constexpr uint64_t FAIL = 0x0200;
    static constexpr uint64_t OOM = 0x0400;
    static constexpr uint64_t BUILT = 0x0800;
    static constexpr uint64_t FAULT = 0x1000; // the message is a fault of the statement itself
    static constexpr uint64_t WITH_BACKTRACE = 0x2000;

    // Texts in one block, each with its terminator. What does not fit into the inline array is dropped,
    // unless the buffer may grow, which no statement asks for.
    class StringBuffer_ {
    public:
        static constexpr unsigned long CAPACITY = 1024;

        static constexpr unsigned ALLOW_GROWING = 2;   // may move to the heap
        static constexpr unsigned TRUNCATED = 4;       // something did not fit; nothing further is stored
        static constexpr unsigned STORE_TRUNCATED = 8; // of a text that does not fit, what fits is kept
        static constexpr unsigned CUT = 16;            // the last text is a marker, and takes no merging

        enum MergeT : unsigned { NEW, MERGE };

        StringBuffer_() = default;
        ~StringBuffer_() { Clear(); }
        StringBuffer_(StringBuffer_ const&) = delete;
        StringBuffer_& operator=(StringBuffer_ const&) = delete;

        // Stores the text, up to its first NUL, as a new one or behind the last one. A text that does not fit
        // is replaced by the marker if there is one.
        void Append(char const* text, unsigned long size, MergeT merge, char const* marker = nullptr);

        // The same for a text that is known to hold no NUL.
        void AppendMeasured(char const* text, unsigned long size, MergeT merge,
                            char const* marker = nullptr) {
            bool const merging = merge == MERGE && size_ != 0;
            unsigned long const base = size_ - (merging ? 1 : 0);
            if ((flags_ & (TRUNCATED | CUT)) != 0 || base + size >= CAPACITY || IsOnHeap()) {
                return AppendSlowly_(text, size, merge, marker);
            }
            Copy_(array_ + base, text, size);
            array_[base + size] = '\0';
            size_ = base + size + 1;
            count_ += merging ? 0 : 1;
        }

        // Empties it and forgets its flags.
        void Clear();

        void SetFlag(unsigned flag) { flags_ |= flag; }
        unsigned Flags() const { return flags_; }
        bool IsTruncated() const { return (flags_ & TRUNCATED) != 0; }

        char* Data() { return current_; }
        unsigned long Size() const { return size_; } // with all terminators
        unsigned long Count() const { return count_; }
        bool IsOnHeap() const { return current_ != array_; }

    private:
        // Most pieces of a line are short: no call for them.
        static void Copy_(char* to, char const* from, unsigned long size) {
            if (size > 16) {
                memcpy(to, from, size);
            } else if (size >= 8) {
                CopyEnds_<8>(to, from, size);
            } else if (size >= 4) {
                CopyEnds_<4>(to, from, size);
            } else if (size != 0) {
                to[0] = from[0];
                to[size / 2] = from[size / 2];
                to[size - 1] = from[size - 1];
            }
        }
        // The first and the last N bytes, which meet or overlap.
        template<unsigned long N>
        static void CopyEnds_(char* to, char const* from, unsigned long size) {
            char first[N];
            char last[N];
            memcpy(first, from, N);
            memcpy(last, from + size - N, N);
            memcpy(to, first, N);
            memcpy(to + size - N, last, N);
        }

        void AppendSlowly_(char const* text, unsigned long size, MergeT merge, char const* marker);
        bool MakeRoom_(unsigned long size);
        void Store_(unsigned long base, char const* text, unsigned long size);
        void DropLast_();
        void AppendMarker_(char const* marker);

        char array_[CAPACITY] = {};
        char* current_ = array_;
        unsigned long size_ = 0;
        unsigned long count_ = 0;
        unsigned flags_ = 0;
    };

    Impl_() = default;
    Impl_(Impl_ const&) = delete;
    Impl_& operator=(Impl_ const&) = delete;

    // A free place of the calling thread, for one statement. There are a few, because a statement can be made
    // while others of the thread live: by a called function, by the monitor of a lock, by a signal handler.
    // Null when all are taken: that statement is dropped. Leave gives this very place back.
    static Impl_* Enter();
    void Leave();

    static void SetConsole();
    static bool IsConsole();

    // What syslog knows the process by; null for the name of the program.
    static void SetIdent(char const* ident);

    // Ahead of statements that must not allocate, and for handlers, which cannot read it.
    static void ReadZone();

    void Reset(LevelT level, char const* ident, char const* name, char const* format);
    // The text ends at its first NUL.
    void AppendArgument(char const* text, unsigned long size);
    void AppendMeasured(char const* text, unsigned long size);
    void Control(ControlT control);
    void Request(Backtrace const& request);
    void SetCode(uint64_t kind, ReturnT const& code);

    char* MakeMessage();
    void Print();

    bool IsHex() const { return (flags_ & NEXT_HEX) != 0; }
    bool IsInternal() const { return (flags_ & (FAULT | OUT_OF_MEMORY)) != 0; }
    ReturnT Code() const;

private:
    static constexpr unsigned long MAX_ARGUMENTS = 9;
    static constexpr unsigned MAX_MARKS = 12;
    static constexpr ReturnT DEFAULT_CODE{0x0FFF002C};
    static constexpr ReturnT OUT_OF_MEMORY_CODE{0xCFFE0488};

    // The turn of the calling thread to print the lines of one statement, which no other thread comes
    // between. A signal handler prints without.
    class Turn_ {
    public:
        Turn_();
        ~Turn_();
        Turn_(Turn_ const&) = delete;
        Turn_& operator=(Turn_ const&) = delete;

        // False in a handler that did not say so, and that interrupted a turn of this very thread.
        bool IsMine() const { return way_ != NONE; }

        static bool InHandler();

    private:
        enum WayT_ { NONE, WITH_LOCK, WITHOUT_LOCK } const way_;
    };

    bool ScanFormat_();
    void BecomeFault_(char const* words);
    bool HasCode_() const { return (flags_ & (DONE | FAIL | OOM)) != 0; }
    void BuildMessage_();
    void AppendCode_();
    void Expand_();
    void EndMessage_();
    void PrintLine_(LevelT level, char* text);
    void PrintFromHandler_(LevelT level, char* text);

    // Defined in zeb/runtime/LogBacktrace.cpp.
    void PrintWithBacktrace_(char* message);
    void PrintBacktrace_(int tid, int error, ::Backtrace const& backtrace);
    template<class... TextsT>
    void PrintTexts_(LevelT level, TextsT const*... texts);
    void PrintFrame_(char const* name, unsigned long offset);

    void Merge_(char const* text, unsigned long size) {
        message_.AppendMeasured(text, size, StringBuffer_::MERGE);
    }
    void Merge_(char const* text) { Merge_(text, strlen(text)); }

    std::atomic<bool> taken_ = false; // also by a handler of the same thread
    LevelT level_ = INFO;
    char const* ident_ = "";
    char const* name_ = nullptr;
    char const* format_ = "";
    uint64_t flags_ = 0;
    ReturnT code_;
    StringBuffer_ message_;
    StringBuffer_ arguments_;
    uint64_t argumentCount_ = 0;
    uint64_t expectedCount_ = 0;

    // Where the percent signs of the template stand, as far as they have room here, and then its end.
    unsigned markCount_ = 0;
    unsigned marks_[MAX_MARKS];

    unsigned long backtraceSkip_ = 0;
    int backtraceTid_ = Backtrace::TID_SELF;
    Backtrace::ContextT backtraceContext_ = Backtrace::DEMANGLE;
};
