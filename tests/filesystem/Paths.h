// What the tests of this folder stand on.
#pragma once

#include "tests/runtime/Worker.h"
#include "workbench/Folder.h"

#include <fcntl.h>
#include <filesystem>
#include <regex>
#include <sstream>

namespace fs = std::filesystem;
