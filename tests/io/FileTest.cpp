#include "zeb/io/File.h"
#include "tests/io/Transports.h"
#include "workbench/Calls.h"
#include "workbench/TempDir.h"
#include "zeb/io/Device.h"
#include "zeb/io/PollableFile.h"
#include "zeb/stream/StringStream.h"

#include <fcntl.h>

namespace {

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
    TypeParam file(this->path.c_str()), alias("/absent");
    alias.Attach(&file);
    for (TypeParam* const stream : {&file, &alias})
        for (int const flags : {O_RDWR, O_WRONLY, O_RDONLY}) {
            Heap heap;
            EXPECT_TRUE(stream->Open(flags) && alias.IsOpened() && file.IsOpened());
            EXPECT_FALSE(stream->Open(O_RDONLY) || stream->Eos());
            EXPECT_EQ(uint32_t{stream->Mode()}, static_cast<uint32_t>(flags) + 1); // read 1, write 2, both 3
            if (flags == O_WRONLY) *stream << "next";                              // goes out when it is closed
            EXPECT_TRUE((flags != O_RDONLY || Rest(file) == "next") && stream->Close() && !alias.IsOpened());
            EXPECT_EQ(heap.Live(), 0u) << heap.Describe(); // a closed file costs no memory
        }
    EXPECT_EQ(Text(alias.PathName()), this->path);
    EXPECT_FALSE(file.GetChar() != 256 || alias.Open(O_RDONLY)); // a failed object stays failed
    auto root = std::make_unique<TypeParam>("/absent");
    TypeParam orphan(this->path.c_str(), O_RDONLY); // ends behind its root
    orphan.Attach(root.get());
    root.reset();
    TypeParam broken("/absent", O_RDONLY), failed("/absent");
    EXPECT_FALSE(failed.Open(O_RDONLY) || broken.Initialized() || !failed.Initialized());
    EXPECT_EQ(broken.SysError() + failed.SysError(), 2 * ENOENT);
    EXPECT_EQ(this->log.Count(this->ident + ": unable to open \"/absent\": no such file or directory."), 2u);
}

TYPED_TEST(OpenedTest, SurvivesLackOfMemory) {
    ForEveryAllocation([&](Heap& heap) {
        heap.Arm();
        TypeParam file(this->path.c_str());
        bool const opened = file.Open(O_RDWR);
        heap.Disarm();
        EXPECT_TRUE(opened == !heap.Fired() && file.IsOpened() == opened && file.Ok() == opened);
        EXPECT_EQ(file.Initialized(), file.PathName().Size() > 0);
        bool const early = !file.Initialized() || this->ident == "Io::Device"; // else the block is missing
        std::string const line =
            early ? ": \"@\": out of memory [0xcffe****].\n" : "Stream: \"@\": no memory to allocate a buffer.\n";
        EXPECT_EQ(Logged(this->log, this->path), opened ? "" : (early ? "C " : "E ") + this->ident + line);
    });
}

template<class F>
using FileTest = OpenedTest<F>;
using Files = testing::Types<Io::File, Io::PollableFile>;
TYPED_TEST_SUITE(FileTest, Files);

TYPED_TEST(FileTest, KeepsOnePositionThroughAWrapperAndClosesAtItsEnd) {
    {
        TypeParam target(this->path.c_str(), O_RDWR, Io::EOL_LF, 4), file("/never/opened");
        Io::StringStream source("0123456789");
        file.Attach(&target);
        EXPECT_TRUE(file.IsOpened() && file.Seek(2) && file.CopyFrom(source) && file.Seek(0));
        EXPECT_TRUE(file.GetChar() == '0' && Position(file) == 1);
        file << "AB"; // the read-ahead is dropped: goes behind it
        EXPECT_TRUE(file.Truncate(8) && Position(file) == 6 && Rest(file) == "67");
        EXPECT_TRUE(file.Truncate(12) && !file.Eos() && file.Seek(2) && file.GetChar() == '2');
        EXPECT_TRUE(file.Truncate(3) && Position(file) == 3); // what was read ahead is gone
        EXPECT_TRUE(file.GetChar() == 256 && file.Seek(3) && !file.Eos());
        file << "abc";
        EXPECT_EQ(SizeOf(file), 6); // pending output counts
    }
    EXPECT_EQ(this->dir.Read("file"), "012abc");
}

TYPED_TEST(FileTest, FailuresOfTheSystemAreRecordedAndLogged) {
    using F = TypeParam;
    std::tuple<SysCall, bool (*)(F&), std::string> const rows[] = {
        {SysCall::lseek, [](F& f) { return f.Seek(1); }, "could not set current file position for"},
        {SysCall::lseek, [](F& f) { return Position(f) >= 0; }, "could not get current file position for"},
        {SysCall::ftruncate, [](F& f) { return f.Truncate(1); }, "unable to truncate"},
        {SysCall::lseek, [](F& f) { return f.GetChar() == 't' && f.Truncate(1); }, "unable to truncate"},
        {SysCall::stat, [](F& f) { return SizeOf(f) >= 0; }, "unable to get a stream size for"},
        {SysCall::ioctl, [](F& f) { return f.Ioctl(0, nullptr, Log::VERBOSE_ON); }, "ioctl error for"},
        {SysCall::close, [](F& f) { return f.Close() || f.IsOpened(); }, ": \"@\": unable to close descriptor -1"},
        {SysCall::read, [](F& f) { return f.GetChar() != 256; }, ": \"@\": unable to read data"},
        {SysCall::write, [](F& f) { return f.PutChar('x') && (f.Close() || f.IsOpened()); }, ": \"@\": unable to write data"}};
    for (auto const& [call, works, words] : rows)
        for (Log::VerboseT const verbose : {Log::VERBOSE_OFF, Log::VERBOSE_ON}) {
            F file(this->path.c_str(), O_RDWR, Io::EOL_LF, 16, verbose);
            Calls calls;
            calls.Script(call, {Calls::Fail(EIO)});
            EXPECT_FALSE(works(file)) << words;
            EXPECT_EQ(file.SysError(), EIO);
            std::string const line = this->ident + (words[0] == ':' ? words : "Stream: " + words + " \"@\"");
            EXPECT_EQ(Logged(this->log, this->path), verbose == Log::VERBOSE_ON ? "E " + line + ": input/output error.\n" : "");
        }
}

} // namespace
