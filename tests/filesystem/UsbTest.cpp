#include "workbench/Heap.h"
#include "zeb/core/String.h"
#include "zeb/filesystem/UsbPath.h"
#include "zeb/filesystem/UsbPortId.h"
#include "zeb/text/Matcher.h"
#include "zeb/text/Regex.h"

#include <gtest/gtest.h>
#include <sstream>

namespace {

using Usb::Path;
using Usb::PortId;

// bus-ports:configuration.interface
std::string Print(Path const& path) {
    std::ostringstream out;
    out << +path.Bus() << "-";
    for (unsigned long i = 0; i < Path::PORTS_MAX; ++i)
        if (i < path.PortCount())
            out << +path.Ports()[i] << (i + 1 < path.PortCount() ? "." : "");
        else
            EXPECT_EQ(path.Ports()[i], 0);
    out << ":" << +path.Configuration() << "." << +path.Interface();
    return out.str();
}

std::string Print(PortId const& id) {
    String text;
    EXPECT_TRUE(text.Assign("old"));
    EXPECT_TRUE(id.GetString(text));
    return text.Cstr();
}

Path Make(char const* tail) {
    Path path;
    EXPECT_TRUE(path.Assign(CString((std::string("/sys/devices/x/usb") + tail).c_str()))) << tail;
    return path;
}

std::string const SEVEN = "1-1/1-1.2/1-1.2.3/1-1.2.3.4/1-1.2.3.4.5/1-1.2.3.4.5.6/1-1.2.3.4.5.6.7";

TEST(UsbPath, TakesThePathsOfTheKernel) {
    std::pair<std::string, char const*> const rows[] = {
        // clang-format off
        {"/a/b/c/usb1", "1-:0.0"},                         {"/a/b/c/d/usbx/usb/usb2", "2-:0.0"},
        {"/sys/devices/x/usb255/255-255", "255-255:0.0"},  {"/sys/devices/x/usb1/1-1/1-1.2", "1-1.2:0.0"},
        {"/a/b/c/usb1/1-1/1-1.2:1.0", "1-1.2:1.0"},        {"/a/b/c/usb1/1-1/1-1.2/1-1.2:1.3/host0/t:0", "1-1.2:1.3"},
        {"/a/b/c/usb2/2-4:255.7", "2-4:255.7"},            {"/a/b/c/usb2/2-4/2-4:0.0/x", "2-4:0.0"},
        {"/a/b/c/usb1/" + SEVEN, "1-1.2.3.4.5.6.7:0.0"},   {"/a/b/c/usb1/" + SEVEN + "/1-1.2.3.4.5.6.7:1.2", "1-1.2.3.4.5.6.7:1.2"},
        // clang-format on
    };
    for (auto const& [text, expected] : rows) {
        Path path = Make("9/9-8/9-8:7.6");
        EXPECT_TRUE(path.Assign(CString(text.c_str()))) << text;
        EXPECT_EQ(Print(path), expected) << text;
    }
    std::string const refused[] = {
        // clang-format off
        "", "sys/a/b/c/usb1", "/", "/a/b/c/d", "/a/b/usb1", "/usb3/a/b/c/usb1", "/a//b/c/usb1", "/a/b/c/usb1/",
        "/a/b/c/usb0", "/a/b/c/usb256", "/a/b/c/usb", "/a/b/c/usb1/2-1", "/a/b/c/usb1/-1", "/a/b/c/usb1/1",
        "/a/b/c/usb1/1-", "/a/b/c/usb1/1-:1.0", "/a/b/c/usb1/1-0", "/a/b/c/usb1/1-0:1.0", "/a/b/c/usb1/1-256",
        "/a/b/c/usb1/1-1x", "/a/b/c/usb1/1-1.2", "/a/b/c/usb1/1-1/1-1", "/a/b/c/usb1/1-1/1-1.",
        "/a/b/c/usb1/1-1/1-1.0", "/a/b/c/usb1/1-1/1-2.2", "/a/b/c/usb1/1-1/1-2:1.0", "/a/b/c/usb1/1-1/1-1.2.3",
        "/a/b/c/usb1/1-1/1-1.2/1-1.3.4", "/a/b/c/usb1/1-1/1-1.2/1-1:1.0",
        "/a/b/c/usb1/" + SEVEN + "/1-1.2.3.4.5.6.7.8", "/a/b/c/usb1/1-1:1", "/a/b/c/usb1/1-1:1.",
        "/a/b/c/usb1/1-1:.0", "/a/b/c/usb1/1-1:1.256", "/a/b/c/usb1/1-1:1.0x", "/a/b/c/usb1/1-1:1.0/",
        "/a/b/c/usb1/1-1:1.0/x//y",
        // clang-format on
    };
    for (std::string const& text : refused) {
        Path path = Make("9/9-8/9-8:7.6");
        EXPECT_FALSE(path.Assign(CString(text.c_str()))) << text;
        EXPECT_EQ(Print(path), "9-8:7.6") << text;
    }
}

TEST(UsbPath, ComparesByPartsAndWhole) {
    Path const base = Make("1/1-1/1-1.2:3.4"), empty;
    struct {
        char const* tail;
        std::vector<unsigned long> samePorts; // lengths
        bool isSameConfiguration;
    } const rows[] = {{"1/1-1/1-1.2:3.4", {0, 1, 2, 3, 7}, true},
                      {"1/1-1/1-1.2:3.5", {0, 1, 2, 3, 7}, true},
                      {"1/1-1/1-1.2", {0, 1, 2, 3, 7}, false},
                      {"1/1-1/1-1.3:3.4", {0, 1}, true},
                      {"1/1-1", {0, 1}, false},
                      {"1/1-2:3.4", {0}, true},
                      {"2/2-1/2-1.2:3.4", {}, true}};
    for (auto const& row : rows) {
        Path other = Make(row.tail);
        std::vector<unsigned long> lengths;
        for (unsigned long const length : {0, 1, 2, 3, 7, 8})
            if (base.HasSamePort(other, length)) lengths.push_back(length);
        EXPECT_EQ(lengths, row.samePorts) << row.tail;
        EXPECT_EQ(base.HasSameConfiguration(other), row.isSameConfiguration) << row.tail;
        EXPECT_EQ(base == other, &row == rows) << row.tail;
        EXPECT_EQ(base != other, &row != rows) << row.tail;
        other.Clear();
        EXPECT_EQ(other, empty);
    }
}

TEST(UsbPortId, NamesThePortOfTheCase) {
    std::tuple<char const*, char const*, unsigned> const rows[] = {
        {"1", "", 0},
        {"1/1-1", "1", 1},
        {"1/1-1/1-1.2", "1", 1},
        {"1/1-1/1-1.2/1-1.2.3", "1/3", 1},
        {"1/1-1/1-1.2/1-1.2.3:1.0/x", "1/3", 1},
        {"1/1-1/1-1.1/1-1.1.7/1-1.1.7.9", "2/7/9", 2},
        {"1/1-1/1-1.3", "1/3", 1},
        {"1/1-2/1-2.1", "2/1", 2},
        {"2/2-1", "2", 2},
        {"2/2-2", "2", 2},
        {"2/2-1/2-1.2", "2/2", 2},
        {"3/3-1/3-1.200", "1/200", 1},
    };
    for (auto const& [tail, expected, casePort] : rows) {
        PortId id(Make(tail));
        EXPECT_EQ(Print(id), expected) << tail;
        EXPECT_EQ(id.CasePort(), casePort) << tail;
        EXPECT_EQ(id.Empty(), *expected == '\0') << tail;
        id.Clear();
        EXPECT_EQ(id, PortId()) << tail;
    }
}

TEST(UsbPortId, TakesWhatItsPatternTakes) {
    EXPECT_STREQ(PortId::Pattern(), R"(^[1-3](\/[1-7]){0,6}$)");
    Util::Regex const regex(PortId::Pattern(), REG_EXTENDED | REG_NOSUB);
    for (char const* const text : {"1",
                                   "3",
                                   "1/7",
                                   "2/1",
                                   "3/7/6/5/4/3/2",
                                   "1/1/1/1/1/1/1",
                                   "",
                                   "0",
                                   "4",
                                   "4/1",
                                   "1/8",
                                   "1/0",
                                   "1/",
                                   "/1",
                                   "1//2",
                                   "12",
                                   "1/12",
                                   "1.2",
                                   "1/2/",
                                   "1/1/1/1/1/1/1/1",
                                   "1/2x",
                                   "a",
                                   "1/a"}) {
        PortId id, kept;
        ASSERT_TRUE(id.Assign("2/5") && kept.Assign("2/5"));
        bool const isTaken = id.Assign(text);
        EXPECT_EQ(isTaken, Util::Matcher(text).Find(regex, 0).Succeeded()) << text;
        EXPECT_EQ(Print(id), isTaken ? text : "2/5");
        EXPECT_EQ(id == kept, !isTaken) << text;
        EXPECT_EQ(id != kept, isTaken) << text;
    }
    ForEveryAllocation([](Heap& heap) {
        String text;
        PortId id;
        ASSERT_TRUE(id.Assign("1/2/3"));
        heap.Arm();
        bool const isDone = id.GetString(text);
        heap.Disarm();
        EXPECT_STREQ(text.Cstr(), isDone ? "1/2/3" : "");
    });
}

} // namespace
