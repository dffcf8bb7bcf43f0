#include "zeb/io/File.h"
#include "tests/io/Transports.h"
#include "tests/support/Calls.h"
#include "tests/support/Heap.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TempDir.h"
#include "zeb/io/StringStream.h"

#include <fcntl.h>
#include <sys/ioctl.h>

namespace {

using Io::Stateful;
using F = Io::File;
using Lines = LogCapture::LinesT;

constexpr Log::VerboseT LOUD = Log::VERBOSE_ON;

TEST(File, KeepsOnePositionForReadingAndWriting) {
    TempDir dir;
    Io::File file(dir.Write("file", "0123456789").c_str(), O_RDWR, Io::EOL_LF, 4);
    EXPECT_EQ(file.GetChar(), '0');
    EXPECT_EQ(Position(file), 1);
    file << "AB"; // the read-ahead is dropped: goes behind it
    EXPECT_EQ(Position(file), 6);
    EXPECT_TRUE(file.Truncate(8));
    EXPECT_EQ(Position(file), 6);
    EXPECT_EQ(Rest(file), "67");
    EXPECT_TRUE(file.Truncate(12)); // clears the end of stream
    EXPECT_FALSE(file.Eos());
    EXPECT_TRUE(file.Seek(2));
    EXPECT_EQ(file.GetChar(), '2');
    EXPECT_TRUE(file.Truncate(3)); // the position does not move, what was read ahead is gone
    EXPECT_EQ(Position(file), 3);
    EXPECT_EQ(file.GetChar(), 256);
    file << "abc";
    EXPECT_EQ(SizeOf(file), 6); // pending output counts
    EXPECT_TRUE(file.Close());
    EXPECT_EQ(dir.Read("file"), "012abc");
}

TEST(File, OpensAndClosesAgainOnOneObject) {
    TempDir dir;
    Io::File file(dir.Write("file", "text").c_str());
    EXPECT_EQ(Position(file), 0);
    EXPECT_TRUE(file.Close());
    for (int flags : {O_RDONLY, O_WRONLY, O_RDWR}) {
        Heap heap;
        EXPECT_TRUE(file.Open(flags) && file.IsOpened());
        EXPECT_FALSE(file.Open(O_RDONLY));
        EXPECT_EQ(file.Mode(), Io::ModeOfFlags(flags));
        EXPECT_EQ(flags != O_WRONLY ? Rest(file) : "text", "text");
        EXPECT_TRUE(file.Close() && !file.IsOpened());
        EXPECT_EQ(heap.Live(), 0u) << heap.Describe(); // a closed file costs no memory
    }
    EXPECT_EQ(file.GetChar(), 256);
    EXPECT_EQ(file.CurrentState(), Stateful::STATE_FAILED);
    EXPECT_FALSE(file.Open(O_RDONLY)); // a failed object stays failed
}

TEST(File, FailuresOfTheSystemAreRecordedAndLogged) {
    struct {
        SysCall call;
        bool (*works)(Io::File&);
        char const* line; // with @ for the path in quotes
    } const rows[] = {
        // clang-format off
        {SysCall::lseek, [](F& f) { return f.Seek(1); }, "Stream: could not set current file position for @"},
        {SysCall::lseek, [](F& f) { return Position(f) >= 0; },
         "Stream: could not get current file position for @"},
        {SysCall::ftruncate, [](F& f) { return f.Truncate(1); }, "Stream: unable to truncate @"},
        {SysCall::lseek, [](F& f) { return f.GetChar() == 't' && f.Truncate(1); },
         "Stream: unable to truncate @"},
        {SysCall::lseek, [](F& f) { return f.PutChar('x') && SizeOf(f) >= 0; },
         "Stream: unable to get a stream size for @"},
        {SysCall::stat, [](F& f) { return SizeOf(f) >= 0; }, "Stream: unable to get a stream size for @"},
        {SysCall::ioctl, [](F& f) { return f.Ioctl(0, nullptr, LOUD); }, "Stream: ioctl error for @"},
        {SysCall::close, [](F& f) { return f.Close(); }, ": @: unable to close descriptor -1"},
        {SysCall::open, [](F& f) { return f.Close() && f.Open(O_RDONLY); }, ": unable to open @"},
        {SysCall::read, [](F& f) { return f.GetChar() != 256; }, ": unable to read data"},
        // clang-format on
    };
    TempDir dir;
    std::string const path = dir.Write("file", "text");
    for (auto const& row : rows) {
        for (Log::VerboseT const verbose : {Log::VERBOSE_OFF, Log::VERBOSE_ON}) {
            LogCapture log;
            Io::File file(path.c_str(), O_RDWR, Io::EOL_LF, 16, verbose);
            Calls calls;
            calls.Script(row.call, {Calls::Fail(EIO)});
            EXPECT_FALSE(row.works(file)) << row.line;
            EXPECT_EQ(file.CurrentState(), Stateful::STATE_FAILED);
            EXPECT_EQ(file.SysError(), EIO);
            std::string line = "E Io::File" + std::string(row.line) + ": input/output error.";
            if (line.find('@') != line.npos) line.replace(line.find('@'), 1, '"' + path + '"');
            EXPECT_EQ(log.Take(), verbose == Log::VERBOSE_ON ? Lines({line}) : Lines());
        }
    }
    LogCapture log;
    Io::File broken("/absent", O_RDONLY), failed("/absent");
    EXPECT_FALSE(failed.Open(O_RDONLY));
    EXPECT_EQ(broken.CurrentState(), Stateful::STATE_BROKEN);
    EXPECT_EQ(failed.CurrentState(), Stateful::STATE_FAILED);
    EXPECT_EQ(broken.SysError() + failed.SysError(), 2 * ENOENT);
}

TEST(File, SurvivesLackOfMemory) {
    TempDir dir;
    std::string const path = dir.Write("file", "text");
    ForEveryAllocation([&](Heap& heap) {
        LogCapture log;
        heap.Arm();
        Io::File file(path.c_str());
        bool const opened = file.Open(O_RDONLY);
        heap.Disarm();
        EXPECT_EQ(opened, !heap.Fired());
        EXPECT_EQ(file.IsOpened(), opened);
        bool const named = file.PathName().Size() > 0;
        Stateful::StateT const failure = named ? Stateful::STATE_NO_MEMORY : Stateful::STATE_BROKEN;
        EXPECT_EQ(file.CurrentState(), opened ? Stateful::STATE_OK : failure);
        std::string const line = named ? "E Io::FileStream: no memory to allocate a buffer."
                                       : "C Io::File: \"" + path + "\": out of memory [0xcffe****].";
        EXPECT_EQ(log.Take(), opened ? Lines() : Lines({line}));
    });
}

TEST(File, AFullDiskFailsTheFlushAndTheFileIsClosedAllTheSame) {
    LogCapture log;
    Io::File full("/dev/full", O_WRONLY, Io::EOL_LF, 16);
    full << "this is longer than the block" << Io::Endl;
    EXPECT_FALSE(full.Close() || full.IsOpened());
    EXPECT_EQ(full.SysError(), ENOSPC);
    EXPECT_EQ(log.Take(), Lines({"E Io::File: unable to write data: no space left on device."}));
}

TEST(File, CopiesThroughAWrapperAndClosesAtItsEnd) {
    TempDir dir;
    {
        Io::File target((dir.Write("file", "old content")).c_str(), O_RDWR), wrapper("/never/opened");
        Io::StringStream source("new");
        wrapper.Attach(&target);
        EXPECT_TRUE(wrapper.IsOpened() && wrapper.CopyFrom(source) && wrapper.Seek(0));
        int available = -1;
        EXPECT_TRUE(wrapper.Ioctl(FIONREAD, &available, Log::VERBOSE_ON));
        EXPECT_EQ(available, 3);
        EXPECT_TRUE(wrapper.Seek(3));
        wrapper << "er";
    }
    EXPECT_EQ(dir.Read("file"), "newer");
}

} // namespace
