// The sample daemon as a user runs it: a process, its configuration, its signals.

#include "workbench/Child.h"
#include "workbench/Namespace.h"
#include "workbench/TempDir.h"
#include "zeb/doc/json/Array.h"
#include "zeb/doc/json/Document.h"
#include "zeb/doc/json/Object.h"
#include "zeb/doc/xml/Document.h"
#include "zeb/doc/xml/Node.h"

#include <csignal>
#include <gtest/gtest.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <thread>
#include <unistd.h>

namespace {

Child Gateway(std::vector<std::string> const& arguments) { return Child::Program(Child::Built("gateway", arguments)); }

TEST(GatewayTest, SaysInOneLineWhatIsWrongWithItsConfiguration) {
    TempDir const dir;
    struct {
        char const* text;
        char const* error;
    } const rows[] = {
        {"", "no valid JSON at line 1, column 1: an empty text"},
        {"{\"state_file\" \"x\"}", "no valid JSON at line 1, column 15: no colon behind the name"},
        {"{\n\"state_file\": \"x}", "no valid JSON at line 2, column 18: a string that does not end"},
        {"17", "no valid JSON at line 1, column 1: neither an object nor an array"},
        {"[]", "no valid configuration: a list where settings in braces must stand"},
        {"{}", "\"state_file\" is missing"},
        {"{\"state_file\": 1}", "\"state_file\" must be a text"},
        {"{\"colour\": 1}", "there is no setting \"colour\""},
        {"{\"sample_period\": 99}", "\"sample_period\" must be a whole number of milliseconds from 100 to 60000"},
        {"{\"state_period\": 1e3}", "\"state_period\" must be a whole number of milliseconds from 100 to 60000"},
        {"{\"heartbeat_period\": \"1\"}", "\"heartbeat_period\" must be a whole number of milliseconds from 100 to 60000"},
        {"{\"interfaces\": [\"lo\", 1]}", "\"interfaces\" must be a list of names"},
        {"{\"interfaces\": \"lo\"}", "\"interfaces\" must be a list of names"},
    };
    for (auto const& row : rows) {
        std::string const path = dir.Write("config", row.text);
        Child const child = Gateway({"--console", path});
        EXPECT_EQ(child.ExitCode(), 2) << child;
        EXPECT_EQ(child.Errors(), "gateway: " + path + ": " + row.error + "\n");
    }
    Child const absent = Gateway({"--console", dir / "absent"});
    EXPECT_EQ(absent.ExitCode(), 2);
    EXPECT_EQ(absent.Errors(), "gateway: " + (dir / "absent") + ": unable to read: no such file or directory\n");
    EXPECT_EQ(Gateway({"--console", dir.Path()}).Errors(), "gateway: " + dir.Path() + ": unable to read: is a directory\n");
    std::string const large = dir.Write("large", std::string(70000, ' '));
    EXPECT_EQ(Gateway({"--console", large}).Errors(), "gateway: " + large + ": unable to read: too large\n");
    EXPECT_EQ(Gateway({}).ExitCode(), 2);
    EXPECT_EQ(Gateway({"--colour", large}).ExitCode(), 2);
}

// A /proc of the test's own: what the daemon must find in it is known.
class RunTest : public testing::TestWithParam<int> {
protected:
    RunTest() {
        std::string const root = dir_ / "proc";
        EXPECT_EQ(system(("mkdir -p " + root + "/net " + (dir_ / "sys/class/net/lo")).c_str()), 0);
        dir_.Write("sys/class/net/lo/speed", "1000\n");
        dir_.Write("proc/stat", "cpu  11 12 13 14 15 16 17 0 0 0\ncpu0 1 2 3 4 5 6 7 0 0 0\n");
        dir_.Write("proc/meminfo", "MemTotal:       2048 kB\nMemFree:  9 kB\nMemAvailable:   1024 kB\nCached: 0 kB\n");
        dir_.Write("proc/net/dev", "Inter-| Receive\n face |bytes\n"
                                   "  eth0: 1 2 0 0 0 0 0 0 3 4 0 0 0 0 0 0\n"
                                   "    lo:5000000000 6 0 0 0 0 0 0 7 8 0 0 0 0 0 0\n");
        dir_.Write("config", R"({"name": "box", "state_file": ")" + (dir_ / "state") +
                                 R"(", "sample_period": 100, "state_period": 100, "heartbeat_period": 100,
                                  "interfaces": ["lo"]})");
        // What a writer that was killed left.
        dir_.Write("state~", "stale");
    }

    // Starts the daemon in the background of a shell, which runs `until` and then sends the signal.
    Child RunUntil(std::string const& until, int signal, std::string const& status) {
        std::vector<std::string> words = {"sh", "-c", "\"$@\" & " + until + "; kill -" + std::to_string(signal) + " $!; wait $!",
                                          "sh"};
        for (auto const& word : Child::Built("gateway", {"--console", status, "--root", dir_.Path(), dir_ / "config"}))
            words.push_back(word);
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
        EXPECT_EQ(ioctl(fd, SIOCSIFADDR, &lo), 0);
        close(fd);
    });
    Child const child =
        RunUntil("for i in $(seq 500); do grep -qs sample=[1-9] " + (dir_ / "state") + " && break; sleep 0.01; done; echo 10 > " +
                     (dir_ / "sys/class/net/lo/speed") + "; touch " + (dir_ / "changed") + "; sleep 0.35",
                 GetParam(), "--full");
    remover.join();
    ASSERT_EQ(child.ExitCode(), 0) << child;
    EXPECT_EQ(child.Errors(), "");
    std::string const& output = child.Output();
    for (char const* const part :
         {"zeb: Gateway: \"box\": started.\n", "zeb: Main: stopping...\n", "zeb: Gateway: \"box\": stopped.\n",
          "zeb: Interfaces: \"lo\": address is 127.0.0.1/8.\n", "zeb: Interfaces: \"lo\": speed is 1000000000 bits a second.\n",
          "zeb: Interfaces: \"lo\": speed is 10000000 bits a second.\n",
          "zeb: Interfaces: \"lo\": address 127.0.0.1/8 is gone.\n", "state~\", which an earlier writer left.\n",
          "<event class=\"Event::Type::SystemReady\" raise_time=\"", "<event class=\"Event::Type::Heartbeat\" raise_time=\""})
        EXPECT_NE(output.find(part), std::string::npos) << part << " in " << output;

    std::string xmlText = output.substr(output.find("<status>"), output.find("{\n") - output.find("<status>"));
    Xml::Document xml;
    ASSERT_TRUE(xml.Parse(xmlText.data(), Xml::Document::PARSE_DEFAULT, Log::VERBOSE_ON).Succeeded()) << xmlText;
    Xml::Node const* const status = xml.FirstNode("status");
    ASSERT_NE(status, nullptr);
    EXPECT_STREQ(status->FirstNode("memory")->FirstNode("available")->Value().Cstr(), "1024");
    EXPECT_STREQ(status->FirstNode("cpu")->FirstNode("idle")->Value().Cstr(), "14");
    EXPECT_STREQ(status->FirstNode("interface")->FirstNode("speed")->Value().Cstr(), "10000000");
    Xml::Node const* const history = status->FirstNode("history");
    EXPECT_STREQ(history->FirstNode("latest")->FirstNode("link")->Value().Cstr(), "1");
    unsigned long samples = 0;
    for (Xml::Node const* data = history->FirstNode("received_bytes")->FirstNode("data"); data != nullptr;
         data = data->NextSibling())
        ++samples;
    EXPECT_EQ(samples, 64u);
    for (char const* const thread : {"Main", "Timer", "Event sender", "Statistics collector thread", "State"})
        EXPECT_NE(output.find(std::string("<name>") + thread + "<"), std::string::npos) << thread;
    EXPECT_NE(status->FirstNode("threads")->FirstNode("thread")->FirstNode("statistics"), nullptr);

    Json::Document json;
    unsigned long const begin = output.find("{\n");
    std::string const jsonText = output.substr(begin, output.find("\n}\n", begin) + 3 - begin);
    ASSERT_TRUE(json.Parse(CString(jsonText.c_str()), Json::Document::PARSE_CONTAINER).Succeeded()) << jsonText;
    Json::Array const* interfaces = nullptr;
    ASSERT_TRUE(json.Object()->Get("interfaces", interfaces));
    unsigned long bytes = 0;
    EXPECT_TRUE(interfaces->First()->Value()->Object()->Get("rx_bytes", bytes));
    EXPECT_EQ(bytes, 5000000000ul);
    EXPECT_EQ(interfaces->First(), interfaces->Last()) << "the other was not asked for";

    EXPECT_NE(dir_.Read("state").find("\nmemory_available=1024\ninterface.lo=5000000000 7\n"), std::string::npos)
        << dir_.Read("state");
    EXPECT_FALSE(dir_.Exists("state~"));
}

INSTANTIATE_TEST_SUITE_P(Signals, RunTest, testing::Values(SIGINT, SIGTERM));

TEST_F(RunTest, UnreadableCountersAreLoggedAndCounted) {
    dir_.Write("proc/net/dev", "one line\n");
    dir_.Write("proc/stat", "cpu x\n");
    Child const child =
        RunUntil("for i in $(seq 500); do grep -qs sample= " + (dir_ / "state") + " && break; sleep 0.01; done; sleep 0.2",
                 SIGTERM, "--status");
    EXPECT_EQ(child.ExitCode(), 0) << child;
    EXPECT_NE(child.Output().find(": unexpected content: invalid input."), std::string::npos) << child;
    EXPECT_NE(child.Output().find("<samples>0</samples>"), std::string::npos);
    EXPECT_EQ(child.Output().find("<threads>"), std::string::npos) << child;
}

} // namespace
