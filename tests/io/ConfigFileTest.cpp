#include "zeb/io/ConfigFile.h"
#include "tests/io/Transports.h"
#include "tests/support/Calls.h"
#include "tests/support/Heap.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TempDir.h"

#include <gtest/gtest.h>

namespace {

using Io::Stateful;
using Lines = LogCapture::LinesT;

TEST(ConfigFile, ReplacesTheTargetOnCloseAlone) {
    for (unsigned long const block : {16UL, 1024UL, 5000UL}) {
        TempDir dir;
        std::string const path = dir.Write("target", "old");
        {
            Io::ConfigFile discarded(path.c_str(), Io::EOL_LF, block);
            discarded << "not finished";
            EXPECT_TRUE(discarded.Flush());
            EXPECT_EQ(dir.Read("target~"), "not finished");
        }
        EXPECT_EQ(dir.List(), "target");
        EXPECT_EQ(dir.Read("target"), "old");
        Io::ConfigFile file(path.c_str(), Io::EOL_CRLF, block);
        for (int i = 0; i < 1000; ++i)
            file << i % 10;
        file << Io::Endl;
        EXPECT_EQ(dir.Read("target"), "old");
        EXPECT_TRUE(file.Close());
        EXPECT_EQ(dir.List(), "target");
        EXPECT_EQ(dir.Read("target").size(), 1002u);
        EXPECT_FALSE(file.Close()); // runs once
        EXPECT_EQ(file.CurrentState(), Stateful::STATE_FAILED);
    }
}

TEST(ConfigFile, AStaleTemporaryFileStopsTheWriter) {
    TempDir dir;
    LogCapture log;
    std::string const path = dir.Write("target", "old");
    dir.Write("target~", "of another writer");
    {
        Io::ConfigFile file(path.c_str());
        EXPECT_EQ(file.CurrentState(), Stateful::STATE_BROKEN);
        EXPECT_EQ(file.SysError(), EEXIST);
        file << "text";
        EXPECT_FALSE(file.Close());
    }
    EXPECT_EQ(dir.Read("target~"), "of another writer");
    EXPECT_EQ(log.Take(), Lines({"C Io::ConfigFile: unable to open \"" + path + "~\": file exists."}));
    Io::ConfigFile quiet("/absent/file", Io::EOL_LF, 16, Log::VERBOSE_OFF);
    EXPECT_FALSE(quiet.Initialized());
    EXPECT_EQ(log.Take(), Lines());
}

TEST(ConfigFile, FailuresOnTheWayLeaveTheTarget) {
    struct {
        std::vector<std::pair<SysCall, int>> fail;
        int error;
        std::string left; // in the folder, when Close has returned
        std::vector<std::string> lines;
    } const rows[] = {
        {{{SysCall::write, ENOSPC}},
         ENOSPC,
         "target target~",
         {"E Io::ConfigFile: unable to write data: no space left on device."}},
        {{{SysCall::close, EIO}},
         EIO,
         "target",
         {"C Io::ConfigFile: unable to close \"PATH~\": input/output error."}},
        {{{SysCall::rename, EXDEV}},
         EXDEV,
         "target",
         {"C Io::ConfigFile: unable to replace \"PATH\": improper cross-device link."}},
        {{{SysCall::rename, EXDEV}, {SysCall::unlink, ENOENT}},
         EXDEV,
         "target target~",
         {"C Io::ConfigFile: unable to replace \"PATH\": improper cross-device link."}},
        {{{SysCall::rename, EXDEV}, {SysCall::unlink, EIO}},
         EXDEV,
         "target target~",
         {"C Io::ConfigFile: unable to replace \"PATH\": improper cross-device link.",
          "C Io::ConfigFile: unable to remove \"PATH~\": input/output error."}},
    };
    for (auto const& row : rows) {
        TempDir dir;
        LogCapture log;
        std::string const path = dir.Write("target", "old");
        {
            Io::ConfigFile file(path.c_str());
            file << "new";
            {
                Calls calls;
                for (auto const& [call, error] : row.fail)
                    calls.Script(call, {Calls::Fail(error)});
                EXPECT_FALSE(file.Close());
            }
            EXPECT_EQ(dir.List(), row.left);
            EXPECT_EQ(file.SysError(), row.error);
        }
        EXPECT_EQ(dir.Read("target"), "old");
        Lines expected = row.lines;
        for (std::string& line : expected)
            if (line.find("PATH") != line.npos) line.replace(line.find("PATH"), 4, path);
        EXPECT_EQ(log.Take(), expected);
    }
}

TEST(ConfigFile, IsBrokenWithoutMemory) {
    TempDir dir;
    std::string const path = dir.Write("target", "old");
    ForEveryAllocation([&](Heap& heap) {
        LogCapture log;
        {
            heap.Arm();
            Io::ConfigFile file(path.c_str(), Io::EOL_LF, 2000);
            heap.Disarm();
            EXPECT_EQ(file.Initialized(), !heap.Fired());
            EXPECT_EQ(dir.Exists("target~"), !heap.Fired());
        }
        EXPECT_EQ(dir.List(), "target");
        EXPECT_EQ(log.Take(), heap.Fired()
                                  ? Lines({"C Io::ConfigFile: \"" + path + "\": out of memory [0xcffe****]."})
                                  : Lines());
    });
}

} // namespace
