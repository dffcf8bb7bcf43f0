#pragma once

// The types that Get() of a value, an array and an object reads into.

#include "zeb/core/CString.h"

#include <type_traits>

class String;

namespace Json {

class Array;
class Object;

template<class T, class... All>
inline constexpr bool IS_ONE_OF_ = (std::is_same_v<T, All> || ...);

template<class T>
concept IsReadable_ = IS_ONE_OF_<T, bool, CString, ::String, Array*, Array const*, Object*, Object const*,
                                 char, unsigned char, short, unsigned short, int, unsigned int, long,
                                 unsigned long, long long, unsigned long long, double>;

// A text of another kind: what it owns would be lost if it were aimed at a value.
template<class T>
concept IsOtherText_ = std::is_base_of_v<CString, T> && !IsReadable_<T>;

} // namespace Json
