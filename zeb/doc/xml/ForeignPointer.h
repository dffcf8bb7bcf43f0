#pragma once

// A pointer that is no text. It would turn into a bool, so the operations that take a value refuse it.

#include <type_traits>

namespace Doc {

template<class T>
concept ForeignPointer = std::is_pointer_v<T> && !std::is_convertible_v<T, char const*>;

} // namespace Doc
