#include "zeb/filesystem/Device.h"
#include "tests/filesystem/Paths.h"
#include "zeb/filesystem/Directory.h"

#include <fstream>

namespace {

using FileSystem::Device, FileSystem::Directory;

// In a /dev and an /etc of its own.
struct DeviceTest : WithFolder {
    void SetUp() override {
        ZEB_NEED_ROOT();
        ASSERT_TRUE(space->SmallDisk("/dev") && space->SmallDisk("/etc"));
        umask(077);
    }
    // Whether it fails, and what is in /dev then.
    static std::string Run(std::string const& list, Device::DevPtsCreateT pts = Device::DEV_PTS_CREATE) {
        std::ofstream(Device::LIST) << list;
        ReturnT const code = Device::CreateDevices(pts);
        return (code == Directory::DONE ? "" : code.Facility() == ReturnT::FACILITY_FAIL ? "fail " : "? ") + ListTree("/dev");
    }
    std::string const failed = "E FileSystem::Device: failed to ", absent = "no such file or directory.\n";
};

TEST_F(DeviceTest, MakesWhatTheListNames) {
    std::string const list = "# c 1 1\n\n \t \n#x d\nconsole c 5 1\ntty c 5 0 1\n\tsda  b 8\t16 0 \nlog s 3 4 1\nnet d\n"
                             "a//b/c d\na/b/c/x c 259 1048575\npts d\npts/0 c 136 0\nptsx c 1 1";
    std::string const made = "a/ a/b/ a/b/c/ a/b/c/x(c600,259:1048575) console(c600,5:1) log(s666) net/ ",
                      more = "ptsx(c600,1:1) sda(b600,8:16) tty(c666,5:0)";
    EXPECT_EQ(Run(list, Device::DEV_PTS_SKIP), made + more);
    EXPECT_EQ(Run(list), made + "pts/ pts/0(c600,136:0) " + more) << "what is there stays";
    EXPECT_EQ(std::pair(umask(022), log.TakeText()), std::pair(mode_t(077), std::string()));
}

TEST_F(DeviceTest, GoesOnBehindWrongLinesAndNodesThatAreOthers) {
    // What is logged of each line.
    std::istringstream rows(R"rows(
x;W unknown command "x".; x e;W unknown command at line 2: "x e".; x d 1;W unknown command "x d 1".;
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
    EXPECT_EQ(Run(list), "full(c600,1:7) last(c600,1:3) log(s600)");
    EXPECT_EQ(log.TakeText(), lines);
}

TEST_F(DeviceTest, EndsWhereTheListOrADirectoryFails) {
    fs::create_symlink("nowhere", "/dev/way");
    EXPECT_EQ(Device::CreateDevices(Device::DEV_PTS_SKIP).Facility(), ReturnT::FACILITY_FAIL);
    for (char const* const list : {"a c 1 1\na/b d\nb c 1 1\n", "way c 1 1\nc c 1 1\x01\nb c 1 1\n"})
        EXPECT_EQ(Run(list), "fail a(c600,1:1) way>nowhere");
    EXPECT_EQ(log.TakeText(), "E Io::File: unable to open \"/etc/devices\": " + absent + failed +
                                  "create \"/dev/a/b\" directory: not a directory.\n" + failed +
                                  "get attributes of existing \"/dev/way\": " + absent);
    EXPECT_EQ(Run("z d\n" + std::string(256, ' ') + "y d"), "a(c600,1:1) way>nowhere y/ z/") << "one long line is two";
    auto const create = [] { return Device::CreateDevices(Device::DEV_PTS_SKIP).Succeeded(); };
    ForEveryAllocation([&](Heap& heap) { Reported(heap, create); });
}

TEST_F(DeviceTest, MakesFindsAndRemovesOneNode) {
    CString const name("x"), large = Keep(std::string(5000, 'x'));
    EXPECT_EQ(Told(Device::Create(name, S_IFBLK | 0040, 7, 300, &error)), "0");
    EXPECT_TRUE(Device::Exists(name, S_IFBLK, 7, 300) && ListTree("/dev") == "x(b640,7:300)");
    EXPECT_FALSE(Device::Exists(name, S_IFCHR, 7, 300) || Device::Exists(name, S_IFBLK, 7, 301) ||
                 Device::Exists("y", S_IFBLK, 7, 300) || Device::Exists(large, S_IFBLK, 7, 300));
    EXPECT_FALSE(Device::Create(name, S_IFBLK, 7, 300) || Device::Remove("y"));
    EXPECT_EQ(log.TakeText(), failed + "create \"/dev/x\": file exists.\n" + failed + "remove \"/dev/y\": " + absent);
    std::vector const errors = {Told(Device::Remove(name, &error)), Told(Device::Remove(name, &error)),
                                Told(Device::Create("n/x", S_IFCHR, 1, 1, &error)),
                                Told(Device::Create(large, S_IFCHR, 1, 1, &error)), Told(Device::Remove(large, &error))};
    EXPECT_EQ(errors, std::vector<std::string>({"0", "2", "2", "36", "36"}));
    EXPECT_EQ(log.TakeText(), "");
}

} // namespace
