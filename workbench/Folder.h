// A fixture for tests of what is done with files: an empty folder of the test's own, what is logged, paths
// that live as long as the test, and a view of the system whose /dev and /etc the test may replace.
//
//     struct SpoolTest : WithFolder {};
//
//     TEST_F(SpoolTest, IsEmptied) {
//         dir.Make("spool/a spool/b/ spool/c>../kept kept");
//         EXPECT_EQ(Told(Directory::Delete(At("spool"), Directory::RECURSIVE, &error).Succeeded()), "0");
//         EXPECT_EQ(dir.Tree(), "kept");
//         EXPECT_EQ(dir.Masked(log.TakeText()), "");
//     }
//
// The fixture uses the library's CString and is header only, as the workbench links nothing of the library.
//
// Owns       the folder and all that is in it, the view, and the texts of Keep() and At()
// Order      the folder lies in memory where the machine lets it; ZEB_NEED_ROOT() skips what wants a view
// Threads    the one of the test, and those that it starts, which see the same view
// Destroy    gives back the mask and the working directory of the process, whatever the test did to them
#pragma once

#include "workbench/Heap.h"
#include "workbench/LogCapture.h"
#include "workbench/Namespace.h"
#include "workbench/TempDir.h"
#include "zeb/core/CString.h"

#include <filesystem>
#include <functional>
#include <list>
#include <optional>
#include <string>

#include <sys/stat.h>

#include <gtest/gtest.h>

struct WithFolder : testing::Test {
    WithFolder() {
        if (Namespace::WhyNot() == nullptr) space.emplace().SmallDisk(dir.Path());
    }
    ~WithFolder() override {
        umask(oldMask);
        std::filesystem::current_path(outside);
    }

    // A copy of the text, and the path of a name in the folder, both until the test ends.
    CString Keep(std::string const& text) { return CString(texts.emplace_back(text).c_str()); }
    CString At(std::string const& name) { return Keep(dir / name); }

    // The errno that an operation left in `error`, as a number in text; "?" if it does not fit what the
    // operation answered: a success leaves 0, a failure anything else.
    std::string Told(bool isDone) const { return isDone == (error == 0) ? std::to_string(error) : "?"; }

    TempDir dir;
    std::optional<Namespace> space; // none without root
    LogCapture log;
    mode_t const oldMask = umask(022); // the usual one, for the test
    std::filesystem::path const outside = std::filesystem::current_path();
    int error = -1;
    std::list<std::string> texts;
};

// A table of what is done in a folder, in words. The fields of a row have "&" between them, and ";" ends it:
//
//     what is there       in the words of TempDir::Make()
//     what fails          a call of the system in the words of Calls::ScriptFailure(), or nothing
//     the command         which `run` knows how to do
//     what it gives       the text that `run` answers
//     what is there then  in the words of TempDir::Tree(); without this field nothing may have changed
//
//     char const* const rows = "old&&move old new&0&new; old&rename 0 EXDEV&move old new&18;";
//     RunFolderTable(dir, {rows, "move.*:0", "12", [&](std::string const& command, Heap* heap) { ... }});
//
// Each row begins with an empty folder, and must leave as many descriptors open as it found (but for a
// close() that was made to fail). Rows in which no call fails and whose "command:what it gives" matches
// `allocating` are run again in ForEveryAllocation(): `run` gets the heap to arm around the operation (null
// in the first run), and what it answers differently when an allocation has failed must match `lacking`. Both
// are regular expressions.
struct FolderTable {
    using RunT = std::function<std::string(std::string const& command, Heap* heap)>;

    std::string rows, allocating, lacking;
    RunT run;
};

void RunFolderTable(TempDir const& dir, FolderTable const& table);
