#pragma once

// Version: a version of the device's firmware. It has five fields, which are compared and printed as numbers
// in hexadecimal, so that the letter of a release is one of them: 4.2.C.1.0-3 has the fields 4, 2, 0xC, 1, 3.
//
// A version knows which of its fields are in use, by a mask with bit n for field n: those that its text
// named. A comparison asks the fields in use of the object on its left, in order, whatever the other side
// uses. So a version of four fields equals all that agree in these, as long as it stands on the left. A new
// object uses no field, and equals everything: parse it, or give a mask.
//
// Owns      nothing: a plain value, copied as numbers
// Threads   one at a time changes an object
// Failure   by the result; a log line only for what should not happen: the parser out of memory
// Cost      Parse() compiles and searches for four regular expressions each time: keep what was parsed

#include "zeb/core/Export.h"

#include <compare>
#include <cstdint>

class CString;
class String;

class ZEB_PUBLIC Version {
public:
    static constexpr char const IDENT[] = "Version";

    constexpr Version() = default;
    constexpr Version(Version const&) = default;
    // Zero in all fields.
    constexpr explicit Version(unsigned long mask)
        : mask_(mask) {}
    Version& operator=(Version const&) = default;

    // All fields 0, and all in use.
    static Version const& Zero();

    // All fields are 0, in use or not.
    bool IsZero() const;

    // By the fields in use of this object: the six comparisons stand on these two.
    bool operator==(Version const& other) const { return (*this <=> other) == 0; }
    std::weak_ordering operator<=>(Version const& other) const;

    // Looks for a version anywhere in the text, up to its first NUL. It may be of four forms:
    //
    //   2.05(AAXX.3)C7      2, 5, C, 7, 3
    //   4.02.1.C[.3]        4, 2, C, 3; the third number is passed over, a missing one is 0
    //   4.02.C.1[.2]        4, 2, C, 1, 2; at the end of the text alone
    //   4.02.C.1.0-3        4, 2, C, 1, 3; the letter may be a 0
    //
    // If several fit the last of them counts: 4.02.1.C.3 at the end of a text is 2, 1, C, 3, 0. The object
    // then has the fields of that form, with 0 in those that the form does not have. A form with a number of
    // more than 64 bits does not fit. False, with nothing changed, if none fits, or memory ran out.
    bool Parse(CString const& text);

    // Appends "4.2.C.1.0-3". False, with nothing changed, when memory ran out.
    bool Print(String& text) const;

private:
    static constexpr unsigned COUNT = 5;

    struct Form_;
    enum class FoundT { NO, YES, FAILED };

    FoundT Parse_(CString const& text, Form_ const& form);

    static Form_ const FORMS_[];

    int64_t fields_[COUNT] = {};
    uint64_t mask_ = 0;
};
