#pragma once

#include "zeb/core/Export.h"

namespace Json {

// The tag that selects the overloads for a null value.
struct NullT {
    constexpr NullT() = default;
};

// Its one constant; Value::NullPtr() gives its address.
ZEB_PUBLIC extern NullT const Null;

} // namespace Json
