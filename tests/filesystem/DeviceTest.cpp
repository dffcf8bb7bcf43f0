#include "zeb/filesystem/Device.h"
#include "tests/filesystem/Paths.h"
#include "zeb/filesystem/Directory.h"

#include <fstream>

namespace {

using FileSystem::Device;
using FileSystem::Directory;

// In a /dev and an /etc of its own.
struct DeviceTest : PathTest {
    void SetUp() override {
        ZEB_NEED_ROOT();
        ASSERT_TRUE(space->SmallDisk("/dev") && space->SmallDisk("/etc"));
        umask(077);
    }
    static ReturnT Run(std::string const& list, Device::DevPtsCreateT pts = Device::DEV_PTS_CREATE) {
        std::ofstream(Device::LIST) << list;
        return Device::CreateDevices(pts);
    }
    std::string Logged() { return log.TakeText(); }
    std::string const failed = "E FileSystem::Device: failed to ", absent = "no such file or directory.\n";
};

TEST_F(DeviceTest, MakesWhatTheListNames) {
    std::string const list =
        "# c 1 1\n\n \t \n#x d\nconsole c 5 1\ntty c 5 0 1\n\tsda  b 8\t16 0 \nlog s 3 4 1\nnet d\na//b/c d\n"
        "a/b/c/x c 259 1048575\npts d\npts/0 c 136 0\nptsx c 1 1";
    std::string const made = "a/ a/b/ a/b/c/ a/b/c/x(c600,259:1048575) console(c600,5:1) log(s666) net/ ",
                      more = "ptsx(c600,1:1) sda(b600,8:16) tty(c666,5:0)";
    EXPECT_EQ(Run(list, Device::DEV_PTS_SKIP), Directory::DONE);
    EXPECT_EQ(ListTree("/dev"), made + more);
    EXPECT_EQ(Run(list), Directory::DONE); // what is there stays
    EXPECT_EQ(ListTree("/dev"), made + "pts/ pts/0(c600,136:0) " + more);
    EXPECT_EQ(umask(022), 077u);
    EXPECT_EQ(Logged(), "");
}

TEST_F(DeviceTest, GoesOnBehindWrongLinesAndNodesThatAreOthers) {
    // line; what is logged
    std::istringstream rows(
        R"rows(x;W unknown command "x".; x e;W unknown command at line 2: "x e".; x d 1;W unknown command "x d 1".;
x c 1 2 3 4;W unknown command "x c 1 2 3 4".; x p 1 2;W unknown device type "p" at line 5.;
x c one 2;W major number "one" is invalid at line 6.; x c 4294967296 2;W major number "4294967296" is invalid at line 7.;
x c 1 -2;W minor number "-2" is invalid at line 8.; x c 4294967295 1;E failed to create "/dev/x": invalid argument.;
no/x b 1 2;E failed to create "/dev/no/x": no such file or directory.; full c 1 7;;
full c 1 8;E existing "/dev/full" (1 7) device is not (1 8).; full b 1 7;E existing "/dev/full" is not a block device.;
full s 1 7;E existing "/dev/full" is not a socket.; log s 1 1;; log c 1 7;E existing "/dev/log" is not a character device.;
log c 1 7 1;E existing "/dev/log" is not a requested filetype.; last c 1 3;;)rows");
    std::string list, lines;
    for (std::string line, logged; std::getline(std::getline(rows >> std::ws, line, ';'), logged, ';');) {
        list += line + "\n";
        if (!logged.empty()) lines += logged.insert(2, "FileSystem::Device: ") + "\n";
    }
    EXPECT_EQ(Run(list), Directory::DONE);
    EXPECT_EQ(Logged(), lines);
    EXPECT_EQ(ListTree("/dev"), "full(c600,1:7) last(c600,1:3) log(s600)");
}

TEST_F(DeviceTest, EndsWhereTheListOrADirectoryFails) {
    EXPECT_EQ(Device::CreateDevices(Device::DEV_PTS_SKIP).Facility(), ReturnT::FACILITY_FAIL);
    EXPECT_EQ(Run("a c 1 1\na/b d\nb c 1 1\n").Facility(), ReturnT::FACILITY_FAIL);
    fs::create_symlink("nowhere", "/dev/way");
    EXPECT_EQ(Run("way c 1 1\nc c 1 1\x01\nb c 1 1\n").Facility(), ReturnT::FACILITY_FAIL);
    EXPECT_EQ(Logged(), "E Io::File: unable to open \"/etc/devices\": " + absent + failed +
                            "create \"/dev/a/b\" directory: not a directory.\n" + failed +
                            "get attributes of existing \"/dev/way\": " + absent);
    EXPECT_EQ(Run("z d\n" + std::string(256, ' ') + "y d"), Directory::DONE); // one long line is two
    EXPECT_EQ(ListTree("/dev"), "a(c600,1:1) way>nowhere y/ z/");
    ForEveryAllocation([&](Heap& heap) {
        heap.Arm();
        ReturnT const code = Device::CreateDevices(Device::DEV_PTS_SKIP);
        heap.Disarm();
        EXPECT_EQ(code.Failed(), heap.Fired());
    });
}

TEST_F(DeviceTest, MakesFindsAndRemovesOneNode) {
    CString const name("x"), large = Keep(std::string(5000, 'x'));
    auto const fails = [&](bool isDone, int expected) { EXPECT_TRUE(!isDone && error == expected) << error; };
    EXPECT_TRUE(Device::Create(name, S_IFBLK | 0040, 7, 300, &error) && error == 0 && Device::Exists(name, S_IFBLK, 7, 300));
    EXPECT_EQ(ListTree("/dev"), "x(b640,7:300)");
    EXPECT_FALSE(Device::Exists(name, S_IFCHR, 7, 300) || Device::Exists(name, S_IFBLK, 7, 301) ||
                 Device::Exists("y", S_IFBLK, 7, 300));
    EXPECT_FALSE(Device::Create(name, S_IFBLK, 7, 300) || Device::Remove("y") || Device::Exists(large, S_IFBLK, 7, 300));
    EXPECT_EQ(Logged(), failed + "create \"/dev/x\": file exists.\n" + failed + "remove \"/dev/y\": " + absent);
    EXPECT_TRUE(Device::Remove(name, &error) && error == 0);
    fails(Device::Remove(name, &error), ENOENT);
    fails(Device::Create("n/x", S_IFCHR, 1, 1, &error), ENOENT);
    fails(Device::Create(large, S_IFCHR, 1, 1, &error), ENAMETOOLONG);
    fails(Device::Remove(large, &error), ENAMETOOLONG);
    EXPECT_EQ(Logged(), "");
}

} // namespace
