#include "zeb/io/File.h"
#include "tests/io/Transports.h"
#include "tests/support/Calls.h"
#include "tests/support/Heap.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TempDir.h"
#include "zeb/io/Device.h"
#include "zeb/io/PollableFile.h"
#include "zeb/io/StringStream.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>

namespace {

using Io::Stateful;
using Lines = LogCapture::LinesT;

// The text with `what` in the place of the mark.
std::string With(std::string text, char mark, std::string const& what) {
    if (text.find(mark) != text.npos) text.replace(text.find(mark), 1, what);
    return text;
}

// What is opened by a path.
template<class F>
struct OpenedTest : testing::Test {
    TempDir dir;
    LogCapture log;
    std::string const path = dir.Write("file", "text"), ident = F::IDENT;
};
using Opened = testing::Types<Io::File, Io::PollableFile, Io::Device>;
TYPED_TEST_SUITE(OpenedTest, Opened);

TYPED_TEST(OpenedTest, OpensAndClosesAgainOnOneObject) {
    TypeParam file(this->path.c_str());
    for (int const flags : {O_RDWR, O_WRONLY, O_RDONLY}) {
        Heap heap;
        EXPECT_TRUE(file.Open(flags) && file.IsOpened());
        EXPECT_FALSE(file.Open(O_RDONLY) || file.Eos());
        EXPECT_EQ(file.Mode(), Io::ModeOfFlags(flags));
        EXPECT_EQ(heap.Live(), this->ident == "Io::Device" && flags == O_RDWR ? 2u : 1u);
        EXPECT_EQ(flags != O_WRONLY ? Rest(file) : "text", "text");
        EXPECT_TRUE(file.Close() && !file.IsOpened());
        EXPECT_EQ(heap.Live(), 0u) << heap.Describe(); // a closed file costs no memory
    }
    EXPECT_EQ(file.GetChar(), 256);
    EXPECT_EQ(file.CurrentState(), Stateful::STATE_FAILED);
    EXPECT_FALSE(file.Open(O_RDONLY)); // a failed object stays failed
    TypeParam broken("/absent", O_RDONLY), failed("/absent");
    EXPECT_FALSE(failed.Open(O_RDONLY));
    EXPECT_EQ(broken.CurrentState(), Stateful::STATE_BROKEN);
    EXPECT_EQ(failed.CurrentState(), Stateful::STATE_FAILED);
    EXPECT_EQ(broken.SysError() + failed.SysError(), 2 * ENOENT);
    std::string const line = ": unable to open \"/absent\": no such file or directory.";
    EXPECT_EQ(this->log.Take(), Lines(2, "E " + this->ident + line));
}

TYPED_TEST(OpenedTest, SurvivesLackOfMemory) {
    ForEveryAllocation([&](Heap& heap) {
        heap.Arm();
        TypeParam file(this->path.c_str());
        bool const opened = file.Open(O_RDWR);
        heap.Disarm();
        EXPECT_EQ(opened, !heap.Fired());
        EXPECT_EQ(file.IsOpened(), opened);
        bool const named = file.PathName().Size() > 0;
        Stateful::StateT const failure = named ? Stateful::STATE_NO_MEMORY : Stateful::STATE_BROKEN;
        EXPECT_EQ(file.CurrentState(), opened ? Stateful::STATE_OK : failure);
        std::string line = "C " + this->ident + ": \"" + this->path + "\": out of memory [0xcffe****].";
        if (named && this->ident != "Io::Device")
            line = "E " + this->ident + "Stream: no memory to allocate a buffer.";
        EXPECT_EQ(this->log.Take(), opened ? Lines() : Lines({line}));
    });
}

template<class F>
struct FileTest : OpenedTest<F> {};
using Files = testing::Types<Io::File, Io::PollableFile>;
TYPED_TEST_SUITE(FileTest, Files);

TYPED_TEST(FileTest, KeepsOnePositionForReadingAndWriting) {
    TypeParam file(this->dir.Write("file", "0123456789").c_str(), O_RDWR, Io::EOL_LF, 4);
    EXPECT_EQ(file.GetChar(), '0');
    EXPECT_EQ(Position(file), 1);
    file << "AB"; // the read-ahead is dropped: goes behind it
    EXPECT_EQ(Position(file), 6);
    EXPECT_TRUE(file.Truncate(8));
    EXPECT_EQ(Position(file), 6);
    EXPECT_EQ(Rest(file), "67");
    EXPECT_TRUE(file.Truncate(12) && !file.Eos()); // clears the end of stream
    EXPECT_TRUE(file.Seek(2));
    EXPECT_EQ(file.GetChar(), '2');
    EXPECT_TRUE(file.Truncate(3)); // the position does not move, what was read ahead is gone
    EXPECT_EQ(Position(file), 3);
    EXPECT_EQ(file.GetChar(), 256);
    file << "abc";
    EXPECT_EQ(SizeOf(file), 6); // pending output counts
    EXPECT_TRUE(file.Close());
    EXPECT_EQ(this->dir.Read("file"), "012abc");
    EXPECT_EQ(Position(file), 0);
}

TYPED_TEST(FileTest, FailuresOfTheSystemAreRecordedAndLogged) {
    using F = TypeParam;
    struct {
        SysCall call;
        bool (*works)(F&);
        char const* line; // with @ for the path in quotes
    } const rows[] = {
        {SysCall::lseek, [](F& f) { return f.Seek(1); }, "Stream: could not set current file position for @"},
        {SysCall::lseek, [](F& f) { return Position(f) >= 0; },
         "Stream: could not get current file position for @"},
        {SysCall::ftruncate, [](F& f) { return f.Truncate(1); }, "Stream: unable to truncate @"},
        {SysCall::lseek, [](F& f) { return f.GetChar() == 't' && f.Truncate(1); },
         "Stream: unable to truncate @"},
        {SysCall::lseek, [](F& f) { return f.PutChar('x') && SizeOf(f) >= 0; },
         "Stream: unable to get a stream size for @"},
        {SysCall::stat, [](F& f) { return SizeOf(f) >= 0; }, "Stream: unable to get a stream size for @"},
        {SysCall::ioctl, [](F& f) { return f.Ioctl(0, nullptr, Log::VERBOSE_ON); },
         "Stream: ioctl error for @"},
        {SysCall::close, [](F& f) { return f.Close(); }, ": @: unable to close descriptor -1"},
        {SysCall::open, [](F& f) { return f.Close() && f.Open(O_RDONLY); }, ": unable to open @"},
        {SysCall::read, [](F& f) { return f.GetChar() != 256; }, ": unable to read data"},
    };
    for (auto const& row : rows) {
        for (Log::VerboseT const verbose : {Log::VERBOSE_OFF, Log::VERBOSE_ON}) {
            F file(this->path.c_str(), O_RDWR, Io::EOL_LF, 16, verbose);
            Calls calls;
            calls.Script(row.call, {Calls::Fail(EIO)});
            EXPECT_FALSE(row.works(file)) << row.line;
            EXPECT_EQ(file.CurrentState(), Stateful::STATE_FAILED);
            EXPECT_EQ(file.SysError(), EIO);
            std::string const line = With(row.line, '@', '"' + this->path + '"') + ": input/output error.";
            Lines const expected(verbose == Log::VERBOSE_ON ? 1 : 0, "E " + this->ident + line);
            EXPECT_EQ(this->log.Take(), expected);
        }
    }
    F full("/dev/full", O_WRONLY, Io::EOL_LF, 16);
    full << "this is longer than the block" << Io::Endl;
    EXPECT_FALSE(full.Close() || full.IsOpened()); // closed all the same
    EXPECT_EQ(full.SysError(), ENOSPC);
}

TYPED_TEST(FileTest, CopiesThroughAWrapperAndClosesAtItsEnd) {
    {
        TypeParam target(this->path.c_str(), O_RDWR), wrapper("/never/opened");
        Io::StringStream source("new");
        wrapper.Attach(&target);
        EXPECT_TRUE(wrapper.IsOpened() && wrapper.CopyFrom(source) && wrapper.Seek(0));
        int available = -1;
        EXPECT_TRUE(wrapper.Ioctl(FIONREAD, &available, Log::VERBOSE_ON));
        EXPECT_EQ(available, 3);
        EXPECT_TRUE(wrapper.Seek(3));
        wrapper << "er";
    }
    EXPECT_EQ(this->dir.Read("file"), "newer");
}

TEST(PollableFile, WaitsForAFifoNoLongerThanItsTimeout) {
    TempDir const dir;
    std::string const path = dir / "fifo";
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    Io::PollableFile file(path.c_str(), O_RDWR);
    file.SetTimeout(0);
    file << "line" << Io::Endl;
    String line;
    EXPECT_TRUE(file.Flush() && file.ReadLine(line));
    EXPECT_EQ(Text(line), "line");
    EXPECT_FALSE(file.ReadLine(line));
    EXPECT_EQ(file.CurrentState(), Stateful::STATE_TIMEOUT);
}

} // namespace
