#include "zeb/doc/json/Codes.h"

namespace Json {

namespace {

struct WordsT {
    CodeT code;
    char const* words;
};

constexpr WordsT WORDS[] = {
    {CODE_BAD_NULL, "not a value: \"null\" expected"},
    {CODE_BAD_FALSE, "not a value: \"false\" expected"},
    {CODE_BAD_TRUE, "not a value: \"true\" expected"},
    {CODE_BAD_HEX, "\\u without four hexadecimal digits"},
    {CODE_HIGH_SURROGATE_ALONE, "a high surrogate that is not followed by \\u"},
    {CODE_NO_LOW_SURROGATE, "a high surrogate that is not followed by a low one"},
    {CODE_BAD_ESCAPE, "unknown escape"},
    {CODE_UNTERMINATED, "a string that does not end"},
    {CODE_CONTROL, "a control character in a string"},
    {CODE_LEADING_ZERO, "a number with a leading zero"},
    {CODE_NO_DIGIT, "no digit behind the minus sign"},
    {CODE_NO_FRACTION, "no digit behind the decimal point"},
    {CODE_NO_EXPONENT, "no digit in the exponent"},
    {CODE_NOT_A_DOUBLE, "a number that is too large or too small"},
    {CODE_BAD_ARRAY, "neither a comma nor the end of the array"},
    {CODE_NO_NAME, "no name where one must stand"},
    {CODE_NO_COLON, "no colon behind the name"},
    {CODE_BAD_OBJECT, "neither a comma nor the end of the object"},
    {CODE_EMPTY, "an empty text"},
    {CODE_BAD_ROOT, "neither an object nor an array"},
    {CODE_TRAILING, "text behind the end"},
    {CODE_NO_VALUE, "no value where one must stand"},
    {CODE_TOO_DEEP, "too many levels"},
    {CODE_NUMBER_TOO_LONG, "a number of too many digits"},
    {CODE_EXPORT_TYPE, "a member that has no form in XML"},
    {CODE_EXPORT_ELEMENT, "an element of an array that has no form in XML"},
    {CODE_EXPORT_ROOT, "the root is no object"},
};

} // namespace

CString CodeWords(ReturnT code) {
    if (code.IsOom()) return "out of memory";
    for (WordsT const& row : WORDS)
        if (code == row.code) return row.words;
    return CString();
}

} // namespace Json
