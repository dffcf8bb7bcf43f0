#include "zeb/filesystem/File.h"
#include "tests/filesystem/Paths.h"
#include "zeb/filesystem/Symlink.h"

namespace {

using FileSystem::File, FileSystem::Symlink;
using FileTest = WithFolder;

// What a path is, in letters, and its kind, of a link what it leads to and its own.
std::string Is(CString const& path) {
    bool const answers[] = {
        File::IsReadable(path),  File::IsWritable(path), File::IsExecutable(path),      File::Exists(path),
        File::IsDirectory(path), File::IsRegular(path),  File::IsCharacterDevice(path), File::IsBlockDevice(path),
        File::IsSocket(path),    File::IsSymlink(path)};
    std::string letters;
    for (unsigned i = 0; i < 10; ++i) letters += std::string(answers[i], "rwxedfcbsl"[i]);
    File::Attributes followed{}, own{};
    if (File::GetAttrs(path, followed)) letters += std::to_string(followed);
    return File::GetLAttrs(path, own) ? letters + std::to_string(own) : letters;
}

TEST_F(FileTest, TellsWhatAPathIs) {
    ZEB_NEED_ROOT();
    dir.Make(
        "file program* folder/ dangling>absent link>file way>folder loop>loop fifo| disk(b600,7:99) tty(c600,5:0) socket(s600)");
    std::istringstream rows("file rwef11 program rwxef11 folder rwxed22 dangling l4 link rwefl14 way rwxedl24 loop l4 "
                            "disk rweb00 tty rwec00 socket rwes00 fifo rwe00");
    for (std::string name, letters; rows >> name >> letters;) EXPECT_EQ(Is(At(name)), letters) << name;
    EXPECT_EQ(Is(At("absent")) + Is("") + Is(At("file/x")), "");
}

TEST_F(FileTest, TellsSizeTimeAndExistence) {
    unsigned long long size = 7;
    Time::Stamp time(1);
    CString const file = Keep(dir.Write("file", "text"));
    timespec const times[] = {{}, {784111777, 250000000}};
    EXPECT_FALSE(utimensat(0, file.Cstr(), times, 0) || File::GetSize("", size) || File::GetLastModified("", time));
    EXPECT_TRUE(size == 7 && time == Time::Stamp(1) && File::GetSize(file, size) && File::GetLastModified(file, time));
    EXPECT_TRUE(size == 4 && time.AsMicroseconds() == 784111777250000);
    // A failure without an errno is none to GetAttrs().
    std::pair<int, std::string> const rows[] = {{ENOENT, "0"}, {EOVERFLOW, "1"}, {EACCES, "?"}, {ENOTDIR, "?"}, {0, "?"}};
    for (auto const& [failure, told] : rows) {
        Calls calls;
        calls.Script(SysCall::stat, {Calls::Fail(failure)}, 2);
        calls.Script(SysCall::lstat, {Calls::Fail(failure)});
        bool exists = told != "1";
        EXPECT_EQ(File::CheckExistence(file, exists) ? std::to_string(exists) : "?", told) << failure;
        for (auto const get : {&File::GetAttrs, &File::GetLAttrs}) {
            File::Attributes kind = File::SYMLINK;
            error = -1;
            EXPECT_EQ(get(file, kind, &error), failure == 0);
            EXPECT_EQ(std::pair(error, kind), std::pair(failure, failure == 0 ? File::OTHER : File::SYMLINK));
        }
    }
}

TEST_F(FileTest, ALinkKeepsItsText) {
    for (unsigned const size : {1, 127, 128, 129, 255, 256, 1000, 4095}) {
        CString const target = Keep(std::string(size, 't'));
        Symlink link(At("link"));
        String text;
        EXPECT_TRUE(link.Create(target) && !link.Create("x") && link.GetFile(text) && text == target);
        EXPECT_TRUE(link.DoDelete() && !link.GetFile(text) && text == target && dir.Tree().empty());
    }
}

std::string Canonical(std::string const& path, bool noDisk) {
    String out;
    int failure = -1;
    bool const isDone = out.Assign("as it was") && File::GetCanonicalPath(path.c_str(), out, noDisk, &failure);
    return isDone || out != "as it was" ? out.Cstr() : std::to_string(failure);
}

TEST_F(FileTest, AWorkingDirectoryMayBeDeeperThanAnyBuffer) {
    std::string const name(200, 'n'), deep = name + "/" + name + "/" + name;
    dir.Make("", deep);
    fs::current_path(dir / deep);
    std::string const here = fs::current_path();
    EXPECT_EQ(Canonical("./x/", true) + Canonical("../" + name, true), here + "/x" + here);
    EXPECT_EQ(Canonical("", true) + Canonical("", false) + Canonical("absent", false), "2222");
    dir.Make("d/e/ way>d/e");
    EXPECT_EQ(Canonical(dir / "way/../e//.", false), fs::canonical(dir / "d/e").string()); // links are followed
    Calls calls;
    calls.ScriptFailure("getcwd 1 EACCES");
    EXPECT_EQ(Canonical("a", true), std::to_string(EACCES));
    ForEveryAllocation([&](Heap& heap) {
        String out, own;
        int failure = 0;
        heap.Arm();
        bool const isDone = File::GetCanonicalPath(".", out, true, &failure), isOwn = File(".").GetCanonicalPath(own);
        heap.Disarm();
        EXPECT_EQ(std::tuple(out == here.c_str(), own == here.c_str(), failure), std::tuple(isDone, isOwn, isDone ? 0 : ENOMEM));
        EXPECT_TRUE((isDone || out.Empty()) && (isOwn || own.Empty()) && ((isDone && isOwn) || heap.Fired()));
    });
}

TEST_F(FileTest, CopiesBytesAndLeavesProgramsToExecuteOnly) {
    std::string const large(200001, 'x');
    for (auto const& [mode, kept, copied] :
         {std::tuple(0644, 0600, 0600), {0755, 0600, 0111}, {0644, 0, 0644}, {0755, 0, 0111}}) {
        fs::remove(dir / "to");
        EXPECT_TRUE(File::SetMode(dir.Write("file", large).c_str(), mode));
        EXPECT_TRUE(kept == 0 || File::SetMode(dir.Write("to", large + large).c_str(), kept));
        EXPECT_TRUE(File::Copy(At("file"), At("to")) && dir.Read("to") == large);
        EXPECT_EQ(fs::status(dir / "to").permissions(), fs::perms(copied));
    }
    dir.Make("same>file");
    EXPECT_TRUE(File::Copy(At("file"), At("same")) && File::Copy(At("same"), At("file")) && dir.Read("same") == large);
}

} // namespace
