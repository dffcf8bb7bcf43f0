#pragma once

#include "zeb/core/Export.h"

// The words for a system error number, localised: static text, never null. 0 is "no error", and a number that
// is not known is "unknown error". Allocates nothing and may be called by any thread.
ZEB_PUBLIC char const* ErrorString(int error);
