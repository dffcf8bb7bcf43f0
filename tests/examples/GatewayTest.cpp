// The sample daemon as a user runs it: a process, its configuration, its signals.

#include "workbench/Child.h"
#include "workbench/Namespace.h"
#include "workbench/TempDir.h"
#include "zeb/doc/json/Document.h"
#include "zeb/doc/xml/Document.h"

#include <csignal>
#include <net/if.h>
#include <sys/ioctl.h>
#include <thread>
#include <unistd.h>

namespace {

Child Gateway(std::vector<std::string> const& arguments) { return Child::Program(Child::Built("gateway", arguments)); }

TEST(GatewayTest, SaysInOneLineWhatIsWrongWithItsConfiguration) {
    TempDir const dir;
    std::string const bad = "no valid JSON at line ",
                      period = "_period\" must be a whole number of milliseconds from 100 to 60000";
    std::pair<std::string, std::string> const rows[] = {
        // clang-format off
        {"", bad + "1, column 1: an empty text"}, {"{\"state_file\" \"x\"}", bad + "1, column 15: no colon behind the name"},
        {"{\n\"state_file\": \"x}", bad + "2, column 18: a string that does not end"},
        {"17", bad + "1, column 1: neither an object nor an array"}, {"{}", "\"state_file\" is missing"},
        {"[]", "no valid configuration: a list where settings in braces must stand"},
        {"{\"state_file\": 1}", "\"state_file\" must be a text"}, {"{\"colour\": 1}", "there is no setting \"colour\""},
        {"{\"sample_period\": 99}", "\"sample" + period}, {"{\"state_period\": 1e3}", "\"state" + period},
        {"{\"heartbeat_period\": \"1\"}", "\"heartbeat" + period}, {std::string(70000, ' '), "unable to read: too large"},
        {"{\"interfaces\": [\"lo\", 1]}", "\"interfaces\" must be a list of names"},
        {"{\"interfaces\": \"lo\"}", "\"interfaces\" must be a list of names"},
        {"absent", "unable to read: no such file or directory"}, {"/", "unable to read: is a directory"}};
    // clang-format on
    for (auto const& [text, error] : rows) { // the text of the file, or that there is none or a folder
        std::string const path = text == "absent" ? dir / text : text == "/" ? dir.Path() : dir.Write("config", text);
        Child const child = Gateway({"--console", path});
        EXPECT_EQ(child.Errors() + std::to_string(child.ExitCode()), "gateway: " + path + ": " + error + "\n2");
    }
    for (char const* const option : {"--colour", "--crash", "--root"}) EXPECT_EQ(Gateway({dir / "config", option}).ExitCode(), 2);
    EXPECT_EQ(std::pair(Gateway({}).ExitCode(), Gateway({"--crash", "nul", dir / "config"}).ExitCode()), std::pair(2, 2));
}

long Count(std::string const& text, std::string const& part) {
    long count = 0;
    for (auto at = text.find(part); at != text.npos; at = text.find(part, at + 1)) ++count;
    return count;
}

// A /proc of the test's own: what the daemon must find in it is known.
struct RunTest : testing::TestWithParam<int> {
    RunTest() {
        EXPECT_EQ(system(("mkdir -p " + (dir_ / "proc/net ") + (dir_ / "sys/class/net/lo")).c_str()), 0);
        dir_.Write("sys/class/net/lo/speed", "1000\n");
        dir_.Write("proc/stat", "cpu  11 12 13 14 15 16 17 0 0 0\ncpu0 1 2 3 4 5 6 7 0 0 0\n");
        dir_.Write("proc/meminfo", "MemTotal:       2048 kB\nMemFree:  9 kB\nMemAvailable:   1024 kB\nCached: 0 kB\n");
        dir_.Write("proc/net/dev", "Inter-| Receive\n face |bytes\n  eth0: 1 2 0 0 0 0 0 0 3 4 0 0 0 0 0 0\n"
                                   "    lo:5000000000 6 0 0 0 0 0 0 7 8 0 0 0 0 0 0\n");
        std::string const periods = R"("sample_period": 100, "state_period": 100, "heartbeat_period": 100)";
        dir_.Write("config", R"({"name": "box", "interfaces": ["lo"], "state_file": ")" + (dir_ / "state\", ") + periods + "}");
        dir_.Write("state~", "stale"); // what a writer that was killed left
    }

    // A shell's loop until the state file has the part.
    std::string AwaitState(std::string const& part) const {
        return "for i in $(seq 500); do grep -qs " + part + " " + (dir_ / "state") + " && break; sleep 0.01; done; ";
    }
    // Starts the daemon in the background of a shell, which runs `until` and then sends the signal.
    Child RunUntil(std::string const& until, int signal, std::string const& status) {
        auto words = Child::Built("gateway", {"--console", status, "--root", dir_.Path(), dir_ / "config"});
        std::string const script = "\"$@\" & " + until + "; kill -" + std::to_string(signal) + " $!; wait $!";
        words.insert(words.begin(), {"sh", "-c", script, "sh"});
        return Child::Program(words);
    }

    TempDir dir_;
};

TEST_P(RunTest, SamplesKeepsItsStateFileAndStopsCleanly) {
    ZEB_NEED_ROOT();
    Namespace const space(Namespace::NET);
    std::thread remover([this] {
        for (int i = 0; i < 500 && !dir_.Exists("changed"); ++i) usleep(10000);
        ifreq lo{.ifr_ifrn = {"lo"}, .ifr_ifru = {.ifru_addr = {AF_INET, {}}}}; // 0.0.0.0 removes the address
        int const fd = socket(AF_INET, SOCK_DGRAM, 0);
        EXPECT_TRUE(ioctl(fd, SIOCSIFADDR, &lo) == 0 && close(fd) == 0);
    });
    std::string const change = "cd " + dir_.Path() + "; echo 10 > sys/class/net/lo/speed; touch changed; sleep 0.35";
    Child const child = RunUntil(AwaitState("sample=[1-9]") + change, GetParam(), "--full");
    remover.join();
    ASSERT_EQ(child.ExitCode(), 0) << child;
    EXPECT_EQ(child.Errors(), "");
    std::string const& output = child.Output();
    std::string const box = "zeb: Gateway: \"box\": ", lo = "zeb: Interfaces: \"lo\": ", event = "<event class=\"Event::Type::";
    std::string const parts[] = {// clang-format off
        box + "started.\n", box + "stopped.\n", lo + "address is 127.0.0.1/8.\n", lo + "address 127.0.0.1/8 is gone.\n",
        lo + "speed is 1000000000 bits a second.\n", lo + "speed is 10000000 bits a second.\n", "zeb: Main: stopping...\n",
        event + "SystemReady\" raise_time=\"", event + "Heartbeat\" raise_time=\"", "state~\", which an earlier writer left.\n",
        "<name>Main<", "<name>Timer<", "<name>Event sender<", "<name>Statistics collector thread<", "<name>State<",
        "<total>2048</total>\n        <available>1024</available>\n    </memory>", "<system>13</system>\n        <idle>14</idle>",
        "<speed>10000000</speed>\n    </interface>", "<link>1</link>\n", "<statistics>", "\"rx_bytes\": 5000000000,"};
    // clang-format on
    for (std::string const& part : parts) EXPECT_NE(output.find(part), output.npos) << part << " in " << output;
    EXPECT_EQ(Count(output, "<data>"), 64);
    EXPECT_EQ(Count(output, "rx_bytes\": "), 1) << "the other interface was not asked for";

    unsigned long const begin = output.find("{\n");
    std::string xml = output.substr(output.find("<status>"), begin - output.find("<status>"));
    EXPECT_TRUE(Xml::Document().Parse(xml.data(), Xml::Document::PARSE_DEFAULT, Log::VERBOSE_ON).Succeeded()) << xml;
    CString const json(output.c_str() + begin, output.find("\n}\n", begin) + 3 - begin);
    EXPECT_TRUE(Json::Document().Parse(json, Json::Document::PARSE_CONTAINER).Succeeded()) << json.Cstr();

    std::string const state = dir_.Read("state");
    EXPECT_NE(state.find("\nmemory_available=1024\ninterface.lo=5000000000 7\n"), state.npos) << state;
    EXPECT_FALSE(dir_.Exists("state~"));
}

INSTANTIATE_TEST_SUITE_P(Signals, RunTest, testing::Values(SIGINT, SIGTERM));

TEST_F(RunTest, UnreadableCountersAreLoggedAndCounted) {
    dir_.Write("proc/net/dev", "one line\n");
    dir_.Write("proc/stat", "cpu x\n");
    Child const child = RunUntil(AwaitState("sample=") + "sleep 0.2", SIGTERM, "--status");
    EXPECT_EQ(child.ExitCode(), 0) << child;
    EXPECT_GE(Count(child.Output(), ": unexpected content: invalid input."), 1) << child;
    EXPECT_EQ(Count(child.Output(), "<samples>0</samples>"), 1) << child;
    EXPECT_EQ(Count(child.Output(), "<threads>"), 0) << child;
}

} // namespace
