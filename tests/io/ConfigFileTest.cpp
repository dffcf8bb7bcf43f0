#include "zeb/io/ConfigFile.h"
#include "tests/io/Transports.h"
#include "workbench/Calls.h"
#include "workbench/TempDir.h"

namespace {

struct ConfigFileTest : testing::Test {
    TempDir dir;
    LogCapture log;
    std::string const path = dir.Write("target", "old");
};

TEST_F(ConfigFileTest, ReplacesTheTargetOnCloseAlone) {
    {
        Io::ConfigFile discarded(path.c_str());
        discarded << "not finished";
        EXPECT_TRUE(discarded.Flush());
        EXPECT_EQ(dir.List() + dir.Read("target~"), "target target~not finished");
    }
    EXPECT_EQ(dir.List() + dir.Read("target"), "targetold");
    for (unsigned long const block : {16UL, 5000UL}) {
        Calls const calls;
        Io::ConfigFile file(path.c_str(), Io::EOL_CRLF, block);
        file.Width(2000) << "new" << Io::Endl;
        EXPECT_TRUE(block == 16 || file.OutBuffer().SysFlush()); // to the disk, when that is asked for
        EXPECT_EQ(calls.Count(SysCall::fsync), block == 16 ? 0u : 1u);
        EXPECT_TRUE(file.Close() && dir.List() == "target" && dir.Read("target").size() == 2002);
        EXPECT_FALSE(file.Close() || file.Ok()); // runs once
    }
}

TEST_F(ConfigFileTest, FailuresOnTheWayLeaveTheTarget) {
    std::string const head = " Io::ConfigFile: ", busy = "C" + head + "unable to replace \"@\": ";
    // what is left in the folder when Close has returned, and in the log
    std::tuple<SysCall, int, std::string, std::string> const rows[] = {
        {SysCall::write, ENOSPC, "target target~", "E" + head + "\"@~\": unable to write data: no space left on device.\n"},
        {SysCall::close, EIO, "target", "C" + head + "unable to close \"@~\": input/output error.\n"},
        {SysCall::rename, EPERM, "target", busy + "operation not permitted.\n"},
        {SysCall::rename, EIO, "target target~",
         busy + "input/output error.\nC" + head + "unable to remove \"@~\": operation not permitted.\n"}};
    for (auto const& [call, error, left, lines] : rows) {
        Calls calls;
        calls.Script(call, {Calls::Fail(error)});
        if (error == EIO && call == SysCall::rename) calls.Script(SysCall::unlink, {Calls::Fail(EPERM)});
        Io::ConfigFile file(path.c_str());
        file << "new";
        EXPECT_FALSE(file.Close());
        EXPECT_EQ(dir.List() + dir.Read("target"), left + "old");
        EXPECT_EQ(Logged(log, path), lines);
        EXPECT_EQ(file.SysError(), error);
    }
}

TEST_F(ConfigFileTest, TheTemporaryFileOfAnotherWriterStandsInTheWayUntilItIsRemoved) {
    std::string const head = "Io::ConfigFile: ";
    dir.Write("target~", "of another writer");
    Io::ConfigFile const late(path.c_str()), quiet(path.c_str(), Io::EOL_LF, 16, Log::VERBOSE_OFF);
    EXPECT_TRUE(!late.Initialized() && late.SysError() == EEXIST);
    EXPECT_EQ(dir.Read("target~"), "of another writer");
    EXPECT_EQ(Logged(log, path), "C " + head + "unable to open \"@~\": file exists.\n");
    Calls calls;
    for (auto const verbose : {Log::VERBOSE_OFF, Log::VERBOSE_ON}) {
        calls.Script(SysCall::unlink, {Calls::Fail(EPERM)});
        EXPECT_FALSE(Io::ConfigFile::RemoveStale(path.c_str(), verbose));
    }
    EXPECT_TRUE(Io::ConfigFile::RemoveStale(path.c_str()) && Io::ConfigFile::RemoveStale(path.c_str()));
    EXPECT_EQ(dir.List() + dir.Read("target"), "targetold");
    EXPECT_EQ(Logged(log, path), "C " + head + "unable to remove \"@~\": operation not permitted.\nW " + head +
                                     "removed \"@~\", which an earlier writer left.\n");
}

TEST_F(ConfigFileTest, WithoutMemoryNothingIsMadeOrRemoved) {
    ForEveryAllocation([&](Heap& heap) {
        heap.Arm();
        Io::ConfigFile file(path.c_str(), Io::EOL_LF, 2000);
        bool const removed = Io::ConfigFile::RemoveStale(path.c_str());
        heap.Disarm();
        EXPECT_EQ(file.Initialized() && removed, !heap.Fired());
        EXPECT_EQ(dir.Exists("target~"), file.Initialized() && !removed);
        EXPECT_EQ(Logged(log, path).find("\"@\": out of memory") != std::string::npos, heap.Fired());
    });
}

} // namespace
