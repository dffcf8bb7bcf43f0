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
// Header only, as Threads.h is: it uses the library's CString, but the workbench links nothing of the
// library.
//
// Owns       the folder and all that is in it, the view, and the texts of Keep() and At()
// Order      the folder lies in memory where this machine lets it (ZEB_NEED_ROOT() skips a test that wants a
// view) Threads    the one of the test, and those that it starts, which see the same view Destroy    gives
// the mask of the process back that was there before, whatever the test did to it
#pragma once

#include "workbench/LogCapture.h"
#include "workbench/Namespace.h"
#include "workbench/TempDir.h"
#include "zeb/core/CString.h"

#include <list>
#include <optional>
#include <string>

#include <sys/stat.h>

#include <gtest/gtest.h>

struct WithFolder : testing::Test {
    WithFolder() {
        if (Namespace::WhyNot() == nullptr) space.emplace().SmallDisk(dir.Path());
    }
    ~WithFolder() override { umask(oldMask); }

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
    int error = -1;
    std::list<std::string> texts;
};
