#pragma once

// Words of enumerations, for the XML form of events.

namespace Event {

// The word at the index of the value, or `other` for a value beyond the table.
template<unsigned SIZE>
constexpr char const* Word_(unsigned value, char const* const (&words)[SIZE], char const* other = "unknown") {
    return value < SIZE ? words[value] : other;
}

} // namespace Event
