#include "tests/filesystem/Paths.h"
#include "zeb/filesystem/UsbPortId.h"
#include "zeb/text/Matcher.h"
#include "zeb/text/Regex.h"

namespace {

using namespace Usb;

// bus-ports:configuration.interface
std::string Print(Path const& path) {
    std::string out = std::to_string(path.Bus());
    for (unsigned long i = 0; i < Path::PORTS_MAX; ++i)
        if (i < path.PortCount() || path.Ports()[i] != 0) out += (i == 0 ? "-" : ".") + std::to_string(path.Ports()[i]);
    return out + ":" + std::to_string(path.Configuration()) + "." + std::to_string(path.Interface());
}

std::string Print(PortId const& id) {
    String text;
    EXPECT_TRUE(id.GetString(text));
    return text.Cstr();
}

Path Make(std::string const& tail) {
    Path path;
    EXPECT_TRUE(path.Assign(CString(("/sys/devices/x/usb" + tail).c_str()))) << tail;
    return path;
}

TEST(UsbPath, TakesThePathsOfTheKernelAndNoOthers) {
    // What is refused ("-") comes last. "1/" is the beginning that most share, "7/" that of seven hubs, one behind the other.
    std::string const all = R"(/a/b/c/usb1 1:0.0 /a/b/c/d/usbx/usb/usb2 2:0.0 /sys/devices/x/usb255/255-255 255-255:0.0
1/1-1/1-1.2 1-1.2:0.0 1/1-1/1-1.2:1.0 1-1.2:1.0 /a/b/c/usb2/2-4/2-4:0.0/x 2-4:0.0 1/1-1/1-1.2/1-1.2:1.3/host0/t:0 1-1.2:1.3
/a/b/c/usb2/2-4:255.7 2-4:255.7 7/1-1.2.3.4.5.6.7 1-1.2.3.4.5.6.7:0.0 7/1-1.2.3.4.5.6.7/1-1.2.3.4.5.6.7:1.2 1-1.2.3.4.5.6.7:1.2
sys/a/b/c/usb1 - / - /a/b/c/d - /a/b/usb1 - /usb3/a/b/c/usb1 - /a//b/c/usb1 - /a/b/c/usb0 - /a/b/c/usb256 - /a/b/c/usb - 1/ -
1/2-1 - 1/-1 - 1/1 - 1/1- - 1/1-:1.0 - 1/1-0 - 1/1-0:1.0 - 1/1-256 - 1/1-1x - 1/1-1.2 - 1/1-1/1-1 - 1/1-1/1-1. - 1/1-1/1-1.0 -
1/1-1/1-2.2 - 1/1-1/1-2:1.0 - 1/1-1:1.0/ - 1/1-1/1-1.2.3 - 1/1-1/x - 1/1-1/1-1.2/1-1.3.4 - 1/1-1/1-1.2/1-1:1.0 - 1/1-1:1 -
1/1-1:1. - 1/1-1:.0 - 1/1-1:1.256 - 1/1-1:1.0x - 1/1-1:1.0/x//y - 7/1-1.2.3.4.5.6.7/1-1.2.3.4.5.6.7.8 -)";
    std::string const hubs = "$011/1-1/1-1.2/1-1.2.3/1-1.2.3.4/1-1.2.3.4.5/1-1.2.3.4.5.6/";
    std::istringstream rows(Replaced(all, {{"(^|\\s)7/", hubs}, {"(^|\\s)1/", "$1/a/b/c/usb1/"}}));
    Path path;
    for (std::string text, expected, before; rows >> text >> expected; before = Print(path)) {
        EXPECT_EQ(path.Assign(text.c_str()), expected != "-") << text;
        EXPECT_EQ(Print(path), expected == "-" ? before : expected) << text;
    }
    EXPECT_FALSE(path.Assign(""));
}

TEST(UsbPath, ComparesByPartsAndWhole) {
    Path const base = Make("1/1-1/1-1.2:3.4");
    // Up to which length the ports are the same, and whether the configuration is.
    std::istringstream rows("1/1-1/1-1.2:3.4 8 1 1/1-1/1-1.2:3.5 8 1 1/1-1/1-1.2 8 0 1/1-1/1-1.3:3.4 2 1 1/1-1 2 0 1/1-2:3.4 1 1 "
                            "2/2-1/2-1.2:3.4 0 1");
    std::string tail;
    bool isSame = false;
    for (unsigned lengths = 0; rows >> tail >> lengths >> isSame;) {
        Path other = Make(tail);
        for (unsigned length = 0; length < 10; ++length) EXPECT_EQ(base.HasSamePort(other, length), length < lengths) << tail;
        EXPECT_EQ(base.HasSameConfiguration(other), isSame) << tail;
        EXPECT_EQ(base == other, Print(base) == Print(other)) << tail;
        EXPECT_EQ((other.Clear(), Print(other)), "0:0.0");
    }
}

TEST(UsbPortId, NamesThePortOfTheCase) {
    std::istringstream rows(R"(1 - 1/1-1 1 1/1-1/1-1.2 1 1/1-1/1-1.2/1-1.2.3 1/3 1/1-1/1-1.2/1-1.2.3:1.0/x 1/3 2/2-1 2 2/2-2 2
1/1-1/1-1.1/1-1.1.7/1-1.1.7.9 2/7/9 1/1-1/1-1.3 1/3 1/1-2/1-2.1 2/1 2/2-1/2-1.2 2/2 3/3-1/3-1.200 1/200)");
    for (std::string tail, expected; rows >> tail >> expected;) {
        PortId id(Make(tail));
        EXPECT_EQ(id.Empty() ? "-" : Print(id), expected) << tail;
        EXPECT_EQ(id.CasePort(), std::atoi(expected.c_str())) << tail;
        id.Clear();
        EXPECT_EQ(id, PortId()) << tail;
    }
}

TEST(UsbPortId, TakesWhatItsPatternTakes) {
    EXPECT_STREQ(PortId::Pattern(), R"(^[1-3](\/[1-7]){0,6}$)");
    Util::Regex const regex(PortId::Pattern(), REG_EXTENDED | REG_NOSUB);
    std::istringstream rows(
        "1 3 1/7 2/1 3/7/6/5/4/3/2 1/1/1/1/1/1/1 0 4 4/1 1/8 1/0 1/ /1 1//2 12 1/12 1.2 1/2/ 1/1/1/1/1/1/1/1 1/2x a 1/a");
    PortId id;
    std::string before;
    EXPECT_FALSE(id.Assign(""));
    for (std::string text; rows >> text; before = Print(id)) {
        bool const isTaken = Util::Matcher(text.c_str()).Find(regex, 0).Succeeded();
        EXPECT_EQ(id.Assign(text.c_str()), isTaken) << text;
        EXPECT_EQ(Print(id), isTaken ? text : before);
    }
    ForEveryAllocation([&](Heap& heap) {
        String name;
        bool const isDone = Reported(heap, [&] { return id.GetString(name); });
        EXPECT_EQ(name.Cstr(), isDone ? before : "");
    });
}

} // namespace
