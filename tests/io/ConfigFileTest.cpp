#include "zeb/io/ConfigFile.h"
#include "tests/io/Transports.h"
#include "tests/support/Calls.h"
#include "tests/support/Heap.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TempDir.h"

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
        EXPECT_EQ(dir.List() + dir.Read("target"), "targetold");
        Io::ConfigFile file(path.c_str(), Io::EOL_CRLF, block);
        file.Width(2000) << "new" << Io::Endl;
        EXPECT_EQ(dir.Read("target"), "old");
        EXPECT_TRUE(file.Close());
        EXPECT_EQ(dir.List(), "target");
        EXPECT_EQ(dir.Read("target").size(), 2002u);
        EXPECT_FALSE(file.Close()); // runs once
        EXPECT_EQ(file.CurrentState(), Stateful::STATE_FAILED);
    }
}

TEST(ConfigFile, FailuresOnTheWayLeaveTheTarget) {
    std::string const replace = "C Io::ConfigFile: unable to replace \"PATH\": input/output error.";
    struct {
        std::vector<std::pair<SysCall, int>> fail;
        std::string left; // in the folder, when Close has returned
        std::vector<std::string> lines;
    } const rows[] = {
        // clang-format off
        {{{SysCall::open, EEXIST}}, "target", {"C Io::ConfigFile: unable to open \"PATH~\": file exists."}},
        {{{SysCall::write, ENOSPC}}, "target target~",
         {"E Io::ConfigFile: unable to write data: no space left on device."}},
        {{{SysCall::close, EIO}}, "target",
         {"C Io::ConfigFile: unable to close \"PATH~\": input/output error."}},
        {{{SysCall::rename, EIO}}, "target", {replace}},
        {{{SysCall::rename, EIO}, {SysCall::unlink, ENOENT}}, "target target~", {replace}},
        {{{SysCall::rename, EIO}, {SysCall::unlink, EPERM}}, "target target~",
         {replace, "C Io::ConfigFile: unable to remove \"PATH~\": operation not permitted."}},
        // clang-format on
    };
    for (auto const& row : rows) {
        TempDir dir;
        LogCapture log;
        std::string const path = dir.Write("target", "old");
        {
            Calls calls;
            for (auto const& [call, error] : row.fail)
                calls.Script(call, {Calls::Fail(error)});
            Io::ConfigFile file(path.c_str());
            file << "new";
            EXPECT_FALSE(file.Close());
            EXPECT_EQ(dir.List(), row.left);
            EXPECT_EQ(file.SysError(), row.fail[0].second);
            EXPECT_EQ(file.Initialized(), row.fail[0].first != SysCall::open);
        }
        EXPECT_EQ(dir.Read("target"), "old");
        Lines expected = row.lines;
        for (std::string& line : expected)
            if (line.find("PATH") != line.npos) line.replace(line.find("PATH"), 4, path);
        EXPECT_EQ(log.Take(), expected);
    }
}

TEST(ConfigFile, LeavesTheTemporaryFileOfAnotherWriterAndIsBrokenWithoutMemory) {
    TempDir dir;
    LogCapture log;
    std::string const path = dir.Write("target", "old");
    dir.Write("target~", "of another writer");
    EXPECT_FALSE(Io::ConfigFile(path.c_str(), Io::EOL_LF, 16, Log::VERBOSE_OFF).Initialized());
    EXPECT_EQ(dir.Read("target~"), "of another writer");
    EXPECT_EQ(log.Take(), Lines());
    EXPECT_EQ(remove((path + "~").c_str()), 0);
    ForEveryAllocation([&](Heap& heap) {
        heap.Arm();
        Io::ConfigFile file(path.c_str(), Io::EOL_LF, 2000);
        heap.Disarm();
        EXPECT_EQ(file.Initialized(), !heap.Fired());
        EXPECT_EQ(dir.Exists("target~"), !heap.Fired());
        Lines const expected = {"C Io::ConfigFile: \"" + path + "\": out of memory [0xcffe****]."};
        EXPECT_EQ(log.Take(), heap.Fired() ? expected : Lines());
    });
}

} // namespace
