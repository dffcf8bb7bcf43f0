#include "zeb/filesystem/BlockDevice.h"
#include "tests/filesystem/Paths.h"
#include "workbench/LoopDisk.h"
#include "zeb/core/ErrorString.h"

namespace {

using Io::BlockDevice, Io::Stateful;
using StepsT = std::vector<Calls::Step>;
using RunT = std::function<bool(BlockDevice&)>;

constexpr unsigned long BLOCK = 512, SIZE = 1 << 20;
auto const NO = Calls::Fail(EIO), REAL = Calls::Real();

char data[BLOCK];
int discarded = 0;

// What can be asked of a device, the call beneath, and the words of what fails.
std::tuple<SysCall, std::string, RunT> const ALL[] = {
    // clang-format off
    {SysCall::read, "unable to read from the block device", [](auto& it) { return it.ReadAll(data, BLOCK); }},
    {SysCall::write, "unable to write to the block device", [](auto& it) { return it.WriteAll(data, BLOCK); }},
    {SysCall::fsync, "unable to sync to the block device", [](auto& it) { return it.WriteAll(data, BLOCK); }},
    {SysCall::lseek, "could not set current position for", [](auto& it) { return it.SeekToBlock(1L << 55); }},
    {SysCall::ioctl, "unable to erase data of the block device", [](auto& it) { return it.WriteZeros(1, 1); }},
    {SysCall::ioctl, "unable to discard data of the block device", [](auto& it) { return it.Discard(1, 1, discarded); }},
    {SysCall::ioctl, "unable to discard data of the block device", [](auto& it) { return it.WipeArea(1, 1); }},
    {SysCall::ioctl, "unable to reread partition table of the block device", [](auto& it) { return it.RereadPartitions(); }}};
// clang-format on

struct OpenDevice : BlockDevice {
    explicit OpenDevice(ModeT mode = EXCLUSIVE, CString const& name = "/dev/sda", Log::VerboseT verbose = Log::VERBOSE_ON)
        : BlockDevice(name, mode, verbose) {}

    // Whether all operations are refused for that reason; the state is cleared then.
    bool Ended(StateT state, int error) {
        EXPECT_EQ(std::tuple(CurrentState(), SysError()), std::tuple(state, error));
        bool refused = !Seek(0) && !PrintInfo("") && !WriteAll(data, 0);
        for (auto const& [call, words, run] : ALL) refused = !run(*this) && refused;
        ClearState_();
        return refused;
    }
};

// A disk that is met under any name, and a /sys of its own.
struct BlockDeviceTest : WithMainThread {
    void SetUp() override {
        ZEB_NEED_ROOT();
        if (char const* const why = LoopDisk::WhyNot()) GTEST_SKIP() << why;
        disk.emplace(SIZE).Fill('x');
        space.emplace().PrivateDev();
        for (std::string const name : {"sda", "sda1", "sdb", "mmcblk0p2", "mmcblk1", "nvme0n1"}) disk->Node("/dev/" + name);
        space->Tree("/sys", "block/sda/queue/discard_max_hw_bytes=1048576");
    }
    // What is logged of the disk under that name, and by PrintInfo, in short, or its errno.
    std::string Probe(std::string const& name, std::string const& tree, StepsT const& steps = {}) {
        // clang-format off
        space->Tree("/sys", Replaced(tree, {{"\\bD\\b", "block/sdb"}, {"\\bL\\b", "block/sdb/queue/discard_max_hw_bytes"},
            {"\\bV\\b", "U/2-1"}, {"\\bE\\b", "block/sdb/device/preferred_erase_size"}, {"\\bM\\b", "U/2-1/driver/module"},
            {"\\bU\\b", "bus/usb/devices"}, {"\\bT\\b", "bus/usb/devices/2-1/host3/target3:0:0/3:0:0:1"}, {"~", "\x01"}}));
        for (Calls::Step const& step : steps) calls.Script(SysCall::ioctl, {step});
        OpenDevice const device(BlockDevice::EXCLUSIVE, CString(("/dev/" + name).c_str()));
        EXPECT_TRUE(device.PrintInfo("box") || device.CurrentCode().Facility() == Facility::FAIL);
        std::string const words = std::string(": ") + ErrorString(device.SysError()) + "\\.",
                          code = device.SysError() != 0 ? strerrorname_np(device.SysError()) : "";
        return Replaced(log_.TakeText(), {{"\n", " "},
            {". Io::BlockDevice: \"[^\"]*\": |bus |,? ?size \"1048576\", block \"512\", blocks \"2048\"\\. |\"", ""},
            {words, " " + code}, {"\\. erasesize |erasesize (?=\\d+, d)", " "}, {", (zero )?discard ", " "},
            {" *\\.? *$", ""}, {"unable to ", "~"}, {"unknown 1 no no", "?"}});
    } // clang-format on

    std::optional<LoopDisk> disk;
    std::optional<Namespace> space;
    Calls calls;
};

TEST_F(BlockDeviceTest, KnowsItsDiskItsBusAndWhatItCanDo) {
    // The device, if it is not sdb, the tree of /sys, and what is told. "~" is "unable to", "?" a disk of no talents.
    std::string const rows = R"rows(
D -> ?; sda1: block/sda/sda1/dev=8:1 -> unknown, master /dev/sda 1 no no;
mmcblk0p2: block/mmcblk0p/mmcblk0p2/dev block/mmcblk0/mmcblk0p2/dev=179:2 -> emmc, master /dev/mmcblk0 1 no no;
nvme0n1: block/nvme0n1/queue/discard_max_hw_bytes=4294967295 -> nvme 1 yes no;
mmcblk1: block/mmcblk1/queue/discard_max_hw_bytes=4294967295 -> emmc 1 yes no; L=2147483646 -> unknown 1 yes no;
L=2147483647 -> ?; M>a/usb_storage T/block/sdb L=2147483646 -> usb-storage 1 yes no;
M>a/usb_storage T/block/sdb L=4294967295 -> usb-storage 1 no no; M>uas T/block/sdb L=4294967295 -> uas 1 yes no;
M>uas T/block/sdb L=0 -> uas 1 no no; D M>usb_uasp T/block/sdb -> ?; D M/uas T/block/sdb -> ?; D V/driver=uas T/block/sdb -> ?;
D M>uas T/block/sda -> ?; D M>uas T=x -> ?; D M>uas V/ghost3/target3/a/block/sdb -> ?;
D M>uas V/host2=x V/host3/a/b/block/sdb -> ?; D M>uas V/host3/target3/.b/block/sdb -> ?;
D M>usb_storage V U/1-1/driver/module>uas U/1-1/host1/target1/a/block/sdb -> uas 1 no no; E=4096 -> unknown 8 no no;
E=513 -> invalid erasesize 513, ignored. ?; E=0 -> invalid erasesize 0, ignored. ?; block/sda -> ~find a master device ENODEV;
sda1: block/sda/sda1/dev -> ~find a master device ENODEV; D>sdb -> ~find a block control file ELOOP;
sda1: block/sda>sda -> ~find a partition control file ELOOP; D/queue>queue -> ~find a discard control file ELOOP;
D/device>device -> ~find a erase size control file ELOOP; D U>devices -> ~search the USB devices ELOOP;
D V>2-1 -> ~search the USB devices ELOOP; D M>uas V/host3>host3 -> ~search the USB devices ELOOP;
D M>uas T/block>block -> ~search the USB devices ELOOP; L -> ~read discard value EISDIR; E -> ~read erase size value EISDIR;
E=1~ -> ~read erase size value: invalid input; L=12k -> ~parse discard value 12k;
L=18446744073709551616 -> ~parse discard value 18446744073709551616; L= -> ~parse discard value;
E=-1 -> ~parse erase size value -1;)rows";
    std::pair<StepsT, char const*> const measures[] = {
        // clang-format off
        {{NO}, "~get a size of the block device EIO"}, {{REAL, NO}, "~get a blocksize of the block device EIO"},
        {{REAL, Calls::Value(0)}, "~get a blocksize of the block device EINVAL"}, {{REAL, REAL, NO}, "?"},
        {{REAL, Calls::Value(4097)}, "unsupported block size of the block device: 4097"},
        {{Calls::Value(9000UL), Calls::Value(4096)}, "unknown, size 9000, block 4096, blocks 2 1 no no"},
        {{REAL, REAL, Calls::Value(1U)}, "unknown 1 yes yes"}};
    // clang-format on
    static std::regex const row("((\\w+): )?([^;]+) -> ([^;]*);\\s*");
    for (std::sregex_iterator it(rows.begin(), rows.end(), row), end; it != end; ++it)
        EXPECT_EQ(Probe(it->length(2) ? it->str(2) : "sdb", it->str(3)), it->str(4)) << it->str();
    for (auto const& [steps, expected] : measures) EXPECT_EQ(Probe("sdb", "D", steps), expected);
}

TEST_F(BlockDeviceTest, MovesBytesAndErasesThem) {
    OpenDevice device;
    std::string text(3 * BLOCK, 'a'), back(3 * BLOCK, '?'), large(SIZE + BLOCK, 'z');
    int error = 1;
    calls.Script(SysCall::write, {Calls::Short(7), REAL});
    EXPECT_TRUE(device.SeekToBlock(4) && device.WriteAll(text.data(), text.size()) && device.Seek(4 * BLOCK));
    EXPECT_EQ(disk->Blocks(3, 5), "xaaax");
    calls.Script(SysCall::read, {Calls::Short(1), Calls::Short(600)});
    EXPECT_TRUE(device.ReadAll(back.data(), back.size()) && back == text);
    EXPECT_TRUE(device.WriteZeros(5, 2) && device.Discard(8, 8, error) && error == 0 && device.WipeArea(24, 8));
    EXPECT_EQ(disk->Blocks(4, 29), "a00x00000000xxxxxxxx00000000x");
    calls.Script(SysCall::ioctl, {Calls::Fail(EOPNOTSUPP)}, 4);
    EXPECT_TRUE(device.Discard(40, 1, error) && error == EOPNOTSUPP && device.WipeArea(41, 1) && disk->Blocks(40, 3) == "x0x");
    EXPECT_EQ(log_.Take(), LinesT(2, "I Io::BlockDevice: discard is not supported on the block device \"/dev/sda\"."));
    Calls const pieces; // of a MiB
    EXPECT_FALSE(device.Seek(0) && device.ReadAll(large.data(), large.size())) << "a block more than there are";
    EXPECT_TRUE(device.Ended(Stateful::STATE_EOS, 0) && pieces.Count(SysCall::read) == 2);
    space->Tree("/sys", "block/sda");
    OpenDevice plain(BlockDevice::SHARED); // cannot discard
    EXPECT_TRUE(plain.Discard(50, 1, error) && error == 0 && plain.WipeArea(51, 1) && disk->Blocks(50, 3) == "x0x");
}

TEST_F(BlockDeviceTest, EndsWithTheFirstFailure) {
    OpenDevice device;
    auto const ends = [&](unsigned which, StepsT const& steps, int code, RunT const& other = nullptr) {
        auto const& [call, words, run] = ALL[which];
        for (Calls::Step const& step : steps) calls.Script(call, {step});
        EXPECT_FALSE((other ? other : run)(device)) << words;
        std::string const line = "E Io::BlockDevice: " + words + " \"/dev/sda\": " + ErrorString(code) + ".";
        EXPECT_EQ(log_.Take(), code == 0 ? LinesT() : LinesT{line});
        EXPECT_TRUE(device.Ended(code == 0 ? Stateful::STATE_INTERRUPTED : Stateful::STATE_FAILED, code)) << words;
    };
    for (unsigned const which : {0, 1, 2, 4, 5, 6, 7}) ends(which, {NO}, EIO);
    for (unsigned const which : {0, 1}) ends(which, {Calls::Short(7), Calls::Fail(EINTR)}, 0);
    ends(2, {Calls::Fail(EBUSY)}, EBUSY);
    ends(5, {Calls::Fail(EOPNOTSUPP), NO}, EIO);
    ends(3, {}, EINVAL);
    ends(3, {}, EINVAL, [](auto& it) { return it.Seek(-1); });
    std::pair<long, unsigned long> const beyond[] = {{0, 1UL << 55}, {1L << 55, 1}, {-1, 1}, {2048, 1}}; // or too many bytes
    for (auto const& area : beyond) ends(4, {}, EINVAL, [&](auto& it) { return it.WriteZeros(area.first, area.second); });
    Worker worker([&] {
        EXPECT_TRUE(Await(&Thread::SelfInterrupted));
        for (unsigned const which : {0, 1}) ends(which, {}, 0);
    });
    EXPECT_TRUE(worker.Start().Succeeded() && worker.Stop());
}

TEST_F(BlockDeviceTest, IsOpenedAloneBesideOthersOrToBeRead) {
    std::string const ident = "I Io::BlockDevice: \"/dev/sda\": ";
    std::optional<OpenDevice> first(std::in_place);
    EXPECT_TRUE(first->PrintInfo("") &&
                std::tuple(first->Size(), first->BlockSize(), first->BlockCount()) == std::tuple(SIZE, BLOCK, SIZE / BLOCK));
    EXPECT_EQ(log_.TakeText(), ident + "bus \"unknown\", size \"1048576\", block \"512\", blocks \"2048\".\n" + ident +
                                   "erasesize \"1\", discard \"yes\", zero discard \"no\".\n");
    OpenDevice second, shared(BlockDevice::SHARED), reader(BlockDevice::READ_ONLY);
    EXPECT_TRUE(second.Ended(Stateful::STATE_BROKEN, EBUSY) && !second.Ok());
    calls.Script(SysCall::fsync, {Calls::Fail(EBUSY), NO});
    EXPECT_TRUE(shared.WriteAll(data, BLOCK) && !shared.WriteAll(data, BLOCK) && reader.ReadAll(data, BLOCK));
    EXPECT_TRUE(!reader.WriteAll(data, BLOCK) && reader.SysError() == EBADF && log_.Take().size() == 3);
    first.reset();
    for (auto const verbose : {Log::VERBOSE_OFF, Log::VERBOSE_ON}) {
        OpenDevice absent(BlockDevice::SHARED, "/dev/sdz", verbose);
        EXPECT_TRUE(absent.Ended(Stateful::STATE_BROKEN, ENOENT) && !absent.Initialized());
        EXPECT_EQ(log_.Take(),
                  LinesT(verbose == Log::VERBOSE_ON,
                         "E Io::BlockDevice: \"/dev/sdz\": unable to open the block device: no such file or directory."));
    }
    space->Tree("/sys",
                "block/sda/queue/discard_max_hw_bytes=1 bus/usb/devices/1/driver/module>uas bus/usb/devices/1/host1/target1/a");
    ForEveryAllocation([this](Heap& heap) {
        log_.Clear();
        bool const isOpen = Reported(heap, [] { return OpenDevice().Initialized(); });
        EXPECT_EQ(log_.Lines().empty(), isOpen);
    });
}

} // namespace
