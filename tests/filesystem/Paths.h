// A folder of a test's own, and what is logged about it.
#pragma once

#include "workbench/Calls.h"
#include "workbench/Heap.h"
#include "workbench/LogCapture.h"
#include "workbench/Namespace.h"
#include "workbench/TempDir.h"
#include "zeb/core/StringVector.h"

#include <fcntl.h>
#include <filesystem>
#include <list>
#include <sstream>
#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace fs = std::filesystem;

struct PathTest : testing::Test {
    // Lives as long as the test.
    CString At(std::string const& name) { return CString(texts.emplace_back(dir / name).c_str()); }
    unsigned ModeOf(std::string const& name) { return static_cast<unsigned>(fs::status(dir / name).permissions()); }
    void Remove(std::initializer_list<char const*> names) {
        for (char const* const name : names) fs::remove_all(dir / name);
    }
    std::string Logged() { return dir.Masked(log.TakeText()); }
    // The call fails, or does what is told, behind some that are as ever.
    static void Script(Calls& calls, SysCall call, unsigned long skipped, Calls::Step const& step) {
        calls.Script(call, {Calls::Real()}, skipped);
        calls.Script(call, {step});
    }

    TempDir dir;
    LogCapture log;
    mode_t const oldMask = umask(022);
    std::list<std::string> texts;
};
