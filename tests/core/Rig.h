// What the tests of this folder and of those that stand on it share: the workbench's heap, and views of standard strings.
#pragma once

#include "workbench/Heap.h"
#include "zeb/core/Buffer.h"
#include "zeb/core/String.h"

#include <algorithm>
#include <climits>
#include <random>
#include <sstream>
#include <string>
#include <vector>

inline CString View(std::string const& data) { return {data.data(), data.size()}; }
inline std::string Text(CBuffer const& data) { return {static_cast<char const*>(data.Ptr()), data.Size()}; }
