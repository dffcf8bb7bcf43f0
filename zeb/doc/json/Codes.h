#pragma once

// What reading and exporting a JSON document can answer, in numbers and in words.

#include "zeb/core/CString.h"
#include "zeb/core/ReturnT.h"

#include <cstdint>

namespace Json {

enum CodeT : uint32_t {
    CODE_OK = 0x00380064,

    CODE_BAD_NULL = 0x80380065,             // a bad literal that begins with n
    CODE_BAD_FALSE = 0x80380066,            // the same with f
    CODE_BAD_TRUE = 0x80380067,             // the same with t
    CODE_BAD_HEX = 0x80380068,              // \u without four hexadecimal digits
    CODE_HIGH_SURROGATE_ALONE = 0x80380069, // a high surrogate not followed by \u
    CODE_NO_LOW_SURROGATE = 0x8038006A,     // a high surrogate followed by something other than a low one
    CODE_BAD_ESCAPE = 0x8038006B,           // an unknown escape, or a backslash at the end of the text
    CODE_UNTERMINATED = 0x8038006C,         // an unterminated string, or a NUL in one
    CODE_CONTROL = 0x8038006D,              // a character below 0x20 in a string
    CODE_LEADING_ZERO = 0x8038006E,         // a digit behind a leading zero
    CODE_NO_DIGIT = 0x8038006F,             // no digit after a minus sign
    CODE_NO_FRACTION = 0x80380070,          // no digit after the decimal point
    CODE_NO_EXPONENT = 0x80380071,          // no digit in the exponent
    CODE_NOT_A_DOUBLE = 0x80380072,         // a number that cannot be held as a double
    CODE_BAD_ARRAY = 0x80380073,            // neither comma nor bracket, or a comma before the bracket
    CODE_NO_NAME = 0x80380074,              // no string where a name must stand
    CODE_NO_COLON = 0x80380075,             // no colon behind the name
    CODE_BAD_OBJECT = 0x80380076,           // neither comma nor brace, or no value before the brace
    CODE_EMPTY = 0x80380077,                // only white space, or a NUL first
    CODE_BAD_ROOT = 0x80380078,             // a scalar root where only containers are allowed
    CODE_TRAILING = 0x80380079,             // text after the root
    CODE_NO_VALUE = 0x8038007A,             // no value where one must stand
    CODE_TOO_DEEP = 0x8038007D,             // more than 128 levels inside the root
    CODE_NUMBER_TOO_LONG = 0x80380082,      // more digits than an int counts
    CODE_EXPORT_TYPE = 0x803800CB,          // a member that has no form in XML
    CODE_EXPORT_ELEMENT = 0x803800CC,       // the same for an element of an array
    CODE_EXPORT_ROOT = 0x803800CD,          // the root is no object
};

// What the code says of a text, as "no colon behind the name"; "out of memory" for a code of the Oom family,
// and the nil string for any other code that is none of the above.
ZEB_PUBLIC CString CodeWords(ReturnT code);

// Where and why a text was refused. The words live for ever.
struct FaultT {
    unsigned long offset = 0; // bytes ahead of the fault
    unsigned long line = 0;   // from 1; lines end in LF
    unsigned long column = 0; // from 1, in characters
    CString words;
};

} // namespace Json
