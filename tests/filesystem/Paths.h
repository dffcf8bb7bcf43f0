// A folder of a test's own, and what is logged about it.
#pragma once

#include "workbench/Calls.h"
#include "workbench/Heap.h"
#include "workbench/LogCapture.h"
#include "workbench/Namespace.h"
#include "workbench/TempDir.h"
#include "zeb/core/CString.h"

#include <fcntl.h>
#include <filesystem>
#include <list>
#include <optional>
#include <sstream>
#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace fs = std::filesystem;

struct PathTest : testing::Test {
    // Live as long as the test.
    CString Keep(std::string const& text) { return CString(texts.emplace_back(text).c_str()); }
    CString At(std::string const& name) { return Keep(dir / name); }

    // In memory where that may be, since tests make many entries.
    PathTest() {
        if (Namespace::WhyNot()) return;
        space.emplace();
        space->SmallDisk(dir.Path());
    }

    TempDir dir;
    std::optional<Namespace> space;
    LogCapture log;
    mode_t const oldMask = umask(022);
    int error = -1;
    std::list<std::string> texts;
};
