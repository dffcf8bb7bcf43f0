#include "tests/process/Kids.h"

namespace {

struct FindExecutableTest : KidTest {
    FindExecutableTest() {
        dir_.Make("here* plain one/tool* one/both two/tool* two/both* two/folder/ two/link>../one/tool extra/tool* "
                  "root/bin/tool* root/bin/both* root/absolute>/bin/tool root/dangling>/none root/sub/relative>../bin/tool "
                  "root/sub/above>../../../bin/tool root/l0>/bin/tool");
        for (int i = 1; i < 9; ++i) dir_.Make("l" + std::to_string(i) + ">/l" + std::to_string(i - 1), "root");
        std::filesystem::current_path(dir_.Path());
        setenv("PATH", (dir_ / "one" + ":" + dir_ / "none" + ":" + dir_ / "two").c_str(), 1);
    }
    ~FindExecutableTest() override {
        std::filesystem::current_path(cwd_);
        setenv("PATH", path_.c_str(), 1);
    }
    ReturnT Find(char const* name, char const* extra = "", std::string const& root = "",
                 Log::VerboseT verbose = Log::VERBOSE_ON) {
        return Process::FindExecutable(name, extra, root.c_str(), found_, verbose);
    }

    TempDir const dir_;
    std::filesystem::path const cwd_ = std::filesystem::current_path();
    std::string const path_ = getenv("PATH");
    String found_;
};

TEST_F(FindExecutableTest, TheFirstFileOfTheNameDecides) {
    std::string const root = dir_ / "root", unable = "E unable to get canonical path for ", missing = " executable not found.\n",
                      nowhere = unable + "\"/nonexistent\": no such file or directory.\n", refused = "\" is not an executable.\n";
    struct {
        std::string name, extra, root;
        ReturnT code;
        std::string found; // or the line, with @ for the folder
    } const rows[] = {
        {"tool", "", "", ReturnT::Done(), "@/one/tool"},
        {" \t\ntool", dir_ / "extra", "", ReturnT::Done(), "@/extra/tool"},
        {"here", "", "", ReturnT::Done(), "@/here"},
        {"link", "", "", ReturnT::Done(), "@/one/tool"},
        {dir_ / "two/./both", "", "", ReturnT::Done(), "@/two/both"},
        {"both", "", "", Process::NOT_EXECUTABLE, "E \"@/one/both" + refused},
        {"folder", "", "", Process::NOT_EXECUTABLE, "E \"@/two/folder" + refused},
        {"plain", "", "", Process::NOT_EXECUTABLE, "E \"./plain" + refused},
        {"nothing", "", "", Process::NOT_FOUND, "E \"nothing\"" + missing},
        {"/no/thing", "", "", Process::NOT_FOUND, "E \"/no/thing\"" + missing},
        {"", "", "", ReturnT::Fail(0), ""},
        {" \n", "", "", ReturnT::Fail(0), ""},
        {"x", dir_ / "here", "", ReturnT::Fail(0), "C system failed [0xcffd****].\n"},
        {"tool", "/bin", root, ReturnT::Done(), "@/root/bin/tool"},
        {"/bin/tool", "", dir_ / "two/../root/", ReturnT::Done(), "@/root/bin/tool"},
        {"absolute", "", root, ReturnT::Done(), "@/root/absolute"},
        {"/sub/relative", "", root, ReturnT::Done(), "@/root/sub/relative"},
        {"l7", "", root, ReturnT::Done(), "@/root/l7"},
        {"l8", "", root, Process::TOO_MANY_LINKS, "E too many levels of symbolic links for \"@/root/./l8\".\n"},
        {"dangling", "", root, Process::NOT_FOUND, "E \"dangling\"" + missing},
        {"above", "/sub", root, Process::NOT_CANONICAL, unable + "\"//sub/../../../bin/tool\": invalid argument.\n"},
        {"tool", "", "/nonexistent", Process::NOT_CANONICAL, nowhere},
        {" ", "", "/nonexistent", Process::NOT_CANONICAL, nowhere},
    };
    for (auto const& row : rows) {
        (void)found_.Assign("as it was");
        ReturnT const code = Find(row.name.c_str(), row.extra.c_str(), row.root);
        EXPECT_TRUE(code == row.code || (code.Facility() == row.code.Facility() && code.Facility() > 4000)) << row.name;
        EXPECT_EQ(dir_.Masked(Said() + found_.Cstr()), row.found + (code.Failed() ? "as it was" : "")) << row.name;
        EXPECT_TRUE(Find(row.name.c_str(), row.extra.c_str(), row.root, Log::VERBOSE_OFF).Failed() == code.Failed());
        EXPECT_EQ(log_.Take(), LinesT()) << row.name;
    }
    unsetenv("PATH");
    EXPECT_TRUE(Find("tool").Failed() && Find((dir_ / "here").c_str()).Succeeded());
}

TEST_F(FindExecutableTest, AProgramUnderARootOfItsOwnRuns) {
    for (char const* const root : {"/usr", "/"}) {
        Kid kid("[ -d /share ] && exit 4; exit 5", {.chroot = root, .executable = "/bin/../bin/sh"});
        EXPECT_EQ(kid.Run(), root[1] ? "exit 4 signal -1" : "exit 5 signal -1") << Said();
    }
}

TEST_F(FindExecutableTest, MemoryThatEndsIsTold) {
    for (std::string const& root : {std::string(), dir_ / "root"})
        ForEveryAllocation([&](Heap& heap) {
            heap.Arm();
            bool const found = Find(root.empty() ? "tool" : "/sub/relative", "/x", root).Succeeded();
            heap.Disarm(); // a text that fails to shrink is as good
            EXPECT_TRUE(found || heap.Fired());
            EXPECT_EQ(found_.Cstr(), found ? dir_ / (root.empty() ? "one/tool" : "root/sub/relative") : "");
            found_.Clear();
        });
}

} // namespace
