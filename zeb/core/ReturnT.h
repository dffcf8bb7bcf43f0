#pragma once

// The result of every operation that can fail: one 32-bit code, passed in a register.
//
//   bits 31..30  severity  0 success, 1 warning, 2 error, 3 critical
//   bits 29..28  0
//   bits 27..16  facility  the class or subsystem that owns the code
//   bits 15..0   code      the number within the facility
//
// A code is a failure exactly when bit 31 is set: Failed() is a sign test, and a warning counts as success.
// Three facilities belong to no class; their low 16 bits carry the source line of the statement that reports:
// Fail (a system or library call failed), Oom (an allocation failed) and Done (success).
//
//   if (ReturnT const code = file.Open(O_RDONLY); code.Failed()) return code;
//   if (map.Get("port", value) == ArrayMap::NOT_FOUND) ...
//
// A code is made of a 32-bit word, and of a literal that is not negative. It is no truth value and no number:
// `!code`, `code < 0`, `return false` and `return errno` mean something else than they say, so they do not
// compile. Code() gives the word, for a switch or a log line.

#include "zeb/core/Export.h"
#include "zeb/core/Facility.h"

#include <cstdint>
#include <type_traits>

class [[nodiscard]] ReturnT {
public:
    enum SeverityT : uint32_t { SUCCESS = 0, WARNING = 1, ERROR = 2, CRITICAL = 3 };

    static constexpr uint32_t UNDEFINED_CODE = 0;

    static constexpr uint32_t FACILITY_FAIL = ::Facility::FAIL;
    static constexpr uint32_t FACILITY_OOM = ::Facility::OOM;
    static constexpr uint32_t FACILITY_DONE = ::Facility::DONE;

    // Nothing reported yet. Counts as success.
    static ReturnT const UNDEFINED;

    constexpr ReturnT() = default;
    constexpr ReturnT(uint32_t code)
        : code_(code) {}

    // Of a literal such as 0x00800001. A negative one, and any other number, is refused.
    consteval ReturnT(int code)
        : code_(static_cast<uint32_t>(code)) {
        if (code < 0) Refuse_();
    }
    template<class T>
    requires std::is_arithmetic_v<T> ReturnT(T)
    = delete;

    // The code that a class makes of its facility and a number of its own.
    static constexpr ReturnT Make(SeverityT severity, uint32_t facility, uint32_t number) {
        return static_cast<uint32_t>(severity) << 30 | (facility & 0xFFF) << 16 | (number & 0xFFFF);
    }

    // The generic families. The default argument takes the line of the caller.
    static constexpr ReturnT Fail(unsigned line = __builtin_LINE()) {
        return Make(CRITICAL, FACILITY_FAIL, line);
    }
    static constexpr ReturnT Oom(unsigned line = __builtin_LINE()) {
        return Make(CRITICAL, FACILITY_OOM, line);
    }
    static constexpr ReturnT Done(unsigned line = __builtin_LINE()) {
        return Make(SUCCESS, FACILITY_DONE, line);
    }

    constexpr uint32_t Code() const { return code_; }

    constexpr bool operator==(ReturnT const&) const = default;

    constexpr bool Failed() const { return static_cast<int32_t>(code_) < 0; }
    constexpr bool Succeeded() const { return !Failed(); }
    constexpr uint32_t Severity() const { return code_ >> 30; }
    constexpr uint32_t Facility() const { return (code_ >> 16) & 0xFFF; }

    // Of the out-of-memory family, whatever the severity.
    constexpr bool IsOom() const { return Facility() == FACILITY_OOM; }

private:
    static void Refuse_(); // not constant: a code is never negative

    uint32_t code_ = UNDEFINED_CODE;
};

inline constexpr ReturnT ReturnT::UNDEFINED{};
