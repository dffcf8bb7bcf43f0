#pragma once

// The types that a getter binds and a setter takes, each with its number.

#include "zeb/core/CString.h"
#include "zeb/doc/json/Null.h"

#include <cstdint>
#include <type_traits>

namespace Json {

enum KindT : uint8_t {
    KIND_NULL = 0,
    KIND_BOOL = 1,
    KIND_STRING = 2,
    KIND_CHAR = 3,
    KIND_UCHAR = 4,
    KIND_SHORT = 5,
    KIND_USHORT = 6,
    KIND_INT = 7,
    KIND_UINT = 8,
    KIND_LONG = 9,
    KIND_ULONG = 10,
    KIND_LONGLONG = 11,
    KIND_ULONGLONG = 12,
    KIND_DOUBLE = 13,
    KINDS = 14, // of any other type
};

template<class T, class... All>
consteval KindT IndexOf_() {
    unsigned index = 0;
    (void)((std::is_same_v<T, All> || (++index, false)) || ...);
    return static_cast<KindT>(index);
}

template<class T>
inline constexpr KindT
    KIND_OF = IndexOf_<T, NullT, bool, CString, char, unsigned char, short, unsigned short, int, unsigned int,
                       long, unsigned long, long long, unsigned long long, double>();

template<class T>
concept IsItem = KIND_OF<T>
!= KINDS;
template<class T>
concept IsInteger = KIND_OF<T>
>= KIND_CHAR&& KIND_OF<T> <= KIND_ULONGLONG;

// Of other types, what the language promotes to one of the integers, such as an enumeration.
template<class T>
concept IsPromoted = !IsItem<T> && requires(T value) {
    requires IsInteger<std::remove_cvref_t<decltype(+value)>>;
};

static_assert(KIND_OF<double> == KIND_DOUBLE && IsInteger<unsigned char> && !IsItem<float>);

} // namespace Json
