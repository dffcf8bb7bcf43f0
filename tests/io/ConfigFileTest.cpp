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
    struct {
        std::vector<std::pair<SysCall, int>> fail;
        std::string left;               // in the folder, when Close has returned
        std::vector<std::string> lines; // with @ for the path
    } const rows[] = {
        {{{SysCall::write, ENOSPC}},
         "target target~",
         {"E@@: unable to write data: no space left on device."}},
        {{{SysCall::close, EIO}}, "target", {"C@@: unable to close \"@~\": input/output error."}},
        {{{SysCall::rename, EIO}, {SysCall::unlink, ENOENT}},
         "target target~",
         {"C@@: unable to replace \"@\": input/output error."}},
        {{{SysCall::rename, EIO}, {SysCall::unlink, EPERM}},
         "target target~",
         {"C@@: unable to replace \"@\": input/output error.",
          "C@@: unable to remove \"@~\": operation not permitted."}},
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
        }
        EXPECT_EQ(dir.Read("target"), "old");
        Lines expected = row.lines;
        for (std::string& line : expected) {
            line.replace(1, 2, " Io::ConfigFile");
            if (line.find('@') != line.npos) line.replace(line.find('@'), 1, path);
        }
        EXPECT_EQ(log.Take(), expected);
    }
}

TEST(ConfigFile, LeavesTheTemporaryFileOfAnotherWriterAndIsBrokenWithoutMemory) {
    TempDir dir;
    LogCapture log;
    std::string const path = dir.Write("target", "old");
    dir.Write("target~", "of another writer");
    for (Log::VerboseT const verbose : {Log::VERBOSE_OFF, Log::VERBOSE_ON}) {
        Io::ConfigFile const file(path.c_str(), Io::EOL_LF, 16, verbose);
        EXPECT_TRUE(!file.Initialized() && file.SysError() == EEXIST);
    }
    EXPECT_EQ(dir.Read("target~"), "of another writer");
    EXPECT_EQ(log.Take(), Lines{"C Io::ConfigFile: unable to open \"" + path + "~\": file exists."});
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
