#include "tests/process/Kids.h"

#include <sys/stat.h>

namespace {

struct FindExecutableTest : KidTest {
    FindExecutableTest() {
        for (char const* const folder : {"one", "two", "extra", "root", "root/bin", "root/sub"})
            std::filesystem::create_directory(dir_ / folder);
        for (char const* const program :
             {"here", "one/tool", "two/tool", "two/both", "extra/tool", "root/bin/tool", "root/bin/both"})
            chmod(dir_.Write(program, "#!/bin/sh\nexit 3\n").c_str(), 0755);
        for (char const* const file : {"one/both", "plain"}) dir_.Write(file, "");
        std::filesystem::create_directory(dir_ / "two/folder");
        std::filesystem::create_symlink("../one/tool", dir_ / "two/link");
        std::filesystem::create_symlink("/bin/tool", dir_ / "root/absolute");
        std::filesystem::create_symlink("../bin/tool", dir_ / "root/sub/relative");
        std::filesystem::create_symlink("../../../bin/tool", dir_ / "root/sub/above");
        std::filesystem::create_symlink("/none", dir_ / "root/dangling");
        for (int i = 0; i < 9; ++i)
            std::filesystem::create_symlink(i ? "/l" + std::to_string(i - 1) : "/bin/tool",
                                            dir_ / ("root/l" + std::to_string(i)));
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
    std::string const root = dir_ / "root", extra = dir_ / "extra", none = "E Process: \"", slash = root + "/";
    auto const refused = [&](std::string const& path) { return none + path + "\" is not an executable.\n"; };
    struct {
        std::string name, extra, root;
        ReturnT code;
        std::string found; // or the line
    } const rows[] = {
        {"tool", "", "", ReturnT::Done(), "one/tool"},
        {" \t\ntool", extra, "", ReturnT::Done(), "extra/tool"},
        {"here", "", "", ReturnT::Done(), "here"},
        {"link", "", "", ReturnT::Done(), "one/tool"},
        {dir_ / "two/./both", "", "", ReturnT::Done(), "two/both"},
        {"both", "", "", Process::NOT_EXECUTABLE, refused(dir_ / "one/both")},
        {"folder", "", "", Process::NOT_EXECUTABLE, refused(dir_ / "two/folder")},
        {"plain", "", "", Process::NOT_EXECUTABLE, refused("./plain")},
        {"nothing", "", "", Process::NOT_FOUND, none + "nothing\" executable not found.\n"},
        {"/no/thing", "", "", Process::NOT_FOUND, none + "/no/thing\" executable not found.\n"},
        {"", "", "", ReturnT::Fail(0), ""},
        {" \n", "", "", ReturnT::Fail(0), ""},
        {"x", dir_ / "here", "", ReturnT::Fail(0), "C Process: system failed [0xcffd****].\n"},
        {"tool", "/bin", root, ReturnT::Done(), "root/bin/tool"},
        {"/bin/tool", "", dir_ / "two/../root/", ReturnT::Done(), "root/bin/tool"},
        {"absolute", "", root, ReturnT::Done(), "root/absolute"},
        {"/sub/relative", "", root, ReturnT::Done(), "root/sub/relative"},
        {"l7", "", root, ReturnT::Done(), "root/l7"},
        {"l8", "", root, Process::TOO_MANY_LINKS, "E Process: too many levels of symbolic links for \"" + slash + "./l8\".\n"},
        {"dangling", "", root, Process::NOT_FOUND, none + "dangling\" executable not found.\n"},
        {"above", "/sub", root, Process::NOT_CANONICAL,
         "E Process: unable to get canonical path for \"//sub/../../../bin/tool\": invalid argument.\n"},
        {"tool", "", "/nonexistent", Process::NOT_CANONICAL,
         "E Process: unable to get canonical path for \"/nonexistent\": no such file or directory.\n"},
        {" ", "", "/nonexistent", Process::NOT_CANONICAL,
         "E Process: unable to get canonical path for \"/nonexistent\": no such file or directory.\n"},
    };
    for (auto const& row : rows) {
        (void)found_.Assign("as it was");
        ReturnT const code = Find(row.name.c_str(), row.extra.c_str(), row.root);
        EXPECT_TRUE(code == row.code || (code.Facility() == row.code.Facility() && code.Facility() > 4000)) << row.name;
        EXPECT_EQ(Join(log_.Take()) + found_.Cstr(), code.Failed() ? row.found + "as it was" : dir_ / row.found) << row.name;
        EXPECT_TRUE(Find(row.name.c_str(), row.extra.c_str(), row.root, Log::VERBOSE_OFF).Failed() == code.Failed());
        EXPECT_EQ(log_.Take(), LinesT()) << row.name;
    }
    unsetenv("PATH");
    EXPECT_TRUE(Find("tool").Failed() && Find((dir_ / "here").c_str()).Succeeded());
}

TEST_F(FindExecutableTest, AProgramUnderARootOfItsOwnRuns) {
    for (char const* const root : {"/usr", "/"}) {
        Kid kid("[ -d /share ] && exit 4; exit 5", {.chroot = root, .executable = "/bin/../bin/sh"});
        EXPECT_EQ(kid.Run(), root[1] ? "exit 4 signal -1" : "exit 5 signal -1") << Join(log_.Take());
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
